#!/usr/bin/python3
"""Reductions by numpy, the peer of bench_reduce. Integers and positions agree exactly; sums of reals as far as any
order of adding goes."""
from peer import byte, compare, np, real, rounded, short


def minimum(a):
    index = a.argmin()
    return a[index], index


def maximum(image):
    y, x = np.unravel_index(image.argmax(), image.shape)
    return image[y, x], x, y


EXACT = {"min_position_float": "minimum(a)", "sum_u8": "u.sum()", "sum_u16": "v.sum()", "minmax_u16": "(v.min(), v.max())"}
SUMS = {"sum_float": "a.sum(dtype=np.float64)",
        "mean_variance_float": "(a.mean(dtype=np.float64), a.var(dtype=np.float64, ddof=1))"}
for count in (100000, 1 << 24):
    names = {"np": np, "minimum": minimum, "a": real(count, 1), "u": byte(count, 3), "v": short(count, 4)}
    compare(EXACT, names, count=count, kind=np.float64)
    compare(SUMS, names, rounded(count), count, np.float64)
image = real(1 << 22, 1).reshape(2048, 2048)
compare({"max_position_image": lambda: maximum(image)}, count=image.size, kind=np.float64)
