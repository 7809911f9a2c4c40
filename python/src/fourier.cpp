#include "functions.h"
#include "gil.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

constexpr double transform = 30; // ns an element

template<class A>
void define(py::module_& module) {
    const auto one = [&](const char* name, auto function) {
        module.def(name, [=](const A& a) {
            const cWithoutGil released(a.Count(), transform);
            return A{function(a.values), {}, {}};
        });
    };
    one("four_expand_to_power_of_two", [](const auto& a) { return four_ExpandToPowerOfTwo(a); });
    one("four_center", [](const auto& a) { return four_Center(a); });
    one("four_fft", [](const auto& a) { return four_FFT(a); });
    one("four_ifft", [](const auto& a) { return four_IFFT(a); });
    one("four_auto_correlate", [](const auto& a) { return four_AutoCorrelate(a); });
    const auto two = [&](const char* name, auto function) {
        module.def(name, [=](const A& a, const A& b) {
            const cWithoutGil released(static_cast<long long>(a.Count()) + b.Count(), transform);
            return A{function(a.values, b.values), {}, {}};
        });
    };
    two("four_cross_correlate",
        [](const auto& a, const auto& b) { return four_CrossCorrelate(a, b); });
    two("four_convolute", [](const auto& a, const auto& b) { return four_Convolute(a, b); });
    module.def("four_match_and_fit_to_power_of_two", [](A a, A b) {
        {
            const cWithoutGil released(static_cast<long long>(a.Count()) + b.Count());
            four_MatchAndFitToPowerOfTwo(a.values, b.values);
        }
        return py::make_tuple(a, b);
    });
    module.def("prut_cross_correlate", [](const A& a, const A& b, double low, double high) {
        const cWithoutGil released(static_cast<long long>(a.Count()) + b.Count(), transform);
        return A{prut_CrossCorrelate(a.values, b.values, low, high), {}, {}};
    });
}

} // namespace

void registerFourier(py::module_& module) {
    define<sArray1D>(module);
    define<sArray2D>(module);
    module.def("four_fit_to_power_of_two", &four_FitToPowerOfTwo, py::arg("n"));
    module.def("prut_band_pass_filter", [](int n, double low, double high) {
        const cWithoutGil released(n);
        return sArray1D{prut_BandPassFilter(n, low, high), {}, {}};
    });
    module.def("prut_band_pass_filter", [](int nx, int ny, double low, double high) {
        const cWithoutGil released(static_cast<long long>(nx) * ny);
        return sArray2D{prut_BandPassFilter(nx, ny, low, high), {}, {}};
    });
}

} // namespace dataprocessing::python
