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

/// Measures the most bytes that blocks of the global `operator new` have at the same time, of those
/// that this thread allocates while it lives. One at a time, and no more than a thousand blocks.
class PeakOfNew {
public:
    PeakOfNew() noexcept;
    ~PeakOfNew();
    PeakOfNew(const PeakOfNew&) = delete;
    PeakOfNew& operator=(const PeakOfNew&) = delete;
    std::size_t Bytes() const noexcept;
};
