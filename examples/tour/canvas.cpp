#include "canvas.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace tour {

namespace {

constexpr int curveColumns = 1500; // more points than these would fall on the same pixels
constexpr int imageSide = 600;     // elements along the longer side
constexpr const char* colours[] = {"#1f5fa8", "#d1495b", "#3a7d44", "#8a5fbf"};

constexpr const char preamble[] = R"(
set encoding utf8
set border 3 lc rgb '#555555'
set tics nomirror out tc rgb '#333333'
set format '%h'
set xzeroaxis lc rgb '#aaaaaa' lt 1
set grid lc rgb '#dddddd' lt 1 lw 0.6
set title font ',13' tc rgb '#222222'
set key top right Left reverse samplen 2 tc rgb '#222222'
set palette defined (0 '#440154', 1 '#414487', 2 '#2a788e', 3 '#22a884', 4 '#7ad151', 5 '#fde725')
)";

std::string terminal(const std::string& file, int width, int height) {
    std::ostringstream script;
    script << "set terminal pngcairo noenhanced size " << width << ',' << height
           << " font 'Sans,11' background '#ffffff'\nset output '" << file << "'\n"
           << preamble;
    return script.str();
}

struct Limits {
    double low;
    double high;
};

void putPoint(std::ostream& script, double x, double y) {
    char line[64];
    std::snprintf(line, sizeof line, "%.9g %.9g\n", x, y);
    script << line;
}

/// The points of a curve, as the lines of a gnuplot data block.
void putPoints(std::ostream& script, const darr_c1DArray& curve, double floor) {
    const darr_c1DArray values = conv_Convert(curve, dtyp_Double);
    const std::span<const double> y = values.Elements<double>();
    const int count = curve.Size();
    const int bucket = count > 2 * curveColumns ? (count + curveColumns - 1) / curveColumns : 1;
    for (int first = 0; first < count; first += bucket) {
        const double x = curve.Cal().Position(first);
        const auto begin = y.begin() + first;
        const auto [low, high] =
            std::minmax_element(begin, begin + std::min(bucket, count - first));
        putPoint(script, x, std::max(*low, floor));
        if (bucket > 1)
            putPoint(script, x, std::max(*high, floor));
    }
}

double largest(const std::vector<Curve>& curves) {
    double result = 0;
    for (const Curve& curve : curves) {
        const darr_c1DArray values = conv_Convert(curve.values, dtyp_Double);
        for (const double value : values.Elements<double>())
            result = std::max(result, value);
    }
    return result;
}

/// The image with at most `imageSide` elements along each axis, in single precision.
darr_c2DArray reduced(const darr_c2DArray& image) {
    const double x = std::max(1.0, image.SizeX() / static_cast<double>(imageSide));
    const double y = std::max(1.0, image.SizeY() / static_cast<double>(imageSide));
    const cal_c2DArrayCal& cal = image.Cal();
    if (x == 1 && y == 1)
        return conv_Convert(image, dtyp_Float);
    return conv_Convert(resc_Rescale(image, x * cal.X().Delta(), y * cal.Y().Delta()), dtyp_Float);
}

Limits limitsOf(const darr_c2DArray& image, bool isFullRange) {
    const std::span<const float> elements = image.Elements<float>();
    std::vector<float> sorted(elements.begin(), elements.end());
    std::sort(sorted.begin(), sorted.end());
    const std::size_t left = isFullRange ? 0 : sorted.size() / 100;
    const double low = sorted[left];
    const double high = sorted[sorted.size() - 1 - left];
    return {low, high > low ? high : low + 1};
}

/// Number `index` of all tiles of a picture, as the names of data blocks are shared by all.
void putImage(std::ostream& script, const Panel& panel, std::size_t index,
              const std::string& unit) {
    const darr_c2DArray image = reduced(panel.values);
    const cal_cArrayCal& x = image.Cal().X();
    const cal_cArrayCal& y = image.Cal().Y();
    const rnge_c2DRange range = image.Range();
    const Limits limits = limitsOf(image, panel.isFullRange);
    for (std::size_t i = 0; i < panel.paths.size(); ++i) {
        script << "$path" << index << '_' << i << " << END\n";
        for (const pos_c2DPosition& point : panel.paths[i])
            putPoint(script, point.X(), point.Y());
        script << "END\n";
    }
    script << "set title '" << panel.title << "'\nset cblabel '" << panel.quantity
           << "' offset 0.5,0\n"
           << "set xlabel 'x / " << unit << "'\nset ylabel 'y / " << unit << "'\n"
           << "set xrange [" << range.Left() << ':' << range.Right() << "]\n"
           << "set yrange [" << range.Top() << ':' << range.Bottom() << "]\n"
           << "set cbrange [" << limits.low << ':' << limits.high << "]\n"
           << "plot '-' binary array=(" << image.SizeX() << ',' << image.SizeY()
           << ") format='%float32' dx=" << x.Delta() << " dy=" << y.Delta() << " origin=("
           << x.Position(0) + x.Delta() / 2 << ',' << y.Position(0) + y.Delta() / 2
           << ") with image notitle";
    for (std::size_t i = 0; i < panel.paths.size(); ++i)
        script << ", $path" << index << '_' << i << " with lines lw 1.8 lc rgb '#ff3b5c' notitle";
    script << '\n';
    script.write(static_cast<const char*>(image.Data()),
                 static_cast<std::streamsize>(image.Elements<float>().size_bytes()));
    script << '\n';
}

void putSurroundings(std::ostream& script, const Frame& frame) {
    script << "set title '" << frame.title << "'\nset xlabel '" << frame.x << "'\nset ylabel '"
           << frame.y << "'\nunset object\nunset arrow\nunset label\n"
           << "set xrange [*:*]\nset yrange [*:*]\nset autoscale xfix\n"
           << "unset logscale y\nset format y '%h'\n";
    if (frame.view.Length() > 0)
        script << "set xrange [" << frame.view.Start() << ':' << frame.view.End() << "]\n";
    for (const rnge_c1DRange& band : frame.bands)
        script << "set object rectangle from first " << band.Start() << ", graph 0 to first "
               << band.End() << ", graph 1 behind fc rgb '#e9eef5' fs solid noborder\n";
    for (const Mark& mark : frame.marks)
        script << "set arrow from first " << mark.x << ", graph 0 to first " << mark.x
               << ", graph 1 nohead back lw 0.7 dt 2 lc rgb '#999999'\n"
               << "set label '" << mark.text << "' at first " << mark.x
               << ", graph 0.98 right rotate by 90 offset -0.7,0 font ',9' tc rgb '#444444'\n";
}

void putDiagram(std::ostream& script, const Diagram& diagram, std::size_t index) {
    const Frame& frame = diagram.frame;
    const double top = largest(diagram.curves);
    const bool isLogarithmic = frame.isLogarithmic && top > 0;
    // What counting leaves empty stands below one count.
    const double floor = !isLogarithmic ? -std::numeric_limits<double>::max()
                                        : std::max(top * 1e-7, top >= 10 ? 0.5 : 0);
    putSurroundings(script, frame);
    if (isLogarithmic)
        script << "set logscale y\nset format y '10^{%T}'\nset yrange [" << floor << ":*]\n"
               << "set termoption enhanced\n";
    for (std::size_t i = 0; i < diagram.curves.size(); ++i) {
        script << "$curve" << index << '_' << i << " << END\n";
        putPoints(script, diagram.curves[i].values, floor);
        script << "END\n";
    }
    for (std::size_t i = 0; i < diagram.curves.size(); ++i) {
        const Curve& curve = diagram.curves[i];
        script << (i == 0 ? "plot " : ", ") << "$curve" << index << '_' << i
               << (curve.style == Style::dots ? " with points pt 7 ps 0.45" : " with lines lw 1.4")
               << " lc rgb '" << colours[i % std::size(colours)] << "' "
               << (diagram.curves.size() > 1 ? "title '" + curve.name + "'" : "notitle");
    }
    script << '\n';
}

double aspectOf(const Panel& panel) {
    const rnge_c2DRange range = panel.values.Range();
    return (range.Top() - range.Bottom()) / (range.Right() - range.Left());
}

bool isEven(const Panel& panel) { return aspectOf(panel) > 0.25 && aspectOf(panel) < 4; }

int heightOf(const Tile& tile) {
    constexpr int ofDiagram = 320;
    const Panel* panel = std::get_if<Panel>(&tile);
    if (panel == nullptr)
        return ofDiagram;
    return isEven(*panel) ? std::clamp(static_cast<int>(400 * aspectOf(*panel)) + 110, 250, 1000)
                          : 450;
}

} // namespace

Canvas::Canvas(std::ostream& text, std::string directory)
    : text_(text), directory_(std::move(directory)),
      isThere_(std::system("gnuplot -e 'set terminal pngcairo' >/dev/null 2>&1") == 0) {}

void Canvas::DrawCurves(const std::string& file, const Frame& frame,
                        const std::vector<Curve>& curves) {
    if (!isThere_)
        return;
    std::ostringstream script;
    script.precision(9);
    script << terminal(file, 1100, 520);
    putDiagram(script, {frame, curves}, 0);
    Run(file, script.str());
}

void Canvas::DrawPair(const std::string& file, const Diagram& upper, const Diagram& lower) {
    if (!isThere_)
        return;
    std::ostringstream script;
    script.precision(9);
    script << terminal(file, 1100, 720) << "set multiplot\nset lmargin 11\n"
           << "set size 1,0.64\nset origin 0,0.36\n";
    putDiagram(script, upper, 0);
    script << "set size 1,0.36\nset origin 0,0\n";
    putDiagram(script, lower, 1);
    script << "unset multiplot\n";
    Run(file, script.str());
}

void Canvas::DrawTiles(const std::string& file, const std::vector<Tile>& tiles,
                       const std::string& unit) {
    if (!isThere_)
        return;
    int rowHeight = 0;
    for (const Tile& tile : tiles)
        rowHeight = std::max(rowHeight, heightOf(tile));
    const int rows = static_cast<int>((tiles.size() + 1) / 2);
    std::ostringstream script;
    script.precision(9);
    script << terminal(file, 1200, rows * rowHeight) << "set multiplot layout " << rows << ",2\n"
           << "set lmargin 10\nset rmargin 9\n";
    for (std::size_t i = 0; i < tiles.size(); ++i) {
        if (const Panel* panel = std::get_if<Panel>(&tiles[i])) {
            script << "unset grid\nset border 15\n"
                   << (isEven(*panel) ? "set size ratio -1\n" : "set size noratio\n");
            putImage(script, *panel, i, unit);
        } else {
            script << "set grid\nset border 3\nset size noratio\n";
            putDiagram(script, std::get<Diagram>(tiles[i]), i);
        }
    }
    script << "unset multiplot\n";
    Run(file, script.str());
}

void Canvas::Run(const std::string& file, const std::string& script) {
    text_ << "   drawing " << (std::filesystem::path(directory_) / file).string() << std::flush;
    // Nothing that a user typed is part of this command or of the script.
    std::FILE* gnuplot = popen("gnuplot >/dev/null 2>&1", "w");
    if (gnuplot == nullptr)
        throw std::runtime_error("gnuplot could not be started for " + file);
    const bool isWritten = std::fwrite(script.data(), 1, script.size(), gnuplot) == script.size();
    const bool isDrawn = pclose(gnuplot) == 0 && isWritten;
    std::error_code error;
    if (!isDrawn || std::filesystem::file_size(file, error) == 0 || error)
        throw std::runtime_error("gnuplot could not draw " + file);
    text_ << '\n';
}

} // namespace tour
