// Correlations, convolutions and bands through the public functions. The peer is correlate.py.
//
// usage: bench_correlate DIRECTORY   (where samples of the results go)

#include <string>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const int side : {512, 2048}) {
        const darr_c2DArray a = bench::realImage(side, 1), b = bench::realImage(side, 2);
        bench::measure<float>(directory, "cross", [&] { return four_CrossCorrelate(a, b); });
        bench::measure<comp_cComplex<float>>(directory, "auto",
                                             [&] { return four_AutoCorrelate(a); });
        bench::measure<float>(directory, "convolute", [&] { return four_Convolute(a, b); });
        bench::measure<float>(directory, "cross_in_band",
                              [&] { return prut_CrossCorrelate(a, b, 0.1, 0.5); });
        bench::measure<float>(directory, "band",
                              [&] { return prut_BandPassFilter(side, side, 0.1, 0.5); });
    }
}
