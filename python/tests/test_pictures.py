"""Figures look as the stored ones do, and what notebooks show is seen by a browser.

DATAPROCESSING_PICTURES=write draws the stored figures again.
"""

import html
import io
import json
import os
import pathlib
import re
import shutil
import subprocess

import dataprocessing as dp
import numpy as np
import pytest

STORED = pathlib.Path(__file__).parent / "pictures"
ENERGY = dp.Axis(6.0, 0.02, name="energy", unit="keV")
X = ENERGY.positions(60)
LINE = dp.Array1D(np.round(400 * np.exp(-(((X - 6.4) / 0.08) ** 2)) + 30), ENERGY, name="counts")
AXES = (dp.Axis(-1.0, 0.25, name="y", unit="um"), dp.Axis(2.0, 0.5, name="x", unit="um"))
IMAGE = dp.Array2D(np.add.outer(np.arange(8.0) ** 2, np.arange(12.0)), AXES, name="height", unit="nm")


def fitted(ax):
    model = dp.fitting.PeakModel()
    model.peak("gaussian", 6.38, 300, 0.05)
    model.polynomial([20])
    LINE.plot(ax)
    dp.fitting.peaks(LINE, model).eval().plot(ax, color="C1")


FIGURES = {
    "line": lambda ax: LINE.plot(ax),
    "filled": lambda ax: LINE.plot(ax, fill=True, color="0.6"),
    "fit": fitted,
    "image": lambda ax: IMAGE.plot(ax),
    "mask": lambda ax: (IMAGE > 20).plot(ax, cmap="gray"),
    "complex": lambda ax: dp.fft(LINE).plot(ax),
}


def drawing(draw):
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    from matplotlib import pyplot

    with matplotlib.rc_context():
        matplotlib.rcdefaults()
        figure, ax = pyplot.subplots(figsize=(3.2, 2.4), dpi=60, layout="constrained")
        draw(ax)
        file = io.BytesIO()
        figure.savefig(file, format="png", metadata={"Software": None})
        pyplot.close(figure)
    return file.getvalue()


def difference(drawn, stored):
    from matplotlib import image

    a, b = (image.imread(io.BytesIO(one))[..., :3] for one in (drawn, stored))
    assert a.shape == b.shape
    return np.sqrt(np.mean((a - b) ** 2))


# Letters differ a little between versions of fonts.
TOLERANCE = 0.02


@pytest.mark.parametrize("name", FIGURES)
def test_figure_is_the_stored_one(name):
    drawn = drawing(FIGURES[name])
    path = STORED / f"{name}.png"
    if os.environ.get("DATAPROCESSING_PICTURES") == "write":
        path.write_bytes(drawn)
    assert difference(drawn, path.read_bytes()) < TOLERANCE


def test_other_figures_are_told_apart():
    for name, other in {
        "line": lambda ax: LINE.with_axes(dp.Axis(6.1, 0.02, name="energy", unit="keV")).plot(ax),
        "fit": lambda ax: LINE.plot(ax),
        "image": lambda ax: dp.Array2D(IMAGE.values[::-1], IMAGE.axes).plot(ax),
        "mask": lambda ax: (IMAGE > 30).plot(ax, cmap="gray"),
    }.items():
        assert difference(drawing(other), (STORED / f"{name}.png").read_bytes()) > TOLERANCE, name


# ---- A notebook in a browser --------------------------------------------------------------------

CELLS = [
    "import dataprocessing as dp, numpy as np\nspectrum = dp.Array1D(100 * np.exp(-np.linspace(-3, 3, 600) ** 2), "
    "dp.Axis(6.0, 0.01, unit='keV'), name='<Fe>')\nspectrum",
    "image = dp.Array2D(np.arange(3000.0).reshape(50, 60))\nimage",
    "spectrum > 50",
    "spectrum.axis",
    "model = dp.fitting.PeakModel()\nmodel.peak('gaussian', 9.0, 90, 0.7)\ndp.fitting.peaks(spectrum, model)",
]


def browser():
    program = shutil.which("chromium")
    if program is None:
        pytest.skip("there is no browser")
    return program


def run_notebook():
    nbformat = pytest.importorskip("nbformat")
    nbclient = pytest.importorskip("nbclient")
    notebook = nbformat.v4.new_notebook(cells=[nbformat.v4.new_code_cell(cell) for cell in CELLS])
    nbclient.NotebookClient(notebook, timeout=120).execute()
    return [cell.outputs[-1]["data"]["text/html"] for cell in notebook.cells]


def test_notebook_in_a_browser(kernel, tmp_path):
    image = pytest.importorskip("matplotlib.image")
    program = browser()
    shown = run_notebook()
    page = tmp_path / "page.html"
    # Drawings have the size that they claim, pictures are loaded, and no text is taken for markup.
    script = """<script>addEventListener('load', () => {
        const said = [...document.querySelectorAll('svg path')].map(p => { const b = p.getBBox(); return [b.width, b.height]; });
        const pictures = [...document.images].map(i => [i.naturalWidth, i.naturalHeight, i.complete]);
        const names = [...document.querySelectorAll('td')].map(c => c.textContent);
        document.title = JSON.stringify([said, pictures, names]); });</script>"""
    body = "".join(f'<section style="height:220px">{one}</section>' for one in shown)
    page.write_text(f"<!doctype html><meta charset='utf-8'><body style='margin:0'>{body}{script}")
    options = [
        "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", f"--user-data-dir={tmp_path}/profile",
        "--window-size=700,1100",
    ]  # fmt: skip
    # A runtime that checks this process's memory is none of the browser's.
    alone = {key: value for key, value in os.environ.items() if key != "LD_PRELOAD"}
    dump = subprocess.run([program, *options, "--dump-dom", page.as_uri()], capture_output=True, text=True, timeout=120, env=alone)
    drawings, pictures, names = json.loads(html.unescape(re.search("<title>(.*?)</title>", dump.stdout, re.S)[1]))
    assert len(drawings) >= 2 and all(width > 300 and 60 < height <= 90 for width, height in drawings)
    assert pictures == [[60, 50, True]]
    assert "<Fe>" in names and "Array1D of float64" in names
    shot = tmp_path / "page.png"
    subprocess.run([program, *options, f"--screenshot={shot}", page.as_uri()], capture_output=True, timeout=120, env=alone)
    seen = image.imread(shot)[..., 0]
    # Every output but the page between them has dark text; the image's upper rows are the bright ones.
    assert all((seen[220 * k : 220 * k + 200] < 0.5).mean() > 0.002 for k in range(len(shown)))
