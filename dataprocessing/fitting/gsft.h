#pragma once

/// @file
/// Fits of Gaussian peaks to spectra.

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

/// A fit has failed for the data that it was given: a reference peak without amplitude, a
/// resolution law that has no value, no convergence.
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
    /// Sets the width, unchecked. From a resolution: `peak.SetWidth(resolution.FWHM(peak.Center())
    /// / (2 * std::sqrt(std::log(2.0))))`.
    void SetWidth(double width) noexcept { width_ = width; }

    /// True when the peak is coupled.
    type_cBoolean HasReference() const noexcept { return !reference_.IsEmpty(); }
    /// The reference peak, or the empty handle.
    hndl_cHandle<gsft_cGaussian> hRefGaussian() const noexcept { return reference_; }
    /// Couples the peak to another, which must outlive the coupling; the empty handle uncouples it.
    void SetRefGaussian(hndl_cHandle<gsft_cGaussian> reference) noexcept { reference_ = reference; }

    /// The value at `x`; exactly 0 from four widths off the center on.
    double Value(double x) const;
    /// amplitude x sqrt(pi width / 2). Note that this is not the integral, amplitude x width x
    /// sqrt(pi).
    double Intensity() const;
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

/// The resolution of a detector: the full width at half maximum grows with the square root of the
/// position.
class DATAPROCESSING_EXPORT gsft_cResolution {
public:
    /// The law with the width `fwhm` at `position`.
    constexpr gsft_cResolution(double position, double fwhm) noexcept
        : position_(position), fwhm_(fwhm) {}

    /// The position that the law refers to.
    constexpr double ReferencePosition() const noexcept { return position_; }
    /// The full width at half maximum there.
    constexpr double ReferenceFWHM() const noexcept { return fwhm_; }
    /// Sets the full width at half maximum there.
    constexpr void SetReferenceFWHM(double fwhm) noexcept { fwhm_ = fwhm; }

    /// True when the law has a width at `x`.
    type_cBoolean HasValue(double x) const noexcept;
    /// The full width at half maximum at `x`: sqrt((x - position) 2.3 + fwhm^2). Throws
    /// gsft_cFitException unless the radicand is greater than 0.
    double FWHM(double x) const;

private:
    constexpr double Square(double x) const noexcept {
        return (x - position_) * 2.3 + fwhm_ * fwhm_;
    }

    double position_;
    double fwhm_;
};

/// A sum of Gaussian peaks, fitted by nonlinear least squares.
///
/// The peaks, the calibration and the resolution are the caller's: they are referred to, **must
/// outlive the function**, and receive the result of a fit. The fit adjusts the amplitudes of the
/// uncoupled peaks; where enabled, the calibration's offset and delta, and the resolution's width.
/// Centers and the ratios of coupled peaks are never fitted, and widths follow the resolution. The
/// peaks' own widths, which LoadValues uses, are left to the caller (gsft_cGaussian::SetWidth).
///
/// Points weigh like counts: the variance of y is |y|, or for y = 0 the mean of the nearest points
/// around that are not, or 1 when all are. The Levenberg-Marquardt steps end when one has changed
/// chi-squared by no more than 1e-4 of it.
class DATAPROCESSING_EXPORT gsft_c1DGaussianFittingFunction : public ftfn_c1DFittingFunction {
public:
    /// The sum of `peaks` over `selection`. `fitCalibration` and `fitResolution` are read at each
    /// fit.
    gsft_c1DGaussianFittingFunction(dasl_c1DDataArraySelection& selection,
                                    list_cPtrList<gsft_cGaussian>& peaks,
                                    cal_c1DArrayCal& calibration, type_cBoolean& fitCalibration,
                                    gsft_cResolution& resolution, type_cBoolean& fitResolution);
    /// A copy that refers to the same peaks, calibration and resolution, and hears nothing.
    gsft_c1DGaussianFittingFunction(const gsft_c1DGaussianFittingFunction& other) = default;
    ~gsft_c1DGaussianFittingFunction() override;

    /// Sets `y[i]` to the sum of the peaks' values at `x[i]`. Throws expt_cProgramException
    /// ("gaussfit", 302) when the sizes differ, ("gaussfit", 304) when they are 0.
    void LoadValues(arr_cC_Array<double>& x, arr_cC_Array<double>& y) const override;
    /// Chi-squared of the last fit, divided by the number of points and by the mean of |y|; 0
    /// before the first. Of a fit to zeros alone it is not a number, or infinite.
    double ChiSquared() const override { return chiSquared_; }

protected:
    /// Fits. Throws expt_cProgramException: ("gaussfit", 334) when the sizes differ, ("gaussfit",
    /// 336) when they are 0, ("gaussfit", 1) when a reference is not in the list, ("gaussfit", 2)
    /// when it is coupled itself; gsft_cFitException when a reference has no amplitude, the
    /// resolution law no value, or 999 steps have not brought convergence; rcps_cRecipesException
    /// when the data cannot tell the parameters apart; std::bad_alloc. Nothing has changed then.
    void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y) override;

private:
    std::vector<double> Parameters() const;
    std::vector<int> FitSettings() const;
    void CopyParameters(std::span<const double> parameters);

    list_cPtrList<gsft_cGaussian>& peaks_;
    cal_c1DArrayCal& calibration_;
    type_cBoolean& fitCalibration_;
    gsft_cResolution& resolution_;
    type_cBoolean& fitResolution_;
    double chiSquared_ = 0;
};
