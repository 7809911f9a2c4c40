#include "further_line.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

namespace tour {

namespace {

constexpr double window = 4;    // widths to either side
constexpr double fewCounts = 3; // over a width, that the variance is taken for at least

/// Curves given channel by channel.
class Curves : public nlsq_cModel {
public:
    explicit Curves(std::vector<std::vector<double>> columns) : columns_(std::move(columns)) {}

    int Count() const { return static_cast<int>(columns_.size()); }

    /// The channels of the window are counted from 0.
    void Evaluate(std::span<const double> x, std::span<const double> p, std::span<double> values,
                  std::span<double> derivatives) const override {
        std::fill(values.begin(), values.end(), 0.0);
        for (std::size_t j = 0; j < columns_.size(); ++j)
            for (std::size_t i = 0; i < x.size(); ++i) {
                const double value = columns_[j][static_cast<std::size_t>(x[i])];
                values[i] += p[j] * value;
                if (!derivatives.empty())
                    derivatives[j * x.size() + i] = value;
            }
    }

private:
    std::vector<std::vector<double>> columns_;
};

} // namespace

FurtherLine furtherLine(const Description& description, double position) {
    const double width = description.law.At(position);
    const double middle = description.IndexOf(position);
    const double half = window * width / description.delta;
    const int size = description.values.Size();
    const int from = std::clamp(static_cast<int>(std::ceil(middle - half)), 0, size - 1);
    const int to = std::clamp(static_cast<int>(middle + half) + 1, from + 1, size);
    const auto channels = static_cast<std::size_t>(to - from);
    const auto gaussian = [&](double at, double full, bool isDerivative) {
        std::vector<double> column(channels);
        const double sigma = full / fullWidthPerSigma / description.delta;
        for (std::size_t i = 0; i < channels; ++i) {
            const double z = (from + static_cast<double>(i) - description.IndexOf(at)) / sigma;
            column[i] = std::exp(-z * z / 2) * (isDerivative ? z : 1);
        }
        return column;
    };
    std::vector<std::vector<double>> columns{gaussian(position, width, false)};
    for (const Line& line : description.lines) {
        if (std::abs(line.position - position) > window * width)
            continue;
        columns.push_back(gaussian(line.position, line.width, false));
        if (!line.isGiven)
            columns.push_back(gaussian(line.position, line.width, true));
    }
    for (const darr_c1DArray& curve : description.Curves()) {
        const std::span<const double> part =
            curve.Elements<double>().subspan(static_cast<std::size_t>(from), channels);
        if (std::any_of(part.begin(), part.end(), [](double value) { return value != 0; }))
            columns.emplace_back(part.begin(), part.end());
    }
    if (columns.size() >= channels)
        return {};
    const std::span<const double> y = description.values.Elements<double>();
    const std::span<const double> model = description.model.Elements<double>();
    const double least = fewCounts * description.delta / width;
    std::vector<double> x(channels);
    std::vector<double> left(channels);
    nlsq_sOptions options;
    options.errors = nlsq_ErrorsAsGiven;
    for (std::size_t i = 0; i < channels; ++i) {
        const std::size_t at = static_cast<std::size_t>(from) + i;
        x[i] = static_cast<double>(i);
        left[i] = y[at] - model[at];
        options.standardDeviations.push_back(description.noise.isOfCounts
                                                 ? std::sqrt(std::max(model[at], least))
                                                 : description.noise.deviation);
    }
    const Curves curves(std::move(columns));
    const nlsq_sResult fit = nlsq_FitLinear(curves, x, left, curves.Count(), options);
    const double error = fit.standardErrors[0];
    return {fit.parameters[0], error > 0 ? fit.parameters[0] / error : 0};
}

} // namespace tour
