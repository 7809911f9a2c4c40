#include "further_line.h"

#include <algorithm>
#include <cmath>
#include <limits>
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

using Column = std::vector<double>;

/// The channels around a position.
struct Window {
    Window(const Description& description, double position) {
        const double middle = description.IndexOf(position);
        const double half = window * description.law.At(position) / description.delta;
        const int size = description.values.Size();
        from = std::clamp(static_cast<int>(std::ceil(middle - half)), 0, size - 1);
        const int to = std::clamp(static_cast<int>(middle + half) + 1, from + 1, size);
        channels = static_cast<std::size_t>(to - from);
    }
    int from;
    std::size_t channels;
};

/// A function of how many standard deviations of a line a channel is from a position.
template<class Shape>
Column columnOf(const Description& description, const Window& around, double position, double width,
                Shape shape) {
    Column column(around.channels);
    const double sigma = width / fullWidthPerSigma / description.delta;
    const double middle = description.IndexOf(position);
    for (std::size_t i = 0; i < column.size(); ++i)
        column[i] = shape((around.from + static_cast<double>(i) - middle) / sigma);
    return column;
}

double gaussian(double z) { return std::exp(-z * z / 2); }
double derivative(double z) { return z * gaussian(z); }
double smearedStep(double z) { return std::erfc(z / std::sqrt(2.0)) / 2; }

/// The linear fit of what the model leaves, `without` a line where there is one: of these columns,
/// and of what lines and splines around would change. Without parameters where there are too few
/// channels.
nlsq_sResult fitAround(const Description& description, const Window& around, double position,
                       std::vector<Column> columns, const Line* without) {
    const double width = description.law.At(position);
    Column left(around.channels);
    const std::span<const double> y = description.values.Elements<double>();
    const std::span<const double> model = description.model.Elements<double>();
    const auto first = static_cast<std::size_t>(around.from);
    for (std::size_t i = 0; i < left.size(); ++i)
        left[i] = y[first + i] - model[first + i];
    for (const Line& line : description.lines) {
        if (std::abs(line.position - position) > window * width)
            continue;
        const Column shape = columnOf(description, around, line.position, line.width, gaussian);
        if (&line == without) {
            for (std::size_t i = 0; i < left.size(); ++i)
                left[i] += line.height * shape[i];
            continue;
        }
        columns.push_back(shape);
        if (!line.isGiven)
            columns.push_back(columnOf(description, around, line.position, line.width, derivative));
    }
    for (const darr_c1DArray& curve : description.Curves()) {
        const std::span<const double> part =
            curve.Elements<double>().subspan(first, around.channels);
        if (std::any_of(part.begin(), part.end(), [](double value) { return value != 0; }))
            columns.emplace_back(part.begin(), part.end());
    }
    if (columns.size() >= around.channels)
        return {};
    const double least = fewCounts * description.delta / width;
    Column x(around.channels);
    nlsq_sOptions options;
    options.errors = nlsq_ErrorsAsGiven;
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = static_cast<double>(i);
        options.standardDeviations.push_back(description.noise.isOfCounts
                                                 ? std::sqrt(std::max(model[first + i], least))
                                                 : description.noise.deviation);
    }
    const Curves curves(std::move(columns));
    return nlsq_FitLinear(curves, x, left, curves.Count(), options);
}

} // namespace

FurtherLine furtherLine(const Description& description, double position) {
    const Window around(description, position);
    const double width = description.law.At(position);
    const nlsq_sResult fit =
        fitAround(description, around, position,
                  {columnOf(description, around, position, width, gaussian)}, nullptr);
    if (fit.parameters.empty())
        return {};
    const double error = fit.standardErrors[0];
    return {fit.parameters[0], error > 0 ? fit.parameters[0] / error : 0};
}

bool isLikeAnEdge(const Description& description, const Line& line) {
    constexpr double asWell = 4; // in chi-squared
    constexpr int steps = 6;     // of a quarter of a width, to either side
    const Window around(description, line.position);
    const auto chiSquared = [&](std::vector<Column> columns) {
        const nlsq_sResult fit =
            fitAround(description, around, line.position, std::move(columns), &line);
        return fit.parameters.empty() ? std::numeric_limits<double>::infinity() : fit.chiSquared;
    };
    const double ofLine =
        chiSquared({columnOf(description, around, line.position, line.width, gaussian),
                    columnOf(description, around, line.position, line.width, derivative)});
    for (int i = -steps; i <= steps; ++i) {
        const double position = line.position + 0.25 * i * line.width;
        if (chiSquared({columnOf(description, around, position, line.width, smearedStep)}) <
            ofLine + asWell)
            return true;
    }
    return false;
}

} // namespace tour
