"""Transforms, correlations and filters on calibrated axes.

Any size is taken as it is, in double precision (single for float32 and complex64 lines stays exact in
double); the C++ library's own transforms, padded to powers of two, are in ``dataprocessing._core``.
"""

from __future__ import annotations

import numpy as np

from dataprocessing import _core
from dataprocessing._arrays import check_axis_units, require_array
from dataprocessing._core import Array1D, Array2D, Axis

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import NDArray

__all__ = ["autocorrelate", "band_pass", "center", "convolve", "correlate", "fft", "ifft"]


def _made(values: NDArray[Any], axes: list[Axis], name: str = "", unit: str = "") -> Any:
    if values.ndim == 1:
        return Array1D(values, axes[0], name=name, unit=unit)
    return Array2D(values, tuple(axes), name=name, unit=unit)


def _inverse_unit(unit: str) -> str:
    if not unit:
        return ""
    return unit[2:] if unit.startswith("1/") else f"1/{unit}"


def _frequency_axis(axis: Axis, count: int) -> Axis:
    return Axis(0.0, 1 / (count * axis.delta), count // 2, unit=_inverse_unit(axis.unit))


def _require_elements(a: Any) -> None:
    require_array(a, "a transform")
    if a.size == 0:
        raise ValueError("there is nothing to transform")


def fft(a: Any) -> Any:
    """The discrete Fourier transform on an axis of frequencies, 0 in the middle.

    ``sum over k of a[k] exp(-2 pi i j k / n)`` for the frequencies j / (n delta), in cycles per unit of the axis, from
    j = -(n // 2) on: numpy's values, centred. complex128. ValueError without elements. The result has no unit, its axes have
    ``1/unit``. TypeError for what is no array.

        >>> import numpy as np, dataprocessing as dp
        >>> wave = dp.Array1D(np.sin(2 * np.pi * 5 * np.arange(64) / 64), dp.Axis(0, 0.25, unit="mm"))
        >>> abs(abs(dp.fft(wave)).idxmax())
        0.3125
    """
    _require_elements(a)
    values = np.fft.fftshift(np.fft.fftn(np.asarray(a.values, dtype="c16")))
    return _made(values, [_frequency_axis(axis, n) for axis, n in zip(a.axes, a.shape)])


def ifft(spectrum: Any, *, like: Any = None) -> Any:
    """The inverse of ``fft``: ``ifft(fft(a))`` has the elements of ``a``, as complex128.

    Its axes start at 0, or are those of ``like``, an array of the same shape. Units are those of ``fft`` backwards.
    ValueError without elements and for another shape of ``like``, TypeError for what is no array.

        >>> import numpy as np, dataprocessing as dp
        >>> a = dp.Array1D(np.arange(300.0), dp.Axis(-0.3, 0.01))
        >>> bool(np.allclose(dp.ifft(dp.fft(a), like=a).real.values, a.values))
        True
    """
    _require_elements(spectrum)
    values = np.fft.ifftn(np.fft.ifftshift(spectrum.values))
    if like is not None:
        if like.shape != spectrum.shape:
            raise ValueError(f"like has shape {like.shape}, the spectrum {spectrum.shape}")
        return _made(values, list(like.axes))
    axes = [
        Axis(0.0, 1 / (n * axis.delta), unit=_inverse_unit(axis.unit)) for axis, n in zip(spectrum.axes, spectrum.shape)
    ]
    return _made(values, axes)


def center(a: Any) -> Any:
    """Halves, or quadrants, exchanged: element 0 comes to lie at index n // 2.

    Shape, name and unit stay. The first half keeps its positions, the second comes to lie in front of it; an image is
    exchanged along both axes. TypeError for what is
    no array.

        >>> import dataprocessing as dp
        >>> dp.center(dp.Array1D([1, 2, 3, 4])).values
        array([3, 4, 1, 2], dtype=int32)
    """
    require_array(a, "center")
    axes = [Axis(x.offset, x.delta, x.index + n // 2, x.name, x.unit) for x, n in zip(a.axes, a.shape)]
    return _made(np.fft.fftshift(a.values), axes, a.name, a.unit)


def _same_deltas(a: Any, b: Any) -> tuple[Any, Any]:
    """Both at the finer delta of each axis."""
    if a.ndim != b.ndim:
        raise TypeError("a 1D array and a 2D array do not combine")
    check_axis_units(a, b)
    for x, y in zip(a.axes, b.axes):
        if x.delta * y.delta < 0:
            raise ValueError("the axes run in opposite directions")
        # Where the axes lie plays no part.
        _core.check_axes(*(Array1D([0], Axis(0.0, one.delta)) for one in (x, y)))
    deltas = [min(x.delta, y.delta, key=abs) for x, y in zip(a.axes, b.axes)][::-1]
    fine = [
        array if [x.delta for x in array.axes][::-1] == deltas else array.rescale(*deltas) for array in (a, b)
    ]
    return fine[0], fine[1]


def _length(n: int) -> int:
    """The least product of powers of 2, 3 and 5 that is not below ``n``: quick to transform."""
    best = 1 << (n - 1).bit_length()
    five = 1
    while five < best:
        three = five
        while three < best:
            quotient = -(-n // three)
            best = min(best, three << max((quotient - 1).bit_length(), 0))
            three *= 3
        five *= 5
    return best


def _product(a: NDArray[Any], b: NDArray[Any], conjugate: bool) -> NDArray[Any]:
    """The linear correlation or convolution, over all shifts at which both meet."""
    full = [n + m - 1 for n, m in zip(a.shape, b.shape)]
    padded = [_length(n) for n in full]
    is_real = a.dtype.kind != "c" and b.dtype.kind != "c"
    if conjugate:
        b = b[tuple(slice(None, None, -1) for _ in b.shape)].conj()
    wide = np.float64 if is_real else np.complex128
    forward, back = (np.fft.rfftn, np.fft.irfftn) if is_real else (np.fft.fftn, np.fft.ifftn)
    axes = tuple(range(a.ndim))
    spectrum = forward(a.astype(wide), padded, axes) * forward(b.astype(wide), padded, axes)
    return back(spectrum, padded, axes)[tuple(slice(n) for n in full)]


def correlate(a: Any, b: Any) -> Any:
    """The cross-correlation on an axis of lags: ``sum over x of a(x + lag) conj(b(x))``.

    All lags at which the arrays meet are there, none wraps round; lag 0 lies at position 0. A copy of ``b`` moved by s
    correlates best at lag s. Arrays of different deltas meet at the finer one; where the axes lie plays no part.
    float64, or complex128. Both are 1D or both images. The result has no unit, its axes have theirs. ValueError
    without elements and for axes in opposite directions, UnitError for axes of two units, TypeError for what is no
    array and for other dimensions.

        >>> import numpy as np, dataprocessing as dp
        >>> b = dp.Array1D(np.exp(-np.linspace(-3, 3, 61) ** 2))
        >>> moved = dp.Array1D(np.roll(b.values, 7))
        >>> dp.correlate(moved, b).idxmax()
        7.0
    """
    _require_elements(a)
    _require_elements(b)
    a, b = _same_deltas(a, b)
    values = _product(a.values, b.values, True)
    axes = [Axis(0.0, x.delta, m - 1, "lag", x.unit) for x, m in zip(a.axes, b.shape)]
    return _made(values, axes)


def autocorrelate(a: Any) -> Any:
    """``correlate(a, a)``: largest, and real, at lag 0.

    Shapes, units and errors are those of ``correlate``; see there.

        >>> import dataprocessing as dp
        >>> dp.autocorrelate(dp.Array1D([1.0, 2.0])).values.round(9)
        array([2., 5., 2.])
    """
    return correlate(a, a)


def convolve(a: Any, b: Any) -> Any:
    """The convolution: ``sum over x of a(x) b(y - x)``, over all y at which there is something.

    Its first element lies at the sum of the positions of the first elements. float64, or complex128. Shapes, units and
    errors are those of ``correlate``; see there.

        >>> import dataprocessing as dp
        >>> dp.convolve(dp.Array1D([1.0, 2.0]), dp.Array1D([1.0, 1.0])).values.round(12)
        array([1., 3., 2.])
    """
    _require_elements(a)
    _require_elements(b)
    a, b = _same_deltas(a, b)
    axes = [Axis(x.position(0) + y.position(0), x.delta, 0, x.name, x.unit) for x, y in zip(a.axes, b.axes)]
    return _made(_product(a.values, b.values, False), axes)


def band_pass(a: Any, low: float, high: float) -> Any:
    """The part of ``a`` of frequencies f with low <= f < high, in cycles per unit of its axes.

    Of an image f is the distance from frequency 0, so its axes have one unit. The mean passes when low is 0. float64,
    or complex128 of complex elements. ValueError unless low < high. Shape, axes, name and unit stay. TypeError for
    what is no array.

        >>> import numpy as np, dataprocessing as dp
        >>> t = np.arange(200) * 0.01
        >>> mixed = dp.Array1D(np.sin(2 * np.pi * 5 * t) + np.sin(2 * np.pi * 25 * t), dp.Axis(0, 0.01))
        >>> bool(np.allclose(dp.band_pass(mixed, 0, 10).values, np.sin(2 * np.pi * 5 * t)))
        True
    """
    _require_elements(a)
    if not low < high:
        raise ValueError(f"a band from {low!r} to {high!r} passes nothing")
    grids = np.meshgrid(*(np.fft.fftfreq(n, x.delta) for x, n in zip(a.axes, a.shape)), indexing="ij")
    frequency = np.sqrt(sum(grid**2 for grid in grids))
    spectrum = np.fft.fftn(a.values)
    spectrum[(frequency < low) | (frequency >= high)] = 0
    values = np.fft.ifftn(spectrum)
    return _made(values if a.dtype.kind == "c" else values.real, list(a.axes), a.name, a.unit)
