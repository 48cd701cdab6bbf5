#!/usr/bin/env python3
"""What the tool answers of a board that runs, to an OLT and to those who look at it, is what it was.

    recorded_board.py SOURCE_DIR VORN_ONU [--renew | --text NAME]    (tests/support/record.py)
"""

import functools
import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time
import urllib.parse
import urllib.request

for folder in ("../../support", "../vorn-onu"):
    sys.path.insert(0, str((pathlib.Path(__file__).resolve().parent / folder).resolve()))
import record  # noqa: E402
from recorded_outputs import OTHER_EACH_TIME, input_text  # noqa: E402

RECORD = pathlib.Path(__file__).with_suffix(".txt")
# What the time has to do with, or what the host's threads do meanwhile.
OTHER = {
    **OTHER_EACH_TIME, r'nonce="\w+"': "nonce", r"^live +omci +\d+ +\S+": "live omci", r"^(  . +\d+ +)\d+\.\d+": r"\1TIME",
    r"\d\d:\d\d:\d\d(\.\d+)?": "TIME", r'"(time|timeNs|ns|at|startedAt|pid|clockMs)": ?[\d.]+': "TIME", r"pid \d+": "PID",
    r"^ +[\d.]+ +(?=\w)": "  TIME  ", r"(?m)^(\w+_seconds\S*|process_\S+|\w*time\w*(\{.*\})?) [\d.e+-]+$": "METRIC OF TIME",
}
LOOKS = ("show", "mib", "mib --json", "omci", "trace --last 12 --json", "trace --failed", "metrics")
STEPS = (
    "board links.sid1=down optics.receive=0", "show", "send --from sid0", "send --from sid0 --vlan 20 --pbits 3 --both-ways",
    "frame from=sid1 'tags=[(\"vid\": 20)]'", "expect links.sid1=down", "expect ruleCount=0", "mark here", "advance 5000",
    "fault function=vlanCtl_insertTagRule nth=1", "call configureBridge bridgeId=9 uniPort=0", "expect nothingLeftSince=here",
    "call tcont_set allocId=300 tContIndex=5", "call tcont_set tContAllocId=300 tContIndex=1", "gateway silent", "gateway", "step (\"advance\":1)",
    "step (\"advanc\":1)", "bord links.sid1=up", "send --from sid77", "fault omci drop=1", "board links.sid1=dwon", "metrics",
    "trace --last 0", "trace --last 3 --json", "omci", "mib",
)


def olt(place, lines, folder):
    """Asks, and answers what came back."""
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as own:
        own.bind(str(folder / "asks"))
        own.settimeout(3)
        answers = []
        for line in lines:
            own.sendto(bytes.fromhex(line), str(place))
            try:
                answers.append(own.recv(2000).hex())
            except TimeoutError:
                answers.append("no answer")
        return answers


def page(tool, **how):
    """What a browser is sent at first: the page, its parts."""
    server = subprocess.Popen([tool, "at", "live", "serve", "--port", "0"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **how)
    try:
        url = urllib.parse.urlsplit(re.search(r"http://\S+", server.stdout.readline() + server.stdout.readline())[0])
        texts = []
        for path in (f"/?{url.query}", f"/token?{url.query}", "/token", "/page.css"):
            with urllib.request.urlopen(f"http://{url.netloc}{path}", timeout=20) as answer:
                texts.append(answer.read().decode().replace(url.query, "TOKEN").replace("><", ">\n<"))
        parts = {}
        with urllib.request.urlopen(f"http://{url.netloc}/events?{url.query}", timeout=20) as answer:
            while not {"counters", "mib"} <= parts.keys():
                line = answer.readline().decode()
                if line.startswith("data: "):
                    parts = {**json.loads(line[6:]), **parts}
        texts += [parts[name].replace("><", ">\n<") for name in sorted(parts.keys() - {"calls", "facts", "missed"})]
        return texts
    finally:
        server.terminate()
        server.communicate(timeout=20)


def text_of(tool, source, name):
    with tempfile.TemporaryDirectory() as path:
        folder = pathlib.Path(path)
        environment = {**{name: value for name, value in os.environ.items() if name.startswith("VORN_MUTANT")},
                       "PATH": os.environ["PATH"], "TMPDIR": path, "HOME": path, "COLUMNS": "100", "LC_ALL": "C.UTF-8"}
        board = subprocess.Popen([tool, "omci", "--listen", f"unix:{folder / 'olt'}", "--name", "live"], env=environment, cwd=path,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        try:
            until = time.monotonic() + 20
            while not (folder / "olt").exists() and time.monotonic() < until:
                time.sleep(0.01)
            texts = olt(folder / "olt", input_text(source, name).split(), folder)
            for words in (*LOOKS, *STEPS):
                words = [word.strip("'").replace("(", "{").replace(")", "}") for word in re.findall(r"'[^']*'|[^\s]+", words)]
                run = subprocess.run([tool, "at", "live", *words], env=environment, cwd=path, capture_output=True, timeout=60, check=False)
                texts.append(f"{words} exit code {run.returncode}\n" + (run.stdout + run.stderr).decode(errors="replace"))
            texts += page(tool, env=environment, cwd=path)
            run = subprocess.run([tool, "ls"], env=environment, cwd=path, capture_output=True, timeout=60, check=False)
            texts.append(run.stdout.decode())
        finally:
            board.terminate()
            texts.append(board.communicate(timeout=20)[0].decode(errors="replace"))
    text = "\n".join(texts).replace(path, "FOLDER")
    for pattern, word in OTHER.items():
        text = re.sub(pattern, word, text, flags=re.MULTILINE)
    return text


def main(source_dir, tool, *words):
    source = pathlib.Path(source_dir).resolve()
    return record.check(RECORD, {one: functools.partial(text_of, str(pathlib.Path(tool).resolve()), source, f"{one}.txt")
                                 for one in ("session-1", "session-7")}, words)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
