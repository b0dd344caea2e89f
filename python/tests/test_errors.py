"""Failures come out as the exception their last-error code names."""

import logging
import subprocess
import sys

import pytest

import xdsp


def test_board_held_by_another_process_is_busy(xdsp_emulator):
    holder = subprocess.Popen(
        [sys.executable, "-c",
         "import sys, xdsp\nboard = xdsp.open(sys.argv[1])\nprint('open', flush=True)\n"
         "sys.stdin.read()", xdsp_emulator],
        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    try:
        assert holder.stdout.readline().strip() == "open"
        with pytest.raises(xdsp.BusyError) as raised:
            xdsp.open(xdsp_emulator)
        assert raised.value.code == 32
    finally:
        holder.communicate("")
    assert holder.returncode == 0
    with xdsp.open(xdsp_emulator) as board:  # free again once the holder left
        assert board.product


@pytest.mark.xdsp_emulator("--unacknowledged", "30")
def test_format_refused_stops_the_upload(xdsp_emulator):
    with xdsp.open(xdsp_emulator) as board:
        seen = []
        with pytest.raises(xdsp.FormatFailedError) as raised:
            board.bootloader.upload(b"data", 2, name="d", progress=seen.append)
        assert raised.value.code == 11
        assert seen == [10, 15]


@pytest.mark.xdsp_emulator("--silent")
def test_silent_boot_loader(xdsp_emulator):
    with xdsp.open(xdsp_emulator) as board:
        with pytest.raises(xdsp.BootLoaderError, match="did not answer"):
            board.bootloader.identify()


@pytest.mark.xdsp_emulator("--unacknowledged", "2B")
def test_message_box_becomes_warning_and_exception_text(xdsp_emulator, caplog):
    with xdsp.open(xdsp_emulator) as board:
        with pytest.raises(xdsp.BootLoaderError, match="file table could not be read") as raised:
            board.bootloader.identify()
        assert "FAI Error" in str(raised.value)
        assert [record.getMessage() for record in caplog.records
                if record.levelno == logging.WARNING] == ["FAI Error"]


def test_argument_refused_by_the_library(xdsp_emulator):
    with xdsp.open(xdsp_emulator) as board:
        with pytest.raises(xdsp.InvalidArgumentError) as raised:
            board.spi(bytes(600), select=1)  # longer than an output report
        assert raised.value.code == 87 and xdsp.InvalidArgument is xdsp.InvalidArgumentError
        assert "writeLength 600 refused" in str(raised.value)
        board.flash.write(0x2000, b"still fine")


def test_closed_board_raises_no_link(xdsp_emulator):
    board = xdsp.open(xdsp_emulator)
    board.close()
    board.close()  # a second close does nothing
    with pytest.raises(xdsp.NoLinkError) as raised:
        board.product
    assert raised.value.code == 6 and xdsp.NotOpenError is xdsp.NoLinkError
    with pytest.raises(xdsp.NoLinkError):
        board.bootloader.identify()


@pytest.mark.xdsp_emulator("--audio", "--audio-no-magic", "1")
def test_audio_commands(xdsp_emulator):
    with xdsp.open(xdsp_emulator) as board:
        with pytest.raises(xdsp.AudioError):
            board.audio.mute(True)
        board.audio.mute(False)
        board.audio.source(2)
        assert board.audio.echo(bytes(range(64)))
        with pytest.raises(ValueError):
            board.audio.echo(b"odd")
