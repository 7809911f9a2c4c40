// Smoothing, background, peaks, bins and registration.

#include "doubles.h"
#include "functions.h"
#include "gil.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

constexpr double perElement = 10; // ns

template<class A, class Function>
A filtered(const A& a, double nanoseconds, Function function) {
    const cWithoutGil released(a.Count(), nanoseconds);
    return like<A>(a, function(a.values), a.labels);
}

void defineSmoothing(py::module_& module) {
    module.def(
        "smth_savitzky_golay",
        [](const sArray1D& a, int width, int order, int derivative) {
            return filtered(a, perElement, [&](const auto& values) {
                return smth_SavitzkyGolay(values, width, order, derivative);
            });
        },
        py::arg("array"), py::arg("width"), py::arg("order"), py::arg("derivative") = 0);
    module.def("smth_gauss", [](const sArray1D& a, double sigma) {
        return filtered(a, perElement,
                        [&](const auto& values) { return smth_Gauss(values, sigma); });
    });
    module.def("smth_gauss", [](const sArray2D& a, double sigmaX, double sigmaY) {
        return filtered(a, perElement,
                        [&](const auto& values) { return smth_Gauss(values, sigmaX, sigmaY); });
    });
    module.def("smth_median", [](const sArray1D& a, int width) {
        return filtered(a, perElement,
                        [&](const auto& values) { return smth_Median(values, width); });
    });
    module.def("smth_median", [](const sArray2D& a, int widthX, int widthY) {
        return filtered(a, perElement,
                        [&](const auto& values) { return smth_Median(values, widthX, widthY); });
    });
    py::enum_<bgnd_eOrder>(module, "SnipOrder", py::module_local())
        .value("DECREASING", bgnd_Decreasing)
        .value("INCREASING", bgnd_Increasing);
    py::enum_<bgnd_eScale>(module, "SnipScale", py::module_local())
        .value("COUNTS", bgnd_Counts)
        .value("VALUES", bgnd_Values);
    module.def(
        "bgnd_snip",
        [](const sArray1D& a, int iterations, bgnd_eOrder order, bgnd_eScale scale) {
            return filtered(a, perElement * iterations, [&](const auto& values) {
                return bgnd_Snip(values, iterations, {order, scale});
            });
        },
        py::arg("array"), py::arg("iterations"), py::arg("order") = bgnd_Decreasing,
        py::arg("scale") = bgnd_Counts);
}

void defineRebinning(py::module_& module) {
    module.def("resc_rebin", [](const sArray1D& a, double delta) {
        return filtered(a, perElement,
                        [&](const auto& values) { return resc_Rebin(values, delta); });
    });
    module.def("resc_rebin", [](const sArray2D& a, double deltaX, double deltaY) {
        return filtered(a, perElement,
                        [&](const auto& values) { return resc_Rebin(values, deltaX, deltaY); });
    });
    module.def("resc_rebin", [](const sArray1D& a, const sArray1D& grid) {
        return filtered(a, perElement,
                        [&](const auto& values) { return resc_Rebin(values, grid.values); });
    });
    module.def("resc_rebin", [](const sArray2D& a, const sArray2D& grid) {
        return filtered(a, perElement,
                        [&](const auto& values) { return resc_Rebin(values, grid.values); });
    });
}

void definePeaks(py::module_& module) {
    py::class_<peak_sPeak>(module, "peak_sPeak", py::module_local())
        .def_readonly("index", &peak_sPeak::index)
        .def_readonly("position", &peak_sPeak::position)
        .def_readonly("height", &peak_sPeak::height)
        .def_readonly("prominence", &peak_sPeak::prominence)
        .def_readonly("width", &peak_sPeak::width)
        .def_readonly("significance", &peak_sPeak::significance);
    module.def(
        "peak_find",
        [](const sArray1D& a, double prominence, double distance, double width,
           double significance) {
            std::vector<peak_sPeak> found;
            {
                const cWithoutGil released(a.Count(), perElement);
                found = peak_Find(a.values, {prominence, distance, width, significance});
            }
            py::list peaks;
            for (const peak_sPeak& peak : found)
                peaks.append(peak);
            return peaks;
        },
        py::arg("array"), py::arg("prominence") = 0.0, py::arg("distance") = 0.0,
        py::arg("width") = 0.0, py::arg("significance") = 0.0);
}

template<class A>
auto registered(const A& fixed, const A& moved, double low, double high, double overlap,
                regs_eSubElement subElement) {
    constexpr double transforms = 100;
    const cWithoutGil released(static_cast<long long>(fixed.Count()) + moved.Count(), transforms);
    return regs_Register(fixed.values, moved.values, {low, high, overlap, subElement});
}

template<class A>
void defineRegistrationOf(py::module_& module) {
    module.def("regs_register", &registered<A>, py::arg("fixed"), py::arg("moved"),
               py::arg("low") = 0.0, py::arg("high") = 2.0, py::arg("overlap") = 0.25,
               py::arg("sub_element") = regs_LeastSquares);
}

void defineRegistration(py::module_& module) {
    py::enum_<regs_eSubElement>(module, "SubElement", py::module_local())
        .value("FOURIER", regs_Fourier)
        .value("PARABOLA", regs_Parabola)
        .value("WHOLE", regs_Whole)
        .value("LEAST_SQUARES", regs_LeastSquares);
    py::class_<regs_s1DShift>(module, "regs_s1DShift", py::module_local())
        .def_readonly("x", &regs_s1DShift::x)
        .def_readonly("elements_x", &regs_s1DShift::elementsX)
        .def_readonly("height", &regs_s1DShift::height)
        .def_readonly("second", &regs_s1DShift::second);
    py::class_<regs_s2DShift>(module, "regs_s2DShift", py::module_local())
        .def_readonly("x", &regs_s2DShift::x)
        .def_readonly("y", &regs_s2DShift::y)
        .def_readonly("elements_x", &regs_s2DShift::elementsX)
        .def_readonly("elements_y", &regs_s2DShift::elementsY)
        .def_readonly("height", &regs_s2DShift::height)
        .def_readonly("second", &regs_s2DShift::second);
    defineRegistrationOf<sArray1D>(module);
    defineRegistrationOf<sArray2D>(module);
}

} // namespace

void registerFilters(py::module_& module) {
    defineSmoothing(module);
    defineRebinning(module);
    definePeaks(module);
    defineRegistration(module);
}

} // namespace dataprocessing::python
