#!/usr/bin/python3
"""Element-wise arithmetic by numpy, the peer of bench_binary."""
from peer import compare, np, pairs, real, rounded, short

SMALLEST = np.float32(2.0**-126)
CASES = {
    "add_float": "a + b",
    "divide_float": "divide(a, b)",
    "add_u16": "np.add(u, v, dtype=np.int32)",
    "multiply_u16_float": "u * b",
    "multiply_complex": "c * d",
}


def divide(a, b):
    if not np.all(np.abs(b) >= SMALLEST):
        raise ZeroDivisionError
    return a / b


for count, cases in ((1000, {"add_float": CASES["add_float"]}), (100000, CASES), (1 << 24, CASES)):
    compare(cases, {"np": np, "divide": divide, "a": real(count, 1), "b": real(count, 2), "u": short(count, 3),
                    "v": short(count, 4), "c": pairs(count, 5), "d": pairs(count, 7)}, rounded(2))
