"""Cycles through callbacks are collected, objects without a value do no harm."""

import gc
import subprocess
import sys
import weakref

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import _core

def test_cycles_through_callbacks_are_collected():
    class Owner:
        def __init__(self):
            self.window = dp.Range(0, 1)
            self.subscription = self.window.on_change(self.heard)

        def heard(self, window):
            self.last = window

    owner = Owner()
    reference = weakref.ref(owner)
    del owner
    gc.collect()
    assert reference() is None


def test_objects_of_two_classes_hold_a_value_of_each():
    class Both(dp.Array1D, dp.Axis):
        pass

    made = Both.__new__(Both)
    dp.Array1D.__init__(made, [5.0, 6.0])
    with pytest.raises(TypeError, match="without a value"):
        dp.Array1D([1.0, 2.0], made)
    dp.Axis.__init__(made, 7.0, 2.0)
    assert (made + 1).values.tolist() == [6.0, 7.0] and dp.Array1D([1.0, 2.0], made).axis == dp.Axis(7.0, 2.0)


WITHOUT_A_VALUE = """
import copy, pickle, sys
import dataprocessing as dp, numpy as np
cls = getattr(dp, sys.argv[1])
good = {"Array1D": lambda: dp.Array1D([1.0, 2.0]), "Array2D": lambda: dp.Array2D(np.ones((2, 3))), "Axis": dp.Axis,
        "Mask1D": lambda: dp.Array1D([1.0]) > 0, "Mask2D": lambda: dp.Array2D(np.ones((2, 3))) > 0}[sys.argv[1]]()
def attempt(use):
    made = cls.__new__(cls)
    try:
        use(made)
    except (TypeError, ValueError, AttributeError, IndexError, SystemError, dp.DataProcessingError):
        pass
def called(name, *given):
    return lambda made: getattr(made, name)(*given)
names = [name for name in dir(cls) if name not in ("__class__", "__init_subclass__", "__subclasshook__", "__new__")]
for name in names:
    for given in ((), (1,), (1.5,), (good,), (0, 1), ("f8",)):
        attempt(called(name, *given))
for use in (memoryview, np.asarray, np.sqrt, repr, copy.deepcopy, pickle.dumps, lambda made: made + good,
            lambda made: good + made, lambda made: made == good, lambda made: good == made, lambda made: made & good,
            lambda made: -made, lambda made: ~made, lambda made: dp.Array1D(made), lambda made: dp.Array1D([1], made),
            lambda made: dp.fft(made), lambda made: dp.where(made, good, good), lambda made: np.add(made, good)):
    attempt(use)
for name in dp.__all__:
    function = getattr(dp, name)
    if callable(function):
        for given in ((), (good,), (2,), (1.0, 2.0)):
            attempt(lambda made: function(made, *given))
            attempt(lambda made: function(*given, made))
print("alive")
"""


@pytest.mark.parametrize("name", ["Array1D", "Array2D", "Mask1D", "Mask2D", "Axis"])
def test_objects_without_a_value_do_no_harm(name):
    done = subprocess.run([sys.executable, "-W", "ignore", "-c", WITHOUT_A_VALUE, name], capture_output=True, text=True)
    assert done.stdout == "alive\n", (done.returncode, done.stderr[-2000:])
    a = dp.Array1D.__new__(dp.Array1D)
    for use in (lambda: a + 1, lambda: dp.Array1D([1]) + a, lambda: a.values, lambda: memoryview(a)):
        with pytest.raises(TypeError, match="without a value"):
            use()


def test_a_fit_keeps_its_peaks_whatever_becomes_of_the_list():
    axis = dp.Axis(5.0, 0.01)
    law = _core.gsft_cResolution(6.4, 0.15, 0.0023)
    counts = dp.Array1D(500 * np.exp(-(((axis.positions(300) - 6.4) / 0.09) ** 2)), axis)
    selection = _core.dasl_c1DDataArraySelection()
    selection.add_local_range(_core.rnge_c1DRange(5.0, 8.0))
    peaks = [_core.gsft_cGaussian(400.0, 6.4, 0.09)]
    fit = _core.gsft_c1DGaussianFittingFunction(selection, peaks, axis, False, law, False)
    fit.refit(counts)
    before = fit.chi_squared()
    kept = weakref.ref(peaks[0])
    peaks.clear()
    gc.collect()
    others = [_core.gsft_cGaussian(1e9, float(i), 1.0) for i in range(1000)]
    assert kept() is not None and len(others) == 1000
    fit.refit(counts)
    assert fit.chi_squared() == pytest.approx(before, rel=1e-9)
    fit = None
    gc.collect()
    assert kept() is None
