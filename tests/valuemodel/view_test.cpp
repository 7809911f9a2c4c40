#include "dataprocessing/valuemodel/view.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/valuemodel/view_make.h"
#include "tests/support/elements.h"

using dataprocessing::detail::view_cAxis;
using dataprocessing::detail::view_cView;
using dataprocessing::detail::view_X;
using dataprocessing::detail::view_Y;
using testing::Each;

namespace {

template<class T>
std::vector<T> fetched(const view_cView& view, std::size_t first, std::size_t count) {
    std::vector<T> elements(count + 1, elementOf<T>(99)); // the last one must stay as it is
    view.Fetch(first, count, elements.data());
    EXPECT_TRUE(isSameElement(elements.back(), elementOf<T>(99)));
    elements.pop_back();
    return elements;
}

} // namespace

TEST(ViewAxis, BeginsAsTheStoredElements) {
    const view_cAxis axis(5, cal_cArrayCal(10, 0.5, 2));
    EXPECT_EQ(axis.Count(), 5);
    EXPECT_EQ(axis.Cal(), cal_cArrayCal(10, 0.5, 2));
    EXPECT_EQ(axis.Start(), 9);
    EXPECT_EQ(axis.End(), 11.5);
    EXPECT_TRUE(axis.IsWhole());
}

TEST(ViewAxis, RescaledAndSelectedOnesAreNotWhole) {
    view_cAxis rescaled(5, cal_cArrayCal());
    rescaled.Rescale(1.01);
    EXPECT_EQ(rescaled.Count(), 5);
    EXPECT_FALSE(rescaled.IsWhole());
    const struct {
        int first, last;
        bool whole;
    } table[] = {{0, 5, true}, {1, 5, false}, {0, 4, false}, {0, 6, false}, {-1, 4, false}};
    for (const auto& row : table) {
        view_cAxis axis(5, cal_cArrayCal());
        axis.Select(row.first, row.last);
        EXPECT_EQ(axis.IsWhole(), row.whole) << row.first << ' ' << row.last;
        EXPECT_EQ(axis.Start(), row.first);
        EXPECT_EQ(axis.End(), row.last);
    }
}

TEST(ViewAxis, RescaledToItsOwnDeltaIsOnlyDescribedFromItsStart) {
    view_cAxis axis(5, cal_cArrayCal(10, 2, 3));
    axis.Rescale(2);
    EXPECT_TRUE(axis.IsWhole());
    EXPECT_EQ(axis.Count(), 5);
    EXPECT_EQ(axis.Cal(), cal_cArrayCal(4, 2, 0));
}

TEST(ViewAxis, SelectsFromTheRescaledElements) {
    view_cAxis axis(4, cal_cArrayCal(10, 2, 1));
    axis.Rescale(0.5);
    EXPECT_EQ(axis.Count(), 16);
    EXPECT_EQ(axis.Cal(), cal_cArrayCal(8, 0.5, 0));
    axis.Select(-2, 3);
    EXPECT_EQ(axis.Count(), 5);
    EXPECT_EQ(axis.Start(), 7);
    EXPECT_EQ(axis.End(), 9.5);
}

TEST(ViewAxis, CountsThatNoArrayCanHaveAreRefused) {
    const auto select = [](long long first, long long last) {
        return refusalOf([=] { view_cAxis(5, cal_cArrayCal()).Select(first, last); });
    };
    EXPECT_EQ(select(0, INT_MAX), "none");
    EXPECT_EQ(select(0, INT_MAX + 1LL), sizeRefusal);
    EXPECT_EQ(select(-1, INT_MAX), sizeRefusal);
    for (const double storedDelta : {-1.0, -1e300})
        EXPECT_EQ(refusalOf([=] { view_cAxis(5, {0, storedDelta, 0}).Rescale(1); }), "resc:1");
    EXPECT_EQ(refusalOf([] { view_cAxis(INT_MAX, cal_cArrayCal()).Rescale(1); }), "none");
    EXPECT_EQ(refusalOf([] { view_cAxis(INT_MAX, cal_cArrayCal()).Rescale(0.999999999); }),
              sizeRefusal);
}

TEST(ViewAxis, WithoutALengthHasNoPlacesBeyondItsFirstElementInEitherDirection) {
    for (const double delta : {1.0, -1.0})
        for (const double storedDelta : {0.0, -0.0}) {
            view_cAxis axis(5, cal_cArrayCal(3, storedDelta, 0));
            axis.Rescale(delta);
            EXPECT_EQ(axis.Count(), 0);
            int indices[3];
            double parts[3];
            axis.Places().Fill(0, 3, 5, indices, parts);
            EXPECT_THAT(indices, Each(0)) << delta << ' ' << storedDelta;
            EXPECT_THAT(parts, Each(0.0)) << delta << ' ' << storedDelta;
        }
}

TEST(ViewAxis, ARefusedSelectionOrDeltaChangesNothing) {
    view_cAxis axis(5, cal_cArrayCal(1, 2, 0));
    EXPECT_EQ(refusalOf([&] { axis.Rescale(0); }), "resc:1");
    EXPECT_EQ(refusalOf([&] { axis.Rescale(1e-300); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { axis.Select(INT_MIN, 0); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { axis.Select(INT_MIN, INT_MIN + 1LL); }), indexRefusal);
    EXPECT_TRUE(axis.IsWhole());
    EXPECT_EQ(axis.Cal(), cal_cArrayCal(1, 2, 0));
}

TEST(View, ShowsItsStorageOnlyWhenItIsSeenInItsOrder) {
    const std::vector<int> stored = {1, 2, 3, 4, 5, 6};
    const view_cAxis x(3, cal_cArrayCal());
    const view_cAxis y(2, cal_cArrayCal());
    view_cAxis part(2, cal_cArrayCal());
    part.Select(0, 1);
    const view_cView same(stored.data(), dtyp_Int32, dtyp_Int32, x, y);
    EXPECT_EQ(same.Stored(), stored.data());
    EXPECT_EQ(same.Count(), 6u);
    const view_cView converted(stored.data(), dtyp_Int32, dtyp_Float, x, y);
    EXPECT_EQ(converted.Stored(), stored.data());
    EXPECT_EQ(converted.Type(), dtyp_Float);
    const view_cView selected(stored.data(), dtyp_Int32, dtyp_Int32, x, part);
    EXPECT_EQ(selected.Stored(), nullptr);
    EXPECT_EQ(selected.Count(), 3u);
}

TEST(View, FetchesAnyStretchAcrossRows) {
    const std::vector<short> stored = countedElements<short>(12);
    view_cAxis x(4, cal_cArrayCal());
    view_cAxis y(3, cal_cArrayCal());
    x.Select(-1, 6);
    y.Select(-1, 4);
    const view_cView view(stored.data(), dtyp_Int16, dtyp_Double, x, y);
    ASSERT_EQ(view.Count(), 35u);
    for (std::size_t first = 0; first <= 35; ++first)
        for (std::size_t count = 0; count <= 35 - first; ++count) {
            const std::vector<double> elements = fetched<double>(view, first, count);
            for (std::size_t i = 0; i < count; ++i) {
                const int u = static_cast<int>((first + i) % 7) - 1;
                const int v = static_cast<int>((first + i) / 7) - 1;
                const bool inside = u >= 0 && u < 4 && v >= 0 && v < 3;
                ASSERT_EQ(elements[i], inside ? v * 4 + u + 1 : 0) << first << ' ' << i;
            }
        }
}

TEST(View, FetchesAnyStretchOfRescaledElements) {
    const std::vector<double> stored = {0, 10, 20, 100, 110, 120};
    view_cAxis x(3, cal_cArrayCal());
    view_cAxis y(2, cal_cArrayCal());
    x.Rescale(0.5);
    y.Rescale(0.25);
    const view_cView view(stored.data(), dtyp_Double, dtyp_Double, x, y);
    ASSERT_EQ(view.Count(), 48u);
    for (std::size_t first = 0; first <= 48; ++first)
        for (std::size_t count = 0; count <= 48 - first; ++count) {
            const std::vector<double> elements = fetched<double>(view, first, count);
            for (std::size_t i = 0; i < count; ++i) {
                const double u = std::min(static_cast<double>((first + i) % 6) * 0.5, 2.0);
                const double v = std::min(static_cast<double>((first + i) / 6) * 0.25, 1.0);
                ASSERT_EQ(elements[i], 10 * u + 100 * v);
            }
        }
}

TEST(View, RescaledElementsSelectedPastTheirEndsAreZero) {
    const std::vector<ComplexFloat> stored = countedElements<ComplexFloat>(300);
    view_cAxis x(300, cal_cArrayCal());
    view_cAxis y(1, cal_cArrayCal());
    x.Rescale(0.5);
    y.Rescale(0.5);
    x.Select(-3, 605);
    y.Select(-1, 3);
    const view_cView view(stored.data(), dtyp_ComplexFloat, dtyp_ComplexDouble, x, y);
    ASSERT_EQ(view.Count(), 4u * 608u);
    const std::vector<ComplexDouble> elements = fetched<ComplexDouble>(view, 0, view.Count());
    for (int row = -1; row < 3; ++row)
        for (int i = -3; i < 605; ++i) {
            ComplexDouble wanted;
            if (row >= 0 && row < 2 && i >= 0 && i < 600) {
                const ComplexFloat a = stored[static_cast<std::size_t>(i / 2)];
                const ComplexFloat b = stored[static_cast<std::size_t>(std::min((i + 1) / 2, 299))];
                wanted = ComplexDouble((a.re + b.re) / 2, (a.im + b.im) / 2);
            }
            ASSERT_EQ(elements[static_cast<std::size_t>((row + 1) * 608 + i + 3)], wanted)
                << row << ' ' << i;
        }
}

TEST(View, ASingleAxisMayBeRescaled) {
    const std::vector<float> stored = {0, 1, 2, 3};
    view_cAxis fine(2, cal_cArrayCal());
    fine.Rescale(0.5);
    const view_cAxis asStored(2, cal_cArrayCal());
    const view_cView rows(stored.data(), dtyp_Float, dtyp_Float, asStored, fine);
    EXPECT_EQ(fetched<float>(rows, 0, 8), (std::vector<float>{0, 1, 1, 2, 2, 3, 2, 3}));
    const view_cView columns(stored.data(), dtyp_Float, dtyp_Float, fine, asStored);
    EXPECT_EQ(fetched<float>(columns, 0, 8), (std::vector<float>{0, 0.5, 1, 1, 2, 2.5, 3, 3}));
}

TEST(View, ConvertsBeforeItInterpolates) {
    const std::vector<double> stored = {0.6, 1.4, 2.4}; // as integers 1, 1, 2
    view_cAxis x(3, cal_cArrayCal());
    x.Rescale(0.5);
    const view_cView asInt(stored.data(), dtyp_Double, dtyp_Int32, x, view_cAxis(1, {}));
    EXPECT_EQ(fetched<int>(asInt, 0, 6), (std::vector<int>{1, 1, 1, 2, 2, 2}));
}

TEST(View, SeesTheWantedPartOfComplexElements) {
    const std::vector<ComplexDouble> stored = {{3, 4}, {6, 8}};
    view_cAxis x(2, cal_cArrayCal());
    const view_cAxis y(1, cal_cArrayCal());
    const view_cView modulus(stored.data(), dtyp_ComplexDouble, dtyp_Double, x, y, conv_Modulus);
    EXPECT_EQ(fetched<double>(modulus, 0, 2), (std::vector<double>{5, 10}));
    x.Rescale(0.5);
    const view_cView fine(stored.data(), dtyp_ComplexDouble, dtyp_Float, x, y, conv_ImaginaryPart);
    EXPECT_EQ(fetched<float>(fine, 0, 4), (std::vector<float>{4, 6, 8, 8}));
}

TEST(View, BetweenIsExactAtTheEndAndNeverLeavesThePair) {
    using dataprocessing::detail::view_Between;
    const double inf = std::numeric_limits<double>::infinity();
    const double most = std::ldexp(1.0, 1023);
    EXPECT_EQ(view_Between(1, inf, 0), 1);
    EXPECT_EQ(view_Between(1, 3, 0.25), 1.5);
    EXPECT_EQ(view_Between(-most, most, 0.25), -most / 2);
    EXPECT_EQ(view_Between(most, -most, 0.75), -most / 2);
    EXPECT_EQ(view_Between(inf, 5, 0.5), inf);
    EXPECT_EQ(view_Between(5, -inf, 0.5), -inf);
    EXPECT_EQ(view_Between(inf, inf, 0.5), inf);
    EXPECT_TRUE(std::isnan(view_Between(inf, -inf, 0.5)));
}

TEST(View, MakesArraysOfBothDimensions) {
    const darr_c2DArray plane(2, 2, pnum_cNumber(7), cal_c2DArrayCal(1, 2, 3, 4, 0, 0));
    view_cAxis x = view_X(plane);
    x.Select(1, 3);
    const darr_c2DArray made = dataprocessing::detail::view_Made(plane, x, view_Y(plane));
    EXPECT_EQ(made.SizeX(), 2);
    EXPECT_EQ(made.Number(0, 1).As<int>(), 7);
    EXPECT_EQ(made.Number(1, 1).As<int>(), 0);
    EXPECT_EQ(made.Cal(), cal_c2DArrayCal(1, 2, 3, 4, -1, 0));
    const darr_c1DArray line(3, pnum_cNumber(7), cal_c1DArrayCal(1, 2, 0));
    EXPECT_EQ(view_X(line).Count(), 3);
    EXPECT_EQ(view_Y(line).Count(), 1);
    EXPECT_EQ(view_Y(line).Cal(), cal_cArrayCal());
}
