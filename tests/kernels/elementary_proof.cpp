// Compares the elementary functions with the runtime's at every level that this processor has. It
// takes minutes to hours, so it is no test; docs/numerics.md has its last result.
//
// usage: elementary_proof floats  NAME|all [STEP]    every STEP-th of the 2^32 floats
//        elementary_proof doubles NAME|all COUNT [SEED]    COUNT random arguments in each of some
//        ranges elementary_proof pairs   NAME|all COUNT [SEED]    the same of floats, with two
//        arguments

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "dataprocessing/kernels/elementary/elem.h"
#include "tests/kernels/elementary_arguments.h"

namespace {

using namespace dataprocessing::detail;
using namespace elementary;

constexpr std::size_t block = 8192;

template<class T>
bool isSame(T a, T b) {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    return std::bit_cast<Bits>(a) == std::bit_cast<Bits>(b) || (a != a && b != b);
}

/// What differs from the runtime, level by level.
class cTally {
public:
    explicit cTally(std::string name) : name_(std::move(name)) {}

    template<class T>
    void Compare(level_eSet level, const std::vector<T>& results, const std::vector<T>& expected,
                 const std::vector<T>& a, const std::vector<T>& b) {
        for (std::size_t i = 0; i < block; ++i)
            if (!isSame(results[i], expected[i]) && differing_[level]++ < 3)
                std::printf("%s %s(%a, %a) = %a instead of %a\n", level_Name(level), name_.c_str(),
                            static_cast<double>(a[i]), static_cast<double>(b[i]),
                            static_cast<double>(results[i]), static_cast<double>(expected[i]));
    }
    /// Whether all were the same.
    bool Report(std::uint64_t count) const {
        bool same = true;
        for (const level_eSet level : levels()) {
            std::printf("%s %s: %llu of %llu differ\n", level_Name(level), name_.c_str(),
                        static_cast<unsigned long long>(differing_[level]),
                        static_cast<unsigned long long>(count));
            same = same && differing_[level] == 0;
        }
        std::fflush(stdout);
        return same;
    }

private:
    std::string name_;
    std::uint64_t differing_[3] = {};
};

bool proveFloats(const sFunction& f, std::uint64_t step) {
    cTally tally(f.name);
    std::vector<float> x(block), expected(block), results(block);
    std::uint64_t count = 0;
    for (std::uint64_t first = 0; first < std::uint64_t{1} << 32; first += block * step) {
        for (std::size_t i = 0; i < block; ++i) {
            x[i] = std::bit_cast<float>(static_cast<std::uint32_t>(first + i * step));
            expected[i] = static_cast<float>(f.runtime(static_cast<double>(x[i])));
        }
        for (const level_eSet level : levels()) {
            const LevelInUse inUse(level);
            elem_LoopOf<float>(f.code)(x.data(), results.data(), block, f.runtime);
            tally.Compare(level, results, expected, x, x);
        }
        count += block;
    }
    return tally.Report(count);
}

bool proveDoubles(const sFunction& f, std::uint64_t wanted, std::uint64_t seed) {
    bool same = true;
    for (const sRange& range : rangesOf(f.code)) {
        cTally tally(std::string(f.name) + " in " + range.name);
        cRandom random(seed);
        std::vector<double> x(block), expected(block), results(block);
        std::uint64_t count = 0;
        for (; count < wanted; count += block) {
            for (std::size_t i = 0; i < block; ++i) {
                x[i] = range.draw(random);
                expected[i] = f.runtime(x[i]);
            }
            for (const level_eSet level : levels()) {
                const LevelInUse inUse(level);
                elem_LoopOf<double>(f.code)(x.data(), results.data(), block, f.runtime);
                tally.Compare(level, results, expected, x, x);
            }
        }
        same = tally.Report(count) && same;
    }
    return same;
}

template<class T>
bool provePairs(const sPairFunction& f, std::uint64_t wanted, std::uint64_t seed) {
    bool same = true;
    for (const sPairRange& range : rangesOf(f.code)) {
        cTally tally(std::string(sizeof(T) == 4 ? "float " : "double ") + f.name + " in " +
                     range.name);
        cRandom random(seed);
        std::vector<T> a(block), b(block), expected(block), results(block);
        std::uint64_t count = 0;
        for (; count < wanted; count += block) {
            for (std::size_t i = 0; i < block; ++i) {
                const sPair pair = range.draw(random);
                a[i] = static_cast<T>(pair.a);
                b[i] = static_cast<T>(pair.b);
                expected[i] =
                    static_cast<T>(f.runtime(static_cast<double>(a[i]), static_cast<double>(b[i])));
            }
            for (const level_eSet level : levels()) {
                const LevelInUse inUse(level);
                elem_LoopOf<T>(f.code)(a.data(), b.data(), results.data(), block, f.runtime);
                tally.Compare(level, results, expected, a, b);
            }
        }
        same = tally.Report(count) && same;
    }
    return same;
}

bool isWanted(const char* wanted, const char* name) {
    return std::strcmp(wanted, "all") == 0 || std::strcmp(wanted, name) == 0;
}

} // namespace

int main(int argc, char** argv) {
    const auto number = [&](int i, std::uint64_t otherwise) {
        return argc > i ? std::strtoull(argv[i], nullptr, 10) : otherwise;
    };
    const std::string what = argc > 2 ? argv[1] : "";
    bool same = true;
    if (what == "floats") {
        for (const sFunction& f : functions)
            if (isWanted(argv[2], f.name))
                same = proveFloats(f, number(3, 1)) && same;
    } else if (what == "doubles" && argc > 3) {
        for (const sFunction& f : functions)
            if (isWanted(argv[2], f.name))
                same = proveDoubles(f, number(3, 0), number(4, 1)) && same;
        for (const sPairFunction& f : pairFunctions)
            if (isWanted(argv[2], f.name))
                same = provePairs<double>(f, number(3, 0), number(4, 1)) && same;
    } else if (what == "pairs" && argc > 3) {
        for (const sPairFunction& f : pairFunctions)
            if (isWanted(argv[2], f.name))
                same = provePairs<float>(f, number(3, 0), number(4, 1)) && same;
    } else {
        std::fprintf(stderr, "usage: elementary_proof floats|doubles|pairs NAME|all ...\n");
        return 2;
    }
    return same ? 0 : 1;
}
