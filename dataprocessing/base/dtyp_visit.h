#pragma once

/// @file
/// The one switch over element types.

#include <utility>

#include "dataprocessing/base/dtyp.h"

/// Carries an element type into a generic lambda.
template<class T>
struct dtyp_Tag {
    using type = T;
};

/// Calls `visitor(dtyp_Tag<T>{})` for the C++ type of `type` and answers true; answers false, and
/// calls nothing, for an unknown code.
template<class Visitor>
constexpr bool dtyp_Visit(dtyp_cDataType type, Visitor&& visitor) {
    switch (type.Code()) {
    case dtyp_UInt8:
        visitor(dtyp_Tag<unsigned char>{});
        return true;
    case dtyp_UInt16:
        visitor(dtyp_Tag<unsigned short>{});
        return true;
    case dtyp_UInt32:
        visitor(dtyp_Tag<unsigned int>{});
        return true;
    case dtyp_Int8:
        visitor(dtyp_Tag<signed char>{});
        return true;
    case dtyp_Int16:
        visitor(dtyp_Tag<short>{});
        return true;
    case dtyp_Int32:
        visitor(dtyp_Tag<int>{});
        return true;
    case dtyp_Float:
        visitor(dtyp_Tag<float>{});
        return true;
    case dtyp_Double:
        visitor(dtyp_Tag<double>{});
        return true;
    case dtyp_ComplexFloat:
        visitor(dtyp_Tag<comp_cComplex<float>>{});
        return true;
    case dtyp_ComplexDouble:
        visitor(dtyp_Tag<comp_cComplex<double>>{});
        return true;
    default:
        return false;
    }
}
