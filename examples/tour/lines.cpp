#include "lines.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace tour {

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
    const bool isZero = text[0] == '-' &&
                        std::string_view(text).find_first_of("123456789") == std::string_view::npos;
    return isZero ? text + 1 : text;
}

std::string withError(double value, double error) {
    if (!(error > 0))
        return fixed(value, 2);
    // Two digits of the error.
    const int decimals = 1 - static_cast<int>(std::floor(std::log10(error)));
    if (decimals <= 0)
        return fixed(value, 0) + '(' + fixed(error, 0) + ')';
    return fixed(value, decimals) + '(' + fixed(error * std::pow(10.0, decimals), 0) + ')';
}

std::string counted(long long count, const std::string& one) {
    return std::to_string(count) + ' ' + one + (count == 1 ? "" : "s");
}

} // namespace tour
