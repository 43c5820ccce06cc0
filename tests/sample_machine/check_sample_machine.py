#!/usr/bin/env python3
"""The sample's whole plan on Windows' own interfaces, as Wine provides them:
check_sample_machine.py BUILD WORK

A preview changes nothing and lists what the run then does; a restore takes the run back, also one
that was killed. What foreign code leaves is known by name (FOREIGN) and is all that may stay.
"""
import json
import pathlib
import re
import signal
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from machine import Machine, complain_unless  # noqa: E402

# What the sample's programs and modules leave: the COM class that regsvr32 registers, and the
# records that the others keep of what they were given.
FOREIGN = re.compile(
    r"CLSID\\\{5B0F6C1E-7D3A-4E52-9A1B-36C4D27F08E1\}|HKEY_LOCAL_MACHINE\\Software\\Classes\\CLSID$"
    r"|/(automation_server|settings_tool|manifest_cache|GACInstaller)\.txt\b")
# What Wine's scheduler does not keep of a task.
FORGOTTEN = ("arguments", "workingFolder", "startsAtLogon", "highestRunLevel", "group")
# At so many of a run's records it is killed.
KILLS = 6


def difference(before, after):
    own = lambda line: not FOREIGN.search(line)
    gone = [f"- {line}" for line in sorted(filter(own, before - after))]
    new = [f"+ {line}" for line in sorted(filter(own, after - before))]
    return "\n".join(gone + new)


def comparable(changes):
    """Without what must differ: the record of the installation tells when it was made."""
    text = re.sub(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z", "a moment", json.dumps(changes))
    changes = json.loads(text)
    for change in changes:
        for state in (change["before"], change["after"]):
            if state and "a moment" in (state.get("text") or ""):
                del state["sha256"]
            if state and state["state"] == "task":
                for name in FORGOTTEN:
                    del state[name]
    return changes


def compare_preview_with_run(preview, run):
    for foreseen, done in zip(preview["commands"], run["commands"], strict=True):
        name = foreseen["command"]
        complain_unless(foreseen["handOvers"] == done["handOvers"], f"{name}: other hand-overs",
                        f"{foreseen['handOvers']}\n{done['handOvers']}")
        expected = comparable(foreseen["changes"])
        found = comparable(done["changes"])
        if any(given["kind"] == "bundles" for given in done["handOvers"]):
            # The sample's bundles change things through the library; a preview starts none.
            found = found[:len(expected)]
        complain_unless(expected == found, f"{name}: the preview is not what the run did",
                        json.dumps([expected, found], indent=1))


def check(machine):
    plan = r"C:\install\plan.json"
    # What Windows itself does at a first start is done with it.
    machine.regplan("validate", plan)
    start = machine.snapshot()

    machine.regplan("preview", plan, "--report", r"C:\install\preview.json")
    left = difference(start, machine.snapshot())
    complain_unless(not left, "the preview changed something:", left)

    output = machine.regplan("run", plan, "--no-log", "--journal", r"C:\install\whole.journal",
                             "--report", r"C:\install\run.json", "--verbose")
    complain_unless("Guard: DLLs are not looked for in the current folder: on" in output,
                    "the run was not guarded:", output)
    machine.wait_for_started_programs()
    run = machine.report("run.json")
    troubles = [command for command in run["commands"] if command["outcome"] !=
                ("nothingToDo" if command["command"] == "CreateSymlink" else "done")]
    complain_unless(not troubles, "the run had troubles:", json.dumps(troubles, indent=1))
    compare_preview_with_run(machine.report("preview.json"), run)
    complain_unless(difference(start, machine.snapshot()), "the run changed nothing")
    print(machine.regplan("restore", r"C:\install\whole.journal"))
    left = difference(start, machine.snapshot())
    complain_unless(not left, "not restored after the run:", left)

    records = (machine.install / "whole.journal").read_bytes().count(b"\n")
    for kill in range(KILLS):
        wanted = 2 + kill * (records - 2) // KILLS
        journal = f"killed-{kill}.journal"
        written, code = machine.run_killed_at(journal, wanted)
        print(f"killed at {written} of {records} records (exit code {code})")
        complain_unless(code == -signal.SIGKILL, f"the run was not killed at record {wanted}")
        # 1: the last record was cut off.
        machine.regplan("restore", rf"C:\install\{journal}", expected=(0, 1))
        left = difference(start, machine.snapshot())
        complain_unless(not left, f"not restored after the kill at {written} records:", left)
    print("the preview was right, and every run was taken back")


def main(build, work):
    build, work = pathlib.Path(build), pathlib.Path(work)
    work.mkdir(parents=True, exist_ok=True)
    machine = Machine(build, work)
    try:
        check(machine)
    finally:
        machine.stop()


if __name__ == "__main__":
    main(*sys.argv[1:])
