"""The board API of the shared library: finding it and its function
prototypes, each with the check that turns a failed status into an exception."""

from __future__ import annotations

import ctypes
import ctypes.util
import os
import sys
import threading
from pathlib import Path
from typing import Any, Callable, Dict, List, Optional

from . import errors

WINDOWS = sys.platform == "win32"

#: The board API's library: its own cdecl DLL on Windows, part of libxdsp.so on Linux.
LIBRARY_NAME = "xdsp_board.dll" if WINDOWS else "libxdsp.so"
_SEARCH_NAME = "xdsp_board" if WINDOWS else "xdsp"

# An xdsp_board * never read here, only handed back.
BoardPointer = ctypes.c_void_p
BytePtr = ctypes.POINTER(ctypes.c_uint8)

LogCallback = ctypes.CFUNCTYPE(None, BoardPointer, ctypes.c_char_p, ctypes.c_void_p)
ProgressCallback = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_size_t, ctypes.c_size_t,
                                    ctypes.c_void_p)


class BoardOptions(ctypes.Structure):
    _fields_ = [("log", LogCallback), ("log_user", ctypes.c_void_p)]


class BoardInfoRecord(ctypes.Structure):
    _fields_ = [("path", ctypes.c_char * 1024), ("product", ctypes.c_char * 192),
                ("serial_port", ctypes.c_char * 1024), ("kind", ctypes.c_int),
                ("status", ctypes.c_int)]


class SpiSettings(ctypes.Structure):
    _fields_ = [("select", ctypes.c_uint16), ("busy_mask", ctypes.c_uint16),
                ("mode", ctypes.c_int32), ("setting_a", ctypes.c_uint16),
                ("setting_b", ctypes.c_uint16)]


class Identity(ctypes.Structure):
    _fields_ = [("version", ctypes.c_char * 256), ("product", ctypes.c_char * 256),
                ("dsp", ctypes.c_char * 256), ("memory_size", ctypes.c_uint32)]


class FileRecord(ctypes.Structure):
    _fields_ = [("type", ctypes.c_uint16), ("start_address", ctypes.c_uint32),
                ("end_address", ctypes.c_uint32), ("fai_bytes", ctypes.c_uint32),
                ("name", ctypes.c_char * 192), ("created", ctypes.c_double),
                ("modified", ctypes.c_double)]


class UploadRecord(ctypes.Structure):
    _fields_ = [("file_index", ctypes.c_int32), ("type", ctypes.c_int16),
                ("start_address", ctypes.c_uint32), ("end_address", ctypes.c_uint32),
                ("name", ctypes.c_char_p), ("data", BytePtr), ("length", ctypes.c_size_t)]


def _check_status(result: int, function: Any, _arguments: Any) -> int:
    if result < 0:
        raise errors.error_for(result, function.__name__, status_text(result))
    return result


_int, _uint, _size = ctypes.c_int, ctypes.c_uint, ctypes.c_size_t
_u16, _u32, _i16, _i32 = ctypes.c_uint16, ctypes.c_uint32, ctypes.c_int16, ctypes.c_int32
_u16p, _u32p = ctypes.POINTER(_u16), ctypes.POINTER(_u32)
_dblp, _sizep = ctypes.POINTER(ctypes.c_double), ctypes.POINTER(_size)
_text, _board = ctypes.c_char_p, BoardPointer

# name: argument types of the functions that return a status, checked on return
_STATUS_FUNCTIONS: Dict[str, List[Any]] = {
    "xdsp_board_open": [_text, ctypes.POINTER(BoardOptions), ctypes.POINTER(_board)],
    "xdsp_board_close": [_board],
    "xdsp_board_product_name": [_board, ctypes.c_char_p, _size],
    "xdsp_board_last_message": [_board, ctypes.c_char_p, _size],
    "xdsp_list_boards": [ctypes.POINTER(BoardInfoRecord), _size, _sizep],
    "xdsp_board_spi_transfer": [_board, ctypes.POINTER(SpiSettings), BytePtr, _size, BytePtr,
                                _size],
    "xdsp_board_gpio_read": [_board, _u16p],
    "xdsp_board_gpio_write": [_board, _u16],
    "xdsp_board_adc_read": [_board, _uint, _u16p],
    "xdsp_board_adc_enable": [_board, _int],
    "xdsp_board_flash_write": [_board, _u32, _u16, BytePtr, _size],
    "xdsp_board_flash_read": [_board, _u32, BytePtr, _size],
    "xdsp_board_teds_transfer": [_board, _u16, BytePtr, _size, BytePtr, _size],
    "xdsp_board_calibration_write": [_board, BytePtr],
    "xdsp_board_calibration_read": [_board, BytePtr],
    "xdsp_board_boot_loader_init": [_board, _u16, _u16, ctypes.POINTER(Identity)],
    "xdsp_board_boot_loader_query": [_board, _int, ctypes.c_char_p, _size],
    "xdsp_board_file": [_board, _uint, ctypes.POINTER(FileRecord)],
    "xdsp_board_file_table_read": [_board],
    "xdsp_board_file_checksum": [_board, _uint, _u16p],
    "xdsp_board_run": [_board],
    "xdsp_board_upload": [_board, ctypes.POINTER(UploadRecord), ProgressCallback,
                          ctypes.c_void_p],
    "xdsp_board_audio_mute": [_board, _int, _u16p],
    "xdsp_board_audio_line_out": [_board, _int, _u16p],
    "xdsp_board_audio_source": [_board, _i32, _u16p],
    "xdsp_board_audio_load_filter": [_board, _u32, _u16p],
    "xdsp_board_audio_load_algorithm": [_board, _i32, _u16p],
    "xdsp_board_audio_reset": [_board],
    "xdsp_board_audio_echo": [_board, BytePtr, _size],
}

# name: (result type, argument types) of the functions whose result is a value
_VALUE_FUNCTIONS: Dict[str, Any] = {
    "xdsp_status_text": (_text, [_int]),
    "xdsp_version": (_text, []),
    "xdsp_file_type_name": (_text, [_int]),
    "xdsp_checksum": (_u16, [BytePtr, _size]),
    # Its LINK_LOST is an answer, not a failure.
    "xdsp_board_online": (_int, [_board]),
}


def candidate_paths() -> List[str]:
    """Where the library is looked for, in order: XDSP_LIBRARY, next to this
    package (where a wheel carries it), then the system's search path."""
    found: List[str] = []
    override = os.environ.get("XDSP_LIBRARY")
    if override:
        found.append(override)
    beside = Path(__file__).resolve().parent / LIBRARY_NAME
    if beside.exists():
        found.append(str(beside))
    found.append(ctypes.util.find_library(_SEARCH_NAME) or LIBRARY_NAME)
    return found


class Library:
    """The loaded board API with its prototypes set: a function that returns a
    failed status raises the `xdsp.BoardError` subclass for it."""

    def __init__(self, path: str) -> None:
        #: The file the library was loaded from.
        self.path = path
        self._dll = ctypes.CDLL(path)
        for name, arguments in _STATUS_FUNCTIONS.items():
            function = getattr(self._dll, name)
            function.restype = ctypes.c_int
            function.argtypes = arguments
            function.errcheck = _check_status
        for name, (result, arguments) in _VALUE_FUNCTIONS.items():
            function = getattr(self._dll, name)
            function.restype = result
            function.argtypes = arguments

    def __getattr__(self, name: str) -> Callable[..., Any]:
        return getattr(self._dll, name)  # type: ignore[no-any-return]

    def version(self) -> str:
        """The library's version, "major.minor.patch.build"."""
        return decode(self._dll.xdsp_version())


def decode(raw: Optional[bytes]) -> str:
    """A UTF-8 text from the library."""
    return (raw or b"").decode("utf-8", "replace")


def status_text(status: int) -> str:
    """The library's short English text for a status."""
    return decode(library().xdsp_status_text(status))


_library: Optional[Library] = None
_load_lock = threading.Lock()


def library() -> Library:
    """The library, loaded on first use."""
    global _library
    with _load_lock:
        if _library is None:
            failures = []
            for path in candidate_paths():
                try:
                    _library = Library(path)
                    break
                except (OSError, AttributeError) as error:
                    failures.append(f"{path}: {error}")
            else:
                raise OSError("cannot load the xdsp board library; set XDSP_LIBRARY to its "
                              "path (" + "; ".join(failures) + ")")
        return _library
