#!/usr/bin/env python3
"""scripts/wine-piped: what the program prints, its exit code, and an end with the program, also when
it leaves something behind that keeps its outputs open. A script stands in for Wine.
"""
import os
import shutil
import signal
import subprocess
import tempfile
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"
WINE = """#!/bin/sh
echo "given $*"
echo "in trouble" >&2
sleep 60 &
echo "left behind $!"
exit 3
"""

with tempfile.TemporaryDirectory() as folder:
    shutil.copy(SCRIPTS / "wine-piped", folder)
    wine = Path(folder) / "wine"
    wine.write_text(WINE)
    wine.chmod(0o755)
    done = subprocess.run([Path(folder) / "wine-piped", "a b", "c"], text=True, timeout=50,
                          stdout=subprocess.PIPE, env=dict(os.environ, TMPDIR=folder))
    lines = done.stdout.splitlines()
    left_behind = int(lines[-1].removeprefix("left behind "))
    os.kill(left_behind, signal.SIGKILL)  # fails if it has ended: the pipe's end was waited for
    assert lines[:2] == ["given a b c", "in trouble"], lines
    assert done.returncode == 3, done
    assert sorted(os.listdir(folder)) == ["wine", "wine-piped"], "its file is left"
