#!/usr/bin/python3
"""Functions of every element, and scans, by numpy, the peer of bench_unary. What the peer computes in vectors may be
off by a few units of the last place; square roots and magnitudes are the same in every bit."""
from peer import compare, double, np, pairs, real, rounded

PEERS = {"asin": "arcsin(y)", "acos": "arccos(y)", "atan": "arctan(x)", "pow": "power(x, np.float32(2.5))"}
FUNCTIONS = ("exp", "log", "log10", "sin", "cos", "tan", "asin", "acos", "atan", "sinh", "cosh", "tanh", "pow")
# x and y, which is x less a half, are f and fy, or d and dy.
CASES = {f"{name}_{kind}": "np." + PEERS.get(name, name + "(x)").replace("(x", f"({x}").replace("(y", f"({x}y")
         for kind, x in (("float", "f"), ("double", "d")) for name in FUNCTIONS}
CASES |= {
    "sqr_complex": "np.square(c)",
    "sqrt_complex": "np.sqrt(c)",
    "norm_complex": "np.square(c.real) + np.square(c.imag)",
    "arg_complex": "np.angle(c)",
    "modulus_complex": "np.abs(c)",
}
EXACT = {"sqrt_float": "np.sqrt(a)", "abs_float": "np.abs(a)"}
SCANS = {
    "is_zero": "not half.all()",
    "is_negative": "(half < 0).any()",
    "is_beyond_unity": "(np.abs(half) > 1).any()",
}
for count in (100000, 1 << 24):
    a, f, d = real(count, 1), real(count, 5), double(count, 5)
    names = {"np": np, "a": a, "half": a / 2, "f": f, "fy": f - np.float32(0.5), "d": d, "dy": d - 0.5,
             "c": pairs(count, 6)}
    compare(CASES, names, rounded(4))
    compare(EXACT, names)
    compare(SCANS, names, count=count, kind=np.float64)
