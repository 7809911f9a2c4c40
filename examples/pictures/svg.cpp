#include "svg.h"

#include <array>
#include <charconv>
#include <fstream>
#include <stdexcept>

#include "drawing/markup.h"

namespace {

// Colours that the page does not choose: a picture in a page cannot see the page's own style sheet.
constexpr std::string_view styleSheet = R"(<style>
svg { color-scheme: light dark; }
text { font: 14px system-ui, sans-serif; }
.code { font: 12px ui-monospace, monospace; }
.page { fill: #fbfbfa; stroke: #dcdcd8; }
text { fill: #22272e; }
text.faint { fill: #67707b; } text.blue { fill: #1d5fa8; } text.orange { fill: #a8500a; }
path, circle { fill: none; stroke-width: 1.5; stroke-linejoin: round; }
.ink { stroke: #22272e; } .faint { stroke: #a9b0b8; } .blue { stroke: #1d5fa8; } .orange { stroke: #c2600f; }
text.ink, text.faint, text.blue, text.orange { stroke: none; }
.cell { fill: #d8e6f5; stroke: #1d5fa8; } .zero { fill: #ececea; stroke: #a9b0b8; }
.band { fill: #c2600f; fill-opacity: 0.18; stroke: none; } .box { fill: #d8e6f5; stroke: #1d5fa8; }
.element { fill: #1d5fa8; stroke: #a9b0b8; stroke-width: 0.5; }
.nothing { fill: none; stroke: #cfd2d6; stroke-width: 0.5; }
circle.dot { stroke: none; } .dot.blue { fill: #1d5fa8; } .dot.orange { fill: #c2600f; } .dot.ink { fill: #22272e; }
@media (prefers-color-scheme: dark) {
.page { fill: #1b1f24; stroke: #343a42; }
text { fill: #e3e6ea; }
text.faint { fill: #98a1ab; } text.blue { fill: #7db4ef; } text.orange { fill: #f0a35e; }
.ink { stroke: #e3e6ea; } .faint { stroke: #59616b; } .blue { stroke: #7db4ef; } .orange { stroke: #f0a35e; }
.cell { fill: #1f3a57; stroke: #7db4ef; } .zero { fill: #2a2f36; stroke: #59616b; }
.band { fill: #f0a35e; } .box { fill: #1f3a57; stroke: #7db4ef; }
.element { fill: #7db4ef; stroke: #59616b; } .nothing { stroke: #343a42; }
.dot.blue { fill: #7db4ef; } .dot.orange { fill: #f0a35e; } .dot.ink { fill: #e3e6ea; }
}
</style>
)";

template<class... Format>
std::string formatted(double value, Format... format) {
    std::array<char, 400> digits{};
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), value, format...).ptr;
    return {digits.data(), end};
}

} // namespace

std::string plain(double value) { return formatted(value); }

Picture::Picture(int width, int height, std::string_view title)
    : width_(width), height_(height), title_(title) {}

void Picture::Write(Point point, std::string_view text, Anchor anchor, std::string_view style) {
    constexpr std::array<std::string_view, 3> anchors = {"start", "middle", "end"};
    body_ += drawing::text(
        point, text, style,
        drawing::attribute("text-anchor", anchors.at(static_cast<std::size_t>(anchor))));
}

void Picture::Text(Point point, std::string_view text, Anchor anchor, std::string_view style) {
    Write(point, text, anchor, style);
}

void Picture::Code(Point point, std::string_view text, Anchor anchor, std::string_view style) {
    Write(point, text, anchor, "code " + std::string(style));
}

void Picture::Line(const std::vector<Point>& points, std::string_view style) {
    body_ += drawing::path(drawing::line(points), style);
}

void Picture::Area(const std::vector<Point>& corners, std::string_view style) {
    body_ += drawing::path(drawing::line(corners) + " Z", style);
}

void Picture::Arrow(Point from, Point to, std::string_view style) {
    const double size = 5;
    const bool isLevel = from.y == to.y;
    const double sign = (isLevel ? to.x < from.x : to.y < from.y) ? -1 : 1;
    const Point along = isLevel ? Point{sign * size, 0} : Point{0, sign * size};
    const Point across = isLevel ? Point{0, size} : Point{size, 0};
    Line({from, to}, style);
    Line({{to.x - along.x - across.x, to.y - along.y - across.y},
          to,
          {to.x - along.x + across.x, to.y - along.y + across.y}},
         style);
}

void Picture::Box(Point corner, double width, double height, std::string_view style) {
    body_ += drawing::box(corner, width, height, style);
}

void Picture::Element(Point corner, double width, double height, double value) {
    if (value == 0)
        Box(corner, width, height, "nothing");
    else
        body_ += drawing::box(
            corner, width, height, "element",
            drawing::attribute("fill-opacity", formatted(value, std::chars_format::fixed, 2)));
}

void Picture::Dot(Point center, double radius, std::string_view style) {
    body_ += drawing::circle(center, radius, "dot " + std::string(style));
}

void Picture::Ring(Point center, double radius, std::string_view style) {
    body_ += drawing::circle(center, radius, style);
}

void Picture::Save(const std::string& folder, const std::string& name) const {
    const std::string path = folder + '/' + name + ".svg";
    std::ofstream file(path, std::ios::binary);
    file << R"(<svg xmlns="http://www.w3.org/2000/svg" width=")" << width_ << R"(" height=")"
         << height_ << R"(" viewBox="0 0 )" << width_ << ' ' << height_ << R"(" role="img">)"
         << "\n<title>" << drawing::escaped(title_) << "</title>\n"
         << styleSheet << R"(<rect class="page" x="0.5" y="0.5" width=")" << width_ - 1
         << R"(" height=")" << height_ - 1 << R"(" rx="6"/>)" << '\n'
         << body_ << "</svg>\n";
    if (!file.flush())
        throw std::runtime_error("cannot write " + path);
}
