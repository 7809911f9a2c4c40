#include <cmath>
#include <vector>

#include "random.h"
#include "story.h"

namespace tour {

namespace {

struct Vector {
    double x;
    double y;
};

// The lattice of the image, in mm.
constexpr Vector a{1.6, 0.25};
constexpr Vector b{-0.3, 1.45};

/// A lattice of spots, a few counts each.
darr_c2DArray lattice() {
    constexpr int size = 256;
    constexpr double determinant = a.x * b.y - a.y * b.x;
    const cal_c2DArrayCal cal(0, 0.1, 0, 0.1, 0, 0);
    Random random(20260104);
    std::vector<float> counts;
    for (int j = 0; j < size; ++j)
        for (int i = 0; i < size; ++i) {
            const double x = cal.X().Position(i);
            const double y = cal.Y().Position(j);
            const double u = (b.y * x - b.x * y) / determinant;
            const double v = (a.x * y - a.y * x) / determinant;
            const double waves = std::cos(2 * type_Pi * u) + std::cos(2 * type_Pi * v);
            counts.push_back(static_cast<float>(random.Poisson(std::exp(1.5 * waves - 2))));
        }
    return darr_c2DArray(size, size, std::span<const float>(counts), cal);
}

/// Where the values have their maximum within the mask.
Vector peakWithin(const darr_c2DArray& values, barr_c2DBoolArray mask) {
    mask.SetCal(values.Cal());
    const pnum_cNumber least = extr_Min(values, conv_RealPart);
    Vector peak{};
    extr_Max(tnry_Ternary(mask, values, least), peak.x, peak.y, conv_RealPart);
    return peak;
}

void tell(std::ostream& text, const Vector& peak) {
    text << "   period (" << fixed(peak.x, 2) << ", " << fixed(peak.y, 2) << ") mm\n";
}

} // namespace

void stepPeriod(Story& story) {
    // Longer than the spots are wide, and shorter than the sum of two periods.
    constexpr double shortest = 0.8;
    constexpr double longest = 2;
    const darr_c2DArray image = lattice();
    // Its sign alternates from element to element.
    const darr_c2DArray correlation =
        conv_Convert(four_AutoCorrelate(image - stat_Mean(image)), dtyp_Float, conv_Modulus);
    const cal_c2DArrayCal& cal = correlation.Cal();
    const auto ramp = [&](ramp_eRampType type) -> darr_c2DArray {
        return ramp_c2DRamp(type, correlation.SizeX(), correlation.SizeY(), cal);
    };
    const barr_c2DBoolArray isPeriod =
        (ramp(ramp_Radius) > shortest) & (ramp(ramp_Radius) < longest);
    const Vector first = peakWithin(correlation, isPeriod);
    // The second period leads out of the line of the first.
    const double square = first.x * first.x + first.y * first.y;
    const darr_c2DArray across = abs(ramp(ramp_Y) * first.x - ramp(ramp_X) * first.y);
    const Vector second = peakWithin(correlation, isPeriod & (across > square / 2));

    story.text << "   A lattice of spots with the periods (" << a.x << ", " << a.y << ") and ("
               << b.x << ", " << b.y << ") mm, a few counts each.\n"
               << "   Its auto-correlation has the same periods, in either direction:\n";
    tell(story.text, first);
    tell(story.text, second);
    const Path periods{{first.x, first.y}, {0, 0}, {second.x, second.y}};
    const int half = correlation.SizeX() / 2;
    const darr_c2DArray centre = correlation.Selection(half - 64, half - 64, half + 64, half + 64);
    story.canvas.DrawTiles(
        "period.png",
        {Panel{"a lattice with noise", image.Selection(0, 0, 128, 128), "counts"},
         Panel{"the modulus of its auto-correlation", centre, "correlation", {periods}}},
        "mm");
}

} // namespace tour
