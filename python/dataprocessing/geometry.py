"""Images turned, sheared, mirrored and resized; profiles out of images; axes mapped to other units.

Points are (x, y), angles are radians and counter-clockwise. Warps (``rotate``, ``shear``, ``flip``, ``resize``) take the
nearest element, as the C++ library does; ``rotate_to``, ``shear_to``, ``resize_to`` and ``map_to`` interpolate. Axes may run downward: what a warp makes is then on such axes, and every element lies where it would on
axes that run upward.
"""

from __future__ import annotations

import math
from collections.abc import Callable

import numpy as np

from dataprocessing import _core
from dataprocessing._arrays import _choice, require_array
from dataprocessing._core import Array1D, Array2D, Axis, Interpolation, Ramp
from dataprocessing._ranges import Range, Rect, of_numbers

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Any

__all__ = [
    "Transform", "flip", "line_scan", "map_to", "project", "ramp", "rescale", "resize", "resize_to", "rotate", "rotate_to",
    "shear", "shear_to",
]  # fmt: skip


# ---- Axes that run downward ----------------------------------------------------------------------
# The library's warps and projections take images whose axes run upward.


def _reversed(image: Array2D, which: list[bool]) -> Array2D:
    """The image with its rows, its columns in the opposite order; every element stays at its position."""
    axes = [
        Axis._of(a.offset, -a.delta, n - 1 - a.index, a.name, a.unit) if turned else a
        for a, n, turned in zip(image.axes, image.shape, which)
    ]
    order = tuple(slice(None, None, -1 if turned else 1) for turned in which)
    return Array2D(image.values[order], (axes[0], axes[1]), name=image.name, unit=image.unit)


def _downward(image: Array2D) -> list[bool]:
    return [axis.delta < 0 for axis in image.axes]


def _upward(image: Array2D, what: str) -> Array2D:
    """The image on axes that run upward."""
    require_array(image, what, 2)
    downward = _downward(image)
    return _reversed(image, downward) if any(downward) else image


def _warped(image: Array2D, what: str, warp: Callable[[Array2D], Array2D]) -> Array2D:
    """What a warp of the library makes of the image, on axes that run as those of the image do."""
    made = warp(_upward(image, what))
    downward = _downward(image)
    return _reversed(made, downward) if any(downward) else made


def _area(rect: Rect, image: Array2D) -> Any:
    """What covers those elements on axes that run upward that the rectangle covers on those of the image."""
    y, x = image.axes
    if rect.angle != 0 or (x.delta > 0 and y.delta > 0):
        return rect._rect
    (left, bottom), _, (right, top), _ = rect.corners
    (left, right), (bottom, top) = _covered(left, right, x), _covered(bottom, top, y)
    return _core.rnge_c2DRange(left, bottom, right, top)


def _covered(start: float, end: float, axis: Axis) -> tuple[float, float]:
    """Of an axis that runs downward the upper end belongs to a range, and the lower one does not."""
    if axis.delta > 0:
        return start, end
    return min(start, end) - axis.delta, max(start, end) - axis.delta


def rotate(image: Array2D, angle: float, rect: Rect | None = None) -> Array2D:
    """The image, or the part inside ``rect``, turned about the position (offset x, offset y) of its axes.

    The grid is refined so that few elements are lost. An image with different deltas is turned as its elements are
    laid out: ``image.rescale(d, d)`` first, to turn it as it would look on paper. The angle is in radians; name and
    unit stay. TypeError for what is no image or Rect, SizeError where the result would be too large and for an angle
    that is not finite.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.rotate(dp.Array2D(np.ones((2, 3))), np.pi / 2).shape
        (3, 2)
    """
    if rect is not None and not isinstance(rect, Rect):
        raise TypeError(f"rotate takes a Rect, not {type(rect).__name__}")
    return _warped(image, "rotate", lambda a: _core.warp_rotate(a, angle, None if rect is None else _area(rect, image)))


_INTERPOLATIONS = {
    "nearest": Interpolation.NEAREST,
    "linear": Interpolation.LINEAR,
    "cubic": Interpolation.CUBIC,
}


def rotate_to(
    image: Array2D, angle: float, centre: tuple[float, float] | None = None, *, grid: Array2D | None = None,
    interpolation: str = "linear",
) -> Array2D:  # fmt: skip
    """The image turned by ``angle`` about the position ``centre`` (x, y), without one about its middle.

    The result lies on the elements of the image, or on those of ``grid``, and is right for unequal deltas; what
    comes from outside of the image is 0. ``interpolation`` is "nearest", "linear" or "cubic"; interpolated integers
    become floating. The angle is in radians, the centre in units of the axes. ProgramError for what is not finite,
    ValueError for another ``interpolation``.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.rotate_to(dp.Array2D([[1.0, 2.0], [3.0, 4.0]]), np.pi / 2).values
        array([[3., 1.],
               [4., 2.]])
    """
    require_array(image, "rotate_to", 2)
    return _core.warp_rotate_to(image, angle, centre, grid, _choice(_INTERPOLATIONS, interpolation, "interpolation"))


def resize_to(
    image: Array2D, factor_x: float, factor_y: float, centre: tuple[float, float] | None = None, *,
    grid: Array2D | None = None, interpolation: str = "linear",
) -> Array2D:  # fmt: skip
    """The image stretched by two factors about ``centre``, on its own elements or those of ``grid``: see :func:`rotate_to`.

    DataError for a factor of 0.

        >>> import dataprocessing as dp
        >>> dp.resize_to(dp.Array2D([[0.0, 2.0, 4.0]]), 2.0, 1.0).values
        array([[1., 2., 3.]])
    """
    chosen = _choice(_INTERPOLATIONS, interpolation, "interpolation")
    require_array(image, "resize_to", 2)
    return _core.warp_resize_to(image, factor_x, factor_y, centre, grid, chosen)


def shear_to(
    image: Array2D, angle: float, axis_angle: float = 0.0, centre: tuple[float, float] | None = None, *,
    grid: Array2D | None = None, interpolation: str = "linear",
) -> Array2D:  # fmt: skip
    """The image sheared about ``centre`` along x, turned clockwise by ``axis_angle``: see :func:`rotate_to`.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.shear_to(dp.Array2D(np.eye(3)), 0.0).identical(dp.Array2D(np.eye(3)))
        True
    """
    chosen = _choice(_INTERPOLATIONS, interpolation, "interpolation")
    require_array(image, "shear_to", 2)
    return _core.warp_shear_to(image, angle, axis_angle, centre, grid, chosen)


def map_to(
    image: Array2D, map: Any, *, grid: Array2D | None = None, interpolation: str = "linear",  # noqa: A002
) -> Array2D:  # fmt: skip
    """The image under an affine map: (x, y) comes to lie at ``map @ (x, y, 1)``, of shape (2, 3).

    On the elements of the image, or on those of ``grid``; see :func:`rotate_to`. DataError for a map that cannot be
    inverted.

        >>> import dataprocessing as dp
        >>> dp.map_to(dp.Array2D([[1.0, 2.0, 3.0]]), [[1, 0, 1], [0, 1, 0]]).values
        array([[0., 1., 2.]])
    """
    require_array(image, "map_to", 2)
    return _core.warp_map_to(image, map, grid, _choice(_INTERPOLATIONS, interpolation, "interpolation"))


def shear(image: Array2D, angle: float, axis_angle: float = 0.0) -> Array2D:
    """Elements moved along x, turned clockwise by ``axis_angle``, by tan(angle) times their distance.

    Angles are in radians; name and unit stay. ProgramError for a right angle, TypeError for what is no image.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.shear(dp.Array2D(np.ones((4, 4))), np.pi / 4).shape
        (4, 8)
    """
    return _warped(image, "shear", lambda a: _core.warp_shear(a, angle, axis_angle))


def flip(image: Array2D, angle: float | None = None) -> Array2D:
    """The image mirrored at its calibration origin, or at the line Y turned clockwise by ``angle``.

    In radians; what is mirrored lies at mirrored positions, name and unit stay. TypeError for what is no image.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.flip(dp.Array2D(np.arange(4.0).reshape(2, 2))).values
        array([[0., 0.],
               [0., 3.]])
    """
    if angle is None:
        return _warped(image, "flip", _core.warp_flip_point)
    line: float = angle
    return _warped(image, "flip", lambda a: _core.warp_flip_axis(a, line))


def resize(image: Array2D, factor_x: float, factor_y: float) -> Array2D:
    """The image stretched by these factors about its calibration origin, at the same deltas.

    The shape grows as they say; name and unit stay. A negative factor mirrors. ProgramError for a factor of 0,
    TypeError for what is no image.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.resize(dp.Array2D(np.ones((2, 3))), 2.0, 1.0).shape
        (2, 6)
    """
    return _warped(image, "resize", lambda a: _core.warp_resize(a, factor_x, factor_y))


def rescale(a: Any, *deltas: float) -> Any:
    """``a`` interpolated linearly at other deltas: one, or (x, y) of an image; the range stays.

    Deltas are in units of the axes; name and unit stay. ProgramError for a delta that is 0 or not finite, TypeError
    for another number of deltas and for what is no array.

        >>> import dataprocessing as dp
        >>> dp.rescale(dp.Array1D([1.0, 3.0]), 0.5).values
        array([1., 2., 3., 3.])
    """
    require_array(a, "rescale")
    if len(deltas) != a.ndim:
        raise TypeError(f"{a.ndim} deltas are needed, not {len(deltas)}")
    return a.rescale(*deltas)


def _profile(image: Array2D, rect: Any) -> Array1D:
    """The mean across a rectangle of an image on axes that run upward."""
    y, x = image.axes
    # The library turns elements as they are laid out: unequal deltas have to be equal first, where it turns any.
    if x.delta != y.delta and rect.angle not in (0.0, math.pi, -math.pi):
        delta = min(x.delta, y.delta)
        around = tuple(zip(*rect.corners))
        (left, right), (bottom, top) = ((min(ends), max(ends)) for ends in around)
        near = image.sel(Rect(left - x.delta, bottom - y.delta, right + 2 * x.delta, top + 2 * y.delta), rule="outer")
        part = near if near.size else image[:1, :1]  # what lies outside is 0
        image = (part.astype("f8") if part.dtype.kind in "iu" else part).rescale(delta, delta)
    return _from_zero(_core.proj_project(image, rect))


def _from_zero(profile: Array1D) -> Array1D:
    """The profile with its first element at position 0, whatever the index of the image's axis was."""
    axis = profile.axis
    return profile if axis.index == 0 else profile.with_axes(Axis(0.0, axis.delta, 0, axis.name, axis.unit))


def project(image: Array2D, rect: Rect) -> Array1D:
    """The mean across a rectangle, as a profile along its length, towards larger x where it is upright.

    The result starts at position 0 along the rectangle, with the name and unit of the image. For a turned rectangle an
    image with different deltas is brought to the finer one, linearly in between. TypeError for what is no image or
    Rect, IndexOutOfRangeError for a rectangle without elements.

        >>> import numpy as np, dataprocessing as dp
        >>> dp.project(dp.Array2D(np.arange(6.0).reshape(2, 3)), dp.Rect(0, 0, 3, 2)).values
        array([1.5, 2.5, 3.5])
    """
    if not isinstance(rect, Rect):
        raise TypeError(f"project takes a Rect, not {type(rect).__name__}")
    return _profile(_upward(image, "project"), _area(rect, image))


def line_scan(
    image: Array2D, start: tuple[float, float], end: tuple[float, float], width: float = 1.0
) -> Array1D:
    """The profile from one point to another, averaged over ``width`` across.

    The first point lies at position 0, the length is cut to whole elements. Points and width are in units of the axes;
    an image with different deltas is brought to the finer one, linearly in between, unless the line runs along x. The
    result has the name and unit of the image. TypeError for what is no image or pair, IndexOutOfRangeError for a width
    without elements.

        >>> import numpy as np, dataprocessing as dp
        >>> image = dp.Array2D(np.tile(np.arange(8.0), (6, 1)))
        >>> dp.line_scan(image, (1, 3), (5, 3), 2).values
        array([1., 2., 3., 4.])
    """
    if np.shape(start) != (2,) or np.shape(end) != (2,):
        raise TypeError(f"line_scan takes two points (x, y), not {start!r} and {end!r}")
    (x1, y1), (x2, y2) = start, end
    angle = _core.pos_angle(x1, y1, x2, y2)
    rect = _core.rnge_c2DRange((x2 + x1) / 2, (y2 + y1) / 2, math.hypot(x2 - x1, y2 - y1), width, angle)
    return _profile(_upward(image, "line_scan"), rect)


def ramp(shape: int | tuple[int, int], axes: Any = None, kind: str = "x") -> Any:
    """Positions as values: of a line, or of an image "x", "y", "radius" or "angle". float32.

    Radius and angle are those from position (0, 0), the angle in radians; the result has no unit. ValueError for
    another kind, SizeError for a negative count, TypeError for what is no shape.

        >>> import dataprocessing as dp
        >>> dp.ramp(3, dp.Axis(1.0, 0.5)).values
        array([1. , 1.5, 2. ], dtype=float32)
    """
    if isinstance(shape, (int, np.integer)):
        return _core.ramp_c1d_ramp(shape, Axis() if axes is None else axes)
    kinds = {"x": Ramp.X, "y": Ramp.Y, "radius": Ramp.RADIUS, "angle": Ramp.ANGLE}
    if kind not in kinds:
        raise ValueError(f"kind is one of {', '.join(map(repr, kinds))}, not {kind!r}")
    if np.shape(shape) != (2,):
        raise TypeError(f"a shape is a count or a pair (rows, columns), not {shape!r}")
    rows, columns = shape
    y, x = (Axis(), Axis()) if axes is None else axes
    return _core.ramp_c2d_ramp(kinds[kind], columns, rows, y, x)


class Transform:
    """A linear map from base to derived coordinates: ``derived = base * scale + offset``.

    ``offset`` and ``scale`` bring the units of the one to those of the other. Called with a number, a Range, an Axis
    or an Array1D it gives the like. TypeError for anything else.

        >>> import dataprocessing as dp
        >>> to_ev = dp.Transform(scale=1000.0)
        >>> to_ev(6.4), to_ev.inverse(6400.0)
        (6400.0, 6.4)
    """

    def __init__(self, offset: float = 0.0, scale: float = 1.0) -> None:
        self._core = of_numbers(_core.trns_cCoordTransformation, "a Transform", offset, scale)

    @classmethod
    def between(cls, base: Range, derived: Range) -> Transform:
        """The map that takes one range to another. DataError for a base range that is empty or backward.

        Both in their own units. TypeError for what is no Range.

            >>> import dataprocessing as dp
            >>> dp.Transform.between(dp.Range(0, 1), dp.Range(10, 30))(0.5)
            20.0
        """
        made = cls()
        made._core = _core.trns_cCoordTransformation(base._range, derived._range)
        return made

    @property
    def offset(self) -> float:
        """What base 0 becomes."""
        return self._core.offset

    @property
    def scale(self) -> float:
        """Derived units per base unit."""
        return self._core.scale

    def __call__(self, x: Any) -> Any:
        """From base to derived: a number, a Range, an Axis, or an array, which gets another axis."""
        if isinstance(x, Range):
            return Range._of(_core.trns_transform_from_base(x._range, self._core))
        if isinstance(x, Axis):
            return Axis(self(x.offset), x.delta * self.scale, x.index, x.name)
        if isinstance(x, Array1D):
            return x.with_axes(self(x.axis))
        if isinstance(x, Array2D):
            raise TypeError("an image has two axes; image.with_axes(y, transform(x)) maps one of them")
        return self._core.transform_from_base(x)

    def inverse(self, y: Any) -> Any:
        """From derived to base: a number or a Range.

        In base units. ProgramError for a scale of 0, TypeError for anything else.

            >>> import dataprocessing as dp
            >>> dp.Transform(offset=1.0, scale=2.0).inverse(dp.Range(1, 5))
            Range(0.0, 2.0)
        """
        if isinstance(y, Range):
            return Range._of(_core.trns_transform_to_base(y._range, self._core))
        return self._core.transform_to_base(y)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Transform):
            return NotImplemented
        return (self.offset, self.scale) == (other.offset, other.scale)

    def __hash__(self) -> int:
        return hash((self.offset, self.scale))

    def __reduce__(self) -> tuple[type[Transform], tuple[float, float]]:
        return Transform, (self.offset, self.scale)

    def __repr__(self) -> str:
        return f"Transform(offset={self.offset!r}, scale={self.scale!r})"
