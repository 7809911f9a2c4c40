#pragma once

// What the four tagged streams are built from. Inside, the first thing wrong is thrown, so that
// the reading code says only what it expects; Attempt turns it into the answer false.

#include <concepts>
#include <cstddef>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

#include "dataprocessing/exchange/tgio.h"

namespace dataprocessing::detail {

struct sRefusal {};

inline void Require(bool condition) {
    if (!condition)
        throw sRefusal{};
}

// The longest text whose length str_cString can tell.
inline constexpr std::size_t maxTextLength = std::numeric_limits<int>::max();

inline std::string_view Bytes(const str_cString& text) {
    return {text.Text(), static_cast<std::size_t>(text.Length())};
}

inline void DeliverTo(std::ostream& stream, std::string& buffer) {
    stream.write(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    Require(!stream.fail());
    buffer.clear();
}

} // namespace dataprocessing::detail

template<std::invocable Step>
bool tgio_cStream::Attempt(Step step) noexcept {
    try {
        if (good_)
            step();
    } catch (...) {
        good_ = false;
    }
    return good_;
}
