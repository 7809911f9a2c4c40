#pragma once

// The ten element types for tests, listed apart from the library's own list.

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/dtyp.h"
#include "tests/support/refusal.h"

using ComplexFloat = comp_cComplex<float>;
using ComplexDouble = comp_cComplex<double>;

/// Calls `visit.operator()<T>(code)` for every element type.
template<class Visit>
void forEachElementType(Visit visit) {
    visit.template operator()<unsigned char>(1);
    visit.template operator()<unsigned short>(2);
    visit.template operator()<unsigned int>(3);
    visit.template operator()<signed char>(4);
    visit.template operator()<short>(5);
    visit.template operator()<int>(6);
    visit.template operator()<float>(7);
    visit.template operator()<double>(8);
    visit.template operator()<ComplexFloat>(9);
    visit.template operator()<ComplexDouble>(10);
}

template<class T>
inline constexpr bool isComplexElement =
    std::is_same_v<T, ComplexFloat> || std::is_same_v<T, ComplexDouble>;

/// The real type of an element's parts.
template<class T>
struct PartOf {
    using type = T;
};
template<class T>
struct PartOf<comp_cComplex<T>> {
    using type = T;
};

/// An element with the value `re`, and `im` where it is complex.
template<class T>
T elementOf(double re, double im = 0) {
    using Part = typename PartOf<T>::type;
    if constexpr (isComplexElement<T>)
        return T(static_cast<Part>(re), static_cast<Part>(im));
    else
        return static_cast<T>(re);
}

/// The same value, where NaN is one value and the zeros are two.
template<class T>
bool isSameElement(T a, T b) {
    if constexpr (isComplexElement<T>)
        return isSameElement(a.re, b.re) && isSameElement(a.im, b.im);
    else if constexpr (std::is_floating_point_v<T>)
        return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
    else
        return a == b;
}

/// `count` different small elements: 1, 2, 3, ... (with the negative as imaginary part).
template<class T>
std::vector<T> countedElements(int count) {
    std::vector<T> elements;
    for (int i = 0; i < count; ++i)
        elements.push_back(elementOf<T>(i % 120 + 1, -(i % 120 + 1)));
    return elements;
}
