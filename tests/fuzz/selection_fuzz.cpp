// Parts of arrays, by indices and positions anywhere and on any calibration: what the rules give,
// or one of the library's own exceptions, and nothing read outside.

#include <new>
#include <optional>
#include <string>

#include "dataprocessing/dataprocessing.h"
#include "tests/binary/arith_values.h"
#include "tests/failing_new.h"
#include "tests/fuzz/values.h"

using oracle::Outcome;
using oracle::Value;

namespace {

constexpr std::size_t libraryLimit = std::size_t{1} << 18;
constexpr std::size_t oracleLimit = std::size_t{4} << 20;

/// What the library answers; nothing when it ran out of memory.
template<class Call>
std::optional<Outcome> outcomeOf(Call call) {
    Outcome outcome;
    const LimitedNew limited(libraryLimit);
    try {
        outcome.refusal = refusalWithKindOf([&] { outcome.value = oracle::valueOf(call()); });
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    return outcome;
}

template<class Rules>
void requireRules(const std::string& what, const std::optional<Outcome>& actual, Rules rules) {
    if (!actual)
        return;
    Outcome expected;
    try {
        const LimitedNew limited(oracleLimit);
        expected.value = rules();
    } catch (const std::string& refusal) {
        expected.refusal = refusal;
    } catch (const std::bad_alloc&) {
        return;
    }
    requireNone(oracle::difference(expected, *actual), what);
}

/// Any answer, or any of the library's own exceptions.
template<class Call>
void mayRefuse(Call call) {
    const LimitedNew limited(libraryLimit);
    try {
        call();
    } catch (const expt_cProgramException&) {
    } catch (const std::bad_alloc&) {
    }
}

rnge_c2DRange nextRectangle(cInput& input) {
    const double a = input.Number(), b = input.Number(), c = input.Number(), d = input.Number();
    return input.Below(2) == 0 ? rnge_c2DRange(a, b, c, d)
                               : rnge_c2DRange(a, b, c, d, input.Number());
}

void ofLine(cInput& input) {
    const Value value = nextValue(input, 1);
    const darr_c1DArray line = oracle::array1DOf(value);
    const auto rule = static_cast<rnge_eIndexSelect>(input.Below(5));
    const auto interpolation = static_cast<darr_eInterpolation>(input.Below(3));
    const auto conversion = static_cast<conv_eComplexConversion>(input.Below(5));
    switch (input.Below(10)) {
    case 0: {
        const int first = input.Index(), last = input.Index();
        requireRules("selection " + std::to_string(first) + ", " + std::to_string(last) + " of " +
                         oracle::describe(value),
                     outcomeOf([&] { return line.Selection(first, last); }),
                     [&] { return oracle::selected(value, first, last, 0, 1); });
        break;
    }
    case 1: {
        const double delta = input.Number();
        requireRules("delta " + std::to_string(delta) + " of " + oracle::describe(value),
                     outcomeOf([&] { return resc_Rescale(line, delta); }),
                     [&] { return oracle::rescaled(value, delta, 1); });
        break;
    }
    case 2: {
        const rnge_c1DRange range(input.Number(), input.Number());
        mayRefuse([&] { return line.Selection(range, rule); });
        break;
    }
    case 3: {
        const double x = input.Number();
        mayRefuse([&] { return line.Value(x, interpolation); });
        break;
    }
    case 4: {
        darr_c1DArray target = oracle::array1DOf(nextValue(input, 1));
        const int start = input.Index();
        mayRefuse([&] { target.SetSelection(line, start); });
        mayRefuse([&] { return target.Number(start); });
        mayRefuse([&] { target.SetNumber(start, 1.5); });
        break;
    }
    case 5: {
        const rnge_c1DRange range(input.Number(), input.Number());
        mayRefuse([&] { return extr_Min(line, range, interpolation, conversion); });
        mayRefuse([&] { return extr_Max(line, range, interpolation, conversion); });
        break;
    }
    case 6: {
        barr_c1DBoolArray mask(input.Below(41));
        mask.SetCal(nextCal(input));
        const darr_c1DArray other = oracle::array1DOf(nextValue(input, 1));
        mayRefuse([&] { return tnry_Ternary(mask, line, other); });
        mayRefuse([&] { return tnry_Ternary(mask, 3, other); });
        mayRefuse([&] { return trny_min(line, other); });
        break;
    }
    case 7: {
        barr_c1DBoolArray a(input.Below(41)), b(input.Below(41));
        a.SetCal(nextCal(input));
        b.SetCal(nextCal(input));
        mayRefuse([&] { return a & b; });
        mayRefuse([&] { return a || !b; });
        mayRefuse([&] { return a.Element(input.Index()); });
        break;
    }
    case 8: {
        darr_c1DArray a = line, b = oracle::array1DOf(nextValue(input, 1));
        mayRefuse([&] { four_MatchAndFitToPowerOfTwo(a, b); });
        break;
    }
    default: {
        const rnge_c1DRange range(input.Number(), input.Number());
        mayRefuse([&] {
            ramp_c1DRamp ramp(input.Below(41), nextCal(input));
            ramp.SetRange(range);
        });
    }
    }
}

void ofImage(cInput& input) {
    const Value value = nextValue(input, 2);
    const darr_c2DArray image = oracle::array2DOf(value);
    const auto rule = static_cast<rnge_eIndexSelect>(input.Below(5));
    switch (input.Below(7)) {
    case 0: {
        const int x = input.Index(), y = input.Index(), toX = input.Index(), toY = input.Index();
        requireRules("selection of " + oracle::describe(value),
                     outcomeOf([&] { return image.Selection(x, y, toX, toY); }),
                     [&] { return oracle::selected(value, x, toX, y, toY); });
        break;
    }
    case 1: {
        const double deltaX = input.Number(), deltaY = input.Number();
        requireRules("deltas " + std::to_string(deltaX) + ", " + std::to_string(deltaY) + " of " +
                         oracle::describe(value),
                     outcomeOf([&] { return resc_Rescale(image, deltaX, deltaY); }),
                     [&] { return oracle::rescaled(value, deltaX, deltaY); });
        break;
    }
    case 2: {
        const rnge_c2DRange range = nextRectangle(input);
        mayRefuse([&] { return image.Selection(range, rule); });
        break;
    }
    case 3: {
        darr_c2DArray target = oracle::array2DOf(nextValue(input, 2));
        const int x = input.Index(), y = input.Index();
        mayRefuse([&] { target.SetSelection(image, x, y); });
        mayRefuse([&] { return target.Number(x, y); });
        mayRefuse([&] { target.SetNumber(x, y, 1.5); });
        mayRefuse([&] { return target.LineAtY(y); });
        break;
    }
    case 4: {
        barr_c2DBoolArray mask(input.Below(12), input.Below(12));
        mask.SetCal({nextCal(input), nextCal(input)});
        const darr_c2DArray other = oracle::array2DOf(nextValue(input, 2));
        mayRefuse([&] { return tnry_Ternary(mask, image, other); });
        mayRefuse([&] { return tnry_Ternary(mask, image, 3); });
        mayRefuse([&] { return trny_max(image, other); });
        break;
    }
    case 5: {
        darr_c2DArray a = image, b = oracle::array2DOf(nextValue(input, 2));
        mayRefuse([&] { four_MatchAndFitToPowerOfTwo(a, b); });
        break;
    }
    default: {
        const rnge_c2DRange range = nextRectangle(input);
        mayRefuse([&] {
            ramp_c2DRamp ramp(static_cast<ramp_eRampType>(input.Below(5)), input.Below(12),
                              input.Below(12), {nextCal(input), nextCal(input)});
            ramp.SetRange(range);
        });
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cInput input(data, size);
    if (input.Below(2) == 0)
        ofLine(input);
    else
        ofImage(input);
    return 0;
}
