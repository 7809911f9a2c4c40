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


@pytest.mark.parametrize("axis", [dp.Axis(1.0, 0.5), dp.Axis(0.0, 0.5, index=-2), dp.Axis(1.0, 0.5, index=3)])
def test_profiles_start_at_zero_wherever_the_image_lies(axis):
    image = dp.Array2D(np.tile(np.arange(8.0), (6, 1)), (dp.Axis(0.0, 0.5), axis))[:, 1:]
    left = axis.position(3)
    for profile in (dp.project(image, dp.Rect(left, 0, left + 2, 2)), dp.line_scan(image, (left, 1), (left + 2, 1))):
        assert profile.axis == dp.Axis(0.0, 0.5) and profile.values.tolist() == [3, 4, 5, 6]


LINES = [((3, 2), (9, 2)), ((9, 2), (3, 2)), ((4, 1), (4, 7)), ((4, 7), (4, 1)), ((3, 1), (9, 6)), ((9, 6), (3, 1)), ((3, 6), (8, 1))]


@pytest.mark.parametrize("deltas", [(0.25, 0.25), (0.1, 0.25), (0.4, 0.25), (-0.4, 0.25), (0.25, -0.1)])
@pytest.mark.parametrize("line", LINES)
@pytest.mark.parametrize("dtype", ["f8", "f4", "i4", "u2"])
def test_profiles_are_those_between_their_points(line, deltas, dtype):
    """Of planes, whose values along a straight line are known."""
    y, x = (dp.Axis(5.0 - 5.0 * np.sign(d) - 40 * d, d, index=-40) for d in deltas)
    rows, columns = np.meshgrid(y.positions(math.ceil(10 / abs(y.delta))), x.positions(math.ceil(12 / abs(x.delta))), indexing="ij")
    (x1, y1), (x2, y2) = line
    length = math.hypot(x2 - x1, y2 - y1)
    coarse = max(map(abs, deltas))
    for plane, first, last in ((columns, x1, x2), (rows, y1, y2)):
        image = dp.Array2D((plane * 1000).astype(dtype), (y, x), name="n")
        profile = dp.line_scan(image, *line, width=0.5)
        fine = dp.Rect.turned((x1 + x2) / 2, (y1 + y2) / 2, length, 0.5, math.atan2(y2 - y1, x2 - x1))
        assert profile.axis.position(0) == 0 and profile.name == "n"
        assert profile.axis.position(profile.size) == pytest.approx(length, abs=coarse)
        wanted = first + (last - first) * profile.positions / length
        assert np.abs(profile.values / 1000 - wanted).max() <= 1.1 * coarse
        assert fine.angle == 0 or np.allclose(dp.project(image, fine).values, profile.values, rtol=1e-5, atol=1e-3)


def test_profiles_of_different_deltas_are_at_the_finer_one():
    image = dp.Array2D(np.repeat(np.arange(10, dtype="u1")[:, None], 20, axis=1), (dp.Axis(0.0, 0.4), dp.Axis(0.0, 0.2)))
    profile = dp.line_scan(image, (2.0, 0.8), (2.0, 2.4))
    assert profile.axis.delta == 0.2 and profile.values.tolist() == [2, 2.5, 3, 3.5, 4, 4.5, 5, 5.5]
    there, back = (dp.line_scan(dp.Array2D(image.values.T.copy(), image.axes[::-1]), *points) for points in [((0.8, 2), (2.4, 2)), ((2.4, 2), (0.8, 2))])
    assert there.axis == back.axis == dp.Axis(0.0, 0.4) and there.values.tolist() == [2, 3, 4, 5] and back.values.tolist() == [6, 5, 4, 3]


def test_profiles_outside_are_as_long_as_their_line():
    uneven, even = (dp.Array2D(np.ones((9, 9)), (dp.Axis(0.0, delta), dp.Axis(0.0, 0.5))) for delta in (0.25, 0.5))
    for line in (((20, 20), (22, 25)), ((-20, 2), (-20, 9)), ((3, 30), (3, 20))):
        for image in (uneven, even):
            profile = dp.line_scan(image, *line)
            assert not profile.values.any() and profile.range.end == pytest.approx(math.dist(*line), abs=0.5)
    with pytest.raises(dp.DataProcessingError):
        dp.line_scan(dp.Array2D(np.ones((0, 9)), uneven.axes), (0, 0), (1, 1))


def test_a_ridge_is_found_where_it_is():
    y, x = dp.Axis(0.0, 0.25), dp.Axis(-12.5, 0.4)
    rows, columns = np.meshgrid(y.positions(400), x.positions(200), indexing="ij")
    away = (columns - 24) * math.cos(0.5) + (rows - 50) * math.sin(0.5)  # along the line through (24, 50)
    image = dp.Array2D(80 * np.exp(-(((away - 4.0) / 1.5) ** 2)), (y, x))
    start, end = (24.0, 50.0), (24 + 15 * math.cos(0.5), 50 + 15 * math.sin(0.5))
    profile = dp.line_scan(image, start, end, 6.0)
    centre = float((profile.positions * profile.values).sum() / profile.sum())
    assert centre == pytest.approx(4.0, abs=0.1) and profile.max() == pytest.approx(80, abs=2)


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
