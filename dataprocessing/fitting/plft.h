#pragma once

/// @file
/// Polynomial fits.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/fitting/ftfn.h"

/// A polynomial of fixed order, fitted by unweighted linear least squares: y = sum of c[j] x^j.
///
/// The fit works on x divided by the largest |x| and treats singular values below 1e-5 of the
/// largest as zero, so that a polynomial that the data cannot tell from a simpler one stays small.
/// With no more points than the order the coefficients become zero. Until the first fit they are.
///
///     plft_c1DPolyFittingFunction line(1, selection);
///     line.Refit(spectrum);
///     arr_cC_Array<double> curve(spectrum.Size());
///     line.Load(curve, spectrum.Cal());
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
    ~plft_c1DPolyFittingFunction() override;

    /// The order.
    int Order() const noexcept { return order_; }
    /// The coefficients c[0] to c[order], in the units of x and y.
    const arr_cC_Array<double>& Coefficients() const noexcept { return coefficients_; }

    /// Always 0: the sum of squares of a fit is not kept. Compute it from Load where it is wanted.
    double ChiSquared() const override { return 0.0; }
    /// Sets `y[i]` to the polynomial at `x[i]`: c[0], then the terms added in rising order, their
    /// powers by repeated multiplication. Throws expt_cProgramException ("poly_fit", 44) when the
    /// sizes differ.
    void LoadValues(arr_cC_Array<double>& x, arr_cC_Array<double>& y) const override;

protected:
    /// Fits the coefficients. Throws expt_cProgramException ("poly_fit", 72) when the sizes differ,
    /// and ("poly_fit", 105) when no |x| reaches type_MinValue; std::bad_alloc when memory runs
    /// out. The previous coefficients then stay. A NaN in y makes all of them NaN, and so
    /// does, unless the order is 0, a NaN or an infinity in x. An infinity in y, or values the sum
    /// of which overflows, leaves none of them finite.
    void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y) override;

private:
    int order_;
    arr_cC_Array<double> coefficients_;
};
