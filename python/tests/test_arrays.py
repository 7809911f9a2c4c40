"""What goes into arrays, what comes out, and which part an index takes."""

import copy
import ctypes
import gc
import pickle
import weakref

import dataprocessing as dp
import numpy as np
import pytest
from conftest import INTEGERS, REALS, SAMPLES, sample
from hypothesis import assume, given
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp


def test_the_ten_types_stay(dtype):
    a = dp.Array1D(sample(dtype))
    assert a.dtype == np.dtype(dtype)
    assert a.values.tobytes() == sample(dtype).tobytes()


@pytest.mark.parametrize(
    ("given", "kept"),
    [
        (np.array([True, False]), "u1"),
        (np.array([1.5], "f2"), "f4"),
        (np.array([1, 2], "i8"), "i4"),
        (np.array([1, 2], "u8"), "i4"),
        (np.array([2**31], "i8"), "f8"),
        (np.array([2**53], "u8"), "f8"),
        (np.array([2**60], "i8"), "f8"),
        (np.array([], "i8"), "i4"),
        ([1, 2, 3], "i4"),
        ([1.5], "f8"),
        ([1j], "c16"),
        (np.array([1, 2], ">u2"), "u2"),
        (np.array([1.5], ">f8"), "f8"),
    ],
)
def test_other_types_become_one_that_holds_them(given, kept):
    a = dp.Array1D(given)
    assert a.dtype == np.dtype(kept)
    assert np.array_equal(a.values, np.asarray(given))


@pytest.mark.parametrize("given", [[2**53 + 1], [-(2**53) - 1], np.array([2**64 - 1], "u8"), np.array([2**63 - 1])])
def test_integers_that_no_type_holds_are_refused(given):
    with pytest.raises(OverflowError):
        dp.Array1D(np.asarray(given))


@pytest.mark.parametrize("given", [["a"], [None], np.array(["2020"], "M8[Y]"), np.array([1], "g"), [{}]])
def test_what_is_no_number_is_refused(given):
    with pytest.raises(TypeError):
        dp.Array1D(given)


@pytest.mark.parametrize("shape", [(), (2, 3), (1, 1, 1)])
def test_other_dimensions_are_refused(shape):
    with pytest.raises(ValueError, match="dimension"):
        dp.Array1D(np.zeros(shape))


def test_a_dtype_that_is_asked_for_converts_as_numpy_does():
    assert dp.Array1D([1, 2], dtype="f4").dtype == np.float32
    with pytest.raises(TypeError, match="float16"):
        dp.Array1D([1], dtype="f2")


def test_strided_and_backward_values_are_taken_in_order():
    base = np.arange(24, dtype="i2").reshape(4, 6)
    assert np.array_equal(dp.Array2D(base[::2, ::-1]).values, base[::2, ::-1])
    assert np.array_equal(dp.Array2D(base.T).values, base.T)


def test_values_are_copied_in_and_seen_without_a_copy_going_out():
    given = np.array([1.0, 2.0])
    a = dp.Array1D(given)
    given[0] = 9
    assert a[0] == 1
    a.values[1] = 5
    assert a[1] == 5
    assert np.asarray(a).base is not None
    np.asarray(a)[0] = 3
    assert a.values[0] == 3


def test_a_view_outlives_its_array():
    view = dp.Array1D(np.arange(1000.0)).values
    gc.collect()
    assert np.array_equal(view, np.arange(1000.0))


class Buffer(ctypes.Structure):
    _fields_ = [("buf", ctypes.c_void_p), ("obj", ctypes.c_void_p), ("len", ctypes.c_ssize_t), ("itemsize", ctypes.c_ssize_t),
                ("readonly", ctypes.c_int), ("ndim", ctypes.c_int), ("format", ctypes.c_char_p), ("shape", ctypes.c_void_p),
                ("strides", ctypes.c_void_p), ("suboffsets", ctypes.c_void_p), ("internal", ctypes.c_void_p)]  # fmt: skip


@pytest.mark.parametrize(
    "a", [dp.Array2D(np.ones(shape)) for shape in ((2, 3), (1, 3), (3, 1), (1, 1), (0, 3), (3, 0))] + [dp.Array1D([1.0, 2.0])],
    ids=lambda a: str(a.shape),
)  # fmt: skip
@pytest.mark.parametrize("flags", [0x00, 0x08, 0x18, 0x38, 0x58, 0x98, 0x58 | 0x05, 0x58 | 0x38], ids=hex)
def test_buffers_are_given_where_numpys_are(a, flags):
    def succeeds(to):
        view = Buffer()
        try:
            ctypes.pythonapi.PyObject_GetBuffer(ctypes.py_object(to), ctypes.byref(view), flags)
        except (BufferError, ValueError) as error:  # numpy's is the latter
            assert to is not a or type(error) is BufferError
            return False
        ctypes.pythonapi.PyBuffer_Release(ctypes.byref(view))
        return True

    assert succeeds(a) == succeeds(np.ones(a.shape))


def test_a_buffer_outlives_its_array():
    view = memoryview(dp.Array2D(np.arange(12, dtype="u2").reshape(3, 4)))
    gc.collect()
    assert view.format == "H" and view.shape == (3, 4) and view.strides == (8, 2)
    assert view.tolist()[2] == [8, 9, 10, 11]


@pytest.mark.parametrize("shape", [(0,), (0, 3), (3, 0), (0, 0)])
def test_empty_arrays_keep_their_shape(shape):
    a = dp.array(np.zeros(shape, "u2"))
    assert a.shape == shape and a.values.shape == shape and np.asarray(a).shape == shape
    assert a.copy().identical(a)


def test_order_of_images_is_that_of_numpy():
    y, x = dp.Axis(1.0, 0.5), dp.Axis(-3.0, 0.25)
    image = dp.Array2D(np.arange(12).reshape(3, 4), axes=(y, x))
    assert image.shape == (3, 4) and image.axes == (y, x)
    assert image[1, 2] == 6
    assert image[1].axis == x and image[1].values.tolist() == [4, 5, 6, 7]
    assert image[:, 2].axis == y and image[:, 2].values.tolist() == [2, 6, 10]


@pytest.mark.parametrize(
    "index",
    [2, -1, slice(1, 3), slice(None), slice(-2, None), slice(3, 1), slice(0, 99), ...],
)
def test_indices_take_what_numpy_takes(index):
    a = dp.Array1D(np.arange(5.0), dp.Axis(10.0, 2.0))
    assert np.array_equal(a[index] if np.ndim(a[index]) == 0 else a[index].values, np.arange(5.0)[index])


@pytest.mark.parametrize(
    "index",
    [(1, 2), 1, (slice(1, 3), slice(0, 2)), (slice(None), -1), (..., 1), (0, ...), (...,), (slice(2), ...), ()],
)
def test_indices_of_images_take_what_numpy_takes(index):
    values = np.arange(12).reshape(3, 4)
    found = dp.Array2D(values)[index]
    assert np.array_equal(getattr(found, "values", found), values[index])


def test_slices_keep_positions():
    a = dp.Array1D(np.arange(5.0), dp.Axis(10.0, 2.0))
    part = a[2:4]
    assert part.positions.tolist() == [14.0, 16.0]
    part[0] = 99
    assert a[2] == 2


@pytest.mark.parametrize("index", [5, -6, 2**40])
def test_indices_outside_are_refused(index):
    with pytest.raises(IndexError):
        dp.Array1D(np.zeros(5))[index]


def test_positions_are_no_indices():
    a = dp.Array1D(np.zeros(5))
    with pytest.raises(IndexError, match="sel"):
        a[1.0]


def test_masks_and_lists_of_indices_give_what_numpy_gives():
    a = dp.Array1D([5, 1, 7])
    assert (a[a > 2] == [5, 7]).all()
    assert (a[[0, 2]] == [5, 7]).all()
    a[a > 2] = 0
    assert a.values.tolist() == [0, 1, 0]


# Positions are refused by arrays; all else is what numpy makes of it.
ENTRIES = st.one_of(
    st.integers(-6, 6),
    st.integers(-6, 6).map(np.int16),
    st.integers(-6, 6).map(np.array),
    st.booleans().map(np.bool_),
    st.tuples(*[st.none() | st.integers(-7, 7)] * 3).map(lambda ends: slice(*ends)),
    st.just(...),
    st.none(),
    st.lists(st.integers(-5, 5), max_size=4),
    hnp.arrays(st.sampled_from(["i8", "u1", "i2"]), hnp.array_shapes(max_dims=2, max_side=3), elements=st.integers(0, 4)),
    hnp.arrays(bool, st.sampled_from([(4,), (5,), (4, 5), ()])),
)


def outcome(call):
    try:
        found = call()
    except (IndexError, ValueError) as error:
        return IndexError if isinstance(error, IndexError) else ValueError
    return np.asarray(found).dtype, np.asarray(found).shape, np.asarray(found).tolist()


@pytest.mark.filterwarnings("ignore::DeprecationWarning")
@given(st.sampled_from([(5,), (4, 5)]), ENTRIES | st.lists(ENTRIES, max_size=3).map(tuple))
def test_indices_of_all_kinds_take_and_write_what_numpys_do(shape, index):
    values = np.arange(int(np.prod(shape)), dtype="i4").reshape(shape)
    a = dp.array(values)
    assert outcome(lambda: a[index]) == outcome(lambda: values[index])

    def written(to):
        to[index] = 99
        return to

    assert outcome(lambda: written(a)) == outcome(lambda: written(values))


def test_what_numpy_finds_is_an_index():
    a, image = dp.Array1D([5.0, 1.0, 7.0]), dp.Array2D(np.arange(6.0).reshape(2, 3))
    assert a[a.values > 2].tolist() == [5, 7] and a[np.array([0, 2])].tolist() == [5, 7]
    assert a[np.argsort(a)].tolist() == [1, 5, 7] and image[np.where(image.values > 3)].tolist() == [4, 5]
    assert image[:, np.array([0, 1])].tolist() == [[0, 1], [3, 4]]


@pytest.mark.parametrize("source", ["i8", "u8", "i4", "u4", "i2", "f4", "f8", "f2", "?"])
@pytest.mark.parametrize("dtype", INTEGERS)
def test_types_asked_for_are_made_as_conversion_makes_them(source, dtype):
    values = np.array([300, 1, 0, 41]).astype(source)
    if source[0] in "if":
        values[2] = -1
    if source[0] == "f":
        values[1:] += values.dtype.type(0.5)
    if source in ("i8", "u8"):
        values[3] = 2**62
    info = np.iinfo(dtype)
    wanted = [min(max(round(v), info.min), info.max) for v in values.tolist()]
    assert dp.Array1D(values, dtype=dtype).values.tolist() == wanted
    assert dp.array(np.array([values, values])[:, ::-1], dtype=dtype).values.tolist() == [wanted[::-1]] * 2


@pytest.mark.parametrize("dtype", INTEGERS)
@pytest.mark.parametrize("values", [300, -1, 1.7, 2.5, np.nan, np.inf, 2**40, np.float32(-3.5), True, [1.7, np.nan, 1e20]])
def test_what_is_written_is_what_conversion_makes(values, dtype):
    wanted = dp.Array1D(np.broadcast_to(np.asarray(values, "f8"), 3)).astype(dtype).values
    a = dp.Array1D(np.ones(3), dtype=dtype)
    a[...] = values
    assert a.values.tolist() == wanted.tolist()
    assert np.ndim(values) or dp.full(3, values, dtype=dtype).values.tolist() == wanted.tolist()
    image = dp.Array2D(np.ones((2, 3)), dtype=dtype)
    image[1] = values
    assert image.values.tolist() == [[1] * 3, wanted.tolist()]


@pytest.mark.parametrize("dtype", REALS)
def test_what_is_no_number_is_not_written(dtype):
    a = dp.Array1D([1, 2], dtype=dtype)
    for value in (None, np.datetime64("2020"), "x", [None, 1], 10**400):
        with pytest.raises(TypeError, match="elements of type"):
            a[0] = value
    assert a.values.tolist() == [1, 2]


@pytest.mark.parametrize("dtype", REALS)
def test_real_elements_hold_no_complex_values(dtype):
    a = dp.Array1D([1, 2], dtype=dtype)
    for value in (1j, np.array([1j, 2])):
        with pytest.raises(TypeError, match="real elements"):
            a[:] = value
    assert a.values.tolist() == [1, 2]


def test_masks_and_arrays_give_each_other_their_axes():
    axis = dp.Axis(3.0, 0.5, name="x")
    a = dp.Array1D([1, 2], axis)
    assert dp.Array1D(a > 1).axis == axis and dp.Mask1D(a).axis == axis
    image = dp.Array2D(np.eye(2), (axis, dp.Axis(1.0)))
    assert dp.Array2D(image > 0).axes == image.axes == dp.Mask2D(image).axes


def test_steps_give_the_elements_alone():
    a, image = dp.Array1D([1, 2, 3]), dp.Array2D(np.arange(6.0).reshape(2, 3))
    assert type(a[::-1]) is np.ndarray and np.flip(a).tolist() == [3, 2, 1]
    assert np.flip(image).tolist() == np.flip(image.values).tolist() and image[0, ::2].tolist() == [0, 2]


@pytest.mark.parametrize("at", [[1, 1, 7, 8.5], [[0.25, 3.0]], [], np.array([2, 3], "i4"), np.zeros((0, 3))])
@pytest.mark.parametrize("interpolate", [True, False])
def test_values_at_many_positions_are_those_at_each(at, interpolate, dtype):
    a = dp.Array1D(np.arange(1, 6), dp.Axis(1.0, 2.0), dtype=dtype)
    found = a.at(at, interpolate)
    wanted = [a.at(float(x), interpolate) for x in np.ravel(at)]
    assert found.shape == np.shape(at) and found.ravel().tolist() == wanted
    assert found.dtype == (wanted[0].dtype if wanted else found.dtype)
    with pytest.raises(IndexError):
        a.at([1.0, np.nan], interpolate)


def test_writing_by_index():
    image = dp.Array2D(np.zeros((2, 3)))
    image[1, :2] = 4
    image[0, 2] = 9
    assert image.values.tolist() == [[0, 0, 9], [4, 4, 0]]


def test_selection_by_position():
    a = dp.Array1D([12, 15, 90, 15, 11], dp.Axis(6.2, 0.1))
    assert a.sel(6.35, 6.55).values.tolist() == [90, 15]
    assert a.sel(6.35, 6.55, rule="floor").values.tolist() == [15, 90]
    assert a.sel(6.35, 6.55, rule="outer").values.tolist() == [15, 90, 15]
    assert a.sel(dp.Range(6.35, 6.55), rule="ceiling").values.tolist() == [90, 15]
    assert a.sel(0, 99).size == 5
    assert a.sel(6.0, 6.3, outside="zero").values.tolist() == [0, 0, 12]
    with pytest.raises(IndexError):
        a.sel(6.0, 6.3, outside="raise")
    with pytest.raises(ValueError, match="rule"):
        a.sel(1, 2, rule="round")


def test_selection_of_an_image_by_position():
    image = dp.Array2D(np.arange(20).reshape(4, 5), axes=(dp.Axis(0, 0.5), dp.Axis(10, 1)))
    part = image.sel(dp.Rect(11, 0.5, 13, 1.5))
    assert part.values.tolist() == [[6, 7], [11, 12]]
    assert part.rect == dp.Rect(11, 0.5, 13, 1.5)


@pytest.mark.parametrize("protocol", range(2, pickle.HIGHEST_PROTOCOL + 1))
@pytest.mark.parametrize("shape", [(5,), (0,), (3, 4), (0, 4)])
def test_pickles_keep_everything(protocol, shape, dtype):
    axes = tuple(dp.Axis(1.5, 0.25, 3, "axis", "mm") for _ in shape)
    values = np.resize(np.array(SAMPLES[dtype], dtype), shape)
    a = dp.array(values, axes[0] if len(shape) == 1 else axes, name="n", unit="u")
    assert pickle.loads(pickle.dumps(a, protocol)).identical(a)


def test_pickles_out_of_band_do_not_copy():
    a = dp.Array1D(np.arange(1000.0))
    buffers = []
    data = pickle.dumps(a, 5, buffer_callback=buffers.append)
    assert len(buffers) == 1 and len(data) < 1000
    assert pickle.loads(data, buffers=buffers).identical(a)


def test_masks_are_pickled():
    mask = dp.Array1D([1, 5], dp.Axis(2.0)) > 3
    found = pickle.loads(pickle.dumps(mask))
    assert found.values.tolist() == [False, True] and found.axis == mask.axis


def test_copies_are_independent():
    a = dp.Array1D([1.0, 2.0], name="n")
    for made in (a.copy(), copy.copy(a), copy.deepcopy(a), dp.Array1D(a)):
        assert made.identical(a)
        made[0] = 7
        assert a[0] == 1


def test_identity_is_of_bits_types_axes_and_labels():
    a = dp.Array1D([0.0, 1.0])
    assert a.identical(dp.Array1D([0.0, 1.0]))
    assert not a.identical(dp.Array1D([-0.0, 1.0]))
    assert not a.identical(dp.Array1D([0.0, 1.0], dtype="f4"))
    assert not a.identical(dp.Array1D([0.0, 1.0], dp.Axis(1)))
    assert not a.identical(dp.Array1D([0.0, 1.0], name="n"))
    assert not a.identical(np.array([0.0, 1.0]))


def test_subclasses_work_and_are_pickled():
    a = Spectrum([1, 2, 3])
    a.detector = "d"
    assert (a + 1).values.tolist() == [2, 3, 4] and (1 - a).values.tolist() == [0, -1, -2]
    assert (a > 1).count() == 2 and (-a)[0] == -1
    again = pickle.loads(pickle.dumps(a))
    assert type(again) is Spectrum and again.detector == "d" and again.identical(a)


class Spectrum(dp.Array1D):
    """A subclass as users write them."""


def test_arrays_can_be_referred_to_weakly():
    a = Spectrum([1.0])
    reference = weakref.ref(a)
    del a
    gc.collect()
    assert reference() is None


def test_arrays_have_no_hash_and_no_truth():
    with pytest.raises(TypeError):
        hash(dp.Array1D([1]))
    with pytest.raises(ValueError, match="truth"):
        bool(dp.Array1D([1]))
    with pytest.raises(ValueError, match="truth"):
        bool(dp.Array1D([1]) == 1)


def test_numpy_and_iteration():
    a = dp.Array1D([1.5, 2.5])
    assert list(a) == [1.5, 2.5] and len(a) == 2
    assert np.concatenate([a, a]).tolist() == [1.5, 2.5, 1.5, 2.5]
    assert np.asarray(a, dtype="f4").dtype == np.float32
    assert np.array(a).base is None


class TestAxis:
    def test_positions(self):
        axis = dp.Axis(6.2, 0.1, 2)
        assert axis.position(2) == 6.2 and axis.position(3) == 6.2 + 0.1
        assert axis.positions(3).tolist() == [6.2 + -2 * 0.1, 6.2 + -0.1, 6.2]
        assert axis.edges(2).size == 3 and axis.nearest(6.31) == 3

    def test_it_never_changes(self):
        with pytest.raises(AttributeError):
            dp.Axis().offset = 1

    def test_equality_hash_and_pickle(self):
        axis = dp.Axis(1, 2, 3, "n", "u")
        assert axis == pickle.loads(pickle.dumps(axis)) and hash(axis) == hash(dp.Axis(1, 2, 3, "n", "u"))
        assert axis != dp.Axis(1, 2, 3) and axis != 5 and eval(repr(axis), {"Axis": dp.Axis}) == axis

    def test_is_found_from_rounded_positions(self):
        exact = dp.Axis(-0.2, 0.0098).positions(1017)  # printed with two decimals
        axis = dp.Axis.from_positions(np.round(exact, 2), tolerance=0.6)
        assert abs(axis.delta - 0.0098) < 1e-5 and np.abs(axis.positions(1017) - np.round(exact, 2)).max() <= 0.6 * axis.delta
        with pytest.raises(ValueError, match="off the straight line"):
            dp.Axis.from_positions(np.round(exact, 2), tolerance=0.3)

    @given(st.floats(-10, 10), st.floats(0.1, 3), st.booleans(), st.integers(2, 60))
    def test_is_found_wherever_there_is_a_line(self, offset, delta, is_downward, count):
        written = np.round((offset + delta * np.arange(count)) * (-1 if is_downward else 1), 1)
        assume(written[0] != written[-1])
        step = abs(written[-1] - written[0]) / (count - 1)
        axis = dp.Axis.from_positions(written, tolerance=0.0501 / step)
        assert np.abs(axis.positions(count) - written).max() <= 0.0502

    @pytest.mark.parametrize("delta", [0.01, 0.1, 0.005, -0.05, 25.0, 1 / 3])
    @pytest.mark.parametrize("kind", ["f4", "f8"])
    def test_is_found_from_positions(self, delta, kind):
        x = (6.2 + delta * np.arange(2000)).astype(kind)
        axis = dp.Axis.from_positions(x)
        assert np.abs(axis.positions(2000) - x).max() <= 1e-3 * abs(delta)
        if delta != 1 / 3:
            assert axis.delta == delta

    @pytest.mark.parametrize("digits", [0.01, 0.02, 0.005])
    @pytest.mark.parametrize("first, delta, count", [(-0.2, 0.0098, 1017), (5.0, -0.0131, 300), (1e3, 0.3123, 150)])
    def test_is_found_from_rounded_positions(self, first, delta, count, digits):
        """The line that made them is within half a digit of all of them, whatever the ends were rounded to."""
        x = np.round((first + delta * np.arange(count)) / digits) * digits
        tolerance = 1.02 * digits / 2 / abs(delta)
        axis = dp.Axis.from_positions(x, tolerance)
        assert np.abs(axis.positions(count) - x).max() <= tolerance * abs(delta) * 1.05
        with pytest.raises(ValueError, match="off the straight line"):
            dp.Axis.from_positions(x, tolerance / 3)

    @given(hnp.arrays("i4", st.integers(2, 30), elements=st.integers(-50, 50)), st.floats(0.1, 3.0))
    def test_a_line_is_found_where_there_is_one(self, off, tolerance):
        """Beside the line that a linear program finds nearest to all positions."""
        linprog = pytest.importorskip("scipy.optimize").linprog
        i = np.arange(len(off))
        x = 10.0 * i + off
        ones = np.ones(len(i))
        rows = np.concatenate([np.stack([ones, i, -ones], 1), np.stack([-ones, -i, -ones], 1)])
        found = linprog([0, 0, 1], rows, np.concatenate([x, -x]), bounds=[(None, None), (None, None), (0, None)])
        within = tolerance * abs(x[-1] - x[0]) / (len(x) - 1)
        try:
            axis = dp.Axis.from_positions(x, tolerance)
        except ValueError:
            assert found.fun > within * (1 - 1e-6) or x[0] == x[-1]
        else:
            assert np.abs(axis.positions(len(x)) - x).max() <= within * (1 + 1e-9)

    @pytest.mark.parametrize("x", [[], [0, 1, 3], [0, np.nan, 2], [1, 1, 1], [[0, 1]]])
    def test_is_not_found_where_there_is_none(self, x):
        with pytest.raises(ValueError):
            dp.Axis.from_positions(np.array(x, dtype="f8"))


@pytest.mark.parametrize("kind", [dp.Array1D, dp.Array2D, dp.Mask1D, dp.Mask2D])
def test_what_is_left_to_numpy(kind):
    """Its functions see elements, and += binds a new array."""
    assert not issubclass(kind, np.ndarray)
    for name in ("__array_function__", "__array_namespace__", "__iadd__", "__isub__", "__imul__", "__itruediv__", "__ipow__", "__iand__"):
        assert not hasattr(kind, name)
