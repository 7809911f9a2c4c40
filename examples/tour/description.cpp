#include "description.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace tour {

namespace {

constexpr double strong = 20;  // errors of a line whose width is fitted by itself
constexpr double apart = 1.5;  // widths between lines of which one tells the width of the other
constexpr double reach = 0.6;  // widths from where a line stood before
constexpr double around = 1.2; // widths to either side, where the misfit of a line is looked at
constexpr double infinity = std::numeric_limits<double>::infinity();

std::size_t at(int index) { return static_cast<std::size_t>(index); }

} // namespace

bool isClear(const Line& line) { return line.significance > strong; }

bool isAtItsBound(const Line& line) {
    return !line.isGiven && line.height > 0 && !(line.positionError > 0);
}

Description::Description(const darr_c1DArray& spectrum, const Noise& ofSpectrum)
    : values(spectrum), cal(spectrum.Cal()), delta(cal.Delta()), noise(ofSpectrum) {}

void Description::StartBackground() {
    const double width = std::max(law.At(cal.Position(0)), law.At(cal.Position(values.Size() - 1)));
    const darr_c1DArray smooth = smth_Gauss(values, width / 3);
    const int half = static_cast<int>(std::ceil(1.5 * width / delta)) + 1;
    const bgnd_sOptions options{.scale = noise.isOfCounts ? bgnd_Counts : bgnd_Values};
    background = smth_Gauss(bgnd_Snip(smooth, half, options), width / 2);
    model = background;
}

/// Where lines that are higher than the background leave no channel to it: as far as one adds a
/// twentieth.
std::vector<rnge_c1DRange> Description::UnderLines() const {
    std::vector<rnge_c1DRange> under;
    for (const Line& line : lines) {
        const double level = LevelAt(line.position);
        if (line.height < level)
            continue;
        const double distance = law.At(line.position) *
                                std::sqrt(std::log(20 * line.height / level) / (4 * std::log(2)));
        under.emplace_back(line.position - distance, line.position + distance);
    }
    return under;
}

double Description::LevelAt(double position) const {
    const double last = cal.Position(values.Size() - 1);
    const double inside = std::clamp(position, cal.Position(0), last);
    return std::max(background.Value(inside, darr_LinearInterpolation).As<double>(),
                    leastBackground);
}

void Description::LayContinuum() {
    continuum_ = continuumOver(cal, values.Size(), law, structures, UnderLines());
    splines = static_cast<int>(continuum_.curves.size());
    factors_.clear();
    for (const double middle : continuum_.middles) {
        const int index = std::clamp(static_cast<int>(IndexOf(middle)), 0, values.Size() - 1);
        const double value = background.Number(index).As<double>();
        factors_.push_back(noise.isOfCounts ? std::max(value, 2 * leastBackground) : value);
    }
}

bool Description::IsStrong(const Line& line) const {
    if (!(line.areaError > 0) || line.area < strong * line.areaError)
        return false;
    return std::all_of(lines.begin(), lines.end(), [&](const Line& other) {
        return &other == &line || other.area < 0.02 * line.area ||
               std::abs(other.position - line.position) > apart * law.At(line.position);
    });
}

bool Description::TellSlope() const {
    std::vector<Width> clear;
    for (const Line& line : lines)
        if (isClear(line))
            clear.push_back({line.position, law.At(line.position), 0});
    return canTellSlope(clear);
}

/// The lines, then the curves of the continuum.
pkmd_cModel Description::ModelFor(Widths widths) {
    pkmd_cModel parts;
    for (const Line& line : lines)
        parts.AddPeak(pkmd_Gaussian, line.position,
                      line.isGiven ? line.height : std::max(line.height, 1e-3),
                      (line.width > 0 ? line.width : law.At(line.position)) / fullWidthPerSigma);
    if (widths == Widths::ofLaw && !lines.empty()) {
        const int first =
            parts.SetWidthLaw(std::sqrt(law.square) / fullWidthPerSigma,
                              law.slope / fullWidthPerSigma / fullWidthPerSigma, law.reference);
        if (!TellSlope())
            parts.Fix(first + 1);
        ofLaw = at(first);
    }
    for (int i = 0; i < parts.PeakCount(); ++i) {
        const Line& line = lines[at(i)];
        const double width = law.At(line.position);
        if (line.isGiven)
            parts.Fix(parts.Position(i));
        else {
            parts.Bound(parts.Position(i), line.position - reach * width,
                        line.position + reach * width);
            // Of what is known to be there, noise may leave less than nothing.
            parts.Bound(parts.Height(i), 0, infinity);
        }
        if (widths == Widths::strongFree && IsStrong(line))
            parts.Bound(parts.Width(i), 0.2 * width / fullWidthPerSigma,
                        5 * width / fullWidthPerSigma);
        else if (widths != Widths::ofLaw) {
            parts.SetStart(parts.Width(i), width / fullWidthPerSigma);
            parts.Fix(parts.Width(i));
        }
    }
    for (std::size_t k = 0; k < continuum_.curves.size(); ++k) {
        const int number = parts.ParameterCount();
        parts.AddCurve(continuum_.curves[k], factors_[k]);
        if (noise.isOfCounts)
            parts.Bound(number, leastBackground, infinity);
    }
    return parts;
}

bool Description::IsExhausted() const {
    constexpr double mostOperations = 4e9; // four times those of measured spectra
    return *operations_ > mostOperations / std::max(1.0, fit.fit.ReducedChiSquared());
}

void Description::FitFreely(Widths widths, double tolerance) {
    constexpr int mostMoves = 4;
    for (int i = 0; i < mostMoves; ++i) {
        Fit(widths, tolerance);
        if (std::none_of(lines.begin(), lines.end(), isAtItsBound))
            return;
    }
}

void Description::Fit(Widths widths, double tolerance) {
    pkmd_cModel parts = ModelFor(widths);
    pkmd_sOptions options;
    options.control.decreaseTolerance = tolerance;
    options.control.mostEvaluations = 300;
    if (!noise.isOfCounts) {
        options.objective = nlsq_LeastSquares;
        options.weights.assign(at(values.Size()), 1 / (noise.deviation * noise.deviation));
    }
    fit = pkmd_Fit(parts, values, options);
    const auto free = static_cast<double>(fit.fit.free);
    *operations_ += free * free * free;
    parts.SetStarts(fit.fit.parameters);
    model = parts.Curve(cal, values.Size());
    background = parts.Curve(cal, values.Size(), pkmd_BackgroundOnly);
    const std::span<const double> p = fit.fit.parameters;
    std::copy(p.end() - splines, p.end(), factors_.begin());
    TakeLines(widths);
    Judge();
}

void Description::TakeLines(Widths widths) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        Line& line = lines[i];
        const pkmd_sPeak& peak = fit.peaks[i];
        line.hasOwnWidth = widths == Widths::strongFree && IsStrong(line);
        line.position = peak.position;
        line.positionError = peak.positionError;
        line.width = fullWidthPerSigma * peak.width;
        line.widthError = fullWidthPerSigma * peak.widthError;
        line.height = peak.height;
        line.heightError = peak.heightError;
        line.area = peak.area / delta;
        line.areaError = peak.areaError / delta;
    }
}

/// How significant each line is, where the fit may not hold as counting alone would have it.
void Description::Judge() {
    const darr_c1DArray residuals = residualsOf(values, model, noise);
    const std::span<const double> r = residuals.Elements<double>();
    for (Line& line : lines) {
        const double middle = IndexOf(line.position);
        const double half = around * law.At(line.position) / delta;
        const int first =
            std::clamp(static_cast<int>(std::ceil(middle - half)), 0, values.Size() - 1);
        const int last = std::clamp(static_cast<int>(middle + half) + 1, first + 1, values.Size());
        double sum = 0;
        for (int i = first; i < last; ++i)
            sum += r[at(i)] * r[at(i)];
        line.misfit = sum / (last - first);
        const double byChance = 1 + 3 * std::sqrt(2.0 / (last - first));
        const double excess = std::max(1.0, line.misfit / byChance);
        line.significance =
            line.areaError > 0 ? line.area / (line.areaError * std::sqrt(excess)) : 0;
    }
}

} // namespace tour
