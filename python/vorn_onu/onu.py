"""A board: started, reached, looked at, disturbed."""

from __future__ import annotations

import itertools
import json
import os
import re
import secrets
import time
from typing import Any, BinaryIO, Dict, Iterator, List, Mapping, Optional, Sequence, Type, TypeVar, Union, cast

from .connection import Connection, boards_directory, socket_path
from .decode import decode
from .errors import OnuError, StepFailed
from .frames import frame_fields, octets_of
from .operations import Calls
from .results import FrameResult, StepResult, step_result
from .state import BoardInfo, Counters, DeviceState, TraceEntry
from .steps import Steps
from .tool import Tool, find_tool, is_descendant

__tracebackhide__ = True  # pytest shows the test's own lines

O = TypeVar("O", bound="Onu")

_numbers = itertools.count(1)
_MOST_TRACE = 10000
_MOST_PRINTED = 1 << 26
_NOT_STARTED = (2, 127)  # exit codes of the tool
_ENDING = 1.0
_HAL_OUTPUT = re.compile(r"^ *what the HAL printed: (.*) \(\d+ lines\)$", re.MULTILINE)


def unique_name() -> str:
    """A name that no other board of this user has."""
    return f"{_own_names()}{next(_numbers)}-{secrets.token_hex(3)}"


def _own_names() -> str:
    return f"py-{os.getpid()}-"


def _is_own(name: str) -> bool:
    return name.startswith(_own_names())


def _tap_options(taps: Optional[Mapping[str, str]]) -> List[str]:
    return [word for port, interface in (taps or {}).items() for word in ("--tap", f"{port}={interface}")]


def _forwarding_option(forwarding: Optional[str]) -> List[str]:
    return [] if forwarding is None else ["--forwarding", forwarding]


def _remove(path: str) -> None:
    try:
        os.remove(path)
    except OSError:
        pass


class Onu(Steps):
    """A board that runs. Made by start(), exec() or attach(); ends with close(), with the end of a with block, and with
    this process, however it ends. What fails raises OnuError; what is expected and does not hold, StepFailed.

    call        the HAL's operations: onu.call.configureBridge(bridgeId=3, uniPort=0)
    records     records by name, for calls that name one: onu.records["gem"] = {"xgemPortId": 1001}
    last_frame  the frame that was sent last
    """

    def __init__(self, name: str, timeout: float = 10.0, tool: Optional[Tool] = None) -> None:
        """For start(), exec() and attach()."""
        self.name = name
        self.records: Dict[str, Mapping[str, Any]] = {}
        self.last_frame: Optional[FrameResult] = None
        self.call = Calls(self._take_call)
        self._timeout = timeout
        self._tool = tool
        self._path = socket_path(name)
        self._connection = Connection(self._path, timeout)
        self._printed: Optional[BinaryIO] = None  # what the HAL prints
        self._exit_code: Optional[int] = None

    # ---- how it begins and ends ----

    @classmethod
    def start(
        cls: Type[O],
        *,
        scenario: Optional[str] = None,
        name: Optional[str] = None,
        real_time: bool = False,
        strict: bool = False,
        forwarding: Optional[str] = None,
        taps: Optional[Mapping[str, str]] = None,
        tool: Optional[str] = None,
        timeout: float = 10.0,
        start_timeout: float = 30.0,
    ) -> O:
        """A factory-new board with the HAL in the tool: it takes calls. With a scenario, the board as it is at its
        end; one that takes its services back ends before that.

        scenario       a file; one that does not hold raises an OnuError "not-started" with the steps that failed
        name           for vorn-onu ls and vorn-onu at; otherwise a unique one
        real_time      waits take their time; otherwise they end at once, and are recorded
        strict         a call into the device kit that fails in the scenario is a failure
        forwarding     what frames go by: "contract" or "g988"; otherwise what the scenario says, or
                       $VORN_HAL_FORWARDING, or the HAL's contract
        taps           ports that are TAP devices of this machine: {"sid0": "lan0", "gem 1001": "pon0@operator"}
        tool           the program vorn-onu; otherwise $VORN_ONU, otherwise the one on the path
        timeout        seconds that a request may take
        start_timeout  seconds until the board must be there, the scenario done
        """
        program, run = find_tool(tool), Tool()
        board = name or unique_name()
        command = [program, "run", scenario or run.empty_scenario(board), "--stay", "--name", board]
        command += ["--real-time"] * real_time + ["--strict"] * strict + _forwarding_option(forwarding) + _tap_options(taps)
        command += ["--json", run.file("run.json")] if scenario else []
        onu = cls._begun(run, board, command, timeout, start_timeout)
        onu._open_printed()
        if scenario:
            onu._check_scenario(scenario)
        return onu

    @classmethod
    def exec(
        cls: Type[O],
        program: Sequence[str],
        *,
        name: Optional[str] = None,
        environment: Optional[Dict[str, str]] = None,
        forwarding: Optional[str] = None,
        taps: Optional[Mapping[str, str]] = None,
        tool: Optional[str] = None,
        timeout: float = 10.0,
        start_timeout: float = 30.0,
    ) -> O:
        """A program, an OMCI daemon say, on a factory-new board. The HAL is the program's own: calls are refused.

        program      the program and its arguments
        environment  variables for it, beside this process's own
        forwarding   "contract" or "g988"; otherwise $VORN_HAL_FORWARDING, or the HAL's contract
        taps         as with start()
        """
        if isinstance(program, (str, bytes)) or not program or not all(isinstance(word, str) for word in program):
            raise OnuError("bad-program", f'the program and its arguments are a list like ["ls", "-l"], not {program!r}')
        tool, run = find_tool(tool), Tool()
        board = name or unique_name()
        command = [tool, "exec", "--quiet", "--hal-output", run.file("hal"), "--name", board]
        command += _forwarding_option(forwarding) + _tap_options(taps)
        command += ["--", *program]
        return cls._begun(run, board, command, timeout, start_timeout, environment)

    @classmethod
    def attach(cls: Type[O], name: str, *, timeout: float = 10.0) -> O:
        """A board that somebody else has started, and who ends it."""
        onu = cls(name, timeout)
        onu.info()
        return onu

    def close(self) -> None:
        """Ends the board, and the program that runs on it. Can be called again."""
        self._connection.close()
        tool, self._tool = self._tool, None
        if tool is None:
            return
        if self._printed is not None:
            self._printed.close()
        code = tool.end()
        self._exit_code = self._exit_code if code is None else code
        if code is not None and code < 0 and _is_own(self.name):  # killed: it has not cleared away itself
            _remove(self._path)
            _remove(self._path[: -len(".sock")] + ".lock")

    def __enter__(self: O) -> O:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def wait(self, timeout: float) -> int:
        """The exit code of the program under exec(), or of the tool. Raises an OnuError "timeout" while it runs."""
        if self._tool is not None:
            self._exit_code = self._tool.wait(timeout)
        if self._exit_code is None:
            raise OnuError("timeout", f"{self.name} still runs after {timeout} s")
        return self._exit_code

    # ---- looking at it ----

    def info(self) -> BoardInfo:
        """How the board came to be."""
        return decode(BoardInfo, {"program": [], **self._ask("hello")})

    def state(self, trace: str = "none") -> DeviceState:
        """What is on it; trace: "none", "failed" (calls that failed) or "all"."""
        return decode(DeviceState, self.state_json(trace))

    def state_json(self, trace: str = "none") -> Dict[str, Any]:
        """The same as it is in JSON, for json.dump() and vorn-onu diff."""
        return cast(Dict[str, Any], self._ask("show", trace=trace)["device"])

    def trace(self, *, after: int = 0, failed: bool = False) -> List[TraceEntry]:
        """The calls into the device, from behind that number on; failed: those that failed only."""
        entries: List[TraceEntry] = []
        while True:
            reply = self._ask("trace", after=after, most=_MOST_TRACE, failed=failed)
            entries += [decode(TraceEntry, one) for one in reply["entries"]]
            if len(reply["entries"]) < _MOST_TRACE:
                return entries
            after = entries[-1].number

    def counters(self) -> Counters:
        return decode(Counters, self._ask("counters"))

    def mib(self) -> List[Dict[str, Any]]:
        """The MIB of a board that an OLT's messages come to: its entities, as docs/living.md has them."""
        return cast(List[Dict[str, Any]], self._ask("mib")["mib"])

    def messages(self, *, after: int = 0) -> List[Dict[str, Any]]:
        """An OLT's messages behind that number with what came of them, the last 1,000 at most."""
        return cast(List[Dict[str, Any]], self._ask("messages", after=after)["messages"])

    def subscribe(self, *to: str, every: float = 1.0, after: Optional[int] = None) -> Subscription:
        """Events as they come: "trace", "changes", "counters" (every so many seconds), as docs/living.md has them."""
        fields: Dict[str, Any] = {"to": list(to), "everyMs": round(every * 1000)}
        if after is not None:
            fields["after"] = after
        return Subscription(Connection(self._path, self._timeout), fields)

    def output(self) -> str:
        """What the program under exec() has printed so far, and the tool; standard error last."""
        return "" if self._tool is None else self._tool.read("output") + self._tool.read("errors")

    def hal_output(self) -> str:
        """What the HAL has printed so far."""
        if self._tool is None:
            return ""
        if self._printed is None:
            return self._tool.read("hal")
        return os.pread(self._printed.fileno(), _MOST_PRINTED, 0).decode(errors="replace")

    # ---- steps ----

    def step(
        self, step: Mapping[str, Any], *, records: Optional[Mapping[str, Any]] = None, check: bool = True
    ) -> StepResult:
        """A step as a scenario has it. With check=False one that does not hold comes back, passed being False."""
        return self._taken(step, records, check)

    def send(
        self,
        packet: Any,
        at: str,
        *,
        leaves: Optional[Sequence[Mapping[str, Any]]] = None,
        dropped: Union[bool, str, None] = None,
    ) -> FrameResult:
        """Sends octets, or a packet of scapy's, into a port.

        packet   an Ethernet frame without check sequence; tags, type, DSCP, IP protocol, IGMP and MLD are read from it
        at       where it arrives: "sid0", "veip0", or "gem 1001"
        leaves   where all its copies are expected to leave, as in a frame step
        dropped  that no copy is expected to leave, or a part of the reason
        """
        octets = octets_of(packet)
        step: Dict[str, Any] = {"frame": {"from": at, **frame_fields(octets)}}
        if leaves is not None:
            step["expect"] = {"leaves": list(leaves)}
        elif dropped is not None:
            step["expect"] = {"dropped": dropped}
        return cast(FrameResult, self._taken(step, None, True, octets))

    # ---- within ----

    @classmethod
    def _begun(
        cls: Type[O],
        run: Tool,
        board: str,
        command: Sequence[str],
        timeout: float,
        start_timeout: float,
        environment: Optional[Dict[str, str]] = None,
    ) -> O:
        onu = cls(board, timeout, run)
        try:
            run.start(command, environment)
            onu._wait_until_there(time.monotonic() + start_timeout)
        except BaseException:
            onu.close()
            raise
        return onu

    def _wait_until_there(self, end: float) -> None:
        assert self._tool is not None
        pause = 0.002
        while not os.path.exists(self._path):
            code = self._tool.poll()
            if code is not None:
                said = self.output().strip()
                raise OnuError("not-started", f"{self.name} ended with exit code {code}: {said or 'it said nothing'}")
            if time.monotonic() > end:
                raise OnuError("timeout", f"{self.name} was not there in time: {self.output().strip()}")
            time.sleep(pause)
            pause = min(2 * pause, 0.05)
        try:
            process = self._connection.ask("hello", timeout=max(end - time.monotonic(), 0.1))["process"]
        except OnuError as error:
            # A short program can be over before it was asked.
            code = self._tool.wait(_ENDING) if error.code == "gone" else None
            if code in (None, *_NOT_STARTED):
                raise OnuError("not-started", f"{self.name}: {error.text}; {self.output().strip()}") from None
        else:
            # It can be another one that has the name, and then the tool is about to say so.
            left = max(end - time.monotonic(), _ENDING)
            if not is_descendant(process, self._tool.pid) and self._tool.wait(left) is not None:
                raise OnuError("not-started", f"{self.name}: {self.output().strip()}")

    def _check_scenario(self, scenario: str) -> None:
        assert self._tool is not None
        try:
            with open(self._tool.file("run.json"), encoding="utf-8") as written:
                steps = [step_result(one) for one in json.load(written)["steps"]]
            failed = [f"step {one.number}: {one.text()}" for one in steps if not one.passed]
        except BaseException:
            self.close()
            raise
        if failed:
            self.close()
            raise OnuError("not-started", f"{scenario} does not hold:\n" + "\n".join(failed))

    # By its descriptor: the name is that of the scenario, and another run of it takes the name over.
    def _open_printed(self) -> None:
        found = None if self._tool is None else _HAL_OUTPUT.search(self._tool.read("output"))
        if found is None:
            return
        try:
            self._printed = open(found.group(1), "rb")
        except OSError:
            return
        if os.path.basename(found.group(1)).startswith(self.name + "."):
            _remove(found.group(1))

    def _ask(self, do: str, timeout: Optional[float] = None, **fields: Any) -> Dict[str, Any]:
        try:
            return self._connection.ask(do, timeout, **fields)
        except OnuError as error:
            code = None if self._tool is None else self._tool.poll()
            if error.code != "gone" or code is None:
                raise
            said = self.output().strip()[-2000:]
            raise OnuError("gone", f"{self.name} has ended with exit code {code}\n{said}".rstrip()) from None

    def _take_call(self, step: Dict[str, Any], records: Optional[Mapping[str, Any]]) -> StepResult:
        return self._taken(step, records, True)

    def _taken(
        self, step: Mapping[str, Any], records: Optional[Mapping[str, Any]], check: bool, sent: bytes = b""
    ) -> StepResult:
        fields: Dict[str, Any] = {"step": step}
        if records is None and step.get("record") in self.records:
            records = self.records
        if records is not None:
            fields["records"] = records
        # Time that the step itself asks for; the board refuses what is out of range.
        asked = [step.get(key) for key in ("within", "advance")]
        more = sum(one / 1000 for one in asked if isinstance(one, (int, float)) and 0 <= one < 1e9)
        reply = self._ask("step", self._timeout + more, **fields)
        result = step_result(reply["step"], sent)
        if isinstance(result, FrameResult):
            self.last_frame = result
        if check and not result.passed:
            raise StepFailed(result)
        return result


class Subscription:
    """Events of a board, on a connection of their own. Ends with the board, with close(), or with a with block."""

    def __init__(self, connection: Connection, fields: Mapping[str, Any]) -> None:
        self._connection = connection
        connection.ask("subscribe", **fields)

    def next(self, timeout: Optional[float] = None) -> Optional[Dict[str, Any]]:
        """The next event; None when none comes in so many seconds. After "end" there is none more: OnuError "gone"."""
        return self._connection.next_line(timeout)

    def __iter__(self) -> Iterator[Dict[str, Any]]:
        while True:
            event = self.next()
            if event is None:
                return
            yield event
            if event.get("event") == "end":
                return

    def close(self) -> None:
        self._connection.close()

    def __enter__(self) -> Subscription:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


def boards(timeout: float = 2.0) -> List[BoardInfo]:
    """The boards of this user that run, as vorn-onu ls lists them."""
    try:
        names = sorted(name[: -len(".sock")] for name in os.listdir(boards_directory()) if name.endswith(".sock"))
    except FileNotFoundError:
        return []
    found = []
    for name in names:
        onu = Onu(name, timeout)
        try:
            found.append(onu.info())
        except OnuError:
            continue  # what a killed run has left
        finally:
            onu.close()
    return found
