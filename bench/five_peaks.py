"""Five Gaussian peaks, each with a position, a height and a width, over a straight line: what the peers of bench_peaks
and bench_maps fit."""
import sys

from peer import np

PARAMETERS = 17


def middle(x):
    """From -1 to 1 over the channels."""
    return (np.arange(x.size) - (x.size - 1) / 2) / (x.size / 2)


def model(x, *p):
    total = p[15] + p[16] * middle(x)
    for k in range(5):
        total = total + p[3 * k + 1] * np.exp(-0.5 * ((x - p[3 * k]) / p[3 * k + 2]) ** 2)
    return total


def slopes(x, *p):
    columns = np.empty((x.size, PARAMETERS))
    columns[:, 15] = 1
    columns[:, 16] = middle(x)
    for k in range(5):
        z = (x - p[3 * k]) / p[3 * k + 2]
        e = np.exp(-0.5 * z * z)
        columns[:, 3 * k] = p[3 * k + 1] * e * z / p[3 * k + 2]
        columns[:, 3 * k + 1] = e
        columns[:, 3 * k + 2] = p[3 * k + 1] * e * z * z / p[3 * k + 2]
    return columns


def scored(x, y, p, times):
    """The maximum of the likelihood by scoring, from where it was found, and its standard errors: the peer's arithmetic
    and no fit of its own."""
    for _ in range(times):
        columns, mean = slopes(x, *p), model(x, *p)
        information = columns.T @ (columns / mean[:, None])
        p = p + np.linalg.solve(information, columns.T @ (y / mean - 1))
    return p, np.sqrt(np.diag(np.linalg.inv(information)))


def agree(what, ours, our_errors, values, errors, tolerance):
    """Whether values agree within so many standard errors, and errors within that part."""
    away, relative = np.max(np.abs(ours - values) / errors), np.max(np.abs(our_errors / errors - 1))
    print(f"{what}: within {away:.1e} standard errors, errors within {relative:.1e}", file=sys.stderr)
    return away < tolerance and relative < tolerance
