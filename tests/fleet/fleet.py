#!/usr/bin/env python3
"""A fleet as packaging/kubernetes/onus.yaml describes it, in podman's pods: started, provisioned, compared; some are killed, come
back as they were, and are provisioned again.

    fleet.py COUNT PODMAN...
"""

import concurrent.futures
import os
import pathlib
import random
import signal
import sys
import tempfile
import time

import yaml
from containers import Engine, Onu

HERE = pathlib.Path(__file__).resolve()
sys.path[:0] = [str(HERE.parents[2] / "packaging/kubernetes"), str(HERE.parents[1] / "omci")]
from metrics import Metrics  # noqa: E402
from pods import pods  # noqa: E402

MANIFEST = HERE.parents[2] / "packaging/kubernetes/onus.yaml"
NAME = "vorn-test-onu"  # nobody else's
KILLED = 5
WAIT = 180  # seconds for the fleet to answer


def say(text):
    print(text, flush=True)


def in_parallel(work, onus):
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        return list(pool.map(work, onus))


def until_all(holds, onus, what):
    end = time.monotonic() + WAIT
    left = list(onus)
    while left:
        left = [onu for onu, done in zip(left, in_parallel(holds, left)) if not done]
        if left and time.monotonic() > end:
            raise AssertionError(f"after {WAIT} s {len(left)} of {len(onus)} {what} not: {', '.join(onu.name for onu in left)}")


def difference(one, other, path=""):
    """The first place in which two states differ; "" where they are the same."""
    if isinstance(one, dict) and isinstance(other, dict) and one.keys() == other.keys():
        return next(filter(None, (difference(one[key], other[key], f"{path}/{key}") for key in one)), "")
    if isinstance(one, list) and isinstance(other, list) and len(one) == len(other):
        return next(filter(None, (difference(*pair, f"{path}/{place}") for place, pair in enumerate(zip(one, other)))), "")
    return "" if one == other else f"{path}: {one} and {other}"


class Fleet:
    def __init__(self, engine, count, folder):
        with open(MANIFEST, encoding="utf-8") as manifest:
            documents = list(yaml.safe_load_all(manifest))
        self.key = bytes.fromhex(next(one["stringData"]["key"] for one in documents if one["kind"] == "Secret"))
        self.engine, self.file = engine, os.path.join(folder, "pods.yaml")
        for one in documents:
            if one["kind"] == "StatefulSet":
                one["metadata"]["name"] = NAME
        self.documents = pods(documents, count, {"address": "127.0.0.1"})
        with open(self.file, "w", encoding="utf-8") as file:
            yaml.safe_dump_all(self.documents, file, sort_keys=False)
        self.onus = [Onu(engine, NAME, ordinal) for ordinal in range(count)]

    def start(self):
        begin = time.monotonic()
        self.engine("kube", "play", "--network", "none", self.file)
        until_all(Onu.answers, self.onus, "answer")
        say(f"{len(self.onus)} ONUs answer, {time.monotonic() - begin:.1f} s after podman was asked for them.")
        serials = in_parallel(Onu.serial, self.onus)
        assert serials == [f"VORN{onu.ordinal:08X}" for onu in self.onus], serials
        say(f"Their serial numbers are those of their names: {serials[0]} to {serials[-1]}.")

    def provision(self, onus):
        begin = time.monotonic()
        for onu in onus:
            onu.provision(self.key)
        took = time.monotonic() - begin
        sent = sum(onu.sent for onu in onus)
        times = sorted(moment for onu in onus for moment in onu.times)
        say(f"{len(onus)} ONUs are provisioned, one after the other: {sent} messages in {took:.1f} s; answers in "
            f"{times[len(times) // 2] * 1e3:.1f} ms, the slowest in {times[-1] * 1e3:.0f} ms.")

    def compare(self, what, looks, expected=None):
        """All are alike, and as expected; answers what they are like."""
        all_looks = in_parallel(looks, self.onus)
        expected = all_looks[0] if expected is None else expected
        for onu, look in zip(self.onus, all_looks):
            where = difference(expected, look)
            assert not where, f"{what}: {onu.name} differs from the others in {where}"
        say(f"{what}: all {len(self.onus)} are alike.")
        return expected

    def check_metrics(self):
        for onu, text in zip(self.onus, in_parallel(Onu.metrics, self.onus)):
            metrics = Metrics(text)
            assert metrics.total("vorn_onu_omci_requests_total") == onu.sent, onu.name
            assert metrics.of("vorn_onu_services") == 1, onu.name
        say("Metrics: each has counted its OLT's messages, and has one service.")

    def kill(self, device):
        killed = random.Random(1).sample(self.onus, min(KILLED, len(self.onus)))
        before = {onu: onu.process for onu in killed}
        assert 0 not in before.values(), "an ONU to be killed does not run"  # 0 would be this program's own group
        begin = time.monotonic()
        for process in before.values():
            os.kill(process, signal.SIGKILL)
        until_all(lambda onu: onu.process not in (0, before[onu]) and onu.answers(), killed, "are back")
        names = ", ".join(onu.name for onu in killed)
        say(f"Killed are {names}; they answer again after {time.monotonic() - begin:.1f} s.")
        for onu in killed:
            where = difference(device, onu.device())
            assert not where, f"{onu.name} has not come back as it was: {where}"
            assert onu.serial() == f"VORN{onu.ordinal:08X}", onu.name
        say("Their bridges, rules and GEM ports are there as before; their MIBs are new ones.")
        return killed

    def check_memory(self):
        own = sorted(onu.own_bytes() for onu in self.onus)
        say(f"An ONU has written to {own[0] / 2**20:.1f} to {own[-1] / 2**20:.1f} MiB of memory of its own.")

    def end(self):
        self.engine("pod", "rm", "--force", "--ignore", "--time", "1", *(onu.name for onu in self.onus), check=False)
        volumes = [f"{volume}-{onu.name}" for onu in self.onus for volume in ("board", "run")]
        self.engine("volume", "rm", "--force", *volumes, check=False)


def main():
    count, engine = int(sys.argv[1]), Engine(sys.argv[2:])
    with tempfile.TemporaryDirectory() as folder:
        fleet = Fleet(engine, count, folder)
        try:
            fleet.end()  # what a run that was killed has left
            fleet.start()
            fleet.provision(fleet.onus)
            device = fleet.compare("Devices", Onu.device)
            mib = fleet.compare("MIBs", Onu.mib)
            fleet.check_metrics()
            fleet.check_memory()
            fleet.provision(fleet.kill(device))
            fleet.compare("Devices", Onu.device, device)
            fleet.compare("MIBs", Onu.mib, mib)
        except (AssertionError, RuntimeError) as fault:
            say(f"FAILED: {fault}")
            return 1
        finally:
            fleet.end()
    return 0


if __name__ == "__main__":
    sys.exit(main())
