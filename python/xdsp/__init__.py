"""Python access to DSP boards through the xdsp library's board API
(libxdsp.so, xdsp_board.dll). Any number of boards may be open at once, each
usable from its own thread.

For example::

    import xdsp
    for found in xdsp.boards():
        print(found.path, found.product, found.kind.name)
    with xdsp.open(path) as board:
        print(board.product, board.bootloader.identify())
"""

from .board import (Board, BoardInfo, BoardKind, Flash, Gpio, boards,
                    open)  # noqa: A004 - xdsp.open
from .bootloader import (BOOT_FILE, FILE_TYPE_BOOT, FILE_TYPE_DATA, FILE_TYPE_FPGA,
                         FILE_TYPE_LINK, MAX_FILES, BootLoader, BootLoaderInfo, FileEntry,
                         Progress, compute_checksum, type_name)
from .audio import Audio
from .errors import (BoardError, BoardReportedError, BootLoaderError, BusyError, CancelledError,
                     ChecksumMismatch, ClosedError, FileTableLostError, FormatFailedError,
                     InvalidArgumentError, LinkLostError, NotFoundError, PermissionDeniedError,
                     Status, TimeoutError)
from ._native import library

__all__ = [
    "Board", "BoardInfo", "BoardKind", "Flash", "Gpio", "boards", "open",
    "BOOT_FILE", "FILE_TYPE_BOOT", "FILE_TYPE_DATA", "FILE_TYPE_FPGA", "FILE_TYPE_LINK",
    "MAX_FILES", "BootLoader", "BootLoaderInfo", "FileEntry", "Progress", "compute_checksum",
    "type_name", "Audio", "BoardError", "BoardReportedError", "BootLoaderError", "BusyError",
    "CancelledError", "ChecksumMismatch", "ClosedError", "FileTableLostError",
    "FormatFailedError", "InvalidArgumentError", "LinkLostError", "NotFoundError",
    "PermissionDeniedError", "Status", "TimeoutError", "library",
]

__version__ = "3.0.0.1"
