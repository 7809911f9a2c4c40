// What an application has to know: how a call fails, and that calls on other threads do not mind.
#include <cstdio>
#include <fstream>
#include <future>
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
    try {
        const darr_c1DArray quotient =
            spectrum / darr_c1DArray({1.0, 0.0}, cal_c1DArrayCal(0, 0.01, 0));
    } catch (const expt_cUserException& refusal) { // what the data cause
        std::printf("refused: %s\n", refusal.Message().Text());
    }
    try { // a misuse, as the two files were that a person chose
        regs_Register(spectrum, resc_Rescale(spectrum, 0.02));
    } catch (const expt_cProgramException& refusal) { // of every kind
        std::printf("refused: %s\n", refusal.what());
    }
    std::printf("%.0f counts, as before\n", stat_Sum(spectrum).As<double>());

    std::vector<std::future<double>> jobs;
    for (const int width : {3, 9, 15})
        jobs.push_back(std::async(std::launch::async, [&, width] {
            return extr_Max(smth_Median(spectrum, width)).As<double>();
        }));
    std::printf("highest after medians:");
    for (std::future<double>& job : jobs)
        std::printf(" %.0f", job.get());
    std::printf("\n");
}
