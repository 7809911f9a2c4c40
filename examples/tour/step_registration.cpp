#include <algorithm>
#include <cmath>

#include "story.h"

namespace tour {

namespace {

/// A square of the image, less its mean, on a calibration that begins at 0.
darr_c2DArray square(const darr_c2DArray& image, int x, int y, int size) {
    darr_c2DArray part = conv_Convert(image.Selection(x, y, x + size, y + size), dtyp_Double);
    part = part - stat_Mean(part);
    part.SetCal(cal_c2DArrayCal(0, image.Cal().X().Delta(), 0, image.Cal().Y().Delta(), 0, 0));
    return part;
}

/// A ring around a point.
Path ring(double x, double y, double radius) {
    Path path;
    constexpr int corners = 40;
    for (int i = 0; i <= corners; ++i) {
        const double angle = 2 * type_Pi * i / corners;
        path.emplace_back(x + radius * std::cos(angle), y + radius * std::sin(angle));
    }
    return path;
}

/// Tells where the peak of a correlation is, and returns its picture.
Panel found(Story& story, const char* name, const darr_c2DArray& correlation) {
    double x = 0;
    double y = 0;
    extr_Max(correlation, x, y, conv_RealPart);
    story.text << "   " << name << ": peak at (" << fixed(x, 2) << ", " << fixed(y, 2) << ") "
               << story.scene.unit << '\n';
    const double radius = 4 * correlation.Cal().X().Delta();
    return {.title = name,
            .values = correlation,
            .quantity = "correlation",
            .paths = {ring(x, y, radius)},
            .isFullRange = true};
}

} // namespace

void stepRegistration(Story& story) {
    constexpr int largest = 256;
    constexpr int smallest = 32;
    std::ostream& text = story.text;
    const darr_c2DArray& scene = story.scene.values;
    int size = largest;
    while (size + size / 8 > std::min(scene.SizeX(), scene.SizeY()) && size >= smallest)
        size /= 2;
    if (size < smallest) {
        text << "   The image is too small for two shifted parts of it.\n";
        return;
    }
    const int byX = size / 15;
    const int byY = -size / 28;
    const int x = (scene.SizeX() - size) / 2;
    const int y = (scene.SizeY() - size) / 2;
    const darr_c2DArray reference = square(scene, x, y, size);
    const darr_c2DArray moved = square(story.corrected, x - byX, y - byY, size);
    text << "   Two parts of " << size << " x " << size
         << " elements; one is noisy and shifted by (" << fixed(byX * scene.Cal().X().Delta(), 2)
         << ", " << fixed(byY * scene.Cal().Y().Delta(), 2) << ") " << story.scene.unit << ".\n";

    const darr_c2DArray plain = four_CrossCorrelate(moved, reference);
    const darr_c2DArray banded = prut_CrossCorrelate(moved, reference, 0.05, 0.6);
    std::vector<Tile> tiles{Panel{"reference", reference, story.scene.quantity},
                            Panel{"shifted", moved, story.scene.quantity}};
    tiles.emplace_back(found(story, "cross-correlation", plain));
    tiles.emplace_back(found(story, "band-passed cross-correlation", banded));
    story.canvas.DrawTiles("registration.png", tiles, story.scene.unit);
}

} // namespace tour
