#include "analysis.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "continuum.h"
#include "significance.h"

namespace tour {

namespace {

constexpr int mostRounds = 10;
constexpr int roundsBeforeStructures = 3;
constexpr std::size_t mostLines = 300; // of any spectrum; more is no spectrum of lines
constexpr int mostLaws = 5;            // of the widths, one after the other
// What a line's shape may be other than a Gaussian of the law's width, as a part of the width.
constexpr double shapeError = 0.005;
constexpr double farNarrower = 4;   // in squares of widths, than a detector makes them
constexpr double clearlyAbove = 10; // deviations above a clipped background, which is no fitted one
constexpr double candidate = 4;     // deviations above the fit
constexpr double strong = 20;       // errors of a line whose width is fitted by itself
constexpr double apart = 1.5;    // widths between lines of which one tells the width of the other
constexpr double closest = 0.25; // widths between two lines that can be told apart at all
constexpr double reach = 0.6;    // widths from where a line stood before
constexpr double around = 1.2;   // widths to either side, where the misfit of a line is looked at
// What is told apart from the tails of a line that is so many times as strong, and so near.
constexpr double nearTails = 0.6;
constexpr double partInNearTails = 0.05;
constexpr double farTails = 2;
constexpr double partInFarTails = 0.01;
constexpr double roundTolerance = 1e-6;  // of chi-squared, while lines come and go
constexpr double leastBackground = 1e-3; // counts per channel; the likelihood wants more than none
constexpr double infinity = std::numeric_limits<double>::infinity();

std::size_t at(int index) { return static_cast<std::size_t>(index); }

/// Looks for the lines of one spectrum.
class Search {
public:
    Search(const darr_c1DArray& values, const Noise& noise, const AnalysisOptions& options)
        : options_(options), values_(values), cal_(values.Cal()), delta_(cal_.Delta()),
          noise_(noise) {
        const std::optional<Width> byMaxima = typicalWidth(values, noise_);
        hasMaxima_ = byMaxima.has_value();
        const Width start = options.resolution ? *options.resolution : byMaxima.value_or(Usual());
        law_ = {.square = start.value * start.value, .reference = start.position};
        // No line of a detector is narrower than its slope alone makes it.
        const double least = 1.1 * options.slope * std::max(start.position, 0.0);
        const bool isByFar = least > (options.resolution ? 1 : farNarrower) * law_.square;
        if (!isByFar || !(hasMaxima_ || options.resolution)) {
            law_.slope = options.slope;
            law_.square = std::max(law_.square, least);
        }
        for (const double position : options.lines)
            lines_.push_back({.position = position, .isGiven = true});
    }

    Analysis Run();

private:
    Width Usual() const {
        return {cal_.Position(values_.Size() / 2),
                std::clamp(values_.Size() / 200.0, 4.0, 12.0) * delta_, 0};
    }

    /// Which widths a fit may change.
    enum class Widths { fixed, strongFree, ofLaw };

    /// Lines that may be none, and whether there is more than one.
    struct Chain {
        rnge_c1DRange range;
        bool isOfMany;
    };

    void StartBackground();
    void Fit(Widths widths, double tolerance);
    void TakeLines(const pkmd_sResult& fit, Widths widths);
    void Judge();
    bool Prune();
    bool AddCandidates(double least, double widthsApart);
    std::vector<rnge_c1DRange> UnderLines() const;
    void LayContinuum();
    bool TakeStructures();
    double SteepnessAt(double x) const;
    std::vector<Chain> Chains() const;
    double Cost() const;
    double SlackOver(const rnge_c1DRange& range) const;
    bool Find(int rounds, bool takesStructures);
    bool UpdateLaw();
    void TakeWidths();
    void TakeFittedLaw();
    void JudgeLaw();
    bool IsOther(const WidthLaw& law, double part) const;
    bool TellSlope() const;
    bool LawHolds() const;
    void FitAtLast();
    void AddErrorsOfLaw();
    bool SplitWideLines();
    void MarkTails();
    bool IsStrong(const Line& line) const;
    bool IsKnown(double position) const;
    darr_c1DArray Curve(const pkmd_cModel& model, std::span<const double> p,
                        pkmd_eParts parts) const;
    Analysis Told();

    AnalysisOptions options_;
    darr_c1DArray values_;
    cal_c1DArrayCal cal_;
    double delta_;
    Noise noise_;
    WidthLaw law_;
    std::size_t ofLaw_ = 0; ///< where the parameters of the law are, of a fit that has one
    bool hasMaxima_ = false;
    bool hasLaw_ = false; ///< whether it holds for all lines
    Continuum continuum_;
    std::vector<double> factors_; // of the continuum's curves
    std::vector<Line> lines_;
    std::vector<double> rejected_;
    std::vector<double> split_;
    std::vector<rnge_c1DRange> structures_; ///< wider than lines, and a part of the background
    std::vector<rnge_c1DRange> triedChains_;
    std::vector<Width> widths_;
    darr_c1DArray model_;
    darr_c1DArray background_;
    pkmd_sResult fit_;
    bool isConverged_ = false;
    int rounds_ = 0;
};

/// A clipped background, in which nothing is as narrow as a line: where a first look finds lines,
/// and where the factors of the continuum start.
void Search::StartBackground() {
    const double width =
        std::max(law_.At(cal_.Position(0)), law_.At(cal_.Position(values_.Size() - 1)));
    const darr_c1DArray smooth = smth_Gauss(values_, width / 3);
    const int half = static_cast<int>(std::ceil(1.5 * width / delta_)) + 1;
    const bgnd_sOptions options{.scale = noise_.isOfCounts ? bgnd_Counts : bgnd_Values};
    background_ = smth_Gauss(bgnd_Snip(smooth, half, options), width / 2);
    model_ = background_;
}

darr_c1DArray Search::Curve(const pkmd_cModel& model, std::span<const double> p,
                            pkmd_eParts parts) const {
    std::vector<double> x(at(values_.Size()));
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = cal_.Position(static_cast<long long>(i));
    std::vector<double> y(x.size());
    model.Values(p, x, y, parts); // without the continuum, which is given channel by channel
    darr_c1DArray result(std::span<const double>(y), cal_);
    for (std::size_t k = 0; k < continuum_.curves.size(); ++k)
        result += continuum_.curves[k] * factors_[k];
    return result;
}

/// All lines and the background, together.
void Search::Fit(Widths widths, double tolerance) {
    pkmd_cModel model;
    for (const Line& line : lines_)
        model.AddPeak(pkmd_Gaussian, line.position,
                      line.isGiven ? line.height : std::max(line.height, 1e-3),
                      (line.width > 0 ? line.width : law_.At(line.position)) / fullWidthPerSigma);
    if (widths == Widths::ofLaw && !lines_.empty()) {
        const int first =
            model.SetWidthLaw(std::sqrt(law_.square) / fullWidthPerSigma,
                              law_.slope / fullWidthPerSigma / fullWidthPerSigma, law_.reference);
        if (!TellSlope())
            model.Fix(first + 1);
        ofLaw_ = at(first);
    }
    for (int i = 0; i < model.PeakCount(); ++i) {
        const Line& line = lines_[at(i)];
        const double width = law_.At(line.position);
        if (line.isGiven)
            model.Fix(model.Position(i));
        else
            model.Bound(model.Position(i), line.position - reach * width,
                        line.position + reach * width);
        // Of what is known to be there, noise may leave less than nothing.
        if (!line.isGiven)
            model.Bound(model.Height(i), 0, infinity);
        if (widths == Widths::strongFree && IsStrong(line))
            model.Bound(model.Width(i), 0.2 * width / fullWidthPerSigma,
                        5 * width / fullWidthPerSigma);
        else if (widths != Widths::ofLaw) {
            model.SetStart(model.Width(i), width / fullWidthPerSigma);
            model.Fix(model.Width(i));
        }
    }
    std::vector<int> curves;
    for (std::size_t k = 0; k < continuum_.curves.size(); ++k) {
        const int number = model.ParameterCount();
        model.AddCurve(continuum_.curves[k], factors_[k]);
        if (noise_.isOfCounts)
            model.Bound(number, leastBackground, infinity);
        curves.push_back(number);
    }

    pkmd_sOptions options;
    options.control.decreaseTolerance = tolerance;
    options.control.mostEvaluations = 300;
    if (!noise_.isOfCounts) {
        options.objective = nlsq_LeastSquares;
        options.weights.assign(at(values_.Size()), 1 / (noise_.deviation * noise_.deviation));
    }
    fit_ = pkmd_Fit(model, values_, options);
    isConverged_ = fit_.fit.Converged();
    for (std::size_t k = 0; k < curves.size(); ++k)
        factors_[k] = fit_.fit.parameters[at(curves[k])];
    TakeLines(fit_, widths);
    model_ = Curve(model, fit_.fit.parameters, pkmd_Everything);
    background_ = Curve(model, fit_.fit.parameters, pkmd_BackgroundOnly);
    Judge();
}

void Search::TakeLines(const pkmd_sResult& fit, Widths widths) {
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        Line& line = lines_[i];
        const pkmd_sPeak& peak = fit.peaks[i];
        line.hasOwnWidth = widths == Widths::strongFree && IsStrong(line);
        line.position = peak.position;
        line.positionError = peak.positionError;
        line.width = fullWidthPerSigma * peak.width;
        line.widthError = fullWidthPerSigma * peak.widthError;
        line.height = peak.height;
        line.heightError = peak.heightError;
        line.area = peak.area / delta_;
        line.areaError = peak.areaError / delta_;
    }
}

/// How significant each line is, where the fit may not hold as counting alone would have it.
void Search::Judge() {
    const darr_c1DArray residuals = residualsOf(values_, model_, noise_);
    const std::span<const double> r = residuals.Elements<double>();
    for (Line& line : lines_) {
        const double middle = (line.position - cal_.Position(0)) / delta_;
        const double half = around * law_.At(line.position) / delta_;
        const int first =
            std::clamp(static_cast<int>(std::ceil(middle - half)), 0, values_.Size() - 1);
        const int last = std::clamp(static_cast<int>(middle + half) + 1, first + 1, values_.Size());
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

bool Search::IsStrong(const Line& line) const {
    if (!(line.areaError > 0) || line.area < strong * line.areaError)
        return false;
    return std::all_of(lines_.begin(), lines_.end(), [&](const Line& other) {
        return &other == &line || other.area < 0.02 * line.area ||
               std::abs(other.position - line.position) > apart * law_.At(line.position);
    });
}

/// Takes out the least significant line of those that are not, if there is one; of two that cannot
/// be told apart the smaller.
bool Search::Prune() {
    const auto isBelow = [&](const Line& line) {
        if (line.isGiven)
            return false;
        if (line.significance < options_.significance)
            return true;
        return std::any_of(lines_.begin(), lines_.end(), [&](const Line& other) {
            return &other != &line && other.area >= line.area &&
                   std::abs(other.position - line.position) < closest * law_.At(line.position);
        });
    };
    // Those far from each other do not change each other: they can go at once.
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < lines_.size(); ++i)
        if (isBelow(lines_[i]))
            order.push_back(i);
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return lines_[a].significance < lines_[b].significance;
    });
    std::vector<double> gone;
    for (const std::size_t i : order) {
        const double position = lines_[i].position;
        const bool isNear = std::any_of(gone.begin(), gone.end(), [&](double other) {
            return std::abs(other - position) < 4 * law_.At(position);
        });
        if (!isNear)
            gone.push_back(position);
    }
    std::erase_if(lines_, [&](const Line& line) {
        const bool isGone =
            !line.isGiven && std::find(gone.begin(), gone.end(), line.position) != gone.end();
        if (isGone)
            rejected_.insert(rejected_.end(), {line.position, line.seenAt});
        return isGone;
    });
    return !gone.empty();
}

/// Whether there is a line here, or lines that were seen or fitted here have gone more than once.
bool Search::IsKnown(double position) const {
    const auto isHere = [&](double other, double widths) {
        return std::abs(other - position) < widths * law_.At(position);
    };
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const Line& line) { return isHere(line.position, closest); }) ||
           std::count_if(rejected_.begin(), rejected_.end(),
                         [&](double other) { return isHere(other, 0.5); }) > 2;
}

/// What stands out of the model by so many deviations becomes a line.
bool Search::AddCandidates(double least, double widthsApart) {
    const darr_c1DArray significance = significanceOf(values_, model_, noise_, law_);
    const darr_c1DArray excess =
        smth_Gauss(values_ - model_, 0.5 * law_.At(law_.reference) / fullWidthPerSigma);
    const std::size_t before = lines_.size();
    for (const peak_sPeak& peak :
         peak_Find(significance,
                   {.prominence = least / 2, .distance = widthsApart * law_.At(law_.reference)})) {
        if (peak.height < least || IsKnown(peak.position) || lines_.size() >= mostLines)
            continue;
        lines_.push_back({.position = peak.position,
                          .seenAt = peak.position,
                          .height = std::max(1e-3, excess.Number(peak.index).As<double>())});
    }
    return lines_.size() > before;
}

/// The widths of strong lines tell the law. Answers whether it has changed by more than a
/// hundredth somewhere.
bool Search::UpdateLaw() {
    if (std::none_of(lines_.begin(), lines_.end(),
                     [&](const Line& line) { return IsStrong(line); }))
        return false;
    const std::vector<Line> before = lines_;
    const std::vector<double> factors = factors_;
    Fit(Widths::strongFree, roundTolerance);
    const WidthLaw old = law_;
    TakeWidths();
    law_ = lawOf(widths_, law_);
    lines_ = before;
    factors_ = factors;
    return IsOther(old, 0.01);
}

/// The widths that lines have by themselves.
void Search::TakeWidths() {
    widths_.clear();
    for (const Line& line : lines_)
        if (line.hasOwnWidth && line.widthError > 0)
            widths_.push_back({line.position, line.width,
                               std::hypot(line.widthError * std::sqrt(std::max(1.0, line.misfit)),
                                          shapeError * line.width)});
}

/// Whether the law differs from this one by more than such a part of the width of a line, and by
/// more than half of what it is uncertain by.
bool Search::IsOther(const WidthLaw& law, double part) const {
    return std::any_of(lines_.begin(), lines_.end(), [&](const Line& line) {
        const double width = law_.At(line.position);
        const double error =
            std::hypot(law_.squareError, law_.slopeError * (line.position - law_.reference)) /
            (2 * width * width);
        return std::abs(law.At(line.position) / width - 1) > std::max(part, error / 2);
    });
}

/// Whether lines of one law tell its slope.
bool Search::TellSlope() const {
    std::vector<Width> clear;
    for (const Line& line : lines_)
        if (line.significance > strong)
            clear.push_back({line.position, law_.At(line.position), 0});
    return canTellSlope(clear);
}

bool Search::LawHolds() const {
    return law_.outliers == 0 && law_.reducedChiSquared <= 2 &&
           std::all_of(lines_.begin(), lines_.end(), [&](const Line& line) {
               return law_.square + law_.slope * (line.position - law_.reference) > 0;
           });
}

/// How well the widths that lines have by themselves follow the law.
void Search::JudgeLaw() {
    double sum = 0;
    law_.lines = 0;
    for (const Width& width : widths_) {
        const double pull = (width.value - law_.At(width.position)) / width.error;
        if (std::abs(pull) > farthestFromLaw)
            continue;
        sum += pull * pull;
        ++law_.lines;
    }
    law_.outliers = static_cast<int>(widths_.size()) - law_.lines;
    law_.reducedChiSquared = sum / std::max(1, law_.lines);
}

/// The law that the last fit has found with all lines.
void Search::TakeFittedLaw() {
    const std::span<const double> p = fit_.fit.parameters;
    const std::span<const double> errors = fit_.fit.standardErrors;
    const double unit = fullWidthPerSigma * fullWidthPerSigma;
    const double width = p[ofLaw_];
    law_.square = unit * width * width;
    law_.squareError = unit * 2 * width * errors[ofLaw_];
    law_.slope = unit * p[ofLaw_ + 1];
    law_.slopeError = unit * errors[ofLaw_ + 1];
}

/// The last fit: all widths by one law, which lines that are strong and single have to follow.
/// Where they do not, these have their own.
void Search::FitAtLast() {
    const auto fit = [&](Widths widths) {
        do
            Fit(widths, 5e-15);
        while (Prune());
    };
    if (!lines_.empty() && LawHolds()) {
        fit(Widths::ofLaw);
        if (lines_.empty())
            return;
        TakeFittedLaw();
        JudgeLaw();
        hasLaw_ = LawHolds();
        if (hasLaw_)
            return;
        fit(Widths::strongFree);
        TakeWidths();
        JudgeLaw();
    } else
        for (int i = 0; i < mostLaws; ++i) {
            fit(Widths::strongFree);
            const WidthLaw old = law_;
            TakeWidths();
            law_ = lawOf(widths_, law_);
            if (!IsOther(old, 1e-3))
                break;
        }
    AddErrorsOfLaw();
}

/// What lines that follow a law which does not hold for all change where it is off by its error.
void Search::AddErrorsOfLaw() {
    const double misfit = std::sqrt(std::max(1.0, law_.reducedChiSquared));
    const double part = std::max(shapeError, misfit * law_.squareError / (2 * law_.square));
    Search other = *this;
    other.law_.square *= (1 + part) * (1 + part);
    other.law_.slope *= (1 + part) * (1 + part);
    other.Fit(Widths::strongFree, 5e-15);
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        Line& line = lines_[i];
        const Line& changed = other.lines_[i];
        if (line.hasOwnWidth)
            continue;
        if (!line.isGiven)
            line.positionError = std::hypot(line.positionError, changed.position - line.position);
        line.heightError = std::hypot(line.heightError, changed.height - line.height);
        line.areaError = std::hypot(line.areaError, changed.area - line.area);
    }
}

/// A strong line that is wider than the law has it is taken for two, once.
bool Search::SplitWideLines() {
    constexpr double clearly = 5; // errors
    constexpr double least = 1.01;
    constexpr double most = 1.6;
    const std::size_t before = lines_.size();
    for (const Width& width : widths_) {
        const double expected = law_.At(width.position);
        const bool isWide = width.value > least * expected && width.value < most * expected &&
                            width.value - expected > clearly * width.error;
        const bool isTried = std::any_of(split_.begin(), split_.end(), [&](double other) {
            return std::abs(other - width.position) < expected;
        });
        const auto line =
            std::min_element(lines_.begin(), lines_.end(), [&](const Line& a, const Line& b) {
                return std::abs(a.position - width.position) <
                       std::abs(b.position - width.position);
            });
        if (!isWide || isTried || line->isGiven)
            continue;
        // Two equal lines of the law's width as far apart as to have this width together.
        const double half =
            std::sqrt(width.value * width.value - expected * expected) / fullWidthPerSigma;
        split_.push_back(width.position);
        Line second = *line;
        line->position = width.position - half;
        second.position = width.position + half;
        line->height = second.height = second.height / 2;
        lines_.push_back(second);
    }
    return lines_.size() > before;
}

/// What cannot be told from the tails of another line is a part of it.
void Search::MarkTails() {
    for (Line& line : lines_)
        line.isOfTails =
            !line.isGiven && std::any_of(lines_.begin(), lines_.end(), [&](const Line& other) {
                const double widths =
                    std::abs(other.position - line.position) / law_.At(other.position);
                const double part = other.area > 0 ? line.area / other.area : 1;
                return (widths < nearTails && part < partInNearTails) ||
                       (widths < farTails && part < partInFarTails);
            });
}

/// Where lines that are higher than the background leave no channel to it: as far as one adds a
/// twentieth.
std::vector<rnge_c1DRange> Search::UnderLines() const {
    std::vector<rnge_c1DRange> under;
    for (const Line& line : lines_) {
        const double level =
            std::max(background_.Value(line.position, darr_LinearInterpolation).As<double>(),
                     leastBackground);
        if (line.height < level)
            continue;
        const double distance = law_.At(line.position) *
                                std::sqrt(std::log(20 * line.height / level) / (4 * std::log(2)));
        under.emplace_back(line.position - distance, line.position + distance);
    }
    return under;
}

/// The continuum for the law, with factors that make it the background so far.
void Search::LayContinuum() {
    continuum_ = continuumOver(cal_, values_.Size(), law_, structures_, UnderLines());
    factors_.clear();
    for (const double middle : continuum_.middles) {
        const int index = std::clamp(static_cast<int>((middle - cal_.Position(0)) / delta_), 0,
                                     values_.Size() - 1);
        const double value = background_.Number(index).As<double>();
        factors_.push_back(noise_.isOfCounts ? std::max(value, 2 * leastBackground) : value);
    }
}

/// How much the background changes around a place, as a factor.
double Search::SteepnessAt(double x) const {
    const double width = 1.5 * law_.At(x);
    const auto value = [&](double position) {
        const double index = (position - cal_.Position(0)) / delta_;
        return std::max(
            background_.Number(static_cast<int>(std::clamp(index, 0.0, values_.Size() - 1.0)))
                .As<double>(),
            leastBackground);
    };
    const double ratio = value(x - width) / value(x + width);
    return std::max(ratio, 1 / ratio);
}

/// Where lines may be what something wider is made of: where many lie close to each other, and
/// where the background is steep.
std::vector<Search::Chain> Search::Chains() const {
    constexpr std::size_t many = 4;
    constexpr double near = 1.4; // widths
    constexpr double steep = 3;
    constexpr double clear = 30; // deviations, which no slope imitates
    std::vector<double> positions;
    for (const Line& line : lines_)
        if (!line.isGiven)
            positions.push_back(line.position);
    std::sort(positions.begin(), positions.end());
    std::vector<Chain> chains;
    for (std::size_t first = 0, last = 0; first < positions.size(); first = last) {
        for (last = first + 1; last < positions.size() && positions[last] - positions[last - 1] <
                                                              near * law_.At(positions[last]);
             ++last) {
        }
        const double from = positions[first];
        const double to = positions[last - 1];
        const bool hasClear = std::any_of(lines_.begin(), lines_.end(), [&](const Line& line) {
            return line.position >= from && line.position <= to && line.significance > clear;
        });
        const bool isSteep = std::max(SteepnessAt(from), SteepnessAt(to)) > steep && !hasClear;
        if (last - first >= many || isSteep)
            chains.push_back({{from - law_.At(from), to + law_.At(to)}, last - first > 1});
    }
    return chains;
}

/// What a description costs: chi-squared, and what its parameters would lower it by chance.
double Search::Cost() const { return fit_.fit.chiSquared + 2 * static_cast<double>(fit_.fit.free); }

/// What a background may cost more than many lines: half of what chance makes of each channel, and
/// a hundredth of the counts.
double Search::SlackOver(const rnge_c1DRange& range) const {
    double slack = 0;
    for (int i = 0; i < values_.Size(); ++i)
        if (const double x = cal_.Position(i); x > range.Start() && x < range.End()) {
            const double value = model_.Number(i).As<double>();
            const double deviation = noise_.isOfCounts ? std::sqrt(value) : noise_.deviation;
            slack += 0.5 + std::pow(0.01 * value / deviation, 2);
        }
    return slack;
}

/// Tries a background that can follow a structure in place of a chain of lines, and keeps it where
/// it describes the spectrum as well.
bool Search::TakeStructures() {
    bool hasTaken = false;
    for (const auto& [range, isOfMany] : Chains()) {
        const rnge_c1DRange& chain = range; // what clang lets a lambda take
        const bool isTried =
            std::any_of(triedChains_.begin(), triedChains_.end(), [&](const rnge_c1DRange& tried) {
                return (tried & chain).Length() > std::max(tried.Length(), chain.Length()) / 2;
            });
        if (isTried)
            continue;
        triedChains_.push_back(chain);
        const Search before = *this;
        const auto isInside = [&](const Line& line) {
            return !line.isGiven && line.position > chain.Start() && line.position < chain.End();
        };
        const auto had = std::erase_if(lines_, isInside);
        structures_.push_back(chain);
        rejected_.clear();
        LayContinuum();
        Fit(Widths::fixed, roundTolerance);
        for (int i = 0; i < 3 && AddCandidates(candidate, 0); ++i)
            do
                Fit(Widths::fixed, roundTolerance);
            while (Prune());
        // Lines have to be clearly better than a background: one on a slope, which no background
        // follows to within its noise, by twice what makes it significant.
        const double slack =
            isOfMany ? before.SlackOver(chain) : 2 * options_.significance * options_.significance;
        const auto has =
            static_cast<std::size_t>(std::count_if(lines_.begin(), lines_.end(), isInside));
        const bool isSimpler = 2 * has < had + 1;
        if (isSimpler && Cost() < before.Cost() + slack) {
            hasTaken = true;
            continue;
        }
        const std::vector<rnge_c1DRange> tried = triedChains_;
        *this = before;
        triedChains_ = tried;
    }
    return hasTaken;
}

/// Looks for lines until there are no more, or so many times. Answers whether there are no more.
bool Search::Find(int rounds, bool takesStructures) {
    rejected_.clear();
    for (int i = 0; i < rounds; ++i) {
        ++rounds_;
        do
            Fit(Widths::fixed, roundTolerance);
        while (Prune());
        // Lines that fill something wider would come without end.
        const bool isLong = takesStructures && i == roundsBeforeStructures;
        const bool hasTaken = isLong && TakeStructures();
        if (!AddCandidates(candidate, 0) && !hasTaken && !(takesStructures && TakeStructures()))
            return true;
    }
    return false;
}

Analysis Search::Run() {
    StartBackground();
    // One line for each place, at first: how wide they are tells whether there are more.
    AddCandidates(clearlyAbove, 4);
    for (int i = 0; i < mostLaws; ++i) {
        LayContinuum();
        Fit(Widths::fixed, roundTolerance);
        if (!UpdateLaw())
            break;
    }
    // Lines beside others tell more of the law, and the law more of the lines.
    bool isSettled = false;
    for (int i = 0; i < mostRounds && !isSettled; ++i) {
        const bool isRough = i < 2;
        const bool hasAll = Find(isRough ? 2 : mostRounds, !isRough);
        const bool hasNewLaw = UpdateLaw();
        const bool hasSplit = SplitWideLines();
        isSettled = !isRough && hasAll && !hasNewLaw && !hasSplit;
        if (hasNewLaw)
            LayContinuum();
    }
    FitAtLast();
    Analysis analysis = Told();
    analysis.rounds = rounds_;
    analysis.isSettled = isSettled;
    analysis.isFull = lines_.size() >= mostLines;
    return analysis;
}

Analysis Search::Told() {
    std::sort(lines_.begin(), lines_.end(),
              [](const Line& a, const Line& b) { return a.position < b.position; });
    Analysis analysis;
    MarkTails();
    analysis.hasLaw = hasLaw_;
    analysis.hasMaxima = hasMaxima_;
    analysis.lines = lines_;
    analysis.structures = structures_;
    analysis.background = background_;
    analysis.model = model_;
    analysis.residuals = residualsOf(values_, model_, noise_);
    analysis.law = law_;
    analysis.widths = widths_;
    std::sort(analysis.widths.begin(), analysis.widths.end(),
              [](const Width& a, const Width& b) { return a.position < b.position; });
    analysis.isOfCounts = noise_.isOfCounts;
    analysis.noise = noise_.deviation;
    analysis.reducedChiSquared = fit_.fit.ReducedChiSquared();
    analysis.degreesOfFreedom = fit_.fit.degreesOfFreedom;
    analysis.isConverged = isConverged_;
    analysis.splines = static_cast<int>(continuum_.curves.size());
    double sum = 0;
    double excess = 0; // of the squares of Pearson, which are 1 in the mean however few counts are
    double variance = 0;
    double last = cal_.Position(0);
    for (int i = 0; i < values_.Size(); ++i) {
        const double x = cal_.Position(i);
        const bool isBetween = std::all_of(lines_.begin(), lines_.end(), [&](const Line& line) {
            return std::abs(x - line.position) > 1.5 * line.width;
        });
        if (!isBetween)
            continue;
        if (x - last > analysis.widestGap.Length())
            analysis.widestGap = rnge_c1DRange(last, x);
        last = x;
        const double residual = analysis.residuals.Number(i).As<double>();
        const double mean = std::max(model_.Number(i).As<double>(), leastBackground);
        sum += residual * residual;
        excess += std::pow(values_.Number(i).As<double>() - mean, 2) / mean - 1;
        variance += 2 + 1 / mean;
        ++analysis.channelsBetween;
    }
    if (const double end = cal_.Position(values_.Size() - 1);
        end - last > analysis.widestGap.Length())
        analysis.widestGap = rnge_c1DRange(last, end);
    analysis.chiSquaredBetween = sum / std::max(1, analysis.channelsBetween);
    analysis.excessScatter = variance > 0 ? excess / std::sqrt(variance) : 0;
    return analysis;
}

/// The largest magnitude of values: in units of it all can be squared.
double largestOf(const darr_c1DArray& values) {
    double largest = 0;
    for (const double value : values.Elements<double>())
        largest = std::max(largest, std::abs(value));
    return largest;
}

void multiply(Analysis& analysis, double unit) {
    for (Line& line : analysis.lines)
        for (double* value : {&line.height, &line.heightError, &line.area, &line.areaError})
            *value *= unit;
    analysis.background *= unit;
    analysis.model *= unit;
    analysis.noise *= unit;
}

} // namespace

Analysis analysed(const darr_c1DArray& spectrum, const AnalysisOptions& options) {
    darr_c1DArray values = conv_Convert(spectrum, dtyp_Double);
    const bool isOfCounts = noiseOf(values).isOfCounts;
    // What scatters n times as much as counts is as good as counts in units of n squared.
    const double excess = isOfCounts ? excessOfNoise(values) : 1;
    const double unit = isOfCounts ? excess * excess : largestOf(values);
    for (double& value : values.Elements<double>())
        value /= unit;
    Analysis analysis = Search(values, isOfCounts ? Noise{} : noiseOf(values), options).Run();
    multiply(analysis, unit);
    analysis.excessOfNoise = excess;
    return analysis;
}

} // namespace tour
