#include "functions.h"
#include "gil.h"
#include "instances.h"
#include "number_argument.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

template<class A, class Mask>
void defineStatistics(py::module_& module) {
    // The number goes to Python after the lock is back.
    const auto number = [&](const char* name, auto function) {
        module.def(name, [=](const A& a) {
            sNumber result;
            {
                const cWithoutGil released(a.Count());
                result.value = function(a.values);
            }
            return result;
        });
        module.def(name, [=](const A& a, const Mask& over) {
            sNumber result;
            {
                const cWithoutGil released(a.Count());
                result.value = function(a.values, over.values);
            }
            return result;
        });
    };
    number("stat_sum", [](const auto&... a) { return stat_Sum(a...); });
    number("stat_mean", [](const auto&... a) { return stat_Mean(a...); });
    number("stat_variance", [](const auto&... a) { return stat_Variance(a...); });
    number("extr_min", [](const auto&... a) { return extr_Min(a..., conv_RealPart); });
    number("extr_max", [](const auto&... a) { return extr_Max(a..., conv_RealPart); });
}

void defineExtrema1D(py::module_& module) {
    const auto at = [&](const char* name, auto function) {
        module.def(name, [=](const sArray1D& a, conv_eComplexConversion part) {
            int index = 0;
            const pnum_cNumber value = [&] {
                const cWithoutGil released(a.Count());
                return function(a.values, index, part);
            }();
            return py::make_tuple(scalar(value), index);
        });
    };
    at("extr_min_at", [](const auto& a, int& i, auto part) {
        return extr_Min(static_cast<const parr_c1DNumberArray&>(a), i, part);
    });
    at("extr_max_at", [](const auto& a, int& i, auto part) {
        return extr_Max(static_cast<const parr_c1DNumberArray&>(a), i, part);
    });
    const auto over = [&](const char* name, auto function) {
        module.def(name, [=](const sArray1D& a, double start, double end, bool interpolate,
                             conv_eComplexConversion part) {
            const cWithoutGil released(a.Count());
            return sNumber{function(a.values, rnge_c1DRange(start, end),
                                    interpolate ? darr_LinearInterpolation : darr_NoInterpolation,
                                    part)};
        });
    };
    over("extr_min_over", [](const auto&... x) { return extr_Min(x...); });
    over("extr_max_over", [](const auto&... x) { return extr_Max(x...); });
}

void defineExtrema2D(py::module_& module) {
    const auto at = [&](const char* name, auto function) {
        module.def(name, [=](const sArray2D& a, conv_eComplexConversion part) {
            int x = 0;
            int y = 0;
            const pnum_cNumber value = [&] {
                const cWithoutGil released(a.Count());
                return function(a.values, x, y, part);
            }();
            return py::make_tuple(scalar(value), x, y);
        });
    };
    at("extr_min_at", [](const auto& a, int& x, int& y, auto part) {
        return extr_Min(static_cast<const parr_c2DNumberArray&>(a), x, y, part);
    });
    at("extr_max_at", [](const auto& a, int& x, int& y, auto part) {
        return extr_Max(static_cast<const parr_c2DNumberArray&>(a), x, y, part);
    });
}

template<class A>
void defineMinMax(py::module_& module) {
    module.def("extr_min_max", [](const A& a, conv_eComplexConversion part) {
        pnum_cNumber low;
        pnum_cNumber high;
        {
            const cWithoutGil released(a.Count());
            extr_MinMax(a.values, low, high, part);
        }
        return py::make_tuple(scalar(low), scalar(high));
    });
}

} // namespace

void registerReductions(py::module_& module) {
    defineStatistics<sArray1D, sMask1D>(module);
    defineStatistics<sArray2D, sMask2D>(module);
    defineExtrema1D(module);
    defineExtrema2D(module);
    defineMinMax<sArray1D>(module);
    defineMinMax<sArray2D>(module);
}

} // namespace dataprocessing::python
