#!/usr/bin/env python3
"""Lists the boards, opens the first one (or the device given), prints its
product and its boot loader's identification, uploads a file with a progress
bar (Ctrl-C cancels it), reads the file's checksum back and starts the DSP
program."""

from __future__ import annotations

import argparse
import logging
import sys
from pathlib import Path

import xdsp


def show_progress(sent: int, total: int) -> None:
    width = 40
    filled = sent * width // total if total else width
    print(f"\rUploading [{'#' * filled}{'.' * (width - filled)}] {sent}/{total} bytes", end="",
          flush=True)
    if sent >= total:
        print()


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("file", type=Path, help="the file to upload")
    parser.add_argument("-d", "--device", help="device path (default: the first board found)")
    parser.add_argument("--index", type=int, default=0, help="file index 0 to 14 (default 0)")
    parser.add_argument("-v", "--verbose", action="store_true", help="show the library's lines")
    arguments = parser.parse_args()
    logging.basicConfig(level=logging.DEBUG if arguments.verbose else logging.WARNING,
                        format="%(name)s: %(message)s")

    found = xdsp.boards()
    for board_info in found:
        port = board_info.serial_port or "no serial port"
        state = "" if board_info.status == xdsp.Status.OK else f", {board_info.status.name}"
        print(f"{board_info.kind.name.title()} {board_info.path} ({board_info.product or '?'}, "
              f"{port}{state})")
    path = arguments.device or next((board_info.path for board_info in found
                                     if board_info.status == xdsp.Status.OK), None)
    if path is None:
        print("No free board found: give a device path with --device", file=sys.stderr)
        return 1

    data = arguments.file.read_bytes()
    try:
        with xdsp.open(path) as board:
            print(f"Product: {board.product}")
            info = board.bootloader.identify()
            print(f"Boot loader {info.version}, {info.product}, DSP {info.dsp}, "
                  f"flash {info.memory_size // 1024} KiB")
            board.bootloader.upload(data, arguments.index, name=arguments.file.name,
                                    progress=show_progress)
            checksum = board.bootloader.checksum(arguments.index)
            print(f"Checksum {checksum:04X} (the file's: {xdsp.compute_checksum(data):04X})")
            board.bootloader.boot()
            print("DSP program started")
    except xdsp.BoardError as error:
        print(f"\n{error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        print("\nUpload cancelled; the file was erased", file=sys.stderr)
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
