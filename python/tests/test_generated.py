"""The generated modules have every operation, step and field of the tool's schema, each under its own name."""

import inspect
import json
import os
import subprocess
import unittest
from typing import Any, Callable, Dict, List

from vorn_onu.operations import Calls
from vorn_onu.steps import Steps

SCHEMA = json.loads(subprocess.check_output([os.environ["VORN_ONU"], "schema"], timeout=60))
WAYS = SCHEMA["properties"]["steps"]["items"]["anyOf"]


class Recorder(Steps):
    """Keeps the steps that would be taken."""

    def __init__(self) -> None:
        self.taken: List[Dict[str, Any]] = []
        self.call = Calls(lambda step, records: self.taken.append({**step, "records": records}))  # type: ignore

    def step(self, step: Any) -> Any:
        self.taken.append(dict(step))


def marked(method: Callable[..., Any], leave: str = "") -> Dict[str, str]:
    """An argument for each keyword that tells its own name."""
    names = inspect.signature(method).parameters
    return {name: f"<{name.rstrip('_')}>" for name in names if name != leave}


class Generated(unittest.TestCase):
    def test_every_field_of_every_operation_arrives_under_its_name(self) -> None:
        recorder = Recorder()
        calls = [way["properties"] for way in WAYS if "call" in way["properties"]]
        self.assertGreater(len(calls), 55)
        for properties in calls:
            for name in properties["call"]["enum"]:
                method = getattr(recorder.call, name.replace("::", "_"))
                method(**marked(method))
                step = recorder.taken.pop()
                self.assertEqual(step.pop("call"), properties["call"]["enum"][0])
                self.assertIsNone(step.pop("records"))
                expected = {key: f"<{key}>" for key in properties if key != "call"}
                self.assertEqual(step, expected, name)
                method()
                self.assertEqual(set(recorder.taken.pop()), {"call", "records"}, "what is left out is not there")

    def test_every_member_of_every_step_arrives_under_its_name(self) -> None:
        recorder = Recorder()
        for way in WAYS:
            if "call" in way["properties"]:
                continue
            [kind] = way["required"]
            value = way["properties"][kind]
            method = getattr(recorder, kind)
            beside = {key: f"<{key}>" for key in way["properties"] if key != kind}
            members = {key: f"<{key}>" for one in value.get("anyOf", [value]) for key in one.get("properties", {})}
            if members:
                method(**marked(method, leave="value"))
                self.assertEqual(recorder.taken.pop(), {kind: members, **beside})
            if "value" in inspect.signature(method).parameters:
                method("<value>", **{key: text for key, text in beside.items()})
                self.assertEqual(recorder.taken.pop(), {kind: "<value>", **beside})


if __name__ == "__main__":
    unittest.main()
