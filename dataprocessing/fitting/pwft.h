#pragma once

/// @file
/// Power-law fits: backgrounds that fall off as a power of position.

#include <list>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/fitting/plft.h"

/// A polynomial in log-log space: ln y = sum of c[j] (ln x)^j. Order 1 is the power law y = e^c[0]
/// x^c[1].
///
/// Only points whose x and y are both greater than type_MinValue take part in a fit. With no more
/// of them than the order the coefficients become zero; a fit whose coefficients are all below
/// type_MinValue in magnitude is zero everywhere. Elsewhere the curve exists at positions greater
/// than type_MinValue; Load gives 0 at the others. An element that lies at 0 within the tolerance
/// of its calibration (cal_cArrayCal::Tolerance) lies at 0 for Load and Refit. ChiSquared() is
/// always 0.
///
/// Rank, residuals, covariance and errors are those of the logarithms: an error of c[0] is a part
/// of y. Given deviations of y count as deviations / y of ln y. Without any the logarithms weigh
/// the same, which for counts makes much of the few in the tail: give it
/// `sqrt(trny_max(data, 1.0))`.
class DATAPROCESSING_EXPORT pwft_cPowerLawFittingFunction : public plft_c1DPolyFittingFunction {
public:
    /// A power law over `selection`. Throws expt_cProgramException ("poly_fit", 22) for a negative
    /// order.
    pwft_cPowerLawFittingFunction(int order, dasl_c1DDataArraySelection& selection);
    /// The power law of `other`, with the same coefficients, over another selection.
    pwft_cPowerLawFittingFunction(const pwft_cPowerLawFittingFunction& other,
                                  dasl_c1DDataArraySelection& selection);
    /// A copy with the same coefficients, which hears nothing.
    pwft_cPowerLawFittingFunction(const pwft_cPowerLawFittingFunction& other) = default;
    ~pwft_cPowerLawFittingFunction() override;

    /// As the base does, 0 at the element that lies at 0.
    void Load(arr_cC_Array<double>& values, const cal_c1DArrayCal& cal) const override;
    /// Always 0.
    double ChiSquared() const override { return 0.0; }
    /// Keeps the positions where the curve exists, and sets `y` to its values there; both arrays
    /// then have as many elements. A zero fit sets `y` to 0 and keeps every position, whatever the
    /// sizes. Other fits throw expt_cProgramException ("poly_fit", 44) when the sizes differ.
    void LoadValues(arr_cC_Array<double>& x, arr_cC_Array<double>& y) const override;

protected:
    /// As the base does, an element that lies at 0 being exactly there.
    void Gather(const darr_c1DArray& data, arr_cC_Array<double>& x,
                arr_cC_Array<double>& y) const override;
    /// Fits the polynomial to the logarithms. Throws what the polynomial's fit throws: ("poly_fit",
    /// 72) when the sizes differ, ("poly_fit", 105) when every x that takes part is 1.
    void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y) override;
    /// The same with the standard deviations of y.
    void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y,
                     const arr_cC_Array<double>& deviations) override;

private:
    DATAPROCESSING_NO_EXPORT void FitLogarithms(const arr_cC_Array<double>& x,
                                                const arr_cC_Array<double>& y,
                                                const arr_cC_Array<double>* deviations);
};

/// A background for many peaks: each has its own power law, fitted just below the peak, which is
/// subtracted over the peak's integration window.
///
///     pwft_cMultiPowerLawFitFunc background(1, selection);
///     // Fitted over [6.38, 6.78), summed over [6.78, 7.08).
///     background.AddPeak(6.93, 0.15, 0.4, -0.15, 0.3);
///     background.Refit(spectrum);
///     background.PeakIntensity(6.93); // counts times units
///     background.PeakIntensityError(6.93);
class DATAPROCESSING_EXPORT pwft_cMultiPowerLawFitFunc : public ftfn_c1DFittingFunction {
public:
    /// No peak; each will have a power law of this order, which AddPeak checks. The selection takes
    /// no part in the fits.
    pwft_cMultiPowerLawFitFunc(int order, dasl_c1DDataArraySelection& selection);
    /// A copy with peaks of its own, of the same coefficients, which hears nothing.
    pwft_cMultiPowerLawFitFunc(const pwft_cMultiPowerLawFitFunc& other);
    ~pwft_cMultiPowerLawFitFunc() override;

    /// The order of the power laws.
    int Order() const noexcept { return order_; }
    /// The number of peaks.
    int PeakCount() const noexcept { return static_cast<int>(peaks_.size()); }
    /// The coefficients of a peak's power law, by its place in the order of positions. Throws the
    /// index error outside [0, PeakCount()).
    const arr_cC_Array<double>& Coefficients(int peak) const;
    /// A peak's power law, with its rank and errors, likewise; until the next change or fit of the
    /// peaks. Throws as Coefficients.
    const pwft_cPowerLawFittingFunction& PowerLaw(int peak) const;

    /// The data of the last Refit over the positions of `values` on `cal`, resampled to its delta
    /// when that differs and 0 outside the data, less each peak's power law over the part of its
    /// integration window (by rnge_IndexNearest) inside. Before the first Refit all zeros. Throws
    /// what resc_Rescale throws; `values` is unchanged then.
    void Load(arr_cC_Array<double>& values, const cal_c1DArrayCal& cal) const override;
    /// Fits every peak's power law to `data` and keeps a copy of it, in double precision. When one
    /// of the fits throws, all stay as they were.
    void Refit(const darr_c1DArray& data) override;
    /// The same with the standard deviation of each element, which plft_c1DPolyFittingFunction
    /// takes and refuses likewise. PeakIntensityError rests on them then, and no longer on counts.
    void Refit(const darr_c1DArray& data, const darr_c1DArray& deviations);
    /// Always 0.
    double ChiSquared() const override { return 0.0; }

    /// Adds a peak, after those of lower or equal position. Its power law is fitted over [position
    /// - gap - width, position - gap); its integration window is [position + windowOffset, position
    /// + windowOffset + windowWidth). Throws expt_cProgramException ("poly_fit", 22) for a function
    /// of negative order; nothing has changed then.
    virtual void AddPeak(double position, double gap, double width, double windowOffset,
                         double windowWidth);
    /// Removes every peak.
    virtual void ClearPeaks();
    /// The sum over the integration window of what Load gives there, times delta (so that it is
    /// negative on an axis that runs downward), for the first peak whose position is within
    /// type_MinValue of `position`; 0 when there is none. Throws the
    /// index error when an end of the window is not a number, the size error when it has more
    /// elements than an array can have, and what Load throws.
    virtual double PeakIntensity(double position) const;

    /// The standard error of PeakIntensity: the root of what is counted in the window, or of the
    /// squares of the deviations that Refit was given, and of the variance of the background there,
    /// which is extrapolated with the covariance of its coefficients; of each background, where
    /// windows overlap, as if they were independent. 0 where there is no such peak, and before the
    /// first fit; NaN when the background has no degrees of freedom. The window has to lie apart
    /// from the range that the background is fitted over: where they share elements the error comes
    /// out too large. The bias of logarithms of few counts is left out: half an error at 20 counts
    /// per channel, a tenth at 400 (see the guide). Memory does not grow with the window. Throws as
    /// PeakIntensity.
    double PeakIntensityError(double position) const;

private:
    friend dataprocessing::detail::rcrd_cFits;

    struct DATAPROCESSING_NO_EXPORT sPeak {
        sPeak(double center, const rnge_c1DRange& below, const rnge_c1DRange& over, int order);
        sPeak(const sPeak& other);
        sPeak& operator=(const sPeak&) = delete;

        double position;
        rnge_c1DRange background;
        rnge_c1DRange window;
        dasl_c1DDataArraySelection selection{rnge_IndexNearest};
        pwft_cPowerLawFittingFunction powerLaw;
    };

    DATAPROCESSING_NO_EXPORT void Refit(const darr_c1DArray& data, const darr_c1DArray* deviations);
    DATAPROCESSING_NO_EXPORT const sPeak* PeakAt(double position) const noexcept;

    int order_;
    darr_c1DArray data_;
    darr_c1DArray deviations_; // of the data; none for those of counts
    std::list<sPeak> peaks_;   // power laws refer to the selections beside them
};
