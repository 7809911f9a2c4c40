#include "lines.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <span>

#include "smoothing.h"

namespace tour {

namespace {

constexpr std::size_t mostLines = 20;
constexpr std::size_t reach = 2; // the values are means over this many on either side
// What that adds to the square of a line's full width: 8 ln 2 times the variance of the five
// places.
constexpr double widening = 11.1;
constexpr double significance = 5;

/// Half maximum and maximum of a line among smoothed values.
struct Shape {
    std::size_t top;
    std::size_t left;
    std::size_t right;
};

/// The smallest value on the way from `top` to one side, up to where a larger one than that at
/// `top` comes, and at most `farthest` away.
double valley(const std::vector<double>& y, std::size_t top, int step, std::size_t farthest) {
    double smallest = y[top];
    std::size_t i = top;
    for (std::size_t k = 0; k < farthest; ++k) {
        if (step < 0 ? i == 0 : i + 1 == y.size())
            break;
        i = step < 0 ? i - 1 : i + 1;
        if (y[i] > y[top])
            break;
        smallest = std::min(smallest, y[i]);
    }
    return smallest;
}

Shape shapeOf(const std::vector<double>& y, std::size_t top) {
    Shape shape{top, top, top};
    while (shape.left > 0 && y[shape.left] > y[top] / 2)
        --shape.left;
    while (shape.right + 1 < y.size() && y[shape.right] > y[top] / 2)
        ++shape.right;
    return shape;
}

/// How far from `top` the values cross its half, between elements.
double sideWidth(const std::vector<double>& y, const Shape& shape, bool isLeft) {
    const std::size_t outer = isLeft ? shape.left : shape.right;
    const std::size_t inner = isLeft ? outer + 1 : outer - 1;
    const double half = y[shape.top] / 2;
    const double whole = std::abs(static_cast<double>(outer) - static_cast<double>(shape.top));
    if (outer == shape.top || y[outer] >= half || y[inner] <= y[outer])
        return whole;
    return whole - (half - y[outer]) / (y[inner] - y[outer]);
}

/// Half the width at half maximum. The top may lie an element beside the middle of the line; where
/// the sides differ by more, another line widens one of them.
double halfWidth(const std::vector<double>& y, const Shape& shape) {
    const double left = sideWidth(y, shape, true);
    const double right = sideWidth(y, shape, false);
    return std::min((left + right) / 2, std::min(left, right) + 1);
}

double centroid(const std::vector<double>& y, const Shape& shape, double half) {
    const std::size_t around = std::max<std::size_t>(1, static_cast<std::size_t>(half * 0.7));
    double sum = 0;
    double moment = 0;
    const std::size_t first = shape.top - std::min(shape.top, around);
    for (std::size_t i = first; i <= std::min(shape.top + around, y.size() - 1); ++i) {
        const double weight = std::max(0.0, y[i]);
        sum += weight;
        moment += weight * static_cast<double>(i);
    }
    return sum > 0 ? moment / sum : static_cast<double>(shape.top);
}

} // namespace

std::vector<Line> findLines(const darr_c1DArray& net, const darr_c1DArray& counts) {
    const darr_c1DArray netValues = conv_Convert(net, dtyp_Double);
    const darr_c1DArray countValues = conv_Convert(counts, dtyp_Double);
    const std::vector<double> y = smoothed(netValues.Elements<double>(), reach);
    const std::vector<double> all = smoothed(countValues.Elements<double>(), reach);
    std::vector<std::size_t> tops;
    for (std::size_t i = 1; i + 1 < y.size(); ++i)
        if (y[i] > 0 && y[i] >= y[i - 1] && y[i] > y[i + 1])
            tops.push_back(i);
    std::sort(tops.begin(), tops.end(), [&](std::size_t a, std::size_t b) { return y[a] > y[b]; });

    std::vector<Line> lines;
    std::vector<bool> isTaken(y.size(), false);
    double mainWidth = 0;
    const double widest = std::max(6.0, static_cast<double>(y.size()) / 64);
    for (const std::size_t top : tops) {
        if (lines.size() == mostLines)
            break;
        const Shape shape = shapeOf(y, top);
        const double half = halfWidth(y, shape);
        const std::size_t farthest = static_cast<std::size_t>(std::ceil(2 * half)) + 1;
        const double noise =
            std::sqrt(std::max(all[top], 1.0) / static_cast<double>(2 * reach + 1));
        const double drop = std::max(significance * noise, y[top] / 6);
        const double width = std::sqrt(std::max(1.0, 4 * half * half - widening));
        const bool isLine = !isTaken[top] && width >= 2 && width <= widest &&
                            y[top] - valley(y, top, -1, farthest) > drop &&
                            y[top] - valley(y, top, 1, farthest) > drop &&
                            (lines.empty() || (width > mainWidth / 2 && width < 2 * mainWidth));
        if (!isLine)
            continue;
        if (lines.empty())
            mainWidth = width;
        const std::size_t around = static_cast<std::size_t>(mainWidth);
        for (std::size_t i = top - std::min(top, around); i < std::min(y.size(), top + around); ++i)
            isTaken[i] = true;
        const cal_c1DArrayCal& cal = net.Cal();
        lines.push_back({cal.Position(0) + centroid(y, shape, half) * cal.Delta(), y[top],
                         width * cal.Delta()});
    }
    std::sort(lines.begin(), lines.end(),
              [](const Line& a, const Line& b) { return a.position < b.position; });
    return lines;
}

const Line& strongest(const std::vector<Line>& lines) {
    return *std::max_element(lines.begin(), lines.end(),
                             [](const Line& a, const Line& b) { return a.height < b.height; });
}

std::vector<rnge_c1DRange> stretchesWithoutLines(const std::vector<Line>& lines,
                                                 const darr_c1DArray& background,
                                                 const rnge_c1DRange& whole) {
    std::vector<rnge_c1DRange> stretches;
    double start = whole.Start();
    const auto close = [&](double end, double width) {
        if (end - start > width / 2)
            stretches.emplace_back(start, end);
    };
    for (const Line& line : lines) {
        const double level = background.Value(line.position, darr_LinearInterpolation).As<double>();
        const double ratio = 20 * line.height / std::max(level, 1.0);
        const double distance =
            line.width *
            std::max(1.0, std::sqrt(std::log(std::max(ratio, 1.0)) / (4 * std::log(2))));
        close(line.position - distance, line.width);
        start = std::max(start, line.position + distance);
    }
    close(whole.End(), lines.empty() ? 0 : lines.back().width);
    return stretches;
}

std::vector<Line> groupOfStrongest(const std::vector<Line>& lines, std::size_t most) {
    constexpr double farthest = 6;
    const auto main = std::find_if(lines.begin(), lines.end(), [&](const Line& line) {
        return line.position == strongest(lines).position;
    });
    auto first = main;
    auto last = main;
    const auto isNear = [](const Line& a, const Line& b) {
        return b.position - a.position < farthest * a.width;
    };
    // The nearer neighbour joins first.
    while (static_cast<std::size_t>(last - first) + 1 < most) {
        const bool hasLeft = first != lines.begin() && isNear(*(first - 1), *first);
        const bool hasRight = last + 1 != lines.end() && isNear(*last, *(last + 1));
        if (!hasLeft && !hasRight)
            break;
        const bool isLeft = hasLeft && (!hasRight || main->position - (first - 1)->position <
                                                         (last + 1)->position - main->position);
        isLeft ? --first : ++last;
    }
    return {first, last + 1};
}

double halfWindow(const std::vector<Line>& lines, const Line& line) {
    double half = 1.25 * line.width;
    for (const Line& other : lines)
        if (other.position != line.position)
            half = std::min(half, std::abs(other.position - line.position) / 2);
    return half;
}

const rnge_c1DRange* stretchBelow(const std::vector<rnge_c1DRange>& stretches, double position) {
    const rnge_c1DRange* best = nullptr;
    double bestScore = 0;
    for (const rnge_c1DRange& stretch : stretches) {
        const bool isUsable = stretch.Start() > 0 && stretch.End() < position &&
                              stretch.End() > 0.3 * position &&
                              stretch.End() > 1.08 * stretch.Start();
        if (!isUsable)
            continue;
        const double middle = (stretch.Start() + stretch.End()) / 2;
        const double score =
            std::log(stretch.End() / stretch.Start()) / std::log(position / middle);
        if (score > bestScore) {
            bestScore = score;
            best = &stretch;
        }
    }
    return best;
}

std::string fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

} // namespace tour
