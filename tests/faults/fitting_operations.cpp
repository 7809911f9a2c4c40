#include <cmath>
#include <new>
#include <span>
#include <sstream>

#include "tests/faults/operation.h"

namespace {

void addSelections(Table& table) {
    table.Add("selection", [](Operands&) { return dasl_c1DDataArraySelection(rnge_IndexFloor); });
    table.Add("copy of a selection",
              [](Operands& of) { return dasl_c1DDataArraySelection(of.selection); });
    table.Add("assignment of a selection", [](Operands& of) {
        dasl_c1DDataArraySelection target(rnge_IndexFloor);
        target = of.selection;
        return target;
    });
    table.Add("add a range", [](Operands& of) { of.selection.AddRange(of.freeRange); });
    table.Add("add a local range", [](Operands& of) { of.selection.AddLocalRange(of.freeRange); });
    table.Add("remove a range", [](Operands& of) { of.selection.RemoveRange(of.window); });
    table.Add("has a range", [](Operands& of) { return of.selection.HasRange(of.freeRange); });
    table.Add("clear", [](Operands& of) { of.selection.Clear(); });
    table.Add("total range", [](Operands& of) { return of.selection.TotalRange(); });
    table.Add("points", [](Operands& of) {
        arr_cC_Array<double> x, y;
        of.selection.FillXY(of.spectrum, x, y);
        return bytesOf(x, y);
    });
    table.Add(
        "points of integers", [](Operands& of) { of.selection.AddRange(of.range); },
        [](Operands& of) {
            arr_cC_Array<double> x, y;
            of.selection.FillXY(of.coarseLine, x, y);
            return bytesOf(x, y);
        });
    table.Add("move a range", [](Operands& of) { of.window.Set(5200, 6400); });
}

/// What every fitting function does; `functionOf` is one of the operands, fitted or not.
template<class FunctionOf>
void addFunction(Table& table, const std::string& name, FunctionOf functionOf) {
    using Function = std::remove_cvref_t<std::invoke_result_t<FunctionOf, Operands&>>;
    table.Add("copy of " + name, [=](Operands& of) { return bytesOf(Function(functionOf(of))); });
    table.Add("fit " + name, [=](Operands& of) { functionOf(of).Refit(of.spectrum); });
    table.Add(
        "load " + name, [=](Operands& of) { functionOf(of).Refit(of.spectrum); },
        [=](Operands& of) {
            arr_cC_Array<double> curve(20, 0.0);
            functionOf(of).Load(curve, cal_c1DArrayCal(5700, 15, 0));
            return curve;
        });
    table.Add(
        "curve of " + name, [=](Operands& of) { functionOf(of).Refit(of.spectrum); },
        [=](Operands& of) { return functionOf(of).Curve(cal_c1DArrayCal(5700, 15, 0), 20); });
    table.Add("values of " + name, [=](Operands& of) {
        arr_cC_Array<double> x({5100, 5900, 6400}), y(3, 0.0);
        functionOf(of).LoadValues(x, y);
        return bytesOf(x, y, functionOf(of).ChiSquared());
    });
    table.Add("name " + name, [=](Operands& of) { functionOf(of).SetName(of.text); });
}

void addFunctions(Table& table) {
    addFunction(
        table, "a polynomial", [](Operands & of) -> auto& { return of.polynomial; });
    addFunction(
        table, "a power law", [](Operands & of) -> auto& { return of.powerLaw; });
    addFunction(
        table, "a background", [](Operands & of) -> auto& { return of.background; });
    addFunction(
        table, "Gaussians", [](Operands & of) -> auto& { return of.gaussians; });

    table.Add("polynomial", [](Operands& of) {
        return bytesOf(plft_c1DPolyFittingFunction(3, of.selection),
                       plft_c1DPolyFittingFunction(of.polynomial, of.selection));
    });
    table.AddRefused("polynomial of a negative order", [](Operands& of) {
        return bytesOf(plft_c1DPolyFittingFunction(-1, of.selection));
    });
    table.Add("offset polynomial", [](Operands& of) {
        plft_c1DOffsetPolyFittingFunction polynomial(2, of.selection);
        polynomial.Refit(of.spectrum);
        const plft_c1DOffsetPolyFittingFunction copy(polynomial, of.selection);
        arr_cC_Array<double> x({5100, 5900, 6400}), y(3, 0.0);
        copy.LoadValues(x, y);
        return bytesOf(copy, copy.Offset(), y);
    });
    table.Add("fit an offset polynomial with deviations", [](Operands& of) {
        plft_c1DOffsetPolyFittingFunction polynomial(2, of.selection);
        polynomial.Refit(of.spectrum, of.spectrum);
        return bytesOf(polynomial);
    });
    table.Add("fit a polynomial with deviations",
              [](Operands& of) { of.polynomial.Refit(of.spectrum, of.spectrum); });
    table.Add("fit a power law with deviations",
              [](Operands& of) { of.powerLaw.Refit(of.spectrum, of.spectrum); });
    table.AddRefused("fit a polynomial with few deviations",
                     [](Operands& of) { of.polynomial.Refit(of.spectrum, of.line); });
    table.Add("errors of a polynomial",
              [](Operands& of) { return of.polynomial.StandardErrors(); });
    table.Add("power law", [](Operands& of) {
        return bytesOf(pwft_cPowerLawFittingFunction(3, of.selection),
                       pwft_cPowerLawFittingFunction(of.powerLaw, of.selection));
    });
    table.Add("background",
              [](Operands& of) { return bytesOf(pwft_cMultiPowerLawFitFunc(1, of.selection)); });
    table.Add("add a peak", [](Operands& of) { of.background.AddPeak(6400, 100, 200, -100, 200); });
    table.Add("clear the peaks", [](Operands& of) { of.background.ClearPeaks(); });
    table.Add(
        "intensity over a background", [](Operands& of) { of.background.Refit(of.spectrum); },
        [](Operands& of) {
            return bytesOf(of.background.PeakIntensity(5900),
                           of.background.PeakIntensityError(5900));
        });
    table.Add("fit a background with deviations",
              [](Operands& of) { of.background.Refit(of.spectrum, of.spectrum); });
    table.AddRefused("fit a background with few deviations",
                     [](Operands& of) { of.background.Refit(of.spectrum, of.line); });
    table.Add("power law of a peak", [](Operands& of) { return of.background.PowerLaw(0).Rank(); });
    table.AddRefused("coefficients of no peak",
                     [](Operands& of) { return of.background.Coefficients(7); });
}

void addGaussians(Table& table) {
    table.Add("Gaussians of a fixed kind", [](Operands& of) {
        list_cPtrList<gsft_cGaussian> peaks;
        peaks.Append(&of.high);
        gsft_c1DGaussianFittingFunction function(of.selection, peaks, of.calibration, false,
                                                 of.resolution, true);
        return bytesOf(gsft_c1DGaussianFittingFunction(function));
    });
    table.Add("Gaussian", [](Operands&) { return gsft_cGaussian(3, 5, 7); });
    table.AddRefused("Gaussian without a width", [](Operands&) { return gsft_cGaussian(3, 5, 0); });
    table.Add("value of a Gaussian", [](Operands& of) { return of.high.Value(5950); });
    table.Add("intensity of a Gaussian", [](Operands& of) { return of.high.Intensity(); });
    table.Add("area of a Gaussian", [](Operands& of) { return of.high.Area(); });
    table.Add("ratio of Gaussians", [](Operands& of) {
        of.low.SetRefGaussian(of.high);
        of.low.SetAmplitudeFromRatio(0.5);
        return of.low.AmplitudeRatio();
    });
    table.AddRefused("ratio without a reference",
                     [](Operands& of) { return of.high.AmplitudeRatio(); });
    table.AddRefused(
        "ratio to nothing",
        [](Operands& of) {
            of.low.SetRefGaussian(of.high);
            of.high.SetAmplitude(0);
        },
        [](Operands& of) { return of.low.AmplitudeRatio(); });
    table.Add("resolution", [](Operands& of) {
        return bytesOf(of.resolution.HasValue(6000), of.resolution.FWHM(6000));
    });
    table.AddRefused("resolution without a value",
                     [](Operands& of) { return of.resolution.FWHM(-1e6); });
    table.Add(
        "fit coupled Gaussians",
        [](Operands& of) {
            of.low.SetRefGaussian(of.high);
            of.fitCalibration = false; // which the background would turn round
        },
        [](Operands& of) { of.gaussians.Refit(of.spectrum); });
    table.Add("fit Gaussians to the optimum",
              [](Operands& of) { of.gaussians.Refit(of.spectrum, gsft_StopAtOptimum); });
    table.Add(
        "errors of Gaussians", [](Operands& of) { of.gaussians.Refit(of.spectrum); },
        [](Operands& of) {
            return bytesOf(of.gaussians.Covariance(), of.gaussians.StandardErrors(),
                           of.gaussians.AmplitudeError(0), of.gaussians.AreaError(0),
                           of.gaussians.CountsError(0));
        });
    table.Add("widths of Gaussians", [](Operands& of) { of.gaussians.SetWidthsFromResolution(); });
    table.AddRefused("fit Gaussians that cannot be told apart", [](Operands& of) {
        gsft_cGaussian same(of.high);
        list_cPtrList<gsft_cGaussian> peaks{&of.high, &same};
        gsft_c1DGaussianFittingFunction function(of.selection, peaks, of.calibration,
                                                 of.fitCalibration, of.resolution,
                                                 of.fitResolution);
        function.Refit(of.spectrum);
        return 0;
    });
}

/// Storage for rows and columns from 1 on.
class Matrix {
public:
    Matrix(long rows, long columns)
        : rows_(rows), columns_(columns), elements_(rcps::dmatrix(1, rows, 1, columns)) {
        if (!elements_)
            throw std::bad_alloc();
        for (long r = 1; r <= rows; ++r)
            for (long c = 1; c <= columns; ++c)
                elements_[r][c] = 1.0 / static_cast<double>(r + 2 * c) + (r == c ? 1 : 0);
    }
    Matrix(const Matrix&) = delete;
    Matrix& operator=(const Matrix&) = delete;
    ~Matrix() { rcps::free_dmatrix(elements_, 1, rows_, 1, columns_); }

    double** Rows() const noexcept { return elements_; }
    std::span<const double> Row(long row) const noexcept {
        return {elements_[row] + 1, static_cast<std::size_t>(columns_)};
    }
    std::string Bytes() const {
        std::string bytes;
        for (long row = 1; row <= rows_; ++row)
            for (const double element : Row(row))
                putBytes(bytes, element);
        return bytes;
    }

private:
    long rows_;
    long columns_;
    double** elements_;
};

template<class Element>
Element* orThrow(Element* storage) {
    if (!storage)
        throw std::bad_alloc();
    return storage;
}

void addStorage(Table& table) {
    using namespace rcps;
    table.Add("vector", [](Operands&) { free_vector(orThrow(vector(1, 5)), 1, 5); });
    table.Add("ivector", [](Operands&) { free_ivector(orThrow(ivector(1, 5)), 1, 5); });
    table.Add("cvector", [](Operands&) { free_cvector(orThrow(cvector(1, 5)), 1, 5); });
    table.Add("lvector", [](Operands&) { free_lvector(orThrow(lvector(1, 5)), 1, 5); });
    table.Add("dvector", [](Operands&) { free_dvector(orThrow(dvector(1, 5)), 1, 5); });
    table.Add("matrix", [](Operands&) { free_matrix(orThrow(matrix(1, 5, 0, 3)), 1, 5, 0, 3); });
    table.Add("dmatrix", [](Operands&) { free_dmatrix(orThrow(dmatrix(1, 5, 0, 3)), 1, 5, 0, 3); });
    table.Add("imatrix", [](Operands&) { free_imatrix(orThrow(imatrix(1, 5, 0, 3)), 1, 5, 0, 3); });
    table.Add("submatrix", [](Operands&) {
        const Matrix whole(4, 4);
        free_submatrix(orThrow(submatrix(whole.Rows(), 2, 4, 2, 4, 1, 1)), 1, 3, 1, 3);
    });
    table.Add("convert_matrix", [](Operands& of) {
        double* const block = of.equations.Data();
        free_convert_matrix(orThrow(convert_matrix(block, 1, 3, 1, 2)), 1, 3, 1, 2);
    });
    table.Add("f3tensor", [](Operands&) {
        free_f3tensor(orThrow(f3tensor(1, 2, 1, 3, 1, 4)), 1, 2, 1, 3, 1, 4);
    });
    table.Add("nrerror", [](Operands&) { nrerror("nothing happens"); });
}

void addLinearAlgebra(Table& table) {
    table.Add("solve",
              [](Operands& of) { return eqns_SolveEquations(of.equations, of.rightSide); });
    table.Add("solve with errors", [](Operands& of) {
        const eqns_sSolution solution =
            eqns_SolveEquations(of.equations, of.rightSide, eqns_ColumnsScaled);
        return bytesOf(solution.x, solution.covariance, solution.standardErrors,
                       solution.residualSum);
    });
    table.AddRefused("solve without enough equations", [](Operands& of) {
        return eqns_SolveEquations(of.equations, arr_c1DNumberArray<double>(2));
    });
    table.Add("decompose", [](Operands&) {
        const Matrix a(5, 3), w(1, 3), v(3, 3);
        rcps::svdcmp(a.Rows(), 5, 3, w.Rows()[1], v.Rows());
        return a.Bytes() + w.Bytes() + v.Bytes();
    });
    table.Add("substitute", [](Operands&) {
        const Matrix u(5, 3), w(1, 3), v(3, 3), b(1, 5), x(1, 3);
        rcps::svbksb(u.Rows(), w.Rows()[1], v.Rows(), 5, 3, b.Rows()[1], x.Rows()[1]);
        return x.Bytes();
    });
    table.Add("fit and covariance", [](Operands&) {
        const Matrix x(1, 5), y(1, 5), sig(1, 5), a(1, 3), u(5, 3), v(3, 3), w(1, 3), basis(5, 3);
        const Matrix covariance(3, 3);
        double chisq = 0;
        rcps::svdfit(x.Rows()[1], y.Rows()[1], sig.Rows()[1], 5, a.Rows()[1], 3, u.Rows(), v.Rows(),
                     w.Rows()[1], &chisq, basis.Rows());
        rcps::svdvar(v.Rows(), 3, w.Rows()[1], covariance.Rows());
        return a.Bytes() + covariance.Bytes() + bytesOf(chisq);
    });
    table.Add("pythag", [](Operands&) { return rcps::pythag(3, 4); });
    table.AddRefused("singular", [](Operands&) -> int { throw rcps_cRecipesException(); });
    table.AddRefused("no fit", [](Operands& of) -> int { throw gsft_cFitException(of.text); });
}

std::string bytesOfFit(const nlsq_sResult& fit) {
    const std::string counts = bytesOf(fit.chiSquared, fit.degreesOfFreedom, fit.iterations,
                                       fit.evaluations, fit.end, fit.rank);
    std::string bytes = counts;
    for (const std::vector<double>* values :
         {&fit.parameters, &fit.standardErrors, &fit.covariance})
        for (const double value : *values)
            putBytes(bytes, value);
    return bytes;
}

/// y = p0 + p1 x.
const nlsq_cFunctionModel& straightLine() {
    static const nlsq_cFunctionModel model(
        [](double x, std::span<const double> p) { return p[0] + p[1] * x; },
        [](double x, std::span<const double>, std::span<double> d) {
            d[0] = 1;
            d[1] = x;
        });
    return model;
}

void addNonlinear(Table& table) {
    table.Add("nonlinear fit", [](Operands& of) {
        nlsq_sOptions options;
        options.parameters = {nlsq_sParameter::Free(), nlsq_sParameter::Bounded(-1, 1),
                              nlsq_sParameter::Tied(0, 2), nlsq_sParameter::Fixed()};
        const nlsq_cFunctionModel model([](double x, std::span<const double> p) {
            return p[0] * std::exp(-p[1] * x) + p[2] + p[3];
        });
        return bytesOfFit(nlsq_Fit(model, std::span(of.values), std::span(of.values),
                                   std::vector{1.0, 0.1, 0.0, 0.5}, options));
    });
    table.Add("linear fit", [](Operands& of) {
        const nlsq_sResult fit =
            nlsq_FitLinear(straightLine(), std::span(of.values), std::span(of.values), 2);
        return bytesOfFit(fit) +
               bytesOf(fit.Covariance(0, 1), fit.Correlation(0, 1), fit.ReducedChiSquared());
    });
    table.Add("fit of a line that is determined badly", [](Operands& of) {
        const nlsq_cFunctionModel model(
            [](double x, std::span<const double> p) { return (p[0] + p[1]) * x; },
            [](double x, std::span<const double>, std::span<double> d) { d[0] = d[1] = x; });
        return bytesOfFit(nlsq_FitLinear(model, std::span(of.values), std::span(of.values), 2));
    });
    table.Add("check of derivatives", [](Operands& of) {
        const nlsq_sDerivativeCheck check =
            nlsq_CheckDerivatives(straightLine(), std::span(of.values), std::vector{1.0, 2.0});
        return bytesOf(check.difference, check.parameter, check.position);
    });
    table.Add("model of a function", [](Operands&) {
        return bytesOf(nlsq_cFunctionModel(straightLine()).DerivativeError(),
                       nlsq_cFunctionModel([](double, std::span<const double>) {
                           return 1.0;
                       }).nlsq_cModel::DerivativeError());
    });
    table.Add("values of a function", [](Operands& of) {
        std::vector<double> values(5), derivatives(10);
        straightLine().nlsq_cFunctionModel::Evaluate(std::span(of.values), std::vector{1.0, 2.0},
                                                     values, derivatives);
        return bytesOf(values[4], derivatives[9]);
    });
    table.Add("end of a fit", [](Operands&) { return std::string(nlsq_Text(nlsq_StepSmall)); });
    table.AddRefused("nonlinear fit without points", [](Operands&) {
        nlsq_Fit(straightLine(), {}, {}, std::vector{1.0, 2.0});
    });
}

void addPeakModels(Table& table) {
    const auto modelOf = [](const Operands& of) {
        pkmd_cModel model;
        const int high = model.AddPeak(pkmd_Gaussian, 5900, 480, 55);
        const int low = model.AddPeak(pkmd_Voigt, 6400, 110, 50, 10);
        const int power = model.AddPowerLaw(1000, -1, 5900);
        model.AddPolynomial({1}, 5900, 500);
        const int exponential = model.AddExponential(1, 0, 5900);
        const int curve = model.AddCurve(of.spectrum, 0);
        model.Tie(model.Width(low), model.Width(high), 1);
        model.Fix(model.Extra(low));
        model.Fix(power + 1);
        model.Fix(exponential);
        model.Fix(exponential + 1);
        model.Fix(curve);
        model.Bound(model.Height(low), 0, 1e6);
        model.Free(model.Position(low));
        model.SetStart(model.Height(high), 490);
        return model;
    };
    table.Add("fit of peaks", [=](Operands& of) {
        const pkmd_cModel original = modelOf(of);
        const pkmd_cModel model(original); // NOLINT(performance-unnecessary-copy-initialization)
        pkmd_sOptions options;
        options.objective = nlsq_LeastSquares;
        options.control.mostEvaluations = 20;
        const pkmd_sResult result = pkmd_Fit(model, of.spectrum, options);
        return bytesOfFit(result.fit) + bytesOf(result.peaks[0].area, result.peaks[1].areaError) +
               pkmd_Report(result, {"keV", "counts"}) +
               bytesOf(model.Curve(of.spectrum.Cal(), of.spectrum.Size()));
    });
    table.Add("fit of peaks that follow a law", [](Operands& of) {
        pkmd_cModel model;
        model.AddPeak(pkmd_TailedGaussian, 5900, 480, 55, -20);
        model.AddPolynomial({1000});
        model.SetWidthLaw(55, 0, 5900);
        model.SetStarts(std::vector<double>(model.Starts().begin(), model.Starts().end()));
        pkmd_sOptions options;
        options.objective = nlsq_LeastSquares;
        options.control.mostEvaluations = 20;
        std::ostringstream text;
        text << pkmd_Fit(model, of.spectrum, options);
        return text.str();
    });
    table.Add("interval of the height of a peak", [](Operands& of) {
        pkmd_cModel model;
        const int peak = model.AddPeak(pkmd_Gaussian, 6400, 1000, 60);
        model.Fix(model.Position(peak));
        model.Fix(model.Width(peak));
        model.AddPolynomial({1000});
        pkmd_sOptions options;
        options.objective = nlsq_LeastSquares;
        const pkmd_sResult found = pkmd_Fit(model, of.spectrum, options);
        const pkmd_sInterval interval =
            pkmd_Interval(model, of.spectrum, found, model.Height(peak), options);
        return bytesOf(interval.lower, interval.upper);
    });
    table.Add("model of the peaks found", [](Operands& of) {
        const std::vector<peak_sPeak> found = peak_Find(of.spectrum, {.prominence = 50});
        return bytesOf(pkmd_ModelOf(of.spectrum, found).ParameterCount());
    });
    table.AddRefused("model of nothing", [](Operands&) { pkmd_ModelOf(darr_c1DArray(), {}); });
    table.Add("values of peaks", [=](Operands& of) {
        pkmd_cModel model;
        model = modelOf(of);
        const std::vector<double> x{5000, 5900, 6400};
        std::vector<double> y(3);
        model.Values(model.Starts(), x, y);
        return bytesOf(y[0], y[1], y[2]) + model.Name(1);
    });
    table.AddRefused("fit of peaks to nothing",
                     [=](Operands& of) { pkmd_Fit(modelOf(of), darr_c1DArray()); });
}

/// Streams answer false where memory runs out, which is told here by the exception.
void require(bool isGood) {
    if (!isGood)
        throw std::bad_alloc();
}

/// Everything that records do with a fit; `initial` is what is loaded into.
template<class ValueOf, class Initial>
void addRecords(Table& table, const std::string& name, ValueOf valueOf, Initial initial) {
    for (const rcrd_eForm form : {rcrd_Binary, rcrd_Text})
        table.Add(name + (form == rcrd_Text ? " as text" : " as bytes"), [=](Operands& of) {
            std::stringstream bytes, again;
            rcrd_Save(bytes, valueOf(of), form);
            require(bytes.good());
            auto value = initial(of);
            rcrd_Load(bytes, value);
            rcrd_Save(again, value, form);
            require(again.good());
            return again.str();
        });
    table.Add(name + " as fields", [=](Operands& of) {
        std::stringstream text, bytes, again;
        tgio_cASCII_ostream textOut(text);
        require(rcrd_Write(textOut, valueOf(of), "Fit"));
        tgio_cBinary_ostream bytesOut(bytes);
        require(rcrd_Write(bytesOut, valueOf(of), 300));
        require(text.good() && bytes.good());
        auto value = initial(of);
        tgio_cASCII_istream textIn(text);
        require(rcrd_Read(textIn, value));
        tgio_cBinary_istream bytesIn(bytes);
        require(rcrd_Read(bytesIn, value));
        rcrd_Save(again, value);
        require(again.good());
        return again.str();
    });
}

nlsq_sResult someResult() {
    nlsq_sResult fit;
    fit.parameters = {1, 2};
    fit.standardErrors = {3, 4};
    fit.covariance = {9, 0, 0, 16};
    fit.atBound = {1};
    return fit;
}

void addRecords(Table& table) {
    addRecords(
        table, "result", [](Operands&) { return someResult(); },
        [](Operands&) { return nlsq_sResult(); });
    addRecords(
        table, "result of peaks",
        [](Operands&) {
            return pkmd_sResult{someResult(),
                                {{pkmd_Gaussian, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}},
                                {"a parameter of a name that is long", "b"},
                                7};
        },
        [](Operands&) { return pkmd_sResult(); });
    addRecords(
        table, "polynomial", [](Operands & of) -> const auto& { return of.polynomial; },
        [](Operands& of) { return plft_c1DPolyFittingFunction(1, of.selection); });
    addRecords(
        table, "offset polynomial",
        [](Operands& of) { return plft_c1DOffsetPolyFittingFunction(2, of.selection); },
        [](Operands& of) { return plft_c1DOffsetPolyFittingFunction(1, of.selection); });
    addRecords(
        table, "power law", [](Operands & of) -> const auto& { return of.powerLaw; },
        [](Operands& of) { return pwft_cPowerLawFittingFunction(2, of.selection); });
    addRecords(
        table, "power laws of many peaks",
        [](Operands& of) {
            pwft_cMultiPowerLawFitFunc laws(1, of.selection);
            laws.AddPeak(3, 0, 2, 0, 1);
            return laws;
        },
        [](Operands& of) { return pwft_cMultiPowerLawFitFunc(2, of.selection); });
    addRecords(
        table, "model of peaks",
        [](Operands&) {
            pkmd_cModel model;
            model.AddPeak(pkmd_Voigt, 3, 20, 1, 0.5);
            model.AddCurve({1, 2, 3}, 1);
            model.SetWidthLaw(1, 0, 3);
            return model;
        },
        [](Operands&) { return pkmd_cModel(); });
    addRecords(
        table, "peak", [](Operands & of) -> const auto& { return of.high; },
        [](Operands& of) { return of.low; });
    addRecords(
        table, "resolution", [](Operands & of) -> const auto& { return of.resolution; },
        [](Operands&) { return gsft_cResolution(1, 1); });
}

} // namespace

Table fittingOperations() {
    Table table;
    addSelections(table);
    addFunctions(table);
    addGaussians(table);
    addStorage(table);
    addLinearAlgebra(table);
    addNonlinear(table);
    addPeakModels(table);
    addRecords(table);
    return table;
}
