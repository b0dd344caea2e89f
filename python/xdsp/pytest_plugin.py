"""pytest fixtures that give each test its own emulated boards (xdsp-emu),
open or to open.

Loaded by the `pytest11` entry point when the package is installed, or with
`pytest_plugins = ["xdsp.pytest_plugin"]` in a conftest.py::

    def test_identifies(xdsp_board):             # an open board on its own emulator
        assert board.bootloader.identify().version == "2.61"

    @pytest.mark.xdsp_emulator("--wrong-checksums", "1")
    def test_mismatch(xdsp_board):               # the same, with emulator options
        ...

    def test_path(xdsp_emulator):                # only the path, for xdsp.open()
        ...

    def test_four(xdsp_board_factory):           # as many boards as needed
        boards = [xdsp_board_factory("--product", str(n)) for n in range(4)]

The emulator is XDSP_EMU when set, else xdsp-emu next to the library (or in the
build tree's emulator/ beside it), else xdsp-emu on PATH. Each is served on a
socket in a fresh temporary directory (a named pipe on Windows) and stopped
after the test.
"""

from __future__ import annotations

import ctypes
import os
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Callable, Iterator, List, Optional

import pytest

from ._native import WINDOWS, candidate_paths
from .board import Board
from .board import open as open_board

#: The emulator's file name on this system.
EMULATOR_NAME = "xdsp-emu.exe" if WINDOWS else "xdsp-emu"
#: How long an emulator may take to serve its path.
START_SECONDS = 10.0
#: How long a stopped emulator may take to leave before it is killed.
STOP_SECONDS = 5.0


def find_emulator() -> str:
    """The xdsp-emu executable to run; raises FileNotFoundError when none is found."""
    override = os.environ.get("XDSP_EMU")
    if override:
        return override
    for library in candidate_paths():
        folder = Path(library).parent
        for candidate in (folder / EMULATOR_NAME, folder.parent / "emulator" / EMULATOR_NAME):
            if candidate.is_file():
                return str(candidate)
    on_path = shutil.which(EMULATOR_NAME)
    if on_path:
        return on_path
    raise FileNotFoundError(f"{EMULATOR_NAME} not found: set XDSP_EMU to its path")


def _served(path: str) -> bool:
    if WINDOWS:
        # Asks for a free pipe instance without taking it.
        kernel32 = ctypes.windll.kernel32  # type: ignore[attr-defined]
        return bool(kernel32.WaitNamedPipeW(path, 1))
    return os.path.exists(path)


class Emulator:
    """One running xdsp-emu serving a board at `path` (by default a socket in a
    fresh temporary directory, or a named pipe on Windows)."""

    def __init__(self, executable: str, options: List[str], path: Optional[str] = None) -> None:
        self._folder = tempfile.mkdtemp(prefix="xdsp-")  # short: socket paths are limited
        default = rf"\\.\pipe\{os.path.basename(self._folder)}" if WINDOWS else \
            os.path.join(self._folder, "board.sock")
        self.path = path or default
        self.options = options
        self.process = subprocess.Popen([executable, self.path, *options],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self._wait_for_socket()

    def _wait_for_socket(self) -> None:
        deadline = time.monotonic() + START_SECONDS
        while not _served(self.path):
            if self.process.poll() is not None:
                message = self.process.stderr.read().decode(errors="replace") \
                    if self.process.stderr else ""
                self.stop()
                raise RuntimeError(f"xdsp-emu {' '.join(self.options)} exited with "
                                   f"{self.process.returncode}: {message.strip()}")
            if time.monotonic() > deadline:
                self.stop()
                raise RuntimeError(f"xdsp-emu did not serve {self.path} in {START_SECONDS} s")
            time.sleep(0.01)

    def stop(self) -> None:
        """Stops the emulator (SIGTERM, then SIGKILL after 5 s) and removes its
        temporary directory."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(STOP_SECONDS)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        if self.process.stderr:
            self.process.stderr.close()
        shutil.rmtree(self._folder, ignore_errors=True)


def pytest_configure(config: pytest.Config) -> None:
    """Registers the `xdsp_emulator` mark."""
    config.addinivalue_line("markers",
                            "xdsp_emulator(*options): xdsp-emu options for the xdsp_emulator "
                            "fixture, e.g. \"--wrong-checksums\", \"1\"")


@pytest.fixture
def xdsp_emulator_factory() -> Iterator[Callable[..., str]]:
    """Starts an emulator with the given xdsp-emu options (and at `path=` when
    given) and returns its device path; every emulator started is stopped
    after the test."""
    started: List[Emulator] = []
    executable: Optional[str] = None

    def start(*options: str, path: Optional[str] = None) -> str:
        nonlocal executable
        executable = executable or find_emulator()
        emulator = Emulator(executable, list(options), path)
        started.append(emulator)
        return emulator.path

    yield start
    for emulator in started:
        emulator.stop()


@pytest.fixture
def xdsp_emulator(request: pytest.FixtureRequest,
                  xdsp_emulator_factory: Callable[..., str]) -> str:
    """The device path of an emulator started with the options of the test's
    `xdsp_emulator` mark (none: the default board with its boot loader)."""
    mark = request.node.get_closest_marker("xdsp_emulator")
    options = [str(option) for option in mark.args] if mark else []
    return xdsp_emulator_factory(*options)


@pytest.fixture
def xdsp_board_factory(xdsp_emulator_factory: Callable[..., str]
                       ) -> Iterator[Callable[..., Board]]:
    """Starts an emulator with the given xdsp-emu options and returns the board
    opened on it; every board is closed, and its emulator stopped, after the
    test."""
    opened: List[Board] = []

    def start(*options: str) -> Board:
        board = open_board(xdsp_emulator_factory(*options))
        opened.append(board)
        return board

    yield start
    for board in opened:
        board.close()


@pytest.fixture
def xdsp_board(xdsp_emulator: str) -> Iterator[Board]:
    """The board opened on the test's own `xdsp_emulator`, closed after the test."""
    with open_board(xdsp_emulator) as board:
        yield board
