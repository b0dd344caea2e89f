#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets (but the descriptors, which come
from tests/data/hid-descriptors.tsv): well-formed inputs of each kind and a few
near misses, so that a short run starts from the interesting paths."""
import pathlib
import struct

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"


def write(target, name, data):
    folder = CORPUS / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(bytes(data))


def wide(text):
    return text.encode("utf-16-le")


def input_report(code, payload, length=514, sequence=1, status=0x04, adc=0x4123, gpio=0x0002):
    report = bytearray(length)
    struct.pack_into("<HBBHHH", report, 2, 0x4452, sequence, status, adc, gpio, code)
    checksum = ~(0x4452 + adc + gpio + code) & 0xFFFF
    struct.pack_into("<H", report, 12, checksum)
    report[14:14 + len(payload)] = payload[:length - 14]
    return bytes([0]) + report  # choice byte 0: the header is taken as it is


def name_date_block(name, modified, created):
    block = bytearray(128)
    block[0:len(name)] = name
    block[64:64 + len(modified)] = modified
    block[84:84 + len(created)] = created
    block = bytearray(ord("*") if b in (0x00, 0xCC, 0xFF) else b for b in block)
    for i in range(0, 128, 2):
        block[i], block[i + 1] = block[i + 1], block[i]
    return bytes(block)


def input_reports():
    product = bytearray(188)
    product[16:16 + 9] = b"DSP Board"
    write("fuzz_input_report", "product_name", input_report(0xF000, product))
    write("fuzz_input_report", "layout", input_report(0xF001, bytes(range(200))))
    flash = bytearray(500)
    struct.pack_into("<H", flash, 276 - 14, 256)
    write("fuzz_input_report", "flash_read", input_report(0xF020, flash))
    spi = bytearray(500)
    struct.pack_into("<H", spi, 24 - 14, 22)
    write("fuzz_input_report", "spi_transfer", input_report(0xF030, spi))
    struct.pack_into("<H", spi, 24 - 14, 486)
    write("fuzz_input_report", "spi_corrupted_length", input_report(0xF031, spi))
    write("fuzz_input_report", "pellix", input_report(0xF100, bytes(range(8))))
    write("fuzz_input_report", "pin", input_report(0xF201, bytes(500)))
    write("fuzz_input_report", "calibration", input_report(0xF225, bytes(range(40))))
    teds = bytearray(500)
    struct.pack_into("<H", teds, 2, 485)
    write("fuzz_input_report", "teds", input_report(0xF330, teds))
    write("fuzz_input_report", "short_report", input_report(0xF030, b"", length=16))
    write("fuzz_input_report", "no_payload", input_report(0xF000, b"", status=0x01))


def device_names():
    paths = [
        "\\\\?\\hid#vid_20b1&pid_f7d1&mi_00#7&1a2b3c4d&0&0000#{4d1e55b2-f16f-11cf-88cb-001111000030}",
        "\\\\?\\hid#vid_20b1&pid_f7d1#6&2b3c4d5e&0&0000#{4d1e55b2-f16f-11cf-88cb-001111000030}",
        "\\\\?\\HID#VID_20B1&PID_F7D1#upper",
        "/dev/hidraw0",
        "vid_FFFFFFFF&pid_&mi_",
    ]
    for i, path in enumerate(paths):
        write("fuzz_device_name", f"path{i}", wide(path))


def boot_commands():
    commands = [
        "BOOT\\x30\\x01\\x05", "BOOT\\x2F\\x01\\x00\\x0F", "USER\\x3C\\x01\\x00\\x01",
        "USER\\x3D\\x01\\x00\\x012", "a\\nb\\rc\\qd\\\\", "BOOT\\x2", "BOOT\\x", "\\xZZ\\x1G",
        "\u20ac\u00ffname",
    ]
    for i, command in enumerate(commands):
        write("fuzz_boot_command", f"command{i}", wide(command))
    write("fuzz_boot_command", "long", wide("\\x41" * 600))


def date_texts():
    texts = [b"2024-05-17 13:45:09", b"1899-12-30 00:00:00", b"0000-00-00 00:00:00",
             b"9999-12-31 23:59:59", b" 2000-1-0 1:2:3", b"0100-01-01 00:00:00",
             b"1800-06-15 18:00:00", b"+2020--02--30  -1:61:00", b"2021-02-28 23:59"]
    for i, text in enumerate(texts):
        write("fuzz_date_text", f"date{i}", text)


def file_tables():
    table = bytearray(168)
    table[2:6] = b"BOOT"
    struct.pack_into(">H", table, 6, 0x2B4B)
    for k in range(15):
        struct.pack_into(">HHHHH", table, 8 + 10 * k, 1, 4 + 8 * k, 11 + 8 * k, 0, 2)
    write("fuzz_file_table", "table", b"\x01" + table)
    record = bytearray(278)
    record[2:6] = b"BOOT"
    struct.pack_into(">H", record, 6, 0x2F81)
    record[17] = 3
    record[138:266] = name_date_block(b"program.ldr", b"2024-05-17 13:45:09", b"2023-01-02 03:04:05")
    write("fuzz_file_table", "record", b"\x00" + record)
    struct.pack_into(">H", record, 6, 0xAF01)
    record[138:266] = b"\xff" * 128
    write("fuzz_file_table", "erased_record", b"\x00" + record)


def name_date_blocks():
    write("fuzz_name_date_block", "named", name_date_block(b"program.ldr", b"2024-05-17 13:45:09",
                                                           b"2023-01-02 03:04:05"))
    write("fuzz_name_date_block", "erased", b"\xff" * 128)
    write("fuzz_name_date_block", "long_name", name_date_block(b"n" * 64, b"", b""))


def dsp_stats():
    words = b"".join(struct.pack(">I", 0x01020304 * i) for i in range(16))
    direct = b"\x00\x00STAT" + words
    write("fuzz_dsp_stat", "direct", b"\x00" + direct)
    write("fuzz_dsp_stat", "prefixed", b"\x01" + (b"\xaa\xaa\x33\x33\x00\x00" + direct)[:72])
    write("fuzz_dsp_stat", "all_filler", b"\x01" + b"\xaa" * 72)


def audio_replies():
    write("fuzz_audio_reply", "value", b"\x00" + b"\x00\x00USER\x00\x3c\x12\x34")
    write("fuzz_audio_reply", "value_no_magic", b"\x00" + b"\x00\x00BOOT\x00\x3c\x12\x34")
    reply = bytearray(136)
    reply[2:6] = b"USER"
    reply[7] = 0x41
    reply[10:136] = name_date_block(b"filter.bin", b"2024-05-17 13:45:09", b"2023-01-02 03:04:05")[:126]
    write("fuzz_audio_reply", "filename", b"\x01" + reply)
    write("fuzz_audio_reply", "echo_same", b"\x02" + b"abcdef" + b"abcdef")
    write("fuzz_audio_reply", "echo_differs", b"\x02" + b"abcdefgh" + b"abcdXfgh")


def sysfs_texts():
    uevent = (b"DRIVER=hid-generic\nHID_ID=0003:000020B1:0000F7D1\nHID_NAME=XMOS DSP Board\n"
              b"HID_PHYS=usb-0000:00:14.0-1/input0\nMODALIAS=hid:b0003g0001v000020B1p0000F7D1\n")
    write("fuzz_sysfs", "board", uevent + b"\\x" + b"00\n\\x" + b"DSP Board\n\\x" + b"\x00")
    write("fuzz_sysfs", "no_ids", b"DRIVER=hid-generic\n\\x" + b"01\n\\x" + b"\\x" + b"\x00")
    write("fuzz_sysfs", "utf8_product", uevent + b"\\x" + b"0\n\\x" + "Platine \u00e9\u20ac".encode() +
          b"\xc3\x28\xf0\x9f\\x" + b"\x00")
    write("fuzz_sysfs", "path", b"\\x\\x\\x" + wide("/dev/hidraw0") + b"\x01")


input_reports()
device_names()
boot_commands()
date_texts()
file_tables()
name_date_blocks()
dsp_stats()
audio_replies()
sysfs_texts()
