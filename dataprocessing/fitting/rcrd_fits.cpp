#include "dataprocessing/fitting/rcrd_fits.h"

#include <cstddef>
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
    static double& Offset(plft_c1DOffsetPolyFittingFunction& fit) noexcept { return fit.offset_; }
};

// clang-format off
template<> constexpr rcrd_sKind rcrd_kindOf<nlsq_sResult> = {obty_FitResultString, obty_FitResultType};
template<> constexpr rcrd_sKind rcrd_kindOf<pkmd_sResult> = {obty_PeakFitResultString, obty_PeakFitResultType};
template<> constexpr rcrd_sKind rcrd_kindOf<plft_c1DPolyFittingFunction> = {obty_PolynomialString, obty_PolynomialType};
template<> constexpr rcrd_sKind rcrd_kindOf<plft_c1DOffsetPolyFittingFunction> = {obty_OffsetPolynomialString, obty_OffsetPolynomialType};
template<> constexpr rcrd_sKind rcrd_kindOf<pwft_cPowerLawFittingFunction> = {obty_PowerLawString, obty_PowerLawType};
template<> constexpr rcrd_sKind rcrd_kindOf<gsft_cGaussian> = {obty_GaussianString, obty_GaussianType};
template<> constexpr rcrd_sKind rcrd_kindOf<gsft_cResolution> = {obty_ResolutionString, obty_ResolutionType};
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

void rcrd_Load(std::istream& stream, nlsq_sResult&                      value) { load(stream, value); }
void rcrd_Load(std::istream& stream, pkmd_sResult&                      value) { load(stream, value); }
void rcrd_Load(std::istream& stream, plft_c1DPolyFittingFunction&       value) { load(stream, value); }
void rcrd_Load(std::istream& stream, plft_c1DOffsetPolyFittingFunction& value) { load(stream, value); }
void rcrd_Load(std::istream& stream, pwft_cPowerLawFittingFunction&     value) { load(stream, value); }
void rcrd_Load(std::istream& stream, gsft_cGaussian&                    value) { load(stream, value); }
void rcrd_Load(std::istream& stream, gsft_cResolution&                  value) { load(stream, value); }

type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const nlsq_sResult&                      value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pkmd_sResult&                      value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const plft_c1DPolyFittingFunction&       value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const plft_c1DOffsetPolyFittingFunction& value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pwft_cPowerLawFittingFunction&     value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const gsft_cGaussian&                    value, const str_cString& name) { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const gsft_cResolution&                  value, const str_cString& name) { return write(stream, value, name); }

type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const nlsq_sResult&                      value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pkmd_sResult&                      value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const plft_c1DPolyFittingFunction&       value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const plft_c1DOffsetPolyFittingFunction& value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pwft_cPowerLawFittingFunction&     value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const gsft_cGaussian&                    value, unsigned short tag) { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const gsft_cResolution&                  value, unsigned short tag) { return write(stream, value, tag); }

type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, nlsq_sResult&                      value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pkmd_sResult&                      value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, plft_c1DPolyFittingFunction&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, plft_c1DOffsetPolyFittingFunction& value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pwft_cPowerLawFittingFunction&     value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, gsft_cGaussian&                    value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, gsft_cResolution&                  value) { return read(stream, value); }

type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, nlsq_sResult&                      value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pkmd_sResult&                      value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, plft_c1DPolyFittingFunction&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, plft_c1DOffsetPolyFittingFunction& value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pwft_cPowerLawFittingFunction&     value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, gsft_cGaussian&                    value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, gsft_cResolution&                  value) { return read(stream, value); }
