"""Functions of every spectrum, lines at known positions, other grids; of maps of every kind."""

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import maps
from test_maps import AXIS, CHANNELS, X, made

LINES = [dp.fitting.Gaussian(6.4, 400, "Fe"), dp.fitting.Gaussian(6.7, 80, "Co", of="Fe")]
RESOLUTION = (6.4, 0.14, 0.0023)


def highest(spectrum):
    return spectrum.idxmax()


def ends(spectrum):
    return spectrum.values[[0, -1]]


def test_a_function_of_every_spectrum():
    data = made((3, 4), "f4")
    found = maps.apply(highest, data, AXIS)
    assert found.values.shape == (3, 4) and found.values.dtype == np.float64 and not found.status.any()
    assert np.array_equal(found.values, AXIS.positions(CHANNELS)[data.argmax(-1)])
    assert np.array_equal(maps.apply(ends, data, output=2, dtype="f4").values, data[..., [0, -1]])
    assert maps.apply(highest, data[0, 0], AXIS).values.shape == ()
    assert maps.apply(highest, data[:0], AXIS).values.shape == (0, 4)
    seen = maps.apply(lambda s: (s.dtype == np.uint16) + 2 * (s.axis == AXIS), data[::-1, ::2].astype("u2"), AXIS)
    assert (seen.values == 3).all()


def fit_of_one(spectrum):
    if spectrum[0] == 7:
        raise dp.SingularFitError("nothing")
    if spectrum[0] == 8:
        raise dp.FitError("nothing")
    return 1.0


def test_what_fails_is_nan_or_comes_through():
    data = np.array([[[7.0, 1], [2, 1]], [[8, 1], [3, 1]]])
    found = maps.apply(fit_of_one, data, errors="nan")
    assert np.array_equal(found.values, [[np.nan, 1], [np.nan, 1]], equal_nan=True)
    assert found.status.tolist() == [[maps.Status.UNDETERMINED, 0], [maps.Status.NOT_CONVERGED, 0]]
    with pytest.raises(dp.SingularFitError) as raised:
        maps.apply(fit_of_one, data)
    assert "spectrum (0, 0)" in raised.value.__notes__[0]
    with pytest.raises(ZeroDivisionError):
        maps.apply(lambda s: 1 / 0, data, errors="nan")
    with pytest.raises(ValueError):
        maps.apply(ends, data)
    with pytest.raises(ValueError, match="NaN"):
        maps.apply(highest, data, dtype="i4", errors="nan")
    with pytest.raises(ValueError, match="'raise' or 'nan'"):
        maps.apply(highest, data, errors="ignore")


@pytest.mark.parametrize(
    "given, options",
    [
        (5.0, {"output": 3}), ([5.0], {"output": 3}), ([5.0] * 4, {"output": 3}), ([5.0], {}), ([[5.0] * 3], {"output": 3}),
        (np.nan, {"dtype": "i4"}), (np.array([np.nan, 1]), {"dtype": "i4", "output": 2}), (np.inf, {"dtype": "u8"}),
        (300, {"dtype": "u1"}), (-1, {"dtype": "u2"}), (1e10, {"dtype": "i4"}),
    ],
)  # fmt: skip
def test_what_a_function_gives_is_what_it_should(given, options):
    with pytest.raises(ValueError):
        maps.apply(lambda spectrum: given, np.ones((2, 3)), **options)


def test_what_a_type_has_no_place_for_is_refused():
    for given, dtype in (
        (-3.7, "i1"), (1 + 2j, "f8"), (1j, "i4"), (1e300, "f4"), (complex(1e300, 0), "c8"), (np.float64("inf"), "u2"),
        (65536, "u2"), (-1, "u1"), (1e300, "i8"),
    ):  # fmt: skip
        with pytest.raises(ValueError, match="no place"):
            maps.apply(lambda spectrum: given, np.ones((2, 3)), dtype=dtype)
    for given, dtype in ((-3.0, "i1"), (1 / 3, "f4"), (2, "c16"), (1j, "c8"), (np.inf, "f4"), (np.nan, "f4"), (True, "u1")):
        found = maps.apply(lambda spectrum: given, np.ones((2, 3)), dtype=dtype).values
        assert np.array_equal(found, np.full(2, given).astype(dtype), equal_nan=True)


def test_spectra_that_are_not_finite_say_so():
    data = np.repeat(made((1,)).astype("f8"), 3, axis=0)
    data[1, 4] = np.nan
    fe = dp.fitting.Gaussian(6.4, 300, "Fe")
    found = maps.gaussians(data, [fe], (6.4, 0.15, 0.0023), AXIS)
    assert found.status.tolist() == [0, maps.Status.NOT_FINITE, 0]


def test_spectra_of_zeros_say_so():
    data = np.repeat(made((1,)), 4, axis=0)
    data[1] = 0
    inside = (X > 6.25) & (X < 6.55)
    data[2, inside] = 0
    data[3, ~inside] = 0
    fe = dp.fitting.Gaussian(6.4, 300, "Fe")
    empty = maps.Status.EMPTY
    assert maps.gaussians(data, [fe], (6.4, 0.15, 0.0023), AXIS).status.tolist()[1] == empty
    found = maps.gaussians(data, [fe], (6.4, 0.15, 0.0023), AXIS, ranges=(6.3, 6.5))
    assert found.status.tolist() == [0, empty, empty, 0]
    assert np.isnan(found["amplitude of Fe"][1:3]).all() and found["amplitude of Fe"][0] > 0
    with pytest.raises(dp.FitError, match="are 0"):
        maps.gaussians(data, [fe], (6.4, 0.15, 0.0023), AXIS, errors="raise")


def test_lines_are_those_of_single_fits():
    data = made((2, 3))
    data[1, 2] = 0
    planes = maps.gaussians(data, LINES, RESOLUTION, AXIS, ranges=(6.1, 6.85), fit=["resolution"])
    one = dp.fitting.gaussians(dp.Array1D(data[0, 1], AXIS), LINES, RESOLUTION, (6.1, 6.85), ["resolution"])
    assert set(planes.values) == set(one.params) and planes["fwhm"].shape == (2, 3)
    for name, parameter in one.params.items():
        assert planes[name][0, 1] == parameter.value
        assert planes.errors[name][0, 1] == parameter.stderr or np.isnan(parameter.stderr)
    assert planes.areas["Co"][0, 1] == one.peaks[1].area and planes.area_errors["Fe"][0, 1] == one.peaks[0].area_error
    assert planes.status[1, 2] and np.isnan(planes["fwhm"][1, 2]) and (planes.status > 0).sum() == 1
    with pytest.raises(dp.FitError) as raised:
        maps.gaussians(data, LINES, RESOLUTION, AXIS, ranges=(6.1, 6.85), fit=["resolution"], errors="raise")
    assert "(1, 2)" in raised.value.__notes__[0]
    with pytest.raises(ValueError, match="no peak is called"):
        maps.gaussians(data, [dp.fitting.Gaussian(6.4, of="Ni")], RESOLUTION, AXIS)


@pytest.mark.parametrize("delta", [0.005, 0.0037, 0.01, 0.03])
@pytest.mark.parametrize("dtype", ["u2", "i8", "f4", "f8"])
def test_rescaled_maps_are_rescaled_spectra(dtype, delta):
    data = made((2, 3), dtype)[:, ::-1]
    rescaled, axis = maps.rescale(data, delta, AXIS)
    for index in np.ndindex(2, 3):
        one = dp.Array1D(data[index], AXIS, "f8" if dtype == "i8" else dtype).rescale(delta)
        assert one.axis == axis and rescaled.dtype == one.dtype and np.array_equal(rescaled[index], one.values)
    assert maps.rescale(data[:0], delta, AXIS).data.shape == (0, 3, rescaled.shape[-1])
    with pytest.raises(dp.DataProcessingError):
        maps.rescale(data, -1.0, AXIS)


def test_rescaling_large_maps_goes_in_parts(monkeypatch):
    from dataprocessing import _map_each

    data = made((5, 7))
    whole = maps.rescale(data, 0.004, AXIS).data
    rows = _map_each._Rescale.rows
    counts = []
    monkeypatch.setattr(_map_each._Rescale, "rows", lambda self, s: counts.append(len(s)) or rows(self, s))
    monkeypatch.setattr(_map_each, "_MOST", 4 * CHANNELS)
    assert np.array_equal(maps.rescale(data, 0.004, AXIS).data, whole) and max(counts) == 4


def test_in_chunks():
    dask = pytest.importorskip("dask")
    da = pytest.importorskip("dask.array")
    data = made((6, 7))
    lazy = da.from_array(data, chunks=(4, 3, 50))
    whole, parts = (
        [
            *maps.apply(ends, one, AXIS, output=2), *maps.apply(highest, one, AXIS), maps.rescale(one, 0.004, AXIS).data
        ]
        for one in (data, lazy)
    )  # fmt: skip
    assert all(isinstance(one, da.Array) for one in parts)
    for scheduler in ("threads", "processes"):
        for one, other in zip(whole, dask.compute(*parts, scheduler=scheduler, num_workers=2)):
            assert one.dtype == other.dtype and one.tobytes() == other.tobytes()
    planes = maps.gaussians(lazy, LINES, RESOLUTION, AXIS, ranges=(6.1, 6.85))
    assert isinstance(planes["fwhm"], da.Array)
    whole = maps.gaussians(data, LINES, RESOLUTION, AXIS, ranges=(6.1, 6.85))
    assert np.array_equal(planes.areas["Fe"].compute(), whole.areas["Fe"], equal_nan=True)


def test_with_labels():
    xarray = pytest.importorskip("xarray")
    data = made((3, 4))
    given = xarray.DataArray(
        np.moveaxis(data, -1, 0), dims=("energy", "y", "x"), name="counts", attrs={"units": "1"},
        coords={"energy": ("energy", X, {"units": "keV"}), "y": [1.0, 2, 3], "time": ("x", np.arange(4))},
    )  # fmt: skip
    found = maps.apply(highest, given, dim="energy")
    assert found.values.dims == ("y", "x") and np.allclose(found.values, X[data.argmax(-1)])
    rescaled, axis = maps.rescale(given, 0.004, dim="energy")
    assert rescaled.dims == ("y", "x", "energy") and rescaled.name == "counts" and rescaled.attrs == {"units": "1"}
    assert rescaled.energy.attrs == {"units": "keV"} and axis.delta == 0.004
    assert list(rescaled.y) == [1, 2, 3] and list(rescaled.time) == [0, 1, 2, 3]
    assert np.allclose(rescaled.energy, axis.positions(rescaled.sizes["energy"]))
    assert np.array_equal(rescaled, maps.rescale(data, 0.004, AXIS).data)
    planes = maps.gaussians(given, LINES, RESOLUTION, dim="energy", ranges=(6.1, 6.85))
    assert planes["fwhm"].dims == ("y", "x") and planes.status.dims == ("y", "x")
