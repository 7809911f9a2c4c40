#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <vector>

#include "dataprocessing/geometry/proj.h"
#include "dataprocessing/geometry/warp.h"
#include "dataprocessing/valuemodel/expt.h"

static bool isLimited = false;

// Large results are refused: what they would show, small ones do, and sooner. The fuzzer itself may
// take what it wants.
void* operator new(std::size_t size) {
    void* const block = isLimited && size > (std::size_t{2} << 20) ? nullptr : std::malloc(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}
void* operator new(std::size_t size, std::align_val_t) { return operator new(size); }
void operator delete(void* block, std::align_val_t) noexcept { std::free(block); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace {

/// The bytes of the input, one after the other; zeros after the last.
class cInput {
public:
    explicit cInput(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    template<class T>
    T Next() {
        T value{};
        const std::size_t count = bytes_.size() < sizeof(T) ? bytes_.size() : sizeof(T);
        if (count > 0)
            std::memcpy(&value, bytes_.data(), count);
        bytes_ = bytes_.subspan(count);
        return value;
    }
    /// Any double, or a small one, so that results of a sensible size come up often.
    double Number() {
        const auto kind = Next<std::uint8_t>();
        return kind % 4 == 0 ? Next<double>() : Next<std::int16_t>() / 1024.0;
    }

private:
    std::span<const std::uint8_t> bytes_;
};

void Warp(const darr_c2DArray& image, cInput& input) {
    const auto kind = input.Next<std::uint8_t>();
    const double p = input.Number();
    const double q = input.Number();
    double r[5];
    for (double& number : r)
        number = input.Number();
    const rnge_c2DRange range(r[0], r[1], r[2], r[3], r[4]);
    switch (kind % 8) {
    case 0:
        warp_Resize(image, p, q);
        return;
    case 1:
        warp_Rescale(image, p, q);
        return;
    case 2:
        warp_Shear(image, p, q);
        return;
    case 3:
        warp_FlipAxis(image, p);
        return;
    case 4:
        warp_FlipPoint(image);
        return;
    case 5:
        warp_Rotate(image, p, rnge_c2DRange::Null);
        return;
    case 6:
        warp_Rotate(image, p, range);
        return;
    default:
        proj_Project(image, range);
    }
}

} // namespace

// Whatever the image, its calibration and the map: a result or a refusal, and nothing outside.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cInput input({data, size});
    const dtyp_cDataType type(input.Next<std::uint8_t>() % 12);
    const int sizeX = input.Next<std::uint8_t>() % 16, sizeY = input.Next<std::uint8_t>() % 16;
    const cal_c2DArrayCal cal(input.Number(), input.Number(), input.Number(), input.Number(),
                              input.Next<int>(), input.Next<std::int8_t>());
    darr_c2DArray image(sizeX, sizeY, type, cal);
    if (image.Data() != nullptr)
        std::memset(image.Data(), 1, static_cast<std::size_t>(image.Count()) * type.SizeOf());
    isLimited = true;
    try {
        Warp(image, input);
    } catch (const expt_cProgramException&) {
    } catch (const std::bad_alloc&) {
    }
    isLimited = false;
    return 0;
}
