"""Calibrated one- and two-dimensional data: spectra, line profiles, images.

Arrays know where their elements lie, and arithmetic respects it:

    >>> import dataprocessing as dp
    >>> spectrum = dp.Array1D([12, 15, 90, 15, 11], dp.Axis(6.2, 0.1, unit="keV"))
    >>> (spectrum - 10).max(over=(6.3, 6.5))
    80
"""

from __future__ import annotations

import importlib

from dataprocessing import _core

_core._require_main_interpreter()  # before its classes get methods of another one

# ruff: noqa: E402
from dataprocessing import _arrays, _repr, interop, plotting  # noqa: F401, they add methods
from dataprocessing._core import (
    AlignmentWarning,
    Array1D,
    Array2D,
    Axis,
    DataError,
    DataProcessingError,
    DivisionByZeroError,
    FitError,
    IndexOutOfRangeError,
    Mask1D,
    Mask2D,
    ProgramError,
    SingularFitError,
    SizeError,
    UnitError,
)
from dataprocessing._alignment import alignment
from dataprocessing._creation import array, empty, full, zeros
from dataprocessing._ranges import Range, Rect, Subscription
from dataprocessing.fourier import (
    autocorrelate,
    band_pass,
    center,
    convolve,
    correlate,
    fft,
    ifft,
)
from dataprocessing.functions import (
    absolute,
    acos,
    arg,
    asin,
    atan,
    conj,
    convert,
    cos,
    cosh,
    exp,
    imag,
    log,
    log10,
    maximum,
    minimum,
    norm,
    real,
    sin,
    sinh,
    sqr,
    sqrt,
    tan,
    tanh,
    where,
)
from dataprocessing.interop import from_hyperspy, from_xarray
from dataprocessing.geometry import (
    Transform,
    flip,
    line_scan,
    map_to,
    project,
    ramp,
    rescale,
    resize,
    resize_to,
    rotate,
    rotate_to,
    shear,
    shear_to,
)

# Importing typing takes a fifth of this import's time, here and where this stands elsewhere.
TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

    from dataprocessing import fitting, maps, testing
    from dataprocessing.filters import (
        FoundPeak,
        find_peaks,
        rebin,
        smooth_gauss,
        smooth_median,
        smooth_savgol,
        snip,
    )
    from dataprocessing.registration import Shift, register

__version__ = "0.1.0"

__all__ = [
    "AlignmentWarning", "Array1D", "Array2D", "Axis", "DataError", "DataProcessingError", "DivisionByZeroError",
    "FitError", "FoundPeak", "IndexOutOfRangeError", "Mask1D", "Mask2D", "ProgramError", "Range", "Rect", "Shift",
    "SingularFitError", "SizeError", "Subscription", "Transform", "UnitError", "absolute", "acos", "alignment", "arg",
    "array", "asin", "atan", "autocorrelate", "band_pass", "center", "conj", "convert", "convolve", "correlate",
    "cos", "cosh", "empty", "exp", "fft", "find_peaks", "fitting", "flip", "from_hyperspy", "from_xarray", "full",
    "ifft", "imag", "line_scan", "log", "log10", "map_to", "maps", "maximum", "minimum", "norm", "project", "ramp",
    "real", "rebin", "register", "rescale", "resize", "resize_to", "rotate", "rotate_to", "shear", "shear_to", "sin",
    "sinh", "smooth_gauss", "smooth_median", "smooth_savgol", "snip", "sqr", "sqrt", "tan", "tanh", "where", "zeros",
]


_MODULES = ("fitting", "maps", "testing")
_LATER = {
    **dict.fromkeys(
        ("FoundPeak", "find_peaks", "rebin", "smooth_gauss", "smooth_median", "smooth_savgol", "snip"), "filters"
    ),
    **dict.fromkeys(("Shift", "register"), "registration"),
}


def __getattr__(name: str) -> Any:
    """What takes most of the import's time is loaded when it is asked for."""
    if name in _MODULES:
        return importlib.import_module(f"dataprocessing.{name}")
    if name not in _LATER:
        raise AttributeError(f"module 'dataprocessing' has no attribute {name!r}")
    found = getattr(importlib.import_module(f"dataprocessing.{_LATER[name]}"), name)
    globals()[name] = found
    return found


def __dir__() -> list[str]:
    return sorted({*globals(), *__all__})
