"""Exceptions for the library's failures, one class per last-error code."""

from __future__ import annotations

from typing import Dict, Optional, Type

# The public header's XDSP_ERROR_* values.
#: No error.
ERROR_SUCCESS = 0
#: No device or virtual device at the path.
ERROR_FILE_NOT_FOUND = 2
#: The user may not open the device.
ERROR_ACCESS_DENIED = 5
#: No link running; a device that went away.
ERROR_INVALID_HANDLE = 6
#: An upload could not read the file table again.
ERROR_FILE_TABLE_LOST = 7
#: An upload's format step failed.
ERROR_FORMAT_FAILED = 11
#: The device is held by another handle.
ERROR_SHARING_VIOLATION = 32
#: A close found nothing open.
ERROR_NOT_OPEN = 55
#: An argument that would run past a buffer.
ERROR_INVALID_PARAMETER = 87
#: A virtual device's pipe is held by another handle (Windows).
ERROR_PIPE_BUSY = 231
#: No answer in time, or the board's error bit.
ERROR_INTERNAL = 1359
#: An upload's checksums differ.
ERROR_CHECKSUM_MISMATCH = 0x8009700D

_CODE_TEXTS: Dict[int, str] = {
    ERROR_SUCCESS: "no error code",
    ERROR_FILE_NOT_FOUND: "no device or virtual device at the path",
    ERROR_ACCESS_DENIED: "access denied: this user may not open the device",
    ERROR_INVALID_HANDLE: "no link to a board is running",
    ERROR_FILE_TABLE_LOST: "the boot loader's file table could not be read again",
    ERROR_FORMAT_FAILED: "the boot loader could not format the file",
    ERROR_SHARING_VIOLATION: "the device is held by another handle",
    ERROR_NOT_OPEN: "no board is open",
    ERROR_INVALID_PARAMETER: "an argument does not fit",
    ERROR_PIPE_BUSY: "the device is held by another handle",
    ERROR_INTERNAL: "no answer in time, or the board reported an error",
    ERROR_CHECKSUM_MISMATCH: "the board's checksum differs from the data's",
}


def code_text(code: Optional[int]) -> str:
    """A short description of a last-error code."""
    if code is None:
        return "no error code"
    return _CODE_TEXTS.get(code, f"error {code}")


class BoardError(Exception):
    """A library call failed. `code` is its last-error code (None when the
    failure shows in the result alone), `text` what went wrong."""

    def __init__(self, text: str, code: Optional[int] = None) -> None:
        super().__init__(text)
        self.code = code
        self.text = text

    def __str__(self) -> str:
        if self.code is None:
            return self.text
        # HRESULT-style codes read best in hex, system codes in decimal.
        shown = f"{self.code:#x}" if self.code > 0xFFFF else str(self.code)
        return f"{self.text} (error {shown})"


class NotFoundError(BoardError):
    """Nothing answers at the device path (2)."""


class PermissionDeniedError(BoardError):
    """The user may not open the device (5)."""


class NoLinkError(BoardError):
    """No link to a board is running: it is closed or went away (6, 55)."""


#: Another name of NoLinkError.
NotOpenError = NoLinkError


class BusyError(BoardError):
    """The device is held by another handle or process (32)."""


class InvalidArgumentError(BoardError):
    """The library refused an argument that would run past a buffer (87)."""


#: Another name of InvalidArgumentError.
InvalidArgument = InvalidArgumentError


class TimeoutError(BoardError):  # noqa: A001 - xdsp.TimeoutError, as callers expect
    """An awaited answer did not come, or the board reported an error (1359)."""


class BootLoaderError(BoardError):
    """The DSP's boot loader did not answer as expected."""


class FileTableLostError(BootLoaderError):
    """An upload changed the file table and could not read it again (7)."""


class FormatFailedError(BootLoaderError):
    """An upload stopped because the file's area could not be formatted (11)."""


class ChecksumMismatch(BootLoaderError):
    """The board's checksum of an uploaded file differs from the data's (0x8009700D)."""


class AudioError(BoardError):
    """The audio firmware did not answer."""


class BoardInUseError(BoardError):
    """A board is already open in this process; the library holds one at a time."""


_CLASSES: Dict[int, Type[BoardError]] = {
    ERROR_FILE_NOT_FOUND: NotFoundError,
    ERROR_ACCESS_DENIED: PermissionDeniedError,
    ERROR_INVALID_HANDLE: NoLinkError,
    ERROR_NOT_OPEN: NoLinkError,
    ERROR_SHARING_VIOLATION: BusyError,
    ERROR_PIPE_BUSY: BusyError,
    ERROR_INVALID_PARAMETER: InvalidArgumentError,
    ERROR_INTERNAL: TimeoutError,
    ERROR_FILE_TABLE_LOST: FileTableLostError,
    ERROR_FORMAT_FAILED: FormatFailedError,
    ERROR_CHECKSUM_MISMATCH: ChecksumMismatch,
}


def error_for(code: int, what: str, detail: str = "",
              fallback: Type[BoardError] = BoardError) -> BoardError:
    """The exception for a failed call: the class its code names (else
    `fallback`), with what was being done, the code's text and any message the
    library showed during the call."""
    if code == ERROR_SUCCESS:
        # The failure shows in the result alone.
        return fallback(f"{what}: {detail}" if detail else what)
    text = f"{what}: {code_text(code)}"
    if detail:
        text += f": {detail}"
    return _CLASSES.get(code, fallback)(text, code)
