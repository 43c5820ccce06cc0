#!/usr/bin/env python3
"""Compares the virtual tables that clang lays out for the exported classes with slots.txt.

Twice: for Microsoft's C++ ABI, over stand-ins for the standard headers, and for the Itanium ABI
that GCC and mingw-w64 use, with the host's own. --self-test shows that a wrong table is refused.
"""
import re
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
CATALOGUE = ROOT / "include/registration/commands"
INCLUDE_FOLDERS = [ROOT / "include", ROOT, ROOT / "layers"]

ABIS = {
    "Microsoft": ["-target", "x86_64-pc-windows-msvc", "-nostdinc",
                  "-isystem", str(HERE / "stand-ins")],
    "Itanium": [],
}


def read_table(text):
    """{class: [slot, ...]} in the order of the text."""
    table = {}
    for line in text.splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        if line[0].isspace():
            table[next(reversed(table))].append(line.strip())
        else:
            table[line.strip()] = []
    return table


def header_of(name):
    """A class's name is its file: a::b::C lies in a/b/C.hpp below an include folder."""
    relative = name.replace("::", "/") + ".hpp"
    if not any((folder / relative).is_file() for folder in INCLUDE_FOLDERS):
        sys.exit(f"slots.txt lists {name}, but there is no header {relative}")
    return relative


def probe_source(names):
    """A class derived from each, whose destructor makes the compiler lay out its table."""
    lines = [f'#include "{header_of(name)}"' for name in names]
    for number, name in enumerate(names):
        lines += [f"struct Probe{number} : {name} {{ ~Probe{number}() override; }};",
                  f"Probe{number}::~Probe{number}() {{}}"]
    return "\n".join(lines) + "\n"


def dump_layouts(source, abi_flags):
    with tempfile.TemporaryDirectory() as folder:
        probe = Path(folder) / "probe.cpp"
        probe.write_text(source)
        command = ["clang++", "-std=c++20", *abi_flags]
        command += [f"-I{folder}" for folder in INCLUDE_FOLDERS]
        command += ["-S", "-emit-llvm", "-o", "/dev/null", "-Xclang", "-fdump-vtable-layouts", str(probe)]
        done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(done.stderr)
    return done.stdout + done.stderr


def slot_name(entry):
    """The operation's name in one line of a dump; None for what is no slot of its own."""
    if "::~" in entry:
        # Itanium keeps two slots for one destructor.
        return None if "[complete]" in entry else "destructor"
    operation = re.search(r"::(\w+)\(", entry)
    return operation.group(1) if operation else None


def layouts(dump, names):
    """{class: [slot, ...]} from clang's dump of the probes' tables."""
    found = {}
    for block in re.split(r"\n(?=VF?[Tt]able for )", "\n" + dump):
        title = re.match(r"VF?[Tt]able for .*'Probe(\d+)'", block)
        if not title:
            continue
        entries = re.findall(r"^ +\d+ \| (.*)$", block.split("\n\n")[0], re.MULTILINE)
        slots = [slot for slot in map(slot_name, entries) if slot]
        found.setdefault(names[int(title.group(1))], slots)
    return found


def unlisted_commands(table):
    return [f"{header.name} has no entry in slots.txt"
            for header in sorted(CATALOGUE.glob("*.hpp"))
            if f"registration::commands::{header.stem}" not in table]


def differences(table, found, abi):
    complaints = []
    for name, required in table.items():
        laid_out = found.get(name, [])
        if laid_out == required:
            continue
        complaints.append(f"{name}, {abi} ABI (* differs):\n     {'required':36}laid out")
        for slot in range(max(len(required), len(laid_out))):
            left = required[slot] if slot < len(required) else "-"
            right = laid_out[slot] if slot < len(laid_out) else "-"
            complaints.append(f"  {' ' if left == right else '*'} {slot:<2}{left:36}{right}")
    return complaints


def check(table):
    names = list(table)
    source = probe_source(names)
    complaints = unlisted_commands(table)
    for abi, flags in ABIS.items():
        complaints += differences(table, layouts(dump_layouts(source, flags), names), abi)
    return complaints


def self_test():
    """Each of these tables is wrong in one way, and must be refused for it."""
    good = read_table((HERE / "slots.txt").read_text())
    command = "registration::commands::UpdatePathEnvironmentVariable"

    swapped = {name: list(slots) for name, slots in good.items()}
    slots = swapped[command]
    slots[5], slots[6] = slots[6], slots[5]
    short = {name: list(slots) for name, slots in good.items()}
    short[command].pop()
    missing = {name: slots for name, slots in good.items() if name != command}

    complaints = "\n".join(check(swapped))
    for abi in ABIS:
        assert f"{command}, {abi} ABI" in complaints, f"two swapped slots pass for {abi}"
    assert check(short), "a missing slot passes"
    assert check(missing) == [f"{command.rsplit('::')[-1]}.hpp has no entry in slots.txt"]


if __name__ == "__main__":
    if sys.argv[1:] == ["--self-test"]:
        self_test()
    else:
        problems = check(read_table((HERE / "slots.txt").read_text()))
        print("\n".join(problems))
        sys.exit(1 if problems else 0)
