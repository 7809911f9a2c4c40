#include "dataprocessing/fitting/pkmd_centre.h"

#include <algorithm>
#include <cmath>

#include "dataprocessing/algebra/nlsq_refusal.h"

namespace dataprocessing::detail {

namespace {

constexpr nlsq_cRefusal<expt_cProgramException> refuse("pkmd");

/// The coefficients in v of a polynomial in u = a v + b: by Horner's scheme, which is multiplied by
/// a v + b again and again.
void substitute(std::span<double> c, double a, double b) {
    for (std::size_t from = c.size(); from-- > 0;)
        for (std::size_t k = from; k + 1 < c.size(); ++k)
            c[k] += b * c[k + 1];
    double power = 1;
    for (double& element : c) {
        element *= power;
        power *= a;
    }
}

bool isFree(const nlsq_sParameter& kind) {
    return kind.kind == nlsq_sParameter::Moving && std::isinf(kind.lower) && std::isinf(kind.upper);
}

/// Whether coefficients are free, with nothing tied to them, up to higher ones that stay.
bool canMove(const pkmd_cModel::sBackground& background, std::span<const nlsq_sParameter> kinds) {
    const auto own = kinds.subspan(static_cast<std::size_t>(background.first),
                                   static_cast<std::size_t>(background.count));
    const bool isAmong = std::any_of(kinds.begin(), kinds.end(), [&](const auto& kind) {
        return kind.kind == nlsq_sParameter::Following && kind.to >= background.first &&
               kind.to < background.first + background.count;
    });
    return !isAmong &&
           std::all_of(std::find_if_not(own.begin(), own.end(), isFree), own.end(),
                       [](const auto& kind) { return kind.kind == nlsq_sParameter::Staying; });
}

/// The highest power of a polynomial, without those that stay at 0.
std::size_t orderOf(const pkmd_cModel::sBackground& background,
                    std::span<const nlsq_sParameter> kinds, std::span<const double> starts) {
    const auto first = static_cast<std::size_t>(background.first);
    auto order = static_cast<std::size_t>(background.count - 1);
    while (order > 0 && kinds[first + order].kind == nlsq_sParameter::Staying &&
           starts[first + order] == 0)
        --order;
    return order;
}

} // namespace

pkmd_cCentre::pkmd_cCentre(const pkmd_cModel& model, std::span<const nlsq_sParameter> kinds,
                           std::span<const double> starts, double from, double to) {
    const double middle = from / 2 + to / 2;
    const double half = std::fabs(to / 2 - from / 2);
    for (const pkmd_cModel::sBackground& background : model.Backgrounds()) {
        axes_.push_back({background.reference, background.scale});
        const auto first = static_cast<std::size_t>(background.first);
        const auto count = static_cast<std::size_t>(background.count);
        const double a = half / background.scale;
        const double b = (middle - background.reference) / background.scale;
        const double distance = std::fabs(middle - background.reference) / half;
        constexpr double far = 10;
        constexpr double large = 1e100;
        if (background.kind != pkmd_cModel::Polynomial || count < 2 || !isFree(kinds[first + 1]) ||
            !canMove(background, kinds) || !(distance > far) || !std::isfinite(distance) ||
            !(std::pow(std::fabs(b), background.count) < large))
            continue;
        // So much larger than the polynomial are its terms, and their rounding.
        constexpr double mostTerms = 1e10;
        const auto order = static_cast<double>(orderOf(background, kinds, starts));
        refuse.If(std::pow(1 + distance, order) > mostTerms, 12,
                  "The reference of a polynomial lies too far from the channels for its "
                  "coefficients.");
        axes_.back() = {middle, half};
        moved_.push_back({first, count, a, b});
        for (std::size_t i = first; i < first + count; ++i)
            if (kinds[i].kind == nlsq_sParameter::Staying)
                held_.push_back({i, starts[i]});
    }
}

void pkmd_cCentre::ToMiddle(std::span<double> p) const {
    for (const sMoved& moved : moved_)
        substitute(p.subspan(moved.first, moved.count), moved.a, moved.b);
}

void pkmd_cCentre::Substitute(std::span<double> p) const {
    for (const sMoved& moved : moved_)
        substitute(p.subspan(moved.first, moved.count), 1 / moved.a, -moved.b / moved.a);
}

void pkmd_cCentre::ToModel(std::span<double> p) const {
    Substitute(p);
    for (const sHeld& held : held_)
        p[held.parameter] = held.value;
}

void pkmd_cCentre::ToModel(nlsq_sResult& fit) const {
    if (IsThere())
        return;
    ToModel(fit.parameters);
    const std::size_t count = fit.parameters.size();
    std::vector<double> column(count);
    for (const bool isTransposed : {false, true})
        for (std::size_t j = 0; j < count; ++j) {
            const auto at = [&](std::size_t i) {
                return isTransposed ? j * count + i : i * count + j;
            };
            for (std::size_t i = 0; i < count; ++i)
                column[i] = fit.covariance[at(i)];
            Substitute(column);
            for (std::size_t i = 0; i < count; ++i)
                fit.covariance[at(i)] = column[i];
        }
    for (const sMoved& moved : moved_) {
        // A coefficient is made of that of its power, and of those of higher ones.
        int highest = -1;
        for (std::size_t i = moved.first; i < moved.first + moved.count; ++i) {
            fit.standardErrors[i] = std::sqrt(std::max(fit.covariance[i * count + i], 0.0));
            if (std::find(fit.undetermined.begin(), fit.undetermined.end(), static_cast<int>(i)) !=
                fit.undetermined.end())
                highest = static_cast<int>(i);
        }
        for (int i = static_cast<int>(moved.first); i < highest; ++i) {
            const auto place =
                std::lower_bound(fit.undetermined.begin(), fit.undetermined.end(), i);
            if (place == fit.undetermined.end() || *place != i)
                fit.undetermined.insert(place, i);
        }
    }
}

} // namespace dataprocessing::detail
