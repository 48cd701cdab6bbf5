"""The socket of a board: a line of JSON in, one out."""

from __future__ import annotations

import json
import os
import re
import socket
import stat
import tempfile
import threading
import time
from typing import Any, Dict, Optional

from .errors import OnuError

PROTOCOL = 1
_MOST_AT_ONCE = 1 << 16
_NAME = re.compile(r"[A-Za-z0-9_][A-Za-z0-9_.-]{0,39}")  # as the tool has it


def boards_directory() -> str:
    """Where the sockets of this user's boards are. Need not exist yet. Raises an OnuError "not-yours" where another user
    has made it: whoever listens there is nobody's board."""
    given = os.environ.get("XDG_RUNTIME_DIR", "")
    if given.startswith("/") and _is_own(given, stat.S_IWGRP | stat.S_IWOTH):
        return _own(os.path.join(given, "vorn-onu"), stat.S_IRWXG | stat.S_IRWXO)
    parent = _own(os.path.join(_temporary_directory(), f"vorn-onu.{os.getuid()}"), 0)
    return _own(os.path.join(parent, "boards"), stat.S_IRWXG | stat.S_IRWXO)


def socket_path(name: str) -> str:
    """Raises an OnuError also for a name that no board can have."""
    if not isinstance(name, str) or not _NAME.fullmatch(name):
        raise OnuError("bad-name", f"{name!r} cannot be a board's name: up to 40 letters, digits, '-', '_' and '.'")
    return os.path.join(boards_directory(), name + ".sock")


def _own(path: str, forbidden: int) -> str:
    if os.path.lexists(path) and not _is_own(path, forbidden):
        alone = " alone" if forbidden else ""
        raise OnuError("not-yours", f"{path} is not a directory of yours{alone}; set XDG_RUNTIME_DIR or TMPDIR to another")
    return path


def _is_own(path: str, forbidden: int) -> bool:
    try:
        found = os.lstat(path)
    except OSError:
        return False
    return stat.S_ISDIR(found.st_mode) and found.st_uid == os.getuid() and not found.st_mode & forbidden


def _temporary_directory() -> str:
    # In the tool's order; it takes the first that is set.
    for variable in ("TMPDIR", "TMP", "TEMP", "TEMPDIR"):
        if os.environ.get(variable):
            return os.environ[variable]
    return "/tmp"


def _seconds(timeout: float) -> float:
    """A time that a socket takes: at most a year."""
    if isinstance(timeout, bool) or not isinstance(timeout, (int, float)) or not timeout >= 0:
        raise OnuError("bad-timeout", f"a timeout is a number of seconds from 0, not {timeout!r}")
    return min(float(timeout), 365 * 86400.0)


def _line_of(request: Dict[str, Any]) -> bytes:
    try:
        return json.dumps(request, allow_nan=False).encode() + b"\n"
    except (TypeError, ValueError, RecursionError) as error:
        raise OnuError("bad-step", f"JSON cannot say this: {error}") from None


class Connection:
    """One client's connection. Opened when it is first needed, and again after a timeout. Threads may share it: their
    requests go one after the other."""

    def __init__(self, path: str, timeout: float = 10.0) -> None:
        """timeout: seconds that a request may take."""
        self._path = path
        self._timeout = timeout
        self._lock = threading.RLock()
        self._socket: Optional[socket.socket] = None
        self._rest = bytearray()
        self._id = 0

    def ask(self, do: str, timeout: Optional[float] = None, **fields: Any) -> Dict[str, Any]:
        """The reply to a request. Raises an OnuError with the board's own code where it refuses."""
        end = time.monotonic() + _seconds(self._timeout if timeout is None else timeout)
        with self._lock:
            self._id += 1
            request = _line_of({"v": PROTOCOL, "id": self._id, "do": do, **fields})
            try:
                self._send(request, end)
                reply = self._reply(self._id, end)
            except BaseException:
                self.close()  # what still comes belongs to nobody
                raise
        if not reply.get("ok"):
            raise OnuError(str(reply.get("code", "failed")), str(reply.get("error", "the board refused")))
        return reply

    def next_line(self, timeout: Optional[float]) -> Optional[Dict[str, Any]]:
        """What comes next, which is an event where nothing was asked; None when nothing comes in so many seconds."""
        with self._lock:
            try:
                return self._line(None if timeout is None else time.monotonic() + _seconds(timeout))
            except socket.timeout:
                return None

    def close(self) -> None:
        """Also lets a thread go that waits for a line: it gets an OnuError "gone"."""
        opened, self._socket = self._socket, None
        self._rest = bytearray()
        if opened is None:
            return
        try:
            opened.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass  # the board was faster
        opened.close()

    def _send(self, line: bytes, end: float) -> None:
        try:
            self._open(end).sendall(line)
        except socket.timeout:
            raise OnuError("timeout", "the board does not take a request") from None
        except OSError as error:
            raise OnuError("gone", f"the board cannot be reached at {self._path}: {error.strerror}") from None

    def _open(self, end: float) -> socket.socket:
        if self._socket is None:
            opened = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
            try:
                opened.settimeout(max(end - time.monotonic(), 0.001))
                opened.connect(self._path)
            except BaseException:
                opened.close()
                raise
            self._socket = opened
        self._socket.settimeout(max(end - time.monotonic(), 0.001))
        return self._socket

    def _reply(self, wanted: int, end: float) -> Dict[str, Any]:
        while True:
            try:
                reply = self._line(end)
            except socket.timeout:
                raise OnuError("timeout", "the board has not answered in time") from None
            if reply.get("id") == wanted or (reply.get("ok") is False and "id" not in reply):
                return reply

    # Raises socket.timeout; waits for ever without an end.
    def _line(self, end: Optional[float]) -> Dict[str, Any]:
        looked = 0
        while True:
            found = self._rest.find(b"\n", looked)
            if found >= 0:
                line = bytes(self._rest[:found])
                del self._rest[: found + 1]
                return self._parsed(line)
            looked = len(self._rest)
            if self._socket is None:
                raise OnuError("gone", "the connection to the board is closed")
            self._socket.settimeout(None if end is None else max(end - time.monotonic(), 0.001))
            try:
                got = self._socket.recv(_MOST_AT_ONCE)
            except socket.timeout:
                raise
            except OSError as error:
                raise OnuError("gone", f"the connection to the board broke: {error.strerror}") from None
            if not got:
                raise OnuError("gone", "the board has closed the connection")
            self._rest += got

    @staticmethod
    def _parsed(line: bytes) -> Dict[str, Any]:
        try:
            parsed = json.loads(line)
        except ValueError:
            parsed = None
        if not isinstance(parsed, dict):
            raise OnuError("bad-reply", f"the board's answer is no JSON object: {line[:80]!r}")
        return parsed
