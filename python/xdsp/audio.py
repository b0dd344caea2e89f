"""The audio firmware's commands, for boards whose DSP runs it."""

from __future__ import annotations

import ctypes

from ._link import Handle, byte_buffer, checked_range

MAX_ECHO = 400


class Audio:
    """The audio firmware of the board's DSP (`board.audio`). Each command
    returns the firmware's 16-bit answer, whose meaning is the firmware's, and
    raises TimeoutError when the firmware does not answer."""

    def __init__(self, handle: Handle) -> None:
        self._handle = handle

    def _command(self, name: str, argument: int) -> int:
        answer = ctypes.c_uint16()
        self._handle.call(name, argument, ctypes.byref(answer))
        return answer.value

    def mute(self, on: bool = True) -> int:
        """Switches mute on or off."""
        return self._command("xdsp_board_audio_mute", int(on))

    def line_out(self, on: bool = True) -> int:
        """Switches the line output on or off."""
        return self._command("xdsp_board_audio_line_out", int(on))

    def source(self, source: int) -> int:
        """Selects input source 0 to 9."""
        return self._command("xdsp_board_audio_source",
                             checked_range(source, 0, 0x7FFFFFFF, "the source"))

    def load_filter(self, number: int) -> int:
        """Loads filter 0 to 9."""
        return self._command("xdsp_board_audio_load_filter",
                             checked_range(number, 0, 0xFFFFFFFF, "the filter"))

    def load_algorithm(self, number: int) -> int:
        """Loads algorithm 0 to 255."""
        return self._command("xdsp_board_audio_load_algorithm",
                             checked_range(number, 0, 255, "the algorithm"))

    def reset(self) -> None:
        """Resets the audio firmware; nothing is read back."""
        self._handle.call("xdsp_board_audio_reset")

    def echo(self, data: bytes) -> None:
        """Sends data (an even length, at most 400 bytes) that the firmware must
        send back unchanged; raises TimeoutError when it does not."""
        if len(data) > MAX_ECHO or len(data) % 2:
            raise ValueError(f"an echo takes an even length of at most {MAX_ECHO} bytes, "
                             f"not {len(data)}")
        self._handle.call("xdsp_board_audio_echo", byte_buffer(data), len(data))
