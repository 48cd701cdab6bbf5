#!/usr/bin/env python3
"""What daemons ask of the device that begin again or are refused something, and what is on it then, is what it was: call by call.

    recorded_restarts.py SOURCE_DIR VORN_ONU TEST_DAEMON [--renew | --text NAME]    (tests/support/record.py)

Scenarios by the contract and by G.988. left: halfway, to a daemon that wants an internet service alone, before and after hands that
know no state file, and then to one that wants nothing. killed: before each call. refused: each call with one refusal of the device
after the other, and then without. by chance: daemons that do parts of many scenarios, some of it refused, one after the other on one
board, and one between them that wants an internet service alone.
"""

import functools
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

for folder in ("support", "tools/vorn-onu"):
    sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / folder))
import record  # noqa: E402
from inputs import LEFT_OUT, input_text  # noqa: E402

RECORD = pathlib.Path(__file__).with_suffix(".txt")
# Killed, and refused something: these alone, for it takes long.
CLOSELY = {"change-and-remove", "dscp", "iphost-static", "pbit-queues", "qinq", "tcont-gem"}
# The nth call of a function from the beginning of the operation.
REFUSALS = (("vlanCtl_insertTagRule", 1), ("vlanCtl_insertTagRule", 3), ("vlanCtl_removeTagRule", 1), ("vlanCtl_createVlanInterface", 1),
            ("vlanCtl_deleteVlanInterface", 1), ("ioctl:SIOCBRADDIF", 1), ("ioctl:SIOCBRDELIF", 1), ("gponCtl_configGemPort", 1),
            ("tmctl_setQueueCfg", 2), ("system", 1), ("system", 3))


def killed_before_each_call(steps):
    return [one for number, step in enumerate(steps)
            for one in ([{"restart": "kill"}, step] if "call" in step and number > 0 else [step])]


def refused_each_call(steps):
    refusals = [[{"fault": {"function": function, "nth": nth, "code": 5, "may": True}}] for function, nth in REFUSALS]
    return [one for step in steps
            for one in ([part for refusal in refusals for part in (*refusal, step, {"fault": "clear"})] if "call" in step else []) + [step]]


class Lives:
    """On one board."""

    def __init__(self, folder, forwarding):
        self.folder, self.states = folder, []
        self.options = ["--forwarding", forwarding, "--json", "state.json"]

    def _tool(self, *command):
        environment = {**{name: value for name, value in os.environ.items() if name.startswith("VORN_MUTANT")},
                       "PATH": os.environ["PATH"], "TMPDIR": str(self.folder), "HOME": str(self.folder)}
        run = subprocess.run([*command], cwd=self.folder, env=environment, capture_output=True, text=True, timeout=100, check=False)
        state = json.loads((self.folder / "state.json").read_text())
        printed = re.search(r"what the HAL printed: (\S+)", run.stdout)
        printed = pathlib.Path(printed[1]) if printed else self.folder / "printed"
        self.states.append({**state.get("device", state), "printed": run.stderr + printed.read_text(errors="replace")})

    def play(self, tool, scenario, steps, *options):
        (self.folder / "scenario.json").write_text(json.dumps({**scenario, "state": True, "steps": steps}))
        self._tool(tool, "run", "scenario.json", *self.options, *options)

    def run(self, tool, *program):
        self._tool(tool, "exec", *self.options, "--board", "onu.board", "--hal-output", "printed", "--quiet", "--", *program)

    def text(self):
        lines = []
        for state in self.states:
            lines += [f"{one['kind']} {one['name']}({one['arguments']}) = {one['result']}" for one in state.pop("trace")]
            lines.append(state.pop("printed"))
            lines.append(json.dumps(state, indent=1))
        # Objects lie elsewhere in each run, and so does its board.
        return re.sub(r"0x[0-9a-f]{9,}|vorn-onu-board\.\w{6}", "OTHER", "\n".join(lines) + "\n").replace(str(self.folder), "FOLDER")


BY_CHANCE = 20


def text_by_chance(source, tool, daemon, number):
    with tempfile.TemporaryDirectory() as folder:
        lives = Lives(pathlib.Path(folder), ("contract", "g988")[number % 2])
        for life in range(2):
            scenario = json.loads(input_text(source, f"mixture-{100 + 2 * number + life}.json"))
            lives.play(tool, scenario, scenario["steps"], "--board", "onu.board")
            lives.run(tool, daemon, "state", "settle", "onu.board.state")
        lives.run(tool, daemon, "state", "clean", "onu.board.state")
        return lives.text()


def text_of(tool, daemon, path, forwarding, what):
    scenario = json.loads(path.read_text())
    steps = scenario["steps"]
    with tempfile.TemporaryDirectory() as folder:
        lives = Lives(pathlib.Path(folder), forwarding)
        if what == "left":
            lives.play(tool, scenario, steps[:len(steps) // 2], "--board", "onu.board")
            lives.run(tool, daemon, "state", "settle", "onu.board.state")
            lives.run(tool, daemon, "state", "disturb")
            lives.run(tool, daemon, "state", "settle", "onu.board.state")
            lives.run(tool, daemon, "state", "clean", "onu.board.state")
        else:
            lives.play(tool, scenario, (killed_before_each_call if what == "killed" else refused_each_call)(steps))
        return lives.text()


def main(source_dir, tool, daemon, *words):
    source, tool, daemon = (pathlib.Path(one).resolve() for one in (source_dir, tool, daemon))
    texts = {f"{one.stem} by {forwarding}, {what}": functools.partial(text_of, tool, daemon, one, forwarding, what)
             for one in sorted((source / "scenarios").glob("*.json")) if one.stem not in LEFT_OUT
             for forwarding in ("contract", "g988") for what in ("killed", "left", "refused") if what == "left" or one.stem in CLOSELY}
    texts.update({f"by chance {number}": functools.partial(text_by_chance, source, tool, daemon, number) for number in range(BY_CHANCE)})
    return record.check(RECORD, texts, words)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
