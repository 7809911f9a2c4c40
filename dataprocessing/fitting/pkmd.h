#pragma once

/// @file
/// Models of peaks over a background, fitted together to what was counted.
///
/// @code
/// pkmd_cModel model;
/// const int alpha = model.AddPeak(pkmd_Gaussian, 6.40, 900, 0.06); // position, height, width
/// const int beta = model.AddPeak(pkmd_Gaussian, 7.06, 150, 0.06);
/// model.Tie(model.Width(beta), model.Width(alpha), 1);
/// model.AddPolynomial({20, 0});
/// std::cout << pkmd_Fit(model, spectrum);
/// @endcode

#include <array>
#include <iosfwd>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "dataprocessing/algebra/nlsq.h"
#include "dataprocessing/base/arr.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/reduce/peak.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/darr.h"

namespace dataprocessing::detail {
struct rcrd_cFits;
} // namespace dataprocessing::detail

/// The shapes of peaks; z = (x - position) / width.
enum pkmd_eShape : int {
    /// height exp(-z^2 / 2). The width is the standard deviation; the area is height x width x
    /// sqrt(2 pi).
    pkmd_Gaussian,
    /// height / (1 + z^2). The width is half the width at half maximum; the area is height x width
    /// x
    /// pi.
    pkmd_Lorentzian,
    /// height ((1 - m) 2^(-z^2) + m / (1 + z^2)). The width is half the width at half maximum; the
    /// extra parameter m is the Lorentzian part, from 0 to 1.
    pkmd_PseudoVoigt,
    /// A Gaussian, whose standard deviation is the width, convolved with a Lorentzian, half of
    /// whose
    /// width at half maximum is the extra parameter (0 or more); height is that of the result.
    pkmd_Voigt,
    /// A Gaussian of this position, height and width convolved with an exponential of area 1 that
    /// falls off towards larger x over a distance of the extra parameter, towards smaller x where
    /// that is negative. Its area is that of the Gaussian. The extra parameter is not 0; below a
    /// thousandth of the width its derivatives have only few digits.
    pkmd_TailedGaussian
};

/// What a part of a model is evaluated for.
enum pkmd_eParts {
    pkmd_Everything,    ///< Peaks and background.
    pkmd_BackgroundOnly ///< The background alone.
};

/// A sum of peaks and backgrounds, what their parameters start from, and what a fit may do with
/// them.
///
/// Parameters are numbered from 0 in the order in which they were added: of each peak position,
/// height, width and, where the shape has one, the extra parameter; of each background and of the
/// width law those that are said there. All are free at first. Positions are in the units of the
/// spectrum's calibration, heights in those of its values.
class DATAPROCESSING_EXPORT pkmd_cModel {
public:
    /// No peaks and no background.
    pkmd_cModel();
    ~pkmd_cModel();
    pkmd_cModel(const pkmd_cModel&);            ///< A copy.
    pkmd_cModel& operator=(const pkmd_cModel&); ///< A copy.

    /// Adds a peak and returns its number, from 0. Throws expt_cProgramException ("pkmd", 1) for a
    /// start that is not finite, a width that is not positive, an extra one that the shape does not
    /// allow; std::bad_alloc.
    int AddPeak(pkmd_eShape shape, double position, double height, double width, double extra = 0);
    /// How many peaks there are.
    int PeakCount() const noexcept { return static_cast<int>(peaks_.size()); }

    /// The number of the parameter that is the position of peak number `peak`. Throws
    /// expt_cProgramException ("pkmd", 2) where there is no such peak.
    int Position(int peak) const;
    /// That of the height. Throws as Position().
    int Height(int peak) const;
    /// That of the width. Throws as Position().
    int Width(int peak) const;
    /// That of the extra parameter. Throws as Position(), also for a shape without one.
    int Extra(int peak) const;

    /// Adds a background sum over j of c[j] ((x - reference) / scale)^j; returns the number of its
    /// first parameter. A reference in the middle of the range, and half of its length as the
    /// scale, keep the coefficients apart. Throws expt_cProgramException ("pkmd", 1) for numbers
    /// that are not finite, no start, a scale of 0; std::bad_alloc.
    int AddPolynomial(const std::vector<double>& start, double reference = 0, double scale = 1);
    /// Adds a background amplitude (x / reference)^exponent; returns the number of its first
    /// parameter, that of the amplitude. Positions have to be positive. Throws as AddPolynomial();
    /// for a reference that is not positive, too.
    int AddPowerLaw(double amplitude, double exponent, double reference);
    /// Adds a background amplitude exp(rate (x - reference)); returns the number of its first
    /// parameter, that of the amplitude. Throws as AddPolynomial().
    int AddExponential(double amplitude, double rate, double reference = 0);
    /// Adds `factor` times a curve that is given channel by channel; returns the number of its
    /// parameter, the factor. The spectrum has to have as many channels. Throws as AddPolynomial();
    /// for a complex array, too.
    int AddCurve(const darr_c1DArray& curve, double factor);

    /// Makes the widths of all peaks that there are now follow a law, width(x)^2 = w^2 + s (x -
    /// reference), and returns the number of the first of its two parameters, w (the second is s).
    /// The reference is best taken among the peaks: far from them w^2 may have to be negative.
    /// It can be called once. Throws as AddPolynomial(), also for a second law and for a w that is
    /// not positive; ("pkmd", 3) where something else than a width is tied to one of the widths.
    int SetWidthLaw(double width, double slope, double reference);

    /// How many parameters there are.
    int ParameterCount() const noexcept { return static_cast<int>(starts_.size()); }
    /// What a fit starts from.
    std::span<const double> Starts() const noexcept { return starts_; }
    /// What a fit may do with each.
    std::span<const nlsq_sParameter> Kinds() const noexcept { return kinds_; }
    /// A parameter in words: "position of peak 2", "coefficient 0 of polynomial 1" where there are
    /// more of a kind. Throws expt_cProgramException ("pkmd", 2) where
    /// there is no such parameter.
    std::string Name(int parameter) const;
    /// Sets what a fit starts from. Throws expt_cProgramException: ("pkmd", 2) where there is no
    /// such parameter, ("pkmd", 1) for a number that is not finite.
    void SetStart(int parameter, double start);
    /// Sets all starts, such as to the parameters of an earlier fit. Throws as SetStart().
    void SetStarts(std::span<const double> starts);
    /// Makes a parameter free, as it is at first. Throws expt_cProgramException: ("pkmd", 2) where
    /// there is no such parameter, ("pkmd", 3) for a width that follows a law.
    void Free(int parameter);
    /// Keeps a parameter at its start. Throws as Free().
    void Fix(int parameter);
    /// Keeps a parameter in [lower, upper]. Throws as Free(). Without bounds, too, a width stays at
    /// a fifth of a channel or more, or at its start where that is less: narrower peaks lie on a
    /// channel or between two. A lower bound above 0 takes the place of that. Extra parameters that
    /// move stay within what their shapes allow: a Lorentzian width at 0 or more, a mixing in [0,
    /// 1], a tail on the side of its start and at least a hundredth of the width that the peak
    /// starts from. The Gaussian in a Voigt keeps a thousandth of both widths that the peak starts
    /// from, sqrt(w^2 + extra^2), the width of a law that of its start. What a width is tied to
    /// keeps within this for it. pkmd_Fit and Curve throw expt_cProgramException ("pkmd", 3) for
    /// bounds that leave nothing of this.
    void Bound(int parameter, double lower, double upper);
    /// Makes a parameter `factor` times another one plus `offset`: a ratio of heights, a splitting,
    /// a common width. Throws as Free(), and so for `to`.
    void Tie(int parameter, int to, double factor, double offset = 0);

    /// Sets y[i] to the model at x[i] for the parameters `p`; widths that follow a law are computed
    /// from it, NaN where it has none. Nothing is cut off. A curve given channel by channel is left
    /// out. Throws expt_cProgramException ("pkmd", 4) for sizes that differ, ("pkmd", 2) for
    /// another number of parameters; std::bad_alloc.
    void Values(std::span<const double> p, std::span<const double> x, std::span<double> y,
                pkmd_eParts parts = pkmd_Everything) const;

    /// The model where a fit of it starts, ties and bounds held, as an array of doubles: `count`
    /// elements on `cal`, curves given channel by channel with them; NaN where a law has no width.
    /// After SetStarts(result.fit.parameters) that is what was fitted. Throws the size error for a
    /// negative count, what nlsq_Fit refuses in ties and bounds, expt_cProgramException ("pkmd",
    /// 10) for a curve with another number of channels; std::bad_alloc.
    ///
    ///     const darr_c1DArray net =
    ///         spectrum - model.Curve(spectrum.Cal(), spectrum.Size(), pkmd_BackgroundOnly);
    darr_c1DArray Curve(const cal_c1DArrayCal& cal, int count,
                        pkmd_eParts parts = pkmd_Everything) const;

    /// @cond
    struct sPeak {
        pkmd_eShape shape;
        int first;
        bool hasLaw;
    };
    enum eBackground { Polynomial, PowerLaw, Exponential, GivenCurve };
    struct sBackground {
        eBackground kind;
        int first;
        int count;
        double reference;
        double scale;
        std::vector<double> curve;
    };
    struct sWidthLaw {
        int first = -1;
        double reference = 0;
    };
    const std::vector<sPeak>& Peaks() const noexcept { return peaks_; }
    const std::vector<sBackground>& Backgrounds() const noexcept { return backgrounds_; }
    const sWidthLaw& WidthLaw() const noexcept { return law_; }
    /// @endcond

private:
    friend dataprocessing::detail::rcrd_cFits;

    DATAPROCESSING_NO_EXPORT int Add(std::span<const double> starts);
    DATAPROCESSING_NO_EXPORT int Add(sBackground background, std::span<const double> starts);
    DATAPROCESSING_NO_EXPORT const sPeak& PeakAt(int peak) const;
    DATAPROCESSING_NO_EXPORT const sPeak* PeakOfWidth(int parameter) const;
    DATAPROCESSING_NO_EXPORT nlsq_sParameter& KindAt(int parameter);

    std::vector<sPeak> peaks_;
    std::vector<sBackground> backgrounds_;
    sWidthLaw law_;
    std::vector<double> starts_;
    std::vector<nlsq_sParameter> kinds_;
};

/// The model of peaks that peak_Find has found in a spectrum, all of one shape, over a straight
/// line about the middle of the spectrum. Positions are bounded to the width that was found on
/// either side of their starts, widths to three times theirs, so that peaks stay what was found
/// where the line is no good background; everything else is free.
///
/// Positions, heights (the prominences) and widths start from what was found, extra parameters from
/// as much of a Lorentzian as of a Gaussian, or a tail as long as the width towards larger x. The
/// line starts level, from the mean of the channels beyond one and a half widths of all peaks, or
/// from the least channel. Throws expt_cProgramException: ("pkmd", 1) for a peak whose position,
/// prominence or width is not finite, as beside infinite channels; ("pkmd", 5) when no channel is
/// finite; std::bad_alloc.
///
///     const double high = 8 * std::sqrt(20); // on a level of 20 counts
///     const auto lines = peak_Find(spectrum, {.prominence = high, .significance = 5});
///     std::cout << pkmd_Fit(pkmd_ModelOf(spectrum, lines), spectrum);
DATAPROCESSING_EXPORT pkmd_cModel pkmd_ModelOf(const darr_c1DArray& spectrum,
                                               std::span<const peak_sPeak> found,
                                               pkmd_eShape shape = pkmd_Gaussian);

/// How a model is fitted.
struct pkmd_sOptions {
    /// What is made smallest. The likelihood is right for what was counted; least squares for what
    /// was not. The likelihood needs a start that is positive at every channel: where a peak starts
    /// below its background, begin with a higher background.
    nlsq_eObjective objective = nlsq_PoissonLikelihood;
    /// The weights of the channels for least squares, 1 / variance; empty for 1 / max(y, 1), those
    /// of counts, which pull an area down by about as much as chi-squared is large (see the guide).
    /// A channel of weight 0 takes no part. What is no counts, and has none, needs errors from the
    /// scatter.
    std::vector<double> weights = {};
    /// What the standard errors rest on; by default, and as nlsq_ErrorsByDefault, the variances as
    /// they are given, also those of weights.
    nlsq_eErrors errors = nlsq_ErrorsAsGiven;
    /// A Gaussian peak ends this many widths from its position, or r widths where it is high beside
    /// the noise: r^2 = windows^2 + 2 ln(height / (250 noise)), so that what is cut off stays as
    /// small. The noise is the deviation of a channel at the ends, from the mean of 8 of them. A
    /// peak with a tail ends max(3 r, r^2 / 2) tails further on that side. All is rounded up to the
    /// next 8 channels. Other shapes have no end.
    double windows = 5;
    /// Only channels from here, which counts as the position of a channel that it is within
    /// cal_cArrayCal::Tolerance,
    double from = -std::numeric_limits<double>::infinity();
    /// to here take part, those at both ends included.
    double to = std::numeric_limits<double>::infinity();
    /// When it ends: less than 1e-6 standard errors from the optimum where chi-squared is about the
    /// number of channels.
    nlsq_sControl control = {.remainderTolerance = 5e-17};
};

/// One peak of a result. Errors are standard errors.
struct pkmd_sPeak {
    pkmd_eShape shape;    ///< Its shape.
    double position;      ///< Where it is.
    double positionError; ///< The error of that.
    double height;        ///< How high it is.
    double heightError;   ///< The error of that.
    double width;         ///< How wide it is.
    double widthError;    ///< The error of that.
    double extra;         ///< The extra parameter; 0 for a shape without one.
    double extraError;    ///< The error of that.
    double area;          ///< The integral over x, in units of x times those of the values.
    double areaError;     ///< The error of that, with what the parameters have in common.
};

/// What came out of a fit of peaks.
struct pkmd_sResult {
    nlsq_sResult fit;               ///< By the model's parameter numbers.
    std::vector<pkmd_sPeak> peaks;  ///< By the model's peak numbers.
    std::vector<std::string> names; ///< Of the parameters.
    int channels = 0;               ///< How many took part.
};

/// What a report calls the units of positions and of values, "keV" and "counts"; nothing where they
/// are empty.
struct pkmd_sUnits {
    std::string position = {}; ///< Of positions and widths.
    std::string value = {};    ///< Of heights; areas are in those times units of positions.
};

/// The report that is printed of a result, with a line of units below the heads of the table of
/// peaks. Numbers have six digits, or as many as reach to the second one of their error. Throws
/// std::bad_alloc.
///
///     std::cout << pkmd_Report(pkmd_Fit(model, spectrum), {"keV", "counts"});
DATAPROCESSING_EXPORT std::string pkmd_Report(const pkmd_sResult& result,
                                              const pkmd_sUnits& units = {});

/// Prints a report: how the fit ended, the peaks with their areas, all parameters, and the
/// correlations above 0.9.
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& out, const pkmd_sResult& result);

/// Fits `model` to a spectrum of any element type; of complex values the real part is taken.
///
/// Channels that are not finite take no part. Parameters where a width is not positive, a law has
/// no width, a tail is 0 or, for the likelihood, the model is not positive at a channel have no
/// value: the fit keeps away from them. Windows are laid a fiftieth wider than they have to be, and
/// again, a tenth wider, before a step that would leave them; so chi-squared is that of the
/// parameters that come out, wherever a fit ends. New windows take an evaluation more where the fit
/// stands, and another where it goes.
///
/// The steps are those of nlsq_Fit, with normal equations in place of orthogonal transformations:
/// of directions in which the errors of the parameters, in units of those that they would have
/// alone, exceed 1e7, the data are said to tell nothing. Polynomials whose reference lies further
/// from the channels than five times their range, and whose coefficients are free up to higher ones
/// that stay, are fitted about their middle, which tells them apart as far as they can be told at
/// all: with the reference r half ranges away, the terms of a polynomial of order n are (1 + r)^n
/// times as large as it is itself, and so is their rounding. Beyond 1e10 there are no coefficients
/// that hold it. The bits of a result are the same at every instruction-set level, and whatever
/// else is fitted before or beside it.
///
/// Throws expt_cProgramException: ("pkmd", 5) when no channel takes part; 6 for weights of another
/// number than the channels, with the likelihood, negative or not finite; 7 for a negative count
/// and the likelihood; 8 for windows that are not positive; 9 for a power law and positions that
/// are not; 10 for a curve with another number of channels; 3 for bounds that leave nothing of what
/// a shape allows; 12 for a polynomial that is counted from so far away; what nlsq_Fit refuses in
/// parameters and control; std::bad_alloc.
DATAPROCESSING_EXPORT pkmd_sResult pkmd_Fit(const pkmd_cModel& model, const darr_c1DArray& spectrum,
                                            const pkmd_sOptions& options = {});

/// Where a parameter lies, with a probability of 68.3 %.
struct pkmd_sInterval {
    double lower; ///< From here
    double upper; ///< to here.
};

/// The interval of one parameter in which chi-squared, or the deviance, rises by no more than 1
/// over that of `found`, all other parameters being fitted anew: what the standard error says where
/// the likelihood is a parabola, and still says where it is none, as of few counts.
///
/// `found` is what pkmd_Fit gave for the same model, spectrum and options. Ends are within 1e-4 of
/// half of the interval; an end that is not reached is the bound of the parameter, one that its
/// shape puts included, or infinite; NaN where one of the fits is asked to stop, and where none
/// converges. Takes about ten
/// fits, up to twenty where an end is at a bound.
///
/// Throws expt_cProgramException: ("pkmd", 11) for a parameter that is fixed or tied, and after a
/// fit that did not converge; ("pkmd", 2) where there is no such parameter, ("pkmd", 3) for a width
/// that follows a law; what pkmd_Fit throws.
///
///     const auto [lower, upper] = pkmd_Interval(model, spectrum, found, model.Width(0));
DATAPROCESSING_EXPORT pkmd_sInterval pkmd_Interval(const pkmd_cModel& model,
                                                   const darr_c1DArray& spectrum,
                                                   const pkmd_sResult& found, int parameter,
                                                   const pkmd_sOptions& options = {});
