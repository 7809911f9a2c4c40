#pragma once

/// @file
/// Fits of Gaussian peaks to spectra.

#include <memory>
#include <span>
#include <vector>

#include "dataprocessing/algebra/rcps_exception.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/base/hndl.h"
#include "dataprocessing/base/list.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/fitting/ftfn.h"
#include "dataprocessing/valuemodel/cal.h"

/// A fit has failed for the data that it was given: points that are not numbers, a reference peak
/// without amplitude, a resolution law that has no value, no convergence, a calibration that ran
/// backwards.
class DATAPROCESSING_EXPORT gsft_cFitException : public expt_cUserException {
public:
    /// ("gaussfit", 0, message)
    explicit gsft_cFitException(const str_cString& message);
    ~gsft_cFitException() override;
    gsft_cFitException(const gsft_cFitException&) noexcept = default;
    gsft_cFitException& operator=(const gsft_cFitException&) noexcept = default;
};

/// One peak: amplitude x exp(-((x - center) / width)^2). Its full width at half maximum is 2
/// sqrt(ln 2) width. It may be coupled to a reference peak: in a fit its amplitude then keeps the
/// ratio to that of the reference.
class DATAPROCESSING_EXPORT gsft_cGaussian {
public:
    /// An uncoupled peak. Throws expt_cProgramException ("gaussfit", 132) for a width below the
    /// smallest normal double.
    gsft_cGaussian(double amplitude, double center, double width);
    gsft_cGaussian(const gsft_cGaussian&) = default; ///< A copy, with the same reference.
    gsft_cGaussian&
    operator=(const gsft_cGaussian&) = default; ///< A copy, with the same reference.
    virtual ~gsft_cGaussian();

    /// The height.
    double Amplitude() const noexcept { return amplitude_; }
    /// The position, in calibrated units.
    double Center() const noexcept { return center_; }
    /// The width, in calibrated units.
    double Width() const noexcept { return width_; }
    /// Sets the height.
    void SetAmplitude(double amplitude) noexcept { amplitude_ = amplitude; }
    /// Sets the position.
    void SetCenter(double center) noexcept { center_ = center; }
    /// Sets the width, unchecked. Those of a fit's peaks are set by
    /// gsft_c1DGaussianFittingFunction::SetWidthsFromResolution.
    void SetWidth(double width) noexcept { width_ = width; }

    /// True when the peak is coupled.
    type_cBoolean HasReference() const noexcept { return !reference_.IsEmpty(); }
    /// The reference peak, or the empty handle.
    hndl_cHandle<gsft_cGaussian> hRefGaussian() const noexcept { return reference_; }
    /// Couples the peak to another, which must outlive the coupling; the empty handle uncouples it.
    void SetRefGaussian(hndl_cHandle<gsft_cGaussian> reference) noexcept { reference_ = reference; }

    /// The value at `x`; exactly 0 from four widths off the center on.
    double Value(double x) const;
    /// amplitude x sqrt(pi width / 2). Note that this is not the integral, which is Area().
    double Intensity() const;
    /// The integral, amplitude x width x sqrt(pi), in units of the position. Counts are the area
    /// over the units per channel.
    double Area() const;
    /// The amplitude over that of the reference. Throws expt_cProgramException ("gaussfit", 199)
    /// when there is none, gsft_cFitException when its amplitude is below the smallest normal
    /// double.
    double AmplitudeRatio() const;
    /// Sets the amplitude to `ratio` times that of the reference. Throws expt_cProgramException
    /// ("gaussfit", 214) when there is none.
    void SetAmplitudeFromRatio(double ratio);

private:
    double amplitude_;
    double center_;
    double width_;
    hndl_cHandle<gsft_cGaussian> reference_;
};

/// The resolution of a detector: the square of the full width at half maximum grows in proportion
/// to the position.
///
/// The factor of 2.3 is that of silicon, for positions **in eV**: 8 ln 2 times the energy per
/// electron-hole pair times the Fano factor. In other units it is another one, in keV 0.0023.
///
///     gsft_cResolution inElectronvolts(5900, 140), inKiloelectronvolts(5.9, 0.14, 0.0023);
class DATAPROCESSING_EXPORT gsft_cResolution {
public:
    /// How fast the square grows where nothing else is said: in eV, as silicon does.
    static constexpr double DefaultFactor = 2.3;

    /// The law with the width `fwhm` at `position`; its square grows by `factor` a unit.
    constexpr gsft_cResolution(double position, double fwhm, double factor = DefaultFactor) noexcept
        : position_(position), fwhm_(fwhm), factor_(factor) {}

    /// The position that the law refers to.
    constexpr double ReferencePosition() const noexcept { return position_; }
    /// The full width at half maximum there.
    constexpr double ReferenceFWHM() const noexcept { return fwhm_; }
    /// Sets the full width at half maximum there.
    constexpr void SetReferenceFWHM(double fwhm) noexcept { fwhm_ = fwhm; }
    /// By how much the square of the width grows for each unit of the position.
    constexpr double Factor() const noexcept { return factor_; }

    /// True when the law has a width at `x`.
    type_cBoolean HasValue(double x) const noexcept;
    /// The full width at half maximum at `x`: sqrt((x - position) factor + fwhm^2). Throws
    /// gsft_cFitException unless the radicand is greater than 0; the text says so when the
    /// positions look like keV.
    double FWHM(double x) const;

private:
    constexpr double Square(double x) const noexcept {
        return (x - position_) * factor_ + fwhm_ * fwhm_;
    }

    double position_;
    double fwhm_;
    double factor_;
};

/// How far a fit of peaks goes.
enum gsft_eStop {
    gsft_StopAtSmallChange, ///< to the first step that changes chi-squared by 1e-4 of it or less
    gsft_StopAtOptimum      ///< to a millionth of the standard errors of the optimum
};

/// Why a fit of peaks has ended.
enum gsft_eEnd {
    gsft_NotFitted,   ///< there was none
    gsft_SmallChange, ///< a step has changed chi-squared by no more than 1e-4 of it
    gsft_Optimum,     ///< the optimum is no further than some millionths of the standard errors
    /// No step lowers chi-squared: it is zero, or lost in rounding, or a point would leave the
    /// three widths of a peak, or join them.
    gsft_NoLowerStep
};

/// Where the parameters of a fit of peaks stand in its covariance. Of peak number k, from 0, the
/// amplitude, or the ratio to its reference, is number gsft_FirstPeak + 2 k, its center follows.
enum gsft_eParameter {
    gsft_Offset = 0,   ///< the position of channel 0
    gsft_Delta = 1,    ///< the units per channel
    gsft_FWHM = 2,     ///< the full width at half maximum of the resolution law
    gsft_FirstPeak = 3 ///< the amplitude of the first peak
};

/// A sum of Gaussian peaks, fitted by nonlinear least squares.
///
/// The peaks, the calibration and the resolution are the caller's: they are referred to, **must
/// outlive the use of the function**, and receive the result of a fit. The fit adjusts the
/// amplitudes of the uncoupled peaks; where enabled, the calibration's offset and delta, and the
/// resolution's width, which comes out positive. Centers and the ratios of coupled peaks are never
/// fitted, and widths follow the resolution: each trial step is evaluated with those of its own.
/// The peaks' own widths, which LoadValues uses, stay as they are until SetWidthsFromResolution.
///
/// Positions of the data become channels by the calibration that is fitted. So **the data have to
/// carry that calibration**, before the fit and again after it: `data.SetCal(calibration)`. Data
/// that keep another one are shifted by the difference, and a second fit of them moves the
/// calibration once more.
///
/// Points weigh like counts: the variance of y is |y|, or for y = 0 the mean of the nearest points
/// around that are not, or 1 when all are. The Levenberg-Marquardt steps of Refit(data) end when
/// one has changed chi-squared by no more than 1e-4 of it. Where the resolution is fitted that is a
/// third of a standard error from the optimum in the median, as the steps take its derivative 4 ln
/// 2 times too large and so go too short; Refit(data, gsft_StopAtOptimum) goes on with the true
/// one.
///
///     data.SetCal(calibration);
///     fit.Refit(data, gsft_StopAtOptimum);
///     data.SetCal(calibration);
///     fit.SetWidthsFromResolution();
///     std::cout << peak.Area() << " +- " << fit.AreaError(0);
class DATAPROCESSING_EXPORT gsft_c1DGaussianFittingFunction : public ftfn_c1DFittingFunction {
public:
    /// The sum of `peaks` over `selection`. `fitCalibration` and `fitResolution` are read at each
    /// fit.
    gsft_c1DGaussianFittingFunction(dasl_c1DDataArraySelection& selection,
                                    list_cPtrList<gsft_cGaussian>& peaks,
                                    cal_c1DArrayCal& calibration, type_cBoolean& fitCalibration,
                                    gsft_cResolution& resolution, type_cBoolean& fitResolution);
    /// The same, with what is fitted told once and for all.
    gsft_c1DGaussianFittingFunction(dasl_c1DDataArraySelection& selection,
                                    list_cPtrList<gsft_cGaussian>& peaks,
                                    cal_c1DArrayCal& calibration, bool fitCalibration,
                                    gsft_cResolution& resolution, bool fitResolution);
    /// A copy that refers to the same peaks, calibration and resolution, and hears nothing.
    gsft_c1DGaussianFittingFunction(const gsft_c1DGaussianFittingFunction& other) = default;
    ~gsft_c1DGaussianFittingFunction() override;

    /// Sets `y[i]` to the sum of the peaks' values at `x[i]`. Throws expt_cProgramException
    /// ("gaussfit", 302) when the sizes differ, ("gaussfit", 304) when they are 0.
    void LoadValues(arr_cC_Array<double>& x, arr_cC_Array<double>& y) const override;
    /// Fits to the elements of `data` that the selection takes, up to the first small change of
    /// chi-squared. Throws what dasl_c1DDataArraySelection::FillXY throws, and
    /// expt_cProgramException:
    /// ("gaussfit", 336) when the selection takes nothing, ("gaussfit", 1) when a reference is not
    /// in the list, ("gaussfit", 2) when it is coupled itself; gsft_cFitException when a point is
    /// not finite, a reference has no amplitude, the resolution law no value, 999 steps have not
    /// brought convergence, or the delta has changed its sign; rcps_cRecipesException when the data
    /// cannot tell the parameters apart; std::bad_alloc. Nothing has changed then.
    using ftfn_c1DFittingFunction::Refit;
    /// The same, and where `stop` says so, on to the optimum, with the true derivative by the width
    /// of the resolution.
    void Refit(const darr_c1DArray& data, gsft_eStop stop);

    /// Chi-squared of the last fit, divided by the number of points and by the mean of |y|; 0
    /// before the first. Of a fit to zeros alone it is not a number, or infinite.
    double ChiSquared() const override { return chiSquared_; }
    /// Chi-squared of the last fit itself: the sum of the squared, weighted residuals.
    double ResidualSum() const noexcept { return quality_.residualSum; }
    /// The number of points of the last fit less that of the parameters that it adjusted.
    int DegreesOfFreedom() const noexcept {
        return quality_.points - static_cast<int>(quality_.fitted.size());
    }
    /// How many steps the last fit took.
    int Steps() const noexcept { return quality_.steps; }
    /// Why it ended.
    gsft_eEnd End() const noexcept { return quality_.end; }
    /// How far from the optimum it has stopped, in standard errors, as the equations of its last
    /// step tell.
    double DistanceToOptimum() const noexcept { return quality_.distance; }

    /// The covariances of the last fit's parameters, whose order is that of gsft_eParameter; 0 with
    /// one that was not fitted. They follow from the weights and the true derivatives, which is the
    /// noise of counting; no elements before the first fit. Throws std::bad_alloc.
    arr_c2DNumberArray<double> Covariance() const;
    /// The standard errors of the parameters: the roots of the diagonal of Covariance(). Throws
    /// std::bad_alloc.
    arr_cC_Array<double> StandardErrors() const;
    /// The standard error of the amplitude of a peak, by its place in the list at the fit; that of
    /// a coupled peak is in proportion to that of its reference. Throws the index error for a peak
    /// that was not fitted.
    double AmplitudeError(int peak) const;
    /// The standard error of the area of a peak with the width of the resolution law, the error of
    /// which counts where it was fitted. Throws as AmplitudeError.
    double AreaError(int peak) const;
    /// The standard error of the counts of a peak, which are its area over the units per channel:
    /// where the calibration was fitted, both vary together, and the error of the ratio is not that
    /// of the area over the units. Throws as AmplitudeError.
    double CountsError(int peak) const;

    /// Gives every peak the width that the resolution law has at its center. Throws
    /// gsft_cFitException when it has none at one of them; no width has changed then.
    void SetWidthsFromResolution();

protected:
    /// Fits up to the first small change of chi-squared. Throws as Refit(data), and
    /// expt_cProgramException ("gaussfit", 334) when the sizes differ.
    void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y) override;

private:
    /// What is known of a fit beside its parameters.
    struct sQuality {
        int points = 0;
        int parameters = 0;
        std::vector<std::size_t> fitted; // the parameters that were
        std::vector<double> covariance;  // of those
        std::vector<double> amplitudeErrors;
        std::vector<double> areaErrors;
        std::vector<double> countsErrors;
        double residualSum = 0;
        double distance = 0;
        int steps = 0;
        gsft_eEnd end = gsft_NotFitted;
    };

    /// What is fitted, where that was told once: it is referred to, also by copies.
    struct sTold {
        type_cBoolean fitCalibration;
        type_cBoolean fitResolution;
    };
    DATAPROCESSING_NO_EXPORT
    gsft_c1DGaussianFittingFunction(dasl_c1DDataArraySelection& selection,
                                    list_cPtrList<gsft_cGaussian>& peaks,
                                    cal_c1DArrayCal& calibration, gsft_cResolution& resolution,
                                    std::shared_ptr<sTold> told);
    DATAPROCESSING_NO_EXPORT void Fit(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y,
                                      gsft_eStop stop);
    std::vector<double> Parameters() const;
    std::vector<int> FitSettings() const;
    void CopyParameters(std::span<const double> parameters);

    list_cPtrList<gsft_cGaussian>& peaks_;
    cal_c1DArrayCal& calibration_;
    type_cBoolean& fitCalibration_;
    gsft_cResolution& resolution_;
    type_cBoolean& fitResolution_;
    std::shared_ptr<sTold> told_;
    double chiSquared_ = 0;
    sQuality quality_;
};
