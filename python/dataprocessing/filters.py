"""Smoothing, backgrounds, peaks and bins."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

from dataprocessing import _core
from dataprocessing._arrays import check_axis_units, require_array
from dataprocessing._core import Array1D, Array2D, SnipOrder, SnipScale

__all__ = [
    "FoundPeak", "find_peaks", "rebin", "smooth_gauss", "smooth_median", "smooth_savgol", "snip",
]  # fmt: skip


@dataclass(frozen=True)
class FoundPeak:
    """A peak that :func:`find_peaks` has found.

    ``index`` is the element at the top, ``position`` where the top is between elements; ``prominence`` how far
    one has to descend from it, ``width`` that at half the prominence, ``significance`` what is above the foot
    over the noise of counting.

        >>> import dataprocessing as dp
        >>> dp.find_peaks(dp.Array1D([1, 2, 90, 2, 1]))[0].index
        2
    """

    index: int
    position: float
    height: float
    prominence: float
    width: float
    significance: float


def find_peaks(
    a: Array1D, prominence: float = 0.0, distance: float = 0.0, width: float = 0.0, significance: float = 0.0
) -> list[FoundPeak]:
    """The local maxima that have at least these, by rising index; each 0 asks for nothing.

    ``prominence`` is in units of the values, ``distance`` to every higher peak and ``width`` at half prominence in
    those of the axis, ``significance`` in standard deviations of counts. The first and the last element are no peaks;
    a NaN ends an array as its ends do. ProgramError for what is negative or NaN, and for complex elements. TypeError
    for what is no 1D array.

        >>> import dataprocessing as dp
        >>> a = dp.Array1D([0, 1, 0, 0, 8, 10, 8, 0, 0], dp.Axis(5.0, 0.1, unit="keV"))
        >>> [(peak.index, round(peak.position, 3)) for peak in dp.find_peaks(a, prominence=5)]
        [(5, 5.5)]
    """
    require_array(a, "find_peaks", 1)
    found = _core.peak_find(a, prominence, distance, width, significance)
    return [FoundPeak(p.index, p.position, p.height, p.prominence, p.width, p.significance) for p in found]


def smooth_savgol(a: Array1D, width: int, order: int, derivative: int = 0) -> Array1D:
    """Each element becomes the value there of the polynomial that fits the ``width`` elements around it best.

    With a ``derivative`` it becomes that, per unit of the axis. ``width`` is odd and more than ``order``. Integers
    give float64, other types themselves; NaN spoils what it is part of. ProgramError for other widths, orders and
    derivatives, SizeError for an array of fewer elements than the width. Axis, name and unit stay; those of a
    derivative are empty. TypeError for what is no 1D array.

        >>> import dataprocessing as dp
        >>> dp.smooth_savgol(dp.Array1D([0.0, 1.0, 4.0, 9.0, 16.0]), 5, 2, derivative=1).values.round(9)
        array([-0.,  2.,  4.,  6.,  8.])
    """
    require_array(a, "smooth_savgol", 1)
    smooth = _core.smth_savitzky_golay(a, width, order, derivative)
    return smooth if derivative == 0 else smooth.with_labels(name="", unit="")


def smooth_gauss(a: Any, sigma: float, sigma_y: float | None = None) -> Any:
    """The average weighted by a Gaussian of ``sigma``, in units of the axis; of an image along x and y.

    One sigma holds for both axes of an image. Integers give float64, other types themselves. Beyond the ends elements
    are mirrored; the sum of all stays. ProgramError for a sigma that is negative or not finite. Shape, axes, name and
    unit stay. TypeError for what is no array, ValueError for a ``sigma_y`` of a 1D array.

        >>> import dataprocessing as dp
        >>> dp.smooth_gauss(dp.Array1D([0, 0, 6, 0, 0]), 0.5).values.round(2)
        array([0.  , 0.64, 4.72, 0.64, 0.  ])
    """
    require_array(a, "smooth_gauss")
    if a.ndim == 1:
        if sigma_y is not None:
            raise ValueError("a 1D array has no y")
        return _core.smth_gauss(a, sigma)
    return _core.smth_gauss(a, sigma, sigma if sigma_y is None else sigma_y)


def smooth_median(a: Any, width: int, width_y: int | None = None) -> Any:
    """The median of the ``width`` elements around each, of an image of ``width`` by ``width_y`` (the same, if None).

    Outliers go, edges stay where they are; the type stays. Widths are odd. ProgramError for others and for complex
    elements. Shape, axes, name and unit stay. TypeError for what is no array, ValueError for a ``width_y`` of a 1D
    array.

        >>> import dataprocessing as dp
        >>> dp.smooth_median(dp.Array1D([1, 1, 99, 2, 2]), 3).values
        array([1, 1, 2, 2, 2], dtype=int32)
    """
    require_array(a, "smooth_median")
    if a.ndim == 1:
        if width_y is not None:
            raise ValueError("a 1D array has no y")
        return _core.smth_median(a, width)
    return _core.smth_median(a, width, width if width_y is None else width_y)


def snip(a: Array1D, iterations: int, order: str = "decreasing", scale: str = "counts") -> Array1D:
    """The background of a spectrum: what is narrower than 2 ``iterations`` elements at its foot is clipped.

    ``order`` of the half widths is "decreasing" or "increasing", ``scale`` "counts" or "values". float32 gives
    float32, all others float64. ProgramError for a negative number of iterations and for complex elements. Axis, name
    and unit stay. ValueError for another order or scale, TypeError for what is no 1D array.

        >>> import dataprocessing as dp
        >>> dp.snip(dp.Array1D([4.0, 4.0, 9.0, 4.0, 4.0]), 2).values.round(9)
        array([4., 4., 4., 4., 4.])
    """
    require_array(a, "snip", 1)
    orders = {"decreasing": SnipOrder.DECREASING, "increasing": SnipOrder.INCREASING}
    scales = {"counts": SnipScale.COUNTS, "values": SnipScale.VALUES}
    if order not in orders or scale not in scales:
        raise ValueError('order is "decreasing" or "increasing", scale "counts" or "values"')
    return _core.bgnd_snip(a, iterations, orders[order], scales[scale])


def rebin(a: Any, to: Any, delta_y: float | None = None) -> Any:
    """What was counted, divided among other bins: of width ``to``, or those of another array.

    Of an image ``to`` is the delta along x, ``delta_y`` that along y (the same, if None). Each new element gets the
    share of the old ones that it overlaps, so that the sum stays. Integers give float64. ProgramError for a delta that is
    0, not finite, or whose sign is not that of the axis, UnitError for axes of two units. ``to`` is in units of the axis; name and unit stay.
    TypeError for what is no array and for other dimensions.

        >>> import dataprocessing as dp
        >>> dp.rebin(dp.Array1D([1, 2, 3, 4], dp.Axis(0.0, 0.5)), 1.0).values
        array([3., 7.])
    """
    require_array(a, "rebin")
    if isinstance(to, (Array1D, Array2D)):
        require_array(to, f"rebin of an Array{a.ndim}D", a.ndim)
        check_axis_units(a, to)
        return _core.resc_rebin(a, to)
    if a.ndim == 1:
        return _core.resc_rebin(a, to)
    return _core.resc_rebin(a, to, to if delta_y is None else delta_y)
