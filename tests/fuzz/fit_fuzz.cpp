// Fits to any data over any ranges: they end, with a curve or one of the library's own exceptions.

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

#include "dataprocessing/algebra/eqns.h"
#include "dataprocessing/fitting/gsft.h"
#include "dataprocessing/fitting/pwft.h"
#include "tests/binary/arith_values.h"
#include "tests/failing_new.h"
#include "tests/fuzz/values.h"

namespace {

constexpr std::size_t libraryLimit = std::size_t{1} << 20;

template<class Call>
void mayRefuse(Call call) {
    try {
        call();
    } catch (const expt_cProgramException&) {
    } catch (const std::bad_alloc&) {
    }
}

/// A spectrum of counts, or anything.
darr_c1DArray nextData(cInput& input) {
    if (input.Below(2) == 0)
        return oracle::array1DOf(nextValue(input, 1));
    darr_c1DArray data(input.Below(64), dtyp_Double, nextCal(input));
    for (int i = 0; i < data.Size(); ++i)
        data.SetNumber(i, input.Below(256));
    return data;
}

void fitAndLoad(cInput& input, ftfn_c1DFittingFunction& function) {
    const darr_c1DArray data = nextData(input);
    mayRefuse([&] { function.Refit(data); });
    arr_cC_Array<double> curve(input.Below(41), 0.0);
    const cal_c1DArrayCal cal = input.Below(2) == 0 ? data.Cal() : nextCal(input);
    mayRefuse([&] { function.Load(curve, cal); });
}

void fitGaussians(cInput& input, dasl_c1DDataArraySelection& selection) {
    std::vector<std::unique_ptr<gsft_cGaussian>> owned;
    list_cPtrList<gsft_cGaussian> peaks;
    for (int count = input.Below(5); count > 0; --count) {
        owned.push_back(std::make_unique<gsft_cGaussian>(input.Number(), input.Number(), 1));
        owned.back()->SetWidth(input.Number());
        const int reference = input.Below(8);
        if (reference < peaks.Size())
            owned.back()->SetRefGaussian(*peaks[reference]);
        peaks.Append(owned.back().get());
    }
    cal_c1DArrayCal calibration = nextCal(input);
    type_cBoolean fitCalibration = input.Below(2) == 0, fitResolution = input.Below(2) == 0;
    gsft_cResolution resolution(input.Number(), input.Number());
    gsft_c1DGaussianFittingFunction function(selection, peaks, calibration, fitCalibration,
                                             resolution, fitResolution);
    fitAndLoad(input, function);
}

void fitBackground(cInput& input, dasl_c1DDataArraySelection& selection) {
    pwft_cMultiPowerLawFitFunc background(input.Below(4), selection);
    double position = 0;
    for (int count = input.Below(4); count > 0; --count) {
        position = input.Number();
        const double gap = input.Number(), width = input.Number();
        const double offset = input.Number(), window = input.Number();
        mayRefuse([&] { background.AddPeak(position, gap, width, offset, window); });
    }
    fitAndLoad(input, background);
    mayRefuse([&] { background.PeakIntensity(position); });
}

void solve(cInput& input) {
    arr_c2DNumberArray<double> a(input.Below(6), input.Below(9));
    arr_c1DNumberArray<double> b(input.Below(9));
    for (double& element : a)
        element = input.Number();
    for (double& element : b)
        element = input.Number();
    mayRefuse([&] { eqns_SolveEquations(a, b); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cInput input(data, size);
    const LimitedNew limited(libraryLimit);
    dasl_c1DDataArraySelection selection(static_cast<rnge_eIndexSelect>(input.Below(5)));
    for (int count = input.Below(4); count > 0; --count)
        selection.AddLocalRange({input.Number(), input.Number()});
    switch (input.Below(5)) {
    case 0: {
        plft_c1DPolyFittingFunction polynomial(input.Below(8), selection);
        fitAndLoad(input, polynomial);
        break;
    }
    case 1: {
        pwft_cPowerLawFittingFunction powerLaw(input.Below(4), selection);
        fitAndLoad(input, powerLaw);
        break;
    }
    case 2:
        fitBackground(input, selection);
        break;
    case 3:
        fitGaussians(input, selection);
        break;
    default:
        solve(input);
    }
    return 0;
}
