#include "dataprocessing/fitting/rcrd_fits.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "dataprocessing/exchange/obty.h"
#include "dataprocessing/valuemodel/rcrd_object.h"

using namespace dataprocessing::detail;

namespace dataprocessing::detail {

/// What is saved of a polynomial, and how it is put back.
struct rcrd_cFits {
    struct sPolynomial {
        int order = 0;
        int rank = 0;
        int points = 0;
        double residualSum = 0;
        double offset = 0;
        std::vector<double> coefficients;
        std::vector<double> covariance;
        std::vector<double> standardErrors;
    };

    static sPolynomial Of(const plft_c1DPolyFittingFunction& fit) {
        const std::span<const double> coefficients = fit.coefficients_;
        const std::span<const double> covariance = fit.covariance_;
        const std::span<const double> errors = fit.standardErrors_;
        return {fit.order_,
                fit.rank_,
                fit.points_,
                fit.residualSum_,
                0,
                {coefficients.begin(), coefficients.end()},
                {covariance.begin(), covariance.end()},
                {errors.begin(), errors.end()}};
    }
    static void Put(const sPolynomial& saved, plft_c1DPolyFittingFunction& fit) {
        const int count = saved.covariance.empty() ? 0 : saved.order + 1;
        arr_cC_Array<double> coefficients{std::span<const double>(saved.coefficients)};
        arr_c2DNumberArray<double> covariance(count, count, saved.covariance);
        arr_cC_Array<double> errors{std::span<const double>(saved.standardErrors)};
        fit.order_ = saved.order;
        fit.rank_ = saved.rank;
        fit.points_ = saved.points;
        fit.residualSum_ = saved.residualSum;
        fit.coefficients_ = std::move(coefficients);
        fit.covariance_ = std::move(covariance);
        fit.standardErrors_ = std::move(errors);
    }

    struct sMultiPowerLaw {
        int order = 0;
        std::vector<double> positions;
        std::vector<double> ranges;
        std::vector<int> ranks;
        std::vector<int> points;
        std::vector<double> residualSums;
        std::vector<double> coefficients;
        std::vector<double> covariance;
        std::vector<double> standardErrors;
        std::vector<double> data;
        double offset = 0;
        double delta = 1;
        int calIndex = 0;
        std::vector<double> deviations;

        static constexpr std::size_t ends = 4;
        std::size_t Terms() const noexcept { return static_cast<std::size_t>(order) + 1; }
        bool HasCovariance(std::size_t peak) const { return ranks[peak] != 0; }
    };

    static sMultiPowerLaw Of(const pwft_cMultiPowerLawFitFunc& fit) {
        sMultiPowerLaw saved;
        saved.order = fit.order_;
        const auto append = [](std::vector<double>& list, const std::vector<double>& values) {
            list.insert(list.end(), values.begin(), values.end());
        };
        for (const auto& peak : fit.peaks_) {
            const sPolynomial law = Of(peak.powerLaw);
            saved.positions.push_back(peak.position);
            append(saved.ranges, {peak.background.Start(), peak.background.End(),
                                  peak.window.Start(), peak.window.End()});
            saved.ranks.push_back(law.rank);
            saved.points.push_back(law.points);
            saved.residualSums.push_back(law.residualSum);
            append(saved.coefficients, law.coefficients);
            append(saved.covariance, law.covariance);
            append(saved.standardErrors, law.standardErrors);
        }
        saved.offset = fit.data_.Cal().Offset();
        saved.delta = fit.data_.Cal().Delta();
        saved.calIndex = fit.data_.Cal().CalIndex();
        for (auto [list, array] :
             {std::pair{&saved.data, &fit.data_}, std::pair{&saved.deviations, &fit.deviations_}}) {
            const std::span<const double> elements = array->Elements<double>();
            list->assign(elements.begin(), elements.end());
        }
        return saved;
    }
    static void Put(const sMultiPowerLaw& saved, pwft_cMultiPowerLawFitFunc& fit) {
        const std::size_t terms = saved.Terms();
        auto covariance = saved.covariance.begin();
        decltype(fit.peaks_) peaks;
        for (std::size_t k = 0; k < saved.positions.size(); ++k) {
            const double* const ends = saved.ranges.data() + k * saved.ends;
            auto& peak = peaks.emplace_back(saved.positions[k], rnge_c1DRange(ends[0], ends[1]),
                                            rnge_c1DRange(ends[2], ends[3]), saved.order);
            const auto first = static_cast<std::ptrdiff_t>(k * terms);
            const auto last = first + static_cast<std::ptrdiff_t>(terms);
            sPolynomial law{
                saved.order,
                saved.ranks[k],
                saved.points[k],
                saved.residualSums[k],
                0,
                {saved.coefficients.begin() + first, saved.coefficients.begin() + last},
                {},
                {saved.standardErrors.begin() + first, saved.standardErrors.begin() + last}};
            if (saved.HasCovariance(k)) {
                const auto next = covariance + static_cast<std::ptrdiff_t>(terms * terms);
                law.covariance.assign(covariance, next);
                covariance = next;
            }
            Put(law, peak.powerLaw);
        }
        const cal_c1DArrayCal cal(saved.offset, saved.delta, saved.calIndex);
        darr_c1DArray data, deviations;
        if (!saved.data.empty())
            data = darr_c1DArray(std::span(saved.data), cal);
        if (!saved.deviations.empty())
            deviations = darr_c1DArray(std::span(saved.deviations), cal);
        fit.order_ = saved.order;
        fit.peaks_.swap(peaks);
        fit.data_ = std::move(data);
        fit.deviations_ = std::move(deviations);
    }

    static double& Offset(plft_c1DOffsetPolyFittingFunction& fit) noexcept { return fit.offset_; }

    static bool FollowsLaw(const pkmd_cModel& model, int parameter) {
        const pkmd_cModel::sPeak* const peak = model.PeakOfWidth(parameter);
        return peak && peak->hasLaw;
    }
    static void Move(pkmd_cModel& from, pkmd_cModel& to) noexcept {
        to.peaks_.swap(from.peaks_);
        to.backgrounds_.swap(from.backgrounds_);
        to.law_ = from.law_;
        to.starts_.swap(from.starts_);
        to.kinds_.swap(from.kinds_);
    }
};

// clang-format off
template<> constexpr rcrd_sKind rcrd_kindOf<nlsq_sResult> = {obty_FitResultString, obty_FitResultType};
template<> constexpr rcrd_sKind rcrd_kindOf<pkmd_sResult> = {obty_PeakFitResultString, obty_PeakFitResultType};
template<> constexpr rcrd_sKind rcrd_kindOf<plft_c1DPolyFittingFunction> = {obty_PolynomialString, obty_PolynomialType};
template<> constexpr rcrd_sKind rcrd_kindOf<plft_c1DOffsetPolyFittingFunction> = {obty_OffsetPolynomialString, obty_OffsetPolynomialType};
template<> constexpr rcrd_sKind rcrd_kindOf<pwft_cPowerLawFittingFunction> = {obty_PowerLawString, obty_PowerLawType};
template<> constexpr rcrd_sKind rcrd_kindOf<gsft_cGaussian> = {obty_GaussianString, obty_GaussianType};
template<> constexpr rcrd_sKind rcrd_kindOf<gsft_cResolution> = {obty_ResolutionString, obty_ResolutionType};
template<> constexpr rcrd_sKind rcrd_kindOf<pkmd_cModel> = {obty_PeakModelString, obty_PeakModelType};
template<> constexpr rcrd_sKind rcrd_kindOf<pwft_cMultiPowerLawFitFunc> = {obty_MultiPowerLawString, obty_MultiPowerLawType};
// clang-format on

} // namespace dataprocessing::detail

namespace {

bool isSquareOf(const std::vector<double>& matrix, std::size_t count) {
    return matrix.size() == count * count;
}

bool areParameters(const std::vector<int>& numbers, std::size_t count) {
    for (const int number : numbers)
        if (number < 0 || static_cast<std::size_t>(number) >= count)
            return false;
    return true;
}

/// The result of a fit, within those of others as well.
struct sResult {
    nlsq_sResult fit;
    int end = 0;

    template<class Visit>
    void Fields(Visit& visit) {
        visit(rcrd_sField{"Parameters", 300}, fit.parameters);
        visit(rcrd_sField{"StandardErrors", 301}, fit.standardErrors);
        visit(rcrd_sField{"Covariance", 302}, fit.covariance);
        visit(rcrd_sField{"ChiSquared", 303}, fit.chiSquared);
        visit(rcrd_sField{"DegreesOfFreedom", 304}, fit.degreesOfFreedom);
        visit(rcrd_sField{"Iterations", 305}, fit.iterations);
        visit(rcrd_sField{"Evaluations", 306}, fit.evaluations);
        visit(rcrd_sField{"End", 307}, end);
        visit(rcrd_sField{"Gradient", 308}, fit.gradient);
        visit(rcrd_sField{"Step", 309}, fit.step);
        visit(rcrd_sField{"Decrease", 310}, fit.decrease);
        visit(rcrd_sField{"Free", 311}, fit.free);
        visit(rcrd_sField{"Rank", 312}, fit.rank);
        visit(rcrd_sField{"AtBound", 313}, fit.atBound);
        visit(rcrd_sField{"Undetermined", 314}, fit.undetermined);
    }
    void Finish() {
        const std::size_t count = fit.parameters.size();
        Require(end >= 0 && end <= nlsq_NoValue && fit.standardErrors.size() == count &&
                isSquareOf(fit.covariance, count) && areParameters(fit.atBound, count) &&
                areParameters(fit.undetermined, count));
        fit.end = static_cast<nlsq_eEnd>(end);
    }
};

template<class Value>
class cImage;

template<>
class cImage<nlsq_sResult> final : public rcrd_sImageOf<nlsq_sResult> {
public:
    cImage() = default;
    explicit cImage(const nlsq_sResult& fit) : result_{fit, fit.end} {}

    template<class Visit>
    void Fields(Visit visit) {
        result_.Fields(visit);
    }
    void Finish() { result_.Finish(); }
    void MoveTo(nlsq_sResult& value) { value = std::move(result_.fit); }

private:
    sResult result_;
};

template<>
class cImage<pkmd_sResult> final : public rcrd_sImageOf<pkmd_sResult> {
public:
    cImage() = default;
    explicit cImage(const pkmd_sResult& value)
        : result_{value.fit, value.fit.end}, channels_(value.channels), names_(value.names) {
        for (const pkmd_sPeak& peak : value.peaks) {
            shapes_.push_back(peak.shape);
            for (double pkmd_sPeak::*const figure : figures)
                peaks_.push_back(peak.*figure);
        }
    }

    template<class Visit>
    void Fields(Visit visit) {
        result_.Fields(visit);
        visit(rcrd_sField{"Channels", 315}, channels_);
        visit(rcrd_sField{"Name", 316}, names_);
        visit(rcrd_sField{"Shapes", 317}, shapes_);
        visit(rcrd_sField{"Peaks", 318}, peaks_);
    }
    void Finish() {
        result_.Finish();
        Require(names_.size() == result_.fit.parameters.size() &&
                peaks_.size() == shapes_.size() * std::size(figures));
        for (std::size_t i = 0; i < shapes_.size(); ++i) {
            Require(shapes_[i] >= pkmd_Gaussian && shapes_[i] <= pkmd_TailedGaussian);
            pkmd_sPeak& peak = read_.emplace_back();
            peak.shape = static_cast<pkmd_eShape>(shapes_[i]);
            for (std::size_t k = 0; k < std::size(figures); ++k)
                peak.*figures[k] = peaks_[i * std::size(figures) + k];
        }
    }
    void MoveTo(pkmd_sResult& value) {
        value = {std::move(result_.fit), std::move(read_), std::move(names_), channels_};
    }

private:
    static constexpr double pkmd_sPeak::*figures[] = {
        &pkmd_sPeak::position,    &pkmd_sPeak::positionError, &pkmd_sPeak::height,
        &pkmd_sPeak::heightError, &pkmd_sPeak::width,         &pkmd_sPeak::widthError,
        &pkmd_sPeak::extra,       &pkmd_sPeak::extraError,    &pkmd_sPeak::area,
        &pkmd_sPeak::areaError};

    sResult result_;
    int channels_ = 0;
    std::vector<std::string> names_;
    std::vector<int> shapes_;
    std::vector<double> peaks_;
    std::vector<pkmd_sPeak> read_;
};

/// Polynomials of all kinds.
template<class Value>
class cImage final : public rcrd_sImageOf<Value> {
public:
    cImage() = default;
    explicit cImage(const Value& fit) : saved_(rcrd_cFits::Of(fit)) {
        if constexpr (hasOffset)
            saved_.offset = fit.Offset();
    }

    template<class Visit>
    void Fields(Visit visit) {
        visit(rcrd_sField{"Order", 320}, saved_.order);
        visit(rcrd_sField{"Coefficients", 321}, saved_.coefficients);
        visit(rcrd_sField{"Covariance", 322}, saved_.covariance);
        visit(rcrd_sField{"StandardErrors", 327}, saved_.standardErrors);
        visit(rcrd_sField{"Rank", 323}, saved_.rank);
        visit(rcrd_sField{"Points", 324}, saved_.points);
        visit(rcrd_sField{"ResidualSum", 325}, saved_.residualSum);
        if constexpr (hasOffset)
            visit(rcrd_sField{"Offset", 326}, saved_.offset);
    }
    void Finish() const {
        const std::size_t count = saved_.coefficients.size();
        Require(saved_.order >= 0 && count == static_cast<std::size_t>(saved_.order) + 1 &&
                saved_.standardErrors.size() == count &&
                (saved_.covariance.empty() || isSquareOf(saved_.covariance, count)) &&
                saved_.rank >= 0 && saved_.rank <= saved_.order + 1 &&
                saved_.points >= saved_.rank);
    }
    void MoveTo(Value& value) const {
        rcrd_cFits::Put(saved_, value);
        if constexpr (hasOffset)
            rcrd_cFits::Offset(value) = saved_.offset;
    }

private:
    static constexpr bool hasOffset = std::is_same_v<Value, plft_c1DOffsetPolyFittingFunction>;

    rcrd_cFits::sPolynomial saved_;
};

template<>
class cImage<gsft_cGaussian> final : public rcrd_sImageOf<gsft_cGaussian> {
public:
    cImage() = default;
    explicit cImage(const gsft_cGaussian& peak)
        : amplitude_(peak.Amplitude()), center_(peak.Center()), width_(peak.Width()) {}

    template<class Visit>
    void Fields(Visit visit) {
        visit(rcrd_sField{"Amplitude", 330}, amplitude_);
        visit(rcrd_sField{"Center", 331}, center_);
        visit(rcrd_sField{"Width", 332}, width_);
    }
    void Finish() const noexcept {}
    void MoveTo(gsft_cGaussian& value) const {
        value.SetAmplitude(amplitude_);
        value.SetCenter(center_);
        value.SetWidth(width_);
    }

private:
    double amplitude_ = 0;
    double center_ = 0;
    double width_ = 0;
};

template<>
class cImage<gsft_cResolution> final : public rcrd_sImageOf<gsft_cResolution> {
public:
    cImage() = default;
    explicit cImage(const gsft_cResolution& law)
        : position_(law.ReferencePosition()), fwhm_(law.ReferenceFWHM()), factor_(law.Factor()) {}

    template<class Visit>
    void Fields(Visit visit) {
        visit(rcrd_sField{"Position", 333}, position_);
        visit(rcrd_sField{"FWHM", 334}, fwhm_);
        visit(rcrd_sField{"Factor", 335}, factor_);
    }
    void Finish() const noexcept {}
    void MoveTo(gsft_cResolution& value) const { value = {position_, fwhm_, factor_}; }

private:
    double position_ = 0;
    double fwhm_ = 0;
    double factor_ = 0;
};

/// The calls that make a model, in their order.
template<>
class cImage<pkmd_cModel> final : public rcrd_sImageOf<pkmd_cModel> {
public:
    cImage() = default;
    explicit cImage(const pkmd_cModel& model)
        : starts_(model.Starts().begin(), model.Starts().end()) {
        std::vector<std::pair<int, std::function<void()>>> parts;
        for (const pkmd_cModel::sPeak& peak : model.Peaks())
            parts.emplace_back(peak.first, [this, &peak] { Add(peak.shape, 0, 0, 1); });
        for (const pkmd_cModel::sBackground& background : model.Backgrounds())
            parts.emplace_back(background.first, [this, &background] {
                const std::size_t count = background.kind == pkmd_cModel::Polynomial
                                              ? static_cast<std::size_t>(background.count)
                                              : background.curve.size();
                Add(firstBackground + background.kind, static_cast<int>(count),
                    background.reference, background.scale);
                curves_.insert(curves_.end(), background.curve.begin(), background.curve.end());
            });
        if (model.WidthLaw().first >= 0)
            parts.emplace_back(model.WidthLaw().first,
                               [this, &model] { Add(widthLaw, 0, model.WidthLaw().reference, 1); });
        std::sort(parts.begin(), parts.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& [first, add] : parts)
            add();
        for (const nlsq_sParameter& kind : model.Kinds()) {
            kinds_.push_back(kind.kind);
            lower_.push_back(kind.lower);
            upper_.push_back(kind.upper);
            to_.push_back(kind.to);
            factors_.push_back(kind.factor);
            tieOffsets_.push_back(kind.offset);
        }
    }

    template<class Visit>
    void Fields(Visit visit) {
        visit(rcrd_sField{"Parts", 340}, parts_);
        visit(rcrd_sField{"Counts", 341}, counts_);
        visit(rcrd_sField{"References", 342}, references_);
        visit(rcrd_sField{"Scales", 343}, scales_);
        visit(rcrd_sField{"Curves", 344}, curves_);
        visit(rcrd_sField{"Starts", 345}, starts_);
        visit(rcrd_sField{"Kinds", 346}, kinds_);
        visit(rcrd_sField{"Lower", 347}, lower_);
        visit(rcrd_sField{"Upper", 348}, upper_);
        visit(rcrd_sField{"To", 349}, to_);
        visit(rcrd_sField{"Factors", 350}, factors_);
        visit(rcrd_sField{"TieOffsets", 351}, tieOffsets_);
    }
    void Finish() {
        const std::size_t parts = parts_.size();
        const std::size_t all = starts_.size();
        Require(counts_.size() == parts && references_.size() == parts && scales_.size() == parts &&
                kinds_.size() == all && lower_.size() == all && upper_.size() == all &&
                to_.size() == all && factors_.size() == all && tieOffsets_.size() == all);
        try {
            std::size_t curve = 0;
            for (std::size_t i = 0; i < parts; ++i)
                curve += AddPart(i, curve);
            Require(curve == curves_.size());
            model_.SetStarts(starts_);
            for (int i = 0; i < model_.ParameterCount(); ++i)
                SetKind(i);
        } catch (const expt_cProgramException&) {
            Require(false);
        }
    }
    void MoveTo(pkmd_cModel& value) { rcrd_cFits::Move(model_, value); }

private:
    static constexpr int firstBackground = 5;
    static constexpr int widthLaw = 9;

    void Add(int part, int count, double reference, double scale) {
        parts_.push_back(part);
        counts_.push_back(count);
        references_.push_back(reference);
        scales_.push_back(scale);
    }

    /// Adds a part with any start; answers how many elements of the curves it took.
    std::size_t AddPart(std::size_t i, std::size_t curve) {
        Require(static_cast<std::size_t>(model_.ParameterCount()) <= starts_.size());
        const bool hasCount = parts_[i] == firstBackground + pkmd_cModel::Polynomial ||
                              parts_[i] == firstBackground + pkmd_cModel::GivenCurve;
        Require(parts_[i] >= pkmd_Gaussian && parts_[i] <= widthLaw &&
                (counts_[i] == 0 || (hasCount && counts_[i] > 0)));
        const auto count = static_cast<std::size_t>(counts_[i]);
        if (parts_[i] <= pkmd_TailedGaussian) {
            model_.AddPeak(static_cast<pkmd_eShape>(parts_[i]), 0, 1, 1, 1);
        } else if (parts_[i] == widthLaw) {
            model_.SetWidthLaw(1, 0, references_[i]);
        } else if (parts_[i] == firstBackground + pkmd_cModel::Polynomial) {
            Require(count <= starts_.size() - static_cast<std::size_t>(model_.ParameterCount()));
            model_.AddPolynomial(std::vector<double>(count), references_[i], scales_[i]);
        } else if (parts_[i] == firstBackground + pkmd_cModel::PowerLaw) {
            model_.AddPowerLaw(1, 1, references_[i]);
        } else if (parts_[i] == firstBackground + pkmd_cModel::Exponential) {
            model_.AddExponential(1, 1, references_[i]);
        } else {
            Require(count <= curves_.size() - curve);
            model_.AddCurve(darr_c1DArray(std::span(curves_).subspan(curve, count)), 1);
            return count;
        }
        return 0;
    }

    void SetKind(int parameter) {
        const auto i = static_cast<std::size_t>(parameter);
        if (rcrd_cFits::FollowsLaw(model_, parameter))
            return Require(kinds_[i] == nlsq_sParameter::Staying);
        if (kinds_[i] == nlsq_sParameter::Following)
            return model_.Tie(parameter, to_[i], factors_[i], tieOffsets_[i]);
        if (kinds_[i] == nlsq_sParameter::Staying)
            return model_.Fix(parameter);
        Require(kinds_[i] == nlsq_sParameter::Moving);
        model_.Bound(parameter, lower_[i], upper_[i]);
    }

    std::vector<int> parts_;
    std::vector<int> counts_;
    std::vector<double> references_;
    std::vector<double> scales_;
    std::vector<double> curves_;
    std::vector<double> starts_;
    std::vector<int> kinds_;
    std::vector<double> lower_;
    std::vector<double> upper_;
    std::vector<int> to_;
    std::vector<double> factors_;
    std::vector<double> tieOffsets_;
    pkmd_cModel model_;
};

template<>
class cImage<pwft_cMultiPowerLawFitFunc> final : public rcrd_sImageOf<pwft_cMultiPowerLawFitFunc> {
public:
    cImage() = default;
    explicit cImage(const pwft_cMultiPowerLawFitFunc& fit) : saved_(rcrd_cFits::Of(fit)) {}

    template<class Visit>
    void Fields(Visit visit) {
        visit(rcrd_sField{"Order", 320}, saved_.order);
        visit(rcrd_sField{"Positions", 360}, saved_.positions);
        visit(rcrd_sField{"Ranges", 361}, saved_.ranges);
        visit(rcrd_sField{"Ranks", 362}, saved_.ranks);
        visit(rcrd_sField{"Points", 363}, saved_.points);
        visit(rcrd_sField{"ResidualSums", 364}, saved_.residualSums);
        visit(rcrd_sField{"Coefficients", 321}, saved_.coefficients);
        visit(rcrd_sField{"Covariance", 322}, saved_.covariance);
        visit(rcrd_sField{"StandardErrors", 327}, saved_.standardErrors);
        visit(rcrd_sField{"Data", 365}, saved_.data);
        visit(rcrd_sField{"Offset", 366}, saved_.offset);
        visit(rcrd_sField{"Delta", 367}, saved_.delta);
        visit(rcrd_sField{"CalIndex", 368}, saved_.calIndex);
        visit(rcrd_sField{"Deviations", 369}, saved_.deviations);
    }
    void Finish() const {
        const std::size_t peaks = saved_.positions.size();
        // Without a peak any order stands, also one that AddPeak will refuse.
        Require(peaks == 0 || saved_.order >= 0);
        const std::size_t terms = peaks == 0 ? 1 : saved_.Terms();
        Require(saved_.ranges.size() == peaks * saved_.ends && saved_.ranks.size() == peaks &&
                saved_.points.size() == peaks && saved_.residualSums.size() == peaks &&
                saved_.coefficients.size() == peaks * terms &&
                saved_.standardErrors.size() == peaks * terms &&
                (saved_.deviations.empty() || saved_.deviations.size() == saved_.data.size()));
        std::size_t covariances = 0;
        for (std::size_t k = 0; k < peaks; ++k) {
            Require(saved_.ranks[k] >= 0 && saved_.ranks[k] <= saved_.order + 1 &&
                    saved_.points[k] >= saved_.ranks[k] &&
                    !(k > 0 && saved_.positions[k] < saved_.positions[k - 1]));
            covariances += saved_.HasCovariance(k);
        }
        Require(saved_.covariance.size() == covariances * terms * terms);
    }
    void MoveTo(pwft_cMultiPowerLawFitFunc& value) const { rcrd_cFits::Put(saved_, value); }

private:
    rcrd_cFits::sMultiPowerLaw saved_;
};

template<class Value>
void save(std::ostream& stream, const Value& value, rcrd_eForm form) {
    rcrd_SaveImage(stream, cImage<Value>(value), form);
}

template<class Value>
void load(std::istream& stream, Value& value) {
    rcrd_LoadImage<cImage<Value>>(stream).MoveTo(value);
}

template<class Stream, class Value, class Label>
bool write(Stream& stream, const Value& value, const Label& label) {
    return rcrd_WriteImage(stream, cImage<Value>(value), label);
}

template<class Stream, class Value>
bool read(Stream& stream, Value& value) {
    return rcrd_ReadImage<cImage<Value>>(stream, value);
}

} // namespace

// clang-format off

void rcrd_Save(std::ostream& stream, const nlsq_sResult&                      value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const pkmd_sResult&                      value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const plft_c1DPolyFittingFunction&       value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const plft_c1DOffsetPolyFittingFunction& value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const pwft_cPowerLawFittingFunction&     value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const gsft_cGaussian&                    value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const gsft_cResolution&                  value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const pkmd_cModel&                       value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const pwft_cMultiPowerLawFitFunc&        value, rcrd_eForm form) { save(stream, value, form); }

void rcrd_Load(std::istream& stream, nlsq_sResult&                      value) { load(stream, value); }
void rcrd_Load(std::istream& stream, pkmd_sResult&                      value) { load(stream, value); }
void rcrd_Load(std::istream& stream, plft_c1DPolyFittingFunction&       value) { load(stream, value); }
void rcrd_Load(std::istream& stream, plft_c1DOffsetPolyFittingFunction& value) { load(stream, value); }
void rcrd_Load(std::istream& stream, pwft_cPowerLawFittingFunction&     value) { load(stream, value); }
void rcrd_Load(std::istream& stream, gsft_cGaussian&                    value) { load(stream, value); }
void rcrd_Load(std::istream& stream, gsft_cResolution&                  value) { load(stream, value); }
void rcrd_Load(std::istream& stream, pkmd_cModel&                       value) { load(stream, value); }
void rcrd_Load(std::istream& stream, pwft_cMultiPowerLawFitFunc&        value) { load(stream, value); }

type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const nlsq_sResult&                      value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pkmd_sResult&                      value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const plft_c1DPolyFittingFunction&       value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const plft_c1DOffsetPolyFittingFunction& value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pwft_cPowerLawFittingFunction&     value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const gsft_cGaussian&                    value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const gsft_cResolution&                  value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pkmd_cModel&                       value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pwft_cMultiPowerLawFitFunc&        value, const str_cString& name) { return write(stream, value, name); }

type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const nlsq_sResult&                      value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pkmd_sResult&                      value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const plft_c1DPolyFittingFunction&       value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const plft_c1DOffsetPolyFittingFunction& value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pwft_cPowerLawFittingFunction&     value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const gsft_cGaussian&                    value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const gsft_cResolution&                  value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pkmd_cModel&                       value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pwft_cMultiPowerLawFitFunc&        value, unsigned short tag) { return write(stream, value, tag); }

type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, nlsq_sResult&                      value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pkmd_sResult&                      value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, plft_c1DPolyFittingFunction&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, plft_c1DOffsetPolyFittingFunction& value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pwft_cPowerLawFittingFunction&     value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, gsft_cGaussian&                    value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, gsft_cResolution&                  value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pkmd_cModel&                       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pwft_cMultiPowerLawFitFunc&        value) { return read(stream, value); }

type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, nlsq_sResult&                      value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pkmd_sResult&                      value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, plft_c1DPolyFittingFunction&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, plft_c1DOffsetPolyFittingFunction& value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pwft_cPowerLawFittingFunction&     value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, gsft_cGaussian&                    value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, gsft_cResolution&                  value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pkmd_cModel&                       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pwft_cMultiPowerLawFitFunc&        value) { return read(stream, value); }
