#!/usr/bin/env python3
"""Types the commands of the documents, in a folder with scenarios/, and compares what they print.

    typed_commands.py SOURCE TOOL DAEMON

Typed are the blocks marked `sh` (commands alone, each must end with 0) and `console` (a command follows "$ ", then what it
prints; "..." is any number of lines). A page is one session of bash. What comes with a time, in its line, may have other
numbers; empty lines, and spaces that align columns, do not count. A block of commands that is not marked fails, unless
NOT_TYPED has the reason.
"""

import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```([a-z]*)\n(.*?)^```", re.MULTILINE | re.DOTALL)
# How a block begins that nobody types here, and why.
NOT_TYPED = {
    "fleet.md": {
        "./dev image": "builds, and needs an engine",
        "packaging/kubernetes/pods.py": "needs an engine",
        "kubectl apply": "needs a cluster",
    },
    "getting-started.md": {"./dev demo": "builds", "./dev package": "builds, and installs as root"},
    "integration.md": {"cmake -S . -B build/device": "needs a device's toolchain and kit"},
    "living.md": {
        "$ sudo ip netns add": "needs root",
        "$ sudo vorn-onu run scenarios/real-dhcp.json": "needs root",
        "$ build/release/bench/vorn_packet_bench": "needs root, and an optimised build",
    },
    "performance.md": {"./dev bench": "measures, which takes long", "bench/kernel/line_rate.sh": "needs root, and takes long"},
    "recording.md": {"LD_PRELOAD=libvorn_recorder.so": "is for a device"},
    "round-trip.md": {"VORN_G988_FRAMES=1000000": "takes long"},
}
TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ")
MARK = "@@ {} @@"

PROLOGUE = """
set -m
exec 2>&1 </dev/null
wait_until() { for _ in {1..600}; do "$@" && return; sleep 0.1; done; return 1; }
# A reader waits for the board that he has started, and until the example daemon has said that its service is up.
board_is_there() { vorn-onu ls --json | grep -q '"name"'; }
trap 'kill $(jobs -p) 2>/dev/null; wait' EXIT
"""

# An OLT's software of the reader's own.
OLT = """#!{python}
import sys
sys.path.insert(0, {folder!r})
from live_session import Olt
host, port = sys.argv[1].split(":")
Olt((host, int(port))).provision()
"""


def free_port(kind):
    with socket.socket(socket.AF_INET, kind) as free:
        free.bind(("127.0.0.1", 0))
        return free.getsockname()[1]


def commands_of(page):
    """(line, command, expected lines or None) of each command; ports that a page takes are such as are free."""
    text = page.read_text().replace("127.0.0.1:5000", f"127.0.0.1:{free_port(socket.SOCK_DGRAM)}")
    port = free_port(socket.SOCK_STREAM)
    text = text.replace("127.0.0.1:8080", f"127.0.0.1:{port}").replace("at lab serve &", f"at lab serve --port {port} &")
    for block in BLOCK.finditer(text):
        if block.group(1) not in ("sh", "console"):
            continue
        line = text[: block.start()].count("\n") + 2
        expected = None
        for number, words in enumerate(block.group(2).rstrip("\n").split("\n"), line):
            if block.group(1) == "sh":
                if words.strip():
                    yield number, words, None
            elif words.startswith("$ curl ") and shutil.which("curl") is None:
                expected = []  # of a command that is left out
            elif words.startswith("$ "):
                expected = []
                yield number, words[2:], expected
            else:
                expected.append(words)


def is_command(line):
    """Whether somebody would type this line."""
    word = (re.sub(r"^(\$ )?([A-Z][A-Z0-9_]*=\S+ )*", "", line).split() or [""])[0]
    known = word in ("vorn-onu", "sudo", "cmake", "export", "cd") or shutil.which(word) is not None
    return line.startswith("$ ") or known or re.fullmatch(r"[\w.-]+(/[\w.-]+)+", word) is not None


def unmarked_of(page):
    """Blocks of commands that would not be typed, and reasons that have no block any more."""
    reasons = dict(NOT_TYPED.get(page.name, {}))
    faults = []
    for block in BLOCK.finditer(text := page.read_text()):
        first = block.group(2).split("\n", 1)[0]
        if block.group(1) not in ("", "bash", "shell", "text") or not is_command(first):
            continue
        reason = next((begin for begin in reasons if first.startswith(begin)), None)
        if reason is None:
            faults.append(f"{page.name}:{text[: block.start()].count(chr(10)) + 2}: {first}\n  is neither marked sh nor console")
        else:
            del reasons[reason]
    return faults + [f"{page.name}: no block begins with {begin!r} any more" for begin in reasons]


def normal(line):
    words = re.sub(r"token=\S+", "token=#", " ".join(line.split()))
    return re.sub(r"\d+", "#", TIME.sub("TIME", words)) if TIME.search(words) else words


def fits(expected, printed):
    """The lines of a document, where "..." is any number of lines."""
    pattern = "".join(r"(?:.*\n)*?" if line.strip() == "..." else re.escape(normal(line)) + "\n" for line in expected if line)
    return re.fullmatch(pattern, "".join(normal(line) + "\n" for line in printed)) is not None


def typed(commands):
    """The script of a session: each command, then a mark with its result."""
    script = PROLOGUE
    for number, (_, command, _) in enumerate(commands):
        if re.search(r"&\s*(#.*)?$", command):
            started = re.sub(r"&\s*(#.*)?$", f">background.{number} &", command)
            script += f"{started}\nwait_until board_is_there\n"
            if "example-daemon" in command:
                script += f"wait_until grep -q 'the service is up' background.{number}\n"
            if " serve " in command:  # what it prints, with the link that a reader takes the token from
                script += f"wait_until grep 'ends it' background.{number} >/dev/null\ncat background.{number}\n"
                script += f"TOKEN=$(sed -n 's/.*token=//p' background.{number})\n"
        elif ended := re.fullmatch(r"kill (%\d+)", command):  # a reader takes longer than the program to end
            script += f"{command} && {{ wait {ended.group(1)} 2>/dev/null; true; }}\n"
        else:
            script += f"{command}\n"
        script += f"printf '\\n{MARK.format('%d %d')}\\n' {number} $?\n"
    return script


def faults_of(page, folder, environment):
    commands = list(commands_of(page))
    if not commands:
        return []
    try:
        session = subprocess.run(["bash", "-c", typed(commands)], cwd=folder, env=environment, text=True, timeout=240,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    except subprocess.TimeoutExpired as late:
        return [f"{page.name}: the session did not end; it had printed:\n{(late.stdout or b'').decode()[-2000:]}"]
    faults = []
    rest = session.stdout
    for number, (line, command, expected) in enumerate(commands):
        printed, mark, behind = rest.partition(f"\n@@ {number} ")
        where = f"{page.name}:{line}: {command}"
        if not mark:
            return faults + [f"{where}\n  the session ended:\n{printed}"]
        result, _, rest = behind.partition(" @@\n")
        lines = [each for each in printed.split("\n") if each]
        printed = "\n".join(lines[:30])
        if expected is None and result != "0":
            faults.append(f"{where}\n  ended with {result}:\n{printed}")
        if expected is not None and not fits(expected, lines):
            faults.append(f"{where}\n  prints\n{printed}\n  and not\n" + "\n".join(expected))
    return faults


def main():
    source, tool, daemon = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    pages = sorted((source / "docs").glob("*.md"))
    faults, count = [], 0
    for page in pages:
        with tempfile.TemporaryDirectory(prefix="vorn-docs-") as name:
            folder = pathlib.Path(name)
            shutil.copytree(source / "scenarios", folder / "scenarios")
            for own in ("my-daemon", "my-omci-daemon"):  # the reader's own daemon, with any options
                (folder / own).write_text(f'#!/bin/sh\nexec "{daemon}"\n')
                (folder / own).chmod(0o755)
            (folder / "my-olt").write_text(OLT.format(python=sys.executable, folder=str(source / "tests/omci")))
            (folder / "my-olt").chmod(0o755)
            shutil.copy(source / "scenarios/internet.json", folder / "scenario.json")
            shutil.copy(source / "scenarios/omci/internet.pcap", folder / "capture.pcap")
            environment = dict(os.environ, PATH=f"{tool.parent}:{daemon.parent}:{os.environ['PATH']}", TMPDIR=name,
                               XDG_RUNTIME_DIR=name, COLUMNS="120", LC_ALL="C.UTF-8")
            faults += unmarked_of(page) + faults_of(page, folder, environment)
            count += len(list(commands_of(page)))
    print("\n".join(faults) or f"{count} commands do what their pages say")
    return 1 if faults or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
