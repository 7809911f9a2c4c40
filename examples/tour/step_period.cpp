#include <algorithm>
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

// The lattice that is made here, in mm.
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

/// How far `v` is from `period`, whichever its sign.
double apart(const Vector& period, const Vector& v) {
    return std::min(std::hypot(v.x - period.x, v.y - period.y),
                    std::hypot(v.x + period.x, v.y + period.y));
}

std::vector<std::string> rowOf(const char* name, const Vector& v) {
    return {name, fixed(v.x, 2), fixed(v.y, 2)};
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

    story.teller.Say("This lattice of spots is the tour's own, whatever the image is. It has two "
                     "periods, and a few counts in each spot. Its "
                     "auto-correlation has the same periods, in either direction. It is searched "
                     "in a ring, which comparisons cut out of a ramp of radii.");
    story.teller.Show({.caption = "The periods in mm",
                       .heading = {"period", "x", "y"},
                       .columns = {Column::name, Column::number, Column::number},
                       .rows = {rowOf("made", a), rowOf("made", b), rowOf("found", first),
                                rowOf("found", second)}});
    const double off = std::max(std::min(apart(a, first), apart(a, second)),
                                std::min(apart(b, first), apart(b, second)));
    story.teller.Say("Either order and either sign of the two make the same lattice. With those "
                     "that fit best what is found is ",
                     fixed(off / cal.X().Delta(), 1), " elements or less off what was made",
                     off <= cal.X().Delta() ? "." : ", which is more than one and wrong.");
    // From the middle of one element to the middle of another.
    const auto middle = [&](const Vector& v) {
        return pos_c2DPosition(v.x + cal.X().Delta() / 2, v.y + cal.Y().Delta() / 2);
    };
    const Path periods{middle(first), middle({0, 0}), middle(second)};
    const darr_c2DArray corner = image.Selection(0, 0, 128, 128);
    const int half = correlation.SizeX() / 2;
    const darr_c2DArray centre = correlation.Selection(half - 64, half - 64, half + 64, half + 64);
    story.teller.Draw(
        {"A lattice with noise, and the periods found in its auto-correlation.",
         {Panel{"a lattice with noise", corner, "counts", "mm"},
          Panel{"the modulus of its auto-correlation", centre, "correlation", "mm", {periods}}}});
}

} // namespace tour
