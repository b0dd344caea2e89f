"""Uploads through the boot loader: progress, checksums and the file table."""

import re

import pytest

import xdsp


def _upload_with_progress(board, data, index, **options):
    seen = []
    board.bootloader.upload(data, index, progress=seen.append, **options)
    return seen


def test_upload_reports_progress_and_lists_the_file(xdsp_emulator):
    data = bytes(range(256)) * 24 + b"odd"  # several packets and an odd length
    with xdsp.open(xdsp_emulator) as board:
        board.bootloader.identify()
        seen = _upload_with_progress(board, data, 3, name="filter.bin", type="FPGA")
        assert seen[:4] == [10, 15, 20, 25] and seen[-5:] == [80, 85, 90, 95, 100]
        assert seen == sorted(seen)
        (entry,) = board.bootloader.files()
        assert (entry.index, entry.name, entry.type_name) == (3, "filter.bin", "FPGA")
        assert entry.end - entry.start >= len(data) and entry.modified is not None
        # The padding zero leaves the byte sum alone.
        assert board.bootloader.checksum(3) == xdsp.compute_checksum(data)

        # A second, larger file goes after the first; the first keeps its place.
        board.bootloader.upload(bytes(40000), 4, name="big")
        first, second = board.bootloader.files()
        assert (first.start, first.end, first.name) == (entry.start, entry.end, entry.name)
        assert second.start >= first.end


def test_boot_image_upload_and_boot(xdsp_emulator):
    image = bytes(256) + bytes(range(1, 200)) + b"\x01"
    with xdsp.open(xdsp_emulator) as board:
        seen = _upload_with_progress(board, image, xdsp.BOOT_FILE)
        assert seen[-1] == 100
        # The boot image's checksum leaves out its first 256 bytes.
        assert board.bootloader.checksum(xdsp.BOOT_FILE) == xdsp.compute_checksum(image[256:])
        assert board.bootloader.files() == []
        board.bootloader.boot()


@pytest.mark.xdsp_emulator("--wrong-checksums", "1")
def test_checksum_mismatch_raises_and_a_retry_succeeds(xdsp_emulator):
    data = b"calibration table" * 100
    with xdsp.open(xdsp_emulator) as board:
        with pytest.raises(xdsp.ChecksumMismatch) as raised:
            board.bootloader.upload(data, 0, name="table")
        assert raised.value.code == 0x8009700D
        # The library's words: the board's checksum, then the data's.
        assert re.search("[0-9A-F]{4} != [0-9A-F]{4}", str(raised.value))
        assert isinstance(raised.value, xdsp.BootLoaderError)
        board.bootloader.upload(data, 0, name="table")  # the fault ran down


def test_progress_callback_exception_comes_out_after_the_upload(xdsp_emulator):
    def interrupt(percent):
        if percent >= 25:
            raise KeyboardInterrupt

    with xdsp.open(xdsp_emulator) as board:
        with pytest.raises(KeyboardInterrupt):
            board.bootloader.upload(bytes(2048), 1, name="x", progress=interrupt)
        # The upload itself ran to its end and left the board usable.
        assert board.bootloader.checksum(1) == 0
        assert [entry.index for entry in board.bootloader.files()] == [1]


def test_upload_arguments_are_checked_before_anything_is_sent(xdsp_emulator):
    with xdsp.open(xdsp_emulator) as board:
        for index in (-1, 15, 300):
            with pytest.raises(ValueError):
                board.bootloader.upload(b"ab", index)
        with pytest.raises(ValueError):
            board.bootloader.upload(bytes(3 * 1024 * 1024), 0)
        with pytest.raises(ValueError):
            board.bootloader.upload(b"ab", 0, type="Program")
        assert board.bootloader.files() == []


def test_names_cross_as_utf16_and_the_board_keeps_latin1(xdsp_emulator):
    with xdsp.open(xdsp_emulator) as board:
        board.bootloader.upload(b"ab", 5, name="caf\u00e9 \u2603 \U0001d11e")
        # The library's table holds the name as given until it is read again.
        assert board.bootloader.file(5).name == "caf\u00e9 \u2603 \U0001d11e"
        board.bootloader.identify()
        # One "?" for each UTF-16 unit outside Latin-1: two for the surrogate pair.
        assert board.bootloader.file(5).name == "caf\u00e9 ? ??"


@pytest.mark.xdsp_emulator("--answer-write-only", "--late-answers", "2",
                           "--report-period-us", "500")
def test_a_board_that_answers_late_and_unasked(xdsp_emulator):
    data = bytes(range(7, 250)) * 5
    with xdsp.open(xdsp_emulator) as board:
        identity = board.bootloader.identify()
        assert (identity.version, identity.dsp) == ("2.61", "21 46 90 01")
        board.bootloader.upload(data, 2, name="late")
        assert board.bootloader.checksum(2) == xdsp.compute_checksum(data)
        assert [entry.name for entry in board.bootloader.files()] == ["late"]
