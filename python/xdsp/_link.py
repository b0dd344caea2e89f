"""What every part of an open board shares."""

from __future__ import annotations

from typing import Callable, Optional, Type, TypeVar

from . import errors
from ._native import diagnostics, library

T = TypeVar("T")


def checked_range(value: int, low: int, high: int, what: str) -> int:
    if not low <= value <= high:
        raise ValueError(f"{what} must be {low} to {high}, not {value}")
    return value


class Link:
    """What every part of an open board shares: the open flag and the way a
    failed call becomes an exception."""

    def __init__(self, path: str) -> None:
        self.path = path
        self.open = False

    def call(self, what: str, function: Callable[[], T]) -> T:
        """Runs function with a cleared last-error after checking the board is open."""
        if not self.open:
            raise errors.NoLinkError(f"{what}: the board at {self.path} is closed",
                                     errors.ERROR_INVALID_HANDLE)
        diagnostics.begin_call()
        library().clear_last_error()
        return function()

    def failure(self, what: str, code: Optional[int] = None,
                fallback: Type[errors.BoardError] = errors.BoardError) -> errors.BoardError:
        """The exception for the call that just failed on this thread."""
        found = library().last_error() if code is None else code
        return errors.error_for(found, what, diagnostics.said(), fallback)
