"""For tests of programs that use arrays."""

from __future__ import annotations

from typing import Any

import numpy as np

from dataprocessing._core import Array1D, Array2D

__all__ = ["assert_identical", "assert_close"]


def assert_identical(found: Any, expected: Any) -> None:
    """AssertionError, which says where, unless type, axes, labels and bits are the same.

        >>> import dataprocessing as dp
        >>> assert_identical(dp.Array1D([1.0]), dp.Array1D([1.0]))
    """
    for what in ("dtype", "shape", "axes", "name", "unit"):
        a, b = getattr(found, what), getattr(expected, what)
        assert a == b, f"{what}: {a!r} where {b!r} is expected"
    assert found.identical(expected), f"elements differ, first at {_first_difference(found, expected)}"


def assert_close(found: Any, expected: Any, rtol: float = 1e-7, atol: float = 0.0) -> None:
    """AssertionError unless both lie on one grid and the elements agree within a tolerance."""
    assert isinstance(found, (Array1D, Array2D)) and found.shape == expected.shape, "shapes differ"
    for a, b, count in zip(found.axes, expected.axes, found.shape):
        np.testing.assert_allclose(a.edges(count), b.edges(count), rtol=1e-12, atol=1e-6 * abs(b.delta))
    np.testing.assert_allclose(found.values, expected.values, rtol, atol)


def _first_difference(a: Any, b: Any) -> tuple[int, ...]:
    width = a.dtype.itemsize
    raw = [np.frombuffer(x.values.tobytes(), "u1").reshape(-1, width) for x in (a, b)]
    flat = int(np.argmax((raw[0] != raw[1]).any(axis=1)))
    return tuple(map(int, np.unravel_index(flat, a.shape)))
