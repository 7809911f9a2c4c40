"""Functions, universal functions, reductions, masks, ranges, transforms."""

import math
import operator
import pickle

import dataprocessing as dp
import numpy as np
import pytest
from conftest import DTYPES, REALS, sample


@pytest.mark.parametrize("name", ["exp", "sin", "cos", "tan", "sinh", "cosh", "tanh", "atan", "sqr"])
def test_functions_of_doubles(name):
    x = np.linspace(-3, 3, 50)
    numpy = {"atan": "arctan", "sqr": "square"}.get(name, name)
    found = getattr(dp, name)(dp.Array1D(x, dp.Axis(2.0)))
    assert found.axis == dp.Axis(2.0)
    assert found.values == pytest.approx(getattr(np, numpy)(x), rel=4e-16, abs=4e-16)


@pytest.mark.parametrize(
    ("given", "gives"), [("u1", "f4"), ("i2", "f4"), ("u4", "f8"), ("i4", "f8"), ("f4", "f4"), ("c8", "c8")]
)
def test_functions_compute_in_a_type_that_keeps_the_digits(given, gives):
    assert dp.exp(dp.Array1D(np.ones(3, given))).dtype == np.dtype(gives)


def test_numbers_are_doubles_too():
    assert dp.exp(1) == math.e and type(dp.exp(1)) is np.float64 and dp.sin(np.float32(0)).dtype == np.float32


def test_roots_and_logarithms_stay_real():
    a = dp.Array1D([4.0, 0.0, -0.0, -1.0, np.nan])
    assert str(dp.sqrt(a).values.tolist()) == "[2.0, 0.0, -0.0, nan, nan]"
    assert str(dp.log(a).values[1:].tolist()) == "[-inf, -inf, nan, nan]"
    assert str(dp.log10(a).values[1:].tolist()) == "[-inf, -inf, nan, nan]"
    assert dp.sqrt(a, domain="complex").values[3] == 1j
    assert dp.log(dp.Array1D([-1.0]), domain="complex").values[0] == pytest.approx(1j * math.pi)
    assert math.isnan(dp.sqrt(-1)) and dp.log(0) == -math.inf and dp.sqrt(-1, domain="complex") == 1j
    with pytest.raises(ValueError, match="domain"):
        dp.log(a, domain="both")


def test_arcs_refuse_what_is_beyond_unity():
    with pytest.raises(dp.DataError) as caught:
        dp.acos(dp.Array1D([0.0, 2.0]))
    assert (caught.value.unit, caught.value.line) == ("unary1", 264)
    with pytest.raises(ValueError):
        dp.asin(-1.5)
    with pytest.raises(dp.DataError):
        dp.asin(dp.Array1D([2.0, math.nan]))


@pytest.mark.parametrize("dtype", ["f4", "f8"])
def test_arcs_of_nan_are_nan(dtype):
    a = dp.Array1D(np.array([0.5, math.nan, -1.0], dtype), dp.Axis(3.0))
    for ours, numpys in ((dp.asin, np.arcsin), (dp.acos, np.arccos), (np.arcsin, np.arcsin)):
        np.testing.assert_allclose(ours(a).values, numpys(a.values), rtol=1e-6)
        assert ours(a).dtype == dtype and ours(a).axis == a.axis and np.isnan(a.values[1])
        assert math.isnan(ours(math.nan)) and math.isnan(ours(np.dtype(dtype).type(math.nan)))


@pytest.mark.parametrize("value, dtype", [(1.5, "f8"), (3, "i4"), (2**40, "f8"), (True, "u1"), (1j, "c16"), (np.float32(1), "f4"), (np.uint16(9), "u2")])
def test_full_has_the_type_of_its_value(value, dtype):
    made = dp.full((2, 2), value)
    assert made.dtype == dtype and made.values.tolist() == [[value, value]] * 2
    with pytest.raises(OverflowError):
        dp.full(2, 2**63 + 1)


def test_complex_magnitudes_are_real():
    z = dp.Array1D([3 + 4j, 0j], dtype="c8")
    assert abs(z).dtype == np.float32 and abs(z).values.tolist() == [5, 0]
    assert dp.norm(z).values.tolist() == [25, 0] and dp.norm(dp.Array1D([-3.0])).values[0] == 9
    assert dp.arg(dp.Array1D([-3.0])).values[0] == math.pi and dp.arg(dp.Array1D([1j])).values[0] == math.pi / 2
    assert z.real.values.tolist() == [3, 0] and z.imag.dtype == np.float32 and z.conj().values[0] == 3 - 4j


@pytest.mark.parametrize("dtype", DTYPES)
def test_conversion_rounds_and_clips(dtype):
    a = dp.Array1D([1.5, 2.5, -7.0, 1e12, np.nan])
    found = a.astype(dtype).values
    if dtype[0] in "ui":
        info = np.iinfo(dtype)
        assert found.tolist() == [2, 2, max(info.min, -7), info.max, 0]
    else:
        assert found.dtype == np.dtype(dtype) and found[0] == 1.5
    with pytest.raises(ValueError, match="part"):
        a.astype("f4", part="half")


class TestMinimumMaximumWhere:
    @pytest.mark.parametrize("a", REALS)
    @pytest.mark.parametrize("b", REALS)
    def test_values_are_those_there_are(self, a, b):
        x, y = np.repeat(sample(a), 5), np.tile(sample(b), 5)
        found = dp.minimum(dp.Array1D(x), dp.Array1D(y))
        wide = found.dtype
        assert np.array_equal(found.values, np.minimum(x.astype(wide), y.astype(wide)))
        if wide.kind != "f" or wide.itemsize == 8:
            assert found.values.tolist() == [min(p.item(), q.item()) for p, q in zip(x, y)]

    def test_nan_stays(self):
        a, b = dp.Array1D([np.nan, 1.0, 2.0]), dp.Array1D([1.0, np.nan, 3.0])
        assert np.array_equal(dp.minimum(a, b).values, [np.nan, np.nan, 2], equal_nan=True)
        assert np.array_equal(dp.maximum(a, 5).values, [np.nan, 5, 5], equal_nan=True)
        assert np.array_equal(dp.maximum(5, a).values, [np.nan, 5, 5], equal_nan=True)

    def test_where_takes_arrays_and_numbers(self):
        axis = dp.Axis(1.0, 0.5)
        a = dp.Array1D([1, 5, 3], axis)
        assert dp.where(a > 2, a, 0).values.tolist() == [0, 5, 3] and dp.where(a > 2, a, 0).axis == axis
        assert dp.where(a > 2, 1.5, -1).values.tolist() == [-1, 1.5, 1.5]
        with pytest.raises(TypeError, match="mask"):
            dp.where([True, False], 1, 2)


class TestUfuncs:
    def test_those_of_the_library(self):
        a = dp.Array1D([1.0, 4.0], dp.Axis(3.0))
        for found, expected in [(np.sqrt(a), [1, 2]), (np.add(a, 1), [2, 5]), (np.subtract(10, a), [9, 6]),
                                (np.negative(a), [-1, -4]), (np.maximum(a, 2), [2, 4])]:  # fmt: skip
            assert type(found) is dp.Array1D and found.axis == a.axis and found.values.tolist() == expected
        assert type(np.less(a, 2)) is dp.Mask1D and np.less(2, a).values.tolist() == [False, True]

    def test_others_run_on_the_elements(self):
        a = dp.Array1D([1.5, np.nan], dp.Axis(3.0))
        assert np.floor(a).axis == a.axis and type(np.isnan(a)) is dp.Mask1D and np.isnan(a).axis == a.axis
        whole, part = np.divmod(dp.Array1D([7.0]), 2)
        assert whole[0] == 3 and part[0] == 1

    def test_reductions_out_and_where_are_those_of_numpy(self):
        a = dp.Array1D([1.0, 2.0, 3.0])
        assert np.add.reduce(a) == 6 and np.add.outer(a, a).shape == (3, 3)
        out = np.zeros(3)
        assert np.add(a, 1, out=out) is out and out.tolist() == [2, 3, 4]
        target = dp.zeros(3)
        assert np.add(a, 1, out=target) is target and target[2] == 4
        assert np.add(a, 1, where=a > 1, out=np.zeros(3)).tolist() == [0, 3, 4]

    def test_grids_that_differ_are_refused(self):
        with pytest.raises(ValueError, match="one grid"):
            np.hypot(dp.Array1D([1.0]), dp.Array1D([1.0], dp.Axis(5.0)))


class TestReductions:
    @pytest.mark.parametrize("dtype", REALS)
    def test_against_numpy(self, dtype):
        x = np.tile(sample(dtype), 7)
        a = dp.Array1D(x, dp.Axis(1.0, 0.5))
        assert a.sum() == pytest.approx(float(x.astype("f8").sum()), rel=1e-6)
        assert a.mean() == pytest.approx(float(x.astype("f8").mean()), rel=1e-6)
        assert a.var(ddof=1) == pytest.approx(float(x.astype("f8").var(ddof=1)), rel=1e-12)
        assert a.min() == x.min() and a.max() == x.max() and a.min().dtype == x.dtype
        assert a.argmin() == x.argmin() and a.argmax() == x.argmax()
        assert a.idxmax() == a.axis.position(int(x.argmax()))

    def test_nan(self):
        a = dp.Array1D([2.0, np.nan, 1.0])
        assert math.isnan(a.min()) and math.isnan(a.max()) and a.min(skipna=True) == 1 and a.max(skipna=True) == 2
        assert a.argmax() == 1 and a.argmax(skipna=True) == 0
        assert math.isnan(dp.Array1D([np.nan]).max(skipna=True))

    def test_over_a_range(self):
        a = dp.Array1D([12.0, 15, 90, 15, 11], dp.Axis(6.2, 0.1))
        assert a.max(over=(6.5, 6.7)) == 15 and a.max(over=dp.Range(6.2, 6.45)) == 90
        assert a.min(over=(6.25, 6.35), interpolate=True) == pytest.approx(13.5)

    @pytest.mark.parametrize("dtype", ["f4", "f8"])
    def test_over_a_range_with_nan(self, dtype):
        first, last = (dp.Array1D(np.array(v, dtype)) for v in ([np.nan, 1, 2, 3], [3, 2, 1, np.nan]))
        for a, over, least, most in ((first, (0, 4), 1, 3), (first, (0.5, 3), 1, 3), (first, (0.5, 2.5), 1, 2.5),
                                     (last, (0, 4), 1, 3), (last, (0.5, 2.5), 1, 2.5), (last, (2.5, 2.75), np.nan, np.nan)):  # fmt: skip
            for which, expected in (("min", least), ("max", most)):
                found = getattr(a, which)(over=over, interpolate=True, skipna=True)
                assert found.dtype == dtype and np.array_equal(found, expected, equal_nan=True), (over, which)
                assert math.isnan(getattr(a, which)(over=over, interpolate=True))
        assert first.min(over=(1.5, 3), interpolate=True) == 1.5 and first.max(over=(1.5, 3), interpolate=True) == 3
        with pytest.raises((ValueError, IndexError)):
            dp.Array1D([]).min(over=(0, 1), interpolate=True)

    def test_complex_elements_have_no_order(self):
        z, a = dp.Array1D([1j, 2]), dp.Array1D([1.0, 2.0])
        calls = [lambda: z.clip(0, 1)]
        for compare in (operator.lt, operator.le, operator.gt, operator.ge, np.less, np.greater_equal):
            for pair in ((z, z), (z, a), (a, z), (a, 1j), (1j, a), (z, 0), (z, [1, 2]), (np.array([1, 2]), z)):
                calls.append(lambda compare=compare, pair=pair: compare(*pair))
        for call in calls:
            with pytest.raises(TypeError, match="no order"):
                call()
        assert (z == 2).values.tolist() == [False, True] and (a != 1j).all()

    def test_empty(self):
        e = dp.Array1D([])
        assert e.sum() == 0
        for call in (e.mean, e.min, e.max, e.argmin, e.var):
            with pytest.raises(ValueError):
                call()

    def test_along_an_axis(self):
        image = dp.Array2D(np.arange(6.0).reshape(2, 3), axes=(dp.Axis(0, 2), dp.Axis(5, 1)))
        assert image.sum(axis=0).values.tolist() == [3, 5, 7] and image.sum(axis=0).axis == dp.Axis(5, 1)
        assert image.mean(axis=1).values.tolist() == [1, 4] and image.mean(axis=-1).axis == dp.Axis(0, 2)
        assert image.max(axis=1).values.tolist() == [2, 5] and image.idxmax() == (7.0, 2.0)
        with pytest.raises(ValueError):
            image.sum(axis=2)

    def test_clip_round_apply(self):
        a = dp.Array1D([1.26, -3.0], dp.Axis(1.0))
        assert a.clip(0, 1).values.tolist() == [1, 0] and a.round(1).values.tolist() == [1.3, -3]
        assert a.apply(np.cumsum).values[1] == pytest.approx(-1.74) and a.apply(np.cumsum).axis == a.axis
        with pytest.raises(ValueError):
            a.apply(lambda v: v[:1])


class TestMasks:
    def test_logic(self):
        a = dp.Array1D([1, 5, 3], dp.Axis(2.0))
        low, high = a > 1, a < 5
        assert (low & high).values.tolist() == [False, False, True] and (low | high).all() and (~low).count() == 1
        assert (low ^ high).values.tolist() == [True, True, False] and (low & high).axis == a.axis
        assert not (a > 9).any() and (dp.Array1D([]) > 1).all()

    def test_other_grids_are_refused(self):
        with pytest.raises(ValueError, match="one grid"):
            (dp.Array1D([1]) > 0) & (dp.Array1D([1], dp.Axis(3.0)) > 0)

    def test_bools_and_lists_of_them(self):
        class Own(dp.Mask1D):
            pass

        truths = [True, False, True]
        for mask in ((dp.Array1D([1, 5, 3], dp.Axis(2.0)) > 1), Own([False, True, True], dp.Axis(2.0))):
            for name in ("and_", "or_", "xor"):
                combine = getattr(operator, name)
                for other in (True, False, truths, tuple(truths)):
                    for found, numpys in (
                        (combine(mask, other), combine(mask.values, other)), (combine(other, mask), combine(other, mask.values))
                    ):
                        assert found.values.tolist() == numpys.tolist() and found.axis == mask.axis and isinstance(found, dp.Mask1D)
                for other in (1, [1, 0, 1], [], 1.0, None):
                    with pytest.raises(TypeError):
                        combine(mask, other)
                with pytest.raises(ValueError):
                    combine(mask, [True, False])
        image = dp.Array2D(np.eye(2)) > 0
        assert (image | [True, False]).values.tolist() == [[True, False], [True, True]] and (True ^ image).count() == 2
        with pytest.raises(TypeError):
            image & (dp.Array1D([1, 2]) > 0)
        assert image.dtype == mask.dtype == bool

    def test_construction(self):
        mask = dp.Mask2D([[True, False]], axes=(dp.Axis(), dp.Axis(0, 0.5)))
        assert mask.count() == 1 and mask.axes[1].delta == 0.5
        mask.values[0, 1] = True
        assert mask.all()


class TestRanges:
    def test_changes_are_told_once(self):
        window, heard = dp.Range(1, 2), []
        subscription = window.on_change(lambda r: heard.append((r.start, r.end)))
        window.set(1, 2)
        window.end = 3
        window.set(0, 5)
        subscription.cancel()
        window.start = -1
        assert heard == [(1, 3), (0, 5)]

    def test_subscriptions_are_their_own(self):
        window, heard = dp.Range(1, 2), []
        hear = heard.append
        first, second = window.on_change(hear), window.on_change(hear)
        first.cancel()
        first.cancel()
        window.end = 3
        assert len(heard) == 1
        second.cancel()
        window.end = 4
        assert len(heard) == 1

    def test_what_an_earlier_one_cancels_is_not_called(self):
        changes = [
            (dp.Range(1, 2), lambda r: r.set(5, 6)),
            (dp.Rect(0, 0, 1, 1), lambda r: r.set(0, 0, 5, 5)),
            (dp.fitting.Selection(), lambda s: s.add((1, 2))),
        ]
        for made, change in changes:
            heard, later = [], []
            made.on_change(lambda _, later=later: later[0].cancel())
            later.append(made.on_change(heard.append))
            change(made)
            assert heard == []

    def test_a_function_that_raises_passes_through(self):
        window = dp.Range()
        window.on_change(lambda r: 1 / 0)
        with pytest.raises(ZeroDivisionError):
            window.end = 1
        assert window.end == 1

    def test_algebra(self):
        a, b = dp.Range(0, 4), dp.Range(2, 6)
        assert a & b == dp.Range(2, 4) and a | b == dp.Range(0, 6) and a.intersects(b) and 4 not in a
        assert pickle.loads(pickle.dumps(a)) == a and repr(a) == "Range(0.0, 4.0)"

    def test_rectangles(self):
        turned = dp.Rect.turned(0, 0, 2, 2, math.pi / 4)
        assert (1.2, 0.0) in turned and (1.2, 1.2) not in turned
        assert pickle.loads(pickle.dumps(turned)) == turned and dp.Rect(0, 0, 1, 1).corners[2] == (1.0, 1.0)


class TestFourier:
    @pytest.mark.parametrize("shape", [(300,), (1,), (7,), (20, 30), (1, 5), (13, 16)])
    @pytest.mark.parametrize("dtype", ["u1", "f4", "c16"])
    def test_there_and_back(self, shape, dtype):
        values = np.random.default_rng(1).integers(0, 200, shape).astype(dtype)
        axes = tuple(dp.Axis(-0.3, 0.01) for _ in shape)
        a = dp.array(values, axes[0] if len(shape) == 1 else axes)
        again = dp.ifft(dp.fft(a), like=a)
        assert again.axes == a.axes and np.abs(again.values - values).max() < 1e-12

    @pytest.mark.parametrize("shape", [(300,), (64,), (40, 25)])
    def test_lags_are_where_they_say(self, shape):
        rng = np.random.default_rng(2)
        b = rng.random(shape)
        b -= b.mean()
        shift = tuple(n // 9 for n in shape)
        a = np.roll(b, shift, tuple(range(len(shape))))
        make = (lambda v: dp.Array1D(v, dp.Axis(5.0, 0.5))) if len(shape) == 1 else (
            lambda v: dp.Array2D(v, axes=(dp.Axis(1, 0.25), dp.Axis(3, 0.5)))
        )
        found = dp.correlate(make(a), make(b)).idxmax()
        expected = shift[0] * 0.5 if len(shape) == 1 else (shift[1] * 0.5, shift[0] * 0.25)
        assert found == pytest.approx(expected)

    def test_correlation_and_convolution_against_sums(self):
        rng = np.random.default_rng(3)
        x, y = rng.random(9) + 1j * rng.random(9), rng.random(5)
        assert dp.correlate(dp.Array1D(x), dp.Array1D(y)).values == pytest.approx(np.correlate(x, y, "full"))
        assert dp.convolve(dp.Array1D(x), dp.Array1D(y)).values == pytest.approx(np.convolve(x, y))
        z = rng.random((3, 4)), rng.random((2, 5))
        direct = np.zeros((4, 8))
        for i, j in np.ndindex(3, 4):
            direct[i : i + 2, j : j + 5] += z[0][i, j] * z[1]
        assert dp.convolve(dp.Array2D(z[0]), dp.Array2D(z[1])).values == pytest.approx(direct)

    def test_units_are_inverted(self):
        f = dp.fft(dp.Array1D(np.ones(4), dp.Axis(0, 0.5, unit="mm")))
        assert f.axis.unit == "1/mm" and dp.ifft(f).axis.unit == "mm" and f.positions.tolist() == [-1, -0.5, 0, 0.5]

    def test_nothing_is_refused(self):
        for call in (dp.fft, dp.ifft, dp.autocorrelate):
            with pytest.raises(ValueError):
                call(dp.Array1D([]))
        with pytest.raises(ValueError):
            dp.band_pass(dp.Array1D([1.0]), 2, 1)


class TestGeometry:
    def test_warps_are_those_of_the_library(self):
        image = dp.Array2D(np.arange(6, dtype="f4").reshape(2, 3))
        assert dp.rotate(image, math.pi / 2).values.tolist() == [[0, 3], [0, 4], [0, 5]]
        assert dp.resize(image, 2, 1).shape == (2, 6) and dp.flip(image).shape == (2, 3)
        assert dp.rescale(image, 0.5, 0.5).shape == (4, 6) and dp.shear(image, 0.0).shape == (2, 3)

    def test_profiles(self):
        image = dp.Array2D(np.tile(np.arange(8.0), (6, 1)))
        assert dp.project(image, dp.Rect(0, 0, 8, 6)).values.tolist() == list(range(8))

    def test_transforms(self):
        t = dp.Transform.between(dp.Range(0, 1), dp.Range(10, 30))
        assert t(0.5) == 20 and t.inverse(20) == 0.5 and t(dp.Range(0, 1)) == dp.Range(10, 30)
        assert t(dp.Axis(0, 0.1)).delta == 2 and t(dp.Array1D([1, 2])).positions.tolist() == [10, 30]
        with pytest.raises(dp.DataError) as caught:
            dp.Transform.between(dp.Range(1, 1), dp.Range(0, 1))
        assert caught.value.line == 40

    def test_ramps(self):
        assert dp.ramp((2, 3), kind="y").values.tolist() == [[0, 0, 0], [1, 1, 1]]
        with pytest.raises(ValueError, match="kind"):
            dp.ramp((2, 3), kind="z")


def test_errors_say_where_and_why():
    with pytest.raises(dp.ProgramError) as caught:
        dp.Array1D([1.0]).rescale(-1)
    error = caught.value
    assert isinstance(error, ValueError) and (error.unit, error.line) == ("resc", 1)
    assert error.message and str(error) == f"resc:1: {error.message}"
    with pytest.raises(dp.IndexOutOfRangeError):
        dp.Array2D(np.zeros((2, 2))).row(5)


def test_errors_of_python_say_so_too():
    a = dp.Array1D([1.0, 2.0])
    with pytest.raises(dp.IndexOutOfRangeError) as caught:
        a.sel(-5, 100, outside="raise")
    error = caught.value
    assert error.unit == "dataprocessing" and error.line == 0 and error.message == str(error) and "outside" in error.message
    bare = dp.DataProcessingError("of one's own")
    assert (bare.unit, bare.line, bare.message) == ("", 0, "")


@pytest.mark.parametrize("name", ["sqrt", "log", "log10", "exp", "atan"])
def test_functions_take_all_types(name, dtype):
    values = np.array([1, 4, 9]).astype(dtype)
    wide = {"i": "f8", "u": "f8"}.get(dtype[0], dtype) if dtype[1:] == "4" else {"f8": "f8", "c8": "c8", "c16": "c16"}.get(dtype, "f4")
    wanted = {"atan": np.arctan}.get(name, getattr(np, name, None))(values.astype("c16" if dtype[0] == "c" else "f8"))
    found = getattr(dp, name)(dp.Array1D(values))
    assert found.dtype == (wide if dtype != "f4" else "f4")
    np.testing.assert_allclose(found.values, wanted, rtol=1e-6, atol=1e-6)
    for value in values[:2]:
        np.testing.assert_allclose(getattr(dp, name)(value), getattr(dp, name)(dp.Array1D([value])).values[0], rtol=1e-6, atol=1e-6)


def test_small_numbers():
    assert dp.absolute(np.int8(-128)) == 128 and dp.sqrt(np.True_) == 1 and dp.sqrt(np.uint8(4)) == 2


@pytest.mark.parametrize("choose", [dp.minimum, dp.maximum])
def test_choices_among_nothing(choose, dtype):
    empty = dp.Array1D(np.empty(0, dtype), dp.Axis(3.0), unit="V")
    image = dp.Array2D(np.empty((0, 3), dtype))
    if dtype[0] != "c":
        for found in (choose(empty, 1), choose(1, empty), choose(empty, empty)):
            assert found.size == 0 and found.axis == dp.Axis(3.0) and found.unit == "V"
        assert choose(image, image).shape == (0, 3)
    nowhere = empty == empty
    assert dp.where(nowhere, empty, 0).size == dp.where(nowhere, 1, 2).size == 0
    assert dp.where(nowhere, empty, empty).dtype == empty.dtype and dp.where(image == image, image, 0).shape == (0, 3)


@pytest.mark.parametrize("n", [1, 2, 5, 8])
@pytest.mark.parametrize("delta", [0.5, -0.5])
def test_frequencies_and_halves_lie_where_numpy_has_them(n, delta):
    a = dp.Array1D(np.arange(float(n)), dp.Axis(3.0, delta, 2))
    assert dp.fft(a).positions == pytest.approx(np.fft.fftshift(np.fft.fftfreq(n, abs(delta))) * np.sign(delta), abs=1e-15)
    centred = dp.center(a)
    assert centred.axis.position(n // 2) == a.axis.position(0) and centred[n // 2] == a[0]


def test_bands_have_their_lower_end():
    a = dp.Array1D(np.cos(2 * np.pi * np.arange(16) / 4) + np.cos(2 * np.pi * np.arange(16) / 8))
    slow, fast = (np.cos(2 * np.pi * np.arange(16) / period) for period in (8, 4))
    for low, high, left in ((0.125, 0.25, slow), (0.25, 0.4, fast), (0.125, 0.3, slow + fast), (0.13, 0.25, 0 * slow)):
        assert dp.band_pass(a, low, high).values == pytest.approx(left, abs=1e-12)


def test_convolutions_lie_at_the_sum_of_first_positions():
    a, b = dp.Array1D([0.0, 0, 1, 2], dp.Axis(5.0, 0.5))[2:], dp.Array1D([3.0], dp.Axis(1.0, 0.5, 3))
    found = dp.convolve(a, b)
    assert found.axis.position(0) == a.axis.position(0) + b.axis.position(0) == 5.5 and found.values == pytest.approx([3, 6])


@pytest.mark.parametrize("kind", ["i4", "u4", "i8"])
def test_functions_of_whole_numbers_keep_their_digits(kind):
    number = np.dtype(kind).type(2**31 - 1)
    assert dp.sqrt(number) == np.sqrt(float(number)) and dp.sqr(number) == float(number) ** 2 and dp.exp(np.dtype(kind).type(1)) == np.e


@pytest.mark.parametrize("dtype", REALS)
def test_extremes_of_two_are_those_of_numpy(dtype):
    values = sample(dtype)
    a = dp.Array1D(values, dp.Axis(1.0, 0.5, name="E"), name="n", unit="V")
    b = dp.Array1D(values[::-1].copy(), dp.Axis(1.5, 0.5, 1, unit="keV"), name="n", unit="V")
    for ours, numpy in ((dp.maximum, np.maximum), (dp.minimum, np.minimum)):
        found = ours(a, b)
        assert found.dtype == dtype and np.array_equal(found.values, numpy(a.values, b.values), equal_nan=dtype[0] == "f")
        assert (found.axis.name, found.axis.unit, found.name, found.unit) == ("E", "keV", "n", "V")
        assert not np.shares_memory(found.values, a.values)
    holed = dp.Array1D([1.0, np.nan, 3.0])
    for found in (dp.maximum(holed, 2), dp.maximum(2, holed), dp.minimum(holed, holed[::-1]), dp.maximum(holed, dp.Array1D([1, 2, 3]))):
        assert np.isnan(found[1]) and not np.isnan(found[0])


def test_limits_that_are_arrays_are_rounded_inwards():
    a = dp.Array1D([0, 5, 10])
    assert a.clip(np.array([0.5, 0.5, 0.5]), np.array([9.5] * 3)).values.tolist() == [1, 5, 9]


def test_extremes_without_nan_lie_on_the_other_axis():
    image = dp.Array2D([[1.0, np.nan, 3.0], [4.0, 0.0, np.nan]], (dp.Axis(5.0, unit="y"), dp.Axis(7.0, unit="x")))
    for axis, unit, most in ((0, "x", [4, 0, 3]), (1, "y", [3, 4]), (-1, "y", [3, 4]), (-2, "x", [4, 0, 3])):
        found = image.max(axis=axis, skipna=True)
        assert found.axis.unit == unit and found.values.tolist() == most


def test_ranges_take_the_elements_that_begin_inside():
    a = dp.Array1D([1.0, 2.0, 3.0, 4.0], dp.Axis(0.0, 1.0))
    assert a.min(over=(0.4, 2.4)) == 2 and a.max(over=(0.4, 2.4)) == 3 and a.max(over=(0.6, 2.6)) == 3
