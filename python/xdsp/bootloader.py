"""The DSP's boot loader: identification, its file table, uploads, checksums
and starting the DSP program."""

from __future__ import annotations

import ctypes
import datetime
from dataclasses import dataclass
from typing import Callable, List, Optional, Tuple, Union

from ._link import Handle, byte_buffer, checked_range
from ._native import FileRecord, Identity, ProgressCallback, UploadRecord, decode, library

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
QUERY_MEMORY = 3
TEXT_BYTES = 256
DEFAULT_SELECT = 2
DEFAULT_BUSY_MASK = 2

_OLE_EPOCH = datetime.datetime(1899, 12, 30)

#: An upload's progress callback: called with the bytes on the board so far
#: and the file's bytes, before the data goes out and after every packet.
Progress = Callable[[int, int], object]


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
    return decode(library().xdsp_file_type_name(file_type))


def _file_type(value: Union[int, str]) -> int:
    if isinstance(value, str):
        for candidate in range(FILE_TYPE_LINK + 1):
            if type_name(candidate).lower() == value.lower():
                return candidate
        raise ValueError(f"unknown file type {value!r}: Data, Boot, FPGA or Link")
    return checked_range(value, -0x8000, 0x7FFF, "the file type")


def compute_checksum(data: bytes) -> int:
    """The checksum the boot loader keeps of a file: the byte sum modulo 65536
    (of a boot image, the board leaves out its first 256 bytes)."""
    raw = bytes(data)
    return int(library().xdsp_checksum(byte_buffer(raw), len(raw)))


class BootLoader:
    """The boot loader of the board's DSP (`board.bootloader`). `identify()`
    reads the file table that the rest works with; the first call that needs
    it identifies the boot loader with the usual select and busy line."""

    def __init__(self, handle: Handle) -> None:
        self._handle = handle
        self._identified = False

    def identify(self, select: int = DEFAULT_SELECT,
                 busy_mask: int = DEFAULT_BUSY_MASK) -> BootLoaderInfo:
        """Reads the boot loader's version, the product, DSP and flash chip and
        the file table, talking to it on SPI select `select` with its busy line
        on GPIO bits `busy_mask`."""
        checked_range(select, 0, 0xFFFF, "select")
        checked_range(busy_mask, 0, 0xFFFF, "busy_mask")
        identity = Identity()
        self._handle.call("xdsp_board_boot_loader_init", select, busy_mask,
                          ctypes.byref(identity))
        self._identified = True
        memory = ctypes.create_string_buffer(TEXT_BYTES)
        self._handle.call("xdsp_board_boot_loader_query", QUERY_MEMORY, memory, TEXT_BYTES)
        return BootLoaderInfo(decode(identity.version), decode(identity.product),
                              decode(identity.dsp), decode(memory.value),
                              identity.memory_size)

    def _ensure_identified(self) -> None:
        if not self._identified:
            self.identify()

    def file(self, index: int) -> FileEntry:
        """The file table's entry for file 0 to 14, as last read."""
        checked_range(index, 0, MAX_FILES - 1, "the file index")
        self._ensure_identified()
        record = FileRecord()
        self._handle.call("xdsp_board_file", index, ctypes.byref(record))
        return FileEntry(index, record.type, type_name(record.type), record.start_address,
                         record.end_address, record.fai_bytes, decode(record.name),
                         from_ole_date(record.created), from_ole_date(record.modified))

    def files(self) -> List[FileEntry]:
        """The files that hold an allocation or a name."""
        return [entry for entry in map(self.file, range(MAX_FILES)) if entry.used]

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
               progress: Optional[Progress] = None) -> None:
        """Uploads data as file `index` (0 to 14, or BOOT_FILE for the boot
        image) and checks the board's checksum of it.

        The file keeps its sectors when the data fits them, else it goes after
        the other files (`start`/`end` choose the byte addresses); `type` is 0
        to 3 or its name and defaults to the file's current type; `name` None
        or "" leaves it unnamed. An odd length travels with a zero byte after
        it (the boot loader takes whole 16-bit words); the checksum is the same.

        `progress(sent, total)` is called on this thread before the data goes
        out and after every 256-byte packet. An exception it raises (Ctrl-C's
        KeyboardInterrupt among them) cancels the upload and comes out once the
        library has tidied up: a file cut short is erased. Raises
        ChecksumMismatch when the board's checksum differs, FormatFailedError,
        FileTableLostError or another BoardError when the upload stopped
        early, CancelledError when the board was closed meanwhile."""
        boot_image = index == BOOT_FILE
        if not boot_image:
            checked_range(index, 0, MAX_FILES - 1, "the file index")
        payload = bytes(data)
        self._ensure_identified()
        file_type = 0
        if not boot_image:
            file_type = self.file(index).type if type is None else _file_type(type)
            placed = self._place(index, len(payload))
            start = placed[0] if start is None else start
            end = placed[1] if end is None else end
        buffer = byte_buffer(payload)
        record = UploadRecord(index, file_type, start or 0, end or 0,
                              None if name is None else name.encode("utf-8"),
                              ctypes.cast(buffer, ctypes.POINTER(ctypes.c_uint8)),
                              len(payload))
        handle = self._handle

        def report(sent: int, total: int, _user: object) -> int:
            # All inside the try: Ctrl-C's KeyboardInterrupt may come at any line.
            try:
                if progress is not None:
                    progress(sent, total)
                return int(handle.closing or handle.holding())
            except BaseException as error:  # noqa: B902 - raised again by the call
                handle.hold(error)
                return 1

        # Referenced until the call returns: the library holds only its address.
        callback = ProgressCallback(report)
        self._handle.call("xdsp_board_upload", ctypes.byref(record), callback, None)

    def checksum(self, index: int) -> int:
        """The board's 16-bit checksum of file 0 to 14 or of the boot image
        (BOOT_FILE); 0 also when the boot loader left the request unanswered,
        so ask again on 0."""
        number = BOOT_FILE_NUMBER if index in (BOOT_FILE, BOOT_FILE_NUMBER) else \
            checked_range(index, 0, MAX_FILES - 1, "the file index")
        value = ctypes.c_uint16()
        self._handle.call("xdsp_board_file_checksum", number, ctypes.byref(value))
        return value.value

    def boot(self) -> None:
        """Starts the DSP program from flash."""
        self._handle.call("xdsp_board_run")
