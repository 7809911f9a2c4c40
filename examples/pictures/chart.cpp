#include "chart.h"

#include <algorithm>
#include <cmath>
#include <string>

void drawRow(Picture& picture, const Axis& x, double top, const darr_c1DArray& array,
             std::string_view label) {
    constexpr double height = 26;
    const rnge_c1DRange range = array.Range();
    for (int i = 0; i < array.Size(); ++i) {
        const double left = x.Px(array.Cal().Position(i));
        const double width = x.Px(array.Cal().Position(i + 1)) - left;
        const double value = array.Number(i).As<double>();
        picture.Box({left, top}, width, height, value == 0 ? "zero" : "cell");
        picture.Text({left + width / 2, top + 18}, plain(value), Anchor::Middle);
    }
    picture.Code({x.Px(range.Start()) - 12, top + 17}, label, Anchor::End, "ink");
}

void drawImage(Picture& picture, const Axis& x, const Axis& y, const darr_c2DArray& image) {
    const double largest = std::max(extr_Max(image, conv_RealPart).As<double>(), 1e-9);
    const cal_c2DArrayCal& cal = image.Cal();
    for (int row = 0; row < image.SizeY(); ++row)
        for (int column = 0; column < image.SizeX(); ++column) {
            const double left = x.Px(cal.X().Position(column));
            const double top = y.Px(cal.Y().Position(row + 1));
            picture.Element({left, top}, x.Px(cal.X().Position(column + 1)) - left,
                            y.Px(cal.Y().Position(row)) - top,
                            image.Number(column, row).As<double>() / largest);
        }
}

void drawSteps(Picture& picture, const Axis& x, const Axis& y, const darr_c1DArray& array,
               std::string_view style) {
    std::vector<Point> points;
    for (int i = 0; i < array.Size(); ++i) {
        const double height = y.Px(array.Number(i).As<double>());
        points.push_back({x.Px(array.Cal().Position(i)), height});
        points.push_back({x.Px(array.Cal().Position(i + 1)), height});
    }
    picture.Line(points, style);
}

void drawTicks(Picture& picture, const Axis& x, double top, double from, double step, int count) {
    picture.Line({{x.Px(from), top}, {x.Px(from + (count - 1) * step), top}}, "faint");
    for (int i = 0; i < count; ++i) {
        const double value = std::round((from + i * step) * 1e6) / 1e6;
        picture.Line({{x.Px(value), top}, {x.Px(value), top + 5}}, "faint");
        picture.Text({x.Px(value), top + 20}, plain(value), Anchor::Middle, "faint");
    }
}
