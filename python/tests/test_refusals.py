"""What is refused, and that it is said in a sentence."""

import pickle
import subprocess
import sys

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import _core

NAN, INF = float("nan"), float("inf")
A = dp.Array1D([1, 2])


@pytest.mark.parametrize(
    "given", [{"delta": 0}, {"delta": -0.0}, {"delta": NAN}, {"delta": INF}, {"offset": NAN}, {"offset": -INF}], ids=str
)
def test_axes_have_a_place_and_a_step(given):
    with pytest.raises(ValueError, match="an axis has a"):
        dp.Axis(**given)


def test_axes_of_other_makes_are_kept():
    assert dp.Axis(0, -0.5).delta == -0.5
    odd = _core.Axis._of(0.0, NAN, 3, "x", "s")
    back = pickle.loads(pickle.dumps(odd))
    assert repr(back) == repr(odd) == "Axis(0.0, nan, index=3, name='x', unit='s')"
    assert pickle.loads(pickle.dumps(dp.Array1D([1], odd))).axis.unit == "s"


@pytest.mark.parametrize(
    ("positions", "tolerance"),
    [([0, 1, 5], NAN), ([0, 1, 5], -1), ([0, 1, 5], 1e-3), ([-1.7e308, 0, 1.7e308], 1e-3), ([1, 1], 1), ([], 1), ([0, NAN], 1)],
)
def test_positions_that_make_no_axis(positions, tolerance):
    with pytest.raises(ValueError):
        dp.Axis.from_positions(positions, tolerance)


def test_positions_have_no_mask():
    with pytest.raises(TypeError, match="masked"):
        dp.Axis.from_positions(np.ma.array([0, 1, 2], mask=[0, 1, 0]))
    with pytest.raises(TypeError, match="masked"):
        A.at(np.ma.array([0, 1], mask=[0, 1]))


def test_nothing_is_nearest_to_nan():
    with pytest.raises(ValueError, match="nearest"):
        dp.Axis().nearest(NAN)
    assert dp.Axis().nearest(INF) == 2**31 - 1


@pytest.mark.parametrize("make", [lambda w: dp.Axis(name=w), lambda w: dp.Axis(unit=w), lambda w: dp.Array1D([1], name=w),
                                  lambda w: dp.Axis.from_positions([1.0], unit=w), lambda w: A.with_labels(unit=w)])  # fmt: skip
def test_words_are_text_that_can_be_written(make):
    with pytest.raises(ValueError, match="surrogates"):
        make("a\ud800b")
    with pytest.raises(TypeError, match="texts"):
        make(5)
    make("\u00b5m")


def test_words_stay_on_their_line():
    a = dp.Array1D([1], dp.Axis(name="a\nb", unit="k\x1b[31m"), name="x\ty")
    assert repr(a).splitlines()[0] == r"<Array1D int32 (1) x\ty a\nb 0..1 k\x1b[31m, delta 1"
    assert "\n" not in a._repr_html_() and a.name == "x\ty"


REFUSED = {
    "Axis() takes (offset: float = 0.0, delta: float = 1.0, index: int = 0, name: object = '', unit: object = ''), "
    "not ('a', name=str)": lambda: dp.Axis("a", name="b" * 80),
    "nearest() takes (x: float), not ('x')": lambda: dp.Axis().nearest("x"),
    "position() takes (index: int), not (1.5)": lambda: dp.Axis().position(1.5),
    "copy() takes (), not (3)": lambda: A.copy(3),
    "stat_sum() takes no (list); its docstring lists what it takes": lambda: _core.stat_sum([1]),
    "warp_rotate() takes (Array2D, float, rnge_c2DRange), not (Array1D, 1, None)": lambda: _core.warp_rotate(A, 1, None),
    "rnge_c2DRange() takes no (0, 1); its docstring lists what it takes": lambda: _core.rnge_c2DRange(0, 1),
    "the setter() takes (rnge_c1DRange, float), not (rnge_c1DRange, 'x')": lambda: setattr(_core.rnge_c1DRange(), "start", "x"),
    "the getter() takes (rnge_c1DRange), not (5)": lambda: _core.rnge_c1DRange.start.fget(5),
    "count() is a method of Mask1D, not of int": lambda: dp.Mask1D.count(5),
    "count() is a method of Mask2D, not of Mask1D": lambda: dp.Mask2D.count(A > 1),
}  # fmt: skip


@pytest.mark.parametrize("said", REFUSED)
def test_arguments_of_other_types_are_told_in_a_sentence(said):
    with pytest.raises(TypeError) as error:
        REFUSED[said]()
    assert str(error.value) == said


KEYWORDS = """
import dataprocessing as dp
from dataprocessing import _core
for call in (_core.exp, dp.Axis, dp.Array1D, dp.Array1D([1.0]).copy, dp.Axis().position):
    try:
        call(**{"\\ud800": 1})
    except TypeError as error:
        print(error)
"""


def test_keywords_that_cannot_be_written_are_refused():
    done = subprocess.run([sys.executable, "-c", KEYWORDS], capture_output=True, text=True, timeout=60)
    assert done.stdout.splitlines() == [r"no argument is called '\ud800'"] * 5, done.stderr[-500:]


def test_any_truth_says_whether_to_copy():
    assert np.shares_memory(A.__array__(None, 0), A.values) and not np.shares_memory(A.__array__(None, "yes"), A.values)


OTHERS = [5, None, dp.Array2D(np.eye(2)), dp.Array1D([1]) > 0, dp.Axis(), "x"]
METHODS = [name for name in dir(dp.Array1D) if callable(getattr(dp.Array1D, name)) and name.startswith("__")
           and not hasattr(object, name) or name in ("__eq__", "__lt__", "__reduce__")]  # fmt: skip


@pytest.mark.parametrize("method", METHODS)
@pytest.mark.parametrize("kind", [dp.Array1D, dp.Mask1D, dp.Axis])
def test_methods_are_for_objects_of_their_class(kind, method):
    function = getattr(kind, method, None)
    for other in OTHERS:
        if function is None or isinstance(other, kind) or isinstance(other, type(A)):
            continue
        for arguments in ((), (0,), (A,), (0, 1), (A, 2)):
            try:
                function(other, *arguments)
            except (TypeError, AttributeError, ValueError, IndexError):
                continue
    for name in ("values", "shape", "axes"):
        with pytest.raises((TypeError, AttributeError)):
            getattr(kind, name, dp.Array1D.values).fget(5)


WITHOUT_OBJECT = """
import inspect
from dataprocessing import _core
for kind in filter(inspect.isclass, list(vars(_core).values())):
    for name, member in vars(kind).items() if not issubclass(kind, BaseException) else ():
        functions = (member.fget, member.fset) if isinstance(member, property) else (getattr(kind, name),)
        for function in filter(callable, functions):
            print(kind.__name__, name, flush=True)
            for count in range(1, 7):
                try:
                    function(*[None] * count)
                except (TypeError, ValueError, AttributeError):
                    continue
print("done")
"""


def test_none_is_no_object_of_any_class():
    done = subprocess.run([sys.executable, "-c", WITHOUT_OBJECT], capture_output=True, text=True, timeout=120)
    assert done.stdout.splitlines()[-1] == "done", done.stderr[-500:]
    for call in (_core.rnge_c1DRange.start.fget, _core.rnge_c1DRange.length, _core.nlsq_sResult.converged):
        with pytest.raises(TypeError, match="None"):
            call(None)


class Line(dp.Array1D):
    pass


class Image(dp.Array2D):
    __slots__ = ()


@pytest.mark.parametrize("made", [dp.Array1D([1.0]), dp.Axis(), A > 1, Line([1.0]), Image([[1.0]]), _core.rnge_c1DRange()], ids=repr)
def test_objects_stay_what_they_are(made):
    for other in (dp.Array1D, dp.Array2D, dp.Axis, Line, Image, _core.rnge_c2DRange, int):
        with pytest.raises(TypeError, match="stays one"):
            made.__class__ = other
    assert made.__class__ is type(made) and isinstance(made, type(made))


def test_counts_beyond_all_memory_are_refused():
    for count in (2**63 - 1, 2**63 - 2, 2**40):
        with pytest.raises((MemoryError, ValueError, OverflowError)):
            dp.Axis().edges(count)


def test_ranges_are_ranges():
    for ranges in (5, [5], [(0, 1), 5], None):
        with pytest.raises(TypeError, match="ranges are a Range"):
            dp.fitting.Selection(ranges)
    with pytest.raises(TypeError, match="ranges are a Range"):
        dp.fitting.polynomial(A, 5)


def test_systems_have_so_many_equations():
    for shape in ((32768, 1), (40000, 3)):
        with pytest.raises(dp.SizeError, match="at most 32767 equations, not"):
            dp.fitting.solve(np.ones(shape), np.ones(shape[0]))


def test_errors_of_a_users_function_are_the_users():
    said = "model(): incompatible function arguments. The following argument types are supported:\n    1. (a) -> b\n\nInvoked with: 1"

    def model(x, p):
        raise TypeError(said)

    with pytest.raises(TypeError) as error:
        dp.fitting.curve(model, ([1.0, 2.0, 3.0], [1.0, 2.0, 3.0]))
    assert str(error.value) == said


def test_other_errors_are_told_as_they_are():
    with pytest.raises(TypeError, match="^arrays hold no elements of type <U1$"):
        dp.Array1D(["a"])

    class Odd:
        def __array__(self):
            raise TypeError("incompatible with everything")

    with pytest.raises(TypeError, match="^incompatible with everything$"):
        dp.Array1D(Odd())
