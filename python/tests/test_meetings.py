"""What happens where arrays, masks and the units of both meet: in operators, functions, indices and where=."""

import operator
import subprocess
import sys

import dataprocessing as dp
import numpy as np
import pytest

HERE = dp.Axis(0.0, 0.5, name="energy", unit="keV")
THERE = dp.Axis(10.0, 0.5)
A = dp.Array1D([1.0, 2.0, 3.0, 4.0], HERE, name="n", unit="counts")
# The same grid, written otherwise: in another element, without words.
SAME = dp.Array1D([4.0, 3.0, 2.0, 1.0], dp.Axis(1.0, 0.5, index=2))
ELSEWHERE = dp.Array1D([1.0, 2.0, 3.0, 4.0], THERE)
IMAGE = dp.Array2D(np.arange(8.0).reshape(2, 4), axes=(dp.Axis(3.0), HERE))

CHOICES = {
    "minimum": dp.minimum, "maximum": dp.maximum, "np.minimum": np.minimum, "np.maximum": np.maximum,
    "where": lambda a, b: dp.where(a > 0, a, b),
}  # fmt: skip


@pytest.mark.parametrize("choose", CHOICES.values(), ids=CHOICES)
class TestChoices:
    def test_words_survive_where_all_agree(self, choose):
        found = choose(A, A * 1 + A)
        assert (found.unit, found.axis.name, found.axis.unit) == ("counts", "energy", "keV")
        assert choose(A, A).name == choose(A, 2.5).name == "n" and choose(A, 2.5).unit == "counts"
        assert choose(A, SAME.with_labels(name="m")).name == "" and choose(SAME, A).axis.unit == "keV"

    def test_units_are_compared(self, choose):
        with pytest.raises(dp.UnitError):
            choose(A, A.with_labels(unit="nm"))
        with pytest.raises(dp.UnitError):
            choose(A, SAME.with_axes(dp.Axis(0.0, 0.5, unit="nm")))

    def test_alignment_is_that_of_operators(self, choose):
        with pytest.warns(dp.AlignmentWarning):
            choose(A, ELSEWHERE)
        with dp.alignment("exact"):
            assert choose(A, SAME).size == 4
            with pytest.raises(ValueError, match="exact"):
                choose(A, ELSEWHERE)


def test_masks_of_where_meet_arrays():
    mask = ELSEWHERE > 2
    with pytest.warns(dp.AlignmentWarning):
        assert dp.where(mask, A, 0.0).axis == THERE.__class__(10.0, 0.5, name="energy", unit="keV")
    with dp.alignment("exact"), pytest.raises(ValueError, match="exact"):
        dp.where(mask, A, 0.0)
    with pytest.raises(TypeError, match="dimensions"):
        dp.where(mask, IMAGE, 0.0)


@pytest.mark.parametrize("name", ["add", "subtract", "fmod", "remainder", "maximum", "less", "equal"])
@pytest.mark.parametrize("options", [{}, {"dtype": "f4"}, {"out": np.zeros(4)}, {"where": np.ones(4, bool)}], ids=str)
def test_numpys_options_leave_units_alone(name, options):
    if name in ("less", "equal"):
        options = {} if "dtype" in options else options
    with pytest.raises(dp.UnitError):
        getattr(np, name)(A, A.with_labels(unit="nm"), **options)
    assert name in ("less", "equal") or "out" in options or getattr(np, name)(A, 1.0, **options).unit == "counts"


def test_products_of_matrices_have_no_axis():
    for other in (np.ones((4, 4)), np.ones((4, 2))):
        assert type(np.matmul(A, other)) is np.ndarray


def test_outer_and_at_take_any_sizes():
    b = dp.Array1D([1.0, 2.0])
    assert np.add.outer(A, b).tolist() == np.add.outer(A.values, b.values).tolist()
    changed = A.copy()
    np.add.at(changed, [0, 1], b)
    assert changed.values.tolist() == [2.0, 4.0, 3.0, 4.0]


def test_masks_from_elsewhere_are_refused_by_all_methods():
    far = dp.Mask1D([True, False, True, True], dp.Axis(90.0))
    with pytest.raises(ValueError):
        np.add.at(A.copy(), far, 1)
    with pytest.raises(ValueError):
        np.add.reduce(A, where=far)
    assert np.add.reduce(A, where=A > 1) == 9


def test_results_without_a_place_of_their_own_are_made():
    a, parts = dp.Array1D([1.5, 2.0, 3.25], dp.Axis(4.0)), np.zeros(3)
    found = np.modf(a, out=(parts, None))
    assert found[0] is parts and parts.tolist() == [0.5, 0.0, 0.25]
    assert found[1].values.tolist() == [1.0, 2.0, 3.0] and found[1].axis == a.axis


def test_arrays_of_other_classes_decide():
    masked = np.ma.array([1.0, 2.0, 3.0, 4.0], mask=[0, 1, 0, 0])
    assert np.add(A, masked).mask.tolist() == (A + masked).mask.tolist() == [False, True, False, False]
    for ufunc in (np.equal, np.less):
        for found in (ufunc(A, masked), ufunc(masked, A), A == masked, masked == A):
            assert found.mask.tolist() == [False, True, False, False]


def test_matrices_are_elements_to_universal_functions():
    matrix = np.matrix([[1, 2, 3, 4], [5, 6, 7, 8]])
    for found in (np.add(IMAGE, matrix), IMAGE + matrix, matrix + IMAGE, np.add(IMAGE, matrix, dtype="f4")):
        assert type(found) is dp.Array2D and found.axes == IMAGE.axes and np.array_equal(found.values, IMAGE.values + matrix)
    for ufunc in (np.add, np.equal):
        with pytest.raises(ValueError):
            ufunc(A, np.matrix([[1, 2, 3, 4]]))


def test_what_has_positions_of_its_own_is_not_taken_by_index():
    xarray = pytest.importorskip("xarray")
    data = xarray.DataArray([1.0, 2.0, 3.0, 4.0], coords={"x": [9.0, 8.0, 7.0, 6.0]}, dims="x")
    for call in (
        lambda: dp.maximum(A, data), lambda: dp.minimum(data, A), lambda: dp.where(A > 1, A, data), lambda: A.clip(data, None),
    ):
        with pytest.raises(TypeError, match="from_xarray"):
            call()
    assert dp.Array1D(data).axis == dp.Axis()  # its elements, as the docstring says


def test_dask_arrays_are_not_unequal_as_a_whole():
    array = pytest.importorskip("dask.array")
    for compare in (lambda: A == array.ones(4), lambda: array.ones(4) != A, lambda: (A > 1) == array.ones(4)):
        with pytest.raises(TypeError):
            compare()


def test_pandas_compares_by_element():
    pandas = pytest.importorskip("pandas")
    series = pandas.Series([1.0, 5.0, 3.0, 5.0])
    assert (A == series).tolist() == (series == A).tolist() == [True, False, True, False]


def test_words_of_the_axis_of_a_mask_are_taken():
    bare = dp.Array1D([1.0, 2.0, 3.0, 4.0], dp.Axis(0.0, 0.5))
    assert dp.where(A > 2, bare, 0.0).axis == dp.where(A > 2, bare, bare).axis == HERE


def test_results_of_other_classes_are_left_to_them():
    class Stranger:
        def __array_ufunc__(self, ufunc, method, *inputs, **kwargs):
            return "mine"

    for other in (np.add, np.hypot):
        assert other(A, 1.0, out=Stranger()) == "mine"


def test_numpys_functions_do_not_go_on_without_us():
    with pytest.raises(ValueError, match="complex"):
        np.argmax(dp.Array1D([1j, 2]))
    limited = np.clip(dp.Array1D([5, 7, 0], dp.Axis(4.0), unit="m"), [1.5, 2, 3], 6)
    assert limited.values.tolist() == [5, 6, 3] and limited.axis == dp.Axis(4.0) and limited.unit == "m"
    with pytest.raises(dp.UnitError):
        np.clip(A, A.with_labels(unit="nm"), None)
    with pytest.raises(ValueError):
        np.clip(A, [1, 2, 3, 4], None, out=np.zeros(4))
    with pytest.raises(ValueError, match="NaN"):
        dp.Array1D([1, 2, 3]).clip([np.nan, 1, 2])


def test_masks_are_iterables():
    assert list(A > 2) == [False, False, True, True] and [row.tolist() for row in IMAGE > 5] == [[False] * 4, [False, False, True, True]]
    pandas = pytest.importorskip("pandas")
    assert pandas.DataFrame({"a": A, "b": A > 2})["b"].tolist() == [False, False, True, True]


@pytest.mark.parametrize("deltas", [(1.0, 0.5), (0.5, 1.0)])
@pytest.mark.parametrize("function", [dp.correlate, dp.convolve])
def test_the_finer_delta_is_the_smaller_step(function, deltas):
    rising, falling = (
        function(*(dp.Array1D(np.arange(1.0, 5.0), dp.Axis(0.0, sign * delta)) for delta in deltas)) for sign in (1, -1)
    )
    assert rising.axis.delta == 0.5 == -falling.axis.delta and rising.values.tolist() == falling.values.tolist()
    with pytest.raises(ValueError, match="opposite"):
        function(rising, falling)


def test_correlations_meet_as_operators_do():
    a, b = dp.Array1D(np.ones(4), dp.Axis(0.0, 0.1)), dp.Array1D(np.ones(4), dp.Axis(90.0, 0.1 + 1e-9))
    for function in (dp.correlate, dp.convolve):
        with pytest.warns(dp.AlignmentWarning):
            function(a, b)
        with dp.alignment("exact"), pytest.raises(ValueError, match="exact"):
            function(a, b)
        with dp.alignment("exact"):
            function(a, a.with_axes(dp.Axis(7.0, 0.1)))


UNITS = [dp.Array1D(np.arange(4.0), dp.Axis(6.0, 0.1, unit=unit)) for unit in ("keV", "eV")]


@pytest.mark.parametrize("function", [dp.rebin, dp.register, dp.correlate, dp.convolve], ids=lambda f: f.__name__)
def test_axes_of_two_units_do_not_meet(function):
    with pytest.raises(dp.UnitError):
        function(*UNITS)


@pytest.mark.parametrize("call", [
    lambda x: dp.fft(x), lambda x: dp.ifft(x), lambda x: dp.correlate(x, x), lambda x: dp.band_pass(x, 0, 1), lambda x: dp.center(x),
    lambda x: dp.smooth_gauss(x, 1), lambda x: dp.smooth_median(x, 3), lambda x: dp.snip(x, 3), lambda x: dp.smooth_savgol(x, 3, 1),
    lambda x: dp.find_peaks(x), lambda x: dp.rebin(x, 2.0), lambda x: dp.convert(x, "u1"), lambda x: dp.register(x, x), dp.exp, dp.log,
])  # fmt: skip
def test_what_is_no_array_is_told_so(call):
    with pytest.raises(TypeError, match="array"):
        call([1.0, 2.0])
    with pytest.raises(TypeError, match="array"):
        call("x")


def test_other_dimensions_are_told_so():
    with pytest.raises(TypeError, match="Array1D"):
        dp.rebin(A, dp.Array2D([[1]]))
    with pytest.raises(TypeError, match="Rect"):
        IMAGE.sel((0, 0, 1, 1))
    with pytest.raises(ValueError, match="1 axes"):
        A.with_axes()
    for call, said in (
        (lambda: dp.rescale(IMAGE, 0.5), "2 deltas are needed, not 1"), (lambda: dp.rescale([1.0], 0.5), "takes an array"),
        (lambda: dp.rotate_to([1.0], 0.5), "takes an array"), (lambda: dp.flip(A), "Array2D"), (lambda: dp.map_to(A, np.eye(2, 3)), "Array2D"),
        (lambda: dp.line_scan(IMAGE, 1, 2), "two points"), (lambda: A.sel(1.0), "start and stop"),
        (lambda: dp.Range("x", 1), "a Range takes numbers"), (lambda: setattr(dp.Range(), "end", "x"), "a Range takes numbers"),
        (lambda: dp.Rect(0, 0, 1, "x"), "a Rect takes numbers"), (lambda: dp.Transform("x"), "a Transform takes numbers"),
        (lambda: dp.fitting.gaussians(A, [6.4], (6.4, 0.1)), "Gaussian objects"),
        (lambda: dp.fitting.windowed_power_law(A, [3.0]), "Window objects"), (lambda: dp.maps.peaks(IMAGE, None), "PeakModel"),
        (lambda: dp.empty((2.7, 3)), "integer"),
    ):  # fmt: skip
        with pytest.raises(TypeError, match=said):
            call()
    with pytest.raises(TypeError):
        dp.Range(1, 2) & 5
    with pytest.raises(TypeError):
        A.apply(lambda values: values.astype(object))


def elsewhere():
    a, image, mask = A.copy(), IMAGE.copy(), ELSEWHERE > 2
    yield lambda: a[mask]
    yield lambda: a[mask,]
    yield lambda: a.__setitem__(mask, 0)
    yield lambda: a.sum(where=mask)
    yield lambda: a.mean(where=mask)
    yield lambda: a.max(where=mask, initial=0)
    yield lambda: (a > 1).any(where=mask)
    yield lambda: (a > 1)[mask]
    yield lambda: (a > 1).__setitem__(mask, True)
    yield lambda: image[:, mask]
    yield lambda: image[..., mask]
    yield lambda: image[1, mask]
    yield lambda: image.sum(where=mask)
    yield lambda: image[image.with_axes(THERE, THERE) > 2]
    for choose in (dp.maximum, dp.minimum, np.maximum, np.minimum, np.equal, np.not_equal, np.add):
        yield lambda choose=choose: choose(a, mask)
        yield lambda choose=choose: choose(mask, a)
    for one in (a, a.astype("i4"), a.astype("u1")):
        yield lambda one=one: one.clip(mask)
        yield lambda one=one: one.clip(0, mask)
    yield lambda: a == mask
    yield lambda: mask != a
    yield lambda: image.__setitem__(image.with_axes(THERE, THERE) > 2, 0)


@pytest.mark.parametrize("use", list(elsewhere()))
def test_masks_on_other_grids_are_refused(use):
    with pytest.raises(ValueError, match="range or delta"):
        use()


def test_masks_on_the_grid_take_elements():
    mask = SAME > 2
    assert A[mask].tolist() == [1.0, 2.0] and A.sum(where=mask) == 3 and A[mask,].tolist() == [1.0, 2.0]
    assert IMAGE[:, mask].tolist() == [[0, 1], [4, 5]] and IMAGE[..., mask].tolist() == [[0, 1], [4, 5]]
    assert IMAGE[IMAGE > 5].tolist() == [6, 7] and IMAGE.sum(where=IMAGE > 5) == 13
    rows = dp.Mask1D([False, True], dp.Axis(3.0))
    assert IMAGE[rows].tolist() == [[4, 5, 6, 7]] and IMAGE[rows, 1].tolist() == [5]
    a = A.copy()
    a[mask] = 0
    assert a.values.tolist() == [0, 0, 3, 4]


@pytest.mark.parametrize("a", [A, IMAGE, A.astype("u1"), A.astype("c8")])
def test_masks_are_compared_with_arrays_by_element(a):
    mask = np.isfinite(a) ^ (a == a.values.flat[1])
    for compare in (operator.eq, operator.ne, np.equal, np.not_equal):
        expected = compare(a.values, mask.values)
        for found in (compare(a, mask), compare(mask, a)):
            assert type(found) is type(mask) and found.axes == a.axes and np.array_equal(found.values, expected)
    for other in (dp.Mask1D([True, False]), dp.Mask2D([[True]]), dp.Mask1D([]), dp.Mask2D(np.ones((2, 2), bool))):
        for compare in (operator.eq, operator.ne, np.equal):
            with pytest.raises((TypeError, ValueError), match="grid|dimensions"):
                compare(a, other)
            with pytest.raises((TypeError, ValueError), match="grid|dimensions"):
                compare(other, a)


def test_masks_of_other_dimensions_are_told_so():
    line, image = dp.Mask1D([True]), dp.Mask2D([[True]])
    for combine in (operator.eq, operator.ne, np.equal, np.logical_and, np.logical_or, np.logical_xor):
        for pair in ((line, image), (image, line)):
            with pytest.raises(TypeError, match="a 1D mask and a 2D mask do not combine"):
                combine(*pair)


def test_masks_are_ones_and_zeros_where_they_meet_arrays():
    mask = SAME > 2
    for choose in (dp.maximum, dp.minimum, np.maximum, np.minimum):
        for found in (choose(A, mask), choose(mask, A)):
            assert found.axis == A.axis and np.array_equal(found.values, choose(A.values, mask.values))
    for a, b in ((mask, 0), (0, mask), (mask, mask), (A, mask)):
        with pytest.raises(TypeError, match="where chooses between arrays and numbers"):
            dp.where(A > 1, a, b)


def test_grids_an_ulp_apart_are_one():
    a, b = dp.Array1D(np.arange(60.0), dp.Axis(6.2, 0.1))[4:], dp.Array1D(np.arange(56.0), dp.Axis(6.6, 0.1))
    assert a.axis.position(0) != b.axis.position(0)
    for x, y in ((a, b), (b, a)):
        assert np.array_equal(((x > 5) & (y > 5)).values, (x.values > 5) & (y.values > 5)) and x[y > 1].size == np.sum(y.values > 1)
        assert x.sum(where=y > 1) == x.values[y.values > 1].sum() and (x // (y + 1)).size == 56
        assert np.array_equal(np.hypot(x, y).values, np.hypot(x.values, y.values)) and ((x > 5) == y).size == 56
        with dp.alignment("exact"):
            assert np.array_equal((x + y).values, x.values + y.values)
        fit = dp.fitting.polynomial(x, deviations=y + 1)
        assert fit.chi_square == dp.fitting.polynomial(x, deviations=y.values + 1).chi_square and fit.eval(y).identical(fit.eval())
        with pytest.raises(dp.UnitError):
            dp.fitting.polynomial(x.with_axes(dp.Axis(6.6, 0.1, unit="eV")), deviations=y.with_axes(dp.Axis(6.6, 0.1, unit="nm")) + 1)
    for other in (dp.Axis(6.6 + 1e-6, 0.1), dp.Axis(6.7, 0.1), dp.Axis(6.6, 0.1 + 1e-15)):
        with pytest.raises(ValueError, match="grid"):
            (a > 1) & (b.with_axes(other) > 1)
    image = dp.Array2D(np.arange(6.0).reshape(2, 3), (dp.Axis(), dp.Axis(a.axis.position(0), 0.1)))
    assert ((image > 1) & (image.with_axes(dp.Axis(), dp.Axis(6.6, 0.1)) > 1)).count() == 4


@pytest.mark.parametrize("ufunc", [np.hypot, np.logical_and, np.floor_divide, np.fmax, np.copysign, np.arctan2])
def test_universal_functions_meet_on_one_grid(ufunc):
    for found in (ufunc(A, SAME), ufunc(SAME, A)):
        assert (found.axis.name, found.axis.unit) == ("energy", "keV")
    assert np.array_equal(ufunc(A, SAME).values, ufunc(A.values, SAME.values))
    with pytest.raises(ValueError, match="one grid"):
        ufunc(A, ELSEWHERE)
    with pytest.raises(dp.UnitError):
        ufunc(A, SAME.with_axes(dp.Axis(0.0, 0.5, unit="nm")))


def test_words_survive_universal_functions_that_keep_the_quantity():
    for ufunc in (np.floor, np.ceil, np.rint, np.trunc):
        assert (ufunc(A).name, ufunc(A).unit) == ("n", "counts")
    for ufunc in (np.fmax, np.fmin, np.copysign, np.hypot):
        assert (ufunc(A, 2.0).name, ufunc(A, A).unit) == ("n", "counts")
        with pytest.raises(dp.UnitError):
            ufunc(A, A.with_labels(unit="nm"))
    assert np.logical_and(A, A.with_labels(unit="nm")).all() and np.arctan2(A, A).unit == ""


def masked():
    values = np.ma.masked_array([1.0, 2.0, 3.0, 4.0], [False, True, False, False])
    a = A.copy()
    yield lambda: dp.Array1D(values)
    yield lambda: dp.array(values)
    yield lambda: a.__setitem__(slice(None), values)
    yield lambda: dp.minimum(a, values)
    yield lambda: dp.where(a > 1, a, values)
    yield lambda: dp.maps.sum(values)
    yield lambda: dp.maps.smooth(values, 3, 1)
    line, model = dp.fitting.polynomial(a), dp.fitting.PeakModel()
    model.polynomial([1.0, 2.0, 3.0, 4.0])
    yield lambda: line.eval(values)
    yield lambda: model.eval(values)
    yield lambda: model.eval([1.0], values)
    yield lambda: dp.fitting.solve(np.eye(4), values)
    yield lambda: dp.fitting.solve(np.ma.masked_array(np.eye(2), [[0, 1], [0, 0]]), [1.0, 2.0])
    yield lambda: dp.fitting.curve(lambda x, *p: x + sum(p), ([1.0, 2.0], [1.0, 2.0]), values)
    yield lambda: dp.fitting.curve(lambda x, p: x * p, (values, [1.0] * 4))
    yield lambda: dp.fitting.polynomial(a, deviations=values)
    hidden = np.ma.masked_array([1.0, 1, 1, 1], [0, 1, 0, 0])
    yield lambda: dp.fitting.curve(lambda x, p: hidden * p, a)
    yield lambda: dp.fitting.curve(lambda x, p: p + 0 * x, a, derivatives=lambda x, p: hidden[None, :])
    yield lambda: dp.fitting.peaks(a, model, objective="least-squares", weights=values)


@pytest.mark.parametrize("use", list(masked()))
def test_masked_elements_are_refused(use):
    with pytest.raises(TypeError, match="filled"):
        use()


def test_masked_numbers_of_maps_are_refused():
    values, axis = np.ma.masked_array(np.ones(4), [False, True, False, False]), dp.Axis(6.0)
    for call in (
        lambda: dp.maps.linear(np.ones((2, 4)), {"a": values}), lambda: dp.maps.align(np.ones((2, 4)), values, 1.0, axis),
        lambda: dp.maps.shift(np.ones((4, 4)), values, axis),
        lambda: dp.maps.peaks(np.ones((2, 4)), dp.fitting.PeakModel(), axis, objective="least-squares", weights=values),
    ):
        with pytest.raises(TypeError, match="filled"):
            call()


def test_masked_arrays_without_masked_elements_are_taken():
    assert dp.Array1D(np.ma.masked_array([1.0, 2.0])).values.tolist() == [1.0, 2.0]


def test_arrays_of_one_element_are_numbers():
    one = dp.Array1D([2.5])
    assert (int(one), float(one), complex(one)) == (2, 2.5, 2.5) and float(dp.Array2D([[7]], dtype="u1")) == 7.0
    assert complex(dp.Array1D([1 + 2j])) == 1 + 2j
    for number in (int, float, complex):
        for text in (np.frombuffer(b"3.", "u1"), np.frombuffer(b"12", "u1"), []):
            with pytest.raises(TypeError, match="one element"):
                number(dp.Array1D(text))
    with pytest.raises(TypeError):
        float(dp.Array1D([1 + 2j]))
    assert int(dp.Array1D(np.frombuffer(b"7", "u1"))) == ord("7")


def elsewhere(work):
    return work()


WARNING = {
    "operator": lambda: A + ELSEWHERE,
    "reflected": lambda: ELSEWHERE - A,
    "comparison": lambda: A > ELSEWHERE,
    "minimum": lambda: dp.minimum(A, ELSEWHERE),
    "ufunc": lambda: np.add(A, ELSEWHERE),
    "maximum of numpy": lambda: np.maximum(A, ELSEWHERE),
    "where": lambda: dp.where(ELSEWHERE > 2, A, 0.0),
    "where of two": lambda: dp.where(A > 2, A, ELSEWHERE),
    "clip": lambda: A.clip(ELSEWHERE, 9.0),
    "called by another": lambda: elsewhere(lambda: A + ELSEWHERE),
}


@pytest.mark.parametrize("work", WARNING.values(), ids=WARNING)
def test_warnings_name_the_line_that_asked(work):
    with pytest.warns(dp.AlignmentWarning) as heard:
        work()
    assert {(one.filename, one.lineno) for one in heard} == {(__file__, work.__code__.co_firstlineno)}


def test_warnings_of_programs_name_their_lines():
    program = """import dataprocessing as dp
a, b = dp.Array1D([1.0]), dp.Array1D([1.0], dp.Axis(9))
a + b
a - b
def one():
    return dp.maximum(a, b)
one()
"""
    done = subprocess.run([sys.executable, "-W", "default", "-c", program], capture_output=True, text=True)
    assert [line.split(":")[1] for line in done.stderr.splitlines() if "AlignmentWarning" in line] == ["3", "4", "6"]
