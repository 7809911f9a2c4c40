"""Maps on other channels, smoothed and aligned; of maps of every kind."""

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import maps
from test_maps import AXIS, CHANNELS, X, made

SMOOTHED = {
    "rebin": (lambda m: maps.rebin(m, 0.03, AXIS), lambda a: dp.rebin(a, 0.03)),
    "grid": (
        lambda m: maps.rebin(m, dp.Array1D(np.zeros(9), dp.Axis(6.1, 0.07)), AXIS),
        lambda a: dp.rebin(a, dp.Array1D(np.zeros(9), dp.Axis(6.1, 0.07))),
    ),
    "smooth": (lambda m: maps.smooth(m, 7, 2, 1, AXIS), lambda a: dp.smooth_savgol(a, 7, 2, 1)),
    "gauss": (lambda m: maps.smooth_gauss(m, 0.02, AXIS), lambda a: dp.smooth_gauss(a, 0.02)),
}


@pytest.mark.parametrize("name", SMOOTHED)
@pytest.mark.parametrize("dtype", ["u2", "i8", "f4", "f8"])
def test_spectra_are_those_of_single_calls(name, dtype):
    data = made((2, 3), dtype)[:, ::-1]
    of_map, of_one = SMOOTHED[name]
    found = of_map(data)
    for index in np.ndindex(2, 3):
        one = of_one(dp.Array1D(data[index].astype("f8"), AXIS))
        assert np.allclose(found.data[index], one.values, rtol=1e-12, atol=1e-9)
        assert (found.axis.offset, found.axis.delta) == (one.axis.offset, one.axis.delta)
    assert found.data.dtype == found.errors.dtype == np.float64 and not found.status.any()
    assert found.axis.unit == AXIS.unit
    assert of_map(data[:0]).data.shape == (0, 3, found.data.shape[-1])
    assert of_map(data[0, 0]).data.shape == found.data.shape[-1:]


def test_errors_are_those_of_counts():
    data = made((2, 3))
    found = maps.rebin(data, 2 * AXIS.delta, AXIS)
    assert np.allclose(found.errors**2, data[..., : CHANNELS // 2 * 2].reshape(2, 3, -1, 2).sum(-1))


def test_a_spectrum_that_is_not_finite_stops_no_other():
    data = made((2, 3), "f8")
    data[1, 2, 5] = np.inf
    for of_map, _ in SMOOTHED.values():
        found = of_map(data)
        bad = found.status == maps.Status.NOT_FINITE
        assert (bad.sum() == bad[1, 2]) and np.isnan(found.data).all(-1).sum() == bad.sum()


def drifting(shape):
    rng = np.random.default_rng(3)
    shifts = rng.uniform(-0.03, 0.03, shape)
    curve = 20 + 900 * np.exp(-(((X - 6.4 - shifts[..., None]) / 0.03) ** 2) / 2)
    return shifts, rng.poisson(curve).astype("u2"), 20 + 900 * np.exp(-(((X - 6.4) / 0.03) ** 2) / 2)


def test_shifts_are_found_and_taken_back():
    shifts, data, reference = drifting((20, 30))
    planes = maps.align(data, reference, 0.05, AXIS)
    assert list(planes.values) == ["shift", "factor"] and not planes.status.any()
    pulls = (planes["shift"] - shifts) / planes.errors["shift"]
    assert abs(pulls.mean()) < 0.15 and abs(pulls.std() - 1) < 0.1
    back = maps.shift(data, planes["shift"], AXIS)
    assert back.data.shape == data.shape and not back.status.any()
    again = maps.align(back.data, reference, 0.05, AXIS)
    assert abs(again["shift"]).max() < 0.003 < abs(planes["shift"]).max()
    with pytest.raises(ValueError, match="the reference lies on"):
        maps.align(data, dp.Array1D(reference), 0.05, AXIS)
    of_array = maps.align(data, dp.Array1D(reference, AXIS), 0.05, AXIS)
    assert np.array_equal(of_array["shift"], planes["shift"])
    with pytest.raises(ValueError, match="the reference has the shape"):
        maps.align(data, reference[:-1], 0.05, AXIS)
    with pytest.raises(dp.ProgramError):
        maps.align(data, reference, -1, AXIS)
    with pytest.raises(dp.FitError, match="600 of 600"):
        maps.align(np.zeros_like(data), reference, 0.05, AXIS, errors="raise")
    with pytest.raises(dp.ProgramError):
        maps.align(data, reference, 0.05, AXIS, over=(7.5, 8))


def test_references_lie_where_the_spectra_do():
    data = made((2, 3))
    total = data.sum((0, 1)).astype("f8")
    given = dp.Axis(6.0, 0.01, name="energy", unit="keV")
    whole = maps.align(data, total, 0.05, given)["shift"]
    for axis in (given, dp.Axis(6.0, 0.01), dp.Axis(6.0, 0.01, unit="keV"), dp.Axis(6.1, 0.01, index=10)):
        assert np.array_equal(maps.align(data, dp.Array1D(total, axis), 0.05, given)["shift"], whole)
    with pytest.raises(dp.UnitError):
        maps.align(data, dp.Array1D(total, dp.Axis(6.0, 0.01, unit="eV")), 0.05, given)
    with pytest.raises(dp.UnitError):
        maps.rebin(data, dp.Array1D(np.zeros(9), dp.Axis(6000.0, 20.0, unit="eV")), given)
    with pytest.raises(ValueError, match="the reference lies on"):
        maps.align(data, dp.Array1D(total, dp.Axis(6.0002, 0.01)), 0.05, given)
    xarray = pytest.importorskip("xarray")
    third = dp.Axis(1 / 3, 1e-3).positions(data.shape[-1])
    labelled = xarray.DataArray(data, dims=("y", "x", "energy"), coords={"energy": third})
    expected = maps.align(labelled, total, 0.005)["shift"]
    line = labelled.sum(("y", "x")).astype("f8")
    for reference in (line, dp.Array1D(total, dp.Axis(1 / 3, 1e-3)), line.drop_vars("energy")):
        assert np.array_equal(maps.align(labelled, reference, 0.005)["shift"], expected)
    for reference in (line.assign_coords(energy=third + 5), line[::-1]):
        with pytest.raises(ValueError, match="the reference lies on"):
            maps.align(labelled, reference, 0.005)


def test_a_number_shifts_all():
    data = made((2, 3))
    found = maps.shift(data, 3 * AXIS.delta, AXIS)
    assert np.allclose(found.data[..., :-3], data[..., 3:], atol=1e-9) and (found.data[..., -2:] == 0).all()


def test_a_filter_is_made_once(monkeypatch):
    da = pytest.importorskip("dask.array")
    made_ = []
    core = maps._core.maps_rebin
    monkeypatch.setattr(maps._core, "maps_rebin", lambda *arguments: made_.append(arguments) or core(*arguments))
    lazy = maps.rebin(da.from_array(made((6, 7)), chunks=(2, 3, -1)), 0.03, AXIS)
    lazy.data.compute(scheduler="synchronous")
    assert len(made_) == 1


def test_in_chunks():
    dask = pytest.importorskip("dask")
    da = pytest.importorskip("dask.array")
    shifts, data, reference = drifting((6, 7))
    lazy, lazy_shifts = da.from_array(data, chunks=(4, 3, 50)), da.from_array(shifts, chunks=(5, 2))

    def results(one, by):
        planes = maps.align(one, reference, 0.05, AXIS)
        parts = [*maps.shift(one, by, AXIS)[:3], planes["shift"], planes.errors["shift"], planes.status]
        return parts + [part for of_map, _ in SMOOTHED.values() for part in of_map(one)[:3]]

    whole, parts = results(data, shifts), results(lazy, lazy_shifts)
    assert all(isinstance(one, da.Array) for one in parts)
    for scheduler in ("threads", "processes"):
        for one, other in zip(whole, dask.compute(*parts, scheduler=scheduler, num_workers=2)):
            assert one.dtype == other.dtype and one.shape == other.shape and one.tobytes() == other.tobytes()


def test_with_labels():
    xarray = pytest.importorskip("xarray")
    shifts, data, reference = drifting((3, 4))
    given = xarray.DataArray(
        np.moveaxis(data, -1, 0), dims=("energy", "y", "x"), name="counts", attrs={"units": "1"},
        coords={"energy": ("energy", X, {"units": "keV"}), "y": [1.0, 2, 3]},
    )  # fmt: skip
    for to in (0.03, dp.Array1D(np.zeros(9), dp.Axis(6.1, 0.07))):
        found = maps.rebin(given, to, dim="energy")
        plain = maps.rebin(data, to, AXIS)
        assert found.data.dims == ("y", "x", "energy") and found.data.name == "counts"
        assert found.data.attrs == {"units": "1"} and found.data.energy.attrs == {"units": "keV"}
        assert np.allclose(found.data.energy, found.axis.positions(found.data.sizes["energy"]))
        assert np.allclose(found.data, plain.data, atol=1e-6) and found.status.dims == ("y", "x")
        assert list(found.errors.y) == [1, 2, 3]
    planes = maps.align(given, reference, 0.05, dim="energy")
    back = maps.shift(given, planes["shift"], dim="energy")
    turned = maps.shift(given, planes["shift"].transpose("x", "y"), dim="energy")
    assert back.data.dims == ("y", "x", "energy") and np.array_equal(back.data, turned.data)
    of_rows = maps.shift(given, planes["shift"][:, 0].drop_vars("x", errors="ignore"), dim="energy")
    assert np.array_equal(of_rows.data[:, 0], back.data[:, 0]) and not np.array_equal(of_rows.data, back.data)
    for others in (planes["shift"][::-1], planes["shift"].assign_coords(y=[4.0, 5, 6])):
        with pytest.raises(ValueError):
            maps.shift(given, others, dim="energy")
    for one in (given[:, :0], given[:, :, :0]):
        assert maps.rebin(one, 0.03, dim="energy").data.sizes["y"] == one.sizes["y"]
        assert maps.sum(one, dim="energy").spectrum.sizes["energy"] == given.sizes["energy"]
    assert np.allclose(back.data, maps.shift(data, planes["shift"].values, AXIS).data, atol=1e-6)
