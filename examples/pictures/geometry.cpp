// The pictures of docs/geometry.md.
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "chart.h"
#include "pictures.h"

namespace {

/// The letter that is warped, darker than its ground, with the calibration origin at an element.
darr_c2DArray letter(int originX, int originY) {
    constexpr std::array<const char*, 6> rows = {"........", ".#......", ".#......",
                                                 ".####...", ".#......", ".#####.."};
    darr_c2DArray image(8, 6, dtyp_Float, cal_c2DArrayCal(0, 1, 0, 1, originX, originY));
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x)
            image.SetNumber(x, y, rows.at(static_cast<std::size_t>(y))[x] == '#' ? 10.0F : 2.5F);
    return image;
}

struct Panel {
    const char* title;
    std::function<darr_c2DArray(const darr_c2DArray&)> warp;
};

/// One panel beside the other, all at one scale: first for an image whose calibration origin is its
/// first element, below for one with the origin in its middle.
Picture panels(std::string_view title, double perUnit, const std::vector<Panel>& list) {
    const std::array<darr_c2DArray, 2> originals = {letter(0, 0), letter(4, 3)};
    std::array<double, 2> heights{};
    std::vector<double> widths; // in pixels
    for (const Panel& panel : list) {
        double width = 0;
        for (std::size_t row = 0; row < originals.size(); ++row) {
            const rnge_c2DRange range =
                panel.warp(originals.at(row)).Range() | rnge_c2DRange(0, 0, 0.001, 0.001);
            width = std::max(width, range.Length());
            heights.at(row) = std::max(heights.at(row), range.Width());
        }
        const auto titleWidth = static_cast<double>(std::string_view(panel.title).size()) * 7.4;
        widths.push_back(std::max(width * perUnit, titleWidth));
    }
    const double pictureHeight = 56 + (heights[0] + heights[1]) * perUnit + 40;
    Picture picture(700, static_cast<int>(pictureHeight), title);

    double used = 0;
    for (const double width : widths)
        used += width;
    const double gap = (700 - used) / static_cast<double>(widths.size() + 1);
    double left = gap;
    for (std::size_t column = 0; column < list.size(); ++column) {
        const double width = widths[column];
        picture.Code({left + width / 2, 26}, list[column].title, Anchor::Middle);
        double bottom = 48;
        for (std::size_t row = 0; row < originals.size(); ++row) {
            bottom += heights.at(row) * perUnit;
            const darr_c2DArray image = list[column].warp(originals.at(row));
            const rnge_c2DRange range = image.Range() | rnge_c2DRange(0, 0, 0.001, 0.001);
            const Axis x{range.CenterX(), left + width / 2, perUnit};
            const Axis y{range.Bottom(), bottom, -perUnit};
            drawImage(picture, x, y, image);
            picture.Ring({x.Px(0), y.Px(0)}, 5, "orange");
            bottom += 32;
        }
        left += width + gap;
    }
    return picture;
}

darr_c2DArray same(const darr_c2DArray& image) { return image; }

Picture resize() {
    return panels(
        "An image resized and rescaled", 13,
        {{"image", same},
         {"warp_Resize(image, 2, 1)", [](const darr_c2DArray& i) { return warp_Resize(i, 2, 1); }},
         {"warp_Rescale(image, 0.5, 1)",
          [](const darr_c2DArray& i) { return warp_Rescale(i, 0.5, 1); }}});
}

Picture shear() {
    return panels("An image sheared along X and along Y", 14,
                  {{"image", same},
                   {"warp_Shear(image, 0.5, 0)",
                    [](const darr_c2DArray& i) { return warp_Shear(i, 0.5, 0); }},
                   {"warp_Shear(image, 0.5, pi / 2)",
                    [](const darr_c2DArray& i) { return warp_Shear(i, 0.5, type_Pi / 2); }}});
}

Picture flip() {
    return panels(
        "An image mirrored at Y, at a line of 45 degrees and at the origin", 14,
        {{"warp_FlipAxis(image, 0)", [](const darr_c2DArray& i) { return warp_FlipAxis(i, 0); }},
         {"warp_FlipAxis(image, pi / 4)",
          [](const darr_c2DArray& i) { return warp_FlipAxis(i, type_Pi / 4); }},
         {"warp_FlipPoint(image)", [](const darr_c2DArray& i) { return warp_FlipPoint(i); }}});
}

Picture rotate() {
    const auto turned = [](double angle) {
        return [angle](const darr_c2DArray& image) {
            return warp_Rotate(image, angle, rnge_c2DRange::Null);
        };
    };
    return panels("An image turned by 30 and by 90 degrees", 14,
                  {{"image", same},
                   {"warp_Rotate(image, pi / 6, ...)", turned(type_Pi / 6)},
                   {"warp_Rotate(image, pi / 2, ...)", turned(type_Pi / 2)}});
}

Picture image() {
    Picture picture(640, 190, "Columns count to the right, rows upwards");
    const Axis x{0, 190, 80};
    const Axis y{0, 150, -50};
    picture.Arrow({160, 150}, {500, 150}, "ink");
    picture.Arrow({190, 170}, {190, 20}, "ink");
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 3; ++column) {
            picture.Box({x.Px(column), y.Px(row + 1)}, 80, 50, "cell");
            picture.Text({x.Px(column) + 40, y.Px(row) - 20}, std::to_string(3 * row + column + 1),
                         Anchor::Middle);
        }
        picture.Text({446, y.Px(row) - 20}, "row " + std::to_string(row), Anchor::Start, "faint");
    }
    for (int column = 0; column < 3; ++column)
        picture.Text({x.Px(column) + 40, 170}, "column " + std::to_string(column), Anchor::Middle,
                     "faint");
    picture.Text({508, 155}, "x");
    picture.Text({176, 26}, "y", Anchor::End);
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 3; ++column)
            picture.Dot({x.Px(column), y.Px(row)}, 3, "blue");
    picture.Text({160, 118}, "positions", Anchor::End, "blue");
    picture.Text({160, 136}, "of the elements", Anchor::End, "blue");
    return picture;
}

Picture project() {
    Picture picture(700, 260, "A turned rectangle, upright, and the mean of its rows");
    darr_c2DArray scene(20, 14, 2.0, cal_c2DArrayCal(0, 1, 0, 1, 0, 0));
    for (int i = 0; i < 18; ++i) // a band across, and two spots in it
        for (int j = -1; j <= 1; ++j) {
            const int row = 2 + i / 2 + j;
            scene.SetNumber(i + 1, row, i == 5 || i == 12 ? 10.0 : 5.0);
        }
    const rnge_c2DRange range(10.5, 7, 14, 3, 0.4636);
    const Axis x{0, 30, 12};
    const Axis y{0, 210, -12};
    drawImage(picture, x, y, scene);
    picture.Area({{x.Px(range.Left()), y.Px(range.LeftY())},
                  {x.Px(range.BottomX()), y.Px(range.Bottom())},
                  {x.Px(range.Right()), y.Px(range.RightY())},
                  {x.Px(range.TopX()), y.Px(range.Top())}},
                 "orange");
    picture.Code({150, 236}, "range", Anchor::Middle, "orange");

    const darr_c1DArray profile = proj_Project(scene, range);
    const darr_c2DArray upright = warp_Rotate(scene, -range.Angle(), range);
    const rnge_c2DRange place = upright.Range();
    const double perUnit = 340 / place.Length();
    const Axis across{place.Left(), 330, perUnit};
    drawImage(picture, across, Axis{place.Bottom(), 106, -perUnit}, upright);
    picture.Text({500, 26}, "the rectangle, turned upright", Anchor::Middle, "faint");
    const Axis height{0, 210, -9};
    const Axis along{profile.Range().Start(), 330, 340 / profile.Range().Length()};
    picture.Line({{330, 210}, {670, 210}}, "faint");
    drawSteps(picture, along, height, profile, "blue");
    picture.Code({500, 236}, "proj_Project(image, range)", Anchor::Middle, "blue");
    return picture;
}

Picture ramps() {
    Picture picture(700, 210, "Ramps of x, y, radius and angle");
    const cal_c2DArrayCal cal(0, 0.125, 0, 0.125, 8, 8);
    const struct {
        ramp_eRampType type;
        const char* name;
    } list[] = {{ramp_X, "ramp_X"},
                {ramp_Y, "ramp_Y"},
                {ramp_Radius, "ramp_Radius"},
                {ramp_Angle, "ramp_Angle"}};
    double left = 28;
    for (const auto& [type, name] : list) {
        const darr_c2DArray ramp = ramp_c2DRamp(type, 16, 16, cal);
        // From its smallest value, which is shown the palest, to its largest.
        const pnum_cNumber smallest = extr_Min(ramp, conv_RealPart);
        const Axis x{-1, left, 70};
        const Axis y{-1, 174, -70};
        const darr_c2DArray shown = ramp - smallest + 0.1;
        drawImage(picture, x, y, shown);
        picture.Code({left + 70, 24}, name, Anchor::Middle);
        picture.Text({left + 70, 196},
                     plain(std::round(smallest.As<double>() * 100) / 100) + " to " +
                         plain(std::round(extr_Max(ramp, conv_RealPart).As<double>() * 100) / 100),
                     Anchor::Middle, "faint");
        left += 168;
    }
    return picture;
}

} // namespace

void drawGeometry(const std::string& folder) {
    image().Save(folder, "image");
    resize().Save(folder, "resize");
    shear().Save(folder, "shear");
    flip().Save(folder, "flip");
    rotate().Save(folder, "rotate");
    project().Save(folder, "project");
    ramps().Save(folder, "ramps");
}
