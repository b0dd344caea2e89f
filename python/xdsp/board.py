"""Finding boards and the one open board with its device commands."""

from __future__ import annotations

import atexit
import ctypes
import threading
import time
from dataclasses import dataclass
from typing import Any, List, Optional

from . import errors
from ._native import (DEVICE_PATH_CHARS, FRIENDLY_NAME_CHARS, Char16, DeviceRecord, byte_buffer,
                      diagnostics, library, text_in, text_out)
from ._link import Link as _Link
from ._link import checked_range as _checked_range
from .audio import Audio
from .bootloader import BootLoader

#: The boards' USB vendor id, which `boards()` looks for by default.
VENDOR_ID = 0x20B1
#: A product id that matches any product.
ANY_PRODUCT = 0xFFFF
MAX_DEVICES = 64
PRODUCT_NAME_RECORD_SIZE = 188
PRODUCT_NAME_OFFSET = 16
CALIBRATION_BLOCK_SIZE = 40
FLASH_CHUNK = 256
MAX_READ = 1024
ADC_CHANNELS = 4
WAIT_TIMEOUT = 258
SETTLE_SECONDS = 2.0
SETTLE_POLL_SECONDS = 0.005


@dataclass(frozen=True)
class BoardInfo:
    """A board found by `boards()`: its HID device path and, on composite
    boards, its serial port ("" when it has none)."""

    #: The HID interface's device path, for `open()`.
    path: str
    #: The serial port's device path ("" when there is none).
    serial_port: str
    #: The serial port's display name ("" when there is none).
    serial_port_name: str


def boards(vendor_id: int = VENDOR_ID, product_id: int = ANY_PRODUCT) -> List[BoardInfo]:
    """The boards attached now (virtual devices are not enumerated: open them
    by their path)."""
    lib = library()
    records = (DeviceRecord * MAX_DEVICES)()
    count = min(int(lib.EnumUSBHIDDevices(vendor_id, product_id, records, MAX_DEVICES)),
                MAX_DEVICES)
    found = []
    for record in records[:count]:
        port = (Char16 * DEVICE_PATH_CHARS)()
        name = (Char16 * FRIENDLY_NAME_CHARS)()
        lib.GetMatchingHID_COMDevice(record.devicePath, port, name)
        found.append(BoardInfo(text_out(record.devicePath, DEVICE_PATH_CHARS),
                               text_out(port, DEVICE_PATH_CHARS),
                               text_out(name, FRIENDLY_NAME_CHARS)))
    return found


class Gpio:
    """The board's GPIO words: `inputs` as last reported, `outputs` as last set
    (carried in every output report from then on)."""

    def __init__(self, link: _Link) -> None:
        self._link = link
        self._outputs = 0

    @property
    def inputs(self) -> int:
        """The GPIO input word as the board last reported it (0 before any report)."""
        return int(self._link.call("GPIO inputs", lambda: library().GetGPIOIn()))

    @property
    def outputs(self) -> int:
        """The GPIO output word as last set here (0 until set); setting it sends it
        to the board at once."""
        return self._outputs

    @outputs.setter
    def outputs(self, word: int) -> None:
        _checked_range(word, 0, 0xFFFF, "the GPIO output word")
        self._link.call("GPIO outputs", lambda: library().SetGPIOOut(word))
        self._outputs = word


class Flash:
    """The board's flash memory, read and written directly (not through the
    boot loader's file system)."""

    def __init__(self, link: _Link) -> None:
        self._link = link

    def read(self, address: int, count: int) -> bytes:
        """count bytes from address, fetched 256 at a time. A chunk whose answer
        does not come in time reads as zeros (the library does not tell)."""
        _checked_range(count, 0, 0xFFFFFFFF, "count")
        result = bytearray()
        while len(result) < count:
            size = min(FLASH_CHUNK, count - len(result))
            buffer = (ctypes.c_uint8 * size)()
            at = address + len(result)
            if not self._link.call("flash read",
                                   lambda: library().ReadFLASH(at, buffer, size)):
                raise self._link.failure(f"flash read at {at:#x}")
            result += bytes(buffer)
        return bytes(result)

    def write(self, address: int, data: bytes, flash_word: int = 0) -> None:
        """Writes data at address, 256 bytes at a time; the flash word goes to
        the board's firmware unchanged with each chunk."""
        _checked_range(flash_word, 0, 0xFFFF, "the flash word")
        view = bytes(data)
        for offset in range(0, len(view), FLASH_CHUNK):
            chunk = byte_buffer(view[offset:offset + FLASH_CHUNK])
            size = min(FLASH_CHUNK, len(view) - offset)
            at = address + offset
            if not self._link.call("flash write",
                                   lambda: library().WriteFLASH(at, flash_word, chunk, size)):
                raise self._link.failure(f"flash write at {at:#x}")


class Board:
    """The open board; made by `xdsp.open()` and closed by leaving its `with`
    block (or by `close()`)."""

    def __init__(self, path: str) -> None:
        self._link = _Link(path)
        self.gpio = Gpio(self._link)
        self.flash = Flash(self._link)
        self.bootloader = BootLoader(self._link)
        self.audio = Audio(self._link)

    @property
    def path(self) -> str:
        """The path the board was opened at."""
        return self._link.path

    @property
    def is_open(self) -> bool:
        """True until the board is closed."""
        return self._link.open

    @property
    def online(self) -> bool:
        """True while the link holds the device (False while it reconnects)."""
        return self.is_open and bool(library().IsOnline())

    def __enter__(self) -> "Board":
        return self

    def __exit__(self, *_exception: Any) -> None:
        self.close()

    def __repr__(self) -> str:
        state = "open" if self.is_open else "closed"
        return f"<xdsp.Board {self.path!r} {state}>"

    def _open(self) -> None:
        lib = library()
        diagnostics.begin_call()
        if not lib.InitializeHIDUSBPacketPath(text_in(self.path)):
            raise self._link.failure(f"cannot open {self.path}")
        self._link.open = True
        try:
            self._settle()
        except BaseException:
            self.close()
            raise

    def _settle(self) -> None:
        # Commands fail with 6 until the poll thread has set the link up, and
        # the GPIO word and the product name of the previous board in this
        # process stay until this board's first report replaces them. The
        # probe has no effect on the board; one answered pin query then shows
        # that a report has come.
        lib = library()
        deadline = time.monotonic() + SETTLE_SECONDS
        while not self._link.call("open", lib.IsDeviceInitialized) and \
                lib.last_error() == errors.ERROR_INVALID_HANDLE:
            if time.monotonic() > deadline:
                raise self._link.failure(f"{self.path} did not start")
            time.sleep(SETTLE_POLL_SECONDS)
        self._link.call("open", lib.GetPIN)
        if lib.last_error() != errors.ERROR_SUCCESS:
            raise self._link.failure(f"the board at {self.path} did not answer")

    def close(self) -> None:
        """Stops the link; closing a closed board does nothing."""
        global _open_board
        with _open_lock:
            if not self._link.open:
                return
            self._link.open = False
            _open_board = None
            library().DestroyHIDUSBPacket()

    @property
    def product(self) -> str:
        """The product name the board reports."""
        record = (ctypes.c_uint8 * PRODUCT_NAME_RECORD_SIZE)()
        self._link.call("product name", lambda: library().GetProductNameStruct(record))
        if record[0] == 0:
            raise errors.TimeoutError(f"the board at {self.path} did not name itself",
                                      errors.ERROR_INTERNAL)
        name = bytes(record[PRODUCT_NAME_OFFSET:]).split(b"\0", 1)[0]
        return name.decode("ascii", "replace")

    def adc(self, channel: int) -> int:
        """The last 14-bit reading (0 to 16383) of ADC channel 0 to 3; the board
        sends readings while sampling is on (`enable_adc`)."""
        _checked_range(channel, 0, ADC_CHANNELS - 1, "the ADC channel")
        return int(self._link.call("ADC reading", lambda: library().GetADCIn(channel)))

    def enable_adc(self, on: bool = True) -> None:
        """Switches ADC sampling on or off and waits for the board's next report."""
        if self._link.call("ADC switch", lambda: library().XMOS_EnableADC(int(on))) == \
                WAIT_TIMEOUT:
            raise errors.TimeoutError("ADC switch: no report from the board in time",
                                      errors.ERROR_INTERNAL)

    def spi(self, data: bytes = b"", read: int = 0, *, select: int, busy_mask: int = 0,
            mode: bool = False, setting_a: int = 0, setting_b: int = 0) -> bytes:
        """One SPI transfer to the board's DSP: writes data, then reads `read`
        bytes (at most 1024), which it returns."""
        _checked_range(read, 0, MAX_READ, "the read length")
        for value, name in ((select, "select"), (busy_mask, "busy_mask"),
                            (setting_a, "setting_a"), (setting_b, "setting_b")):
            _checked_range(value, 0, 0xFFFF, name)
        out = byte_buffer(data)
        back = (ctypes.c_uint8 * max(read, 1))()
        if not self._link.call("SPI transfer", lambda: library().WriteSPIEx(
                select, busy_mask, int(mode), setting_a, setting_b, out, len(data), back, read)):
            raise self._link.failure("SPI transfer")
        return bytes(back[:read])

    def teds(self, data: bytes = b"", read: int = 0, control: int = 0) -> bytes:
        """Writes data to the TEDS memory and reads `read` bytes (at most 1024) back."""
        _checked_range(read, 0, MAX_READ, "the read length")
        _checked_range(control, 0, 0xFFFF, "the control word")
        out = byte_buffer(data)
        back = (ctypes.c_uint8 * max(read, 1))()
        if not self._link.call("TEDS transfer", lambda: library().WriteTEDS(
                control, out, len(data), back, read)):
            raise self._link.failure("TEDS transfer")
        return bytes(back[:read])

    @property
    def calibration(self) -> bytes:
        """The board's 40-byte calibration block."""
        block = (ctypes.c_uint8 * CALIBRATION_BLOCK_SIZE)()
        if self._link.call("calibration read", lambda: library().ReadCalibrate(block)) != 1:
            raise self._link.failure("calibration read")
        return bytes(block)

    @calibration.setter
    def calibration(self, block: bytes) -> None:
        if len(block) != CALIBRATION_BLOCK_SIZE:
            raise ValueError(f"a calibration block has {CALIBRATION_BLOCK_SIZE} bytes, "
                             f"not {len(block)}")
        buffer = byte_buffer(block)
        if not self._link.call("calibration write", lambda: library().WriteCalibrate(buffer)):
            raise self._link.failure("calibration write")


# The library drives one board per process; this is the one. Reentrant, since
# an open that fails after the link started closes it again.
_open_lock = threading.RLock()
_open_board: Optional[Board] = None


def open(path: str) -> Board:  # noqa: A001 - xdsp.open, as in `with xdsp.open(path)`
    """Opens the board at path (a HID device path or a virtual device's socket).
    Raises BoardInUseError while another board of this process is open."""
    global _open_board
    with _open_lock:
        if _open_board is not None:
            raise errors.BoardInUseError(
                f"cannot open {path}: {_open_board.path} is open, and the library holds one "
                "board per process; close it first")
        board = Board(path)
        board._open()
        _open_board = board
        return board


def _close_at_exit() -> None:
    # The poll thread must not outlive the interpreter it reports to.
    if _open_board is not None:
        _open_board.close()


atexit.register(_close_at_exit)
