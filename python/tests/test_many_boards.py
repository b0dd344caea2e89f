"""Several boards in one process, each with its own handle and thread."""

import sys
import threading
import time

import pytest

import xdsp

BOARDS = 4


def _upload_and_verify(board, number):
    data = bytes((number * 37 + offset) % 251 for offset in range(8192 + number * 512))
    board.bootloader.upload(data, number, name=f"file-{number}")
    assert board.bootloader.checksum(number) == xdsp.compute_checksum(data)
    assert [(entry.index, entry.name) for entry in board.bootloader.files()] == \
        [(number, f"file-{number}")]


def test_four_boards_upload_in_parallel_in_about_the_time_of_one(xdsp_board_factory):
    boards = [xdsp_board_factory() for _ in range(BOARDS)]
    alone = xdsp_board_factory()
    began = time.monotonic()
    _upload_and_verify(alone, 0)
    single = time.monotonic() - began

    failures = []

    def work(board, number):
        try:
            _upload_and_verify(board, number)
        except BaseException as error:  # noqa: B902 - reported by the test's thread
            failures.append((number, error))

    threads = [threading.Thread(target=work, args=(board, number))
               for number, board in enumerate(boards)]
    began = time.monotonic()
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    together = time.monotonic() - began
    print(f"one upload {single:.2f} s, {BOARDS} in parallel {together:.2f} s")
    assert failures == []
    assert together < 2 * single


@pytest.mark.skipif(sys.platform == "win32", reason="emulators serve named pipes there")
def test_boards_lists_running_emulators(tmp_path, monkeypatch, xdsp_emulator_factory):
    monkeypatch.setenv("XDG_RUNTIME_DIR", str(tmp_path))
    (tmp_path / "xdsp").mkdir()
    held = xdsp_emulator_factory("--product", "Held", path=str(tmp_path / "xdsp" / "emu-1.sock"))
    free = xdsp_emulator_factory("--product", "Free", path=str(tmp_path / "xdsp" / "emu-2.sock"))
    with xdsp.open(held):
        listed = [found for found in xdsp.boards() if found.kind == xdsp.BoardKind.EMULATOR]
    assert [(found.path, found.product, found.status) for found in listed] == \
        [(held, "", xdsp.Status.BUSY), (free, "Free", xdsp.Status.OK)]
    with xdsp.open(free) as board:  # listing let go of it again
        assert board.product == "Free"
