"""The library holds one board per process, and so does the package."""

import pytest

import xdsp


def test_second_open_raises_and_leaves_the_first_open(xdsp_emulator_factory):
    first_path, second_path = xdsp_emulator_factory(), xdsp_emulator_factory("--product", "Two")
    with xdsp.open(first_path) as first:
        for path in (second_path, first_path):
            with pytest.raises(xdsp.BoardInUseError, match="one board per process"):
                xdsp.open(path)
        assert first.is_open and first.product == "XDSP Virtual Board"
    with xdsp.open(second_path) as second:
        assert second.product == "Two"
        with pytest.raises(xdsp.NoLinkError):
            first.product  # the old board object stays closed


def test_failed_open_does_not_hold_the_slot(tmp_path, xdsp_emulator):
    with pytest.raises(xdsp.NotFoundError) as raised:
        xdsp.open(str(tmp_path / "missing.sock"))
    assert raised.value.code == 2
    assert "CreateFile Error" in str(raised.value)  # the library's own words
    with xdsp.open(xdsp_emulator) as board:
        assert board.is_open


@pytest.mark.xdsp_emulator("--output-length", "0")
def test_open_whose_link_never_starts_frees_the_slot(xdsp_emulator, xdsp_emulator_factory):
    # Without output reports the poll thread never sets the link up.
    with pytest.raises(xdsp.NoLinkError, match="did not start"):
        xdsp.open(xdsp_emulator)
    with xdsp.open(xdsp_emulator_factory()) as board:
        assert board.is_open
