"""Nothing leaks, cycles through callbacks are collected."""

import gc
import resource
import weakref

import dataprocessing as dp
import numpy as np
import pytest

ROUNDS = 20_000


def crossings():
    a = dp.Array1D(np.arange(50.0), dp.Axis(1.0, 0.5, name="x", unit="mm"), name="n")
    image = dp.Array2D(np.ones((5, 6)))
    mask = a > 3
    given = np.arange(50, dtype="i2")

    def refused():
        try:
            a / 0
        except ZeroDivisionError:
            pass

    return {
        "in": lambda: dp.Array1D(given), "out": lambda: a.values, "buffer": lambda: memoryview(a),
        "operator": lambda: (a + a) * 2 - 1, "ndarray": lambda: a + given, "comparison": lambda: a < 3,
        "mask": lambda: mask & ~mask, "index": lambda: (a[3], a[1:4], image[2], image[1, 2]), "error": refused,
        "ufunc": lambda: np.sqrt(a), "labels": lambda: a.with_labels(name="other"), "axis": lambda: a.axis.unit,
        "reduce": lambda: (a.sum(), a.max(), a.var()), "where": lambda: dp.where(mask, a, 0), "repr": lambda: repr(a),
    }  # fmt: skip


@pytest.mark.parametrize("name", crossings())
def test_memory_does_not_grow(name):
    call = crossings()[name]
    rounds = ROUNDS // 10 if name == "repr" else ROUNDS
    for _ in range(2000):
        call()
    gc.collect()
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    for _ in range(rounds):
        call()
    grown = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before
    # One leaked array a round would be 8 MB and more.
    assert grown < 2048


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
