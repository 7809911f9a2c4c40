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
#include "lines.h"

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
        requireSize(name_, width, height);
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
        return {std::move(values), "pixels", "value", Remarks()};
    }

private:
    /// What the values are no more that the file has.
    std::vector<std::string> Remarks() const {
        std::vector<std::string> remarks;
        if ((colourType_ & PNG_COLOR_MASK_COLOR) != 0)
            remarks.emplace_back("it has colours, which were made grey: 0.21 of red, 0.72 of green "
                                 "and 0.07 of blue");
        if (isTransparent_)
            remarks.emplace_back("what it says of transparency is left out");
        if (colourType_ == PNG_COLOR_TYPE_GRAY && bits_ < 8)
            remarks.push_back("its values have " + counted(bits_, "bit") +
                              " and were spread from 0 to 255");
        return remarks;
    }

    // Functions that a jump leaves have nothing that would have to be destroyed.
    void Header() {
        if (setjmp(png_jmpbuf(png_)) != 0)
            Fail();
        png_init_io(png_, file_.get());
        png_read_info(png_, info_);
        colourType_ = png_get_color_type(png_, info_);
        bits_ = png_get_bit_depth(png_, info_);
        isTransparent_ = (colourType_ & PNG_COLOR_MASK_ALPHA) != 0 ||
                         png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
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
    int colourType_ = 0; ///< in the file, as are the next
    int bits_ = 0;
    bool isTransparent_ = false;
};

} // namespace

Image readPng(const std::string& file) { return Reader(file).Read(); }

} // namespace tour
