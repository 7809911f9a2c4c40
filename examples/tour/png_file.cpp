#include "png_file.h"

#include <png.h>

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "image_file.h"
#include "input_error.h"

namespace tour {

namespace {

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// What libpng keeps while it reads a file; it tells errors by jumping back into Guarded().
class Reader {
public:
    explicit Reader(const std::string& file)
        : name_(file), file_(std::fopen(file.c_str(), "rb")),
          png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, this, fail, ignore)),
          info_(png_ != nullptr ? png_create_info_struct(png_) : nullptr) {
        if (!file_)
            throw InputError(file + ": cannot be opened");
        if (info_ == nullptr)
            throw std::bad_alloc();
    }
    ~Reader() { png_destroy_read_struct(&png_, &info_, nullptr); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    Image Read() {
        Header();
        const png_uint_32 width = png_get_image_width(png_, info_);
        const png_uint_32 height = png_get_image_height(png_, info_);
        if (width < fewestPerSide || height < fewestPerSide)
            throw InputError(name_ + ": the image has " + std::to_string(width) + " x " +
                             std::to_string(height) + " pixels, expected " +
                             std::to_string(fewestPerSide) + " or more in each direction");
        const auto sizeX = static_cast<int>(width);
        const auto sizeY = static_cast<int>(height);
        const bool isWide = png_get_bit_depth(png_, info_) == 16;
        darr_c2DArray values(sizeX, sizeY, isWide ? dtyp_UInt16 : dtyp_UInt8, {});
        const std::size_t rowSize = static_cast<std::size_t>(width) * (isWide ? 2 : 1);
        const auto bytes =
            isWide ? reinterpret_cast<png_byte*>(values.Elements<std::uint16_t>().data())
                   : values.Elements<std::uint8_t>().data();
        rows_.resize(height);
        for (std::size_t y = 0; y < rows_.size(); ++y)
            rows_[y] = bytes + y * rowSize;
        Pixels();
        return {std::move(values), "pixels", "value"};
    }

private:
    // Functions that a jump leaves have nothing that would have to be destroyed.
    void Header() {
        if (setjmp(png_jmpbuf(png_)) != 0)
            Fail();
        png_init_io(png_, file_.get());
        png_read_info(png_, info_);
        png_set_expand(png_);
        if ((png_get_color_type(png_, info_) & PNG_COLOR_MASK_COLOR) != 0)
            png_set_rgb_to_gray(png_, PNG_ERROR_ACTION_NONE, PNG_RGB_TO_GRAY_DEFAULT,
                                PNG_RGB_TO_GRAY_DEFAULT);
        png_set_strip_alpha(png_);
        png_set_swap(png_); // to the order of this processor
        png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
    }
    void Pixels() {
        if (setjmp(png_jmpbuf(png_)) != 0)
            Fail();
        png_read_image(png_, rows_.data());
        png_read_end(png_, nullptr);
    }
    [[noreturn]] void Fail() const {
        throw InputError(name_ + ": is damaged: " + printable(message_));
    }
    static void fail(png_structp png, png_const_charp message) {
        std::snprintf(static_cast<Reader*>(png_get_error_ptr(png))->message_, sizeof message_, "%s",
                      message);
        longjmp(png_jmpbuf(png), 1);
    }
    static void ignore(png_structp, png_const_charp) {}

    std::string name_;
    std::unique_ptr<std::FILE, Close> file_;
    char message_[200] = "";
    png_structp png_;
    png_infop info_;
    std::vector<png_bytep> rows_;
};

} // namespace

Image readPng(const std::string& file) { return Reader(file).Read(); }

} // namespace tour
