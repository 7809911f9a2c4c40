#pragma once

/// @file
/// Two planes of values, one lying over the other.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace dataprocessing::detail {

/// Values of an image, row after row.
struct regs_sPlane {
    int sizeX = 0;
    int sizeY = 0;
    std::vector<float> values;

    regs_sPlane(int x, int y)
        : sizeX(x), sizeY(y), values(static_cast<std::size_t>(x) * static_cast<std::size_t>(y)) {}
    float* Row(int y) {
        return values.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(sizeX);
    }
    const float* Row(int y) const {
        return values.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(sizeX);
    }
};

/// A shift by whole elements.
struct regs_sShift {
    int x;
    int y;
};

/// A shift between elements.
struct regs_sPlace {
    double x;
    double y;
};

/// A direction, of length 1.
struct regs_sDirection {
    double x;
    double y;

    /// Products of what is along the axes, as it has them: x x sums.xx + 2 x y sums.xy + y y
    /// sums.yy.
    template<class Products>
    double Of(const Products& sums) const {
        return x * x * sums.xx + 2 * x * y * sums.xy + y * y * sums.yy;
    }
    regs_sDirection Across() const { return {-y, x}; }
};

/// The direction that has most of such products.
template<class Products>
regs_sDirection regs_SteepestOf(const Products& sums) {
    const double angle = std::atan2(2 * sums.xy, sums.xx - sums.yy) / 2;
    return {std::cos(angle), std::sin(angle)};
}

inline regs_sShift regs_Nearest(const regs_sPlace& place) {
    return {static_cast<int>(std::lround(place.x)), static_cast<int>(std::lround(place.y))};
}

/// What overlaps along one axis when element i of the fixed array lies at i + shift of the moved.
struct regs_sOverlap {
    int first; // of the fixed array
    int count;

    regs_sOverlap(int fixed, int moved, int shift)
        : first(std::max(0, -shift)), count(std::min(fixed, moved - shift) - first) {}
};

/// The shifts along one axis at which at least a part of the smaller array overlaps the other.
struct regs_sShifts {
    int least;
    int most;

    regs_sShifts(int fixed, int moved, double part)
        : least(EnoughOf(fixed, moved, part) - fixed), most(moved - EnoughOf(fixed, moved, part)) {}
    bool Has(int shift) const { return shift >= least && shift <= most; }

private:
    static int EnoughOf(int fixed, int moved, double part) {
        return std::max(1, static_cast<int>(std::ceil(part * std::min(fixed, moved))));
    }
};

/// How values of one plane become those of another: `gain` times them plus `offset`.
struct regs_sScale {
    double gain;
    double offset;
};

/// How what overlaps is alike.
struct regs_sLikeness {
    double coefficient = 0;  ///< of the correlation; 0 where there is nothing to be alike
    regs_sScale scale{1, 0}; ///< gives the moved values the mean and the deviation of the fixed
};

/// By every row of what overlaps, or by one of `step` rows.
regs_sLikeness regs_LikenessOf(const regs_sPlane& fixed, const regs_sPlane& moved,
                               const regs_sShift& shift, int step = 1);

/// How likely it is that so many elements of both are the same but for noise, by the coefficient of
/// their correlation: the logarithm of that, in any units, beside that of their not being the same.
/// A part `doubt` of their squares is never counted as alike: the less, the more surely a few
/// elements that are quite alike go before many that are hardly less so.
double regs_RankOf(double coefficient, double count, double doubt);

} // namespace dataprocessing::detail
