"""What a board answers to those who speak its protocol themselves: requests, some of them wrong, and what they are told later."""

import json
import os
import pathlib
import select
import signal
import socket
import sys
import time

sys.path.insert(0, str((pathlib.Path(__file__).resolve().parent / "../vorn-onu").resolve()))
from by_chance.chance import Chances  # noqa: E402
from by_chance.scenarios import REFUSED_STEPS, VALUES, places_in, scenario  # noqa: E402
from by_chance.settings import SETTINGS  # noqa: E402

IDS = (0, -7, 2**40, 1.5, True, "", "me", "x" * 200, "x" * 201, "\u0000ü", None, [], {})
LINES = (b"", b" ", b"{", b"[]", b"7", b"null", b'"show"', b"{}", b'{"v":1}', b'{"v":1,"do":"shw"}', b'{"v":1,"do":7}', b'{"v":"1","do":"show"}',
         b'{"v":2,"do":"hello"}', b'{"do":"hello"}', b'{"v":1,"do":"hello","v":1}', b'{"v":1,"do":"hello"} ', b'{"v":1,"do":"hello"},',
         b'{"v":1,"id":"\xff","do":"hello"}', b'{"v":1,"id":"\xc3\xbc","do":"hello"}', b"[" * 300, b'{"v":1,"do":' + b"[" * 40 + b"]" * 40 + b"}",
         b'{"v":1,"do":"step","step":{"mark":"' + b"m" * 5000 + b'"}}')
REQUESTS = (
    {"do": "show"}, {"do": "show", "trace": "failed"}, {"do": "show", "trace": "all"}, {"do": "trace"}, {"do": "trace", "most": 3},
    {"do": "trace", "after": 2, "most": 2}, {"do": "trace", "failed": True, "most": 9}, {"do": "trace", "after": 2**64 - 1},
    {"do": "trace", "most": 10000}, {"do": "trace", "most": 10001}, {"do": "counters"}, {"do": "metrics"}, {"do": "mib"}, {"do": "messages"},
    {"do": "messages", "after": 3, "most": 2}, {"do": "messages", "most": 0}, {"do": "news"}, {"do": "news", "after": 3, "most": 2}, {"do": "hello"},
    {"do": "unsubscribe"}, {"do": "send", "frame": {"from": "sid0"}}, {"do": "send", "frame": {"from": "sid1", "tags": [{"vid": 20}]}, "bothWays": True},
    {"do": "send", "frame": {"from": "gem 1001", "tags": [{"vid": 100}, {"vid": 30}]}, "bothWays": True}, {"do": "send", "frame": {"from": "sid9"}},
    {"do": "step", "step": {"expect": {"ruleCount": 0}, "within": 30}}, {"do": "step", "step": {"mark": "here"}}, {"do": "step", "step": {"restart": "kill"}},
    {"do": "step", "step": {"expect": {"nothingLeftSince": "here"}}}, {"do": "step", "step": {"call": "sendSysUpTime"}},
    {"do": "step", "step": {"call": "unsetPbitData", "record": "mine"}, "records": {"mine": {"bridgeId": 3, "gemPortId": 1001}}},
    {"do": "subscribe", "to": ["trace"]}, {"do": "subscribe", "to": ["counters", "changes"], "everyMs": 60000, "after": 0},
    {"do": "subscribe", "to": ["changes"], "everyMs": 60001}, {"do": "subscribe", "to": ["changes"], "everyMs": 100},
    {"do": "subscribe", "to": []}, {"do": "subscribe", "to": ["nothing"]}, {"do": "subscribe", "to": ["trace"], "everyMs": 99},
)
OTHER_VALUES = (None, True, -1, 0, 1, 1.5, 65536, "", "all", [], {}, ["trace"])
SCENARIOS = ("internet", "iphost-static", "tcont-gem", "counters", "bridge-forwarding", "operator-row-fields")
# What is listened to; what comes at once, and what when something happens.
LISTENING = (({"to": ["trace"], "after": 0}, {"trace"}, {"trace"}), ({"to": ["trace"]}, {}, {"trace"}),
             ({"to": ["changes", "trace"], "after": 5}, {"trace"}, {"trace", "change"}),
             ({"to": ["counters", "changes"], "everyMs": 60000}, {"counters"}, {"change"}))
MOST_OCTETS = 1 << 20  # of a line
MANY = 30
QUIET = 0.7  # seconds


class Connection:
    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(20)
        self.socket.connect(str(path))
        self.read = b""

    def line(self):
        """Empty when the board has ended it."""
        while b"\n" not in self.read and (more := self.socket.recv(1 << 20)):
            self.read += more
        line, _, self.read = self.read.partition(b"\n")
        return line.decode(errors="replace")

    def ask(self, line):
        self.socket.sendall(line + b"\n")
        return self.line()

    def events(self, seconds, least=()):
        """What it is told until nothing has come for so long, and each of the kinds in LEAST has."""
        left = set(least)
        while b"\n" in self.read or select.select([self.socket], [], [], 20 if left else seconds)[0]:
            if not (line := self.line()):
                return
            event = json.loads(line)
            left.discard(event["event"])
            yield event

    def close(self):
        self.socket.close()


def changed(request, chance):
    """The request with one value that is another, missing, or more than there are."""
    whole = json.loads(json.dumps(request))
    parent, key = chance.one_of(*places_in(whole))
    if chance(5) == 0:
        del parent[key]
    elif chance(5) == 0 and isinstance(parent, dict):
        parent["more"] = 1
    else:
        parent[key] = chance.one_of(*OTHER_VALUES)
    return whole


def steps_of(source, name):
    """Of a scenario in which something is wrong."""
    for count in range(3):
        whole = json.loads(scenario((source / "scenarios" / f"{name}.json").read_text(encoding="utf-8"), f"{name} {count}"))
        for step in whole.get("steps") or []:
            if isinstance(step, dict) and not (isinstance(step.get("within"), int) and step["within"] > 50):
                yield {"do": "step", "step": step, **({"records": whole["records"]} if "records" in whole else {})}


def asked(source):
    yield from ({"id": one, "do": "hello"} for one in IDS)
    yield from REQUESTS
    chance = Chances("requests")
    for request in REQUESTS * 4:
        yield changed(request, chance)
    yield from ({"do": "step", "step": step} for step in (*REFUSED_STEPS, *VALUES, *({"board": one} for one in SETTINGS)))
    for name in SCENARIOS:
        yield from steps_of(source, name)


def another_process(path):
    """What is told when a child of the program that waits becomes the one whose board is shown."""
    connection = Connection(path)
    process = json.loads(connection.ask(b'{"v":1,"do":"hello"}'))["board"]["process"]
    connection.close()
    return told(path, lambda: os.kill(process, signal.SIGUSR1), {"to": ["trace", "changes"]}, {}, {"board", "trace", "change"})


def unread(path):
    """Many answers to somebody who reads none of them until all are asked for."""
    connection = Connection(path)
    connection.socket.sendall(b'{"v":1,"do":"show","trace":"all"}\n{"v":1,"do":"hello"}\n' * MANY)
    time.sleep(0.3)
    answers = [connection.line() for _ in range(2 * MANY)]
    connection.close()
    return [f"{sum(json.loads(answer)['ok'] for answer in answers)} answers, {len(answers[0]) * MANY > 1 << 20}"]


def told(path, work, listening, at_once, later):
    """The parts of events that do not depend on when it is looked: calls, the last of the other kinds."""
    connection = Connection(path)
    texts = [connection.ask(json.dumps({"v": 1, "do": "subscribe", **listening}).encode())]
    last, calls = {}, []
    for least in (at_once, later):
        for event in connection.events(QUIET, least):
            calls += event["entries"] if event["event"] == "trace" else []
            last[event["event"]] = event if event["event"] != "trace" else sorted(event)
        if least is at_once:
            work()
    connection.close()
    return [*texts, *(json.dumps(call) for call in calls), json.dumps(last, sort_keys=True)]


def spoken(path, source, is_quiet):
    """IS_QUIET: nothing happens on the board but what is asked for."""
    texts = []
    connection = Connection(path)
    texts += [f"{line[:80]}\n{connection.ask(line)}" for line in LINES]
    connection.close()
    connection = Connection(path)
    for request in asked(source):
        if not is_quiet and request.get("do") not in ("mib", "messages", "hello"):
            continue
        line = json.dumps({"v": 1, **request})
        texts.append(f"{line}\n{connection.ask(line.encode())}".replace("\\n", "\n"))
        if request.get("do") == "subscribe":
            connection.close()
            connection = Connection(path)
    connection.close()
    connection = Connection(path)
    texts += [connection.ask(b"7" * length) for length in (MOST_OCTETS, MOST_OCTETS + 1)]
    texts.append(connection.line())  # its end
    connection.close()
    return texts + (unread(path) if is_quiet else [])


def listened(path):
    """What is told of a board with a HAL."""
    def work():
        other = Connection(path)
        for link in ("down", "up"):
            other.ask(json.dumps({"v": 1, "do": "step", "step": {"board": {"links": {"sid2": link}}}}).encode())
        other.ask(b'{"v":1,"do":"step","step":{"call":"configureBridge","bridgeId":19,"uniPort":1}}')
        other.close()
        time.sleep(0.2)

    return [text for listening in LISTENING for text in told(path, work, *listening)]
