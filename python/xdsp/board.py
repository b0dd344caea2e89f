"""Finding boards and opening them: each open board is independent of the
others, with its own handle, link and log."""

from __future__ import annotations

import ctypes
import enum
import weakref
from dataclasses import dataclass
from typing import Any, List

from . import errors
from ._link import Handle, byte_buffer, checked_range
from ._native import BoardInfoRecord, SpiSettings, decode, library
from .audio import Audio
from .bootloader import BootLoader

CALIBRATION_BLOCK_SIZE = 40
FLASH_CHUNK = 256
PRODUCT_NAME_BYTES = 192
ADC_CHANNELS = 4
LISTED_AT_FIRST = 16


class BoardKind(enum.IntEnum):
    """What a listed path is."""

    #: A board attached over USB.
    BOARD = 0
    #: A running emulator of this user's.
    EMULATOR = 1


@dataclass(frozen=True)
class BoardInfo:
    """A board found by `boards()`."""

    #: What `open()` takes.
    path: str
    #: The product name it reported ("" when it could not be opened).
    product: str
    #: The serial port of the same USB device ("" for none).
    serial_port: str
    #: An attached board or a running emulator.
    kind: BoardKind
    #: `Status.OK`, or why it could not be opened (`Status.BUSY` for a board
    #: open in this or another process).
    status: int


def boards() -> List[BoardInfo]:
    """The attached boards (vendor id 0x20B1), then this user's running
    emulators; each is opened once for its name, so boards open elsewhere are
    listed as busy."""
    capacity, count = LISTED_AT_FIRST, ctypes.c_size_t()
    while True:
        records = (BoardInfoRecord * capacity)()
        library().xdsp_list_boards(records, capacity, ctypes.byref(count))
        if count.value <= capacity:
            break
        capacity = count.value
    return [BoardInfo(decode(record.path), decode(record.product),
                      decode(record.serial_port), BoardKind(record.kind),
                      errors.as_status(record.status))
            for record in records[:count.value]]


class Gpio:
    """The board's GPIO words: `inputs` as last reported, `outputs` as last set
    (carried in every output report from then on)."""

    def __init__(self, handle: Handle) -> None:
        self._handle = handle
        self._outputs = 0

    @property
    def inputs(self) -> int:
        """The GPIO input word as the board last reported it."""
        word = ctypes.c_uint16()
        self._handle.call("xdsp_board_gpio_read", ctypes.byref(word))
        return word.value

    @property
    def outputs(self) -> int:
        """The GPIO output word as last set here (0 until set); setting it sends it
        to the board at once."""
        return self._outputs

    @outputs.setter
    def outputs(self, word: int) -> None:
        checked_range(word, 0, 0xFFFF, "the GPIO output word")
        self._handle.call("xdsp_board_gpio_write", word)
        self._outputs = word


class Flash:
    """The board's flash memory, read and written directly (not through the
    boot loader's file system)."""

    def __init__(self, handle: Handle) -> None:
        self._handle = handle

    def read(self, address: int, count: int) -> bytes:
        """count bytes from address, fetched 256 at a time."""
        checked_range(count, 0, 0xFFFFFFFF, "count")
        result = bytearray()
        while len(result) < count:
            size = min(FLASH_CHUNK, count - len(result))
            buffer = (ctypes.c_uint8 * size)()
            self._handle.call("xdsp_board_flash_read", address + len(result), buffer, size)
            result += bytes(buffer)
        return bytes(result)

    def write(self, address: int, data: bytes, flash_word: int = 0) -> None:
        """Writes data at address, 256 bytes at a time; the flash word goes to
        the board's firmware unchanged with each chunk."""
        checked_range(flash_word, 0, 0xFFFF, "the flash word")
        view = bytes(data)
        for offset in range(0, len(view), FLASH_CHUNK):
            chunk = view[offset:offset + FLASH_CHUNK]
            self._handle.call("xdsp_board_flash_write", address + offset, flash_word,
                              byte_buffer(chunk), len(chunk))


class Board:
    """An open board, made by `xdsp.open()`. Any thread may use it; calls on
    one board run one at a time, calls on different boards in parallel. Close
    it by leaving its `with` block or with `close()`; one left open closes when
    it is garbage or the interpreter exits."""

    def __init__(self, path: str) -> None:
        self._handle = Handle(path)
        self._closer = weakref.finalize(self, self._handle.close)
        #: The GPIO words.
        self.gpio = Gpio(self._handle)
        #: The flash memory.
        self.flash = Flash(self._handle)
        #: The DSP's boot loader.
        self.bootloader = BootLoader(self._handle)
        #: The DSP's audio firmware.
        self.audio = Audio(self._handle)

    @property
    def path(self) -> str:
        """The path the board was opened at."""
        return self._handle.path

    @property
    def is_open(self) -> bool:
        """True until the board is closed."""
        return not self._handle.closing

    @property
    def online(self) -> bool:
        """True while the link holds the device (False while it reopens it)."""
        try:
            return self._handle.call("xdsp_board_online") == errors.Status.OK
        except errors.ClosedError:
            return False

    def __enter__(self) -> "Board":
        return self

    def __exit__(self, *_exception: Any) -> None:
        self.close()

    def __repr__(self) -> str:
        state = "open" if self.is_open else "closed"
        return f"<xdsp.Board {self.path!r} {state}>"

    def close(self) -> None:
        """Waits for the calls in progress on this board (cancelling an upload
        at its next packet), then closes it; later calls raise ClosedError.
        Closing a closed board does nothing."""
        self._closer()

    @property
    def product(self) -> str:
        """The product name the board reports."""
        name = ctypes.create_string_buffer(PRODUCT_NAME_BYTES)
        self._handle.call("xdsp_board_product_name", name, PRODUCT_NAME_BYTES)
        return decode(name.value)

    def adc(self, channel: int) -> int:
        """The last 14-bit reading (0 to 16383) of ADC channel 0 to 3; the board
        sends readings while sampling is on (`enable_adc`)."""
        checked_range(channel, 0, ADC_CHANNELS - 1, "the ADC channel")
        value = ctypes.c_uint16()
        self._handle.call("xdsp_board_adc_read", channel, ctypes.byref(value))
        return value.value

    def enable_adc(self, on: bool = True) -> None:
        """Switches ADC sampling on or off and waits for the board's next report."""
        self._handle.call("xdsp_board_adc_enable", int(on))

    def spi(self, data: bytes = b"", read: int = 0, *, select: int, busy_mask: int = 0,
            mode: bool = False, setting_a: int = 0, setting_b: int = 0) -> bytes:
        """One SPI transfer to the board's DSP: writes data, then reads `read`
        bytes, which it returns. Raises InvalidArgumentError when they do not
        fit a report."""
        for value, name in ((select, "select"), (busy_mask, "busy_mask"),
                            (setting_a, "setting_a"), (setting_b, "setting_b")):
            checked_range(value, 0, 0xFFFF, name)
        settings = SpiSettings(select, busy_mask, int(mode), setting_a, setting_b)
        back = (ctypes.c_uint8 * max(read, 1))()
        self._handle.call("xdsp_board_spi_transfer", ctypes.byref(settings),
                          byte_buffer(data), len(data), back, read)
        return bytes(back[:read])

    def teds(self, data: bytes = b"", read: int = 0, control: int = 0) -> bytes:
        """Writes data to the TEDS memory and reads `read` bytes back."""
        checked_range(control, 0, 0xFFFF, "the control word")
        back = (ctypes.c_uint8 * max(read, 1))()
        self._handle.call("xdsp_board_teds_transfer", control, byte_buffer(data), len(data),
                          back, read)
        return bytes(back[:read])

    @property
    def calibration(self) -> bytes:
        """The board's 40-byte calibration block."""
        block = (ctypes.c_uint8 * CALIBRATION_BLOCK_SIZE)()
        self._handle.call("xdsp_board_calibration_read", block)
        return bytes(block)

    @calibration.setter
    def calibration(self, block: bytes) -> None:
        if len(block) != CALIBRATION_BLOCK_SIZE:
            raise ValueError(f"a calibration block has {CALIBRATION_BLOCK_SIZE} bytes, "
                             f"not {len(block)}")
        self._handle.call("xdsp_board_calibration_write", byte_buffer(block))


def open(path: str) -> Board:  # noqa: A001 - xdsp.open, as in `with xdsp.open(path)`
    """Opens the board at path (a HID device path, or an emulator's socket or
    pipe) once it has answered. Raises BusyError when it is open already, in
    this process or another."""
    return Board(path)
