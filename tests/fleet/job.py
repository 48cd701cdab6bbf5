#!/usr/bin/env python3
"""The Job of packaging/kubernetes/scenarios.yaml in podman's pods: every scenario is run once, and each pod leaves a JUnit file.

    job.py PODMAN...
"""

import collections
import pathlib
import sys
import tempfile
import time
import xml.etree.ElementTree

import yaml
from containers import Engine

SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "packaging/kubernetes"))
from pods import pods  # noqa: E402

NAME = "vorn-test-scenarios"  # nobody else's: of the Job, its claim and its folder


def renamed(documents):
    for one in documents:
        one["metadata"]["name"] = NAME
        for volume in one["spec"].get("template", {}).get("spec", {}).get("volumes", []):
            for reference in (volume.get("configMap"), volume.get("persistentVolumeClaim")):
                if reference:
                    reference["claimName" if "claimName" in reference else "name"] = f"{NAME}-files" if "name" in reference else NAME
    return documents


def run(engine, folder):
    scenarios = sorted((SOURCE / "scenarios").glob("*.json"))
    files = {"apiVersion": "v1", "kind": "ConfigMap", "metadata": {"name": f"{NAME}-files"},
             "data": {one.name: one.read_text(encoding="utf-8") for one in scenarios}}
    with open(SOURCE / "packaging/kubernetes/scenarios.yaml", encoding="utf-8") as manifest:
        made = pods(renamed(list(yaml.safe_load_all(manifest))))
    path = pathlib.Path(folder, "pods.yaml")
    path.write_text(yaml.safe_dump_all([files, *made], sort_keys=False), encoding="utf-8")
    names = [one["metadata"]["name"] for one in made if one["kind"] == "Pod"]
    try:
        end(engine, names)
        begin = time.monotonic()
        engine("kube", "play", "--network", "none", str(path))
        codes = engine("wait", *(f"{name}-run" for name in names)).split()
        assert codes == ["0"] * len(names), engine("logs", f"{names[0]}-run")
        results = pathlib.Path(engine("volume", "inspect", "--format", "{{.Mountpoint}}", NAME))
        cases = [case for one in results.glob("*.xml") for case in xml.etree.ElementTree.parse(one).iter("testcase")]
        counted = collections.Counter(pathlib.Path(case.get("name")).name for case in cases)
        assert counted == {one.name: 1 for one in scenarios}, counted
        failed = [case.get("name") for case in cases if len(case)]
        assert not failed, failed
        print(f"A Job of {len(names)} pods has run {len(cases)} scenarios in {time.monotonic() - begin:.1f} s, "
              f"and left {len(list(results.glob('*.xml')))} JUnit files.", flush=True)
    finally:
        end(engine, names)


def end(engine, names):
    engine("pod", "rm", "--force", "--ignore", "--time", "1", *names, check=False)
    engine("volume", "rm", "--force", NAME, f"{NAME}-files", *(f"run-{name}" for name in names), check=False)


def main():
    with tempfile.TemporaryDirectory() as folder:
        try:
            run(Engine(sys.argv[1:]), folder)
        except (AssertionError, RuntimeError) as fault:
            print(f"FAILED: {fault}", flush=True)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
