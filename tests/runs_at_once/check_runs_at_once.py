#!/usr/bin/env python3
"""Many installations at once on one machine, a Wine prefix: check_runs_at_once.py BUILD WORK

Whatever 2, 6 and 10 processes do at the same moment, the machine is afterwards as if they had come one
after the other: runs that add to Path and to the class path, restores of their journals, setups of the
service host by installers that use the library itself. One that is killed while it holds the machine's
lock keeps nobody out.
"""
import collections
import json
import pathlib
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tests/sample_machine"))
from machine import TIME_OUT, Machine, complain_unless  # noqa: E402

PRODUCT = r"C:\Program Files\Vortan\R1"


class SharedMachine(Machine):
    """The sample's machine with many programs on it at once."""

    def __init__(self, build, work):
        super().__init__(build, work)
        self.product = self.prefix / "drive_c/Program Files/Vortan/R1"

    def start(self, name, program, *arguments, **more):
        """A program with its output in a file: its desktop may keep a pipe open for longer."""
        output = open(self.install / f"{name}.out", "wb")
        process = subprocess.Popen(
            [str(ROOT / "scripts/wine"), str(self.build / f"bin/{program}.exe"), *arguments],
            env=self.environment, stdout=output, stderr=subprocess.STDOUT,
            **{"stdin": subprocess.DEVNULL, **more})
        process.output = pathlib.Path(output.name)
        output.close()
        return process

    def run(self, program, *arguments):
        process = self.start("single", program, *arguments)
        code = process.wait(TIME_OUT)
        return code, said(process)

    def at_once(self, count, program, *arguments):
        """Starts so many, "{i}" in their arguments replaced by the number, and waits for all."""
        started = [self.start(f"{program}-{i}", program, *(a.format(i=i) for a in arguments))
                   for i in range(count)]
        return [(process.wait(TIME_OUT), said(process)) for process in started]

    def state(self):
        code, text = self.run("installation_step", "state")
        complain_unless(code == 0, "the machine's state could not be told", text)
        return dict(line.split(": ", 1) for line in text.splitlines())

    def path(self):
        return self.state()["path"].split(";")

    def class_path(self):
        file = self.product / "javaClassPath"
        return file.read_text(encoding="utf-8").splitlines() if file.exists() else None


def said(process):
    return process.output.read_text(encoding="utf-8", errors="replace")


def await_words(process, words):
    end = time.monotonic() + TIME_OUT
    while words not in said(process):
        complain_unless(process.poll() is None and time.monotonic() < end,
                        f"never said \"{words}\":", said(process))
        time.sleep(0.02)


def entry(i):
    return rf"C:\at once\{i}\bin"


def write_plan(machine, i):
    plan = {"options": {"rootPath": PRODUCT, "metadataRootPath": PRODUCT},
            "commands": [
                {"command": "UpdatePathEnvironmentVariable", "pathEntry": entry(i),
                 "productVersion": "1.0", "executableName": "none.exe"},
                {"command": "AddJavaPathEntriesToMetadataFile"}]}
    (machine.install / f"plan-{i}.json").write_text(json.dumps(plan))


def check_runs_and_restores(machine, count):
    before = machine.path()
    complain_unless(machine.class_path() is None, "the class path was not taken back")
    runs = machine.at_once(count, "regplan", "run", r"C:\install\plan-{i}.json", "--no-log",
                           "--journal", rf"C:\install\{count}-{{i}}.journal")
    for code, text in runs:
        complain_unless(code == 0, f"a run of {count} at once ended with {code}", text)
    times = collections.Counter(machine.path())
    wrong = [entry(i) for i in range(count) if times[entry(i)] != 1]
    complain_unless(not wrong, f"of {count} runs at once these entries of Path are not there once:",
                    "\n".join(wrong))
    jars = machine.class_path()
    complain_unless(jars and len(jars) == len(set(jars)), "the class path has an entry twice:", jars)

    # The last run comes first: what a later one built upon stays until that is taken back, and the
    # exit code says so.
    waiting = list(range(count))
    rounds = 0
    while waiting:
        rounds += 1
        complain_unless(rounds <= count, "no restore can be done any more")
        started = {i: machine.start(f"restore-{i}", "regplan", "restore",
                                    rf"C:\install\{count}-{i}.journal") for i in waiting}
        codes = {i: process.wait(TIME_OUT) for i, process in started.items()}
        complain_unless(set(codes.values()) <= {0, 1} and 0 in codes.values(),
                        f"restores at once ended with {codes}",
                        "\n".join(said(process) for process in started.values()))
        waiting = [i for i, code in codes.items() if code == 1]
    complain_unless(machine.path() == before, f"{count} restores at once left entries of Path:",
                    machine.path())
    complain_unless(machine.class_path() is None, f"{count} restores at once left a class path")
    return rounds


def check_callers_of_the_library(machine, count):
    wanted = [rf"C:\callers\{count}-{i}" for i in range(count)]
    for code, text in machine.at_once(count, "installation_step", "add-to-path",
                                      rf"C:\callers\{count}-{{i}}"):
        complain_unless(code == 0, "an installer that uses the library failed:", text)
    times = collections.Counter(machine.path())
    complain_unless(all(times[one] == 1 for one in wanted),
                    f"{count} installers at once lost entries of Path:", machine.path())
    jars = machine.class_path()
    complain_unless(jars and len(jars) == len(set(jars)), "the class path has an entry twice:", jars)
    (machine.product / "javaClassPath").unlink()


def check_service_hosts(machine, count):
    for code, text in machine.at_once(count, "installation_step", "service-host", PRODUCT):
        complain_unless(code == 0, f"a service host's setup of {count} at once failed:", text)
    complain_unless(machine.state()["service"] == "running",
                    f"after {count} setups at once the service host does not run")
    left = sorted(file.name for file in (machine.product / "sys/bxds/win64").iterdir())
    complain_unless(left == ["installer", "packages", "servicehost", "zci.zip"],
                    f"{count} setups at once left other files:", left)


def check_killed_holder(machine):
    holder = machine.start("holder", "installation_step", "hold", stdin=subprocess.PIPE)
    await_words(holder, "held")
    plan = r"C:\install\plan-0.json"
    code, text = machine.run("regplan", "run", plan, "--no-log", "--wait", "1")
    complain_unless(code == 3 and entry(0) not in machine.path(),
                    f"a run while another holds the machine ended with {code}", text)
    code, text = machine.run("regplan", "preview", plan)
    complain_unless(code == 0, f"a preview while another holds the machine ended with {code}", text)
    waiting = machine.start("waiting", "regplan", "run", plan, "--no-log", "--wait", str(TIME_OUT))
    await_words(waiting, "Waiting for another run, undo or restore to end")
    holder.kill()
    code = waiting.wait(TIME_OUT)
    complain_unless(code == 0 and entry(0) in machine.path(),
                    f"a run after one that was killed ended with {code}", said(waiting))
    holder.wait(TIME_OUT)


def main(build, work):
    build, work = pathlib.Path(build), pathlib.Path(work)
    work.mkdir(parents=True, exist_ok=True)
    machine = SharedMachine(build, work)
    try:
        check(machine)
    finally:
        machine.stop()


def check(machine):
    for i in range(10):
        write_plan(machine, i)
    for count in (2, 6, 10):
        start = time.monotonic()
        rounds = check_runs_and_restores(machine, count)
        check_callers_of_the_library(machine, count)
        middle = time.monotonic()
        check_service_hosts(machine, count)
        print(f"{count} at once: runs, and restores in {rounds} rounds, {middle - start:.1f} s; "
              f"service hosts {time.monotonic() - middle:.1f} s", flush=True)
    check_killed_holder(machine)
    print("whatever came at once came one after the other")


if __name__ == "__main__":
    main(*sys.argv[1:])
