#!/usr/bin/python3
"""Comparisons, mask logic and selection by numpy, the peer of bench_compare. Nothing is rounded here, so every bit
agrees."""
from peer import compare, np, real, short

CASES = {
    "greater_number": "a > one",
    "less_arrays": "a < b",
    "equal_u16_number": "u == seven",
    "and": "bright & other",
    "select_arrays": "np.where(bright, a, b)",
    "select_number": "np.where(bright, a, zero)",
    "minimum_arrays": "np.minimum(a, b)",
    "clip_number": "np.maximum(a, one)",
}
for count in (100000, 1 << 24):
    a, b, one = real(count, 1), real(count, 2), np.float32(1)
    compare(CASES, {"np": np, "a": a, "b": b, "one": one, "zero": np.float32(0), "u": short(count, 3),
                    "seven": np.uint16(7), "bright": a > one, "other": b > one})
