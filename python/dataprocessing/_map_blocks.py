"""Maps of all kinds, gone through block by block: how a fit is told, how blocks lie, and the planes that come back."""

from __future__ import annotations

import enum
import hashlib
import math
import sys
from collections.abc import Callable, Iterable, Sequence
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any

import numpy as np

from dataprocessing import _core
from dataprocessing._arrays import failure, without_masked
from dataprocessing._core import Array1D, Array2D, Axis, FitError
from dataprocessing._peak_model import PeakModel

if TYPE_CHECKING:
    from numpy.typing import NDArray


class Status(enum.IntEnum):
    """What became of a spectrum.

        >>> import dataprocessing as dp
        >>> dp.maps.Status(3).name
        'NEGATIVE'
    """

    GOOD = 0
    """There is a result."""
    NOT_FINITE = 1
    """A value that was needed is NaN or infinite, or too large or too small to be squared."""
    EMPTY = 2
    """All values that were needed are 0, where something is fitted to them."""
    NEGATIVE = 3
    """A value is negative where only counts will do."""
    NOT_CONVERGED = 4
    """The steps led nowhere, or there were too many of them."""
    UNDETERMINED = 5
    """The data do not tell all parameters; of peaks, the planes have what is known."""


def _digest(one: Any) -> str:
    """A short word for what a fit was made of, the same in every process."""

    def told(part: Any) -> str:
        if isinstance(part, (tuple, list)):
            return f"({','.join(map(told, part))})"
        if isinstance(part, np.ndarray):
            return f"{part.dtype.str}{part.shape}{hashlib.sha256(part.tobytes()).hexdigest()}"
        return told(part.__reduce__()[1]) if isinstance(part, PeakModel) else repr(part)

    return hashlib.sha256(told(one).encode()).hexdigest()[:16]


def digest_of_starts(starts: Iterable[Any]) -> str:
    """The same of numbers and planes; of lazy ones, that they are."""
    parts = [getattr(one, "data", one) if is_data_array(one) else one for one in starts]
    return _digest(["lazy" if is_dask(one) else np.asarray(one, "f8") for one in parts])


@dataclass(frozen=True)
class Planes:
    """What came out of every spectrum of a map; ``planes["name"]`` is the plane of a parameter.

    Parameters and errors are in the units that the function names which made them.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.maps.integrate(np.array([[1, 2, 3]]), {"Fe": (1, 2)})["Fe"]
        array([5.])
    """

    values: dict[str, Any]
    """The parameters, by name."""
    errors: dict[str, Any]
    """Their standard errors, by the same names."""
    iterations: Any
    """The steps that were taken."""
    status: Any
    """What became of it, a :class:`Status`."""
    chi_square: Any = None
    """What was made smallest; None where nothing was."""
    areas: dict[str, Any] = field(default_factory=dict)
    """The areas of peaks, by their names."""
    area_errors: dict[str, Any] = field(default_factory=dict)
    """Their standard errors."""
    fixed: dict[str, float] = field(default_factory=dict)
    """Numbers that the parameters refer to, the same for all spectra."""

    def __getitem__(self, name: str) -> Any:
        return self.values[name]

    def _remember(self, stacks: dict[str, Any], made_by: Any) -> Planes:
        """Keeps the arrays of all planes of a kind, for those who want them in one piece: no field, and in no copy."""
        object.__setattr__(self, "_stacks", stacks)
        object.__setattr__(self, "_made_by", _digest(made_by))
        return self

    def __repr__(self) -> str:
        shape = "x".join(map(str, self.status.shape)) or "1"
        return f"<Planes of {shape} spectra: {', '.join(self.values)}>"


# ---- Blocks -------------------------------------------------------------------------------------


def elements(block: Any) -> Any:
    """The block with elements and strides that the library takes, in place if it has them."""
    kind, width = block.dtype.kind, block.dtype.itemsize
    if kind == "b":
        block = block.view("u1")
    elif kind in "iu" and width == 8:
        exact = block.astype("f8")
        # The way back is exact where the way there was, and 2^63 or 2^64 have none.
        limit = 2.0**63 if kind == "i" else 2.0**64
        if not (np.all(exact < limit) and np.array_equal(exact.astype(block.dtype), block)):
            raise OverflowError("an integer of the map is held exactly by none of the element types")
        block = exact
    elif kind == "f" and width == 2:
        block = block.astype("f4")
    elif kind not in "iuf" or width > 8:
        raise TypeError(f"the elements of a map are real numbers, not {block.dtype}")
    even = all(stride % block.itemsize == 0 for stride in block.strides)
    if not (block.dtype.isnative and block.flags.aligned and even):
        block = block.astype(block.dtype.newbyteorder("="), order="C", copy=True)
    return block if block.ndim <= 3 else block.reshape(math.prod(block.shape[:-2]), *block.shape[-2:])


@dataclass(frozen=True)
class Fit:
    """A fit, told by what it is made of: processes get this, and make the fit again."""

    kind: str
    arguments: tuple[Any, ...]
    names: list[str]
    scales: list[float] | None = None
    has_chi: bool = True
    peaks: list[str] | None = None
    started: tuple[str, ...] = ()
    started_at: str = ""

    def made(self) -> Any:
        """The library's object."""
        given = [one._core if isinstance(one, PeakModel) else one for one in self.arguments]
        return getattr(_core, self.kind)(*given)

    def outputs(self) -> list[tuple[str, str]]:
        """The further dimension and the type of each array that a block gives."""
        of_peaks = [("peak", "f8")] * 2 if self.peaks is not None else []
        chi = [("", "f8")] if self.has_chi else []
        return [("parameter", "f8"), ("parameter", "f8"), ("", "i4"), ("", "u1"), *chi, *of_peaks]

    def sizes(self) -> dict[str, int]:
        """How long those dimensions are."""
        sizes = {"parameter": len(self.names)}
        return sizes if self.peaks is None else {**sizes, "peak": len(self.peaks)}

    def planes(self, out: Sequence[Any], fixed: dict[str, float]) -> Planes:
        """Such arrays by name."""
        values, deviations, iterations, status, *rest = out
        areas, area_errors = [named(one, self.peaks or ()) for one in rest[-2:]] if self.peaks is not None else [{}, {}]
        chi = rest[0] if self.has_chi else None
        names = self.names
        planes = Planes(
            named(values, names), named(deviations, names), iterations, status, chi, areas, area_errors, fixed
        )
        words = ["values", "errors", "iterations", "status", *(["chi_square"] if self.has_chi else [])]
        words += ["areas", "area_errors"] if self.peaks is not None else []
        made_by = (self.kind, self.arguments, self.names, self.started, self.started_at)
        return planes._remember(dict(zip(words, out)), made_by)


def named(planes: Any, names: Sequence[str]) -> dict[str, Any]:
    return {name: planes[..., j] for j, name in enumerate(names)}


@dataclass(frozen=True)
class Call:
    """A fit on its way through a map, one block after the other."""

    fit: Fit
    errors: str
    _made: list[Any] = field(default_factory=list, compare=False)

    def __reduce__(self) -> tuple[Any, ...]:
        return Call, (self.fit, self.errors)

    @property
    def __name__(self) -> str:
        """What dask calls the tasks."""
        return self.fit.kind.replace("_c", "_").lower()

    def __call__(self, block: Any, *starts: Any) -> tuple[NDArray[Any], ...]:
        if not self._made:
            self._made.append(self.fit.made())
        shape = block.shape[:-1]
        first = [self._starts(starts, shape)] if starts else []
        values, deviations, chi, iterations, status, *areas = self._made[0].run(elements(block), *first)
        for j, scale in enumerate(self.fit.scales or ()):
            values[j] /= scale
            deviations[j] /= scale
        status = status.reshape(shape)
        if self.errors == "raise":
            _refuse_bad(status)
        single = [iterations.reshape(shape), status, *([chi.reshape(shape)] if self.fit.has_chi else [])]
        several = [np.moveaxis(one.reshape(len(one), *shape), 0, -1) for one in (values, deviations, *areas)]
        return (*several[:2], *single, *several[2:])

    def _starts(self, starts: Sequence[Any], shape: tuple[int, ...]) -> NDArray[Any]:
        """Where each spectrum starts, one plane after the other."""
        model = self.fit.arguments[0]
        first = np.empty((len(self.fit.names), *shape))
        first.T[...] = model._core.starts()
        for name, plane in zip(self.fit.started, starts):
            first[self.fit.names.index(name)] = without_masked(plane)
        return first


def _refuse_bad(status: NDArray[Any]) -> None:
    bad = np.argwhere(status)
    if len(bad):
        at = tuple(map(int, bad[0]))
        word = Status(int(status[at])).name.lower().replace("_", " ")
        raise failure(FitError, f"{len(bad)} of {status.size} spectra have no result; the first, {at}, is {word}.")


# ---- Maps ---------------------------------------------------------------------------------------


def of_channels(values: Any, channels: int, axis: Axis | None, what: str) -> NDArray[Any]:
    """A number for every channel; ValueError for those that lie elsewhere than the spectra."""
    own = axis_brought(values)
    if axis is not None and own is not None and len(values) == channels and own != Axis():
        if not _core.same_grid(*(Array1D(np.empty(channels, "u1"), one) for one in (own, axis))):
            raise ValueError(f"{what} on {own}, the spectra on {axis}")
    return np.asarray(without_masked(values), dtype="f8")


def is_data_array(data: Any) -> bool:
    xarray = sys.modules.get("xarray")
    return xarray is not None and isinstance(data, xarray.DataArray)


def is_dask(data: Any) -> bool:
    dask = sys.modules.get("dask.array")
    return dask is not None and isinstance(data, dask.Array)


def axis_brought(values: Any) -> Axis | None:
    """The axis that values for the channels bring, if they bring one."""
    if isinstance(values, Array1D):
        return values.axis
    if is_data_array(values) and values.ndim == 1 and values.dims[0] in values.coords:
        return Map(values, None, None).axis
    return None


class Map:
    """A map of any kind: its channels, their axis, and how it is gone through."""

    def __init__(self, data: Any, axis: Axis | None, dim: str | None) -> None:
        self.is_labelled, self.is_lazy = is_data_array(data), is_dask(data)
        if dim is not None and not self.is_labelled:
            raise TypeError("only a DataArray has a dim; the spectra of others lie along the last dimension")
        if axis is None and isinstance(data, (Array1D, Array2D)):
            axis = data.axes[-1]
        self.data = data if self.is_labelled or self.is_lazy else np.asarray(without_masked(data))
        if self.data.ndim == 0:
            raise ValueError("a map has spectra, not one number")
        if not self.is_labelled:
            self.axis, self.channels = axis or Axis(), self.data.shape[-1]
            return
        self.dim = self.data.dims[-1] if dim is None else dim
        if self.dim not in self.data.dims:
            raise ValueError(f"no dimension is called {self.dim!r}; there are {', '.join(map(repr, self.data.dims))}")
        self.channels = self.data.sizes[self.dim]
        self.axis = axis or self._coordinates()

    def _coordinates(self) -> Axis:
        if self.dim not in self.data.coords:
            return Axis()
        coordinate = self.data.coords[self.dim]
        return Axis.from_positions(coordinate.values, 1e-3, str(self.dim), str(coordinate.attrs.get("units", "")))

    def run(self, fit: Fit, errors: str, starts: Iterable[Any] = (), fixed: dict[str, float] | None = None) -> Planes:
        """The planes of a fit, of the map's own kind."""
        if errors not in ("raise", "nan"):
            raise ValueError(f"errors is 'raise' or 'nan', not {errors!r}")
        call = Call(fit, errors)
        call._made.append(fit.made())  # what it refuses, it refuses now
        return fit.planes(self.through(call, fit.outputs(), fit.sizes(), list(starts)), fixed or {})

    def _free(self, dim: str) -> str:
        """The name of a further dimension, other than those of the map."""
        while dim and self.is_labelled and dim in self.data.dims:
            dim += "_"
        return dim

    def through(
        self, call: Callable[..., Any], outputs: Sequence[tuple[str, Any]], sizes: dict[str, int],
        starts: Sequence[Any] = (),
    ) -> Any:  # fmt: skip
        """What ``call`` makes of every block: arrays of these further dimensions, with their sizes, and types."""
        types = [kind for _, kind in outputs]
        outputs = [(self._free(one), kind) for one, kind in outputs]
        sizes = {self._free(one): size for one, size in sizes.items()}
        if self.is_labelled:
            import xarray

            data = self.data if self.data.chunks is None else self.data.chunk({self.dim: -1})
            return xarray.apply_ufunc(
                call, data, *starts, input_core_dims=[[self.dim], *([] for _ in starts)],
                output_core_dims=[[one] if one else [] for one, _ in outputs], dask="parallelized",
                output_dtypes=types, dask_gufunc_kwargs={"output_sizes": sizes},
            )  # fmt: skip
        if self.is_lazy:
            import dask.array

            data = self.data.rechunk({-1: -1})
            planes = [dask.array.broadcast_to(one, data.shape[:-1]).rechunk(data.chunks[:-1]) for one in starts]
            signature = f"(channel){',()' * len(starts)}->{','.join(f'({one})' for one, _ in outputs)}"
            return dask.array.apply_gufunc(call, signature, data, *planes, output_dtypes=types, output_sizes=sizes)
        return call(self.data, *starts)
