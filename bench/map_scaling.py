"""A map that is larger than memory, from store to store: what a chunk costs.

    PYTHONPATH=build/release/python /usr/bin/python3 bench/map_scaling.py FOLDER [--rows 1024] [--columns 1024]

makes a map of 2048 channels of 16-bit counts in FOLDER/map.zarr, chunk by chunk, unless it is there; fits five peaks
and a line to every spectrum on two threads into FOLDER/planes.zarr, going on where an earlier run ended; and measures
the parts of a chunk's time one by one, from which docs/scaling.md works out what many workers would do.
"""

import argparse
import pathlib
import resource
import threading
import time

import dask
import dask.array as da
import dataprocessing as dp
import numpy as np
import zarr

CHANNELS = 2048
CHUNK = (32, 128)
AXIS = dp.Axis(0.0, 0.01, name="energy", unit="keV")
LINES = {"Ca": 3.69, "Ti": 4.51, "Cr": 5.41, "Fe": 6.40, "Ni": 7.48}


def model():
    peaks = dp.fitting.PeakModel()
    for name, position in LINES.items():
        peaks.peak("gaussian", position, 300, 0.06, name=name)
    peaks.polynomial([20, 0], 10.0)
    return peaks


def make(path, shape):
    """Every chunk holds spectra of a pool of 8192, in another order: to draw them all would take as long as ten fits."""
    random = np.random.default_rng(1)
    x = AXIS.positions(CHANNELS)
    curves = 20.0 + sum(
        random.uniform(40, 480, (8192, 1)) * np.exp(-(((x - position - random.normal(0, 0.002, (8192, 1))) / 0.06) ** 2) / 2)
        for position in LINES.values()
    )
    pool = random.poisson(curves).astype("u2")
    store = zarr.open_array(str(path), "w", shape=(*shape, CHANNELS), chunks=(*CHUNK, CHANNELS), dtype="u2")
    for y in range(0, shape[0], CHUNK[0]):
        for x0 in range(0, shape[1], CHUNK[1]):
            rows, columns = min(CHUNK[0], shape[0] - y), min(CHUNK[1], shape[1] - x0)
            store[y : y + rows, x0 : x0 + columns] = pool[random.integers(0, 8192, (rows, columns))]
    store.attrs["done"] = True


def is_made(path, shape):
    if not path.exists():
        return False
    store = zarr.open_array(str(path), "r")
    return store.shape == (*shape, CHANNELS) and store.attrs.get("done", False)


class Parts:
    """Seconds of processor and of the clock for the parts of a chunk."""

    def __init__(self, folder):
        data = zarr.open_array(str(folder / "map.zarr"), "r")
        block = np.asarray(data[: CHUNK[0], : CHUNK[1]])
        self.bytes = block.nbytes
        self.stored = data.nbytes_stored / max(1, data.nchunks)
        self.read = self.shortest(lambda: data[: CHUNK[0], : CHUNK[1]])
        self.kernel = self.shortest(lambda: dp.maps.peaks(block, model(), AXIS), 3)
        planes = dp.maps.peaks(block, model(), AXIS)
        out = str(folder / "one.zarr")
        self.write = self.shortest(lambda: dp.maps.store(planes, out))
        self.planes = sum(one.nbytes for one in planes._stacks.values())

    @staticmethod
    def shortest(call, count=5):
        call()
        best = float("inf")
        for _ in range(count):
            start = time.thread_time()
            call()
            best = min(best, time.thread_time() - start)
        return best


def scheduler_cost(processes):
    """Milliseconds of the scheduler for a task that does nothing."""
    import distributed

    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=processes, dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            client.gather(client.map(abs, range(200)))
            start = time.perf_counter()
            client.gather(client.map(abs, range(1000, 3000)))
            return (time.perf_counter() - start) / 2000


def resident():
    return int(pathlib.Path("/proc/self/statm").read_text().split()[1]) * resource.getpagesize()


class Watch(threading.Thread):
    """The most memory that was resident while something ran."""

    def __init__(self):
        super().__init__(daemon=True)
        self.most, self.ended = resident(), threading.Event()

    def run(self):
        while not self.ended.wait(0.01):
            self.most = max(self.most, resident())


def fit(folder, workers):
    data = da.from_zarr(str(folder / "map.zarr"))
    watch = Watch()
    watch.start()
    start, used = time.perf_counter(), time.process_time()
    with dask.config.set(scheduler="threads", num_workers=workers):
        count = dp.maps.store(dp.maps.peaks(data, model(), AXIS), folder / "planes.zarr", resume=True)
    wall, cpu = time.perf_counter() - start, time.process_time() - used
    watch.ended.set()
    return count, wall, cpu, watch.most


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--rows", type=int, default=1024)
    parser.add_argument("--columns", type=int, default=1024)
    parser.add_argument("--workers", type=int, default=2)
    chosen = parser.parse_args()
    chosen.folder.mkdir(parents=True, exist_ok=True)
    shape = (chosen.rows, chosen.columns)
    if not is_made(chosen.folder / "map.zarr", shape):
        start = time.perf_counter()
        make(chosen.folder / "map.zarr", shape)
        print(f"made: {shape[0]} x {shape[1]} x {CHANNELS}, {time.perf_counter() - start:.0f} s")
    data = zarr.open_array(str(chosen.folder / "map.zarr"), "r")
    print(f"map: {data.nbytes / 2**30:.2f} GiB, {data.nbytes_stored / 2**30:.2f} GiB stored, {data.nchunks} chunks")

    count, wall, cpu, most = fit(chosen.folder, chosen.workers)
    print(f"fitted: {count} chunks, {wall:.1f} s by the clock, {cpu:.1f} s of processor, {most / 2**20:.0f} MiB resident at most")
    status = dp.maps.load(chosen.folder / "planes.zarr").status.compute()
    print(f"good: {(status == 0).mean():.5f}")

    parts = Parts(chosen.folder)
    spectra = CHUNK[0] * CHUNK[1]
    print(f"a chunk, ms of one processor: read {parts.read * 1e3:.1f}, fit {parts.kernel * 1e3:.1f}, write "
          f"{parts.write * 1e3:.1f}; {parts.kernel / spectra * 1e6:.1f} us a spectrum; {parts.stored / 2**20:.1f} MiB stored "
          f"of {parts.bytes / 2**20:.0f}, {parts.planes / 2**20:.1f} MiB of planes")  # fmt: skip
    if count == data.nchunks:
        print(f"wall / (fit / {chosen.workers}): {wall / (parts.kernel * count / chosen.workers):.2f}")
    for processes in (False, True):
        print(f"a task of the scheduler, {'processes' if processes else 'threads'}: {scheduler_cost(processes) * 1e3:.2f} ms")


if __name__ == "__main__":
    main()
