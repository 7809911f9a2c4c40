"""Curves fitted to what a selection takes of a spectrum: backgrounds, peaks, models of one's own.

Nothing that is given to a fit changes; what comes out is a :class:`FitResult`. A fit that fails raises
:class:`FitError`, and :class:`SingularFitError` where the data cannot tell the parameters apart.

    >>> import numpy as np, dataprocessing as dp
    >>> x = np.arange(100) * 0.1
    >>> spectrum = dp.Array1D(5 + 2 * x, dp.Axis(0.0, 0.1, unit="keV"))
    >>> fit = dp.fitting.polynomial(spectrum, [(0.0, 3.0), (6.0, 9.0)])
    >>> round(fit.params["c1"].value, 9)
    2.0
"""

from __future__ import annotations

import inspect
import math
import operator
import weakref
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from contextlib import contextmanager
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy as np

from dataprocessing import _core
from dataprocessing._arrays import check_axis_units, failure, without_masked
from dataprocessing._core import (
    Array1D, Axis, DataError, End, Errors, FitError, IndexSelect, Objective, SingularFitError,
    SizeError,
)  # fmt: skip
from dataprocessing._fit_result import FitResult, FittedPeak, Parameter
from dataprocessing._peak_model import ModelPeak, PeakModel
from dataprocessing._ranges import Range, Subscription, tell

if TYPE_CHECKING:
    from numpy.typing import NDArray

__all__ = [
    "FitError", "FitResult", "FittedPeak", "Gaussian", "ModelPeak", "Parameter", "PeakModel", "Selection",
    "SingularFitError", "Window", "curve", "gaussians", "peaks", "polynomial", "power_law", "solve",
    "windowed_power_law",
]  # fmt: skip

_OBJECTIVES = {"least-squares": Objective.LEAST_SQUARES, "likelihood": Objective.POISSON_LIKELIHOOD}
_ERRORS = {"default": Errors.BY_DEFAULT, "given": Errors.AS_GIVEN, "scatter": Errors.FROM_SCATTER}
_COUNTS = "1 / max(counts, 1)"


def _choice(choices: Mapping[str, Any], name: str, what: str) -> Any:
    try:
        return choices[name]
    except KeyError:
        raise ValueError(f"{what} is one of {', '.join(map(repr, choices))}, not {name!r}") from None


@contextmanager
def _failures() -> Iterator[None]:
    """Data that cannot be fitted are a failure of the fit."""
    try:
        yield
    except DataError as error:
        raise failure(FitError, error.message, error.unit, error.line) from error


# ---- What is fitted over -----------------------------------------------------------------------


class Selection:
    """The ranges of a spectrum that a fit takes.

    A :class:`Range` is shared: the selection follows when it moves. A pair ``(start, end)`` becomes a range of the
    selection's own. Whoever asked by :meth:`on_change` hears of every change, once. Ends are in units of the axis.
    TypeError for what is no Range and no pair of numbers.

        >>> import dataprocessing as dp
        >>> window = dp.Range(6.0, 8.0)
        >>> selection = dp.fitting.Selection([window, (9.0, 9.5)])
        >>> heard = selection.on_change(lambda selection: print("now", selection))
        >>> window.end = 8.5
        now Selection([Range(6.0, 8.5), Range(9.0, 9.5)])
    """

    def __init__(self, ranges: Any = ()) -> None:
        self._subscriptions: list[Subscription] = []
        self._ranges: list[tuple[Range, Subscription]] = []
        for one in _pairs(ranges):
            self._join(one)

    def _join(self, one: Any) -> bool:
        if not isinstance(one, Iterable):
            raise TypeError(f"ranges are a Range, a pair (start, end) or a list of those, not {one!r}")
        shared = one if isinstance(one, Range) else Range(*one)
        if any(known is shared for known, _ in self._ranges):
            return False
        # The range does not keep the selection alive.
        this = weakref.ref(self)

        def changed(_: Range) -> None:
            selection = this()
            if selection is not None:
                selection._tell()

        subscription = shared.on_change(changed)
        weakref.finalize(self, subscription.cancel).atexit = False
        self._ranges.append((shared, subscription))
        return True

    def _tell(self) -> None:
        tell(self._subscriptions, self)

    def add(self, one: Any) -> None:
        """Adds a Range or a pair; nothing happens when that very Range is there already.

        In units of the axis. TypeError for what is no Range and no pair of numbers.

            >>> import dataprocessing as dp
            >>> selection = dp.fitting.Selection()
            >>> selection.add((1, 2))
            >>> selection
            Selection([Range(1.0, 2.0)])
        """
        if self._join(one):
            self._tell()

    def remove(self, one: Range) -> None:
        """Removes that very Range; nothing happens when it is not there.

            >>> import dataprocessing as dp
            >>> window = dp.Range(1, 2)
            >>> selection = dp.fitting.Selection([window])
            >>> selection.remove(window)
            >>> len(selection)
            0
        """
        for i, (known, subscription) in enumerate(self._ranges):
            if known is one:
                subscription.cancel()
                del self._ranges[i]
                self._tell()
                return

    def clear(self) -> None:
        """Removes all ranges.

            >>> import dataprocessing as dp
            >>> selection = dp.fitting.Selection([(1, 2), (3, 4)])
            >>> selection.clear()
            >>> len(selection)
            0
        """
        for _, subscription in self._ranges:
            subscription.cancel()
        if self._ranges:
            self._ranges.clear()
            self._tell()

    def on_change(self, function: Callable[[Selection], object]) -> Subscription:
        """Calls ``function(selection)`` after every change, until the subscription is cancelled.

        See ``Range.on_change``, also for its errors.

            >>> import dataprocessing as dp
            >>> selection = dp.fitting.Selection()
            >>> _ = selection.on_change(print)
            >>> selection.add((1, 2))
            Selection([Range(1.0, 2.0)])
        """
        return Subscription(self._subscriptions, function)

    def __iter__(self) -> Iterator[Range]:
        return iter([known for known, _ in self._ranges])

    def __len__(self) -> int:
        return len(self._ranges)

    def __reduce__(self) -> tuple[type[Selection], tuple[list[Range]]]:
        return Selection, (list(self),)

    def __repr__(self) -> str:
        return f"Selection({list(self)!r})"


def _pairs(ranges: Any) -> list[Any]:
    """A Range, a pair, or several of them, as a list."""
    if not isinstance(ranges, Iterable):
        raise TypeError(f"ranges are a Range, a pair (start, end) or a list of those, not {ranges!r}")
    if isinstance(ranges, (Range, Selection)):
        return [ranges] if isinstance(ranges, Range) else list(ranges)
    given = list(ranges)
    if len(given) == 2 and all(np.ndim(end) == 0 and not isinstance(end, Range) for end in given):
        return [tuple(given)]
    return given


def _ends(over: Any, axis: Axis) -> tuple[float, float]:
    """The lower and the upper end of a range, which on an axis that runs downward may start at either."""
    start, stop = map(float, over)
    return (stop, start) if axis.delta < 0 and stop < start else (start, stop)


def _selection(data: Array1D, ranges: Any, rule: str) -> Any:
    rules = {"floor": IndexSelect.FLOOR, "nearest": IndexSelect.NEAREST, "outer": IndexSelect.OUTER,
             "ceiling": IndexSelect.CEILING}  # fmt: skip
    selection = _core.dasl_c1DDataArraySelection(_choice(rules, rule, "rule"))
    whole = [(data.axis.position(0), data.axis.position(data.size))]
    for start, end in whole if ranges is None else _pairs(ranges):
        selection.add_local_range(_core.rnge_c1DRange(start, end))
    return selection


def _require_all(kind: type, given: Iterable[Any], what: str) -> None:
    for one in given:
        if not isinstance(one, kind):
            raise TypeError(f"{what} takes {kind.__name__} objects, not {type(one).__name__}")


def _spectrum(data: Any) -> Array1D:
    if not isinstance(data, Array1D):
        raise TypeError("fits are made to Array1D; dp.Array1D(values, dp.Axis(offset, delta)) makes one")
    if data.dtype.kind == "c":
        raise TypeError("fits are made to real elements; take a.real or abs(a) first")
    return data


def _deviations(data: Array1D, deviations: Any) -> Any:
    if isinstance(deviations, str):
        if deviations != "counts":
            raise ValueError(f"deviations are an array, None or 'counts', not {deviations!r}")
        return Array1D(np.sqrt(np.maximum(data.values, 1.0)), data.axis)
    if isinstance(_real(deviations), Array1D):
        return _beside(data, deviations)
    return Array1D(np.broadcast_to(np.asarray(without_masked(deviations), dtype="f8"), data.shape), data.axis)


def _beside(data: Array1D, other: Array1D) -> Array1D:
    """What lies where the data do, on their very axis."""
    if not _core.same_grid(data, other):
        return other
    check_axis_units(data, other)
    return other.with_axes(data.axis)


def _real(values: Any) -> Any:
    if np.iscomplexobj(values):
        raise TypeError("fits take real numbers, and models give them; take real parts or magnitudes first")
    return values


def _numbers(values: Any, what: str) -> NDArray[Any]:
    """Real numbers in double precision, none of them masked."""
    given = np.asarray(_real(without_masked(values)))
    if given.dtype.kind not in "biuf":
        raise TypeError(f"{what} takes numbers, not elements of type {given.dtype}")
    return given.astype("f8", copy=False)


def _order(order: Any) -> int:
    try:
        return operator.index(order)
    except TypeError:
        raise TypeError(f"the order is a whole number, not {order!r}") from None


def _on_axis(function: Any, data: Array1D) -> Array1D:
    return Array1D(function.load(data.size, data.axis), data.axis, name=data.name, unit=data.unit)


# ---- Polynomials and power laws ----------------------------------------------------------------


@dataclass(frozen=True)
class _Polynomial:
    coefficients: tuple[float, ...]
    offset: float = 0.0

    def __call__(self, x: NDArray[Any]) -> NDArray[Any]:
        distance = x - self.offset
        total = np.full(x.shape, self.coefficients[0])
        power = np.ones(x.shape)
        for coefficient in self.coefficients[1:]:
            power = power * distance
            total = total + coefficient * power
        return total


@dataclass(frozen=True)
class _PowerLaw:
    coefficients: tuple[float, ...]

    def __call__(self, x: NDArray[Any]) -> NDArray[Any]:
        result = np.zeros(x.shape)
        exists = x > 0
        result[exists] = np.exp(_Polynomial(self.coefficients)(np.log(x[exists])))
        return result


def _linear_result(
    kind: str, function: Any, data: Array1D, curve: Any, extra: Mapping[str, float], weights: str
) -> FitResult:
    """The result of a fit that is linear in its coefficients c0, c1, ..."""
    coefficients, errors = function.coefficients(), function.standard_errors()
    count, rank = coefficients.size, function.rank()
    if rank < count:
        raise failure(
            SingularFitError,
            f"The data tell {rank} of the {count} coefficients apart: there are too few points, or they lie too close "
            "together for this order.",
        )
    if not np.isfinite(coefficients).all():
        raise failure(FitError, "The coefficients are not finite: an element of the selection is not, or too large.")
    freedom = function.degrees_of_freedom()
    note = "" if freedom > 0 else "there are no more points than coefficients, so nothing tells how they scatter"
    params = {
        f"c{j}": Parameter(f"c{j}", float(coefficients[j]), float(errors[j]), note=note if math.isnan(errors[j]) else "")
        for j in range(count)
    }
    across = data.axis.unit
    params.update({name: Parameter(name, value, 0.0, vary=False, unit=across) for name, value in extra.items()})
    covariance = np.zeros((len(params), len(params)))
    covariance[:count, :count] = function.covariance()
    return FitResult(
        kind, params, covariance, function.residual_sum(), freedom + rank, rank, weights, "solved in one step",
        axis=data.axis, _curve=curve, _data=data.copy(), _fitted=_on_axis(function, data),
    )  # fmt: skip


def _refit(function: Any, data: Array1D, deviations: Any) -> str:
    with _failures():
        if deviations is None:
            function.refit(data)
            return "all alike"
        function.refit(data, _deviations(data, deviations))
        return _COUNTS if isinstance(deviations, str) else "1 / deviation^2"


def polynomial(
    a: Array1D, ranges: Any = None, order: int = 1, *, deviations: Any = None, about: str = "middle",
    rule: str = "nearest",
) -> FitResult:  # fmt: skip
    """The polynomial of this order that fits the selected elements best.

    ``sum of c[j] (x - offset)^j``, where the fixed parameter ``offset`` is the middle of the selected
    positions; about="zero" gives the coefficients of plain powers of x, which far from zero are hard to tell
    apart. ``ranges`` is a :class:`Selection`, a :class:`Range`, a pair or a list of those, None for all
    elements; what two of them share counts twice. ``deviations`` are the standard deviations of the elements: an array of the same shape, a
    number, or "counts" for sqrt(max(a, 1)); without them all weigh alike, and errors come from the scatter.

    Coefficients are in units of the values over those of the axis to their power. FitError for fewer points
    than coefficients and for deviations that are not positive; SingularFitError where coefficients cannot be
    told apart; ProgramError for a negative order. FitError for a selected element that is not finite.

        >>> import dataprocessing as dp
        >>> parabola = dp.Array1D([4.0, 1.0, 0.0, 1.0, 4.0], dp.Axis(1000.0, 1.0))
        >>> fit = dp.fitting.polynomial(parabola, order=2)
        >>> fit.params["offset"].value, round(fit.params["c2"].value, 12)
        (1002.0, 1.0)
    """
    data = _spectrum(a)
    middle = _choice({"middle": True, "zero": False}, about, "about")
    kind: Any = _core.plft_c1DOffsetPolyFittingFunction if middle else _core.plft_c1DPolyFittingFunction
    function = kind(_order(order), _selection(data, ranges, rule))
    weights = _refit(function, data, deviations)
    offset = function.offset() if middle else 0.0
    coefficients = tuple(map(float, function.coefficients()))
    extra = {"offset": offset} if middle else {}
    return _linear_result("polynomial", function, data, _Polynomial(coefficients, offset), extra, weights)


def power_law(
    a: Array1D, ranges: Any = None, order: int = 1, *, deviations: Any = None, rule: str = "nearest"
) -> FitResult:
    """A polynomial in log-log space: ``ln y = sum of c[j] (ln x)^j``; order 1 is ``e^c0 x^c1``.

    Elements that are not positive, at positions that are not, take no part; where x is not positive the curve
    is 0. Arguments and errors are those of :func:`polynomial`; rank, chi-square and errors are those of the
    logarithms. Without ``deviations`` the logarithms weigh alike, which for counts makes much of the few in
    the tail: give it "counts".

        >>> import numpy as np, dataprocessing as dp
        >>> axis = dp.Axis(1.0, 0.5)
        >>> fit = dp.fitting.power_law(dp.Array1D(8 * axis.positions(20) ** -3, axis))
        >>> round(fit.params["c1"].value, 9), round(np.exp(fit.params["c0"].value), 9)
        (-3.0, 8.0)
    """
    data = _spectrum(a)
    function = _core.pwft_cPowerLawFittingFunction(_order(order), _selection(data, ranges, rule))
    weights = _refit(function, data, deviations)
    coefficients = tuple(map(float, function.coefficients()))
    return _linear_result("power law", function, data, _PowerLaw(coefficients), {}, weights)


@dataclass(frozen=True)
class Window:
    """Where :func:`windowed_power_law` takes a peak's background, and over what it is summed.

    The background is fitted over ``[position - gap - width, position - gap)``; the peak is summed over
    ``[position + offset, position + offset + length)``. All in units of the axis.

        >>> import dataprocessing as dp
        >>> window = dp.fitting.Window(4.0, 0.2, 2.0, -0.1, 0.4)
        >>> window.position + window.offset
        3.9
    """

    position: float
    gap: float
    width: float
    offset: float
    length: float
    name: str = ""


@dataclass(frozen=True)
class _Windows:
    parts: tuple[tuple[float, float, _PowerLaw], ...]

    def __call__(self, x: NDArray[Any]) -> NDArray[Any]:
        total = np.zeros(x.shape)
        for start, end, law in self.parts:
            inside = (x >= start) & (x < end)
            total[inside] += law(x[inside])
        return total


def _element_ends(data: Array1D, start: float, end: float) -> tuple[float, float]:
    """From which position to which the elements lie that the library takes for these ends."""
    taken = _core.selection(data, start, end, IndexSelect.NEAREST)
    ends = [data.axis.position(index) for index in taken]
    low, high = sorted(x - data.axis.tolerance(x) * data.axis.delta for x in ends)
    return low, high


def windowed_power_law(a: Array1D, windows: Iterable[Window], order: int = 1) -> FitResult:
    """A background for many peaks: each has its own power law, fitted just below the peak.

    ``peaks`` has the sums over the windows above the background, times delta, with the error of counting;
    :meth:`FitResult.eval` gives the backgrounds over their windows and 0 elsewhere, ``residual`` the data less those.
    Windows begin and end with the elements that are nearest to their ends. FitError where a background has too few
    positive points, ValueError for two windows at one position or of one name. Areas are in units of the values and of the axis.

        >>> import numpy as np, dataprocessing as dp
        >>> axis = dp.Axis(2.0, 0.01, unit="keV")
        >>> counts = 900 * axis.positions(400) ** -2
        >>> counts[150:160] += 30
        >>> fit = dp.fitting.windowed_power_law(dp.Array1D(counts, axis), [dp.fitting.Window(3.55, 0.1, 0.8, -0.1, 0.2)])
        >>> round(fit.peaks[0].area, 6)
        3.0
    """
    data = _spectrum(a)
    listed = list(windows)
    _require_all(Window, listed, "windowed_power_law")
    given = sorted(listed, key=lambda window: window.position)
    if len({window.position for window in given}) < len(given):
        raise ValueError("two windows have the same position")
    names = [window.name or f"peak {k + 1}" for k, window in enumerate(given)]
    if len(set(names)) < len(names):
        raise ValueError("two windows have the same name")
    function = _core.pwft_cMultiPowerLawFitFunc(_order(order), _core.dasl_c1DDataArraySelection())
    for window in given:
        function.add_peak(window.position, window.gap, window.width, window.offset, window.length)
    with _failures():
        function.refit(data)
    params: dict[str, Parameter] = {}
    blocks, parts, found = [], [], []
    points = 0
    chi_square = 0.0
    for k, window in enumerate(given):
        law = function.power_law(k)
        name = names[k]
        if law.rank() < order + 1:
            raise failure(SingularFitError, f"The background of {name} has too few positive points.")
        errors = law.standard_errors()
        for j, coefficient in enumerate(law.coefficients()):
            params[f"c{j} of {name}"] = Parameter(f"c{j} of {name}", float(coefficient), float(errors[j]))
        blocks.append(law.covariance())
        points += law.degrees_of_freedom() + law.rank()
        chi_square += law.residual_sum()
        start = window.position + window.offset
        ends = _element_ends(data, start, start + window.length)
        parts.append((*ends, _PowerLaw(tuple(map(float, law.coefficients())))))
        found.append(
            FittedPeak(
                name, window.position, 0.0, area=function.peak_intensity(window.position),
                area_error=function.peak_intensity_error(window.position), position_note="fixed",
            )
        )  # fmt: skip
    covariance = np.zeros((len(params), len(params)))
    for k, block in enumerate(blocks):
        at = slice(k * (order + 1), (k + 1) * (order + 1))
        covariance[at, at] = block
    fitted = Array1D(
        data.values.astype("f8") - function.load(data.size, data.axis), data.axis, name=data.name, unit=data.unit
    )
    return FitResult(
        "power law for each window", params, covariance, chi_square, points, len(params), "all alike",
        "solved in one step", axis=data.axis, peaks=tuple(found), _curve=_Windows(tuple(parts)), _data=data.copy(),
        _fitted=fitted,
    )  # fmt: skip


# ---- Gaussian peaks with a calibration ----------------------------------------------------------


@dataclass(frozen=True)
class Gaussian:
    """A peak for :func:`gaussians`: a line at a known position.

    ``of`` names a peak of the same fit to which this one's amplitude keeps its ratio.

        >>> import dataprocessing as dp
        >>> beta = dp.fitting.Gaussian(7.06, name="Kb", of="Ka")
        >>> beta.center, beta.of
        (7.06, 'Ka')
    """

    center: float
    amplitude: float = 1.0
    name: str = ""
    of: str | None = None


@dataclass(frozen=True)
class _Gaussians:
    parts: tuple[tuple[float, float, float], ...]

    def __call__(self, x: NDArray[Any]) -> NDArray[Any]:
        total = np.zeros(x.shape)
        for amplitude, center, width in self.parts:
            t = (x - center) / width
            total += np.where(np.abs(t) >= 4.0, 0.0, amplitude * np.exp(-t * t))
        return total


_FWHM = 2 * math.sqrt(math.log(2))


def gaussians(
    a: Array1D, peaks: Sequence[Gaussian], resolution: Sequence[float], ranges: Any = None,
    fit: Sequence[str] = (), *, rule: str = "nearest",
) -> FitResult:  # fmt: skip
    """Peaks at known positions, the widths of which follow the resolution of a detector.

    Fitted are the amplitudes of the peaks that are not tied to another, and, where ``fit`` names them, the
    "calibration" (offset and delta of the axis) and the "resolution". ``resolution`` is (position, fwhm) or
    (position, fwhm, factor): the square of the full width grows by ``factor`` per unit from fwhm^2 at that
    position. The factor is 2.3 without one, which is that of silicon **in eV**; in keV it is 0.0023. Weights
    are those of counts. ``axis`` of the result is the fitted one; the areas are amplitude * width * sqrt(pi).

    FitError for points that are not finite, a reference without amplitude, a law without a width at a peak,
    no convergence; SingularFitError where the data cannot tell the parameters apart; ValueError for names that
    are not there or there twice.

        >>> import numpy as np, dataprocessing as dp
        >>> axis = dp.Axis(5.0, 0.01, unit="keV")
        >>> y = 500 * np.exp(-((axis.positions(300) - 6.4) / 0.09) ** 2)
        >>> fit = dp.fitting.gaussians(dp.Array1D(y, axis), [dp.fitting.Gaussian(6.4, 400, "Fe")], (6.4, 0.15, 0.0023))
        >>> round(fit.peaks[0].fwhm, 3), fit.params["center of Fe"].vary
        (0.15, False)
    """
    data = _spectrum(a)
    asked = set(fit)
    if asked - {"calibration", "resolution"}:
        raise ValueError(f"fit names 'calibration' and 'resolution', not {sorted(asked)!r}")
    _require_all(Gaussian, peaks, "gaussians")
    names = [peak.name or f"peak {k + 1}" for k, peak in enumerate(peaks)]
    if len(set(names)) < len(names):
        raise ValueError("two peaks have the same name")
    with _failures():
        law = _core.gsft_cResolution(*resolution)
        made = [_core.gsft_cGaussian(p.amplitude, p.center, law.fwhm(p.center) / _FWHM) for p in peaks]
        for peak, one in zip(peaks, made):
            if peak.of is not None:
                if peak.of not in names:
                    raise ValueError(f"no peak is called {peak.of!r}")
                one.set_reference(made[names.index(peak.of)])
        function = _core.gsft_c1DGaussianFittingFunction(
            _selection(data, ranges, rule), made, data.axis, "calibration" in asked, law, "resolution" in asked
        )
        function.refit(data, _core.FitStop.AT_OPTIMUM)
        function.set_widths_from_resolution()
    axis = function.calibration
    moved = data.with_axes(axis)
    errors = function.standard_errors()
    fits_axis, fits_width = "calibration" in asked, "resolution" in asked
    rows: list[tuple[str, float, bool, str | None, str]] = [
        ("offset", axis.position(0), fits_axis, None, axis.unit),
        ("delta", axis.delta, fits_axis, None, axis.unit),
        ("fwhm", function.resolution.reference_fwhm, fits_width, None, axis.unit),
    ]
    for name, peak, one in zip(names, peaks, made):
        tied = f"amplitude of {peak.of}" if peak.of is not None else None
        rows.append((f"amplitude of {name}", one.amplitude, tied is None, tied, data.unit))
        rows.append((f"center of {name}", one.center, False, None, axis.unit))
    params = {
        name: Parameter(name, float(value), float(error), vary, ref, unit=unit)
        for (name, value, vary, ref, unit), error in zip(rows, errors)
    }
    for k, peak in enumerate(peaks):
        if peak.of is not None:
            name = f"amplitude of {names[k]}"
            value = params[name].value
            error = function.amplitude_error(k)
            params[name] = Parameter(name, value, error, False, f"amplitude of {peak.of}", unit=data.unit)
    found = tuple(
        FittedPeak(
            name, one.center, 0.0, one.amplitude, function.amplitude_error(k), one.width, fwhm=_FWHM * one.width,
            area=one.area(), area_error=function.area_error(k), shape="gaussian", position_note="fixed",
        )
        for k, (name, one) in enumerate(zip(names, made))
    )  # fmt: skip
    free = sum(parameter.vary for parameter in params.values())
    ends = {
        _core.FitEnd.SMALL_CHANGE: "a step has changed chi-square by no more than 1e-4 of it",
        _core.FitEnd.OPTIMUM: "the optimum was reached",
        _core.FitEnd.NO_LOWER_STEP: "no step lowers chi-square",
    }
    parts = tuple((one.amplitude, one.center, one.width) for one in made)
    return FitResult(
        "gaussians", params, function.covariance(), function.residual_sum(), function.degrees_of_freedom() + free, free,
        "1 / |counts|", ends[function.end()], axis=axis, peaks=found, _curve=_Gaussians(parts), _data=moved,
        _fitted=_on_axis(function, moved),
    )  # fmt: skip


# ---- Models -------------------------------------------------------------------------------------

_FAILED = (End.NO_VALUE, End.MOST_EVALUATIONS)


def _notes(fit: Any) -> dict[int, str]:
    notes = {i: "a bound holds it" for i in fit.at_bound}
    notes.update({i: "the data do not determine it" for i in fit.undetermined})
    return notes


def _parameters(names: Sequence[str], fit: Any, kinds: Sequence[Any], units: Sequence[str]) -> dict[str, Parameter]:
    notes = _notes(fit)
    params = {}
    for i, (name, kind, unit) in enumerate(zip(names, kinds, units)):
        error = math.nan if i in fit.undetermined else float(fit.standard_errors[i])
        ref = None if kind.ref is None else names[kind.ref]
        params[name] = Parameter(name, float(fit.parameters[i]), error, kind.varies, ref, notes.get(i, ""), unit)
    return params


def _without_error(error: float, given: Sequence[Parameter]) -> str:
    """Why what these parameters give has no error; nothing of what has one."""
    if any(math.isnan(parameter.stderr) for parameter in given):
        return "not determined"
    if error != 0:
        return ""
    if any(parameter.note for parameter in given):
        return "at its bound"
    return "" if any(parameter.vary for parameter in given) else "fixed"


def _fitted_peak(name: str, found: Any, shape: str, fwhm: float, given: Sequence[Parameter]) -> FittedPeak:
    position, height, width = given[:3]
    why, why_area = _without_error(position.stderr, [position]), _without_error(found.area_error, given[1:])
    area_error = math.nan if why_area == "not determined" else found.area_error
    return FittedPeak(
        name, position.value, position.stderr, height.value, height.stderr, width.value, width.stderr, fwhm, found.area,
        area_error, shape, why, why_area,
    )  # fmt: skip


def _ended(result: FitResult, fit: Any) -> FitResult:
    """The result, or FitError, which has it as ``result``, where the fit led nowhere."""
    if fit.end in _FAILED:
        error = failure(FitError, result.message)
        error.result = result
        raise error
    return result


@dataclass(frozen=True)
class _Called:
    function: Callable[..., Any]
    values: tuple[float, ...]

    def __call__(self, x: NDArray[Any]) -> NDArray[Any]:
        return np.broadcast_to(np.asarray(self.function(x, *self.values), dtype="f8"), x.shape).copy()


def _names_of(function: Callable[..., Any], start: Any) -> list[str]:
    if isinstance(start, Mapping):
        return list(start)
    try:
        parameters = list(inspect.signature(function).parameters.values())[1:]
    except (TypeError, ValueError):
        parameters = []
    plain = [p.name for p in parameters if p.kind in (p.POSITIONAL_ONLY, p.POSITIONAL_OR_KEYWORD)]
    if plain and len(plain) == len(parameters) and (start is None or len(plain) == len(start)):
        return plain
    if start is None:
        raise ValueError("the parameters of the model cannot be seen from its signature; give start")
    return [f"p{j}" for j in range(len(start))]


def curve(
    model: Callable[..., Any], data: Any, start: Any = None, *, ranges: Any = None, deviations: Any = None,
    objective: str = "least-squares", errors: str = "default", bounds: Mapping[str, tuple[float, float]] | None = None,
    fixed: Iterable[str] = (), ties: Mapping[str, Sequence[Any]] | None = None,
    derivatives: Callable[..., Any] | None = None, observer: Callable[..., Any] | None = None, rule: str = "nearest",
    **control: Any,
) -> FitResult:  # fmt: skip
    """A model of one's own, ``model(x, p0, p1, ...)``, which gets all positions at once as an ndarray.

    ``data`` is an Array1D or a pair (x, y) of sequences. ``start`` is a sequence or a dict of the parameters'
    starts; without it all are 1. ``bounds`` gives (lower, upper) of a parameter, ``fixed`` names those that stay,
    ``ties`` gives (other, factor) or (other, factor, offset) of one that follows another. ``deviations`` are as in
    :func:`polynomial`. ``objective`` "likelihood" is that of counts, which needs a positive model. ``errors``
    "given" takes deviations for what they are, "scatter" up to a factor. ``derivatives(x, p0, p1, ...)`` gives a row
    for each parameter; without it they are taken by differences. ``observer(iteration, chi_square, parameters)``
    ends the fit when its answer is true. Further arguments are tolerances: ``gradient_tolerance``,
    ``step_tolerance``, ``decrease_tolerance``, ``remainder_tolerance``, ``most_evaluations``.

    What the model raises comes through. FitError, with the state in ``result``, where the model has no value at the
    start and after too many evaluations. Where no step lowers chi-square, or the observer ends the fit, ``success``
    is false. ValueError for names that are not there and shapes that do not fit.

        >>> import numpy as np, dataprocessing as dp
        >>> t = np.linspace(0, 5, 40)
        >>> def decay(t, height, life):
        ...     return height * np.exp(-t / life)
        >>> fit = dp.fitting.curve(decay, (t, decay(t, 900.0, 1.5)), {"height": 500.0, "life": 1.0})
        >>> round(fit.params["life"].value, 9)
        1.5
    """
    names = _names_of(model, start)
    begin = np.ones(len(names)) if start is None else list(start.values()) if isinstance(start, Mapping) else start
    if isinstance(data, Array1D):
        array = _spectrum(data)
        selection = _selection(array, ranges, rule)
        x, y = selection.fill_xy(array)
        sigma = None if deviations is None else selection.fill_xy(_deviations(array, deviations))[1]
    else:
        if ranges is not None:
            raise ValueError("ranges select from an Array1D; points (x, y) are taken as they are")
        array = None
        x, y = data
        x, y = np.asarray(without_masked(x)), np.asarray(without_masked(y))
        if np.iscomplexobj(y):
            raise TypeError("fits are made to real elements; take y.real or abs(y) first")
        y = y.astype("f8")
        counts = isinstance(deviations, str)
        sigma = np.sqrt(np.maximum(y, 1.0)) if counts else deviations
        sigma = None if sigma is None else np.broadcast_to(np.asarray(_real(without_masked(sigma)), dtype="f8"), y.shape)
    if not np.all(np.isfinite(x)):
        raise ValueError("a position is not finite")
    kinds = [_core.nlsq_sParameter.free() for _ in names]

    def number(name: str) -> int:
        if name not in names:
            raise ValueError(f"no parameter is called {name!r}; there are {', '.join(names)}")
        return names.index(name)

    for name, (lower, upper) in (bounds or {}).items():
        kinds[number(name)] = _core.nlsq_sParameter.bounded(lower, upper)
    for name in [fixed] if isinstance(fixed, str) else fixed:
        kinds[number(name)] = _core.nlsq_sParameter.fixed()
    for name, (other, *numbers) in (ties or {}).items():
        kinds[number(name)] = _core.nlsq_sParameter.tied(number(other), *(numbers or [1.0]))
    gradient = None if derivatives is None else lambda x, p: _real(without_masked(derivatives(x, *p)))
    fit = _core.nlsq_fit(
        lambda x, p: _real(without_masked(model(x, *p))), x, y, np.asarray(_real(without_masked(begin)), dtype="f8"), gradient, None, sigma,
        _choice(_OBJECTIVES, objective, "objective"), _choice(_ERRORS, errors, "errors"), kinds, observer=observer,
        **control,
    )  # fmt: skip
    likelihood = objective == "likelihood"
    weights = "likelihood of counts" if likelihood else "all alike" if sigma is None else "1 / deviation^2"
    result = FitResult(
        "curve", _parameters(names, fit, kinds, [""] * len(names)), fit.covariance, fit.chi_squared, y.size, fit.free, weights,
        _core.nlsq_text(fit.end), fit.converged(), array.axis if array is not None else None,
        reduced=fit.reduced_chi_squared(), _curve=_Called(model, tuple(map(float, fit.parameters))),
        _data=None if array is None else array.copy(),
    )  # fmt: skip
    return _ended(result, fit)


def peaks(
    a: Array1D, model: PeakModel, *, over: Any = None, objective: str = "likelihood", weights: Any = None,
    errors: str = "given", windows: float = 5.0, observer: Callable[..., Any] | None = None, **control: Any,
) -> FitResult:  # fmt: skip
    """A sum of peaks and backgrounds, fitted together; see :class:`PeakModel`.

    ``over`` is a Range or a pair, both ends included; elements that are not finite take no part. ``objective`` "likelihood" is right for
    what was counted, "least-squares" for what was not, with ``weights`` 1 / variance of each element, or 1 / max(y, 1)
    without any. ``errors`` "given" rests on those variances, "scatter" on the scatter. A Gaussian ends ``windows``
    widths from its position. ``observer`` and tolerances are those of :func:`curve`. The model is not changed.

    FitError as in :func:`curve`; ProgramError for negative counts with the likelihood, weights that do not fit, no
    elements. Units are those of the model; see ``PeakModel``.

        >>> import numpy as np, dataprocessing as dp
        >>> axis = dp.Axis(6.0, 0.01, unit="keV")
        >>> counts = 900 * np.exp(-((axis.positions(80) - 6.4) / 0.06) ** 2 / 2) + 20
        >>> model = dp.fitting.PeakModel()
        >>> line = model.peak("gaussian", 6.38, 700, 0.05, name="Fe")
        >>> background = model.polynomial([10])
        >>> fit = dp.fitting.peaks(dp.Array1D(counts, axis), model)
        >>> round(fit.peaks[0].position, 6), round(fit.params[line.width].value, 6)
        (6.4, 0.06)
    """
    data = _spectrum(a)
    if not isinstance(model, PeakModel):
        raise TypeError(f"peaks takes a PeakModel, not {type(model).__name__}")
    start, stop = (-math.inf, math.inf) if over is None else _ends(over, data.axis)
    model = model.copy()  # another thread may add to it meanwhile
    model._check_curves(data)
    if weights is not None and objective == "likelihood":
        raise failure(_core.ProgramError, 'the likelihood has weights of its own; take objective="least-squares"', "pkmd", 6)
    if isinstance(_real(without_masked(weights)), Array1D):
        if not _core.same_grid(weights, data):
            raise ValueError("the weights do not lie where the spectrum does")
        weights = _beside(data, weights)
    kinds = model._core.kinds()
    out = _core.pkmd_fit(
        model._core, data, _choice(_OBJECTIVES, objective, "objective"), weights, _choice(_ERRORS, errors, "errors"),
        windows, start, stop, observer=observer, **control,
    )  # fmt: skip
    fit = out.fit
    params = _parameters(model.names, fit, kinds, model._units(data.axis.unit, data.unit))
    each = list(params.values())
    found = tuple(
        _fitted_peak(name, p, model._shapes[k], model._fwhm(k, p.width), [each[i] for i in model._of_peak(k)])
        for k, (name, p) in enumerate(zip(model.peak_names, out.peaks))
    )
    likelihood = objective == "likelihood"
    weighing = "likelihood of counts" if likelihood else _COUNTS if weights is None else "as given"
    result = FitResult(
        "peaks", params, fit.covariance, fit.chi_squared, out.channels, fit.free, weighing,
        _core.nlsq_text(fit.end), fit.converged(), data.axis, found, fit.reduced_chi_squared(),
        None if model._curves else model._curve(tuple(map(float, fit.parameters))), data.copy(),
        model._at_elements(data, fit.parameters) if model._curves else None,
    )  # fmt: skip
    return _ended(result, fit)


_MOST_EQUATIONS = 32767


def solve(a: Any, b: Any) -> FitResult:
    """The least-squares solution of ``a x = b``, for as many equations as unknowns or more.

    ``a`` is a matrix of (equations, unknowns), ``b`` a vector; all equations weigh alike, and the errors come from the
    residuals. SizeError for sizes that do not fit and more than 32767 equations, ValueError for other dimensions, SingularFitError where the
    equations do not tell all unknowns apart, FitError for numbers that are not finite, TypeError for complex ones, masked
    ones and what is no number. Unknowns are in units of ``b`` over those of ``a``.

        >>> import dataprocessing as dp
        >>> fit = dp.fitting.solve([[1, 0], [1, 1], [1, 2]], [1.0, 3.0, 5.0])
        >>> round(fit.params["x1"].value, 12), fit.n_points
        (2.0, 3)
    """
    matrix, right = _numbers(a, "solve"), _numbers(b, "solve")
    if matrix.ndim == 2 and max(matrix.shape) > _MOST_EQUATIONS:
        raise failure(SizeError, f"A system has at most {_MOST_EQUATIONS} equations, not {max(matrix.shape)}.")
    solution = _core.eqns_solve_equations(matrix, right, _core.Columns.SCALED)
    if not np.isfinite(solution.x).all():
        raise failure(FitError, "The solution is not finite: a coefficient or a right-hand side is not, or too large.")
    unknowns = solution.x.size
    if solution.rank < unknowns:
        raise failure(SingularFitError, f"The equations tell {solution.rank} of the {unknowns} unknowns apart.")
    note = "" if solution.degrees_of_freedom > 0 else "there are no more equations than unknowns"
    params = {
        f"x{j}": Parameter(f"x{j}", float(value), float(error), note=note)
        for j, (value, error) in enumerate(zip(solution.x, solution.standard_errors))
    }
    points = solution.degrees_of_freedom + solution.rank
    return FitResult(
        "linear system", params, solution.covariance, solution.residual_sum, points, solution.rank, "all alike",
        "solved in one step",
    )  # fmt: skip
