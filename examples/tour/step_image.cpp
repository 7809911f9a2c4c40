#include <algorithm>
#include <cmath>
#include <iomanip>
#include <span>
#include <sstream>
#include <string>

#include "detector.h"
#include "story.h"
#include "types.h"

namespace tour {

namespace {

double mean(const darr_c2DArray& image) {
    const darr_c2DArray values = conv_Convert(image, dtyp_Double);
    double sum = 0;
    for (const double value : values.Elements<double>())
        sum += value;
    return sum / values.Count();
}

double largest(const darr_c2DArray& image) {
    const darr_c2DArray values = conv_Convert(image, dtyp_Double);
    const std::span<const double> elements = values.Elements<double>();
    return *std::max_element(elements.begin(), elements.end());
}

/// The root mean square difference from the scene: in percent of its mean, where it has one.
std::string error(const darr_c2DArray& image, const darr_c2DArray& scene) {
    const darr_c2DArray difference = image - scene;
    const double absolute = std::sqrt(mean(difference * difference));
    const double whole = mean(scene);
    std::ostringstream text;
    text << std::fixed << std::setprecision(1);
    if (whole > 0)
        text << 100 * absolute / whole << " %";
    else
        text << absolute;
    return text.str();
}

} // namespace

void stepImage(Story& story) {
    const darr_c2DArray& scene = story.scene.values;
    std::ostream& text = story.text;
    text << "   " << scene.SizeX() << " x " << scene.SizeY() << " elements of type "
         << typeName(scene.DataType()) << ", " << scene.Range() << ' ' << story.scene.unit << ".\n"
         << "   A model of a detector takes it: one exposure (raw), and the means of 16 without\n"
         << "   light (dark) and under even light (flat).\n\n";

    const double brightest = largest(scene);
    const double scale = brightest > 0 ? fullScale / brightest : 1;
    const Frames frames = expose(scene * scale);

    const darr_c2DArray signal = frames.raw - frames.dark;
    const darr_c2DArray gain = frames.flat - frames.dark;
    const darr_c2DArray ratio = signal / gain;
    // What the even light brings to a pixel of gain 1, in units of the scene.
    const pnum_cNumber level = fullScale / scale;
    story.corrected = ratio * level;
    tellTypes(text, "signal    = raw - dark", frames.raw, '-', frames.dark, signal);
    tellTypes(text, "gain      = flat - dark", frames.flat, '-', frames.dark, gain);
    tellTypes(text, "ratio     = signal / gain", signal, '/', gain, ratio);
    tellTypes(text, "corrected = ratio * level", ratio, '*', level, story.corrected);

    const darr_c2DArray raw = frames.raw / pnum_cNumber(scale);
    text << "\n   off from the scene, root mean square: " << error(raw, scene) << " raw, "
         << error(story.corrected, scene) << " corrected\n";

    story.canvas.DrawTiles("image-correction.png",
                           {Panel{"raw", frames.raw, "counts"},
                            Panel{"corrected", story.corrected, story.scene.quantity},
                            Panel{"dark", frames.dark, "counts"},
                            Panel{"gain = flat - dark", gain, "counts"}},
                           story.scene.unit);

    const int row = scene.SizeY() / 2;
    story.canvas.DrawCurves(
        "image-profile.png",
        {.title = "Row " + std::to_string(row) + " before and after the correction",
         .x = "x / " + story.scene.unit,
         .y = story.scene.quantity},
        {{"raw", raw.LineAtY(row)},
         {"corrected", story.corrected.LineAtY(row)},
         {"scene", scene.LineAtY(row)}});
}

} // namespace tour
