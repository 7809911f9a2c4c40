#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "dataprocessing/algebra/nlsq.h"

namespace {

void refuseIf(bool isRefused, int line, const char* text) {
    if (isRefused)
        throw expt_cProgramException("nlsq", line, text);
}

/// How far a parameter is moved for a difference: the cube root of epsilon, which is short enough
/// for functions that change over a small part of a parameter.
double differenceStep(double parameter) {
    constexpr double part = 6e-6;
    return part * (parameter == 0 ? 1 : std::fabs(parameter));
}

/// The derivative, up to the fourth power of the step, from what lies between values at one step
/// and at two steps to both sides.
double slopeOf(double one, double two, double step) { return (8 * one - two) / (12 * step); }
constexpr std::array distances{-2.0, -1.0, 1.0, 2.0};

} // namespace

nlsq_cModel::~nlsq_cModel() = default;

nlsq_cFunctionModel::nlsq_cFunctionModel(Function function) : function_(std::move(function)) {
    refuseIf(!function_, 1, "A model needs a function.");
}

nlsq_cFunctionModel::nlsq_cFunctionModel(Function function, Gradient gradient)
    : function_(std::move(function)), gradient_(std::move(gradient)) {
    refuseIf(!function_ || !gradient_, 1, "A model needs a function.");
}

nlsq_cFunctionModel::~nlsq_cFunctionModel() = default;

double nlsq_cModel::DerivativeError() const { return std::numeric_limits<double>::epsilon(); }

double nlsq_cFunctionModel::DerivativeError() const {
    constexpr double ofDifferences = 1e-9;
    return gradient_ ? nlsq_cModel::DerivativeError() : ofDifferences;
}

void nlsq_cFunctionModel::Evaluate(std::span<const double> x, std::span<const double> p,
                                   std::span<double> values, std::span<double> derivatives) const {
    for (std::size_t i = 0; i < x.size(); ++i)
        values[i] = function_(x[i], p);
    if (derivatives.empty())
        return;
    if (gradient_) {
        std::vector<double> row(p.size());
        for (std::size_t i = 0; i < x.size(); ++i) {
            gradient_(x[i], p, row);
            for (std::size_t j = 0; j < p.size(); ++j)
                derivatives[j * x.size() + i] = row[j];
        }
        return;
    }
    std::vector<double> moved(p.begin(), p.end());
    for (std::size_t j = 0; j < p.size(); ++j) {
        // A sum, so that the step is what the parameter really moves by.
        const double step = p[j] + differenceStep(p[j]) - p[j];
        for (std::size_t i = 0; i < x.size(); ++i) {
            const auto across = [&](double distance) {
                moved[j] = p[j] + distance;
                const double above = function_(x[i], moved);
                moved[j] = p[j] - distance;
                return above - function_(x[i], moved);
            };
            derivatives[j * x.size() + i] = slopeOf(across(step), across(2 * step), step);
        }
        moved[j] = p[j];
    }
}

nlsq_sDerivativeCheck nlsq_CheckDerivatives(const nlsq_cModel& model, std::span<const double> x,
                                            std::span<const double> p) {
    refuseIf(x.empty(), 3, "There are no points.");
    const std::size_t count = p.size();
    std::vector<double> moved(p.begin(), p.end());
    std::vector<double> derivatives(count * nlsq_blockSize);
    std::array<double, nlsq_blockSize> values{};
    std::array<std::array<double, nlsq_blockSize>, distances.size()> around{};
    struct sColumn {
        double largest = 0;
        double difference = 0;
        double position = 0;
    };
    std::vector<sColumn> columns(count);

    for (std::size_t first = 0; first < x.size(); first += nlsq_blockSize) {
        const std::span<const double> block =
            x.subspan(first, std::min(nlsq_blockSize, x.size() - first));
        const std::size_t rows = block.size();
        model.Evaluate(block, p, std::span(values).first(rows),
                       std::span(derivatives).first(count * rows));
        for (std::size_t j = 0; j < count; ++j) {
            const double step = p[j] + differenceStep(p[j]) - p[j];
            std::array<double, nlsq_blockSize> expected{};
            for (std::size_t k = 0; k < around.size(); ++k) {
                moved[j] = p[j] + distances[k] * step;
                model.Evaluate(block, moved, std::span(around[k]).first(rows), {});
            }
            for (std::size_t i = 0; i < rows; ++i)
                expected[i] =
                    slopeOf(around[2][i] - around[1][i], around[3][i] - around[0][i], step);
            for (std::size_t i = 0; i < rows; ++i) {
                const double difference = std::fabs(derivatives[j * rows + i] - expected[i]);
                sColumn& column = columns[j];
                column.largest = std::max(column.largest, std::fabs(expected[i]));
                // Once NaN, always.
                if (!(difference <= column.difference) && column.difference == column.difference) {
                    column.difference = difference;
                    column.position = block[i];
                }
            }
            moved[j] = p[j];
        }
    }

    nlsq_sDerivativeCheck worst;
    for (std::size_t j = 0; j < count; ++j) {
        const sColumn& column = columns[j];
        const double difference = column.difference == 0 ? 0 : column.difference / column.largest;
        if (!(difference <= worst.difference))
            worst = {difference, static_cast<int>(j), column.position};
        if (std::isnan(worst.difference))
            break;
    }
    return worst;
}
