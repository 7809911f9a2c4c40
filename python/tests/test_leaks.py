"""Nothing is left behind by whatever crosses between Python and C++, round after round.

DATAPROCESSING_LEAK_ROUNDS says how many; 200000 take some minutes.
"""

import copy
import ctypes
import gc
import os
import pickle
import sys

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
    """Bytes of the C heap, and blocks of Python's."""
    gc.collect()
    LIBC.mallinfo2.restype = Heap
    heap = LIBC.mallinfo2()
    return heap.uordblks + heap.hblkhd, sys.getallocatedblocks()


AXIS = dp.Axis(5.0, 0.01, name="energy", unit="keV")
VALUES = np.linspace(1.0, 2.0, 64)
A = dp.Array1D(VALUES, AXIS, name="n", unit="counts")
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


def text():
    out = _core.tgio_cASCII_ostream()
    out.write(_core.trns_cCoordTransformation(1.0, 2.0), "Axis")
    _core.tgio_cASCII_istream(out.content()).read_object(_core.trns_cCoordTransformation())


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
}
SLOW = {"gaussians", "peaks", "register", "model", "html", "power law", "polynomial", "filters", "repr"}


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
    rounds = ROUNDS // 10 if name in SLOW and ROUNDS < 10_000 else ROUNDS
    for _ in range(100):
        cross()
    # Caches fill now and then; what leaks does so in every part of the rounds.
    grown = []
    for _ in range(4):
        before = in_use()
        for _ in range(rounds // 4):
            cross()
        grown.append([after - then for after, then in zip(in_use(), before)])
    heap, blocks = (min(batch[kind] for batch in grown) for kind in range(2))
    assert heap < 2 * rounds, "the C heap grows"
    assert blocks < max(10, rounds // 40), "Python's objects grow"
