#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <ostream>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/fitting/dasl.h"
#include "tests/failing_new.h"
#include "tests/fitting/listener.h"
#include "tests/support/constants.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The ranges of a selection, by identity, in order.
std::vector<const rnge_c1DRange*> rangesOf(const dasl_c1DDataArraySelection& selection) {
    std::vector<const rnge_c1DRange*> result;
    for (const auto& range : selection.RangeList())
        result.push_back(range.Get());
    return result;
}

struct Points {
    std::vector<double> x, y;
    friend bool operator==(const Points&, const Points&) = default;
};

std::ostream& operator<<(std::ostream& stream, const Points& points) {
    return stream << testing::PrintToString(points.x) << ' ' << testing::PrintToString(points.y);
}

Points gather(const dasl_c1DDataArraySelection& selection, const darr_c1DArray& data) {
    // What was in the arrays before must not matter.
    arr_cC_Array<double> x({9, 9, 9});
    arr_cC_Array<double> y({9});
    selection.FillXY(data, x, y);
    return {{x.begin(), x.end()}, {y.begin(), y.end()}};
}

/// Elements 100, 101, ... of `size`.
darr_c1DArray rising(int size, const cal_c1DArrayCal& cal = {}) {
    std::vector<double> elements;
    for (int i = 0; i < size; ++i)
        elements.push_back(100 + i);
    return darr_c1DArray(std::span<const double>(elements), cal);
}

/// What a selection of one range takes of `data`.
Points taken(const rnge_c1DRange& range, const darr_c1DArray& data,
             rnge_eIndexSelect select = rnge_IndexNearest) {
    dasl_c1DDataArraySelection selection(select);
    selection.AddLocalRange(range);
    return gather(selection, data);
}

TEST(Selection, EmptyOneTakesNothingAndHasTheZeroRange) {
    const dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    EXPECT_EQ(gather(selection, rising(5)), Points{});
    EXPECT_EQ(selection.TotalRange(), rnge_c1DRange(0, 0));
    EXPECT_EQ(selection.RangeList().Count(), 0);
}

TEST(Selection, AddingSendsOneMessageWithoutDataAndAddingAgainNone) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    Listener listener(selection);
    rnge_c1DRange range(1, 2);
    selection.AddRange(range);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
    selection.AddRange(range);
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_FALSE(listener.carriedData);
    EXPECT_THAT(listener.senders, ElementsAre(&selection));
    EXPECT_THAT(rangesOf(selection), ElementsAre(&range));
    range.SetEnd(3);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged)) << "registered once";
}

TEST(Selection, AddingALocalRangeSendsOneMessage) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    Listener listener(selection);
    const rnge_c1DRange range(1, 2);
    selection.AddLocalRange(range);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
    selection.AddLocalRange(range);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged)) << "another copy";
    EXPECT_EQ(selection.RangeList().Count(), 2);
}

TEST(Selection, RemovingSendsOneMessageAndEndsListening) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange range(1, 2);
    selection.AddRange(range);
    Listener listener(selection);
    selection.RemoveRange(range);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
    range.SetEnd(5);
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_THAT(rangesOf(selection), IsEmpty());
}

TEST(Selection, RemovingARangeThatIsNotThereDoesNothing) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange range(1, 2);
    rnge_c1DRange equal(1, 2);
    selection.AddRange(range);
    Listener listener(selection);
    selection.RemoveRange(equal);
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_THAT(rangesOf(selection), ElementsAre(&range));
    range.SetEnd(5);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
}

TEST(Selection, HasThatVeryRangeOnly) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange range(1, 2);
    rnge_c1DRange equal(1, 2);
    EXPECT_FALSE(selection.HasRange(range));
    selection.AddRange(range);
    EXPECT_TRUE(selection.HasRange(range));
    EXPECT_FALSE(selection.HasRange(equal));
}

TEST(Selection, MovingARangeSendsOneMessage) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange range(1, 2);
    selection.AddRange(range);
    Listener listener(selection);
    range.Set(3, 4);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
    range.Set(3, 4);
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_FALSE(listener.carriedData);
}

TEST(Selection, OtherMessagesOfARangeAreIgnored) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange range(1, 2);
    selection.AddRange(range);
    Listener listener(selection);
    for (const unsigned long id : {dasl_SelectionChanged, ftfn_FunctionChanged, 0x00010002UL})
        range.SendMessage(id, nullptr);
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_TRUE(selection.HasRange(range));
}

TEST(Selection, DestroyedRangeLeavesWithOneMessage) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    auto first = std::make_unique<rnge_c1DRange>(1, 2);
    rnge_c1DRange second(3, 4);
    rnge_c1DRange third(5, 6);
    selection.AddRange(*first);
    selection.AddRange(second);
    selection.AddRange(third);
    Listener listener(selection);
    first.reset();
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
    EXPECT_THAT(rangesOf(selection), ElementsAre(&third, &second));
    EXPECT_EQ(selection.TotalRange(), rnge_c1DRange(3, 6));
}

TEST(Selection, LastRangeTakesThePlaceOfARemovedOne) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange a(1, 2), b(3, 4), c(5, 6);
    for (rnge_c1DRange* range : {&a, &b, &c})
        selection.AddRange(*range);
    selection.RemoveRange(a);
    EXPECT_THAT(rangesOf(selection), ElementsAre(&c, &b));
    selection.AddRange(a);
    EXPECT_THAT(rangesOf(selection), ElementsAre(&c, &b, &a));
    selection.RemoveRange(b);
    EXPECT_THAT(rangesOf(selection), ElementsAre(&c, &a));
    selection.RemoveRange(a);
    EXPECT_THAT(rangesOf(selection), ElementsAre(&c));
    selection.RemoveRange(c);
    EXPECT_THAT(rangesOf(selection), IsEmpty());
}

TEST(Selection, ListGrowsAndShrinksByFiveSlots) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    std::vector<rnge_c1DRange> ranges(12);
    EXPECT_EQ(selection.RangeList().Slots(), 5);
    const int slotsAfterAdding[] = {5, 5, 5, 5, 10, 10, 10, 10, 10, 15, 15, 15};
    for (int i = 0; i < 12; ++i) {
        selection.AddRange(ranges[static_cast<std::size_t>(i)]);
        EXPECT_EQ(selection.RangeList().Slots(), slotsAfterAdding[i]) << i;
    }
    const dasl_c1DDataArraySelection copy = selection;
    EXPECT_EQ(copy.RangeList().Slots(), 15);
    for (int i = 11; i >= 0; --i) {
        selection.RemoveRange(ranges[static_cast<std::size_t>(i)]);
        EXPECT_EQ(selection.RangeList().Slots(), (i / 5 + 1) * 5) << i;
    }
}

TEST(Selection, ClearRemovesEverythingWithoutAMessage) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    std::vector<rnge_c1DRange> shared(6);
    for (rnge_c1DRange& range : shared)
        selection.AddRange(range);
    for (int i = 0; i < 6; ++i)
        selection.AddLocalRange(rnge_c1DRange(i, i + 1));
    Listener listener(selection);
    selection.Clear();
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_EQ(selection.RangeList().Count(), 0);
    EXPECT_EQ(selection.RangeList().Slots(), 5);
    EXPECT_EQ(gather(selection, rising(9)), Points{});
}

TEST(Selection, SharedRangeIsStillHeardAfterClear) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    Listener listener(selection);
    {
        rnge_c1DRange range(1, 2);
        selection.AddRange(range);
        selection.Clear();
        listener.take();
        range.SetEnd(3);
        EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
        selection.AddRange(range);
        EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
        range.SetEnd(4);
        EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged)) << "registered once";
        selection.Clear();
    }
    EXPECT_THAT(listener.take(), IsEmpty()) << "it was not there when it was destroyed";
}

TEST(Selection, LocalRangeOfACopyIsNotHeardAfterClear) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(1, 2));
    const dasl_c1DDataArraySelection copy = selection;
    Listener listener(selection);
    selection.Clear();
    copy.RangeList()[0]->SetEnd(5);
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_EQ(copy.TotalRange(), rnge_c1DRange(1, 5));
}

TEST(Selection, ClearMayBeAnsweredWithNewRanges) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    for (int i = 0; i < 7; ++i)
        selection.AddLocalRange(rnge_c1DRange(i, i + 1));
    std::vector<std::unique_ptr<Listener>> listeners;
    for (const auto& range : selection.RangeList()) {
        listeners.push_back(std::make_unique<Listener>(*range));
        listeners.back()->act = [&] { selection.AddLocalRange(rnge_c1DRange(50, 60)); };
    }
    selection.Clear();
    EXPECT_EQ(selection.RangeList().Count(), 7);
    EXPECT_EQ(selection.TotalRange(), rnge_c1DRange(50, 60));
}

TEST(Selection, RemovedLocalRangeLivesUntilClear) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(1, 2));
    rnge_c1DRange& local = *selection.RangeList()[0];
    Listener onRange(local);
    selection.RemoveRange(local);
    EXPECT_THAT(rangesOf(selection), IsEmpty());
    EXPECT_THAT(onRange.take(), IsEmpty());
    local.SetEnd(7);
    EXPECT_EQ(local.End(), 7);
    EXPECT_THAT(onRange.take(), ElementsAre(rnge_1DRangeChanged));
    selection.Clear();
    EXPECT_THAT(onRange.take(), ElementsAre(mesg_SenderDestroyed));
}

TEST(Selection, LocalRangeIsACopyWhoseMovesAreHeard) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange original(1, 2);
    selection.AddLocalRange(original);
    EXPECT_FALSE(selection.HasRange(original));
    Listener listener(selection);
    original.SetEnd(9);
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_EQ(selection.TotalRange(), rnge_c1DRange(1, 2));
    selection.RangeList()[0]->SetEnd(3);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
}

TEST(Selection, DestructionTellsReceiversThatTheSenderIsGoneAndNothingElse) {
    std::optional<dasl_c1DDataArraySelection> selection(std::in_place, rnge_IndexNearest);
    rnge_c1DRange shared(1, 2);
    selection->AddRange(shared);
    selection->AddLocalRange(shared);
    Listener listener(*selection);
    selection.reset();
    EXPECT_THAT(listener.take(), ElementsAre(mesg_SenderDestroyed));
    shared.SetEnd(5);
    EXPECT_THAT(listener.take(), IsEmpty());
}

TEST(Selection, CopyHasTheSameRangesAndHearsNothing) {
    dasl_c1DDataArraySelection selection(rnge_IndexCeiling);
    rnge_c1DRange shared(1.5, 3);
    selection.AddRange(shared);
    selection.AddLocalRange(rnge_c1DRange(5, 6));
    Listener onSelection(selection);
    const std::unique_ptr<dasl_c1DDataArraySelection> copy =
        std::make_unique<dasl_c1DDataArraySelection>(selection);
    EXPECT_THAT(onSelection.take(), IsEmpty());
    EXPECT_EQ(rangesOf(*copy), rangesOf(selection));
    Listener onCopy(*copy);
    shared.SetEnd(4);
    selection.RangeList()[1]->SetEnd(7);
    EXPECT_THAT(onCopy.take(), IsEmpty());
    EXPECT_THAT(onSelection.take(), ElementsAre(dasl_SelectionChanged, dasl_SelectionChanged));
    EXPECT_EQ(gather(*copy, rising(9)), (Points{{2, 3, 5, 6}, {102, 103, 105, 106}}))
        << "ranges and index rule are those of the original";
    selection.Clear();
    EXPECT_EQ(copy->RangeList().Count(), 2);
}

TEST(Selection, AssignmentTakesRangesAndIndexRuleAndSendsNothing) {
    rnge_c1DRange former(1, 2);
    rnge_c1DRange shared(1.5, 3);
    dasl_c1DDataArraySelection source(rnge_IndexCeiling);
    source.AddRange(shared);
    source.AddLocalRange(rnge_c1DRange(5, 6));
    dasl_c1DDataArraySelection target(rnge_IndexFloor);
    target.AddRange(former);
    target.AddLocalRange(rnge_c1DRange(7, 8));
    Listener listener(target);
    target = source;
    EXPECT_EQ(rangesOf(target), rangesOf(source));
    shared.SetEnd(4);
    source.RangeList()[1]->SetEnd(7);
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_EQ(gather(target, rising(9)), (Points{{2, 3, 5, 6}, {102, 103, 105, 106}}));
    former.SetEnd(9);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged)) << "it stays registered";
}

TEST(Selection, LocalRangeThatACopyStillHasIsHeardAfterAssignment) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(1, 2));
    const dasl_c1DDataArraySelection copy(selection);
    selection = dasl_c1DDataArraySelection(rnge_IndexNearest);
    Listener listener(selection);
    EXPECT_EQ(selection.RangeList().Count(), 0);
    copy.RangeList()[0]->SetEnd(3);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
}

TEST(Selection, SelfAssignmentChangesNothing) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange shared(1, 2);
    selection.AddRange(shared);
    selection.AddLocalRange(rnge_c1DRange(5, 6));
    const auto before = rangesOf(selection);
    const dasl_c1DDataArraySelection& same = selection;
    selection = same;
    EXPECT_EQ(rangesOf(selection), before);
    EXPECT_EQ(selection.TotalRange(), rnge_c1DRange(1, 6));
    Listener listener(selection);
    selection.RangeList()[1]->SetEnd(7);
    EXPECT_THAT(listener.take(), ElementsAre(dasl_SelectionChanged));
}

// Selection, copy, copy of the copy and an assigned one, destroyed in each of the 24 orders.
TEST(Selection, CopiesWithLocalRangesMayBeDestroyedInAnyOrder) {
    std::vector<int> order = {0, 1, 2, 3};
    do {
        std::vector<std::unique_ptr<dasl_c1DDataArraySelection>> selections(4);
        rnge_c1DRange shared(0, 1);
        for (auto& selection : selections)
            selection = std::make_unique<dasl_c1DDataArraySelection>(rnge_IndexNearest);
        selections[0]->AddLocalRange(rnge_c1DRange(5, 6));
        selections[0]->AddRange(shared);
        selections[1] = std::make_unique<dasl_c1DDataArraySelection>(*selections[0]);
        selections[2] = std::make_unique<dasl_c1DDataArraySelection>(*selections[1]);
        selections[3]->AddLocalRange(rnge_c1DRange(8, 9));
        *selections[3] = *selections[2];
        Listener onLocal(*selections[0]->RangeList()[0]);
        for (const int i : order) {
            EXPECT_THAT(onLocal.take(), IsEmpty()) << "it lives as long as one selection has it";
            for (const auto& selection : selections)
                if (selection) {
                    EXPECT_EQ(selection->TotalRange(), rnge_c1DRange(0, 6));
                }
            selections[static_cast<std::size_t>(i)].reset();
        }
        EXPECT_THAT(onLocal.take(), ElementsAre(mesg_SenderDestroyed));
    } while (std::next_permutation(order.begin(), order.end()));
}

// Two ranges and a selection of both, destroyed in each of the 6 orders.
TEST(Selection, RangesAndSelectionMayBeDestroyedInAnyOrder) {
    std::vector<int> order = {0, 1, 2};
    do {
        std::vector<std::unique_ptr<mesg_cSender>> objects(3);
        auto selection = std::make_unique<dasl_c1DDataArraySelection>(rnge_IndexNearest);
        for (const std::size_t i : {0U, 1U}) {
            auto range = std::make_unique<rnge_c1DRange>(0, 1);
            selection->AddRange(*range);
            objects[i] = std::move(range);
        }
        Listener listener(*selection);
        objects[2] = std::move(selection);
        std::vector<unsigned long> expected;
        for (const int i : order) {
            if (objects[2])
                expected.push_back(i == 2 ? mesg_SenderDestroyed : dasl_SelectionChanged);
            objects[static_cast<std::size_t>(i)].reset();
            EXPECT_EQ(listener.heard, expected);
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Selection, TotalRangeIsTheHullOfAllRanges) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(5, 6));
    EXPECT_EQ(selection.TotalRange(), rnge_c1DRange(5, 6)) << "zero is not part of it";
    selection.AddLocalRange(rnge_c1DRange(9, 12));
    selection.AddLocalRange(rnge_c1DRange(2, 3));
    EXPECT_EQ(selection.TotalRange(), rnge_c1DRange(2, 12));
}

TEST(Selection, TotalRangeIsACopyThatNobodyHears) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(5, 6));
    Listener listener(selection);
    rnge_c1DRange total = selection.TotalRange();
    total.SetEnd(8);
    EXPECT_THAT(listener.take(), IsEmpty());
    EXPECT_EQ(selection.TotalRange(), rnge_c1DRange(5, 6));
}

TEST(SelectedPoints, RangesFollowEachOtherInTheirOrderUnsorted) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange late(6, 8), early(1, 3), middle(4, 5);
    for (rnge_c1DRange* range : {&late, &early, &middle})
        selection.AddRange(*range);
    EXPECT_EQ(gather(selection, rising(9)), (Points{{6, 7, 1, 2, 4}, {106, 107, 101, 102, 104}}));
    selection.RemoveRange(late);
    EXPECT_EQ(gather(selection, rising(9)), (Points{{4, 1, 2}, {104, 101, 102}}));
}

TEST(SelectedPoints, OverlappingRangesGiveSharedPointsTwice) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(1, 4));
    selection.AddLocalRange(rnge_c1DRange(2, 5));
    EXPECT_EQ(gather(selection, rising(9)),
              (Points{{1, 2, 3, 2, 3, 4}, {101, 102, 103, 102, 103, 104}}));
}

TEST(SelectedPoints, RangeOutsideTheArrayContributesNothing) {
    const darr_c1DArray data = rising(5, {10, 2, 0}); // 10, 12, 14, 16, 18 up to 20
    for (const rnge_eIndexSelect select :
         {rnge_IndexFloor, rnge_IndexNearest, rnge_IndexOuter, rnge_IndexCeiling})
        for (const rnge_c1DRange& range :
             {rnge_c1DRange(0, 9), rnge_c1DRange(20, 30), rnge_c1DRange(-1e300, 1),
              rnge_c1DRange(1e12, 1e300), rnge_c1DRange(20, infinity), rnge_c1DRange(0, 10),
              rnge_c1DRange(-infinity, -1)})
            EXPECT_EQ(taken(range, data, select), Points{})
                << select << ": " << range.Start() << " to " << range.End();
}

// The first index of such a range may be the largest there is, and the calibration's is below zero.
TEST(SelectedPoints, RangeFarOutsideContributesNothingWhateverTheCalibrationIndex) {
    for (const int calIndex : {-100, 100})
        for (const rnge_c1DRange& range : {rnge_c1DRange(1e12, 1e13), rnge_c1DRange(-1e13, -1e12)})
            EXPECT_EQ(taken(range, rising(5, {0, 1, calIndex})), Points{}) << calIndex;
}

TEST(SelectedPoints, RangePartlyOutsideContributesWhatLiesInside) {
    const darr_c1DArray data = rising(5, {10, 2, 0});
    const Points all = {{10, 12, 14, 16, 18}, {100, 101, 102, 103, 104}};
    for (const rnge_eIndexSelect select :
         {rnge_IndexFloor, rnge_IndexNearest, rnge_IndexOuter, rnge_IndexCeiling}) {
        EXPECT_EQ(taken({0, 14}, data, select), (Points{{10, 12}, {100, 101}}));
        EXPECT_EQ(taken({16, 100}, data, select), (Points{{16, 18}, {103, 104}}));
        EXPECT_EQ(taken({-5, 50}, data, select), all);
        EXPECT_EQ(taken({-infinity, infinity}, data, select), all);
        EXPECT_EQ(taken({-1e300, 1e300}, data, select), all);
    }
}

// Far from zero, positions are so coarse that the end of the array seems to lie beyond itself.
TEST(SelectedPoints, RoundingOfFarPositionsInventsNoElements) {
    const darr_c1DArray data = rising(7, {1e10, 1e-6, 0});
    for (const rnge_eIndexSelect select :
         {rnge_IndexFloor, rnge_IndexNearest, rnge_IndexOuter, rnge_IndexCeiling})
        for (const double y : taken({0, 1e11}, data, select).y)
            EXPECT_GE(y, 100);
    EXPECT_EQ(taken({0, 1e11}, data, rnge_IndexOuter).y.size(), 7U);
}

TEST(SelectedPoints, IndexRuleSaysWhichElementsARangeTakes) {
    const darr_c1DArray data = rising(9);
    const rnge_c1DRange range(1.6, 4.4);
    EXPECT_EQ(taken(range, data, rnge_IndexFloor).x, (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(taken(range, data, rnge_IndexNearest).x, (std::vector<double>{2, 3}));
    EXPECT_EQ(taken(range, data, rnge_IndexOuter).x, (std::vector<double>{1, 2, 3, 4}));
    EXPECT_EQ(taken(range, data, rnge_IndexCeiling).x, (std::vector<double>{2, 3, 4}));
}

TEST(SelectedPoints, PositionsStartAtTheirCalibratedOneAndGoOnByAddition) {
    const cal_c1DArrayCal cal(5, 0.1, 3);
    const Points points = taken({4.75, 6.05}, rising(40, cal), rnge_IndexCeiling);
    ASSERT_EQ(points.x.size(), 13U);
    double expected = 5 + (1 - 3) * 0.1;
    for (const double x : points.x) {
        EXPECT_EQ(x, expected);
        expected += 0.1;
    }
    EXPECT_EQ(points.y.front(), 101);
}

TEST(SelectedPoints, FallingCalibrationIsTakenByRangesOfEitherDirection) {
    const darr_c1DArray data = rising(10, {10, -1, 0});
    EXPECT_EQ(taken({5, 2}, data), (Points{{5, 4, 3}, {105, 106, 107}}));
    EXPECT_EQ(taken({2, 5}, data), taken({5, 2}, data));
    EXPECT_EQ(taken({50, 8}, data), (Points{{10, 9}, {100, 101}}));
}

TEST(SelectedPoints, BackwardAndEmptyRangesContributeNothing) {
    EXPECT_EQ(taken({5, 2}, rising(9)), Points{});
    EXPECT_EQ(taken({3, 3}, rising(9)), Points{});
    EXPECT_EQ(taken({0, 9}, rising(0)), Points{});
}

TEST(SelectedPoints, EveryElementTypeBecomesDouble) {
    for (int code = dtyp_UInt8; code <= dtyp_ComplexDouble; ++code) {
        const darr_c1DArray data(4, pnum_cNumber(7), {});
        const darr_c1DArray typed =
            conv_Convert(data, dtyp_cDataType(static_cast<dtyp_eDataType>(code)), conv_RealPart);
        EXPECT_EQ(taken({1, 3}, typed), (Points{{1, 2}, {7, 7}})) << code;
    }
}

TEST(SelectedPoints, UnknownElementTypeIsRefused) {
    const darr_c1DArray data(4, dtyp_cDataType(42), cal_c1DArrayCal::Default);
    EXPECT_THROW(taken({1, 3}, data), expt_cProgramException);
}

TEST(SelectedPoints, DataIsNotChanged) {
    const std::vector<float> elements = {1, 2, 3};
    const darr_c1DArray data(std::span<const float>(elements), cal_c1DArrayCal(5, 2, 1));
    taken({0, 50}, data);
    EXPECT_EQ(data.DataType().Code(), dtyp_Float);
    EXPECT_EQ(data.Size(), 3);
    EXPECT_EQ(data.Cal(), cal_c1DArrayCal(5, 2, 1));
}

TEST(SelectedPoints, FailureLeavesWhatWasGatheredBefore) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(1, 3));
    selection.AddLocalRange(rnge_c1DRange(notANumber, 5));
    selection.AddLocalRange(rnge_c1DRange(6, 8));
    arr_cC_Array<double> x, y;
    EXPECT_THROW(selection.FillXY(rising(9), x, y), arr_cIndexException);
    EXPECT_THAT(std::vector<double>(x.begin(), x.end()), ElementsAre(1, 2));
    EXPECT_THAT(std::vector<double>(y.begin(), y.end()), ElementsAre(101, 102));
}

TEST(SelectedPoints, MissingMemoryLeavesWholeRanges) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(1, 3));
    selection.AddLocalRange(rnge_c1DRange(4, 6));
    const darr_c1DArray data = rising(9);
    bool isDone = false;
    for (long allowed = 0; !isDone; ++allowed) {
        ASSERT_LT(allowed, 100);
        arr_cC_Array<double> x, y;
        try {
            const FailingNew failing(allowed);
            selection.FillXY(data, x, y);
            isDone = true;
        } catch (const std::bad_alloc&) {
        }
        EXPECT_EQ(x.Size(), y.Size());
        EXPECT_EQ(x.Size() % 2, 0);
        for (int i = 0; i < x.Size(); ++i)
            EXPECT_EQ(y[i], 100 + x[i]);
    }
}

TEST(SelectedPoints, AreInsideOnAnAxisThatRunsDownward) {
    const darr_c1DArray data = rising(6, cal_c1DArrayCal(10, -0.5, 0)); // 10, 9.5 ... 7.5
    const Points inside{{9.5, 9, 8.5}, {101, 102, 103}};
    EXPECT_EQ(taken(rnge_c1DRange(8.25, 9.75), data), inside);
    EXPECT_EQ(taken(rnge_c1DRange(9.75, 8.25), data), inside);
    EXPECT_EQ(taken(rnge_c1DRange(8.3, 9.6), data, rnge_IndexCeiling), inside);
    EXPECT_EQ(taken(rnge_c1DRange(-infinity, infinity), data).x.size(), 6u);
    EXPECT_EQ(taken(data.Range(), data).x.size(), 6u);
    EXPECT_EQ(taken(rnge_c1DRange(20, 30), data).x.size(), 0u);
}

TEST(SelectedPoints, OfManyRangesAreGatheredAtOnce) {
    const darr_c1DArray data = rising(1000);
    arr_cC_Array<double> x, y;
    const auto allocations = [&](int ranges) {
        dasl_c1DDataArraySelection selection(rnge_IndexNearest);
        for (int k = 0; k < ranges; ++k)
            selection.AddLocalRange(rnge_c1DRange(3 * k, 3 * k + 2));
        const long before = allocationCount();
        selection.FillXY(data, x, y);
        EXPECT_EQ(x.Size(), 2 * ranges);
        return allocationCount() - before;
    };
    EXPECT_LE(allocations(300), allocations(3) + 10); // not two for every range
}

TEST(Selection, MissingMemoryLeavesTheSelectionAsItWas) {
    for (const bool isLocal : {false, true}) {
        bool isDone = false;
        for (long allowed = 0; !isDone; ++allowed) {
            ASSERT_LT(allowed, 100);
            dasl_c1DDataArraySelection selection(rnge_IndexNearest);
            std::vector<rnge_c1DRange> ranges(5);
            for (std::size_t i = 0; i < 4; ++i)
                selection.AddRange(ranges[i]);
            Listener listener(selection);
            try {
                const FailingNew failing(allowed);
                isLocal ? selection.AddLocalRange(ranges[4]) : selection.AddRange(ranges[4]);
                isDone = true;
            } catch (const std::bad_alloc&) {
            }
            if (!isDone) {
                EXPECT_EQ(selection.RangeList().Count(), 4) << allowed;
                ranges[4].SetEnd(5);
                EXPECT_THAT(listener.take(), IsEmpty());
            }
        }
    }
}

TEST(Selection, RangeStaysWhenAReceiverThrows) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    Listener listener(selection);
    listener.act = [] { throw std::runtime_error("refused"); };
    rnge_c1DRange range(1, 2);
    EXPECT_THROW(selection.AddRange(range), std::runtime_error);
    EXPECT_TRUE(selection.HasRange(range));
    EXPECT_THROW(selection.AddLocalRange(range), std::runtime_error);
    EXPECT_EQ(selection.RangeList().Count(), 2);
    listener.act = nullptr;
    selection.RangeList()[1]->SetEnd(8);
    EXPECT_EQ(selection.TotalRange(), rnge_c1DRange(1, 8));
}

// Whatever a receiver does to the selection before it throws is what stays.
TEST(Selection, ReceiverThatChangesTheSelectionAndThrowsIsObeyed) {
    struct Row {
        std::string what;
        std::function<void(dasl_c1DDataArraySelection&)> act;
        std::vector<double> starts;
    };
    const auto removeLast = [](dasl_c1DDataArraySelection& selection) {
        selection.RemoveRange(*selection.RangeList()[selection.RangeList().Count() - 1]);
    };
    const auto add = [](dasl_c1DDataArraySelection& selection) {
        selection.AddLocalRange(rnge_c1DRange(7, 8));
    };
    const std::vector<Row> rows{
        {"nothing", [](dasl_c1DDataArraySelection&) {}, {1, 3}},
        {"clear", [](dasl_c1DDataArraySelection& selection) { selection.Clear(); }, {}},
        {"remove", removeLast, {1}},
        {"remove and add",
         [=](dasl_c1DDataArraySelection& selection) {
             removeLast(selection);
             add(selection);
         },
         {1, 7}},
        {"clear and add",
         [=](dasl_c1DDataArraySelection& selection) {
             selection.Clear();
             add(selection);
         },
         {7}}};
    for (const Row& row : rows) {
        dasl_c1DDataArraySelection selection(rnge_IndexNearest);
        selection.AddLocalRange(rnge_c1DRange(1, 2));
        Listener listener(selection);
        bool isFirst = true;
        listener.act = [&] {
            if (!std::exchange(isFirst, false))
                return;
            row.act(selection);
            throw std::runtime_error("refused");
        };
        EXPECT_THROW(selection.AddLocalRange(rnge_c1DRange(3, 4)), std::runtime_error) << row.what;
        std::vector<double> starts;
        for (const hndl_cHandle<rnge_c1DRange>& range : selection.RangeList())
            starts.push_back(range->Start());
        EXPECT_EQ(starts, row.starts) << row.what;
        listener.take();
        for (const hndl_cHandle<rnge_c1DRange>& range : selection.RangeList())
            range->SetEnd(9);
        EXPECT_EQ(listener.take().size(), starts.size()) << row.what << ": each is heard";
    }
}

TEST(Selection, RangeIsGoneWhenAReceiverOfItsRemovalThrows) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    rnge_c1DRange range(1, 2);
    selection.AddRange(range);
    Listener listener(selection);
    listener.act = [] { throw std::runtime_error("refused"); };
    EXPECT_THROW(selection.RemoveRange(range), std::runtime_error);
    EXPECT_FALSE(selection.HasRange(range));
    EXPECT_NO_THROW(range.SetEnd(8)) << "it is not heard any more";
}

TEST(SelectedPoints, CalibrationIndexThatWouldLeaveIntIsRefused) {
    constexpr int least = std::numeric_limits<int>::min();
    const darr_c1DArray data(9, pnum_cNumber(1.0), cal_c1DArrayCal(0, 1, least));
    const double start = data.Cal().Position(0);
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(start, start + 2));
    arr_cC_Array<double> x, y;
    selection.FillXY(data, x, y);
    EXPECT_EQ(x.Size(), 2);
    selection.AddLocalRange(rnge_c1DRange(start + 3, start + 5));
    EXPECT_THROW(selection.FillXY(data, x, y), arr_cIndexException);
    EXPECT_EQ(x.Size(), 2) << "of the range before";
}

} // namespace
