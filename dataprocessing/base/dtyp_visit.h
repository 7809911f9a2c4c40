#pragma once

/// @file
/// From an element type's code to the C++ type: the one switch over element types.

#include <type_traits>

#include "dataprocessing/base/dtyp.h"

/// Carries an element type into a generic function object.
template<class T>
struct dtyp_Tag {
    using type = T;
};

namespace dataprocessing::detail {

template<class T, class... Served, class Visitor>
constexpr bool visitIfServed(Visitor&& visitor) {
    constexpr bool isServed = (std::is_same_v<T, Served> || ...);
    if constexpr (isServed)
        visitor(dtyp_Tag<T>{});
    return isServed;
}

} // namespace dataprocessing::detail

/// Calls `visitor(dtyp_Tag<T>{})` for the C++ type of `type` and answers true when that is one of
/// `Served`; answers false, and calls nothing, for any other type.
template<dtyp_Element... Served, class Visitor>
constexpr bool dtyp_VisitOf(dtyp_cDataType type, Visitor&& visitor) {
    using namespace dataprocessing::detail;
    switch (type.Code()) {
    case dtyp_UInt8:
        return visitIfServed<unsigned char, Served...>(visitor);
    case dtyp_UInt16:
        return visitIfServed<unsigned short, Served...>(visitor);
    case dtyp_UInt32:
        return visitIfServed<unsigned int, Served...>(visitor);
    case dtyp_Int8:
        return visitIfServed<signed char, Served...>(visitor);
    case dtyp_Int16:
        return visitIfServed<short, Served...>(visitor);
    case dtyp_Int32:
        return visitIfServed<int, Served...>(visitor);
    case dtyp_Float:
        return visitIfServed<float, Served...>(visitor);
    case dtyp_Double:
        return visitIfServed<double, Served...>(visitor);
    case dtyp_ComplexFloat:
        return visitIfServed<comp_cComplex<float>, Served...>(visitor);
    case dtyp_ComplexDouble:
        return visitIfServed<comp_cComplex<double>, Served...>(visitor);
    default:
        return false;
    }
}

/// The same for all ten types.
template<class Visitor>
constexpr bool dtyp_Visit(dtyp_cDataType type, Visitor&& visitor) {
    return dtyp_VisitOf<unsigned char, unsigned short, unsigned int, signed char, short, int, float,
                        double, comp_cComplex<float>, comp_cComplex<double>>(type, visitor);
}
