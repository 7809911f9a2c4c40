#include "story.h"

namespace tour {

namespace {

std::vector<std::string> row(const char* name, const darr_c2DArray& image) {
    return {name, joined(image.SizeX(), " x ", image.SizeY()), joined(image.Range())};
}

} // namespace

void stepWarp(Story& story) {
    const darr_c2DArray& image = story.corrected;
    const std::string& unit = story.scene.unit;
    const darr_c2DArray rotated = warp_Rotate(image, type_Pi / 9, rnge_c2DRange::Null);
    const darr_c2DArray sheared = warp_Shear(image, type_Pi / 12, 0);
    const darr_c2DArray resized = warp_Resize(image, 1.5, 0.75);
    story.teller.Say(
        "A warped image is as large as it must be to hold all of the original, and its "
        "calibration says where it came to lie. The nearest element is taken; nothing "
        "is interpolated. Angles lead from x to y, which is clockwise as it is seen here, y "
        "running "
        "downwards.");
    story.teller.Show({.caption = "Sizes and extents",
                       .heading = {"image", "elements", "extent / " + unit},
                       .columns = {Column::name, Column::number, Column::name},
                       .rows = {row("original", image), row("rotated", rotated),
                                row("sheared", sheared), row("resized", resized)}});
    const std::string& quantity = story.scene.quantity;
    story.teller.Draw({"The image, and three images made from it.",
                       {Panel{"original", image, quantity, unit},
                        Panel{"turned by 20 degrees about the origin", rotated, quantity, unit},
                        Panel{"sheared by 15 degrees", sheared, quantity, unit},
                        Panel{"resized by 1.5 and 0.75", resized, quantity, unit}}});
}

} // namespace tour
