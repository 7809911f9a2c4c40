"""Maps in chunks and with labels: planes of their own kind, with the bits of the whole."""

import hashlib
import os
import subprocess
import sys

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import _map_blocks, maps
from test_maps import AXIS, CHANNELS, FITS, X, arrays, assert_same_bits, made, model

dask = pytest.importorskip("dask")
da = pytest.importorskip("dask.array")


@pytest.fixture(scope="module")
def data():
    return made((25, 40))


@pytest.fixture(scope="module")
def expected(data):
    return {name: fit(data, axis=AXIS) for name, fit in FITS.items()}


def computed(planes, **how):
    return dask.compute(planes, **how)[0]


@pytest.mark.parametrize("name", FITS)
@pytest.mark.parametrize("chunks", [7, 500])
def test_same_bits_in_chunks(data, expected, name, chunks):
    lazy = FITS[name](da.from_array(data.reshape(-1, CHANNELS), chunks=(chunks, 50)), axis=AXIS)
    assert isinstance(lazy.status, da.Array) and isinstance(lazy.iterations, da.Array)
    found = arrays(computed(lazy, scheduler="threads"))
    for plane, whole in arrays(expected[name]).items():
        assert found[plane].dtype == whole.dtype and found[plane].tobytes() == whole.tobytes(), plane


@pytest.mark.parametrize("name", FITS)
def test_same_bits_one_by_one(data, expected, name):
    lazy = FITS[name](da.from_array(data[:5, :6], chunks=(1, 1, -1)), axis=AXIS)
    found = arrays(computed(lazy, scheduler="synchronous"))
    for plane, whole in arrays(expected[name]).items():
        assert found[plane].tobytes() == np.ascontiguousarray(whole[:5, :6]).tobytes()


@pytest.mark.parametrize("name", FITS)
def test_same_bits_in_large_chunks(data, expected, name):
    many = np.tile(data.reshape(-1, CHANNELS), (5, 1))
    found = arrays(computed(FITS[name](da.from_array(many, chunks=(4096, -1)), axis=AXIS), scheduler="threads"))
    for plane, whole in arrays(expected[name]).items():
        assert found[plane].tobytes() == np.tile(whole.reshape(-1), 5).tobytes(), plane


@pytest.mark.parametrize("workers", range(1, 9))
def test_same_bits_on_any_number_of_threads(data, expected, workers):
    given = da.from_array(data.reshape(-1, CHANNELS), chunks=(33, -1))
    lazy = {name: FITS[name](given, axis=AXIS) for name in ("peaks", "linear", "windows over a law", "shifts")}
    for name, found in computed(lazy, scheduler="threads", num_workers=workers).items():
        planes = arrays(found)
        for plane, whole in arrays(expected[name]).items():
            assert planes[plane].tobytes() == whole.tobytes(), (name, plane)


def hashes():
    """Of everything that is made of a map, by name."""
    data = made((5, 9))
    found = {name: arrays(fit(data, axis=AXIS)) for name, fit in FITS.items()}
    for name, one in {
        "sum": maps.sum(data), "rebin": maps.rebin(data, 0.03, AXIS), "smooth": maps.smooth(data, 7, 2, 0, AXIS),
        "gauss": maps.smooth_gauss(data, 0.02, AXIS), "rescale": maps.rescale(data, 0.004, AXIS),
        "shift": maps.shift(data, np.linspace(-0.1, 0.1, 45).reshape(5, 9), AXIS),
    }.items():  # fmt: skip
        found[name] = {str(k): part for k, part in enumerate(one) if isinstance(part, np.ndarray)}
    return {
        name: hashlib.sha256(b"".join(plane.tobytes() for plane in planes.values())).hexdigest()
        for name, planes in found.items()
    }


@pytest.mark.parametrize("level", ["baseline", "v3", "v4"])
def test_same_bits_at_every_level(level):
    here = os.path.dirname(__file__)
    program = f"import sys; sys.path.insert(0, {here!r}); import test_maps_chunks as it; print(it.hashes())"
    run = subprocess.run(
        [sys.executable, "-c", program], env={**os.environ, "DATAPROCESSING_LEVEL": level}, capture_output=True,
        text=True, check=True,
    )  # fmt: skip
    assert run.stdout.strip() == str(hashes())


@pytest.mark.parametrize("scheduler", ["threads", "synchronous", "processes"])
def test_same_bits_by_every_scheduler(data, expected, scheduler):
    lazy = FITS["peaks"](da.from_array(data, chunks=(10, 15, -1)), axis=AXIS)
    assert_same_bits(computed(lazy, scheduler=scheduler, num_workers=2), expected["peaks"])


def test_one_call_for_each_chunk(data, monkeypatch):
    shapes = []
    elements = _map_blocks.elements
    monkeypatch.setattr(_map_blocks, "elements", lambda block: shapes.append(block.shape) or elements(block))
    lazy = FITS["linear"](da.from_array(data, chunks=(10, 20, 30)), axis=AXIS)
    assert shapes == []
    computed(lazy, scheduler="synchronous")
    assert sorted(shapes) == sorted([(10, 20, CHANNELS)] * 4 + [(5, 20, CHANNELS)] * 2)


def test_starts_in_chunks(data):
    moved = np.roll(data, 12, axis=-1)
    position = np.full(data.shape[:-1], 6.52)
    whole = maps.peaks(moved, model(), AXIS, starts={"position of Fe": position, "height of Fe": 300})
    for given in (position, da.from_array(position, chunks=9)):
        lazy = maps.peaks(
            da.from_array(moved, chunks=(10, 15, 50)), model(), AXIS,
            starts={"position of Fe": given, "height of Fe": 300},
        )  # fmt: skip
        assert_same_bits(computed(lazy), whole)


def test_what_is_refused_is_refused_at_once(data):
    lazy = da.from_array(data, chunks=(10, 15, 50))
    with pytest.raises(dp.ProgramError):
        maps.peaks(lazy, model(), AXIS, tolerance=0)
    with pytest.raises(TypeError, match="only a DataArray"):
        maps.sum(lazy, dim="energy")


def test_bad_spectra_raise_when_they_are_met(data):
    bad = data.astype("f8")
    bad[3, 4, 5] = np.nan
    lazy = da.from_array(bad, chunks=(10, 15, 50))
    assert computed(maps.peaks(lazy, model(), AXIS)).status[3, 4] == maps.Status.NOT_FINITE
    planes = maps.peaks(lazy, model(), AXIS, errors="raise")
    with pytest.raises(dp.FitError, match=r"1 of 150 spectra .* \(3, 4\), is not finite"):
        computed(planes, scheduler="synchronous")


@pytest.mark.parametrize("dtype", ["u2", "f8"])
def test_sums_in_chunks(data, dtype):
    given = data.astype(dtype) * (1 if dtype == "u2" else 1 / 3)
    spectrum, image = maps.sum(given)
    for chunks in ((10, 15, 50), (1, -1, -1), (-1, 7, 7)):
        lazy = maps.sum(da.from_array(given, chunks=chunks))
        assert isinstance(lazy.spectrum, da.Array) and isinstance(lazy.image, da.Array)
        found = dask.compute(lazy.spectrum, lazy.image)
        assert found[0].tobytes() == spectrum.tobytes() and found[1].tobytes() == image.tobytes()


# ---- Labels -------------------------------------------------------------------------------------


def labelled(values):
    xarray = pytest.importorskip("xarray")
    return xarray.DataArray(
        np.moveaxis(values, -1, 0), dims=("energy", "y", "x"),
        coords={"energy": ("energy", X, {"units": "keV"}), "y": np.arange(25) * 0.5},
    )  # fmt: skip


@pytest.mark.parametrize("name", FITS)
@pytest.mark.parametrize("chunks", [None, {"y": 10, "x": 15, "energy": 30}])
def test_labels_stay(data, expected, name, chunks):
    given = labelled(data) if chunks is None else labelled(data).chunk(chunks)
    planes = FITS[name](given, dim="energy")
    assert planes.status.dims == ("y", "x") and list(planes.status.y[:2]) == [0, 0.5]
    assert (planes.status.chunks is None) == (chunks is None)
    assert_same_bits(computed(planes), FITS[name](data, axis=dp.Axis.from_positions(X, 1e-3, "energy", "keV")))


@pytest.mark.parametrize("dim", ["parameter", "peak", "output", "position", "channel"])
def test_dimensions_may_have_any_name(data, expected, dim):
    xarray = pytest.importorskip("xarray")
    given = xarray.DataArray(data, dims=(dim, "x", "energy"))
    for one in (given, given.chunk({dim: 10})):
        assert_same_bits(computed(maps.peaks(one, model(), AXIS)), expected["peaks"])
        assert maps.integrate(one, (6.2, 6.6), AXIS)["window 1"].dims == (dim, "x")
        applied = maps.apply(lambda spectrum: [1.0, 2.0], one, AXIS, output=2).values
        assert applied.dims == (dim, "x", "output_" if dim == "output" else "output") and applied.shape == (25, 40, 2)


@pytest.mark.parametrize("name", FITS)
def test_tasks_have_plain_names(data, name):
    keys = FITS[name](chunked := da.from_array(data, chunks=(10, 20, 50)), axis=AXIS).status.__dask_graph__().layers
    assert all(key.split("-")[0].replace("_", "").isalnum() for key in keys) and chunked.name in keys


def test_labelled_starts_and_sums(data):
    given = labelled(data)
    spectrum, image = maps.sum(given, dim="energy")
    assert spectrum.dims == ("energy",) and image.dims == ("y", "x") and spectrum.energy[1] == X[1]
    np.testing.assert_array_equal(spectrum, data.sum((0, 1)))
    np.testing.assert_array_equal(image, data.sum(-1))
    lazy = maps.sum(given.chunk({"y": 10, "energy": 30}), dim="energy")
    assert lazy.image.chunks is not None
    np.testing.assert_array_equal(lazy.spectrum, spectrum)
    np.testing.assert_array_equal(lazy.image, image)
    start = given.isel(energy=0, drop=True) * 0 + 6.41
    one = maps.peaks(given, model(), dim="energy", starts={"position of Fe": start})
    two = maps.peaks(given.chunk({"y": 10}), model(), dim="energy", starts={"position of Fe": start})
    assert_same_bits(computed(two), one)
    with pytest.raises(ValueError, match="no dimension is called"):
        maps.sum(given, dim="z")
