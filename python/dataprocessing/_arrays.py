"""Methods of arrays and masks that are said best in Python."""

from __future__ import annotations

import math
import pickle
from collections.abc import Callable
from typing import TYPE_CHECKING, Any, TypeVar

import numpy as np

from dataprocessing import _core
from dataprocessing._core import Array1D, Array2D, Axis, ComplexConversion, IndexSelect, Mask1D, Mask2D
from dataprocessing._ufunc import array_ufunc

if TYPE_CHECKING:
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


def _with_labels(array: Any, name: str, unit: str) -> Any:
    return type_of(array)(array, name=name, unit=unit)


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
    """The complex conjugate; a copy of a real array."""
    if self.dtype.kind != "c":
        return self.copy()
    return on_axes_of(self, self.values.conj(), self.name, self.unit)


@_method(*ARRAYS)
def astype(self: Any, dtype: Any, part: str = "real") -> Any:
    """The array with elements of another type.

    Values that the type does not hold are rounded to nearest, ties to even, and clipped to its limits;
    NaN becomes 0 in an integer. ``part`` says what a complex element becomes in a real type: "real",
    "imag", "modulus" or "phase". TypeError for a type that arrays have not.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1.5, 300.0, -1.0]).astype("u1").values
        array([  2, 255,   0], dtype=uint8)
    """
    return self._convert(dtype, _choice(_PARTS, part, "part"))


@_method(*ARRAYS)
def with_labels(self: Any, name: str | None = None, unit: str | None = None) -> Any:
    """A copy with another name, another unit; None leaves what is there."""
    return type_of(self)(self, name=name, unit=unit)


@_method(*ARRAYS, *MASKS)
def with_axes(self: Any, *axes: Axis) -> Any:
    """A copy that lies elsewhere: one Axis, or (y, x) of an image.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1, 2]).with_axes(dp.Axis(5.0, 0.5)).axis
        Axis(5.0, 0.5)
    """
    where = axes[0] if self.ndim == 1 else axes
    if len(axes) != self.ndim:
        raise ValueError(f"{self.ndim} axes are needed, not {len(axes)}")
    return (type_of(self) if isinstance(self, ARRAYS) else type(self))(self, where)


# ---- Selecting ---------------------------------------------------------------------------------


def _clipped(first: int, last: int, size: int, outside: str) -> tuple[int, int]:
    if outside == "zero":
        return first, max(first, last)
    if outside == "raise":
        if first < 0 or last > size:
            raise _core.IndexOutOfRangeError(f"elements {first} to {last} reach outside 0 to {size}")
        return first, max(first, last)
    low = min(max(first, 0), size)
    return low, min(max(last, low), size)


def _sel_1d(self: Array1D, start: Any, stop: Any = None, rule: str = "nearest", outside: str = "clip") -> Array1D:
    """The part between two positions, as an array of its own; every element stays where it was.

    ``rule`` says how positions become indices: "nearest" rounds both ends, "floor" and "ceiling" take
    the element that covers them or the next, "outer" all that are touched. ``outside`` says what lies
    beyond the array: "clip" leaves it out, "zero" fills it with zeros, "raise" is IndexOutOfRangeError.
    ``start`` may be a Range.

        >>> import dataprocessing as dp
        >>> a = dp.Array1D([12, 15, 90, 15, 11], dp.Axis(6.2, 0.1))
        >>> a.sel(6.3, 6.5).values
        array([15, 90], dtype=int32)
    """
    if stop is None:
        start, stop = start
    _choice({"clip": 0, "zero": 0, "raise": 0}, outside, "outside")
    first, last = _core.selection(self, float(start), float(stop), _choice(_RULES, rule, "rule"))
    return _core.select(self, *_clipped(first, last, self.size, outside))


def _sel_2d(self: Array2D, rect: Any, rule: str = "nearest", outside: str = "clip") -> Array2D:
    """The part inside a rectangle's upright hull; see ``Array1D.sel`` for ``rule`` and ``outside``.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.Array2D(np.ones((4, 6))).sel(dp.Rect(1, 0, 4, 2)).shape
        (2, 3)
    """
    _choice({"clip": 0, "zero": 0, "raise": 0}, outside, "outside")
    x0, y0, x1, y1 = _core.selection(self, rect._rect, _choice(_RULES, rule, "rule"))
    x0, x1 = _clipped(x0, x1, self.shape[1], outside)
    y0, y1 = _clipped(y0, y1, self.shape[0], outside)
    return _core.select(self, x0, y0, x1, y1)


_sel_1d.__name__ = _sel_2d.__name__ = "sel"
setattr(Array1D, "sel", _sel_1d)
setattr(Array2D, "sel", _sel_2d)


@_method(Array1D)
def at(self: Array1D, x: Any, interpolate: bool = True) -> Any:
    """The value at position ``x``: linear between elements, or that of the element that covers it.

    ``x`` may be an array of positions. Outside of the array its end elements hold.

        >>> import dataprocessing as dp
        >>> a = dp.Array1D([10.0, 20.0], dp.Axis(0.0, 2.0))
        >>> a.at(1.0), a.at(1.9, interpolate=False)
        (15.0, 10.0)
    """
    if np.ndim(x) == 0:
        return _core.value(self, float(x), interpolate)
    where = np.asarray(x, dtype="f8")
    return np.array([_core.value(self, one, interpolate) for one in where.flat]).reshape(where.shape)


@_method(Array2D)
def row(self: Array2D, index: int) -> Array1D:
    """Row ``index`` along x; IndexOutOfRangeError outside of the image."""
    return _core.line_at_y(self, index)


# ---- Reductions --------------------------------------------------------------------------------


def _along(self: Any, axis: Any, reduce: Callable[[NDArray[Any], int], Any], unit: str) -> Any:
    """A reduction along one axis of an image gives a line on the other one."""
    if self.ndim == 1:
        raise ValueError("a 1D array is reduced as a whole: leave axis out")
    kept = {0: 1, -2: 1, 1: 0, -1: 0}.get(axis)
    if kept is None:
        raise ValueError(f"an image has axes 0 (y) and 1 (x), not {axis!r}")
    return Array1D(reduce(self.values, 1 - kept), self.axes[kept], name=self.name, unit=unit)


def _is_real(self: Any) -> bool:
    return bool(self.dtype.kind != "c")


@_method(*ARRAYS)
def sum_(self: Any, axis: int | None = None) -> Any:
    """The sum of all elements; of an image along axis 0 (y) or 1 (x) an Array1D.

    Integers are summed exactly as far as float64 goes. 0.0 without elements. NaN where one is.
    """
    if axis is not None:
        return _along(self, axis, lambda v, i: v.sum(axis=i, dtype=None if v.dtype.kind in "fc" else "f8"), self.unit)
    if self.size == 0:
        return self.dtype.type(0) if self.dtype.kind in "fc" else np.float64(0)
    return _core.stat_sum(self)


@_method(*ARRAYS)
def mean(self: Any, axis: int | None = None) -> Any:
    """The mean of all elements, or along one axis of an image. ValueError without elements."""
    if axis is not None:
        return _along(self, axis, lambda v, i: v.mean(axis=i), self.unit)
    if self.size == 0:
        raise ValueError("the mean of no elements")
    return _core.stat_mean(self)


@_method(*ARRAYS)
def var(self: Any, axis: int | None = None, ddof: int = 0) -> Any:
    """The variance, sum of abs(x - mean)^2 / (n - ddof); in double precision.

    ValueError without elements. With no more of them than ``ddof`` it is NaN.

        >>> import dataprocessing as dp
        >>> dp.Array1D([1, 2, 3, 4]).var(ddof=1)
        1.6666666666666667
    """
    if axis is not None:
        return _along(self, axis, lambda v, i: v.var(axis=i, ddof=ddof, dtype="f8" if _is_real(self) else None), "")
    if self.size == 0:
        raise ValueError("the variance of no elements")
    if self.size <= ddof:
        return np.float64(math.nan)
    return np.float64(self.values.var(ddof=ddof, dtype="f8" if _is_real(self) else "c16"))


@_method(*ARRAYS)
def std(self: Any, axis: int | None = None, ddof: int = 0) -> Any:
    """The standard deviation, the root of ``var``."""
    if axis is not None:
        return _along(self, axis, lambda v, i: v.std(axis=i, ddof=ddof), self.unit)
    return np.sqrt(var(self, ddof=ddof))


def _without_nan(values: NDArray[Any]) -> NDArray[Any]:
    kept: NDArray[Any] = values[~np.isnan(values)] if values.dtype.kind == "f" else values
    return kept


def _extreme(self: Any, which: str, axis: int | None, over: Any, interpolate: bool, skipna: bool) -> Any:
    if not _is_real(self):
        raise TypeError(f"complex elements have no {which}imum; take abs(a) or a.real first")
    if over is not None:
        if self.ndim != 1:
            raise TypeError("over= takes a range of a 1D array; use .sel(rect) of an image")
        start, end = over
        part = self.sel(start, end, rule="ceiling")
        inside = _core.extr_min_over if which == "min" else _core.extr_max_over
        if part.size and not skipna and np.isnan(part.values).any():
            return self.dtype.type(math.nan)
        if interpolate:
            return inside(self, float(start), float(end), True, ComplexConversion.REAL_PART)
        self = part
    if axis is not None:
        reduce = getattr(np, ("nan" if skipna else "") + which)
        return _along(self, axis, lambda v, i: reduce(v, axis=i), self.unit)
    if self.size == 0:
        raise ValueError(f"the {which}imum of no elements")
    found = getattr(self.values, which)()
    if skipna and np.isnan(found):
        rest = _without_nan(self.values)
        return getattr(rest, which)() if rest.size else found
    return found


@_method(*ARRAYS)
def min_(
    self: Any, axis: int | None = None, *, over: Any = None, interpolate: bool = False, skipna: bool = False
) -> Any:
    """The smallest element; NaN where one is, unless ``skipna``.

    ``over=(start, end)`` (or a Range) looks at the elements inside, with ``interpolate`` also at its
    ends. ValueError without elements, TypeError for complex ones.
    """
    return _extreme(self, "min", axis, over, interpolate, skipna)


@_method(*ARRAYS)
def max_(
    self: Any, axis: int | None = None, *, over: Any = None, interpolate: bool = False, skipna: bool = False
) -> Any:
    """The largest element; see ``min``.

        >>> import dataprocessing as dp
        >>> dp.Array1D([12, 15, 90, 15, 11], dp.Axis(6.2, 0.1)).max(over=(6.5, 6.7))
        15
    """
    return _extreme(self, "max", axis, over, interpolate, skipna)


def _place(self: Any, which: str, skipna: bool) -> int:
    if not _is_real(self):
        raise TypeError(f"complex elements have no {which}imum; take abs(a) or a.real first")
    if self.size == 0:
        raise ValueError(f"the {which}imum of no elements")
    function = getattr(np, ("nan" if skipna else "") + "arg" + which)
    return int(function(self.values))


@_method(*ARRAYS)
def argmin(self: Any, *, skipna: bool = False) -> int:
    """The index of the first smallest element, flat as in numpy; of the first NaN where one is."""
    return _place(self, "min", skipna)


@_method(*ARRAYS)
def argmax(self: Any, *, skipna: bool = False) -> int:
    """The index of the first largest element, flat as in numpy; of the first NaN where one is."""
    return _place(self, "max", skipna)


def _position(self: Any, index: int) -> Any:
    if self.ndim == 1:
        return self.axis.position(index)
    y, x = self.axes
    row, column = divmod(index, self.shape[1])
    return x.position(column), y.position(row)


@_method(*ARRAYS)
def idxmin(self: Any, *, skipna: bool = False) -> Any:
    """Where the first smallest element lies: a position, (x, y) of an image."""
    return _position(self, _place(self, "min", skipna))


@_method(*ARRAYS)
def idxmax(self: Any, *, skipna: bool = False) -> Any:
    """Where the first largest element lies: a position, (x, y) of an image.

        >>> import dataprocessing as dp
        >>> dp.Array1D([12, 15, 90], dp.Axis(6.2, 0.1)).idxmax()
        6.4
    """
    return _position(self, _place(self, "max", skipna))


@_method(*ARRAYS)
def clip(self: Any, min: Any = None, max: Any = None) -> Any:  # noqa: A002
    """Elements below ``min`` become it, those above ``max`` that; the element type stays."""
    if min is None and max is None:
        raise ValueError("clip takes min, max or both")
    limits = [None if limit is None else self.dtype.type(limit) for limit in (min, max)]
    return on_axes_of(self, np.clip(self.values, *limits), self.name, self.unit)


@_method(*ARRAYS)
def round_(self: Any, decimals: int = 0) -> Any:
    """Rounded to so many decimals, ties to even; the element type stays."""
    return on_axes_of(self, np.round(self.values, decimals), self.name, self.unit)


def _rescale_1d(self: Array1D, delta: float) -> Array1D:
    """Interpolated linearly at steps of ``delta``, over the same range."""
    return _core.resc_rescale(self, delta)


def _rescale_2d(self: Array2D, delta_x: float, delta_y: float) -> Array2D:
    """Interpolated linearly at steps of ``delta_x`` and ``delta_y``, over the same extent."""
    return _core.resc_rescale(self, delta_x, delta_y)


_rescale_1d.__name__ = _rescale_2d.__name__ = "rescale"
setattr(Array1D, "rescale", _rescale_1d)
setattr(Array2D, "rescale", _rescale_2d)


@_method(*ARRAYS)
def apply(self: Any, function: Callable[[NDArray[Any]], Any]) -> Any:
    """``function(values)``, which gives as many values, on this array's axes."""
    values = np.asarray(function(self.values))
    if values.shape != self.shape:
        raise ValueError(f"the function made shape {values.shape} of {self.shape}")
    return on_axes_of(self, values)


@_method(*ARRAYS)
def __abs__(self: Any) -> Any:
    from dataprocessing.functions import absolute

    return absolute(self)


@_method(*ARRAYS)
def __bool__(self: Any) -> bool:
    raise ValueError("an array is no truth value; ask for (a != 0).any() or .all()")


@_method(*ARRAYS)
def __iter__(self: Any) -> Any:
    for i in np.arange(self.shape[0]).tolist():
        yield self[i]


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


# ---- Pickles -----------------------------------------------------------------------------------


def _rebuild(cls: type, values: Any, shape: tuple[int, ...], dtype: str, axes: Any, name: str, unit: str) -> Any:
    elements = np.frombuffer(values, dtype=dtype).reshape(shape)
    where = axes[0] if len(shape) == 1 else axes
    if name or unit:
        return cls(elements, where, name=name, unit=unit)
    return cls(elements, where)


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
for _cls in ARRAYS:
    _cls.__array_ufunc__ = array_ufunc
    _cls.__array_priority__ = 20
