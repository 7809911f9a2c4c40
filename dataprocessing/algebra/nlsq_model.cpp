#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "dataprocessing/algebra/nlsq.h"
#include "dataprocessing/algebra/nlsq_refusal.h"

namespace {

constexpr dataprocessing::detail::nlsq_cRefusal<expt_cProgramException> refuse("nlsq");

double largestOf(std::span<const double> values) {
    double largest = 0;
    for (const double value : values)
        largest = std::max(largest, std::fabs(value));
    return largest;
}

/// Of those that are finite: others may take no part.
double largestFiniteOf(std::span<const double> values) {
    double largest = 0;
    for (const double value : values)
        if (std::isfinite(value))
            largest = std::max(largest, std::fabs(value));
    return largest;
}

/// How far a parameter is moved for a difference: the cube root of epsilon of it, which is short
/// enough for functions that change over a small part of a parameter. Near 0 that tells nothing:
/// where the values hardly change, it goes on from what the positions suggest until one does, for
/// what it is, but not to where it changes all at once. Small values beside large ones count from a
/// part of those on which rounding does not show. changesOver(step) tells the change of each value
/// between a step below and one above; the last that it is asked for are the answer.
template<class ChangesOver>
double differenceStep(double parameter, std::span<const double> x, std::span<const double> values,
                      ChangesOver changesOver) {
    constexpr double part = 6e-6;
    constexpr double first = 1e-6; // of what the positions suggest
    constexpr double growth = 10;
    constexpr double enough = 1e-6;
    constexpr double jump = 1e-4;
    constexpr double least = 1e-8; // of the largest value
    // A sum, so that the step is what the parameter really moves by.
    const auto moved = [&](double step) { return parameter + step - parameter; };
    const double size = largestFiniteOf(values);
    const double positions = largestOf(x) > 0 ? largestOf(x) : 1;
    const double most = part * std::max({1.0, positions, size});
    const auto changeOver = [&](double step) {
        const std::span<const double> changes = changesOver(step);
        double largest = 0;
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double value = std::max(std::fabs(values[i]), least * size);
            largest = std::max(largest, changes[i] == 0 ? 0 : std::fabs(changes[i]) / value);
        }
        return largest;
    };

    double step = moved(part * (parameter == 0 ? first * positions : std::fabs(parameter)));
    double change = changeOver(step);
    const bool isNearZero = std::fabs(parameter) < positions;
    while (isNearZero && change <= enough && growth * step < most) {
        const double next = moved(std::max(growth * step, part * first * positions));
        change = changeOver(next);
        if (!(change <= jump)) {
            changeOver(step);
            break;
        }
        step = next;
    }
    return step;
}

/// The derivative, up to the fourth power of the step, from what lies between values at one step
/// and at two steps to both sides.
double slopeOf(double one, double two, double step) { return (8 * one - two) / (12 * step); }

} // namespace

nlsq_cModel::~nlsq_cModel() = default;

nlsq_cFunctionModel::nlsq_cFunctionModel(Function function) : function_(std::move(function)) {
    refuse.If(!function_, 1, "A model needs a function.");
}

nlsq_cFunctionModel::nlsq_cFunctionModel(Function function, Gradient gradient)
    : function_(std::move(function)), gradient_(std::move(gradient)) {
    refuse.If(!function_ || !gradient_, 1, "A model needs a function.");
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
    std::vector<double> near(x.size());
    for (std::size_t j = 0; j < p.size(); ++j) {
        const auto across = [&](std::size_t i, double distance) {
            moved[j] = p[j] + distance;
            const double above = function_(x[i], moved);
            moved[j] = p[j] - distance;
            return above - function_(x[i], moved);
        };
        const double step = differenceStep(p[j], x, values, [&](double distance) {
            for (std::size_t i = 0; i < x.size(); ++i)
                near[i] = across(i, distance);
            return std::span<const double>(near);
        });
        for (std::size_t i = 0; i < x.size(); ++i)
            derivatives[j * x.size() + i] = slopeOf(near[i], across(i, 2 * step), step);
        moved[j] = p[j];
    }
}

nlsq_sDerivativeCheck nlsq_CheckDerivatives(const nlsq_cModel& model, std::span<const double> x,
                                            std::span<const double> p) {
    refuse.If(x.empty(), 3, "There are no points.");
    const std::size_t count = p.size();
    std::vector<double> moved(p.begin(), p.end());
    std::vector<double> derivatives(count * nlsq_blockSize);
    std::array<double, nlsq_blockSize> values{};
    std::array<std::array<double, nlsq_blockSize>, 4> around{}; // from below to above
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
            std::array<double, nlsq_blockSize> expected{};
            const auto fill = [&](std::size_t k, double distance) {
                moved[j] = p[j] + distance;
                model.Evaluate(block, moved, std::span(around[k]).first(rows), {});
            };
            const double step =
                differenceStep(p[j], block, std::span(values).first(rows), [&](double distance) {
                    fill(1, -distance);
                    fill(2, distance);
                    for (std::size_t i = 0; i < rows; ++i)
                        expected[i] = around[2][i] - around[1][i];
                    return std::span<const double>(expected).first(rows);
                });
            fill(0, -2 * step);
            fill(3, 2 * step);
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
