"""Planes in a file, block by block: memory holds what is at work, and what is there need not be made again."""

from __future__ import annotations

import contextlib
import itertools
import json
import math
import os
import pathlib
from collections.abc import Iterator
from typing import TYPE_CHECKING, Any

import numpy as np

from dataprocessing._map_blocks import Planes, named

if TYPE_CHECKING:
    from numpy.typing import NDArray

_MISSING = 255  # in the plane of status: this block was not computed yet
_FILL = {"f": math.nan, "i": -1, "u": _MISSING}
_LAST = "status"


def _is_hdf5(path: str) -> bool:
    return pathlib.PurePath(path).suffix in (".h5", ".hdf5")


@contextlib.contextmanager
def _opened(path: str, mode: str) -> Iterator[Any]:
    """A group of arrays: an HDF5 file, which one process writes at a time, or a folder by zarr."""
    if not _is_hdf5(path):
        import zarr

        yield zarr.open_group(path, mode=mode)
        return
    import h5py
    from dask.utils import SerializableLock

    with SerializableLock(path), h5py.File(path, mode) as file:
        yield file


def _write(path: str, region: tuple[slice, ...], names: list[str], *blocks: NDArray[Any]) -> int:
    with _opened(path, "r+") as group:
        for name, block in zip(names, blocks):
            group[name][region] = block
    return 1


def _count(written: list[int]) -> int:
    return len(written)


def _stacks(planes: Planes) -> dict[str, Any]:
    """Arrays of all planes of a kind, which dask cuts along the map alone, the status last."""
    import dask.array

    kept: dict[str, Any] | None = getattr(planes, "_stacks", None)
    if kept is None:
        raise TypeError("planes are stored as a fit made them, before they are computed or taken apart")
    stacks = {name: one if isinstance(one, np.ndarray) else getattr(one, "data", one) for name, one in kept.items()}
    made = {}
    for name in [*(name for name in stacks if name != _LAST), _LAST]:
        stack = stacks[name]
        lazy = stack if isinstance(stack, dask.array.Array) else dask.array.from_array(np.asarray(stack), chunks=-1)
        made[name] = lazy
    return made


def _regions(chunks: tuple[tuple[int, ...], ...]) -> list[tuple[slice, ...]]:
    ends = [np.cumsum([0, *sizes]).tolist() for sizes in chunks]
    return list(itertools.product(*([slice(a, b) for a, b in zip(one, one[1:])] for one in ends)))


def _holds_nothing(path: str) -> bool:
    """Whether nothing is there that anybody could miss."""
    if os.path.isdir(path):
        return not set(os.listdir(path)) - {".zgroup", ".zattrs"}
    return not os.path.exists(path) or (os.path.isfile(path) and os.path.getsize(path) == 0)


def _about(path: str) -> str | None:
    """What the planes there are said to be; None where there are none."""
    try:
        with _opened(path, "r") as group:
            return str(group.attrs["planes"])
    except (KeyError, OSError, ValueError):
        return None


def _read_by(stacks: dict[str, Any]) -> set[str]:
    """The files that planes are going to be computed from, as far as dask knows them."""
    found = set()
    parts = [value for stack in stacks.values() for value in dict(stack.__dask_graph__()).values()]
    while parts:
        part = parts.pop()
        if isinstance(part, (tuple, list)):
            parts += part
            continue
        file = getattr(getattr(part, "file", None), "filename", None)
        read = getattr(getattr(part, "store", None), "path", file)
        if isinstance(read, str):
            found.add(os.path.abspath(read))
    return found


def _refuse_loss(path: str, stacks: dict[str, Any]) -> None:
    """Planes take the place of planes alone, and not of what they are made from."""
    if not _holds_nothing(path) and _about(path) is None:
        raise ValueError(f"{path} holds something else than planes; it stays as it is")
    if any((read + os.sep).startswith(path + os.sep) for read in _read_by(stacks)):
        raise ValueError(f"these planes are computed from what {path} holds; store them elsewhere")


def _prepare(path: str, stacks: dict[str, Any], about: dict[str, Any], resume: bool) -> Any:
    """Makes the arrays, or looks whether those that are there are these; which blocks are done."""
    status = stacks[_LAST]
    sizes = tuple(one[0] for one in status.chunks)
    text = json.dumps({**about, "chunks": list(sizes)}, sort_keys=True)
    _refuse_loss(path, stacks)
    if resume and not _holds_nothing(path):
        with _opened(path, "r") as group:
            if group.attrs["planes"] != text:
                raise ValueError(f"{path} holds planes of another fit, another map, or other chunks")
            if all(name in group for name in stacks):  # or it ended before there were any
                done = group[_LAST][...] != _MISSING
                return [bool(done[region].all()) for region in _regions(status.chunks)]
    with _opened(path, "w") as group:
        group.attrs["planes"] = text
        for name, stack in stacks.items():
            make = group.create_dataset if _is_hdf5(path) else group.create
            further = stack.shape[status.ndim :]
            make(
                name, shape=stack.shape, chunks=(*sizes, *further) if stack.size and sizes else None, dtype=stack.dtype,
                **{"fillvalue" if _is_hdf5(path) else "fill_value": _FILL[stack.dtype.kind]},
            )  # fmt: skip
    return [False] * len(_regions(status.chunks))


def store(planes: Planes, path: str | os.PathLike[str], *, resume: bool = False, compute: bool = True) -> Any:
    """Computes the planes of a map block by block, each into its place in a file; how many blocks were computed.

    ``path`` ends in .h5 or .hdf5 for an HDF5 file, which threads of one process may write; otherwise it is a folder
    that zarr makes, for threads, processes and machines that share it. Memory holds the blocks that are at work, and
    what dask reads ahead. Planes that were there are replaced, or with ``resume`` looked at: blocks that are there are
    not computed again. With ``compute=False`` nothing is computed yet, and a dask.delayed object comes back, which counts
    the blocks once it is computed. Needs dask, and zarr or h5py.

    ValueError for chunks of several sizes in a folder (``data.rechunk`` makes them equal); for a path that holds
    anything else than planes, or the very planes or map that these are computed from; and for a file of another fit
    when it is resumed, which looks at the values of ``starts`` unless they are lazy, as it does not look at the map's.
    TypeError for planes that were computed already.

        >>> import tempfile, dask.array, numpy as np, dataprocessing as dp
        >>> folder = tempfile.TemporaryDirectory()
        >>> data = dask.array.from_array(np.array([[1, 2, 3], [4, 5, 6]]), (1, 3))
        >>> planes = dp.maps.integrate(data, {"Fe": (1, 2)})
        >>> dp.maps.store(planes, f"{folder.name}/fe.zarr", resume=True)
        2
    """
    import dask
    from dask.delayed import Delayed
    from dask.highlevelgraph import HighLevelGraph

    where = os.path.abspath(os.fspath(path))
    stacks = _stacks(planes)
    status = stacks[_LAST]
    for sizes in status.chunks:
        even = all(size == sizes[0] for size in sizes[:-1]) and sizes[-1] <= sizes[0]
        if not even and not _is_hdf5(where):
            raise ValueError(f"chunks of {sizes} elements; those of a folder have one size, but for the last")
    about = {
        "names": list(planes.values), "peaks": list(planes.areas), "fixed": planes.fixed, "shape": list(status.shape),
        "stacks": list(stacks), "made_by": getattr(planes, "_made_by"),
    }  # fmt: skip
    done = _prepare(where, stacks, about, resume)
    name = f"store-{os.urandom(8).hex()}"
    tasks: dict[Any, Any] = {}
    blocks = itertools.product(*(range(len(sizes)) for sizes in status.chunks))
    for k, (block, region) in enumerate(zip(blocks, _regions(status.chunks))):
        if not done[k]:
            keys = [(one.name, *block, *(0,) * (one.ndim - status.ndim)) for one in stacks.values()]
            tasks[(name, k)] = (_write, where, region, list(stacks), *keys)
    end = f"{name}-end"
    # One plain graph, which every scheduler reads alike.
    graph = HighLevelGraph.from_collections(
        end, {**tasks, end: (_count, list(tasks))}, dependencies=dask.optimize(*stacks.values())
    )
    delayed = Delayed(end, graph.to_dict())
    return delayed.compute() if compute else delayed


def load(path: str | os.PathLike[str]) -> Planes:
    """The planes that :func:`store` wrote, as dask arrays, which read what is asked for.

    What was not computed yet is NaN, with a ``status`` of 255. FileNotFoundError and what zarr and h5py raise for a
    file that is none.

        >>> import tempfile, dask.array, numpy as np, dataprocessing as dp
        >>> folder = tempfile.TemporaryDirectory()
        >>> data = dask.array.from_array(np.array([[1, 2, 3], [4, 5, 6]]), (1, 3))
        >>> _ = dp.maps.store(dp.maps.integrate(data, {"Fe": (1, 2)}), f"{folder.name}/fe.zarr")
        >>> dp.maps.load(f"{folder.name}/fe.zarr")["Fe"].compute()
        array([ 5., 11.])
    """
    import dask.array

    where = os.path.abspath(os.fspath(path))
    if not os.path.exists(where):
        raise FileNotFoundError(where)
    if _is_hdf5(where):
        import h5py

        group = h5py.File(where, "r")
    else:
        import zarr

        group = zarr.open_group(where, mode="r")
    about = json.loads(group.attrs["planes"])
    chunks = [size or 1 for size in about["chunks"]]
    out = {}
    for one in about["stacks"]:
        stack = group[one]
        out[one] = dask.array.from_array(stack, chunks=(*chunks, *stack.shape[len(chunks) :]))
    values, errors = named(out["values"], about["names"]), named(out["errors"], about["names"])
    areas, area_errors = (
        named(out[one], about["peaks"]) if one in out else {} for one in ("areas", "area_errors")
    )
    return Planes(
        values, errors, out.get("iterations"), out["status"], out.get("chi_square"), areas, area_errors, about["fixed"]
    )
