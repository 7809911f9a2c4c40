// A spectrum with its calibration, saved and loaded again, to the last bit.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "dataprocessing/dataprocessing.h"

std::vector<double> numbersOf(const char* name) {
    std::ifstream file(name);
    file.ignore(1000, '\n'); // the heading
    return {std::istream_iterator<double>(file), {}};
}

int main() {
    const darr_c1DArray spectrum(numbersOf("spectrum.txt"), cal_c1DArrayCal(0, 0.01, 0));
    {
        std::ofstream file("spectrum.rec", std::ios::binary);
        rcrd_Save(file, spectrum);
    }
    std::ifstream file("spectrum.rec", std::ios::binary);
    if (!file)
        return 1; // or the next line says that there is nothing more to load
    darr_c1DArray loaded;
    rcrd_Load(file, loaded);
    std::printf("%d elements, delta %g\n", loaded.Size(), loaded.Cal().Delta());
    const bool isSame = loaded.Cal() == spectrum.Cal() && extr_Max(loaded - spectrum) == 0 &&
                        extr_Min(loaded - spectrum) == 0;
    std::printf(isSame ? "the same\n" : "not the same\n");
}
