"""The shared library: finding it, its function prototypes, its last-error
code, UTF-16 strings and the sinks for its debug lines and message boxes."""

from __future__ import annotations

import atexit
import ctypes
import ctypes.util
import logging
import os
import sys
import threading
from collections import deque
from pathlib import Path
from typing import Any, Callable, Deque, Dict, List, Optional, Sequence

logger = logging.getLogger("xdsp")

WINDOWS = sys.platform == "win32"

# xdsp_char16 is char16_t on Linux and wchar_t on Windows: 16 bits on both,
# while ctypes.c_wchar is 32 bits on Linux, so texts travel as uint16 arrays.
Char16 = ctypes.c_uint16
Char16Ptr = ctypes.POINTER(Char16)
BytePtr = ctypes.POINTER(ctypes.c_uint8)

DEVICE_PATH_CHARS = 260
FRIENDLY_NAME_CHARS = 64


class DeviceRecord(ctypes.Structure):
    _fields_ = [
        ("matchNumber", ctypes.c_uint32),
        ("hidIndex", ctypes.c_uint32),
        ("devicePath", Char16 * DEVICE_PATH_CHARS),
    ]


if WINDOWS:
    # Every export is __stdcall on x86; on x64 both factories are the same.
    _FunctionType = ctypes.WINFUNCTYPE  # type: ignore[attr-defined]
else:
    _FunctionType = ctypes.CFUNCTYPE

ProgressCallback = _FunctionType(ctypes.c_int32, ctypes.c_int32, ctypes.c_uint32)
DebugHandler = ctypes.CFUNCTYPE(None, Char16Ptr, ctypes.c_void_p)
MessageHandler = ctypes.CFUNCTYPE(ctypes.c_int, Char16Ptr, Char16Ptr, ctypes.c_uint32,
                                  ctypes.c_void_p)

_u8, _u16, _u32, _i16, _i32 = (ctypes.c_uint8, ctypes.c_uint16, ctypes.c_uint32, ctypes.c_int16,
                               ctypes.c_int32)
_dbl = ctypes.POINTER(ctypes.c_double)
_u16p, _u32p = ctypes.POINTER(_u16), ctypes.POINTER(_u32)

# name: (result type, argument types)
_PROTOTYPES: Dict[str, Any] = {
    "EnumUSBHIDDevices": (_u32, [_u16, _u16, ctypes.POINTER(DeviceRecord), _u32]),
    "GetMatchingHID_COMDevice": (_i32, [Char16Ptr, Char16Ptr, Char16Ptr]),
    "InitializeHIDUSBPacketPath": (_i32, [Char16Ptr]),
    "DestroyHIDUSBPacket": (_i32, []),
    "IsOnline": (_i32, []),
    "IsDeviceInitialized": (_i32, []),
    "GetPIN": (_u16, []),
    "GetProductNameStruct": (None, [BytePtr]),
    "GetGPIOIn": (_u16, []),
    "SetGPIOOut": (None, [_u16]),
    "GetADCIn": (_u16, [_u32]),
    "XMOS_EnableADC": (_u32, [_i32]),
    "WriteSPIEx": (_i32, [_u16, _u16, _i32, _u16, _u16, BytePtr, _u32, BytePtr, _u32]),
    "WriteFLASH": (_i32, [_u32, _u16, BytePtr, _u32]),
    "ReadFLASH": (_i32, [_u32, BytePtr, _u32]),
    "WriteTEDS": (_i32, [_u16, BytePtr, _u32, BytePtr, _u32]),
    "WriteCalibrate": (_i32, [BytePtr]),
    "ReadCalibrate": (_i32, [BytePtr]),
    "BootLoader_Init": (_i32, [_u16, _u16]),
    "BootLoader_GetVersion": (Char16Ptr, []),
    "BootLoader_GetProduct": (Char16Ptr, []),
    "BootLoader_GetDSP": (Char16Ptr, []),
    "BootLoader_GetMemory": (_u32, []),
    "XMOSBoot_GetMemoryType": (Char16Ptr, []),
    "BootLoader_MaxFiles": (_u32, []),
    "BootLoader_GetFileDesc": (_i32, [_i32, _u16p, _u32p, _u32p, _u32p, Char16Ptr, _u32, _dbl,
                                      _dbl]),
    "BootLoader_GetTypeName": (Char16Ptr, [_i16]),
    "BootLoader_Send": (_i32, [_i32, _i16, _u32, _u32, Char16Ptr, BytePtr, _u32, _i32,
                               ProgressCallback, _u32]),
    "BootLoader_GetFileChecksum": (_u16, [_i32]),
    "BootLoader_ComputeFileChecksum": (_u16, [BytePtr, _u32]),
    "BootLoader_Boot": (_i32, []),
    "Halvio_Mute": (_i32, [_i32]),
    "Halvio_LineOut": (_i32, [_i32]),
    "Halvio_Source": (_i32, [_i32]),
    "Halvio_LoadFilter": (_i32, [_u32]),
    "Halvio_LoadAlgorithm": (_i32, [_i32]),
    "Halvio_Reset": (None, []),
    "Halvio_Echo": (_i32, [BytePtr, _u32]),
}

_LINUX_EXTRAS: Dict[str, Any] = {
    "xdsp_last_error": (_u32, []),
    "xdsp_set_last_error": (None, [_u32]),
    "xdsp_set_debug_handler": (None, [DebugHandler, ctypes.c_void_p]),
    "xdsp_set_message_handler": (None, [MessageHandler, ctypes.c_void_p]),
}

LIBRARY_NAME = "xdsp.dll" if WINDOWS else "libxdsp.so"


def candidate_paths() -> List[str]:
    """Where the library is looked for, in order: XDSP_LIBRARY, next to this
    package, then the system's search path."""
    found: List[str] = []
    override = os.environ.get("XDSP_LIBRARY")
    if override:
        found.append(override)
    beside = Path(__file__).resolve().parent / LIBRARY_NAME
    if beside.exists():
        found.append(str(beside))
    found.append(ctypes.util.find_library("xdsp") or LIBRARY_NAME)
    return found


def text_in(text: str) -> "ctypes.Array[ctypes.c_uint16]":
    """A zero-terminated UTF-16 copy of text for the library."""
    units = text.encode("utf-16-le")
    buffer = (Char16 * (len(units) // 2 + 1))()
    ctypes.memmove(buffer, units, len(units))
    return buffer


def text_out(pointer: Any, limit: Optional[int] = None) -> str:
    """The zero-terminated UTF-16 text at pointer (a buffer or a pointer)."""
    if not pointer:
        return ""
    units: List[int] = []
    index = 0
    while limit is None or index < limit:
        unit = pointer[index]
        if unit == 0:
            break
        units.append(unit)
        index += 1
    return b"".join(unit.to_bytes(2, "little") for unit in units).decode("utf-16-le",
                                                                         "replace")


def byte_buffer(data: Sequence[int] | bytes | bytearray | memoryview
                ) -> "ctypes.Array[ctypes.c_uint8]":
    raw = bytes(data)
    return (ctypes.c_uint8 * max(len(raw), 1)).from_buffer_copy(raw or b"\0")


class _Diagnostics:
    """Joins the library's debug pieces into lines for the `xdsp` logger and
    keeps the latest lines and message boxes of each thread, so that a failed
    call can say what the library said."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        # Keyed by thread id: the poll thread is not a Python thread and gets
        # a fresh thread state, so threading.local would forget its pieces.
        self._pieces: Dict[int, str] = {}
        self._lines: Dict[int, Deque[str]] = {}
        self._messages: Dict[int, List[str]] = {}

    def begin_call(self) -> None:
        ident = threading.get_ident()
        with self._lock:
            self._messages.pop(ident, None)
            self._lines.pop(ident, None)

    def debug(self, text: str) -> None:
        ident = threading.get_ident()
        with self._lock:
            pending = self._pieces.pop(ident, "") + text
            *lines, rest = pending.split("\n")
            if rest:
                self._pieces[ident] = rest
            lines = [line.rstrip("\r") for line in lines if line.strip()]
            recent = self._lines.setdefault(ident, deque(maxlen=16))
            recent.extend(lines)
        for line in lines:
            logger.debug("%s", line)

    def message(self, text: str, caption: str) -> None:
        shown = f"{caption}: {text}" if caption else text
        with self._lock:
            self._messages.setdefault(threading.get_ident(), []).append(shown)
        logger.warning("%s", shown.replace("\n", " "))

    def said(self) -> str:
        """What the library showed in message boxes during this thread's call,
        else its last debug line."""
        ident = threading.get_ident()
        with self._lock:
            messages = self._messages.get(ident, [])
            if messages:
                return "; ".join(message.replace("\n", " ") for message in messages)
            lines = self._lines.get(ident)
            return lines[-1].strip() if lines else ""


diagnostics = _Diagnostics()


def _on_debug(text: Any, _context: Any) -> None:
    try:
        diagnostics.debug(text_out(text))
    except Exception:  # an exception must not unwind into the library
        logger.exception("xdsp debug handler failed")


def _on_message(text: Any, caption: Any, _style: int, _context: Any) -> int:
    try:
        diagnostics.message(text_out(text), text_out(caption))
    except Exception:
        logger.exception("xdsp message handler failed")
    return 1  # IDOK: the library only waits for the box to close


class Library:
    """The loaded library with its prototypes set."""

    def __init__(self, path: str) -> None:
        if WINDOWS:
            self.dll = ctypes.WinDLL(path, use_last_error=True)  # type: ignore[attr-defined]
        else:
            self.dll = ctypes.CDLL(path)
        self.path = path
        tables = [_PROTOTYPES] if WINDOWS else [_PROTOTYPES, _LINUX_EXTRAS]
        for table in tables:
            for name, (result, arguments) in table.items():
                function = getattr(self.dll, name)
                function.restype = result
                function.argtypes = arguments
        if not WINDOWS:
            # Kept on the instance: the library holds only the raw pointers.
            self._debug_handler = DebugHandler(_on_debug)
            self._message_handler = MessageHandler(_on_message)
            self.dll.xdsp_set_debug_handler(self._debug_handler, None)
            self.dll.xdsp_set_message_handler(self._message_handler, None)
            atexit.register(self._silence)

    def _silence(self) -> None:
        self.dll.xdsp_set_debug_handler(DebugHandler(), None)
        self.dll.xdsp_set_message_handler(MessageHandler(), None)

    def __getattr__(self, name: str) -> Callable[..., Any]:
        return getattr(self.dll, name)  # type: ignore[no-any-return]

    def last_error(self) -> int:
        """The calling thread's last-error code (GetLastError() on Windows)."""
        if WINDOWS:
            return ctypes.get_last_error() & 0xFFFFFFFF  # type: ignore[attr-defined]
        return int(self.dll.xdsp_last_error())

    def clear_last_error(self) -> None:
        """Sets the calling thread's last-error code to 0."""
        if WINDOWS:
            ctypes.set_last_error(0)  # type: ignore[attr-defined]
        else:
            self.dll.xdsp_set_last_error(0)


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
                except OSError as error:
                    failures.append(f"{path}: {error}")
            else:
                raise OSError("cannot load the xdsp library; set XDSP_LIBRARY to its path ("
                              + "; ".join(failures) + ")")
        return _library
