"""Methods of arrays and masks that are said best in Python."""

from __future__ import annotations

import math
import numbers
import pickle
from collections.abc import Callable, Iterable

import numpy as np

from dataprocessing import _core
from dataprocessing._core import Array1D, Array2D, Axis, ComplexConversion, IndexSelect, Mask1D, Mask2D
from dataprocessing._ufunc import array_ufunc

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Any, TypeVar

    from numpy.typing import NDArray

    F = TypeVar("F", bound=Callable[..., Any])

_RULES = {
    "floor": IndexSelect.FLOOR,
    "nearest": IndexSelect.NEAREST,
    "outer": IndexSelect.OUTER,
    "ceiling": IndexSelect.CEILING,
}
_PARTS = {
    "real": ComplexConversion.REAL_PART,
    "imag": ComplexConversion.IMAGINARY_PART,
    "modulus": ComplexConversion.MODULUS,
    "phase": ComplexConversion.PHASE,
}


def _choice(choices: dict[str, Any], name: str, what: str) -> Any:
    try:
        return choices[name]
    except KeyError:
        raise ValueError(f"{what} is one of {', '.join(map(repr, choices))}, not {name!r}") from None


def failure(kind: type[Any], message: str, unit: str = "fitting", line: int = 0) -> Any:
    """An error of the library that Python raises."""
    error = kind(message)
    error.unit, error.line, error.message = unit, line, message
    return error


def without_masked(values: Any) -> Any:
    """The values, unless elements of a masked array of numpy's would lose their mask."""
    if np.ma.is_masked(values):  # type: ignore[no-untyped-call]
        raise TypeError("arrays hold no masked elements; fill them first: .filled(np.nan)")
    return values


def require_array(a: Any, what: str, dimensions: int | None = None) -> None:
    """TypeError for what is no array, or one of other dimensions."""
    if not isinstance(a, (Array1D, Array2D)):
        raise TypeError(f"{what} takes an array, not {type(a).__name__}; dp.array(values, axis) makes one")
    if dimensions is not None and a.ndim != dimensions:
        raise TypeError(f"{what} takes an Array{dimensions}D, not an Array{a.ndim}D")


def require_mask_on(a: Any, mask: Any, what: str) -> None:
    """ValueError for a mask that does not lie where the array does."""
    if mask.ndim != a.ndim or not _core.same_grid(a, mask):
        raise ValueError(f"{what} takes a mask on the array's own grid; these differ in size, range or delta")


def check_axis_units(a: Any, b: Any) -> None:
    """UnitError where axes of two units meet."""
    for x, y in zip(a.axes, b.axes):
        if x.unit and y.unit and x.unit != y.unit:
            raise _core.UnitError(f"the units {x.unit} and {y.unit} meet in one operation")


def _public(name: str) -> str:
    """Methods named like built-ins end in an underscore here, so that these stay in reach."""
    return name if name.startswith("__") else name.rstrip("_")


def _method(*classes: type) -> Callable[[F], F]:
    """Makes the function a method of these classes."""

    def attach(function: F) -> F:
        name = _public(function.__name__)
        function.__name__ = name
        for cls in classes:
            setattr(cls, name, function)
            function.__qualname__ = f"{cls.__name__}.{name}"
        return function

    return attach


def _property(*classes: type) -> Callable[[Callable[[Any], Any]], None]:
    def attach(function: Callable[[Any], Any]) -> None:
        for cls in classes:
            setattr(cls, _public(function.__name__), property(function))

    return attach


ARRAYS = (Array1D, Array2D)
MASKS = (Mask1D, Mask2D)


def type_of(array: Any) -> type:
    """``Array1D`` or ``Array2D``, also of an object of a subclass."""
    return Array1D if array.ndim == 1 else Array2D


def on_axes_of(array: Any, values: Any, name: str = "", unit: str = "") -> Any:
    """An array of ``values`` where ``array`` lies; an ndarray where no array holds such elements."""
    try:
        if array.ndim == 1:
            return Array1D(values, array.axis, name=name, unit=unit)
        return Array2D(values, array.axes, name=name, unit=unit)
    except TypeError:
        return values


# ---- What an array is --------------------------------------------------------------------------


@_property(Array1D, Mask1D)
def positions(self: Any) -> NDArray[Any]:
    """The positions of all elements, as float64."""
    where: NDArray[Any] = self.axis.positions(self.size)
    return where


@_property(Array1D, Mask1D)
def range_(self: Any) -> Any:
    """From the position of the first element to where the last one ends."""
    from dataprocessing._ranges import Range

    return Range(self.axis.position(0), self.axis.position(self.size))


@_property(*MASKS)
def dtype(self: Any) -> np.dtype[Any]:
    """The element type, bool."""
    return np.dtype(bool)


@_property(Array2D, Mask2D)
def rect(self: Any) -> Any:
    """The calibrated extent: from the corner of element (0, 0) to where the last one ends."""
    from dataprocessing._ranges import Rect

    y, x = self.axes
    rows, columns = self.shape
    return Rect(x.position(0), y.position(0), x.position(columns), y.position(rows))


@_property(*ARRAYS)
def real(self: Any) -> Any:
    """The real parts; a copy of a real array."""
    if self.dtype.kind != "c":
        return self.copy()
    return self._convert(self.values.real.dtype, ComplexConversion.REAL_PART)


@_property(*ARRAYS)
def imag(self: Any) -> Any:
    """The imaginary parts; zeros, of a real array."""
    if self.dtype.kind != "c":
        return on_axes_of(self, np.zeros(self.shape, self.dtype), self.name, self.unit)
    return self._convert(self.values.real.dtype, ComplexConversion.IMAGINARY_PART)


@_method(*ARRAYS)
def conj(self: Any) -> Any:
    """The complex conjugate; a copy of a real array.

    Shape, axes, name and unit stay.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1 + 2j]).conj().values
        array([1.-2.j])
    """
    if self.dtype.kind != "c":
        return self.copy()
    return on_axes_of(self, self.values.conj(), self.name, self.unit)


@_method(*ARRAYS)
def astype(self: Any, dtype: Any, part: str = "real") -> Any:
    """The array with elements of another type.

    Values that the type does not hold are rounded to nearest, ties to even, and clipped to its limits; NaN becomes 0
    in an integer. ``part`` says what a complex element becomes in a real type: "real", "imag", "modulus" or "phase".
    TypeError for a type that arrays have not. Shape, axes, name and unit stay. ValueError for another ``part``.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1.5, 300.0, -1.0]).astype("u1").values
        array([  2, 255,   0], dtype=uint8)
    """
    return self._convert(dtype, _choice(_PARTS, part, "part"))


@_method(*ARRAYS)
def with_labels(self: Any, name: str | None = None, unit: str | None = None) -> Any:
    """A copy with another name, another unit; None leaves what is there.

    Elements and axes are copied as they are. TypeError for what is no text.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1, 2]).with_labels(unit="counts").unit
        'counts'
    """
    return type_of(self)(self, name=name, unit=unit)


@_method(*ARRAYS, *MASKS)
def with_axes(self: Any, *axes: Axis) -> Any:
    """A copy that lies elsewhere: one Axis, or (y, x) of an image.

    Elements, name and unit of the values stay; the axes bring their own. ValueError for another number of axes,
    TypeError for what is no Axis.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1, 2]).with_axes(dp.Axis(5.0, 0.5)).axis
        Axis(5.0, 0.5)
    """
    if len(axes) != self.ndim:
        raise ValueError(f"{self.ndim} axes are needed, not {len(axes)}")
    where = axes[0] if self.ndim == 1 else axes
    return (type_of(self) if isinstance(self, ARRAYS) else type(self))(self, where)


@_method(*ARRAYS, *MASKS)
def moved(self: Any, *by: float) -> Any:
    """A copy whose positions are larger by so much, in units of its axes: by x, or by (x, y) of an image.

    ValueError for another number of distances and for one that is not finite.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1, 2], dp.Axis(5.0, 0.5, unit="keV")).moved(-1.0).axis
        Axis(4.0, 0.5, unit='keV')
    """
    if len(by) != self.ndim:
        raise ValueError(f"{self.ndim} distances are needed, not {len(by)}")
    axes = [
        Axis(axis.offset + distance, axis.delta, axis.index, axis.name, axis.unit)
        for axis, distance in zip(self.axes, reversed(by))
    ]
    return self.with_axes(*axes)


# ---- Selecting ---------------------------------------------------------------------------------


def _clipped(first: int, last: int, size: int, outside: str) -> tuple[int, int]:
    if outside == "zero":
        return first, max(first, last)
    if outside == "raise":
        if first < 0 or last > size:
            raise failure(
                _core.IndexOutOfRangeError, f"elements {first} to {last} reach outside 0 to {size}", "dataprocessing"
            )
        return first, max(first, last)
    low = min(max(first, 0), size)
    return low, min(max(last, low), size)


def _sel_1d(self: Array1D, start: Any, stop: Any = None, rule: str = "nearest", outside: str = "clip") -> Array1D:
    """The part between two positions, as an array of its own; every element stays where it was.

    ``rule`` says how positions become indices: "nearest" rounds both ends, "floor" and "ceiling" take the element that
    covers them or the next, "outer" all that are touched. ``outside`` says what lies beyond the array: "clip" leaves
    it out, "zero" fills it with zeros, "raise" is IndexOutOfRangeError. ``start`` may be a Range. Positions are in
    units of the axis; name and unit stay. ValueError for another rule or another ``outside``, IndexOutOfRangeError for
    NaN.

        >>> import dataprocessing as dp
        >>> a = dp.Array1D([12, 15, 90, 15, 11], dp.Axis(6.2, 0.1))
        >>> a.sel(6.3, 6.5).values
        array([15, 90], dtype=int32)
    """
    if stop is None:
        if not isinstance(start, Iterable):
            raise TypeError(f"sel takes start and stop, or a Range, not {start!r}")
        start, stop = start
    _choice({"clip": 0, "zero": 0, "raise": 0}, outside, "outside")
    first, last = _core.selection(self, float(start), float(stop), _choice(_RULES, rule, "rule"))
    return _core.select(self, *_clipped(first, last, self.size, outside))


def _sel_2d(self: Array2D, rect: Any, rule: str = "nearest", outside: str = "clip") -> Array2D:
    """The part inside a rectangle's upright hull; see ``Array1D.sel`` for ``rule`` and ``outside``.

    TypeError for what is no Rect. The rectangle is in units of the axes; name and unit stay. See ``Array1D.sel`` for
    other errors.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.Array2D(np.ones((4, 6))).sel(dp.Rect(1, 0, 4, 2)).shape
        (2, 3)
    """
    _choice({"clip": 0, "zero": 0, "raise": 0}, outside, "outside")
    if not hasattr(rect, "_rect"):
        raise TypeError(f"sel takes a Rect, not {type(rect).__name__}")
    x0, y0, x1, y1 = _core.selection(self, rect._rect, _choice(_RULES, rule, "rule"))
    x0, x1 = _clipped(x0, x1, self.shape[1], outside)
    y0, y1 = _clipped(y0, y1, self.shape[0], outside)
    return _core.select(self, x0, y0, x1, y1)


_sel_1d.__name__ = _sel_2d.__name__ = "sel"
_sel_1d.__qualname__, _sel_2d.__qualname__ = "Array1D.sel", "Array2D.sel"
setattr(Array1D, "sel", _sel_1d)
setattr(Array2D, "sel", _sel_2d)


@_method(Array1D)
def at(self: Array1D, x: Any, interpolate: bool = True) -> Any:
    """The value at position ``x``: linear between elements, or that of the element that covers it.

    ``x`` may be an array of positions. Outside of the array its end elements hold. In units of the values; an array of
    positions, in units of the axis, gives an ndarray of its shape. Integers are float64 in between.
    IndexOutOfRangeError for NaN and for an array without elements.

        >>> import dataprocessing as dp
        >>> a = dp.Array1D([10.0, 20.0], dp.Axis(0.0, 2.0))
        >>> a.at(1.0), a.at(1.9, interpolate=False)
        (15.0, 10.0)
    """
    if np.ndim(x) == 0:
        return _core.value(self, float(x), interpolate)
    return _core.values_at(self, np.asarray(without_masked(x), dtype="f8"), interpolate)


@_method(Array2D)
def row(self: Array2D, index: int) -> Array1D:
    """Row ``index`` along x; IndexOutOfRangeError outside of the image.

    It lies on the axis x, with the name and unit of the image.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.Array2D(np.eye(2, 3)).row(1).values
        array([0., 1., 0.])
    """
    return _core.line_at_y(self, index)


# ---- Reductions --------------------------------------------------------------------------------


def _check_where(self: Any, where: Any) -> None:
    """ValueError for a mask that lies elsewhere; numpy compares the shapes of all else."""
    if isinstance(where, MASKS):
        require_mask_on(self, where, "where=")


_DOUBLE = {"f4": "f8", "c8": "c16"}


def _reduced(self: Any, name: str, axis: Any, unit: str, **given: Any) -> Any:
    """numpy's reduction of the elements; along one axis of an image an array on the other one."""
    _check_where(self, given.get("where"))
    # What is added in single precision loses digits; all of them together are added in double precision, too.
    wide = _DOUBLE.get(self.dtype.str[1:]) if name in ("sum", "mean") and given.get("dtype") is None else None
    if wide:
        given["dtype"] = wide
    found = getattr(self.values, name)(axis=axis, **{k: v for k, v in given.items() if v is not None})
    if name in ("var", "std") and given.get("out") is None and given.get("dtype") == "c16":
        found = found.real
    if wide and given.get("out") is None:
        found = found.astype(self.dtype)
    if given.get("out") is not None or self.ndim == 1 or np.ndim(found) != 1:
        return found
    along = axis[0] if isinstance(axis, tuple) else axis
    return Array1D(found, self.axes[1 - along % 2], name=self.name, unit=unit)


def _is_whole(self: Any, axis: Any, *given: Any) -> bool:
    """Whether all elements are meant, and no other option of numpy's is asked for."""
    if any(given):
        return False
    return axis is None or (self.ndim == 1 and axis in (0, -1, (0,), (-1,)))


def _is_real(self: Any) -> bool:
    return bool(self.dtype.kind != "c")


def _wide(self: Any, dtype: Any) -> Any:
    """Integers are summed in double precision where nothing else is asked for."""
    return "f8" if dtype is None and self.dtype.kind in "iu" else dtype


@_method(*ARRAYS)
def sum_(self: Any, axis: Any = None, dtype: Any = None, out: Any = None, keepdims: bool = False, **options: Any) -> Any:
    """The sum of all elements, in the unit of the values.

    Arguments are those of ``ndarray.sum``; along axis 0 (y) or 1 (x) of an image an Array1D. Sums of integers are
    float64, and exact as far as that goes; those of float32 are made in double precision, and float64 of all elements. 0.0 without elements. NaN where one is. What numpy refuses is its
    TypeError or ValueError.

        >>> import numpy as np, dataprocessing as dp
        >>> image = dp.Array2D(np.ones((2, 3)))
        >>> image.sum(), image.sum(axis=0).values
        (6.0, array([2., 2., 2.]))
    """
    if not _is_whole(self, axis, dtype is not None, out is not None, keepdims, options):
        return _reduced(self, "sum", axis, self.unit, dtype=_wide(self, dtype), out=out, keepdims=keepdims, **options)
    if self.size == 0:
        return self.dtype.type(0) if self.dtype.kind in "fc" else np.float64(0)
    found = _core.stat_sum(self)
    return np.float64(found) if self.dtype.kind in "iu" else found


@_method(*ARRAYS)
def mean(self: Any, axis: Any = None, dtype: Any = None, out: Any = None, keepdims: bool = False, **options: Any) -> Any:
    """The mean of all elements, or along one axis of an image; in the unit of the values.

    Arguments and types are those of ``ndarray.mean``: float32 of float32, made in double precision. ValueError without
    elements. An image gives an Array1D along an axis.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1, 2, 6]).mean()
        3.0
    """
    if not _is_whole(self, axis, dtype is not None, out is not None, keepdims, options):
        return _reduced(self, "mean", axis, self.unit, dtype=dtype, out=out, keepdims=keepdims, **options)
    if self.size == 0:
        raise ValueError("the mean of no elements")
    return self.dtype.type(_core.stat_mean(self)) if self.dtype.kind in "fc" else _core.stat_mean(self)


@_method(*ARRAYS)
def var(
    self: Any, axis: Any = None, dtype: Any = None, out: Any = None, ddof: int = 0, keepdims: bool = False, **options: Any
) -> Any:
    """The variance, sum of abs(x - mean)^2 / (n - ddof); in double precision, without a unit.

    Arguments are those of ``ndarray.var``. ValueError without elements. With no more of them than ``ddof`` it is NaN.
    An image gives an Array1D along an axis.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1, 2, 3, 4]).var(ddof=1)
        1.6666666666666667
    """
    wide = "f8" if _is_real(self) else "c16"
    if not _is_whole(self, axis, dtype is not None, out is not None, keepdims, options):
        given = {"dtype": dtype or wide, "out": out, "ddof": ddof, "keepdims": keepdims}
        return _reduced(self, "var", axis, "", **given, **options)
    if self.size == 0:
        raise ValueError("the variance of no elements")
    if self.size <= ddof:
        return np.float64(math.nan)
    return np.float64(self.values.astype(wide, copy=False).var(ddof=ddof))


@_method(*ARRAYS)
def std(
    self: Any, axis: Any = None, dtype: Any = None, out: Any = None, ddof: int = 0, keepdims: bool = False, **options: Any
) -> Any:
    """The standard deviation, the root of ``var``, in the unit of the values.

    Arguments are those of ``ndarray.std``. ValueError without elements. An image gives an Array1D along an axis.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1, 3]).std()
        1.0
    """
    if not _is_whole(self, axis, dtype is not None, out is not None, keepdims, options):
        given = {"dtype": dtype or ("f8" if _is_real(self) else "c16"), "out": out, "ddof": ddof, "keepdims": keepdims}
        return _reduced(self, "std", axis, self.unit, **given, **options)
    return np.sqrt(var(self, ddof=ddof))


def _without_nan(values: NDArray[Any]) -> NDArray[Any]:
    kept: NDArray[Any] = values[~np.isnan(values)] if values.dtype.kind == "f" else values
    return kept


def _over(self: Any, which: str, over: Any, interpolate: bool, skipna: bool) -> Any:
    """The extreme of what lies inside a range; the last word is that of the elements there, where they decide alone."""
    if self.ndim != 1:
        raise TypeError("over= takes a range of a 1D array; use .sel(rect) of an image")
    start, end = over
    part = self.sel(start, end, rule="ceiling")
    if not interpolate or self.size == 0:
        return _extreme(part, which, None, None, False, {}, None, False, skipna)
    seen = np.concatenate([part.values, self.at(np.array([start, end], dtype="f8"))])
    if np.isnan(seen).any():  # which the library passes over, by place
        rest = _without_nan(seen)
        found = getattr(rest, which)() if skipna and rest.size else math.nan
        return self.dtype.type(found)
    inside = _core.extr_min_over if which == "min" else _core.extr_max_over
    return inside(self, float(start), float(end), True, ComplexConversion.REAL_PART)


def _extreme(
    self: Any, which: str, axis: Any, out: Any, keepdims: bool, options: dict[str, Any], over: Any, interpolate: bool,
    skipna: bool,
) -> Any:  # fmt: skip
    if not _is_real(self):
        raise TypeError(f"complex elements have no {which}imum; take abs(a) or a.real first")
    if over is not None:
        if not _is_whole(self, axis, out is not None, keepdims, options):
            raise TypeError("over= goes with interpolate= and skipna= alone")
        return _over(self, which, over, interpolate, skipna)
    if not _is_whole(self, axis, out is not None, keepdims, options):
        if not skipna:
            return _reduced(self, which, axis, self.unit, out=out, keepdims=keepdims, **options)
        if not _is_whole(self, None, out is not None, keepdims, options) or axis not in (0, 1, -1, -2):
            raise TypeError("skipna= goes with one axis, and without numpy's other options")
        found = getattr(np, f"nan{which}")(self.values, axis=axis)
        return Array1D(found, self.axes[1 - axis % 2], name=self.name, unit=self.unit)
    if self.size == 0:
        raise ValueError(f"the {which}imum of no elements")
    found = getattr(self.values, which)()
    if skipna and np.isnan(found):
        rest = _without_nan(self.values)
        return getattr(rest, which)() if rest.size else found
    return found


@_method(*ARRAYS)
def min_(
    self: Any, axis: Any = None, out: Any = None, keepdims: bool = False, *, over: Any = None, interpolate: bool = False,
    skipna: bool = False, **options: Any,
) -> Any:  # fmt: skip
    """The smallest element; NaN where one is, unless ``skipna``.

    ``over=(start, end)`` (or a Range) looks at the elements inside, with ``interpolate`` also at its ends, which are NaN
    beside one, in units of the axis; other arguments are those of ``ndarray.min``. ValueError without elements, TypeError for complex ones. In
    the unit of the values. An image gives an Array1D along an axis.

        >>> import dataprocessing as dp
        >>> dp.Array1D([3.0, float("nan"), 1.0]).min(skipna=True)
        1.0
    """
    return _extreme(self, "min", axis, out, keepdims, options, over, interpolate, skipna)


@_method(*ARRAYS)
def max_(
    self: Any, axis: Any = None, out: Any = None, keepdims: bool = False, *, over: Any = None, interpolate: bool = False,
    skipna: bool = False, **options: Any,
) -> Any:  # fmt: skip
    """The largest element; see ``min``, also for its errors.

        >>> import dataprocessing as dp
        >>> dp.Array1D([12, 15, 90, 15, 11], dp.Axis(6.2, 0.1)).max(over=(6.5, 6.7))
        15
    """
    return _extreme(self, "max", axis, out, keepdims, options, over, interpolate, skipna)


def _unordered(which: str) -> Exception:
    # np.argmax and others take a TypeError of a method for the wish to have the elements looked at.
    return ValueError(f"complex elements have no {which}imum; take abs(a) or a.real first")


def _place(self: Any, which: str, skipna: bool) -> int:
    if not _is_real(self):
        raise _unordered(which)
    if self.size == 0:
        raise ValueError(f"the {which}imum of no elements")
    function = getattr(np, ("nan" if skipna else "") + "arg" + which)
    return int(function(self.values))


def _places(self: Any, which: str, axis: Any, out: Any, keepdims: bool, skipna: bool) -> Any:
    if _is_whole(self, axis, out is not None, keepdims):
        return _place(self, which, skipna)
    if skipna:
        raise TypeError("skipna= goes without numpy's other options")
    if not _is_real(self):
        raise _unordered(which)
    return _reduced(self, f"arg{which}", axis, "", out=out, keepdims=keepdims)


@_method(*ARRAYS)
def argmin(self: Any, axis: Any = None, out: Any = None, *, keepdims: bool = False, skipna: bool = False) -> Any:
    """The index of the first smallest element, flat as in numpy; of the first NaN where one is.

    Arguments are those of ``ndarray.argmin``; along an axis of an image an Array1D of indices. ValueError without
    elements and for complex ones. An index has no unit.

        >>> import dataprocessing as dp
        >>> dp.Array1D([3, 1, 1]).argmin()
        1
    """
    return _places(self, "min", axis, out, keepdims, skipna)


@_method(*ARRAYS)
def argmax(self: Any, axis: Any = None, out: Any = None, *, keepdims: bool = False, skipna: bool = False) -> Any:
    """The index of the first largest element, flat as in numpy; of the first NaN where one is. See ``argmin``.

        >>> import numpy as np, dataprocessing as dp
        >>> image = dp.Array2D(np.eye(3))
        >>> image.argmax(), image.argmax(axis=1).values
        (0, array([0, 1, 2], dtype=int32))
    """
    return _places(self, "max", axis, out, keepdims, skipna)


def _position(self: Any, index: int) -> Any:
    if self.ndim == 1:
        return self.axis.position(index)
    y, x = self.axes
    row, column = divmod(index, self.shape[1])
    return x.position(column), y.position(row)


@_method(*ARRAYS)
def idxmin(self: Any, *, skipna: bool = False) -> Any:
    """Where the first smallest element lies: a position, (x, y) of an image.

    In units of the axes. ValueError without elements and for complex ones.

        >>> import dataprocessing as dp
        >>> dp.Array1D([12, 15, 9], dp.Axis(6.2, 0.1)).idxmin()
        6.4
    """
    return _position(self, _place(self, "min", skipna))


@_method(*ARRAYS)
def idxmax(self: Any, *, skipna: bool = False) -> Any:
    """Where the first largest element lies: a position, (x, y) of an image.

    In units of the axes. ValueError without elements and for complex ones.

        >>> import dataprocessing as dp
        >>> dp.Array1D([12, 15, 90], dp.Axis(6.2, 0.1)).idxmax()
        6.4
    """
    return _position(self, _place(self, "max", skipna))


def _limit(limit: Any, dtype: Any, is_lower: bool) -> Any:
    """A limit in the type of the elements: of integers the next one inside, or the end of what there is."""
    if limit is None or dtype.kind not in "iu":
        return limit if limit is None else dtype.type(limit)
    info = np.iinfo(dtype)
    if limit != limit:
        raise ValueError("NaN is no limit of integers")
    inside = max(min(limit, info.max), info.min)
    return dtype.type(math.ceil(inside) if is_lower else math.floor(inside))


def _clip_by_arrays(self: Any, low: Any, high: Any) -> Any:
    from dataprocessing.functions import maximum, minimum

    found, is_whole = self, self.dtype.kind in "iu"
    for limit in (low, high):
        if isinstance(limit, MASKS):
            require_mask_on(self, limit, "clip")
    if is_whole and any(limit is not None and np.isnan(limit).any() for limit in (low, high)):
        raise ValueError("NaN is no limit of integers")
    if low is not None:
        found = maximum(found, np.ceil(low) if is_whole else low)
    if high is not None:
        found = minimum(found, np.floor(high) if is_whole else high)
    return found.astype(self.dtype)


@_method(*ARRAYS)
def clip(self: Any, min: Any = None, max: Any = None, out: Any = None, **options: Any) -> Any:  # noqa: A002
    """Elements below ``min`` become it, those above ``max`` that; type, name and unit stay.

    Limits of integers are rounded inwards. Limits that are arrays meet this one as in ``maximum`` and ``minimum``.
    ValueError without a limit, TypeError for complex elements. The result is an array of the same shape and axes.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1, 5, 200], dtype="u1").clip(-3, 100).values
        array([  1,   5, 100], dtype=uint8)
    """
    if min is None and max is None:
        raise ValueError("clip takes min, max or both")
    if not _is_real(self):
        raise TypeError("complex elements have no order; take abs(a) or a.real first")
    if np.ndim(min) > 0 or np.ndim(max) > 0:
        if out is not None or options:
            raise ValueError("clip by arrays goes without numpy's other options")
        return _clip_by_arrays(self, min, max)
    limits = _limit(min, self.dtype, True), _limit(max, self.dtype, False)
    found = np.clip(self.values, *limits, out=out, **options)
    return found if out is not None else on_axes_of(self, found, self.name, self.unit)


@_method(*ARRAYS)
def round_(self: Any, decimals: int = 0, out: Any = None) -> Any:
    """Rounded to so many decimals, ties to even; type, name and unit stay.

    An array of the same shape and axes. TypeError for ``decimals`` that are no integer.

        >>> import dataprocessing as dp
        >>> dp.Array1D([0.5, 1.26]).round(1).values
        array([0.5, 1.3])
    """
    found = np.round(self.values, decimals, out=out)
    return found if out is not None else on_axes_of(self, found, self.name, self.unit)


def _rescale_1d(self: Array1D, delta: float) -> Array1D:
    """Interpolated linearly at steps of ``delta``, over the same range.

    ``delta`` is in units of the axis, the array gets as many elements as fit; name and unit stay. ProgramError for a delta that is 0 or not finite.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1.0, 3.0]).rescale(0.5).values
        array([1., 2., 3., 3.])
    """
    return _core.resc_rescale(self, delta)


def _rescale_2d(self: Array2D, delta_x: float, delta_y: float) -> Array2D:
    """Interpolated linearly at steps of ``delta_x`` and ``delta_y``, over the same extent.

    Deltas are in units of the axes; name and unit stay. ProgramError for a delta that is 0 or not finite.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.Array2D(np.ones((2, 3))).rescale(0.5, 0.25).shape
        (8, 6)
    """
    return _core.resc_rescale(self, delta_x, delta_y)


_rescale_1d.__name__ = _rescale_2d.__name__ = "rescale"
_rescale_1d.__qualname__, _rescale_2d.__qualname__ = "Array1D.rescale", "Array2D.rescale"
setattr(Array1D, "rescale", _rescale_1d)
setattr(Array2D, "rescale", _rescale_2d)


@_method(*ARRAYS)
def apply(self: Any, function: Callable[[NDArray[Any]], Any]) -> Any:
    """``function(values)``, which gives as many values, on this array's axes.

    They have the array's shape, and no name and unit. ValueError for another shape, TypeError for elements that no
    array holds; what the function raises comes through.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.Array1D([1.0, 2.0], dp.Axis(5.0)).apply(np.cumsum).values
        array([1., 3.])
    """
    values = np.asarray(function(self.values))
    if values.shape != self.shape:
        raise ValueError(f"the function made shape {values.shape} of {self.shape}")
    return type_of(self)(values, self.axis if self.ndim == 1 else self.axes)


@_method(*ARRAYS)
def __abs__(self: Any) -> Any:
    from dataprocessing.functions import absolute

    return absolute(self)


def _only(self: Any) -> Any:
    if self.size != 1:
        raise TypeError(f"only an array of one element is a number, not one of {self.size}")
    return self.values.item()


@_method(*ARRAYS)
def __int__(self: Any) -> int:
    return int(_only(self))


@_method(*ARRAYS)
def __float__(self: Any) -> float:
    return float(_only(self))


@_method(*ARRAYS)
def __complex__(self: Any) -> complex:
    return complex(_only(self))


@_method(*ARRAYS)
def __bool__(self: Any) -> bool:
    raise ValueError("an array is no truth value; ask for (a != 0).any() or .all()")


@_method(*ARRAYS, *MASKS)
def __iter__(self: Any) -> Any:
    for i in np.arange(self.shape[0]).tolist():
        yield self[i]


# ---- Masks -------------------------------------------------------------------------------------


def _mask_reduced(self: Any, name: str, axis: Any, out: Any, keepdims: bool, options: dict[str, Any]) -> Any:
    _check_where(self, options.get("where"))
    found = getattr(self.values, name)(axis=axis, out=out, keepdims=keepdims, **options)
    if out is not None or np.ndim(found) == 0:
        return bool(found) if out is None else out
    if self.ndim == 1 or np.ndim(found) != 1:
        return found
    along = axis[0] if isinstance(axis, tuple) else axis
    return Mask1D(found, self.axes[1 - along % 2])


@_method(*MASKS)
def any_(self: Any, axis: Any = None, out: Any = None, keepdims: bool = False, **options: Any) -> Any:
    """Whether at least one element is true; along an axis of an image's mask a Mask1D, as ``ndarray.any``.

    A truth has no unit. ValueError for ``where=`` on another grid.

        >>> import numpy as np, dataprocessing as dp
        >>> (dp.Array2D(np.eye(2, 3)) > 0).any(axis=0).values
        array([ True,  True, False])
    """
    return _mask_reduced(self, "any", axis, out, keepdims, options)


@_method(*MASKS)
def all_(self: Any, axis: Any = None, out: Any = None, keepdims: bool = False, **options: Any) -> Any:
    """Whether all elements are true, and so it is without elements; otherwise like ``any``.

    Shapes and errors are those of ``any``; see there.

        >>> import dataprocessing as dp
        >>> (dp.Array1D([1, 5, 2]) > 0).all()
        True
    """
    return _mask_reduced(self, "all", axis, out, keepdims, options)


def _mask_comparison(name: str, ufunc: np.ufunc) -> None:
    def compare(self: Any, other: Any) -> Any:
        if isinstance(other, (*MASKS, *ARRAYS, np.ndarray, np.generic, numbers.Number, list, tuple)):
            return ufunc(self, other)
        if not hasattr(type(other), "__array_ufunc__"):
            return NotImplemented
        found = getattr(other, name)(self)
        if found is NotImplemented:  # of which Python would make one False
            raise TypeError(f"a mask is not compared with an object of {type(other).__name__}")
        return found

    compare.__name__ = name
    for cls in MASKS:
        setattr(cls, name, compare)
        setattr(cls, "__hash__", None)


_mask_comparison("__eq__", np.equal)
_mask_comparison("__ne__", np.not_equal)


def _numpy_operator(name: str, ufunc: np.ufunc, reflected: bool) -> None:
    def operate(self: Any, other: Any) -> Any:
        return ufunc(other, self) if reflected else ufunc(self, other)

    operate.__name__ = name
    for cls in ARRAYS:
        setattr(cls, name, operate)


_numpy_operator("__floordiv__", np.floor_divide, False)
_numpy_operator("__rfloordiv__", np.floor_divide, True)
_numpy_operator("__mod__", np.remainder, False)
_numpy_operator("__rmod__", np.remainder, True)


@_method(*ARRAYS)
def __divmod__(self: Any, other: Any) -> Any:
    require_array(self, "divmod")
    return self // other, self % other


@_method(*ARRAYS)
def __rdivmod__(self: Any, other: Any) -> Any:
    require_array(self, "divmod")
    return other // self, other % self


# ---- Pickles -----------------------------------------------------------------------------------


def axis_of(*given: Any) -> Axis:
    """An axis as a file or a calculation made it, also where an ``Axis`` would be refused."""
    return Axis._of(*given)


def _base(cls: Any) -> Any:
    for base in (*ARRAYS, *MASKS):
        if issubclass(cls, base):
            return base
    raise TypeError(f"a method of arrays and masks for an object of {cls.__name__}")


def _made(cls: Any, *given: Any, **labels: Any) -> Any:
    """An object of a class or a subclass, whatever the ``__init__`` of that takes."""
    base = _base(cls)
    if cls is base:
        return cls(*given, **labels)
    made = cls.__new__(cls)
    base.__init__(made, *given, **labels)
    return made


def _rebuild(cls: type, values: Any, shape: tuple[int, ...], dtype: str, axes: Any, name: str, unit: str) -> Any:
    elements = np.frombuffer(values, dtype=dtype).reshape(shape)
    where = axes[0] if len(shape) == 1 else axes
    if name or unit:
        return _made(cls, elements, where, name=name, unit=unit)
    return _made(cls, elements, where)


@_method(*ARRAYS, *MASKS)
def __copy__(self: Any) -> Any:
    """An independent copy; of a subclass with what its objects hold besides."""
    made = _made(type(self), self)
    if hasattr(self, "__dict__"):
        made.__dict__.update(self.__dict__)
    return made


@_method(*ARRAYS, *MASKS)
def __deepcopy__(self: Any, memo: dict[int, Any]) -> Any:
    """An independent copy; of a subclass with copies of what its objects hold besides."""
    import copy

    made = memo[id(self)] = _made(type(self), self)
    if hasattr(self, "__dict__"):
        made.__dict__.update(copy.deepcopy(self.__dict__, memo))
    return made


@_method(*ARRAYS, *MASKS)
def __reduce_ex__(self: Any, protocol: int) -> Any:
    values = self.values
    data = pickle.PickleBuffer(values) if protocol >= 5 else values.tobytes()
    name, unit = (self.name, self.unit) if isinstance(self, ARRAYS) else ("", "")
    state = (type(self), data, self.shape, values.dtype.str, self.axes, name, unit)
    own = getattr(self, "__dict__", None)
    return (_rebuild, state, own) if own else (_rebuild, state)


@_method(*ARRAYS, *MASKS)
def __reduce__(self: Any) -> Any:
    return self.__reduce_ex__(2)


_cls: Any
for _cls in (*ARRAYS, *MASKS):
    _cls.__array_ufunc__ = array_ufunc
    _cls.__array_priority__ = 20
