"""What the command line and the environment ask for."""
import argparse
import os
import pathlib


def positive(text):
    value = int(text)
    if value < 1:
        raise argparse.ArgumentTypeError("at least 1")
    return value


def parse(arguments, names, build):
    parser = argparse.ArgumentParser(
        prog="./dev bench", allow_abbrev=False,
        description="Builds the benchmarks, runs them beside their peers and prints one table of "
        "ratios: below 1 we are faster. Writes the figures as JSON and draws them.",
        epilog=f"subsystems: {', '.join(names)}. Peers are numpy, OpenCV, FFTW and Ceres (Debian: "
        "python3-numpy, python3-opencv, libfftw3-dev, libceres-dev); one that is not installed is "
        "reported as absent. BENCH_BUILD names another build directory than build/release, "
        "DATAPROCESSING_LEVEL another instruction-set level than the highest.")
    parser.add_argument("names", nargs="*", metavar="NAME", help="a subsystem (default: all)")
    parser.add_argument("--launches", type=positive, metavar="N",
                        default=os.environ.get("BENCH_LAUNCHES", "3"),
                        help="how often each program is run (default: BENCH_LAUNCHES, or 3)")
    parser.add_argument("--json", type=pathlib.Path, metavar="F",
                        default=build.parent / "bench" / "results.json",
                        help="where the figures go (default: build/bench/results.json); the "
                        "drawing goes beside it, as .svg")
    parser.add_argument("--results", action="store_true",
                        help="measures nothing: writes bench/RESULTS.md and bench/results.svg from "
                        "the figures of an earlier run of all subsystems")
    options = parser.parse_args(arguments)
    unknown = [name for name in options.names if name not in names]
    if unknown:
        parser.error(f"there is no subsystem {', '.join(unknown)}; there are {', '.join(names)}")
    if options.results and options.names:
        parser.error("--results takes no subsystem: the page holds all of them")
    options.names = options.names or names
    return options
