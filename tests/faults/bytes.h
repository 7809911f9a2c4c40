#pragma once

// Every bit of a value, as text that can be compared.

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "dataprocessing/dataprocessing.h"

template<class T>
requires(std::is_arithmetic_v<T> || std::is_enum_v<T>) void putBytes(std::string& bytes, T value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}
inline void putBytes(std::string&, std::monostate) {}
inline void putBytes(std::string& bytes, type_cBoolean value) { putBytes(bytes, bool(value)); }
inline void putBytes(std::string& bytes, std::string_view text) {
    putBytes(bytes, text.size());
    bytes.append(text);
}
inline void putBytes(std::string& bytes, const std::string& text) {
    putBytes(bytes, std::string_view(text));
}
inline void putBytes(std::string& bytes, const str_cString& text) {
    putBytes(bytes, std::string_view(text.Text()));
}
template<class T>
void putBytes(std::string& bytes, const comp_cComplex<T>& z) {
    putBytes(bytes, z.re);
    putBytes(bytes, z.im);
}
template<class T>
void putBytes(std::string& bytes, const arr_cArray<T>& array) {
    putBytes(bytes, array.Size());
    for (const T& element : array)
        putBytes(bytes, element);
}
template<class T>
void putBytes(std::string& bytes, const arr_c2DNumberArray<T>& matrix) {
    putBytes(bytes, matrix.Columns());
    putBytes(bytes, matrix.Rows());
    for (const T& element : matrix)
        putBytes(bytes, element);
}

void putBytes(std::string& bytes, dtyp_cDataType type);
void putBytes(std::string& bytes, const pnum_cNumber& number);
void putBytes(std::string& bytes, const cal_cArrayCal& cal);
void putBytes(std::string& bytes, const cal_c2DArrayCal& cal);
void putBytes(std::string& bytes, const parr_c1DNumberArray& array);
void putBytes(std::string& bytes, const parr_c2DNumberArray& array);
void putBytes(std::string& bytes, const darr_c1DArray& array);
void putBytes(std::string& bytes, const darr_c2DArray& array);
void putBytes(std::string& bytes, const barr_c1DBoolArray& mask);
void putBytes(std::string& bytes, const barr_c2DBoolArray& mask);
void putBytes(std::string& bytes, const pos_c1DPosition& position);
void putBytes(std::string& bytes, const pos_c2DPosition& position);
void putBytes(std::string& bytes, const rnge_c1DRange& range);
void putBytes(std::string& bytes, const rnge_c2DRange& range);
void putBytes(std::string& bytes, const rnge_c1DIndexRange& range);
void putBytes(std::string& bytes, const rnge_c2DIndexRange& range);
void putBytes(std::string& bytes, const trns_cCoordTransformation& transformation);
void putBytes(std::string& bytes, const gsft_cGaussian& peak);
void putBytes(std::string& bytes, const dasl_c1DDataArraySelection& selection);
void putBytes(std::string& bytes, const plft_c1DPolyFittingFunction& polynomial);
void putBytes(std::string& bytes, const pwft_cMultiPowerLawFitFunc& background);
void putBytes(std::string& bytes, const gsft_c1DGaussianFittingFunction& gaussians);
void putBytes(std::string& bytes, const peak_sPeak& peak);
void putBytes(std::string& bytes, const expt_cProgramException& exception);

template<class T>
void putBytes(std::string& bytes, const std::vector<T>& values) {
    putBytes(bytes, values.size());
    for (const T& value : values)
        putBytes(bytes, value);
}

template<class... Values>
std::string bytesOf(const Values&... values) {
    std::string bytes;
    (putBytes(bytes, values), ...);
    return bytes;
}
