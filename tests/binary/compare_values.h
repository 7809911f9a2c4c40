#pragma once

// Values for the tests of comparisons and selections, and what the rules say about them: plain
// loops over complex doubles, which hold every element of every type exactly.

#include <array>
#include <cmath>
#include <complex>
#include <cstring>
#include <string>
#include <vector>

#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/pnum.h"
#include "tests/support/constants.h"
#include "tests/support/refusal.h"

namespace compare {

using Element = std::complex<double>;
using Elements = std::vector<Element>;

inline constexpr int typeCodes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};

struct Limits {
    double lowest;
    double highest;
};
/// The limits of the types, by code.
inline constexpr Limits limits[] = {{0, 0},
                                    {0, 255},
                                    {0, 65535},
                                    {0, 4294967295.0},
                                    {-128, 127},
                                    {-32768, 32767},
                                    {-2147483648.0, 2147483647.0},
                                    {-infinity, infinity},
                                    {-infinity, infinity},
                                    {-infinity, infinity},
                                    {-infinity, infinity}};

inline double roundedPart(int code, double x) {
    if (code == 8 || code == 10)
        return x;
    if (code == 7 || code == 9)
        return static_cast<float>(x);
    if (std::isnan(x))
        return 0;
    return std::fmin(std::fmax(std::nearbyint(x), limits[code].lowest), limits[code].highest);
}

/// An element converted to a type.
inline Element converted(int code, Element e) {
    return {roundedPart(code, e.real()), code >= 9 ? roundedPart(code, e.imag()) : 0.0};
}

/// The elements that say most about a type; converted ones are elements of it.
inline Elements tellingElements(int code) {
    const std::vector<double> reals = {
        0,     1,     2,     -1,  127,       128,          255,          256, -128, -129,  32767,
        32768, 65535, 65536, 1e9, 16777217., 2147483647.0, 4294967295.0, 100, 101,  -32768};
    Elements elements;
    for (const double x : reals)
        elements.push_back(converted(code, x));
    if (code >= 7)
        for (const double x :
             {-0.0, notANumber, infinity, -infinity, 0.1, 1e-40, 3e38, -1e-310, 0.3})
            elements.push_back(converted(code, x));
    if (code >= 9)
        for (const Element e :
             {Element(3, 4), Element(5, 0), Element(0, -5), Element(4, 3), Element(notANumber, 1),
              Element(1, notANumber), Element(infinity, notANumber), Element(3e38, 3e38),
              Element(1e-40, 1e-40), Element(0.1, 0.3)})
            elements.push_back(converted(code, e));
    return elements;
}

/// `count` elements of a type; those of another `turn` meet them in every combination.
inline Elements manyElements(int code, int count, int turn) {
    const Elements telling = tellingElements(code);
    const int n = static_cast<int>(telling.size());
    Elements elements;
    for (int i = 0; i < count; ++i)
        elements.push_back(telling[static_cast<std::size_t>((i + turn * (1 + i / n)) % n)]);
    return elements;
}

template<class T>
void storeAs(void* data, std::size_t i, double part) {
    const T value = static_cast<T>(part);
    std::memcpy(static_cast<char*>(data) + i * sizeof(T), &value, sizeof(T));
}
template<class T>
double loadAs(const void* data, std::size_t i) {
    T value;
    std::memcpy(&value, static_cast<const char*>(data) + i * sizeof(T), sizeof(T));
    return static_cast<double>(value);
}

inline void store(int code, void* data, std::size_t i, Element e) {
    switch (code) {
    case 1:
        return storeAs<unsigned char>(data, i, e.real());
    case 2:
        return storeAs<unsigned short>(data, i, e.real());
    case 3:
        return storeAs<unsigned int>(data, i, e.real());
    case 4:
        return storeAs<signed char>(data, i, e.real());
    case 5:
        return storeAs<short>(data, i, e.real());
    case 6:
        return storeAs<int>(data, i, e.real());
    case 7:
        return storeAs<float>(data, i, e.real());
    case 8:
        return storeAs<double>(data, i, e.real());
    case 9:
        storeAs<float>(data, 2 * i, e.real());
        return storeAs<float>(data, 2 * i + 1, e.imag());
    default:
        storeAs<double>(data, 2 * i, e.real());
        return storeAs<double>(data, 2 * i + 1, e.imag());
    }
}

inline Element load(int code, const void* data, std::size_t i) {
    switch (code) {
    case 1:
        return loadAs<unsigned char>(data, i);
    case 2:
        return loadAs<unsigned short>(data, i);
    case 3:
        return loadAs<unsigned int>(data, i);
    case 4:
        return loadAs<signed char>(data, i);
    case 5:
        return loadAs<short>(data, i);
    case 6:
        return loadAs<int>(data, i);
    case 7:
        return loadAs<float>(data, i);
    case 8:
        return loadAs<double>(data, i);
    case 9:
        return {loadAs<float>(data, 2 * i), loadAs<float>(data, 2 * i + 1)};
    default:
        return {loadAs<double>(data, 2 * i), loadAs<double>(data, 2 * i + 1)};
    }
}

inline pnum_cNumber numberOf(int code, Element e) {
    pnum_cNumber number{dtyp_cDataType(code)};
    store(code, number.Data(), 0, e);
    return number;
}

inline darr_c1DArray lineOf(int code, const Elements& elements, const cal_c1DArrayCal& cal = {}) {
    darr_c1DArray line(static_cast<int>(elements.size()), dtyp_cDataType(code), cal);
    for (std::size_t i = 0; i < elements.size(); ++i)
        store(code, line.Data(), i, elements[i]);
    return line;
}

inline darr_c2DArray imageOf(int code, int sizeX, int sizeY, const Elements& elements,
                             const cal_c2DArrayCal& cal = {}) {
    darr_c2DArray image(sizeX, sizeY, dtyp_cDataType(code), cal);
    for (std::size_t i = 0; i < elements.size(); ++i)
        store(code, image.Data(), i, elements[i]);
    return image;
}

inline Elements elementsOf(const pnum_cNumber& number) {
    return {load(number.DataType().Code(), number.Data(), 0)};
}
inline Elements elementsOf(const parr_cNumberArray& array) {
    Elements elements;
    for (int i = 0; i < array.Count(); ++i)
        elements.push_back(
            load(array.DataType().Code(), array.Data(), static_cast<std::size_t>(i)));
    return elements;
}

using Bytes = std::vector<int>;

inline Bytes bytesOf(const barr_c1DBoolArray& mask) {
    Bytes bytes;
    for (int i = 0; i < mask.Size(); ++i)
        bytes.push_back(mask.Element(i));
    return bytes;
}
inline Bytes bytesOf(const barr_c2DBoolArray& mask) {
    Bytes bytes;
    for (int y = 0; y < mask.SizeY(); ++y)
        for (int x = 0; x < mask.SizeX(); ++x)
            bytes.push_back(mask.Element(x, y));
    return bytes;
}

inline barr_c1DBoolArray maskOf(const Bytes& bytes, const cal_c1DArrayCal& cal = {}) {
    barr_c1DBoolArray mask(static_cast<int>(bytes.size()));
    for (int i = 0; i < mask.Size(); ++i)
        mask.Element(i) = static_cast<unsigned char>(bytes[static_cast<std::size_t>(i)]);
    mask.SetCal(cal);
    return mask;
}
inline barr_c2DBoolArray maskOf(int sizeX, int sizeY, const Bytes& bytes,
                                const cal_c2DArrayCal& cal = {}) {
    barr_c2DBoolArray mask(sizeX, sizeY);
    for (int i = 0; i < mask.Count(); ++i)
        mask.Element(i % sizeX, i / sizeX) =
            static_cast<unsigned char>(bytes[static_cast<std::size_t>(i)]);
    mask.SetCal(cal);
    return mask;
}

inline double magnitude(int code, Element e) {
    if (code == 9)
        return std::hypot(static_cast<float>(e.real()), static_cast<float>(e.imag()));
    return std::hypot(e.real(), e.imag());
}

/// Whether comparison 0 to 5 holds for two elements of types that meet in `code`.
inline bool holds(int comparison, int code, Element a, Element b) {
    const Element p = converted(code, a), q = converted(code, b);
    const bool isEqual = p.real() == q.real() && p.imag() == q.imag();
    if (comparison < 2)
        return isEqual == (comparison == 0);
    const double x = code >= 9 ? magnitude(code, p) : p.real();
    const double y = code >= 9 ? magnitude(code, q) : q.real();
    const std::array<bool, 4> orders = {x > y, x >= y, x < y, x <= y};
    return orders[static_cast<std::size_t>(comparison - 2)];
}

/// Equal as bits, but for the payload of a NaN.
inline bool isSame(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
}
inline bool isSame(const Elements& a, const Elements& b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!isSame(a[i].real(), b[i].real()) || !isSame(a[i].imag(), b[i].imag()))
            return false;
    return true;
}

/// Sizes around those of registers and blocks.
inline constexpr int tellingSizes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 63, 64, 65, 4095, 4096, 4097};

} // namespace compare
