"""The program vorn-onu as a child of this process, which ends with it however this process ends."""

from __future__ import annotations

import atexit
import json
import os
import shutil
import signal
import subprocess
import tempfile
import weakref
from typing import Dict, Optional, Sequence

from .errors import OnuError

# The tool takes a second SIGINT, this long after the first, as the order to kill a program that does not listen.
_APART = 0.4
_GRACE = 3.0
_KILLING = 6.0

# Ends the tool, and takes its folder away, when the other end of its standard input is gone: also when this process is
# killed.
_WATCHER = f"""
trap '' INT TERM HUP QUIT
read -r _
rm -rf "$2"
kill -TERM "$1"; sleep {_GRACE}
kill -INT "$1"; sleep {_APART}
kill -INT "$1"; sleep {_KILLING}
kill -KILL "$1"
"""


def find_tool(given: Optional[str] = None) -> str:
    """The program: the given one, otherwise that of the variable VORN_ONU, otherwise the one on the path."""
    wanted = given or os.environ.get("VORN_ONU") or "vorn-onu"
    found = shutil.which(wanted)
    if found is None:
        raise OnuError(
            "no-tool",
            f"there is no program {wanted}: install the package vorn-onu, or name the program with tool= or the "
            "variable VORN_ONU",
        )
    return os.path.abspath(found)


class Tool:
    """One run of the tool, with a folder of its own for what it writes."""

    def __init__(self) -> None:
        self.folder = tempfile.mkdtemp(prefix="vorn-onu-py-")
        self._owner = os.getpid()
        self._process: Optional[subprocess.Popen[bytes]] = None
        self._watcher: Optional[subprocess.Popen[bytes]] = None
        _alive.add(self)

    def file(self, name: str) -> str:
        return os.path.join(self.folder, name)

    def empty_scenario(self, name: str) -> str:
        """A file that leaves a factory-new board. What the HAL prints goes to a file of the same name."""
        path = self.file(name + ".json")
        with open(path, "w", encoding="utf-8") as file:
            json.dump({"title": f"The board {name}", "steps": []}, file)
        return path

    def start(self, command: Sequence[str], environment: Optional[Dict[str, str]] = None) -> None:
        """Starts it, in a session of its own: Ctrl-C is this process's to handle. Standard output and error go to the
        files "output" and "errors"."""
        with open(self.file("output"), "wb") as output, open(self.file("errors"), "wb") as errors:
            try:
                self._process = subprocess.Popen(
                    list(command),
                    stdin=subprocess.DEVNULL,
                    stdout=output,
                    stderr=errors,
                    start_new_session=True,
                    env=None if environment is None else {**os.environ, **environment},
                )
            except (OSError, ValueError) as error:  # ValueError: a text with a zero character in it
                why = getattr(error, "strerror", None) or error
                raise OnuError("not-started", f"{command[0]} cannot be started: {why}") from None
        self._watcher = subprocess.Popen(
            ["/bin/sh", "-c", _WATCHER, "sh", str(self._process.pid), self.folder],
            stdin=subprocess.PIPE,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            start_new_session=True,
        )

    @property
    def pid(self) -> int:
        return 0 if self._process is None else self._process.pid

    def poll(self) -> Optional[int]:
        """The exit code; None while it runs."""
        if self._process is None:
            return None
        code = self._process.poll()
        if code is not None:
            self._stop_watcher()  # the process number can be another's from now on
        return code

    def wait(self, timeout: float) -> Optional[int]:
        """The exit code; None when it still runs after so many seconds."""
        if self._process is not None:
            try:
                self._process.wait(timeout)
            except subprocess.TimeoutExpired:
                return None
        return self.poll()

    def read(self, name: str) -> str:
        """What it has written to a file of its folder; "" for nothing."""
        try:
            with open(self.file(name), encoding="utf-8", errors="replace") as written:
                return written.read()
        except OSError:
            return ""

    def end(self) -> Optional[int]:
        """Ends it, and takes its folder away. Can be called again. The exit code, where there is one."""
        if self._owner != os.getpid():
            return None  # a forked child: the board is its parent's
        code = None
        try:
            code = self._ended()
        finally:
            self._stop_watcher()
            shutil.rmtree(self.folder, ignore_errors=True)
            _alive.discard(self)
        return code

    def _ended(self) -> Optional[int]:
        if self._process is None:
            return None
        try:
            for number, patience in (
                (signal.SIGTERM, _GRACE),
                (signal.SIGINT, _APART),
                (signal.SIGINT, _KILLING),
            ):
                if self._process.poll() is None:
                    self._process.send_signal(number)
                    self.wait(patience)
        finally:
            if self._process.poll() is None:
                self._process.kill()
                self._process.wait()
        return self._process.returncode

    def _stop_watcher(self) -> None:
        watcher, self._watcher = self._watcher, None
        if watcher is None:
            return
        watcher.kill()
        watcher.wait()
        if watcher.stdin is not None:
            watcher.stdin.close()


_alive: "weakref.WeakSet[Tool]" = weakref.WeakSet()


@atexit.register
def _end_all() -> None:
    for tool in list(_alive):
        tool.end()


def is_descendant(process: int, ancestor: int) -> bool:
    """Whether a process is the other one, or was started by it or by what that has started."""
    while process not in (0, ancestor):
        try:
            with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as stat:
                process = int(stat.read().rpartition(")")[2].split()[1])
        except OSError:
            return False
    return process == ancestor
