"""Opening an emulated board and identifying it and its boot loader."""

import logging

import pytest

import xdsp


def test_identifies_board_and_boot_loader(xdsp_emulator):
    with xdsp.open(xdsp_emulator) as board:
        assert board.is_open and board.online and board.path == xdsp_emulator
        assert board.product == "XDSP Virtual Board"
        info = board.bootloader.identify()
        assert info.version == "2.61"
        assert info.dsp == "21 46 90 01"
        assert info.memory_type == "BF 25 41 01"
        assert info.memory_size == 2 * 1024 * 1024
        assert info.product  # the product table's name for the default code
        assert board.bootloader.files() == []
    assert not board.is_open


@pytest.mark.xdsp_emulator("--loopback", "--gpio", "1234")
def test_device_commands(xdsp_emulator):
    with xdsp.open(xdsp_emulator) as board:
        board.product  # the first report has come once the board named itself
        assert board.gpio.inputs & 0x1234 == 0x1234
        board.gpio.outputs = 0x00A5
        assert board.gpio.outputs == 0x00A5
        assert board.spi(b"\x01\x02\x03\x04", 4, select=1) == b"\x01\x02\x03\x04"
        assert 0 <= board.adc(3) <= 16383
        with pytest.raises(ValueError):
            board.adc(4)
        data = bytes(range(256)) * 2 + b"tail"
        board.flash.write(0x1000, data)  # three chunks, the last a short one
        assert board.flash.read(0x1000, len(data)) == data
        block = bytes(range(40))
        board.calibration = block
        assert board.calibration == block
        with pytest.raises(ValueError):
            board.calibration = b"short"


def test_each_board_logs_whole_lines_with_its_path(xdsp_board_factory, caplog):
    caplog.set_level(logging.DEBUG, logger="xdsp.board")
    first, second = xdsp_board_factory(), xdsp_board_factory()
    first.bootloader.identify()
    second.close()
    records = [record for record in caplog.records if record.name == "xdsp.board"]
    for board in (first, second):
        lines = [record.getMessage() for record in records
                 if getattr(record, "board_path", None) == board.path]
        assert lines, f"{board.path} logged nothing"
        assert all(line.startswith(f"{board.path}: ") for line in lines)
        assert all("\n" not in line and "\r" not in line and line.split(": ", 1)[1].strip()
                   for line in lines)
    assert any("GetMemoryType()" in record.getMessage() for record in records
               if record.board_path == first.path)
