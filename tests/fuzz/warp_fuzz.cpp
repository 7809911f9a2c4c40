#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/geometry/proj.h"
#include "dataprocessing/geometry/warp.h"
#include "dataprocessing/geometry/warp_to.h"
#include "tests/failing_new.h"
#include "tests/fuzz/input.h"

namespace {

void Warp(const darr_c2DArray& image, cInput& input) {
    const auto kind = input.Next<std::uint8_t>();
    const double p = input.Number();
    const double q = input.Number();
    double r[5];
    for (double& number : r)
        number = input.Number();
    const rnge_c2DRange range(r[0], r[1], r[2], r[3], r[4]);
    const grid_s2DGrid grid{cal_c2DArrayCal(r[0], r[1], r[2], r[3], input.Index(), input.Index()),
                            input.Below(40), input.Below(40)};
    const auto interpolation = static_cast<warp_eInterpolation>(input.Below(4));
    switch (kind % 12) {
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
    case 7:
        warp_MapTo(image, {p, q, r[4], input.Number(), input.Number(), input.Number()}, grid,
                   interpolation);
        return;
    case 8:
        warp_RotateTo(image, p, pos_c2DPosition(q, r[4]), grid, interpolation);
        return;
    case 9:
        warp_ResizeTo(image, p, q, {}, grid, interpolation);
        return;
    case 10:
        warp_ShearTo(image, p, q, {}, {}, interpolation);
        return;
    default:
        proj_Project(image, range);
    }
}

} // namespace

// Whatever the image, its calibration and the map: a result or a refusal, and nothing outside.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cInput input(data, size);
    const dtyp_cDataType type(input.Next<std::uint8_t>() % 12);
    const int sizeX = input.Next<std::uint8_t>() % 16, sizeY = input.Next<std::uint8_t>() % 16;
    const cal_c2DArrayCal cal(input.Number(), input.Number(), input.Number(), input.Number(),
                              input.Next<int>(), input.Next<std::int8_t>());
    darr_c2DArray image(sizeX, sizeY, type, cal);
    if (image.Data() != nullptr)
        std::memset(image.Data(), 1, static_cast<std::size_t>(image.Count()) * type.SizeOf());
    const LimitedNew limited(std::size_t{1} << 18);
    try {
        Warp(image, input);
    } catch (const expt_cProgramException&) {
    } catch (const std::bad_alloc&) {
    }
    return 0;
}
