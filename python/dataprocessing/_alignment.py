"""How operands on different axes meet."""

from __future__ import annotations

from contextvars import Token
from types import TracebackType

from dataprocessing._core import _alignment_mode

TYPE_CHECKING = False  # see __init__
if TYPE_CHECKING:
    from typing import Literal

__all__ = ["alignment"]


class alignment:  # noqa: N801, a context manager that reads like a statement
    """What happens in this block where two arrays lie on different axes.

    ``"auto"`` (the default everywhere) resamples the coarser one and fills up with zeros; ``"exact"`` raises
    ValueError instead. It holds for the calling thread or task alone. Units are compared either way, with UnitError.
    ValueError for another word.

        >>> import dataprocessing as dp
        >>> a = dp.Array1D([1.0, 2.0]); b = dp.Array1D([1.0, 2.0], dp.Axis(1.0))
        >>> (a + b).values
        array([1., 3., 2.])
        >>> with dp.alignment("exact"):
        ...     a + b
        Traceback (most recent call last):
          ...
        ValueError: the axes [0.0, 2.0) in steps of 1.0 and [1.0, 3.0) in steps of 1.0 differ, and alignment("exact") asks for equal ones
    """

    def __init__(self, mode: Literal["auto", "exact"]) -> None:
        if mode not in ("auto", "exact"):
            raise ValueError(f'alignment is "auto" or "exact", not {mode!r}')
        self._mode = mode
        self._tokens: list[Token[str]] = []

    def __enter__(self) -> alignment:
        self._tokens.append(_alignment_mode.set(self._mode))
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        _alignment_mode.reset(self._tokens.pop())
