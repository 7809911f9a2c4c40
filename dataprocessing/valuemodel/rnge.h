#pragma once

/// @file
/// Calibrated ranges and index ranges.

#include <iosfwd>

#include "dataprocessing/base/type.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/exchange/mesg.h"
#include "dataprocessing/valuemodel/cal.h"

/// How the ends of a calibrated range become element indices, from the index p of each, which is
/// cal_cArrayCal::RealIndex: whole where the end lies at an element, within the tolerance. The
/// result is half open: from the index of the start up to but without that of the end. Each end is
/// rounded by itself, so that adjacent ranges neither share nor lose an element, and the range of
/// an array is the whole array by every rule. An axis of negative delta is walked from the upper
/// end of the range, which belongs to it, down to the lower one, which does not, in whichever order
/// the range has them.
enum rnge_eIndexSelect : int {
    rnge_IndexFloor = 0, ///< floor(p) at both ends
    /// floor(p + 0.5) at both ends, a half within the tolerance being the half:
    /// cal_cArrayCal::NearestIndex
    rnge_IndexNearest = 1,
    rnge_IndexOuter = 2,  ///< floor(p) at the start, ceil(p) at the end
    rnge_IndexCeiling = 3 ///< ceil(p) at both: the elements whose own position is in [start, end)
};

/// A range [start, end) of calibrated positions, which tells its receivers when it changes.
///
/// Every setter and assignment that changes a bound sends `rnge_1DRangeChanged` exactly once, after
/// the change and without data; one that changes nothing sends nothing. A copy has the bounds and
/// no receivers. The bounds are taken as they are: a range whose end lies before its start is not
/// reordered and contains nothing.
class DATAPROCESSING_EXPORT rnge_c1DRange : public mesg_cSender {
public:
    /// The range whose bounds are both zero.
    rnge_c1DRange() = default;
    /// The range from `start` to `end`.
    rnge_c1DRange(double start, double end) : start_(start), end_(end) {}
    /// The bounds of `other`, without its receivers.
    rnge_c1DRange(const rnge_c1DRange& other) = default;
    /// Takes the bounds of `other` and keeps its own receivers.
    rnge_c1DRange& operator=(const rnge_c1DRange& other);
    ~rnge_c1DRange() override;

    /// The lower bound, included.
    double Start() const noexcept { return start_; }
    /// The upper bound, excluded.
    double End() const noexcept { return end_; }
    /// Changes the start.
    void SetStart(double start) { Set(start, end_); }
    /// Changes the end.
    void SetEnd(double end) { Set(start_, end); }
    /// Changes both bounds with one message.
    void Set(double start, double end);

    /// End minus start.
    double Length() const noexcept { return end_ - start_; }
    /// True when start <= x < end.
    type_cBoolean Contains(double x) const noexcept { return start_ <= x && x < end_; }
    /// True when both ranges share more than a bound.
    type_cBoolean Intersects(const rnge_c1DRange& other) const noexcept;
    /// The part that both share; an empty range at the later start when they share none.
    rnge_c1DRange operator&(const rnge_c1DRange& other) const;

    /// True when both bounds are equal, exactly.
    friend bool operator==(const rnge_c1DRange& a, const rnge_c1DRange& b) noexcept {
        return a.start_ == b.start_ && a.end_ == b.end_;
    }

private:
    double start_ = 0;
    double end_ = 0;
};

/// The hull: the smallest range that holds both; with an empty range, the other one. Of two ranges
/// that both run backwards it is the smallest such one, and one that runs backwards is empty beside
/// one that does not.
DATAPROCESSING_EXPORT rnge_c1DRange operator|(const rnge_c1DRange& a, const rnge_c1DRange& b);

/// A rectangle in calibrated space, upright or rotated about its centre.
///
/// Bottom is the smaller y. `Left`, `LeftY`, `BottomX`, `Bottom`, `Right`, `RightY`, `TopX`, `Top`
/// name the four distinct corners counter-clockwise, for an upright rectangle too: its left corner
/// is left bottom, its bottom corner right bottom, its right corner right top, its top corner left
/// top.
class DATAPROCESSING_EXPORT rnge_c2DRange {
public:
    /// The rectangle whose bounds are all zero.
    rnge_c2DRange() noexcept : rnge_c2DRange(0, 0, 0, 0) {}
    /// The upright rectangle with these bounds. They are not reordered.
    rnge_c2DRange(double left, double bottom, double right, double top) noexcept;
    /// The rectangle of `length` (along its own X) by `width`, turned by `angle` radians
    /// counter-clockwise about its centre. Whole quarter turns are exact where angle / (type_Pi /
    /// 2) is a whole number in double: the first ten of either sign, k * (type_Pi / 2), are; of
    /// later ones some are off by the rounding of the angle.
    rnge_c2DRange(double centerX, double centerY, double length, double width,
                  double angle) noexcept;

    /// X of the left corner.
    double Left() const noexcept { return corners_[0].x; }
    /// Y of the left corner.
    double LeftY() const noexcept { return corners_[0].y; }
    /// X of the bottom corner.
    double BottomX() const noexcept { return corners_[1].x; }
    /// Y of the bottom corner.
    double Bottom() const noexcept { return corners_[1].y; }
    /// X of the right corner.
    double Right() const noexcept { return corners_[2].x; }
    /// Y of the right corner.
    double RightY() const noexcept { return corners_[2].y; }
    /// X of the top corner.
    double TopX() const noexcept { return corners_[3].x; }
    /// Y of the top corner.
    double Top() const noexcept { return corners_[3].y; }

    /// X of the centre.
    double CenterX() const noexcept { return centerX_; }
    /// Y of the centre.
    double CenterY() const noexcept { return centerY_; }
    /// Extent along the rectangle's own X.
    double Length() const noexcept { return length_; }
    /// Extent along the rectangle's own Y.
    double Width() const noexcept { return width_; }
    /// Rotation in radians, counter-clockwise, as given; 0 for an upright rectangle.
    double Angle() const noexcept { return angle_; }

    /// True when (x, y) lies inside; the rectangle's own left and bottom sides belong to it, its
    /// right and top sides do not.
    type_cBoolean Contains(double x, double y) const noexcept;
    /// True when the upright hulls of both share more than a side.
    type_cBoolean Intersects(const rnge_c2DRange& other) const noexcept;
    /// The upright rectangle that the upright hulls of both share, along each axis as of 1D ranges:
    /// where they share none, its bounds are both the later start.
    rnge_c2DRange operator&(const rnge_c2DRange& other) const noexcept;

    /// True when the four corners and the angle are equal, exactly.
    friend bool operator==(const rnge_c2DRange& a, const rnge_c2DRange& b) noexcept {
        return a.corners_[0] == b.corners_[0] && a.corners_[1] == b.corners_[1] &&
               a.corners_[2] == b.corners_[2] && a.corners_[3] == b.corners_[3] &&
               a.angle_ == b.angle_;
    }

    /// The empty rectangle at the origin. Where a range argument means "the whole image", it is
    /// this very object that means it.
    static const rnge_c2DRange Null;

private:
    struct sPoint {
        double x = 0;
        double y = 0;
        friend bool operator==(const sPoint&, const sPoint&) = default;
    };

    sPoint corners_[4]; // left, bottom, right, top
    double centerX_;
    double centerY_;
    double length_;
    double width_;
    double angle_;
};

/// The hull of both: an upright rectangle around all corners; with a rectangle of no length or no
/// width, that around the other one.
DATAPROCESSING_EXPORT rnge_c2DRange operator|(const rnge_c2DRange& a, const rnge_c2DRange& b);

/// A half-open range [first, last) of element indices. Indices may lie outside any array; a last
/// one that is not after the first means no element.
class DATAPROCESSING_EXPORT rnge_c1DIndexRange {
public:
    /// The elements from `first` up to but without `last`.
    constexpr rnge_c1DIndexRange(int first, int last) noexcept : first_(first), last_(last) {}
    /// The elements of a calibrated range, by `select`. Indices are clamped to the range of int.
    /// Throws the index error when an end has no index (NaN, or a delta of zero), and
    /// expt_cProgramException ("rnge", 1) for a rule that is none of rnge_eIndexSelect.
    rnge_c1DIndexRange(const rnge_c1DRange& range, const cal_cArrayCal& cal,
                       rnge_eIndexSelect select);

    /// The first index.
    constexpr int First() const noexcept { return first_; }
    /// One past the last index.
    constexpr int Last() const noexcept { return last_; }

    friend constexpr bool operator==(const rnge_c1DIndexRange&,
                                     const rnge_c1DIndexRange&) = default;

private:
    int first_;
    int last_;
};

/// A half-open rectangle of element indices.
class DATAPROCESSING_EXPORT rnge_c2DIndexRange {
public:
    /// Columns from `firstX` up to but without `lastX`, rows likewise.
    constexpr rnge_c2DIndexRange(int firstX, int firstY, int lastX, int lastY) noexcept
        : x_(firstX, lastX), y_(firstY, lastY) {}
    /// The elements of the upright hull of a calibrated rectangle; see rnge_c1DIndexRange.
    rnge_c2DIndexRange(const rnge_c2DRange& range, const cal_c2DArrayCal& cal,
                       rnge_eIndexSelect select);

    /// The columns.
    constexpr const rnge_c1DIndexRange& X() const noexcept { return x_; }
    /// The rows.
    constexpr const rnge_c1DIndexRange& Y() const noexcept { return y_; }

    friend constexpr bool operator==(const rnge_c2DIndexRange&,
                                     const rnge_c2DIndexRange&) = default;

private:
    rnge_c1DIndexRange x_;
    rnge_c1DIndexRange y_;
};

/// Prints "[start, end)".
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const rnge_c1DRange& range);
/// Prints "[left, right) x [bottom, top)", or the centre, sizes and angle of a rotated one.
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const rnge_c2DRange& range);

namespace dataprocessing::detail {

/// The bounds of a range without its messages.
struct rnge_sBounds {
    double start;
    double end;
    friend bool operator==(const rnge_sBounds&, const rnge_sBounds&) = default;
};

/// The elements of bounds on an axis; see rnge_c1DIndexRange.
rnge_c1DIndexRange rnge_Select(const rnge_sBounds& bounds, const cal_cArrayCal& cal,
                               rnge_eIndexSelect select);

} // namespace dataprocessing::detail
