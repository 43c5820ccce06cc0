"""The sample's machine, a Wine prefix of its own, for the tests that work on it."""
import importlib.machinery
import importlib.util
import json
import os
import pathlib
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
loader = importlib.machinery.SourceFileLoader("snapshot", str(ROOT / "sample/snapshot"))
snapshot = importlib.util.module_from_spec(importlib.util.spec_from_loader("snapshot", loader))
loader.exec_module(snapshot)

TIME_OUT = 120  # seconds; nothing here takes a tenth of it


def complain_unless(condition, what, details=""):
    if not condition:
        sys.exit(f"{what}\n{details}")


class Machine:
    def __init__(self, build, work):
        self.build = build
        self.work = work
        self.prefix = work / "prefix"
        self.environment = dict(os.environ, WINEPREFIX=str(self.prefix))
        self.install = self.prefix / "drive_c/install"
        with open(work / "make-machine.log", "w") as log:
            subprocess.run([ROOT / "sample/make-machine", build, self.prefix], check=True,
                           stdout=log, stderr=log, timeout=5 * TIME_OUT)

    def command(self, wine, *arguments):
        return [str(ROOT / "scripts" / wine), str(self.build / "bin/regplan.exe"), *arguments]

    def start_regplan(self, *arguments):
        """Runs it to its end in the folder of the installer, C:\\install."""
        return subprocess.run(self.command("wine-piped", *arguments), env=self.environment,
                              cwd=self.install, text=True, stdout=subprocess.PIPE,
                              timeout=TIME_OUT)

    def regplan(self, *arguments, expected=(0,)):
        done = self.start_regplan(*arguments)
        if done.returncode not in expected:
            raise RuntimeError(f"regplan {' '.join(arguments)}: exit code {done.returncode}\n"
                               f"{done.stdout}")
        return done.stdout

    def stop(self):
        """Ends its programs."""
        subprocess.run([ROOT / "scripts/stop-wine", self.prefix], check=True, timeout=TIME_OUT)

    def snapshot(self):
        """How it is now; its programs end with that."""
        self.stop()
        return set(snapshot.snapshot(self.prefix))

    def report(self, name):
        return json.loads((self.install / name).read_text(encoding="utf-8"))

    def wait_for_started_programs(self):
        """Three steps start a program and do not wait for it."""
        end = time.monotonic() + TIME_OUT
        product = self.prefix / "drive_c/Program Files/Vortan/R1"
        records = [product / "bin/win64/settings_tool.txt",
                   product / "toolbox/zembric/bin/win64/v4.0/GACInstaller.txt"]
        while not all(record.exists() for record in records) and time.monotonic() < end:
            time.sleep(0.1)

    def run_killed_at(self, journal, records):
        """Kills a run when its journal has so many records; tells how many it then has."""
        run = subprocess.Popen(self.command("wine", "run", r"C:\install\plan.json", "--no-log",
                                            "--journal", rf"C:\install\{journal}"),
                               env=self.environment, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
        file = self.install / journal
        end = time.monotonic() + TIME_OUT
        while run.poll() is None and time.monotonic() < end:
            if file.exists() and file.read_bytes().count(b"\n") >= records:
                os.kill(run.pid, signal.SIGKILL)
                break
        run.wait(TIME_OUT)
        return file.read_bytes().count(b"\n"), run.returncode
