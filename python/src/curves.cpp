// Selections, and the curves that are fitted over them.

#include <pybind11/stl.h>

#include "axis.h"
#include "doubles.h"
#include "functions.h"
#include "gil.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

constexpr double perPoint = 50; // ns
constexpr double perCopy = 2;

void defineSelection(py::module_& module) {
    using tSelection = dasl_c1DDataArraySelection;
    py::class_<tSelection, mesg_cSender>(module, "dasl_c1DDataArraySelection", py::module_local())
        .def(py::init<rnge_eIndexSelect>(), py::arg("select") = rnge_IndexNearest)
        .def("add_range", &tSelection::AddRange, py::keep_alive<1, 2>())
        .def("add_local_range", &tSelection::AddLocalRange)
        .def("remove_range", &tSelection::RemoveRange)
        .def("has_range",
             [](const tSelection& s, rnge_c1DRange& r) { return static_cast<bool>(s.HasRange(r)); })
        .def("clear", &tSelection::Clear)
        .def("total_range", &tSelection::TotalRange)
        .def("ranges",
             [](const tSelection& s) {
                 py::list ranges;
                 for (const auto& range : s.RangeList())
                     ranges.append(rnge_c1DRange(*range));
                 return ranges;
             })
        .def("fill_xy", [](const tSelection& s, const sArray1D& data) {
            arr_cC_Array<double> x;
            arr_cC_Array<double> y;
            {
                const cWithoutGil released(data.Count(), perCopy);
                s.FillXY(data.values, x, y);
            }
            return py::make_tuple(toNumpy(x), toNumpy(y));
        });
}

void defineFunction(py::module_& module) {
    using tFunction = ftfn_c1DFittingFunction;
    py::class_<tFunction, tgio_cNamedTaggedStreamObject, mesg_cSender>(
        module, "ftfn_c1DFittingFunction", py::module_local())
        .def("refit",
             [](tFunction& f, const sArray1D& data) {
                 const cWithoutGil released(data.Count(), perPoint);
                 f.Refit(data.values);
             })
        .def("load",
             [](const tFunction& f, int count, const sAxis& axis) {
                 arr_cC_Array<double> values(count);
                 {
                     const cWithoutGil released(count, perPoint);
                     f.Load(values, cal_c1DArrayCal(axis.cal));
                 }
                 return toNumpy(values);
             })
        .def("curve",
             [](const tFunction& f, const sAxis& axis, int count) {
                 const cWithoutGil released(count, perPoint);
                 return sArray1D{f.Curve(cal_c1DArrayCal(axis.cal), count), {}, {axis.labels}};
             })
        .def("load_values",
             [](const tFunction& f, const tDoubles& at) {
                 arr_cC_Array<double> x = arrayOf(at);
                 arr_cC_Array<double> y = x;
                 {
                     const cWithoutGil released(x.Size(), perPoint);
                     f.LoadValues(x, y);
                 }
                 return py::make_tuple(toNumpy(x), toNumpy(y));
             })
        .def("chi_squared", &tFunction::ChiSquared);
}

void definePolynomials(py::module_& module) {
    using tPolynomial = plft_c1DPolyFittingFunction;
    py::class_<tPolynomial, ftfn_c1DFittingFunction>(module, "plft_c1DPolyFittingFunction",
                                                     py::module_local())
        .def(py::init<int, dasl_c1DDataArraySelection&>(), py::arg("order"), py::arg("selection"),
             py::keep_alive<1, 3>())
        .def("refit",
             [](tPolynomial& f, const sArray1D& data) {
                 const cWithoutGil released(data.Count(), perPoint);
                 f.Refit(data.values);
             })
        .def("refit",
             [](tPolynomial& f, const sArray1D& data, const sArray1D& deviations) {
                 const cWithoutGil released(data.Count(), perPoint);
                 f.Refit(data.values, deviations.values);
             })
        .def_property_readonly("order", &tPolynomial::Order)
        .def("coefficients", [](const tPolynomial& f) { return toNumpy(f.Coefficients()); })
        .def("rank", &tPolynomial::Rank)
        .def("residual_sum", &tPolynomial::ResidualSum)
        .def("degrees_of_freedom", &tPolynomial::DegreesOfFreedom)
        .def("covariance", [](const tPolynomial& f) { return toNumpy(f.Covariance()); })
        .def("standard_errors", [](const tPolynomial& f) { return toNumpy(f.StandardErrors()); });
    py::class_<plft_c1DOffsetPolyFittingFunction, tPolynomial>(
        module, "plft_c1DOffsetPolyFittingFunction", py::module_local())
        .def(py::init<int, dasl_c1DDataArraySelection&>(), py::arg("order"), py::arg("selection"),
             py::keep_alive<1, 3>())
        .def("offset", &plft_c1DOffsetPolyFittingFunction::Offset);
    py::class_<pwft_cPowerLawFittingFunction, tPolynomial>(module, "pwft_cPowerLawFittingFunction",
                                                           py::module_local())
        .def(py::init<int, dasl_c1DDataArraySelection&>(), py::arg("order"), py::arg("selection"),
             py::keep_alive<1, 3>());
}

void defineWindows(py::module_& module) {
    using tWindows = pwft_cMultiPowerLawFitFunc;
    py::class_<tWindows, ftfn_c1DFittingFunction>(module, "pwft_cMultiPowerLawFitFunc",
                                                  py::module_local())
        .def(py::init<int, dasl_c1DDataArraySelection&>(), py::arg("order"), py::arg("selection"),
             py::keep_alive<1, 3>())
        .def_property_readonly("order", &tWindows::Order)
        .def("peak_count", &tWindows::PeakCount)
        .def("add_peak", &tWindows::AddPeak, py::arg("position"), py::arg("gap"), py::arg("width"),
             py::arg("window_offset"), py::arg("window_width"))
        .def("clear_peaks", &tWindows::ClearPeaks)
        .def("coefficients",
             [](const tWindows& f, int peak) { return toNumpy(f.Coefficients(peak)); })
        .def(
            "power_law",
            [](const tWindows& f, int peak) {
                return pwft_cPowerLawFittingFunction(f.PowerLaw(peak));
            },
            py::keep_alive<0, 1>())
        .def("peak_intensity", &tWindows::PeakIntensity)
        .def("peak_intensity_error", &tWindows::PeakIntensityError);
}

// ---- Gaussian peaks ----------------------------------------------------------------------------

/// A fit with what it refers to: the peaks are Python's, in a list that nobody else changes, the
/// rest is its own.
struct sGaussians {
    sGaussians(const py::object& over, const py::list& ofPeaks, const sAxis& axis,
               bool fitsCalibration, const gsft_cResolution& law, bool fitsResolution)
        : selection(over), peaks(ofPeaks.attr("copy")()), calibration(axis.cal),
          labels(axis.labels), fitCalibration(fitsCalibration), resolution(law),
          fitResolution(fitsResolution),
          function(py::cast<dasl_c1DDataArraySelection&>(over), Listed(), calibration,
                   fitCalibration, resolution, fitResolution) {}

    list_cPtrList<gsft_cGaussian>& Listed() {
        for (const py::handle peak : peaks)
            list.Append(&py::cast<gsft_cGaussian&>(peak));
        return list;
    }

    py::object selection;
    py::list peaks;
    list_cPtrList<gsft_cGaussian> list;
    cal_c1DArrayCal calibration;
    cLabels labels;
    type_cBoolean fitCalibration;
    gsft_cResolution resolution;
    type_cBoolean fitResolution;
    gsft_c1DGaussianFittingFunction function;
};

void defineGaussianParts(py::module_& module) {
    py::enum_<gsft_eStop>(module, "FitStop", py::module_local())
        .value("AT_SMALL_CHANGE", gsft_StopAtSmallChange)
        .value("AT_OPTIMUM", gsft_StopAtOptimum);
    py::enum_<gsft_eEnd>(module, "FitEnd", py::module_local())
        .value("NOT_FITTED", gsft_NotFitted)
        .value("SMALL_CHANGE", gsft_SmallChange)
        .value("OPTIMUM", gsft_Optimum)
        .value("NO_LOWER_STEP", gsft_NoLowerStep);
    py::class_<gsft_cGaussian>(module, "gsft_cGaussian", py::module_local())
        .def(py::init<double, double, double>(), py::arg("amplitude"), py::arg("center"),
             py::arg("width"))
        .def_property("amplitude", &gsft_cGaussian::Amplitude, &gsft_cGaussian::SetAmplitude)
        .def_property("center", &gsft_cGaussian::Center, &gsft_cGaussian::SetCenter)
        .def_property("width", &gsft_cGaussian::Width, &gsft_cGaussian::SetWidth)
        .def("has_reference",
             [](const gsft_cGaussian& g) { return static_cast<bool>(g.HasReference()); })
        .def(
            "set_reference",
            [](gsft_cGaussian& g, gsft_cGaussian& to) {
                g.SetRefGaussian(hndl_cHandle<gsft_cGaussian>(to));
            },
            py::keep_alive<1, 2>())
        .def("value", &gsft_cGaussian::Value)
        .def("intensity", &gsft_cGaussian::Intensity)
        .def("area", &gsft_cGaussian::Area)
        .def("amplitude_ratio", &gsft_cGaussian::AmplitudeRatio)
        .def("set_amplitude_from_ratio", &gsft_cGaussian::SetAmplitudeFromRatio);
    py::class_<gsft_cResolution>(module, "gsft_cResolution", py::module_local())
        .def(py::init<double, double, double>(), py::arg("position"), py::arg("fwhm"),
             py::arg("factor") = gsft_cResolution::DefaultFactor)
        .def_property_readonly("reference_position", &gsft_cResolution::ReferencePosition)
        .def_property("reference_fwhm", &gsft_cResolution::ReferenceFWHM,
                      &gsft_cResolution::SetReferenceFWHM)
        .def_property_readonly("factor", &gsft_cResolution::Factor)
        .def("has_value",
             [](const gsft_cResolution& r, double x) { return static_cast<bool>(r.HasValue(x)); })
        .def("fwhm", &gsft_cResolution::FWHM);
}

void defineGaussians(py::module_& module) {
    defineGaussianParts(module);
    py::class_<sGaussians>(module, "gsft_c1DGaussianFittingFunction", py::module_local())
        .def(py::init<const py::object&, const py::list&, const sAxis&, bool,
                      const gsft_cResolution&, bool>(),
             py::arg("selection"), py::arg("peaks"), py::arg("calibration"),
             py::arg("fit_calibration"), py::arg("resolution"), py::arg("fit_resolution"))
        .def(
            "refit",
            [](sGaussians& f, const sArray1D& data, gsft_eStop stop) {
                const cWithoutGil released(data.Count(), perPoint * f.list.Size());
                f.function.Refit(data.values, stop);
            },
            py::arg("data"), py::arg("stop") = gsft_StopAtSmallChange)
        .def_property_readonly("calibration",
                               [](const sGaussians& f) {
                                   return sAxis{f.calibration, f.labels};
                               })
        .def_property_readonly("resolution", [](const sGaussians& f) { return f.resolution; })
        .def("load",
             [](const sGaussians& f, int count, const sAxis& axis) {
                 arr_cC_Array<double> values(count);
                 {
                     const cWithoutGil released(count, perPoint * f.list.Size());
                     f.function.Load(values, cal_c1DArrayCal(axis.cal));
                 }
                 return toNumpy(values);
             })
        .def("load_values",
             [](const sGaussians& f, const tDoubles& at) {
                 arr_cC_Array<double> x = arrayOf(at);
                 arr_cC_Array<double> y = x;
                 {
                     const cWithoutGil released(x.Size(), perPoint * f.list.Size());
                     f.function.LoadValues(x, y);
                 }
                 return py::make_tuple(toNumpy(x), toNumpy(y));
             })
        .def("chi_squared", [](const sGaussians& f) { return f.function.ChiSquared(); })
        .def("residual_sum", [](const sGaussians& f) { return f.function.ResidualSum(); })
        .def("degrees_of_freedom",
             [](const sGaussians& f) { return f.function.DegreesOfFreedom(); })
        .def("steps", [](const sGaussians& f) { return f.function.Steps(); })
        .def("end", [](const sGaussians& f) { return f.function.End(); })
        .def("distance_to_optimum",
             [](const sGaussians& f) { return f.function.DistanceToOptimum(); })
        .def("covariance", [](const sGaussians& f) { return toNumpy(f.function.Covariance()); })
        .def("standard_errors",
             [](const sGaussians& f) { return toNumpy(f.function.StandardErrors()); })
        .def("amplitude_error",
             [](const sGaussians& f, int peak) { return f.function.AmplitudeError(peak); })
        .def("area_error", [](const sGaussians& f, int peak) { return f.function.AreaError(peak); })
        .def("counts_error",
             [](const sGaussians& f, int peak) { return f.function.CountsError(peak); })
        .def("set_widths_from_resolution",
             [](sGaussians& f) { f.function.SetWidthsFromResolution(); });
}

} // namespace

void registerCurves(py::module_& module) {
    defineSelection(module);
    defineFunction(module);
    definePolynomials(module);
    defineWindows(module);
    defineGaussians(module);
}

} // namespace dataprocessing::python
