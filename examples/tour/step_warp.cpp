#include "story.h"

namespace tour {

namespace {

void tell(Story& story, const char* name, const darr_c2DArray& image) {
    story.text << "   " << name << image.SizeX() << " x " << image.SizeY() << " elements over "
               << image.Range() << ' ' << story.scene.unit << '\n';
}

} // namespace

void stepWarp(Story& story) {
    const darr_c2DArray& image = story.corrected;
    const darr_c2DArray rotated = warp_Rotate(image, type_Pi / 9, rnge_c2DRange::Null);
    const darr_c2DArray sheared = warp_Shear(image, type_Pi / 12, 0);
    const darr_c2DArray resized = warp_Resize(image, 1.5, 0.75);
    tell(story, "the image      ", image);
    tell(story, "rotated        ", rotated);
    tell(story, "sheared        ", sheared);
    tell(story, "resized        ", resized);
    const std::string& quantity = story.scene.quantity;
    story.canvas.DrawTiles("warp.png",
                           {Panel{"the image", image, quantity},
                            Panel{"rotated by 20 degrees about the origin", rotated, quantity},
                            Panel{"sheared by 15 degrees", sheared, quantity},
                            Panel{"resized by 1.5 and 0.75", resized, quantity}},
                           story.scene.unit);
}

} // namespace tour
