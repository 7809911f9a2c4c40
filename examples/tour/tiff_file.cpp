#include "tiff_file.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

#include "image_file.h"
#include "input_error.h"
#include "lines.h"
#include "progress.h"

namespace tour {

namespace {

struct Close {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using File = std::unique_ptr<TIFF, Close>;

/// What libtiff said last; it tells errors here.
std::string& lastMessage() {
    static std::string message;
    return message;
}

void note(const char*, const char* format, va_list arguments) {
    char text[200];
    std::vsnprintf(text, sizeof text, format, arguments);
    lastMessage() = printable(text);
}

[[noreturn]] void fail(const std::string& file) {
    throw InputError(file + ": is damaged" + (lastMessage().empty() ? "" : ": " + lastMessage()));
}

struct Header {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;
    std::uint16_t samples = 1;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    std::uint16_t meaning = PHOTOMETRIC_MINISBLACK;
};

Header headerOf(TIFF* tiff, const std::string& file) {
    Header header;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &header.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &header.height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &header.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &header.samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &header.format);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &header.meaning);
    const bool isInteger = header.format == SAMPLEFORMAT_UINT || header.format == SAMPLEFORMAT_VOID;
    const bool isKnown = (isInteger && (header.bits == 8 || header.bits == 16)) ||
                         (header.format == SAMPLEFORMAT_IEEEFP && header.bits == 32);
    if (!isKnown || header.samples != 1 ||
        (header.meaning != PHOTOMETRIC_MINISBLACK && header.meaning != PHOTOMETRIC_MINISWHITE))
        throw InputError(file + ": found " + std::to_string(header.samples) + " x " +
                         std::to_string(header.bits) +
                         " bits per pixel, expected grey values of 8 or 16 bits or of single "
                         "precision");
    requireSize(file, header.width, header.height);
    return header;
}

template<class T>
void readRows(TIFF* tiff, std::span<T> pixels, const Header& header, const std::string& file) {
    Progress progress("reading the image");
    if (static_cast<std::size_t>(TIFFScanlineSize64(tiff)) != header.width * sizeof(T))
        fail(file);
    for (std::uint32_t y = 0; y < header.height; ++y) {
        if (TIFFReadScanline(tiff, pixels.data() + std::size_t{y} * header.width, y) < 0)
            fail(file);
        progress.Part(y, header.height);
    }
}

template<class T>
void readTiles(TIFF* tiff, std::span<T> pixels, const Header& header, const std::string& file) {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_TILELENGTH, &height);
    const std::size_t size = std::size_t{width} * height;
    if (size == 0 || static_cast<std::size_t>(TIFFTileSize64(tiff)) != size * sizeof(T))
        fail(file);
    std::vector<T> tile(size);
    for (std::uint32_t top = 0; top < header.height; top += height)
        for (std::uint32_t left = 0; left < header.width; left += width) {
            if (TIFFReadTile(tiff, tile.data(), left, top, 0, 0) < 0)
                fail(file);
            for (std::uint32_t y = 0; y < std::min(height, header.height - top); ++y)
                std::copy_n(tile.data() + std::size_t{y} * width,
                            std::min(width, header.width - left),
                            pixels.data() + std::size_t{top + y} * header.width + left);
        }
}

template<class T>
darr_c2DArray readPixels(TIFF* tiff, const Header& header, dtyp_cDataType type,
                         const std::string& file) {
    darr_c2DArray values(static_cast<int>(header.width), static_cast<int>(header.height), type, {});
    const std::span<T> pixels = values.Elements<T>();
    if (TIFFIsTiled(tiff) != 0)
        readTiles<T>(tiff, pixels, header, file);
    else
        readRows<T>(tiff, pixels, header, file);
    if constexpr (std::is_floating_point_v<T>) {
        for (const T pixel : pixels)
            if (!std::isfinite(pixel))
                throw InputError(file + ": a pixel is not finite");
    } else if (header.meaning == PHOTOMETRIC_MINISWHITE)
        for (T& pixel : pixels)
            pixel = static_cast<T>(std::numeric_limits<T>::max() - pixel);
    return values;
}

/// What the pixels are no more that the file has, and what of it is left out.
std::vector<std::string> remarksOn(TIFF* tiff, const Header& header) {
    std::vector<std::string> remarks;
    if (header.meaning == PHOTOMETRIC_MINISWHITE && header.format != SAMPLEFORMAT_IEEEFP)
        remarks.push_back("0 is white in it, so its values were subtracted from " +
                          std::to_string(header.bits == 8 ? 255 : 65535));
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
    if (orientation != ORIENTATION_TOPLEFT)
        remarks.push_back("it asks to be shown turned or mirrored (orientation " +
                          std::to_string(orientation) +
                          "); its rows and columns are taken as they are stored");
    const auto images = static_cast<long long>(TIFFNumberOfDirectories(tiff));
    if (images > 1)
        remarks.push_back("it holds " + counted(images, "image") + ", of which the first is taken");
    return remarks;
}

} // namespace

Image readTiff(const std::string& file) {
    TIFFSetErrorHandler(note);
    TIFFSetWarningHandler(nullptr);
    lastMessage().clear();
    const File tiff(TIFFOpen(file.c_str(), "r"));
    if (!tiff)
        fail(file);
    const Header header = headerOf(tiff.get(), file);
    darr_c2DArray values = header.format == SAMPLEFORMAT_IEEEFP
                               ? readPixels<float>(tiff.get(), header, dtyp_Float, file)
                           : header.bits == 8
                               ? readPixels<std::uint8_t>(tiff.get(), header, dtyp_UInt8, file)
                               : readPixels<std::uint16_t>(tiff.get(), header, dtyp_UInt16, file);
    return {std::move(values), "pixels", "value", remarksOn(tiff.get(), header)};
}

} // namespace tour
