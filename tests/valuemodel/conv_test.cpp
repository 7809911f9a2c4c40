#include "dataprocessing/valuemodel/conv.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/parr.h"
#include "dataprocessing/valuemodel/pnum.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

// The rules, written plainly: an 80-bit long double holds every real element exactly.

template<class To>
To expectedReal(long double x) {
    if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(x);
    } else {
        if (std::isnan(x))
            return 0;
        if (x <= std::numeric_limits<To>::min())
            return std::numeric_limits<To>::min();
        if (x >= std::numeric_limits<To>::max())
            return std::numeric_limits<To>::max();
        const long double below = std::floor(x);
        const long double part = x - below;
        const bool up = part > 0.5L || (part == 0.5L && std::fmod(below, 2.0L) != 0);
        return static_cast<To>(up ? below + 1 : below);
    }
}

template<class To, class From>
To expected(const From& value, int mode) {
    using Part = typename PartOf<To>::type;
    if constexpr (isComplexElement<From> && isComplexElement<To>)
        return To(expectedReal<Part>(value.re), expectedReal<Part>(value.im));
    else if constexpr (isComplexElement<To>)
        return To(expectedReal<Part>(value), 0);
    else if constexpr (isComplexElement<From>)
        return expectedReal<To>(mode == 0 ? value.re : value.im);
    else
        return expectedReal<To>(value);
}

/// Values around every limit and tie of every target, and random ones.
std::vector<double> interestingReals(std::mt19937_64& random) {
    std::vector<double> values = {0.0,
                                  -0.0,
                                  notANumber,
                                  infinity,
                                  -infinity,
                                  5e-324,
                                  -5e-324,
                                  1e-310,
                                  2.2250738585072014e-308,
                                  1e300,
                                  -1e300,
                                  std::numeric_limits<double>::max(),
                                  std::numeric_limits<double>::lowest()};
    for (const double limit : {0.0, 1.0, 2.0, 127.0, 128.0, 255.0, 256.0, 32767.0, 32768.0, 65535.0,
                               65536.0, 16777216.0, 2147483647.0, 2147483648.0, 4294967295.0,
                               4294967296.0, 9007199254740992.0, 9.3e18, 1.8446744073709552e19})
        for (const double step : {0.0, 0.25, 0.5, 0.75, 1.0, 1.5, 2.5, 3.5})
            for (const double x : {limit + step, limit - step})
                for (const double y :
                     {x, std::nextafter(x, infinity), std::nextafter(x, -infinity)}) {
                    values.push_back(y);
                    values.push_back(-y);
                }
    const double floatMax = std::numeric_limits<float>::max();
    const double floatHalfStep = std::ldexp(1.0, 103); // the tie between the largest and infinity
    for (const double x :
         {floatMax, floatMax + floatHalfStep, std::nextafter(floatMax + floatHalfStep, 0.0),
          1 + std::ldexp(1.0, -24), 1 + 3 * std::ldexp(1.0, -24), std::ldexp(1.0, -149),
          std::ldexp(1.0, -150), std::ldexp(1.0, -151), 3 * std::ldexp(1.0, -150),
          std::ldexp(1.0, -126)}) {
        values.push_back(x);
        values.push_back(-x);
    }
    std::uniform_real_distribution<double> wide(-6e9, 6e9);
    std::uniform_real_distribution<double> narrow(-300, 300);
    for (int i = 0; i < 300; ++i) {
        values.push_back(wide(random));
        values.push_back(narrow(random));
        values.push_back(std::floor(wide(random)) + 0.5);
        values.push_back(std::floor(narrow(random)) + 0.5);
        values.push_back(std::bit_cast<double>(random()));
        values.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
    }
    return values;
}

template<class T>
std::vector<T> interestingElements() {
    std::mt19937_64 random(20240);
    std::vector<double> reals = interestingReals(random);
    std::shuffle(reals.begin(), reals.end(), random);
    std::vector<T> elements;
    if constexpr (isComplexElement<T>) {
        for (std::size_t i = 0; i < reals.size(); ++i)
            elements.push_back(elementOf<T>(reals[i], reals[(i + 1) % reals.size()]));
    } else if constexpr (std::is_floating_point_v<T>) {
        for (const double x : reals)
            elements.push_back(static_cast<T>(x));
    } else {
        for (const double x : reals)
            elements.push_back(expectedReal<T>(x));
        for (int i = 0; i < 500; ++i)
            elements.push_back(static_cast<T>(random()));
    }
    return elements;
}

constexpr int counts[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 31, 33, 63, 64, 65, 1000};

template<class T>
bool holds(const parr_cNumberArray& array, const std::vector<T>& wanted) {
    const std::span<const T> elements = array.Elements<T>();
    if (elements.size() != wanted.size())
        return false;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        if (!isSameElement(elements[i], wanted[i])) {
            ADD_FAILURE() << "element " << i << " of " << wanted.size() << " is " << +elements[i]
                          << ", not " << +wanted[i];
            return false;
        }
    return true;
}
template<class T>
bool holds(const parr_cNumberArray& array, const std::vector<comp_cComplex<T>>& wanted) {
    const auto elements = array.Elements<comp_cComplex<T>>();
    if (elements.size() != wanted.size())
        return false;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        if (!isSameElement(elements[i], wanted[i])) {
            ADD_FAILURE() << "element " << i << " of " << wanted.size() << " is " << elements[i]
                          << ", not " << wanted[i];
            return false;
        }
    return true;
}

template<class From, class To>
void checkPair(const std::vector<From>& values, int mode) {
    const auto conversion = static_cast<conv_eComplexConversion>(mode);
    const dtyp_cDataType to = dtyp_Of<To>();
    const cal_c1DArrayCal cal(1.5, 0.25, 3);
    const cal_c2DArrayCal cal2(1.5, 0.25, -7, 2, 3, 4);
    std::size_t start = 0;
    for (const int count : counts) {
        SCOPED_TRACE(count);
        std::vector<From> source;
        std::vector<To> wanted;
        for (int i = 0; i < count; ++i) {
            source.push_back(values[start++ % values.size()]);
            wanted.push_back(expected<To>(source.back(), mode));
        }
        const parr_c1DNumberArray plain(std::span<const From>{source});
        ASSERT_TRUE(holds(conv_Convert(plain, to, conversion), wanted));
        ASSERT_TRUE(holds(plain, source)) << "the argument changed";

        const darr_c1DArray line = conv_Convert(darr_c1DArray(plain, cal), to, conversion);
        ASSERT_TRUE(holds(line, wanted));
        EXPECT_EQ(line.Cal(), cal);

        if (mode == 0) {
            parr_c1DNumberArray inPlace = plain;
            inPlace.Convert(to);
            ASSERT_EQ(inPlace.DataType(), to);
            ASSERT_TRUE(holds(inPlace, wanted));
        }

        const int sizeX = count % 5 == 0 ? count / 5 : count;
        const int sizeY = count % 5 == 0 ? 5 : 1;
        const parr_c2DNumberArray plane(sizeX, sizeY, std::span<const From>(source));
        const parr_c2DNumberArray converted = conv_Convert(plane, to, conversion);
        ASSERT_TRUE(holds(converted, wanted));
        EXPECT_EQ(converted.SizeX(), sizeX);
        EXPECT_EQ(converted.SizeY(), sizeY);

        const darr_c2DArray image = conv_Convert(darr_c2DArray(plane, cal2), to, conversion);
        ASSERT_TRUE(holds(image, wanted));
        EXPECT_EQ(image.Cal(), cal2);
        EXPECT_EQ(image.SizeX(), sizeX);
    }
    for (const From& value : values) {
        const pnum_cNumber number(dtyp_Of<From>(), &value);
        const pnum_cNumber converted = conv_Convert(number, to, conversion);
        ASSERT_EQ(converted.DataType(), to);
        const To wanted = expected<To>(value, mode);
        ASSERT_TRUE(isSameElement(*static_cast<const To*>(converted.Data()), wanted)) << number;
        ASSERT_TRUE(isSameElement(number.As<To>(conversion), wanted)) << number;
    }
}

template<class T>
std::vector<T> complexes(std::initializer_list<T> values) {
    return values;
}

} // namespace

TEST(Conversion, AllPairsFollowTheRulesAtEveryCount) {
    forEachElementType([]<class From>(int from) {
        const std::vector<From> values = interestingElements<From>();
        forEachElementType([&]<class To>(int to) {
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            checkPair<From, To>(values, 0);
            if (isComplexElement<From> && !isComplexElement<To>)
                checkPair<From, To>(values, 1);
        });
    });
}

TEST(Conversion, ModulusAndPhaseAreThoseOfTheValueInDoublePrecision) {
    forEachElementType([]<class From>(int from) {
        if constexpr (isComplexElement<From>) {
            const std::vector<From> values = interestingElements<From>();
            forEachElementType([&]<class To>(int to) {
                if constexpr (!isComplexElement<To>) {
                    for (const int mode : {2, 3}) {
                        const parr_c1DNumberArray result =
                            conv_Convert(parr_c1DNumberArray(std::span<const From>{values}),
                                         dtyp_Of<To>(), static_cast<conv_eComplexConversion>(mode));
                        for (std::size_t i = 0; i < values.size(); ++i) {
                            const long double re = values[i].re;
                            const long double im = values[i].im;
                            // The plain formula does not overflow in the wider format.
                            const long double exact = mode == 3 ? std::atan2(im, re)
                                                      : std::isinf(re) || std::isinf(im)
                                                          ? infinity
                                                          : std::sqrt(re * re + im * im);
                            // The double may be one unit off in the last place, so what it becomes
                            // is one of what its neighbours become.
                            const auto near = static_cast<double>(exact);
                            const To got = result.Elements<To>()[i];
                            const bool found =
                                isSameElement(got, expectedReal<To>(near)) ||
                                isSameElement(got,
                                              expectedReal<To>(std::nextafter(near, infinity))) ||
                                isSameElement(got,
                                              expectedReal<To>(std::nextafter(near, -infinity)));
                            ASSERT_TRUE(found) << from << " to " << to << ", mode " << mode << ": "
                                               << values[i] << " gave " << +got;
                        }
                    }
                }
            });
        }
    });
}

TEST(Conversion, ModesOfKnownComplexValues) {
    const struct {
        double re, im;
        conv_eComplexConversion mode;
        double result;
    } table[] = {{3, -4, conv_RealPart, 3},
                 {3, -4, conv_ImaginaryPart, -4},
                 {3, -4, conv_Modulus, 5},
                 {0, 2, conv_Phase, type_Pi / 2},
                 {-1, 0.0, conv_Phase, type_Pi},
                 {-1, -0.0, conv_Phase, -type_Pi},
                 {0, 0, conv_Phase, 0},
                 {0, 0, conv_Modulus, 0},
                 {3e300, 4e300, conv_Modulus, 5e300},
                 {3e-300, 4e-300, conv_Modulus, 5e-300},
                 {infinity, notANumber, conv_Modulus, infinity},
                 {1, notANumber, conv_Modulus, notANumber},
                 {notANumber, 1, conv_ImaginaryPart, 1}};
    for (const auto& row : table) {
        const pnum_cNumber number(ComplexDouble(row.re, row.im));
        const double got = number.As<double>(row.mode);
        EXPECT_TRUE(std::isnan(row.result)
                        ? std::isnan(got)
                        : std::fabs(got - row.result) <= 1e-15 * std::fabs(row.result) ||
                              got == row.result)
            << number << " mode " << row.mode << " gave " << got;
    }
    // The modulus of a single-precision value that only a double holds.
    EXPECT_EQ(conv_Convert(parr_c1DNumberArray(1, dtyp_ComplexFloat,
                                               complexes<ComplexFloat>({{3e38f, 3e38f}}).data()),
                           dtyp_Double, conv_Modulus)
                  .Number(0)
                  .As<double>(),
              std::hypot(double{3e38f}, double{3e38f}));
}

TEST(Conversion, ModulusOfSinglePrecisionHoldsForEveryMagnitude) {
    constexpr float beyond = std::numeric_limits<float>::infinity();
    constexpr float undefined = std::numeric_limits<float>::quiet_NaN();
    const float parts[] = {0.0f,  -0.0f, 1e-45f, -3e-39f,  1.17549435e-38f, -0.7f,   3.0f,
                           -4.0f, 1e20f, 3e38f,  -3.4e38f, beyond,          -beyond, undefined};
    std::vector<ComplexFloat> values; // more than a vector holds, in any lane
    for (const float re : parts)
        for (const float im : parts)
            values.emplace_back(re, im);
    const parr_c1DNumberArray source(std::span<const ComplexFloat>{values});
    const auto doubles = conv_Convert(source, dtyp_Double, conv_Modulus);
    const auto floats = conv_Convert(source, dtyp_Float, conv_Modulus);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double expected = std::hypot(double{values[i].re}, double{values[i].im});
        const double got = doubles.Elements<double>()[i];
        if (std::isfinite(expected))
            EXPECT_LE(std::abs(got - expected), 2.3e-16 * expected) << values[i];
        else
            EXPECT_TRUE(isSameElement(got, expected)) << values[i];
        EXPECT_TRUE(isSameElement(floats.Elements<float>()[i], static_cast<float>(expected)))
            << values[i];
    }
}

TEST(Conversion, FloatingOverflowGoesToInfinity) {
    EXPECT_EQ(pnum_cNumber(1e39).As<float>(), std::numeric_limits<float>::infinity());
    EXPECT_EQ(pnum_cNumber(-1e39).As<float>(), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(pnum_cNumber(ComplexDouble(1e39, -1e39)).As<ComplexFloat>(),
              ComplexFloat(std::numeric_limits<float>::infinity(),
                           -std::numeric_limits<float>::infinity()));
}

TEST(Conversion, TheModePlaysNoPartUnlessComplexBecomesReal) {
    for (const int mode : {-1, 1, 2, 3, 4, 99}) {
        const auto odd = static_cast<conv_eComplexConversion>(mode);
        EXPECT_EQ(conv_Convert(pnum_cNumber(2.5), dtyp_Int16, odd).As<int>(), 2);
        EXPECT_EQ(conv_Convert(pnum_cNumber(2.5f), dtyp_ComplexFloat, odd).As<ComplexFloat>(),
                  ComplexFloat(2.5f, 0));
        EXPECT_EQ(conv_Convert(pnum_cNumber(ComplexDouble(1, 2)), dtyp_ComplexFloat, odd)
                      .As<ComplexFloat>(),
                  ComplexFloat(1, 2));
        EXPECT_EQ(conv_Convert(pnum_cNumber(ComplexDouble(1, 2)), dtyp_ComplexDouble, odd)
                      .As<ComplexDouble>(),
                  ComplexDouble(1, 2));
    }
}

TEST(Conversion, UnknownModeIsRefusedWhereItIsNeeded) {
    const pnum_cNumber number(ComplexDouble(1, 2));
    const parr_c1DNumberArray line(2, number);
    const parr_c2DNumberArray plane(2, 2, number);
    for (const int mode : {-1, 4, 99}) {
        const auto odd = static_cast<conv_eComplexConversion>(mode);
        for (int code = 1; code <= 8; ++code) {
            const dtyp_cDataType real(code);
            EXPECT_EQ(refusalOf([&] { conv_Convert(number, real, odd); }), "conv:2");
            EXPECT_EQ(refusalOf([&] { conv_Convert(line, real, odd); }), "conv:2");
            EXPECT_EQ(refusalOf([&] { conv_Convert(plane, real, odd); }), "conv:2");
            EXPECT_EQ(refusalOf([&] { conv_Convert(darr_c1DArray(line), real, odd); }), "conv:2");
            EXPECT_EQ(refusalOf([&] { conv_Convert(darr_c2DArray(plane), real, odd); }), "conv:2");
        }
        EXPECT_EQ(refusalOf([&] { number.As<float>(odd); }), "conv:2");
    }
}

TEST(Conversion, UnknownTypesAreRefusedFromAndTo) {
    for (const int code : {0, -1, 11, 1000}) {
        const dtyp_cDataType unknown(code);
        for (int known = 1; known <= 10; ++known) {
            const dtyp_cDataType type(known);
            EXPECT_EQ(refusalOf([&] { conv_Convert(pnum_cNumber(type), unknown); }), "conv:1");
            EXPECT_EQ(refusalOf([&] { conv_Convert(pnum_cNumber(unknown), type); }), "conv:1");
            // Elements of an unknown type have no storage that could be read, empty or not.
            for (const int size : {0, 3}) {
                const parr_c1DNumberArray line(size, type);
                const parr_c1DNumberArray odd(size, unknown);
                const parr_c2DNumberArray plane(size, 2, type);
                const parr_c2DNumberArray oddPlane(size, 2, unknown);
                EXPECT_EQ(refusalOf([&] { conv_Convert(line, unknown); }), "conv:1");
                EXPECT_EQ(refusalOf([&] { conv_Convert(odd, type); }), "conv:1");
                EXPECT_EQ(refusalOf([&] { conv_Convert(plane, unknown); }), "conv:1");
                EXPECT_EQ(refusalOf([&] { conv_Convert(oddPlane, type); }), "conv:1");
                EXPECT_EQ(refusalOf([&] { conv_Convert(darr_c1DArray(odd), type); }), "conv:1");
                EXPECT_EQ(refusalOf([&] { conv_Convert(darr_c2DArray(oddPlane), type); }),
                          "conv:1");
                EXPECT_EQ(refusalOf([&] { parr_c1DNumberArray(line).Convert(unknown); }), "conv:1");
                EXPECT_EQ(refusalOf([&] { parr_c1DNumberArray(odd).Convert(type); }), "conv:1");
            }
        }
        EXPECT_EQ(refusalOf([&] { conv_Convert(pnum_cNumber(unknown), dtyp_cDataType(code + 1)); }),
                  "conv:1");
    }
}

TEST(Conversion, AnUnknownTypeToItselfIsACopy) {
    const dtyp_cDataType unknown(11);
    EXPECT_EQ(conv_Convert(pnum_cNumber(unknown), unknown).DataType(), unknown);
    const parr_c1DNumberArray copy = conv_Convert(parr_c1DNumberArray(3, unknown), unknown);
    EXPECT_EQ(copy.Size(), 3);
    EXPECT_EQ(copy.DataType(), unknown);
    EXPECT_EQ(copy.Data(), nullptr);
    const darr_c2DArray image =
        conv_Convert(darr_c2DArray(2, 3, unknown, cal_c2DArrayCal(1, 2, 3, 4, 5, 6)), unknown);
    EXPECT_EQ(image.SizeY(), 3);
    EXPECT_EQ(image.Cal(), cal_c2DArrayCal(1, 2, 3, 4, 5, 6));
}
