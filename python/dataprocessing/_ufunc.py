"""numpy's universal functions on arrays.

Those that the library has too are the library's; the others run on the elements, and the result keeps the
axes. Reductions, ``outer``, ``at``, ``where=`` and ``out=`` are numpy's, with numpy's results.
"""

from __future__ import annotations

import operator
from collections.abc import Callable
from typing import Any

import numpy as np

from dataprocessing._core import Array1D, Array2D, Mask1D, Mask2D

_ARRAYS = (Array1D, Array2D)
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


def _on_values(ufunc: np.ufunc, method: str, inputs: tuple[Any, ...], kwargs: dict[str, Any]) -> Any:
    from dataprocessing._arrays import on_axes_of

    out = kwargs.get("out", ())
    if out:
        kwargs["out"] = tuple(x.values if isinstance(x, _OURS) else x for x in out)
    if isinstance(kwargs.get("where"), (Mask1D, Mask2D)):
        kwargs["where"] = kwargs["where"].values
    arrays = [x for x in inputs if isinstance(x, _ARRAYS)]
    first = arrays[0] if arrays else None
    if first is not None and any(x.axes != first.axes or x.shape != first.shape for x in arrays[1:]):
        raise ValueError(f"np.{ufunc.__name__} takes arrays on one grid; bring them there first, as a + 0 * b does")
    result = getattr(ufunc, method)(*(x.values if isinstance(x, _OURS) else x for x in inputs), **kwargs)
    if out:
        return out[0] if len(out) == 1 else out

    def wrapped(values: Any) -> Any:
        if method != "__call__" or first is None or np.shape(values) != first.shape:
            return values
        if values.dtype == bool:
            return Mask1D(values, first.axes[0]) if first.ndim == 1 else Mask2D(values, first.axes)
        return on_axes_of(first, values)

    return tuple(map(wrapped, result)) if isinstance(result, tuple) else wrapped(result)


def array_ufunc(self: Any, ufunc: np.ufunc, method: str, *inputs: Any, **kwargs: Any) -> Any:
    """numpy calls it for every universal function that meets an array of ours."""
    for x in (*inputs, *kwargs["out"]) if "out" in kwargs else inputs:
        if type(x) not in _KNOWN and _is_foreign(x):
            return NotImplemented
    if method == "__call__" and not kwargs:
        slots = _SLOTS.get(ufunc)
        if slots is not None:
            a, b = inputs
            if isinstance(a, _ARRAYS):
                return getattr(a, slots[0])(b)
            if isinstance(b, _ARRAYS):
                return getattr(b, slots[1])(a)
        function = _function(ufunc)
        if function is not None:
            return function(*inputs)
    return _on_values(ufunc, method, inputs, kwargs)
