// Nonlinear least squares with models written in Python, models of peaks, linear systems.

#include <cmath>
#include <cstring>
#include <numeric>
#include <sstream>

#include <pybind11/functional.h>
#include <pybind11/stl.h>

#include "doubles.h"
#include "functions.h"
#include "gil.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

// ---- Models in Python --------------------------------------------------------------------------

/// A model that Python evaluates at all points at once. The library goes through the points in
/// blocks; positions are the indices of the points, and what was computed for the parameters of the
/// first block is kept for the others.
class cPythonModel : public nlsq_cModel {
public:
    /// `function(x, p)` gives a value for each of `count` points, `gradient(x, p)` a row of
    /// derivatives for each parameter; None for differences. `x` is handed through as it is.
    cPythonModel(py::object function, py::object gradient, py::object x, std::size_t count)
        : function_(std::move(function)), gradient_(std::move(gradient)), x_(std::move(x)),
          count_(count) {}

    std::vector<double> Positions() const {
        std::vector<double> positions(count_);
        std::iota(positions.begin(), positions.end(), 0.0);
        return positions;
    }

    void Evaluate(std::span<const double> x, std::span<const double> p, std::span<double> values,
                  std::span<double> derivatives) const override {
        if (!IsOf(valuesAt_, p)) {
            values_ = Values(p);
            valuesAt_.assign(p.begin(), p.end());
        }
        for (std::size_t i = 0; i < x.size(); ++i)
            values[i] = values_[static_cast<std::size_t>(x[i])];
        if (derivatives.empty())
            return;
        if (!IsOf(derivativesAt_, p)) {
            derivatives_ = gradient_.is_none() ? Differences(p) : Gradient(p);
            derivativesAt_.assign(p.begin(), p.end());
        }
        for (std::size_t j = 0; j < p.size(); ++j)
            for (std::size_t i = 0; i < x.size(); ++i)
                derivatives[j * x.size() + i] =
                    derivatives_[j * count_ + static_cast<std::size_t>(x[i])];
    }

    double DerivativeError() const override {
        constexpr double ofDifferences = 1e-9;
        return gradient_.is_none() ? ofDifferences : nlsq_cModel::DerivativeError();
    }

private:
    /// Whether what is kept was computed for these very parameters.
    static bool IsOf(const std::vector<double>& kept, std::span<const double> p) noexcept {
        return !p.empty() && kept.size() == p.size() &&
               std::memcmp(kept.data(), p.data(), p.size_bytes()) == 0;
    }

    std::vector<double> Values(std::span<const double> p) const {
        const tDoubles values(function_(x_, toNumpy(p)));
        if (values.ndim() > 1 || (values.ndim() == 1 && values.size() != Count()))
            throw py::value_error("the model gives " + std::to_string(values.size()) +
                                  " values for " + std::to_string(count_) + " points");
        // A model that does not depend on x may say so by one number.
        if (values.ndim() == 0)
            return std::vector<double>(count_, *values.data());
        return vectorOf(values);
    }

    std::vector<double> Gradient(std::span<const double> p) const {
        const tDoubles rows(gradient_(x_, toNumpy(p)));
        if (rows.ndim() != 2 || rows.shape(0) != static_cast<py::ssize_t>(p.size()) ||
            rows.shape(1) != Count())
            throw py::value_error("derivatives are a row of " + std::to_string(count_) +
                                  " for each of the " + std::to_string(p.size()) + " parameters");
        return vectorOf(rows);
    }

    /// By what lies between values at one step and at two steps to both sides, as the library's
    /// own models of functions do.
    std::vector<double> Differences(std::span<const double> p) const {
        constexpr double part = 6e-6;
        std::vector<double> rows;
        rows.reserve(p.size() * count_);
        std::vector<double> moved(p.begin(), p.end());
        for (std::size_t j = 0; j < p.size(); ++j) {
            const double step = p[j] + part * (p[j] == 0 ? 1 : std::fabs(p[j])) - p[j];
            std::vector<double> at[4];
            const double distances[4] = {step, -step, 2 * step, -2 * step};
            for (std::size_t k = 0; k < 4; ++k) {
                moved[j] = p[j] + distances[k];
                at[k] = Values(moved);
            }
            for (std::size_t i = 0; i < count_; ++i)
                rows.push_back((8 * (at[0][i] - at[1][i]) - (at[2][i] - at[3][i])) / (12 * step));
            moved[j] = p[j];
        }
        return rows;
    }

    py::ssize_t Count() const { return static_cast<py::ssize_t>(count_); }

    py::object function_;
    py::object gradient_;
    py::object x_;
    std::size_t count_;
    mutable std::vector<double> valuesAt_;
    mutable std::vector<double> values_;
    mutable std::vector<double> derivativesAt_;
    mutable std::vector<double> derivatives_;
};

// ---- Controls and results ----------------------------------------------------------------------

nlsq_sControl controlOf(nlsq_sControl control, const py::dict& given) {
    for (const auto& [key, value] : given) {
        const auto name = py::cast<std::string>(key);
        if (name == "gradient_tolerance")
            control.gradientTolerance = py::cast<double>(value);
        else if (name == "step_tolerance")
            control.stepTolerance = py::cast<double>(value);
        else if (name == "decrease_tolerance")
            control.decreaseTolerance = py::cast<double>(value);
        else if (name == "remainder_tolerance")
            control.remainderTolerance = py::cast<double>(value);
        else if (name == "most_evaluations")
            control.mostEvaluations = py::cast<int>(value);
        else if (name == "observer") {
            if (value.is_none())
                continue;
            control.observer =
                [function = py::reinterpret_borrow<py::object>(value)](const nlsq_sIteration& at) {
                    const py::object answer =
                        function(at.iteration, at.chiSquared, toNumpy(at.parameters));
                    return answer.is_none() || !py::cast<bool>(py::bool_(answer)) ? nlsq_Continue
                                                                                  : nlsq_Stop;
                };
        } else {
            throw py::type_error("a fit is not controlled by '" + name + "'");
        }
    }
    return control;
}

std::vector<double> optional(const py::object& values) {
    return values.is_none() ? std::vector<double>() : vectorOf(tDoubles(values));
}

void defineResult(py::module_& module) {
    using tResult = nlsq_sResult;
    py::class_<tResult>(module, "nlsq_sResult", py::module_local())
        .def_property_readonly("parameters", [](const tResult& r) { return toNumpy(r.parameters); })
        .def_property_readonly("standard_errors",
                               [](const tResult& r) { return toNumpy(r.standardErrors); })
        .def_property_readonly(
            "covariance",
            [](const tResult& r) { return toNumpy(r.covariance, r.parameters.size()); })
        .def_readonly("chi_squared", &tResult::chiSquared)
        .def_readonly("degrees_of_freedom", &tResult::degreesOfFreedom)
        .def_readonly("iterations", &tResult::iterations)
        .def_readonly("evaluations", &tResult::evaluations)
        .def_readonly("end", &tResult::end)
        .def_readonly("gradient", &tResult::gradient)
        .def_readonly("step", &tResult::step)
        .def_readonly("decrease", &tResult::decrease)
        .def_readonly("free", &tResult::free)
        .def_readonly("rank", &tResult::rank)
        .def_readonly("at_bound", &tResult::atBound)
        .def_readonly("undetermined", &tResult::undetermined)
        .def("converged", &tResult::Converged)
        .def("reduced_chi_squared", &tResult::ReducedChiSquared)
        .def("correlation", &tResult::Correlation);
}

void defineWords(py::module_& module) {
    py::enum_<nlsq_eObjective>(module, "Objective", py::module_local())
        .value("LEAST_SQUARES", nlsq_LeastSquares)
        .value("POISSON_LIKELIHOOD", nlsq_PoissonLikelihood);
    py::enum_<nlsq_eErrors>(module, "Errors", py::module_local())
        .value("BY_DEFAULT", nlsq_ErrorsByDefault)
        .value("AS_GIVEN", nlsq_ErrorsAsGiven)
        .value("FROM_SCATTER", nlsq_ErrorsFromScatter);
    py::enum_<nlsq_eEnd>(module, "End", py::module_local())
        .value("GRADIENT_SMALL", nlsq_GradientSmall)
        .value("STEP_SMALL", nlsq_StepSmall)
        .value("DECREASE_SMALL", nlsq_DecreaseSmall)
        .value("SOLVED", nlsq_Solved)
        .value("MOST_EVALUATIONS", nlsq_MostEvaluations)
        .value("STOPPED", nlsq_Stopped)
        .value("STOPPED_BY_OBSERVER", nlsq_StoppedByObserver)
        .value("NO_DECREASE", nlsq_NoDecrease)
        .value("NO_VALUE", nlsq_NoValue);
    py::class_<nlsq_sParameter>(module, "nlsq_sParameter", py::module_local())
        .def_static("free", &nlsq_sParameter::Free)
        .def_static("fixed", &nlsq_sParameter::Fixed)
        .def_static("bounded", &nlsq_sParameter::Bounded, py::arg("lower"), py::arg("upper"))
        .def_static("tied", &nlsq_sParameter::Tied, py::arg("to"), py::arg("factor"),
                    py::arg("offset") = 0.0)
        .def_property_readonly(
            "varies", [](const nlsq_sParameter& p) { return p.kind == nlsq_sParameter::Moving; })
        .def_property_readonly("ref", [](const nlsq_sParameter& p) -> py::object {
            return p.kind == nlsq_sParameter::Following ? py::cast(p.to) : py::none();
        });
    module.def("nlsq_text", &nlsq_Text);
    defineResult(module);
}

void defineLeastSquares(py::module_& module) {
    defineWords(module);
    module.def(
        "nlsq_fit",
        [](const py::object& function, const py::object& x, const tDoubles& y,
           const tDoubles& start, const py::object& gradient, const py::object& weights,
           const py::object& deviations, nlsq_eObjective objective, nlsq_eErrors errors,
           const std::vector<nlsq_sParameter>& parameters, const py::kwargs& control) {
            const cPythonModel model(function, gradient, x, spanOf(y).size());
            return nlsq_Fit(model, model.Positions(), spanOf(y), spanOf(start),
                            {.weights = optional(weights),
                             .standardDeviations = optional(deviations),
                             .objective = objective,
                             .errors = errors,
                             .parameters = parameters,
                             .control = controlOf({}, control)});
        },
        py::arg("function"), py::arg("x"), py::arg("y"), py::arg("start"),
        py::arg("gradient") = py::none(), py::arg("weights") = py::none(),
        py::arg("standard_deviations") = py::none(), py::arg("objective") = nlsq_LeastSquares,
        py::arg("errors") = nlsq_ErrorsByDefault,
        py::arg("parameters") = std::vector<nlsq_sParameter>());
    module.def(
        "nlsq_fit_linear",
        [](const py::object& function, const py::object& x, const tDoubles& y, int parameters,
           const py::object& gradient, const py::object& weights, const py::object& deviations,
           nlsq_eErrors errors) {
            const cPythonModel model(function, gradient, x, spanOf(y).size());
            return nlsq_FitLinear(model, model.Positions(), spanOf(y), parameters,
                                  {.weights = optional(weights),
                                   .standardDeviations = optional(deviations),
                                   .errors = errors});
        },
        py::arg("function"), py::arg("x"), py::arg("y"), py::arg("parameters"),
        py::arg("gradient") = py::none(), py::arg("weights") = py::none(),
        py::arg("standard_deviations") = py::none(), py::arg("errors") = nlsq_ErrorsByDefault);
    module.def(
        "nlsq_check_derivatives",
        [](const py::object& function, const py::object& gradient, const tDoubles& x,
           const tDoubles& p) {
            const cPythonModel model(function, gradient, x, spanOf(x).size());
            const nlsq_sDerivativeCheck check =
                nlsq_CheckDerivatives(model, model.Positions(), spanOf(p));
            return py::make_tuple(check.difference, check.parameter,
                                  spanOf(x)[static_cast<std::size_t>(check.position)]);
        },
        py::arg("function"), py::arg("gradient"), py::arg("x"), py::arg("parameters"));
}

// ---- Models of peaks ---------------------------------------------------------------------------

void definePeakModel(py::module_& module) {
    using tModel = pkmd_cModel;
    py::enum_<pkmd_eShape>(module, "Shape", py::module_local())
        .value("GAUSSIAN", pkmd_Gaussian)
        .value("LORENTZIAN", pkmd_Lorentzian)
        .value("PSEUDO_VOIGT", pkmd_PseudoVoigt)
        .value("VOIGT", pkmd_Voigt)
        .value("TAILED_GAUSSIAN", pkmd_TailedGaussian);
    py::class_<tModel>(module, "pkmd_cModel", py::module_local())
        .def(py::init<>())
        .def("__copy__", [](const tModel& m) { return tModel(m); })
        .def("add_peak", &tModel::AddPeak, py::arg("shape"), py::arg("position"), py::arg("height"),
             py::arg("width"), py::arg("extra") = 0.0)
        .def("peak_count", &tModel::PeakCount)
        .def("position", &tModel::Position)
        .def("height", &tModel::Height)
        .def("width", &tModel::Width)
        .def("extra", &tModel::Extra)
        .def("add_polynomial", &tModel::AddPolynomial, py::arg("start"), py::arg("reference") = 0.0,
             py::arg("scale") = 1.0)
        .def("add_power_law", &tModel::AddPowerLaw, py::arg("amplitude"), py::arg("exponent"),
             py::arg("reference"))
        .def("add_exponential", &tModel::AddExponential, py::arg("amplitude"), py::arg("rate"),
             py::arg("reference") = 0.0)
        .def(
            "add_curve",
            [](tModel& m, const sArray1D& curve, double factor) {
                return m.AddCurve(curve.values, factor);
            },
            py::arg("curve"), py::arg("factor") = 1.0)
        .def("set_width_law", &tModel::SetWidthLaw, py::arg("width"), py::arg("slope"),
             py::arg("reference"))
        .def("parameter_count", &tModel::ParameterCount)
        .def("starts", [](const tModel& m) { return toNumpy(m.Starts()); })
        .def("kinds",
             [](const tModel& m) {
                 return std::vector<nlsq_sParameter>(m.Kinds().begin(), m.Kinds().end());
             })
        .def("name", &tModel::Name)
        .def("set_start", &tModel::SetStart)
        .def("set_starts", [](tModel& m, const tDoubles& to) { m.SetStarts(spanOf(to)); })
        .def("free", &tModel::Free)
        .def("fix", &tModel::Fix)
        .def("bound", &tModel::Bound, py::arg("parameter"), py::arg("lower"), py::arg("upper"))
        .def("tie", &tModel::Tie, py::arg("parameter"), py::arg("to"), py::arg("factor") = 1.0,
             py::arg("offset") = 0.0)
        .def(
            "values",
            [](const tModel& m, const tDoubles& p, const tDoubles& x, bool backgroundOnly) {
                py::array_t<double> y(x.size());
                const std::span<double> to(y.mutable_data(), spanOf(x).size());
                const tModel model = m; // another thread may add to it meanwhile
                {
                    constexpr double perPosition = 50; // ns
                    const cWithoutGil released(x.size(), perPosition);
                    model.Values(spanOf(p), spanOf(x), to,
                                 backgroundOnly ? pkmd_BackgroundOnly : pkmd_Everything);
                }
                return y;
            },
            py::arg("parameters"), py::arg("x"), py::arg("background_only") = false);
}

pkmd_sOptions peakOptions(nlsq_eObjective objective, const py::object& weights, nlsq_eErrors errors,
                          double windows, double from, double to, const py::dict& control) {
    pkmd_sOptions options;
    options.objective = objective;
    options.weights = optional(weights);
    options.errors = errors;
    options.windows = windows;
    options.from = from;
    options.to = to;
    options.control = controlOf(options.control, control);
    return options;
}

void definePeakResult(py::module_& module) {
    module.def(
        "pkmd_model_of",
        [](const sArray1D& spectrum, const std::vector<peak_sPeak>& found, pkmd_eShape shape) {
            return pkmd_ModelOf(spectrum.values, found, shape);
        },
        py::arg("spectrum"), py::arg("found"), py::arg("shape") = pkmd_Gaussian);
    py::class_<pkmd_sPeak>(module, "pkmd_sPeak", py::module_local())
        .def_readonly("shape", &pkmd_sPeak::shape)
        .def_readonly("position", &pkmd_sPeak::position)
        .def_readonly("position_error", &pkmd_sPeak::positionError)
        .def_readonly("height", &pkmd_sPeak::height)
        .def_readonly("height_error", &pkmd_sPeak::heightError)
        .def_readonly("width", &pkmd_sPeak::width)
        .def_readonly("width_error", &pkmd_sPeak::widthError)
        .def_readonly("extra", &pkmd_sPeak::extra)
        .def_readonly("extra_error", &pkmd_sPeak::extraError)
        .def_readonly("area", &pkmd_sPeak::area)
        .def_readonly("area_error", &pkmd_sPeak::areaError);
    py::class_<pkmd_sResult>(module, "pkmd_sResult", py::module_local())
        .def_readonly("fit", &pkmd_sResult::fit)
        .def_property_readonly("peaks",
                               [](const pkmd_sResult& r) {
                                   py::list peaks;
                                   for (const pkmd_sPeak& peak : r.peaks)
                                       peaks.append(peak);
                                   return peaks;
                               })
        .def_readonly("names", &pkmd_sResult::names)
        .def_readonly("channels", &pkmd_sResult::channels)
        .def("__str__", [](const pkmd_sResult& r) {
            std::ostringstream text;
            text << r;
            return text.str();
        });
    module.def(
        "pkmd_fit",
        [](const pkmd_cModel& model, const sArray1D& spectrum, nlsq_eObjective objective,
           const py::object& weights, nlsq_eErrors errors, double windows, double from, double to,
           const py::kwargs& control) {
            const pkmd_sOptions options =
                peakOptions(objective, weights, errors, windows, from, to, control);
            // The model may change while the lock is released, or by an observer.
            const pkmd_cModel own = model;
            // An observer is Python's.
            if (options.control.observer)
                return pkmd_Fit(own, spectrum.values, options);
            constexpr double perChannel = 1000;
            const cWithoutGil released(spectrum.Count(), perChannel);
            return pkmd_Fit(own, spectrum.values, options);
        },
        py::arg("model"), py::arg("spectrum"), py::arg("objective") = nlsq_PoissonLikelihood,
        py::arg("weights") = py::none(), py::arg("errors") = nlsq_ErrorsAsGiven,
        py::arg("windows") = 5.0, py::arg("start") = -std::numeric_limits<double>::infinity(),
        py::arg("stop") = std::numeric_limits<double>::infinity());
}

void definePeakAnswers(py::module_& module) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    module.def(
        "pkmd_interval",
        [](const pkmd_cModel& model, const sArray1D& spectrum, const pkmd_sResult& found,
           int parameter, nlsq_eObjective objective, const py::object& weights, nlsq_eErrors errors,
           double windows, double from, double to, const py::kwargs& control) {
            const pkmd_cModel own = model;
            const pkmd_sInterval interval =
                pkmd_Interval(own, spectrum.values, found, parameter,
                              peakOptions(objective, weights, errors, windows, from, to, control));
            return py::make_tuple(interval.lower, interval.upper);
        },
        py::arg("model"), py::arg("spectrum"), py::arg("found"), py::arg("parameter"),
        py::arg("objective") = nlsq_PoissonLikelihood, py::arg("weights") = py::none(),
        py::arg("errors") = nlsq_ErrorsAsGiven, py::arg("windows") = 5.0,
        py::arg("start") = -infinity, py::arg("stop") = infinity);
    module.def(
        "pkmd_report",
        [](const pkmd_sResult& result, const std::string& position, const std::string& value) {
            return pkmd_Report(result, {position, value});
        },
        py::arg("result"), py::arg("position") = "", py::arg("value") = "");
}

// ---- Linear systems ----------------------------------------------------------------------------

void defineEquations(py::module_& module) {
    py::enum_<eqns_eColumns>(module, "Columns", py::module_local())
        .value("AS_GIVEN", eqns_ColumnsAsGiven)
        .value("SCALED", eqns_ColumnsScaled);
    py::class_<eqns_sSolution>(module, "eqns_sSolution", py::module_local())
        .def_property_readonly("x", [](const eqns_sSolution& s) { return toNumpy(s.x); })
        .def_property_readonly("covariance",
                               [](const eqns_sSolution& s) { return toNumpy(s.covariance); })
        .def_property_readonly("standard_errors",
                               [](const eqns_sSolution& s) { return toNumpy(s.standardErrors); })
        .def_readonly("residual_sum", &eqns_sSolution::residualSum)
        .def_readonly("degrees_of_freedom", &eqns_sSolution::degreesOfFreedom)
        .def_readonly("rank", &eqns_sSolution::rank);
    module.def(
        "eqns_solve_equations",
        [](const tDoubles& a, const tDoubles& b, eqns_eColumns columns) {
            if (a.ndim() != 2 || b.ndim() != 1)
                throw py::value_error("a system has a matrix and a vector");
            constexpr py::ssize_t most = 32767;
            if (a.shape(0) > most || a.shape(1) > most)
                arr_SizeError(std::max(a.shape(0), a.shape(1)));
            constexpr double perProduct = 1; // ns, of a coefficient with each unknown
            const cWithoutGil released(a.size() * a.shape(1), perProduct);
            const arr_c2DNumberArray<double> matrix(static_cast<int>(a.shape(1)),
                                                    static_cast<int>(a.shape(0)), spanOf(a));
            const arr_c1DNumberArray<double> vector(spanOf(b));
            return eqns_SolveEquations(matrix, vector, columns);
        },
        py::arg("a"), py::arg("b"), py::arg("columns") = eqns_ColumnsAsGiven);
}

} // namespace

void registerModels(py::module_& module) {
    defineLeastSquares(module);
    definePeakModel(module);
    definePeakResult(module);
    definePeakAnswers(module);
    defineEquations(module);
}

} // namespace dataprocessing::python
