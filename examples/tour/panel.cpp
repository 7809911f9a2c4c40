#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <span>
#include <sstream>
#include <utility>
#include <vector>

#include "drawing/elements.h"
#include "picture.h"
#include "png_address.h"

namespace tour {

namespace {

using drawing::coordinate;

constexpr int imageSide = 480; // elements along the longer side
constexpr double width = 352;
constexpr double left = 44;
constexpr double right = 334;
constexpr double top = 26;
constexpr LabelRoom labels{0, width, 12};

/// The image with at most `imageSide` elements along each axis, in single precision.
darr_c2DArray reduced(const darr_c2DArray& image) {
    const double x = std::max(1.0, image.SizeX() / static_cast<double>(imageSide));
    const double y = std::max(1.0, image.SizeY() / static_cast<double>(imageSide));
    const cal_c2DArrayCal& cal = image.Cal();
    if (x == 1 && y == 1)
        return conv_Convert(image, dtyp_Float);
    return conv_Convert(resc_Rescale(image, x * cal.X().Delta(), y * cal.Y().Delta()), dtyp_Float);
}

struct Limits {
    double low;
    double high;
};

Limits limitsOf(const darr_c2DArray& image, bool isFullRange) {
    const std::span<const float> elements = image.Elements<float>();
    std::vector<float> sorted;
    std::copy_if(elements.begin(), elements.end(), std::back_inserter(sorted),
                 [](float value) { return std::isfinite(value); });
    if (sorted.empty())
        return {0, 1};
    std::sort(sorted.begin(), sorted.end());
    const std::size_t cut = isFullRange ? 0 : sorted.size() / 100;
    const double low = sorted[cut];
    const double high = sorted[sorted.size() - 1 - cut];
    return {low, high > low ? high : low + std::max(1.0, std::abs(low))};
}

/// From dark violet over green to yellow; lightness grows evenly, so that it reads without colour.
std::array<Colour, 256> colours() {
    constexpr Colour stops[] = {{0x44, 0x01, 0x54}, {0x41, 0x44, 0x87}, {0x2a, 0x78, 0x8e},
                                {0x22, 0xa8, 0x84}, {0x7a, 0xd1, 0x51}, {0xfd, 0xe7, 0x25}};
    std::array<Colour, 256> result{};
    for (std::size_t i = 0; i < result.size(); ++i) {
        const double at = static_cast<double>(i) / 255 * (std::size(stops) - 1);
        const std::size_t stop = std::min(static_cast<std::size_t>(at), std::size(stops) - 2);
        const double part = at - static_cast<double>(stop);
        for (std::size_t k = 0; k < 3; ++k)
            result[i][k] = static_cast<std::uint8_t>(
                std::lround((1 - part) * stops[stop][k] + part * stops[stop + 1][k]));
    }
    return result;
}

std::string pictureOf(const darr_c2DArray& image, const Limits& limits) {
    const std::span<const float> elements = image.Elements<float>();
    std::vector<std::uint8_t> pixels(elements.size());
    std::transform(elements.begin(), elements.end(), pixels.begin(), [&](float value) {
        const double part = (value - limits.low) / (limits.high - limits.low);
        return static_cast<std::uint8_t>(
            std::isnan(part) ? 0 : std::lround(255 * std::clamp(part, 0.0, 1.0)));
    });
    return pngAddress(image.SizeX(), image.SizeY(), pixels, colours());
}

std::string barOfColours() {
    std::vector<std::uint8_t> pixels(256);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<std::uint8_t>(i);
    return pngAddress(256, 1, pixels, colours());
}

std::string placed(const std::string& address, double x, double y, double w, double h) {
    return "<image x=\"" + coordinate(x) + "\" y=\"" + coordinate(y) + "\" width=\"" +
           coordinate(w) + "\" height=\"" + coordinate(h) +
           "\" preserveAspectRatio=\"none\" href=\"" + address + "\"/>\n";
}

std::string ticksLeft(const Axis& axis, int wanted) {
    std::string svg;
    for (const Tick& tick : axis.Ticks(wanted)) {
        const double at = axis.At(tick.value);
        svg += drawing::path(drawing::line({{left, at}, {left - 4, at}}), "axis") +
               drawing::text({left - 6, at}, tick.label, "left");
    }
    return svg;
}

std::string pathOver(const Path& path, const Axis& x, const Axis& y) {
    std::vector<drawing::Point> points;
    for (const pos_c2DPosition& point : path)
        points.push_back({x.At(point.X()), y.At(point.Y())});
    const std::string d = drawing::line(points);
    return drawing::path(d, "over below") + drawing::path(d, "over");
}

double heightOf(double length, double breadth) {
    const double aspect = length / breadth;
    const bool isEven = aspect > 0.25 && aspect < 4;
    return isEven ? std::clamp((right - left) * aspect, 80.0, 600.0) : right - left;
}

std::string descriptionOf(const Panel& panel, const Axis& x, const Axis& y, const Limits& limits) {
    std::ostringstream text;
    const darr_c2DArray& image = panel.values;
    text << "Image: " << panel.title << ". " << image.SizeX() << " by " << image.SizeY()
         << " elements, x from " << x.Low() << " to " << x.High() << ", y from " << y.Low()
         << " to " << y.High() << ' ' << panel.unit << "; the colours show " << panel.quantity
         << " from " << limits.low << " to " << limits.high << '.';
    return text.str();
}

} // namespace

std::string drawn(const Panel& panel) {
    constexpr double barHeight = 10;
    const darr_c2DArray image = reduced(panel.values);
    const rnge_c2DRange range = panel.values.get().Range();
    const Limits limits = limitsOf(image, panel.isFullRange);
    const double height = heightOf(range.Top() - range.Bottom(), range.Right() - range.Left());
    const double bottom = top + height;
    const double bar = bottom + 46;
    const Axis x(range.Left(), range.Right(), left, right);
    const Axis y(range.Bottom(), range.Top(), top, bottom);
    const Axis values(limits.low, limits.high, left, right);
    std::string svg = opening("half", width, bar + 48, descriptionOf(panel, x, y, limits)) +
                      placed(pictureOf(image, limits), left, top, right - left, height) +
                      ticksBelow(x, bottom, 5, labels) + ticksLeft(y, height > 150 ? 5 : 2) +
                      drawing::text({0, top - 12}, "y / " + panel.unit, "name y") +
                      drawing::text({right, bottom + 33}, "x / " + panel.unit, "name x") +
                      placed(barOfColours(), left, bar, right - left, barHeight) +
                      ticksBelow(values, bar + barHeight, 4, labels) +
                      drawing::text({right, bar + 43}, values.Named(panel.quantity), "name x");
    for (const Path& path : panel.paths)
        svg += pathOver(path, x, y);
    return svg + "</svg>\n";
}

} // namespace tour
