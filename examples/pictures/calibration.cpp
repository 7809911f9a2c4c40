// The pictures of docs/calibration.md and docs/masks.md.
#include <cmath>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "chart.h"
#include "pictures.h"

namespace {

darr_c1DArray spectrum() {
    const std::uint16_t counts[] = {12, 15, 90, 15, 11};
    return darr_c1DArray{std::span(counts), cal_c1DArrayCal(6.2, 0.1, 0)};
}

Picture axis() {
    Picture picture(640, 150, "Five elements from 6.2 up to 6.7");
    const Axis x{6.2, 70, 1000};
    const darr_c1DArray array = spectrum();
    drawRow(picture, x, 54, array, "");
    for (int i = 0; i < array.Size(); ++i)
        picture.Text({x.Px(array.Cal().Position(i)) + 50, 46}, "element " + std::to_string(i),
                     Anchor::Middle, "faint");
    drawTicks(picture, x, 88, 6.2, 0.1, 6);
    picture.Code({70, 132}, "Position(0)", Anchor::Middle, "blue");
    picture.Code({620, 132}, "Position(5), not in it", Anchor::End, "blue");
    picture.Line({{70, 30}, {70, 24}, {570, 24}, {570, 30}}, "orange");
    picture.Code({320, 19}, "Range()", Anchor::Middle, "orange");
    return picture;
}

Picture selection() {
    Picture picture(640, 142, "Selection(-2, 2) adds two zeros before two elements of five");
    const Axis x{6.0, 180, 600};
    drawRow(picture, x, 20, spectrum(), "the array");
    drawRow(picture, x, 60, spectrum().Selection(-2, 2), "Selection(-2, 2)");
    drawTicks(picture, x, 104, 6.0, 0.1, 8);
    return picture;
}

Picture rules() {
    Picture picture(640, 258, "What the four rules take of the range from 6.26 to 6.54");
    const Axis x{6.2, 180, 840};
    const rnge_c1DRange range(6.26, 6.54);
    const double left = x.Px(range.Start());
    const double right = x.Px(range.End());
    picture.Box({left, 10}, right - left, 206, "band");
    picture.Line({{left, 10}, {left, 216}}, "orange");
    picture.Line({{right, 10}, {right, 216}}, "orange");
    drawRow(picture, x, 20, spectrum(), "the array");
    const struct {
        rnge_eIndexSelect rule;
        const char* name;
    } selections[] = {{rnge_IndexFloor, "rnge_IndexFloor"},
                      {rnge_IndexNearest, "rnge_IndexNearest"},
                      {rnge_IndexOuter, "rnge_IndexOuter"},
                      {rnge_IndexCeiling, "rnge_IndexCeiling"}};
    double top = 66;
    for (const auto& [rule, name] : selections) {
        drawRow(picture, x, top, spectrum().Selection(range, rule), "");
        picture.Code({168, top + 17}, name, Anchor::End);
        top += 36;
    }
    drawTicks(picture, x, 222, 6.2, 0.1, 6);
    return picture;
}

Picture rescale() {
    Picture picture(640, 244, "An array of delta 0.1 resampled to 0.05 and to 0.2");
    const Axis x{6.2, 60, 1000};
    const Axis y{0, 190, -1.7};
    const darr_c1DArray array = spectrum();
    std::vector<Point> line;
    line.reserve(static_cast<std::size_t>(array.Size()) + 1);
    for (int i = 0; i < array.Size(); ++i)
        line.push_back({x.Px(array.Cal().Position(i)), y.Px(array.Number(i).As<double>())});
    line.push_back({x.Px(6.7), line.back().y});
    picture.Line(line, "faint");
    const auto dots = [&](const darr_c1DArray& values, double radius, const char* style) {
        for (int i = 0; i < values.Size(); ++i) {
            const Point center{x.Px(values.Cal().Position(i)), y.Px(values.Number(i).As<double>())};
            style[0] == 'o' ? picture.Ring(center, radius, style)
                            : picture.Dot(center, radius, style);
        }
    };
    dots(resc_Rescale(array, 0.05), 3, "blue");
    dots(array, 4.5, "ink");
    dots(resc_Rescale(array, 0.2), 8, "orange");
    drawTicks(picture, x, 206, 6.2, 0.1, 6);
    picture.Dot({420, 24}, 4.5, "ink");
    picture.Text({434, 29}, "the array, delta 0.1");
    picture.Dot({420, 48}, 3, "blue");
    picture.Text({434, 53}, "resampled to 0.05", Anchor::Start, "blue");
    picture.Ring({420, 72}, 8, "orange");
    picture.Text({434, 77}, "resampled to 0.2", Anchor::Start, "orange");
    return picture;
}

Picture alignment() {
    Picture picture(640, 272, "Alignment of two arrays of different delta and range");
    const Axis x{6.2, 180, 840};
    const float blank[] = {10, 14};
    const darr_c1DArray background{std::span(blank), cal_c1DArrayCal(6.2, 0.2, 0)};
    const darr_c1DArray finer = resc_Rescale(background, 0.1);
    drawRow(picture, x, 16, spectrum(), "spectrum");
    drawRow(picture, x, 52, background, "background");
    picture.Text({168, 110}, "1. to the finer delta", Anchor::End, "faint");
    drawRow(picture, x, 92, finer, "");
    picture.Text({168, 150}, "2. over the union", Anchor::End, "faint");
    drawRow(picture, x, 132, finer.Selection(spectrum().Range(), rnge_IndexNearest), "");
    picture.Text({168, 206}, "3. by elements", Anchor::End, "faint");
    picture.Text({390, 176}, "subtracted from the spectrum", Anchor::Middle, "faint");
    drawRow(picture, x, 188, spectrum() - background, "");
    drawTicks(picture, x, 236, 6.2, 0.1, 6);
    return picture;
}

Picture range() {
    Picture picture(640, 300, "A rectangle turned about its centre, and its corners");
    const Axis x{0, 130, 64};
    const Axis y{0, 276, -64};
    const rnge_c2DRange turned(3, 2, 4, 2, 0.5);
    const Point left{x.Px(turned.Left()), y.Px(turned.LeftY())};
    const Point bottom{x.Px(turned.BottomX()), y.Px(turned.Bottom())};
    const Point right{x.Px(turned.Right()), y.Px(turned.RightY())};
    const Point top{x.Px(turned.TopX()), y.Px(turned.Top())};
    picture.Area({left, bottom, right, top}, "box");
    const Point center{x.Px(turned.CenterX()), y.Px(turned.CenterY())};
    picture.Line({center, {center.x + 110, center.y}}, "faint");
    picture.Line(
        {center,
         {center.x + 110 * std::cos(turned.Angle()), center.y - 110 * std::sin(turned.Angle())}},
        "orange");
    picture.Text({center.x + 88, center.y - 14}, "angle", Anchor::Start, "orange");
    picture.Dot(center, 4, "ink");
    picture.Text({center.x - 8, center.y + 20}, "centre", Anchor::Middle);
    for (const Point& corner : {left, bottom, right, top})
        picture.Dot(corner, 4, "blue");
    picture.Code({left.x - 8, left.y + 5}, "Left, LeftY", Anchor::End, "blue");
    picture.Code({bottom.x + 10, bottom.y + 14}, "BottomX, Bottom", Anchor::Start, "blue");
    picture.Code({right.x + 10, right.y + 5}, "Right, RightY", Anchor::Start, "blue");
    picture.Code({top.x - 10, top.y - 2}, "TopX, Top", Anchor::End, "blue");
    picture.Text({(bottom.x + right.x) / 2 + 14, (bottom.y + right.y) / 2 + 14}, "length");
    picture.Text({(left.x + bottom.x) / 2 - 12, (left.y + bottom.y) / 2 + 8}, "width", Anchor::End);
    return picture;
}

Picture mask() {
    Picture picture(640, 174, "A mask lies at 0 to 5 until it is given the data's calibration");
    const Axis x{0, 130, 68};
    const std::uint16_t counts[] = {80, 140, 900, 120, 90};
    const darr_c1DArray data{std::span(counts), cal_c1DArrayCal(6.2, 0.1, 0)};
    const barr_c1DBoolArray bright = data > 100;
    const auto row = [&](double top, const cal_c1DArrayCal& cal, const char* label) {
        for (int i = 0; i < bright.Size(); ++i) {
            const double left = x.Px(cal.Position(i));
            picture.Box({left, top}, x.Px(cal.Position(i + 1)) - left, 22,
                        bright.Element(i) ? "cell" : "zero");
        }
        picture.Code({118, top + 16}, label, Anchor::End);
    };
    picture.Box({x.Px(6.2), 16}, x.Px(6.7) - x.Px(6.2), 22, "band");
    picture.Code({118, 32}, "spectrum", Anchor::End);
    row(56, bright.Cal(), "spectrum > 100");
    row(96, data.Cal(), "after SetCal");
    drawTicks(picture, x, 136, 0, 1, 8);
    return picture;
}

} // namespace

void drawCalibration(const std::string& folder) {
    axis().Save(folder, "axis");
    selection().Save(folder, "selection");
    rules().Save(folder, "rules");
    rescale().Save(folder, "rescale");
    alignment().Save(folder, "alignment");
    range().Save(folder, "range");
}

void drawMasks(const std::string& folder) { mask().Save(folder, "mask"); }
