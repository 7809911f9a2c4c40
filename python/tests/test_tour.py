"""The tour runs from its first cell to its last, and shows what it tells of."""

import pathlib

import pytest

FOLDER = pathlib.Path(__file__).parents[2] / "examples/python"


def test_tour(kernel, monkeypatch):
    nbformat = pytest.importorskip("nbformat")
    nbclient = pytest.importorskip("nbclient")
    pytest.importorskip("matplotlib")
    monkeypatch.setenv("MPLBACKEND", "module://matplotlib_inline.backend_inline")
    notebook = nbformat.read(FOLDER / "tour.ipynb", as_version=4)
    assert len(notebook.cells) == 15
    nbclient.NotebookClient(notebook, timeout=300, resources={"metadata": {"path": str(FOLDER)}}).execute()
    kinds = [set(output.get("data", {})) for cell in notebook.cells for output in cell.get("outputs", [])]
    assert sum("image/png" in kind for kind in kinds) >= 4 and sum("text/html" in kind for kind in kinds) >= 3
