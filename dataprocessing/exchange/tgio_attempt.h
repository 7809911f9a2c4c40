#pragma once

// What the four tagged streams are built from. Inside, the first thing wrong is thrown, so that
// the reading code says only what it expects; Attempt turns it into the answer false.

#include <concepts>
#include <cstddef>
#include <limits>
#include <new>
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

// The steps that the parsers and printers of the four streams are made of.
class tgio_cSteps {
public:
    // Runs `step` unless a call has failed before; a throw of it is the stream's failure.
    template<std::invocable Step>
    bool Attempt(Step step) noexcept {
        try {
            if (stream_.good_)
                step();
        } catch (const std::bad_alloc&) {
            stream_.good_ = false;
            stream_.isOutOfMemory_ = true;
        } catch (...) {
            stream_.good_ = false;
        }
        return stream_.good_;
    }

protected:
    explicit tgio_cSteps(tgio_cStream& stream) noexcept : stream_(stream) {}

    void EnterObject() {
        Require(stream_.depth_ < tgio_MaxDepth);
        ++stream_.depth_;
    }
    void LeaveObject() noexcept { --stream_.depth_; }
    int Depth() const noexcept { return stream_.depth_; }

private:
    tgio_cStream& stream_;
};

inline void DeliverTo(std::ostream& stream, std::string& buffer) {
    stream.write(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    Require(!stream.fail());
    buffer.clear();
}

} // namespace dataprocessing::detail
