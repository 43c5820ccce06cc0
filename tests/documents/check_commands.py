#!/usr/bin/env python3
"""What a reader may copy from the documents, copied: check_commands.py BUILD WORK

Every line of a block of shell commands is run as it stands, regplan's on a machine made for that, or
stands in NOT_RUN with the reason. The list of DLLs is the one that an installation brings.
--self-test shows that an unknown line and a wrong list are found.
"""
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tests/sample_machine"))
from machine import Machine  # noqa: E402

DOCUMENTS = ("README.md", "CONTRIBUTING.md")
BLOCK = re.compile(r"^```(?:sh|bat)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
DLLS = re.compile(r"<!-- the DLLs of an installation -->\n```text\n(.*?)^```$",
                  re.MULTILINE | re.DOTALL)
# Seconds; nothing here takes a tenth of it.
TIME_OUT = 300

NOT_RUN = {
    "./demo": "continuous integration runs it",
    "./test": "this is a part of it",
    "cmake --preset windows": "it made the build that is tested",
    "cmake --build --preset windows": "the same",
    "cmake --preset linux && cmake --build --preset linux && ctest --preset linux":
        "./test does it with the sanitizers",
    "cmake --preset windows && cmake --build --preset windows && ctest --preset windows":
        "this is a part of it",
    "cmake --preset linux -DCppMicroServices_DIR=/path/to/prefix/share/cppmicroservices3/cmake":
        "it needs an installed CppMicroServices",
    "cmake --build --preset windows && scripts/wine build/windows/bin/registration_benchmarks.exe":
        "benchmarks measure for minutes",
    "fuzz/run 600 journal zip": "it goes on for twenty minutes; the tests run each target for a while",
}


def commands_of(text):
    return [line for block in BLOCK.findall(text) for line in block.splitlines() if line]


def complaint_about_dlls(text, installed):
    listed = DLLS.search(text)
    if not listed:
        return "the list of an installation's DLLs is missing"
    if sorted(listed[1].split()) != sorted(installed):
        return f"the list of DLLs is {listed[1].split()}, installed are {sorted(installed)}"
    return None


class Reader:
    """Who types what the documents show."""

    def __init__(self, build, work):
        self.build = build
        self.work = work
        self.machine = None

    def run(self, command):
        """None, or what went wrong."""
        if command in NOT_RUN:
            return None
        if command.startswith("regplan "):
            return self.on_a_machine(command.split()[1:])
        if not command.startswith(("cmake --install ", "scripts/wine build/windows/")):
            return "not known to this check"
        command = command.replace("build/windows", str(self.build))
        command = command.replace("/path/to/prefix", str(self.work / "installed"))
        return self.complaint(subprocess.run(["bash", "-c", command], cwd=ROOT, text=True,
                                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                             stdin=subprocess.DEVNULL, timeout=TIME_OUT))

    def on_a_machine(self, arguments):
        if not self.machine:
            self.machine = Machine(self.build, self.work)
        return self.complaint(self.machine.start_regplan(*arguments))

    @staticmethod
    def complaint(done):
        return f"exit code {done.returncode}\n{done.stdout}" if done.returncode else None


def self_test():
    assert commands_of("```sh\na\n```\n\n```cpp\nb\n```\n```bat\nc\nd\n```\n") == ["a", "c", "d"]
    assert Reader(pathlib.Path("b"), pathlib.Path("w")).run("rm everything") is not None
    dlls = "<!-- the DLLs of an installation -->\n```text\na.dll\nb.dll\n```\n"
    assert complaint_about_dlls(dlls, ["b.dll", "a.dll"]) is None
    assert complaint_about_dlls(dlls, ["a.dll"]) is not None
    assert complaint_about_dlls("", []) is not None


def main():
    build, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    reader = Reader(build, work)
    complaints = []
    shown = set()
    for document in DOCUMENTS:
        for command in commands_of((ROOT / document).read_text(encoding="utf-8")):
            shown.add(command)
            complaint = reader.run(command)
            if complaint:
                complaints.append(f"{document}: {command}: {complaint}")
    complaints += [f"not in a document any more: {command}" for command in NOT_RUN.keys() - shown]
    installed = [file.name for file in (work / "installed/bin").glob("*.dll")]
    complaint = complaint_about_dlls((ROOT / "README.md").read_text(encoding="utf-8"), installed)
    if complaint:
        complaints.append(f"README.md: {complaint}")
    if reader.machine:
        reader.machine.stop()
    if complaints:
        sys.exit("\n".join(complaints))


if __name__ == "__main__":
    self_test() if sys.argv[1:] == ["--self-test"] else main()
