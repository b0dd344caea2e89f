"""The audio firmware's commands, for boards whose DSP runs it."""

from __future__ import annotations

from typing import Callable

from . import errors
from ._link import Link, checked_range
from ._native import byte_buffer, library

NO_ANSWER = 0xFFFF
MAX_ECHO = 400


class Audio:
    """The audio firmware of the open board's DSP (`board.audio`). Each command
    returns the firmware's 16-bit answer, whose meaning is the firmware's."""

    def __init__(self, link: Link) -> None:
        self._link = link

    def _command(self, what: str, function: Callable[[], int]) -> int:
        answer = int(self._link.call(what, function))
        if answer == NO_ANSWER:
            raise self._link.failure(f"{what}: the audio firmware did not answer",
                                     fallback=errors.AudioError)
        return answer

    def mute(self, on: bool = True) -> int:
        """Switches mute on or off."""
        return self._command("mute", lambda: library().Halvio_Mute(int(on)))

    def line_out(self, on: bool = True) -> int:
        """Switches the line output on or off."""
        return self._command("line output", lambda: library().Halvio_LineOut(int(on)))

    def source(self, source: int) -> int:
        """Selects input source 0 to 9."""
        checked_range(source, 0, 0x7FFFFFFF, "the source")
        return self._command("source", lambda: library().Halvio_Source(source))

    def load_filter(self, number: int) -> int:
        """Loads filter 0 to 9."""
        checked_range(number, 0, 0xFFFFFFFF, "the filter")
        return self._command("filter", lambda: library().Halvio_LoadFilter(number))

    def load_algorithm(self, number: int) -> int:
        """Loads algorithm 0 to 255."""
        checked_range(number, 0, 255, "the algorithm")
        return self._command("algorithm", lambda: library().Halvio_LoadAlgorithm(number))

    def reset(self) -> None:
        """Resets the audio firmware; nothing is read back."""
        self._link.call("audio reset", lambda: library().Halvio_Reset())

    def echo(self, data: bytes) -> bool:
        """Sends data (an even length, at most 400 bytes) and tells whether the
        firmware sent the same bytes back."""
        if len(data) > MAX_ECHO or len(data) % 2:
            raise ValueError(f"an echo takes an even length of at most {MAX_ECHO} bytes, "
                             f"not {len(data)}")
        buffer = byte_buffer(data)
        return bool(self._link.call("echo", lambda: library().Halvio_Echo(buffer, len(data))))
