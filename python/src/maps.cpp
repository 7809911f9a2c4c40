// Whole maps: one call for a block of spectra, whatever its strides.

#include <limits>
#include <utility>
#include <vector>

#include <pybind11/stl.h>

#include "doubles.h"
#include "dtype.h"
#include "functions.h"
#include "objects.h"

namespace dataprocessing::python {

namespace {

/// A fit and the axis that it was made for.
template<class Fit>
struct tMapFit {
    Fit fit;
    cal_c1DArrayCal cal;
};

// ---- Blocks and planes -------------------------------------------------------------------------

/// The spectra that lie along the last dimension of a block of one to three.
maps_cStack stackOf(const py::array& block, const cal_c1DArrayCal& cal) {
    const py::ssize_t dimensions = block.ndim();
    if (dimensions < 1 || dimensions > 3)
        throw py::value_error("a block of spectra has one to three dimensions");
    const dtyp_cDataType type = codeOf(block.dtype());
    if (!type.IsReal() || !block.dtype().attr("isnative").cast<bool>())
        throw py::type_error("a block has elements of a real type of the library, in this "
                             "machine's byte order");
    const py::ssize_t width = block.itemsize();
    std::ptrdiff_t counts[3] = {1, 1, 1};
    std::ptrdiff_t strides[3] = {0, 0, 0};
    std::ptrdiff_t below = 0;
    std::ptrdiff_t above = 0;
    for (py::ssize_t d = 0; d < dimensions; ++d) {
        const py::ssize_t to = 3 - dimensions + d;
        counts[to] = block.shape(d);
        // What is never stepped over may have any stride.
        if (block.size() == 0 || counts[to] == 1)
            continue;
        if (block.strides(d) % width != 0)
            throw py::value_error("the strides of a block are whole elements");
        strides[to] = block.strides(d) / width;
        const std::ptrdiff_t reach = (counts[to] - 1) * strides[to];
        (reach < 0 ? below : above) += reach;
    }
    const auto elements =
        block.size() == 0 ? std::size_t{0} : static_cast<std::size_t>(above - below + 1);
    const auto* const first = static_cast<const std::byte*>(block.data()) + below * width;
    const maps_sLayout layout{static_cast<std::size_t>(counts[0]),
                              static_cast<std::size_t>(counts[1]),
                              static_cast<std::size_t>(counts[2]),
                              strides[0],
                              strides[1],
                              strides[2],
                              -below};
    return {{first, elements * static_cast<std::size_t>(width)}, type, layout, cal};
}

/// The dimensions of the map, behind one of so many planes.
std::vector<py::ssize_t> planesOf(const py::array& block, std::size_t planes) {
    std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(planes)};
    shape.insert(shape.end(), block.shape(), block.shape() + block.ndim() - 1);
    return shape;
}

template<class T>
std::span<T> elementsOf(py::array_t<T>& plane) {
    return {plane.mutable_data(), static_cast<std::size_t>(plane.size())};
}

/// What a fit says of a block: values and errors, plane after plane, chi-squared, steps, status.
class cPlanes {
public:
    cPlanes(const py::array& block, std::size_t parameters, bool hasChiSquared)
        : values_(planesOf(block, parameters)), errors_(planesOf(block, parameters)),
          chiSquared_(planesOf(block, hasChiSquared ? 1 : 0)), iterations_(planesOf(block, 1)),
          status_(planesOf(block, 1)) {}

    maps_sPlanes Spans() {
        const auto status = elementsOf(status_);
        return {elementsOf(values_),
                elementsOf(errors_),
                elementsOf(chiSquared_),
                elementsOf(iterations_),
                {reinterpret_cast<maps_eStatus*>(status.data()), status.size()}};
    }
    py::tuple Tuple() const {
        return py::make_tuple(values_, errors_, chiSquared_, iterations_, status_);
    }

private:
    py::array_t<double> values_;
    py::array_t<double> errors_;
    py::array_t<double> chiSquared_;
    py::array_t<int> iterations_;
    py::array_t<unsigned char> status_;
};

/// The memory of this thread's calls.
maps_cWorkspace& workspace() {
    thread_local maps_cWorkspace kept;
    return kept;
}

template<class Fit>
py::tuple run(const tMapFit<Fit>& map, const py::array& block, std::size_t parameters,
              bool hasChiSquared) {
    const maps_cStack stack = stackOf(block, map.cal);
    cPlanes planes(block, parameters, hasChiSquared);
    const maps_sPlanes spans = planes.Spans();
    {
        const py::gil_scoped_release released;
        map.fit.Run(stack, spans, workspace());
    }
    return planes.Tuple();
}

using tPairs = std::vector<std::pair<double, double>>;

std::vector<maps_sRange> rangesOf(const tPairs& pairs) {
    std::vector<maps_sRange> ranges;
    ranges.reserve(pairs.size());
    for (const auto& [from, to] : pairs)
        ranges.push_back({from, to});
    return ranges;
}

// ---- Fits --------------------------------------------------------------------------------------

void defineSum(py::module_& module) {
    module.def(
        "maps_sum",
        [](const py::array& block, const py::object& onto) {
            const maps_cStack stack = stackOf(block, {});
            py::array_t<double> spectrum(static_cast<py::ssize_t>(stack.Channels()));
            std::ranges::fill(elementsOf(spectrum), 0.0);
            if (!onto.is_none()) {
                const tDoubles before(onto);
                if (before.size() != spectrum.size())
                    throw py::value_error("the sum has other channels than the spectra");
                std::ranges::copy(spanOf(before), spectrum.mutable_data());
            }
            std::vector<py::ssize_t> shape = planesOf(block, 1);
            shape.erase(shape.begin());
            py::array_t<double> image(shape);
            const auto ofChannels = elementsOf(spectrum);
            const auto ofSpectra = elementsOf(image);
            {
                const py::gil_scoped_release released;
                maps_Sum(stack, ofChannels, ofSpectra, workspace());
            }
            return py::make_tuple(spectrum, image);
        },
        py::arg("block"), py::arg("onto") = py::none());
}

void defineIntegral(py::module_& module) {
    using tFit = tMapFit<maps_cIntegral>;
    py::enum_<maps_sBackground::eCurve>(module, "Background", py::module_local())
        .value("NONE", maps_sBackground::None)
        .value("POLYNOMIAL", maps_sBackground::Polynomial)
        .value("POWER_LAW", maps_sBackground::PowerLaw);
    py::class_<tFit>(module, "maps_cIntegral", py::module_local())
        .def(py::init([](std::size_t channels, const sAxis& axis, const tPairs& windows,
                         maps_sBackground::eCurve curve, const tPairs& ranges, int degree) {
                 const cal_c1DArrayCal cal(axis.cal);
                 return tFit{maps_cIntegral(channels, cal, rangesOf(windows),
                                            {curve, rangesOf(ranges), degree}),
                             cal};
             }),
             py::arg("channels"), py::arg("axis"), py::arg("windows"),
             py::arg("background") = maps_sBackground::None, py::arg("ranges") = tPairs(),
             py::arg("degree") = 1)
        .def("window_count", [](const tFit& map) { return map.fit.WindowCount(); })
        .def(
            "run",
            [](const tFit& map, const py::array& block) {
                return run(map, block, map.fit.WindowCount(), false);
            },
            py::arg("block"));
}

void definePowerLaw(py::module_& module) {
    using tFit = tMapFit<maps_cPowerLaw>;
    py::class_<tFit>(module, "maps_cPowerLaw", py::module_local())
        .def(py::init([](std::size_t channels, const sAxis& axis, const tPairs& ranges,
                         double reference) {
                 const cal_c1DArrayCal cal(axis.cal);
                 return tFit{maps_cPowerLaw(channels, cal, rangesOf(ranges), reference), cal};
             }),
             py::arg("channels"), py::arg("axis"), py::arg("ranges"), py::arg("reference"))
        .def(
            "run", [](const tFit& map, const py::array& block) { return run(map, block, 2, true); },
            py::arg("block"));
}

void defineLinear(py::module_& module) {
    using tFit = tMapFit<maps_cLinear>;
    py::enum_<maps_eWeights>(module, "Weights", py::module_local())
        .value("OF_COUNTS", maps_WeightsOfCounts)
        .value("EQUAL", maps_EqualWeights)
        .value("OF_MODEL", maps_WeightsOfModel);
    py::class_<tFit>(module, "maps_cLinear", py::module_local())
        .def(py::init([](const tDoubles& shapes, maps_eWeights weights,
                         const std::vector<int>& nonNegative) {
                 if (shapes.ndim() != 2)
                     throw py::value_error("shapes are a row of channels for each");
                 return tFit{maps_cLinear(spanOf(shapes), static_cast<std::size_t>(shapes.shape(1)),
                                          {weights, nonNegative}),
                             {}};
             }),
             py::arg("shapes"), py::arg("weights") = maps_WeightsOfCounts,
             py::arg("non_negative") = std::vector<int>())
        .def("parameter_count", [](const tFit& map) { return map.fit.ParameterCount(); })
        .def(
            "run",
            [](const tFit& map, const py::array& block) {
                return run(map, block, map.fit.ParameterCount(), true);
            },
            py::arg("block"));
    module.def(
        "maps_polynomial",
        [](std::size_t channels, const sAxis& axis, int degree, double reference, double scale,
           maps_eWeights weights) {
            const cal_c1DArrayCal cal(axis.cal);
            return tFit{maps_Polynomial(channels, cal, degree, reference, scale, {weights, {}}),
                        cal};
        },
        py::arg("channels"), py::arg("axis"), py::arg("degree"), py::arg("reference"),
        py::arg("scale"), py::arg("weights") = maps_WeightsOfCounts);
}

void definePeaks(py::module_& module) {
    using tFit = tMapFit<maps_cPeaks>;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    py::class_<tFit>(module, "maps_cPeaks", py::module_local())
        .def(py::init([](const pkmd_cModel& model, std::size_t channels, const sAxis& axis,
                         nlsq_eObjective objective, const py::object& weights, nlsq_eErrors errors,
                         double windows, double from, double to, double tolerance,
                         int mostEvaluations) {
                 const cal_c1DArrayCal cal(axis.cal);
                 const maps_sPeakOptions options{
                     objective,
                     weights.is_none() ? std::vector<double>() : vectorOf(tDoubles(weights)),
                     errors,
                     windows,
                     from,
                     to,
                     tolerance,
                     mostEvaluations};
                 return tFit{maps_cPeaks(model, channels, cal, options), cal};
             }),
             py::arg("model"), py::arg("channels"), py::arg("axis"),
             py::arg("objective") = nlsq_PoissonLikelihood, py::arg("weights") = py::none(),
             py::arg("errors") = nlsq_ErrorsAsGiven, py::arg("windows") = 5.0,
             py::arg("start") = -infinity, py::arg("stop") = infinity, py::arg("tolerance") = 1e-4,
             py::arg("most_evaluations") = 200)
        .def("parameter_count", [](const tFit& map) { return map.fit.ParameterCount(); })
        .def("peak_count", [](const tFit& map) { return map.fit.PeakCount(); })
        .def(
            "run",
            [](const tFit& map, const py::array& block, const py::object& starts) {
                const maps_cStack stack = stackOf(block, map.cal);
                cPlanes planes(block, map.fit.ParameterCount(), true);
                py::array_t<double> areas(planesOf(block, map.fit.PeakCount()));
                py::array_t<double> areaErrors(planesOf(block, map.fit.PeakCount()));
                const maps_sPeakPlanes spans{planes.Spans(), elementsOf(areas),
                                             elementsOf(areaErrors)};
                const std::vector<double> from =
                    starts.is_none() ? std::vector<double>() : vectorOf(tDoubles(starts));
                {
                    const py::gil_scoped_release released;
                    map.fit.Run(stack, spans, workspace(), from);
                }
                return planes.Tuple() + py::make_tuple(areas, areaErrors);
            },
            py::arg("block"), py::arg("starts") = py::none());
}

// ---- Spectra from spectra ----------------------------------------------------------------------

/// Spectra of so many channels for each one of a block.
class cSpectra {
public:
    cSpectra(const py::array& block, std::size_t channels)
        : values_(shapeOf(block, channels)), errors_(shapeOf(block, channels)),
          status_(planesOf(block, 1)) {}

    maps_sSpectra Spans() {
        const auto status = elementsOf(status_);
        return {elementsOf(values_),
                elementsOf(errors_),
                {reinterpret_cast<maps_eStatus*>(status.data()), status.size()}};
    }
    py::tuple Tuple() const { return py::make_tuple(values_, errors_, status_); }

private:
    static std::vector<py::ssize_t> shapeOf(const py::array& block, std::size_t channels) {
        std::vector<py::ssize_t> shape(block.shape(), block.shape() + block.ndim());
        shape.back() = static_cast<py::ssize_t>(channels);
        return shape;
    }

    py::array_t<double> values_;
    py::array_t<double> errors_;
    py::array_t<unsigned char> status_;
};

void defineFilters(py::module_& module) {
    using tFit = tMapFit<maps_cFilter>;
    py::class_<tFit>(module, "maps_cFilter", py::module_local())
        .def("channels", [](const tFit& map) { return map.fit.Channels(); })
        .def("axis",
             [](const tFit& map) {
                 return sAxis{map.fit.Cal(), {}};
             })
        .def(
            "run",
            [](const tFit& map, const py::array& block) {
                const maps_cStack stack = stackOf(block, map.cal);
                cSpectra spectra(block, map.fit.Channels());
                const maps_sSpectra spans = spectra.Spans();
                {
                    const py::gil_scoped_release released;
                    map.fit.Run(stack, spans, workspace());
                }
                return spectra.Tuple();
            },
            py::arg("block"));
    module.def(
        "maps_rebin",
        [](std::size_t channels, const sAxis& axis, double delta) {
            const cal_c1DArrayCal cal(axis.cal);
            return tFit{maps_Rebin(channels, cal, delta), cal};
        },
        py::arg("channels"), py::arg("axis"), py::arg("delta"));
    module.def(
        "maps_rebin",
        [](std::size_t channels, const sAxis& axis, std::size_t gridChannels, const sAxis& grid) {
            const cal_c1DArrayCal cal(axis.cal);
            return tFit{maps_Rebin(channels, cal, gridChannels, cal_c1DArrayCal(grid.cal)), cal};
        },
        py::arg("channels"), py::arg("axis"), py::arg("grid_channels"), py::arg("grid"));
    module.def(
        "maps_smooth",
        [](std::size_t channels, const sAxis& axis, int width, int order, int derivative) {
            const cal_c1DArrayCal cal(axis.cal);
            return tFit{maps_Smooth(channels, cal, width, order, derivative), cal};
        },
        py::arg("channels"), py::arg("axis"), py::arg("width"), py::arg("order"),
        py::arg("derivative") = 0);
    module.def(
        "maps_smooth_gauss",
        [](std::size_t channels, const sAxis& axis, double sigma) {
            const cal_c1DArrayCal cal(axis.cal);
            return tFit{maps_SmoothGauss(channels, cal, sigma), cal};
        },
        py::arg("channels"), py::arg("axis"), py::arg("sigma"));
}

void defineAlign(py::module_& module) {
    using tFit = tMapFit<maps_cAlign>;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    py::class_<tFit>(module, "maps_cAlign", py::module_local())
        .def(py::init([](const tDoubles& reference, const sAxis& axis, double mostShift,
                         double from, double to, double tolerance, int mostSteps) {
                 const cal_c1DArrayCal cal(axis.cal);
                 return tFit{maps_cAlign(spanOf(reference), cal, mostShift,
                                         {from, to, tolerance, mostSteps}),
                             cal};
             }),
             py::arg("reference"), py::arg("axis"), py::arg("most_shift"),
             py::arg("start") = -infinity, py::arg("stop") = infinity, py::arg("tolerance") = 1e-4,
             py::arg("most_steps") = 50)
        .def("channels", [](const tFit& map) { return map.fit.Channels(); })
        .def(
            "run", [](const tFit& map, const py::array& block) { return run(map, block, 2, true); },
            py::arg("block"));
    module.def(
        "maps_shift",
        [](const py::array& block, const sAxis& axis, const tDoubles& shifts) {
            const maps_cStack stack = stackOf(block, cal_c1DArrayCal(axis.cal));
            cSpectra spectra(block, stack.Channels());
            const maps_sSpectra spans = spectra.Spans();
            const auto by = spanOf(shifts);
            {
                const py::gil_scoped_release released;
                maps_Shift(stack, by, spans, workspace());
            }
            return spectra.Tuple();
        },
        py::arg("block"), py::arg("axis"), py::arg("shifts"));
}

} // namespace

void registerMaps(py::module_& module) {
    defineSum(module);
    defineIntegral(module);
    definePowerLaw(module);
    defineLinear(module);
    definePeaks(module);
    defineFilters(module);
    defineAlign(module);
}

} // namespace dataprocessing::python
