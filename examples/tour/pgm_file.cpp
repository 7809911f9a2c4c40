#include "pgm_file.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "image_file.h"
#include "input_error.h"
#include "input_file.h"
#include "progress.h"

namespace tour {

namespace {

constexpr int endOfFile = std::char_traits<char>::eof();
constexpr long long mostPixels = std::numeric_limits<int>::max();
constexpr std::size_t longestToken = 20;

bool isBlank(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// The bytes of a file, where they are, and the numbers among them.
class Reader {
public:
    explicit Reader(const std::string& file) : file_(file), stream_(openInput(file)) {}

    /// The next text between blanks, empty at the end of the file; comments count as blanks. The
    /// one blank or comment that ends it is taken. A text that is longer than any number is cut.
    std::string Token() {
        int c = Byte();
        while (isBlank(c) || c == '#') {
            SkipComment(c);
            c = Byte();
        }
        token_ = at_;
        std::string token;
        for (; c != endOfFile && !isBlank(c) && c != '#'; c = Byte()) {
            if (token.size() > longestToken)
                break;
            token += static_cast<char>(c);
        }
        SkipComment(c);
        return token;
    }

    /// The next token as a number from `least` to `most`.
    long long Number(const std::string& what, long long least, long long most) {
        const std::string token = Token();
        if (token.empty())
            Fail("the file ends where " + what + " should stand");
        if (token.size() > longestToken)
            Fail(quoted(token, longestToken) + " is not a number");
        if (!std::all_of(token.begin(), token.end(), [](char c) { return c >= '0' && c <= '9'; }))
            Fail(what + " is " + quoted(token) + ", which is not a whole number");
        const bool isLong = token.size() > 18;
        const long long value = isLong ? std::numeric_limits<long long>::max() : std::stoll(token);
        if (value < least || value > most)
            Fail(what + " is " + token + ", outside " + std::to_string(least) + " to " +
                 std::to_string(most));
        return value;
    }

    /// Fills what it can of `bytes` and returns how many. Bytes have no lines: what fails from here
    /// on is said of where they begin.
    std::size_t Bytes(std::span<char> bytes) {
        token_ = Next();
        const auto wanted = static_cast<std::streamsize>(bytes.size());
        return static_cast<std::size_t>(stream_.rdbuf()->sgetn(bytes.data(), wanted));
    }

    /// Fails on anything but blanks in the rest of the file.
    void RequireEnd() {
        const Place place = token_;
        const bool hasMore = !Token().empty();
        token_ = place;
        if (hasMore)
            Fail("there is more in the file than the pixels that the header announces");
    }

    [[noreturn]] void Fail(const std::string& problem) const {
        throw InputError(file_, token_, problem);
    }

private:
    int Byte() {
        at_ = Next();
        last_ = stream_.rdbuf()->sbumpc();
        return last_;
    }

    /// Where the byte after the last one stands, or the end of the file.
    Place Next() const {
        if (last_ == endOfFile)
            return at_;
        return last_ == '\n' ? Place{at_.line + 1, 1} : Place{at_.line, at_.column + 1};
    }

    /// The rest of the line, when `c` starts a comment.
    void SkipComment(int c) {
        while (c == '#' && last_ != '\n' && last_ != endOfFile)
            Byte();
    }

    std::string file_;
    std::ifstream stream_;
    Place at_{1, 0};
    Place token_{1, 1};
    int last_ = 0;
};

struct Header {
    bool isPlain = false;
    int sizeX = 0;
    int sizeY = 0;
    int maximum = 0;

    std::size_t Count() const {
        return static_cast<std::size_t>(sizeX) * static_cast<std::size_t>(sizeY);
    }
};

Header readHeader(Reader& reader) {
    const std::string magic = reader.Token();
    if (magic != "P2" && magic != "P5")
        reader.Fail("this is no PGM, PNG or TIFF image: it begins with " +
                    quoted(magic, longestToken));
    Header header;
    header.isPlain = magic == "P2";
    header.sizeX = static_cast<int>(reader.Number("the width", fewestPerSide, mostPixels));
    header.sizeY = static_cast<int>(reader.Number("the height", fewestPerSide, mostPixels));
    if (header.Count() > static_cast<std::size_t>(mostPixels))
        reader.Fail("the size is " + std::to_string(header.sizeX) + " x " +
                    std::to_string(header.sizeY) + ", more than " + std::to_string(mostPixels) +
                    " pixels");
    header.maximum = static_cast<int>(reader.Number("the largest value", 1, 65535));
    return header;
}

std::string announced(const Header& header) {
    return std::to_string(header.sizeX) + " x " + std::to_string(header.sizeY) + " pixels";
}

template<class T>
std::vector<T> readPlain(Reader& reader, const Header& header) {
    Progress progress("reading the image");
    std::vector<T> pixels;
    while (pixels.size() < header.Count()) {
        const std::string what =
            "pixel " + std::to_string(pixels.size() + 1) + " of " + announced(header);
        pixels.push_back(static_cast<T>(reader.Number(what, 0, header.maximum)));
        progress.Part(pixels.size(), header.Count());
    }
    return pixels;
}

template<class T>
std::vector<T> readBinary(Reader& reader, const Header& header) {
    Progress progress("reading the image");
    std::vector<T> pixels;
    std::array<char, 1 << 16> bytes;
    while (pixels.size() < header.Count()) {
        const std::size_t wanted =
            std::min(bytes.size(), (header.Count() - pixels.size()) * sizeof(T));
        const std::size_t got = reader.Bytes(std::span(bytes).first(wanted)) / sizeof(T);
        for (std::size_t i = 0; i < got; ++i) {
            unsigned value = 0; // the high byte comes first
            for (std::size_t k = 0; k < sizeof(T); ++k)
                value = value << 8 | static_cast<unsigned char>(bytes[i * sizeof(T) + k]);
            if (value > static_cast<unsigned>(header.maximum))
                reader.Fail("pixel " + std::to_string(pixels.size() + 1) + " is " +
                            std::to_string(value) + ", more than the largest value " +
                            std::to_string(header.maximum) + " that the header announces");
            pixels.push_back(static_cast<T>(value));
        }
        if (got * sizeof(T) < wanted)
            reader.Fail("the file ends after " + std::to_string(pixels.size()) + " of " +
                        announced(header));
        progress.Part(pixels.size(), header.Count());
    }
    return pixels;
}

template<class T>
darr_c2DArray readPixels(Reader& reader, const Header& header) {
    const std::vector<T> pixels =
        header.isPlain ? readPlain<T>(reader, header) : readBinary<T>(reader, header);
    reader.RequireEnd();
    return darr_c2DArray(header.sizeX, header.sizeY, std::span<const T>(pixels));
}

} // namespace

Image readPgm(const std::string& file) {
    Reader reader(file);
    const Header header = readHeader(reader);
    return {header.maximum < 256 ? readPixels<std::uint8_t>(reader, header)
                                 : readPixels<std::uint16_t>(reader, header),
            "pixels", "value"};
}

} // namespace tour
