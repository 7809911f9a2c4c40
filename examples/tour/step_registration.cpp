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

double rootMeanSquare(const darr_c2DArray& part) {
    return std::sqrt(stat_Mean(part * part).As<double>());
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

/// Says which of the ways found the shift that was made, to an element.
void tellFound(Story& story, const Table& table, const std::vector<pos_c2DPosition>& shifts) {
    const cal_c2DArrayCal& cal = story.scene.values.Cal();
    std::string missed;
    for (std::size_t i = 1; i < shifts.size(); ++i)
        if (std::abs(shifts[i].X() - shifts[0].X()) > cal.X().Delta() ||
            std::abs(shifts[i].Y() - shifts[0].Y()) > cal.Y().Delta())
            missed += (missed.empty() ? "" : ", ") + table.rows[i][0];
    if (missed.empty())
        story.teller.Say("All of them have the shift that was made, to an element.");
    else
        story.teller.Say("More than an element off: ", missed,
                         ". What reaches over a whole part, such as a slope, and what lies in one "
                         "of the two only can outweigh what is shifted.");
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
    const double contrast = rootMeanSquare(reference);
    const double contrastOfMoved = rootMeanSquare(moved);
    if (!(contrast > 0 && contrastOfMoved > 0)) {
        story.teller.Say("A part of the image with ", size, " x ", size,
                         " elements has the same value everywhere, so there is nothing to register "
                         "by.");
        return;
    }
    story.teller.Say("Two parts of the image have ", size, " x ", size,
                     story.isSampleImage ? " elements; one is noisy and shifted"
                                         : " elements; one is shifted",
                     ". The peak of their correlation tells the shift to an element, where they "
                     "have enough in common; regs_Register looks between elements, too.");

    // Of contrast 1, whatever the values are: products of large ones are not lost.
    const darr_c2DArray a = moved / pnum_cNumber(contrastOfMoved);
    const darr_c2DArray b = reference / pnum_cNumber(contrast);
    const Peak peaks[] = {
        peakOf("cross-correlation", four_CrossCorrelate(a, b)),
        peakOf("band-passed cross-correlation", prut_CrossCorrelate(a, b, 0.05, 0.6))};
    Table table{.caption = "The shift, and the peaks of the correlations, in " + unit,
                .heading = {"shift", "x", "y"},
                .columns = {Column::name, Column::number, Column::number},
                .rows = {}};
    std::vector<pos_c2DPosition> shifts;
    const auto add = [&](const char* name, double shiftX, double shiftY) {
        table.rows.push_back({name, lengthOf(story.scene, shiftX), lengthOf(story.scene, shiftY)});
        shifts.emplace_back(shiftX, shiftY);
    };
    add("made", byX * scene.Cal().X().Delta(), byY * scene.Cal().Y().Delta());
    Figure figure{
        "Two shifted parts of the image and their correlations; a ring marks the peak.",
        {Panel{"reference", reference, quantity, unit}, Panel{"shifted", moved, quantity, unit}}};
    for (const Peak& peak : peaks) {
        add(peak.name, peak.x, peak.y);
        figure.parts.emplace_back(panelOf(peak, unit));
    }
    const regs_s2DShift shift = regs_Register(b, a);
    add("regs_Register", shift.x, shift.y);
    story.teller.Show(table);
    tellFound(story, table, shifts);
    story.teller.Draw(figure);
}

} // namespace tour
