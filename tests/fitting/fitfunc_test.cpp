#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/fitting/ftfn.h"
#include "tests/failing_new.h"
#include "tests/fitting/listener.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A function that does what it is told and remembers what it was given.
class Function : public ftfn_c1DFittingFunction {
public:
    explicit Function(dasl_c1DDataArraySelection& selection) : ftfn_c1DFittingFunction(selection) {}
    Function(const Function&) = default;

    void LoadValues(arr_cC_Array<double>& x, arr_cC_Array<double>& y) const override {
        loadedX.assign(x.begin(), x.end());
        loadedYSize = y.Size();
        if (load)
            load(x, y);
    }
    double ChiSquared() const override { return 0.25; }

    std::function<void(arr_cC_Array<double>&, arr_cC_Array<double>&)> load;
    mutable std::vector<double> loadedX;
    mutable int loadedYSize = -1;
    std::vector<double> fittedX, fittedY;
    int refits = 0;
    bool refuses = false;

protected:
    void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y) override {
        if (refuses)
            throw std::runtime_error("refused");
        fittedX.assign(x.begin(), x.end());
        fittedY.assign(y.begin(), y.end());
        ++refits;
    }
};

/// A function that defines no more than it must.
class Plain final : public ftfn_c1DFittingFunction {
public:
    explicit Plain(dasl_c1DDataArraySelection& selection) : ftfn_c1DFittingFunction(selection) {}
    double ChiSquared() const override { return 0; }
};

std::vector<double> listOf(const arr_cC_Array<double>& values) {
    return {values.begin(), values.end()};
}

class FittingFunction : public testing::Test {
protected:
    dasl_c1DDataArraySelection selection{rnge_IndexNearest};
    darr_c1DArray data{6, pnum_cNumber(short{5}), cal_c1DArrayCal(10, 2, 1)};
};

TEST_F(FittingFunction, HasNoNameAtFirst) {
    Function function(selection);
    EXPECT_EQ(function.Name(), str_cString::Null);
    function.SetName("background");
    EXPECT_EQ(function.Name(), "background");
}

TEST_F(FittingFunction, WritesAndReadsItsNameAndNothingElse) {
    Function function(selection);
    function.SetName("background");
    std::ostringstream written;
    tgio_cASCII_ostream out(written);
    ASSERT_TRUE(out.Write(function, "Fit"));
    EXPECT_EQ(written.str(), "Fit NamedObject {\n    Name \"background\"\n}\n");
    std::istringstream text(written.str());
    tgio_cASCII_istream in(text);
    Function other(selection);
    ASSERT_TRUE(in.NextField());
    EXPECT_TRUE(in.Read(other));
    EXPECT_EQ(other.Name(), "background");
}

TEST_F(FittingFunction, RefitHandsOverWhatTheSelectionTakesAndSendsNothing) {
    selection.AddLocalRange(rnge_c1DRange(12, 16));
    Function function(selection);
    Listener listener(function);
    function.Refit(data);
    EXPECT_EQ(function.refits, 1);
    EXPECT_THAT(function.fittedX, ElementsAre(12, 14));
    EXPECT_THAT(function.fittedY, ElementsAre(5, 5));
    EXPECT_THAT(listener.take(), IsEmpty());
}

TEST_F(FittingFunction, RefitWithoutRangesHandsOverEmptyArrays) {
    Function function(selection);
    function.fittedX = {1};
    function.Refit(data);
    EXPECT_EQ(function.refits, 1);
    EXPECT_THAT(function.fittedX, IsEmpty());
    EXPECT_THAT(function.fittedY, IsEmpty());
}

TEST_F(FittingFunction, ErrorsOfSelectionAndFitPassOutOfRefit) {
    Function function(selection);
    function.refuses = true;
    EXPECT_THROW(function.Refit(data), std::runtime_error);
    function.refuses = false;
    data.SetDeltaX(0);
    selection.AddLocalRange(rnge_c1DRange(12, 16));
    EXPECT_THROW(function.Refit(data), arr_cIndexException);
    EXPECT_EQ(function.refits, 0);
}

TEST_F(FittingFunction, CurveIsWhatLoadGivesAsAnArray) {
    Function function(selection);
    function.load = [](arr_cC_Array<double>& x, arr_cC_Array<double>& y) {
        for (int i = 0; i < x.Size(); ++i)
            y[i] = -x[i];
    };
    const cal_c1DArrayCal cal(1, 0.5, 0);
    const darr_c1DArray curve = function.Curve(cal, 3);
    EXPECT_EQ(curve.Cal(), cal);
    EXPECT_THAT(curve.Elements<double>(), ElementsAre(-1, -1.5, -2));
    EXPECT_EQ(function.Curve(cal, 0).Size(), 0);
    EXPECT_THROW(function.Curve(cal, -1), arr_cSizeException);
}

TEST_F(FittingFunction, LoadEvaluatesAtPositionsMadeByAddition) {
    Function function(selection);
    function.load = [](arr_cC_Array<double>& x, arr_cC_Array<double>& y) {
        for (int i = 0; i < x.Size(); ++i)
            y[i] = -x[i];
    };
    arr_cC_Array<double> values(50, 9.0);
    function.Load(values, cal_c1DArrayCal(5, 0.1, 3));
    double expected = 5 + (0 - 3) * 0.1;
    for (const double value : values) {
        EXPECT_EQ(value, -expected);
        expected += 0.1;
    }
    EXPECT_EQ(function.loadedYSize, 50);
}

TEST_F(FittingFunction, LoadIntoAnEmptyArrayStillAsksTheFunction) {
    Function function(selection);
    arr_cC_Array<double> values;
    function.Load(values, cal_c1DArrayCal::Default);
    EXPECT_EQ(function.loadedYSize, 0);
    EXPECT_THAT(function.loadedX, IsEmpty());
    EXPECT_EQ(values.Size(), 0);
}

TEST_F(FittingFunction, LoadWritesIntoTheStorageOfTheCaller) {
    Function function(selection);
    for (const bool isShortened : {false, true}) {
        function.load = [=](arr_cC_Array<double>& x, arr_cC_Array<double>& y) {
            y.Fill(2.0);
            x.SetSize(isShortened ? 3 : 5);
            y.SetSize(isShortened ? 3 : 5);
        };
        arr_cC_Array<double> values(5, 9.0);
        const double* const storage = values.Data();
        function.Load(values, cal_c1DArrayCal::Default);
        EXPECT_EQ(values.Data(), storage);
        EXPECT_EQ(values[2], 2);
        EXPECT_EQ(values[4], isShortened ? 0 : 2);
    }
}

TEST_F(FittingFunction, LoadPutsZeroWhereTheFunctionHasNoValue) {
    Function function(selection);
    function.load = [](arr_cC_Array<double>& x, arr_cC_Array<double>& y) {
        x = arr_cC_Array<double>({11.0, 14.9, 8.0});
        y = arr_cC_Array<double>({1.0, 2.0, 3.0});
    };
    arr_cC_Array<double> values(6, 9.0);
    function.Load(values, cal_c1DArrayCal(10, 2, 1)); // 8, 10, ..., 18
    EXPECT_THAT(listOf(values), ElementsAre(3, 0, 1, 2, 0, 0));
    function.load = [](arr_cC_Array<double>& x, arr_cC_Array<double>& y) {
        x.SetSize(0);
        y.SetSize(0);
    };
    function.Load(values, cal_c1DArrayCal(10, 2, 1));
    EXPECT_THAT(listOf(values), ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST_F(FittingFunction, LoadRefusesPositionsOutsideOfTheValues) {
    Function function(selection);
    for (const double position : {-3.0, 6.0, 1e300, -1e300}) {
        function.load = [=](arr_cC_Array<double>& x, arr_cC_Array<double>& y) {
            x = arr_cC_Array<double>({2.0, position});
            y = arr_cC_Array<double>({1.0, 2.0});
        };
        arr_cC_Array<double> values(6, 9.0);
        EXPECT_THROW(function.Load(values, cal_c1DArrayCal::Default), arr_cIndexException)
            << position;
        EXPECT_THAT(listOf(values), ElementsAre(9, 9, 9, 9, 9, 9));
    }
    // More values than positions.
    function.load = [](arr_cC_Array<double>& x, arr_cC_Array<double>& y) {
        x.SetSize(1);
        y.SetSize(3);
    };
    arr_cC_Array<double> values(6, 9.0);
    EXPECT_THROW(function.Load(values, cal_c1DArrayCal::Default), arr_cIndexException);
}

TEST_F(FittingFunction, LoadThatRaisesLeavesTheValues) {
    Function function(selection);
    function.load = [](arr_cC_Array<double>& x, arr_cC_Array<double>& y) {
        y.Fill(1.0);
        x.SetSize(3);
        y.SetSize(3);
    };
    bool isDone = false;
    for (long allowed = 0; !isDone; ++allowed) {
        ASSERT_LT(allowed, 50);
        arr_cC_Array<double> values(6, 9.0);
        try {
            function.loadedX.reserve(6);
            const FailingNew failing(allowed);
            function.Load(values, cal_c1DArrayCal::Default);
            isDone = true;
        } catch (const std::bad_alloc&) {
            EXPECT_THAT(listOf(values), ElementsAre(9, 9, 9, 9, 9, 9));
        }
    }
}

TEST_F(FittingFunction, BaseFitsAndLoadsNothing) {
    Plain plain(selection);
    plain.Refit(data);
    arr_cC_Array<double> x({1.0, 2.0});
    arr_cC_Array<double> y({3.0, 4.0});
    plain.LoadValues(x, y);
    EXPECT_THAT(listOf(x), ElementsAre(1, 2));
    EXPECT_THAT(listOf(y), ElementsAre(3, 4));
}

TEST_F(FittingFunction, EveryFunctionOfASelectionSendsOneMessageWhenARangeMoves) {
    rnge_c1DRange range(12, 16);
    selection.AddRange(range);
    Function first(selection);
    Function second(selection);
    Listener onFirst(first);
    Listener onSecond(second);
    range.SetEnd(18);
    EXPECT_THAT(onFirst.take(), ElementsAre(ftfn_FunctionChanged));
    EXPECT_THAT(onSecond.take(), ElementsAre(ftfn_FunctionChanged));
    EXPECT_THAT(onFirst.senders, ElementsAre(&first));
    EXPECT_FALSE(onFirst.carriedData);
    EXPECT_EQ(first.refits, 0) << "nothing refits by itself";
}

TEST_F(FittingFunction, EveryChangeOfTheSelectionIsOneMessage) {
    Function function(selection);
    Listener listener(function);
    {
        rnge_c1DRange range(12, 16);
        selection.AddRange(range);
        EXPECT_THAT(listener.take(), ElementsAre(ftfn_FunctionChanged)) << "added";
        selection.RemoveRange(range);
        EXPECT_THAT(listener.take(), ElementsAre(ftfn_FunctionChanged)) << "removed";
        selection.AddRange(range);
        listener.take();
    }
    EXPECT_THAT(listener.take(), ElementsAre(ftfn_FunctionChanged)) << "destroyed";
    selection.AddLocalRange(rnge_c1DRange(12, 16));
    EXPECT_THAT(listener.take(), ElementsAre(ftfn_FunctionChanged)) << "added locally";
    selection.Clear();
    EXPECT_THAT(listener.take(), IsEmpty()) << "cleared";
}

TEST_F(FittingFunction, OtherMessagesOfTheSelectionAreIgnored) {
    Function function(selection);
    Listener listener(function);
    for (const unsigned long id : {rnge_1DRangeChanged, ftfn_FunctionChanged, 0x00020002UL})
        selection.SendMessage(id, nullptr);
    EXPECT_THAT(listener.take(), IsEmpty());
}

TEST_F(FittingFunction, CopyHasNameAndSelectionAndHearsNothing) {
    rnge_c1DRange range(12, 16);
    selection.AddRange(range);
    Function function(selection);
    function.SetName("background");
    Listener onOriginal(function);
    {
        Function copy(function);
        EXPECT_EQ(copy.Name(), "background");
        copy.Refit(data);
        EXPECT_THAT(copy.fittedX, ElementsAre(12, 14));
        Listener onCopy(copy);
        range.SetEnd(18);
        EXPECT_THAT(onCopy.take(), IsEmpty());
        EXPECT_THAT(onOriginal.take(), ElementsAre(ftfn_FunctionChanged));
    }
    range.SetEnd(20);
    EXPECT_THAT(onOriginal.take(), ElementsAre(ftfn_FunctionChanged))
        << "the copy that went has not unregistered its original";
}

TEST_F(FittingFunction, DestroyedOneIsForgottenByTheSelection) {
    std::optional<Function> function(std::in_place, selection);
    Listener listener(*function);
    function.reset();
    EXPECT_THAT(listener.take(), ElementsAre(mesg_SenderDestroyed));
    selection.AddLocalRange(rnge_c1DRange(12, 16));
    EXPECT_THAT(listener.take(), IsEmpty());
}

// Two ranges, a function and its copy, in each of the 24 orders; the selection outlives functions.
TEST_F(FittingFunction, RangesAndFunctionsMayBeDestroyedInAnyOrder) {
    std::vector<int> order = {0, 1, 2, 3};
    do {
        std::vector<std::unique_ptr<mesg_cSender>> objects(4);
        for (const std::size_t i : {0U, 1U}) {
            auto range = std::make_unique<rnge_c1DRange>(12, 16);
            selection.AddRange(*range);
            objects[i] = std::move(range);
        }
        auto function = std::make_unique<Function>(selection);
        Listener listener(*function);
        objects[3] = std::make_unique<Function>(*function);
        objects[2] = std::move(function);
        std::vector<unsigned long> expected;
        for (const int i : order) {
            if (objects[2] && i != 3)
                expected.push_back(i == 2 ? mesg_SenderDestroyed : ftfn_FunctionChanged);
            objects[static_cast<std::size_t>(i)].reset();
            EXPECT_EQ(listener.heard, expected);
        }
        EXPECT_EQ(selection.RangeList().Count(), 0);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(FittingFunctions, SelectionMayGoBeforeTheFunctionThatIsNotUsedAnyMore) {
    auto selection = std::make_unique<dasl_c1DDataArraySelection>(rnge_IndexNearest);
    auto function = std::make_unique<Function>(*selection);
    auto copy = std::make_unique<Function>(*function);
    Listener listener(*function);
    selection.reset();
    function.reset();
    copy.reset();
    EXPECT_THAT(listener.take(), ElementsAre(mesg_SenderDestroyed));
}

// Ranges and selection go in any order once the function is gone.
TEST(FittingFunctions, SelectionMayGoBeforeOrAfterItsRanges) {
    for (const bool isSelectionFirst : {false, true}) {
        auto range = std::make_unique<rnge_c1DRange>(1, 2);
        auto selection = std::make_unique<dasl_c1DDataArraySelection>(rnge_IndexNearest);
        selection->AddRange(*range);
        auto function = std::make_unique<Function>(*selection);
        Listener listener(*function);
        function.reset();
        if (isSelectionFirst)
            selection.reset();
        range.reset();
        EXPECT_THAT(listener.take(), ElementsAre(mesg_SenderDestroyed));
    }
}

} // namespace
