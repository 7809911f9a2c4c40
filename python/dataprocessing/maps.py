"""Every spectrum of a map at once: sums, windows, fits, each with its standard errors and a status.

A map is an ndarray, a dask array or a DataArray whose last dimension, or the one called ``dim`` in a DataArray, runs
along the spectra; the others may be any. Planes have the dimensions of the map without that one, and are of the same
kind: those of dask arrays are computed when they are asked for, one part of the map after the other.

A spectrum without a result has NaN in its planes, says why in the plane ``status`` (see :class:`Status`), and stops
no other; with errors="raise" it raises FitError. A result is a function of its spectrum alone: its bits are the same
however the map lies in memory or is cut into chunks, on any number of threads, processes and machines.

Elements are real. Bytes to 32-bit integers and floating point numbers are taken where they lie; others, and maps of
four and more dimensions whose parts do not lie evenly, are copied first. Integers of 64 bits become doubles, with
OverflowError where that would change them.

    >>> import numpy as np, dataprocessing as dp
    >>> axis = dp.Axis(6.0, 0.01, unit="keV")
    >>> line = np.exp(-((axis.positions(80) - 6.4) / 0.06) ** 2 / 2)
    >>> counts = np.round(20 + np.array([[100, 200, 300], [400, 500, 600]])[..., None] * line)
    >>> counts[1, 1, 7] = np.nan
    >>> model = dp.fitting.PeakModel()
    >>> fe = model.peak("gaussian", 6.4, 300, 0.06, name="Fe")
    >>> background = model.polynomial([20])
    >>> fit = dp.maps.peaks(counts, model, axis)
    >>> fit[fe.height].round()
    array([[100., 200., 300.],
           [400.,  nan, 600.]])
    >>> dp.maps.Status(fit.status[1, 1])
    <Status.NOT_FINITE: 1>
"""

from __future__ import annotations

import math
from collections.abc import Iterable, Mapping
from typing import Any, NamedTuple

import numpy as np

from dataprocessing import _core, _map_blocks
from dataprocessing._arrays import failure, without_masked
from dataprocessing._core import Array1D, Array2D, Axis, Background, ProgramError, Weights
from dataprocessing._map_blocks import Fit, Map, Planes, Status, digest_of_starts, is_data_array, of_channels
from dataprocessing._map_each import Applied, Rescaled, apply, gaussians, rescale
from dataprocessing._map_filters import Spectra, align, rebin, shift, smooth, smooth_gauss
from dataprocessing._map_store import load, store
from dataprocessing._peak_model import PeakModel
from dataprocessing.fitting import _ERRORS, _OBJECTIVES, _choice, _ends, _pairs

__all__ = [
    "Applied", "Planes", "Rescaled", "Spectra", "Status", "Sums", "align", "apply", "gaussians", "integrate", "linear",
    "load", "peaks", "polynomial", "power_law", "rebin", "rescale", "shift", "smooth", "smooth_gauss", "store", "sum",
]  # fmt: skip

_WEIGHTS = {"counts": Weights.OF_COUNTS, "equal": Weights.EQUAL, "model": Weights.OF_MODEL}
_BACKGROUNDS = {"nothing": Background.NONE, "polynomial": Background.POLYNOMIAL, "power law": Background.POWER_LAW}


class Sums(NamedTuple):
    """What all spectra, and what the channels of each, add up to.

    Both are in units of the values.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.maps.sum(np.array([[1, 2], [3, 4]])).image
        array([3., 7.])
    """

    spectrum: Any
    image: Any


# ---- What there is ------------------------------------------------------------------------------


def _ranges(ranges: Any, axis: Axis) -> list[tuple[float, float]]:
    return [_ends(one, axis) for one in _pairs(ranges)]


def axis_of(data: Any, dim: str | None) -> Axis | None:
    """The axis that the data bring, if they bring one."""
    if isinstance(data, (Array1D, Array2D)) or (is_data_array(data) and (dim or data.dims[-1]) in data.coords):
        return Map(data, None, dim).axis
    return None


def _sum_block(block: Any, onto: Any = None) -> tuple[Any, Any]:
    spectrum, image = _core.maps_sum(_map_blocks.elements(block), onto)
    return spectrum, image.reshape(block.shape[:-1])


def _sum_image(block: Any) -> Any:
    return _sum_block(block)[1]


def _sum_spectrum(block: Any, onto: Any = None) -> Any:
    return _sum_block(block, onto)[0]


def _sums(data: Any) -> Sums:
    """The sums of a map without labels."""
    if not _map_blocks.is_dask(data):
        return Sums(*_sum_block(data))
    import dask.array

    # Sums of integers are exact in any order; others go from one block to the next, in the order of the spectra.
    is_exact = data.dtype.kind in "iub"
    chunks: Any = {axis: -1 for axis in range(1, data.ndim)}
    blocks = data.rechunk({-1: -1} if is_exact or data.ndim == 1 else chunks)
    image = dask.array.apply_gufunc(_sum_image, "(channel)->()", blocks, output_dtypes="f8")
    add = dask.delayed(_sum_spectrum)
    parts = blocks.to_delayed().ravel()
    if is_exact:
        spectrum = dask.delayed(np.sum)([add(block) for block in parts], axis=0)
    else:
        spectrum = None
        for block in parts:
            spectrum = add(block, spectrum)
    return Sums(dask.array.from_delayed(spectrum, data.shape[-1:], "f8"), image)


def sum(data: Any, *, dim: str | None = None) -> Sums:
    """The sum spectrum and the sum image; values that are not finite spread.

    Sums of integers are exact below 2^53. Others are made in double precision, of a channel in the order of the
    spectra. Counts n have the standard error sqrt(n). Both are in units of the values. ValueError for a ``dim`` that
    is not there, TypeError for complex elements.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.maps.sum(np.array([[1, 2, 3], [4, 5, 6]], "u2"))
        Sums(spectrum=array([5., 7., 9.]), image=array([ 6., 15.]))
    """
    given = Map(data, Axis(), dim)
    if not given.is_labelled:
        return _sums(given.data)
    spectrum, image = _sums(given.data.transpose(..., given.dim).data)
    others = [other for other in given.data.dims if other != given.dim]
    along = given.data.isel({other: slice(0, 0) for other in others}).sum(others, keep_attrs=True)
    across = given.data.isel({given.dim: slice(0, 0)}).sum(given.dim, keep_attrs=True)
    return Sums(along.copy(data=spectrum), across.copy(data=image))


def integrate(
    data: Any, windows: Any, axis: Axis | None = None, *, background: str = "nothing", ranges: Any = (),
    order: int = 1, dim: str | None = None, errors: str = "nan",
) -> Planes:  # fmt: skip
    """The sums over windows, above "nothing", a "polynomial" of this order or a "power law" through ``ranges``.

    ``windows`` are pairs, ends included, by name in a dict, or in a list, where they are called "window 1" and so on.
    Sums are of values, not of areas. Standard errors are those of counts, whose variance is the value itself where
    that is positive and otherwise 0, and include that of the background. A spectrum of zeros is GOOD, 0 with the error 0,
    but over a power law EMPTY: leave zeros out of weighted means. Channels in no window and no range may hold
    anything. ProgramError for windows and ranges without channels, or too few of them. Windows and ranges are in units
    of the axis, sums in those of the values.

        >>> import numpy as np, dataprocessing as dp
        >>> counts = np.array([[5, 5, 9, 9, 5, 5]])
        >>> dp.maps.integrate(counts, {"Fe": (2, 3)}, background="polynomial", ranges=[(0, 1), (4, 5)])["Fe"]
        array([8.])
    """
    given = Map(data, axis, dim)
    named = windows if isinstance(windows, Mapping) else {f"window {k + 1}": w for k, w in enumerate(_pairs(windows))}
    curve = _choice(_BACKGROUNDS, background, "background")
    arguments = (
        given.channels, given.axis, _ranges(list(named.values()), given.axis), curve,
        _ranges(ranges, given.axis), order,
    )  # fmt: skip
    return given.run(Fit("maps_cIntegral", arguments, list(named), has_chi=False), errors)


def power_law(
    data: Any, ranges: Any, axis: Axis | None = None, *, reference: float | None = None, dim: str | None = None,
    errors: str = "nan",
) -> Planes:  # fmt: skip
    """``amplitude (x / reference)^exponent`` through ranges, by the largest likelihood of counts.

    ``ranges`` are pairs, ends included; without a ``reference`` it is the middle between their first and last
    position, which is in ``fixed``. ``chi_square`` is Pearson's. ProgramError for fewer than two channels and
    positions that are not positive. Ranges are in units of the axis, amplitudes in those of the values.

        >>> import numpy as np, dataprocessing as dp
        >>> axis = dp.Axis(1.0, 0.5)
        >>> fit = dp.maps.power_law([800 * axis.positions(20) ** -3], (1.0, 10.0), axis, reference=1.0)
        >>> fit["amplitude"].round(6), fit["exponent"].round(6)
        (array([800.]), array([-3.]))
    """
    given = Map(data, axis, dim)
    pairs = _ranges(ranges, given.axis)
    ends = [end for pair in pairs for end in pair]
    at = float(reference) if reference is not None else (min(ends) + max(ends)) / 2 if ends else 1.0
    fit = Fit("maps_cPowerLaw", (given.channels, given.axis, pairs, at), ["amplitude", "exponent"])
    return given.run(fit, errors, fixed={"reference": at})


def polynomial(
    data: Any, axis: Axis | None = None, *, order: int = 1, offset: float | None = None, weights: str = "equal",
    dim: str | None = None, errors: str = "nan",
) -> Planes:  # fmt: skip
    """``sum of c[j] (x - offset)^j`` through all channels; without an ``offset`` it is the middle one, in ``fixed``.

    ``weights`` are those of :func:`linear`: with "model" the polynomial has to be positive. ProgramError for a
    negative order. Coefficients are in units of the values over those of the axis to their power.

        >>> import numpy as np, dataprocessing as dp
        >>> axis = dp.Axis(10.0, 0.5)
        >>> fit = dp.maps.polynomial([100 + 4 * (axis.positions(21) - 15)], axis)
        >>> fit["c1"].round(6), fit.fixed
        (array([4.]), {'offset': 15.0})
    """
    given = Map(data, axis, dim)
    first, last = given.axis.position(0), given.axis.position(max(given.channels - 1, 0))
    middle = (first + last) / 2 if offset is None else float(offset)
    # Coefficients of (x - offset) / scale are well apart; a power of two goes and comes exactly.
    half = abs(last - first) / 2
    scale = 2.0 ** round(math.log2(half)) if half > 0 else 1.0
    arguments = (given.channels, given.axis, order, middle, scale, _choice(_WEIGHTS, weights, "weights"))
    powers = range(max(order, 0) + 1)
    fit = Fit("maps_polynomial", arguments, [f"c{j}" for j in powers], [scale**j for j in powers])
    return given.run(fit, errors, fixed={"offset": middle})


def linear(
    data: Any, shapes: Any, *, weights: str = "model", nonnegative: bool | Iterable[str] = False,
    dim: str | None = None, errors: str = "nan",
) -> Planes:  # fmt: skip
    """The factors of fixed shapes that together fit a spectrum best.

    ``shapes`` gives each a value for every channel: by name in a dict, or as rows, which are called "c0", "c1" and so
    on. ``nonnegative`` keeps all factors, or those that it names, from falling below 0; one that is held there has
    the error 0. ``weights`` are 1 / "model", in steps, which is the maximum of the likelihood of counts and unbiased,
    with errors that are right from about half a count per channel on, and with fewer none below that of one count;
    with ``nonnegative`` it is found however few the counts, without it the model has to stay above 0;
    1 / max("counts", 1), in one step, which takes an eighth of the time and pulls factors down where counts are few;
    or "equal", with errors of counts. ProgramError for shapes that are not finite or made of each other. A factor is in
    units of the values over those of its shape. Shapes that are 0 where they are negligible take a third of the time of
    Gaussians with all of their tails. ValueError for shapes of other sizes, those that lie elsewhere than
    the data say, and names that are not there. TypeError for masked elements.

        >>> import numpy as np, dataprocessing as dp
        >>> shapes = {"line": [0, 1, 2, 1, 0], "background": [1, 1, 1, 1, 1]}
        >>> fit = dp.maps.linear([[10, 20, 30, 20, 10], [5, 5, 5, 5, 5]], shapes)
        >>> abs(fit["line"].round(6)), fit["background"].round(6)
        (array([10.,  0.]), array([10.,  5.]))
    """
    given = Map(data, Axis(), dim)
    named = shapes if isinstance(shapes, Mapping) else {f"c{j}": shape for j, shape in enumerate(shapes)}
    own = axis_of(data, dim)
    rows = np.array([of_channels(shape, given.channels, own, f"the shape {name!r} lies") for name, shape in named.items()])
    rows = rows.reshape(len(named), -1) if named else rows.reshape(0, given.channels)
    if rows.shape[1] != given.channels:
        raise ValueError(f"shapes have {rows.shape[1]} channels, the spectra {given.channels}")
    names = list(named)
    held = (names if nonnegative else []) if isinstance(nonnegative, bool) else list(nonnegative)
    if set(held) - set(names):
        raise ValueError(f"nonnegative names {sorted(set(held) - set(names))}; there are {', '.join(names)}")
    arguments = (rows, _choice(_WEIGHTS, weights, "weights"), [names.index(name) for name in held])
    return given.run(Fit("maps_cLinear", arguments, names), errors)


def peaks(
    data: Any, model: PeakModel, axis: Axis | None = None, *, starts: Mapping[str, Any] | None = None,
    over: Any = None, objective: str = "likelihood", weights: Any = None, standard_errors: str = "given",
    windows: float = 5.0, tolerance: float = 1e-4, most_evaluations: int = 200, dim: str | None = None,
    errors: str = "nan",
) -> Planes:  # fmt: skip
    """A sum of peaks and backgrounds, fitted to every spectrum as :func:`dataprocessing.fitting.peaks` does.

    But for channels that are NaN or infinite: a single fit leaves them out, here they make a spectrum NOT_FINITE, unless
    they are outside ``over`` or have the weight 0 in least squares.

    The parameters have the model's names, ``areas`` and ``area_errors`` those of its peaks. Gaussian peaks over a
    line, a constant or nothing take a tenth of the time of other models; they agree with the fit of a single spectrum
    within 1e-4 standard errors but for what windows cut off. The likelihood asks for a model that is positive in all
    channels: peaks over nothing need larger ``windows``, a range ``over``, or objective="least-squares". All spectra start from the model, or where ``starts`` has
    a plane or a number for a parameter, from there. Windows stay where the model has the peaks: where lines move by
    more than half a width, a larger ``windows`` costs less. A fit ends with a step below ``tolerance`` standard
    errors. ``objective``, ``weights`` of the channels, ``standard_errors`` ("given" or "scatter") and ``over`` are
    those of a single fit. Units are those of the model: positions and widths in units of the axis, heights in those of
    the values. ValueError for starts of names that are not there, and for weights and curves that lie elsewhere;
    TypeError for masked elements; ProgramError as for a single spectrum.

        >>> import numpy as np, dataprocessing as dp
        >>> axis = dp.Axis(6.0, 0.01, unit="keV")
        >>> line = np.exp(-((axis.positions(80) - 6.4) / 0.06) ** 2 / 2)
        >>> model = dp.fitting.PeakModel()
        >>> fe = model.peak("gaussian", 6.38, 700, 0.05, name="Fe")
        >>> background = model.polynomial([10])
        >>> fit = dp.maps.peaks([20 + 900 * line, 20 + 400 * line], model, axis)
        >>> fit[fe.position].round(3), fit.areas["Fe"].round(1)
        (array([6.4, 6.4]), array([135.4,  60.2]))
    """
    if not isinstance(model, PeakModel):
        raise TypeError(f"peaks takes a PeakModel, not {type(model).__name__}")
    if weights is not None and objective == "likelihood":
        raise failure(ProgramError, 'the likelihood has weights of its own; take objective="least-squares"', "maps", 7)
    given = Map(data, axis, dim)
    kept = model.copy()
    kept._check_curves(Array1D(np.empty(given.channels, "u1"), given.axis))
    named = dict(starts or {})
    for name, plane in named.items():
        kept._number(name)
        without_masked(plane)
    begin, end = (-math.inf, math.inf) if over is None else _ends(over, given.axis)
    arguments = (
        kept, given.channels, given.axis, _choice(_OBJECTIVES, objective, "objective"),
        None if weights is None else of_channels(weights, given.channels, given.axis, "the weights lie"),
        _choice(_ERRORS, standard_errors, "standard_errors"), windows, begin, end, tolerance, most_evaluations,
    )  # fmt: skip
    fit = Fit(
        "maps_cPeaks", arguments, kept.names, peaks=list(kept.peak_names), started=tuple(named),
        started_at=digest_of_starts(named.values()),
    )  # fmt: skip
    return given.run(fit, errors, named.values())
