#include "png.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tour {

namespace {

std::string bigEndian(std::uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift & 0xff);
    return bytes;
}

// The check sum of PNG: the remainder of the bits as a polynomial, reflected.
std::uint32_t remainderOf(std::string_view bytes) {
    static const std::array<std::uint32_t, 256> ofByte = [] {
        std::array<std::uint32_t, 256> table{};
        for (std::uint32_t i = 0; i < table.size(); ++i) {
            std::uint32_t value = i;
            for (int bit = 0; bit < 8; ++bit)
                value = (value >> 1) ^ ((value & 1) != 0 ? 0xedb88320U : 0U);
            table[i] = value;
        }
        return table;
    }();
    std::uint32_t value = 0xffffffffU;
    for (const char c : bytes)
        value = (value >> 8) ^ ofByte[(value ^ static_cast<unsigned char>(c)) & 0xff];
    return ~value;
}

// The check sum of a compressed stream.
std::uint32_t sumsOf(std::string_view bytes) {
    constexpr std::uint32_t prime = 65521;
    std::uint32_t sum = 1;
    std::uint32_t sumOfSums = 0;
    for (const char c : bytes) {
        sum = (sum + static_cast<unsigned char>(c)) % prime;
        sumOfSums = (sumOfSums + sum) % prime;
    }
    return sumOfSums << 16 | sum;
}

std::string chunk(std::string_view name, std::string_view content) {
    const std::string checked = std::string(name) += content;
    return bigEndian(static_cast<std::uint32_t>(content.size())) + checked +
           bigEndian(remainderOf(checked));
}

/// A compressed stream of blocks that are stored as they are.
std::string stored(std::string_view bytes) {
    constexpr std::size_t longest = 0xffff;
    std::string stream = "\x78\x01";
    for (std::size_t first = 0; first < bytes.size(); first += longest) {
        const std::size_t size = std::min(longest, bytes.size() - first);
        stream += first + size == bytes.size() ? '\1' : '\0';
        for (const std::size_t word : {size, ~size}) {
            stream += static_cast<char>(word & 0xff);
            stream += static_cast<char>(word >> 8 & 0xff);
        }
        stream += bytes.substr(first, size);
    }
    return stream + bigEndian(sumsOf(bytes));
}

std::string base64(std::string_view bytes) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(bytes.size() / 3 * 4 + 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group =
                group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? digits[group >> (18 - 6 * k) & 0x3f] : '=';
    }
    return text;
}

} // namespace

std::string pngAddress(int width, int height, std::span<const std::uint8_t> pixels,
                       const std::array<Colour, 256>& colours) {
    constexpr std::string_view signature = "\x89PNG\r\n\x1a\n";
    constexpr std::string_view ofNumberedColours("\x08\x03\0\0\0", 5); // 8 bits each
    const std::string header = bigEndian(static_cast<std::uint32_t>(width)) +
                               bigEndian(static_cast<std::uint32_t>(height)) +
                               std::string(ofNumberedColours);
    std::string table;
    for (const Colour& colour : colours)
        table.append(colour.begin(), colour.end());
    std::string rows;
    const std::size_t length = static_cast<std::size_t>(width);
    for (std::size_t first = 0; first < pixels.size(); first += length) {
        rows += '\0'; // the row is not filtered
        rows.append(pixels.begin() + static_cast<std::ptrdiff_t>(first),
                    pixels.begin() + static_cast<std::ptrdiff_t>(first + length));
    }
    return "data:image/png;base64," +
           base64(std::string(signature) + chunk("IHDR", header) + chunk("PLTE", table) +
                  chunk("IDAT", stored(rows)) + chunk("IEND", ""));
}

} // namespace tour
