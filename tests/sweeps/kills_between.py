#!/usr/bin/env python3
"""Kills the HAL's process after every HAL call of every scenario, with a state file and without, and sees whether the services are
whole afterwards.   kills_between.py VORN_ONU SCENARIO... [--every N] [--offset N] [--without] [--show]

Each run is the scenario with a restart behind one of its calls. The new process does what a daemon does when it starts (the
scenario's own start-up calls), and the rest of the scenario runs in it. Whole means: every expectation and every frame of the rest
is as without the kill, and so is the device at the end, byte for byte. Exit code 1 when a run with the state file is not whole."""
import argparse
import concurrent.futures
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

START_UP = ["vorn_omci_hal_init", "vorn_omci_hal_nvram_info_get", "EtherSwitchBcm380::iPhost_Stag",
            "VornBrcmHal::createAlarmStatsThread"]


def call_of(step):
    return step.get("call")


def without(step, what):
    """The step without one kind of expectation."""
    if what not in step.get("expect", {}):
        return step
    rest = {key: value for key, value in step["expect"].items() if key != what}
    return {**step, "expect": rest} if rest else {"note": what}


def killed_after(steps, index):
    # Frames that the HAL itself sends are seen in its own process alone.
    steps = [without(step, "packetFrames") for step in steps]
    again = [dict(step) for step in steps[: index + 1] if call_of(step) in START_UP]
    rest = steps[index + 1:]
    if any(call_of(step) == "vorn_omci_hal_init" for step in again):  # a second start-up announces itself to the gateway again
        rest = [without(step, "messages") for step in rest]
    return steps[: index + 1] + [{"restart": "kill"}] + again + rest


class Runner:
    def __init__(self, program, folder):
        self.program, self.folder = program, folder

    def run(self, name, scenario, keep):
        place = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        try:
            file, device = place / f"{name}.json", place / "device.json"
            file.write_text(json.dumps({**scenario, "state": keep}))
            done = subprocess.run([self.program, "run", file, "--json", device], cwd=place, text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120, errors="replace")
            left = json.loads(device.read_text()) if device.exists() else {}
            return done.returncode, self.lasting(left), done.stdout
        finally:
            shutil.rmtree(place, ignore_errors=True)

    @staticmethod
    def lasting(device):
        return {key: device.get(key) for key in ("network", "vlan", "pon", "runner", "board")}


def difference(one, other, path=""):
    """The first place where the two differ."""
    if isinstance(one, dict) and isinstance(other, dict):
        for key in sorted(set(one) | set(other)):
            if one.get(key) != other.get(key):
                return difference(one.get(key), other.get(key), f"{path}/{key}")
    if isinstance(one, list) and isinstance(other, list) and len(one) == len(other):
        for index, (left, right) in enumerate(zip(one, other)):
            if left != right:
                return difference(left, right, f"{path}/{index}")
    return f"{path}: {json.dumps(one)[:200]} without the kill, {json.dumps(other)[:200]} with it"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program")
    parser.add_argument("scenarios", nargs="+", type=pathlib.Path)
    parser.add_argument("--every", type=int, default=1, help="one call in so many")
    parser.add_argument("--offset", type=int, default=0)
    parser.add_argument("--without", action="store_true", help="also run without a state file, for the comparison")
    parser.add_argument("--show", action="store_true", help="show what a run that is not whole printed")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    options = parser.parse_args()
    tried, whole, bare = 0, 0, 0
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        runner, runs, count = Runner(os.path.abspath(options.program), folder), [], options.offset
        for path in options.scenarios:
            scenario = json.loads(path.read_text())
            steps = scenario["steps"]
            if any("restart" in step for step in steps):
                continue  # has kills of its own
            baseline = None
            for index, step in enumerate(steps):
                if call_of(step) is None or call_of(step) in START_UP:
                    continue
                count += 1
                if count % options.every != 0:
                    continue
                baseline = baseline or pool.submit(runner.run, path.stem, scenario, False)
                killed = {**scenario, "steps": killed_after(steps, index)}
                runs.append((path.stem, index, call_of(step), baseline, pool.submit(runner.run, path.stem, killed, True),
                             pool.submit(runner.run, path.stem, killed, False) if options.without else None))
        for name, index, call, baseline, kept, lost in runs:
            code, device, _ = baseline.result()
            tried += 1
            if lost is not None:
                bare += lost.result()[:2] == (code, device)
            if kept.result()[:2] == (code, device):
                whole += 1
                continue
            print(f"{name}: killed after step {index + 1} ({call}): not whole; exit code {kept.result()[0]}, {code} without the kill")
            if kept.result()[1] != device:
                print(f"    {difference(device, kept.result()[1])}")
            if options.show:
                print(kept.result()[2])
    print(f"{tried} kills between two calls: {whole} times the services are whole with a state file"
          + (f", {bare} times without" if options.without else ""))
    return 0 if whole == tried else 1


sys.exit(main())
