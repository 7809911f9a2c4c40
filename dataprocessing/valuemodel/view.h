#pragma once

/// @file
/// Views: an array as an operation wants to see it (another element type, another delta, another
/// range) without a copy of it. Elements are produced in blocks where they are consumed.

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/conv.h"

namespace dataprocessing::detail {

/// The value at `part` of the way from `a` to `b`, 0 <= part < 1. A neighbour of weight zero does
/// not matter, even when it is infinite or NaN.
inline double view_Between(double a, double b, double part) noexcept {
    if (part == 0)
        return a;
    const double step = b - a;
    if (std::isfinite(step)) [[likely]]
        return a + step * part;
    return a * (1 - part) + b * part; // far apart or infinite: the step is out of range
}

/// Where the elements of a resampled axis lie among the stored ones. Element i of it lies at the
/// real-valued index i x ratio, which is taken in fixed point: sums and products are exact there,
/// so that the part between two stored elements is as good at the last element as at the first, and
/// is the same wherever one begins.
class view_cPlaces {
public:
    /// The stored elements themselves.
    view_cPlaces() noexcept = default;
    /// Elements of `delta` among stored ones of `storedDelta`. A place within `tolerance` of a
    /// stored element is that element.
    view_cPlaces(double delta, double storedDelta, double tolerance) noexcept;

    /// Stored elements per resampled one.
    double Ratio() const noexcept { return ratio_; }
    /// The places of `count` elements from `first` on among `stored` ones: for each the stored
    /// element before it, and the part of the way to the next one. Past the last one that one
    /// holds.
    void Fill(long long first, int count, int stored, int* indices, double* parts) const noexcept;

private:
    __extension__ typedef unsigned __int128 tFixed;
    __extension__ typedef __int128 tSigned;
    static constexpr int fractionBits = 96; // an index has 31 bits before them

    double ratio_ = 1;
    tFixed step_ = tFixed{1} << fractionBits;
    std::uint64_t tolerance_ = 1; // in units of 2^-63
};

/// One axis of a view: the stored elements, resampled to another delta, of which a part is
/// selected that may reach outside. Rescale comes before Select, and each at most once.
class view_cAxis {
public:
    /// All `count` stored elements, which lie at `cal`.
    view_cAxis(int count, const cal_cArrayCal& cal) noexcept
        : storedCount_(count), rescaledCount_(count), count_(count), cal_(cal) {}

    /// Resamples to `delta` over the same extent: floor(length / delta + 0.5) elements from the
    /// same start; with the delta they have, the elements stay as they are. Throws
    /// expt_cProgramException ("resc", 1) for a delta that is zero, not finite or of the other
    /// sign, the size error for more than 2^31-1 elements.
    void Rescale(double delta);
    /// Selects the elements from `first` up to but without `last`, which may lie outside; nothing
    /// when last is not after first. Positions stay where they are: the calibration index moves.
    /// Throws the size error for more than 2^31-1 elements, the index error when the calibration
    /// index would leave int.
    void Select(long long first, long long last);

    /// The number of elements seen.
    int Count() const noexcept { return count_; }
    /// Where the elements seen lie.
    const cal_cArrayCal& Cal() const noexcept { return cal_; }
    /// The position of the first element.
    double Start() const noexcept { return cal_.Position(0); }
    /// The position one past the last element.
    double End() const noexcept { return cal_.Position(count_); }
    /// True when the stored elements are seen as they are.
    bool IsWhole() const noexcept { return !rescaled_ && first_ == 0 && count_ == storedCount_; }
    /// Where the rescaled elements lie among the stored ones.
    view_cPlaces Places() const noexcept {
        return rescaled_ ? view_cPlaces(cal_.Delta(), storedDelta_, tolerance_) : view_cPlaces();
    }

private:
    friend class view_cView;

    // Axes are made for every operand of every operation, places for the few that are resampled.
    int storedCount_;
    int rescaledCount_;
    int count_;
    bool rescaled_ = false;
    long long first_ = 0; // index in the rescaled elements of the first one seen
    double storedDelta_ = 0;
    double tolerance_ = 0;
    cal_cArrayCal cal_;
};

/// The delta of smaller magnitude; the second's unless the first's is less.
inline double view_FinerDelta(const view_cAxis& a, const view_cAxis& b) noexcept {
    const double deltaA = a.Cal().Delta();
    const double deltaB = b.Cal().Delta();
    return std::fabs(deltaA) < std::fabs(deltaB) ? deltaA : deltaB;
}

/// Stored elements seen as elements of `Type()` along two axes (a 1D array is one row).
class view_cView {
public:
    /// A view of stored elements, row after row, x fastest. Both types are known ones, or one and
    /// the same unknown one, of which there are no elements to see.
    view_cView(const void* data, dtyp_cDataType stored, dtyp_cDataType seen, const view_cAxis& x,
               const view_cAxis& y, conv_eComplexConversion mode = conv_RealPart) noexcept
        : data_(data), stored_(stored), seen_(seen), mode_(mode), x_(x), y_(y) {}

    /// The type of the elements seen.
    dtyp_cDataType Type() const noexcept { return seen_; }
    /// The number of elements seen.
    std::size_t Count() const noexcept {
        return static_cast<std::size_t>(x_.Count()) * static_cast<std::size_t>(y_.Count());
    }
    /// The X axis.
    const view_cAxis& X() const noexcept { return x_; }
    /// The Y axis.
    const view_cAxis& Y() const noexcept { return y_; }

    /// The stored elements, when all of them are seen in their order, perhaps in another type;
    /// null otherwise.
    const void* Stored() const noexcept { return x_.IsWhole() && y_.IsWhole() ? data_ : nullptr; }

    /// Writes the elements from `first` up to `first + count`, in storage order of what is seen,
    /// as elements of Type(). The caller keeps within Count().
    void Fetch(std::size_t first, std::size_t count, void* target) const;

private:
    struct sPlaces {
        view_cPlaces x;
        view_cPlaces y;
    };
    void Row(const sPlaces& places, long long y, long long x, int count, void* target) const;
    void RescaledRow(const sPlaces& places, long long row, long long column, int count,
                     void* target) const;

    const void* data_;
    dtyp_cDataType stored_;
    dtyp_cDataType seen_;
    conv_eComplexConversion mode_;
    view_cAxis x_;
    view_cAxis y_;
};

} // namespace dataprocessing::detail
