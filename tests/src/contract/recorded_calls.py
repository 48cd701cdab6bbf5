#!/usr/bin/env python3
"""What the library asks of the device in each scenario, and what it prints, is what it always was: call by call, text by text.

    recorded_calls.py SOURCE_DIR VORN_ONU [--renew | --text NAME]    (tests/support/record.py)

Daemons rely on all of it. A new scenario is a reason to renew the record; a change in the library is none.
"""

import functools
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
import record  # noqa: E402

RECORD = pathlib.Path(__file__).with_suffix(".txt")
# The listener and the link monitor go on as often as time allows; how the state file is read is nothing to rely on.
LEFT_OUT = {"startup", "restart"}
# A thread tells the gateway of the VEIP meanwhile: in these the order is not compared, nor what is printed, since both threads
# print pieces of lines.
WITH_A_THREAD = {"multicast", "veip"}
# How often that thread goes round is a matter of time.
OF_TIME = r"^platform cms(Mem_free|Msg_receiveWithTimeout|Tmr_\w+)\("


def text_of(tool, scenario):
    with tempfile.TemporaryDirectory() as folder:
        state = pathlib.Path(folder, "state.json")
        run = subprocess.run([tool, "run", str(scenario), "--json", str(state)], stdout=subprocess.PIPE, text=True, check=True,
                             timeout=100, env={**os.environ, "TMPDIR": folder, "VORN_HAL_FORWARDING": "contract"})
        printed = re.search(r"what the HAL printed: (\S+)", run.stdout)
        lines = [f"{one['kind']} {one['name']}({one['arguments']}) = {one['result']}"
                 for one in json.loads(state.read_text())["device"]["trace"]]
        if scenario.stem in WITH_A_THREAD:
            lines = sorted(line for line in lines if not re.match(OF_TIME, line))
        else:
            lines += ["printed " + line for line in pathlib.Path(printed[1]).read_text(errors="replace").splitlines()]
        text = "\n".join(lines) + "\n"
        # Objects lie elsewhere in each run.
        return re.sub("0x[0-9a-f]{6,}", "ADDRESS", text).replace(folder, "FOLDER")


def main(source_dir, tool, *words):
    texts = {one.stem: functools.partial(text_of, tool, one) for one in sorted(pathlib.Path(source_dir, "scenarios").glob("*.json"))
             if one.stem not in LEFT_OUT}
    return record.check(RECORD, texts, words)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
