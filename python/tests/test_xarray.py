"""DataArrays there and back, and what others made."""

import copy

import dataprocessing as dp
import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st

xr = pytest.importorskip("xarray")

FINITE = st.floats(-1e9, 1e9)
AXES = st.builds(
    dp.Axis, FINITE, st.sampled_from([1 / 3, 0.1, -0.7, 1e-7, 12.0]), st.integers(-50, 50), st.sampled_from(["", "x", "y", "E"]),
    st.sampled_from(["", "keV"]),
)  # fmt: skip


@given(AXES, st.integers(0, 5))
def test_lines_come_back_bit_by_bit(axis, count):
    a = dp.Array1D(np.arange(count, dtype="f4"), axis, name="n", unit="V")
    there = a.to_xarray()
    assert np.array_equal(there[there.dims[0]].values, axis.positions(count))
    assert dp.from_xarray(there).identical(a)
    assert dp.from_xarray(copy.deepcopy(there)).identical(a)


@given(AXES, AXES, st.integers(0, 3), st.integers(0, 3))
def test_images_come_back_bit_by_bit(y, x, rows, columns):
    image = dp.Array2D(np.zeros((rows, columns), "u2"), (y, x))
    there = image.to_xarray()
    assert len(set(there.dims)) == 2 and there.shape == image.shape
    assert dp.from_xarray(there).identical(image)


def test_axes_of_one_name_are_called_apart():
    image = dp.Array2D(np.ones((2, 3)), (dp.Axis(name="x"), dp.Axis()))
    assert image.to_xarray().dims == ("x_y", "x_x")
    lags = dp.autocorrelate(image)
    assert lags.to_xarray().dims == ("lag_y", "lag_x") and dp.from_xarray(lags.to_xarray()).identical(lags)


def test_parts_keep_their_place():
    a = dp.Array1D(np.arange(9.0), dp.Axis(0.1, 1 / 3, 2, "E"))
    assert dp.from_xarray(a.to_xarray()[3:7]).identical(a[3:7])
    thinned = dp.from_xarray(a.to_xarray()[::2])
    assert thinned.axis.delta == pytest.approx(2 / 3, rel=1e-3) and thinned.axis.name == "E"


def test_what_others_changed_is_what_holds():
    a = dp.Array1D(np.arange(4.0), dp.Axis(0.0, 0.5))
    there = a.to_xarray()
    moved = there.assign_coords(x=("x", there.x.values + 10, there.x.attrs))
    assert dp.from_xarray(moved).positions.tolist() == [10.0, 10.5, 11.0, 11.5]
    stretched = there.assign_coords(x=("x", there.x.values * 2, there.x.attrs))
    assert dp.from_xarray(stretched).axis == dp.Axis(0.0, 1.0, name="x")
    assert dp.from_xarray(there.rename(x="energy")).axis.name == "energy"
    assert dp.from_xarray(a.to_xarray("t")).axis.name == "t"
    image = dp.Array2D(np.ones((2, 3)), (dp.Axis(1.0), dp.Axis(2.0)))
    turned = dp.from_xarray(image.to_xarray().T)
    assert [(axis.name, axis.offset) for axis in turned.axes] == [("x", 2.0), ("y", 1.0)]


@pytest.mark.parametrize("written", [None, "x", [1.0], [0.0, 0.0, 0], [0.0, np.nan, 0], [0.0, 1.0, 2.0**40], ["a", "b", "c"]])
def test_attributes_that_are_not_ours_do_no_harm(written):
    data = xr.DataArray([1.0, 2.0], coords={"x": ("x", [0.0, 0.5], {"calibration": written})}, dims="x")
    assert dp.from_xarray(data).axis == dp.Axis(0.0, 0.5, name="x")


def test_no_unit_is_no_unit():
    coordinate = ("x", [0.0, 1.0], {"units": None})
    data = xr.DataArray([1.0, 2.0], coords={"x": coordinate}, dims="x", attrs={"units": None})
    assert dp.from_xarray(data).unit == dp.from_xarray(data).axis.unit == ""


@pytest.mark.parametrize(
    "coordinate", [np.arange("2020-01-01", "2020-01-03", dtype="M8[D]"), ["a", "b"], [1j, 2], [True, False]]
)
def test_coordinates_that_are_no_numbers_are_refused_by_name(coordinate):
    with pytest.raises(TypeError, match="the coordinate t: positions are real numbers"):
        dp.from_xarray(xr.DataArray([1.0, 2.0], coords={"t": coordinate}, dims="t"))


def test_distances_of_dates_are_numbers():
    t = np.arange("2020-01-01", "2020-01-04", dtype="M8[D]")
    with pytest.raises(TypeError, match="timedelta64"):
        dp.Axis.from_positions(t)
    assert dp.Axis.from_positions((t - t[0]) / np.timedelta64(1, "s"), unit="s").delta == 86400


@pytest.mark.parametrize("what", [np.ones(3), 5, None, xr.Dataset()])
def test_what_is_no_data_array_is_refused(what):
    with pytest.raises(TypeError, match="DataArray"):
        dp.from_xarray(what)
    with pytest.raises(TypeError, match="signal"):
        dp.from_hyperspy(what)


def test_dimensions_are_as_many_as_axes():
    with pytest.raises(ValueError, match="1 different"):
        dp.Array1D([1.0]).to_xarray(("x", "y"))
    with pytest.raises(ValueError, match="2 different"):
        dp.Array2D(np.ones((2, 3))).to_xarray(("t", "t"))
