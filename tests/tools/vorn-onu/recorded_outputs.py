#!/usr/bin/env python3
"""What the tool prints and writes is what it was, to the last character: tables, trees, reports, JSON, messages, help.

    recorded_outputs.py SOURCE_DIR VORN_ONU [--renew | --text NAME]    (tests/support/record.py)

Whoever changes a text on purpose looks at what has changed (--text of both builds) and renews the record.
"""

import functools
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
import record  # noqa: E402
from terminal import Terminal  # noqa: E402
from by_chance.boards import changed_board  # noqa: E402
from by_chance.files import layout  # noqa: E402
from by_chance.frames import frame  # noqa: E402
from by_chance.lines import lines  # noqa: E402
from endings import ENDINGS  # noqa: E402
from inputs import EACH, INPUTS, SCENARIOS, input_text, names  # noqa: E402

RECORD = pathlib.Path(__file__).with_suffix(".txt")
OTHER_EACH_TIME = {r"0x[0-9a-f]{9,}": "ADDRESS", r"\d{4}-\d\d-\d\d[ T]\d\d:\d\d(:\d\d)?": "TIME", r'time="[0-9.]+"': "DURATION",
                   r"\b\d+(\.\d+)? (s|ms|µs)\b": "DURATION", r"SysUpTime \d+": "SysUpTime DURATION",
                   r'("SysUpTime",\s+"value": )"\d+"': r"\1DURATION", r'"bootId":"[^"]*"': "RANDOM",
                   r"vlanFilterList=0x[0-9a-f]+": "vlanFilterList=ADDRESS",
                   r'"crc32":"\w+"': "SUM",
                   r"(FOLDER/vorn-onu\.)\d+/": r"\1USER/",
                   r"((gateway|changes-\d+)\.hal\.log) \(\d+ lines\)": r"\1",  # some are those of a thread
                   r"vorn-onu-board\.\w{6}": "vorn-onu-board", r"/exec-\w{6}/": "/exec/",
                   r"process \d+ \(": "process NUMBER (", r"kill [\d ]+ends": r"kill NUMBERS ends",
                   r"((sh|python3)-)\d+(\.hal\.log)": r"\1NUMBER\3", r"(state|calls)\.json\.\d+": r"\1.json.NUMBER"}
COLUMNS = (100, 60, 40, 170)
COMMANDS = ("run", "send", "audit", "omci", "exec", "ls", "at", "diff", "info", "schema")


MODES = ("contract", "g988")
RUN_COMMANDS = "python3 tests/virtual_onu/run_commands.py"
# These with any option that one of the commands has, alone: without a value, and with a number, or the name of a file.
WITH_OPTIONS = {"run": "scenarios/bridge.json --quiet", "send": "scenarios/internet.json", "omci": "scenarios/omci/internet.pcap --quiet",
                "audit": "scenarios/internet.json"}
FILE_OPTIONS = {"--board", "--capture", "--json", "--junit", "--keep", "--pcap", "--record", "--report", "--state"}
# They wait for somebody, or for time to pass, or tell the machine's name.
NOT_TRIED = {"--follow", "--listen", "--metrics", "--real-time", "--serial-from-hostname", "--stay", "--tap"}
TWO_STATES = ("run scenarios/counters.json --after-step 12 --json OUT-before.json --quiet; "
              "run scenarios/iphost-static.json --after-step 8 --json OUT-after.json --quiet; ")

REFUSED = sum(name.startswith("refused") for name in INPUTS)


def several(name, count, at_once=50):
    return "; ".join("run " + " ".join(f"IN-{name}{number}.json" for number in range(first, min(first + at_once, count))) for first in range(0, count, at_once))


# By name: words of a command, or of several. OUT-… is a file that it writes, and that is looked at as well.
OUTPUTS = {
    **{f"help {name}": f"help {name}" for name in (*COMMANDS, "environment")},
    "too few words": "run; send; audit; omci; exec; diff; at; at live",
    "help": "--help", "manual page": "help --man", "schema": "schema", "schema of the state": "schema --state", "version": "--version",
    "info": "info", "info in JSON": "info --json", "info after a scenario": "info scenarios/counters.json",
    # |: what the HAL prints in any order, of its threads.
    **{f"HAL's output of {name} {mode}": f"|run scenarios/{name}.json --hal-output --forwarding {mode}"
       for name in ("restart", "links", "iphost-dhcp") for mode in MODES},  # not of those whose gateway's thread prints pieces of lines
    # ~: without lines of what threads tell the gateway at any time.
    **{f"with threads, {name} {mode}": f"~run scenarios/{name}.json --forwarding {mode} --audit --report OUT-report.html"
       for name in ("restart", "links", "multicast", "iphost-dhcp", "veip") for mode in MODES},
    # <: without a standard input, so that descriptors begin with 0.
    **{f"without an input, {line}": f"<{line}" for line in (
        *(f"run scenarios/{name}.json --forwarding {mode} --trace --json OUT-state.json --pcap OUT-frames.pcap"
          for name in ("bridge", "internet", "counters", "iphost-static", "tcont-gem", "restart") for mode in ("contract", "g988")),
        "run scenarios/bridge.json scenarios/internet.json --junit OUT-junit.xml", "omci scenarios/omci/internet.pcap --log --record OUT-calls",
        "omci IN-dump-1.txt", "run scenarios/bridge.json --report OUT-report.html", "run IN-mixture-1.json --trace",
        "exec --board OUT-board.json --trace OUT-trace.txt -- python3 tests/virtual_onu/run_commands.py IN-commands-1.txt",
        "exec --board OUT-board.json --json OUT-state.json --report OUT-report.html -- true",
        "send scenarios/internet.json --pcap-in scenarios/omci/internet.pcap --from sid0 --pcap OUT-out.pcap", "audit scenarios/internet.json")},
    # [: at a terminal. (: beside scenarios that may be written over.
    **{f"at a terminal, {line}": f"[{line}" for line in (
        "run scenarios/dscp.json", "run IN-wrong.json", "audit scenarios/tag-translation.json", "info", "help run", "--help", "rnu",
        "omci scenarios/omci/internet.pcap --log -v --audit", "omci IN-session-3.txt --log -v -x", "run scenarios/nothing.json",
        "send scenarios/internet.json --from sid0 --vlan 20 --both-ways", "diff scenarios/internet.json scenarios/qinq.json",
        "exec -- true")},
    **{f"report of {name}": f"run scenarios/{name}.json --report OUT-report.html --audit --quiet"
       for name in ("internet", "dscp", "tag-translation", "pbit-queues", "multicast", "links")},
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
                         for name in ("layout", "broken", "list", *(f"odd{count}" for count in range(8)))),
    "addresses": "; ".join(f"omci --listen {words}" for words in (
        "tcp:1", "unix:", f"unix:{'x' * 108}", "unix:nowhere/at/all", "udp:127.0.0.1", "udp:127.0.0.1:65536", "udp:127.0.0.1:x",
        "udp:127.0.0.1:", "udp:300.0.0.1:7", "udp:0.0.0.0:7", "udp:10.0.0.1:7 --peer 10.0.0.0/8", "udp:192.0.2.1:7 --peer 10.0.0.0/8 --mic crc",
        *(f"udp:0.0.0.0:7 --mic cmac:{'0' * 32} --peer {peer}" for peer in ("10.0.0.0/0", "10.0.0.0/33", "10.0.0.0/", "10.0.0/8", "x", "/8")),
        f"udp:192.0.2.1:000007 --peer 10.0.0.0/8 --mic cmac:{'0' * 32}",
        *(f"unix:/ --mic {kind}" for kind in ("crc", "none", "cmac:", "cmac:" + "0" * 31, "cmac:" + "g" * 32, "CRC", "sha")),
        *(f"unix:/ --metrics {place}" for place in (
            "127.0.0.1:65536", "127.0.0.1:", ":7", "300.0.0.1:7", "65536", "x", "-1", "000007", "10.0.0.1:7x", "127.0.0.1:0000070")))),
    "boards that are set": several("set-", len(EACH)),
    "a board that is set": "run IN-together.json --json - --forwarding g988; run IN-together.json --trace --pcap OUT-frames.pcap --report OUT-report.html",
    "JSON alone": "run scenarios/bridge.json --json -; run scenarios/bridge.json --json - --quiet --audit; omci scenarios/omci/internet.pcap --json -; "
                  "exec --json - -- true; run IN-wrong.json --json -",
    "another ONU's MIB": "omci IN-theirs.txt --log -v; omci IN-theirs.txt",
    "what is refused": several("refused", REFUSED),
    "what fails": "run IN-wrong.json --junit OUT-junit.xml; run IN-wrong.json scenarios/bridge.json",
    "a program that calls no device": "exec --json OUT-state.json -- true; exec -- false",
    "programs": "; ".join(f"exec {words}" for words in (
        "-- sh -c 'exit 7'", "-- sh -c 'kill -9 $$'", "-- sh -c 'kill -TERM $$'", "-- ./nothing", "-- /", "--json - -- true",
        "--quiet -- sh -c 'ip link add br4 type bridge;echo $LD_PRELOAD|wc -w'",
        "--hal-output - -- true", "--hal-output / -- true", "--record OUT-r.json -- true", "--record / -- true", "--trace - -- cat /nothing",
        "--board OUT-b.json --serial ABCD1 -- true", "--board OUT-b.json --mac 01:00:00:00:00:00 -- true", "--board OUT-b.json -- true",
        # Descriptors that the board keeps are high up, where the limit leaves room for that.
        *(f"--board OUT-{n}.json --trace OUT-t.txt -- sh -c 'ulimit -n {n}&&ls /proc/self/fd'" for n in (128, 129, 300)),
        *(f"-- env VORN_ONU_{words} {RUN_COMMANDS} IN-looks.txt" for words in (
            "TRACE=/nowhere/t", "STATE=/nowhere/s", "RUN=/nowhere", "BOARD=/nowhere/b", "BOARD=/", "BOARD=/dev/null", "SERIAL=ABCD1", "MAC=1",
            "SERIAL=ABCD0000000F VORN_ONU_MAC=02:00:00:00:00:07 VORN_ONU_BOARD=/dev/shm/nowhere/b", "SERIA=1")),
        *(f"--{option} /no/such/place -- echo began" for option in ("report", "pcap", "json", "trace", "hal-output", "record")),
        "--board / -- true", "--name a/b -- true", "--tap sid0 -- true", "--metrics 1x -- true", "--forwarding perhaps -- true")),
    "all GEM ports that there can be": f"exec -- {RUN_COMMANDS} IN-gems.txt",
    "boards in other places": "; ".join(f"run scenarios/bridge.json --quiet --board {place}" for place in (
        "nowhere/b", "b/", "/", f"{'../' * 20}dev/null", f"{'../' * 20}proc/b", f"{'../' * 20}", "/dev/null/b", "x" * 256, f"/tmp/{'x' * 252}")),
    "prints of all ways": "exec --hal-output OUT-hal.txt -- python3 -c 'import ctypes;ctypes.CDLL(\"TESTS/prints/libvorn_hal.so\").printInAllWays()'",
    "another ONU's layout": "omci scenarios/omci/internet.pcap --layout ethernetPorts=0x0501..0x0504 --strict",
}


def options(source):
    """Each twice: alone, with a value."""
    files = [one.read_text(encoding="utf-8") for one in (source / "tools" / "vorn-onu" / "commands").glob("*.cpp")]
    found = {name for text in files for name in re.findall(r'"(?:-\w,)?(--[a-z][a-z-]+)"', text)} - NOT_TRIED
    return [words for name in sorted(found) for words in (name, f"{name} {'OUT-7' if name in FILE_OPTIONS else '7'}")]


# Of each scenario, of each capture, of each number below a count: the name of the text, the words of the command. {mode}: one of
# the two in turn; {next}: the number after.
OF_SCENARIOS = {
    "run {}": "run scenarios/{}.json --hal-output", "run {} by G.988": "run scenarios/{}.json --forwarding g988", "audit {}": "audit scenarios/{}.json",
    "state and frames of {}": "run scenarios/{}.json --json OUT-state.json --pcap OUT-frames.pcap --report OUT-report.html --quiet",
    "state of {} by G.988": "run scenarios/{}.json --forwarding g988 --json OUT-state.json --quiet",
    "frames of {0} once more": "run scenarios/{0}.json --pcap OUT-frames.pcap --quiet; "
                               "send scenarios/{0}.json --pcap-in OUT-frames.pcap --from sid0 --pcap OUT-out.pcap",
    "what changes in {0}": "run scenarios/{0}.json --after-step 7 --json OUT-one.json --quiet; run scenarios/{0}.json --json OUT-two.json "
                          "--quiet; diff OUT-one.json OUT-two.json; diff OUT-two.json OUT-one.json --json",
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
             "omci IN-session-{next}.txt --quiet --json OUT-two.json --report OUT-report.html --audit; diff OUT-one.json OUT-two.json"),
    "provisioning {n}": (24, "omci IN-provisioning-{n}.txt --log -v --audit --record OUT-calls.json --json OUT-state.json"),
    "provisioning {n} by the contract":
        (24, "omci IN-provisioning-{n}.txt --forwarding contract --log --record OUT-calls.json --json OUT-state.json"),
    "messages {n}": (24, "omci IN-messages-{n}.txt --log -v --json OUT-state.json"),
    "tables {n}": (8, "omci IN-tables-{n}.txt --forwarding {mode} --log -v --record OUT-calls.json --json OUT-state.json"),
    # A thread tells the gateway of the VEIP meanwhile: messages and calls alone.
    "changes {n}": (20, "omci IN-changes-{n}.txt --forwarding {mode} --record OUT-calls.json"),
    "scenario {n}": (100, "run IN-scenario-{n}.json --forwarding {mode} --hal-output --json OUT-state.json --pcap OUT-frames.pcap "
                         "--report OUT-report.html"),
    "mixture {n}":
        (30, "run IN-mixture-{n}.json --forwarding {mode} --trace --hal-output --json OUT-state.json --pcap OUT-frames.pcap "
                         "--report OUT-report.html"),
    "service {n}": (24, "audit IN-service-{n}.json --json"),
    "full port {n}": (16, "run IN-port-{n}.json --forwarding {mode} --hal-output --board OUT-board.json --pcap OUT-frames.pcap"),
    "wrong scenarios {n}": (4, "run " + " ".join(f"IN-scenario-{number}{{n}}.json" for number in range(10, 60))),
    "broken scenarios {n}": (2, "run " + " ".join(f"IN-broken-{number}{{n}}.json" for number in range(10, 40)) + "; diff IN-broken-1{n}.json IN-broken-2{n}.json"),
    "what differs after scenario {n}":
        (3, "run IN-scenario-{n}.json --json OUT-one.json --quiet; run IN-mixture-{n}.json --json OUT-two.json --quiet; "
             "diff OUT-one.json OUT-two.json; diff OUT-two.json OUT-one.json --json"),
    "audit of scenario {n}": (4, "audit IN-scenario-{n}.json --json; audit IN-mixture-{n}.json --forwarding {mode}"),
    "answers of another ONU {n}": (8, "omci IN-answered-{n}.txt --log -v; omci IN-answered-{n}.txt --strict --json OUT-state.json --mic crc"),
    "dump {n}": (16, "omci IN-dump-{n}.txt --log -v --report OUT-report.html"),
    "damaged capture {n}":
        (24, "omci IN-damaged-{n}.pcap --log -v; send scenarios/internet.json --pcap-in IN-damaged-{n}.pcap --from sid0"),
    "a program's report {n}":
        (4, "exec --report OUT-report.html --pcap OUT-frames.pcap --json OUT-state.json --trace OUT-trace.txt --serial ABCD0000000{n} "
            "--mac 02:00:00:00:00:0{n} --hal-output OUT-hal.txt --record OUT-calls.json -- python3 tests/virtual_onu/run_commands.py IN-commands-{n}.txt"),
    "bridge {n}": (24, "run IN-bridge-{n}.json --board OUT-board.json --pcap OUT-frames.pcap"),
    "capture {n}": (6, "send IN-bridge-{n}.json --from sid0 --pcap-in IN-capture-{n}.pcap --pcap OUT-left.pcap; "
                        "send IN-bridge-{n}.json --from 'gem 1001' --pcap-in IN-capture-{n}.pcap --pcap OUT-left.pcap"),
    "frames of all kinds {n}": (2, "run IN-kinds-{n}.json --pcap OUT-frames.pcap; "
                                   "send IN-kinds-{n}.json --pcap-in OUT-frames.pcap --from sid2 --pcap OUT-left.pcap"),
    "looks at bridge {n}": (3, "run IN-bridge-{n}.json --board OUT-board.json --quiet; "
                               "exec --board OUT-board.json -- python3 tests/virtual_onu/run_commands.py IN-looks.txt"),
    "rules {n}": (10, "exec --board OUT-board.json --quiet -- python3 tests/virtual_onu/run_commands.py IN-rules-{n}.txt; "
                     "run IN-frames-{n}.json --board OUT-board.json --pcap OUT-frames.pcap"),
    "two processes {n}": (2, "exec --board OUT-board.json --json OUT-state.json -- python3 tests/virtual_onu/run_commands.py IN-shared-{n}.txt; "
                             "exec --board OUT-board.json --json OUT-again.json -- ip link show sid0"),
    "each command {n}": (4, "exec --board OUT-board.json --json OUT-state.json --trace OUT-trace -- python3 tests/virtual_onu/run_commands.py IN-each-{n}.txt; "
                            "exec --board OUT-board.json --json OUT-again.json -- ip link show sid0"),
    "commands {n}": (12, "exec --board OUT-board.json --json OUT-state.json --trace OUT-trace --pcap OUT-sent.pcap -- "
                         "python3 tests/virtual_onu/run_commands.py IN-commands-{n}.txt"),
}
FRAMES = 100
LAYOUTS, LINES = 16, 12
# Boards that these leave are changed, and looked at.
BOARDS = {**{name: f"run scenarios/{name}.json --board OUT-board.json --quiet" for name in ("iphost-static", "counters")},
          "hosts": "run IN-bridge-40.json --board OUT-board.json --quiet",
          # Written anew, without what is no more.
          "commands": f"exec --board OUT-board.json --quiet -- {RUN_COMMANDS} IN-commands-40.txt; run IN-look.json --board OUT-board.json --quiet"}
CHANGED_BOARDS = 20


def outputs(source):
    scenarios = names(source / SCENARIOS, "*.json")
    captures = names(source / SCENARIOS / "omci", "*.pcap")
    alone = [name for name in captures if name != "gateway"]  # a thread tells the gateway of the VEIP meanwhile
    completion = (source / "tools" / "vorn-onu" / "completion" / "vorn-onu.bash").read_text(encoding="utf-8")
    every = [(OF_SCENARIOS, scenarios), (OF_CAPTURES, captures), (STATES_OF_CAPTURES, alone)]
    return {**OUTPUTS, **ENDINGS,
            **{text.format(name): words.format(name) for table, known in every for text, words in table.items() for name in known},
            **{text.format(n=n): words.format(n=n, next=n + 1, mode=MODES[n % 2])
               for text, (count, words) in OF_NUMBERS.items() for n in range(count)},
            **{f"changed boards of {name}":
                   f"{words}; " + "; ".join(
                       f"change OUT-board.json OUT-changed.json {name}-{part}; run IN-look.json --board OUT-changed.json --quiet"
                       for part in range(CHANGED_BOARDS))
               for name, words in BOARDS.items()},
            **{f"frame {n}": f"send scenarios/{scenarios[n % len(scenarios)]}.json {frame(str(n))}" for n in range(FRAMES)},
            **{f"layout {n}": f"omci IN-upload.txt --log -v --layout {layout(str(n))}" for n in range(LAYOUTS)},
            **{f"lines {n}": lines(completion, str(n)) for n in range(LINES)},
            **{f"options of {command}": "; ".join(f"{command} {what} {words}" for words in options(source))
               for command, what in WITH_OPTIONS.items()}}


def text_of(tool, source, line, columns):
    """Standard output, standard error, exit code and files; what differs from run to run by a word of its own."""
    with tempfile.TemporaryDirectory() as folder:
        environment = {**{name: value for name, value in os.environ.items() if name.startswith("VORN_MUTANT")},
                       "PATH": os.environ["PATH"], "TMPDIR": folder, "HOME": folder, "COLUMNS": str(columns), "LC_ALL": "C.UTF-8", "TERM": "xterm"}
        texts = []
        for name in re.findall(r"IN-([^\s;]+)", line):
            content = input_text(source, name)
            pathlib.Path(folder, name).write_bytes(content if isinstance(content, bytes) else content.encode())
        for command in line.replace("TESTS/", f"{pathlib.Path(tool).parents[2] / 'tests'}/").split("; "):
            at_terminal, place = command.startswith("["), source
            if command.startswith("("):
                place = pathlib.Path(folder, "place")
                shutil.copytree(source / SCENARIOS, place / SCENARIOS, dirs_exist_ok=True)
            words = [word.strip("'") for word in re.findall(r"'[^']*'|\S+", command.lstrip("[|<(~"))]
            paths = [str(pathlib.Path(folder, word.split("-", 1)[1])) if re.match("(IN|OUT)-", word) else word for word in words]
            if words[:1] == ["change"]:
                board = pathlib.Path(paths[1]).read_text(encoding="utf-8")
                pathlib.Path(paths[2]).write_text(changed_board(board, words[3]), encoding="utf-8")
                continue
            if at_terminal:
                texts.append(Terminal([tool, *paths], columns, cwd=place, env=environment).end().encode())
                continue
            run = subprocess.run([tool, *paths], cwd=place, env=environment, capture_output=True, timeout=100, check=False,
                                 stdin=subprocess.DEVNULL, preexec_fn=functools.partial(os.close, 0) if command.startswith("<") else None)
            printed = run.stdout
            if command.startswith("|"):
                printed = b"\n".join(sorted(one for one in printed.splitlines() if "│".encode() in one)) + b"\n"
            texts += [printed, run.stderr, f"exit code {run.returncode}\n".encode()]
            texts += [pathlib.Path(path).read_bytes() for word, path in zip(words, paths)
                      if word.startswith("OUT-") and os.path.exists(path)]
        text = b"".join(texts).decode(errors="backslashreplace").replace(folder, "FOLDER").replace(str(tool), "vorn-onu")
    for pattern, word in OTHER_EACH_TIME.items():
        text = re.sub(pattern, word, text)
    return re.sub(r".*(\bgateway\b|stored state|\.hal\.log|calls into the device).*\n", "", text) if line.startswith("~") else text


def main(source_dir, tool, *words):
    source = pathlib.Path(source_dir).resolve()
    tool = pathlib.Path(tool).resolve()
    texts = {name: functools.partial(text_of, tool, source, line, COLUMNS[len(name) % len(COLUMNS)])
             for name, line in outputs(source).items()}
    return record.check(RECORD, texts, words)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
