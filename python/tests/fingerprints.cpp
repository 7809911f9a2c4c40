// Prints a checksum of what the library gives in many cases, one line each: a name, and what an
// array, a number or an error comes to. test_fingerprints.py computes the same through Python.

#include <array>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "dataprocessing/dataprocessing.h"

namespace {

/// The checksum of zlib.crc32.
class cChecksum {
public:
    void Add(const void* data, std::size_t size) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i) {
            state_ ^= bytes[i];
            for (int bit = 0; bit < 8; ++bit)
                state_ = (state_ >> 1) ^ ((state_ & 1) != 0 ? 0xEDB88320u : 0u);
        }
    }
    void Add(double value) { Add(&value, sizeof value); }
    void Add(int value) { Add(static_cast<double>(value)); }
    std::uint32_t Value() const { return ~state_; }

private:
    std::uint32_t state_ = 0xFFFFFFFFu;
};

void add(cChecksum& sum, const cal_cArrayCal& cal) {
    sum.Add(cal.Position(0));
    sum.Add(cal.Delta());
}
void add(cChecksum& sum, const pnum_cNumber& number) {
    sum.Add(number.DataType().Code());
    sum.Add(number.Data(), number.DataType().SizeOf());
}
void add(cChecksum& sum, const type_cBoolean& value) { sum.Add(value ? 1 : 0); }
void add(cChecksum& sum, const darr_c1DArray& a) {
    sum.Add(a.DataType().Code());
    sum.Add(a.Size());
    add(sum, a.Cal());
    sum.Add(a.Data(), static_cast<std::size_t>(a.Size()) * a.DataType().SizeOf());
}
void add(cChecksum& sum, const darr_c2DArray& a) {
    sum.Add(a.DataType().Code());
    sum.Add(a.SizeY());
    sum.Add(a.SizeX());
    add(sum, a.Cal().Y());
    add(sum, a.Cal().X());
    sum.Add(a.Data(), static_cast<std::size_t>(a.Count()) * a.DataType().SizeOf());
}
void add(cChecksum& sum, const barr_c1DBoolArray& a) {
    sum.Add(a.Size());
    add(sum, a.Cal());
    for (int i = 0; i < a.Size(); ++i)
        sum.Add(&a.Element(i), 1);
}
void add(cChecksum& sum, const barr_c2DBoolArray& a) {
    sum.Add(a.SizeY());
    sum.Add(a.SizeX());
    for (int y = 0; y < a.SizeY(); ++y)
        for (int x = 0; x < a.SizeX(); ++x)
            sum.Add(&a.Element(x, y), 1);
}
void add(cChecksum& sum, std::span<const double> values) {
    for (const double value : values)
        sum.Add(value);
}
template<class Function>
void print(const std::string& name, Function function) {
    std::cout << name << ' ';
    try {
        cChecksum sum;
        add(sum, function());
        std::cout << sum.Value() << '\n';
    } catch (const expt_cProgramException& error) {
        std::cout << error.SourceFile() << ':' << error.Line() << '\n';
    }
}

// ---- What is computed with ---------------------------------------------------------------------

/// Numbers that Python makes as well.
class cNumbers {
public:
    explicit cNumbers(std::uint32_t seed) : state_(seed) {}
    double Mixed() { return Step() % 2001 / 8.0 - 125; }
    double Positive() { return Step() % 480 / 4.0 + 1; }

private:
    std::uint32_t Step() {
        state_ = state_ * 1664525u + 1013904223u;
        return state_ >> 8;
    }
    std::uint32_t state_;
};

std::vector<comp_cComplex<double>> elements(int count, std::uint32_t seed, bool positive) {
    cNumbers numbers(seed);
    std::vector<comp_cComplex<double>> made;
    for (int i = 0; i < count; ++i) {
        const double real = positive ? numbers.Positive() : numbers.Mixed();
        made.emplace_back(real, numbers.Mixed());
    }
    return made;
}

darr_c1DArray line(int code, int count, double offset, double delta, std::uint32_t seed = 1,
                   bool positive = false) {
    const auto from = elements(count, seed, positive);
    const darr_c1DArray wide(parr_c1DNumberArray(count, dtyp_ComplexDouble, from.data()),
                             cal_c1DArrayCal(offset, delta, 0));
    return conv_Convert(wide, dtyp_cDataType(code));
}

darr_c2DArray image(int code, int columns, int rows, double offset, double delta,
                    std::uint32_t seed = 1, bool positive = false) {
    const auto from = elements(columns * rows, seed, positive);
    const darr_c2DArray wide(
        parr_c2DNumberArray(columns, rows, dtyp_ComplexDouble, from.data()),
        cal_c2DArrayCal(cal_cArrayCal(offset, delta, 0), cal_cArrayCal(-1, 0.5, 0)));
    return conv_Convert(wide, dtyp_cDataType(code));
}

struct sGrid {
    int count;
    double offset;
    double delta;
};
constexpr std::array<sGrid, 4> grids = {{{33, 0, 1}, {20, 5, 1}, {9, -2, 0.5}, {0, 0, 1}}};

std::string named(const char* what, std::initializer_list<int> numbers) {
    std::string text = what;
    for (const int number : numbers)
        text += "." + std::to_string(number);
    return text;
}

// ---- The cases ---------------------------------------------------------------------------------

template<class Operation>
void binary(const char* what, int most) {
    for (int o = 0; o <= most; ++o)
        for (int s = 1; s <= 10; ++s)
            for (int t = 1; t <= 10; ++t) {
                const auto operation = static_cast<Operation>(o);
                for (int g = 0; g < static_cast<int>(grids.size()); ++g) {
                    const darr_c1DArray a = line(s, 33, 0, 1);
                    const sGrid grid = grids[static_cast<std::size_t>(g)];
                    const darr_c1DArray b = line(t, grid.count, grid.offset, grid.delta, 2, true);
                    print(named(what, {o, s, t, g}), [&] { return bnry_Operate(operation, a, b); });
                }
                const darr_c2DArray a = image(s, 5, 4, 0, 1);
                print(named(what, {o, s, t, 10}),
                      [&] { return bnry_Operate(operation, a, image(t, 5, 4, 0, 1, 2, true)); });
                print(named(what, {o, s, t, 11}),
                      [&] { return bnry_Operate(operation, a, image(t, 6, 3, 1, 0.5, 2, true)); });
                const pnum_cNumber n = line(t, 1, 0, 1, 3, true).Number(0);
                print(named(what, {o, s, t, 12}),
                      [&] { return bnry_Operate(operation, line(s, 33, 0, 1), n); });
                print(named(what, {o, s, t, 13}),
                      [&] { return bnry_Operate(operation, n, line(s, 33, 0, 1, 4, true)); });
                print(named(what, {o, s, t, 14}),
                      [&] { return bnry_Operate(operation, line(s, 1, 0, 1, 5).Number(0), n); });
            }
}

void unary() {
    for (int o = 0; o <= static_cast<int>(unry_Conj); ++o)
        for (int s = 1; s <= 10; ++s) {
            const auto operation = static_cast<unry_eMathUnaryOperation>(o);
            print(named("unary", {o, s, 0}),
                  [&] { return unry_Operate(operation, line(s, 33, 2, 0.5)); });
            print(named("unary", {o, s, 1}),
                  [&] { return unry_Operate(operation, line(s, 33, 2, 0.5, 6, true)); });
            print(named("unary", {o, s, 2}),
                  [&] { return unry_Operate(operation, image(s, 5, 4, 0, 1)); });
            print(named("unary", {o, s, 3}),
                  [&] { return unry_Operate(operation, line(s, 1, 0, 1, 7, true).Number(0)); });
        }
}

template<class A>
void reduce(int kind, int s, const A& a) {
    print(named("sum", {kind, s}), [&] { return stat_Sum(a); });
    print(named("mean", {kind, s}), [&] { return stat_Mean(a); });
    print(named("variance", {kind, s}), [&] { return stat_Variance(a); });
    print(named("min", {kind, s}), [&] { return extr_Min(a, conv_RealPart); });
    print(named("max", {kind, s}), [&] { return extr_Max(a, conv_RealPart); });
    for (int t = 1; t <= 10; ++t)
        for (int part = 0; part < 4; ++part)
            print(named("convert", {kind, s, t, part}), [&] {
                return conv_Convert(a, dtyp_cDataType(t),
                                    static_cast<conv_eComplexConversion>(part));
            });
}

template<class A>
void transform(int kind, int s, const A& a, const A& b) {
    print(named("fft", {kind, s}), [&] { return four_FFT(a); });
    print(named("ifft", {kind, s}), [&] { return four_IFFT(a); });
    print(named("autocorrelate", {kind, s}), [&] { return four_AutoCorrelate(a); });
    print(named("center", {kind, s}), [&] { return four_Center(a); });
    print(named("expand", {kind, s}), [&] { return four_ExpandToPowerOfTwo(a); });
    print(named("correlate", {kind, s}), [&] { return four_CrossCorrelate(a, b); });
    print(named("convolute", {kind, s}), [&] { return four_Convolute(a, b); });
    print(named("band", {kind, s}), [&] { return prut_CrossCorrelate(a, b, 0.1, 0.8); });
}

void warp(int s) {
    const darr_c2DArray a = image(s, 9, 7, 0.5, 0.5);
    print(named("rotate", {s}), [&] { return warp_Rotate(a, 0.3, rnge_c2DRange::Null); });
    print(named("quarter", {s}),
          [&] { return warp_Rotate(a, 1.5707963267948966, rnge_c2DRange::Null); });
    print(named("part", {s}), [&] { return warp_Rotate(a, 0.3, rnge_c2DRange(1, -0.5, 3, 1.5)); });
    print(named("shear", {s}), [&] { return warp_Shear(a, 0.4, 0.1); });
    print(named("resize", {s}), [&] { return warp_Resize(a, 1.5, 0.75); });
    print(named("rescale", {s}), [&] { return warp_Rescale(a, 0.25, 0.4); });
    print(named("flip", {s}), [&] { return warp_FlipPoint(a); });
    print(named("mirror", {s}), [&] { return warp_FlipAxis(a, 0.2); });
    print(named("interpolate", {s}), [&] { return resc_Rescale(a, 0.3, 0.7); });
    print(named("project", {s}), [&] { return proj_Project(a, rnge_c2DRange(1, -0.5, 3, 1.5)); });
    print(named("scan", {s}), [&] { return proj_LineScan(a, 1, 0, 3, 1, 1); });
}

void filter(int s) {
    const darr_c1DArray a = line(s, 60, 1, 0.1, 8, true);
    print(named("savgol", {s}), [&] { return smth_SavitzkyGolay(a, 7, 2, 1); });
    print(named("gauss", {s}), [&] { return smth_Gauss(a, 0.15); });
    print(named("median", {s}), [&] { return smth_Median(a, 5); });
    print(named("snip", {s}), [&] { return bgnd_Snip(a, 6); });
    print(named("rebin", {s}), [&] { return resc_Rebin(a, 0.25); });
    print(named("interpolated", {s}), [&] { return resc_Rescale(a, 0.07); });
    const darr_c2DArray b = image(s, 9, 7, 0.5, 0.5);
    print(named("gauss2", {s}), [&] { return smth_Gauss(b, 0.6, 0.9); });
    print(named("median2", {s}), [&] { return smth_Median(b, 3, 5); });
    print(named("rebin2", {s}), [&] { return resc_Rebin(b, 0.8, 1.1); });
    print(named("register", {s}), [&] {
        const regs_s1DShift shift = regs_Register(a, line(s, 50, 1, 0.1, 8, true));
        return std::vector{shift.x, shift.elementsX, shift.height, shift.second};
    });
    print(named("peaks", {s}), [&] {
        std::vector<double> found;
        for (const peak_sPeak& peak : peak_Find(a, {.prominence = 5}))
            found.insert(found.end(), {peak.position, peak.height, peak.prominence, peak.width,
                                       peak.significance});
        return found;
    });
}

std::vector<double> joined(std::span<const double> a, std::span<const double> b) {
    std::vector<double> both(a.begin(), a.end());
    both.insert(both.end(), b.begin(), b.end());
    return both;
}

template<class Function>
std::vector<double> fitted(Function function, const darr_c1DArray& data) {
    function.Refit(data);
    const auto found = joined(function.Coefficients(), function.StandardErrors());
    arr_cC_Array<double> curve(data.Size());
    function.Load(curve, data.Cal());
    return joined(found, curve);
}

darr_c1DArray peaked() {
    darr_c1DArray a = conv_Convert(line(7, 200, 5, 0.01, 9, true), dtyp_Double);
    for (int i = 0; i < 200; ++i) {
        const double d = (i - 100) / 8.0;
        a.Elements<double>()[i] = 20 + a.Elements<double>()[i] / 64 + 4000 / (1 + d * d * d * d);
    }
    return a;
}

void fit(int s) {
    const darr_c1DArray data = line(s, 60, 1, 0.1, 8, true);
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddLocalRange(rnge_c1DRange(1, 3));
    selection.AddLocalRange(rnge_c1DRange(4, 6.5));
    for (int order = 0; order < 4; ++order) {
        print(named("polynomial", {s, order}),
              [&] { return fitted(plft_c1DPolyFittingFunction(order, selection), data); });
        print(named("offset", {s, order}),
              [&] { return fitted(plft_c1DOffsetPolyFittingFunction(order, selection), data); });
        print(named("power", {s, order}),
              [&] { return fitted(pwft_cPowerLawFittingFunction(order, selection), data); });
    }
    print(named("windows", {s}), [&] {
        pwft_cMultiPowerLawFitFunc function(1, selection);
        function.AddPeak(4, 0.2, 2, -0.1, 0.4);
        function.Refit(data);
        return std::vector{function.PeakIntensity(4), function.PeakIntensityError(4)};
    });
}

void fitOnce() {
    const darr_c1DArray data = peaked();
    print("gaussians", [&] {
        gsft_cGaussian peak(3000, 6, 0.1);
        list_cPtrList<gsft_cGaussian> peaks({&peak});
        cal_c1DArrayCal cal = data.Cal();
        type_cBoolean fitCal(true);
        type_cBoolean fitResolution(true);
        gsft_cResolution resolution(6, 0.2, 0.0023);
        dasl_c1DDataArraySelection selection(rnge_IndexNearest);
        selection.AddLocalRange(rnge_c1DRange(5.8, 6.2));
        gsft_c1DGaussianFittingFunction function(selection, peaks, cal, fitCal, resolution,
                                                 fitResolution);
        function.Refit(data, gsft_StopAtOptimum);
        const std::vector<double> found{cal.Offset(), cal.Delta(), resolution.ReferenceFWHM(),
                                        peak.Amplitude(), function.ResidualSum()};
        return joined(found, function.StandardErrors());
    });
    for (int shape = 0; shape < 5; ++shape)
        print(named("model", {shape}), [&] {
            pkmd_cModel model;
            model.AddPeak(static_cast<pkmd_eShape>(shape), 6.01, 3500, 0.08, shape < 2 ? 0 : 0.05);
            model.AddPolynomial({20, 0}, 6, 1);
            const pkmd_sResult result = pkmd_Fit(model, data);
            return joined(result.fit.parameters, result.fit.standardErrors);
        });
    print("function", [&] {
        std::vector<double> x;
        std::vector<double> y;
        cNumbers numbers(10);
        for (int i = 0; i < 300; ++i) {
            x.push_back(i / 32.0);
            y.push_back(50 * x.back() / (1 + 2 * x.back()) + numbers.Mixed() / 64);
        }
        const nlsq_cFunctionModel model(
            [](double at, std::span<const double> p) { return p[0] * at / (1 + p[1] * at); });
        const nlsq_sResult result = nlsq_Fit(model, x, y, std::vector{30.0, 1.0});
        return joined(result.parameters, result.covariance);
    });
    print("equations", [&] {
        arr_c2DNumberArray<double> a(3, 10);
        arr_c1DNumberArray<double> b(10);
        cNumbers numbers(11);
        for (double& element : a)
            element = numbers.Mixed();
        for (double& element : b)
            element = numbers.Mixed();
        const eqns_sSolution solution = eqns_SolveEquations(a, b, eqns_ColumnsScaled);
        return joined(solution.x, solution.standardErrors);
    });
}

} // namespace

int main() {
    binary<bnry_eAritBinaryOperation>("arithmetic", bnry_Power);
    binary<bnry_eCompBinaryOperation>("comparison", bnry_LessEqual);
    unary();
    for (int s = 1; s <= 10; ++s) {
        reduce(1, s, line(s, 33, 2, 0.5));
        reduce(2, s, image(s, 5, 4, 0, 1));
        transform(1, s, line(s, 32, 0, 0.5), line(s, 32, 0, 0.5, 2, true));
        transform(2, s, image(s, 8, 4, 0, 0.5), image(s, 8, 4, 0, 0.5, 2, true));
        warp(s);
        filter(s);
        fit(s);
    }
    fitOnce();
}
