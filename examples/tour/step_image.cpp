#include <cmath>
#include <iomanip>
#include <sstream>
#include <string>

#include "detector.h"
#include "story.h"
#include "types.h"

namespace tour {

namespace {

/// Row by row, as doubles: the sum of an image of integers is one of 32 bits.
double mean(const darr_c2DArray& image) {
    double sum = 0;
    for (int y = 0; y < image.SizeY(); ++y)
        sum += stat_Sum(conv_Convert(image.LineAtY(y), dtyp_Double)).As<double>();
    return sum / image.Count();
}

double largest(const darr_c2DArray& image) { return extr_Max(image, conv_RealPart).As<double>(); }

double smallest(const darr_c2DArray& image) { return extr_Min(image, conv_RealPart).As<double>(); }

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

void takenAsItIs(Story& story) {
    const Image& image = story.scene;
    story.corrected = image.values;
    for (const std::string& remark : image.remarks)
        story.teller.Say("About the file: ", remark, ".");
    story.teller.Say("Its values are from ", smallest(image.values), " to ", largest(image.values),
                     ", ", valueOf(mean(image.values)), " in the mean. It is taken as it is.");
    story.teller.Draw({"The image.",
                       {Panel{"the image", image.values, image.quantity, image.unit},
                        Diagram{{.title = joined("row ", image.values.SizeY() / 2),
                                 .x = "x / " + image.unit,
                                 .y = image.quantity},
                                {{"", image.values.LineAtY(image.values.SizeY() / 2)}}}}});
}

void correctedWithDetector(Story& story) {
    const darr_c2DArray& scene = story.scene.values;
    const std::string& unit = story.scene.unit;
    const std::string& quantity = story.scene.quantity;
    Teller& teller = story.teller;
    teller.Say("A model of a detector takes it: one exposure (raw), and the means of 16 without "
               "light (dark) and under even light (flat). What the detector adds is subtracted, "
               "and what its pixels differ by is divided out.");

    const double brightest = largest(scene);
    const double scale = brightest > 0 ? fullScale / brightest : 1;
    const Frames frames = expose(scene * scale);

    const darr_c2DArray signal = frames.raw - frames.dark;
    const darr_c2DArray gain = frames.flat - frames.dark;
    const darr_c2DArray ratio = signal / gain;
    // What the even light brings to a pixel of gain 1, in units of the scene.
    const pnum_cNumber level = fullScale / scale;
    story.corrected = ratio * level;
    Table table = tableOfTypes("The correction, and the types of its results");
    table.rows = {rowOfTypes("signal = raw - dark", frames.raw, '-', frames.dark, signal),
                  rowOfTypes("gain = flat - dark", frames.flat, '-', frames.dark, gain),
                  rowOfTypes("ratio = signal / gain", signal, '/', gain, ratio),
                  rowOfTypes("corrected = ratio * level", ratio, '*', level, story.corrected)};
    teller.Show(table);

    const darr_c2DArray raw = frames.raw / pnum_cNumber(scale);
    teller.Say("Root mean square difference from the scene: ", error(raw, scene), " raw, ",
               error(story.corrected, scene), " corrected.");

    teller.Draw({"The image before and after the correction, and what it is corrected with.",
                 {Panel{"raw", frames.raw, "counts", unit},
                  Panel{"corrected", story.corrected, quantity, unit},
                  Panel{"dark", frames.dark, "counts", unit},
                  Panel{"gain = flat - dark", gain, "counts", unit}}});

    const int row = scene.SizeY() / 2;
    teller.Draw({joined("Row ", row, " before and after the correction."),
                 {Diagram{{.title = "", .x = "x / " + unit, .y = quantity},
                          {{"raw", raw.LineAtY(row)},
                           {"corrected", story.corrected.LineAtY(row)},
                           {"scene", scene.LineAtY(row)}}}}});
}

} // namespace

void stepImage(Story& story) {
    const darr_c2DArray& scene = story.scene.values;
    story.teller.Say("The image has ", scene.SizeX(), " x ", scene.SizeY(), " elements of type ",
                     typeName(scene.DataType()), ", over ", scene.Range(), ' ', story.scene.unit,
                     ". In all pictures row 0 is at the top, and y runs downwards.");
    if (story.isSampleImage)
        correctedWithDetector(story);
    else
        takenAsItIs(story);
}

} // namespace tour
