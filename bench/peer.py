"""What the Python peers of the benchmarks share: the generator of the samples, comparison, timing, printing.

usage of each: NAME.py DIRECTORY   (where bench_NAME left samples of its results)

A peer compares the samples first, then prints times in the same form.
"""
import importlib
import os
import pathlib
import statistics
import sys
import time
import timeit

for variable in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[variable] = "1"  # read when numpy is imported

DIRECTORY = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")


def needed(module, title, package):
    """The module that is compared with; where it is absent, that is all there is to say."""
    try:
        found = importlib.import_module(module)
    except ImportError:
        print(f"note absent {title} is not installed (Debian: {package})")
        sys.exit(0)
    print("note peer", title, found.__version__)
    return found


def opencv():
    """On one thread."""
    cv2 = needed("cv2", "OpenCV", "python3-opencv")
    cv2.setNumThreads(1)
    return cv2


np = needed("numpy", "numpy", "python3-numpy")


def bits(count, which):
    """The same 32 bits per element as bench.h makes."""
    h = np.arange(count, dtype=np.uint32) * np.uint32(2654435761) + np.uint32(which * 40503)
    h = (h ^ (h >> np.uint32(15))) * np.uint32(2246822519)
    return h ^ (h >> np.uint32(13))


def short(count, which):
    return (bits(count, which) >> np.uint32(16)).astype(np.uint16)


def byte(count, which):
    return (bits(count, which) >> np.uint32(24)).astype(np.uint8)


def real(count, which):
    """Floats in [0.5, 1.5), as bench.h makes them."""
    part = (bits(count, which) >> np.uint32(9)).astype(np.float32)
    return np.float32(0.5) + part * np.float32(2.0**-23)


def double(count, which):
    return real(count, which).astype(np.float64)


def pairs(count, which):
    """Complex numbers."""
    return real(count, which) + np.complex64(1j) * real(count, which + 1)


def ours(name, count, kind):
    """The sample of its result that the benchmark has left."""
    return np.fromfile(DIRECTORY / f"{name}.{count}", dtype=kind)


def within(bound, share=1.0):
    """At least this share of the elements differs by no more than a bound, or by bound(theirs)."""
    def agrees(sample, theirs):
        limit = bound(theirs) if callable(bound) else bound
        return sample.shape == theirs.shape and np.mean(np.abs(sample - theirs) <= limit) >= share
    return agrees


def rounded(times):
    """So many roundings of each element; integers exactly."""
    return within(lambda theirs: 0 if theirs.dtype.kind in "iu" else times * np.finfo(theirs.dtype).eps * np.abs(theirs))


def of_largest(part):
    return within(lambda theirs: part * np.abs(theirs).max())


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


def check(name, count, good):
    print("check", name, count, "agree" if good else "DIFFER")


def report(name, count, good, call, names=None, scale=1):
    """Says whether the results agree, then times; a call that does a part of the work has a scale."""
    check(name, count, good)
    print("time", name, count, f"{nanoseconds(call, names) * scale:.4g}", flush=True)


def compare(cases, names=None, agrees=np.array_equal, count=None, kind=None):
    """Every case, a name and a call or a statement: agrees(sample, theirs) is asked of the elements that the benchmark
    left, of which there are 4096 or a few more. A case is named by its size, where `count` does not say another, and
    samples are of its type, where `kind` does not."""
    for name, call in cases.items():
        result = np.asarray(eval(call, names) if isinstance(call, str) else call())
        result = result.astype(kind or (np.uint8 if result.dtype == bool else result.dtype))  # a truth value is a byte
        size = count or result.size
        report(name, size, agrees(ours(name, size, result.dtype), result.reshape(-1)[::max(1, result.size // 4096)]),
               call, names)
