"""The examples as their users meet them: run as programs, which the build names in the environment."""
import os
import pathlib
import subprocess

import pytest

TOUR = os.environ.get("TOUR", "")
SOURCE = pathlib.Path(__file__).resolve().parents[2]
DATA = SOURCE.parent / "shared/data"  # measured, and not a part of this tree
MEASURED = pytest.mark.skipif(not (DATA / "spectra").is_dir(), reason=f"there are no measured data at {DATA}")


@pytest.fixture(scope="session")
def tour_in():
    """Runs the tour in a folder: its exit code, and what it says and tells, as text."""
    if not TOUR:
        pytest.skip("the tour is not built")

    def run(folder, *arguments, **options):
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE} | options
        return subprocess.run([TOUR, *arguments], cwd=folder, encoding="utf-8", errors="replace", check=False, **options)
    return run


@pytest.fixture(scope="session")
def told_in(tour_in):
    """What the tour tells on the terminal, where all is well: its lines with single blanks."""
    def run(folder, *arguments, out="out"):
        done = tour_in(folder, "--out", out, *arguments)
        assert (done.returncode, done.stderr) == (0, "")
        assert (folder / out / "report.html").stat().st_size > 0
        return "\n".join(" ".join(line.split()) for line in done.stdout.splitlines())
    return run


@pytest.fixture(scope="session")
def sample(told_in, tmp_path_factory):
    """What it tells of its own sample."""
    return told_in(tmp_path_factory.mktemp("sample"), out="a 'deep'/folder")


@pytest.fixture
def tour(tour_in, tmp_path):
    return lambda *arguments, **options: tour_in(tmp_path, *arguments, **options)


@pytest.fixture
def told(told_in, tmp_path):
    return lambda *arguments, **options: told_in(tmp_path, *arguments, **options)
