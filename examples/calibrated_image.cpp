// A calibrated image: cut out a region by its coordinates, take off a background, look at a row.
#include <cmath>
#include <iostream>
#include <span>
#include <vector>

#include "dataprocessing/dataprocessing.h"

int main() {
    // A bright spot at (2.0, 1.5) mm on an even background, on 9 x 7 pixels of 0.5 mm.
    const cal_c2DArrayCal cal(0, 0.5, 0, 0.5, 0, 0);
    std::vector<unsigned short> counts;
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 9; ++x) {
            const double r = std::hypot(cal.X().Position(x) - 2.0, cal.Y().Position(y) - 1.5);
            counts.push_back(static_cast<unsigned short>(100 + 900 * std::exp(-r * r)));
        }
    const darr_c2DArray image(9, 7, std::span<const unsigned short>(counts), cal);

    // The region from 1 to 3.5 mm along x and from 0.5 to 2.5 mm along y. It stays where it was.
    const rnge_c2DRange region(1.0, 0.5, 3.5, 2.5);
    const darr_c2DArray spot = image.Selection(region, rnge_IndexNearest) - 100;
    std::cout << spot.SizeX() << " x " << spot.SizeY() << " pixels over " << spot.Range() << " mm\n"
              << spot << '\n';

    // A row of it, relative to its first pixel: what was whole becomes fractional.
    const darr_c1DArray row = spot.LineAtY(2);
    const darr_c1DArray relative = row / row.Number(0);
    std::cout << "row at y = " << spot.Cal().Y().Position(2) << " mm: " << row << '\n'
              << "relative to its start: " << relative << '\n'
              << "between two pixels, at 2.25 mm: " << row.Value(2.25, darr_LinearInterpolation)
              << '\n';
    try {
        std::cout << row / 0;
    } catch (const expt_cUserException& refusal) {
        std::cout << "refused: " << refusal.what() << '\n';
    }
}
