#include <algorithm>
#include <cmath>

#include "story.h"

namespace tour {

namespace {

Path outline(const rnge_c2DRange& range) {
    return {{range.Left(), range.LeftY()},
            {range.BottomX(), range.Bottom()},
            {range.Right(), range.RightY()},
            {range.TopX(), range.Top()},
            {range.Left(), range.LeftY()}};
}

/// The profile over the distance from its first element.
darr_c1DArray fromStart(darr_c1DArray profile) {
    profile.SetCal(cal_c1DArrayCal(0, profile.Cal().Delta(), 0));
    return profile;
}

std::vector<std::string> rowOf(const Image& image, const char* what, const darr_c1DArray& profile) {
    std::vector<std::string> cells{what, joined(profile.Size()), joined(profile.Cal().Delta()), ""};
    if (profile.Size() > 0) {
        double position = 0;
        extr_Max(profile, position, conv_RealPart);
        cells.back() = lengthOf(image, position);
    }
    return cells;
}

Diagram diagram(const Story& story, const char* title, const darr_c1DArray& profile) {
    return {{.title = title, .x = "distance / " + story.scene.unit, .y = story.scene.quantity},
            {{"", profile}}};
}

} // namespace

void stepScan(Story& story) {
    const darr_c2DArray& image = story.corrected;
    const rnge_c2DRange range = image.Range();
    const double length = range.Right() - range.Left();
    const double height = range.Top() - range.Bottom();
    // Parts of the image; in the sample, from where the beam is to a corner.
    const pos_c2DPosition start(range.Left() + length * 21.5 / 48,
                                range.Bottom() + height * 19 / 40);
    const pos_c2DPosition end(range.Left() + length * 0.85, range.Bottom() + height * 0.95);
    const double angle = pos_Angle(start, end);
    const double distance = std::hypot(end.X() - start.X(), end.Y() - start.Y());
    // Never less than a row.
    const double row = 1.5 * image.Cal().Y().Delta();
    const double width = std::max(distance / 30, row);
    const rnge_c2DRange rectangle(start.X() - 0.45 * distance * std::cos(angle),
                                  start.Y() - 0.45 * distance * std::sin(angle), distance / 2,
                                  std::max(distance / 4, row), angle);

    const darr_c1DArray line =
        fromStart(proj_LineScan(image, start.X(), start.Y(), end.X(), end.Y(), width));
    const darr_c1DArray projection = fromStart(proj_Project(image, rectangle));
    const std::string& unit = story.scene.unit;
    story.teller.Say(
        "A line scan follows a line across the image and takes the mean over its width. "
        "A projection does the same for a rotated rectangle.");
    story.teller.Show({.caption = "The two profiles; lengths, from their starts, in " + unit,
                       .heading = {"profile", "elements", "delta", "largest at"},
                       .columns = {Column::name, Column::number, Column::number, Column::number},
                       .rows = {rowOf(story.scene, "line scan", line),
                                rowOf(story.scene, "projection", projection)}});
    if (line.Size() < 2 || projection.Size() < 2)
        return;

    const rnge_c2DRange scanned((start.X() + end.X()) / 2, (start.Y() + end.Y()) / 2, distance,
                                width, angle);
    const std::string& quantity = story.scene.quantity;
    story.teller.Draw(
        {"Where the image is scanned, and what is found there.",
         {Panel{"a line scan and its width", image, quantity, unit, {outline(scanned)}},
          diagram(story, "its profile, from the upper left end", line),
          Panel{"a rotated rectangle", image, quantity, unit, {outline(rectangle)}},
          diagram(story, "the mean across it, along its length", projection)}});
}

} // namespace tour
