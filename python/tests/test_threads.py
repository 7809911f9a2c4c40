"""Many threads over the same arrays, with the interpreter's lock released; other interpreters are refused."""

import contextlib
import pickle
import subprocess
import sys
import threading
import time

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import _core

THREADS = 8
AXIS = dp.Axis(5.0, 0.001, name="energy", unit="keV")
# Large enough that the lock is released, small enough for many rounds.
LINE = dp.Array1D(np.random.default_rng(1).random(150_000) + 1, AXIS, name="n", unit="counts")
OTHER = dp.Array1D(np.random.default_rng(2).random(100_000).astype("f4"), dp.Axis(5.05, 0.001, unit="keV"))
BYTES = dp.Array1D(np.arange(120_000).astype("u1"))
IMAGE = dp.Array2D(np.random.default_rng(3).random((300, 400)))
MASK = LINE > 1.5
PEAKED = dp.Array1D(np.round(500 * np.exp(-((np.arange(60) - 30) / 5.0) ** 2)) + 5, dp.Axis(5.0, 0.01))
CUBE = np.random.default_rng(4).poisson(20, (400, 64))
MODEL = dp.fitting.PeakModel()
MODEL.peak("gaussian", 5.3, 400, 0.04)
MODEL.polynomial([4.0])


def errors():
    for call in (lambda: LINE / 0, lambda: LINE.sel(0, 1, outside="raise"), lambda: _core.stat_mean(dp.Array1D([]))):
        with pytest.raises(dp.DataProcessingError):
            call()


def exactly():
    with dp.alignment("exact"), pytest.raises(ValueError, match="exact"):
        LINE + OTHER
    return LINE + OTHER


def told():
    heard = []
    window = dp.Range(0, 1)
    with window.on_change(heard.append):
        window.end = 2
    return len(heard)


WORK = {
    "arithmetic": lambda: LINE * 2.0 + LINE,
    "aligned": lambda: LINE - OTHER,
    "other types": lambda: BYTES + BYTES * 3,
    "ndarray": lambda: LINE.values + LINE,
    "comparison": lambda: (LINE > OTHER) & MASK,
    "where": lambda: dp.where(MASK, LINE, 0.0),
    "functions": lambda: dp.log(LINE),
    "ufunc": lambda: np.hypot(LINE, 1.0),
    "reductions": lambda: (LINE.sum(), LINE.std(), IMAGE.max(), IMAGE.mean(axis=0)),
    "conversion": lambda: LINE.astype("i4"),
    "transform": lambda: _core.four_fft(LINE),
    "warp": lambda: dp.rotate(IMAGE, 0.2),
    "profile": lambda: dp.line_scan(IMAGE, (10, 10), (300, 200), 5),
    "filters": lambda: (dp.smooth_median(LINE, 5), dp.snip(PEAKED, 6), dp.find_peaks(PEAKED)),
    "register": lambda: dp.register(IMAGE, IMAGE),
    "linear fits": lambda: (dp.fitting.polynomial(LINE).eval(), dp.fitting.power_law(LINE).params["c1"].value),
    "equations": lambda: dp.fitting.solve(np.vander(np.arange(5000.0), 4), np.arange(5000.0)).params["x2"].value,
    "curve of a model": lambda: MODEL.eval(LINE.positions),
    "fit": lambda: dp.fitting.peaks(PEAKED, MODEL).params,
    "fit of a function": lambda: dp.fitting.curve(lambda t, a: a * t, (np.arange(5.0), np.arange(5.0)), (1.0,)).params,
    "maps": lambda: dp.maps.peaks(CUBE, MODEL, dp.Axis(5.0, 0.01)).status,
    "pickle": lambda: pickle.loads(pickle.dumps(LINE, 5)),
    "slices": lambda: (LINE[5:90_000], IMAGE[3:200, 7], LINE.at(100.0)),
    "alignment": exactly,
    "errors": errors,
    "messages": told,
}  # fmt: skip


def seen(value):
    """What has to be the same whatever other threads do."""
    if isinstance(value, (dp.Array1D, dp.Array2D, dp.Mask1D, dp.Mask2D)):
        return type(value).__name__, repr(value.axes), value.values.tobytes()
    if isinstance(value, np.ndarray):
        return value.tobytes()
    return [seen(one) for one in value] if isinstance(value, tuple) else repr(value)


def together(work, rounds):
    """Runs it on all threads at once, each begun elsewhere; what went wrong."""
    begin, wrong = threading.Barrier(THREADS), []

    def run(number):
        begin.wait()
        try:
            for i in range(rounds):
                work(number + i)
        except BaseException as error:  # noqa: B036, the main thread has to hear of it
            wrong.append(error)

    threads = [threading.Thread(target=run, args=(number,)) for number in range(THREADS)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return wrong


def test_all_work_side_by_side_over_shared_arrays():
    names = list(WORK)
    alone = {name: seen(WORK[name]()) for name in names}

    def work(number):
        name = names[number * 5 % len(names)]
        assert seen(WORK[name]()) == alone[name], name

    assert together(work, 2 * len(names)) == []


def test_views_and_arrays_come_and_go_on_all_threads():
    shared = [dp.Array1D(np.full(50_000, float(k))) for k in range(4)]

    def work(number):
        k = number % 4
        view = shared[k].values
        shared[k] = dp.Array1D(np.full(50_000, float(k)), AXIS)
        assert view[0] == view[-1] == k and (shared[k] + view)[7] == 2 * k and memoryview(shared[k])[9] == k

    assert together(work, 60) == []


def test_models_grow_while_they_are_fitted():
    grown = MODEL.copy()
    long = dp.Array1D(np.tile(PEAKED.values, 20), dp.Axis(5.0, 0.01))

    def work(number):
        if number % 2:
            grown.fix(*grown.peak("gaussian", 12.0, 1.0, 0.1)[:3])
            return
        with contextlib.suppress(dp.FitError):
            dp.fitting.peaks(long, grown, most_evaluations=3)

    assert together(work, 40) == [] and len(grown.names) == 4 + 3 * THREADS * 20
    assert grown.copy().names == grown.names


def test_ranges_are_heard_by_all():
    window, heard = dp.Range(0, 1), []
    subscriptions = [window.on_change(lambda r: heard.append(r.end)) for _ in range(THREADS)]

    def work(number):
        window.end = float(number + 2)
        with window.on_change(heard.append):
            pass

    assert together(work, 50) == [] and heard
    for subscription in subscriptions:
        subscription.cancel()


LARGE = dp.Array1D(np.ones(2_000_000))
INTEGERS = dp.Array1D(np.ones(2_000_000, "i4"))
PLANE = dp.Array2D(np.ones((1000, 2000), "i4"))
TRUTHS = LARGE > 0
MANY, SAME, SOMEWHERE = np.ones(20_000_000, bool), LARGE.copy(), np.linspace(0, 1e6, 100_000)
LONG_WORK = {
    "function": lambda: dp.exp(LARGE),
    "minus": lambda: -LARGE,
    "minus of integers": lambda: -INTEGERS,
    "plus": lambda: +LARGE,
    "copy": LARGE.copy,
    "copy of a mask": TRUTHS.copy,
    "array of an array": lambda: dp.Array1D(LARGE),
    "array of another type": lambda: dp.Array1D(LARGE, dtype="i4"),
    "where": lambda: dp.where(TRUTHS, INTEGERS, INTEGERS),
    "where of numbers": lambda: dp.where(TRUTHS, 1, 2),
    "minimum": lambda: dp.minimum(INTEGERS, INTEGERS),
    "maximum with a number": lambda: dp.maximum(INTEGERS, 3),
    "slice": lambda: LARGE[1:],
    "slice of an image": lambda: PLANE[1:, 1:],
    "selection": lambda: LARGE.sel(1.0, 2e6),
    "selection of an image": lambda: PLANE.sel(dp.Rect(1, 1, 2000, 1000)),
    "logic": lambda: TRUTHS & TRUTHS,
    "inverse": lambda: ~TRUTHS,
    "count": TRUTHS.count,
    "scan": lambda: _core.scan_is_negative(LARGE),
    "in floating elements": lambda: _core.exactly_floating(INTEGERS),
    "comparison of bits": lambda: LARGE.identical(SAME),
    "mask of truths": lambda: dp.Mask1D(MANY),
    "values between elements": lambda: LARGE.at(SOMEWHERE),
    "projection": lambda: dp.project(PLANE, PLANE.rect),
    "line scan": lambda: dp.line_scan(PLANE, (0, 500), (2000, 500), 1000),
    "positions": lambda: dp.ramp(4_000_000),
    "angles": lambda: dp.ramp((1000, 1000), kind="angle"),
    "extremum": lambda: _core.extr_min_at(LARGE, _core.ComplexConversion.REAL_PART),
    "extrema": lambda: _core.extr_min_max(LARGE, _core.ComplexConversion.REAL_PART),
    "extremum of an image": lambda: _core.extr_max_at(PLANE, _core.ComplexConversion.REAL_PART),
    "extremum over a range": lambda: LARGE.max(over=(0.0, 2e6), interpolate=True),
    "band": lambda: _core.prut_band_pass_filter(1 << 21, 0.1, 0.5),
    "band of images": lambda: _core.prut_band_pass_filter(1024, 1024, 0.1, 0.5),
    "one size": lambda: _core.four_match_and_fit_to_power_of_two(LARGE, LARGE),
}


@pytest.mark.parametrize("name", LONG_WORK)
def test_other_threads_go_on_while_one_works(name):
    """Long work releases the interpreter's lock."""
    work = LONG_WORK[name]
    counted, done = [0], threading.Event()

    def count():
        while not done.is_set():
            counted[0] += 1
            time.sleep(0)

    thread = threading.Thread(target=count)
    thread.start()
    interval = sys.getswitchinterval()
    sys.setswitchinterval(60)  # nobody has to give way within that time
    try:
        before = counted[0]
        for _ in range(300):  # the other one wakes up when the system lets it
            work()
            if counted[0] > before:
                break
        assert counted[0] > before
    finally:
        sys.setswitchinterval(interval)
        done.set()
        thread.join()


ELSEWHERE = """
import sys
import _xxsubinterpreters as interpreters
if sys.argv[1] == "first":
    import dataprocessing
for _ in range(2):
    other = interpreters.create()
    try:
        interpreters.run_string(other, "import dataprocessing")
    except interpreters.RunFailedError as error:
        print("ImportError" in str(error) and "main interpreter" in str(error))
    interpreters.destroy(other)
import dataprocessing as dp
print((dp.Array1D([1.0]) + 1)[0])
"""


@pytest.mark.parametrize("when", ["first", "later"])
def test_other_interpreters_are_refused(when):
    pytest.importorskip("_xxsubinterpreters")
    done = subprocess.run([sys.executable, "-W", "ignore", "-c", ELSEWHERE, when], capture_output=True, text=True, timeout=120)
    assert done.stdout.split() == ["True", "True", "2.0"], done.stderr[-2000:]
