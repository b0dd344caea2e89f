"""The DSP's boot loader: identification, its file table, uploads, checksums
and starting the DSP program."""

from __future__ import annotations

import ctypes
import datetime
from dataclasses import dataclass
from typing import Callable, List, Optional, Tuple, Union

from . import errors
from ._link import Link, checked_range
from ._native import Char16, ProgressCallback, byte_buffer, diagnostics, library, text_in, \
    text_out

#: The boot loader's files are indexes 0 to 14.
MAX_FILES = 15
#: The boot image's index for upload() and checksum().
BOOT_FILE = 31415
#: The same file when its checksum is asked for.
BOOT_FILE_NUMBER = 300
#: File types 0 to 3: Data, Boot, FPGA and Link (`type_name()`).
FILE_TYPE_DATA, FILE_TYPE_BOOT, FILE_TYPE_FPGA, FILE_TYPE_LINK = 0, 1, 2, 3
SECTOR_BYTES = 4096
FIRST_FILE_ADDRESS = 0x10000  # after the boot image's area and the file table
NAME_CHARS = 64
DEFAULT_SELECT = 2
DEFAULT_BUSY_MASK = 2

_OLE_EPOCH = datetime.datetime(1899, 12, 30)

Progress = Callable[[int], object]


def from_ole_date(value: float) -> Optional[datetime.datetime]:
    """An OLE automation date as a naive local datetime; None for 0.0 (no date)."""
    if value == 0.0:
        return None
    # Before the epoch the whole days count down while the fraction still
    # counts the time of day forwards.
    days = int(value)
    fraction = abs(value - days)
    return _OLE_EPOCH + datetime.timedelta(days=days) + datetime.timedelta(days=fraction)


@dataclass(frozen=True)
class BootLoaderInfo:
    """What `BootLoader.identify()` read."""

    #: The boot loader's version, "%d.%02d".
    version: str
    #: The board's product name.
    product: str
    #: The DSP's four identification bytes in hexadecimal.
    dsp: str
    #: The flash chip's four identification bytes in hexadecimal.
    memory_type: str
    #: The flash size in bytes.
    memory_size: int


@dataclass(frozen=True)
class FileEntry:
    """One entry of the boot loader's file table (`BootLoader.file()`)."""

    #: The file's index, 0 to 14.
    index: int
    #: Its type, 0 to 3 (`FILE_TYPE_DATA` ...).
    type: int
    #: The type's name: "Data", "Boot", "FPGA", "Link" or "".
    type_name: str
    #: The first byte address of its sectors.
    start: int
    #: The byte address where its sectors end.
    end: int
    #: The allocation table's word 5 for the file, in bytes.
    fai_bytes: int
    #: Its name ("" for none).
    name: str
    #: When it was created (local time), None for no date.
    created: Optional[datetime.datetime]
    #: When it was last modified (local time), None for no date.
    modified: Optional[datetime.datetime]

    @property
    def used(self) -> bool:
        """True when the file holds an allocation or a name."""
        return self.end > self.start or bool(self.name)


def type_name(file_type: int) -> str:
    """"Data", "Boot", "FPGA" or "Link"; "" for any other type."""
    return text_out(library().BootLoader_GetTypeName(file_type))


def _file_type(value: Union[int, str]) -> int:
    if isinstance(value, str):
        for candidate in range(FILE_TYPE_LINK + 1):
            if type_name(candidate).lower() == value.lower():
                return candidate
        raise ValueError(f"unknown file type {value!r}: Data, Boot, FPGA or Link")
    return checked_range(value, -0x8000, 0x7FFF, "the file type")


class BootLoader:
    """The boot loader of the open board's DSP (`board.bootloader`). Call
    `identify()` first: it reads the file table that the rest works with."""

    def __init__(self, link: Link) -> None:
        self._link = link
        self._identified = False

    def identify(self, select: int = DEFAULT_SELECT,
                 busy_mask: int = DEFAULT_BUSY_MASK) -> BootLoaderInfo:
        """Reads the boot loader's version, the product, DSP and flash chip and
        the file table, talking to it on SPI select `select` with its busy line
        on GPIO bits `busy_mask`."""
        checked_range(select, 0, 0xFFFF, "select")
        checked_range(busy_mask, 0, 0xFFFF, "busy_mask")
        lib = library()
        if not self._link.call("boot loader identification",
                               lambda: lib.BootLoader_Init(select, busy_mask)):
            if lib.BootLoader_GetMemory() == 0:
                what = "the boot loader did not answer, or reports no known flash chip"
            else:
                what = "the boot loader's file table could not be read"
            raise self._link.failure(what, fallback=errors.BootLoaderError)
        self._identified = True
        return BootLoaderInfo(text_out(lib.BootLoader_GetVersion()),
                              text_out(lib.BootLoader_GetProduct()),
                              text_out(lib.BootLoader_GetDSP()),
                              text_out(lib.XMOSBoot_GetMemoryType()),
                              int(lib.BootLoader_GetMemory()))

    def _ensure_identified(self) -> None:
        if not self._identified:
            self.identify()

    def file(self, index: int) -> FileEntry:
        """The file table's entry for file 0 to 14, as last read."""
        checked_range(index, 0, MAX_FILES - 1, "the file index")
        self._ensure_identified()
        kind = ctypes.c_uint16()
        start, end, fai = ctypes.c_uint32(), ctypes.c_uint32(), ctypes.c_uint32()
        name = (Char16 * NAME_CHARS)()
        created, modified = ctypes.c_double(), ctypes.c_double()
        library().BootLoader_GetFileDesc(index, ctypes.byref(kind), ctypes.byref(start),
                                         ctypes.byref(end), ctypes.byref(fai), name, NAME_CHARS,
                                         ctypes.byref(created), ctypes.byref(modified))
        return FileEntry(index, kind.value, type_name(kind.value), start.value, end.value,
                         fai.value, text_out(name, NAME_CHARS), from_ole_date(created.value),
                         from_ole_date(modified.value))

    def files(self) -> List[FileEntry]:
        """The files that hold an allocation or a name."""
        self._ensure_identified()
        count = int(library().BootLoader_MaxFiles())
        return [entry for entry in map(self.file, range(count)) if entry.used]

    def _place(self, index: int, length: int) -> Tuple[int, int]:
        # The file's own sectors when the data fits them, else the first free
        # sectors after every other file.
        needed = max(-(-length // SECTOR_BYTES), 1) * SECTOR_BYTES
        own = self.file(index)
        if own.end - own.start >= needed:
            return own.start, own.end
        start = max([FIRST_FILE_ADDRESS] +
                    [self.file(other).end for other in range(MAX_FILES) if other != index])
        return start, start + needed

    def upload(self, data: bytes, index: int, name: Optional[str] = None,
               type: Union[int, str, None] = None, *,  # noqa: A002 - the file's type
               start: Optional[int] = None, end: Optional[int] = None,
               progress: Optional[Progress] = None, show_errors: bool = False) -> None:
        """Uploads data as file `index` (0 to 14, or BOOT_FILE for the boot
        image) and checks the board's checksum of it.

        The file keeps its sectors when the data fits them, else it goes after
        the other files (`start`/`end` choose the byte addresses); `type` is 0
        to 3 or its name and defaults to the file's current type; `name`
        defaults to the name it has. `progress` is called with each percentage
        from 10 to 100 on this thread. An odd length is padded with a zero
        byte, since the boot loader takes whole 16-bit words; the checksum does
        not change. Raises ChecksumMismatch when the board's checksum differs,
        FormatFailedError, FileTableLostError or another BoardError when the
        upload stopped early."""
        boot_image = index == BOOT_FILE
        if not boot_image:
            checked_range(index, 0, MAX_FILES - 1, "the file index")
        payload = bytes(data)
        if len(payload) % 2:
            payload += b"\0"
        info_size = self._memory_size()
        if len(payload) > info_size:
            raise ValueError(f"{len(payload)} bytes do not fit the board's {info_size}-byte flash")
        file_type = 0
        if not boot_image:
            file_type = self.file(index).type if type is None else _file_type(type)
            placed = self._place(index, len(payload))
            start = placed[0] if start is None else start
            end = placed[1] if end is None else end
        wide_name = None if name is None else text_in(name)
        buffer = byte_buffer(payload)
        raised: List[BaseException] = []

        def report(percent: int, _context: int) -> int:
            if progress is not None and not raised:
                try:
                    progress(percent)
                except BaseException as error:  # noqa: B902 - re-raised after the upload
                    raised.append(error)
            return 0

        # Referenced until the call returns: the library holds only its address.
        callback = ProgressCallback(report)
        lib = library()
        sent = self._link.call("upload", lambda: lib.BootLoader_Send(
            index, file_type, start or 0, end or 0, wide_name, buffer, len(payload),
            int(show_errors), callback, 0))
        code = lib.last_error()
        if raised:
            raise raised[0]
        target = "the boot image" if boot_image else f"file {index}"
        if not sent:
            raise self._link.failure(f"upload of {target} stopped", code,
                                     fallback=errors.BootLoaderError)
        if code == errors.ERROR_CHECKSUM_MISMATCH:
            raise errors.error_for(code, f"upload of {target}", diagnostics.said())

    def _memory_size(self) -> int:
        self._ensure_identified()
        return int(library().BootLoader_GetMemory())

    def checksum(self, index: int) -> int:
        """The board's 16-bit checksum of file 0 to 14 or of the boot image
        (BOOT_FILE); 0 when the boot loader does not answer."""
        number = BOOT_FILE_NUMBER if index in (BOOT_FILE, BOOT_FILE_NUMBER) else \
            checked_range(index, 0, MAX_FILES - 1, "the file index")
        return int(self._link.call("checksum",
                                   lambda: library().BootLoader_GetFileChecksum(number)))

    def boot(self) -> None:
        """Starts the DSP program from flash."""
        self._link.call("boot", lambda: library().BootLoader_Boot())


def compute_checksum(data: bytes) -> int:
    """The checksum the boot loader keeps of a file: the byte sum modulo 65536."""
    return sum(data) & 0xFFFF
