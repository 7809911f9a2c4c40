"""To and from xarray and HyperSpy. Neither is needed to import this package."""

from __future__ import annotations

import numpy as np

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


def from_xarray(data: xarray.DataArray, tolerance: float = 1e-3) -> Array1D | Array2D:
    """An array of the elements, coordinates, name and units of a DataArray of one or two dimensions.

    Coordinates must be evenly spaced, within ``tolerance`` elements; a dimension without coordinates lies
    at its indices. Units are those of the attributes ``units``. ValueError for other dimensions and
    uneven coordinates.

        >>> import xarray, dataprocessing as dp
        >>> data = xarray.DataArray([1.0, 2.0], coords={"x": [0.0, 0.5]}, dims="x")
        >>> dp.from_xarray(data).axis
        Axis(0.0, 0.5, name='x')
    """
    if data.ndim not in (1, 2):
        raise ValueError(f"arrays have one or two dimensions, not {data.ndim}")
    axes = []
    for dimension in data.dims:
        name = str(dimension)
        if dimension not in data.coords:
            axes.append(Axis(name=name))
            continue
        coordinate = data.coords[dimension]
        unit = str(coordinate.attrs.get("units", ""))
        axes.append(Axis.from_positions(coordinate.values, tolerance, name, unit))
    name = "" if data.name is None else str(data.name)
    return _array(data.values, axes, name, str(data.attrs.get("units", "")))


def to_xarray(self: Any, dims: tuple[str, ...] | None = None) -> xarray.DataArray:
    """A DataArray that shares the elements; dimensions are called like the axes, or (y, x).

    Units go into the attributes ``units`` of the data and of the coordinates.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1.0, 2.0], dp.Axis(0, 0.5, name="x")).to_xarray().dims
        ('x',)
    """
    import xarray

    usual = ("x",) if self.ndim == 1 else ("y", "x")
    names = dims or tuple(axis.name or other for axis, other in zip(self.axes, usual))
    coords = {
        name: (name, axis.positions(count), {"units": axis.unit} if axis.unit else {})
        for name, axis, count in zip(names, self.axes, self.shape)
    }
    attributes = {"units": self.unit} if self.unit else {}
    return xarray.DataArray(self.values, coords=coords, dims=names, name=self.name or None, attrs=attributes)


def from_hyperspy(signal: Any) -> Array1D | Array2D:
    """An array of a HyperSpy signal that has one or two axes in all: a spectrum, an image.

    The scale becomes the delta, the offset the position of element 0. ValueError for more axes (index the
    signal first, ``s.inav[3, 4]``) and for axes that are not uniform.

        >>> import hyperspy.api, dataprocessing as dp
        >>> dp.from_hyperspy(hyperspy.api.signals.Signal1D([1.0, 2.0])).values
        array([1., 2.])
    """
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
    return _array(np.asarray(signal.data), axes, title, "")


def to_hyperspy(self: Any) -> Any:
    """A HyperSpy Signal1D or Signal2D that shares the elements; scale, offset and units are those of the axes.

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
    return signal


_cls: Any
for _cls in (Array1D, Array2D):
    _cls.to_xarray = to_xarray
    _cls.to_hyperspy = to_hyperspy
