"""What happens where arrays, masks and the units of both meet: in operators, functions, indices and where=."""

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


@pytest.mark.parametrize("use", list(masked()))
def test_masked_elements_are_refused(use):
    with pytest.raises(TypeError, match="filled"):
        use()


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
