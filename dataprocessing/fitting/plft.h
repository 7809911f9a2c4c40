#pragma once

/// @file
/// Polynomial fits.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/fitting/ftfn.h"

class plft_c1DOffsetPolyFittingFunction;
class pwft_cPowerLawFittingFunction;

namespace dataprocessing::detail {
struct rcrd_cFits;
} // namespace dataprocessing::detail

/// A polynomial of fixed order, fitted by linear least squares: y = sum of c[j] x^j.
///
/// The fit works on x divided by the largest |x| and treats singular values below 1e-5 of the
/// largest as zero, so that a polynomial that the data cannot tell from a simpler one stays small.
/// That leaves out much when the positions lie close together far from zero: Rank() tells, and
/// plft_c1DOffsetPolyFittingFunction keeps all digits there. With no more points than the order the
/// coefficients become zero. Until the first fit they are.
///
///     plft_c1DPolyFittingFunction line(1, selection);
///     line.Refit(spectrum);
///     arr_cC_Array<double> curve(spectrum.Size());
///     line.Load(curve, spectrum.Cal());
///     std::cout << line.Coefficients()[1] << " +- " << line.StandardErrors()[1];
class DATAPROCESSING_EXPORT plft_c1DPolyFittingFunction : public ftfn_c1DFittingFunction {
public:
    /// A polynomial of this order over `selection`. Throws expt_cProgramException ("poly_fit", 22)
    /// for a negative order.
    plft_c1DPolyFittingFunction(int order, dasl_c1DDataArraySelection& selection);
    /// The polynomial of `other`, with the same coefficients, over another selection.
    plft_c1DPolyFittingFunction(const plft_c1DPolyFittingFunction& other,
                                dasl_c1DDataArraySelection& selection);
    /// A copy with the same coefficients, which hears nothing.
    plft_c1DPolyFittingFunction(const plft_c1DPolyFittingFunction& other) = default;
    /// The coefficients of the others mean something else.
    plft_c1DPolyFittingFunction(const plft_c1DOffsetPolyFittingFunction& other) = delete;
    plft_c1DPolyFittingFunction(const plft_c1DOffsetPolyFittingFunction& other,
                                dasl_c1DDataArraySelection& selection) = delete;      ///< Likewise.
    plft_c1DPolyFittingFunction(const pwft_cPowerLawFittingFunction& other) = delete; ///< Likewise.
    plft_c1DPolyFittingFunction(const pwft_cPowerLawFittingFunction& other,
                                dasl_c1DDataArraySelection& selection) = delete; ///< Likewise.
    ~plft_c1DPolyFittingFunction() override;

    /// The order.
    int Order() const noexcept { return order_; }
    /// The coefficients c[0] to c[order], in the units of x and y.
    const arr_cC_Array<double>& Coefficients() const noexcept { return coefficients_; }

    /// Fits to the elements of `data` that the selection takes, which all weigh the same.
    using ftfn_c1DFittingFunction::Refit;
    /// Fits to elements that weigh 1 / deviation^2: `deviations` has the standard deviation of each
    /// element of `data`, `sqrt(trny_max(data, 1.0))` for counts.
    ///
    /// Throws the size error unless it has as many elements, expt_cProgramException ("poly_fit", 1)
    /// unless it has the same calibration; expt_cUserException ("poly_fit", 2) when one of those
    /// selected is not positive and finite, ("poly_fit", 3) when fewer points take part than there
    /// are coefficients; what dasl_c1DDataArraySelection::FillXY throws. The last fit then stays.
    void Refit(const darr_c1DArray& data, const darr_c1DArray& deviations);

    /// How many combinations of the coefficients the last fit could tell apart: as many as there
    /// are coefficients, or less where singular values were left out; 0 before the first fit and
    /// after one of too few points.
    int Rank() const noexcept { return rank_; }
    /// The sum of the squared residuals of the last fit, those over their deviations where it had
    /// some; of too few points the sum for y = 0.
    double ResidualSum() const noexcept { return residualSum_; }
    /// The number of points of the last fit less its rank.
    int DegreesOfFreedom() const noexcept { return points_ - rank_; }
    /// The covariances of the coefficients; 0 or infinite where their products leave the numbers
    /// that there are, which their roots do not. Without deviations the variance of a point is
    /// taken to be ResidualSum() / DegreesOfFreedom(), and all are NaN where there are no degrees
    /// of freedom to take it from. Combinations that were left out count as exact. No elements
    /// where Rank() is 0.
    const arr_c2DNumberArray<double>& Covariance() const noexcept { return covariance_; }
    /// The standard errors of the coefficients: the roots of the diagonal of Covariance(), NaN
    /// where Rank() is 0. Throws std::bad_alloc.
    arr_cC_Array<double> StandardErrors() const;

    /// Always 0. The quality of a fit is ResidualSum() / DegreesOfFreedom().
    double ChiSquared() const override { return 0.0; }
    /// Sets `y[i]` to the polynomial at `x[i]`: c[0], then the terms added in rising order, their
    /// powers by repeated multiplication. Throws expt_cProgramException ("poly_fit", 44) when the
    /// sizes differ.
    void LoadValues(arr_cC_Array<double>& x, arr_cC_Array<double>& y) const override;

protected:
    /// Fits the coefficients. Throws expt_cProgramException ("poly_fit", 72) when the sizes differ,
    /// and ("poly_fit", 105) when no |x| reaches type_MinValue; std::bad_alloc when memory runs
    /// out. The previous coefficients then stay. A NaN in y makes all of them NaN, and so
    /// does, unless the order is 0, a NaN or an infinity in x. An infinity in y leaves none of them
    /// finite.
    void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y) override;
    /// The same with the standard deviations of y. Throws as Refit with those besides.
    virtual void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y,
                             const arr_cC_Array<double>& deviations);

    /// The polynomial at `x`.
    double Value(double x) const noexcept;
    /// Throws what a fit throws for points that do not come in pairs, or with deviations that are
    /// null where there are none.
    static void CheckPoints(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y,
                            const arr_cC_Array<double>* deviations);
    /// Fits a polynomial in x - offset, which is at most `scale` in magnitude, to checked points.
    void FitPowers(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y,
                   const arr_cC_Array<double>* deviations, double offset, double scale);

private:
    friend dataprocessing::detail::rcrd_cFits;

    DATAPROCESSING_NO_EXPORT void FitFromZero(const arr_cC_Array<double>& x,
                                              const arr_cC_Array<double>& y,
                                              const arr_cC_Array<double>* deviations);

    int order_;
    arr_cC_Array<double> coefficients_;
    arr_c2DNumberArray<double> covariance_;
    arr_cC_Array<double> standardErrors_;
    int rank_ = 0;
    int points_ = 0;
    double residualSum_ = 0;
};

/// A polynomial about the middle of its positions: y = sum of c[j] (x - Offset())^j.
///
/// It is fitted as plft_c1DPolyFittingFunction is, and fits as well wherever the positions lie: x -
/// Offset() is divided by half the width of what the selection takes. Of evenly spread points
/// orders up to 11 lose nothing to the limit of 1e-5, and 12 and 13 nothing when there are 18 or
/// more.
///
///     plft_c1DOffsetPolyFittingFunction slope(2, selection);
///     slope.Refit(spectrum);
///     slope.Coefficients()[1]; // the derivative at slope.Offset()
class DATAPROCESSING_EXPORT plft_c1DOffsetPolyFittingFunction : public plft_c1DPolyFittingFunction {
public:
    using plft_c1DPolyFittingFunction::plft_c1DPolyFittingFunction;
    /// The polynomial of `other`, with the same coefficients, over another selection.
    plft_c1DOffsetPolyFittingFunction(const plft_c1DOffsetPolyFittingFunction& other,
                                      dasl_c1DDataArraySelection& selection);
    /// A copy with the same coefficients, which hears nothing.
    plft_c1DOffsetPolyFittingFunction(const plft_c1DOffsetPolyFittingFunction& other) = default;
    ~plft_c1DOffsetPolyFittingFunction() override;

    /// The middle between the first and the last position of the last fit; 0 before the first.
    double Offset() const noexcept { return offset_; }
    /// Sets `y[i]` to the polynomial at `x[i]`. Throws expt_cProgramException ("poly_fit", 44) when
    /// the sizes differ.
    void LoadValues(arr_cC_Array<double>& x, arr_cC_Array<double>& y) const override;

protected:
    /// Fits the coefficients. Throws ("poly_fit", 3) for too few points, and as the polynomial does
    /// but for ("poly_fit", 105): positions that are all the same determine c[0], others become 0.
    void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y) override;
    /// The same with the standard deviations of y.
    void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y,
                     const arr_cC_Array<double>& deviations) override;

private:
    friend dataprocessing::detail::rcrd_cFits;

    DATAPROCESSING_NO_EXPORT void FitFromMiddle(const arr_cC_Array<double>& x,
                                                const arr_cC_Array<double>& y,
                                                const arr_cC_Array<double>* deviations);

    double offset_ = 0;
};
