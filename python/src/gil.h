#pragma once

// Long work lets other threads run; short work does not, because taking the lock back beside one
// busy thread costs more than the work.

#include <optional>

#include <pybind11/pybind11.h>

namespace dataprocessing::python {

/// Releases the interpreter's lock for as long as it lives where `elements` elements at
/// `nanoseconds` each are 100 us of work or more.
class cWithoutGil {
public:
    explicit cWithoutGil(long long elements, double nanoseconds = 1) {
        constexpr double worthwhile = 100e3;
        if (static_cast<double>(elements) * nanoseconds >= worthwhile)
            release_.emplace();
    }

private:
    std::optional<pybind11::gil_scoped_release> release_;
};

} // namespace dataprocessing::python
