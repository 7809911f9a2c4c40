#include "dataprocessing/fitting/pkmd.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <limits>
#include <locale>
#include <ostream>
#include <sstream>
#include <utility>

#include "dataprocessing/algebra/nlsq_refusal.h"
#include "dataprocessing/fitting/pkmd_centre.h"
#include "dataprocessing/fitting/pkmd_equations.h"
#include "dataprocessing/fitting/pkmd_places.h"
#include "dataprocessing/valuemodel/cal_section.h"
#include "dataprocessing/valuemodel/conv.h"

using namespace dataprocessing::detail;

namespace {

constexpr nlsq_cRefusal<expt_cProgramException> refuse("pkmd");

void checkParameter(int parameter, int count) {
    refuse.If(parameter < 0 || parameter >= count, 2, "There is no parameter ", parameter, ".");
}

std::size_t at(int parameter) { return static_cast<std::size_t>(parameter); }

std::size_t wholeVectors(std::size_t count) {
    return (count + pkmd_lanes - 1) / pkmd_lanes * pkmd_lanes;
}

const char* extraName(pkmd_eShape shape) {
    switch (shape) {
    case pkmd_PseudoVoigt:
        return "mixing";
    case pkmd_Voigt:
        return "Lorentzian width";
    default:
        return "tail";
    }
}

bool isAllowed(pkmd_eShape shape, double extra) {
    return !(shape == pkmd_Voigt && extra < 0) && !(shape == pkmd_TailedGaussian && extra == 0) &&
           !(shape == pkmd_PseudoVoigt && !(extra >= 0 && extra <= 1));
}

} // namespace

pkmd_cModel::pkmd_cModel() = default;
pkmd_cModel::~pkmd_cModel() = default;
pkmd_cModel::pkmd_cModel(const pkmd_cModel&) = default;
pkmd_cModel& pkmd_cModel::operator=(const pkmd_cModel&) = default;

int pkmd_cModel::Add(std::span<const double> starts) {
    const int first = ParameterCount();
    starts_.reserve(starts_.size() + starts.size());
    kinds_.resize(kinds_.size() + starts.size());
    starts_.insert(starts_.end(), starts.begin(), starts.end());
    return first;
}

int pkmd_cModel::AddPeak(pkmd_eShape shape, double position, double height, double width,
                         double extra) {
    const std::array starts{position, height, width, extra};
    const std::size_t many = pkmd_Columns(shape);
    refuse.If(shape < pkmd_Gaussian || shape > pkmd_TailedGaussian, 1, "There is no such shape.");
    refuse.UnlessFinite(starts, 1, "Start ");
    refuse.If(!(width > 0), 1, "A width is not positive.");
    refuse.If(!isAllowed(shape, extra), 1, "The shape does not allow this extra parameter.");
    peaks_.reserve(peaks_.size() + 1);
    peaks_.push_back({shape, Add(std::span(starts).first(many)), false});
    return PeakCount() - 1;
}

const pkmd_cModel::sPeak& pkmd_cModel::PeakAt(int peak) const {
    refuse.If(peak < 0 || peak >= PeakCount(), 2, "There is no peak ", peak, ".");
    return peaks_[at(peak)];
}

int pkmd_cModel::Position(int peak) const { return PeakAt(peak).first; }
int pkmd_cModel::Height(int peak) const { return PeakAt(peak).first + 1; }
int pkmd_cModel::Width(int peak) const { return PeakAt(peak).first + 2; }

int pkmd_cModel::Extra(int peak) const {
    const sPeak& found = PeakAt(peak);
    refuse.If(pkmd_Columns(found.shape) < 4, 2, "The shape of the peak has no extra parameter.");
    return found.first + 3;
}

int pkmd_cModel::Add(sBackground background, std::span<const double> starts) {
    refuse.If(starts.empty(), 1, "A background has no start.");
    refuse.UnlessFinite(starts, 1, "Start ");
    refuse.If(!std::isfinite(background.reference) || !std::isfinite(background.scale) ||
                  background.scale == 0,
              1, "A reference is not finite, or a scale is not finite or 0.");
    refuse.UnlessFinite(background.curve, 1, "Channel ");
    backgrounds_.reserve(backgrounds_.size() + 1);
    background.first = Add(starts);
    background.count = static_cast<int>(starts.size());
    backgrounds_.push_back(std::move(background));
    return backgrounds_.back().first;
}

int pkmd_cModel::AddPolynomial(const std::vector<double>& start, double reference, double scale) {
    return Add({Polynomial, 0, 0, reference, scale, {}}, start);
}

int pkmd_cModel::AddPowerLaw(double amplitude, double exponent, double reference) {
    refuse.If(!(reference > 0), 1, "The reference of a power law is not positive.");
    return Add({PowerLaw, 0, 0, reference, 1, {}}, std::array{amplitude, exponent});
}

int pkmd_cModel::AddExponential(double amplitude, double rate, double reference) {
    return Add({Exponential, 0, 0, reference, 1, {}}, std::array{amplitude, rate});
}

int pkmd_cModel::AddCurve(const darr_c1DArray& curve, double factor) {
    refuse.If(curve.DataType().Code() >= dtyp_ComplexFloat, 1, "A curve is complex.");
    const darr_c1DArray values = conv_Convert(curve, dtyp_Double);
    const std::span<const double> elements = values.Elements<double>();
    return Add({GivenCurve, 0, 0, 0, 1, {elements.begin(), elements.end()}}, std::array{factor});
}

int pkmd_cModel::SetWidthLaw(double width, double slope, double reference) {
    const std::array starts{width, slope};
    refuse.If(law_.first >= 0, 1, "There is a law of widths already.");
    refuse.UnlessFinite(starts, 1, "Start ");
    refuse.If(!std::isfinite(reference), 1,
              "A reference is not finite, or a scale is not finite or 0.");
    refuse.If(!(width > 0), 1, "A width is not positive.");
    for (int i = 0; i < ParameterCount(); ++i)
        refuse.If(kinds_[at(i)].kind == nlsq_sParameter::Following && !PeakOfWidth(i) &&
                      PeakOfWidth(kinds_[at(i)].to),
                  3, "The width follows a law.");
    law_ = {Add(starts), reference};
    for (sPeak& peak : peaks_) {
        peak.hasLaw = true;
        kinds_[at(peak.first) + 2] = nlsq_sParameter::Fixed();
    }
    return law_.first;
}

std::string pkmd_cModel::Name(int parameter) const {
    checkParameter(parameter, ParameterCount());
    if (law_.first >= 0 && parameter - law_.first >= 0 && parameter - law_.first < 2)
        return parameter == law_.first ? "width of the law" : "slope of the law";
    for (std::size_t k = 0; k < peaks_.size(); ++k) {
        const int which = parameter - peaks_[k].first;
        if (which < 0 || which >= static_cast<int>(pkmd_Columns(peaks_[k].shape)))
            continue;
        const std::array names{"position", "height", "width", extraName(peaks_[k].shape)};
        return std::string(names[at(which)]) + " of peak " + std::to_string(k);
    }
    const auto found =
        std::find_if(backgrounds_.begin(), backgrounds_.end(), [&](const sBackground& background) {
            return parameter >= background.first && parameter < background.first + background.count;
        });
    const auto isAlike = [&](const sBackground& other) { return other.kind == found->kind; };
    // Told apart where there are more of a kind.
    std::string number;
    if (std::count_if(backgrounds_.begin(), backgrounds_.end(), isAlike) > 1)
        number = ' ' + std::to_string(std::count_if(backgrounds_.begin(), found, isAlike));
    const int which = parameter - found->first;
    switch (found->kind) {
    case Polynomial:
        return "coefficient " + std::to_string(which) +
               (number.empty() ? number : " of polynomial" + number);
    case PowerLaw:
        return (which == 0 ? "amplitude of the power law" : "exponent of the power law") + number;
    case Exponential:
        return (which == 0 ? "amplitude of the exponential" : "rate of the exponential") + number;
    case GivenCurve:
        break;
    }
    return "factor of the curve" + number;
}

/// The peak whose width a parameter is, if it is one.
const pkmd_cModel::sPeak* pkmd_cModel::PeakOfWidth(int parameter) const {
    const auto found = pkmd_PartAt(peaks_.begin(), peaks_.end(), parameter - 2);
    return found != peaks_.end() ? &*found : nullptr;
}

nlsq_sParameter& pkmd_cModel::KindAt(int parameter) {
    checkParameter(parameter, ParameterCount());
    const sPeak* const peak = PeakOfWidth(parameter);
    refuse.If(peak && peak->hasLaw, 3, "The width follows a law.");
    return kinds_[at(parameter)];
}

void pkmd_cModel::SetStart(int parameter, double start) {
    checkParameter(parameter, ParameterCount());
    refuse.If(!std::isfinite(start), 1, "Start ", parameter, " is not finite.");
    starts_[at(parameter)] = start;
}

void pkmd_cModel::SetStarts(std::span<const double> starts) {
    refuse.IfOthers(starts.size(), starts_.size(), 2, " numbers for ", " parameters.");
    refuse.UnlessFinite(starts, 1, "Start ");
    std::copy(starts.begin(), starts.end(), starts_.begin());
}

void pkmd_cModel::Free(int parameter) { KindAt(parameter) = nlsq_sParameter::Free(); }
void pkmd_cModel::Fix(int parameter) { KindAt(parameter) = nlsq_sParameter::Fixed(); }

void pkmd_cModel::Bound(int parameter, double lower, double upper) {
    KindAt(parameter) = nlsq_sParameter::Bounded(lower, upper);
}

void pkmd_cModel::Tie(int parameter, int to, double factor, double offset) {
    KindAt(to);
    KindAt(parameter) = nlsq_sParameter::Tied(to, factor, offset);
}

void pkmd_cModel::Values(std::span<const double> p, std::span<const double> x, std::span<double> y,
                         pkmd_eParts parts) const {
    refuse.IfOthers(y.size(), x.size(), 4, " values for ", " positions.");
    refuse.IfOthers(p.size(), starts_.size(), 2, " numbers for ", " parameters.");
    std::vector<double> all(p.begin(), p.end());
    if (!pkmd_ApplyWidthLaw(*this, all) && parts == pkmd_Everything) {
        std::fill(y.begin(), y.end(), std::numeric_limits<double>::quiet_NaN());
        return;
    }
    std::vector<double> positions(wholeVectors(x.size()));
    std::copy(x.begin(), x.end(), positions.begin());
    std::vector<double> curve(positions.size());

    for (const sBackground& background : backgrounds_) {
        const std::span<const double> c = std::span(all).subspan(at(background.first));
        for (std::size_t i = 0; i < x.size(); ++i)
            switch (background.kind) {
            case Polynomial: {
                double sum = 0;
                for (std::size_t k = at(background.count); k-- > 0;)
                    sum = sum * ((x[i] - background.reference) / background.scale) + c[k];
                curve[i] += sum;
                break;
            }
            case PowerLaw:
                curve[i] += c[0] * std::pow(x[i] / background.reference, c[1]);
                break;
            case Exponential:
                curve[i] += c[0] * std::exp(c[1] * (x[i] - background.reference));
                break;
            case GivenCurve:
                break;
            }
    }
    if (parts == pkmd_Everything) {
        std::vector<double> columns(pkmd_mostColumns * positions.size());
        for (const sPeak& peak : peaks_) {
            const std::size_t first = at(peak.first);
            pkmd_sPeakValues values{all[first],       all[first + 1],   all[first + 2], 0,
                                    positions.data(), positions.size(), curve.data(),   {}};
            if (pkmd_Columns(peak.shape) > 3)
                values.extra = all[first + 3];
            for (std::size_t k = 0; k < pkmd_mostColumns; ++k)
                values.columns[k] = columns.data() + k * positions.size();
            pkmd_AddPeak(peak.shape, values);
        }
    }
    std::copy_n(curve.begin(), y.size(), y.begin());
}

darr_c1DArray pkmd_cModel::Curve(const cal_c1DArrayCal& cal, int count, pkmd_eParts parts) const {
    darr_c1DArray result(count, dtyp_Double, cal);
    const std::span<double> values = result.Elements<double>();
    std::vector<double> positions(values.size());
    for (std::size_t i = 0; i < positions.size(); ++i)
        positions[i] = cal.Position(static_cast<long long>(i));
    const nlsq_cParameters parameters(starts_, pkmd_KindsOf(*this, cal.Delta()));
    std::vector<double> p(starts_.size());
    parameters.Expand(parameters.Start(), p);
    Values(p, positions, values, parts);
    for (const sBackground& background : backgrounds_) {
        if (background.kind != GivenCurve)
            continue;
        refuse.IfOthers(background.curve.size(), values.size(), 10, " channels of a curve for ",
                        " of the spectrum.");
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] += p[at(background.first)] * background.curve[i];
    }
    return result;
}

namespace {

void check(const pkmd_cModel& model, int count, const pkmd_sOptions& options) {
    nlsq_CheckChoices(options.objective, options.errors);
    const std::vector<double>& weights = options.weights;
    refuse.If(!weights.empty() && options.objective == nlsq_PoissonLikelihood, 6,
              "The likelihood has its own weights: set objective = nlsq_LeastSquares.");
    if (!weights.empty())
        refuse.IfOthers(weights.size(), at(count), 6, " weights for ", " channels.");
    refuse.Unless(
        weights, [](double w) { return w >= 0 && std::isfinite(w); }, 6, "Weight ",
        " is negative or not finite.");
    refuse.If(!(options.windows > 0), 8, "Windows have to be positive.");
    for (const pkmd_cModel::sBackground& background : model.Backgrounds())
        if (background.kind == pkmd_cModel::GivenCurve)
            refuse.IfOthers(background.curve.size(), at(count), 10, " channels of a curve for ",
                            " of the spectrum.");
    nlsq_CheckControl(options.control);
}

pkmd_sChannels channelsOf(const darr_c1DArray& spectrum, const pkmd_sOptions& options) {
    const darr_c1DArray converted = conv_Convert(spectrum, dtyp_Double);
    const std::span<const double> elements = converted.Elements<double>();
    const cal_c1DArrayCal& cal = spectrum.Cal();
    const cal_cSection section(cal, options.from, options.to);
    std::size_t first = 0;
    std::size_t last = elements.size();
    while (first < last && !section.Has(first))
        ++first;
    while (last > first && !section.Has(last - 1))
        --last;

    pkmd_sChannels channels;
    const std::size_t taken = last - first;
    const std::size_t count = wholeVectors(taken);
    channels.x.resize(count);
    channels.y.resize(count);
    channels.weights.resize(count);
    channels.first = first;
    channels.delta = cal.Delta();
    const auto firstIndex = static_cast<std::ptrdiff_t>(first);
    const double base = static_cast<double>(first) - cal.CalIndex();
    for (std::size_t i = 0; i < taken; ++i)
        channels.x[i] = cal.Offset() + (base + static_cast<int>(i)) * cal.Delta();
    // What is computed beyond the last channel is what is computed there.
    if (taken > 0)
        std::fill(channels.x.begin() + static_cast<std::ptrdiff_t>(taken), channels.x.end(),
                  channels.x[taken - 1]);

    std::copy_n(elements.begin() + firstIndex, taken, channels.y.begin());
    const bool isLikelihood = options.objective == nlsq_PoissonLikelihood;
    channels.areCounts = isLikelihood;
    if (isLikelihood)
        std::fill_n(channels.weights.begin(), taken, 1.0);
    else if (!options.weights.empty())
        std::copy_n(options.weights.begin() + firstIndex, taken, channels.weights.begin());
    else
        pkmd_CountWeights(channels.y.data(), count, channels.weights.data());
    std::fill(channels.weights.begin() + static_cast<std::ptrdiff_t>(taken), channels.weights.end(),
              0.0);
    const pkmd_sPart part = pkmd_TakePart(channels.y.data(), channels.weights.data(), count);
    if (isLikelihood && part.hasNegative) {
        const auto negative =
            std::find_if(channels.y.begin(), channels.y.end(), [](double y) { return y < 0; });
        refuse.If(true, 7, "The count of channel ",
                  static_cast<long long>(first) + (negative - channels.y.begin()), " is negative.");
    }
    channels.taking = part.channels;
    const double* const values = channels.y.data();
    double squares = 0;
    pkmd_WeightedDots(values, channels.weights.data(), &values, 1, count, &squares);
    channels.size = std::sqrt(squares);
    const bool isSmall = squares == 0 && std::any_of(channels.y.begin(), channels.y.end(),
                                                     [](double y) { return y != 0; });
    nlsq_CheckSize(isSmall ? std::numeric_limits<double>::min() : channels.size);
    refuse.If(channels.taking == 0, 5, "No channel takes part.");
    return channels;
}

/// A control whose observer is told the model's parameters, widths that follow a law included.
nlsq_sControl telling(const pkmd_cModel& model, const pkmd_cCentre& centre,
                      const nlsq_sControl& control) {
    nlsq_sControl result = control;
    if (control.observer && (model.WidthLaw().first >= 0 || !centre.IsThere()))
        result.observer = [&model, &centre, &control,
                           all = std::vector<double>()](const nlsq_sIteration& at) mutable {
            all.assign(at.parameters.begin(), at.parameters.end());
            pkmd_ApplyWidthLaw(model, all);
            centre.ToModel(all);
            nlsq_sIteration told = at;
            told.parameters = all;
            return control.observer(told);
        };
    return result;
}

/// The rows and columns of the covariance that belong to widths which follow a law.
void spreadWidthLaw(const pkmd_cModel& model, nlsq_sResult& fit) {
    const pkmd_cModel::sWidthLaw& law = model.WidthLaw();
    if (law.first < 0 || !pkmd_ApplyWidthLaw(model, fit.parameters))
        return;
    const std::size_t count = fit.parameters.size();
    for (const pkmd_cModel::sPeak& peak : model.Peaks()) {
        if (!peak.hasLaw)
            continue;
        const std::size_t position = at(peak.first);
        const std::size_t width = position + 2;
        const std::size_t first = at(law.first);
        const pkmd_sWidth at = pkmd_WidthAt(fit.parameters[position], fit.parameters[first],
                                            fit.parameters[first + 1], law.reference);
        const auto combined = [&](auto elementOf) {
            return at.byPosition * elementOf(position) + at.byWidth * elementOf(first) +
                   at.bySlope * elementOf(first + 1);
        };
        double* const matrix = fit.covariance.data();
        for (std::size_t j = 0; j < count; ++j)
            matrix[width * count + j] =
                combined([&](std::size_t i) { return matrix[i * count + j]; });
        for (std::size_t j = 0; j < count; ++j)
            matrix[j * count + width] =
                combined([&](std::size_t i) { return matrix[j * count + i]; });
        fit.standardErrors[width] = std::sqrt(matrix[width * count + width]);
        std::vector<int>& undetermined = fit.undetermined;
        const bool isMoved = std::any_of(undetermined.begin(), undetermined.end(), [&](int i) {
            return i == peak.first || i == law.first || i == law.first + 1;
        });
        if (isMoved)
            undetermined.insert(
                std::upper_bound(undetermined.begin(), undetermined.end(), peak.first + 2),
                peak.first + 2);
    }
}

pkmd_sPeak peakOf(const pkmd_cModel::sPeak& peak, const nlsq_sResult& fit) {
    const std::size_t first = at(peak.first);
    const std::size_t many = pkmd_Columns(peak.shape);
    const double* const p = fit.parameters.data() + first;
    const double* const errors = fit.standardErrors.data() + first;
    const double extra = many > 3 ? p[3] : 0;
    std::array<double, pkmd_mostColumns> slopes;
    const double area = pkmd_Area(peak.shape, p[1], p[2], extra, slopes);
    double variance = 0;
    for (std::size_t i = 0; i < many; ++i)
        for (std::size_t j = 0; j < many; ++j)
            variance += slopes[i] * slopes[j] *
                        fit.covariance[(first + i) * fit.parameters.size() + first + j];
    pkmd_sPeak result{};
    result.shape = peak.shape;
    result.position = p[0];
    result.positionError = errors[0];
    result.height = p[1];
    result.heightError = errors[1];
    result.width = p[2];
    result.widthError = errors[2];
    result.extra = extra;
    result.extraError = many > 3 ? errors[3] : 0;
    result.area = area;
    result.areaError = std::sqrt(std::max(variance, 0.0));
    return result;
}

} // namespace

pkmd_sResult pkmd_Fit(const pkmd_cModel& model, const darr_c1DArray& spectrum,
                      const pkmd_sOptions& options) {
    return pkmd_FitFrom(model, model.Starts(), pkmd_KindsOf(model, spectrum.Cal().Delta()),
                        spectrum, options);
}

pkmd_sResult dataprocessing::detail::pkmd_FitFrom(const pkmd_cModel& model,
                                                  std::span<const double> starts,
                                                  std::span<const nlsq_sParameter> kinds,
                                                  const darr_c1DArray& spectrum,
                                                  const pkmd_sOptions& options) {
    check(model, spectrum.Size(), options);
    const pkmd_sChannels channels = channelsOf(spectrum, options);
    for (const pkmd_cModel::sBackground& background : model.Backgrounds())
        refuse.If(background.kind == pkmd_cModel::PowerLaw &&
                      !(channels.x.front() > 0 && channels.x.back() > 0),
                  9, "A power law needs positive positions.");

    const pkmd_cCentre centre(model, kinds, starts, channels.x.front(), channels.x.back());
    std::vector<double> from(starts.begin(), starts.end());
    centre.ToMiddle(from);
    const nlsq_cParameters parameters(from, kinds);
    pkmd_cEquations equations(model, channels, parameters, options.windows, centre.Axes());
    pkmd_sResult result;
    result.channels = static_cast<int>(channels.taking);
    result.fit = nlsq_Minimise(equations, parameters, telling(model, centre, options.control),
                               channels.taking, options.errors == nlsq_ErrorsFromScatter);
    centre.ToModel(result.fit);
    spreadWidthLaw(model, result.fit);
    for (const pkmd_cModel::sPeak& peak : model.Peaks())
        result.peaks.push_back(peakOf(peak, result.fit));
    for (int i = 0; i < model.ParameterCount(); ++i)
        result.names.push_back(model.Name(i));
    return result;
}

namespace {

/// A number to six digits, and on to the second one of its error.
std::string withDigits(double value, double error) {
    int digits = 6;
    if (error > 0 && std::isfinite(error) && std::isfinite(value) && value != 0) {
        constexpr int most = 17;
        const double places =
            std::floor(std::log10(std::fabs(value))) - std::floor(std::log10(error)) + 2;
        digits = static_cast<int>(std::clamp(places, 6.0, static_cast<double>(most)));
    }
    std::ostringstream text; // in no language
    text.imbue(std::locale::classic());
    text << std::setprecision(digits) << value;
    return text.str();
}

/// A text to the right of a column, with blanks before it and in place of control characters.
std::string inColumn(std::string text) {
    constexpr std::size_t width = 13;
    std::size_t characters = 0; // of UTF-8
    for (char& element : text) {
        const auto byte = static_cast<unsigned char>(element);
        constexpr unsigned char blank = 0x20, deletion = 0x7f;
        characters += (byte & 0xc0) != 0x80;
        if (byte < blank || byte == deletion)
            element = ' ';
    }
    return std::string(characters < width ? width - characters : 1, ' ') + text;
}

} // namespace

std::ostream& operator<<(std::ostream& out, const pkmd_sResult& result) {
    // Made apart, so that the stream keeps its state.
    return out << pkmd_Report(result);
}

std::string pkmd_Report(const pkmd_sResult& result, const pkmd_sUnits& units) {
    std::ostringstream text; // in no language
    text.imbue(std::locale::classic());
    const nlsq_sResult& fit = result.fit;
    text << std::setprecision(6) << (fit.Converged() ? "Converged" : "Not converged") << ": "
         << nlsq_Text(fit.end) << " (" << fit.iterations << " iterations, " << fit.evaluations
         << " evaluations)\n"
         << "chi-squared " << fit.chiSquared << ", " << result.channels << " channels, rank "
         << fit.rank << " of " << fit.free << ", reduced " << fit.ReducedChiSquared() << '\n';

    const auto number = [&](double value, double error) {
        text << inColumn(withDigits(value, error));
    };
    if (!result.peaks.empty()) {
        text << "peak     position        error       height        error        width        "
                "error         area        error\n";
        if (!units.position.empty() || !units.value.empty()) {
            const std::string both = units.position.empty() || units.value.empty() ? "" : " ";
            const std::string area = units.value + both + units.position;
            text << std::setw(4) << "";
            for (const std::string* unit : {&units.position, &units.value, &units.position, &area})
                for (int twice = 0; twice < 2; ++twice)
                    text << inColumn(*unit);
            text << '\n';
        }
        for (std::size_t k = 0; k < result.peaks.size(); ++k) {
            const pkmd_sPeak& peak = result.peaks[k];
            text << std::setw(4) << k;
            for (const auto& [value, error] :
                 {std::pair{peak.position, peak.positionError},
                  std::pair{peak.height, peak.heightError}, std::pair{peak.width, peak.widthError},
                  std::pair{peak.area, peak.areaError}}) {
                number(value, error);
                number(error, 0);
            }
            text << '\n';
        }
    }
    const auto isAmong = [](const std::vector<int>& list, std::size_t i) {
        return std::find(list.begin(), list.end(), static_cast<int>(i)) != list.end();
    };
    for (std::size_t i = 0; i < result.names.size(); ++i) {
        text << std::left << std::setw(32) << result.names[i] << std::right;
        number(fit.parameters[i], fit.standardErrors[i]);
        if (isAmong(fit.atBound, i))
            text << "  at its bound";
        else if (fit.standardErrors[i] != 0 || isAmong(fit.undetermined, i))
            text << " +-" << std::setw(12) << fit.standardErrors[i];
        else if (fit.end != nlsq_NoValue)
            text << "  fixed";
        text << (isAmong(fit.undetermined, i) ? "  not determined\n" : "\n");
    }
    constexpr double worthTelling = 0.9;
    for (std::size_t i = 0; i < result.names.size(); ++i)
        for (std::size_t j = 0; j < i; ++j) {
            const double correlation = fit.Correlation(static_cast<int>(i), static_cast<int>(j));
            if (std::fabs(correlation) > worthTelling)
                text << "correlation " << std::setprecision(3) << correlation << ": "
                     << result.names[j] << ", " << result.names[i] << '\n';
        }
    return text.str();
}
