"""Calibrated one- and two-dimensional data: spectra, line profiles, images.

Arrays know where their elements lie, and arithmetic respects it:

    >>> import dataprocessing as dp
    >>> spectrum = dp.Array1D([12, 15, 90, 15, 11], dp.Axis(6.2, 0.1, unit="keV"))
    >>> (spectrum - 10).max(over=(6.3, 6.5))
    80
"""

from __future__ import annotations

import importlib
from typing import TYPE_CHECKING, Any

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
from dataprocessing.filters import (
    FoundPeak,
    find_peaks,
    rebin,
    smooth_gauss,
    smooth_median,
    smooth_savgol,
    snip,
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
from dataprocessing.registration import Shift, register
from dataprocessing.geometry import (
    Transform,
    flip,
    line_scan,
    project,
    ramp,
    rescale,
    resize,
    rotate,
    shear,
)

if TYPE_CHECKING:
    from dataprocessing import fitting, maps, testing

__version__ = "0.1.0"

__all__ = [
    "AlignmentWarning", "Array1D", "Array2D", "Axis", "DataError", "DataProcessingError", "DivisionByZeroError",
    "FitError", "FoundPeak", "IndexOutOfRangeError", "Mask1D", "Mask2D", "ProgramError", "Range", "Rect", "Shift",
    "SingularFitError", "SizeError", "Subscription", "Transform", "UnitError", "absolute", "acos", "alignment", "arg",
    "array", "asin", "atan", "autocorrelate", "band_pass", "center", "conj", "convert", "convolve", "correlate",
    "cos", "cosh", "empty", "exp", "fft", "find_peaks", "fitting", "flip", "from_hyperspy", "from_xarray", "full",
    "ifft", "imag", "line_scan", "log", "log10", "maps", "maximum", "minimum", "norm", "project", "ramp", "real",
    "rebin", "register", "rescale", "resize", "rotate", "shear", "sin", "sinh", "smooth_gauss", "smooth_median",
    "smooth_savgol", "snip", "sqr", "sqrt", "tan", "tanh", "where", "zeros",
]


def __getattr__(name: str) -> Any:
    """Fits and maps are loaded when they are asked for: most of the import's time is theirs."""
    if name in ("fitting", "maps", "testing"):
        return importlib.import_module(f"dataprocessing.{name}")
    raise AttributeError(f"module 'dataprocessing' has no attribute {name!r}")
