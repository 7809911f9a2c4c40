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

/// A correlation, and where its peak is.
struct Peak {
    const char* name;
    darr_c2DArray correlation;
    double x = 0;
    double y = 0;
};

Peak peakOf(const char* name, const darr_c2DArray& correlation) {
    Peak peak{name, correlation};
    extr_Max(correlation, peak.x, peak.y, conv_RealPart);
    return peak;
}

/// The correlation with a ring around the middle of the element that is the peak.
Panel panelOf(const Peak& peak, const std::string& unit) {
    const double deltaX = peak.correlation.Cal().X().Delta();
    const double deltaY = peak.correlation.Cal().Y().Delta();
    return {.title = peak.name,
            .values = peak.correlation,
            .quantity = "correlation",
            .unit = unit,
            .paths = {ring(peak.x + deltaX / 2, peak.y + deltaY / 2, 4 * deltaX)},
            .isFullRange = true};
}

} // namespace

void stepRegistration(Story& story) {
    constexpr int largest = 256;
    constexpr int smallest = 32;
    const darr_c2DArray& scene = story.scene.values;
    const std::string& unit = story.scene.unit;
    const std::string& quantity = story.scene.quantity;
    int size = largest;
    while (size + size / 8 > std::min(scene.SizeX(), scene.SizeY()) && size >= smallest)
        size /= 2;
    if (size < smallest) {
        story.teller.Say("The image is too small for two shifted parts of it.");
        return;
    }
    const int byX = size / 15;
    const int byY = -size / 28;
    const int x = (scene.SizeX() - size) / 2;
    const int y = (scene.SizeY() - size) / 2;
    const darr_c2DArray reference = square(scene, x, y, size);
    const darr_c2DArray moved = square(story.corrected, x - byX, y - byY, size);
    story.teller.Say("Two parts of the image have ", size, " x ", size,
                     story.isSampleImage ? " elements; one is noisy and shifted"
                                         : " elements; one is shifted",
                     ". Where their correlation has its peak, there is the shift, to an element; "
                     "regs_Register looks between elements, too.");

    const Peak peaks[] = {
        peakOf("cross-correlation", four_CrossCorrelate(moved, reference)),
        peakOf("band-passed cross-correlation", prut_CrossCorrelate(moved, reference, 0.05, 0.6))};
    Table table{.caption = "The shift, and the peaks of the correlations, in " + unit,
                .heading = {"shift", "x", "y"},
                .columns = {Column::name, Column::number, Column::number},
                .rows = {{"made", fixed(byX * scene.Cal().X().Delta(), 2),
                          fixed(byY * scene.Cal().Y().Delta(), 2)}}};
    Figure figure{
        "Two shifted parts of the image and their correlations; a ring marks the peak.",
        {Panel{"reference", reference, quantity, unit}, Panel{"shifted", moved, quantity, unit}}};
    for (const Peak& peak : peaks) {
        table.rows.push_back({peak.name, fixed(peak.x, 2), fixed(peak.y, 2)});
        figure.parts.emplace_back(panelOf(peak, unit));
    }
    const regs_s2DShift shift = regs_Register(reference, moved);
    table.rows.push_back({"regs_Register", fixed(shift.x, 2), fixed(shift.y, 2)});
    story.teller.Show(table);
    story.teller.Draw(figure);
}

} // namespace tour
