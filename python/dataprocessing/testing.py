"""For tests of programs that use arrays."""

from __future__ import annotations

from typing import Any

import numpy as np

from dataprocessing._core import Array1D, Array2D, Mask1D, Mask2D

__all__ = ["assert_identical", "assert_close"]

_ARRAYS = (Array1D, Array2D)
_MASKS = (Mask1D, Mask2D)
_OURS = (*_ARRAYS, *_MASKS)


def assert_identical(found: Any, expected: Any) -> None:
    """AssertionError, which says where, unless type, axes, labels and bits are the same.

    Both are arrays, masks, ndarrays or numpy's numbers. Names and units are among the labels.

        >>> import dataprocessing as dp
        >>> assert_identical(dp.Array1D([1.0]), dp.Array1D([1.0]))
    """
    _require(found, expected, (*_OURS, np.ndarray, np.generic), "arrays, masks or ndarrays")
    for what in ("kind", "dtype", "shape", "axes", "name", "unit"):
        a, b = _told(found, what), _told(expected, what)
        if a != b:
            raise AssertionError(f"{what}: {a!r} where {b!r} is expected")
    bits = [np.asarray(x).tobytes() for x in (found, expected)]
    if bits[0] != bits[1]:
        raise AssertionError(f"elements differ, first at {_first_difference(found, expected)}")


def assert_close(found: Any, expected: Any, rtol: float = 1e-7, atol: float = 0.0) -> None:
    """AssertionError unless both lie on one grid and the elements agree within a tolerance.

    Both are arrays or both masks, of one shape; elements of masks are the same. Element types and names may differ, and
    a unit that only one has, but not two units. ``rtol`` is relative to what is expected, ``atol`` in units of the
    values.

        >>> import dataprocessing as dp
        >>> assert_close(dp.Array1D([1.0]), dp.Array1D([1.0 + 1e-9]))
    """
    masks = isinstance(found, _MASKS) and isinstance(expected, _MASKS)
    _require(found, expected, _MASKS if masks else _ARRAYS, "arrays, or both masks")
    if found.shape != expected.shape:
        raise AssertionError(f"shape: {found.shape} where {expected.shape} is expected")
    for a, b in ((found, expected), *zip(found.axes, expected.axes)):
        units = _told(a, "unit"), _told(b, "unit")
        if units[0] and units[1] and units[0] != units[1]:
            raise AssertionError(f"unit: {units[0]!r} where {units[1]!r} is expected")
    for a, b, count in zip(found.axes, expected.axes, found.shape):
        np.testing.assert_allclose(a.edges(count), b.edges(count), rtol=1e-12, atol=1e-6 * abs(b.delta))
    if masks:
        np.testing.assert_array_equal(found.values, expected.values)
    else:
        np.testing.assert_allclose(found.values, expected.values, rtol, atol)


def _require(found: Any, expected: Any, kinds: tuple[type, ...], what: str) -> None:
    if not all(isinstance(x, kinds) for x in (found, expected)):
        raise AssertionError(f"{found!r} and {expected!r} are to be {what}")


def _told(of: Any, what: str) -> Any:
    if what == "kind":
        return next((cls.__name__ for cls in _OURS if isinstance(of, cls)), type(of).__name__)
    if what == "dtype":
        return np.asarray(of).dtype
    return getattr(of, what, None)


def _first_difference(a: Any, b: Any) -> tuple[int, ...]:
    width = np.asarray(a).dtype.itemsize
    raw = [np.frombuffer(np.asarray(x).tobytes(), "u1").reshape(-1, width) for x in (a, b)]
    flat = int(np.argmax((raw[0] != raw[1]).any(axis=1)))
    return tuple(map(int, np.unravel_index(flat, a.shape)))
