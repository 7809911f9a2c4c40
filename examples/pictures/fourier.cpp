// The picture of docs/fourier.md.
#include "chart.h"
#include "pictures.h"

void drawFourier(const std::string& folder) {
    Picture picture(700, 250, "The band from 0.2 to 0.6 of the Nyquist frequency");
    const darr_c1DArray line = prut_BandPassFilter(64, 0.2, 0.6);
    const Axis x{-1, 40, 160};
    drawTicks(picture, x, 200, -1, 0.5, 5);
    drawSteps(picture, x, Axis{0, 196, -130}, line, "blue");
    picture.Code({200, 28}, "prut_BandPassFilter(64, 0.2, 0.6)", Anchor::Middle);
    picture.Text({200, 242}, "fractions of the Nyquist frequency", Anchor::Middle, "faint");

    const darr_c2DArray image = prut_BandPassFilter(32, 32, 0.2, 0.6);
    const Axis across{-1, 450, 80};
    const Axis up{-1, 200, -80};
    drawImage(picture, across, up, image);
    drawTicks(picture, across, 200, -1, 1, 3);
    picture.Code({530, 28}, "prut_BandPassFilter(32, 32, 0.2, 0.6)", Anchor::Middle);
    picture.Save(folder, "band");
}
