#!/usr/bin/env python3
"""No text of the project refers to a document that the project does not carry.

--self-test shows that such a reference is found.
"""
import os
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

# Written so that this file does not match itself.
FORBIDDEN = re.compile(r"\b[Pp]arts? [1-4]\.[1-6]\b|\bthe[ ]spec\b|\bspec[.]md\b")


def tracked_files():
    """Git's list; every file but build results where the sources lie without git."""
    listed = subprocess.run(["git", "-C", str(ROOT), "ls-files", "-z"], capture_output=True)
    if listed.returncode == 0:
        return [ROOT / os.fsdecode(name) for name in listed.stdout.split(b"\0") if name]
    return [path for path in ROOT.rglob("*") if path.is_file()
            and path.relative_to(ROOT).parts[0] not in (".git", ".cache", "build")]


def complaints_about(name, content):
    if b"\0" in content:
        return []
    lines = content.decode("utf-8", errors="replace").splitlines()
    return [f"{name}:{number}: {line.strip()}" for number, line in enumerate(lines, 1)
            if FORBIDDEN.search(line)]


def check_tree():
    files = [path for path in tracked_files() if path.is_file()]
    if not files:
        return [f"no files found below {ROOT}"]
    return [complaint for path in files
            for complaint in complaints_about(path.relative_to(ROOT), path.read_bytes())]


def self_test():
    for text in ["see Part" + " 2.3.", "parts" + " 1.1 and 1.2", "as the" + " spec says",
                 "spec" + ".md"]:
        assert complaints_about("a.txt", f"one\n{text}\n".encode()) == [f"a.txt:2: {text}"], text
    for text in ["part 5.1", "the specification", "inspect the spectrum", "version 2.3"]:
        assert not complaints_about("a.txt", text.encode()), text


if __name__ == "__main__":
    if sys.argv[1:] == ["--self-test"]:
        self_test()
    else:
        problems = check_tree()
        if problems:
            sys.exit("\n".join(problems))
