"""New arrays."""

from __future__ import annotations

import operator

import numpy as np

from dataprocessing._core import Array1D, Array2D

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Any

__all__ = ["array", "empty", "full", "zeros"]


def array(
    values: Any,
    axes: Any = None,
    *,
    dtype: Any = None,
    name: str | None = None,
    unit: str | None = None,
) -> Array1D | Array2D:
    """``Array1D`` or ``Array2D``, by the dimensions of ``values``; ValueError for other dimensions.

    ``axes`` is an ``Axis``, or a pair (y, x) for an image. Types, name and unit are as in ``Array1D``, and so are its
    errors.

        >>> import dataprocessing as dp
        >>> dp.array([[1, 2], [3, 4]]).ndim
        2
    """
    dimensions = np.ndim(values)
    if dimensions == 1:
        return Array1D(values, axes, dtype=dtype, name=name, unit=unit)
    if dimensions == 2:
        return Array2D(values, axes, dtype=dtype, name=name, unit=unit)
    raise ValueError(f"arrays have one or two dimensions, not {dimensions}")


def empty(
    shape: int | tuple[int, ...], axes: Any = None, *, dtype: Any = "f8", name: str = "", unit: str = ""
) -> Array1D | Array2D:
    """An array whose elements are whatever is in memory, to be written through ``.values``.

    ``shape`` is a count or a pair (rows, columns); name and unit are empty unless given. ValueError for more
    dimensions, SizeError for a negative count, TypeError for a count that is no integer and a ``dtype`` that arrays
    have not.

        >>> import numpy as np, dataprocessing as dp
        >>> e = dp.empty(3, dtype="f4")
        >>> _ = np.multiply([1, 2, 3], 2.0, out=e.values)
        >>> e.values
        array([2., 4., 6.], dtype=float32)
    """
    sizes = (shape,) if isinstance(shape, (int, np.integer)) else tuple(shape)
    kinds: dict[int, Any] = {1: Array1D, 2: Array2D}
    if len(sizes) not in kinds:
        raise ValueError(f"arrays have one or two dimensions, not {len(sizes)}")
    counts = [operator.index(n) for n in sizes]
    made: Array1D | Array2D = kinds[len(sizes)]._empty(counts, axes, dtype, name, unit)
    return made


def zeros(
    shape: int | tuple[int, ...], axes: Any = None, *, dtype: Any = "f8", name: str = "", unit: str = ""
) -> Array1D | Array2D:
    """An array of zeros.

    Arguments and errors are those of ``empty``; see there, also for name and unit.

        >>> import dataprocessing as dp
        >>> dp.zeros((2, 3)).sum()
        0.0
    """
    return full(shape, 0, axes, dtype=dtype, name=name, unit=unit)


def full(
    shape: int | tuple[int, ...],
    value: Any,
    axes: Any = None,
    *,
    dtype: Any = None,
    name: str = "",
    unit: str = "",
) -> Array1D | Array2D:
    """An array of one value, of the type numpy gives it unless ``dtype`` says otherwise.

    The value is converted as by ``astype``. Shape, unit and errors are those of ``empty``; see there.

        >>> import dataprocessing as dp
        >>> dp.full(2, 1.5, dp.Axis(0, 0.1)).values
        array([1.5, 1.5])
    """
    if dtype is None:
        dtype = Array1D(np.array([value])).dtype
    made = empty(shape, axes, dtype=dtype, name=name, unit=unit)
    made[...] = value
    return made
