#pragma once

/// @file
/// The ten element types and their codes.

#include <concepts>
#include <cstddef>
#include <type_traits>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/dataprocessing_export.h"

/// Element type codes. Their order is part of the contract: promotion takes the larger code.
enum dtyp_eDataType : int {
    dtyp_UInt8 = 1,         ///< unsigned integer, 8 bits
    dtyp_UInt16 = 2,        ///< unsigned integer, 16 bits
    dtyp_UInt32 = 3,        ///< unsigned integer, 32 bits
    dtyp_Int8 = 4,          ///< signed integer, 8 bits
    dtyp_Int16 = 5,         ///< signed integer, 16 bits
    dtyp_Int32 = 6,         ///< signed integer, 32 bits
    dtyp_Float = 7,         ///< IEEE single precision
    dtyp_Double = 8,        ///< IEEE double precision
    dtyp_ComplexFloat = 9,  ///< `comp_cComplex<float>`
    dtyp_ComplexDouble = 10 ///< `comp_cComplex<double>`
};

namespace dataprocessing::detail {

/// Bytes per element, by code.
inline constexpr std::size_t elementSizes[] = {0, 1, 2, 4, 1, 2, 4, 4, 8, 8, 16};

} // namespace dataprocessing::detail

/// One element type code. Any code may be held; one outside 1 to 10 has `SizeOf()` 0, and what
/// refuses it are the operations that cannot do without its elements.
class dtyp_cDataType {
public:
    /// The type with this code.
    constexpr dtyp_cDataType(dtyp_eDataType code) noexcept : code_(code) {}
    /// The type with this code, known or not.
    explicit constexpr dtyp_cDataType(int code) noexcept : code_(code) {}

    /// The code.
    constexpr int Code() const noexcept { return code_; }
    /// True for codes 1 to 10.
    constexpr type_cBoolean IsKnown() const noexcept { return code_ >= 1 && code_ <= 10; }
    /// True for codes 1 to 8.
    constexpr type_cBoolean IsReal() const noexcept { return code_ >= 1 && code_ <= 8; }
    /// True for codes 9 and 10.
    constexpr type_cBoolean IsComplex() const noexcept { return code_ == 9 || code_ == 10; }
    /// Bytes per element; 0 for an unknown code.
    constexpr std::size_t SizeOf() const noexcept {
        return IsKnown() ? dataprocessing::detail::elementSizes[code_] : 0;
    }

    /// True when the codes are equal.
    friend constexpr bool operator==(dtyp_cDataType, dtyp_cDataType) noexcept = default;

private:
    int code_;
};

/// The type of the larger code.
constexpr dtyp_cDataType dtyp_Max(dtyp_cDataType a, dtyp_cDataType b) noexcept {
    return a.Code() < b.Code() ? b : a;
}

namespace dataprocessing::detail {

template<class T>
inline constexpr int elementCode = 0;
template<>
inline constexpr int elementCode<unsigned char> = dtyp_UInt8;
template<>
inline constexpr int elementCode<unsigned short> = dtyp_UInt16;
template<>
inline constexpr int elementCode<unsigned int> = dtyp_UInt32;
template<>
inline constexpr int elementCode<signed char> = dtyp_Int8;
template<>
inline constexpr int elementCode<short> = dtyp_Int16;
template<>
inline constexpr int elementCode<int> = dtyp_Int32;
template<>
inline constexpr int elementCode<float> = dtyp_Float;
template<>
inline constexpr int elementCode<double> = dtyp_Double;
template<>
inline constexpr int elementCode<comp_cComplex<float>> = dtyp_ComplexFloat;
template<>
inline constexpr int elementCode<comp_cComplex<double>> = dtyp_ComplexDouble;

template<class T>
inline constexpr bool isComplex = elementCode<T> >= dtyp_ComplexFloat;

} // namespace dataprocessing::detail

/// Satisfied by the ten C++ types that an element can have.
template<class T>
concept dtyp_Element = (dataprocessing::detail::elementCode<T> != 0);

/// The element type that stores a `T`.
template<dtyp_Element T>
constexpr dtyp_cDataType dtyp_Of() noexcept {
    return dtyp_cDataType(dataprocessing::detail::elementCode<T>);
}
