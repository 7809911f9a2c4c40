#include "dataprocessing/kernels/elementary/elem.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/kernels/elementary_arguments.h"

namespace {

using namespace dataprocessing::detail;
using namespace elementary;

template<class T>
using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

/// The same bits; a NaN is a NaN.
template<class T>
bool isSame(T a, T b) {
    return std::bit_cast<Bits<T>>(a) == std::bit_cast<Bits<T>>(b) || (a != a && b != b);
}

/// Values at which something begins or ends: of the numbers, of the functions, of the ranges in
/// which they are evaluated, each with its neighbours.
template<class T>
std::vector<T> edges() {
    using limits = std::numeric_limits<T>;
    constexpr double pi = 3.14159265358979323846;
    std::vector<double> centres = {
        0, limits::denorm_min(), limits::min(), limits::epsilon(), limits::max(), 0.25, 0.5,
        0.703125, 1, 1.40625, 2, 3, 10, 20, 87, 88, 88.7228390520683, 103.972077083991, 126, 708,
        709.782712893384, 745.133219101941, std::tan(pi / 8), 1 / std::tan(pi / 8), 0x1p21, 0x1p22,
        0x1p26, 1e22, 1e-300, 1e300, 650,
        // Values of exp, log, sin and cos that are next to a tie.
        0x1.9e9cbbfd6080bp-31, 0x1.62a88613629b6p678, 0x1.e0000000001c2p-20, 0x1.598bae9e632f6p-7,
        0x1.8000000000009p-23};
    for (int i = 1; i < 40; ++i) {
        centres.push_back(i * pi / 16);
        centres.push_back(i * std::log(2.0) / 2);
        centres.push_back(0.703125 + i / 32.0);
        centres.push_back(1e5 * i * pi);
    }
    std::vector<T> values;
    for (const double centre : centres) {
        if (std::fabs(centre) > static_cast<double>(limits::max()))
            continue;
        T below = static_cast<T>(centre);
        T above = below;
        for (int i = 0; i < 4; ++i) {
            values.insert(values.end(), {below, above, -below, -above});
            below = std::nextafter(below, -limits::infinity());
            above = std::nextafter(above, limits::infinity());
        }
    }
    values.insert(values.end(), {limits::infinity(), -limits::infinity(), limits::quiet_NaN()});
    return values;
}

template<class T>
std::vector<T> runtimeResults(const sFunction& f, const std::vector<T>& x) {
    std::vector<T> results;
    for (const T value : x)
        results.push_back(static_cast<T>(f.runtime(static_cast<double>(value))));
    return results;
}
template<class T>
std::vector<T> runtimeResults(const sPairFunction& f, const std::vector<T>& a,
                              const std::vector<T>& b) {
    std::vector<T> results;
    for (std::size_t i = 0; i < a.size(); ++i)
        results.push_back(
            static_cast<T>(f.runtime(static_cast<double>(a[i]), static_cast<double>(b[i]))));
    return results;
}

/// How many results differ; the first few are printed.
template<class T>
std::size_t differences(const std::vector<T>& results, const std::vector<T>& expected,
                        const std::string& what, const std::vector<T>& a, const std::vector<T>& b) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < results.size(); ++i)
        if (!isSame(results[i], expected[i]) && ++count < 4)
            ADD_FAILURE() << what << '(' << std::hexfloat << a[i] << ", " << b[i] << ") is "
                          << results[i] << " instead of " << expected[i];
    return count;
}

template<class T>
void expectRuntime(const sFunction& f, const std::vector<T>& x) {
    const std::vector<T> expected = runtimeResults(f, x);
    for (const level_eSet level : levels()) {
        const LevelInUse inUse(level);
        std::vector<T> results(x.size());
        elem_LoopOf<T>(f.code)(x.data(), results.data(), x.size(), f.runtime);
        EXPECT_EQ(
            differences(results, expected, std::string(level_Name(level)) + ' ' + f.name, x, x),
            0U);
    }
}
template<class T>
void expectRuntime(const sPairFunction& f, const std::vector<T>& a, const std::vector<T>& b) {
    const std::vector<T> expected = runtimeResults(f, a, b);
    for (const level_eSet level : levels()) {
        const LevelInUse inUse(level);
        std::vector<T> results(a.size());
        elem_LoopOf<T>(f.code)(a.data(), b.data(), results.data(), a.size(), f.runtime);
        EXPECT_EQ(
            differences(results, expected, std::string(level_Name(level)) + ' ' + f.name, a, b),
            0U);
    }
}

template<class T>
class ElementaryFunctions : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(ElementaryFunctions, Precisions);

TYPED_TEST(ElementaryFunctions, AreTheRuntimesAtEveryEdge) {
    const std::vector<TypeParam> x = edges<TypeParam>();
    for (const sFunction& f : functions)
        expectRuntime(f, x);
    std::vector<TypeParam> a, b;
    for (std::size_t i = 0; i < x.size(); i += 3)
        for (std::size_t j = 0; j < x.size(); j += 5) {
            a.push_back(x[i]);
            b.push_back(x[j]);
        }
    for (const sPairFunction& f : pairFunctions)
        expectRuntime(f, a, b);
}

TYPED_TEST(ElementaryFunctions, AreTheRuntimesOfRandomArguments) {
    cRandom random(7);
    for (const sFunction& f : functions)
        for (const sRange& range : rangesOf(f.code)) {
            std::vector<TypeParam> x(40000);
            for (TypeParam& value : x)
                value = static_cast<TypeParam>(range.draw(random));
            expectRuntime(f, x);
        }
    for (const sPairFunction& f : pairFunctions)
        for (const sPairRange& range : rangesOf(f.code)) {
            std::vector<TypeParam> a(40000), b(40000);
            for (std::size_t i = 0; i < a.size(); ++i) {
                const sPair pair = range.draw(random);
                a[i] = static_cast<TypeParam>(pair.a);
                b[i] = static_cast<TypeParam>(pair.b);
            }
            expectRuntime(f, a, b);
        }
}

TEST(ElementaryFunctionsOfFloats, AreTheRuntimesAllOverTheFloats) {
    std::vector<float> x;
    for (std::uint64_t bits = 0; bits < std::uint64_t{1} << 32; bits += 19937)
        x.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    for (const sFunction& f : functions)
        expectRuntime(f, x);
    std::vector<float> a, b;
    cRandom random(8);
    for (int i = 0; i < 200000; ++i) {
        const std::uint64_t bits = random.Bits();
        a.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
        b.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits >> 32)));
    }
    for (const sPairFunction& f : pairFunctions)
        expectRuntime(f, a, b);
}

/// Arrays of every length around the ends of vectors, chunks and blocks, between guards, and with
/// arguments among them that the runtime has to decide.
TYPED_TEST(ElementaryFunctions, ServeEveryCountAndWriteNothingElse) {
    const std::vector<TypeParam> pool = edges<TypeParam>();
    for (const std::size_t count : {0U,  1U,  2U,   3U,   4U,   5U,   7U,   8U,   9U,    31U,  63U,
                                    64U, 65U, 511U, 512U, 513U, 575U, 576U, 577U, 1024U, 1500U}) {
        std::vector<TypeParam> x(count), y(count);
        for (std::size_t i = 0; i < count; ++i) {
            x[i] = pool[(i * 37 + count) % pool.size()];
            y[i] = pool[(i * 53 + 11) % pool.size()];
        }
        const auto expectWritten = [&](const std::vector<TypeParam>& expected,
                                       const std::vector<TypeParam>& written, const char* name) {
            for (std::size_t i = 0; i < count; ++i)
                ASSERT_TRUE(isSame(written[i + 1], expected[i])) << name << " of " << count;
            ASSERT_EQ(written.front(), TypeParam(-7)) << name << " of " << count;
            ASSERT_EQ(written.back(), TypeParam(-7)) << name << " of " << count;
        };
        for (const sFunction& f : functions) {
            const std::vector<TypeParam> expected = runtimeResults(f, x);
            std::vector<TypeParam> written(count + 2, TypeParam(-7));
            elem_Evaluate(f.code, x.data(), written.data() + 1, count);
            expectWritten(expected, written, f.name);
        }
        for (const sPairFunction& f : pairFunctions)
            for (const int numbers : {0, 1, 2}) {
                std::vector<TypeParam> a = x, b = y;
                if (count > 0 && numbers == 1)
                    a.assign(count, TypeParam(2.5));
                if (count > 0 && numbers == 2)
                    b.assign(count, TypeParam(2.5));
                const std::vector<TypeParam> expected = runtimeResults(f, a, b);
                const TypeParam number(2.5);
                std::vector<TypeParam> written(count + 2, TypeParam(-7));
                elem_Evaluate<TypeParam>(f.code, {numbers == 1 ? &number : a.data(), numbers != 1},
                                         {numbers == 2 ? &number : b.data(), numbers != 2},
                                         written.data() + 1, count);
                expectWritten(expected, written, f.name);
            }
    }
}

std::size_t asked;
double counted(double) {
    ++asked;
    return 0;
}
double countedPair(double, double) {
    ++asked;
    return 0;
}

// To ask the runtime for everything would make all of the above pass.
TYPED_TEST(ElementaryFunctions, RarelyAskTheRuntime) {
    const bool isFloat = sizeof(TypeParam) == 4;
    std::vector<TypeParam> x(100000), y(x.size()), results(x.size());
    cRandom random(9);
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = static_cast<TypeParam>(random.In(0.01, 0.99));
        y[i] = static_cast<TypeParam>(random.In(0.01, 0.99));
    }
    for (const level_eSet level : levels()) {
        const LevelInUse inUse(level);
        const bool isFused = level > level_Baseline;
        for (const sFunction& f : functions) {
            const bool isEvaluated =
                isFloat ||
                (isFused && (f.code == elem_Atan || f.code == elem_Cos || f.code == elem_Exp ||
                             f.code == elem_Log || f.code == elem_Sin));
            asked = 0;
            elem_LoopOf<TypeParam>(f.code)(x.data(), results.data(), x.size(), counted);
            if (isEvaluated)
                EXPECT_LT(asked, isFloat ? x.size() / 500 : x.size() / 12) << f.name;
            else
                EXPECT_EQ(asked, x.size()) << f.name;
        }
        for (const sPairFunction& f : pairFunctions) {
            asked = 0;
            elem_LoopOf<TypeParam>(f.code)(x.data(), y.data(), results.data(), x.size(),
                                           countedPair);
            if (isFloat || isFused)
                EXPECT_LT(asked, isFloat ? x.size() / 500 : x.size() / 12) << f.name;
            else
                EXPECT_EQ(asked, x.size()) << f.name;
        }
    }
}

double undecided(double) { return std::numeric_limits<double>::quiet_NaN(); }

struct sExact {
    elem_eFunction code;
    long double (*function)(long double);
    double mayErr; // of the runtime, in units in the last place
};

// What is decided is nearer to the exact value than a tie is, by as much as the runtime may err
// beyond half a unit: the evaluation itself takes no more than what is stated for it. Long doubles
// are exact enough to see that: to 2^-11 units.
TEST(ElementaryFunctionsOfDoubles, AreDecidedWhereTheRuntimeCannotBeWrong) {
    if (std::numeric_limits<long double>::digits < 64)
        GTEST_SKIP() << "long doubles are no more exact than doubles";
    const sExact exactFunctions[] = {{elem_Atan, std::atan, 0.529},
                                     {elem_Cos, std::cos, 0.5205},
                                     {elem_Exp, std::exp, 0.5115},
                                     {elem_Log, std::log, 0.5195},
                                     {elem_Sin, std::sin, 0.5205}};
    for (const sExact& f : exactFunctions)
        for (const sRange& range : rangesOf(f.code)) {
            cRandom random(13);
            std::vector<double> x(100000), results(x.size());
            for (double& value : x)
                value = range.draw(random);
            for (const level_eSet level : levels()) {
                const LevelInUse inUse(level);
                elem_LoopOf<double>(f.code)(x.data(), results.data(), x.size(), undecided);
                for (std::size_t i = 0; i < x.size(); ++i) {
                    if (std::isnan(results[i]))
                        continue;
                    const long double exact = f.function(static_cast<long double>(x[i]));
                    int exponent = 0;
                    std::frexp(exact, &exponent);
                    const long double unit = std::ldexp(1.0L, exponent - 53);
                    ASSERT_LE(std::fabs(static_cast<long double>(results[i]) - exact) / unit,
                              1.001L - static_cast<long double>(f.mayErr))
                        << range.name << ' ' << x[i];
                }
            }
        }
}

/// A runtime that is worse: its results are off by a unit in the last place for half of the
/// arguments.
double worsened(double exact, double x) {
    const std::uint64_t hash = std::bit_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15U;
    if ((hash >> 40 & 2) == 0 || !std::isfinite(exact))
        return exact;
    return std::nextafter(exact, (hash >> 40 & 1) != 0 ? HUGE_VAL : -HUGE_VAL);
}
template<double (*exact)(double)>
double worse(double x) {
    return worsened(exact(x), x);
}

struct sWorse {
    sFunction function;
    double (*runtime)(double);
};
const sWorse worseFunctions[] = {
    {functions[0], worse<std::acos>}, {functions[1], worse<std::asin>},
    {functions[2], worse<std::atan>}, {functions[3], worse<std::cos>},
    {functions[4], worse<std::cosh>}, {functions[5], worse<std::exp>},
    {functions[6], worse<std::log>},  {functions[7], worse<std::log10>},
    {functions[8], worse<std::sin>},  {functions[9], worse<std::sinh>},
    {functions[10], worse<std::tan>}, {functions[11], worse<std::tanh>}};

// A float is rounded from a double of which the last places do not count, or from the runtime's.
TEST(ElementaryFunctionsOfFloats, AreAWorseRuntimesToo) {
    cRandom random(10);
    for (const sWorse& f : worseFunctions) {
        std::vector<float> x(400000), expected(x.size()), results(x.size());
        for (std::size_t i = 0; i < x.size(); ++i) {
            x[i] = static_cast<float>(random.In(0.01, 0.99));
            expected[i] = static_cast<float>(f.runtime(static_cast<double>(x[i])));
        }
        for (const level_eSet level : levels()) {
            const LevelInUse inUse(level);
            elem_LoopOf<float>(f.function.code)(x.data(), results.data(), x.size(), f.runtime);
            EXPECT_EQ(differences(results, expected, f.function.name, x, x), 0U);
        }
    }
}

// A double is the worse runtime's where that had to decide, and the better one's elsewhere, which
// is the correctly rounded value; and the same at all levels that evaluate it.
TEST(ElementaryFunctionsOfDoubles, AreCorrectlyRoundedOrAWorseRuntimes) {
    cRandom random(11);
    for (const sWorse& f : worseFunctions) {
        std::vector<double> x(100000), results(x.size()), atOtherLevel;
        for (double& value : x)
            value = random.In(0.01, 0.99);
        for (const level_eSet level : levels()) {
            const LevelInUse inUse(level);
            const elem_Loop<double> loop = elem_LoopOf<double>(f.function.code);
            loop(x.data(), results.data(), x.size(), f.runtime);
            if (loop == elem_LoopOf<double>(elem_Tanh))
                continue; // the runtime's own
            std::size_t worseOnes = 0;
            for (std::size_t i = 0; i < x.size(); ++i) {
                if (results[i] == f.function.runtime(x[i]))
                    continue;
                ++worseOnes;
                ASSERT_EQ(results[i], f.runtime(x[i])) << f.function.name << ' ' << x[i];
            }
            EXPECT_GT(worseOnes, 0U) << f.function.name;
            EXPECT_LT(worseOnes, x.size() / 20) << f.function.name;
            if (atOtherLevel.empty())
                atOtherLevel = results;
            EXPECT_EQ(atOtherLevel, results) << f.function.name;
        }
    }
}

// The parts are products of three functions; what is special about them is left to the runtime.
TEST(ElementaryExponentials, AreTheRuntimesAtEveryLevel) {
    std::vector<comp_cComplex<double>> z;
    const std::vector<double> special = edges<double>();
    for (std::size_t i = 0; i < special.size(); ++i) {
        z.emplace_back(special[i], 0.7);
        z.emplace_back(-1.3, special[i]);
        z.emplace_back(special[i], special[special.size() - 1 - i]);
    }
    cRandom random(12);
    for (int i = 0; i < 100000; ++i) {
        z.emplace_back(random.In(-10, 10), random.In(-10, 10));
        z.emplace_back(random.In(-720, 720), random.In(-1000, 1000));
    }
    const auto bits = [](double x) { return x != x ? 0 : std::bit_cast<std::uint64_t>(x); };
    std::vector<std::complex<double>> expected;
    for (const auto& one : z)
        expected.push_back(std::exp(std::complex<double>(one.re, one.im)));
    for (const level_eSet level : levels()) {
        const LevelInUse inUse(level);
        for (const std::size_t count :
             {std::size_t{0}, std::size_t{1}, std::size_t{257}, z.size()}) {
            const comp_cComplex<double> untouched(-7, -7);
            std::vector<comp_cComplex<double>> found(count + 1, untouched);
            elem_Exponentials(z.data(), found.data(), count);
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_EQ(bits(found[i].re), bits(expected[i].real())) << z[i].re << ' ' << z[i].im;
                ASSERT_EQ(bits(found[i].im), bits(expected[i].imag())) << z[i].re << ' ' << z[i].im;
            }
            EXPECT_EQ(found[count].re, -7);
        }
    }
}

} // namespace
