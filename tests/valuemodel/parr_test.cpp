#include "dataprocessing/valuemodel/parr.h"

#include <climits>
#include <cstdint>
#include <new>
#include <sstream>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"
#include "tests/failing_new.h"
#include "tests/support/elements.h"
#include "tests/support/refusal.h"
#include "tests/support/refusal_expected.h"

namespace {

template<class T>
parr_c1DNumberArray lineOf(const std::vector<T>& elements) {
    return parr_c1DNumberArray(std::span<const T>(elements));
}

template<class T>
parr_c2DNumberArray planeOf(int sizeX, int sizeY, const std::vector<T>& elements) {
    return parr_c2DNumberArray(sizeX, sizeY, std::span<const T>(elements));
}

template<class T>
std::vector<T> elementsOf(const parr_cNumberArray& array) {
    const std::span<const T> elements = array.Elements<T>();
    return {elements.begin(), elements.end()};
}

template<class T>
std::string printed(const T& value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

std::uintptr_t address(const parr_cNumberArray& array) {
    return reinterpret_cast<std::uintptr_t>(array.Data());
}

} // namespace

TEST(NumberArray, DefaultHasNoElementOfTypeDouble) {
    const parr_c1DNumberArray line;
    EXPECT_EQ(line.Size(), 0);
    EXPECT_EQ(line.DataType(), dtyp_Double);
    EXPECT_EQ(line.Data(), nullptr);
    EXPECT_TRUE(line.Elements<double>().empty());
    const parr_c2DNumberArray plane;
    EXPECT_EQ(plane.SizeX(), 0);
    EXPECT_EQ(plane.SizeY(), 0);
    EXPECT_EQ(plane.Count(), 0);
    EXPECT_EQ(plane.DataType(), dtyp_Double);
}

TEST(NumberArray, IsMadeInEveryWayOfEveryType) {
    forEachElementType([]<class T>(int code) {
        SCOPED_TRACE(code);
        const dtyp_cDataType type(code);
        const std::vector<T> elements = countedElements<T>(12);
        const T fill = elementOf<T>(5, 6);
        const pnum_cNumber number(type, &fill);

        EXPECT_EQ(parr_c1DNumberArray(12, type).DataType(), type);
        EXPECT_EQ(parr_c1DNumberArray(12, type).Size(), 12);
        EXPECT_EQ(elementsOf<T>(parr_c1DNumberArray(12, number)), std::vector<T>(12, fill));
        EXPECT_EQ(elementsOf<T>(parr_c1DNumberArray(12, type, elements.data())), elements);
        EXPECT_EQ(elementsOf<T>(lineOf(elements)), elements);

        const parr_c2DNumberArray made(4, 3, type);
        EXPECT_EQ(made.SizeX(), 4);
        EXPECT_EQ(made.SizeY(), 3);
        EXPECT_EQ(made.Count(), 12);
        EXPECT_EQ(made.DataType(), type);
        EXPECT_EQ(elementsOf<T>(parr_c2DNumberArray(4, 3, number)), std::vector<T>(12, fill));
        EXPECT_EQ(elementsOf<T>(parr_c2DNumberArray(4, 3, type, elements.data())), elements);
        EXPECT_EQ(elementsOf<T>(planeOf(4, 3, elements)), elements);
    });
}

TEST(NumberArray, IsMadeOfSpansThatCouldBeWrittenToAsWell) {
    std::vector<int> elements = {1, 2, 3, 4};
    EXPECT_EQ(elementsOf<int>(parr_c1DNumberArray(std::span(elements))), elements);
    EXPECT_EQ(elementsOf<int>(parr_c2DNumberArray(2, 2, std::span(elements))), elements);
    EXPECT_EQ(elementsOf<int>(parr_c1DNumberArray(std::span<int, 4>(elements))), elements);
}

TEST(NumberArray, EmptyOnesOfAnySource) {
    const parr_c1DNumberArray none(0, dtyp_Int16);
    EXPECT_EQ(none.Data(), nullptr);
    EXPECT_EQ(parr_c1DNumberArray(0, dtyp_Int16, nullptr).Size(), 0);
    EXPECT_EQ(parr_c1DNumberArray(0, pnum_cNumber(1.0f)).DataType(), dtyp_Float);
    EXPECT_EQ(parr_c1DNumberArray(std::span<const short>()).DataType(), dtyp_Int16);
    const parr_c2DNumberArray rowless(5, 0, dtyp_Float);
    EXPECT_EQ(rowless.SizeX(), 5);
    EXPECT_EQ(rowless.SizeY(), 0);
    EXPECT_EQ(rowless.Count(), 0);
    EXPECT_EQ(parr_c2DNumberArray(0, INT_MAX, dtyp_Float).SizeY(), INT_MAX);
}

TEST(NumberArray, ImpossibleSizesAreRefused) {
    const pnum_cNumber one = 1;
    for (const int size : {-1, INT_MIN}) {
        EXPECT_EQ(refusalOf([&] { parr_c1DNumberArray(size, dtyp_Double); }), sizeRefusal);
        EXPECT_EQ(refusalOf([&] { parr_c1DNumberArray(size, one); }), sizeRefusal);
        EXPECT_EQ(refusalOf([&] { parr_c1DNumberArray(size, dtyp_Double, nullptr); }), sizeRefusal);
    }
    for (const auto& [sizeX, sizeY] :
         {std::pair(-1, 2), std::pair(2, -1), std::pair(-1, -1), std::pair(0, -1), std::pair(-1, 0),
          std::pair(INT_MIN, INT_MIN), std::pair(INT_MAX, 2), std::pair(2, INT_MAX),
          std::pair(INT_MAX, INT_MAX), std::pair(65536, 32768), std::pair(46341, 46341)}) {
        SCOPED_TRACE(std::to_string(sizeX) + " x " + std::to_string(sizeY));
        EXPECT_EQ(refusalOf([x = sizeX, y = sizeY] { parr_c2DNumberArray(x, y, dtyp_UInt8); }),
                  sizeRefusal);
        EXPECT_EQ(refusalOf([x = sizeX, y = sizeY, &one] { parr_c2DNumberArray(x, y, one); }),
                  sizeRefusal);
        EXPECT_EQ(
            refusalOf([x = sizeX, y = sizeY] { parr_c2DNumberArray(x, y, dtyp_UInt8, nullptr); }),
            sizeRefusal);
    }
}

TEST(NumberArray, LargestCountIsAcceptedWithoutStorage) {
    // An unknown type needs no storage, so the limit itself can be reached.
    EXPECT_EQ(parr_c1DNumberArray(INT_MAX, dtyp_cDataType(11)).Size(), INT_MAX);
    EXPECT_EQ(parr_c2DNumberArray(INT_MAX, 1, dtyp_cDataType(11)).Count(), INT_MAX);
    EXPECT_EQ(parr_c2DNumberArray(46340, 46340, dtyp_cDataType(11)).Count(), 2147395600);
}

TEST(NumberArray, SpanOfAnotherSizeThanThePlaneIsRefused) {
    const std::vector<int> elements(6);
    EXPECT_EQ(refusalOf([&] { planeOf(2, 2, elements); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { planeOf(7, 1, elements); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { planeOf(-2, -3, elements); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { planeOf(0, 0, elements); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { planeOf(3, 2, elements); }), "none");
}

TEST(NumberArray, ARefusedSpanSaysWhatSizeIsNeeded) {
    const std::vector<int> elements(6);
    const auto refusal = caught<arr_cSizeException>([&] { planeOf(2, 2, elements); });
    EXPECT_EQ(refusal.Size(), 6);
    EXPECT_EQ(refusal.Expected(), 4);
}

TEST(NumberArray, StorageBeginsOnACacheLine) {
    for (const int size : {1, 3, 17, 1000, 100000})
        forEachElementType([&]<class T>(int code) {
            EXPECT_EQ(address(parr_c1DNumberArray(size, dtyp_cDataType(code))) % 64, 0u);
            EXPECT_EQ(address(parr_c2DNumberArray(size, 2, dtyp_cDataType(code))) % 64, 0u);
        });
}

TEST(NumberArray, ElementsOfAnotherTypeAreRefused) {
    forEachElementType([]<class Stored>(int stored) {
        parr_c1DNumberArray line(3, dtyp_cDataType(stored));
        const parr_c1DNumberArray& readLine = line;
        forEachElementType([&]<class Asked>(int asked) {
            const std::string wanted = stored == asked ? "none" : "parr:1";
            EXPECT_EQ(refusalOf([&] { line.Elements<Asked>(); }), wanted) << stored << ' ' << asked;
            EXPECT_EQ(refusalOf([&] { readLine.Elements<Asked>(); }), wanted);
        });
    });
}

TEST(NumberArray, ElementsAreWrittenInPlace) {
    parr_c1DNumberArray line(3, pnum_cNumber(1));
    line.Elements<int>()[2] = 7;
    EXPECT_EQ(elementsOf<int>(line), (std::vector<int>{1, 1, 7}));
    EXPECT_EQ(line.Elements<int>().data(), line.Data());
}

TEST(NumberArray, NumbersAreReadAndSetInTheTypeOfTheArray) {
    forEachElementType([]<class T>(int code) {
        parr_c1DNumberArray line = lineOf(countedElements<T>(5));
        EXPECT_EQ(line.Number(3).DataType().Code(), code);
        EXPECT_EQ(line.Number(3).template As<double>(), 4);
        line.SetNumber(3, pnum_cNumber(9.75f));
        const T set = line.template Elements<T>()[3];
        EXPECT_TRUE(isSameElement(set, elementOf<T>(code <= 6 ? 10 : 9.75)));
        EXPECT_EQ(line.Number(2).template As<double>(), 3);
        EXPECT_EQ(line.Number(4).template As<double>(), 5);

        parr_c2DNumberArray plane = planeOf(3, 2, countedElements<T>(6));
        EXPECT_EQ(plane.Number(2, 0).template As<double>(), 3);
        EXPECT_EQ(plane.Number(0, 1).template As<double>(), 4);
        plane.SetNumber(1, 1, 100);
        EXPECT_TRUE(isSameElement(plane.template Elements<T>()[4], elementOf<T>(100)));
    });
}

TEST(NumberArray, IndicesAreCheckedOnAllSides) {
    parr_c1DNumberArray line(3, pnum_cNumber(1));
    for (const int i : {-1, 3, 4, INT_MIN, INT_MAX}) {
        EXPECT_EQ(refusalOf([&] { line.Number(i); }), indexRefusal) << i;
        EXPECT_EQ(refusalOf([&] { line.SetNumber(i, 2); }), indexRefusal) << i;
    }
    parr_c2DNumberArray plane(3, 2, pnum_cNumber(1));
    for (const auto& [x, y] :
         {std::pair(-1, 0), std::pair(3, 0), std::pair(0, -1), std::pair(0, 2), std::pair(-1, 1),
          std::pair(3, -1), std::pair(INT_MAX, INT_MAX), std::pair(INT_MIN, INT_MIN)}) {
        EXPECT_EQ(refusalOf([&, x = x, y = y] { plane.Number(x, y); }), indexRefusal) << x << y;
        EXPECT_EQ(refusalOf([&, x = x, y = y] { plane.SetNumber(x, y, 2); }), indexRefusal);
    }
    EXPECT_EQ(refusalOf([] { parr_c1DNumberArray().Number(0); }), indexRefusal);
    EXPECT_EQ(elementsOf<int>(line), std::vector<int>(3, 1));
    EXPECT_EQ(elementsOf<int>(plane), std::vector<int>(6, 1));
    const auto refusal = caught<arr_cIndexException>([&] { line.Number(7); });
    EXPECT_EQ(refusal.Index(), 7);
    EXPECT_EQ(refusal.Size(), 3);
}

TEST(NumberArray, CopiesAreIndependent) {
    parr_c1DNumberArray first = lineOf<int>({1, 2, 3});
    const parr_c1DNumberArray copy = first;
    first.SetNumber(0, 9);
    EXPECT_EQ(elementsOf<int>(copy), (std::vector<int>{1, 2, 3}));
    parr_c1DNumberArray assigned(7, dtyp_Float);
    assigned = copy;
    EXPECT_EQ(elementsOf<int>(assigned), (std::vector<int>{1, 2, 3}));
    EXPECT_NE(assigned.Data(), copy.Data());

    parr_c2DNumberArray plane = planeOf<int>(3, 1, {4, 5, 6});
    const parr_c2DNumberArray planeCopy = plane;
    plane.SetNumber(0, 0, 9);
    EXPECT_EQ(elementsOf<int>(planeCopy), (std::vector<int>{4, 5, 6}));
    EXPECT_EQ(planeCopy.SizeX(), 3);
    EXPECT_EQ(planeCopy.SizeY(), 1);
}

TEST(NumberArray, AssignmentToItselfKeepsEverything) {
    parr_c2DNumberArray plane = planeOf<int>(2, 2, {1, 2, 3, 4});
    const parr_c2DNumberArray& same = plane;
    plane = same;
    EXPECT_EQ(elementsOf<int>(plane), (std::vector<int>{1, 2, 3, 4}));
    parr_c2DNumberArray& itself = plane;
    plane = std::move(itself);
    EXPECT_EQ(elementsOf<int>(plane), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(plane.SizeX(), 2);
}

TEST(NumberArray, MovingLeavesAnArrayWithoutElementsThatIsSafeToUse) {
    // NOLINTBEGIN(bugprone-use-after-move): the contract says what is left
    parr_c1DNumberArray line = lineOf<int>({1, 2, 3});
    const void* storage = line.Data();
    const parr_c1DNumberArray taken = std::move(line);
    EXPECT_EQ(taken.Data(), storage);
    EXPECT_EQ(line.Size(), 0);
    EXPECT_EQ(line.Count(), 0);
    EXPECT_EQ(line.Data(), nullptr);
    EXPECT_TRUE(line.Elements<int>().empty());
    EXPECT_EQ(refusalOf([&] { line.Number(0); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { line.SetSelection(taken, 0); }), indexRefusal);
    EXPECT_EQ(printed(line), "[]");
    line.Convert(dtyp_Float);
    EXPECT_EQ(line.DataType(), dtyp_Float);
    const parr_c1DNumberArray copyOfEmpty = line;
    EXPECT_EQ(copyOfEmpty.Size(), 0);

    parr_c2DNumberArray plane = planeOf<int>(3, 1, {1, 2, 3});
    parr_c2DNumberArray target(9, 9, dtyp_Float);
    target = std::move(plane);
    EXPECT_EQ(elementsOf<int>(target), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(plane.SizeX(), 0);
    EXPECT_EQ(plane.SizeY(), 0);
    EXPECT_EQ(plane.Count(), 0);
    EXPECT_EQ(refusalOf([&] { plane.Number(0, 0); }), indexRefusal);
    EXPECT_EQ(printed(plane), "");
    plane = target;
    EXPECT_EQ(elementsOf<int>(plane), (std::vector<int>{1, 2, 3}));
    // NOLINTEND(bugprone-use-after-move)
}

TEST(NumberArray, SetSelectionConvertsAnyTypeIntoAnyType) {
    forEachElementType([]<class From>(int from) {
        forEachElementType([&]<class To>(int to) {
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            const parr_c1DNumberArray source = lineOf(countedElements<From>(3));
            const To fill = elementOf<To>(77);
            parr_c1DNumberArray line(6, pnum_cNumber(dtyp_cDataType(to), &fill));
            line.SetSelection(source, 2);
            for (int i = 0; i < 6; ++i) {
                const bool isSet = i >= 2 && i < 5;
                const double re = isSet ? i - 1 : 77;
                const double im = isSet && from >= 9 ? -re : 0;
                EXPECT_TRUE(isSameElement(line.Elements<To>()[static_cast<std::size_t>(i)],
                                          elementOf<To>(re, im)))
                    << i;
                EXPECT_EQ(line.Number(i).template As<double>(), re);
            }
        });
    });
}

TEST(NumberArray, SetSelectionReachesBothEndsAndNothingBeyond) {
    const parr_c1DNumberArray source = lineOf<int>({1, 2});
    for (const int start : {0, 1, 2}) {
        parr_c1DNumberArray line(4, pnum_cNumber(0));
        line.SetSelection(source, start);
        std::vector<int> wanted(4, 0);
        wanted[static_cast<std::size_t>(start)] = 1;
        wanted[static_cast<std::size_t>(start) + 1] = 2;
        EXPECT_EQ(elementsOf<int>(line), wanted);
    }
    parr_c1DNumberArray line = lineOf<int>({5, 6, 7, 8});
    for (const int start : {-1, 3, 4, 5, INT_MIN, INT_MAX})
        EXPECT_EQ(refusalOf([&] { line.SetSelection(source, start); }), indexRefusal) << start;
    EXPECT_EQ(elementsOf<int>(line), (std::vector<int>{5, 6, 7, 8}));
    // Nothing fits anywhere up to the end.
    line.SetSelection(parr_c1DNumberArray(), 4);
    EXPECT_EQ(refusalOf([&] { line.SetSelection(parr_c1DNumberArray(), 5); }), indexRefusal);
    line.SetSelection(lineOf<int>({1, 2, 3, 4}), 0);
    EXPECT_EQ(elementsOf<int>(line), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(refusalOf([&] { line.SetSelection(parr_c1DNumberArray(5, dtyp_Int32), 0); }),
              indexRefusal);
}

TEST(NumberArray, SetSelectionOfItselfKeepsEverything) {
    parr_c1DNumberArray line = lineOf<int>({1, 2, 3});
    line.SetSelection(line, 0);
    EXPECT_EQ(elementsOf<int>(line), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(refusalOf([&] { line.SetSelection(line, 1); }), indexRefusal);
    parr_c2DNumberArray plane = planeOf<int>(2, 2, {1, 2, 3, 4});
    plane.SetSelection(plane, 0, 0);
    EXPECT_EQ(elementsOf<int>(plane), (std::vector<int>{1, 2, 3, 4}));
}

TEST(NumberArray, SetSelectionOfAPlaneWritesItsRectangleOnly) {
    const parr_c2DNumberArray source = planeOf<unsigned char>(2, 3, {1, 2, 3, 4, 5, 6});
    for (int startX = 0; startX <= 3; ++startX)
        for (int startY = 0; startY <= 1; ++startY) {
            parr_c2DNumberArray plane(5, 4, pnum_cNumber(0.0f));
            plane.SetSelection(source, startX, startY);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 5; ++x) {
                    const int u = x - startX;
                    const int v = y - startY;
                    const bool isSet = u >= 0 && u < 2 && v >= 0 && v < 3;
                    ASSERT_EQ(plane.Number(x, y).As<int>(), isSet ? v * 2 + u + 1 : 0);
                }
        }
    parr_c2DNumberArray plane(5, 4, pnum_cNumber(0.0f));
    for (const auto& [x, y] : {std::pair(-1, 0), std::pair(4, 0), std::pair(0, -1), std::pair(0, 2),
                               std::pair(5, 0), std::pair(INT_MIN, 0), std::pair(0, INT_MAX)})
        EXPECT_EQ(refusalOf([&, x = x, y = y] { plane.SetSelection(source, x, y); }), indexRefusal)
            << x << ' ' << y;
    EXPECT_EQ(elementsOf<float>(plane), std::vector<float>(20, 0));
    // Without columns or rows there is nothing to write, but it has to fit all the same.
    plane.SetSelection(parr_c2DNumberArray(0, 4, dtyp_Float), 5, 0);
    plane.SetSelection(parr_c2DNumberArray(5, 0, dtyp_Float), 0, 4);
    EXPECT_EQ(refusalOf([&] { plane.SetSelection(parr_c2DNumberArray(0, 5, dtyp_Float), 0, 0); }),
              indexRefusal);
    parr_c2DNumberArray empty(0, 4, dtyp_Float);
    empty.SetSelection(parr_c2DNumberArray(0, 2, dtyp_Int8), 0, 2);
    EXPECT_EQ(elementsOf<float>(plane), std::vector<float>(20, 0));
}

TEST(NumberArray, UnknownTypesHaveACountAndNoStorage) {
    for (const int code : {0, -1, 11}) {
        SCOPED_TRACE(code);
        const dtyp_cDataType unknown(code);
        parr_c1DNumberArray line(3, unknown);
        EXPECT_EQ(line.Size(), 3);
        EXPECT_EQ(line.Data(), nullptr);
        line = parr_c1DNumberArray(3, pnum_cNumber(unknown));
        EXPECT_EQ(line.Data(), nullptr);
        EXPECT_EQ(parr_c1DNumberArray(3, unknown, nullptr).Size(), 3);
        EXPECT_EQ(line.Number(2).DataType(), unknown);
        EXPECT_EQ(refusalOf([&] { line.Number(3); }), indexRefusal);
        EXPECT_EQ(refusalOf([&] { line.SetNumber(0, 1); }), "conv:1");
        line.SetNumber(0, pnum_cNumber(unknown));
        EXPECT_EQ(refusalOf([&] { line.Elements<double>(); }), "parr:1");
        EXPECT_EQ(refusalOf([&] { line.SetSelection(parr_c1DNumberArray(1, dtyp_Int8), 0); }),
                  "conv:1");
        line.SetSelection(parr_c1DNumberArray(2, unknown), 1);
        EXPECT_EQ(printed(line), "[?, ?, ?]");
        const parr_c1DNumberArray copy = line;
        EXPECT_EQ(copy.Size(), 3);
        EXPECT_EQ(copy.DataType(), unknown);
        parr_c2DNumberArray plane(2, 2, unknown);
        plane.SetSelection(parr_c2DNumberArray(1, 1, unknown), 1, 1);
        EXPECT_EQ(plane.Number(1, 1).DataType(), unknown);
        EXPECT_EQ(printed(plane), "[?, ?]\n[?, ?]");
        plane.Convert(unknown);
        EXPECT_EQ(plane.Count(), 4);
    }
}

TEST(NumberArray, SetNumberOfAnUnknownTypeIsRefused) {
    parr_c1DNumberArray line(1, pnum_cNumber(5));
    EXPECT_EQ(refusalOf([&] { line.SetNumber(0, pnum_cNumber(dtyp_cDataType(11))); }), "conv:1");
    EXPECT_EQ(line.Number(0).As<int>(), 5);
    EXPECT_EQ(refusalOf([&] { line.SetSelection(parr_c1DNumberArray(1, dtyp_cDataType(0)), 0); }),
              "conv:1");
}

TEST(NumberArray, ConvertKeepsTheSizes) {
    parr_c2DNumberArray plane = planeOf<double>(3, 2, {0.5, 1.5, 2.5, -1, 300, 6});
    plane.Convert(dtyp_UInt8);
    EXPECT_EQ(elementsOf<unsigned char>(plane), (std::vector<unsigned char>{0, 2, 2, 0, 255, 6}));
    EXPECT_EQ(plane.SizeX(), 3);
    EXPECT_EQ(plane.SizeY(), 2);
    const void* storage = plane.Data();
    plane.Convert(dtyp_UInt8);
    EXPECT_EQ(plane.Data(), storage);
}

TEST(NumberArray, FailingAllocationChangesNothing) {
    const parr_c2DNumberArray source = planeOf<int>(3, 2, {1, 2, 3, 4, 5, 6});
    const std::vector<int> sourceElements = elementsOf<int>(source);
    const auto steps = {
        +[](parr_c2DNumberArray& target, const parr_c2DNumberArray& from) { target = from; },
        +[](parr_c2DNumberArray& target, const parr_c2DNumberArray&) {
            target.Convert(dtyp_Double);
        },
        +[](parr_c2DNumberArray& target, const parr_c2DNumberArray& from) {
            target = parr_c2DNumberArray(from);
        },
        +[](parr_c2DNumberArray& target, const parr_c2DNumberArray& from) {
            target = conv_Convert(from, dtyp_ComplexDouble);
        }};
    int step = 0;
    for (const auto run : steps) {
        SCOPED_TRACE(step++);
        int failures = 0;
        for (long allowed = 0;; ++allowed) {
            parr_c2DNumberArray target = planeOf<short>(2, 2, {7, 8, 9, 10});
            bool failed = false;
            {
                const FailingNew failing(allowed);
                try {
                    run(target, source);
                } catch (const std::bad_alloc&) {
                    failed = true;
                }
            }
            EXPECT_EQ(elementsOf<int>(source), sourceElements);
            if (!failed)
                break;
            ++failures;
            EXPECT_EQ(elementsOf<short>(target), (std::vector<short>{7, 8, 9, 10}));
            EXPECT_EQ(target.SizeX(), 2);
            EXPECT_EQ(target.SizeY(), 2);
        }
        EXPECT_GT(failures, 0);
    }
}

TEST(NumberArray, PrintsItsElements) {
    EXPECT_EQ(printed(parr_c1DNumberArray()), "[]");
    EXPECT_EQ(printed(lineOf<unsigned char>({65})), "[65]");
    EXPECT_EQ(printed(lineOf<double>({1, -2.5, 3})), "[1, -2.5, 3]");
    EXPECT_EQ(printed(lineOf<ComplexFloat>({{1, 2}, {0, -1}})), "[(1,2), (0,-1)]");
    EXPECT_EQ(printed(planeOf<int>(2, 2, {1, 2, 3, 4})), "[1, 2]\n[3, 4]");
    EXPECT_EQ(printed(planeOf<int>(0, 2, {})), "[]\n[]");
}

TEST(NumberArray, PrintsTheEndsOfLongOnes) {
    EXPECT_EQ(printed(lineOf(countedElements<int>(8))), "[1, 2, 3, 4, 5, 6, 7, 8]");
    EXPECT_EQ(printed(lineOf(countedElements<int>(9))), "[1, 2, 3, 4, ..., 6, 7, 8, 9]");
    EXPECT_EQ(printed(lineOf(countedElements<int>(100))), "[1, 2, 3, 4, ..., 97, 98, 99, 100]");
    EXPECT_EQ(printed(planeOf(1, 9, countedElements<int>(9))),
              "[1]\n[2]\n[3]\n[4]\n...\n[6]\n[7]\n[8]\n[9]");
    EXPECT_EQ(printed(planeOf(1, 8, countedElements<int>(8))),
              "[1]\n[2]\n[3]\n[4]\n[5]\n[6]\n[7]\n[8]");
}

// What refers into a temporary cannot be had: it would be gone before it is looked at.
template<class Array>
concept HasData = requires(Array&& array) {
    std::forward<Array>(array).Data();
};
template<class Array>
concept HasElements = requires(Array&& array) {
    std::forward<Array>(array).template Elements<float>();
};

template<class Array>
constexpr bool refersIntoNamedObjectsOnly =
    HasData<Array&>&& HasData<const Array&> && !HasData<Array> && !HasData<const Array>;
static_assert(refersIntoNamedObjectsOnly<darr_c1DArray>);
static_assert(refersIntoNamedObjectsOnly<darr_c2DArray>);
static_assert(refersIntoNamedObjectsOnly<pnum_cNumber>);
static_assert(HasElements<darr_c1DArray&> && HasElements<const darr_c2DArray&>);
static_assert(!HasElements<darr_c1DArray> && !HasElements<const darr_c2DArray>);

template<class Array>
constexpr bool givesCalibrationsOfTemporariesByValue =
    std::is_reference_v<decltype(std::declval<const Array&>().Cal())> &&
    !std::is_reference_v<decltype(std::declval<Array>().Cal())> &&
    !std::is_reference_v<decltype(std::declval<const Array>().Cal())>;
static_assert(givesCalibrationsOfTemporariesByValue<darr_c1DArray>);
static_assert(givesCalibrationsOfTemporariesByValue<darr_c2DArray>);
static_assert(givesCalibrationsOfTemporariesByValue<barr_c1DBoolArray>);
static_assert(givesCalibrationsOfTemporariesByValue<barr_c2DBoolArray>);
static_assert(!std::is_reference_v<decltype(std::declval<cal_c2DArrayCal>().X())>);
static_assert(!std::is_reference_v<decltype(std::declval<cal_c2DArrayCal>().Y())>);
static_assert(!std::is_reference_v<decltype(std::declval<barr_c1DBoolArray>().Element(0))>);
static_assert(!std::is_reference_v<decltype(std::declval<barr_c2DBoolArray>().Element(0, 0))>);
