"""How far the content of one array lies from that of another."""

from __future__ import annotations

from typing import Any, NamedTuple

from dataprocessing import _core
from dataprocessing._arrays import check_axis_units, require_array
from dataprocessing._core import SubElement

__all__ = ["Shift", "register"]


class Shift(NamedTuple):
    """A shift between two arrays: what lies at p in the reference lies at p + (x, y) in the moved one.

    In units of the axes; ``y`` is 0 of 1D arrays. ``peak`` is the correlation coefficient of what overlaps, 1 for
    equal ones; ``second`` that of the next best shift: a peak hardly above it tells that there is nothing to
    register by, or that what there is repeats itself.

        >>> import dataprocessing as dp
        >>> dp.Shift(0.5, 0.0, 1.0, 0.2).x
        0.5
    """

    x: float
    y: float
    peak: float
    second: float


def register(
    moved: Any, ref: Any, band: tuple[float, float] = (0.0, 2.0), overlap: float = 0.25, sub: str = "squares"
) -> Shift:
    """How far ``moved`` lies from ``ref``, two arrays or two images of equal deltas and any sizes.

    ``band`` is what is used of the spatial frequencies, as parts of the Nyquist frequency; ``overlap`` the part of the
    smaller array that must overlap at least; ``sub`` how the shift is found between elements: "squares", where what
    overlaps differs least, "fourier", "parabola" or "whole". ProgramError for deltas that differ and complex elements,
    UnitError for axes of two units, DataError for arrays without elements, or with all elements equal. TypeError for
    what is no array.

        >>> import numpy as np, dataprocessing as dp
        >>> x = np.arange(200)
        >>> a, b = (dp.Array1D(np.exp(-(((x - at) / 4.0) ** 2)), dp.Axis(0, 0.1)) for at in (90, 92.5))
        >>> round(dp.register(b, a).x, 3)
        0.25
    """
    ways = {
        "squares": SubElement.LEAST_SQUARES,
        "fourier": SubElement.FOURIER,
        "parabola": SubElement.PARABOLA,
        "whole": SubElement.WHOLE,
    }
    if sub not in ways:
        raise ValueError(f"sub is one of {', '.join(map(repr, ways))}, not {sub!r}")
    for one in (moved, ref):
        require_array(one, "register")
    check_axis_units(moved, ref)
    found = _core.regs_register(ref, moved, band[0], band[1], overlap, ways[sub])
    return Shift(found.x, getattr(found, "y", 0.0), found.height, found.second)
