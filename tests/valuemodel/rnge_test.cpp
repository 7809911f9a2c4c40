#include "dataprocessing/valuemodel/rnge.h"
#include "tests/support/constants.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <sstream>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/elements.h"

namespace {

/// Writes down what it hears.
class Listener : public mesg_cReceiver {
public:
    struct sHeard {
        unsigned long id;
        mesg_cSender* sender;
        mesg_sMessageData* data;
        double start;
        double end;
    };
    std::vector<sHeard> heard;

    void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override {
        const auto* range = dynamic_cast<rnge_c1DRange*>(&sender);
        heard.push_back({id, &sender, data, range ? range->Start() : notANumber,
                         range ? range->End() : notANumber});
    }
};

using Corner = std::array<double, 2>;
using Corners = std::array<Corner, 4>;

/// Left, bottom, right, top.
Corners cornersOf(const rnge_c2DRange& r) {
    return {{{r.Left(), r.LeftY()},
             {r.BottomX(), r.Bottom()},
             {r.Right(), r.RightY()},
             {r.TopX(), r.Top()}}};
}

template<class T>
std::string printed(const T& value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

} // namespace

TEST(Range, DefaultIsAllZero) {
    EXPECT_EQ(rnge_c1DRange().Start(), 0);
    EXPECT_EQ(rnge_c1DRange().End(), 0);
    EXPECT_EQ(rnge_c1DRange(), rnge_c1DRange(0, 0));
}

TEST(Range, HoldsItsBoundsAsTheyAre) {
    const rnge_c1DRange range(5, -1.5);
    EXPECT_EQ(range.Start(), 5);
    EXPECT_EQ(range.End(), -1.5);
    EXPECT_EQ(range.Length(), -6.5);
}

TEST(Range, EveryChangeSendsOneMessageAfterIt) {
    rnge_c1DRange range(1, 2);
    Listener listener;
    range.AddReceiver(listener, mesg_Class(rnge_1DRangeChanged));
    const struct {
        void (*change)(rnge_c1DRange&);
        double start, end;
    } table[] = {
        {[](rnge_c1DRange& r) { r.SetStart(0); }, 0, 2},
        {[](rnge_c1DRange& r) { r.SetEnd(4); }, 0, 4},
        {[](rnge_c1DRange& r) { r.Set(5, 6); }, 5, 6},
        {[](rnge_c1DRange& r) { r.Set(5, 7); }, 5, 7},
        {[](rnge_c1DRange& r) { r.Set(4, 7); }, 4, 7},
        {[](rnge_c1DRange& r) { r = rnge_c1DRange(8, 9); }, 8, 9},
        {[](rnge_c1DRange& r) {
             const rnge_c1DRange other(8, 10);
             r = other;
         },
         8, 10},
        {[](rnge_c1DRange& r) { r.SetEnd(std::nextafter(10.0, 11.0)); }, 8,
         std::nextafter(10.0, 11.0)},
        {[](rnge_c1DRange& r) { r.SetStart(notANumber); }, notANumber, std::nextafter(10.0, 11.0)}};
    std::size_t count = 0;
    for (const auto& row : table) {
        row.change(range);
        ASSERT_EQ(listener.heard.size(), ++count);
        EXPECT_EQ(listener.heard.back().id, rnge_1DRangeChanged);
        EXPECT_EQ(listener.heard.back().sender, &range);
        EXPECT_EQ(listener.heard.back().data, nullptr);
        EXPECT_TRUE(isSameElement(listener.heard.back().start, row.start));
        EXPECT_EQ(listener.heard.back().end, row.end);
    }
}

TEST(Range, WhatChangesNothingSendsNothing) {
    rnge_c1DRange range(1, notANumber);
    Listener listener;
    range.AddReceiver(listener, mesg_AllClasses);
    range.SetStart(1);
    range.SetEnd(notANumber);
    range.Set(1, notANumber);
    range = rnge_c1DRange(1, notANumber);
    const rnge_c1DRange& same = range;
    range = same;
    EXPECT_TRUE(listener.heard.empty());
}

TEST(Range, CopiesHaveNoReceivers) {
    rnge_c1DRange range(1, 2);
    Listener listener;
    range.AddReceiver(listener, mesg_AllClasses);
    {
        rnge_c1DRange copy = range;
        copy.SetStart(0);
        EXPECT_EQ(range.Start(), 1);
    }
    EXPECT_TRUE(listener.heard.empty());
}

TEST(Range, AssignmentKeepsTheReceiversOfTheTarget) {
    rnge_c1DRange source(3, 4);
    rnge_c1DRange target(1, 2);
    Listener atSource;
    Listener atTarget;
    source.AddReceiver(atSource, mesg_AllClasses);
    target.AddReceiver(atTarget, mesg_AllClasses);
    target = source;
    EXPECT_EQ(atTarget.heard.size(), 1u);
    EXPECT_TRUE(atSource.heard.empty());
    target.SetStart(0);
    EXPECT_EQ(atTarget.heard.size(), 2u);
    EXPECT_TRUE(atSource.heard.empty());
}

TEST(Range, TellsThatItIsDestroyed) {
    Listener listener;
    {
        rnge_c1DRange range(1, 2);
        range.AddReceiver(listener, mesg_Class(rnge_1DRangeChanged));
    }
    ASSERT_EQ(listener.heard.size(), 1u);
    EXPECT_EQ(listener.heard[0].id, mesg_SenderDestroyed);
}

TEST(Range, ContainsIsHalfOpen) {
    const rnge_c1DRange range(1, 3);
    EXPECT_FALSE(range.Contains(std::nextafter(1.0, 0.0)));
    EXPECT_TRUE(range.Contains(1));
    EXPECT_TRUE(range.Contains(std::nextafter(3.0, 0.0)));
    EXPECT_FALSE(range.Contains(3));
    EXPECT_FALSE(range.Contains(notANumber));
    EXPECT_FALSE(rnge_c1DRange(3, 1).Contains(2));
    EXPECT_FALSE(rnge_c1DRange(1, 1).Contains(1));
    EXPECT_TRUE(rnge_c1DRange(-infinity, infinity).Contains(1e300));
}

TEST(Range, EqualityIsExact) {
    EXPECT_EQ(rnge_c1DRange(1, 2), rnge_c1DRange(1, 2));
    EXPECT_NE(rnge_c1DRange(1, 2), rnge_c1DRange(std::nextafter(1.0, 2.0), 2));
    EXPECT_NE(rnge_c1DRange(1, 2), rnge_c1DRange(1, std::nextafter(2.0, 3.0)));
    EXPECT_NE(rnge_c1DRange(1, 2), rnge_c1DRange(2, 1));
}

TEST(Range, IntersectionUnionAndIntersects) {
    const struct {
        rnge_c1DRange a, b, both, hull;
        bool intersects;
    } table[] = {
        {{1, 5}, {3, 9}, {3, 5}, {1, 9}, true},
        {{1, 9}, {3, 5}, {3, 5}, {1, 9}, true},
        {{1, 5}, {1, 5}, {1, 5}, {1, 5}, true},
        {{1, 3}, {3, 5}, {3, 3}, {1, 5}, false}, // touching
        {{1, 2}, {7, 9}, {7, 7}, {1, 9}, false}, // disjoint: empty at the later start
        {{1, 3}, {2, 2}, {2, 2}, {1, 3}, false},
        {{-infinity, 2}, {1, infinity}, {1, 2}, {-infinity, infinity}, true},
        {{5, 1}, {2, 3}, {5, 5}, {2, 3}, false},
        {{5, 1}, {7, 3}, {7, 7}, {7, 1}, false}, // both run backwards
        {{0, 0}, {4, 6}, {4, 4}, {4, 6}, false}, // the hull with an empty range is the other
        {{9, 9}, {7, 3}, {9, 9}, {7, 3}, false},
        {{0, 1}, {5, 3}, {5, 5}, {0, 1}, false}, // one that runs backwards is empty beside one
    };
    for (const auto& row : table) {
        SCOPED_TRACE(printed(row.a) + " and " + printed(row.b));
        EXPECT_EQ(row.a & row.b, row.both);
        EXPECT_EQ(row.b & row.a, row.both);
        EXPECT_EQ(row.a | row.b, row.hull);
        EXPECT_EQ(row.b | row.a, row.hull);
        EXPECT_EQ(row.a.Intersects(row.b), row.intersects);
        EXPECT_EQ(row.b.Intersects(row.a), row.intersects);
    }
}

TEST(Range, PrintsHalfOpen) { EXPECT_EQ(printed(rnge_c1DRange(-1.5, 3)), "[-1.5, 3)"); }

// ---- rectangles ----

TEST(Rectangle, UprightOneNamesFourCornersInTurn) {
    const rnge_c2DRange r(1, 2, 5, 4); // left, bottom, right, top
    EXPECT_EQ(cornersOf(r), (Corners{{{1, 2}, {5, 2}, {5, 4}, {1, 4}}}));
    EXPECT_EQ(r.CenterX(), 3);
    EXPECT_EQ(r.CenterY(), 3);
    EXPECT_EQ(r.Length(), 4);
    EXPECT_EQ(r.Width(), 2);
    EXPECT_EQ(r.Angle(), 0);
}

TEST(Rectangle, FromCentreSizesAndAngleZeroIsTheUprightOne) {
    const rnge_c2DRange r(3, 3, 4, 2, 0);
    EXPECT_EQ(r, rnge_c2DRange(1, 2, 5, 4));
    EXPECT_EQ(r, rnge_c2DRange(3, 3, 4, 2, -0.0));
    EXPECT_EQ(r.Length(), 4);
    EXPECT_EQ(r.Width(), 2);
}

TEST(Rectangle, DefaultAndNullAreAllZero) {
    EXPECT_EQ(rnge_c2DRange(), rnge_c2DRange::Null);
    EXPECT_EQ(rnge_c2DRange::Null, rnge_c2DRange(0, 0, 0, 0));
    EXPECT_FALSE(rnge_c2DRange::Null.Contains(0, 0));
}

TEST(Rectangle, BoundsAreNotReordered) {
    const rnge_c2DRange r(5, 4, 1, 2);
    EXPECT_EQ(r.Left(), 5);
    EXPECT_EQ(r.Bottom(), 4);
    EXPECT_EQ(r.Right(), 1);
    EXPECT_EQ(r.Top(), 2);
    EXPECT_EQ(r.Length(), -4);
    EXPECT_FALSE(r.Contains(3, 3));
}

TEST(Rectangle, QuarterTurnsAreExact) {
    for (int quarter = -9; quarter <= 9; ++quarter) {
        SCOPED_TRACE(quarter);
        const rnge_c2DRange r(10, 20, 6, 2, quarter * (type_Pi / 2));
        const bool lying = quarter % 2 == 0;
        const double halfX = lying ? 3 : 1;
        const double halfY = lying ? 1 : 3;
        EXPECT_EQ(cornersOf(r), (Corners{{{10 - halfX, 20 - halfY},
                                          {10 + halfX, 20 - halfY},
                                          {10 + halfX, 20 + halfY},
                                          {10 - halfX, 20 + halfY}}}));
        EXPECT_EQ(r.Length(), 6);
        EXPECT_EQ(r.Width(), 2);
    }
}

TEST(Rectangle, CornersAreTheExtremesCounterClockwiseAtAnyAngle) {
    for (int step = -300; step <= 300; ++step) {
        const double angle = step * 0.0523;
        SCOPED_TRACE(angle);
        const rnge_c2DRange r(10, -20, 6, 2, angle);
        const Corners corners = cornersOf(r);
        // The four points, by rotation of the half diagonals in the wider format.
        const long double c = std::cos(static_cast<long double>(angle));
        const long double s = std::sin(static_cast<long double>(angle));
        std::vector<Corner> points;
        for (const auto& [x, y] :
             {std::pair(-3, -1), std::pair(3, -1), std::pair(3, 1), std::pair(-3, 1)})
            points.push_back({static_cast<double>(10 + x * c - y * s),
                              static_cast<double>(-20 + x * s + y * c)});
        const auto byX = [](const Corner& a, const Corner& b) { return a[0] < b[0]; };
        const auto byY = [](const Corner& a, const Corner& b) { return a[1] < b[1]; };
        const Corners wanted = {{*std::min_element(points.begin(), points.end(), byX),
                                 *std::min_element(points.begin(), points.end(), byY),
                                 *std::max_element(points.begin(), points.end(), byX),
                                 *std::max_element(points.begin(), points.end(), byY)}};
        for (std::size_t i = 0; i < 4 && step != 0; ++i) {
            EXPECT_NEAR(corners[i][0], wanted[i][0], 1e-13) << i;
            EXPECT_NEAR(corners[i][1], wanted[i][1], 1e-13) << i;
        }
        double twiceArea = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const Corner& a = corners[i];
            const Corner& b = corners[(i + 1) % 4];
            twiceArea += a[0] * b[1] - b[0] * a[1];
        }
        EXPECT_NEAR(twiceArea, 2 * 6 * 2, 1e-11); // positive: counter-clockwise
    }
}

TEST(Rectangle, AnglesBesideAQuarterTurnStillNameTheExtremes) {
    for (int quarter = -8; quarter <= 8; ++quarter)
        for (const double step : {1e-9, -1e-9, 1e-15, -1e-15}) {
            const rnge_c2DRange r(0, 0, 6, 2, quarter * (type_Pi / 2) + step);
            SCOPED_TRACE(std::to_string(quarter) + (step > 0 ? " and a little" : " but a little"));
            for (const Corner& corner : cornersOf(r)) {
                EXPECT_GE(corner[0], r.Left());
                EXPECT_LE(corner[0], r.Right());
                EXPECT_GE(corner[1], r.Bottom());
                EXPECT_LE(corner[1], r.Top());
            }
        }
}

TEST(Rectangle, HugeAnglesTurnAndDoNotDistort) {
    for (const double angle : {1e6, 1e9, 1e15, 1e17, -1e17, 1e300}) {
        const rnge_c2DRange r(0, 0, 6, 2, angle);
        SCOPED_TRACE(angle);
        EXPECT_NEAR(std::hypot(r.BottomX() - r.Left(), r.Bottom() - r.LeftY()) *
                        std::hypot(r.RightY() - r.Bottom(), r.Right() - r.BottomX()),
                    12, 1e-12);
        for (const Corner& corner : cornersOf(r)) {
            EXPECT_GE(corner[0], r.Left());
            EXPECT_GE(corner[1], r.Bottom());
        }
    }
}

TEST(Rectangle, AnglesThatAreNoneGiveNoCorners) {
    for (const double angle : {notANumber, infinity, -infinity}) {
        const rnge_c2DRange r(0, 0, 6, 2, angle);
        EXPECT_TRUE(std::isnan(r.Left()));
        EXPECT_FALSE(r.Contains(0, 0));
        EXPECT_NE(r, r);
    }
}

TEST(Rectangle, ContainsIsHalfOpenOnItsOwnSides) {
    const rnge_c2DRange upright(1, 2, 5, 4);
    const rnge_c2DRange fromCentre(3, 3, 4, 2, 0);
    const struct {
        double x, y;
        bool inside;
    } table[] = {{3, 3, true},    {1, 3, true},           {5, 3, false},         {3, 2, true},
                 {3, 4, false},   {1, 2, true},           {5, 2, false},         {1, 4, false},
                 {5, 4, false},   {0.9, 3, false},        {3, 1.9, false},       {3, 4.1, false},
                 {5.1, 3, false}, {notANumber, 3, false}, {3, notANumber, false}};
    for (const auto& row : table) {
        EXPECT_EQ(upright.Contains(row.x, row.y), row.inside) << row.x << ' ' << row.y;
        EXPECT_EQ(fromCentre.Contains(row.x, row.y), row.inside) << row.x << ' ' << row.y;
        // The same after each quarter turn about the centre (3, 3).
        double u = row.x - 3;
        double v = row.y - 3;
        for (int quarter = 1; quarter <= 4; ++quarter) {
            u = std::exchange(v, u) * -1;
            const rnge_c2DRange turned(3, 3, 4, 2, quarter * (type_Pi / 2));
            EXPECT_EQ(turned.Contains(3 + u, 3 + v), row.inside)
                << row.x << ' ' << row.y << " turned " << quarter;
        }
    }
}

TEST(Rectangle, ContainsHonoursTheRotation) {
    // Half-planes of the turned sides, for points well off them.
    for (const double angle : {0.3, 1.2, 2.0, 3.0, 4.5, 6.0, -0.7, -2.5}) {
        const rnge_c2DRange r(10, 20, 6, 2, angle);
        for (double u = -4; u <= 4; u += 0.37)
            for (double v = -2; v <= 2; v += 0.31) {
                const double x = 10 + u * std::cos(angle) - v * std::sin(angle);
                const double y = 20 + u * std::sin(angle) + v * std::cos(angle);
                EXPECT_EQ(r.Contains(x, y), std::fabs(u) < 3 && std::fabs(v) < 1)
                    << angle << ": " << u << ' ' << v;
            }
    }
}

TEST(Rectangle, EqualityIsExact) {
    const rnge_c2DRange r(1, 2, 5, 4);
    EXPECT_EQ(r, rnge_c2DRange(1, 2, 5, 4));
    EXPECT_NE(r, rnge_c2DRange(std::nextafter(1.0, 0.0), 2, 5, 4));
    EXPECT_NE(r, rnge_c2DRange(1, std::nextafter(2.0, 0.0), 5, 4));
    EXPECT_NE(r, rnge_c2DRange(1, 2, std::nextafter(5.0, 6.0), 4));
    EXPECT_NE(r, rnge_c2DRange(1, 2, 5, std::nextafter(4.0, 5.0)));
    const rnge_c2DRange turned(3, 3, 4, 2, 0.5);
    EXPECT_EQ(turned, rnge_c2DRange(3, 3, 4, 2, 0.5));
    EXPECT_NE(turned, rnge_c2DRange(3, 3, 4, 2, std::nextafter(0.5, 1.0)));
    // A whole turn covers the same points and is still another angle.
    EXPECT_NE(r, rnge_c2DRange(3, 3, 4, 2, 2 * type_Pi));
}

TEST(Rectangle, UnionIsTheUprightHull) {
    EXPECT_EQ(rnge_c2DRange(0, 0, 2, 2) | rnge_c2DRange(1, -1, 5, 1), rnge_c2DRange(0, -1, 5, 2));
    EXPECT_EQ(rnge_c2DRange(0, 0, 1, 1) | rnge_c2DRange(7, 8, 9, 10), rnge_c2DRange(0, 0, 9, 10));
    EXPECT_EQ(rnge_c2DRange(3, 3, 4, 2, type_Pi / 2) | rnge_c2DRange(3, 3, 4, 2, 0),
              rnge_c2DRange(1, 1, 5, 5));
    const rnge_c2DRange diamond(0, 0, 2, 2, type_Pi / 4);
    const rnge_c2DRange hull = diamond | rnge_c2DRange(0, 0, 0, 0);
    const double reach = std::sqrt(2.0);
    EXPECT_EQ(hull.Angle(), 0);
    EXPECT_NEAR(hull.Left(), -reach, 1e-15);
    EXPECT_NEAR(hull.Bottom(), -reach, 1e-15);
    EXPECT_NEAR(hull.Right(), reach, 1e-15);
    EXPECT_NEAR(hull.Top(), reach, 1e-15);
    const rnge_c2DRange plate(1, 2, 3, 4);
    for (const rnge_c2DRange& empty :
         {rnge_c2DRange(), rnge_c2DRange(-5, -5, -5, 9), rnge_c2DRange(-5, 9, 5, 9)}) {
        EXPECT_EQ(plate | empty, plate);
        EXPECT_EQ(empty | plate, plate);
    }
    // Axes that both run backwards stay so.
    EXPECT_EQ(rnge_c2DRange(5, 0, 1, 2) | rnge_c2DRange(9, 1, 3, 4), rnge_c2DRange(9, 0, 1, 4));
}

TEST(Rectangle, IntersectionIsThatOfTheUprightHulls) {
    struct {
        rnge_c2DRange a, b, shared;
        bool intersects;
    } const cases[] = {
        {{0, 0, 4, 3}, {1, -1, 6, 2}, {1, 0, 4, 2}, true},
        {{0, 0, 4, 3}, {0, 0, 4, 3}, {0, 0, 4, 3}, true},
        {{0, 0, 4, 3}, {1, 1, 2, 2}, {1, 1, 2, 2}, true},
        {{0, 0, 4, 3}, {4, 0, 5, 3}, {4, 0, 4, 3}, false},             // a side
        {{0, 0, 4, 3}, {0, 3, 4, 5}, {0, 3, 4, 3}, false},             // another
        {{0, 0, 4, 3}, {7, 1, 8, 2}, {7, 1, 7, 2}, false},             // apart along X
        {{0, 0, 4, 3}, {1, 8, 2, 9}, {1, 8, 2, 8}, false},             // apart along Y
        {{0, 0, 4, 3}, {5, 4, 8, 9}, {5, 4, 5, 4}, false},             // along both
        {{0, 0, 4, 3}, {0, 0, 0, 0}, {0, 0, 0, 0}, false},             // with nothing
        {{0, 0, 4, 3}, {4, 3, 0, 0}, {4, 3, 4, 3}, false},             // with what runs backwards
        {{0, 0, 9, 9}, {4, 4, 6, 2, type_Pi / 2}, {3, 1, 5, 7}, true}, // turned
        {{5, 5, 2, 2, 0.7}, {5, 5, 2, 2, 0.7}, {0, 0, 0, 0}, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.a.Intersects(c.b), c.intersects) << c.a << " and " << c.b;
        EXPECT_EQ(c.b.Intersects(c.a), c.intersects) << c.a << " and " << c.b;
        if (c.a.Angle() != 0)
            continue;
        EXPECT_EQ(c.a & c.b, c.shared) << c.a << " and " << c.b;
        EXPECT_EQ(c.b & c.a, c.shared) << c.a << " and " << c.b;
    }
    const rnge_c2DRange turned(5, 5, 2, 2, 0.7);
    EXPECT_EQ(turned & turned, turned | turned);
}

TEST(Rectangle, Prints) {
    EXPECT_EQ(printed(rnge_c2DRange(1, 2, 5, 4)), "[1, 5) x [2, 4)");
    EXPECT_EQ(printed(rnge_c2DRange(3, 1, 4, 2, 0.5)), "4 x 2 at (3, 1), turned by 0.5");
}

// ---- index ranges ----

TEST(IndexRange, HoldsItsIndices) {
    const rnge_c1DIndexRange line(3, -4);
    EXPECT_EQ(line.First(), 3);
    EXPECT_EQ(line.Last(), -4);
    EXPECT_EQ(line, rnge_c1DIndexRange(3, -4));
    EXPECT_NE(line, rnge_c1DIndexRange(3, -5));
    EXPECT_NE(line, rnge_c1DIndexRange(2, -4));
    const rnge_c2DIndexRange plane(1, 2, 3, 4); // first x, first y, last x, last y
    EXPECT_EQ(plane.X(), rnge_c1DIndexRange(1, 3));
    EXPECT_EQ(plane.Y(), rnge_c1DIndexRange(2, 4));
}

TEST(IndexRange, IsClampedToInt) {
    for (int rule = 0; rule < 4; ++rule) {
        const auto select = static_cast<rnge_eIndexSelect>(rule);
        for (const double far : {1e10, 1e300, infinity}) {
            EXPECT_EQ(rnge_c1DIndexRange(rnge_c1DRange(-far, far), cal_cArrayCal(), select),
                      rnge_c1DIndexRange(INT_MIN, INT_MAX));
            EXPECT_EQ(rnge_c1DIndexRange(rnge_c1DRange(far, -far), cal_cArrayCal(), select),
                      rnge_c1DIndexRange(INT_MAX, INT_MIN));
        }
        EXPECT_EQ(
            rnge_c1DIndexRange(rnge_c1DRange(-2147483648.0, 2147483647.0), cal_cArrayCal(), select),
            rnge_c1DIndexRange(INT_MIN, INT_MAX));
    }
}

TEST(IndexRange, OfDeltasThatDoNotDivideKeepsEveryElement) {
    // 0.1 x 3 and 0.3 differ in the last bit.
    const cal_cArrayCal cal(0, 0.1, 0);
    for (int last = 0; last < 1000; ++last) {
        const rnge_c1DRange range(0, last / 10.0);
        for (int rule = 0; rule < 4; ++rule)
            ASSERT_EQ(rnge_c1DIndexRange(range, cal, static_cast<rnge_eIndexSelect>(rule)),
                      rnge_c1DIndexRange(0, last));
    }
}

TEST(IndexRange, OfARectangleTakesEachAxisByItsCalibration) {
    const cal_c2DArrayCal cal(10, 0.5, -1, 2, 0, 3);
    EXPECT_EQ(rnge_c2DIndexRange(rnge_c2DRange(10.6, 1, 11.6, 6), cal, rnge_IndexOuter),
              rnge_c2DIndexRange(1, 4, 4, 7));
    EXPECT_EQ(rnge_c2DIndexRange(rnge_c2DRange(11.6, 6, 10.6, 1), cal, rnge_IndexFloor),
              rnge_c2DIndexRange(3, 6, 1, 4)); // an upright one keeps its direction
}
