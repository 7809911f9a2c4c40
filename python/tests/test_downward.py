"""Axes that run downward, as binding energies do: beside the same elements in the opposite order, on axes that run upward."""

import math

import dataprocessing as dp
import numpy as np
import pytest

RNG = np.random.default_rng(7)
Y, X = dp.Axis(1.0, 0.5, index=3, name="y"), dp.Axis(-2.0, 0.5, index=-2, name="x", unit="mm")
UPWARD = dp.Array2D(RNG.normal(10, 3, (9, 13)), (Y, X), name="n", unit="counts")
DIRECTIONS = [(True, False), (False, True), (True, True)]


def turned(image, which):
    """The same elements at the same positions, on axes that run the other way."""
    axes = [
        # The origin, which warps turn about, is where it was.
        dp.Axis(a.offset, -a.delta, round((a.position(n - 1) - a.offset) / a.delta), a.name, a.unit) if t else a
        for a, n, t in zip(image.axes, image.shape, which)
    ]
    for own, made, n, t in zip(image.axes, axes, image.shape, which):
        assert own.positions(n).tolist() == made.positions(n)[:: -1 if t else 1].tolist() and own.offset == made.offset
    flipped = np.flip(image.values, [axis for axis in (0, 1) if which[axis]])
    return dp.Array2D(flipped, tuple(axes), name=image.name, unit=image.unit)


def same(found, upward, which):
    """Whether both have the same elements at the same positions."""
    back = np.flip(found.values, [axis for axis in (0, 1) if which[axis]])
    assert [axis.delta < 0 for axis in found.axes] == list(which)
    assert np.array_equal(back, upward.values) and (found.name, found.unit) == ("n", "counts")
    for axis, own, size, down in zip(found.axes, upward.axes, upward.shape, which):
        positions = axis.positions(size)[:: -1 if down else 1]
        assert np.allclose(positions, own.positions(size), rtol=0, atol=1e-12)
        assert (axis.name, axis.unit) == (own.name, own.unit)


WARPS = {
    "rotate": lambda a: dp.rotate(a, 0.3), "quarter": lambda a: dp.rotate(a, math.pi / 2), "nothing": lambda a: dp.rotate(a, 0.0),
    "shear": lambda a: dp.shear(a, 0.4, 0.2), "resize": lambda a: dp.resize(a, 1.5, -2.0), "flip": dp.flip,
    "mirror": lambda a: dp.flip(a, 0.7),
}  # fmt: skip


@pytest.mark.parametrize("which", DIRECTIONS)
@pytest.mark.parametrize("warp", WARPS.values(), ids=WARPS)
def test_warps(warp, which):
    downward = turned(UPWARD, which)
    before = downward.copy()
    same(warp(downward), warp(UPWARD), which)
    assert downward.identical(before)


@pytest.mark.parametrize("which", DIRECTIONS)
def test_rotations_agree_with_those_onto_a_grid(which):
    downward = turned(UPWARD, which)
    for angle in (math.pi / 2, math.pi):
        found = dp.rotate(downward, angle)
        onto = dp.rotate_to(downward, angle, (X.offset, Y.offset), grid=found, interpolation="nearest")
        assert np.array_equal(found.values, onto.values) and found.values.any()


@pytest.mark.parametrize("which", DIRECTIONS)
def test_parts_are_those_of_sel(which):
    image = turned(UPWARD, which)
    for rect in (image.rect, dp.Rect(0.1, -0.4, 2.6, 1.2), dp.Rect(-0.5, 0.0, 3.0, 2.0)):
        part = image.sel(rect)
        mean = part.values[:, ::-1 if which[1] else 1].mean(axis=0)
        assert part.size and np.allclose(dp.project(image, rect).values, mean, rtol=1e-12)
        same(dp.rotate(image, 0.0, rect), part if not any(which) else turned(part, which), which)
    turned_rect = dp.Rect.turned(1.6, 0.9, 2.0, 1.0, 0.4)
    assert np.array_equal(dp.project(image, turned_rect).values, dp.project(UPWARD, turned_rect).values)


@pytest.mark.parametrize("which", DIRECTIONS)
def test_profiles_run_from_one_point_to_the_other(which):
    rows, columns = np.meshgrid(Y.positions(9), X.positions(13), indexing="ij")
    for start, end, first, step in [((0, 1), (3, 1), 0, 0.5), ((3, 1), (0, 1), 3, -0.5)]:
        profile = dp.line_scan(turned(dp.Array2D(columns, (Y, X)), which), start, end)
        assert profile.axis.position(0) == 0 and profile.axis.delta == 0.5
        assert profile.values.tolist() == [first + k * step for k in range(6)]
    upward = dp.Array2D(columns + 100 * rows, (Y, X))
    for points in [((0, 0), (3, 2)), ((3, 2), (-0.5, 1))]:
        assert dp.line_scan(turned(upward, which), *points, 1.0).identical(dp.line_scan(upward, *points, 1.0))


# ---- Ranges ------------------------------------------------------------------------------------------------------------


def test_a_range_has_the_elements_that_it_selects():
    a = dp.Array1D(np.arange(6.0), dp.Axis(2.0, -0.5))
    for window in (a.range, dp.Range(1.5, 0.5), dp.Range(9.0, 1.0)):
        assert [x for x in a.positions.tolist() if x in window] == a.sel(window).positions.tolist() != []
    assert a.range.end not in a.range and math.nan not in a.range and 1.0 not in dp.Range(1.0, 1.0)
    assert dp.Range(2.0, 1.0).length == -1.0


RANGES = [(0, 4), (2, 6), (5, 9), (3, 3), (1, 2), (4, 0), (6, 2), (9, 5), (2, 1)]


@pytest.mark.parametrize("first", RANGES)
@pytest.mark.parametrize("second", RANGES)
def test_algebra_of_ranges_is_that_of_their_positions(first, second):
    a, b = dp.Range(*first), dp.Range(*second)
    inner = np.arange(-1, 10) + 0.5  # no end, which belongs to one of two directions
    both = [x for x in inner if x in a and x in b]
    assert a.intersects(b) is bool(both) and b.intersects(a) is bool(both)
    assert [x for x in inner if x in a & b] == both and a & b == b & a
    assert a | b == b | a and all(x in (a | b) for x in inner if x in a or x in b)
    parts = [one for one in (a, b) if one.start != one.end]
    ends = [end for one in parts for end in (one.start, one.end)]
    if parts:
        assert sorted((a | b)) == [min(ends), max(ends)]
    if len(parts) == 2:
        downward = all(one.end < one.start for one in parts)
        assert ((a | b).end < (a | b).start) is downward
        assert not both or ((a & b).end < (a & b).start) is downward


@pytest.mark.parametrize("which", DIRECTIONS)
def test_a_rectangle_has_the_elements_that_it_selects(which):
    image = turned(UPWARD, which)
    for rect in (image.rect, dp.Rect(0.0, -0.5, 2.5, 1.0)):
        part = image.sel(rect)
        y, x = (axis.positions(n) for axis, n in zip(part.axes, part.shape))
        assert part.size and all((a, b) in rect for a in x[1:-1] for b in y[1:-1])
    ends = image.rect.corners[2]
    assert ends not in image.rect and image.rect.corners[0] in image.rect


# ---- Maps and fits -----------------------------------------------------------------------------------------------------

ENERGY = dp.Axis(9.0, -0.01, unit="eV")
LINE = np.round(900 * np.exp(-(((ENERGY.positions(200) - 8.0) / 0.06) ** 2) / 2) + 20)
CUBE = np.array([[LINE, 2 * LINE]])
OTHER = dp.Axis(ENERGY.position(199), 0.01, unit="eV")


def model():
    made = dp.fitting.PeakModel()
    made.peak("gaussian", 8.02, 700, 0.05, name="Fe")
    made.polynomial([10])
    return made


@pytest.mark.parametrize("turn", [lambda low, high: (low, high), lambda low, high: (high, low), lambda low, high: dp.Range(high, low)])
def test_windows_of_maps(turn):
    windows = {"background": "polynomial", "ranges": [turn(8.3, 8.6), turn(7.4, 7.7)]}
    found = dp.maps.integrate(CUBE, {"Fe": turn(7.8, 8.2)}, ENERGY, **windows)
    windows["ranges"] = [(8.3, 8.6), (7.4, 7.7)]
    there = dp.maps.integrate(CUBE[..., ::-1], {"Fe": (7.8, 8.2)}, OTHER, **windows)
    assert np.allclose(found["Fe"], there["Fe"], rtol=1e-12) and np.allclose(found.errors["Fe"], there.errors["Fe"])
    law, there = (dp.maps.power_law(*given) for given in ((CUBE, turn(8.3, 8.6), ENERGY), (CUBE[..., ::-1], (8.3, 8.6), OTHER)))
    assert np.allclose(law["exponent"], there["exponent"], atol=1e-9) and law.fixed == there.fixed
    over = turn(7.5, 8.5)
    fit = dp.maps.peaks(CUBE, model(), ENERGY, over=over)
    there = dp.maps.peaks(CUBE[..., ::-1], model(), OTHER, over=(7.5, 8.5))
    assert np.allclose(fit.areas["Fe"], there.areas["Fe"], rtol=1e-6)
    one = dp.fitting.peaks(dp.Array1D(LINE, ENERGY), model(), over=over)
    assert one.n_points == 101 and one.peaks[0].area == pytest.approx(fit.areas["Fe"][0, 0], rel=1e-4)
    moved = dp.maps.align(np.roll(CUBE, 3, axis=-1), LINE, 0.1, ENERGY, over=over)
    assert np.allclose(moved["shift"], -0.03, atol=1e-3)


def test_an_arrays_own_range_is_taken():
    a = dp.Array1D(LINE, ENERGY)
    assert dp.maps.integrate(a, {"all": a.range})["all"] == pytest.approx(LINE.sum())
    assert dp.maps.peaks(a, model(), over=a.range).areas["Fe"] == pytest.approx(dp.fitting.peaks(a, model()).peaks[0].area, rel=1e-4)


def test_ranges_on_axes_that_run_upward_are_not_turned_round():
    with pytest.raises(dp.ProgramError):
        dp.maps.integrate(CUBE, {"Fe": (8.2, 7.8)}, OTHER)
    with pytest.raises(dp.ProgramError):
        dp.fitting.peaks(dp.Array1D(LINE[::-1], OTHER), model(), over=(8.5, 7.5))
