#!/usr/bin/env python3
"""Holds every #include to the order of the house: tools -> registration -> layers -> machine.

--self-test shows that each rule catches what it forbids.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
INCLUDE_FOLDERS = ["", "include/", "layers/", "component_framework/include/"]

# A folder may include what stands no higher than itself.
FLOORS = {"machine": 1, "layers": 2, "registration": 3, "include": 3, "bundles": 3, "tools": 4}
PROVIDERS = ("machine/windows/", "machine/portable/", "machine/simulated/")
# Stands for an outside library where none is installed: includes what it likes, and nothing of the
# floors.
FRAMEWORK = "component_framework/"
FRAMEWORK_SYSTEM_HEADERS = {
    "component_framework/src/library_windows.cpp": ("windows.h",),
    "component_framework/src/library_posix.cpp": ("dlfcn.h",),
    "component_framework/src/api.cpp": ("cxxabi.h",),
}

STANDARD = re.compile(r"[a-z_]+\d*")
LIBRARIES = re.compile(r"(nlohmann|CLI|utf8)/|(utf8|zlib)\.h$")
POSIX = re.compile(r"sys/|linux/|(dirent|fcntl|grp|pwd|signal|spawn|unistd)\.h$")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def is_public(file):
    """Headers that an installer's own sources see."""
    return file.endswith(".hpp") and (
        file.startswith(("include/", "layers/", "registration/utility/"))
        or re.fullmatch(r"machine/[^/]+", file))


def resolve(name, exists):
    """Where a name in quotes lies in the tree; None when it is not the project's."""
    return next((folder + name for folder in INCLUDE_FOLDERS if exists(folder + name)), None)


def system_header_complaint(file, name):
    if file.startswith("machine/windows/") or STANDARD.fullmatch(name):
        return None
    if is_public(file):
        return "a public header includes the standard library and the project's headers only"
    if LIBRARIES.match(name) or (file.startswith("machine/") and POSIX.match(name)):
        return None
    return "only machine/windows includes Windows headers, and no header unknown here goes in"


def framework_complaint(file):
    if file.startswith("machine/"):
        return "the machine knows no component framework"
    if is_public(file):
        return "a public header includes the standard library and the project's headers only"
    return None


def own_header_complaint(file, target):
    if FLOORS[target.split("/")[0]] > FLOORS[file.split("/")[0]]:
        return "dependencies go downwards: tools -> registration -> layers -> machine"
    if target.startswith(PROVIDERS) and file.startswith(("include/", "registration/", "layers/")):
        return "the commands and the layers know no provider of a machine"
    if (target.startswith("machine/") and target != "machine/api.hpp"
            and file.startswith(("include/", "registration/"))):
        return "the commands reach the machine through the layers"
    if (file.startswith(PROVIDERS) and target.startswith(PROVIDERS)
            and file.split("/")[1] != target.split("/")[1]):
        return "providers of a machine do not know each other"
    return None


def complaints_about(file, text, exists):
    """`file` relative to the root, with slashes; `exists` tells whether such a file is there."""
    complaints = []
    for quote, name in INCLUDE.findall(text):
        target = resolve(name, exists)
        if quote == "<":
            complaint = system_header_complaint(file, name)
        elif target is None:
            complaint = "no such header in the project"
        elif target.startswith(FRAMEWORK + "include/"):
            complaint = framework_complaint(file)
        elif target.split("/")[0] not in FLOORS:
            complaint = "a folder of the product includes nothing from outside its four floors"
        else:
            complaint = own_header_complaint(file, target)
        if complaint:
            complaints.append(f"{file} includes {name}: {complaint}")
    return complaints


def framework_source_complaints(file, text, exists):
    """What stands for an outside library knows nothing of this one, and Windows in one file."""
    complaints = []
    for quote, name in INCLUDE.findall(text):
        if quote == '"':
            folders = ("component_framework/src/", "component_framework/include/")
            allowed = any(exists(folder + name) for folder in folders)
        else:
            allowed = (STANDARD.fullmatch(name) or LIBRARIES.match(name)
                       or name in FRAMEWORK_SYSTEM_HEADERS.get(file, ()))
        if not allowed:
            complaints.append(f"{file} includes {name}: not the component framework's to include")
    return complaints


def check_tree():
    complaints = []
    for path in sorted((ROOT / FRAMEWORK).rglob("*.*pp")) + sorted((ROOT / FRAMEWORK).rglob("*.h")):
        complaints += framework_source_complaints(path.relative_to(ROOT).as_posix(),
                                                  path.read_text(encoding="utf-8"),
                                                  lambda name: (ROOT / name).is_file())
    for floor in FLOORS:
        for path in sorted((ROOT / floor).rglob("*.[ch]pp")):
            file = path.relative_to(ROOT).as_posix()
            complaints += complaints_about(file, path.read_text(encoding="utf-8"),
                                           lambda name: (ROOT / name).is_file())
    return complaints


def self_test():
    tree = {"machine/api.hpp", "machine/files.hpp", "machine/windows/windows_machine.hpp",
            "machine/simulated/simulated_machine.hpp", "machine/host/host_calls.hpp", "layers/fl/path.hpp", "tests/helper.hpp",
            "registration/utility/Command.hpp", "include/registration/commands/A.hpp",
            "component_framework/include/cppmicroservices/Bundle.h",
            "component_framework/src/core.hpp"}

    def refused(file, include):
        return bool(complaints_about(file, f"#include {include}\n", tree.__contains__))

    forbidden = [
        ("machine/files.cpp", '"fl/path.hpp"'),
        ("layers/fl/path.cpp", '"registration/utility/Command.hpp"'),
        ("layers/fl/path.cpp", '"machine/windows/windows_machine.hpp"'),
        ("layers/fl/path.cpp", '"machine/simulated/simulated_machine.hpp"'),
        ("layers/fl/path.cpp", "<windows.h>"),
        ("layers/fl/path.cpp", "<unistd.h>"),
        ("registration/commands/os/A.cpp", "<ShlObj.h>"),
        ("registration/commands/os/A.cpp", '"machine/files.hpp"'),
        ("registration/commands/os/A.cpp", '"machine/windows/windows_machine.hpp"'),
        ("registration/commands/os/A.cpp", '"tests/helper.hpp"'),
        ("include/registration/commands/A.hpp", "<nlohmann/json.hpp>"),
        ("include/registration/commands/A.hpp", '"windows.h"'),
        ("machine/files.hpp", "<windows.h>"),
        ("machine/files.hpp", "<unistd.h>"),
        ("machine/simulated/files.cpp", "<windows.h>"),
        ("machine/simulated/files.cpp", '"machine/windows/windows_machine.hpp"'),
        ("machine/windows/files.cpp", '"machine/simulated/simulated_machine.hpp"'),
        ("tools/regplan/main.cpp", "<shellapi.h>"),
        ("machine/files.cpp", '"cppmicroservices/Bundle.h"'),
        ("layers/foundation/framework.hpp", '"cppmicroservices/Bundle.h"'),
        ("registration/commands/os/A.cpp", '"component_framework/src/core.hpp"'),
        ("tools/regplan/main.cpp", '"machine/no_such_header.hpp"'),
    ]
    allowed = [
        ("machine/windows/host_calls.cpp", '"machine/host/host_calls.hpp"'),
        ("machine/windows/files.cpp", "<windows.h>"),
        ("machine/simulated/files.cpp", "<unistd.h>"),
        ("machine/simulated/files.cpp", "<nlohmann/json.hpp>"),
        ("layers/fl/path.cpp", '"machine/files.hpp"'),
        ("include/registration/commands/A.hpp", '"registration/utility/Command.hpp"'),
        ("include/registration/commands/A.hpp", "<string_view>"),
        ("registration/commands/os/A.cpp", '"fl/path.hpp"'),
        ("tools/regplan/main.cpp", '"machine/windows/windows_machine.hpp"'),
        ("tools/regplan/main.cpp", "<CLI/CLI.hpp>"),
        ("layers/foundation/framework.cpp", '"cppmicroservices/Bundle.h"'),
        ("registration/commands/os/A.cpp", '"cppmicroservices/Bundle.h"'),
    ]
    for case in forbidden:
        assert refused(*case), f"passes: {case}"
    for case in allowed:
        assert not refused(*case), f"refused: {case}"

    def refused_in_framework(file, include):
        return bool(framework_source_complaints(f"component_framework/{file}",
                                                f"#include {include}\n", tree.__contains__))

    for case in [("src/core.cpp", "<windows.h>"), ("src/core.cpp", '"machine/files.hpp"'),
                 ("include/cppmicroservices/Bundle.h", '"fl/path.hpp"')]:
        assert refused_in_framework(*case), f"passes: {case}"
    for case in [("src/library_windows.cpp", "<windows.h>"), ("src/core.cpp", '"core.hpp"'),
                 ("src/core.cpp", '"cppmicroservices/Bundle.h"')]:
        assert not refused_in_framework(*case), f"refused: {case}"


if __name__ == "__main__":
    if sys.argv[1:] == ["--self-test"]:
        self_test()
    else:
        problems = check_tree()
        if problems:
            sys.exit("\n".join(problems))
