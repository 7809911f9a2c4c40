"""Images mapped onto a grid, and arrays that lie elsewhere: by hand, and beside the same of numpy."""

import math

import dataprocessing as dp
import numpy as np
import pytest

AXES = dp.Axis(1.0, 0.5, name="y", unit="um"), dp.Axis(-3.0, 0.25, index=-20, name="x", unit="um")
IMAGE = dp.Array2D(np.random.default_rng(2).normal(10, 3, (9, 14)), AXES, name="counts")
MIDDLE = tuple((axis.position(0) + axis.position(size - 1)) / 2 for axis, size in zip(AXES[::-1], IMAGE.shape[::-1]))


def bilinear(image, x, y):
    """The value between four elements, by the textbook."""
    row, column = image.axes[0].real_index(y), image.axes[1].real_index(x)
    i, j = math.floor(row), math.floor(column)
    u, v = row - i, column - j
    a = image.values
    return (1 - u) * ((1 - v) * a[i, j] + v * a[i, j + 1]) + u * ((1 - v) * a[i + 1, j] + v * a[i + 1, j + 1])


@pytest.mark.parametrize("warped, matrix", [
    (lambda **o: dp.rotate_to(IMAGE, 0.3, **o), [[math.cos(0.3), -math.sin(0.3)], [math.sin(0.3), math.cos(0.3)]]),
    (lambda **o: dp.resize_to(IMAGE, 1.5, 0.8, **o), [[1.5, 0], [0, 0.8]]),
    (lambda **o: dp.shear_to(IMAGE, 0.2, **o), [[1, math.tan(0.2)], [0, 1]]),
], ids=["rotate", "resize", "shear"])
@pytest.mark.parametrize("centre", [None, (-1.0, 2.5)])
def test_positions_go_where_the_map_says(warped, matrix, centre):
    made = warped(centre=centre)
    assert made.axes == IMAGE.axes and made.name == "counts"
    cx, cy = centre or MIDDLE
    inside = 0
    for row, column in np.ndindex(made.shape):
        x, y = AXES[1].position(column), AXES[0].position(row)
        fx, fy = np.linalg.solve(np.array(matrix), [x - cx, y - cy]) + (cx, cy)
        if 0 < AXES[0].real_index(fy) < 8 and 0 < AXES[1].real_index(fx) < 13:
            inside += 1
            assert made.values[row, column] == pytest.approx(bilinear(IMAGE, fx, fy), abs=1e-12)
    assert inside > 30


def test_map_to_moves_by_its_third_column():
    moved = dp.map_to(IMAGE, [[1, 0, 0.5], [0, 1, -1.0]])
    assert np.array_equal(moved.values[:-2, 2:], IMAGE.values[2:, :-2])
    assert not moved.values[-2:].any() and not moved.values[:, :2].any()


def test_a_grid_and_an_interpolation_are_taken():
    grid = dp.Array2D(np.zeros((5, 4)), (dp.Axis(2.0, 0.5), dp.Axis(3.0, 0.25)))
    for make in (
        lambda **o: dp.rotate_to(IMAGE, 0.0, **o),
        lambda **o: dp.resize_to(IMAGE, 1.0, 1.0, **o),
        lambda **o: dp.shear_to(IMAGE, 0.0, **o),
        lambda **o: dp.map_to(IMAGE, np.eye(2, 3), **o),
    ):
        for kind in ("nearest", "linear", "cubic"):
            part = make(grid=grid, interpolation=kind)
            assert part.shape == (5, 4)
            assert np.allclose(part.values, [[IMAGE.values[2 + i, 4 + j] for j in range(4)] for i in range(5)], atol=1e-12)
        with pytest.raises(ValueError, match="interpolation is one of 'nearest', 'linear', 'cubic', not 'best'"):
            make(interpolation="best")
    half = dp.Array2D(IMAGE.values, (dp.Axis(), dp.Axis()))
    shift = [[1, 0, 0.5], [0, 1, 0]]
    assert [dp.map_to(half, shift, interpolation=k).values[4, 6] for k in ("linear", "nearest")] != [0, 0]
    assert len({dp.map_to(half, shift, interpolation=k).values[4, 6] for k in ("nearest", "linear", "cubic")}) == 3


def test_what_has_no_inverse_is_refused():
    with pytest.raises(dp.DataError):
        dp.resize_to(IMAGE, 0.0, 1.0)
    with pytest.raises(dp.DataError):
        dp.map_to(IMAGE, [[1, 2, 0], [2, 4, 0]])
    with pytest.raises(dp.ProgramError):
        dp.rotate_to(IMAGE, math.nan)


# ---- Elsewhere ---------------------------------------------------------------------------------------------------------


@pytest.mark.parametrize("make", [dp.Array2D, dp.Mask2D])
def test_moved_is_elsewhere_with_the_same_elements(make):
    image = make(np.eye(3, 4), AXES)
    moved = image.moved(2.0, -0.25)
    assert np.array_equal(moved.values, image.values) and moved.values is not image.values
    assert moved.axes == (dp.Axis(0.75, 0.5, name="y", unit="um"), dp.Axis(-1.0, 0.25, index=-20, name="x", unit="um"))
    assert type(moved) is make and image.axes == AXES


def test_moved_of_a_part_is_where_the_whole_would_be():
    whole = IMAGE.moved(1.5, -0.5)
    assert IMAGE[3:, 5:].moved(1.5, -0.5).identical(whole[3:, 5:])
    line = dp.Array1D([5.0, 7.0, 9.0], dp.Axis(1.0, 2.0))[1:]
    assert line.moved(0.5).positions.tolist() == [3.5, 5.5]


@pytest.mark.parametrize("by", [(), (1.0,), (1.0, 2.0, 3.0)])
def test_moved_wants_a_distance_for_each_axis(by):
    with pytest.raises(ValueError, match=f"2 distances are needed, not {len(by)}"):
        IMAGE.moved(*by)
    with pytest.raises(ValueError, match="1 distances are needed, not 2"):
        IMAGE[0].moved(1.0, 2.0)


def test_a_registered_part_comes_back():
    y, x = np.mgrid[:90, :110] * 0.5
    scene = sum(h * np.exp(-((x - a) ** 2 + (y - b) ** 2) / 8) for a, b, h in [(22, 21, 9), (35, 30, 5), (28, 38, 7)])
    axes = dp.Axis(0.0, 0.5), dp.Axis(0.0, 0.5)
    first = dp.Array2D(scene, axes)[20:, 10:]
    second = dp.Array2D(np.roll(scene, (6, -8), (0, 1)), axes)[20:, 10:]
    shift = dp.register(second, first)
    back = second.moved(-shift.x, -shift.y)
    assert (shift.x, shift.y) == pytest.approx((-4, 3), abs=0.02)
    assert back.idxmax() == pytest.approx(first.idxmax(), abs=0.02)
