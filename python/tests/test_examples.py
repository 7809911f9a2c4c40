"""The programs of examples/python run, are short, and tell what they should."""

import os
import pathlib
import shutil
import subprocess
import sys

import pytest

FOLDER = pathlib.Path(__file__).parents[2] / "examples/python"

SAID = {
    "load": "steel [counts] energy 0..10.24 keV, delta 0.01",
    "background": "19920 counts of 34814",
    "find_lines": "6.402 keV, 897",
    "net_counts": "14446 +- 124",
    "fit_lines": "Fe 6.4",
    "line_profile": "highest 175 at 6.1 um",
    "registration": "moved by 1.17, -0.78",
}


def test_every_program_is_told_about():
    assert {path.stem for path in FOLDER.glob("*.py")} == set(SAID)


@pytest.mark.parametrize("name", SAID)
def test_program(name, tmp_path):
    if name == "load":
        pytest.importorskip("matplotlib")
    text = (FOLDER / f"{name}.py").read_text()
    body = text.split('"""\n\n', 1)[1]
    assert len([row for row in body.splitlines() if row]) < 10
    for file in FOLDER.glob("*.txt"):
        shutil.copy(file, tmp_path)
    environment = {**os.environ, "MPLBACKEND": "Agg"}
    done = subprocess.run(
        [sys.executable, FOLDER / f"{name}.py"], cwd=tmp_path, env=environment, capture_output=True, text=True
    )
    assert done.returncode == 0, done.stderr
    assert SAID[name] in done.stdout
