#include "progress.h"

#include <unistd.h>

#include <iostream>
#include <utility>

namespace tour {

namespace {
constexpr std::chrono::seconds interval(1);
constexpr const char erased[] = "\r\x1b[K";
} // namespace

Progress::Progress(std::string task)
    : task_(std::move(task)), next_(std::chrono::steady_clock::now() + interval) {}

Progress::~Progress() {
    if (isShown_)
        std::cerr << erased << std::flush;
}

void Progress::Say(const std::string& state) {
    const auto now = std::chrono::steady_clock::now();
    if (now < next_ || isatty(STDERR_FILENO) == 0)
        return;
    next_ = now + interval;
    isShown_ = true;
    std::cerr << erased << "   ... " << task_ << ": " << state << std::flush;
}

} // namespace tour
