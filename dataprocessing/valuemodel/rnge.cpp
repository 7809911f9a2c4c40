#include "dataprocessing/valuemodel/rnge.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/base/turn.h"

using dataprocessing::detail::rnge_sBounds;
using dataprocessing::detail::rnge_Select;
using dataprocessing::detail::turn_sRotation;

namespace {

/// The smallest bounds that hold both; see operator|.
rnge_sBounds hull(const rnge_sBounds& a, const rnge_sBounds& b) {
    const bool isBackwardA = a.start > a.end;
    const bool isBackwardB = b.start > b.end;
    if (a.start == a.end || (isBackwardA && b.start < b.end))
        return b;
    if (b.start == b.end || (isBackwardB && a.start < a.end))
        return a;
    if (isBackwardA && isBackwardB)
        return {std::max(a.start, b.start), std::min(a.end, b.end)};
    return {std::min(a.start, b.start), std::max(a.end, b.end)};
}

/// The bounds that both share, empty at the later start where they share none.
rnge_sBounds shared(const rnge_sBounds& a, const rnge_sBounds& b) {
    const double start = std::max(a.start, b.start);
    return {start, std::max(start, std::min(a.end, b.end))};
}

bool isIntersecting(const rnge_sBounds& a, const rnge_sBounds& b) {
    return std::max(a.start, b.start) < std::min(a.end, b.end);
}

bool isSame(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

struct sTurn : turn_sRotation {
    using turn_sRotation::turn_sRotation;

    /// The whole quarters that the leftmost corner has moved on by: 0 from the angle after -pi / 2
    /// up to 0, 1 up to pi / 2, and so on round.
    int Quarters() const noexcept {
        if (sine > 0)
            return cosine >= 0 ? 1 : 2;
        if (cosine > 0)
            return 0;
        return sine < 0 ? 3 : 2;
    }
};

int toIndex(double p) {
    if (std::isnan(p))
        arr_IndexError();
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(p, lowest, highest));
}

/// The bounds of a rectangle along each axis. An upright one keeps the direction it has.
rnge_sBounds boundsX(const rnge_c2DRange& r) {
    if (r.Angle() == 0)
        return {r.Left(), r.Right()};
    const auto [low, high] = std::minmax({r.Left(), r.BottomX(), r.Right(), r.TopX()});
    return {low, high};
}
rnge_sBounds boundsY(const rnge_c2DRange& r) {
    if (r.Angle() == 0)
        return {r.Bottom(), r.Top()};
    const auto [low, high] = std::minmax({r.LeftY(), r.Bottom(), r.RightY(), r.Top()});
    return {low, high};
}

bool isEmpty(const rnge_c2DRange& r) { return r.Length() == 0 || r.Width() == 0; }

} // namespace

rnge_c1DIndexRange dataprocessing::detail::rnge_Select(const rnge_sBounds& bounds,
                                                       const cal_cArrayCal& cal,
                                                       rnge_eIndexSelect select) {
    if (cal.Delta() == 0)
        arr_IndexError();
    // An axis that runs downward meets the upper end first.
    const bool isTurned = cal.Delta() < 0 && bounds.start < bounds.end;
    const double start = isTurned ? bounds.end : bounds.start;
    const double end = isTurned ? bounds.start : bounds.end;
    const double p = cal.RealIndex(start);
    const double q = cal.RealIndex(end);
    switch (select) {
    case rnge_IndexFloor:
        return {toIndex(std::floor(p)), toIndex(std::floor(q))};
    case rnge_IndexNearest:
        return {toIndex(cal.NearestIndex(start)), toIndex(cal.NearestIndex(end))};
    case rnge_IndexOuter:
        return {toIndex(std::floor(p)), toIndex(std::ceil(q))};
    case rnge_IndexCeiling:
        return {toIndex(std::ceil(p)), toIndex(std::ceil(q))};
    }
    throw expt_cProgramException("rnge", 1, "Unknown index selection.");
}

rnge_c1DRange::~rnge_c1DRange() = default;

rnge_c1DRange& rnge_c1DRange::operator=(const rnge_c1DRange& other) {
    Set(other.start_, other.end_);
    return *this;
}

void rnge_c1DRange::Set(double start, double end) {
    const bool changed = !isSame(start, start_) || !isSame(end, end_);
    start_ = start;
    end_ = end;
    if (changed)
        SendMessage(rnge_1DRangeChanged, nullptr);
}

type_cBoolean rnge_c1DRange::Intersects(const rnge_c1DRange& other) const noexcept {
    return isIntersecting({start_, end_}, {other.start_, other.end_});
}

rnge_c1DRange rnge_c1DRange::operator&(const rnge_c1DRange& other) const {
    const auto [start, end] = shared({start_, end_}, {other.start_, other.end_});
    return {start, end};
}

rnge_c1DRange operator|(const rnge_c1DRange& a, const rnge_c1DRange& b) {
    const auto [start, end] = hull({a.Start(), a.End()}, {b.Start(), b.End()});
    return {start, end};
}

const rnge_c2DRange rnge_c2DRange::Null;

rnge_c2DRange::rnge_c2DRange(double left, double bottom, double right, double top) noexcept
    : corners_{{left, bottom}, {right, bottom}, {right, top}, {left, top}},
      centerX_((left + right) / 2), centerY_((bottom + top) / 2), length_(right - left),
      width_(top - bottom), angle_(0) {}

rnge_c2DRange::rnge_c2DRange(double centerX, double centerY, double length, double width,
                             double angle) noexcept
    : centerX_(centerX), centerY_(centerY), length_(length), width_(width), angle_(angle) {
    const sTurn turn(angle);
    // The rectangle's own corners counter-clockwise from its own left bottom. Which of them is the
    // leftmost changes with every quarter turn; an upright rectangle starts with its own first.
    constexpr double own[4][2] = {{-0.5, -0.5}, {0.5, -0.5}, {0.5, 0.5}, {-0.5, 0.5}};
    const int turned = turn.Quarters();
    for (int i = 0; i < 4; ++i) {
        const double* corner = own[(i - turned + 4) % 4];
        const double x = corner[0] * length;
        const double y = corner[1] * width;
        corners_[i] = {centerX + x * turn.cosine - y * turn.sine,
                       centerY + x * turn.sine + y * turn.cosine};
    }
}

type_cBoolean rnge_c2DRange::Contains(double x, double y) const noexcept {
    if (angle_ == 0)
        return corners_[0].x <= x && x < corners_[2].x && corners_[0].y <= y && y < corners_[2].y;
    const sTurn turn(angle_);
    const double dx = x - centerX_;
    const double dy = y - centerY_;
    const double u = dx * turn.cosine + dy * turn.sine;
    const double v = dy * turn.cosine - dx * turn.sine;
    return -length_ / 2 <= u && u < length_ / 2 && -width_ / 2 <= v && v < width_ / 2;
}

type_cBoolean rnge_c2DRange::Intersects(const rnge_c2DRange& other) const noexcept {
    return isIntersecting(boundsX(*this), boundsX(other)) &&
           isIntersecting(boundsY(*this), boundsY(other));
}

rnge_c2DRange rnge_c2DRange::operator&(const rnge_c2DRange& other) const noexcept {
    const auto [left, right] = shared(boundsX(*this), boundsX(other));
    const auto [bottom, top] = shared(boundsY(*this), boundsY(other));
    return {left, bottom, right, top};
}

rnge_c2DRange operator|(const rnge_c2DRange& a, const rnge_c2DRange& b) {
    rnge_sBounds x = boundsX(b);
    rnge_sBounds y = boundsY(b);
    if (isEmpty(b) && !isEmpty(a)) {
        x = boundsX(a);
        y = boundsY(a);
    } else if (!isEmpty(a)) {
        x = hull(boundsX(a), x);
        y = hull(boundsY(a), y);
    }
    return {x.start, y.start, x.end, y.end};
}

rnge_c1DIndexRange::rnge_c1DIndexRange(const rnge_c1DRange& range, const cal_cArrayCal& cal,
                                       rnge_eIndexSelect select)
    : rnge_c1DIndexRange(rnge_Select({range.Start(), range.End()}, cal, select)) {}

rnge_c2DIndexRange::rnge_c2DIndexRange(const rnge_c2DRange& range, const cal_c2DArrayCal& cal,
                                       rnge_eIndexSelect select)
    : x_(rnge_Select(boundsX(range), cal.X(), select)),
      y_(rnge_Select(boundsY(range), cal.Y(), select)) {}

std::ostream& operator<<(std::ostream& stream, const rnge_c1DRange& range) {
    return stream << '[' << range.Start() << ", " << range.End() << ')';
}

std::ostream& operator<<(std::ostream& stream, const rnge_c2DRange& range) {
    if (range.Angle() == 0)
        return stream << '[' << range.Left() << ", " << range.Right() << ") x [" << range.Bottom()
                      << ", " << range.Top() << ')';
    return stream << range.Length() << " x " << range.Width() << " at (" << range.CenterX() << ", "
                  << range.CenterY() << "), turned by " << range.Angle();
}
