#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace tour {

/// Says on a terminal how far a task is, once it has taken a second and then once per second, in a
/// line that goes with the task. Quick tasks say nothing, and where standard error is not a
/// terminal, nor do slow ones.
class Progress {
public:
    explicit Progress(std::string task);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `done` of `total` are finished.
    void Part(std::size_t done, std::size_t total) {
        if ((++calls_ & callMask) == 0)
            Say(std::to_string(100 * done / (total > 0 ? total : 1)) + " %");
    }
    /// `count` are finished, of an unknown number.
    void Count(std::size_t count, const char* what) {
        if ((++calls_ & callMask) == 0)
            Say(std::to_string(count) + " " + what);
    }

private:
    void Say(const std::string& state);

    // The clock is looked at now and then only: a call may stand for a single value.
    static constexpr unsigned callMask = 0xff;

    std::string task_;
    std::chrono::steady_clock::time_point next_;
    unsigned calls_ = 0;
    bool isShown_ = false;
};

} // namespace tour
