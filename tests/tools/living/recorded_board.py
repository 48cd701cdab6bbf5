#!/usr/bin/env python3
"""What the tool answers of a board that runs, to an OLT, to those who look at it and to a browser, is what it was.

    recorded_board.py SOURCE_DIR VORN_ONU [--renew | --text NAME]    (tests/support/record.py)
"""

import contextlib
import functools
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time

for folder in ("../../support", "../vorn-onu"):
    sys.path.insert(0, str((pathlib.Path(__file__).resolve().parent / folder).resolve()))
import record  # noqa: E402
from exchange import Exchange, metrics, packets  # noqa: E402
from olt import CURRENT, GET, Olt  # noqa: E402
from page import STEPS, Page  # noqa: E402
from protocol import another_process, listened, spoken  # noqa: E402
from terminal import Terminal  # noqa: E402
from inputs import input_text  # noqa: E402
from recorded_outputs import OTHER_EACH_TIME  # noqa: E402

RECORD = pathlib.Path(__file__).with_suffix(".txt")
# What the time has to do with.
OTHER = {
    **OTHER_EACH_TIME, r'nonce[-="]+\w+': "nonce", r"(127\.0\.0\.1|localhost):\d+": "ADDRESS", r"^ +\d+\.\d{6}(  \w)": r"TIME\1",
    r"fault of step \d+": "fault of a step",  # an expectation that waits counts more than once
    r'"messages":\[[\d,]+\]': '"messages":[]',  # with those that told the ports' state
    r'"(number|place|process)": ?\d+': r'"\1":0',
    r"^Content-Length: \d+$": "Content-Length: MANY", r"^(live +\w+ +)\d+ +\S+": r"\1", r"^\d\d:\d\d:\d\d\.\d+|^(  . +\d+) +\d+\.\d+": r"\1 TIME",
    r'"(latencyMs|microseconds|seconds)": ?[\d.e+-]+': r'"\1":TIME', r"^((\w+_seconds\w*|process_\w+)(\{.*\})?) [\d.e+-]+$": r"\1 TIME", r"^.*(attribute value change|[^-]\balarm\b).*\n": "",
}
LOOKS = {
    # Nothing happens on these boards unless it is asked for.
    "run scenarios/internet.json --after-step 18": (
        "show", "send --from sid0 --both-ways", "send --from sid0 --vlan 20 --pbits 3",
        "send --from 'gem 1002' --vlan 200 --pbits 5 --json", "board links.sid1=down links.sid0=down",
        "send --from sid0", "board links.sid0=up links.sid1=up", "board optics.receive=0",
        "send --from 'gem 1002'", "frame from=sid1 'tags=[(\"vid\": 20)]'", "expect links.sid1=down", "expect ruleCount=0", "mark here",
        "advance 5000", "fault function=vlanCtl_insertTagRule nth=1", "call configureBridge bridgeId=9 uniPort=0",
        "expect nothingLeftSince=here", "call tcont_set allocId=300 tContIndex=5", "call tcont_set tContAllocId=300 tContIndex=1",
        "gateway silent", "gateway", "step (\"advance\":1)", "step (\"advanc\":1)", "bord links.sid1=up", "send --from sid77",
        "board links.sid1=dwon", "mib", "omci", "trace --last 0", "trace --last 12", "trace --last 12 --json", "trace --failed", "metrics",
        "show", "expect links.sid0=up", "board links.sid0=down --json", "restart kill", "step [1]", "gateway talks=1", "fault function=nothing",
        "fault clear", "fault omci drop=1", "mib --tree", "mib --class 7 --tree", "serve --port 65536", "watch", "nothing",
        "fault function=tmctl_setQueueCfg nth=2", "fault ioctl=SIOCBRADDIF code=-16", "board links.sid1=up", "show --json"),
    "run scenarios/qinq.json --after-step 10 --forwarding g988 --metrics 0": (
        "show", "send --from sid1 --vlan 30 --both-ways", "send --from 'gem 1001' --vlan 500 --vlan 30 --json",
        "call unsetPbitData record=service", "call unsetPbitData bridgeId=3 gemPortId=1001", "fault function=tmctl_setQueueCfg",
        "call tcont_set allocId=300 tContIndex=6", "trace --failed", "trace --last 30", "metrics", "show"),
    "exec --record calls --json state --metrics 127.0.0.1:0 -- python3 tests/virtual_onu/run_commands.py commands-2.txt": (
        "show", "send --from sid0 --both-ways", "call configureBridge bridgeId=9 uniPort=0", "board links.sid1=down", "frame from=sid1",
        "fault function=vlanCtl_insertTagRule", "gateway silent", "advance 100", "trace --failed", "trace --last 9 --json", "metrics", "mib",
        "restart kill", "show --json"),
    "omci --listen unix:olt --log -v --record calls --capture exchange --keep 300": (
        "mib", "mib --json", "omci", *(f"send --from {place} --vlan {vid} --payload {size} --destination ff:ff:ff:ff:ff:ff"
            for place in ("sid0", "sid1", "'gem 1001'", "'gem 1002'") for vid in (20, 100, 300) for size in (0, 64, 90, 300, 600, 1200, 1480)),
        "send --from sid0", "call configureBridge bridgeId=9 uniPort=0",
                               "fault omci drop=65535", "fault omci drop=2 delay=3 delayMs=7", "fault omci duplicate=1 damage=2",
                               "fault omci unknownClass=171", "fault omci unknownClass=400", "show", "mib --tree", "mib --class 84", "mib --class 0 --json",
                               "mib --class 84 --tree", "omci --json", "omci -v -x", "omci --class 171 -v", "omci --type set -x",
                               "omci --type set,create --instance 0x101", "omci --type nothing", "omci --last -1", "metrics", "fault clear"),
}

EXCHANGES = (
    "omci --listen udp:localhost:0 --peer 127.0.0.2/31 --mic crc --keep 20 --capture capture --metrics 0 --log -x",
    "omci --listen unix:olt --mic none --capture capture --keep 40 --report report",
    "omci --listen unix:olt --capture capture --strict --forwarding contract",
)

# The ports and the laser of an OLT's ONU are looked at each second: so many calls, and alarms at some time or other.
CHANGING, STEADY_STEPS = {"calls", "facts"}, tuple(step for step in STEPS if "board" not in step)
QUARTER = 15 * 60 * 1000  # of an hour, in milliseconds
DOWN, UP, ESCAPE, BACK = "\x1b[B", "\x1b[A", "\x1b", "\x7f"
WINDOWS = ((14, 80, ("j", "j" * 40, "k", DOWN, "j", UP * 50, "/", "sid0", "\r", "/" + BACK * 9 + "br", ESCAPE, "s")),
           (50, 120, ("/1001\r", "s", "/" + ESCAPE)), (24, 100, ("jj",)), (15, 40, ()), (6, 30, ()), (1, 1, ()))


class Board:
    def __init__(self, tool, source, words, folder):
        self.tool = tool
        environment = {**{name: value for name, value in os.environ.items() if name.startswith("VORN_MUTANT")},
                       "PATH": os.environ["PATH"], "TMPDIR": folder, "HOME": folder, "COLUMNS": "100", "LC_ALL": "C.UTF-8"}
        self.how = {"env": environment, "cwd": folder, "stdout": subprocess.PIPE, "stderr": subprocess.STDOUT, "stdin": subprocess.DEVNULL,
                    "preexec_fn": functools.partial(os.close, 0) if "g988" in words else None}  # descriptors begin with 0
        words = words.split()
        for at, word in enumerate(words):
            if (source / word).is_file():  # beside it: how long its place is decides where lines end
                words[at] = shutil.copy(source / word, folder) and pathlib.Path(word).name
        if words[0] == "exec":
            pathlib.Path(folder, words[-1]).write_text(
                "wait\n".join((input_text(source, words[-1]), "brctl addbr br7\nifconfig sid3 up\n", "")), encoding="ascii")
        self.printed = tempfile.TemporaryFile()
        self.process = subprocess.Popen([tool, words[0], "--name", "live", *words[1:]], **{**self.how, "stdout": self.printed})

    def end(self):
        """What it has printed and written."""
        self.process.terminate()
        self.process.wait(timeout=20)
        self.printed.seek(0)
        written = [path.read_text(encoding="utf-8") for name in ("calls", "state") if (path := pathlib.Path(self.how["cwd"], name)).exists()]
        return "\n".join((self.printed.read().decode(errors="replace"), *written))

    def ask(self, *words):
        done = subprocess.run([self.tool, *words], timeout=60, check=False, **self.how)
        return f"{words} exit code {done.returncode}\n{done.stdout.decode(errors='replace')}"

    def wait(self, words):
        """Until it answers, and the program of "exec" has done its work."""
        until = time.monotonic() + 30
        while "exit code 0" not in self.ask("at", "live", "show") and time.monotonic() < until:
            time.sleep(0.05)
        while "exec" in words and "\nwait: " not in self.printed_now() and time.monotonic() < until:
            time.sleep(0.05)

    def wait_for_ports(self):
        """Until the ONU has looked at them."""
        seen = ""
        while (now := self.ask("at", "live", "mib")) != seen:
            seen = now
            time.sleep(1.5)

    def printed_now(self):
        return os.pread(self.printed.fileno(), 1 << 24, 0).decode(errors="replace")

    def screens(self):
        """What watch shows in windows of these sizes after these keys, and without colours."""
        for more, windows in ({}, WINDOWS), ({"NO_COLOR": "1"}, WINDOWS[:1]):
            terminal = Terminal([self.tool, "at", "live", "watch"], env={**self.how["env"], **more}, cwd=self.how["cwd"])
            until = time.monotonic() + 20
            while not re.search(r" (up|no link) +\d", terminal.screen()) and time.monotonic() < until:
                time.sleep(0.2)  # the counters have to be looked at twice
            for rows, columns, keys in windows:
                terminal.resize(rows, columns)
                for typed in ("", *keys):
                    yield f"{rows} lines, {columns} columns, {typed!r}\n{terminal.screen(typed)}\n"
            yield terminal.end("q")

    def page(self, has_olt):
        server = subprocess.Popen([self.tool, "at", "live", "serve", "--port", "0"], **self.how)
        try:
            link, token = re.search(r"(http://\S+)/\?token=(\w+)", (server.stdout.readline() + server.stdout.readline()).decode()).groups()
            page = Page(link, token)
            yield from (text.replace(token, "TOKEN") for text in page.visited(*((CHANGING, STEADY_STEPS) if has_olt else (set(),))))
            yield from page.without_board(self.process.terminate)
        finally:
            server.terminate()
            server.communicate(timeout=20)


def exchange(tool, source, words):
    """What goes between an ONU and an OLT, and how the ONU tells of it."""
    with tempfile.TemporaryDirectory() as folder, contextlib.ExitStack() as open_sockets:
        board = Board(tool, source, words, folder)
        try:
            board.wait(words)
            board.wait_for_ports()
            is_local = "unix:" in words
            own, other = [open_sockets.enter_context(socket.socket(socket.AF_UNIX if is_local else socket.AF_INET, socket.SOCK_DGRAM)) for _ in range(2)]
            own.settimeout(20)
            own.bind(f"{folder}/own" if is_local else ("127.0.0.2", 0))
            place = f"{folder}/olt" if is_local else ("127.0.0.1", int(re.search(r"udp:localhost:(\d+)", board.printed_now())[1]))
            lines = [line for line in input_text(source, "session-1.txt").split() if line[4:6] != "4f"]
            texts = [*Exchange(board, own, other, place, "none" not in words).texts(lines), *metrics(board.printed_now())]
        finally:
            printed = board.end()
        capture = pathlib.Path(folder, "capture").read_bytes()
        texts += [printed, *packets(capture), board.ask("omci", "capture", "--log", "-v")]
        report = pathlib.Path(folder, "report")
        # Without how many calls there were: each second some look at the ports and the laser.
        texts += [re.sub(r'<ul class="facts">.*?</ul>', "", report.read_text(encoding="utf-8"))] if report.exists() else []
    return at_any_time("\n".join(texts).replace(folder, "FOLDER"))


def at_any_time(text):
    for pattern, word in OTHER.items():
        text = re.sub(pattern, word, text, flags=re.MULTILINE)
    return text


def text_of(tool, source, words):
    with tempfile.TemporaryDirectory() as folder:
        board = Board(tool, source, words + " --stay" * words.startswith("run"), folder)
        texts = []
        try:
            board.wait(words)
            if "listen" in words:
                olt = Olt(folder, input_text(source, "session-1.txt").split())
                texts += olt.first()
                board.wait_for_ports()
            for look in LOOKS[words]:
                look = [word.strip("'").replace("(", "{").replace(")", "}") for word in re.findall(r"'[^']*'|[^\s]+", look)]
                texts.append(board.ask("at", "live", *look))
            if "listen" in words:
                texts += olt.counted(CURRENT)
                texts.append(board.ask("at", "live", "advance", str(QUARTER)))
                texts += olt.counted(GET)
            texts += metrics(board.printed_now())
            texts += board.screens() if words.startswith("run") else []
            place = next(pathlib.Path(folder).rglob("live.sock"))
            texts += spoken(place, source, "listen" not in words)
            texts += listened(place) if words.startswith("run") else another_process(place) if "exec" in words else []
            texts += [board.ask("ls"), *board.page("listen" in words), board.ask("ls")]
        finally:
            texts.append(board.end())
    return at_any_time("\n".join(texts).replace(folder, "FOLDER"))


def main(source_dir, tool, *words):
    source = pathlib.Path(source_dir).resolve()
    boards = {one: functools.partial(text_of, str(pathlib.Path(tool).resolve()), source, one) for one in LOOKS}
    boards.update({one: functools.partial(exchange, str(pathlib.Path(tool).resolve()), source, one) for one in EXCHANGES})
    return record.check(RECORD, boards, words, len(boards))  # which wait most of the time


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
