"""Spectra of maps made of spectra: on other channels, smoothed, shifted back to where their reference lies."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np

from dataprocessing import _core
from dataprocessing._arrays import without_masked
from dataprocessing._core import Array1D, Axis, UnitError
from dataprocessing._map_blocks import Fit, Map, Planes, axis_brought, elements, is_data_array
from dataprocessing.fitting import _ends

if TYPE_CHECKING:
    from numpy.typing import NDArray


class Spectra(NamedTuple):
    """Spectra made of spectra, of the map's own kind, and the axis that they lie on.

    Values and errors are in the units of the map; of a derivative, per unit of the axis.

        >>> import numpy as np, dataprocessing as dp
        >>> [name for name in dp.maps.Spectra._fields]
        ['data', 'errors', 'status', 'axis']
    """

    data: Any
    """The values, as float64; NaN where the status is not good."""
    errors: Any
    """Their standard errors, those of counts."""
    status: Any
    """What became of each spectrum, a :class:`Status`."""
    axis: Axis
    """Where the channels lie."""


@dataclass(frozen=True)
class _Filter:
    """A filter, told by what it is made of: processes get this, and make it again."""

    kind: str
    arguments: tuple[Any, ...]
    _made: list[Any] = field(default_factory=list, compare=False)

    def __reduce__(self) -> tuple[Any, ...]:
        return _Filter, (self.kind, self.arguments)

    @property
    def __name__(self) -> str:
        """What dask calls the tasks."""
        return self.kind

    def made(self) -> Any:
        if not self._made:
            self._made.append(getattr(_core, self.kind)(*self.arguments))
        return self._made[0]

    def __call__(self, block: Any) -> tuple[NDArray[Any], NDArray[Any], NDArray[Any]]:
        return _shaped(self.made().run(elements(block)), block.shape[:-1])


@dataclass(frozen=True)
class _Shift:
    """Spectra on their way back, each by its own shift."""

    axis: Axis
    __name__ = "maps_shift"

    def __call__(self, block: Any, shifts: Any) -> tuple[NDArray[Any], NDArray[Any], NDArray[Any]]:
        by = np.broadcast_to(np.asarray(shifts, "f8"), block.shape[:-1])
        return _shaped(_core.maps_shift(elements(block), self.axis, by.ravel()), block.shape[:-1])


def _shaped(made: Any, shape: tuple[int, ...]) -> tuple[NDArray[Any], NDArray[Any], NDArray[Any]]:
    values, deviations, status = made
    whole = (*shape, values.shape[-1])
    return values.reshape(whole), deviations.reshape(whole), status.reshape(shape)


def _ordered(plane: Any, data: Any, dim: str) -> Any:
    """A plane with labels, by those of the map: xarray's ValueError where they are others."""
    import xarray

    spectra = data.isel({dim: slice(0, 0)}).sum(dim)
    spectra, plane = xarray.align(spectra, plane, join="exact")
    return plane.broadcast_like(spectra).transpose(*data.dims[:-1]).data


def _run(given: Map, call: Any, channels: int, axis: Axis, planes: tuple[Any, ...] = ()) -> Spectra:
    """Sends a map through, with planes that have a number for each spectrum."""
    if not given.is_labelled:
        outputs = [("position", "f8"), ("position", "f8"), ("", "u1")]
        values, deviations, status = given.through(call, outputs, {"position": channels}, planes)
        return Spectra(values, deviations, status, axis)
    moved = given.data.transpose(..., given.dim)
    dims = moved.dims[:-1]
    ordered = tuple(_ordered(one, moved, given.dim) if is_data_array(one) else one for one in planes)
    values, deviations, status, _ = _run(Map(moved.data, given.axis, None), call, channels, axis, ordered)
    units = {"units": axis.unit} if axis.unit else {}
    coords = {name: one for name, one in moved.coords.items() if given.dim not in one.dims}
    whole = {**coords, given.dim: (given.dim, axis.positions(channels), units)}
    kind, name = type(given.data), given.data.name
    return Spectra(
        kind(values, whole, moved.dims, name, given.data.attrs), kind(deviations, whole, moved.dims, name),
        kind(status, coords, dims, name), axis,
    )  # fmt: skip


def _refuse_units(one: Axis, other: Axis) -> None:
    if one.unit and other.unit and one.unit != other.unit:
        raise UnitError(f"the units {one.unit} and {other.unit} meet in one operation")


def _filtered(data: Any, axis: Axis | None, dim: str | None, kind: str, *arguments: Any) -> Spectra:
    given = Map(data, axis, dim)
    call = _Filter(kind, (given.channels, given.axis, *arguments))
    made = call.made()  # what it refuses, it refuses now
    cal = made.axis()
    along = Axis(cal.offset, cal.delta, cal.index, given.axis.name, given.axis.unit)
    return _run(given, call, made.channels(), along)


def rebin(data: Any, to: float | Array1D, axis: Axis | None = None, *, dim: str | None = None) -> Spectra:
    """The counts of every spectrum on channels of width ``to``, or on those of another spectrum: counts are conserved.

    Channels that lie in one of the others in part give it that part. :func:`rescale` is for values that are no counts.
    ProgramError for a width that is 0 or not finite, or whose sign is not that of the axis; UnitError for a spectrum on
    an axis in another unit. ``to`` is in units of the axis.

        >>> import numpy as np, dataprocessing as dp
        >>> made = dp.maps.rebin(np.array([[1, 2, 3, 4], [9, 7, 0, 0]]), 1.0, dp.Axis(6.0, 0.5))
        >>> made.data, made.errors[1], made.axis.delta
        (array([[ 3.,  7.],
               [16.,  0.]]), array([4., 0.]), 1.0)
    """
    if isinstance(to, Array1D):
        _refuse_units(to.axis, Map(data, axis, dim).axis)
        return _filtered(data, axis, dim, "maps_rebin", len(to), to.axis)
    return _filtered(data, axis, dim, "maps_rebin", float(to))


def smooth(
    data: Any, width: int, order: int, derivative: int = 0, axis: Axis | None = None, *, dim: str | None = None
) -> Spectra:
    """Each channel becomes the value there of the polynomial that fits the ``width`` channels around it best.

    What :func:`dataprocessing.smooth_savgol` does with one spectrum. The errors leave out that neighbours are
    correlated. ProgramError for other widths, orders and derivatives than that takes, SizeError for spectra of fewer
    channels than the width. A derivative is per unit of the axis.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.maps.smooth(np.array([[1, 2, 5, 10, 17, 27]]), 5, 2).data.round(2)
        array([[ 1.  ,  2.  ,  5.  ,  9.91, 17.26, 26.89]])
    """
    return _filtered(data, axis, dim, "maps_smooth", width, order, derivative)


def smooth_gauss(data: Any, sigma: float, axis: Axis | None = None, *, dim: str | None = None) -> Spectra:
    """The average of the channels around each, weighted by a Gaussian curve of ``sigma``, in units of the axis.

    What :func:`dataprocessing.smooth_gauss` does with one spectrum: beyond the ends stand channels mirrored there, so
    that counts are conserved. ProgramError for a sigma that is negative or not finite.

        >>> import numpy as np, dataprocessing as dp
        >>> made = dp.maps.smooth_gauss(np.array([[0, 0, 0, 100, 0, 0, 0]]), 0.05, dp.Axis(6.0, 0.1))
        >>> made.data.round(1)
        array([[ 0. ,  0. , 10.6, 78.7, 10.6,  0. ,  0. ]])
    """
    return _filtered(data, axis, dim, "maps_smooth_gauss", float(sigma))


def align(
    data: Any, reference: Any, most_shift: float, axis: Axis | None = None, *, over: Any = None,
    tolerance: float = 1e-4, most_steps: int = 50, dim: str | None = None, errors: str = "nan",
) -> Planes:  # fmt: skip
    """How far every spectrum is shifted against ``reference``, by ``most_shift`` at most, and its "factor".

    y(x) = factor reference(x - shift) by the largest likelihood of counts, over the channels that the reference
    reaches at all shifts, or those of them in the range ``over``. The reference has a value for each channel:
    ``maps.sum(data).spectrum`` for one. Its noise is seen where it is no smooth curve, and is in the errors; where its
    slopes are mostly noise all are UNDETERMINED, and it should be smoothed. Lines should have a standard deviation of
    two channels. A shift beyond the limit is NOT_CONVERGED. :func:`shift` takes the plane "shift". UnitError for an axis of
    the reference in another unit, ValueError for one that lies elsewhere by a hundredth of a channel, or has
    another shape. The shift is in units of the axis.

        >>> import numpy as np, dataprocessing as dp
        >>> axis = dp.Axis(-2.0, 0.1, unit="eV")
        >>> line = lambda at: np.round(500 * np.exp(-((axis.positions(41) - at) ** 2)))
        >>> dp.maps.align([line(0.25), line(-0.1)], 20 * line(0), 0.5, axis)["shift"].round(2)
        array([ 0.25, -0.1 ])
    """
    given = Map(data, axis, dim)
    own = axis_brought(reference)
    if own is not None:
        _refuse_units(own, given.axis)
        ends = [abs(own.position(k) - given.axis.position(k)) for k in (0, given.channels - 1)]
        if not max(ends) <= 1e-2 * abs(given.axis.delta):
            raise ValueError(f"the reference lies on {own}, the spectra on {given.axis}")
    curve = np.asarray(without_masked(reference), "f8")
    if curve.shape != (given.channels,):
        raise ValueError(f"the reference has the shape {curve.shape}, the spectra {given.channels} channels")
    limits = (-np.inf, np.inf) if over is None else _ends(over, given.axis)
    arguments = (curve, given.axis, float(most_shift), *limits, tolerance, most_steps)
    return given.run(Fit("maps_cAlign", arguments, ["shift", "factor"]), errors)


def shift(data: Any, shifts: Any, axis: Axis | None = None, *, dim: str | None = None) -> Spectra:
    """Every spectrum shifted back by its own of ``shifts``, a number for each in units of the axis.

    Counts are shared out by the edges of channels and so conserved; beyond the ends there is nothing. A shift that is
    not finite makes NaN and a status. ProgramError for an axis whose delta is 0, TypeError for masked shifts.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.maps.shift(np.array([[1, 2, 4, 8], [1, 2, 4, 8]]), [1.0, -0.25], dp.Axis(6.0, 0.5)).data
        array([[4. , 8. , 0. , 0. ],
               [0.5, 1.5, 3. , 6. ]])
    """
    given = Map(data, axis, dim)
    return _run(given, _Shift(given.axis), given.channels, given.axis, (without_masked(shifts),))
