#!/usr/bin/env python3
"""What the tool prints and writes is what it was, to the last character: tables, trees, reports, JSON, messages, help.

    recorded_outputs.py SOURCE_DIR VORN_ONU [--renew | --text NAME]    (tests/support/record.py)

Whoever changes a text on purpose looks at what has changed (--text of both builds) and renews the record.
"""

import functools
import json
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
import record  # noqa: E402
from by_chance.changes import changes  # noqa: E402
from by_chance.commands import commands  # noqa: E402
from by_chance.frames import frame  # noqa: E402
from by_chance.messages import messages, provisioning, session  # noqa: E402
from by_chance.scenarios import REFUSED_STEPS, bridge_with_hosts, mixture, scenario, tagged_service  # noqa: E402
from by_chance.tables import tables  # noqa: E402
from by_chance.values import values  # noqa: E402

RECORD = pathlib.Path(__file__).with_suffix(".txt")
SCENARIOS = pathlib.Path("scenarios")
# Threads of the library run beside the steps, or real time counts.
LEFT_OUT = {"startup", "restart", "links", "multicast", "veip", "iphost-dhcp", "real-dhcp", "real-packets"}
OTHER_EACH_TIME = {r"0x[0-9a-f]{9,}": "ADDRESS", r"\d{4}-\d\d-\d\d[ T]\d\d:\d\d(:\d\d)?": "TIME", r'time="[0-9.]+"': "DURATION",
                   r"\b\d+(\.\d+)? (s|ms|µs)\b": "DURATION", r"SysUpTime \d+": "SysUpTime DURATION",
                   r'("SysUpTime",\s+"value": )"\d+"': r"\1DURATION", r'"bootId":"[^"]*"': "RANDOM",
                   r'"crc32":"\w+"': "SUM",
                   r"((gateway|changes-\d+)\.hal\.log) \(\d+ lines\)": r"\1",  # some are those of a thread
                   r"vorn-onu-board\.\w{6}": "vorn-onu-board"}
COMMANDS = ("run", "send", "audit", "omci", "exec", "ls", "at", "diff", "info", "schema")


def message(transaction, kind, content=b"", extended=False):
    """To ONU data, in hexadecimal digits."""
    header = struct.pack(">HBBHH", transaction, kind, 0x0B if extended else 0x0A, 2, 0)
    return (header + (struct.pack(">H", len(content)) + content if extended else content.ljust(32, b"\0"))).hex() + "\n"


# Files for commands, as IN-…
INPUTS = {"upload.txt": message(1, 0x4F) + message(2, 0x4D) + "".join(
              message(3 + part, 0x4E, struct.pack(">H", part)) for part in range(266)) + message(300, 0x4D, b"", True) +
          "".join(message(301 + part, 0x4E, struct.pack(">H", part), True) for part in range(6)),
          "layout.json": '{"ethernetPorts": "0x0501..0x0504", /* more of them */ "tConts": ["0x8001..0x8003", 32772]}',
          "broken.json": '{"ethernetPorts": ', "list.json": "[]",
          "wrong.json": json.dumps({"title": "Steps fail", "steps": [
              {"expect": {"ruleCount": 7}}, {"call": "configureBridge", "bridgeId": 3, "uniPort": 0},
              {"expect": {"bridges": {"br3": ["sid1.3"]}, "devices": {"sid1": {"mtu": 9}, "sid9": {}}}}]})}
INPUTS.update({f"refused{number}.json": json.dumps({"title": "Refused", "steps": [step]}) for number, step in enumerate(REFUSED_STEPS)})
MODES = ("contract", "g988")
# These with any option that one of the commands has, alone: without a value, and with a number, or the name of a file.
WITH_OPTIONS = {"run": "scenarios/bridge.json --quiet", "send": "scenarios/internet.json", "omci": "scenarios/omci/internet.pcap --quiet",
                "audit": "scenarios/internet.json"}
FILE_OPTIONS = {"--board", "--capture", "--json", "--junit", "--keep", "--pcap", "--record", "--report", "--state"}
# They wait for somebody, or for time to pass, or tell the machine's name.
NOT_TRIED = {"--follow", "--listen", "--metrics", "--real-time", "--serial-from-hostname", "--stay", "--tap"}
TWO_STATES = ("run scenarios/counters.json --after-step 12 --json OUT-before.json --quiet; "
              "run scenarios/iphost-static.json --after-step 8 --json OUT-after.json --quiet; ")

# By name: words of a command, or of several. OUT-… is a file that it writes, and that is looked at as well.
OUTPUTS = {
    **{f"help {name}": f"help {name}" for name in (*COMMANDS, "environment")},
    "help": "--help", "schema": "schema", "schema of the state": "schema --state", "version": "--version",
    "info": "info", "info in JSON": "info --json", "info after a scenario": "info scenarios/counters.json",
    **{f"report of {name}": f"run scenarios/{name}.json --report OUT-report.html --audit --quiet"
       for name in ("internet", "dscp", "tag-translation", "pbit-queues")},
    "trace": "run scenarios/bridge.json --trace", "HAL's output": "run scenarios/bridge.json --hal-output",
    "steps": "run scenarios/internet.json --after-step 5",
    "several": "run scenarios/bridge.json scenarios/internet.json scenarios/single-tag.json --junit OUT-junit.xml",
    "audit in JSON": "audit scenarios/internet.json --json", "audit of a step": "audit scenarios/internet.json --after-step 9",
    "a frame": "send scenarios/internet.json --from sid0", "a frame both ways": "send scenarios/internet.json --from sid1 --both-ways",
    "a tagged frame": "send scenarios/internet.json --from sid0 --vlan 20 --pbits 3 --dscp 46 --protocol udp --payload 20",
    "a frame that is dropped": "send scenarios/internet.json --from sid0 --vlan 20 --vlan 30 --dei",
    "a frame from the PON": "send scenarios/qinq.json --from 'gem 1001' --vlan 100 --json",
    "no such port": "send scenarios/internet.json --from sid77", "no such file": "run scenarios/nothing.json",
    "no such option": "run scenarios/internet.json --traec", "no such command": "rnu", "no scenario": "run scenarios/omci/internet.pcap",
    "no capture": "omci scenarios/internet.json", "no state": "diff scenarios/internet.json scenarios/qinq.json",
    "two states": TWO_STATES + "diff OUT-before.json OUT-after.json; diff OUT-after.json OUT-before.json --json",
    "until": "omci scenarios/omci/internet.pcap --until 14 --from sid1 --both-ways",
    "the MIB of a new ONU": "omci IN-upload.txt --log -v", "values of all attributes": "omci IN-values.txt --log -v",
    "the MIB of another ONU": "omci IN-upload.txt --log -v --layout IN-layout.json; "
                              "omci IN-upload.txt --log -v --layout ethernetPorts=0x0201..0x0202,0x0301 --layout veips=0x0203,0x0602 "
                              "--layout tConts=0x0300..0x0302 --layout ani=0x0301 --layout upstreamQueues=0x8000..0x8005 "
                              "--layout downstreamQueues=0..9",
    "log": "omci scenarios/omci/internet.pcap --log",
    "log of a class": "omci scenarios/omci/internet.pcap --log --class 171 -v",
    "by the contract": "omci scenarios/omci/internet.pcap --forwarding contract --audit",
    "calls of messages": "omci scenarios/omci/internet.pcap --record OUT-calls.json --quiet",
    **{f"report of {name}.pcap": f"omci scenarios/omci/{name}.pcap --report OUT-report.html --quiet"
       for name in ("internet", "television")},
    "layouts": "; ".join(f"omci scenarios/omci/internet.pcap --quiet --json OUT-state.json --layout IN-{name}.json"
                         for name in ("layout", "broken", "list")),
    "what is refused": "; ".join(f"run IN-refused{number}.json" for number in range(len(REFUSED_STEPS))),
    "what fails": "run IN-wrong.json --junit OUT-junit.xml; run IN-wrong.json scenarios/bridge.json",
    "a program that calls no device": "exec --json OUT-state.json -- true; exec -- false",
    "another ONU's layout": "omci scenarios/omci/internet.pcap --layout ethernetPorts=0x0501..0x0504 --strict",
}


def options(source):
    """Each twice: alone, with a value."""
    files = [one.read_text(encoding="utf-8") for one in (source / "tools" / "vorn-onu" / "commands").glob("*.cpp")]
    found = {name for text in files for name in re.findall(r'"(?:-\w,)?(--[a-z][a-z-]+)"', text)} - NOT_TRIED
    return [words for name in sorted(found) for words in (name, f"{name} {'OUT-7' if name in FILE_OPTIONS else '7'}")]


def names(folder, pattern):
    return sorted(one.stem for one in folder.glob(pattern) if one.stem not in LEFT_OUT)


# Of each scenario, of each capture, of each number below a count: the name of the text, the words of the command. {mode}: one of
# the two in turn; {next}: the number after.
OF_SCENARIOS = {
    "run {}": "run scenarios/{}.json", "run {} by G.988": "run scenarios/{}.json --forwarding g988", "audit {}": "audit scenarios/{}.json",
    "state and frames of {}": "run scenarios/{}.json --json OUT-state.json --pcap OUT-frames.pcap --quiet",
    "state of {} by G.988": "run scenarios/{}.json --forwarding g988 --json OUT-state.json --quiet",
}
OF_CAPTURES = {"omci {}": "omci scenarios/omci/{}.pcap", "log of {}": "omci scenarios/omci/{}.pcap --log -v -x"}
STATES_OF_CAPTURES = {
    "state of omci {}": "omci scenarios/omci/{}.pcap --json OUT-state.json --record OUT-calls.json --quiet",
    "state of omci {} by the contract":
        "omci scenarios/omci/{}.pcap --forwarding contract --json OUT-state.json --record OUT-calls.json --quiet",
}
OF_NUMBERS = {
    "session {n}": (32, "omci IN-session-{n}.txt --log -v --audit --record OUT-calls.json --json OUT-state.json"),
    "session {n} by the contract":
        (16, "omci IN-session-{n}.txt --forwarding contract --log --audit --record OUT-calls.json --json OUT-state.json"),
    "session {n} from the middle": (8, "omci IN-middle-{n}.txt -v --log --audit --json OUT-state.json"),
    "what differs after session {n}":
        (8, "omci IN-session-{n}.txt --quiet --json OUT-one.json; "
             "omci IN-session-{next}.txt --quiet --json OUT-two.json --report OUT-report.html; diff OUT-one.json OUT-two.json"),
    "provisioning {n}": (24, "omci IN-provisioning-{n}.txt --log -v --audit --record OUT-calls.json --json OUT-state.json"),
    "provisioning {n} by the contract":
        (24, "omci IN-provisioning-{n}.txt --forwarding contract --log --record OUT-calls.json --json OUT-state.json"),
    "messages {n}": (24, "omci IN-messages-{n}.txt --log -v --json OUT-state.json"),
    "tables {n}": (8, "omci IN-tables-{n}.txt --forwarding {mode} --log -v --record OUT-calls.json --json OUT-state.json"),
    # A thread tells the gateway of the VEIP meanwhile: messages and calls alone.
    "changes {n}": (20, "omci IN-changes-{n}.txt --forwarding {mode} --record OUT-calls.json"),
    "scenario {n}": (100, "run IN-scenario-{n}.json --forwarding {mode} --hal-output --json OUT-state.json --pcap OUT-frames.pcap"),
    "mixture {n}":
        (24, "run IN-mixture-{n}.json --forwarding {mode} --trace --hal-output --json OUT-state.json --pcap OUT-frames.pcap"),
    "service {n}": (24, "audit IN-service-{n}.json --json"),
    "full port {n}": (16, "run IN-port-{n}.json --forwarding {mode} --hal-output --board OUT-board.json --pcap OUT-frames.pcap"),
    "bridge {n}": (24, "run IN-bridge-{n}.json --board OUT-board.json --pcap OUT-frames.pcap"),
    "commands {n}": (24, "exec --board OUT-board.json -- python3 tests/virtual_onu/run_commands.py IN-commands-{n}.txt"),
}
FRAMES = 100


def outputs(source):
    scenarios = names(source / SCENARIOS, "*.json")
    captures = names(source / SCENARIOS / "omci", "*.pcap")
    alone = [name for name in captures if name != "gateway"]  # a thread tells the gateway of the VEIP meanwhile
    every = [(OF_SCENARIOS, scenarios), (OF_CAPTURES, captures), (STATES_OF_CAPTURES, alone)]
    return {**OUTPUTS,
            **{text.format(name): words.format(name) for table, known in every for text, words in table.items() for name in known},
            **{text.format(n=n): words.format(n=n, next=n + 1, mode=MODES[n % 2])
               for text, (count, words) in OF_NUMBERS.items() for n in range(count)},
            **{f"frame {n}": f"send scenarios/{scenarios[n % len(scenarios)]}.json {frame(str(n))}" for n in range(FRAMES)},
            **{f"options of {command}": "; ".join(f"{command} {what} {words}" for words in options(source))
               for command, what in WITH_OPTIONS.items()}}


def input_text(source, name):
    kind, number = re.match(r"(\w+)-?(\d*)", name).groups()
    captures = [one for one in sorted((source / SCENARIOS / "omci").glob("*.pcap")) if one.stem != "gateway"]
    if kind == "values":
        return values(sorted((source / "omci" / "message").glob("*Entities.cpp")))
    if kind == "changes":
        return changes(sorted((source / SCENARIOS / "omci").glob("*.pcap")), name)
    if kind == "provisioning":
        return provisioning(captures, name)
    if kind in ("session", "middle"):
        text = session(captures, name)
        return text if kind == "session" else "".join(text.splitlines(keepends=True)[15 + 5 * int(number):])
    if kind == "messages":
        classes = [(int(number), maker) for file in sorted((source / "omci" / "message").glob("*Entities.cpp"))
                   for number, maker in re.findall(r"\{(\d+),\s+\"[^\"]*\",\s+Maker::k(\w+)", file.read_text(encoding="utf-8"))]
        return messages([number for number, _ in classes], [number for number, maker in classes if maker != "Onu"], name)
    if kind == "scenario":
        files = names(source / SCENARIOS, "*.json")
        return scenario((source / SCENARIOS / (files[int(number) % len(files)] + ".json")).read_text(encoding="utf-8"), name)
    if kind == "mixture":
        return mixture(tuple(source / SCENARIOS / f"{one}.json" for one in names(source / SCENARIOS, "*.json")), name)
    if kind == "bridge":
        return bridge_with_hosts((source / SCENARIOS / "bridge-forwarding.json").read_text(encoding="utf-8"), name)
    if kind in ("service", "port"):
        return tagged_service(name, *((60, 80) if kind == "port" else ()))
    if kind in ("commands", "tables"):
        return commands(name) if kind == "commands" else tables(name)
    return INPUTS[name]


def text_of(tool, source, line):
    """Standard output, standard error, exit code and files; what differs from run to run by a word of its own."""
    with tempfile.TemporaryDirectory() as folder:
        environment = {**{name: value for name, value in os.environ.items() if name.startswith("VORN_MUTANT")},
                       "PATH": os.environ["PATH"], "TMPDIR": folder, "HOME": folder, "COLUMNS": "100", "LC_ALL": "C.UTF-8"}
        texts = []
        for name in re.findall(r"IN-([^\s;]+)", line):
            pathlib.Path(folder, name).write_text(input_text(source, name), encoding="utf-8")
        for command in line.split("; "):
            words = [word.strip("'") for word in re.findall(r"'[^']*'|\S+", command)]
            paths = [str(pathlib.Path(folder, word.split("-", 1)[1])) if re.match("(IN|OUT)-", word) else word for word in words]
            run = subprocess.run([tool, *paths], cwd=source, env=environment, capture_output=True, timeout=100, check=False)
            texts += [run.stdout, run.stderr, f"exit code {run.returncode}\n".encode()]
            texts += [pathlib.Path(path).read_bytes() for word, path in zip(words, paths)
                      if word.startswith("OUT-") and os.path.exists(path)]
        text = b"".join(texts).decode(errors="replace").replace(folder, "FOLDER").replace(str(tool), "vorn-onu")
    for pattern, word in OTHER_EACH_TIME.items():
        text = re.sub(pattern, word, text)
    return text


def main(source_dir, tool, *words):
    source = pathlib.Path(source_dir).resolve()
    tool = pathlib.Path(tool).resolve()
    texts = {name: functools.partial(text_of, tool, source, line) for name, line in outputs(source).items()}
    return record.check(RECORD, texts, words)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
