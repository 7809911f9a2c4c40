#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <sstream>
#include <utility>

#include "drawing/elements.h"
#include "drawing/markup.h"
#include "picture.h"

namespace tour {

namespace {

using drawing::coordinate;
using drawing::Point;

constexpr int columns = 640; // more points than these would fall on the same pixels

/// Where things stand in a diagram. Names of marks stand above `top`.
struct Place {
    const char* kind;
    double width;
    double height;
    double left;
    double right;
    double top;
    double bottom;
    int ticksX;
    int ticksY;
    double em;        ///< of the largest letters, which a telephone shows
    double names = 0; ///< how high the names of marks are
};

Place placeOf(Room room) {
    static constexpr Place wide{"wide", 704, 400, 84, 690, 46, 340, 7, 5, 23};
    static constexpr Place low{"wide", 704, 250, 84, 690, 46, 190, 7, 4, 23};
    static constexpr Place half{"half", 352, 300, 54, 334, 28, 256, 4, 5, 12};
    return room == Room::wide ? wide : room == Room::low ? low : half;
}

/// The same with room for names above the curves, which none of them crosses.
Place withNames(Place place, const std::vector<Mark>& marks) {
    constexpr double perLetter = 7;
    for (const Mark& mark : marks)
        place.names =
            std::max(place.names, perLetter * (1 + static_cast<double>(mark.text.size())));
    place.top += place.names;
    place.bottom += place.names;
    place.height += place.names;
    return place;
}

struct Limits {
    double low = std::numeric_limits<double>::max();
    double high = std::numeric_limits<double>::lowest();

    void Take(double value) {
        if (!std::isfinite(value))
            return;
        low = std::min(low, value);
        high = std::max(high, value);
    }
    /// The same, or something of some length where there is none.
    Limits Usable() const {
        if (high - low >= std::numeric_limits<double>::min())
            return *this;
        return high >= low ? Limits{low - 0.5, high + 0.5} : Limits{0, 1};
    }
};

/// What a curve has at one column of the picture.
struct Span {
    double x;
    Limits y;
};

std::vector<Span> spansOf(const Curve& curve, const rnge_c1DRange& view) {
    const darr_c1DArray values = conv_Convert(curve.values, dtyp_Double);
    const std::span<const double> y = values.Elements<double>();
    const cal_c1DArrayCal& cal = curve.values.Cal();
    const auto isSeen = [&](int i) {
        const double x = cal.Position(i);
        return view.Length() == 0 || (x >= view.Start() && x <= view.End());
    };
    int first = 0;
    int last = curve.values.Size();
    while (first < last && !isSeen(first))
        ++first;
    while (last > first && !isSeen(last - 1))
        --last;
    // Two points for one column, or every element. Few have single points, which stay in their
    // places.
    const bool isDense = last - first > 2 * columns && curve.style != Style::points;
    const int bucket = isDense ? (last - first + columns - 1) / columns : 1;
    std::vector<Span> spans;
    for (int begin = first; begin < last; begin += bucket) {
        Span span{cal.Position(begin), {}};
        for (int i = begin; i < std::min(begin + bucket, last); ++i)
            span.y.Take(y[static_cast<std::size_t>(i)]);
        spans.push_back(span);
    }
    return spans;
}

Axis axisX(const std::vector<std::vector<Span>>& curves, const rnge_c1DRange& view,
           const Place& place) {
    Limits limits;
    for (const std::vector<Span>& spans : curves)
        for (const Span& span : spans)
            limits.Take(span.x);
    if (view.Length() > 0)
        limits = {view.Start(), view.End()};
    limits = limits.Usable();
    return {limits.low, limits.high, place.left, place.right};
}

Axis axisY(const std::vector<std::vector<Span>>& curves, const Diagram& diagram,
           const Place& place) {
    const bool isLogarithmic = diagram.frame.isLogarithmic;
    Limits limits;
    for (const Curve& curve : diagram.curves)
        for (const Bar& bar : curve.bars) {
            limits.Take(bar.low);
            limits.Take(bar.high);
        }
    for (const std::vector<Span>& spans : curves)
        for (const Span& span : spans) {
            limits.Take(span.y.low <= span.y.high ? span.y.low : std::nan(""));
            limits.Take(span.y.low <= span.y.high ? span.y.high : std::nan(""));
        }
    limits = limits.Usable();
    if (isLogarithmic && limits.high > 0) {
        // What counting leaves empty stands below one count.
        const double least = limits.high >= 10 ? 0.5 : limits.high * 1e-7;
        return Axis::Logarithmic(std::max({limits.low, limits.high * 1e-7, least}),
                                 limits.high * 1.6, place.bottom, place.top);
    }
    const double room = (limits.high - limits.low) / 25;
    const bool isFromZero = limits.low >= 0 && limits.low < 0.3 * limits.high;
    return {isFromZero ? 0 : limits.low - room, limits.high + room, place.bottom, place.top};
}

std::string pointOf(const Axis& x, const Axis& y, double atX, double atY) {
    return coordinate(x.At(atX)) + ' ' + coordinate(y.At(std::clamp(atY, y.Low(), y.High())));
}

std::string pathOf(const std::vector<Span>& spans, Style style, const Axis& x, const Axis& y) {
    std::string path;
    bool isDown = false;
    for (const Span& span : spans) {
        if (span.y.low > span.y.high) {
            isDown = false;
            continue;
        }
        const bool isFlat = span.y.low == span.y.high;
        for (const double value : {span.y.low, span.y.high}) {
            if (isFlat && value != span.y.low)
                break;
            path += isDown && style == Style::lines ? 'L' : 'M';
            path += pointOf(x, y, span.x, value);
            if (style != Style::lines)
                path += "h0";
            isDown = true;
            if (isFlat)
                break;
        }
    }
    return path;
}

std::string kindOf(const Curve& curve, std::size_t index) {
    const char* const kind = curve.style == Style::lines  ? "curve c"
                             : curve.style == Style::dots ? "curve dots c"
                                                          : "curve dots points c";
    return kind + std::to_string(index % 4);
}

std::string barsOf(const Curve& curve, std::size_t index, const Axis& x, const Axis& y) {
    if (curve.bars.empty())
        return "";
    std::string path;
    for (const Bar& bar : curve.bars)
        path += 'M' + pointOf(x, y, bar.x, bar.low) + 'L' + pointOf(x, y, bar.x, bar.high);
    return drawing::path(path, "bars c" + std::to_string(index % 4));
}

std::string lineOf(const char* kind, Point from, Point to) {
    return drawing::path(drawing::line({from, to}), kind);
}

std::string scalesOf(const Frame& frame, const Axis& x, const Axis& y, const Place& place) {
    std::string svg;
    LabelRoom room{0, place.width, place.em};
    for (const Tick& tick : y.Ticks(place.ticksY)) {
        const double at = y.At(tick.value);
        if (at > place.bottom - place.em)
            room.from = place.left - 5; // the corner is taken
        svg += lineOf(tick.value == 0 ? "zero" : "grid", {place.left, at}, {place.right, at}) +
               drawing::text({place.left - 7, at}, tick.label, "left");
    }
    return svg + ticksBelow(x, place.bottom, place.ticksX, room) +
           lineOf("axis", {place.left, place.bottom}, {place.right, place.bottom}) +
           drawing::text({0, place.top - place.names - 18}, y.Named(frame.y), "name y") +
           drawing::text({place.right, place.height - 6}, x.Named(frame.x), "name x");
}

std::string bandsOf(const Frame& frame, const Axis& x, const Place& place) {
    std::string svg;
    for (const rnge_c1DRange& band : frame.bands) {
        const double from = x.At(std::max(band.Start(), x.Low()));
        const double to = x.At(std::min(band.End(), x.High()));
        if (to > from)
            svg += drawing::box({from, place.top}, to - from, place.bottom - place.top, "band");
    }
    return svg;
}

/// What the first curve has at a mark.
double heightAt(const Diagram& diagram, const Mark& mark) {
    const darr_c1DArray& values = diagram.curves.front().values;
    const double index = std::round(values.Cal().Index(mark.x));
    return index >= 0 && index < values.Size() ? values.Number(static_cast<int>(index)).As<double>()
                                               : std::numeric_limits<double>::lowest();
}

/// The names of marks stand upright above the curves; those of the highest are first to have room.
std::string marksOf(const Diagram& diagram, const Axis& x, const Place& place) {
    constexpr double room = 12;
    std::vector<std::pair<double, const Mark*>> marks;
    for (const Mark& mark : diagram.frame.marks)
        marks.emplace_back(heightAt(diagram, mark), &mark);
    std::stable_sort(marks.begin(), marks.end(),
                     [](const auto& one, const auto& other) { return one.first > other.first; });
    std::string lines;
    std::string names;
    std::vector<double> taken;
    for (const auto& [height, mark] : marks) {
        const double at = x.At(mark->x);
        lines += lineOf("mark", {at, place.top}, {at, place.bottom});
        if (std::any_of(taken.begin(), taken.end(),
                        [&](double other) { return std::abs(at - other) < room; }))
            continue;
        names += "<text class=\"mark\" transform=\"translate(" + coordinate(at) + ' ' +
                 coordinate(place.top - 4) + ") rotate(-90)\">" + drawing::escaped(mark->text) +
                 "</text>\n";
        taken.push_back(at);
    }
    return lines + names;
}

std::string descriptionOf(const Diagram& diagram, const Axis& x, const Axis& y) {
    std::ostringstream text;
    if (!diagram.frame.title.empty())
        text << diagram.frame.title << ". ";
    text << "A diagram of " << diagram.frame.y << " from " << y.Low() << " to " << y.High()
         << (diagram.frame.isLogarithmic ? " on a logarithmic scale" : "") << ", over "
         << diagram.frame.x << " from " << x.Low() << " to " << x.High();
    for (std::size_t i = 0; i < diagram.curves.size(); ++i)
        if (!diagram.curves[i].name.empty())
            text << (i == 0 ? "; curves: " : ", ") << diagram.curves[i].name;
    return text.str() + '.';
}

} // namespace

std::string drawn(const Diagram& diagram, Room room) {
    const Frame& frame = diagram.frame;
    const Place place = withNames(placeOf(room), frame.marks);
    std::vector<std::vector<Span>> curves;
    for (const Curve& curve : diagram.curves)
        curves.push_back(spansOf(curve, frame.view));
    const Axis x = axisX(curves, frame.view, place);
    const Axis y = axisY(curves, diagram, place);
    std::string svg = opening(place.kind, place.width, place.height, descriptionOf(diagram, x, y)) +
                      bandsOf(frame, x, place) + scalesOf(frame, x, y, place);
    for (std::size_t i = 0; i < curves.size(); ++i)
        svg += barsOf(diagram.curves[i], i, x, y) +
               drawing::path(pathOf(curves[i], diagram.curves[i].style, x, y),
                             kindOf(diagram.curves[i], i));
    return svg + marksOf(diagram, x, place) + "</svg>\n";
}

std::string swatch(const Curve& curve, std::size_t index) {
    return "<svg class=\"swatch\" viewBox=\"0 0 28 12\" aria-hidden=\"true\">" +
           drawing::path(curve.style == Style::lines ? "M1 6L27 6" : "M5 6h0M14 6h0M23 6h0",
                         kindOf(curve, index)) +
           "</svg>";
}

} // namespace tour
