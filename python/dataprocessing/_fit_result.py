"""What comes out of a fit."""

from __future__ import annotations

import html
import math
from collections.abc import Callable, Iterable, Mapping
from dataclasses import dataclass, field
from decimal import Decimal
from types import MappingProxyType
from typing import TYPE_CHECKING, Any, Protocol

import numpy as np

from dataprocessing import _core
from dataprocessing._arrays import check_axis_units, without_masked
from dataprocessing._core import Array1D, Axis

if TYPE_CHECKING:
    from numpy.typing import NDArray

__all__ = ["FitResult", "FittedPeak", "Parameter"]


class Curve(Protocol):
    """A function of positions, which can be pickled."""

    def __call__(self, x: NDArray[Any]) -> NDArray[Any]: ...


@dataclass(frozen=True)
class Parameter:
    """One parameter of a fit.

    ``stderr`` is NaN where there is no error, and 0 of a parameter that did not vary; ``ref`` names the parameter that
    it is tied to; ``note`` says why an error is missing. Both numbers are in units of the parameter: ``unit`` is that of
    the axis for positions and widths, that of the values for heights, and empty of all others. As a text the value is
    written down to the second digit of its error.

        >>> from dataprocessing.fitting import Parameter
        >>> print(Parameter("position", 5414.2143, 0.337, unit="eV"))
        5414.21 +- 0.34 eV
    """

    name: str
    value: float
    stderr: float = math.nan
    vary: bool = True
    ref: str | None = None
    note: str = ""
    unit: str = ""

    def __float__(self) -> float:
        return self.value

    def __str__(self) -> str:
        is_told = self.stderr == 0 and (self.note or not self.vary)
        text = _measured(self.value, math.nan if is_told else self.stderr, self.unit) or "nan"
        if self.vary or (not self.ref and self.stderr != 0):
            return text
        return f"{text} ({f'follows {self.ref}' if self.ref else 'fixed'})"


@dataclass(frozen=True)
class FittedPeak:
    """One peak: where it is, how high, how wide, and its integral, with standard errors.

    Positions, widths are in units of the axis, heights in those of the values, areas in both. ``width`` is
    that of the shape (of a Gaussian the standard deviation), ``fwhm`` the full width at half maximum where it
    has a closed form; NaN where a fit has no such figure. ``position_note`` and ``area_note`` say of one without an error
    that it is fixed, at its bound, or not determined by the data, where the error is NaN.

        >>> from dataprocessing.fitting import FittedPeak
        >>> FittedPeak("Fe", 6.4, area=120.0).area
        120.0
    """

    name: str
    position: float
    position_error: float = math.nan
    height: float = math.nan
    height_error: float = math.nan
    width: float = math.nan
    width_error: float = math.nan
    fwhm: float = math.nan
    area: float = math.nan
    area_error: float = math.nan
    shape: str = ""
    position_note: str = ""
    area_note: str = ""


def _frozen(values: NDArray[Any]) -> NDArray[Any]:
    values = np.array(values, dtype="f8")
    values.flags.writeable = False
    return values


# Between these powers of ten numbers are written without an exponent.
_PLAIN = range(-5, 9)


def _measured(value: float, error: float, unit: str = "", note: str = "") -> str:
    """The value down to the second digit of its error; nothing of NaN, and seven digits without an error."""
    if math.isnan(value):
        return ""
    behind = f"{f' {unit}' if unit else ''}{f' ({note})' if note else ''}"
    if note or not math.isfinite(value) or not math.isfinite(error) or error == 0:
        return f"{value:.7g}{' +- 0' if error == 0 and not note else ''}{behind}"
    uncertain = Decimal(f"{error:.1e}")
    exact = Decimal(value)
    last = uncertain.adjusted() - 1
    if exact and exact.adjusted() - last >= 16:  # more than a double knows
        return f"{value!r} +- {uncertain:e}{behind}"
    rounded = exact.quantize(Decimal(1).scaleb(last))
    if not rounded:
        rounded = Decimal(0).scaleb(min(last, 0))
    largest = max(rounded.adjusted() if rounded else uncertain.adjusted(), uncertain.adjusted())
    if largest not in _PLAIN:
        return f"{f'{rounded:e}' if rounded else 0} +- {uncertain:e}{behind}"
    return f"{rounded:f} +- {uncertain:{'f' if uncertain.adjusted() in _PLAIN else 'e'}}{behind}"


@dataclass(frozen=True, eq=False, repr=False)
class FitResult:
    """The parameters of a fit, their errors, and its curve. It never changes, and can be pickled.

    ``params`` maps names to :class:`Parameter`; ``covariance`` has a row and a column for each of them, in that order,
    0 for those that did not vary. ``chi_square`` is what was made smallest, ``reduced`` that over ``n_points -
    n_free``, NaN without degrees of freedom. ``weights`` says how points weighed. ``axis`` is that of the data, or
    what a fit of the calibration has made of it. Parameters are in the units that the fit's function names, the curve
    in those of the values.

        >>> import numpy as np, dataprocessing as dp
        >>> line = dp.fitting.polynomial(dp.Array1D([1.0, 3.0, 5.0, 7.5], dp.Axis(0.0, 0.5)))
        >>> round(line.params["c1"].value, 6), line.n_points, line.n_free, line.success
        (4.3, 4, 2, True)
    """

    kind: str
    params: Mapping[str, Parameter]
    covariance: NDArray[Any]
    chi_square: float
    n_points: int
    n_free: int
    weights: str
    message: str
    success: bool = True
    axis: Axis | None = None
    peaks: tuple[FittedPeak, ...] = ()
    reduced: float = math.nan
    _curve: Curve | None = field(default=None, repr=False)
    _data: Array1D | None = field(default=None, repr=False)
    _fitted: Array1D | None = field(default=None, repr=False)

    def __post_init__(self) -> None:
        left = self.n_points - self.n_free
        object.__setattr__(self, "params", MappingProxyType(dict(self.params)))
        object.__setattr__(self, "covariance", _frozen(self.covariance))
        if math.isnan(self.reduced) and left > 0:
            object.__setattr__(self, "reduced", float(self.chi_square / left))

    def __reduce__(self) -> tuple[Callable[..., FitResult], tuple[dict[str, Any]]]:
        state = {name: getattr(self, name) for name in self.__dataclass_fields__}
        return _restored, ({**state, "params": dict(self.params)},)

    @property
    def values(self) -> dict[str, float]:
        """The values of the parameters by name."""
        return {name: parameter.value for name, parameter in self.params.items()}

    def eval(self, where: Any = None) -> Any:
        """The fitted curve.

        On :attr:`axis` without an argument, as Array1D; on another Axis, with as many elements; where another
        Array1D lies; at positions, as an ndarray of their shape. Name and unit are those of what was fitted. ValueError
        for a fit without a curve, such as that of :func:`solve`, and away from the elements for a model with a curve
        given element by element; UnitError for an axis in another unit.

            >>> import dataprocessing as dp
            >>> line = dp.fitting.polynomial(dp.Array1D([1.0, 3.0, 5.0]))
            >>> round(float(line.eval(1.5)), 9)
            4.0
        """
        if isinstance(where, Axis):
            where = Array1D(np.empty(self._sized().size), where)
        if self._data is not None and isinstance(where, Array1D):
            check_axis_units(self._data, where)
        if self._fitted is not None and (
            where is None or (isinstance(where, Array1D) and _core.same_grid(self._fitted, where))
        ):
            return self._fitted.copy()
        if self._curve is None:
            if self._fitted is None:
                raise ValueError(f"a {self.kind} has no curve")
            raise ValueError("the model has a curve given element by element, which is known at the elements alone")
        where = self._data if where is None else where
        if isinstance(where, Array1D):
            name, unit = ("", "") if self._data is None else (self._data.name, self._data.unit)
            return Array1D(self._curve(where.positions), where.axis, name=name, unit=unit)
        at = np.asarray(without_masked(where), dtype="f8")
        return self._curve(at.ravel()).reshape(at.shape)[()]

    @property
    def residual(self) -> Array1D:
        """What was fitted less the curve, on the axis of the data."""
        data = self._sized()
        return Array1D(data.values.astype("f8") - self.eval().values, data.axis, unit=data.unit)

    def _sized(self) -> Array1D:
        if self._data is None:
            raise ValueError(f"a {self.kind} has no data on an axis")
        return self._data

    def _figures(self) -> list[tuple[str, str]]:
        rows = [("fit", self.kind), ("result", self.message), ("weights", self.weights)]
        rows.append(("points", f"{self.n_points}, {self.n_free} free parameters"))
        rows.append(("chi-square", f"{self.chi_square:.6g}, reduced {self.reduced:.4g}"))
        return rows

    def _peak_rows(self) -> list[tuple[str, str, str]]:
        """Names, positions and areas, which are in both units."""
        across = self.axis.unit if self.axis is not None else ""
        both = " ".join(filter(None, (self._data.unit if self._data is not None else "", across)))
        return [
            (peak.name, _measured(peak.position, peak.position_error, across, peak.position_note),
             _measured(peak.area, peak.area_error, both, peak.area_note))
            for peak in self.peaks
        ]  # fmt: skip

    def _notes(self) -> list[str]:
        return [f"{name}: {p.note}" for name, p in self.params.items() if p.note]

    def report(self) -> str:
        """The fit in words: how it ended, all parameters with errors, peaks, and why errors are missing.

        Names are those of ``params``; values are written down to the second digit of their errors, with their units, and
        areas in those of the values and of the axis.

            >>> import dataprocessing as dp
            >>> line = dp.fitting.polynomial(dp.Array1D([1.0, 3.0, 5.0]))
            >>> print(line.report().splitlines()[0])
            fit         polynomial
        """
        lines = [f"{name:12}{text}" for name, text in self._figures()]
        width = max((len(name) for name in self.params), default=0)
        lines += ["", *(f"  {name:{width}}  {parameter}" for name, parameter in self.params.items())]
        if self.peaks:
            rows = [("peak", "position", "area"), *self._peak_rows()]
            first, second = (max(len(row[column]) for row in rows) for column in (0, 1))
            lines += ["", *(f"  {name:{first}}  {position:{second}}  {area}" for name, position, area in rows)]
        notes = self._notes()
        return "\n".join(lines + ([""] + [f"  {note}" for note in notes] if notes else []))

    def __repr__(self) -> str:
        named = ", ".join(f"{name}={parameter.value:.6g}" for name, parameter in list(self.params.items())[:6])
        more = ", ..." if len(self.params) > 6 else ""
        return f"<FitResult {self.kind}: {named}{more}; reduced chi-square {self.reduced:.4g}>"

    def _repr_html_(self) -> str:
        def table(head: tuple[str, ...], rows: Iterable[tuple[str, ...]]) -> str:
            cells = ["".join(f"<td>{html.escape(cell)}</td>" for cell in row) for row in rows]
            top = "".join(f"<th>{html.escape(cell)}</th>" for cell in head)
            body = "".join(f"<tr>{row}</tr>" for row in cells)
            return f"<table>{f'<tr>{top}</tr>' if head else ''}{body}</table>"

        parts = [table((), self._figures())]
        parts.append(table(("parameter", "value"), [(name, str(p)) for name, p in self.params.items()]))
        if self.peaks:
            parts.append(table(("peak", "position", "area"), self._peak_rows()))
        parts += [f"<p>{html.escape(note)}</p>" for note in self._notes()]
        return "".join(parts)


def _restored(state: dict[str, Any]) -> FitResult:
    return FitResult(**state)
