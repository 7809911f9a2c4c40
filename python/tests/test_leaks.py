"""Nothing is left behind by whatever crosses between Python and C++, round after round.

DATAPROCESSING_LEAK_ROUNDS says how many; `./dev python leaks` takes 200000 of each.
"""

import copy
import ctypes
import gc
import os
import pathlib
import pickle
import sys
import warnings

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import _core

ROUNDS = int(os.environ.get("DATAPROCESSING_LEAK_ROUNDS", "1500"))


class Heap(ctypes.Structure):
    _fields_ = [(name, ctypes.c_size_t) for name in
                ("arena", "ordblks", "smblks", "hblks", "hblkhd", "usmblks", "fsmblks", "uordblks", "fordblks", "keepcost")]  # fmt: skip


LIBC = ctypes.CDLL(None)
pytestmark = pytest.mark.skipif(
    not hasattr(LIBC, "mallinfo2") or "LD_PRELOAD" in os.environ, reason="the heap cannot be asked what is in use"
)


def in_use():
    """Bytes of the C heap, blocks of Python's, bytes of memory."""
    gc.collect()
    LIBC.mallinfo2.restype = Heap
    heap = LIBC.mallinfo2()
    resident = int(pathlib.Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")
    return heap.uordblks + heap.hblkhd, sys.getallocatedblocks(), resident


@pytest.fixture(autouse=True)
def others_left_alone():
    """What other tests left is nothing that a collection has to go through again and again."""
    gc.collect()
    gc.freeze()
    yield
    gc.unfreeze()


AXIS = dp.Axis(5.0, 0.01, name="energy", unit="keV")
VALUES = np.linspace(1.0, 2.0, 64)
A = dp.Array1D(VALUES, AXIS, name="n", unit="counts")
AWAY = dp.Array1D(VALUES, dp.Axis(90.0, 0.01))
B = dp.Array1D(VALUES[:40], dp.Axis(5.1, 0.01), dtype="f4")
IMAGE = dp.Array2D(np.arange(48.0).reshape(6, 8))
PEAKED = dp.Array1D(np.round(500 * np.exp(-((np.arange(60) - 30) / 5.0) ** 2)) + 5, AXIS)


def refused(*kinds):
    def attempt(function):
        try:
            function()
        except kinds:
            return
        raise AssertionError("it was not refused")

    return attempt


def broken(*arguments):
    raise KeyError("mine")


def listen():
    window = dp.Range(1, 2)
    subscription = window.on_change(lambda r, own=window: None)
    window.end = 3
    subscription.cancel()


def listen_in_core():
    window = _core.rnge_c1DRange(1, 2)
    selection = _core.dasl_c1DDataArraySelection()
    selection.add_range(window)
    receiver = _core.mesg_cReceiver(lambda id, own=[window]: None)
    selection.add_receiver(receiver)
    window.end = 3


def peak_model():
    model = dp.fitting.PeakModel()
    model.peak("gaussian", 5.3, 400, 0.04)
    model.polynomial([4.0])
    return model


LIVING = peak_model()


def model_that_lives_on():
    LIVING.start("height of peak 1", 300.0)
    LIVING.bound("width of peak 1", 0.01, 0.1)
    LIVING.fix("width of peak 1")
    LIVING.free("width of peak 1")
    return LIVING.copy()


def warned():
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        return A + AWAY, dp.minimum(A, AWAY)


def text():
    out = _core.tgio_cASCII_ostream()
    out.write(_core.trns_cCoordTransformation(1.0, 2.0), "Axis")
    _core.tgio_cASCII_istream(out.content()).read_object(_core.trns_cCoordTransformation())


def sent_away():
    window, frame = dp.Range(1, 2), dp.Rect(0, 0, 1, 1)
    for one in (window, frame, AXIS, dp.Transform(1, 2), dp.fitting.Selection([window]), _core.Shape.VOIGT):
        copy.copy(pickle.loads(pickle.dumps(one)))


def refused_pickles():
    for protocol in (0, 2, 5):
        refused(TypeError)(lambda: pickle.dumps(_core.rnge_c1DRange(1, 2), protocol))


class Kept(dp.Array1D):
    pass


def kept():
    a = Kept(VALUES, AXIS)
    a.own = [a]
    return a + 1, pickle.loads(pickle.dumps(Kept([1.0]), 5)), copy.copy(a)


def views_that_stay():
    view = dp.Array1D(VALUES).values
    part, buffer = view[3:9], memoryview(dp.Array1D(VALUES, AXIS))
    return part.sum(), buffer[3]


def corners():
    frame = dp.Rect(1, 1, 4, 4)
    with frame.on_change(lambda r, own=frame: None):
        frame.set(0, 0, 2, 2)
    return IMAGE.sel(frame), dp.project(IMAGE, frame), dp.line_scan(IMAGE, (1, 1), (4, 3), 2)


def binary():
    out = _core.tgio_cBinary_ostream()
    out.write(_core.trns_cCoordTransformation(1.0, 2.0), 7)
    _core.tgio_cBinary_istream(out.content()).read_object(_core.trns_cCoordTransformation())


def refit():
    selection = _core.dasl_c1DDataArraySelection()
    selection.add_local_range(_core.rnge_c1DRange(5.1, 5.5))
    function = _core.plft_c1DPolyFittingFunction(1, selection)
    function.refit(A)
    return function.coefficients(), function.load(A.size, A.axis)


CUBE = np.random.default_rng(1).poisson(20, (3, 60))
T = np.linspace(0, 1, 8)
CROSSINGS = {
    "array of list": lambda: dp.Array1D([1, 2, 3]),
    "array of ndarray": lambda: dp.Array1D(VALUES, AXIS, "f4", name="n", unit="u"),
    "array of bad values": lambda: refused(TypeError)(lambda: dp.Array1D(["a"])),
    "image": lambda: dp.Array2D(IMAGE.values, axes=(AXIS, AXIS)),
    "axis": lambda: dp.Axis(1.0, 2.0, 3, "n", "u").positions(9),
    "axis of positions": lambda: dp.Axis.from_positions(VALUES),
    "values": lambda: A.values[3:7].sum(),
    "asarray": lambda: np.asarray(A),
    "memoryview": lambda: memoryview(IMAGE).release(),
    "array + array": lambda: A + B,
    "array + number": lambda: 2.0 - A,
    "array + ndarray": lambda: A + VALUES,
    "array + foreign": lambda: refused(TypeError)(lambda: A + "a"),
    "division by zero": lambda: refused(ZeroDivisionError)(lambda: A / 0),
    "units that meet": lambda: refused(dp.UnitError)(lambda: A + A.with_labels(unit="V")),
    "comparison": lambda: ((A > 1.5) & (A < B)).count(),
    "element": lambda: A[3],
    "slice": lambda: IMAGE[1:3, 2],
    "by mask": lambda: A[A > 1.5],
    "set": lambda: A.copy().__setitem__(slice(1, 3), 7),
    "iteration": lambda: list(B),
    "ufunc": lambda: np.sqrt(A),
    "ufunc of numpy": lambda: np.hypot(A, 1.0),
    "reduction": lambda: (A.sum(), A.max(over=(5.1, 5.3)), IMAGE.mean(axis=0)),
    "pickle": lambda: pickle.loads(pickle.dumps(A, 5)),
    "old pickle": lambda: pickle.loads(pickle.dumps(IMAGE, 2)),
    "copy": lambda: copy.deepcopy(A),
    "repr": lambda: (repr(A), repr(IMAGE)),
    "html": lambda: IMAGE._repr_html_(),
    "fft": lambda: dp.ifft(dp.fft(A)),
    "warp": lambda: dp.rotate(IMAGE, 0.3),
    "where": lambda: dp.where(A > 1.5, A, 0),
    "exact alignment": lambda: refused(ValueError)(exactly),
    "filters": lambda: (dp.find_peaks(PEAKED), dp.snip(PEAKED, 4), dp.rebin(PEAKED, 0.02)),
    "register": lambda: dp.register(PEAKED, PEAKED),
    "subscription": listen,
    "messages": listen_in_core,
    "message that throws": lambda: refused(KeyError)(throwing),
    "polynomial": lambda: dp.fitting.polynomial(A, (5.1, 5.5), order=2),
    "polynomial that fails": lambda: refused(dp.FitError)(lambda: dp.fitting.polynomial(B[:1])),
    "power law": lambda: dp.fitting.power_law(A).report(),
    "gaussians": lambda: dp.fitting.gaussians(PEAKED, [dp.fitting.Gaussian(5.3, 400)], (5.3, 0.08, 0.0023), (5.2, 5.4)),
    "peaks": lambda: dp.fitting.peaks(PEAKED, peak_model()),
    "model": lambda: dp.fitting.curve(lambda t, a, b: a * t + b, (T, 2 * T + 1), (1.0, 1.0)),
    "model that throws": lambda: refused(KeyError)(lambda: dp.fitting.curve(broken, (T, T), {"a": 1.0})),
    "equations": lambda: dp.fitting.solve(np.eye(3), [1.0, 2.0, 3.0]),
    "streams": text,
    "binary streams": binary,
    "views": views_that_stay,
    "copy=False, dtype": lambda: (np.array(A, copy=True), np.asarray(A, dtype="f4"), A.__array__()),
    "empty, written by numpy": lambda: np.multiply(VALUES, 2.0, out=dp.empty(64).values),
    "out=, where=": lambda: np.add(A, 1, where=A > 1.5, out=dp.zeros(64)),
    "types": lambda: [A.astype(t) for t in ("u1", "i4", "f4", "c16")],
    "numbers": lambda: (A + np.float32(2), np.int64(3) * A, A - 2**40, A + True, A * 1j),
    "numbers that no type holds": lambda: refused(OverflowError)(lambda: A.astype("i4") + 10**30),
    "lists and rows": lambda: (IMAGE + [1] * 8, refused(ValueError)(lambda: IMAGE + [1, 2])),
    "labels": lambda: A.with_labels(name="other", unit="V").with_axes(AXIS).axis.unit,
    "masks": lambda: (A > 1.5) & ~(A < 1.2) | (A.values > 1.9),
    "masks of two grids": lambda: refused(ValueError)(lambda: (A > 1) & (B > 1)),
    "mask in, mask out": lambda: dp.Mask2D(np.eye(3), (AXIS, AXIS)).any(axis=0).values,
    "numpy's reductions": lambda: (np.sum(A), np.std(A, ddof=1), IMAGE.max(axis=1), np.any(A > 1)),
    "positions": lambda: (A.at(5.2), A.at([5.1, 5.3]), A.sel(5.1, 5.4), A.idxmax(), A.range),
    "indices outside": lambda: refused(IndexError)(lambda: A[99]),
    "places outside": lambda: refused(dp.IndexOutOfRangeError)(lambda: A.sel(0, 99, outside="raise")),
    "rectangles": corners,
    "transforms": lambda: dp.Transform.between(dp.Range(0, 1), dp.Range(2, 4))(A),
    "correlations": lambda: (dp.correlate(A, A), dp.convolve(A, B), dp.band_pass(A, 1, 20)),
    "in C++'s words": lambda: (_core.four_fft(A), _core.warp_rotate(IMAGE, 0.3, None), _core.conv_convert(A, "i2")),
    "apply": lambda: A.apply(np.cumsum),
    "apply that throws": lambda: refused(KeyError)(lambda: A.apply(broken)),
    "other pickles": sent_away,
    "refused pickles": refused_pickles,
    "out of band": lambda: pickle.loads(pickle.dumps(A, 5, buffer_callback=(b := []).append), buffers=b),
    "subclass": kept,
    "object without a value": lambda: refused(TypeError)(lambda: _core.pkmd_cModel.__new__(_core.pkmd_cModel).starts()),
    "fit in C++'s words": refit,
    "model that lives on": model_that_lives_on,
    "warnings": warned,
    "windows": lambda: dp.fitting.windowed_power_law(A, [dp.fitting.Window(5.4, 0.05, 0.1, -0.05, 0.1)]),
    "selection": lambda: dp.fitting.Selection([dp.Range(1, 2), (3, 4)]).on_change(broken).cancel(),
    "fit's curve, pickle": lambda: pickle.loads(pickle.dumps(dp.fitting.power_law(A))).eval(AXIS),
    "maps": lambda: dp.maps.integrate(CUBE, [(5, 9)], background="polynomial", ranges=[(0, 4), (10, 14)]),
    "maps that fail": lambda: refused(dp.ProgramError)(lambda: dp.maps.integrate(CUBE, [(90, 95)])),
    "maps of peaks": lambda: dp.maps.peaks(CUBE[:1], peak_model(), AXIS),
    "maps of a function": lambda: dp.maps.apply(lambda a: float(a.max()), CUBE[:1], AXIS),
    "maps of a function that throws": lambda: refused(KeyError)(lambda: dp.maps.apply(broken, CUBE[:1], AXIS, errors="raise")),
}
SLOW = {"gaussians", "peaks", "register", "model", "html", "power law", "polynomial", "filters", "repr",
        "windows", "fit's curve, pickle", "maps", "maps of peaks", "maps of a function", "maps of a function that throws", "maps that fail",
        "transforms", "correlations", "other pickles", "types"}  # fmt: skip


def exactly():
    with dp.alignment("exact"):
        A + B


def throwing():
    window = _core.rnge_c1DRange(1, 2)
    receiver = _core.mesg_cReceiver(broken)
    window.add_receiver(receiver)
    window.end = 5


@pytest.mark.parametrize("name", CROSSINGS)
def test_nothing_is_left_behind(name):
    cross = CROSSINGS[name]
    rounds = min(ROUNDS, 600) if name in SLOW and ROUNDS < 10_000 else ROUNDS
    for _ in range(600):
        cross()
    # Caches fill at first, and now and then; what leaks does so in every part of the rounds.
    grown = []
    first = in_use()
    for _ in range(4):
        before = in_use()
        for _ in range(rounds // 4):
            cross()
        grown.append([after - then for after, then in zip(in_use(), before)])
    heap, blocks = (min(batch[kind] for batch in grown) for kind in range(2))
    resident = in_use()[2] - first[2]
    print(f"{name}: {rounds} rounds; in the last quarter {grown[-1][0]} bytes of the heap, {grown[-1][1]} blocks; {resident} bytes resident")
    assert heap < 2 * rounds, "the C heap grows"
    assert blocks < max(75, rounds // 400), "Python's objects grow"
    # A page now and then is the allocator's; 24 bytes a round, the least that any object takes, are a leak.
    assert resident < max(24 * rounds, 2**21), "memory grows"
