"""How arrays look, and how they go to and come from other libraries."""

import html.parser
import io
import math
import subprocess
import sys

import dataprocessing as dp
import numpy as np
import pytest


class Balanced(html.parser.HTMLParser):
    """Fails on markup that is not closed."""

    def __init__(self):
        super().__init__()
        self.open = []

    def handle_starttag(self, tag, attributes):
        if tag not in ("img",):
            self.open.append(tag)

    def handle_startendtag(self, tag, attributes):
        """A tag that closes itself."""

    def handle_endtag(self, tag):
        assert self.open.pop() == tag


def check_markup(text):
    parser = Balanced()
    parser.feed(text)
    assert parser.open == []


def test_text():
    a = dp.Array1D(np.arange(1024, dtype="f4"), dp.Axis(6.2, 0.01, name="energy", unit="keV"), name="counts")
    assert repr(a) == (
        "<Array1D float32 (1024) counts energy 6.2..16.44 keV, delta 0.01\n [0 1 2 ... 1021 1022 1023]>"
    )
    assert repr(dp.Array2D(np.eye(2)) > 0) == (
        "<Mask2D bool (2 x 2) 0..2, delta 1; 0..2, delta 1\n [True False False True]>"
    )


@pytest.mark.parametrize("values", [[], [1.0], [np.nan] * 5, [np.inf, 1], [3j, 1], [5, 5], np.arange(100000)])
def test_markup_of_lines(values):
    text = dp.Array1D(values, name="<b>", unit="&")._repr_html_()
    check_markup(text)
    assert "&lt;b&gt;" in text and "<b>" not in text and len(text) < 25000 and "nan" not in text.split("<svg")[-1]


@pytest.mark.parametrize("shape", [(0, 3), (1, 1), (3, 5), (2000, 1500)])
def test_markup_of_images(shape):
    text = dp.Array2D(np.random.default_rng(1).random(shape))._repr_html_()
    check_markup(text)
    assert len(text) < 60000 and ("data:image/png" in text) == (0 not in shape)


def test_the_picture_of_an_image_is_one():
    image = pytest.importorskip("matplotlib.image")
    import base64
    import io

    text = dp.Array2D(np.array([[0.0, 1.0], [2.0, 4.0]]))._repr_html_()
    data = base64.b64decode(text.split("base64,")[1].split('"')[0])
    pixels = image.imread(io.BytesIO(data))
    assert (pixels * 255).round().astype(int).tolist() == [[127, 255], [0, 63]]  # row 0 is at the bottom


def test_plots():
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    a = dp.Array1D([1, 5, 2], dp.Axis(6.2, 0.1, name="energy", unit="keV"), name="counts")
    ax = a.plot(color="black")
    edges = ax.patches[0].get_data().edges
    assert edges.tolist() == a.axis.edges(3).tolist() and ax.get_xlabel() == "energy / keV"
    assert ax.get_ylabel() == "counts" and a.plot(ax) is ax
    image = dp.Array2D(np.ones((2, 3)), axes=(dp.Axis(1, 0.5), dp.Axis(0, 2)))
    shown = image.plot().images[0]
    assert list(shown.get_extent()) == [0, 6, 1, 2] and shown.origin == "lower"
    (a > 1).plot()
    dp.fft(a).plot()
    matplotlib.pyplot.close("all")


def test_import_is_light():
    code = "import sys, dataprocessing; print([m for m in ('matplotlib', 'xarray', 'hyperspy', 'scipy') if m in sys.modules])"
    assert subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True).stdout == "[]\n"


def test_xarray_there_and_back():
    xarray = pytest.importorskip("xarray")
    a = dp.Array1D(np.arange(5, dtype="u2"), dp.Axis(6.2, 0.1, name="energy", unit="keV"), name="counts", unit="1")
    data = a.to_xarray()
    assert data.dims == ("energy",) and data.attrs["units"] == "1" and np.shares_memory(data.values, a.values)
    back = dp.from_xarray(data)
    assert back.identical(a)
    image = dp.Array2D(np.ones((2, 3)), axes=(dp.Axis(0, 2), dp.Axis(-0.3, 0.01)))
    assert image.to_xarray().dims == ("y", "x") and dp.from_xarray(image.to_xarray()).identical(image)
    assert dp.from_xarray(xarray.DataArray([1.0, 2.0], dims="t")).axis == dp.Axis(name="t")
    with pytest.raises(ValueError):
        dp.from_xarray(xarray.DataArray(np.zeros((1, 1, 1))))
    with pytest.raises(ValueError, match="straight"):
        dp.from_xarray(xarray.DataArray([1.0, 2, 3], coords={"x": [0, 1, 5]}, dims="x"))
    total = data + xarray.ones_like(data)
    assert type(a + xarray.ones_like(data)) is type(total)


def test_hyperspy_there_and_back():
    pytest.importorskip("hyperspy")
    a = dp.Array1D(np.arange(5.0), dp.Axis(6.2, 0.1, name="Energy", unit="keV"), name="counts")
    signal = a.to_hyperspy()
    assert np.shares_memory(signal.data, a.values)
    assert dp.from_hyperspy(signal).identical(a)
    image = dp.Array2D(np.ones((2, 3)), axes=(dp.Axis(0, 2, name="y"), dp.Axis(1, 0.5, name="x")))
    assert dp.from_hyperspy(image.to_hyperspy()).identical(image)


def test_assertions_for_tests():
    from dataprocessing.testing import assert_close, assert_identical

    a = dp.Array1D([1.0, 2.0])
    assert_identical(a, a.copy())
    with pytest.raises(AssertionError, match=r"\(1,\)"):
        assert_identical(a, dp.Array1D([1.0, 3.0]))
    mask = a > 1
    assert_identical(mask, mask.copy())
    assert_identical(a.values, a.values.copy())
    for one, other in ((mask, ~mask), (a.values, -a.values), (a, a.values), (mask, a), (mask, dp.Mask1D([False, True], dp.Axis(5)))):
        with pytest.raises(AssertionError):
            assert_identical(one, other)
    with pytest.raises(AssertionError, match="arrays"):
        assert_close(a.values, a)
    with pytest.raises(AssertionError, match="dtype"):
        assert_identical(a, a.astype("f4"))
    assert_close(a, dp.Array1D([1.0, 2.0 + 1e-9]))
    with pytest.raises(AssertionError):
        assert_close(a, dp.Array1D([1.0, 2.0], dp.Axis(0.5)))
    for one, other in (([1], [2]), ([1], [1]), (dp.Axis(1), dp.Axis(2)), (1.0, 1.0), (a, [1.0, 2.0]), (None, None)):
        for check in (assert_identical, assert_close):
            with pytest.raises(AssertionError, match="to be"):
                check(one, other)
    assert_identical(a[1], np.float64(2))
    optimised = "from dataprocessing.testing import *; import dataprocessing as dp; assert_identical(dp.Array1D([1]), dp.Array1D([2]))"
    assert b"AssertionError" in subprocess.run([sys.executable, "-O", "-c", optimised], capture_output=True).stderr
    assert not math.isnan(a.sum())


def test_close_arrays_have_no_two_units():
    from dataprocessing.testing import assert_close

    metres = dp.Array1D([1.0], dp.Axis(unit="keV"), unit="m")
    assert_close(metres, dp.Array1D([1.0], name="n"))
    assert_close(dp.Array1D([1], dtype="u1"), metres)
    for other in (metres.with_labels(unit="s"), metres.with_axes(dp.Axis(unit="eV"))):
        with pytest.raises(AssertionError, match="unit"):
            assert_close(metres, other)
    assert_close(dp.Array2D([[1.0]], (dp.Axis(unit="m"), dp.Axis())), dp.Array2D([[1.0]], (dp.Axis(), dp.Axis(unit="s"))))
    with pytest.raises(AssertionError, match="unit"):
        assert_close(dp.Array2D([[1.0]], (dp.Axis(), dp.Axis(unit="m"))), dp.Array2D([[1.0]], (dp.Axis(), dp.Axis(unit="s"))))


def test_close_masks_are_equal():
    from dataprocessing.testing import assert_close

    mask = dp.Mask1D([True, False], dp.Axis(3.0, unit="m"))
    assert_close(mask, dp.Mask1D([True, False], dp.Axis(3.0)))
    for other in (~mask, dp.Mask1D([True, False]), dp.Mask1D([True]), dp.Array1D([1, 0], dp.Axis(3.0)),
                  dp.Mask1D([True, False], dp.Axis(3.0, unit="s"))):  # fmt: skip
        with pytest.raises(AssertionError):
            assert_close(mask, other)


def test_drawings_of_steep_lines_have_no_gaps():
    from dataprocessing._repr import _envelope

    least, largest = _envelope(np.array([0.0, 0, 100, 50, np.nan, 7]))
    assert all(not (a < b) for a, b in zip(largest[:-1], least[1:]))
    assert all(not (a > b) for a, b in zip(least[:-1], largest[1:]))
    assert np.isnan(least[4]) and least[5] == 7


def test_pictures_of_images_from_the_top():
    pytest.importorskip("matplotlib")
    from matplotlib.figure import Figure

    image = dp.Array2D(np.ones((2, 3)))
    extents = {o: image.plot(Figure().subplots(), origin=o).get_images()[0].get_extent() for o in ("lower", "upper")}
    assert extents == {"lower": (0, 3, 0, 2), "upper": (0, 3, 2, 0)}


def test_labels_are_no_formulas():
    pytest.importorskip("matplotlib")
    from matplotlib.figure import Figure

    figure = Figure()
    dp.Array1D([1, 2], unit="$\\frac$").plot(figure.subplots())
    figure.savefig(io.BytesIO(), format="png")


@pytest.mark.filterwarnings("error")
@pytest.mark.parametrize("values", [[1e20] * 5, [-1.7e308, 1.7e308], [1e308, 1.1e308], [5e-324, 0]])
def test_drawings_at_the_ends_of_the_scale(values):
    assert "svg" in dp.Array1D(values)._repr_html_() and "img" in dp.Array2D([values])._repr_html_()
    assert repr(dp.Array1D([1, 2], dp.Axis(1e10, 1e-5))).count("10000000000.00002") == 1
