"""How arrays, masks and axes look at a prompt and in a notebook. The text does not grow with the array."""

from __future__ import annotations

import base64
import struct

import numpy as np

from dataprocessing._core import Array1D, Array2D, Axis, Mask1D, Mask2D

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Any

    from numpy.typing import NDArray

_SHOWN = 3  # elements at each end of a line
_WIDTH, _HEIGHT = 360, 90  # of the drawing of a line
_PICTURE = 160  # the longer side of the picture of an image


def _number(x: float) -> str:
    return f"{x:.12g}"


def _word(text: str) -> str:
    """A label on one line, without what a terminal would obey."""
    return "".join(c if c.isprintable() else c.encode("unicode_escape").decode() for c in text)


def _axis_text(axis: Axis, count: int) -> str:
    name = f"{_word(axis.name)} " if axis.name else ""
    unit = f" {_word(axis.unit)}" if axis.unit else ""
    first, last = axis.position(0), axis.position(count)
    ends = _number(first), _number(last)
    if ends[0] == ends[1] and count:  # far from 0 in small steps
        ends = repr(first), repr(last)
    return f"{name}{ends[0]}..{ends[1]}{unit}, delta {_number(axis.delta)}"


def _values_text(values: NDArray[Any]) -> str:
    flat = values.reshape(-1)
    if flat.size <= 2 * _SHOWN + 1:
        return "[" + " ".join(map(_element, flat)) + "]"
    return "[" + " ".join(map(_element, flat[:_SHOWN])) + " ... " + " ".join(map(_element, flat[-_SHOWN:])) + "]"


def _element(value: Any) -> str:
    if isinstance(value, (np.floating, np.complexfloating)):
        return f"{value:.6g}"
    return str(value)


def _kind(self: Any) -> str:
    return "bool" if isinstance(self, (Mask1D, Mask2D)) else str(self.dtype)


def _labels(self: Any) -> str:
    name, unit = getattr(self, "name", ""), getattr(self, "unit", "")
    return (f" {_word(name)}" if name else "") + (f" [{_word(unit)}]" if unit else "")


def text(self: Any) -> str:
    """One line on what it is, one with its first and last elements."""
    axes = "; ".join(_axis_text(axis, count) for axis, count in zip(self.axes, self.shape))
    shape = " x ".join(map(str, self.shape))
    return (
        f"<{type(self).__name__} {_kind(self)} ({shape}){_labels(self)} {axes}\n {_values_text(self.values)}>"
    )


def _finite_limits(values: NDArray[Any]) -> tuple[float, float]:
    finite = values[np.isfinite(values)]
    if finite.size == 0:
        return 0.0, 1.0
    low, high = float(finite.min()), float(finite.max())
    if high > low:
        return low, high
    room = max(0.5, abs(low) * 1e-9)
    return low - room, low + room


def _part(values: NDArray[Any], low: float, high: float) -> NDArray[Any]:
    """How far up the values lie between both; halves do not overflow, and what is least is scaled up."""
    scale = 0.5 if high - low > 1 else 2.0**52
    part: NDArray[Any] = (values * scale - low * scale) / (high * scale - low * scale)
    return part


def _real(values: NDArray[Any]) -> NDArray[Any]:
    real: NDArray[Any] = np.abs(values).astype("f8") if values.dtype.kind == "c" else values.astype("f8")
    return real


def _envelope(values: NDArray[Any]) -> tuple[NDArray[Any], NDArray[Any]]:
    """The least and the largest of the elements behind each column of the drawing."""
    columns = min(_WIDTH, values.size)
    starts = np.linspace(0, values.size, columns, endpoint=False).astype(int)
    clean = np.where(np.isfinite(values), values, np.nan)
    with np.errstate(all="ignore"):
        least, largest = np.fmin.reduceat(clean, starts), np.fmax.reduceat(clean, starts)
        # Columns reach as far as the one before, so that steep flanks have no gaps.
        down = np.where(largest[:-1] < least[1:], largest[:-1], least[1:])
        up = np.where(least[:-1] > largest[1:], least[:-1], largest[1:])
    return np.concatenate([least[:1], down]), np.concatenate([largest[:1], up])


def _line_svg(values: NDArray[Any]) -> str:
    values = _real(values)
    low, high = _finite_limits(values)
    least, largest = _envelope(values)

    def y(v: NDArray[Any]) -> NDArray[Any]:
        return _HEIGHT - 4 - _part(v, low, high) * (_HEIGHT - 8)

    step = _WIDTH / least.size
    bars = "".join(
        f"M{x * step:.1f} {bottom:.1f}V{top:.1f}h{step:.1f}V{bottom:.1f}z"
        for x, (bottom, top) in enumerate(zip(y(least) + 0.5, y(largest) - 0.5))
        if np.isfinite(bottom) and np.isfinite(top)
    )
    return (
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{_WIDTH}" height="{_HEIGHT}" role="img" '
        f'aria-label="from {_number(low)} to {_number(high)}"><path d="{bars}" fill="currentColor"/></svg>'
    )


def _png(grey: NDArray[Any]) -> bytes:
    """A grey picture of 8 bits; matplotlib is too heavy for looking at a value."""
    import zlib

    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows, columns = grey.shape
    lines = b"".join(b"\0" + row.tobytes() for row in grey)
    head = struct.pack(">IIBBBBB", columns, rows, 8, 0, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(lines)) + chunk(b"IEND", b"")


def _picture(values: NDArray[Any]) -> str:
    """The image with row 0 at the bottom, thinned to what is shown."""
    step = max(1, -(-max(values.shape) // _PICTURE))
    thin = _real(values[::step, ::step])
    low, high = _finite_limits(thin)
    grey = np.nan_to_num(np.clip(_part(thin, low, high) * 255, 0, 255)).astype("u1")[::-1]
    data = base64.b64encode(_png(np.ascontiguousarray(grey))).decode()
    scale = max(1, _PICTURE // max(grey.shape))
    return (
        f'<img width="{grey.shape[1] * scale}" height="{grey.shape[0] * scale}" style="image-rendering:pixelated" '
        f'alt="from {_number(low)} to {_number(high)}" src="data:image/png;base64,{data}"/>'
    )


def markup(self: Any) -> str:
    """A table of what it is and a drawing of its elements."""
    import html

    rows = [("type", f"{type(self).__name__} of {_kind(self)}"), ("shape", " x ".join(map(str, self.shape)))]
    for name in ("name", "unit"):
        if getattr(self, name, ""):
            rows.append((name, _word(getattr(self, name))))
    names = ("axis",) if self.ndim == 1 else ("y", "x")
    rows += [(n, _axis_text(axis, count)) for n, axis, count in zip(names, self.axes, self.shape)]
    rows.append(("values", _values_text(self.values)))
    cells = "".join(
        f'<tr><th style="text-align:left">{html.escape(head)}</th>'
        f'<td style="text-align:left">{html.escape(body)}</td></tr>'
        for head, body in rows
    )
    drawing = ""
    if self.size:
        drawing = _line_svg(self.values) if self.ndim == 1 else _picture(self.values)
    return f"<div><table>{cells}</table>{drawing}</div>"


def axis_markup(self: Axis) -> str:
    """The axis as its own text, escaped."""
    import html

    return f"<code>{html.escape(repr(self))}</code>"


_cls: Any
for _cls in (Array1D, Array2D, Mask1D, Mask2D):
    _cls.__repr__ = text
    _cls._repr_html_ = markup
setattr(Axis, "_repr_html_", axis_markup)
