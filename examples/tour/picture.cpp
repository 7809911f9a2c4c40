#include "picture.h"

#include <algorithm>

#include "drawing/elements.h"
#include "drawing/markup.h"

namespace tour {

std::string opening(const char* kind, double width, double height, const std::string& description) {
    return "<svg" + drawing::attribute("class", kind) +
           drawing::attribute("viewBox", "0 0 " + drawing::coordinate(width) + ' ' +
                                             drawing::coordinate(height)) +
           " role=\"img\"" + drawing::attribute("aria-label", drawing::escaped(description)) +
           ">\n";
}

std::string ticksBelow(const Axis& axis, double y, int wanted, const LabelRoom& room) {
    constexpr double widthPerEm = 0.64; // of digits, in fonts where they are wide
    double end = room.from;
    std::string svg;
    for (const Tick& tick : axis.Ticks(wanted)) {
        const double at = axis.At(tick.value);
        const auto letters =
            static_cast<double>(std::count_if(tick.label.begin(), tick.label.end(), [](char c) {
                return (static_cast<unsigned char>(c) & 0xc0U) != 0x80;
            }));
        const double width = widthPerEm * room.em * letters;
        const bool isFirst = at - width / 2 < room.from;
        const bool isLast = !isFirst && at + width / 2 > room.to;
        const double begin = isFirst ? at : isLast ? at - width : at - width / 2;
        const bool isSpare = begin < end;
        if (!isSpare)
            end = begin + width + room.em / 4;
        svg += drawing::path(drawing::line({{at, y}, {at, y + 5}}), "axis") +
               drawing::text({at, y + 7}, tick.label,
                             isSpare   ? "below spare"
                             : isFirst ? "below first"
                             : isLast  ? "below last"
                                       : "below");
    }
    return svg;
}

} // namespace tour
