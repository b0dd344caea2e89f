"""Exceptions for the board API's statuses, one class per status where a
caller would tell them apart."""

from __future__ import annotations

import builtins
import enum
from typing import Any, Dict, Optional, Tuple, Type


class Status(enum.IntEnum):
    """What a board API call returns (the C header's ``xdsp_status``)."""

    OK = 0
    NOT_FOUND = -1
    BUSY = -2
    NO_PERMISSION = -3
    LINK_LOST = -4
    NO_ANSWER = -5
    BOARD_ERROR = -6
    CHECKSUM_MISMATCH = -7
    FORMAT_FAILED = -8
    FILE_TABLE_LOST = -9
    INVALID_ARGUMENT = -10
    CLOSED = -11
    CANCELLED = -12
    NO_MEMORY = -13
    SYSTEM = -14


def as_status(value: int) -> int:
    """value as a `Status`; unchanged when the package does not know it."""
    try:
        return Status(value)
    except ValueError:
        return value


class BoardError(OSError):
    """A board API call failed.

    `status` is the call's `Status` (a plain int for one this package does not
    know), `operation` the call, `text` the library's text for the status,
    `path` the board's path (None for calls that concern no board) and
    `detail` what the board's log or message said about the failure ("" when
    nothing)."""

    def __init__(self, operation: str, status: int, text: str = "") -> None:
        super().__init__(operation)
        self.status = as_status(status)
        self.operation = operation
        self.text = text
        self.path: Optional[str] = None
        self.detail = ""

    def __str__(self) -> str:
        parts = [self.path, self.operation, self.text, self.detail]
        return ": ".join(part for part in parts if part)

    def __reduce__(self) -> Tuple[Any, ...]:
        return type(self), (self.operation, self.status, self.text), self.__dict__


class NotFoundError(BoardError, FileNotFoundError):
    """Nothing at the path."""


class BusyError(BoardError):
    """The board is open elsewhere, in this process or another."""


class PermissionDeniedError(BoardError, PermissionError):
    """This user may not open the board."""


class LinkLostError(BoardError):
    """The board went away; its link reopens it when it comes back."""


class TimeoutError(BoardError, builtins.TimeoutError):  # noqa: A001 - xdsp.TimeoutError
    """The board, its boot loader or its audio firmware did not answer as asked
    in time; ``except TimeoutError`` catches it too."""


class BoardReportedError(BoardError):
    """The board set its error bit after the command."""


class BootLoaderError(BoardError):
    """An upload through the boot loader failed on the board's side."""


class ChecksumMismatch(BootLoaderError):
    """The board's checksum of an uploaded file differs from the data's."""


class FormatFailedError(BootLoaderError):
    """An upload could not format its file's area."""


class FileTableLostError(BootLoaderError):
    """The boot loader's file table could not be read."""


class InvalidArgumentError(BoardError):
    """The library refused an argument: out of range, or too long for a report."""


class ClosedError(BoardError):
    """The board was closed before the call."""


class CancelledError(BoardError):
    """An upload was cancelled by its progress callback."""


_CLASSES: Dict[int, Type[BoardError]] = {
    Status.NOT_FOUND: NotFoundError,
    Status.BUSY: BusyError,
    Status.NO_PERMISSION: PermissionDeniedError,
    Status.LINK_LOST: LinkLostError,
    Status.NO_ANSWER: TimeoutError,
    Status.BOARD_ERROR: BoardReportedError,
    Status.CHECKSUM_MISMATCH: ChecksumMismatch,
    Status.FORMAT_FAILED: FormatFailedError,
    Status.FILE_TABLE_LOST: FileTableLostError,
    Status.INVALID_ARGUMENT: InvalidArgumentError,
    Status.CLOSED: ClosedError,
    Status.CANCELLED: CancelledError,
}


def error_for(status: int, operation: str, text: str = "") -> BoardError:
    """The exception for a failed status: the class it names, else BoardError."""
    return _CLASSES.get(status, BoardError)(operation, status, text)
