#!/usr/bin/python3
"""Conversions, resampling and selections by numpy, the peer of bench_values. Numpy interpolates in double precision and
wants the positions, which are made beforehand and not timed."""
from peer import compare, double, np, pairs, real, short, within

SIDE = 2048


def positions(count, delta):
    """Where the rescaled elements lie, on the indices of the stored ones; the last value is held."""
    return np.arange(int(np.floor(count / delta + 0.5))) * delta


def between(x, axis_size):
    """The two neighbours of each position and how far it is from the first."""
    first = np.minimum(np.floor(x).astype(np.intp), axis_size - 1)
    second = np.minimum(first + 1, axis_size - 1)
    return first, second, (x - first).astype(np.float32)


def rescale_image(image, x):
    """Along each axis in turn."""
    first, second, part = between(x, SIDE)
    rows = image[first] + (image[second] - image[first]) * part[:, np.newaxis]
    return rows[:, first] + (rows[:, second] - rows[:, first]) * part


def rebin(counts, delta):
    """Contents shared out to wider elements: differences of the sum up to each edge."""
    edges = np.arange(int(np.ceil(counts.size / delta)) + 1) * delta
    upto = np.concatenate(([0.0], np.cumsum(counts, dtype=np.float64)))
    return np.diff(np.interp(edges, np.arange(counts.size + 1.0), upto)).astype(np.float32)


EXACT = {
    "u16_to_float": "u.astype(np.float32)",
    "double_to_float": "d.astype(np.float32)",
    "float_to_u8": "np.clip(np.rint(f), 0, 255).astype(np.uint8)",
    "select_half": "a[quarter:quarter + half].copy()",
}
INTERPOLATED = {
    "complex_modulus": "np.abs(c)",
    "rescale_line": "np.interp(fine, stored, a).astype(np.float32)",
    "rebin_line": "rebin(a, 1.75)",
    "subtract_coarse": "a - np.interp(stored, coarse_positions, coarse).astype(np.float32)",
}
near = within(1e-6)  # elements are about 1; each step of the interpolation rounds once
for count in (100000, 1 << 24):
    stored = np.arange(count, dtype=np.float64)
    names = {"np": np, "rebin": rebin, "a": real(count, 1), "coarse": real(count // 2, 2), "u": short(count, 1),
             "d": double(count, 2), "f": np.float32(200) * real(count, 3), "c": pairs(count, 4), "quarter": count // 4,
             "half": count // 2, "stored": stored, "fine": positions(count, 0.75), "coarse_positions": stored[::2].copy()}
    compare(EXACT, names)
    compare(INTERPOLATED, names, near)
image, x = real(SIDE * SIDE, 1).reshape(SIDE, SIDE), positions(SIDE, 0.75)
compare({"select_window": lambda: image[512:1536, 512:1536].copy()})
compare({"rescale_image": lambda: rescale_image(image, x)}, agrees=near)
