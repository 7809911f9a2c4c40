"""numpy's universal functions on arrays.

Those that the library has too are the library's; the others run on the elements, and the result keeps the
axes. Reductions, ``outer``, ``at``, ``where=`` and ``out=`` are numpy's, with numpy's results.
"""

from __future__ import annotations

import operator
from collections.abc import Callable

import numpy as np

from dataprocessing import _core
from dataprocessing._core import Array1D, Array2D, Mask1D, Mask2D

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Any

_ARRAYS = (Array1D, Array2D)
_MASKS = (Mask1D, Mask2D)
_OURS = (Array1D, Array2D, Mask1D, Mask2D)
_KNOWN = {*_OURS, np.ndarray, int, float, complex}

_SLOTS: dict[np.ufunc, tuple[str, str]] = {
    np.add: ("__add__", "__radd__"),
    np.subtract: ("__sub__", "__rsub__"),
    np.multiply: ("__mul__", "__rmul__"),
    np.true_divide: ("__truediv__", "__rtruediv__"),
    np.power: ("__pow__", "__rpow__"),
    np.equal: ("__eq__", "__eq__"),
    np.not_equal: ("__ne__", "__ne__"),
    np.greater: ("__gt__", "__lt__"),
    np.greater_equal: ("__ge__", "__le__"),
    np.less: ("__lt__", "__gt__"),
    np.less_equal: ("__le__", "__ge__"),
}

# What masks answer with masks. Others see their elements as numpy's bools.
_LOGIC: dict[np.ufunc, Callable[..., Any]] = {
    np.bitwise_and: operator.and_,
    np.logical_and: operator.and_,
    np.bitwise_or: operator.or_,
    np.logical_or: operator.or_,
    np.bitwise_xor: operator.xor,
    np.logical_xor: operator.xor,
    np.not_equal: operator.xor,
    np.equal: lambda a, b: ~(a ^ b),
    np.invert: operator.invert,
    np.logical_not: operator.invert,
}

# The quantity stays: so do its name and its unit, where all operands agree.
_KEEPING = {
    np.add, np.ceil, np.copysign, np.fabs, np.floor, np.fmax, np.fmin, np.fmod, np.hypot, np.maximum, np.minimum,
    np.nextafter, np.remainder, np.rint, np.subtract, np.trunc,
}  # fmt: skip

# A multiple by a number, and a part, is of the same quantity.
_SCALING = {np.multiply, np.true_divide, np.floor_divide}

# What is compared or added has one unit.
_OF_ONE_UNIT = _KEEPING | {np.equal, np.not_equal, np.greater, np.greater_equal, np.less, np.less_equal}

_NAMES = {
    np.arccos: "acos", np.arcsin: "asin", np.arctan: "atan", np.cos: "cos", np.cosh: "cosh", np.exp: "exp",
    np.log: "log", np.log10: "log10", np.sin: "sin", np.sinh: "sinh", np.square: "sqr", np.sqrt: "sqrt",
    np.tan: "tan", np.tanh: "tanh", np.absolute: "absolute", np.conjugate: "conj", np.minimum: "minimum",
    np.maximum: "maximum",
}  # fmt: skip


def _function(ufunc: np.ufunc) -> Callable[..., Any] | None:
    if ufunc is np.negative:
        return operator.neg
    if ufunc is np.positive:
        return operator.pos
    name = _NAMES.get(ufunc)
    if name is None:
        return None
    from dataprocessing import functions

    return getattr(functions, name)  # type: ignore[no-any-return]


def _is_foreign(value: Any) -> bool:
    """Something with methods of its own for universal functions: they decide."""
    if isinstance(value, _OURS) or type(value) is np.ndarray:
        return False
    own = getattr(type(value), "__array_ufunc__", np.ndarray.__array_ufunc__)
    return own is not np.ndarray.__array_ufunc__


def _as_masks(inputs: tuple[Any, ...]) -> list[Any] | None:
    """All as masks on the grid of the first one, where all are masks or bools."""
    first = next(x for x in inputs if isinstance(x, _MASKS))
    masks = []
    for x in inputs:
        if not isinstance(x, _MASKS):
            values = np.asarray(x)
            if values.dtype != bool:
                return None
            x = type_of_mask(first)(np.broadcast_to(values, first.shape), first.axes[0] if first.ndim == 1 else first.axes)
        if x.ndim != first.ndim:
            raise TypeError("a 1D mask and a 2D mask do not combine")
        masks.append(x)
    return masks


def type_of_mask(mask: Any) -> type:
    """``Mask1D`` or ``Mask2D``, also of an object of a subclass."""
    return Mask1D if mask.ndim == 1 else Mask2D


def _is_scaled(ufunc: np.ufunc, method: str, inputs: tuple[Any, ...]) -> bool:
    """Whether an array is multiplied with, or divided by, a number."""
    if ufunc not in _SCALING or method != "__call__":
        return False
    first, second = (isinstance(x, _ARRAYS) for x in inputs)
    return (first and np.ndim(inputs[1]) == 0) or (second and ufunc is np.multiply and np.ndim(inputs[0]) == 0)


def _on_values(ufunc: np.ufunc, method: str, inputs: tuple[Any, ...], kwargs: dict[str, Any]) -> Any:
    from dataprocessing._arrays import on_axes_of, require_mask_on

    out = kwargs.get("out", ())
    if out:
        kwargs["out"] = tuple(x.values if isinstance(x, _OURS) else x for x in out)
    arrays: list[Any] = [x for x in (*inputs, kwargs.get("where")) if isinstance(x, _OURS)]
    if isinstance(kwargs.get("where"), _MASKS):
        kwargs["where"] = kwargs["where"].values
    first = arrays[0] if arrays else None
    is_by_element = method == "__call__" and ufunc.signature is None
    for x in arrays[1:]:
        if not is_by_element and not isinstance(x, _MASKS):
            continue
        if isinstance(x, _MASKS) or isinstance(first, _MASKS):
            require_mask_on(first, x, f"np.{ufunc.__name__}")
        elif x.ndim != arrays[0].ndim or not _core.same_grid(arrays[0], x):
            raise ValueError(f"np.{ufunc.__name__} takes arrays on one grid; bring them there first, as a + 0 * b does")
        _core.check_axes(arrays[0], x)
    keeps = ufunc in _OF_ONE_UNIT or _is_scaled(ufunc, method, inputs)
    valued: list[Any] = [x for x in inputs if isinstance(x, _ARRAYS)] if keeps else []
    if len(valued) == 2:
        _core.check_units(*valued)
    result = getattr(ufunc, method)(*(x.values if isinstance(x, _OURS) else x for x in inputs), **kwargs)

    def wrapped(values: Any) -> Any:
        if method != "__call__" or ufunc.signature or first is None or np.shape(values) != first.shape:
            return values
        if isinstance(values, np.ma.MaskedArray):
            return values
        if values.dtype == bool:
            made: Any = Mask1D(values, first.axes[0]) if first.ndim == 1 else Mask2D(values, first.axes)
        else:
            made = on_axes_of(first, values)
        if isinstance(made, _ARRAYS) and valued and ufunc in _KEEPING | _SCALING:
            _core.take_labels(made, valued[0], valued[-1])
        if isinstance(made, _OURS):
            for x in arrays[1:]:
                _core.take_axes(made, x)
        return made

    if out:
        made = result if isinstance(result, tuple) else (result,)
        given = tuple(wrapped(one) if own is None else own for own, one in zip(out, made))
        return given[0] if len(given) == 1 else given
    return tuple(map(wrapped, result)) if isinstance(result, tuple) else wrapped(result)


def array_ufunc(self: Any, ufunc: np.ufunc, method: str, *inputs: Any, **kwargs: Any) -> Any:
    """numpy calls it for every universal function that meets an array of ours."""
    for x in (*inputs, *kwargs["out"]) if "out" in kwargs else inputs:
        if type(x) not in _KNOWN:
            if _is_foreign(x):
                return NotImplemented
            if isinstance(x, np.matrix):  # whose functions are those of other arrays, its operators are not
                inputs = tuple(np.asarray(one) if isinstance(one, np.matrix) else one for one in inputs)
    if method == "__call__" and not kwargs:
        slots = _SLOTS.get(ufunc)
        if slots is not None:
            a, b = inputs
            result = NotImplemented
            if isinstance(a, _ARRAYS):
                result = getattr(a, slots[0])(b)
            elif isinstance(b, _ARRAYS):
                result = getattr(b, slots[1])(a)
            if result is not NotImplemented:
                return result
            if isinstance(a, np.ndarray) or isinstance(b, np.ndarray):  # of a class that knows better
                return _on_values(ufunc, method, inputs, kwargs)
        if any(isinstance(x, _ARRAYS) for x in inputs):
            function = _function(ufunc)
            if function is not None:
                return function(*inputs)
        elif ufunc in _LOGIC:
            masks = _as_masks(inputs)
            if masks is not None:
                return _LOGIC[ufunc](*masks)
    return _on_values(ufunc, method, inputs, kwargs)
