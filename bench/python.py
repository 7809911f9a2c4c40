"""The Python package beside numpy, in one process: the shortest of many runs, taken in turns.

    ./dev python bench             prints the table
    ./dev python bench --results   writes it into bench/RESULTS.md, too
"""

import datetime
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import timeit

import dataprocessing as dp
import numpy as np

SIZES = (10, 1000, 1_000_000)
PAGE = pathlib.Path(__file__).parent / "RESULTS.md"
TITLE = "\n## python\n"
ABOUT = """
Operators and crossings of the Python package beside numpy in the same process, the shortest of many runs each, taken
in turns; `./dev python bench --results` writes this part. Times are microseconds.

"""


def shortest(ours, theirs):
    """Of 25 runs of each, in turns, so that what disturbs one disturbs the other."""
    timers = [timeit.Timer(function) for function in (ours, theirs)]
    rounds = [max(1, timer.autorange()[0] // 20) for timer in timers]
    runs = [[timer.timeit(count) / count for timer, count in zip(timers, rounds)] for _ in range(25)]
    return [min(column) * 1e6 for column in zip(*runs)]


def cases(n):
    rng = np.random.default_rng(1)
    f, g = rng.random(n, dtype="f4"), rng.random(n, dtype="f4")
    u, v = (rng.integers(0, 1000, n).astype("u2") for _ in range(2))
    a, b, c, d = map(dp.Array1D, (f, g, u, v))
    # The same values before the same time.
    assert np.array_equal((a + b).values, f + g) and np.array_equal((5.0 - a).values, np.float32(5) - f)
    assert np.array_equal((a * 2.0).values, f * 2) and np.array_equal((c + d).values, u.astype("i4") + v)
    assert np.array_equal((a + g).values, f + g) and np.array_equal((g * a).values, g * f)
    return {
        "a + b, f4": (lambda: a + b, lambda: f + g),
        "a * 2.0": (lambda: a * 2.0, lambda: f * 2.0),
        "u2 + u2": (lambda: c + d, lambda: u.astype("i4") + v.astype("i4")),
        "a + ndarray": (lambda: a + g, lambda: f + g),
        "ndarray * a": (lambda: g * a, lambda: g * f),
        "5.0 - a": (lambda: 5.0 - a, lambda: 5.0 - f),
        "a > b": (lambda: a > b, lambda: f > g),
        "np.sqrt(a)": (lambda: np.sqrt(a), lambda: np.sqrt(f)),
        "a.max()": (a.max, f.max),
        "np.asarray(a)": (lambda: np.asarray(a), lambda: np.asarray(f)),
        "Array1D(f)": (lambda: dp.Array1D(f), lambda: np.copy(f)),
    }


def import_time():
    """Milliseconds of `import dataprocessing` after numpy, the shortest of nine, from compiled files as installed ones."""
    code = "import numpy, time; t = time.process_time(); import dataprocessing; print(time.process_time() - t)"
    with tempfile.TemporaryDirectory() as folder:
        environment = {**os.environ, "PYTHONPYCACHEPREFIX": folder}
        environment.pop("PYTHONDONTWRITEBYTECODE", None)
        return min(float(subprocess.check_output([sys.executable, "-c", code], env=environment)) for _ in range(9)) * 1e3


def table():
    rows = ["| case |" + "".join(f" n = {n:,} | numpy | ratio |" for n in SIZES), "|---|" + "--:|--:|--:|" * len(SIZES)]
    tables = [cases(n) for n in SIZES]
    for name in tables[0]:
        cells = [shortest(*one[name]) for one in tables]
        rows.append(f"| `{name}` |" + "".join(f" {o:.2f} | {t:.2f} | {o / t:.2f} |" for o, t in cells))
    return "\n".join(rows) + "\n"


def about():
    cpu = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")), "unknown")
    flags = set(re.search(r"^flags\s*:(.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.M)[1].split())
    highest = "v4" if {"avx512f", "avx512bw", "avx512vl"} <= flags else "v3" if {"avx2", "fma", "bmi2"} <= flags else "baseline"
    level = os.environ.get("DATAPROCESSING_LEVEL", highest)
    return (
        f"{ABOUT}Taken {datetime.datetime.now(datetime.timezone.utc):%Y-%m-%d %H:%M} UTC on {cpu}, load "
        f"{os.getloadavg()[0]:.1f}, level: {level}, numpy {np.__version__}. `import dataprocessing` takes "
        f"{import_time():.1f} ms after numpy.\n\n"
    )


def main():
    text = about() + table()
    print(text)
    if "--results" in sys.argv[1:]:
        page = PAGE.read_text().split(TITLE)[0].rstrip("\n") + "\n"
        PAGE.write_text(page + TITLE + text)
        print(f"written: {PAGE}")


if __name__ == "__main__":
    main()
