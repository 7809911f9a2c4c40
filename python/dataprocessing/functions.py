"""Functions of arrays and numbers, element by element.

Each takes an array or a number and gives its like, on the same axes. The element type is floating at
least: 8- and 16-bit integers become float32, 32-bit ones float64, so that all digits stay.
"""

from __future__ import annotations

from collections.abc import Callable

import numpy as np

from dataprocessing import _core
from dataprocessing._arrays import on_axes_of, require_array, require_mask_on, without_masked
from dataprocessing._core import Array1D, Array2D, ComplexConversion, Function, Mask1D, Mask2D

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Any, Literal

__all__ = [
    "absolute", "acos", "arg", "asin", "atan", "conj", "convert", "cos", "cosh", "exp", "imag", "log", "log10",
    "maximum", "minimum", "norm", "real", "sin", "sinh", "sqr", "sqrt", "tan", "tanh", "where",
]  # fmt: skip

_ARRAYS = (Array1D, Array2D)
_MASKS = (Mask1D, Mask2D)


def _number(x: Any) -> Any:
    """A number in a floating type that holds it."""
    if not isinstance(x, (bool, int, float, complex, np.generic)):
        require_array(x, "a function")
    if isinstance(x, (bool, int, float)) and not isinstance(x, np.generic):
        return float(x)
    if isinstance(x, np.integer) and x.dtype.itemsize >= 4:
        return np.float64(x)
    return x


def _operate(function: Function, x: Any) -> Any:
    values = _core.exactly_floating(x) if isinstance(x, _ARRAYS) else _number(x)
    try:
        return _core.unry_operate(function, values)
    except _core.DataError:
        # To the library NaN is beyond a domain, too.
        if not isinstance(x, _ARRAYS):
            if values != values:
                return np.asarray(values)[()]
            raise
        unknown = np.isnan(values.values)
        if not unknown.any():
            raise
        known = values.copy()
        known.values[unknown] = 0
        result = _core.unry_operate(function, known)
        result.values[unknown] = np.nan
        return result


def _kept(x: Any, result: Any) -> Any:
    """The quantity stays: with its name and its unit."""
    if isinstance(x, _ARRAYS) and (x.name or x.unit):
        return result.with_labels(x.name, x.unit)
    return result


_SIMPLE = (
    "An array gives an array on its axes, without name and unit, a number a number. TypeError for what is neither."
)


def _simple(name: str, function: Function, text: str, at: str = "0.0", gives: str = "0.") -> Callable[[Any], Any]:
    def operate(x: Any) -> Any:
        return _operate(function, x)

    operate.__name__ = operate.__qualname__ = name
    example = f">>> import dataprocessing as dp\n    >>> dp.{name}(dp.Array1D([{at}])).values\n    array([{gives}])\n"
    operate.__doc__ = f"{text}\n\n    {_SIMPLE}\n\n    {example}"
    return operate


exp = _simple("exp", Function.EXP, "The exponential; infinity where it overflows.", "0.0", "1.")
sin = _simple("sin", Function.SIN, "The sine of elements in radians.")
cos = _simple("cos", Function.COS, "The cosine of elements in radians.", "0.0", "1.")
tan = _simple("tan", Function.TAN, "The tangent of elements in radians.")
sinh = _simple("sinh", Function.SINH, "The hyperbolic sine, element by element.")
cosh = _simple("cosh", Function.COSH, "The hyperbolic cosine.", "0.0", "1.")
tanh = _simple("tanh", Function.TANH, "The hyperbolic tangent.")
atan = _simple("atan", Function.ATAN, "The arc tangent, in radians.")
asin = _simple("asin", Function.ASIN, "The arc sine, in radians. DataError for a real value beyond [-1, 1].")
acos = _simple("acos", Function.ACOS, "The arc cosine, in radians. DataError for a real value beyond [-1, 1].", "1.0", "0.")
sqr = _simple("sqr", Function.SQR, "x times x; of complex elements the complex square.", "-3.0", "9.")


def _in_domain(function: Function, x: Any, domain: str, lowest_allowed: float, at_zero: float | None) -> Any:
    """Real elements outside of the real domain become NaN, or the whole array complex."""
    if domain not in ("real", "complex"):
        raise ValueError(f'domain is "real" or "complex", not {domain!r}')
    values = _core.exactly_floating(x) if isinstance(x, _ARRAYS) else _number(x)
    if getattr(values, "dtype", np.dtype("f8")).kind in "biu":  # small ones
        values = values.astype("f4")
    is_complex = values.dtype.kind == "c" if hasattr(values, "dtype") else isinstance(values, complex)
    outside = _core.scan_is_negative if at_zero is None else _core.scan_is_zero_or_negative
    if is_complex or domain == "complex" or not outside(values):
        return _core.unry_operate(function, values)
    elements = np.array(values.values if isinstance(x, _ARRAYS) else values)
    with np.errstate(invalid="ignore"):
        bad = ~(elements >= 0)
        zero = elements == 0
    safe = np.where(bad | zero, np.ones((), elements.dtype), elements) if at_zero is not None else np.where(
        bad, np.ones((), elements.dtype), elements
    )
    if isinstance(x, _ARRAYS):
        made: Any = Array1D(safe, x.axes[0]) if x.ndim == 1 else Array2D(safe, x.axes)
        result = _core.unry_operate(function, made)
        result.values[bad] = np.nan
        if at_zero is not None:
            result.values[zero] = at_zero
        return result
    if bad:
        return elements.dtype.type(np.nan)
    return elements.dtype.type(at_zero) if zero and at_zero is not None else _core.unry_operate(function, values)


def log(x: Any, domain: Literal["real", "complex"] = "real") -> Any:
    """The natural logarithm: -inf of 0 and NaN of negative elements.

    With ``domain="complex"`` an array that has such elements gives a complex one, logarithms of all. An array gives an
    array on its axes, without name and unit, a number a number. ValueError for another ``domain``, TypeError for what
    is no array or number.

        >>> import dataprocessing as dp
        >>> dp.log(dp.Array1D([1.0, 0.0, -1.0])).values
        array([  0., -inf,  nan])
    """
    return _in_domain(Function.LOG, x, domain, 0, -np.inf)


def log10(x: Any, domain: Literal["real", "complex"] = "real") -> Any:
    """The decimal logarithm; see ``log``.

        >>> import dataprocessing as dp
        >>> dp.log10(dp.Array1D([1.0, 100.0])).values
        array([0., 2.])
    """
    return _in_domain(Function.LOG10, x, domain, 0, -np.inf)


def sqrt(x: Any, domain: Literal["real", "complex"] = "real") -> Any:
    """The square root: NaN of negative elements, or, with ``domain="complex"``, complex roots of all.

    Shapes, units and errors are those of ``log``; see there.

        >>> import dataprocessing as dp
        >>> dp.sqrt(-4.0), dp.sqrt(-4.0, domain="complex")
        (nan, 2j)
    """
    return _in_domain(Function.SQRT, x, domain, 0, None)


def absolute(x: Any) -> Any:
    """The magnitude: real also of complex elements, +0 of either zero. ``abs(a)`` is the same.

    An array gives an array on its axes with its name and unit, a number a number. TypeError for what is neither.

        >>> import dataprocessing as dp
        >>> dp.absolute(dp.Array1D([3 + 4j, -0.0])).values
        array([5., 0.])
    """
    if isinstance(x, _ARRAYS):
        if x.dtype.kind == "c":
            real_type = "f4" if x.dtype.itemsize == 8 else "f8"
            return _core.conv_convert(x, real_type, ComplexConversion.MODULUS)
        result = _core.unry_operate(Function.ABS, _core.exactly_floating(x))
        np.absolute(result.values, out=result.values)
        return _kept(x, result)
    number = _number(x)
    return np.absolute(number.astype("f4") if isinstance(number, np.integer) else number)


def real(x: Any) -> Any:
    """The real parts; real elements as they are.

    An array gives a copy on its axes with its name and unit, a number a number. TypeError for what is neither.

        >>> import dataprocessing as dp
        >>> dp.real(dp.Array1D([1 + 2j])).values
        array([1.])
    """
    return x.real if isinstance(x, _ARRAYS) else np.real(x)


def imag(x: Any) -> Any:
    """The imaginary parts; zeros, of real elements.

    Shapes, units and errors are those of ``real``; see there.

        >>> import dataprocessing as dp
        >>> dp.imag(dp.Array1D([1 + 2j])).values
        array([2.])
    """
    return x.imag if isinstance(x, _ARRAYS) else np.imag(x)


def conj(x: Any) -> Any:
    """The complex conjugate; real elements as they are.

    Shapes, units and errors are those of ``real``; see there.

        >>> import dataprocessing as dp
        >>> dp.conj(dp.Array1D([1 + 2j])).values
        array([1.-2.j])
    """
    return x.conj() if isinstance(x, _ARRAYS) else np.conj(x)


def norm(x: Any) -> Any:
    """The squared magnitude, real; so of real elements their square.

    An array gives an array on its axes, without name and unit, a number a number. TypeError for what is neither.

        >>> import dataprocessing as dp
        >>> dp.norm(dp.Array1D([3 + 4j])).values
        array([25.])
    """
    if isinstance(x, _ARRAYS):
        return _operate(Function.NORM if x.dtype.kind == "c" else Function.SQR, x)
    return _operate(Function.NORM if np.iscomplexobj(x) else Function.SQR, x)


def arg(x: Any) -> Any:
    """The phase in (-pi, pi]; pi of negative real elements.

    In radians. An array gives an array on its axes, without a name, a number a number. TypeError for what is neither.

        >>> import dataprocessing as dp
        >>> dp.arg(1j)
        1.5707963267948966
    """
    if isinstance(x, _ARRAYS) and x.dtype.kind != "c":
        wide = _core.exactly_floating(x)
        target = "c16" if wide.dtype.itemsize == 8 else "c8"
        return _operate(Function.ARG, wide.astype(target))
    if not isinstance(x, _ARRAYS):
        return np.angle(x)
    return _operate(Function.ARG, x)


def convert(x: Any, dtype: Any, part: str = "real") -> Any:
    """``x.astype(dtype, part)`` of an array.

    Axes, name and unit stay. TypeError for what is no array and for a type that arrays have not.

        >>> import dataprocessing as dp
        >>> dp.convert(dp.Array1D([1.5, 300.0]), "u1").values
        array([  2, 255], dtype=uint8)
    """
    require_array(x, "convert")
    return x.astype(dtype, part)


def _exact_pair(a: Any, b: Any) -> tuple[Any, Any]:
    """Both in a type in which they can be compared."""
    if not isinstance(a, _ARRAYS) and not isinstance(b, _ARRAYS):
        return _number(a), _number(b)
    like = a if isinstance(a, _ARRAYS) else b
    other = b if like is a else a
    if not isinstance(other, _ARRAYS):
        dtype = _core.number_dtype(other, like.dtype)
        other = on_axes_of(like, np.array(np.broadcast_to(np.asarray(other, dtype=dtype), like.shape)))
    common = _core.common_dtype(like.dtype, other.dtype)
    pair = [x if x.dtype == common else x.astype(common) for x in (like, other)]
    return (pair[0], pair[1]) if like is a else (pair[1], pair[0])


def _meeting(a: Any, b: Any) -> list[Any]:
    """Those that are arrays, where their axes and units may meet."""
    arrays = [x for x in (a, b) if isinstance(x, _ARRAYS)]
    for x in (a, b):
        if hasattr(x, "dims") and hasattr(x, "coords"):  # which say where its elements lie
            raise TypeError(f"a {type(x).__name__} becomes an array first: dp.from_xarray(data)")
    if len(arrays) == 2:
        if a.ndim != b.ndim:
            raise TypeError("a 1D array and a 2D array do not combine")
        _core.check_axes(a, b)
        _core.check_units(a, b)
    for mask in (x for x in (a, b) if isinstance(x, _MASKS)):
        for array in arrays:
            require_mask_on(array, mask, "a function of two")
    return arrays


def _named(result: Any, arrays: list[Any]) -> Any:
    """The quantity stays: with the words that the arrays agree on."""
    if arrays:
        _core.take_labels(result, arrays[0], arrays[-1])
    return result


def _extreme(a: Any, b: Any, choose: Callable[[Any, Any], Any], numpy: np.ufunc) -> Any:
    if not isinstance(a, _ARRAYS) and not isinstance(b, _ARRAYS):
        return numpy(a, b)
    arrays = _meeting(a, b)
    a, b = _exact_pair(without_masked(a), without_masked(b))
    if a.dtype.kind == "c":
        raise TypeError("complex elements have no order; take abs(a) or a.real first")
    if all(x.size == 0 for x in arrays):
        return _named((a if isinstance(a, _ARRAYS) else b).copy(), arrays)
    if _core.same_grid(a, b):
        return _named(on_axes_of(a, numpy(a.values, b.values)), arrays)
    result = choose(a, b)
    if result.dtype.kind == "f":
        # A comparison with NaN is false, so one of the two orders keeps it.
        swapped = choose(b, a)
        np.copyto(result.values, swapped.values, where=np.isnan(swapped.values))
    return _named(result, arrays)


def minimum(a: Any, b: Any) -> Any:
    """The smaller of both, element by element; NaN where either is. Arrays are aligned first.

    The quantity stays: with the name and the unit that both have. UnitError for two different units. Of an array and a
    number, or values of its shape, an array on the axes of the array. TypeError for complex elements and for a 1D
    array beside an image, ValueError for a mask that lies elsewhere.

        >>> import dataprocessing as dp
        >>> dp.minimum(dp.Array1D([1, 5]), 3).values
        array([1, 3], dtype=int32)
    """
    return _extreme(a, b, _core.trny_min, np.minimum)


def maximum(a: Any, b: Any) -> Any:
    """The larger of both, element by element; NaN where either is. Arrays are aligned first.

    Name and unit are those of ``minimum``. Shapes and errors are those of ``minimum``, too; see there.

        >>> import dataprocessing as dp
        >>> dp.maximum(dp.Array1D([1, 5]), 3).values
        array([3, 5], dtype=int32)
    """
    return _extreme(a, b, _core.trny_max, np.maximum)


def where(mask: Any, a: Any, b: Any) -> Any:
    """``a`` where the mask is true, ``b`` elsewhere: arrays or numbers, on the axes of the mask.

    Arrays are brought there first; name and unit are those of ``minimum``. TypeError for what is no mask, for other
    dimensions and for masks to choose from, UnitError for two different units.

        >>> import dataprocessing as dp
        >>> counts = dp.Array1D([3, 70000, 5])
        >>> dp.where(counts > 65535, 0, counts).values
        array([3, 0, 5], dtype=int32)
    """
    if not isinstance(mask, _MASKS):
        raise TypeError("where takes a mask, as comparisons of arrays give it")
    if isinstance(a, _MASKS) or isinstance(b, _MASKS):
        raise TypeError("where chooses between arrays and numbers; masks combine by &, | and ~")
    arrays = _meeting(a, b)
    for x in arrays:
        if x.ndim != mask.ndim:
            raise TypeError("a mask and an array of other dimensions do not combine")
        _core.check_axes(mask, x)
    if arrays:
        a, b = _exact_pair(without_masked(a), without_masked(b))
    if mask.size == 0 and all(x.size == 0 for x in arrays):
        numbers = [x if isinstance(x, _ARRAYS) else np.asarray(x) for x in (a, b)]
        made: Any = Array1D if mask.ndim == 1 else Array2D
        axes = mask.axes[0] if mask.ndim == 1 else mask.axes
        return _named(made(np.empty(mask.shape, np.result_type(*(x.dtype for x in numbers))), axes), arrays)
    result = _named(_core.tnry_ternary(mask, a, b), arrays)
    _core.take_axes(result, mask)
    return result
