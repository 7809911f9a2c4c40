"""Arithmetic and comparisons: types, numbers beside arrays, and what Python corrects."""

import decimal
import enum
import fractions
import operator
import warnings

import dataprocessing as dp
import numpy as np
import pytest
from conftest import DTYPES, INTEGERS, REALS, sample
from hypothesis import given
from hypothesis import strategies as st

ORDER = {name: code for code, name in enumerate(DTYPES, 1)}
NAME = {code: name for name, code in ORDER.items()}


def promoted(a, b, operation):
    """The table of docs/types.md, said once more: array with array, uint32 never int32."""
    low, high = sorted((ORDER[a], ORDER[b]))
    additive = operation in "+-"
    if a in ("u1", "i1") and b in ("u1", "i1"):
        return "i2" if additive else "i4" if operation == "*" else "f4"
    if {a, b} <= {"u1", "i1", "u2", "i2"}:
        return "i4" if additive else "f4"
    if high >= 9 and low == 8:
        return "c16"
    if high >= 7:
        return NAME[high]
    if a == b == "u4" and operation == "+":
        return "u4"
    if "u4" in (a, b):
        return "f8"
    return "i4" if additive else "f8"


OPERATIONS = {"+": operator.add, "-": operator.sub, "*": operator.mul, "/": operator.truediv}


@pytest.mark.parametrize("symbol", OPERATIONS)
@pytest.mark.parametrize("a", DTYPES)
@pytest.mark.parametrize("b", DTYPES)
def test_arrays_with_arrays_have_the_type_of_the_table(a, b, symbol):
    left, right = dp.Array1D(np.ones(3, a)), dp.Array1D(np.ones(3, b))
    assert OPERATIONS[symbol](left, right).dtype == np.dtype(promoted(a, b, symbol))


@pytest.mark.parametrize("symbol", "+-*")
@pytest.mark.parametrize("a", INTEGERS)
@pytest.mark.parametrize("b", INTEGERS)
def test_integers_give_what_integers_give(a, b, symbol):
    x, y = sample(a), sample(b)
    found = OPERATIONS[symbol](dp.Array1D(x), dp.Array1D(y)).values
    exact = [OPERATIONS[symbol](int(p), int(q)) for p, q in zip(x, y)]
    if found.dtype.kind in "iu":
        width = 8 * found.dtype.itemsize
        assert [int(v) % 2**width for v in found] == [v % 2**width for v in exact]
    else:
        assert np.array_equal(found, np.array(exact, dtype=found.dtype))


@pytest.mark.parametrize(
    ("dtype", "number", "becomes"),
    [
        ("u1", 5, "u1"), ("u1", -5, "i1"), ("u1", 300, "i4"), ("u1", 2**31, "f8"), ("u1", True, "u1"),
        ("u2", -1, "i2"), ("u2", 70000, "i4"), ("u4", 2**32 - 1, "u4"), ("u4", -1, "i4"), ("i1", 127, "i1"),
        ("i1", 128, "i4"), ("i2", -40000, "i4"), ("i4", 2**31, "f8"), ("i4", 2**60, "f8"), ("f4", 3, "f4"),
        ("f8", 3, "f8"), ("c8", 3, "f4"), ("c16", 3, "f8"), ("u1", 0.5, "f8"), ("i4", 0.5, "f8"), ("f4", 0.1, "f4"),
        ("c8", 0.1, "f4"), ("f8", 0.1, "f8"), ("u1", 1j, "c16"), ("f4", 1j, "c8"), ("c8", 1j, "c8"), ("f8", 1j, "c16"),
        ("f4", np.float64(0.1), "f8"), ("u1", np.int8(3), "i1"), ("f4", np.array(0.1), "f8"), ("u1", np.int64(3), "i4"),
        ("u1", np.float16(3), "f4"), ("u1", np.bool_(True), "u1"),
    ],
)  # fmt: skip
def test_numbers_take_the_type_of_the_table(dtype, number, becomes):
    a = dp.Array1D(np.ones(5, dtype))
    assert (a + number).dtype == np.dtype(promoted(dtype, becomes, "+"))
    assert (number + a).dtype == np.dtype(promoted(becomes, dtype, "+"))
    assert dp._core.number_dtype(number, dtype) == np.dtype(becomes)


@pytest.mark.parametrize("number", [2**53 + 1, -(2**53) - 1, 10**400])
def test_integers_that_no_type_holds_are_refused(number):
    with pytest.raises(OverflowError):
        dp.Array1D(np.ones(3, "i4")) + number
    with pytest.raises(OverflowError):
        number - dp.Array1D(np.ones(3, "u1"))


@given(st.sampled_from(["u1", "i1", "u2", "i2", "i4", "f4"]), st.integers(1, 40), st.integers(-100, 100))
def test_a_number_minus_an_array_is_that(dtype, n, number):
    values = (np.arange(n) * 7 - (0 if dtype[0] == "u" else 50)).astype(dtype)
    found = number - dp.Array1D(values)
    assert np.array_equal(found.values.astype("f8"), number - values.astype("f8"))


@given(st.integers(2**24, 2**31 - 1), st.sampled_from("+-*"), st.integers(1, 9))
def test_numbers_beyond_24_bits_keep_all_of_them(number, symbol, n):
    values = np.arange(n, dtype="i4")
    with np.errstate(over="ignore"):
        expected = OPERATIONS[symbol](values.astype("i8"), number)
    found = OPERATIONS[symbol](dp.Array1D(values), number).values
    if symbol == "*":
        assert np.array_equal(found, expected.astype("f8"))
    else:
        assert np.array_equal(found.astype("i8") % 2**32, expected % 2**32)


@pytest.mark.parametrize("a", REALS)
@pytest.mark.parametrize("b", REALS)
@pytest.mark.parametrize("name", ["eq", "ne", "gt", "ge", "lt", "le"])
def test_comparisons_see_the_values_that_there_are(a, b, name):
    x, y = np.repeat(sample(a), 5), np.tile(sample(b), 5)
    compare = getattr(operator, name)
    found = compare(dp.Array1D(x), dp.Array1D(y)).values
    exact = [compare(p.item(), q.item()) for p, q in zip(x, y)]
    if {a, b} == {"f4", "f8"} or a == b or "f4" not in (a, b):
        assert found.tolist() == exact
    else:
        wide = "f8" if np.dtype(a).itemsize + np.dtype(b).itemsize == 8 else "f4"
        assert np.array_equal(found, compare(x.astype(wide), y.astype(wide)))


def test_masks_lie_where_the_data_do():
    axis = dp.Axis(6.2, 0.1, unit="keV")
    a = dp.Array1D([1, 5, 2], axis)
    assert (a > 1).axis == axis and (1 < a).axis == axis
    b = dp.Array1D([1, 5], dp.Axis(6.3, 0.1))
    mask = a == b
    assert mask.positions == pytest.approx([6.2, 6.3, 6.4]) and mask.values.tolist() == [False, False, False]


def test_empty_operands_keep_type_and_axis():
    axis = dp.Axis(1.0, 0.5)
    e = dp.Array1D(np.zeros(0, "u1"), axis)
    assert (e + e).dtype == np.int16 and (e * 2.5).dtype == np.float64 and (e + 1).axis == axis
    assert (e > 1).shape == (0,) and (e == e).shape == (0,)
    assert (dp.Array2D(np.zeros((0, 3))) < 1).shape == (0, 3)


def test_division_by_zero_is_refused():
    a = dp.Array1D([1.0, 0.0])
    for call in (lambda: 1 / a, lambda: a / 0, lambda: a / a, lambda: a / [1, 0]):
        with pytest.raises(ZeroDivisionError) as caught:
            call()
        assert isinstance(caught.value, dp.DivisionByZeroError) and caught.value.unit == "binary1"
        assert caught.value.line in (475, 514, 553)


def test_arrays_lists_and_strangers():
    a = dp.Array1D([1, 2, 3], dp.Axis(5.0))
    assert (a + np.array([1, 1, 1])).axis == a.axis
    assert (a + [1, 1, 1]).values.tolist() == [2, 3, 4]
    assert (np.array([1, 1, 1]) + a).axis == a.axis and type(np.ones(3) * a) is dp.Array1D
    assert (np.array([5, 5, 5]) - a).values.tolist() == [4, 3, 2]
    with pytest.raises(ValueError):
        a + [1, 2]
    with pytest.raises(TypeError):
        a + dp.Array2D(np.zeros((3, 3)))
    with pytest.raises(TypeError):
        a + "1"
    with pytest.raises(TypeError):
        a + None
    assert (a == None) is False and (a != None) is True  # noqa: E711


NUMBERS = [fractions.Fraction(1, 2), decimal.Decimal(1), enum.IntEnum("E", "A").A, np.longdouble(1)]


@pytest.mark.parametrize("number", NUMBERS, ids=lambda x: type(x).__name__)
@pytest.mark.parametrize("symbol", [operator.eq, operator.ne, operator.lt, operator.add], ids=lambda f: f.__name__)
def test_numbers_of_other_kinds_are_refused(number, symbol):
    for a in (dp.Array1D([1, 2]), dp.Array2D([[1.0]])):
        with pytest.raises(TypeError):
            symbol(a, number)
    if symbol in (operator.eq, operator.ne):
        assert symbol(dp.Array1D([1, 2]) > 1, number).values.tolist() == symbol(np.array([False, True]), number).tolist()


def test_rows_are_broadcast_over_images():
    image = dp.Array2D(np.ones((2, 3)))
    assert (image + [1, 2, 3]).values.tolist() == [[2, 3, 4], [2, 3, 4]]
    assert (image * np.array([[2], [3]])).values.tolist() == [[2, 2, 2], [3, 3, 3]]


def test_those_with_methods_of_their_own_decide():
    class Stranger:
        __array_ufunc__ = None

        def __radd__(self, other):
            return "mine"

        def __add__(self, other):
            return "mine"

    a = dp.Array1D([1])
    assert a + Stranger() == "mine" and Stranger() + a == "mine"
    for one in (a, a > 0):  # Python would make False of two that do not understand each other
        for compare in (operator.eq, operator.ne):
            with pytest.raises(TypeError, match="is not compared with an object of .*Stranger"):
                compare(one, Stranger())
    Stranger.__eq__ = lambda self, other: "equal"
    assert (a == Stranger()) == ((a > 0) == Stranger()) == "equal"
    masked = np.ma.masked_array([1, 2], mask=[True, False])
    assert isinstance(dp.Array1D([1, 2]) + masked, np.ma.MaskedArray)


def test_assignment_binds_a_new_array():
    a = b = dp.Array1D(np.array([1, 2], "u1"))
    a += a
    assert a.dtype == np.int16 and b.dtype == np.uint8 and b.values.tolist() == [1, 2]
    values = np.ones(2)
    same = values
    values += b
    assert values is same and type(values) is np.ndarray and values.tolist() == [2, 3]


def test_alignment_is_automatic():
    a = dp.Array1D([1.0, 1.0, 1.0, 1.0], dp.Axis(0, 0.5))
    b = dp.Array1D([10.0, 20.0], dp.Axis(0.5, 1.0))
    total = a + b
    assert total.axis.delta == 0.5 and total.values.tolist() == [1, 11, 16, 21, 20]


def test_exact_alignment_refuses():
    a, b = dp.Array1D([1.0]), dp.Array1D([1.0], dp.Axis(0.5))
    with dp.alignment("exact"):
        with pytest.raises(ValueError, match="exact"):
            a + b
        with pytest.raises(ValueError, match="exact"):
            a < b
        assert (a + dp.Array1D([1.0], dp.Axis(1.0, 1.0, 1)))[0] == 2
    a + b
    with pytest.raises(ValueError):
        dp.alignment("sometimes")


def test_doubtful_alignment_warns():
    a = dp.Array1D(np.ones(10), dp.Axis(0, 0.1))
    with pytest.warns(dp.AlignmentWarning, match="millionth"):
        a + dp.Array1D(np.ones(10), dp.Axis(0, 0.1 * (1 + 1e-9)))
    with pytest.warns(dp.AlignmentWarning, match="do not meet"):
        a + dp.Array1D(np.ones(10), dp.Axis(7, 0.1))
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        a + dp.Array1D(np.ones(10), dp.Axis(0.5, 0.1))


def test_labels_survive_where_all_agree():
    keV = dp.Axis(unit="keV", name="energy")
    a = dp.Array1D([1.0], keV, name="counts", unit="1")
    b = dp.Array1D([2.0], dp.Axis())
    total = a + b
    assert total.axis.unit == "keV" and total.axis.name == "energy" and total.unit == "1" and total.name == ""
    assert (a + a).name == "counts" and (a * 2).unit == "1" and (a * a).unit == "" and (1 / a).unit == ""
    with pytest.raises(dp.UnitError, match="keV and eV"):
        a + dp.Array1D([1.0], dp.Axis(unit="eV"))
    with pytest.raises(dp.UnitError):
        a - dp.Array1D([1.0], keV, unit="s")
    assert (a / dp.Array1D([1.0], keV, unit="s")).unit == ""


def test_signs():
    a = dp.Array1D(np.array([2**31 - 1, -5], "i4"))
    assert (-a).values.tolist() == [-(2**31 - 1), 5] and (-a).dtype == np.float64
    assert (+a).identical(a) and (+a) is not a
    assert str(abs(dp.Array1D([0.0, -0.0, -2.0])).values.tolist()) == "[0.0, 0.0, 2.0]"


def test_floor_division_and_remainder_are_those_of_numpy():
    a = dp.Array1D([7, -7], dp.Axis(2.0))
    assert (a // 2).values.tolist() == [3, -4] and (a % 4).values.tolist() == [3, 1] and (a // 2).axis == a.axis
    assert (20 // a).values.tolist() == [2, -3]
    for found, numpys in ((divmod(a, 4), divmod(a.values, 4)), (divmod(20, a), divmod(20, a.values))):
        assert [one.values.tolist() for one in found] == [one.tolist() for one in numpys] and found[0].axis == a.axis


def test_multiples_keep_the_quantity():
    a = dp.Array1D([1.0, 2.0], dp.Axis(3.0), name="n", unit="m")
    for found in (a // 2, a % 2, np.multiply(a, 2, dtype="f4"), np.multiply(2, a, dtype="f4"), np.divide(a, 2, where=[True, True]), divmod(a, 2)[0]):
        assert (found.name, found.unit) == ("n", "m")
    for found in (2 // a, np.divide(2, a, dtype="f4"), np.multiply(a, a, dtype="f4"), np.power(a, 2, dtype="f4"), np.multiply(a, [1, 2], dtype="f4")):
        assert (found.name, found.unit) == ("", "")
    assert np.multiply.reduce(a) == 2.0 and np.multiply.outer(a, [1.0]).tolist() == [[1.0], [2.0]]


@given(st.lists(st.floats(width=32, allow_nan=False, allow_infinity=False), min_size=1, max_size=20))
def test_floats_add_as_in_numpy(values):
    x = np.array(values, "f4")
    with np.errstate(all="ignore"):
        assert (dp.Array1D(x) + dp.Array1D(x[::-1])).values.tobytes() == (x + x[::-1]).tobytes()
        assert (3.5 - dp.Array1D(x)).values.tobytes() == (np.float32(3.5) - x).tobytes()


def unaligned(values):
    raw = np.zeros(values.nbytes + 1, "u1")[1:].view(values.dtype).reshape(values.shape)
    raw[...] = values
    assert not raw.flags.aligned
    return raw


WAYS = {
    "as it is": lambda v: v, "backwards": lambda v: v[::-1].copy()[::-1], "other byte order": lambda v: v.byteswap().newbyteorder(),
    "unaligned": unaligned, "columns first": np.asfortranarray, "list": np.ndarray.tolist, "other width": lambda v: v.astype({"f4": "f8", "f8": "f4", "c8": "c16"}[v.dtype.str[1:]]),
    "integers": lambda v: np.clip(4 * v, 1, 100).astype("i2"),
}  # fmt: skip


@pytest.mark.parametrize("symbol", [*OPERATIONS, "**"])
@pytest.mark.parametrize("way", WAYS)
@pytest.mark.parametrize("dtype", ["f4", "f8", "c8"])
@pytest.mark.parametrize("shape", [(1,), (37,), (5, 7)])
def test_ndarrays_give_what_arrays_of_them_give(shape, dtype, way, symbol):
    operation = {**OPERATIONS, "**": operator.pow}[symbol]
    x, y = (np.random.default_rng(seed).uniform(0.5, 2, shape).astype(dtype) for seed in (1, 2))
    a = dp.array(x, name="a", unit="V")
    if dtype != "c8":
        x.flat[0], y.flat[-1] = np.inf, -np.inf
    elif way == "integers":
        y = y.real.copy()
    given = WAYS[way](y)
    other = dp.array(given if way != "list" else np.array(given))
    assert operation(a, given).identical(operation(a, other))
    assert operation(given, a).identical(operation(other, a))
    assert type(operation(given, a)) is type(a)


@pytest.mark.parametrize("dtype", ["f4", "f8"])
def test_zeros_in_ndarrays_are_refused_as_those_of_arrays_are(dtype):
    a, zeros = dp.Array1D(np.ones(3, dtype)), np.array([1, -0.0, 2], dtype)
    with pytest.raises(dp.DivisionByZeroError) as of_arrays:
        a / dp.Array1D(zeros)
    with pytest.raises(dp.DivisionByZeroError) as of_elements:
        a / zeros
    assert (of_elements.value.unit, of_elements.value.line) == (of_arrays.value.unit, of_arrays.value.line)
    assert (zeros / a).values.tolist() == [1, 0, 2]
    with pytest.raises(ValueError):
        a + np.ones(4, dtype)
    with pytest.raises(dp.DivisionByZeroError):
        np.ones(3, dtype) / dp.Array1D(zeros)
