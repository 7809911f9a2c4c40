#pragma once

#include <cstddef>

/// The number of calls of the global `operator new` so far.
long allocationCount() noexcept;
/// How many blocks of it have not been given back.
long liveAllocations() noexcept;

/// While it lives, `allowed` more calls of the global `operator new` succeed and all further ones
/// throw `std::bad_alloc`. One at a time.
class FailingNew {
public:
    explicit FailingNew(long allowed) noexcept;
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;
};

/// While it lives, calls of the global `operator new` for more than so many bytes throw
/// `std::bad_alloc`. One at a time.
class LimitedNew {
public:
    explicit LimitedNew(std::size_t bytes) noexcept;
    ~LimitedNew();
    LimitedNew(const LimitedNew&) = delete;
    LimitedNew& operator=(const LimitedNew&) = delete;
};
