"""Models of peaks over a background."""

from __future__ import annotations

import copy
import math
import re
import threading
from collections import Counter
from collections.abc import Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np

from dataprocessing import _core
from dataprocessing._arrays import without_masked
from dataprocessing._core import Array1D, Axis, Shape

if TYPE_CHECKING:
    from numpy.typing import NDArray

__all__ = ["ModelPeak", "PeakModel"]

_SHAPES = {
    "gaussian": Shape.GAUSSIAN,
    "lorentzian": Shape.LORENTZIAN,
    "pseudo-voigt": Shape.PSEUDO_VOIGT,
    "voigt": Shape.VOIGT,
    "tailed-gaussian": Shape.TAILED_GAUSSIAN,
}
_FULL_WIDTHS = {"gaussian": 2 * math.sqrt(2 * math.log(2)), "lorentzian": 2.0, "pseudo-voigt": 2.0}


# What is said of one parameter again replaces what was said before.
_SAID = {"set_start": "start", "free": "kind", "fix": "kind", "bound": "kind", "tie": "kind"}

# Parameters in units of the axis.
_LENGTHS = {"position", "width", "Lorentzian width", "tail"}

# Where there are several of a kind, the library gives each its number.
_NUMBERED = re.compile(r"^(coefficient \d+|.* of the (?:power law|exponential|curve))(?: of polynomial)? (\d+)$")


class ModelPeak(NamedTuple):
    """The names of a peak's parameters in its model and its results; ``extra`` is None where it has none.

    What they name is in units of the axis and of the values.

        >>> import dataprocessing as dp
        >>> dp.fitting.PeakModel().peak("voigt", 6.4, 900, 0.06, 0.01).extra
        'Lorentzian width of peak 1'
    """

    position: str
    height: str
    width: str
    extra: str | None


@dataclass(frozen=True)
class _Evaluated:
    model: PeakModel
    parameters: tuple[float, ...]

    def __call__(self, x: NDArray[Any]) -> NDArray[Any]:
        return self.model.eval(x, self.parameters)


class PeakModel:
    """Peaks and backgrounds, what their parameters start from, and what a fit may do with them.

    Everything that is added answers with the names of its parameters, by which they are fixed, bounded, tied and
    found in results. All are free at first. Positions and widths are in units of the axis, heights in those of the
    values. A model can be pickled and copied.

    Shapes, with z = (x - position) / width: "gaussian" exp(-z^2 / 2), "lorentzian" 1 / (1 + z^2), "pseudo-voigt"
    (1 - m) 2^(-z^2) + m / (1 + z^2) with extra m, "voigt", a Gaussian convolved with a Lorentzian of half width extra,
    "tailed-gaussian", a Gaussian convolved with an exponential of length extra. ProgramError for a start that is not
    finite, a width that is not positive.

        >>> import dataprocessing as dp
        >>> model = dp.fitting.PeakModel()
        >>> alpha = model.peak("gaussian", 6.40, 900, 0.06, name="Ka")
        >>> beta = model.peak("gaussian", 7.06, 150, 0.06, name="Kb")
        >>> model.tie(beta.width, alpha.width)
        >>> model.polynomial([20, 0])
        ('coefficient 0', 'coefficient 1')
        >>> model.names[0], beta.width
        ('position of Ka', 'width of Kb')
    """

    def __init__(self) -> None:
        self._core = _core.pkmd_cModel()
        self._calls: dict[tuple[str, int], tuple[str, tuple[Any, ...]]] = {}  # what makes the model again
        self.peak_names: list[str] = []
        self._shapes: list[str] = []
        self._curves: list[tuple[int, Array1D]] = []  # the factor's number, and what it is a factor of
        self._lock = threading.RLock()  # what tells of one peak lies in several places

    def _call(self, method: str, *arguments: Any) -> Any:
        with self._lock:
            answer = getattr(self._core, method)(*arguments)
            key = (_SAID[method], arguments[0]) if method in _SAID else (method, answer)
            self._calls.pop(key, None)
            self._calls[key] = (method, arguments)
            if method == "add_curve":
                self._curves.append((answer, arguments[0]))
            return answer

    @property
    def names(self) -> list[str]:
        """The names of all parameters, in their order; those of a second polynomial end in " (2)"."""
        met: Counter[str] = Counter()
        names = []
        with self._lock:
            given = [self._core.name(i) for i in range(self._core.parameter_count())]
            peaks = list(self.peak_names)
        for text in given:
            head, mark, number = text.rpartition(" of peak ")
            several = None if mark else _NUMBERED.match(text)
            if several:  # what is added later changes no name
                text = several[1] if several[2] == "0" else f"{several[1]} ({int(several[2]) + 1})"
            if mark:
                text = f"{head} of {peaks[int(number)]}"
            met[text] += 1
            names.append(text if met[text] == 1 else f"{text} ({met[text]})")
        return names

    def _units(self, across: str, up: str) -> list[str]:
        """The units of the parameters, where they are those of the axis or of the values."""
        units = []
        for i in range(self._core.parameter_count()):
            what, _, owner = self._core.name(i).partition(" of ")
            if not owner.startswith("peak ") and what != "width":
                units.append("")
            else:
                units.append(up if what == "height" else across if what in _LENGTHS else "")
        return units

    def _of_peak(self, peak: int) -> range:
        """The indices of a peak's parameters: position, height, width, and extra where it has one."""
        first = self._core.position(peak)
        return range(first, first + (3 if self._shapes[peak] in ("gaussian", "lorentzian") else 4))

    def _number(self, name: str) -> int:
        names = self.names
        if name not in names:
            raise ValueError(f"no parameter is called {name!r}; there are {', '.join(names)}")
        return names.index(name)

    def peak(
        self, shape: str, position: float, height: float, width: float, extra: float = 0.0, name: str = ""
    ) -> ModelPeak:
        """Adds a peak; ``name`` is that in results, "peak 1" and so on without one.

        Position and width are in units of the axis, the height in those of the values; the answer is a ModelPeak of
        names. ValueError for another shape and a name that is there, ProgramError for a width that is not positive.

            >>> import dataprocessing as dp
            >>> dp.fitting.PeakModel().peak("gaussian", 6.4, 900, 0.06, name="Fe").height
            'height of Fe'
        """
        if shape not in _SHAPES:
            raise ValueError(f"shape is one of {', '.join(map(repr, _SHAPES))}, not {shape!r}")
        with self._lock:
            label = name or f"peak {len(self.peak_names) + 1}"
            if label in self.peak_names:
                raise ValueError(f"there is a peak called {label!r} already")
            peak = self._call("add_peak", _SHAPES[shape], position, height, width, extra)
            self.peak_names.append(label)
            self._shapes.append(shape)
            names = self.names[self._core.position(peak) :]
        return ModelPeak(names[0], names[1], names[2], names[3] if len(names) > 3 else None)

    def _added(self, method: str, *arguments: Any) -> tuple[str, ...]:
        with self._lock:
            first = self._call(method, *arguments)
            return tuple(self.names[first:])

    def polynomial(self, start: Sequence[float], reference: float = 0.0, scale: float = 1.0) -> tuple[str, ...]:
        """Adds ``sum of c[j] ((x - reference) / scale)^j``.

        The answer has as many names as there are coefficients, in units of the values. ProgramError for no or infinite
        coefficients and for a scale of 0.

            >>> import dataprocessing as dp
            >>> dp.fitting.PeakModel().polynomial([20, 0], reference=6.4)
            ('coefficient 0', 'coefficient 1')
        """
        return self._added("add_polynomial", [float(c) for c in start], reference, scale)

    def power_law(self, amplitude: float, exponent: float, reference: float) -> tuple[str, ...]:
        """Adds ``amplitude (x / reference)^exponent``; positions have to be positive.

        The amplitude is in units of the values, the reference in those of the axis; the answer is two names.
        ProgramError for a reference that is not positive and starts that are not finite.

            >>> import dataprocessing as dp
            >>> dp.fitting.PeakModel().power_law(100, -2, 5.0)
            ('amplitude of the power law', 'exponent of the power law')
        """
        return self._added("add_power_law", amplitude, exponent, reference)

    def exponential(self, amplitude: float, rate: float, reference: float = 0.0) -> tuple[str, ...]:
        """Adds ``amplitude exp(rate (x - reference))``.

        The amplitude is in units of the values, the rate per unit of the axis; the answer is two names. ProgramError
        for starts that are not finite.

            >>> import dataprocessing as dp
            >>> dp.fitting.PeakModel().exponential(100, -0.5)
            ('amplitude of the exponential', 'rate of the exponential')
        """
        return self._added("add_exponential", amplitude, rate, reference)

    def curve(self, curve: Array1D, factor: float = 1.0) -> tuple[str, ...]:
        """Adds ``factor`` times a curve that is given element by element, as many as the spectrum has.

        It lies where the spectrum does, or on the default axis. The factor has the units of the values over those of
        the curve; the answer is its name. ProgramError for a complex curve, TypeError for what is no Array1D; a fit to
        other channels raises ValueError.

            >>> import dataprocessing as dp
            >>> dp.fitting.PeakModel().curve(dp.Array1D([1.0, 2.0]))
            ('factor of the curve',)
        """
        return self._added("add_curve", curve.copy(), factor)

    def width_law(self, width: float, slope: float, reference: float) -> tuple[str, ...]:
        """Makes the widths of all peaks so far follow ``width^2 + slope (x - reference)``, squared.

        ``width`` is in units of the axis; the answer is the names of the law's two parameters. ProgramError for a
        width that is not positive.

            >>> import dataprocessing as dp
            >>> model = dp.fitting.PeakModel()
            >>> _ = model.peak("gaussian", 6.4, 900, 0.06)
            >>> model.width_law(0.06, 0.002, 6.4)
            ('width of the law', 'slope of the law')
        """
        return self._added("set_width_law", width, slope, reference)

    def start(self, name: str, value: float) -> None:
        """Sets what a fit starts from.

        In units of the parameter that the name stands for. ValueError for a name that is not there, ProgramError for a
        value that is not finite.

            >>> import dataprocessing as dp
            >>> model = dp.fitting.PeakModel()
            >>> iron = model.peak("gaussian", 6.4, 900, 0.06)
            >>> model.start(iron.height, 500)
            >>> model.starts[iron.height]
            500.0
        """
        self._call("set_start", self._number(name), value)

    def free(self, *names: str) -> None:
        """Makes parameters free, as they are at first.

        ValueError for a name that is not there.

            >>> import dataprocessing as dp
            >>> model = dp.fitting.PeakModel()
            >>> iron = model.peak("gaussian", 6.4, 900, 0.06)
            >>> model.fix(iron.width)
            >>> model.free(iron.width)
        """
        for name in names:
            self._call("free", self._number(name))

    def fix(self, *names: str) -> None:
        """Keeps parameters at their starts.

        ValueError for a name that is not there.

            >>> import dataprocessing as dp
            >>> model = dp.fitting.PeakModel()
            >>> iron = model.peak("gaussian", 6.4, 900, 0.06)
            >>> model.fix(iron.position, iron.width)
        """
        for name in names:
            self._call("fix", self._number(name))

    def bound(self, name: str, lower: float = -math.inf, upper: float = math.inf) -> None:
        """Keeps a parameter in [lower, upper].

        Bounds of the name are in units of its parameter. ValueError for a name that is not there; a fit refuses bounds
        out of order with ProgramError.

            >>> import dataprocessing as dp
            >>> model = dp.fitting.PeakModel()
            >>> iron = model.peak("gaussian", 6.4, 900, 0.06)
            >>> model.bound(iron.width, 0.01, 0.2)
        """
        self._call("bound", self._number(name), lower, upper)

    def tie(self, name: str, to: str, factor: float = 1.0, offset: float = 0.0) -> None:
        """Makes a parameter ``factor`` times another one, plus ``offset``.

        The offset is in units of the parameter called ``name``. ValueError for names that are not there; a fit refuses
        circles with ProgramError.

            >>> import dataprocessing as dp
            >>> model = dp.fitting.PeakModel()
            >>> alpha, beta = (model.peak("gaussian", at, 900, 0.06) for at in (6.40, 7.06))
            >>> model.tie(beta.width, alpha.width, factor=1.05)
        """
        self._call("tie", self._number(name), self._number(to), factor, offset)

    @property
    def starts(self) -> dict[str, float]:
        """What a fit starts from, by name."""
        return dict(zip(self.names, map(float, self._core.starts())))

    def eval(
        self, x: Any, parameters: Sequence[float] | NDArray[Any] | None = None, background: bool = False
    ) -> NDArray[Any]:
        """The model at positions ``x``, for these parameters or those that it starts from.

        ``background`` leaves the peaks out. Curves given element by element are left out. An ndarray of the shape of
        ``x``, which is in units of the axis. ProgramError for another number of parameters.

            >>> import dataprocessing as dp
            >>> model = dp.fitting.PeakModel()
            >>> _ = model.peak("gaussian", 6.4, 900, 0.06)
            >>> model.eval([6.4])
            array([900.])
        """
        at = np.asarray(without_masked(x), dtype="f8")
        p = self._core.starts() if parameters is None else np.asarray(without_masked(parameters), dtype="f8")
        return np.asarray(self._core.values(p, at.ravel(), background)).reshape(at.shape)

    def _at_elements(self, spectrum: Array1D, parameters: NDArray[Any]) -> Array1D:
        """The whole model at the elements of a spectrum."""
        found = self.eval(spectrum.positions, parameters)
        for number, curve in self._curves:
            found += float(parameters[number]) * curve.values
        return Array1D(found, spectrum.axis, name=spectrum.name, unit=spectrum.unit)

    def _check_curves(self, spectrum: Array1D) -> None:
        for _, curve in self._curves:
            if curve.axis != Axis() and not _core.same_grid(curve, spectrum):
                raise ValueError("a curve of the model does not lie where the spectrum does")

    def _fwhm(self, peak: int, width: float) -> float:
        return _FULL_WIDTHS.get(self._shapes[peak], math.nan) * width

    def _curve(self, parameters: tuple[float, ...]) -> _Evaluated:
        return _Evaluated(self.copy(), parameters)

    def copy(self) -> PeakModel:
        """An independent copy.

        Its names are the same; what is added, bound or tied later is its own.

            >>> import dataprocessing as dp
            >>> model = dp.fitting.PeakModel()
            >>> _ = model.polynomial([1])
            >>> model.copy().names
            ['coefficient 0']
        """
        made = PeakModel()
        with self._lock:
            made._core, made._calls, made._curves = copy.copy(self._core), dict(self._calls), list(self._curves)
            made.peak_names, made._shapes = list(self.peak_names), list(self._shapes)
        return made

    __copy__ = copy

    def __reduce__(self) -> tuple[Any, ...]:
        with self._lock:
            return _replayed, (list(self._calls.values()), list(self.peak_names), list(self._shapes))

    def __repr__(self) -> str:
        return f"<PeakModel of {len(self.peak_names)} peaks, {self._core.parameter_count()} parameters>"


def _replayed(calls: list[tuple[str, tuple[Any, ...]]], peak_names: list[str], shapes: list[str]) -> PeakModel:
    model = PeakModel()
    for method, arguments in calls:
        model._call(method, *arguments)
    model.peak_names, model._shapes = list(peak_names), list(shapes)
    return model
