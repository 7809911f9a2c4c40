// Where a virtual function stands in the table of its class.

#pragma once

#include <cstdint>
#include <cstring>

/// The place in the table, which starts with the two forms of a virtual destructor. Compilers that
/// follow the common C++ ABI keep the function's offset in a member pointer, and on some processors
/// mark it as one by adding 1.
template<class Member>
std::uintptr_t slotOf(Member member) {
    std::uintptr_t offset = 0;
    std::memcpy(&offset, &member, sizeof offset);
    return (offset & ~std::uintptr_t{1}) / sizeof(void*);
}
