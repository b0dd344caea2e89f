"""Uploads through the boot loader: progress, cancelling, checksums and the
file table."""

import re
import signal
import threading

import pytest

import xdsp


def test_upload_reports_progress_and_lists_the_file(xdsp_board):
    data = bytes(range(256)) * 24 + b"odd"  # several packets and an odd length
    seen = []
    xdsp_board.bootloader.upload(data, 3, name="filter.bin", type="FPGA",
                                 progress=lambda sent, total: seen.append((sent, total)))
    total = len(data)  # the caller's bytes, not the zero that pads them to words
    assert seen[0] == (0, total) and seen[-1] == (total, total)
    assert [sent for sent, _ in seen] == sorted(sent for sent, _ in seen)
    (entry,) = xdsp_board.bootloader.files()
    assert (entry.index, entry.name, entry.type_name) == (3, "filter.bin", "FPGA")
    assert entry.end - entry.start >= len(data) and entry.modified is not None
    assert xdsp_board.bootloader.checksum(3) == xdsp.compute_checksum(data)

    # A second, larger file goes after the first; the first keeps its place.
    xdsp_board.bootloader.upload(bytes(40000), 4, name="big")
    first, second = xdsp_board.bootloader.files()
    assert (first.start, first.end, first.name) == (entry.start, entry.end, entry.name)
    assert second.start >= first.end


@pytest.mark.xdsp_emulator("--wrong-checksums", "1")
def test_checksum_mismatch_raises_and_a_retry_succeeds(xdsp_emulator):
    data = b"calibration table" * 100
    with xdsp.open(xdsp_emulator) as board:
        with pytest.raises(xdsp.ChecksumMismatch) as raised:
            board.bootloader.upload(data, 0, name="table")
        assert raised.value.status == xdsp.Status.CHECKSUM_MISMATCH
        # The library's words: the board's checksum, then the data's.
        assert re.search("[0-9A-F]{4} != [0-9A-F]{4}", str(raised.value))
        board.bootloader.upload(data, 0, name="table")  # the fault ran down


@pytest.fixture
def ctrl_c_raises():
    """Python's own Ctrl-C handler for the test, also where the tests run with
    SIGINT ignored, as a background job of a shell without job control does."""
    previous = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, previous)


def test_ctrl_c_cancels_the_upload_and_erases_the_file(xdsp_board, ctrl_c_raises):
    xdsp_board.bootloader.upload(b"kept", 0, name="kept")
    data = bytes(16384)
    sent_so_far = []
    under_way = threading.Event()

    def follow(sent, _total):
        sent_so_far.append(sent)
        if sent >= 1024:
            under_way.set()

    # A real SIGINT, from elsewhere, as the terminal sends it: it may come in
    # any of the board's callbacks.
    pressing = threading.Thread(
        target=lambda: under_way.wait(10) and signal.raise_signal(signal.SIGINT))
    pressing.start()
    with pytest.raises(KeyboardInterrupt):
        xdsp_board.bootloader.upload(data, 1, name="cut", progress=follow)
    pressing.join()
    assert 1024 <= sent_so_far[-1] < len(data)
    assert [entry.name for entry in xdsp_board.bootloader.files()] == ["kept"]
    xdsp_board.bootloader.identify()  # the board's own table agrees
    assert [entry.name for entry in xdsp_board.bootloader.files()] == ["kept"]
    xdsp_board.bootloader.upload(b"whole", 1, name="whole")
    assert xdsp_board.bootloader.checksum(1) == xdsp.compute_checksum(b"whole")


def test_upload_arguments_are_checked_before_anything_is_sent(xdsp_board):
    for index, file_type in ((-1, None), (15, None), (300, None), (0, "Program")):
        with pytest.raises(ValueError):
            xdsp_board.bootloader.upload(b"ab", index, type=file_type)
    assert xdsp_board.bootloader.files() == []


def test_names_cross_as_utf8_and_the_board_keeps_latin1(xdsp_board):
    xdsp_board.bootloader.upload(b"ab", 5, name="caf\u00e9 \u2603 \U0001d11e")
    xdsp_board.bootloader.identify()
    assert xdsp_board.bootloader.file(5).name == "caf\u00e9 ? ??"
