#include "split_lines.h"

#include <algorithm>
#include <cmath>

namespace tour {

bool SplitLines::Split(Description& description, std::span<const Width> widths) {
    constexpr double clearly = 5; // errors
    constexpr double least = 1.01;
    constexpr double most = 1.6;
    std::vector<Line>& lines = description.lines;
    const std::size_t before = lines.size();
    for (const Width& width : widths) {
        const double expected = description.law.At(width.position);
        const bool isWide = width.value > least * expected && width.value < most * expected &&
                            width.value - expected > clearly * width.error;
        const bool isTried = std::any_of(split_.begin(), split_.end(), [&](double other) {
            return std::abs(other - width.position) < expected;
        });
        const auto line =
            std::min_element(lines.begin(), lines.end(), [&](const Line& a, const Line& b) {
                return std::abs(a.position - width.position) <
                       std::abs(b.position - width.position);
            });
        if (!isWide || isTried || line->isGiven)
            continue;
        // Two equal lines of the law's width as far apart as to have this width together.
        const double half =
            std::sqrt(width.value * width.value - expected * expected) / fullWidthPerSigma;
        split_.push_back(width.position);
        Line second = *line;
        line->position = width.position - half;
        second.position = width.position + half;
        line->height = second.height = second.height / 2;
        lines.push_back(second);
    }
    return lines.size() > before;
}

} // namespace tour
