#!/usr/bin/env python3
"""Derives the polynomials and tables of the elementary functions.

usage: coefficients.py            prints the header dataprocessing/kernels/elementary/elem_tables.h
       coefficients.py HEADER     says nothing when HEADER is what would be printed, and fails otherwise

A polynomial interpolates its function at the Chebyshev nodes of an interval, which is within a bit of the best
one there is. Everything is computed with 300 bits and rounded to double at the end.
"""
import pathlib
import sys

try:
    import mpmath as mp
except ImportError:
    print("python3-mpmath is missing")
    sys.exit(77)

mp.mp.prec = 300
LN2 = mp.log(2)
LINES = []


def text(value):
    return float(value).hex() if value else "0.0"


def array(name, values, comment):
    LINES.append(f"// {comment}")
    LINES.append(f"alignas(64) inline constexpr double elem_{name}[] = {{")
    LINES.extend(f"    {text(value)}," for value in values)
    LINES.append("};")


def constant(name, value, comment):
    LINES.append(f"// {comment}")
    LINES.append(f"inline constexpr double elem_{name} = {text(value)};")


def pair(name, values, comment):
    """A table of values and one of what their rounding left over."""
    array(name, values, comment)
    array(name + "Rest", [v - mp.mpf(float(v)) for v in values], "what is left of them")


def to_bits(value, bits):
    """So many binary digits of the value; what is left is positive, so that a zero minus its multiples keeps its
    sign."""
    mantissa, exponent = mp.frexp(value)
    return mp.floor(mantissa * 2**bits) / mp.mpf(2)**bits * mp.mpf(2)**exponent


def to_multiple(value, exponent):
    return mp.nint(mp.ldexp(value, -exponent)) * mp.ldexp(1, exponent)


def polynomial(name, function, count, low, high, error, meaning):
    """The coefficients c[0] ... c[count - 1] of function(x) on [low, high]. error(x, difference) is what a difference
    between polynomial and function does to the result, relative to it."""
    middle, half = (low + high) / 2, (high - low) / 2
    nodes = [middle + half * mp.cos(mp.pi * (2 * k + 1) / (2 * count)) for k in range(count)]
    powers = mp.matrix(count, count)
    for i, node in enumerate(nodes):
        for j in range(count):
            powers[i, j] = node**j
    exact = mp.lu_solve(powers, mp.matrix([function(node) for node in nodes]))
    coefficients = [mp.mpf(float(c)) for c in exact]
    worst = mp.mpf(0)
    for k in range(200):
        x = middle + half * mp.cos(mp.pi * (k + mp.mpf("0.37")) / 200)
        worst = max(worst, abs(error(x, mp.polyval(coefficients[::-1], x) - function(x))))
    array(name, coefficients, f"{meaning}, to 2^{mp.nstr(mp.ceil(10 * mp.log(worst, 2)) / 10, 4)}")


def of_square(function):
    """function(x) of u = x^2."""
    return lambda u: function(mp.sqrt(u))


# ---- exp: e^r = 1 + r + r^2 P(r) ----------------------------------------------------------------------------------

def exp_tail(r):
    return (mp.expm1(r) - r) / r**2 if abs(r) > 1e-40 else mp.mpf(1) / 2


def exponentials():
    half = LN2 / 2 * mp.mpf("1.0001")
    polynomial("expFloat", exp_tail, 7, -half, half, lambda r, d: d * r**2 / mp.exp(r), "(e^r - 1 - r) / r^2, |r| <= ln 2 / 2")
    polynomial("sinhFloat", of_square(lambda r: (mp.sinh(r) / r - 1) / r**2), 4, 0, half**2, lambda u, d: d * u,
               "(sinh(r) / r - 1) / r^2 in r^2, |r| <= ln 2 / 2")
    polynomial("coshFloat", of_square(lambda r: (mp.cosh(r) - 1) / r**2), 4, 0, half**2, lambda u, d: d * u,
               "(cosh(r) - 1) / r^2 in r^2, |r| <= ln 2 / 2")
    constant("perLn2", 1 / LN2, "1 / ln 2")
    high = to_bits(LN2, 33)
    constant("ln2High", high, "ln 2 to 33 bits")
    constant("ln2Low", LN2 - high, "ln 2 - ln2High")


# ---- log: log(1 + r) = r + r^2 P(r) or r - r^2 / 2 + r^3 P(r) ----------------------------------------------------------

# The 16 intervals of z begin at 0.703125 = 0x3fe68... and are as long as 2^48 in the bits of a double, so that 1 lies
# inside one of them and near 1 nothing cancels.
LOG_FIRST = 0x3fe6800000000000


def double_of(bits):
    sign_exponent, mantissa = bits >> 52, bits & (1 << 52) - 1
    return mp.ldexp(mp.mpf((1 << 52) + mantissa), sign_exponent - 1023 - 52)


def log_intervals():
    """The factor of each interval and how far z * factor - 1 goes."""
    factors, reach = [], mp.mpf(0)
    for i in range(16):
        low, high = double_of(LOG_FIRST + (i << 48)), double_of(LOG_FIRST + (i + 1 << 48))
        factor = mp.mpf(1) if low < 1 < high else to_multiple(2 / (low + high), -9)
        reach = max(reach, abs(low * factor - 1), abs(high * factor - 1))
        factors.append(factor)
    return factors, reach


def log_tail(r):
    return (mp.log1p(r) - r) / r**2 if abs(r) > 1e-40 else -mp.mpf(1) / 2


def logarithms():
    factors, reach = log_intervals()
    reach *= mp.mpf("1.001")
    LINES.append("// The bits of 0.703125, where the intervals of the logarithms begin")
    LINES.append(f"inline constexpr std::uint64_t elem_logFirst = 0x{LOG_FIRST:x};")
    array("logFactor", factors, "about 1 / z in 16 intervals of z from 0.703125 on, multiples of 2^-9")
    array("logFloat", [-mp.log(f) for f in factors], "-log(factor)")
    array("log2Float", [-mp.log(f) / LN2 for f in factors], "-log2(factor)")
    array("log10Float", [-mp.log10(f) for f in factors], "-log10(factor)")
    constant("ln2", LN2, "ln 2")
    constant("log10Of2", mp.log10(2), "log10 2")
    constant("log10E", mp.log10(mp.e), "log10 e")
    polynomial("log1pFloat", log_tail, 6, -reach, reach, lambda r, d: d * r,
               "(log(1 + r) - r) / r^2")
    polynomial("log1pPower", log_tail, 7, -reach, reach, lambda r, d: d * r,
               "the same for powers")


# ---- Circle ------------------------------------------------------------------------------------------------------------

def sin_tail(r):
    return (mp.sin(r) / r - 1) / r**2


def circular():
    quarter, eighth = mp.pi / 2 * mp.mpf("1.001"), mp.pi / 4 * mp.mpf("1.001")
    polynomial("sinFloat", of_square(sin_tail), 6, 0, quarter**2, lambda u, d: d * u * mp.sqrt(u) / mp.sin(mp.sqrt(u)),
               "(sin(r) / r - 1) / r^2 in r^2, |r| <= pi / 2")
    polynomial("sinEighthFloat", of_square(sin_tail), 5, 0, eighth**2, lambda u, d: d * u, "the same, |r| <= pi / 4")
    polynomial("cosEighthFloat", of_square(lambda r: (mp.cos(r) - 1) / r**2), 5, 0, eighth**2, lambda u, d: d * u * mp.sqrt(2),
               "(cos(r) - 1) / r^2 in r^2, |r| <= pi / 4")
    polynomial("asinFloat", of_square(lambda s: (mp.asin(s) / s - 1) / s**2), 9, 0, mp.mpf("0.2501"), lambda u, d: d * u,
               "(asin(s) / s - 1) / s^2 in s^2, |s| <= 1/2")
    polynomial("atanFloat", of_square(lambda t: (mp.atan(t) / t - 1) / t**2), 8, 0, (mp.tan(mp.pi / 8) * mp.mpf("1.001"))**2,
               lambda u, d: d * u, "(atan(t) / t - 1) / t^2 in t^2, |t| <= tan(pi / 8)")
    constant("perPi", 1 / mp.pi, "1 / pi")
    high = to_bits(mp.pi, 30)
    middle = to_bits(mp.pi - high, 30)
    constant("piHigh", high, "pi to 30 bits")
    constant("piMiddle", middle, "30 bits of pi - piHigh")
    constant("piLow", mp.pi - high - middle, "pi - piHigh - piMiddle")
    constant("pi", mp.pi, "pi")


# ---- Doubles -----------------------------------------------------------------------------------------------------------

def log_factors(name, factors, comment):
    """Factors and -log of each, as a multiple of 2^-42, to which multiples of log 2 are added exactly, and the rest."""
    high = [to_multiple(-mp.log(f), -42) for f in factors]
    array(name + "Factor", factors, comment)
    array(name, high, "-log(factor), a multiple of 2^-42")
    array(name + "Rest", [-mp.log(f) - h for f, h in zip(factors, high)], "what is left of it")


def log_double_tail(r):
    return (mp.log1p(r) - r + r**2 / 2) / r**3 if abs(r) > 1e-25 else mp.mpf(1) / 3


def double_exponentials():
    step = LN2 / 16
    half = step / 2 * mp.mpf("1.0001")
    polynomial("expDouble", exp_tail, 6, -half, half, lambda r, d: d * r**2, "(e^r - 1 - r) / r^2, |r| <= ln 2 / 32")
    powers = [mp.mpf(2)**(mp.mpf(i) / 16) for i in range(16)]
    array("exp2", powers, "2^(i / 16)")
    array("exp2Rest", [(p - mp.mpf(float(p))) / mp.mpf(float(p)) for p in powers], "what is left of it, relative to it")
    high = to_bits(step, 37)
    constant("perStep", 1 / step, "16 / ln 2")
    constant("stepHigh", high, "ln 2 / 16 to 37 bits")
    constant("stepLow", step - high, "ln 2 / 16 - stepHigh")


def double_logarithms():
    factors, reach = log_intervals()
    reach *= mp.mpf("1.001")
    log_factors("logDouble", factors, "the same intervals")
    high = to_multiple(LN2, -42)
    constant("ln2Multiple", high, "ln 2, a multiple of 2^-42")
    constant("ln2Rest", LN2 - high, "what is left of it")
    polynomial("log1pDouble", log_double_tail, 9, -reach, reach, lambda r, d: d * r**2, "(log(1 + r) - r + r^2 / 2) / r^3")
    # The second factor of powers: of p = 1 + j / 256 + ..., |...| <= 1 / 512, for j = -7 ... 8 in its low four bits.
    for i, factor in enumerate(factors):
        ends = [double_of(LOG_FIRST + (i + side << 48)) * factor for side in (0, 1)]
        assert all(mp.mpf("-7.49") < (p - 1) * 256 < mp.mpf("8.49") for p in ends)
    second, reach = [mp.mpf(1)] * 16, mp.mpf(0)
    for j in range(-7, 9):
        low, high = (1 + (mp.mpf(j) + side) / 256 for side in (mp.mpf("-0.501"), mp.mpf("0.501")))
        second[j & 15] = mp.mpf(1) if j == 0 else to_multiple(2 / (low + high), -13)
        reach = max(reach, abs(low * second[j & 15] - 1), abs(high * second[j & 15] - 1))
    log_factors("logSecond", second, "about 1 / p, multiples of 2^-13")
    polynomial("log1pSecond", log_double_tail, 6, -reach, reach, lambda r, d: d * r**2, "(log(1 + r) - r + r^2 / 2) / r^3")


def double_circular():
    step = mp.pi / 16
    half = step / 2 * mp.mpf("1.0001")
    polynomial("sinDouble", of_square(sin_tail), 4, 0, half**2, lambda u, d: d * u, "(sin(r) / r - 1) / r^2 in r^2, |r| <= pi / 32")
    polynomial("cosDouble", of_square(lambda r: (mp.cos(r) - 1 + r**2 / 2) / r**4), 4, 0, half**2, lambda u, d: d * u**2,
               "(cos(r) - 1 + r^2 / 2) / r^4 in r^2, |r| <= pi / 32")
    pair("sinOf", [mp.sin(i * step) for i in range(16)], "sin(i pi / 16)")
    pair("cosOf", [mp.cos(i * step) if i != 8 else mp.mpf(0) for i in range(16)], "cos(i pi / 16)")
    constant("perSixteenth", 1 / step, "16 / pi")
    high = mp.mpf(float(step))
    constant("sixteenthHigh", high, "pi / 16")
    constant("sixteenthLow", step - high, "what is left of it")
    polynomial("atanDouble", of_square(lambda t: (mp.atan(t) / t - 1) / t**2), 5, 0, mp.mpf("0.0324")**2, lambda u, d: d * u,
               "(atan(t) / t - 1) / t^2 in t^2, |t| <= 0.0324")
    pair("atanOf", [mp.atan(mp.mpf(i) / 16) for i in range(16)], "atan(i / 16)")
    constant("piRest", mp.pi - mp.mpf(float(mp.pi)), "what is left of pi")


def header():
    for family in (exponentials, logarithms, circular, double_exponentials, double_logarithms, double_circular):
        family()
    return "\n".join([
        "#pragma once", "", "#include <cstdint>", "",
        "// Polynomials and tables of the elementary functions, written by tools/elementary/coefficients.py.",
        "// Coefficients begin with that of the lowest power.", "",
        "// clang-format off", "",
        "namespace dataprocessing::detail {", "", *LINES, "",
        "} // namespace dataprocessing::detail", ""])


if len(sys.argv) > 1:
    if pathlib.Path(sys.argv[1]).read_text(encoding="utf-8") != header():
        sys.exit(f"{sys.argv[1]} is not what {sys.argv[0]} prints")
else:
    print(header(), end="")
