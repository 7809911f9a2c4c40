"""To and from xarray and HyperSpy. Neither is needed to import this package."""

from __future__ import annotations

import re

import numpy as np

from dataprocessing._arrays import without_masked
from dataprocessing._core import Array1D, Array2D, Axis

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Any

    import xarray
    from numpy.typing import NDArray

__all__ = ["from_hyperspy", "from_xarray", "to_hyperspy", "to_xarray"]


def _array(values: NDArray[Any], axes: list[Axis], name: str, unit: str) -> Array1D | Array2D:
    if len(axes) == 1:
        return Array1D(values, axes[0], name=name, unit=unit)
    return Array2D(values, tuple(axes), name=name, unit=unit)


# The attribute of a coordinate that says how its positions came about: offset, delta and index of the axis.
_CALIBRATION = "calibration"


def _word(attributes: Any, key: str) -> str:
    """A label among attributes, where there is one."""
    found = attributes.get(key)
    return "" if found is None else str(found)


def _dimensions(names: list[str]) -> tuple[str, ...]:
    """What dimensions of axes with these names are called: each once, unnamed ones (y, x)."""
    usual = ("x",) if len(names) == 1 else ("y", "x")
    found = [name or other for name, other in zip(names, usual)]
    if len(set(found)) < len(found):
        found = [f"{name}_{other}" for name, other in zip(found, usual)]
    return tuple(found)


def _as_written(coordinate: Any, unit: str) -> Axis | None:
    """The axis that ``to_xarray`` wrote down, if all positions are those of its elements, or of some in a row."""
    written = coordinate.attrs.get(_CALIBRATION)
    if np.shape(written) != (3,):
        return None
    try:
        axis = Axis(float(written[0]), float(written[1]), int(written[2]), unit=unit)
        part = axis
        if coordinate.size:
            part = Axis(axis.offset, axis.delta, axis.index - axis.nearest(coordinate.values[0]), unit=unit)
    except (TypeError, ValueError):
        return None
    return next((a for a in (axis, part) if np.array_equal(a.positions(coordinate.size), coordinate.values)), None)


def from_xarray(data: xarray.DataArray, tolerance: float = 1e-3) -> Array1D | Array2D:
    """An array of the elements, coordinates, name and units of a DataArray of one or two dimensions.

    Coordinates must be evenly spaced, within ``tolerance`` elements; a dimension without coordinates lies
    at its indices. What ``to_xarray`` made, or a part of it without gaps, gets its axes back bit by bit. Units are
    those of the attributes ``units``. ValueError for other dimensions and uneven coordinates, TypeError for what is
    no DataArray and for coordinates that are no real numbers, such as dates.

        >>> import xarray, dataprocessing as dp
        >>> data = xarray.DataArray([1.0, 2.0], coords={"x": [0.0, 0.5]}, dims="x")
        >>> dp.from_xarray(data).axis
        Axis(0.0, 0.5, name='x')
    """
    if not all(hasattr(data, name) for name in ("dims", "coords", "ndim")):
        raise TypeError(f"from_xarray takes a DataArray, not {type(data).__name__}")
    if data.ndim not in (1, 2):
        raise ValueError(f"arrays have one or two dimensions, not {data.ndim}")
    axes, names = [], []
    for dimension in data.dims:
        axis, name = Axis(), str(dimension)
        if dimension in data.coords:
            coordinate = data.coords[dimension]
            unit = _word(coordinate.attrs, "units")
            known = _as_written(coordinate, unit)
            try:
                axis = known or Axis.from_positions(coordinate.values, tolerance, unit=unit)
            except (TypeError, ValueError) as error:
                raise type(error)(f"the coordinate {name}: {error}") from None
            if known:
                name = _word(coordinate.attrs, "long_name") if "long_name" in coordinate.attrs else name
        axes.append(axis)
        names.append(name)
    if _dimensions(names) != data.dims:
        names = list(map(str, data.dims))
    axes = [Axis(a.offset, a.delta, a.index, name, a.unit) for a, name in zip(axes, names)]
    return _array(data.values, axes, "" if data.name is None else str(data.name), _word(data.attrs, "units"))


def to_xarray(self: Any, dims: str | tuple[str, ...] | None = None) -> xarray.DataArray:
    """A DataArray that shares the elements; dimensions are called ``dims``, or like the axes, or (y, x).

    Coordinates are the positions, in float64. Units go into the attributes ``units`` of the data and of the
    coordinates, offset, delta and index into their attributes ``calibration``, so that ``from_xarray`` gives back the
    same array. Axes of one name are called apart, with ``long_name`` as it was. ValueError where ``dims`` are not as
    many as the axes, ImportError without xarray.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1.0, 2.0], dp.Axis(0, 0.5, name="x")).to_xarray().dims
        ('x',)
    """
    import xarray

    names = [axis.name for axis in self.axes]
    chosen = _dimensions(names) if dims is None else (dims,) if isinstance(dims, str) else tuple(dims)
    if len(set(chosen)) != self.ndim:
        raise ValueError(f"{self.ndim} different names of dimensions are needed, not {chosen!r}")
    coords = {}
    for dimension, axis, count in zip(chosen, self.axes, self.shape):
        attributes: dict[str, Any] = {_CALIBRATION: [axis.offset, axis.delta, axis.index]}
        if axis.unit:
            attributes["units"] = axis.unit
        if dims is None and axis.name != dimension:
            attributes["long_name"] = axis.name
        coords[dimension] = (dimension, axis.positions(count), attributes)
    units = {"units": self.unit} if self.unit else {}
    return xarray.DataArray(self.values, coords=coords, dims=chosen, name=self.name or None, attrs=units)


def from_hyperspy(signal: Any) -> Array1D | Array2D:
    """An array of a HyperSpy signal that has one or two axes in all: a spectrum, an image.

    The scale becomes the delta, the offset the position of element 0. ValueError for more axes (index the signal
    first, ``s.inav[3, 4]``) and for axes that are not uniform. The unit is what ``Signal.quantity`` has in brackets.
    TypeError for what is no signal and for masked elements.

        >>> import hyperspy.api, dataprocessing as dp
        >>> dp.from_hyperspy(hyperspy.api.signals.Signal1D([1.0, 2.0])).values
        array([1., 2.])
    """
    if not hasattr(signal, "axes_manager"):
        raise TypeError(f"from_hyperspy takes a signal, not {type(signal).__name__}")
    axes = []
    for axis in signal.axes_manager._axes:
        if not hasattr(axis, "scale"):
            raise ValueError(f"the axis {axis.name} is not uniform")
        unit = axis.units if isinstance(axis.units, str) else ""
        name = axis.name if isinstance(axis.name, str) else ""
        axes.append(Axis(float(axis.offset), float(axis.scale), 0, name, unit))
    if len(axes) not in (1, 2):
        raise ValueError(f"arrays have one or two dimensions, not {len(axes)}; take one of s.inav[...]")
    title = signal.metadata.get_item("General.title", "") or ""
    quantity = re.search(r"\((.*)\)$", signal.metadata.get_item("Signal.quantity", "") or "")
    return _array(without_masked(signal.data), axes, title, quantity[1] if quantity else "")


def to_hyperspy(self: Any) -> Any:
    """A HyperSpy Signal1D or Signal2D that shares the elements; scale, offset and units are those of the axes.

    A 1D array gives a Signal1D, an image a Signal2D. ImportError without HyperSpy.

        >>> import hyperspy.api, dataprocessing as dp
        >>> dp.Array1D([1.0, 2.0], dp.Axis(0, 0.5)).to_hyperspy().axes_manager[0].scale
        0.5
    """
    import hyperspy.api as hs

    described = [
        {"name": axis.name or other, "offset": axis.position(0), "scale": axis.delta, "size": count, "units": axis.unit}
        for axis, other, count in zip(self.axes, ("x",) if self.ndim == 1 else ("y", "x"), self.shape)
    ]
    kind = hs.signals.Signal1D if self.ndim == 1 else hs.signals.Signal2D
    signal = kind(self.values, axes=described)
    signal.metadata.General.title = self.name
    if self.unit:
        signal.metadata.Signal.quantity = f"{self.name or 'Intensity'} ({self.unit})"  # as HyperSpy's own say it
    return signal


_cls: Any
for _cls in (Array1D, Array2D):
    _cls.to_xarray = to_xarray
    _cls.to_hyperspy = to_hyperspy
