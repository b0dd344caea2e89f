#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets (but the descriptors, which come
from tests/data/hid-descriptors.tsv): well-formed inputs of each kind and a few
near misses, so that a short run starts from the interesting paths."""
import pathlib
import struct

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"
DATE = b"2024-05-17 13:45:09"
CREATED = b"2023-01-02 03:04:05"


def wide(text):
    return text.encode("utf-16-le")


def word_at(offset, value, length=500):
    data = bytearray(length)
    struct.pack_into("<H", data, offset, value)
    return data


def input_report(code, payload, length=514, status=0x04, adc=0x4123, gpio=0x0002):
    report = bytearray(length)
    struct.pack_into("<HBBHHH", report, 2, 0x4452, 1, status, adc, gpio, code)
    struct.pack_into("<H", report, 12, ~(0x4452 + adc + gpio + code) & 0xFFFF)
    report[14:14 + len(payload)] = payload[:length - 14]
    return bytes([0]) + report  # choice byte 0: the header is taken as it is


def name_date_block(name, modified, created):
    block = bytearray(128)
    block[0:len(name)] = name
    block[64:64 + len(modified)] = modified
    block[84:84 + len(created)] = created
    block = bytearray(ord("*") if b in (0x00, 0xCC, 0xFF) else b for b in block)
    block[0::2], block[1::2] = block[1::2], block[0::2]
    return bytes(block)


def boot_reply(length, echo, word_count):
    reply = bytearray(length)
    reply[2:6] = b"BOOT"
    struct.pack_into(">H", reply, 6, echo << 8 | word_count)
    return reply


def file_table_seeds():
    table = boot_reply(168, 0x2B, 0x4B)
    for k in range(15):
        struct.pack_into(">HHHHH", table, 8 + 10 * k, 1, 4 + 8 * k, 11 + 8 * k, 0, 2)
    record = boot_reply(278, 0x2F, 0x81)
    record[17] = 3
    record[138:266] = name_date_block(b"program.ldr", DATE, CREATED)
    erased = boot_reply(278, 0xAF, 0x01)
    erased[17] = 3
    erased[138:266] = b"\xff" * 128
    return {"table": b"\x01" + table, "record": b"\x00" + record, "erased_record": b"\x00" + erased}


def audio_reply_seeds():
    filename = bytearray(136)
    filename[2:6] = b"USER"
    filename[7] = 0x41
    filename[10:136] = name_date_block(b"filter.bin", DATE, CREATED)[:126]
    return {"value": b"\x00\x00\x00USER\x00\x3c\x12\x34",
            "value_no_magic": b"\x00\x00\x00BOOT\x00\x3c\x12\x34",
            "filename": b"\x01" + filename,
            "echo_same": b"\x02abcdefabcdef",
            "echo_differs": b"\x02abcdefghabcdXfgh"}


def dsp_stat_seeds():
    direct = b"\x00\x00STAT" + b"".join(struct.pack(">I", 0x01020304 * i) for i in range(16))
    return {"direct": b"\x00" + direct,
            "prefixed": b"\x01" + (b"\xaa\xaa\x33\x33\x00\x00" + direct)[:72],
            "all_filler": b"\x01" + b"\xaa" * 72}


def sysfs_seeds():
    uevent = (b"DRIVER=hid-generic\nHID_ID=0003:000020B1:0000F7D1\nHID_NAME=XMOS DSP Board\n"
              b"HID_PHYS=usb-0000:00:14.0-1/input0\nMODALIAS=hid:b0003g0001v000020B1p0000F7D1\n")
    return {"board": uevent + b"\\x00\n\\xDSP Board\n\\x\x00",
            "no_ids": b"DRIVER=hid-generic\n\\x01\n\\x\\x\x00",
            "utf8_product": uevent + b"\\x0\n\\x" + "Platine \u00e9\u20ac".encode() +
            b"\xc3\x28\xf0\x9f\\x\x00",
            "path": b"\\x\\x\\x" + wide("/dev/hidraw0") + b"\x01"}


product = bytearray(188)
product[16:25] = b"DSP Board"
SEEDS = {
    "fuzz_input_report": {
        "product_name": input_report(0xF000, product),
        "layout": input_report(0xF001, bytes(range(200))),
        "flash_read": input_report(0xF020, word_at(276 - 14, 256)),
        "spi_transfer": input_report(0xF030, word_at(24 - 14, 22)),
        "spi_corrupted_length": input_report(0xF031, word_at(24 - 14, 486)),
        "pellix": input_report(0xF100, bytes(range(8))),
        "pin": input_report(0xF201, bytes(500)),
        "calibration": input_report(0xF225, bytes(range(40))),
        "teds": input_report(0xF330, word_at(2, 485)),
        "short_report": input_report(0xF030, b"", length=16),
        "no_payload": input_report(0xF000, b"", status=0x01),
    },
    "fuzz_device_name": {f"path{i}": wide(path) for i, path in enumerate([
        "\\\\?\\hid#vid_20b1&pid_f7d1&mi_00#7&1a2b3c4d&0&0000#{4d1e55b2-f16f-11cf-88cb-001111000030}",
        "\\\\?\\hid#vid_20b1&pid_f7d1#6&2b3c4d5e&0&0000#{4d1e55b2-f16f-11cf-88cb-001111000030}",
        "\\\\?\\HID#VID_20B1&PID_F7D1#upper", "/dev/hidraw0", "vid_FFFFFFFF&pid_&mi_"])},
    "fuzz_boot_command": {
        **{f"command{i}": wide(command) for i, command in enumerate([
            "BOOT\\x30\\x01\\x05", "BOOT\\x2F\\x01\\x00\\x0F", "USER\\x3C\\x01\\x00\\x01",
            "USER\\x3D\\x01\\x00\\x012", "a\\nb\\rc\\qd\\\\", "BOOT\\x2", "BOOT\\x", "\\xZZ\\x1G",
            "\u20ac\u00ffname"])},
        "long": wide("\\x41" * 600)},
    "fuzz_date_text": {f"date{i}": text for i, text in enumerate([
        DATE, b"1899-12-30 00:00:00", b"0000-00-00 00:00:00", b"9999-12-31 23:59:59",
        b" 2000-1-0 1:2:3", b"0100-01-01 00:00:00", b"1800-06-15 18:00:00",
        b"+2020--02--30  -1:61:00", b"2021-02-28 23:59"])},
    "fuzz_file_table": file_table_seeds(),
    "fuzz_name_date_block": {"named": name_date_block(b"program.ldr", DATE, CREATED),
                             "erased": b"\xff" * 128,
                             "long_name": name_date_block(b"n" * 64, b"", b""),
                             # before 0100-01-01: written back as zeros
                             "early_date": name_date_block(b"e", b"0100-00-01 00:00:00", b"")},
    "fuzz_dsp_stat": dsp_stat_seeds(),
    "fuzz_audio_reply": audio_reply_seeds(),
    "fuzz_sysfs": sysfs_seeds(),
}
for target, seeds in SEEDS.items():
    (CORPUS / target).mkdir(parents=True, exist_ok=True)
    for name, data in seeds.items():
        (CORPUS / target / name).write_bytes(bytes(data))
