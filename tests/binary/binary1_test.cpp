#include "dataprocessing/binary/bnry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "dataprocessing/binary/binary1_compute.h"
#include "dataprocessing/kernels/arit.h"
#include "dataprocessing/valuemodel/view.h"
#include "tests/binary/arith_oracle.h"
#include "tests/binary/arith_values.h"
#include "tests/failing_new.h"
#include "tests/support/bounds.h"
#include "tests/support/constants.h"
#include "tests/support/refusal.h"
#include "tests/support/refusal_expected.h"

namespace {

using dataprocessing::detail::arit_DivideTesting;
using dataprocessing::detail::blocks_cSource;
using dataprocessing::detail::bnry_Compute;
using dataprocessing::detail::view_cAxis;
using dataprocessing::detail::view_cView;
using oracle::Axis;
using oracle::difference;
using oracle::Outcome;
using oracle::Value;

struct Pairing {
    const char* name;
    int first; // dimensions
    int second;
    int divideLine;
};
constexpr Pairing pairings[] = {
    {"number op number", 0, 0, 436}, {"number op 1D", 0, 1, 475}, {"number op 2D", 0, 2, 475},
    {"1D op number", 1, 0, 514},     {"1D op 1D", 1, 1, 553},     {"2D op number", 2, 0, 514},
    {"2D op 2D", 2, 2, 553},
};

struct Shape {
    int x;
    int y;
};
constexpr Shape shapes[] = {{0, 3}, {1, 1}, {1, 2}, {3, 1},  {2, 2},   {5, 1},   {3, 2},   {1, 7},
                            {4, 2}, {9, 7}, {8, 8}, {13, 5}, {65, 63}, {64, 64}, {17, 241}};

/// A value of so many dimensions; arrays lie where no calibration is the
/// default one.
Value shaped(int type, int dimensions, Shape shape) {
    Value value;
    value.type = type;
    value.dimensions = dimensions;
    if (dimensions == 1)
        value.x = {-2.5, 0.5, 3, shape.x * shape.y};
    if (dimensions == 2) {
        value.x = {-2.5, 0.5, 3, shape.x};
        value.y = {10, 0.125, -1, shape.y};
    }
    return value;
}

Value number(int type, double re, double im = 0) { return {type, 0, {}, {}, {{re, im}}}; }

Value array(int type, const std::vector<double>& elements, Axis axis = {}) {
    axis.count = static_cast<int>(elements.size());
    Value value{type, 1, axis, {}, {}};
    for (const double element : elements)
        value.elements.push_back({element, 0});
    return value;
}

/// "" when the library gives what the rules give.
std::string disagreement(int operation, const Value& a, const Value& b) {
    return difference(oracle::operate(operation, a, b),
                      oracle::operateWithLibrary(operation, a, b));
}

std::string describe(int operation, const Value& a, const Value& b) {
    return "operation " + std::to_string(operation) + " on " + oracle::describe(a) + " and " +
           oracle::describe(b);
}

class EveryPair : public testing::TestWithParam<int> {};

/// Calls visit(a, b) with operands of all 100 type pairs in all pairings, not
/// yet filled.
template<class Visit>
void forEveryPair(Shape shape, Visit visit) {
    for (const Pairing& pairing : pairings)
        for (int first = 1; first <= 10; ++first)
            for (int second = 1; second <= 10; ++second)
                visit(shaped(first, pairing.first, shape), shaped(second, pairing.second, shape),
                      pairing);
}

TEST_P(EveryPair, AgreesWithTheRulesAtEverySize) {
    const int operation = GetParam();
    std::mt19937 random(1234 + static_cast<unsigned>(operation));
    for (const Shape shape : shapes)
        forEveryPair(shape, [&](Value a, Value b, const Pairing&) {
            if (HasFailure())
                return;
            oracle::fillRandomly(a, true, random);
            oracle::fillRandomly(b, operation != oracle::Divide, random);
            ASSERT_EQ(disagreement(operation, a, b), "") << describe(operation, a, b);
        });
}

TEST_P(EveryPair, AgreesWithTheRulesWhereverTheOperandsLie) {
    const int operation = GetParam();
    std::mt19937 random(99 + static_cast<unsigned>(operation));
    const Axis axes[] = {{0, 1, 0, 9}, {3, 1, 0, 8}, {-2, 0.5, 1, 12}, {4, 0.75, 0, 7}};
    for (const Axis& first : axes)
        for (const Axis& second : axes)
            for (int types = 0; types < 100; ++types)
                for (const int dimensions : {1, 2}) {
                    Value a{types / 10 + 1, dimensions, first, {}, {}};
                    Value b{types % 10 + 1, dimensions, second, {}, {}};
                    if (dimensions == 2) {
                        a.y = {1, 2, 0, 3};
                        b.y = {5, first.delta <= second.delta ? 2.0 : 1.0, 1, 4};
                    }
                    oracle::fillRandomly(a, true, random);
                    oracle::fillRandomly(b, operation != oracle::Divide, random);
                    ASSERT_EQ(disagreement(operation, a, b), "") << describe(operation, a, b);
                }
}

// --- storage
// ------------------------------------------------------------------------------------

/// Elements in a block of exactly their size, so that a sanitizer sees the
/// first byte beyond.
class ExactBlock {
public:
    explicit ExactBlock(std::size_t bytes) : bytes_(bytes), data_(new unsigned char[bytes]) {}
    explicit ExactBlock(const Value& value)
        : ExactBlock(sizeOf(value.type) * value.elements.size()) {
        const parr_c1DNumberArray array = oracle::array1DOf(asLine(value));
        std::copy_n(static_cast<const unsigned char*>(array.Data()), bytes_, data_.get());
    }

    unsigned char* data() const { return data_.get(); }
    static std::size_t sizeOf(int type) { return dtyp_cDataType(type).SizeOf(); }
    static Value asLine(Value value) {
        value.dimensions = 1;
        value.x.count = static_cast<int>(value.elements.size());
        value.y = {};
        return value;
    }

private:
    std::size_t bytes_;
    std::unique_ptr<unsigned char[]> data_;
};

/// The operation on exactly allocated operands, into an exactly allocated result.
Value computedInExactBlocks(int operation, const Value& a, const Value& b) {
    const int type = oracle::resultType(a.type, b.type, operation);
    const auto blockOf = [type](const Value& value) {
        return ExactBlock(value.dimensions == 0 ? oracle::convertedTo(value, type) : value);
    };
    const ExactBlock blockA = blockOf(a), blockB = blockOf(b);
    const auto numberOf = [type](const Value& value, const ExactBlock& block) {
        return value.dimensions == 0 ? pnum_cNumber(dtyp_cDataType(type), block.data())
                                     : pnum_cNumber(0);
    };
    const pnum_cNumber numberA = numberOf(a, blockA), numberB = numberOf(b, blockB);
    const auto sourceOf = [type](const Value& value, const ExactBlock& block,
                                 const pnum_cNumber& number) {
        return value.dimensions == 0
                   ? blocks_cSource(number)
                   : blocks_cSource(block.data(), dtyp_cDataType(value.type), dtyp_cDataType(type));
    };
    const blocks_cSource first = sourceOf(a, blockA, numberA);
    const blocks_cSource second = sourceOf(b, blockB, numberB);

    Value result = a.dimensions == 0 ? b : a;
    const ExactBlock out(ExactBlock::sizeOf(type) * result.elements.size());
    const int code = operation == oracle::Divide ? int{arit_DivideTesting} : operation;
    EXPECT_TRUE(bnry_Compute(code, dtyp_cDataType(type), first, second, out.data(),
                             result.elements.size()));
    const parr_c1DNumberArray elements(result.count(), dtyp_cDataType(type), out.data());
    result.elements = oracle::valueOf(darr_c1DArray(elements)).elements;
    result.type = type;
    return result;
}

TEST_P(EveryPair, StaysWithinOperandsAndResult) {
    const int operation = GetParam();
    std::mt19937 random(77);
    for (const Shape shape : {Shape{1, 1},
                              {2, 1},
                              {3, 1},
                              {5, 1},
                              {7, 1},
                              {9, 1},
                              {15, 1},
                              {17, 1},
                              {31, 1},
                              {33, 1},
                              {67, 1},
                              {515, 1},
                              {2051, 1}})
        forEveryPair(shape, [&](Value a, Value b, const Pairing& pairing) {
            if (pairing.first + pairing.second == 0 || HasFailure())
                return;
            oracle::fillRandomly(a, true, random);
            oracle::fillRandomly(b, operation != oracle::Divide, random);
            const Outcome expected = oracle::operate(operation, a, b);
            ASSERT_EQ(difference(expected, {"", computedInExactBlocks(operation, a, b)}), "")
                << describe(operation, a, b);
        });
}

std::string operationName(const testing::TestParamInfo<int>& tested) {
    const char* const names[] = {"Add", "Subtract", "Multiply", "Divide", "Power"};
    return names[tested.param];
}

INSTANTIATE_TEST_SUITE_P(Arithmetic, EveryPair, testing::Range(0, 5), operationName);

TEST(Division, ADivisorWithAZeroIsRefusedWithTheLineOfItsPairing) {
    std::mt19937 random(5);
    for (const Shape shape : shapes) {
        if (shape.x == 0)
            continue;
        forEveryPair(shape, [&](Value a, Value b, const Pairing& pairing) {
            oracle::fillRandomly(a, true, random);
            oracle::fillRandomly(b, false, random);
            b.elements[random() % b.elements.size()] = {};
            const Outcome answer = oracle::operateWithLibrary(oracle::Divide, a, b);
            EXPECT_EQ(answer.refusal,
                      "user binary1:" + std::to_string(pairing.divideLine) + " Division by zero.")
                << describe(oracle::Divide, a, b);
        });
    }
}

TEST(Division, ARefusalIsAProgramExceptionTooAndSaysWhy) {
    const auto refusal =
        caught<expt_cProgramException>([&] { pnum_cNumber(1.0) / pnum_cNumber(0.0); });
    EXPECT_STREQ(refusal.what(), "binary1:436: Division by zero.");
}

TEST(Division, TheFirstAndTheLastElementOfADivisorAreTested) {
    for (const int count : {1, 2, 3, 4, 255, 256, 257, 2048, 2049, 5000})
        for (const int at : {0, count / 2, count - 1})
            for (const int type : {2, 6, 7, 8, 9, 10}) {
                Value b = array(type, std::vector<double>(static_cast<std::size_t>(count), 2));
                Value a = b;
                b.elements[static_cast<std::size_t>(at)] = {};
                for (const int first : {1, 7, 8}) {
                    a.type = first;
                    EXPECT_EQ(oracle::operateWithLibrary(3, a, b).refusal,
                              "user binary1:553 Division by zero.");
                }
                EXPECT_EQ(oracle::operateWithLibrary(3, number(5, 1), b).refusal,
                          "user binary1:475 Division by zero.");
            }
}

TEST(Division, NaNAndSubnormalDivisorsCountAsZero) {
    for (const double divisor : {std::numeric_limits<double>::quiet_NaN(), 1e-310, -1e-310, -0.0})
        for (const Pairing& pairing : pairings) {
            Value a = shaped(8, pairing.first, {2, 1});
            Value b = shaped(8, pairing.second, {2, 1});
            a.elements.resize(static_cast<std::size_t>(a.count()), {1, 0});
            b.elements.assign(static_cast<std::size_t>(b.count()), {divisor, 0});
            EXPECT_EQ(oracle::operateWithLibrary(3, a, b).refusal,
                      "user binary1:" + std::to_string(pairing.divideLine) + " Division by zero.");
        }
}

// 1e-40 is subnormal in single precision, and normal once it is a double.
TEST(Division, TheDivisorIsTestedInTheTypeOfTheResult) {
    const Value tiny = number(7, static_cast<double>(1e-40f));
    EXPECT_EQ(oracle::operateWithLibrary(3, number(7, 1), tiny).refusal,
              "user binary1:436 Division by zero.");
    EXPECT_EQ(disagreement(3, number(8, 1), tiny), "");
    EXPECT_EQ(oracle::operateWithLibrary(3, number(8, 1), tiny).refusal, "");

    const Value tinies = array(7, {1, static_cast<double>(1e-40f)});
    EXPECT_EQ(oracle::operateWithLibrary(3, array(7, {1, 1}), tinies).refusal,
              "user binary1:553 Division by zero.");
    EXPECT_EQ(oracle::operateWithLibrary(3, array(8, {1, 1}), tinies).refusal, "");
    EXPECT_EQ(oracle::operateWithLibrary(3, array(8, {1, 1}, {0.25, 1, 0, 0}), tinies).refusal, "");
    EXPECT_EQ(oracle::operateWithLibrary(3, number(10, 1), tinies).refusal, "");
}

TEST(Division, AComplexDivisorIsZeroWhenBothPartsAre) {
    EXPECT_EQ(oracle::operateWithLibrary(3, number(10, 1), number(10, 0, 1)).refusal, "");
    EXPECT_EQ(oracle::operateWithLibrary(3, number(10, 1), number(10, 1, 0)).refusal, "");
    EXPECT_EQ(oracle::operateWithLibrary(3, number(10, 1), number(10, 1e-320, -0.0)).refusal,
              "user binary1:436 Division by zero.");
}

// Between (0, 1) and (0, -1) the divisor's resampled element is zero; the
// stored ones are not.
TEST(Division, OnlyStoredZerosOfTheDivisorCount) {
    const Value a = array(8, {1, 1, 1}, {0, 0.5, 0, 0});
    const Value b = array(8, {1, -1}, {0, 1, 0, 0});
    EXPECT_EQ(disagreement(3, a, b), "");
    const Outcome quotient = oracle::operateWithLibrary(3, a, b);
    EXPECT_EQ(quotient.refusal, "");
    EXPECT_EQ(quotient.value.elements[1].re, infinity);
}

TEST(Division, ZerosThatAlignmentAddsAreNotRefused) {
    for (int types = 0; types < 100; ++types) {
        const Value a = array(types / 10 + 1, {1, 2, 3, 4}, {0, 1, 0, 0});
        const Value b = array(types % 10 + 1, {1, 2, 3, 4}, {2, 1, 0, 0});
        const Outcome quotient = oracle::operateWithLibrary(3, a, b);
        EXPECT_EQ(quotient.refusal, "");
        EXPECT_EQ(difference(oracle::operate(3, a, b), quotient), "");
        EXPECT_EQ(quotient.value.elements.size(), 6u);
    }
}

TEST(Division, AZeroThatAlignmentWouldDropIsRefused) {
    for (int types = 0; types < 100; ++types) {
        const Value a = array(types / 10 + 1, {1, 2, 3, 4}, {0, 0.7, 0, 0});
        const Value b = array(types % 10 + 1, {1, 0, 3, 4}, {0, 1, 0, 0});
        EXPECT_EQ(oracle::operateWithLibrary(3, a, b).refusal,
                  "user binary1:553 Division by zero.");
    }
    const Value resampled = oracle::rescaled(array(8, {1, 0, 3, 4}, {0, 1, 0, 0}), 0.7, 1);
    for (const oracle::Element& element : resampled.elements)
        EXPECT_NE(element.re, 0);
}

TEST(Division, AZeroDivisorIsRefusedBeforeAnAlignmentThatFails) {
    const Value good = array(8, {1, 2}, {0, 1, 0, 0});
    const Value backwards = array(8, {1, 2}, {0, -1, 0, 0});
    const Value backwardsZero = array(8, {1, 0}, {0, -1, 0, 0});
    EXPECT_EQ(oracle::operateWithLibrary(3, good, backwards).refusal, "program resc:1");
    EXPECT_EQ(oracle::operateWithLibrary(3, good, backwardsZero).refusal,
              "user binary1:553 Division by zero.");
    EXPECT_EQ(oracle::operateWithLibrary(0, good, backwardsZero).refusal, "program resc:1");
}

TEST(Division, QuotientsOfComplexNumbersAreNearTheExactOnes) {
    std::mt19937 random(17);
    std::uniform_real_distribution<double> part(-100, 100);
    const double bound = statedBound("complex quotients") * epsilon;
    for (int i = 0; i < 1000; ++i) {
        const double ar = part(random), ai = part(random), br = part(random), bi = part(random);
        const std::complex<long double> exact =
            std::complex<long double>(ar, ai) / std::complex<long double>(br, bi);
        const auto quotient = oracle::operateWithLibrary(3, number(10, ar, ai), number(10, br, bi));
        const auto& element = quotient.value.elements[0];
        const auto error = std::abs(std::complex<long double>(element.re, element.im) - exact);
        EXPECT_LE(error, bound * std::abs(exact));
    }
}

TEST(ResultType, EveryPairFollowsTheTable) {
    // Rows and columns by type code 1 to 10.
    constexpr int sums[10][10] = {
        {5, 6, 6, 5, 6, 6, 7, 8, 9, 10},  {6, 6, 6, 6, 6, 6, 7, 8, 9, 10},
        {6, 6, 3, 6, 6, 6, 7, 8, 9, 10},  {5, 6, 6, 5, 6, 6, 7, 8, 9, 10},
        {6, 6, 6, 6, 6, 6, 7, 8, 9, 10},  {6, 6, 6, 6, 6, 6, 7, 8, 9, 10},
        {7, 7, 7, 7, 7, 7, 7, 8, 9, 10},  {8, 8, 8, 8, 8, 8, 8, 8, 10, 10},
        {9, 9, 9, 9, 9, 9, 9, 10, 9, 10}, {10, 10, 10, 10, 10, 10, 10, 10, 10, 10}};
    constexpr int products[10][10] = {
        {6, 7, 8, 6, 7, 8, 7, 8, 9, 10},  {7, 7, 8, 7, 7, 8, 7, 8, 9, 10},
        {8, 8, 8, 8, 8, 8, 7, 8, 9, 10},  {6, 7, 8, 6, 7, 8, 7, 8, 9, 10},
        {7, 7, 8, 7, 7, 8, 7, 8, 9, 10},  {8, 8, 8, 8, 8, 8, 7, 8, 9, 10},
        {7, 7, 7, 7, 7, 7, 7, 8, 9, 10},  {8, 8, 8, 8, 8, 8, 8, 8, 10, 10},
        {9, 9, 9, 9, 9, 9, 9, 10, 9, 10}, {10, 10, 10, 10, 10, 10, 10, 10, 10, 10}};
    for (int a = 1; a <= 10; ++a)
        for (int b = 1; b <= 10; ++b)
            for (int operation = 0; operation <= 4; ++operation) {
                int expected = operation <= 1 ? sums[a - 1][b - 1] : products[a - 1][b - 1];
                if (operation == 1 && a == 3 && b == 3)
                    expected = 6;
                if (operation >= 3 && expected == 6)
                    expected = 7;
                const int type = bnry_ResultType(dtyp_cDataType(a), dtyp_cDataType(b),
                                                 bnry_eAritBinaryOperation(operation))
                                     .Code();
                EXPECT_EQ(type, expected) << a << " op " << operation << " " << b;
                EXPECT_EQ(oracle::resultType(a, b, operation), expected);
                EXPECT_GE(type, std::max(a, b));
            }
}

TEST(ResultType, OfUnknownTypesFollowsTheOrderOfTheCodes) {
    const auto typeOf = [](int a, int b, int operation) {
        return bnry_ResultType(dtyp_cDataType(a), dtyp_cDataType(b),
                               bnry_eAritBinaryOperation(operation))
            .Code();
    };
    for (const int small : {1, 4, 5}) { // no small integers: one of them is none
        EXPECT_EQ(typeOf(0, small, 0), 6);
        EXPECT_EQ(typeOf(small, 0, 2), 8);
        EXPECT_EQ(typeOf(-1, small, 3), 8);
    }
    EXPECT_EQ(typeOf(0, 9, 0), 9);
    EXPECT_EQ(typeOf(42, 1, 0), 42);
    EXPECT_EQ(typeOf(8, 11, 2), 10);
    EXPECT_EQ(typeOf(3, 3, 5), 8);
}

struct NumberCase {
    const char* what;
    pnum_cNumber actual;
    int type;
    double expected;
};

TEST(Numbers, SmallIntegersWidenAndUnsignedWordsWrap) {
    using byte = unsigned char;
    const NumberCase cases[] = {
        {"byte sum", pnum_cNumber(byte{200}) + byte{100}, 5, 300},
        {"byte product", pnum_cNumber(byte{200}) * byte{100}, 6, 20000},
        {"byte quotient", pnum_cNumber(byte{200}) / byte{100}, 7, 2},
        {"byte difference", pnum_cNumber(byte{100}) - byte{200}, 5, -100},
        {"word sum", pnum_cNumber(4000000000u) + 500000000u, 3, 205032704},
        {"word difference", pnum_cNumber(5u) - 7u, 6, -2},
        {"word difference of large ones", pnum_cNumber(4000000000u) - 1u, 6, 2147483646},
        {"short product", pnum_cNumber(short{300}) * short{300}, 7, 90000},
        {"int sum wraps", pnum_cNumber(2147483647) + 1, 6, -2147483648.0},
        {"float with int", pnum_cNumber(0.5f) + 1, 7, 1.5},
        {"power", pow(pnum_cNumber(byte{2}), pnum_cNumber(short{10})), 7, 1024},
        {"power of a negative", pow(pnum_cNumber(-2), pnum_cNumber(3)), 8, -8},
        {"zero to a negative power", pow(pnum_cNumber(0.0), pnum_cNumber(-1.0)), 8, infinity},
        {"double overflow", pnum_cNumber(1e308) * 10.0, 8, infinity},
    };
    for (const NumberCase& c : cases) {
        EXPECT_EQ(c.actual.DataType().Code(), c.type) << c.what;
        EXPECT_EQ(c.actual.As<double>(), c.expected) << c.what;
    }
    EXPECT_TRUE(std::isnan(pow(pnum_cNumber(-8.0), pnum_cNumber(0.5)).As<double>()));
}

TEST(Numbers, ComplexFloatMeetsDoubleInComplexDouble) {
    const pnum_cNumber single = oracle::numberOf(number(9, 1, 2));
    EXPECT_EQ((single + 1.0).DataType(), dtyp_ComplexDouble);
    EXPECT_EQ((1.0 + single).DataType(), dtyp_ComplexDouble);
    EXPECT_EQ((single + 1.0f).DataType(), dtyp_ComplexFloat);
    EXPECT_EQ((single * 7).DataType(), dtyp_ComplexFloat);
}

// Chunks of a number minus an array hold the array's element minus the number.
TEST(NumberMinusArray, IsTurnedRoundInWholeChunksOnly) {
    struct Case {
        int numberType;
        int arrayType;
        int resultType;
        int chunk;
    };
    const Case cases[] = {{4, 4, 5, 4}, {5, 5, 6, 2}, {7, 7, 7, 2}, {1, 7, 7, 2}, {6, 6, 6, 2}};
    for (const Case& c : cases)
        for (int count = 1; count <= 9; ++count) {
            std::vector<double> elements;
            for (int i = 0; i < count; ++i)
                elements.push_back(10 * (i + 1));
            const Outcome answer = oracle::operateWithLibrary(1, number(c.numberType, 5),
                                                              array(c.arrayType, elements));
            ASSERT_EQ(answer.value.type, c.resultType);
            for (int i = 0; i < count; ++i) {
                const double element = elements[static_cast<std::size_t>(i)];
                EXPECT_EQ(answer.value.elements[static_cast<std::size_t>(i)].re,
                          i < count - count % c.chunk ? element - 5 : 5 - element)
                    << "element " << i << " of " << count << " of type " << c.resultType;
            }
        }
}

TEST(NumberMinusArray, OfDoublesComplexAndUnsignedWordsIsPlain) {
    for (const int type : {8, 9, 10}) {
        const Outcome answer =
            oracle::operateWithLibrary(1, number(type, 5), array(type, {10, 20, 30, 40}));
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(answer.value.elements[static_cast<std::size_t>(i)].re, 5 - 10 * (i + 1));
    }
}

TEST(NumberWithInt32Array, LosesTheLowBitsOfTheNumberInWholeChunksOnly) {
    const Value big = number(6, 16777217); // 2^24 + 1
    for (const bool isFirst : {false, true}) {
        const Value ones = array(6, {1, 1, 1});
        const Outcome sum = isFirst ? oracle::operateWithLibrary(0, big, ones)
                                    : oracle::operateWithLibrary(0, ones, big);
        EXPECT_EQ(sum.value.elements[0].re, 16777217);
        EXPECT_EQ(sum.value.elements[1].re, 16777217);
        EXPECT_EQ(sum.value.elements[2].re, 16777218);
    }
    // 2147483647 is 2147483648 in single precision, and is clipped.
    const Outcome clipped =
        oracle::operateWithLibrary(0, array(6, {0, 0, 0}), number(6, 2147483647));
    EXPECT_EQ(clipped.value.elements[1].re, 2147483647);
    EXPECT_EQ(clipped.value.elements[2].re, 2147483647);
}

TEST(EmptyOperands, GiveACopyOfTheArrayWithItsOwnType) {
    for (int operation = 0; operation <= 4; ++operation)
        for (const Pairing& pairing : pairings) {
            if (pairing.first == 0 && pairing.second == 0)
                continue;
            Value a = shaped(5, pairing.first, {0, 3});
            Value b = shaped(1, pairing.second, {0, 3});
            a.elements.resize(static_cast<std::size_t>(a.count()));
            b.elements.resize(static_cast<std::size_t>(b.count()));
            const Outcome answer = oracle::operateWithLibrary(operation, a, b);
            const Value& kept = pairing.first == 0 ? b : a;
            EXPECT_EQ(difference({"", kept}, answer), "") << pairing.name;
        }
}

TEST(EmptyOperands, AreCopiedEvenForAnUnknownOperationOrType) {
    const darr_c1DArray empty(0, dtyp_Int16, cal_c1DArrayCal(1, 2, 3));
    EXPECT_EQ(bnry_Operate(bnry_eAritBinaryOperation(7), empty, empty).Cal(), empty.Cal());
    EXPECT_EQ((pnum_cNumber(dtyp_cDataType(42)) / empty).DataType(), dtyp_Int16);
    EXPECT_EQ((empty / pnum_cNumber(0.0)).DataType(), dtyp_Int16);
}

TEST(EmptyOperands, OneEmptyArrayIsExtendedWithZerosOverTheOther) {
    for (const Axis& place : {Axis{0, 1, 0, 0}, Axis{2, 1, 0, 0}, Axis{-5, 0.5, 1, 0}}) {
        const Value empty = array(8, {}, place);
        const Value data = array(7, {1, 2, 3}, {1, 1, 0, 0});
        for (const int operation : {0, 1, 2, 4}) {
            EXPECT_EQ(disagreement(operation, empty, data), "");
            EXPECT_EQ(disagreement(operation, data, empty), "");
        }
        EXPECT_EQ(disagreement(3, empty, data), "");
        EXPECT_EQ(disagreement(3, data, empty),
                  ""); // nothing stored in the divisor is zero
    }
}

TEST(UnknownTypes, AreRefusedByTheConversion) {
    const auto unknown = [](int code) { return pnum_cNumber(dtyp_cDataType(code)); };
    for (const int code : {0, -1, 11, 42}) {
        for (int operation = 0; operation <= 4; ++operation) {
            const auto op = bnry_eAritBinaryOperation(operation);
            const darr_c1DArray data(3, pnum_cNumber(2.0), {});
            const darr_c2DArray image(3, 2, pnum_cNumber(2.0), {});
            const darr_c1DArray odd(3, dtyp_cDataType(code), {});
            const darr_c2DArray oddImage(3, 2, dtyp_cDataType(code), {});
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, unknown(code), 1.0); }),
                      "program conv:1");
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, 1.0, unknown(code)); }),
                      "program conv:1");
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, unknown(code), data); }),
                      "program conv:1");
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, data, unknown(code)); }),
                      "program conv:1");
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, image, unknown(code)); }),
                      "program conv:1");
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, unknown(code), image); }),
                      "program conv:1");
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, data, odd); }), "program conv:1");
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, odd, data); }), "program conv:1");
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, image, oddImage); }),
                      "program conv:1");
            EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, oddImage, image); }),
                      "program conv:1");
        }
    }
}

// Two operands of one code need no conversion where the result takes that code.
TEST(UnknownTypes, OfOneLargeCodeAreLeftAloneAndTheirDivisionIsRefusedByTheScan) {
    for (const int code : {11, 42}) {
        const pnum_cNumber odd{dtyp_cDataType(code)};
        const darr_c1DArray odds(3, dtyp_cDataType(code), {});
        const darr_c1DArray elsewhere(4, dtyp_cDataType(code), {2, 0.5, 0});
        EXPECT_EQ((odd + odd).DataType().Code(), code);
        EXPECT_EQ((odds * odds).Size(), 3);
        EXPECT_EQ((odds - elsewhere).Size(), 8);
        EXPECT_EQ(pow(odd, odds).DataType().Code(), code);
        EXPECT_EQ(refusalWithKindOf([&] { odd / odd; }), "program scandata:166");
        EXPECT_EQ(refusalWithKindOf([&] { odd / odds; }), "program scandata:166");
        EXPECT_EQ(refusalWithKindOf([&] { odds / odd; }), "program scandata:166");
        EXPECT_EQ(refusalWithKindOf([&] { odds / odds; }), "program scandata:166");
        EXPECT_EQ(refusalWithKindOf([&] { odds / elsewhere; }), "program scandata:166");
    }
    const pnum_cNumber none{dtyp_cDataType(0)};
    EXPECT_EQ(refusalWithKindOf([&] { none + none; }), "program conv:1");
    EXPECT_EQ(refusalWithKindOf([&] { none / none; }), "program conv:1");
}

TEST(UnknownOperations, AreRefused) {
    for (const int code : {-1, 5, 1000}) {
        const auto op = bnry_eAritBinaryOperation(code);
        const darr_c1DArray data(3, pnum_cNumber(2.0), {});
        const darr_c2DArray image(3, 2, pnum_cNumber(2.0), {});
        EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, pnum_cNumber(1), pnum_cNumber(2)); }),
                  "program binary1:1");
        EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, 1.0, data); }), "program binary1:1");
        EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, 1.0, image); }), "program binary1:1");
        EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, data, 1.0); }), "program binary1:1");
        EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, image, 1.0); }), "program binary1:1");
        EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, data, data); }), "program binary1:1");
        EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, image, image); }), "program binary1:1");
    }
}

TEST(Images, OfWhichEachIsFinerAlongOneAxisAreRefusedForTheirSize) {
    const darr_c2DArray a(4, 4, pnum_cNumber(1.0), cal_c2DArrayCal(0, 1, 0, 2, 0, 0));
    const darr_c2DArray b(4, 4, pnum_cNumber(1.0), cal_c2DArrayCal(0, 2, 0, 1, 0, 0));
    for (int operation = 0; operation <= 4; ++operation) {
        const auto op = bnry_eAritBinaryOperation(operation);
        EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, a, b); }), "size arr:2");
        EXPECT_EQ(refusalWithKindOf([&] { bnry_Operate(op, b, a); }), "size arr:2");
    }
    const auto refusal = caught<arr_cSizeException>([&] { a + b; });
    EXPECT_EQ(refusal.Size(), 4);     // columns of the second
    EXPECT_EQ(refusal.Expected(), 8); // columns of the first
}

TEST(Images, OfOneExtentAndDifferentSizesHaveNoIndex) {
    // Both ranges are the one point 5 along X, and only the counts differ.
    const darr_c2DArray a(3, 2, pnum_cNumber(1.0), cal_c2DArrayCal(5, 0, 0, 1, 0, 0));
    const darr_c2DArray b(4, 2, pnum_cNumber(1.0), cal_c2DArrayCal(5, 0, 0, 1, 0, 0));
    const darr_c2DArray c(3, 3, pnum_cNumber(1.0), cal_c2DArrayCal(0, 1, 5, 0, 0, 0));
    const darr_c2DArray d(3, 4, pnum_cNumber(1.0), cal_c2DArrayCal(0, 1, 5, 0, 0, 0));
    EXPECT_EQ(refusalWithKindOf([&] { a + b; }), "index arr:1");
    EXPECT_EQ(refusalWithKindOf([&] { c + d; }), "index arr:1");
    EXPECT_EQ(refusalWithKindOf([&] { a / b; }), "index arr:1");
}

TEST(Arrays, OnOneImpossibleCalibrationAreCombinedAsTheyAre) {
    // Equal extents need no alignment, even where none would be possible.
    for (const double delta : {0.0, -1.0}) {
        const Value a = array(7, {1, 2, 3}, {5, delta, 0, 0});
        EXPECT_EQ(oracle::operateWithLibrary(0, a, a).refusal, "");
        EXPECT_EQ(disagreement(0, a, a), "");
    }
}

TEST(Arrays, ThatLieNowhereAreRefusedForTheirIndex) {
    for (const Axis& nowhere : {Axis{std::numeric_limits<double>::quiet_NaN(), 1, 0, 0},
                                Axis{0, infinity, 0, 0}, Axis{infinity, -infinity, -1, 0}}) {
        const Value a = array(7, {1, 2, 3}, nowhere);
        EXPECT_EQ(oracle::operateWithLibrary(0, a, a).refusal, "index arr:1");
    }
}

// Half a step apart, the nearest elements of one operand are as many as those
// of the other only when the operand that lies further on comes second.
TEST(Arrays, HalfAStepApartFitInBothOrders) {
    const Value a = array(8, {1, 2}, {0, 1, 0, 0});
    const Value b = array(8, {3, 4}, {0.5, 1, 0, 0});
    EXPECT_EQ(disagreement(0, a, b), "");
    EXPECT_EQ(disagreement(0, b, a), "");
    EXPECT_EQ(oracle::operateWithLibrary(0, a, b).value.elements.size(), 2u);
    EXPECT_EQ(oracle::operateWithLibrary(0, b, a).value.elements.size(), 2u);
}

TEST(Arrays, WhoseDeltasDifferInTheLastBitAreResampled) {
    // So far from zero both extents are the same doubles.
    const double next = std::nextafter(1.0, 2.0);
    const Value a = array(8, {0, 0}, {1e6, 1, 0, 0});
    const Value b = array(8, {0, 1}, {1e6, next, 0, 0});
    ASSERT_EQ(a.x.end(), b.x.end());
    const Outcome sum = oracle::operateWithLibrary(0, a, b);
    EXPECT_EQ(disagreement(0, a, b), "");
    EXPECT_EQ(sum.value.x.delta, 1);
    EXPECT_EQ(sum.value.elements[1].re, 1); // at the position of the stored one, that one
    EXPECT_EQ(oracle::operateWithLibrary(0, b, a).value.x.delta, 1);
}

TEST(Arrays, TooFarApartForOneArrayAreRefusedForTheirSize) {
    const darr_c1DArray near(2, pnum_cNumber(1.0), cal_c1DArrayCal(-2e9, 1, 0));
    const darr_c1DArray far(2, pnum_cNumber(1.0), cal_c1DArrayCal(2e9, 1, 0));
    EXPECT_EQ(refusalWithKindOf([&] { near + far; }), "size arr:2");
}

// --- front ends
// -----------------------------------------------------------------------------

template<class A, class B>
void expectEveryFrontEndForwards(const A& a, const B& b) {
    const auto code = [](int operation) { return bnry_eAritBinaryOperation(operation); };
    const auto same = [&](const auto& actual, int operation) {
        EXPECT_EQ(difference({"", oracle::valueOf(bnry_Operate(code(operation), a, b))},
                             {"", oracle::valueOf(actual)}),
                  "")
            << "operation " << operation;
        // The front end of another operation would give another value.
        for (int other = 0; other <= 4; ++other)
            if (other != operation) {
                EXPECT_NE(difference({"", oracle::valueOf(bnry_Operate(code(other), a, b))},
                                     {"", oracle::valueOf(actual)}),
                          "");
            }
    };
    same(a + b, 0);
    same(a - b, 1);
    same(a * b, 2);
    same(a / b, 3);
    same(pow(a, b), 4);
}

const pnum_cNumber three(3.0);
const pnum_cNumber five(short{5});
const darr_c1DArray line(3, pnum_cNumber(7.0f), cal_c1DArrayCal(1, 2, 3));
const darr_c1DArray line2(3, pnum_cNumber(short{5}), cal_c1DArrayCal(1, 2, 3));
const darr_c2DArray image(3, 2, pnum_cNumber(7.0f), cal_c2DArrayCal(1, 2, 3, 4, 5, 6));
const darr_c2DArray image2(3, 2, pnum_cNumber(short{5}), cal_c2DArrayCal(1, 2, 3, 4, 5, 6));

TEST(Operators, OfEveryPairingForwardToTheirOperation) {
    expectEveryFrontEndForwards(three, five);
    expectEveryFrontEndForwards(three, line);
    expectEveryFrontEndForwards(three, image);
    expectEveryFrontEndForwards(line, five);
    expectEveryFrontEndForwards(line, line2);
    expectEveryFrontEndForwards(image, five);
    expectEveryFrontEndForwards(image, image2);
}

template<class A, class B>
void expectEveryCompoundAssigns(const A& a, const B& b) {
    const auto check = [&](auto assign, int operation) {
        A left = a;
        const B right = b;
        const A returned = assign(left, right);
        const Outcome expected{
            "", oracle::valueOf(bnry_Operate(bnry_eAritBinaryOperation(operation), a, b))};
        EXPECT_EQ(difference(expected, {"", oracle::valueOf(left)}), "") << operation;
        EXPECT_EQ(difference(expected, {"", oracle::valueOf(returned)}), "") << operation;
        EXPECT_NE(left.Data(), returned.Data());
    };
    check([](A& x, const B& y) { return x += y; }, 0);
    check([](A& x, const B& y) { return x -= y; }, 1);
    check([](A& x, const B& y) { return x *= y; }, 2);
    check([](A& x, const B& y) { return x /= y; }, 3);
}

TEST(CompoundAssignment, TakesTheResultAndReturnsACopyOfIt) {
    expectEveryCompoundAssigns(three, five);
    expectEveryCompoundAssigns(line, five);
    expectEveryCompoundAssigns(line, line2);
    expectEveryCompoundAssigns(line, darr_c1DArray(5, pnum_cNumber(2), cal_c1DArrayCal(0, 1, 0)));
    expectEveryCompoundAssigns(image, five);
    expectEveryCompoundAssigns(image, image2);
}

TEST(CompoundAssignment, ChangesTheTypeOfAByte) {
    pnum_cNumber n(static_cast<unsigned char>(200));
    n += static_cast<unsigned char>(100);
    EXPECT_EQ(n.DataType(), dtyp_Int16);
    EXPECT_EQ(n.As<int>(), 300);
}

TEST(CompoundAssignment, TakesSizeAndCalibrationOfTheAlignedResult) {
    darr_c1DArray a(2, pnum_cNumber(1.0f), cal_c1DArrayCal(10, 1, 0));
    a += darr_c1DArray(2, pnum_cNumber(2.0f), cal_c1DArrayCal(13, 1, 0));
    EXPECT_EQ(a.Size(), 5);
    EXPECT_EQ(a.Range(), rnge_c1DRange(10, 15));
    EXPECT_EQ(a.Number(2).As<double>(), 0);
}

TEST(CompoundAssignment, OfAnOperandWithItselfTakesTheResult) {
    pnum_cNumber n(4);
    const pnum_cNumber& sameNumber = n;
    n *= sameNumber;
    EXPECT_EQ(n.As<int>(), 16);
    darr_c1DArray a(3, pnum_cNumber(6.0), {});
    const darr_c1DArray& sameArray = a;
    a /= sameArray;
    EXPECT_EQ(a.Number(2).As<double>(), 1);
    a += sameArray;
    EXPECT_EQ(a.Number(0).As<double>(), 2);
}

template<class A, class B>
void expectUnchangedByThrow(const A& a, const B& b) {
    A left = a;
    const void* storage = left.Data();
    EXPECT_NE(refusalWithKindOf([&] { left /= b; }), "");
    EXPECT_EQ(left.Data(), storage);
    EXPECT_EQ(difference({"", oracle::valueOf(a)}, {"", oracle::valueOf(left)}), "");
}

TEST(CompoundAssignment, ThatThrowsLeavesTheLeftOperandUnchanged) {
    const pnum_cNumber zero(0.0);
    expectUnchangedByThrow(three, zero);
    expectUnchangedByThrow(line, zero);
    expectUnchangedByThrow(line, darr_c1DArray(3, zero, cal_c1DArrayCal(1, 2, 3)));
    expectUnchangedByThrow(line, darr_c1DArray(3, zero, cal_c1DArrayCal(4, 1, 0)));
    expectUnchangedByThrow(image, zero);
    expectUnchangedByThrow(image, darr_c2DArray(3, 2, zero, cal_c2DArrayCal(1, 2, 3, 4, 5, 6)));
}

TEST(Operands, AreNotChangedAndNotShared) {
    const darr_c1DArray a(3, pnum_cNumber(short{7}), cal_c1DArrayCal(1, 2, 3));
    const darr_c1DArray b(5, pnum_cNumber(2.0), cal_c1DArrayCal(0, 1, 0));
    const Value before[] = {oracle::valueOf(a), oracle::valueOf(b)};
    for (int operation = 0; operation <= 4; ++operation)
        bnry_Operate(bnry_eAritBinaryOperation(operation), a, b);
    EXPECT_EQ(difference({"", before[0]}, {"", oracle::valueOf(a)}), "");
    EXPECT_EQ(difference({"", before[1]}, {"", oracle::valueOf(b)}), "");

    const darr_c1DArray empty(0, dtyp_Int16, {});
    const darr_c1DArray copy = empty + empty;
    EXPECT_EQ(copy.Size(), 0);
}

// --- allocation
// -----------------------------------------------------------------------------

template<class Call>
long allocationsOf(Call call) {
    const long before = allocationCount();
    call();
    return allocationCount() - before;
}

/// An operation on arrays allocates its result, whatever the types, and no
/// converted copy.
TEST(Allocation, IsOneBlockForTheResult) {
    const int count = 5000; // a result is less than what a thread keeps
    for (int types = 0; types < 100; ++types) {
        const darr_c1DArray a(count, conv_Convert(pnum_cNumber(3), dtyp_cDataType(types / 10 + 1)),
                              {});
        const darr_c1DArray b(count, conv_Convert(pnum_cNumber(2), dtyp_cDataType(types % 10 + 1)),
                              {});
        const darr_c1DArray away(count, b.Number(0), cal_c1DArrayCal(100.25, 0.75, 0));
        for (int operation = 0; operation <= 4; ++operation) {
            const auto op = bnry_eAritBinaryOperation(operation);
            EXPECT_EQ(allocationsOf([&] { bnry_Operate(op, a, b); }), 1);
            EXPECT_EQ(allocationsOf([&] { bnry_Operate(op, a, away); }), 1);
            EXPECT_EQ(allocationsOf([&] { bnry_Operate(op, a, b.Number(0)); }), 1);
            EXPECT_EQ(allocationsOf([&] { bnry_Operate(op, a.Number(0), b); }), 1);
            EXPECT_EQ(allocationsOf([&] { bnry_Operate(op, a.Number(0), b.Number(0)); }), 0);
        }
    }
}

/// Lets every allocation of the call fail in turn, on fresh copies of the
/// operands; what a failure leaves behind is found by the leak checker.
template<class A, class B, class Call>
void expectSurvivesFailures(const A& first, const B& second, Call call) {
    const Value before[] = {oracle::valueOf(first), oracle::valueOf(second)};
    for (long allowed = 0;; ++allowed) {
        A a = first;
        B b = second;
        bool failed = false;
        {
            const FailingNew failing(allowed);
            try {
                call(a, b);
            } catch (const std::bad_alloc&) {
                failed = true;
            }
        }
        if (!failed) {
            EXPECT_GT(allowed, 0);
            return;
        }
        EXPECT_EQ(difference({"", before[0]}, {"", oracle::valueOf(a)}), "");
        EXPECT_EQ(difference({"", before[1]}, {"", oracle::valueOf(b)}), "");
        ASSERT_LT(allowed, 10);
    }
}

TEST(Allocation, ThatFailsLeavesOperandsUnchanged) {
    const darr_c1DArray shorts(4, pnum_cNumber(short{7}), cal_c1DArrayCal(0, 1, 0));
    const darr_c1DArray doubles(3, pnum_cNumber(2.0), cal_c1DArrayCal(2, 0.5, 0));
    for (int code = 0; code <= 4; ++code) {
        const auto operate = [code](const auto& a, const auto& b) {
            bnry_Operate(bnry_eAritBinaryOperation(code), a, b);
        };
        expectSurvivesFailures(shorts, doubles, operate);
        expectSurvivesFailures(shorts, three, operate);
        expectSurvivesFailures(three, doubles, operate);
        expectSurvivesFailures(image, three, operate);
        expectSurvivesFailures(image, image2, operate);
    }
    expectSurvivesFailures(shorts, doubles, [](auto& a, const auto& b) { a += b; });
    expectSurvivesFailures(shorts, three, [](auto& a, const auto& b) { a -= b; });
    expectSurvivesFailures(image, image2, [](auto& a, const auto& b) { a *= b; });
    expectSurvivesFailures(image, five, [](auto& a, const auto& b) { a /= b; });
}

TEST(Allocation, ThatFailsWhileARefusalIsMadeLeavesOperandsUnchanged) {
    const darr_c1DArray a(4, pnum_cNumber(1.0), {});
    const darr_c1DArray zeros(4, pnum_cNumber(0.0), {});
    for (long allowed = 0; allowed < 10; ++allowed) {
        const FailingNew failing(allowed);
        EXPECT_ANY_THROW(a / zeros);
    }
}

TEST(Allocation, ThatFailsIsNoticedAfterAZeroDivisor) {
    std::vector<float> elements(5000, 2.0F);
    elements[4321] = 0;
    const darr_c1DArray a(5000, pnum_cNumber(1.0F), {});
    const darr_c1DArray divisor{std::span<const float>(elements)};
    const darr_c1DArray away(divisor, cal_c1DArrayCal(100, 1, 0));
    const LimitedNew limited(5000);
    EXPECT_EQ(refusalWithKindOf([&] { a / divisor; }), "user binary1:553 Division by zero.");
    EXPECT_EQ(refusalWithKindOf([&] { a / away; }), "user binary1:553 Division by zero.");
    EXPECT_EQ(refusalWithKindOf([&] { 1 / divisor; }), "user binary1:475 Division by zero.");
    EXPECT_EQ(refusalWithKindOf([&] { a / 0; }), "user binary1:514 Division by zero.");
    EXPECT_THROW(a / a, std::bad_alloc);
    EXPECT_THROW(a / 2, std::bad_alloc);
}

} // namespace
