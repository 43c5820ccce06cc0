#!/usr/bin/env python3
"""Code shown in the documents stands in a file that is compiled or run.

A fenced block names its file in a comment on the line before it:
    <!-- from tests/consumer/consumer.cpp -->
Its lines must stand in that file, one after the other; how far they are indented does not count.
Blocks of C++, CMake and JSON must name a file. --self-test shows that a changed line is found.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DOCUMENTS = ["README.md", "CONTRIBUTING.md", "ARCHITECTURE.md"]
BLOCK = re.compile(r"(?:^<!-- from (\S+) -->\n)?^```(\w+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
MUST_NAME_A_FILE = {"cpp", "cmake", "json"}


def plain(text):
    return "\n".join(line.strip() for line in text.strip().splitlines())


def complaints_about(document, text, read):
    """`read` gives the text of a file named relative to the root."""
    complaints = []
    for file, language, code in BLOCK.findall(text):
        first = code.strip().splitlines()[0]
        if not file and language in MUST_NAME_A_FILE:
            complaints.append(f"{document}: a block does not say where it comes from: {first}")
        elif file and f"\n{plain(code)}\n" not in f"\n{plain(read(file))}\n":
            complaints.append(f"{document}: not in {file} any more: {first} ...")
    return complaints


def self_test():
    def refused(block):
        return bool(complaints_about("README.md", block, lambda file: "{\n  int a;\n  int b;\n}\n"))

    assert not refused("<!-- from a.cpp -->\n```cpp\nint a;\nint b;\n```\n")
    assert not refused("```sh\n./test\n```\n")
    assert refused("<!-- from a.cpp -->\n```cpp\nint b;\nint a;\n```\n")
    assert refused("<!-- from a.cpp -->\n```cpp\nint\n```\n")
    assert refused("```cpp\nint a;\n```\n")


if __name__ == "__main__":
    if sys.argv[1:] == ["--self-test"]:
        self_test()
    else:
        problems = [complaint for document in DOCUMENTS
                    for complaint in complaints_about(
                        document, (ROOT / document).read_text(encoding="utf-8"),
                        lambda file: (ROOT / file).read_text(encoding="utf-8"))]
        if problems:
            sys.exit("\n".join(problems))
