"""What the tests share. VORN_ONU names the tool, EXAMPLE_DAEMON the example daemon, PYTHONPATH leads to the module."""

import os
import pathlib
import signal
import subprocess
import sys
import textwrap
import time

PYTHON = pathlib.Path(__file__).resolve().parents[1]
SCENARIOS = PYTHON.parent / "scenarios"
sys.path.insert(0, str(PYTHON / "examples"))  # for what they share

HANG = 100  # seconds; only a hang takes this long

signal.signal(signal.SIGINT, signal.default_int_handler)  # ignored in the background; the programs of the tests are to get it


def python(code: str) -> subprocess.CompletedProcess:
    """A program of its own."""
    command = [sys.executable, "-c", textwrap.dedent(code)]
    return subprocess.run(command, capture_output=True, text=True, timeout=HANG, check=False)


def is_alive(pid: int) -> bool:
    """Whether the process runs; one that nobody has reaped yet does not."""
    try:
        status = pathlib.Path(f"/proc/{pid}/stat").read_text()
    except OSError:
        return False
    return status.rpartition(")")[2].split()[0] not in ("Z", "X")


def ends(pid: int) -> bool:
    """False when it hangs."""
    end = time.monotonic() + HANG
    while is_alive(pid) and time.monotonic() < end:
        time.sleep(0.02)
    return not is_alive(pid)
