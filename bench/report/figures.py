"""Figures over launches: the median, how far the launches are apart, and ratios."""
import statistics


def summary(launches):
    """The figures of all launches, their median, and (highest - lowest) / median; None where there
    is no figure. One launch has no spread."""
    known = [value for value in launches if value is not None]
    median = statistics.median(known) if known else None
    spread = (max(known) - min(known)) / median if len(known) > 1 else None
    return {"launches": launches, "median": median, "spread": spread}


def ratios(ours, peer):
    """Ours over the peer's, launch by launch."""
    return [a / b if a is not None and b is not None else None for a, b in zip(ours, peer)]
