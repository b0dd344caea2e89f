"""Python access to DSP boards through the xdsp library (libxdsp.so, xdsp.dll).

For example::

    import xdsp
    for found in xdsp.boards():
        print(found.path, found.serial_port)
    with xdsp.open(path) as board:
        print(board.product, board.bootloader.identify())
"""

from .board import (ANY_PRODUCT, VENDOR_ID, Board, BoardInfo, Flash, Gpio, boards,
                    open)  # noqa: A004 - xdsp.open
from .bootloader import (BOOT_FILE, FILE_TYPE_BOOT, FILE_TYPE_DATA, FILE_TYPE_FPGA,
                         FILE_TYPE_LINK, MAX_FILES, BootLoader, BootLoaderInfo, FileEntry,
                         compute_checksum, type_name)
from .audio import Audio
from .errors import (AudioError, BoardError, BoardInUseError, BootLoaderError, BusyError,
                     ChecksumMismatch, FileTableLostError, FormatFailedError, InvalidArgument,
                     InvalidArgumentError, NoLinkError, NotFoundError, NotOpenError,
                     PermissionDeniedError, TimeoutError)
from ._native import library

__all__ = [
    "ANY_PRODUCT", "VENDOR_ID", "Board", "BoardInfo", "Flash", "Gpio", "boards", "open",
    "BOOT_FILE", "FILE_TYPE_BOOT", "FILE_TYPE_DATA", "FILE_TYPE_FPGA", "FILE_TYPE_LINK",
    "MAX_FILES", "BootLoader", "BootLoaderInfo", "FileEntry", "compute_checksum", "type_name",
    "Audio", "AudioError", "BoardError", "BoardInUseError", "BootLoaderError", "BusyError",
    "ChecksumMismatch", "FileTableLostError", "FormatFailedError", "InvalidArgument",
    "InvalidArgumentError", "NoLinkError", "NotFoundError", "NotOpenError",
    "PermissionDeniedError", "TimeoutError", "library",
]

__version__ = "3.0.0.1"
