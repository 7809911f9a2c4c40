#pragma once

/// The number of calls of the global `operator new` so far.
long allocationCount() noexcept;

/// While it lives, `allowed` more calls of the global `operator new` succeed and all further ones
/// throw `std::bad_alloc`. One at a time.
class FailingNew {
public:
    explicit FailingNew(long allowed) noexcept;
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;
};
