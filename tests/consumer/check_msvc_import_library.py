#!/usr/bin/env python3
"""Checks an MSVC import library xdsp.lib against its .def, its DLL and a client.

  check_msvc_import_library.py every-export DEF OUT.c
      writes a C file that takes the address of every export of DEF, so that a
      client linked with it imports them all;
  check_msvc_import_library.py check DEF LIB DLL CLIENT
      reads every member of LIB (short import headers), the DLL's export table
      and the client's import table (llvm-readobj), and fails unless:
        - LIB has one code import per .def entry, whose symbol is what a caller
          compiled from the header references (x86: _Name@N for __stdcall, x64:
          Name), whose import name is the bare name, and whose hint is the
          entry's ordinal;
        - the DLL exports each bare name at that ordinal;
        - the client imports from xdsp.dll exactly the .def's bare names, each
          with its ordinal as hint.
"""
import re
import struct
import subprocess
import sys

IMPORT_NAME_TYPES = {0: "ordinal", 1: "name", 2: "noprefix", 3: "undecorate"}
MACHINES = {0x14C: "x86", 0x8664: "x64"}


def read_def(path):
    """[(name as listed, bare name, ordinal)] of a .def's EXPORTS."""
    entries = []
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            match = re.match(r"^\s*([A-Za-z_]\w*)(@\d+)?\s+@(\d+)\s*$", line.split(";")[0])
            if match:
                listed = match.group(1) + (match.group(2) or "")
                entries.append((listed, match.group(1), int(match.group(3))))
    return entries


def archive_members(path):
    with open(path, "rb") as archive:
        data = archive.read()
    if not data.startswith(b"!<arch>\n"):
        raise ValueError(f"{path} is not an archive")
    offset = 8
    while offset + 60 <= len(data):
        header = data[offset:offset + 60]
        size = int(header[48:58].decode().strip())
        yield data[offset + 60:offset + 60 + size]
        offset += 60 + size + (size & 1)


def short_imports(path):
    """(machine, symbol, dll, hint, code?, name type) of each short import member."""
    for member in archive_members(path):
        if len(member) < 20 or member[:4] != b"\x00\x00\xff\xff":
            continue
        _, _, _, machine, _, size, hint, kinds = struct.unpack("<HHHHIIHH", member[:20])
        symbol, dll = member[20:20 + size].split(b"\x00")[:2]
        yield (MACHINES.get(machine, hex(machine)), symbol.decode(), dll.decode(), hint,
               kinds & 3 == 0, IMPORT_NAME_TYPES.get((kinds >> 2) & 7, "?"))


def import_name(symbol, name_type):
    if name_type == "name":
        return symbol
    bare = symbol[1:] if symbol[:1] in ("_", "@", "?") else symbol
    return bare.split("@")[0] if name_type == "undecorate" else bare


def readobj(option, path):
    return subprocess.run(["llvm-readobj", option, path], check=True, capture_output=True,
                          text=True).stdout


def check(def_path, lib_path, dll_path, client_path):
    entries = read_def(def_path)
    problems = []
    imports = list(short_imports(lib_path))
    machines = {entry[0] for entry in imports}
    if len(machines) != 1:
        return [f"{lib_path}: machines {sorted(machines)}"], "?"
    machine = machines.pop()

    by_symbol = {entry[1]: entry for entry in imports}
    for listed, bare, ordinal in entries:
        symbol = "_" + listed if machine == "x86" else listed
        found = by_symbol.get(symbol)
        if found is None:
            problems.append(f"{lib_path} lacks {symbol}, which callers of the header reference")
            continue
        _, _, dll, hint, code, name_type = found
        if dll.lower() != "xdsp.dll":
            problems.append(f"{symbol} is imported from {dll}")
        if not code:
            problems.append(f"{symbol} is not a code import")
        if import_name(symbol, name_type) != bare:
            problems.append(f"{symbol} imports {import_name(symbol, name_type)!r}, not {bare!r}")
        if hint != ordinal:
            problems.append(f"{symbol} has hint {hint}, not its ordinal {ordinal}")
    if len(imports) != len(entries):
        problems.append(f"{lib_path} holds {len(imports)} imports for {len(entries)} exports")

    exported = {}
    for ordinal, name in re.findall(r"Ordinal: (\d+)\s+Name: (\S*)", readobj("--coff-exports",
                                                                            dll_path)):
        if name:
            exported[name] = int(ordinal)
    for _, bare, ordinal in entries:
        if exported.get(bare) != ordinal:
            problems.append(f"{dll_path} exports {bare} at {exported.get(bare)}, not {ordinal}")

    client_imports = {}
    for block in re.findall(r"Import \{(.*?)\n\}", readobj("--coff-imports", client_path),
                            re.DOTALL):
        if re.search(r"Name: xdsp\.dll", block, re.IGNORECASE):
            for name, hint in re.findall(r"Symbol: (\S+) \((\d+)\)", block):
                client_imports[name] = int(hint)
    wanted = {bare: ordinal for _, bare, ordinal in entries}
    if client_imports != wanted:
        for name in sorted(set(client_imports) | set(wanted)):
            if client_imports.get(name) != wanted.get(name):
                problems.append(f"{client_path} imports {name} with hint "
                                f"{client_imports.get(name)}; the .def says {wanted.get(name)}")
    print(f"{lib_path} ({machine}): {len(imports)} imports, symbols, names and hints checked; "
          f"{client_path} imports {len(client_imports)} names from xdsp.dll at their ordinals")
    return problems, machine


def every_export_source(def_path, out_path):
    names = [bare for _, bare, _ in read_def(def_path)]
    with open(out_path, "w", encoding="utf-8") as out:
        out.write("/* Generated from the .def: the address of every export. */\n")
        out.write("#include <xdsp/xdsp.h>\n\n")
        out.write("const void *const xdspEveryExport[] = {\n")
        out.writelines(f"    (const void *)&{name},\n" for name in names)
        out.write("};\n")
        out.write(f"const unsigned xdspEveryExportCount = {len(names)};\n")


def main(argv):
    if len(argv) == 4 and argv[1] == "every-export":
        every_export_source(argv[2], argv[3])
        return 0
    if len(argv) == 6 and argv[1] == "check":
        problems, _ = check(*argv[2:])
        for problem in problems:
            print(f"  FAIL {problem}")
        return 1 if problems else 0
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
