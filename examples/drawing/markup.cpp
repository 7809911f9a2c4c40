#include "drawing/markup.h"

#include <cstddef>

namespace drawing {

namespace {

/// How many bytes the character at the start of `text` has; 0 where it is none.
std::size_t lengthOfCharacter(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80)
        return first >= 0x20 && first != 0x7f ? 1 : 0;
    const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if (byte(i) < 0x80 || byte(i) > 0xbf)
            return 0;
    // Written too long, half of a pair, not a character, or beyond the last one.
    const bool isOutside = (first == 0xe0 && byte(1) < 0xa0) || (first == 0xed && byte(1) > 0x9f) ||
                           (first == 0xef && byte(1) == 0xbf && byte(2) > 0xbd) ||
                           (first == 0xf0 && byte(1) < 0x90) || (first == 0xf4 && byte(1) > 0x8f);
    return isOutside ? 0 : length;
}

} // namespace

std::string escaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = lengthOfCharacter(text);
        switch (text.front()) {
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '&':
            result += "&amp;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\n':
            result += '\n';
            break;
        default:
            if (length > 0)
                result += text.substr(0, length);
            else
                result += "\xef\xbf\xbd";
        }
        text.remove_prefix(length > 0 ? length : 1);
    }
    return result;
}

} // namespace drawing
