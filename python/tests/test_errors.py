"""Failures come out as the exception their status names, with the board's
own words, and a closed board stays closed."""

import builtins
import logging
import re
import threading
from pathlib import Path

import pytest

import xdsp

HEADER = Path(__file__).resolve().parents[2] / "include" / "xdsp" / "board.h"


def test_statuses_and_version_match_the_library():
    enum = re.search(r"typedef enum xdsp_status \{(.*?)\} xdsp_status;", HEADER.read_text(),
                     re.S).group(1)
    declared = {name: int(value) for name, value in
                re.findall(r"XDSP_STATUS_(\w+)\s*=\s*(-?\d+)", enum)}
    assert declared == {status.name: status.value for status in xdsp.Status}
    assert xdsp.__version__ == xdsp.library().version()

    for error, builtin in ((xdsp.TimeoutError, builtins.TimeoutError),
                           (xdsp.NotFoundError, FileNotFoundError),
                           (xdsp.PermissionDeniedError, PermissionError),
                           (xdsp.BoardError, OSError)):
        assert issubclass(error, builtin) and issubclass(error, xdsp.BoardError)


def test_open_refusals(tmp_path, xdsp_emulator):
    missing = str(tmp_path / "missing.sock")
    with pytest.raises(FileNotFoundError) as raised:
        xdsp.open(missing)
    assert isinstance(raised.value, xdsp.NotFoundError)
    assert raised.value.status == xdsp.Status.NOT_FOUND and raised.value.path == missing
    assert "CreateFile Error" in str(raised.value)  # the library's own words

    with xdsp.open(xdsp_emulator) as board:
        with pytest.raises(xdsp.BusyError) as raised:
            xdsp.open(xdsp_emulator)
        assert raised.value.status == xdsp.Status.BUSY
        assert board.product == "XDSP Virtual Board"  # the refusal left it alone

    xdsp.open(xdsp_emulator)  # dropped at once: a board closes itself as garbage
    with xdsp.open(xdsp_emulator) as board:
        assert board.online


@pytest.mark.xdsp_emulator("--unacknowledged", "30")
def test_format_refused_stops_the_upload(xdsp_board, caplog):
    seen = []
    with pytest.raises(xdsp.FormatFailedError) as raised:
        xdsp_board.bootloader.upload(b"data", 2, name="d",
                                     progress=lambda sent, total: seen.append(sent))
    assert raised.value.detail == "Error in Format. Cancelling Upload."
    assert seen == [0]
    warnings = [record.getMessage() for record in caplog.records
                if record.levelno == logging.WARNING and record.name == "xdsp.board"]
    assert warnings == [f"{xdsp_board.path}: Error in Format. Cancelling Upload."]


def test_a_closed_board_raises_and_leaves_the_others_alone(xdsp_board_factory):
    first, second = xdsp_board_factory(), xdsp_board_factory("--product", "Two")
    first.bootloader.upload(b"one!", 1, name="one")
    second.bootloader.upload(b"two!", 1, name="two")
    first.close()
    first.close()  # a second close does nothing
    for call in (lambda: first.product, first.bootloader.files,
                 lambda: first.bootloader.checksum(1)):
        with pytest.raises(xdsp.ClosedError) as raised:
            call()
        assert raised.value.status == xdsp.Status.CLOSED
    assert not first.is_open and not first.online
    assert second.product == "Two"
    assert [entry.name for entry in second.bootloader.files()] == ["two"]


def test_close_from_another_thread_cancels_an_upload(xdsp_board):
    started = threading.Event()
    outcome = []

    def upload():
        try:
            xdsp_board.bootloader.upload(bytes(256 * 400), 1, name="long",
                                         progress=lambda sent, total: started.set())
        except xdsp.BoardError as error:
            outcome.append(error)

    worker = threading.Thread(target=upload)
    worker.start()
    assert started.wait(10)
    xdsp_board.close()
    worker.join(10)
    assert [type(error) for error in outcome] == [xdsp.CancelledError]


@pytest.mark.xdsp_emulator("--audio", "--audio-no-magic", "1")
def test_audio_commands(xdsp_board):
    with pytest.raises(xdsp.TimeoutError):
        xdsp_board.audio.mute(True)
    xdsp_board.audio.mute(False)
    xdsp_board.audio.source(2)
    xdsp_board.audio.echo(bytes(range(64)))
    with pytest.raises(ValueError):
        xdsp_board.audio.echo(b"odd")
