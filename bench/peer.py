"""What the Python peers of the benchmarks share: the generator of the samples, timing, printing."""
import os
import statistics
import sys
import time
import timeit

for variable in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[variable] = "1"  # read when numpy is imported

try:
    import numpy as np
except ImportError:
    print("note absent numpy is not installed (Debian: python3-numpy)")
    sys.exit(0)


def bits(count, which):
    """The same 32 bits per element as bench.h makes."""
    h = np.arange(count, dtype=np.uint32) * np.uint32(2654435761) + np.uint32(which * 40503)
    h = (h ^ (h >> np.uint32(15))) * np.uint32(2246822519)
    return h ^ (h >> np.uint32(13))


def real(count, which):
    """Floats in [0.5, 1.5), as bench.h makes them."""
    part = (bits(count, which) >> np.uint32(9)).astype(np.float32)
    return np.float32(0.5) + part * np.float32(2.0**-23)


def ours(directory, name, count, kind):
    """The sample of its result that the benchmark has left."""
    return np.fromfile(os.path.join(directory, f"{name}.{count}"), dtype=kind)


def nanoseconds(call, names=None):
    """The median processor time of a call, or of a statement that knows `names`."""
    timer = timeit.Timer(call, timer=time.process_time, globals=names)
    calls = 1
    while timer.timeit(calls) < 2e-3:
        calls *= 2
    samples = []
    while len(samples) < 5 or (len(samples) < 15 and sum(samples) < 0.25):
        samples.append(timer.timeit(calls))
    return statistics.median(samples) / calls * 1e9


def report(name, count, good, call, names=None):
    """Says whether the results agree, then times."""
    print("check", name, count, "agree" if good else "DIFFER")
    print("time", name, count, f"{nanoseconds(call, names):.4g}", flush=True)
