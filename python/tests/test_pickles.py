"""Pickles and copies: everything that has a value comes back equal, everything else says that it cannot."""

import copy
import os
import pickle
import subprocess
import sys

import dataprocessing as dp
import numpy as np
import pytest
from conftest import DTYPES, sample
from dataprocessing import _core

PROTOCOLS = range(pickle.HIGHEST_PROTOCOL + 1)
AXIS = dp.Axis(5.0, 0.25, 2, "energy", "keV")
KINDS = [kind for kind in vars(_core).values() if isinstance(kind, type)]


class Kept(dp.Array1D):
    """A subclass with something of its own."""


def kept():
    a = Kept([1.0, 2.0], AXIS)
    a.note = ["mine"]
    return a


def model():
    made = dp.fitting.PeakModel()
    line = made.peak("gaussian", 5.3, 400, 0.04, name="Fe")
    made.polynomial([4.0])
    made.bound(line.width, 0.01, 0.1)
    return made


def division_by_zero():
    with pytest.raises(dp.DivisionByZeroError) as caught:
        dp.Array1D([1.0]) / 0
    return caught.value


def of_error(e):
    return type(e), e.args, e.unit, e.line, e.message


VALUES = {
    "axis": (lambda: AXIS, lambda a: a),
    "line": (lambda: dp.Array1D([1, 2, 3], AXIS, "u2", name="n", unit="counts"), lambda a: (repr(a), a.axis, a.values.tobytes())),
    "image": (lambda: dp.Array2D(np.eye(2, 3), (AXIS, dp.Axis())), lambda a: (repr(a), a.axes, a.values.tobytes())),
    "mask": (lambda: dp.Array1D([1, 5], AXIS) > 1, lambda m: (m.axis, m.values.tolist())),
    "mask of an image": (lambda: dp.Array2D(np.eye(2, 3)) > 0, lambda m: (m.axes, m.values.tolist())),
    "subclass": (kept, lambda a: (type(a), a.note, a.axis, a.values.tolist())),
    "range": (lambda: dp.Range(1, 2), lambda r: r.__class__ is dp.Range and (r.start, r.end)),
    "rectangle": (lambda: dp.Rect(0, 1, 2, 3), lambda r: (repr(r), r.corners)),
    "turned rectangle": (lambda: dp.Rect.turned(1, 2, 3, 4, 0.5), lambda r: (repr(r), r.corners)),
    "transform": (lambda: dp.Transform(1, 2), lambda t: (t, hash(t))),
    "selection": (lambda: dp.fitting.Selection([(1, 2), (3, 4)]), repr),
    "model": (model, lambda m: (m.names, m.starts, m._calls)),
    "fit": (lambda: dp.fitting.polynomial(dp.Array1D([1.0, 2, 4])), lambda f: (f.report(), f.eval().values.tobytes())),
    "error": (division_by_zero, of_error),
    "alternative": (lambda: _core.Shape.VOIGT, lambda s: s),
}  # fmt: skip


@pytest.mark.parametrize("protocol", PROTOCOLS)
@pytest.mark.parametrize("name", VALUES)
def test_values_come_back(name, protocol):
    make, seen = VALUES[name]
    made = make()
    assert seen(pickle.loads(pickle.dumps(made, protocol))) == seen(made)


@pytest.mark.parametrize("copied", [copy.copy, copy.deepcopy])
@pytest.mark.parametrize("name", VALUES)
def test_values_are_copied(name, copied):
    make, seen = VALUES[name]
    made = make()
    assert seen(copied(made)) == seen(made)


@pytest.mark.parametrize("protocol", PROTOCOLS)
@pytest.mark.parametrize("shape", [(0,), (5,), (0, 3), (1, 5)])
@pytest.mark.parametrize("dtype", DTYPES)
def test_elements_of_all_types_come_back(dtype, shape, protocol):
    a = dp.array(np.resize(sample(dtype), shape))
    assert pickle.loads(pickle.dumps(a, protocol)).identical(a)


def test_buffers_go_out_of_band():
    a = dp.Array1D(np.arange(1000.0), AXIS)
    buffers = []
    small = pickle.dumps(a, 5, buffer_callback=buffers.append)
    assert len(small) < 1000 and buffers[0].raw().nbytes == 8000
    assert pickle.loads(small, buffers=buffers).identical(a)


def test_copies_of_selections_and_rectangles_listen_for_themselves():
    window = dp.Range(1, 2)
    selection = dp.fitting.Selection([window])
    other, apart = copy.copy(selection), copy.deepcopy(selection)
    heard = []
    for one in (selection, other, apart):
        one.on_change(heard.append)
    window.end = 3
    assert heard == [selection, other] and list(apart) == [dp.Range(1, 2)]
    rect = dp.Rect(0, 0, 1, 1)
    rect.on_change(heard.append)
    copy.copy(rect).set(0, 0, 2, 2)
    assert len(heard) == 2


# What a class answers when its objects are made without __init__, in a process of its own.
EVERY_WAY = """
import copy, pickle, sys
from dataprocessing import _core
import dataprocessing
for kind in [kind for kind in vars(_core).values() if isinstance(kind, type) and not issubclass(kind, Exception)]:
    made = kind.__new__(kind)
    ways = [lambda p=p: pickle.dumps(made, p) for p in range(6)]
    ways += [lambda: copy.copy(made), lambda: copy.deepcopy(made)]
    ways += [lambda n=n: getattr(made, n) for n in dir(kind) if n[0] != "_"]
    ways += [lambda n=n: getattr(made, n)() for n in dir(kind) if n[0] != "_" and callable(getattr(kind, n))]
    for way in ways:
        try:
            way()
        except (TypeError, ValueError, AttributeError):
            pass
print("alive")
"""


def test_no_object_without_a_value_does_harm():
    done = subprocess.run([sys.executable, "-W", "ignore", "-c", EVERY_WAY], capture_output=True, text=True, env=os.environ)
    assert done.stdout == "alive\n", (done.returncode, done.stderr[-2000:])


def constructed():
    """An object of every class that can be made without arguments."""
    for kind in KINDS:
        if issubclass(kind, BaseException) or hasattr(kind, "__members__"):
            continue
        try:
            yield kind()
        except TypeError:
            continue


@pytest.mark.parametrize("protocol", PROTOCOLS)
def test_what_has_no_pickle_says_so(protocol):
    count = 0
    for made in constructed():
        count += 1
        if isinstance(made, dp.Axis):
            continue
        with pytest.raises(TypeError, match=type(made).__name__):
            pickle.dumps(made, protocol)
    assert count > 8


@pytest.mark.parametrize("protocol", PROTOCOLS)
def test_alternatives_come_back(protocol):
    enums = [kind for kind in KINDS if hasattr(kind, "__members__")]
    assert len(enums) > 10
    for kind in enums:
        for value in kind.__members__.values():
            again = pickle.loads(pickle.dumps(value, protocol))
            assert again == value and type(again) is kind
