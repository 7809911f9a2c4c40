// pictures FOLDER: draws the pictures of the guide into an existing folder. What they show is
// computed by the library as they are drawn.
#include <exception>
#include <iostream>

#include "pictures.h"

int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "usage: pictures FOLDER\n";
        return 2;
    }
    try {
        const std::string folder = arguments[1];
        drawCalibration(folder);
        drawMasks(folder);
        drawFourier(folder);
        drawGeometry(folder);
        drawFitting(folder);
    } catch (const std::exception& failure) {
        std::cerr << "pictures: " << failure.what() << '\n';
        return 1;
    }
}
