#pragma once

// Object types that are there whenever anybody asks: objects with static storage are written and
// read before and after those of other sources live.

#include "dataprocessing/exchange/tgio.h"

namespace dataprocessing::detail {

/// An object type that is never destroyed. As a static variable of the function that answers it, it
/// is made when it is first asked for.
union tgio_cLasting {
    tgio_cObjectType value;

    tgio_cLasting(const char* name, unsigned short number) : value(name, number) {}
    tgio_cLasting(const tgio_cLasting&) = delete;
    tgio_cLasting& operator=(const tgio_cLasting&) = delete;
    ~tgio_cLasting() {}
};

} // namespace dataprocessing::detail
