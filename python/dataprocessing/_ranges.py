"""Stretches of an axis and rectangles of a plane, which tell when they change."""

from __future__ import annotations

import contextlib
import math
from collections.abc import Callable

from dataprocessing._core import rnge_c1DRange, rnge_c2DRange

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import TypeVar

    T = TypeVar("T")

__all__ = ["Range", "Rect", "Subscription"]


class Subscription:
    """What ``on_change`` gives: :meth:`cancel` ends it, and so does leaving a ``with`` block.

    It ends, too, when its range or selection goes.

        >>> import dataprocessing as dp
        >>> window = dp.Range(0, 1)
        >>> with window.on_change(print):
        ...     window.end = 2
        Range(0.0, 2.0)
        >>> window.end = 3
    """

    def __init__(self, subscriptions: list[Subscription], function: Callable[..., object]) -> None:
        self._subscriptions = subscriptions
        self._function = function
        subscriptions.append(self)

    def cancel(self) -> None:
        """Ends it. The function is not called again; a second time does nothing.

            >>> import dataprocessing as dp
            >>> window = dp.Range(0, 1)
            >>> subscription = window.on_change(print)
            >>> subscription.cancel()
            >>> window.end = 2
        """
        with contextlib.suppress(ValueError):
            self._subscriptions.remove(self)

    def __enter__(self) -> Subscription:
        return self

    def __exit__(self, *error: object) -> None:
        self.cancel()


def tell(subscriptions: list[Subscription], what: object) -> None:
    """Calls all functions; not those that an earlier one has cancelled."""
    for subscription in list(subscriptions):
        if subscription in subscriptions:
            subscription._function(what)


def of_numbers(kind: Callable[..., T], what: str, *numbers: float) -> T:
    """An object of the library made of numbers; TypeError that names ours."""
    try:
        return kind(*numbers)
    except TypeError:
        raise TypeError(f"{what} takes numbers, not {', '.join(map(repr, numbers))}") from None


def _is_inside(x: float, start: float, end: float) -> bool:
    return end < x <= start if end < start else start <= x < end


class Range:
    """The positions from ``start`` to but without ``end``, which may be the lower one, as on an axis that runs downward.

    Whoever asked by :meth:`on_change` hears of every change, once, on the thread that makes it. Positions are in the
    unit of the axis that they are used with. ``a & b`` is what both have, ``a | b`` the hull; they run downward where
    both do. TypeError for ends that are no numbers.

        >>> import dataprocessing as dp
        >>> window = dp.Range(6.3, 6.5)
        >>> heard = window.on_change(lambda range: print("now", range))
        >>> window.end = 6.6
        now Range(6.3, 6.6)
        >>> 6.3 in window, 6.6 in window
        (True, False)
    """

    __slots__ = ("_subscriptions", "_range", "__weakref__")

    def __init__(self, start: float = 0.0, end: float = 0.0) -> None:
        self._range = of_numbers(rnge_c1DRange, "a Range", start, end)
        self._subscriptions: list[Subscription] = []

    @property
    def start(self) -> float:
        """The first position."""
        return self._range.start

    @start.setter
    def start(self, start: float) -> None:
        self.set(start, self.end)

    @property
    def end(self) -> float:
        """Where it ends; that position is outside."""
        return self._range.end

    @end.setter
    def end(self, end: float) -> None:
        self.set(self.start, end)

    def set(self, start: float, end: float) -> None:
        """Sets both; whoever listens hears of it once, and not at all when nothing changes.

        In units of the axis. TypeError for what is no number; then neither changes.

            >>> import dataprocessing as dp
            >>> window = dp.Range(0, 1)
            >>> window.set(2, 5)
            >>> window
            Range(2.0, 5.0)
        """
        before = (self.start, self.end)
        after = of_numbers(rnge_c1DRange, "a Range", start, end)
        self._range = after
        if any(
            not (a == b or (math.isnan(a) and math.isnan(b))) for a, b in zip(before, (after.start, after.end))
        ):
            tell(self._subscriptions, self)

    @property
    def length(self) -> float:
        """``end - start``."""
        return self._range.length()

    def __contains__(self, x: float) -> bool:
        return _is_inside(x, self.start, self.end)

    def intersects(self, other: Range) -> bool:
        """Whether both have positions in common.

        Both in units of one axis. TypeError for what is no Range.

            >>> import dataprocessing as dp
            >>> dp.Range(0, 2).intersects(dp.Range(1, 3))
            True
        """
        if not isinstance(other, Range):
            raise TypeError(f"intersects takes a Range, not {type(other).__name__}")
        return self._upward().intersects(other._upward())

    def __and__(self, other: Range) -> Range:
        if not isinstance(other, Range):
            return NotImplemented
        if not (self._is_downward and other._is_downward):
            return Range._of(self._upward().intersection(other._upward()))
        start = min(self.start, other.start)
        return Range(start, min(start, max(self.end, other.end)))

    def __or__(self, other: Range) -> Range:
        if not isinstance(other, Range):
            return NotImplemented
        if self._is_downward and other._is_downward:
            return Range._of(self._range.union(other._range))
        return Range._of(self._upward().union(other._upward()))

    @property
    def _is_downward(self) -> bool:
        return self.end < self.start

    def _upward(self) -> rnge_c1DRange:
        return rnge_c1DRange(self.end, self.start) if self._is_downward else self._range

    @classmethod
    def _of(cls, core: rnge_c1DRange) -> Range:
        return cls(core.start, core.end)

    def on_change(self, function: Callable[[Range], object]) -> Subscription:
        """Calls ``function(range)`` after every change, until the subscription is cancelled.

        What the function raises comes through at the change: the range has changed all the same, and functions that
        asked later are not called. TypeError at the first change for what cannot be called.

            >>> import dataprocessing as dp
            >>> window = dp.Range(0, 1)
            >>> _ = window.on_change(print)
            >>> window.start = -1
            Range(-1.0, 1.0)
        """
        return Subscription(self._subscriptions, function)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Range):
            return NotImplemented
        return self.start == other.start and self.end == other.end

    __hash__ = None  # type: ignore[assignment]  # it changes

    def __iter__(self):  # type: ignore[no-untyped-def]
        """Start and end, so that a range unpacks like a pair."""
        return iter((self.start, self.end))

    def __repr__(self) -> str:
        return f"Range({self.start!r}, {self.end!r})"

    def __reduce__(self) -> tuple[type[Range], tuple[float, float]]:
        return Range, (self.start, self.end)


class Rect:
    """A rectangle, upright by its sides or turned round its centre.

    ``Rect(left, bottom, right, top)``, or ``Rect.turned(x, y, length, width, angle)``; the angle is in radians,
    counter-clockwise, all else in units of the axes. Sides may be given from the upper to the lower one, as those of an
    image on axes that run downward are. It tells of changes as a :class:`Range` does. TypeError for what is no number.

        >>> import dataprocessing as dp
        >>> frame = dp.Rect(0, 0, 2, 1)
        >>> (1.0, 0.5) in frame
        True
        >>> heard = frame.on_change(lambda rect: print("now", rect))
        >>> frame.set(0, 0, 4, 1)
        now Rect(0, 0, 4, 1)
    """

    __slots__ = ("_subscriptions", "_rect", "_made_of", "__weakref__")

    def __init__(self, left: float = 0.0, bottom: float = 0.0, right: float = 0.0, top: float = 0.0) -> None:
        self._subscriptions: list[Subscription] = []
        self._make((left, bottom, right, top))

    @classmethod
    def turned(cls, x: float, y: float, length: float, width: float, angle: float) -> Rect:
        """A rectangle round (x, y), ``length`` along its own first axis, turned by ``angle``.

        The angle is in radians, counter-clockwise, all else in units of the axes. TypeError for what is no number.

            >>> import dataprocessing as dp
            >>> dp.Rect.turned(0, 0, 4, 2, 0).corners[0]
            (-2.0, -1.0)
        """
        rect = cls()
        rect._make((x, y, length, width, angle))
        return rect

    def _make(self, numbers: tuple[float, ...]) -> None:
        self._rect = of_numbers(rnge_c2DRange, "a Rect", *numbers)
        self._made_of = numbers

    def set(self, *numbers: float) -> None:
        """Sets all sides, ``(left, bottom, right, top)``, or makes it turned, ``(x, y, length, width, angle)``.

        Whoever listens hears of it once, and not at all when nothing changes. TypeError for another count. See
        ``Rect`` for units.

            >>> import dataprocessing as dp
            >>> frame = dp.Rect(0, 0, 2, 1)
            >>> frame.set(0, 0, 4, 4)
            >>> frame.center
            (2.0, 2.0)
        """
        if len(numbers) not in (4, 5):
            raise TypeError(f"a rectangle is set by four numbers, or five where it is turned, not by {len(numbers)}")
        before = self._geometry()
        self._make(numbers)
        if self._geometry() != before:
            tell(self._subscriptions, self)

    def on_change(self, function: Callable[[Rect], object]) -> Subscription:
        """Calls ``function(rect)`` after every change, until the subscription is cancelled.

        See ``Range.on_change``, also for its errors.

            >>> import dataprocessing as dp
            >>> frame = dp.Rect(0, 0, 2, 1)
            >>> _ = frame.on_change(print)
            >>> frame.set(0, 0, 1, 1)
            Rect(0, 0, 1, 1)
        """
        return Subscription(self._subscriptions, function)

    def _geometry(self) -> tuple[object, ...]:
        return (self.corners, self.angle)

    @property
    def corners(self) -> tuple[tuple[float, float], ...]:
        """The left, bottom, right and top corner, each (x, y)."""
        return self._rect.corners

    @property
    def center(self) -> tuple[float, float]:
        """The centre, (x, y)."""
        return self._rect.center

    @property
    def length(self) -> float:
        """The side along the rectangle's own first axis."""
        return self._rect.length

    @property
    def width(self) -> float:
        """The other side."""
        return self._rect.width

    @property
    def angle(self) -> float:
        """By how much it is turned, in radians, counter-clockwise."""
        return self._rect.angle

    def __contains__(self, point: tuple[float, float]) -> bool:
        x, y = point
        if self.angle != 0:
            return self._rect.contains(x, y)
        (left, bottom), _, (right, top), _ = self.corners
        return _is_inside(x, left, right) and _is_inside(y, bottom, top)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Rect):
            return NotImplemented
        return self._geometry() == other._geometry()

    __hash__ = None  # type: ignore[assignment]  # it changes

    def __repr__(self) -> str:
        name = "Rect" if len(self._made_of) == 4 else "Rect.turned"
        return f"{name}({', '.join(map(repr, self._made_of))})"

    def __reduce__(self) -> tuple[Callable[..., Rect] | type[Rect], tuple[float, ...]]:
        return (Rect if len(self._made_of) == 4 else Rect.turned), self._made_of
