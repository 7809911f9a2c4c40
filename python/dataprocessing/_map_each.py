"""What has no kernel for whole maps: any function of one spectrum, lines of known positions, another grid."""

from __future__ import annotations

import contextlib
import math
from collections.abc import Callable, Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np

from dataprocessing import _core, fitting
from dataprocessing._arrays import failure
from dataprocessing._core import Array1D, Array2D, Axis, DataProcessingError, FitError, SingularFitError
from dataprocessing._map_blocks import Map, Planes, Status, elements, named

if TYPE_CHECKING:
    from numpy.typing import NDArray

_MOST = 1 << 24  # elements that are rescaled at once


class Applied(NamedTuple):
    """What a function made of every spectrum, and a plane of :class:`Status`.

    Values are in the units that the function gives.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.maps.apply(lambda a: float(a.max()), np.array([[1.0, 5.0]]), dp.Axis()).values
        array([5.])
    """

    values: Any
    status: Any


class Rescaled(NamedTuple):
    """A map on another grid, and the axis of its spectra.

    Values are in the map's own units.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.maps.rescale(np.array([[1.0, 3.0]]), 0.5, dp.Axis()).axis
        Axis(0.0, 0.5)
    """

    data: Any
    axis: Axis


class _EmptyError(FitError):
    """A spectrum of zeros, which a fit would take."""


def _place(index: int, shape: tuple[int, ...]) -> tuple[int, ...]:
    return tuple(int(one) for one in np.unravel_index(index, shape)) if shape else ()


@dataclass(frozen=True)
class _Each:
    """A function of one spectrum on its way through a map."""

    function: Callable[[Array1D], Any]
    axis: Axis
    output: int | None
    dtype: Any
    errors: str
    __name__ = "maps_apply"

    def __call__(self, block: Any) -> tuple[NDArray[Any], NDArray[Any]]:
        shape, channels = block.shape[:-1], block.shape[-1]
        spectra = elements(block).reshape(math.prod(shape), channels)
        further = () if self.output is None else (self.output,)
        made = np.zeros((len(spectra), *further), self.dtype)
        status = np.zeros(len(spectra), "u1")
        for k, spectrum in enumerate(spectra):
            try:
                made[k] = self._told(self.function(Array1D(spectrum, self.axis)), further)
            except DataProcessingError as error:
                if self.errors == "raise":
                    error.add_note(f"It was spectrum {_place(k, shape)} of its block.")
                    raise
                made[k] = math.nan
                status[k] = self._status(error, spectrum)
        return made.reshape((*shape, *further)), status.reshape(shape)

    @staticmethod
    def _status(error: DataProcessingError, spectrum: NDArray[Any]) -> Status:
        """What that error says about the spectrum."""
        if isinstance(error, _EmptyError):
            return Status.EMPTY
        if not np.isfinite(spectrum).all():
            return Status.NOT_FINITE
        return Status.UNDETERMINED if isinstance(error, SingularFitError) else Status.NOT_CONVERGED

    def _told(self, found: Any, shape: tuple[int, ...]) -> Any:
        """What the function gave, where that is what it should give."""
        one = np.asarray(found)
        if one.shape != shape:
            raise ValueError(f"the function gives {one.shape or 'one number'}, output says {shape or 'one number'}")
        kind = np.dtype(self.dtype)
        if kind.kind not in "iufc" or one.dtype.kind not in "iufc":
            return one
        if one.dtype.kind == "c" and kind.kind != "c":
            raise ValueError(f"{found} is complex and has no place in {kind}")
        with np.errstate(invalid="ignore", over="ignore"):
            cut = one.astype(kind)
        is_whole = kind.kind in "iu"
        if not (np.array_equal(cut, one) if is_whole else np.array_equal(np.isfinite(cut), np.isfinite(one))):
            raise ValueError(f"{found} has no place in {kind}")
        return one


def apply(
    function: Callable[[Array1D], Any], data: Any, axis: Axis | None = None, *, output: int | None = None,
    dtype: Any = "f8", dim: str | None = None, errors: str = "raise",
) -> Applied:  # fmt: skip
    """What ``function`` makes of every spectrum, an Array1D: a number, or ``output`` of them as a last dimension.

    It runs in the interpreter, one spectrum after the other, which takes as long as a loop; what it gives has the type
    ``dtype``. Of dask arrays it runs when the result is asked for, and may meet its spectra in any order. With
    errors="nan" a DataProcessingError, a fit that fails for one, makes NaN and a status: NOT_FINITE for a spectrum
    that is not, otherwise UNDETERMINED or NOT_CONVERGED; other errors always come through. ValueError for an
    ``output`` that is not what the function gives, and for what the ``dtype`` has no place for: NaN and fractions in
    integers, complex numbers in real ones, and what is too large for it. Floats are rounded to their type.

        >>> import numpy as np, dataprocessing as dp
        >>> counts = np.array([[1, 2, 9, 2], [3, 8, 3, 1]])
        >>> dp.maps.apply(lambda spectrum: spectrum.idxmax(), counts, dp.Axis(6.0, 0.5)).values
        array([7. , 6.5])
    """
    if errors not in ("raise", "nan"):
        raise ValueError(f"errors is 'raise' or 'nan', not {errors!r}")
    kind = np.dtype(dtype)
    if errors == "nan" and kind.kind not in "fc":
        raise ValueError(f"{kind} has no NaN; take a floating type, or errors='raise'")
    given = Map(data, axis, dim)
    outputs = [("" if output is None else "output", kind), ("", np.dtype("u1"))]
    call = _Each(function, given.axis, output, kind, errors)
    return Applied(*given.through(call, outputs, {} if output is None else {"output": output}))


@dataclass(frozen=True)
class _Gaussians:
    """A fit of lines at known positions, as a row of numbers."""

    peaks: tuple[fitting.Gaussian, ...]
    resolution: tuple[float, ...]
    ranges: Any
    fit: tuple[str, ...]

    def names(self) -> tuple[list[str], list[str]]:
        """Those of the parameters and of the peaks."""
        peaks = [peak.name or f"peak {k + 1}" for k, peak in enumerate(self.peaks)]
        return ["offset", "delta", "fwhm", *(f"{what} of {p}" for p in peaks for what in ("amplitude", "center"))], peaks

    def __call__(self, spectrum: Array1D) -> list[float]:
        _, needed = fitting._selection(spectrum, self.ranges, "nearest").fill_xy(spectrum)
        if len(needed) and not np.any(needed):
            raise failure(_EmptyError, "All values that were needed are 0.")
        found = fitting.gaussians(spectrum, self.peaks, self.resolution, self.ranges, self.fit)
        params = [found.params[name] for name in self.names()[0]]
        return [
            *(p.value for p in params), *(p.stderr for p in params), *(p.area for p in found.peaks),
            *(p.area_error for p in found.peaks), found.chi_square,
        ]  # fmt: skip


def gaussians(
    data: Any, peaks: Sequence[fitting.Gaussian], resolution: Sequence[float], axis: Axis | None = None, *,
    ranges: Any = None, fit: Sequence[str] = (), dim: str | None = None, errors: str = "nan",
) -> Planes:  # fmt: skip
    """Lines at known positions with the resolution of a detector, fitted to every spectrum.

    What is fitted and what the parameters are called is said in :func:`dataprocessing.fitting.gaussians`, which this
    calls for one spectrum after the other: it takes milliseconds each. :func:`peaks` fits a thousand times as many,
    with positions and widths fixed or free. A spectrum of zeros is EMPTY. ValueError for names that are not there or
    there twice.

        >>> import numpy as np, dataprocessing as dp
        >>> axis = dp.Axis(5.0, 0.01, unit="keV")
        >>> line = np.exp(-((axis.positions(300) - 6.4) / 0.09) ** 2)
        >>> fe = dp.fitting.Gaussian(6.4, 400, "Fe")
        >>> fit = dp.maps.gaussians([500 * line, 250 * line], [fe], (6.4, 0.15, 0.0023), axis)
        >>> fit["amplitude of Fe"].round(-1)
        array([500., 250.])
    """
    given = Map(data, axis, dim)
    each = _Gaussians(tuple(peaks), tuple(map(float, resolution)), ranges, tuple(fit))
    with contextlib.suppress(FitError):  # what no spectrum can be fitted with is refused now
        each(Array1D(np.ones(given.channels), given.axis))
    names, lines = each.names()
    count = 2 * len(names) + 2 * len(lines) + 1
    rows, status = apply(
        each, given.data, given.axis, output=count, dim=given.dim if given.is_labelled else None, errors=errors
    )
    ends = np.cumsum([0, len(names), len(names), len(lines), len(lines)]).tolist()
    values, deviations, areas, area_errors = (rows[..., start:end] for start, end in zip(ends, ends[1:]))
    stacks = {
        "values": values, "errors": deviations, "status": status, "chi_square": rows[..., ends[-1]], "areas": areas,
        "area_errors": area_errors,
    }  # fmt: skip
    return Planes(
        named(values, names), named(deviations, names), None, status, stacks["chi_square"], named(areas, lines),
        named(area_errors, lines),
    )._remember(stacks, (each, given.axis))  # fmt: skip


@dataclass(frozen=True)
class _Rescale:
    """Spectra as the rows of an image that is stretched along them."""

    axis: Axis
    delta: float
    __name__ = "maps_rescale"

    def __call__(self, block: Any) -> NDArray[Any]:
        shape, channels = block.shape[:-1], block.shape[-1]
        spectra = elements(block).reshape(math.prod(shape), channels)
        most = max(1, _MOST // max(channels, 1))
        parts = [self.rows(spectra[k : k + most]).values for k in range(0, max(len(spectra), 1), most)]
        whole = parts[0] if len(parts) == 1 else np.concatenate(parts)
        return whole[: len(spectra)].reshape(*shape, whole.shape[-1])

    def rows(self, spectra: Any) -> Array2D:
        """Some spectra, or one of zeros where there are none."""
        filled = spectra if len(spectra) else np.zeros((1, *spectra.shape[1:]), spectra.dtype)
        return _core.resc_rescale(Array2D(filled, (Axis(), self.axis)), self.delta, 1.0)


def rescale(data: Any, delta: float, axis: Axis | None = None, *, dim: str | None = None) -> Rescaled:
    """Every spectrum interpolated linearly at steps of ``delta``, over the same range: values, not counts.

    Elements keep their type, and integers are rounded; those of 64 bits become doubles. Comes with the axis of the
    result; a DataArray has it as coordinates. ProgramError for a ``delta`` that is 0, not finite, or whose sign is
    not that of the axis. ``delta`` is in units of the axis, the values stay in theirs.

        >>> import numpy as np, dataprocessing as dp
        >>> data, axis = dp.maps.rescale(np.array([[1.0, 3.0], [10.0, 30.0]]), 0.5, dp.Axis(6.0, 1.0))
        >>> data, axis.delta
        (array([[ 1.,  2.,  3.,  3.],
               [10., 20., 30., 30.]]), 0.5)
    """
    given = Map(data, axis, dim)
    if given.is_labelled:
        moved = given.data.transpose(..., given.dim)
        values, along = rescale(moved.data, delta, given.axis)
        units = {"units": along.unit} if along.unit else {}
        coords = {name: one for name, one in moved.coords.items() if given.dim not in one.dims}
        coords[given.dim] = (given.dim, along.positions(values.shape[-1]), units)
        return Rescaled(type(data)(values, coords, moved.dims, data.name, data.attrs), along)
    call = _Rescale(given.axis, float(delta))
    probe = call.rows(elements(np.zeros((1, given.channels), given.data.dtype)))
    outputs = [("position", probe.dtype)]
    made = given.through(call, outputs, {"position": probe.shape[1]})
    return Rescaled(made, probe.axes[1])
