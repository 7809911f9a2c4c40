"""The same bits as in C++: checksums of a C++ program's results beside those of the same calls through Python."""

import os
import pathlib
import struct
import subprocess
import zlib

import numpy as np
import pytest
from conftest import DTYPES
from dataprocessing import _core
from dataprocessing._core import Array1D, Array2D, Axis, Mask1D, Mask2D

ORDER = ["u1", "u2", "u4", "i1", "i2", "i4", "f4", "f8", "c8", "c16"]
PROGRAM = os.environ.get("DATAPROCESSING_FINGERPRINTS", "")


def parts_of(value):
    """The bytes that the program sums up, piece by piece."""
    if isinstance(value, (Array1D, Array2D)):
        yield struct.pack("d", 1 + ORDER.index(value.dtype.str[1:]))
        yield struct.pack(f"{value.ndim}d", *value.shape)
        for axis in value.axes:
            yield struct.pack("dd", axis.position(0), axis.delta)
        yield value.values.tobytes()
    elif isinstance(value, (Mask1D, Mask2D)):
        yield struct.pack(f"{value.ndim}d", *value.shape)
        if value.ndim == 1:
            yield struct.pack("dd", value.axis.position(0), value.axis.delta)
        yield value.values.tobytes()
    elif isinstance(value, np.generic):
        yield struct.pack("d", 1 + ORDER.index(value.dtype.str[1:]))
        yield value.tobytes()
    elif isinstance(value, (bool, int, float)):
        yield struct.pack("d", value)
    else:
        for one in value:
            yield struct.pack("d", one)


class Numbers:
    """Those of the program."""

    def __init__(self, seed):
        self.state = seed

    def step(self):
        self.state = (self.state * 1664525 + 1013904223) % 2**32
        return self.state >> 8

    def mixed(self):
        return self.step() % 2001 / 8.0 - 125

    def positive(self):
        return self.step() % 480 / 4.0 + 1


def elements(count, seed, positive):
    numbers = Numbers(seed)
    made = []
    for _ in range(count):
        real = numbers.positive() if positive else numbers.mixed()
        made.append(complex(real, numbers.mixed()))
    return np.array(made, "c16")


def line(code, count, offset, delta, seed=1, positive=False):
    wide = Array1D(elements(count, seed, positive), Axis(offset, delta))
    return _core.conv_convert(wide, ORDER[code - 1])


def image(code, columns, rows, offset, delta, seed=1, positive=False):
    values = elements(columns * rows, seed, positive).reshape(rows, columns)
    return _core.conv_convert(Array2D(values, (Axis(-1, 0.5), Axis(offset, delta))), ORDER[code - 1])


GRIDS = [(33, 0, 1), (20, 5, 1), (9, -2, 0.5), (0, 0, 1)]
FUNCTIONS = (
    "PLUS NEGATE ABS ACOS ASIN ATAN COS COSH EXP LOG LOG10 SIN SINH SQR SQRT TAN TANH REAL IMAG NORM ARG CONJ"
).split()
PARTS = ["REAL_PART", "IMAGINARY_PART", "MODULUS", "PHASE"]


def binary(what, operations):
    do = _core.bnry_operate
    for o, operation in enumerate(operations):
        for s in range(1, 11):
            for t in range(1, 11):
                case = f"{what}.{o}.{s}.{t}"
                a, n = line(s, 33, 0, 1), line(t, 1, 0, 1, 3, True)[0]
                for g, grid in enumerate(GRIDS):
                    yield f"{case}.{g}", do, (operation, a, line(t, *grid, 2, True))
                b = image(s, 5, 4, 0, 1)
                yield f"{case}.10", do, (operation, b, image(t, 5, 4, 0, 1, 2, True))
                yield f"{case}.11", do, (operation, b, image(t, 6, 3, 1, 0.5, 2, True))
                yield f"{case}.12", do, (operation, a, n)
                yield f"{case}.13", do, (operation, n, line(s, 33, 0, 1, 4, True))
                yield f"{case}.14", do, (operation, line(s, 1, 0, 1, 5)[0], n)


def unary():
    for o, name in enumerate(FUNCTIONS):
        function = getattr(_core.Function, name)
        for s in range(1, 11):
            operands = line(s, 33, 2, 0.5), line(s, 33, 2, 0.5, 6, True), image(s, 5, 4, 0, 1), line(s, 1, 0, 1, 7, True)[0]
            for k, operand in enumerate(operands):
                yield f"unary.{o}.{s}.{k}", _core.unry_operate, (function, operand)


def reductions(kind, s, a):
    for name, function in [("sum", "stat_sum"), ("mean", "stat_mean"), ("variance", "stat_variance"),
                           ("min", "extr_min"), ("max", "extr_max")]:  # fmt: skip
        yield f"{name}.{kind}.{s}", getattr(_core, function), (a,)
    for t in range(1, 11):
        for p, part in enumerate(PARTS):
            case = f"convert.{kind}.{s}.{t}.{p}"
            yield case, _core.conv_convert, (a, ORDER[t - 1], getattr(_core.ComplexConversion, part))


def transforms(kind, s, a, b):
    for name, function, operands in [
        ("fft", "four_fft", (a,)), ("ifft", "four_ifft", (a,)), ("autocorrelate", "four_auto_correlate", (a,)),
        ("center", "four_center", (a,)), ("expand", "four_expand_to_power_of_two", (a,)),
        ("correlate", "four_cross_correlate", (a, b)), ("convolute", "four_convolute", (a, b)),
        ("band", "prut_cross_correlate", (a, b, 0.1, 0.8)),
    ]:  # fmt: skip
        yield f"{name}.{kind}.{s}", getattr(_core, function), operands


def warps(s):
    a, part = image(s, 9, 7, 0.5, 0.5), _core.rnge_c2DRange(1, -0.5, 3, 1.5)
    for name, function, rest in [
        ("rotate", "warp_rotate", (0.3, None)), ("quarter", "warp_rotate", (1.5707963267948966, None)),
        ("part", "warp_rotate", (0.3, part)), ("shear", "warp_shear", (0.4, 0.1)),
        ("resize", "warp_resize", (1.5, 0.75)), ("rescale", "warp_rescale", (0.25, 0.4)),
        ("flip", "warp_flip_point", ()), ("mirror", "warp_flip_axis", (0.2,)), ("interpolate", "resc_rescale", (0.3, 0.7)),
        ("project", "proj_project", (part,)), ("scan", "proj_line_scan", (1, 0, 3, 1, 1)),
    ]:  # fmt: skip
        yield f"{name}.{s}", getattr(_core, function), (a, *rest)


def shift(a, b):
    found = _core.regs_register(a, b)
    return [found.x, found.elements_x, found.height, found.second]


def peaks(a):
    found = _core.peak_find(a, prominence=5)
    return [x for p in found for x in (p.position, p.height, p.prominence, p.width, p.significance)]


def filters(s):
    a, b = line(s, 60, 1, 0.1, 8, True), image(s, 9, 7, 0.5, 0.5)
    for name, function, rest in [
        ("savgol", _core.smth_savitzky_golay, (a, 7, 2, 1)), ("gauss", _core.smth_gauss, (a, 0.15)),
        ("median", _core.smth_median, (a, 5)), ("snip", _core.bgnd_snip, (a, 6)), ("rebin", _core.resc_rebin, (a, 0.25)),
        ("interpolated", _core.resc_rescale, (a, 0.07)), ("gauss2", _core.smth_gauss, (b, 0.6, 0.9)),
        ("median2", _core.smth_median, (b, 3, 5)), ("rebin2", _core.resc_rebin, (b, 0.8, 1.1)),
        ("register", shift, (a, line(s, 50, 1, 0.1, 8, True))), ("peaks", peaks, (a,)),
    ]:  # fmt: skip
        yield f"{name}.{s}", function, rest


def curve(kind, order, data):
    selection = _core.dasl_c1DDataArraySelection()
    selection.add_local_range(_core.rnge_c1DRange(1, 3))
    selection.add_local_range(_core.rnge_c1DRange(4, 6.5))
    function = kind(order, selection)
    function.refit(data)
    return [*function.coefficients(), *function.standard_errors(), *function.load(data.size, data.axis)]


def windows(data):
    function = _core.pwft_cMultiPowerLawFitFunc(1, _core.dasl_c1DDataArraySelection())
    function.add_peak(4, 0.2, 2, -0.1, 0.4)
    function.refit(data)
    return [function.peak_intensity(4), function.peak_intensity_error(4)]


def fits(s):
    data = line(s, 60, 1, 0.1, 8, True)
    for order in range(4):
        yield f"polynomial.{s}.{order}", curve, (_core.plft_c1DPolyFittingFunction, order, data)
        yield f"offset.{s}.{order}", curve, (_core.plft_c1DOffsetPolyFittingFunction, order, data)
        yield f"power.{s}.{order}", curve, (_core.pwft_cPowerLawFittingFunction, order, data)
    yield f"windows.{s}", windows, (data,)


def peaked():
    a = _core.conv_convert(line(7, 200, 5, 0.01, 9, True), "f8")
    d = (np.arange(200) - 100) / 8.0
    a.values[:] = 20 + a.values / 64 + 4000 / (1 + d * d * d * d)
    return a


def gaussians(data):
    peak, resolution = _core.gsft_cGaussian(3000, 6, 0.1), _core.gsft_cResolution(6, 0.2, 0.0023)
    selection = _core.dasl_c1DDataArraySelection()
    selection.add_local_range(_core.rnge_c1DRange(5.8, 6.2))
    function = _core.gsft_c1DGaussianFittingFunction(selection, [peak], data.axis, True, resolution, True)
    function.refit(data, _core.FitStop.AT_OPTIMUM)
    found = [function.calibration.offset, function.calibration.delta, function.resolution.reference_fwhm]
    return [*found, peak.amplitude, function.residual_sum(), *function.standard_errors()]


def model(shape, data):
    peaks_of = _core.pkmd_cModel()
    peaks_of.add_peak(_core.Shape(shape), 6.01, 3500, 0.08, 0 if shape < 2 else 0.05)
    peaks_of.add_polynomial([20, 0], 6, 1)
    result = _core.pkmd_fit(peaks_of, data).fit
    return [*result.parameters, *result.standard_errors]


def function_of_ones_own():
    numbers = Numbers(10)
    x = np.arange(300) / 32.0
    y = [50 * at / (1 + 2 * at) + numbers.mixed() / 64 for at in x]
    result = _core.nlsq_fit(lambda at, p: p[0] * at / (1 + p[1] * at), x, y, [30.0, 1.0])
    return [*result.parameters, *result.covariance.ravel()]


def equations():
    numbers = Numbers(11)
    a = np.array([numbers.mixed() for _ in range(30)]).reshape(10, 3)
    solution = _core.eqns_solve_equations(a, [numbers.mixed() for _ in range(10)], _core.Columns.SCALED)
    return [*solution.x, *solution.standard_errors]


def cases():
    yield from binary("arithmetic", [_core.Arithmetic(o) for o in range(5)])
    yield from binary("comparison", [_core.Comparison(o) for o in range(6)])
    yield from unary()
    for s in range(1, 11):
        yield from reductions(1, s, line(s, 33, 2, 0.5))
        yield from reductions(2, s, image(s, 5, 4, 0, 1))
        yield from transforms(1, s, line(s, 32, 0, 0.5), line(s, 32, 0, 0.5, 2, True))
        yield from transforms(2, s, image(s, 8, 4, 0, 0.5), image(s, 8, 4, 0, 0.5, 2, True))
        yield from warps(s)
        yield from filters(s)
        yield from fits(s)
    data = peaked()
    yield "gaussians", gaussians, (data,)
    for shape in range(5):
        yield f"model.{shape}", model, (shape, data)
    yield "function", function_of_ones_own, ()
    yield "equations", equations, ()


def outcome(function, arguments):
    try:
        return str(zlib.crc32(b"".join(parts_of(function(*arguments)))))
    except _core.DataProcessingError as error:
        return f"{error.unit}:{error.line}"


@pytest.mark.skipif(not PROGRAM, reason="DATAPROCESSING_FINGERPRINTS names no program")
def test_same_bits_as_in_cpp():
    assert sorted(ORDER) == sorted(DTYPES)
    text = subprocess.run([pathlib.Path(PROGRAM)], capture_output=True, check=True, text=True).stdout
    expected = dict(row.split(" ", 1) for row in text.splitlines())
    found = {name: outcome(function, arguments) for name, function, arguments in cases()}
    assert list(found) == list(expected)
    different = [f"{name}: {found[name]}, not {expected[name]}" for name in found if found[name] != expected[name]]
    assert not different, f"{len(different)} of {len(found)} differ: {different[:20]}"
    assert sum(":" not in value for value in expected.values()) > 10_000
