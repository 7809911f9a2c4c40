"""Maps from files to files: in part, again, by processes that die, with little memory."""

import os
import signal
import subprocess
import sys

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import maps
from test_maps import AXIS, CHANNELS, FITS, arrays, assert_same_bits, made, model

dask = pytest.importorskip("dask")
da = pytest.importorskip("dask.array")


@pytest.fixture(scope="module")
def data():
    return made((22, 30))


@pytest.fixture(params=["zarr", "h5"])
def where(request, tmp_path):
    pytest.importorskip({"h5": "h5py"}.get(request.param, request.param))
    return tmp_path / f"planes.{request.param}"


def chunked(data, chunks=(10, 12)):
    return da.from_array(data, chunks=(*chunks, -1))


def stored(path):
    return dask.compute(maps.load(path))[0]


@pytest.mark.parametrize("name", FITS)
def test_there_and_back(data, where, name):
    whole = FITS[name](data, axis=AXIS)
    assert maps.store(FITS[name](chunked(data), axis=AXIS), where) == 9
    found = stored(where)
    assert_same_bits(found, whole)
    assert found.fixed == whole.fixed and list(found.values) == list(whole.values)
    assert maps.load(where).status.chunks == ((10, 10, 2), (12, 12, 6))


def test_planes_of_arrays_and_labels(data, where):
    whole = maps.peaks(data, model(), AXIS)
    assert maps.store(whole, where) == 1
    assert_same_bits(stored(where), whole)
    xarray = pytest.importorskip("xarray")
    labelled = xarray.DataArray(data, dims=("y", "x", "energy")).chunk({"y": 10})
    assert maps.store(maps.peaks(labelled, model(), AXIS), where) == 3
    assert_same_bits(stored(where), whole)
    one = maps.peaks(data[0, 0], model(), AXIS)
    assert maps.store(one, where) == 1
    assert_same_bits(stored(where), one)


def test_what_is_there_is_not_computed_again(data, where):
    whole = maps.peaks(data, model(), AXIS)
    bad = chunked(data).map_blocks(failing_at_the_last, dtype=data.dtype)
    with pytest.raises(RuntimeError, match="no power"):
        maps.store(maps.peaks(bad, model(), AXIS), where)
    part = stored(where)
    done = part.status != 255
    assert 0 < done.sum() < done.size and np.isnan(part["position of Fe"][~done]).all()
    for plane, of_all in zip(arrays(part).values(), arrays(whole).values()):
        assert plane[done].tobytes() == np.ascontiguousarray(of_all)[done].tobytes()
    missing = 9 - sum(done[y : y + 10, x : x + 12].all() for y in (0, 10, 20) for x in (0, 12, 24))
    seen = []
    counted = chunked(data).map_blocks(lambda block: seen.append(block.shape) or block, dtype=data.dtype, meta=data[:0, :0, :0])
    assert maps.store(maps.peaks(counted, model(), AXIS), where, resume=True) == missing == len(seen)
    assert_same_bits(stored(where), whole)
    assert maps.store(maps.peaks(counted, model(), AXIS), where, resume=True) == 0 and len(seen) == missing


def failing_at_the_last(block, block_info=None):
    if isinstance(block_info, dict) and block_info[0]["chunk-location"][:2] == (2, 2):
        raise RuntimeError("no power")
    return block


def test_others_are_not_continued(data, where):
    maps.store(maps.peaks(chunked(data), model(), AXIS), where)
    moved = model()
    moved.peak("gaussian", 6.7, 10, 0.06)
    weaker = dp.fitting.PeakModel()
    weaker.peak("gaussian", 6.4, 300, 0.06, name="Fe")
    weaker.polynomial([40, -20], 6.5)
    others = [
        maps.peaks(chunked(data), moved, AXIS), maps.peaks(chunked(data), weaker, AXIS),
        maps.peaks(chunked(data), model(), AXIS, windows=6.0), maps.peaks(chunked(data, (22, 12)), model(), AXIS),
        maps.peaks(chunked(data[:20]), model(), AXIS), maps.peaks(chunked(data), model(), dp.Axis(6.0, 0.0100001)),
    ]  # fmt: skip
    for other in others:
        with pytest.raises(ValueError, match="another fit"):
            maps.store(other, where, resume=True)
    assert maps.store(others[1], where) == 9


def test_other_starts_are_not_continued(data, where):
    def fit(start):
        return maps.peaks(chunked(data), model(), AXIS, starts={"height of Fe": start})

    plane = np.full(data.shape[:-1], 100.0)
    maps.store(fit(plane), where)
    for same in (plane.copy(), da.from_array(plane).compute()):
        assert maps.store(fit(same), where, resume=True) == 0
    for other in (100.0, plane + 1e-9, da.from_array(plane)):
        with pytest.raises(ValueError, match="another fit"):
            maps.store(fit(other), where, resume=True)
    maps.store(fit(da.from_array(plane)), where)
    assert maps.store(fit(da.from_array(plane)), where, resume=True) == 0


def test_what_holds_no_planes_stays(data, where, tmp_path):
    planes = maps.peaks(chunked(data), model(), AXIS)
    if where.suffix == ".h5":
        h5py = pytest.importorskip("h5py")
        with h5py.File(where, "w") as file:
            file["counts"] = data
        given = da.from_array(h5py.File(where, "r")["counts"], chunks=(10, 12, -1))
    else:
        zarr = pytest.importorskip("zarr")
        zarr.save_array(str(where), data, chunks=(10, 12, CHANNELS))
        given = da.from_zarr(str(where))
    for resume in (False, True):
        for one in (planes, maps.peaks(given, model(), AXIS)):
            with pytest.raises(ValueError, match="something else than planes"):
                maps.store(one, where, resume=resume)
    assert np.array_equal(given.compute(), data)
    (tmp_path / "mine").mkdir()
    (tmp_path / "mine" / "thesis.txt").write_text("all of it")
    for path in (tmp_path / "mine", tmp_path / "mine" / "thesis.txt"):
        with pytest.raises(ValueError, match="something else than planes"):
            maps.store(planes, path)
    assert (tmp_path / "mine" / "thesis.txt").read_text() == "all of it"


def test_planes_are_not_replaced_by_what_is_made_of_them(data, where):
    maps.store(maps.peaks(chunked(data), model(), AXIS), where)
    before = stored(where)
    again = maps.peaks(chunked(data), model(), AXIS, starts={"height of Fe": maps.load(where)["height of Fe"]})
    with pytest.raises(ValueError, match="store them elsewhere"):
        maps.store(again, where)
    assert_same_bits(stored(where), before)


def test_what_ended_before_it_began_begins_anew(data, where):
    planes = maps.peaks(chunked(data), model(), AXIS)
    if where.suffix == ".h5":
        where.touch()
    else:
        where.mkdir()
    assert maps.store(planes, where, resume=True) == 9
    if where.suffix != ".h5":
        import shutil

        shutil.rmtree(where / "chi_square")  # it ended while the arrays were made
        assert maps.store(planes, where, resume=True) == 9
    assert_same_bits(stored(where), maps.peaks(data, model(), AXIS))


def test_what_cannot_be_stored_is_refused(data, tmp_path):
    pytest.importorskip("zarr")
    with pytest.raises(TypeError, match="before they are computed"):
        maps.store(dask.compute(maps.peaks(chunked(data), model(), AXIS))[0], tmp_path / "a.zarr")
    uneven = da.from_array(data, chunks=((4, 10, 8), (30,), (CHANNELS,)))
    with pytest.raises(ValueError, match="one size"):
        maps.store(maps.peaks(uneven, model(), AXIS), tmp_path / "a.zarr")
    with pytest.raises(FileNotFoundError):
        maps.load(tmp_path / "nothing.zarr")
    assert not (tmp_path / "a.zarr").exists()


def test_nothing_is_computed_before_it_is_asked_for(data, where):
    later = maps.store(maps.peaks(chunked(data), model(), AXIS), where, compute=False)
    assert (stored(where).status == 255).all()
    assert later.compute() == 9 and not stored(where).status.any()


@pytest.mark.parametrize("kind", ["zarr", "h5"])
def test_maps_come_from_files(data, kind, tmp_path):
    whole = maps.peaks(data, model(), AXIS)
    if kind == "zarr":
        zarr = pytest.importorskip("zarr")
        zarr.save_array(str(tmp_path / "map.zarr"), data, chunks=(10, 12, CHANNELS))
        given = da.from_zarr(str(tmp_path / "map.zarr"))
    else:
        h5py = pytest.importorskip("h5py")
        with h5py.File(tmp_path / "map.h5", "w") as file:
            file.create_dataset("counts", data=data, chunks=(10, 12, CHANNELS), compression="gzip")
        given = da.from_array(h5py.File(tmp_path / "map.h5", "r")["counts"], chunks=(10, 12, -1))
    maps.store(maps.peaks(given, model(), AXIS), tmp_path / f"planes.{kind}")
    assert_same_bits(stored(tmp_path / f"planes.{kind}"), whole)


# ---- Several processes --------------------------------------------------------------------------


def slow(block, seconds, log):
    import time

    with open(log, "a") as file:
        file.write(f"{os.getpid()}\n")
    time.sleep(seconds)
    return block


@pytest.fixture
def cluster(tmp_path, monkeypatch):
    distributed = pytest.importorskip("distributed")
    monkeypatch.chdir(tmp_path)
    made = []

    def start(**options):
        options = {"n_workers": 2, "dashboard_address": None, "local_directory": str(tmp_path), **options}
        made.append(distributed.LocalCluster(**options))
        made.append(distributed.Client(made[-1]))
        return made[-1]

    yield start
    for one in reversed(made):
        one.close()


@pytest.mark.parametrize("processes", [False, True])
def test_a_cluster_gives_the_same_bits(data, cluster, processes, tmp_path):
    pytest.importorskip("zarr")
    with cluster(processes=processes, threads_per_worker=2):
        assert maps.store(maps.peaks(chunked(data), model(), AXIS), tmp_path / "planes.zarr") == 9
    assert_same_bits(stored(tmp_path / "planes.zarr"), maps.peaks(data, model(), AXIS))


@pytest.mark.parametrize("processes", [False, True])
def test_a_run_that_is_cancelled_goes_on(data, cluster, processes, tmp_path):
    pytest.importorskip("zarr")
    import time

    log, path = tmp_path / "log", tmp_path / "planes.zarr"
    client = cluster(processes=processes, threads_per_worker=1)
    lazy = chunked(data, (4, 8)).map_blocks(slow, 0.1, str(log), dtype=data.dtype, meta=data[:0, :0, :0])
    planes = maps.peaks(lazy, model(), AXIS)
    future = client.compute(maps.store(planes, path, compute=False))
    while not log.exists() or len(log.read_text().split()) < 6:
        time.sleep(0.02)
    future.cancel()
    assert client.compute(planes.status.sum()).result(timeout=60) == 0  # the cluster takes what comes next
    ended = len(log.read_text().split())
    there = stored(path).status != 255
    blocks = sum(there[y : y + 4, x : x + 8].all() for y in range(0, 22, 4) for x in range(0, 30, 8))
    assert blocks < 24 and ended < 2 * 24
    assert maps.store(planes, path, resume=True) == 24 - blocks
    assert_same_bits(stored(path), maps.peaks(data, model(), AXIS))


def test_a_worker_that_is_killed_costs_its_chunks_alone(data, cluster, tmp_path):
    pytest.importorskip("zarr")
    import time

    log = tmp_path / "log"
    client = cluster(processes=True, threads_per_worker=1)
    lazy = chunked(data, (4, 8)).map_blocks(slow, 0.3, str(log), dtype=data.dtype, meta=data[:0, :0, :0])
    later = maps.store(maps.peaks(lazy, model(), AXIS), tmp_path / "planes.zarr", compute=False)
    future = client.compute(later)
    while not log.exists() or len(log.read_text().split()) < 6:
        time.sleep(0.05)
    victim = int(log.read_text().split()[-1])
    assert victim in client.run(os.getpid).values()
    os.kill(victim, signal.SIGKILL)
    assert future.result(timeout=120) == 24
    runs = log.read_text().split()
    # What the dead worker was at, and what it had made and not yet stored, was made twice; nothing else was.
    assert 24 <= len(runs) <= 24 + 6 and len(set(runs)) >= 2
    assert_same_bits(stored(tmp_path / "planes.zarr"), maps.peaks(data, model(), AXIS))


def test_a_run_that_was_killed_goes_on(data, tmp_path):
    zarr = pytest.importorskip("zarr")
    zarr.save_array(str(tmp_path / "map.zarr"), data, chunks=(4, 8, CHANNELS))
    program = f"""
import os, sys, signal
sys.path.insert(0, {os.path.dirname(__file__)!r})
import dask, dask.array as da
from dataprocessing import maps
from test_maps import AXIS, model
seen = []
def dying(block):
    seen.append(1)
    if len(seen) == 9:
        os.kill(os.getpid(), signal.SIGKILL)
    return block
data = da.from_zarr("map.zarr")
lazy = data.map_blocks(dying, dtype=data.dtype, meta=data._meta) if sys.argv[1] == "die" else data
with dask.config.set(scheduler="synchronous"):
    print(maps.store(maps.peaks(lazy, model(), AXIS), "planes.zarr", resume=True))
"""
    run = [sys.executable, "-c", program]
    killed = subprocess.run([*run, "die"], cwd=tmp_path, capture_output=True, text=True)
    assert killed.returncode == -signal.SIGKILL, killed.stderr
    before = stored(tmp_path / "planes.zarr").status != 255
    again = subprocess.run([*run, "live"], cwd=tmp_path, capture_output=True, text=True, check=True)
    blocks = sum(before[y : y + 4, x : x + 8].all() for y in range(0, 22, 4) for x in range(0, 30, 8))
    assert 0 < blocks < 24 and int(again.stdout) == 24 - blocks
    assert_same_bits(stored(tmp_path / "planes.zarr"), maps.peaks(data, model(), AXIS))


def test_memory_holds_the_chunks_that_are_at_work(tmp_path):
    zarr = pytest.importorskip("zarr")
    part = made((16, 64), "u2")
    store = zarr.open_array(str(tmp_path / "map.zarr"), "w", shape=(1600, 64, CHANNELS), chunks=(64, 64, CHANNELS), dtype="u2")
    for row in range(0, 1600, 16):
        store[row : row + 16] = part
    program = """
import resource
import dask, dask.array as da
import dataprocessing as dp
from dataprocessing import maps
data = da.from_zarr("map.zarr")
small = maps.store(maps.integrate(data[:64], {"Fe": (10, 40)}), "warm.zarr")
before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
with dask.config.set(scheduler="threads", num_workers=2):
    maps.store(maps.integrate(data, {"Fe": (10, 40)}), "planes.zarr")
print(resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before)
"""
    said = subprocess.run([sys.executable, "-c", program], cwd=tmp_path, capture_output=True, text=True, check=True)
    whole, chunk = 1600 * 64 * CHANNELS * 2 / 1024, 64 * 64 * CHANNELS * 2 / 1024
    assert int(said.stdout) < 8 * chunk < whole / 3


def test_samples_of_the_page(tmp_path, monkeypatch):
    pytest.importorskip("zarr")
    import doctest
    import pathlib
    import re

    page = pathlib.Path(__file__).parents[2] / "docs/scaling.md"
    monkeypatch.chdir(tmp_path)
    blocks = re.findall(r"^```python\n(.*?)^```", page.read_text(), re.M | re.S)
    test = doctest.DocTestParser().get_doctest("\n".join(blocks), {}, "scaling", str(page), 0)
    result = doctest.DocTestRunner().run(test)
    assert result.attempted > 10 and result.failed == 0
