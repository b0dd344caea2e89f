"""An open board's handle, which every call on the board goes through."""

from __future__ import annotations

import contextlib
import ctypes
import logging
import signal
import threading
from collections import deque
from typing import Any, Deque, Iterator, Tuple

from . import errors
from ._native import (BoardOptions, BoardPointer, LogCallback, decode, library,
                      status_text)

logger = logging.getLogger("xdsp.board")

LINES_KEPT = 32
MESSAGE_BYTES = 1024


def checked_range(value: int, low: int, high: int, what: str) -> int:
    """value, or ValueError when it is outside low to high (ctypes would cut it)."""
    if not low <= value <= high:
        raise ValueError(f"{what} must be {low} to {high}, not {value}")
    return value


def byte_buffer(data: bytes) -> "ctypes.Array[ctypes.c_uint8]":
    """A copy of data for the library; one byte long when data is empty, so
    that the pointer is never NULL."""
    return (ctypes.c_uint8 * max(len(data), 1)).from_buffer_copy(bytes(data) or b"\0")


class Handle:
    """The board's own xdsp_board handle, its log and its last message.

    A call takes a turn on the handle; close() refuses new turns, waits for
    those taken and only then lets the library free the handle, which must not
    be used once freed."""

    def __init__(self, path: str) -> None:
        self.path = path
        self._state = threading.Condition()
        self._calls = 0
        self.closing = False
        # (number, thread, line) of the board's latest log lines.
        self._lines: Deque[Tuple[int, int, str]] = deque(maxlen=LINES_KEPT)
        self._logged = 0
        self._message = ""
        self._held = threading.local()
        # Kept for the handle's life: the library holds only its address.
        self._log_callback = LogCallback(self._log)
        options = BoardOptions(self._log_callback, None)
        pointer = BoardPointer()
        try:
            with self._ctrl_c_held():
                library().xdsp_board_open(path.encode("utf-8"), ctypes.byref(options),
                                          ctypes.byref(pointer))
        except errors.BoardError as error:
            error.path = path
            error.detail = self._line_since(0)
            self.raise_held()
            raise
        self._pointer = pointer.value
        try:
            self.raise_held()
        except BaseException:
            self.close()
            raise

    def hold(self, error: BaseException) -> None:
        """Keeps an exception raised in a callback on this thread (where it
        cannot unwind through the library) for the call to raise on return."""
        if not self.holding():
            self._held.error = error

    def holding(self) -> bool:
        """True when a callback on this thread raised during the current call."""
        return getattr(self._held, "error", None) is not None

    def raise_held(self) -> None:
        """Raises the exception a callback on this thread raised, if any."""
        error = getattr(self._held, "error", None)
        if error is not None:
            self._held.error = None
            raise error from None

    @contextlib.contextmanager
    def _ctrl_c_held(self) -> Iterator[None]:
        # Python raises Ctrl-C's KeyboardInterrupt in whatever Python code runs
        # next on the main thread: inside a call, that is one of this board's
        # callbacks, which ctypes cannot unwind and would report and drop. So
        # while the library runs, Ctrl-C is only noted, cancels an upload at
        # its next packet, and is raised when the call returns.
        if threading.current_thread() is not threading.main_thread() or \
                signal.getsignal(signal.SIGINT) is not signal.default_int_handler:
            yield
            return
        previous = signal.signal(signal.SIGINT,
                                 lambda _signal, _frame: self.hold(KeyboardInterrupt()))
        try:
            yield
        finally:
            signal.signal(signal.SIGINT, previous)

    def _log(self, _board: Any, line: bytes, _user: Any) -> None:
        text = decode(line).rstrip("\r\n")
        if not text.strip():
            return
        with self._state:
            self._logged += 1
            self._lines.append((self._logged, threading.get_ident(), text))
        logger.debug("%s: %s", self.path, text, extra={"board_path": self.path})

    def _line_since(self, number: int) -> str:
        # The calling thread's own lines: the poll thread logs to the same board.
        me = threading.get_ident()
        with self._state:
            mine = [text for at, thread, text in self._lines if at > number and thread == me]
        return mine[-1] if mine else ""

    def _new_message(self) -> str:
        # The library keeps the board's last message rather than showing it in
        # a box; a changed text is this call's, and becomes a warning.
        buffer = ctypes.create_string_buffer(MESSAGE_BYTES)
        library().xdsp_board_last_message(self._pointer, buffer, MESSAGE_BYTES)
        text = decode(buffer.value)
        with self._state:
            if text == self._message:
                return ""
            self._message = text
        shown = text.replace("\n", " ")
        logger.warning("%s: %s", self.path, shown, extra={"board_path": self.path})
        return shown

    def call(self, name: str, *arguments: Any) -> int:
        """Calls the library's function `name` with this board's handle first;
        raises ClosedError once the board is closing."""
        function = getattr(library(), name)
        with self._state:
            if self.closing:
                error = errors.ClosedError(name, errors.Status.CLOSED,
                                           status_text(errors.Status.CLOSED))
                error.path = self.path
                raise error
            self._calls += 1
            since = self._logged
        try:
            with self._ctrl_c_held():
                result = int(function(self._pointer, *arguments))
        except errors.BoardError as error:
            error.path = self.path
            error.detail = self._new_message() or self._line_since(since)
            self.raise_held()
            raise
        else:
            self._new_message()
            self.raise_held()
            return result
        finally:
            with self._state:
                self._calls -= 1
                self._state.notify_all()

    def close(self) -> None:
        """Refuses new calls, waits for those in progress (an upload cancels
        itself at its next packet) and frees the handle; later closes do nothing."""
        with self._state:
            if self.closing:
                return
            self.closing = True
            while self._calls:
                self._state.wait()
        with self._ctrl_c_held():
            library().xdsp_board_close(self._pointer)
        self.raise_held()

