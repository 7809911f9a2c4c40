#include "progress.h"

#include <iostream>
#include <utility>

namespace tour {

namespace {
constexpr std::chrono::seconds interval(1);
}

Progress::Progress(std::string task)
    : task_(std::move(task)), next_(std::chrono::steady_clock::now() + interval) {}

void Progress::Say(const std::string& state) {
    const auto now = std::chrono::steady_clock::now();
    if (now < next_)
        return;
    next_ = now + interval;
    std::cout << "   ... " << task_ << ": " << state << std::endl;
}

} // namespace tour
