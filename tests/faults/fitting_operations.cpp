#include <new>
#include <span>

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
    table.Add("power law of a peak", [](Operands& of) { return of.background.PowerLaw(0).Rank(); });
    table.AddRefused("coefficients of no peak",
                     [](Operands& of) { return of.background.Coefficients(7); });
}

void addGaussians(Table& table) {
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
                           of.gaussians.AmplitudeError(0), of.gaussians.AreaError(0));
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

} // namespace

Table fittingOperations() {
    Table table;
    addSelections(table);
    addFunctions(table);
    addGaussians(table);
    addStorage(table);
    addLinearAlgebra(table);
    return table;
}
