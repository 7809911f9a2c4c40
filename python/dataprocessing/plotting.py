"""Arrays as figures, by matplotlib, which is imported when one is asked for."""

from __future__ import annotations

import numpy as np

from dataprocessing._core import Array1D, Array2D, Axis, Mask1D, Mask2D

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Any

    from matplotlib.axes import Axes

__all__ = ["plot"]


def _label(name: str, unit: str) -> str:
    text = f"{name} / {unit}" if name and unit else name or unit
    return text.replace("$", r"\$")  # no formula


def _axes(ax: Axes | None) -> Axes:
    if ax is not None:
        return ax
    import matplotlib.pyplot as plt

    return plt.subplots()[1]


def _edges(axis: Axis, count: int) -> tuple[float, float]:
    return axis.position(0), axis.position(count)


def plot(self: Any, ax: Axes | None = None, **options: Any) -> Axes:
    """Draws the array and returns matplotlib's Axes.

    A line becomes stairs over the edges of its elements (options are those of ``Axes.stairs``); an image is shown with
    row 0 at the bottom and its positions along the sides (those of ``Axes.imshow``). Of complex elements the magnitude
    is drawn. Names and units become labels. A 1D array, an image or a mask. ImportError without matplotlib, whose own
    errors come through.

        >>> import matplotlib.figure, dataprocessing as dp
        >>> ax = matplotlib.figure.Figure().subplots()
        >>> dp.Array1D([1.0, 2.0], dp.Axis(unit="mm")).plot(ax, color="red").get_xlabel()
        'mm'
    """
    ax = _axes(ax)
    values = self.values
    if values.dtype.kind == "c":
        values = np.abs(values)
    if values.dtype == bool:
        values = values.astype("u1")
    if self.ndim == 1:
        ax.stairs(values, self.axis.edges(self.size), **options)
        ax.set_xlabel(_label(self.axis.name, self.axis.unit))
        ax.set_ylabel(_label(getattr(self, "name", ""), getattr(self, "unit", "")))
        return ax
    y, x = self.axes
    rows, columns = self.shape
    origin = options.setdefault("origin", "lower")
    bottom, top = _edges(y, rows)
    options.setdefault("extent", (*_edges(x, columns), *((bottom, top) if origin == "lower" else (top, bottom))))
    ax.imshow(values, **options)
    ax.set_xlabel(_label(x.name, x.unit))
    ax.set_ylabel(_label(y.name, y.unit))
    ax.set_title(_label(getattr(self, "name", ""), getattr(self, "unit", "")))
    return ax


_cls: Any
for _cls in (Array1D, Array2D, Mask1D, Mask2D):
    _cls.plot = plot
