"""The file table's OLE automation dates."""

import datetime

from xdsp.bootloader import from_ole_date


def test_ole_dates():
    assert from_ole_date(0.0) is None  # no date
    assert from_ole_date(1.5) == datetime.datetime(1899, 12, 31, 12)
    assert from_ole_date(45000.75) == datetime.datetime(2023, 3, 15, 18)
    # Before the epoch the day counts down but the time of day still counts up.
    assert from_ole_date(-1.25) == datetime.datetime(1899, 12, 29, 6)
