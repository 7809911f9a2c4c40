"""Arrays and masks where numpy's functions and methods are expected: reductions, limits, logic."""

import dataprocessing as dp
import numpy as np
import pytest
from conftest import DTYPES, INTEGERS, REALS, sample
from hypothesis import given
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

AXES = (dp.Axis(1.0, 0.5, name="y"), dp.Axis(-2.0, 0.25, name="x", unit="mm"))
WHOLE = ["sum", "mean", "var", "std", "min", "max", "argmin", "argmax"]


def elements(dtype):
    """Of floating types numbers whose sums are exact in them, so that the order of summation does not matter."""
    if dtype[0] in "ui":
        return hnp.from_dtype(np.dtype(dtype))
    sixteenths = st.integers(-16000, 16000).map(lambda i: i / 16)
    return sixteenths if dtype[0] == "f" else st.builds(complex, sixteenths, sixteenths)


IMAGES = st.sampled_from(DTYPES).flatmap(
    lambda t: hnp.arrays(t, hnp.array_shapes(min_dims=2, max_dims=2, max_side=5), elements=elements(t))
)


def expected(values, name, **options):
    """What numpy makes of them in the precision that arrays promise."""
    if name in ("sum", "mean", "var", "std") and values.dtype.kind in "iu":
        values = values.astype("f8")
    elif name in ("var", "std"):
        values = values.astype("c16" if values.dtype.kind == "c" else "f8")
    return getattr(values, name)(**options)


def agree(found, wanted):
    np.testing.assert_allclose(np.asarray(found), wanted, rtol=3e-6, atol=1e-3)


@given(IMAGES, st.sampled_from(WHOLE), st.sampled_from([None, 0, 1, -1, -2, (0,), (1,), (0, 1)]))
def test_reductions_of_images_are_those_of_numpy(values, name, axis):
    image = dp.Array2D(values, AXES, name="n", unit="V")
    if values.dtype.kind == "c" and name[-3:] in ("min", "max"):
        with pytest.raises(ValueError if "arg" in name and not isinstance(axis, tuple) else (TypeError, ValueError)):
            getattr(image, name)(axis=axis)
        return
    if "arg" in name and isinstance(axis, tuple):
        with pytest.raises(TypeError):
            getattr(image, name)(axis=axis)
        return
    found, wanted = getattr(image, name)(axis=axis), expected(values, name, axis=axis)
    agree(found, wanted)
    if np.ndim(wanted) == 1:
        kept = AXES[1 if axis in (0, -2, (0,)) else 0]
        assert type(found) is dp.Array1D and found.axis == kept
        assert found.unit == ("V" if name in ("sum", "mean", "std", "min", "max") else "")
    agree(getattr(np, name)(image, axis=axis), wanted)


@given(st.sampled_from(DTYPES).flatmap(lambda t: hnp.arrays(t, st.integers(1, 12), elements=elements(t))), st.sampled_from(WHOLE))
def test_reductions_of_lines_are_those_of_numpy(values, name):
    if values.dtype.kind == "c" and name[-3:] in ("min", "max"):
        return
    a, wanted = dp.Array1D(values), expected(values, name)
    for found in (getattr(a, name)(), getattr(a, name)(axis=0), getattr(a, name)(-1), getattr(np, name)(a)):
        agree(found, wanted)


@pytest.mark.parametrize("name", WHOLE)
def test_options_are_those_of_numpy(name):
    values = np.arange(12.0).reshape(3, 4)
    image, line = dp.Array2D(values, AXES), dp.Array1D(values[1])
    numpy = getattr(np, name)
    kept = getattr(image, name)(axis=1, keepdims=True)
    assert type(kept) is np.ndarray and np.array_equal(kept, numpy(values, axis=1, keepdims=True))
    out = np.empty(4, "i8" if "arg" in name else "f8")
    assert getattr(image, name)(axis=0, out=out) is out and np.array_equal(out, numpy(values, axis=0))
    assert getattr(line, name)(keepdims=True).shape == (1,)
    for wrong in (2, -3):
        with pytest.raises(ValueError):
            getattr(image, name)(axis=wrong)
    with pytest.raises(ValueError):
        getattr(line, name)(axis=1)
    with pytest.raises(TypeError):
        getattr(line, name)(nonsense=1)
    if "arg" not in name:
        where = values > 3
        extra = {"initial": 0.0} if name in ("min", "max") else {}
        assert getattr(image, name)(where=where, **extra) == numpy(values, where=where, **extra)
    if name in ("sum", "mean", "var", "std"):
        assert getattr(image, name)(dtype="f4").dtype == np.float32
    if name in ("var", "std"):
        agree(getattr(image, name)(axis=0, ddof=1), numpy(values, axis=0, ddof=1))
        agree(numpy(image, ddof=1), numpy(values, ddof=1))


def test_what_does_not_go_together_is_refused():
    image = dp.Array2D(np.eye(3))
    line = image[0]
    for call in (
        lambda: line.max(over=(0, 1), keepdims=True), lambda: image.max(over=(0, 1)), lambda: image.min(axis=0, skipna=True, keepdims=True),
        lambda: image.argmax(axis=0, skipna=True),
    ):  # fmt: skip
        with pytest.raises(TypeError):
            call()
    holed = dp.Array2D([[1.0, np.nan], [0.0, 5.0]])
    assert holed.max(axis=0, skipna=True).values.tolist() == [1.0, 5.0] and np.isnan(holed.max(axis=0)[1])


@given(st.sampled_from(REALS).flatmap(lambda t: hnp.arrays(t, st.integers(1, 12), elements=elements(t))),
       st.floats(-400, 400), st.floats(-400, 400))  # fmt: skip
def test_clipped_elements_lie_within_the_limits(values, a, b):
    low, high = min(a, b), max(a, b)
    found = dp.Array1D(values, unit="V").clip(low, high)
    assert found.dtype == values.dtype and found.unit == "V"
    kind = values.dtype.type
    if values.dtype.kind == "f":
        assert np.array_equal(found.values, np.clip(values, kind(low), kind(high)))
        return
    info = np.iinfo(kind)
    for x, y in zip(values.tolist(), found.values.tolist()):
        if low <= x <= high:
            assert y == x
        elif any(low <= i <= high for i in (int(np.ceil(low)), int(np.floor(high)))) and info.min <= low and high <= info.max:
            assert low <= y <= high


@pytest.mark.parametrize("dtype", INTEGERS)
def test_limits_beyond_the_type_leave_its_ends(dtype):
    values = sample(dtype)
    a = dp.Array1D(values)
    assert np.array_equal(a.clip(-1e20, 1e20).values, values)
    assert a.clip(min=10**12).values.tolist() == [np.iinfo(dtype).max] * len(values)
    with pytest.raises(ValueError, match="NaN"):
        a.clip(max=float("nan"))
    with pytest.raises(ValueError):
        a.clip()


@pytest.mark.parametrize("dtype", INTEGERS)
def test_sums_of_integers_are_doubles(dtype):
    for values in (sample(dtype), sample(dtype)[:2], np.zeros((0,), dtype), sample(dtype)[None, :]):
        found = dp.array(values).sum()
        assert type(found) is np.float64 and found == values.astype("f8").sum()


@pytest.mark.parametrize("dtype", DTYPES)
def test_types_of_reductions(dtype):
    a, image = dp.Array1D(sample(dtype)), dp.Array2D(sample(dtype)[None, :])
    for name in ("sum", "mean", "var", "std"):
        numpy = getattr(a.values, name)().dtype
        real = np.dtype("f8") if name in ("var", "std") else {"f4": np.dtype("f8"), "c8": np.dtype("c16")}.get(dtype, numpy)
        whole = numpy if name == "mean" else np.dtype("f8") if dtype[0] in "ui" else real
        for found in (getattr(a, name)(), getattr(a, name)(axis=0), getattr(image, name)(), getattr(np, name)(a)):
            assert found.dtype == whole and isinstance(found, np.generic)
        along = whole if name in ("var", "std") or dtype[0] in "ui" else numpy
        for found in (getattr(image, name)(axis=0), getattr(image, name)(axis=1), getattr(np, name)(image, axis=0)):
            assert found.dtype == along, name
    assert dp.Array1D(np.full(1001, 0.1, "f4")).mean() == np.float32(0.1)


@pytest.mark.parametrize("dtype", ["f4", "c8"])
def test_sums_along_axes_are_made_in_double_precision(dtype):
    image = dp.Array2D(np.full((200_000, 3), 0.1, dtype))
    exact = np.sum(image.values, axis=0, dtype="c16").astype(dtype)
    for found in (image.sum(axis=0), np.sum(image, axis=0), dp.Array2D(image.values.T.copy()).sum(axis=1)):
        assert found.dtype == dtype and np.array_equal(found.values, exact)
    assert np.array_equal(image.mean(axis=0).values, np.full(3, 0.1, dtype)) and image.mean(axis=0).dtype == dtype
    assert image.sum(keepdims=True).dtype == dtype and image.sum(where=[True, False, False]) == exact[0]
    onto = np.zeros(3, dtype)
    assert image.sum(axis=0, out=onto) is onto and np.array_equal(onto, exact)
    assert image.sum(axis=0, dtype=dtype).values.tolist() == np.sum(image.values, axis=0, dtype=dtype).tolist()


def test_numpy_calls_the_methods():
    a = dp.Array1D([0.25, 1.5, 7.75], AXES[1], name="n")
    assert np.clip(a, 1, 2).identical(a.clip(1, 2)) and np.round(a, 1).identical(a.round(1))
    out = np.empty(3)
    assert np.round(a, 1, out=out) is out and np.clip(a, 1, 2, out=out) is out and out.tolist() == [1, 1.5, 2]
    assert np.ptp(a) == 7.5 and np.median(a) == 1.5 and np.cumsum(a).tolist() == [0.25, 1.75, 9.5]
    assert np.any(a > 1) and not np.all(a > 1) and np.count_nonzero(a > 1) == 2


MASKS = st.tuples(hnp.array_shapes(min_dims=1, max_dims=2, max_side=4), st.randoms()).map(
    lambda made: [np.array([made[1].random() < 0.5 for _ in range(int(np.prod(made[0])))]).reshape(made[0]) for _ in range(2)]
)
LOGIC = {
    "and": (lambda a, b: a & b, np.bitwise_and, np.logical_and), "or": (lambda a, b: a | b, np.bitwise_or, np.logical_or),
    "xor": (lambda a, b: a ^ b, np.bitwise_xor, np.logical_xor), "eq": (lambda a, b: a == b, np.equal, np.equal),
    "ne": (lambda a, b: a != b, np.not_equal, np.not_equal),
}  # fmt: skip


@given(MASKS, st.sampled_from(list(LOGIC)))
def test_masks_combine_with_masks_and_bools(pair, name):
    x, y = pair
    axes = AXES[2 - x.ndim :]
    kind = dp.Mask1D if x.ndim == 1 else dp.Mask2D
    a, b = (kind(v, axes[0] if x.ndim == 1 else axes) for v in pair)
    wanted = LOGIC[name][0](x, y)
    for operation in LOGIC[name]:
        for found in (operation(a, b), operation(a, y), operation(x, b)):
            assert type(found) is kind and found.axes == axes and np.array_equal(found.values, wanted)
    assert np.array_equal((~a).values, ~x) and np.array_equal(np.logical_not(a).values, ~x)


@given(MASKS, st.sampled_from(["any", "all"]))
def test_masks_are_reduced_as_in_numpy(pair, name):
    values = np.atleast_2d(pair[0])
    mask = dp.Mask2D(values, AXES)
    assert getattr(mask, name)() is bool(getattr(values, name)()) and getattr(np, name)(mask) == getattr(values, name)()
    for axis in (0, 1, -1, -2, (0,)):
        found = getattr(mask, name)(axis=axis)
        assert type(found) is dp.Mask1D and np.array_equal(found.values, getattr(values, name)(axis=axis))
        assert found.axis == AXES[1 if axis in (0, -2, (0,)) else 0]
    assert getattr(mask, name)(axis=0, keepdims=True).shape == (1, values.shape[1])
    assert getattr(dp.Mask1D(values[0]), name)(axis=0) is bool(getattr(values[0], name)())


def test_masks_stay_on_their_grid():
    a = dp.Array1D([1, 5, 2], AXES[1])
    other = dp.Array1D([1, 5, 2]) > 1
    for call in (lambda: (a > 1) & other, lambda: (a > 1) == other, lambda: np.add(a, 1, where=other)):
        with pytest.raises(ValueError):
            call()
    with pytest.raises(TypeError):
        hash(other)
    assert ((a > 1) == 3).values.tolist() == [False] * 3 and ((a > 1) == [1, 0, 1]).values.tolist() == [False, False, True]
    assert ((a > 1) == "x") is False and ((a > 1) == True).values.tolist() == [False, True, True]  # noqa: E712
    assert type(np.sin(a > 1)) is dp.Array1D and type(np.minimum(a > 1, a > 2)) is dp.Mask1D


@pytest.mark.parametrize("made", [dp.Array1D([1.0, 2.0]), dp.Array2D(np.ones((2, 3))), dp.Array1D([1, 5]) > 1])
def test_the_array_protocol(made):
    own = made.values.dtype
    assert np.shares_memory(made.__array__(), made.values) and np.shares_memory(made.__array__(own, copy=False), made.values)
    assert not np.shares_memory(made.__array__(copy=True), made.values)
    for other in (made.__array__("f4"), made.__array__(np.dtype("f4"), copy=True), np.asarray(made, "f4")):
        assert other.dtype == np.float32 and np.array_equal(other, made.values)
    with pytest.raises(ValueError, match="copy"):
        made.__array__("f4", copy=False)
