"""Every program of the cookbook, in C++ and in Python, prints what the file beside it says; those of Python draw a figure.

COOKBOOK names the folder of the built programs, PACKAGE that of the Python package, where it is built.
"""
import importlib.util
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
FOLDER = SOURCE / "examples/cookbook"
RECIPES = sorted(path.stem for path in FOLDER.glob("*.md") if path.stem != "README")


@pytest.mark.parametrize("suffix", [".cpp", ".py", ".txt"])
def test_files(suffix):
    assert {path.stem for path in FOLDER.glob(f"*{suffix}")} - {"CMakeLists"} == set(RECIPES)


def test_contents():
    text = (FOLDER / "README.md").read_text()
    assert len(RECIPES) == 20 and all(f"({name}.md)" in text for name in RECIPES)


def check(name, command, folder, **environment):
    for data in [*(SOURCE / "examples/python").glob("*.txt"), *(FOLDER / "data").iterdir()]:
        shutil.copy(data, folder)
    done = subprocess.run(command, cwd=folder, env={**os.environ, **environment}, capture_output=True, text=True)
    assert done.stdout == (FOLDER / f"{name}.txt").read_text(), done.stderr
    assert done.returncode == 0


@pytest.mark.parametrize("name", RECIPES)
def test_cpp(name, tmp_path):
    check(name, [pathlib.Path(os.environ["COOKBOOK"]) / name], tmp_path)


@pytest.mark.parametrize("name", RECIPES)
def test_python(name, tmp_path):
    if "PACKAGE" not in os.environ or not importlib.util.find_spec("matplotlib"):
        pytest.skip("the Python package is not built, or there is no matplotlib")
    command = [sys.executable, FOLDER / f"{name}.py"]
    check(name, command, tmp_path, PYTHONPATH=os.environ["PACKAGE"], MPLBACKEND="Agg")
    assert (tmp_path / f"{name}.png").is_file()
