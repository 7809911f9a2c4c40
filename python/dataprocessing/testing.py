"""For tests of programs that use arrays."""

from __future__ import annotations

from typing import Any

import numpy as np

from dataprocessing._core import Array1D, Array2D, Mask1D, Mask2D

__all__ = ["assert_identical", "assert_close"]

_ARRAYS = (Array1D, Array2D)
_OURS = (*_ARRAYS, Mask1D, Mask2D)


def assert_identical(found: Any, expected: Any) -> None:
    """AssertionError, which says where, unless type, axes, labels and bits are the same.

    Both are arrays, masks or ndarrays. Names and units are among the labels.

        >>> import dataprocessing as dp
        >>> assert_identical(dp.Array1D([1.0]), dp.Array1D([1.0]))
    """
    for what in ("kind", "dtype", "shape", "axes", "name", "unit"):
        a, b = _told(found, what), _told(expected, what)
        if a != b:
            raise AssertionError(f"{what}: {a!r} where {b!r} is expected")
    bits = [np.asarray(x).tobytes() for x in (found, expected)]
    if bits[0] != bits[1]:
        raise AssertionError(f"elements differ, first at {_first_difference(found, expected)}")


def assert_close(found: Any, expected: Any, rtol: float = 1e-7, atol: float = 0.0) -> None:
    """AssertionError unless both lie on one grid and the elements agree within a tolerance.

    Both are arrays of one shape; element types, names and units may differ. ``rtol`` is relative to what is expected,
    ``atol`` in units of the values.

        >>> import dataprocessing as dp
        >>> assert_close(dp.Array1D([1.0]), dp.Array1D([1.0 + 1e-9]))
    """
    if not all(isinstance(x, _ARRAYS) for x in (found, expected)):
        raise AssertionError(f"{found!r} and {expected!r} are to be arrays")
    if found.shape != expected.shape:
        raise AssertionError(f"shape: {found.shape} where {expected.shape} is expected")
    for a, b, count in zip(found.axes, expected.axes, found.shape):
        np.testing.assert_allclose(a.edges(count), b.edges(count), rtol=1e-12, atol=1e-6 * abs(b.delta))
    np.testing.assert_allclose(found.values, expected.values, rtol, atol)


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
