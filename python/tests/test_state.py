"""The state as objects: nothing that the board tells is missing in them."""

import contextlib
import dataclasses
import json
import os
import subprocess
import tempfile
import unittest
from typing import Any, Iterator, List, Optional

import support
from vorn_onu import DeviceState, Onu, OnuError
from vorn_onu.decode import decode


def missing(value: Any, made: Any, place: str = "") -> List[str]:
    """Members of JSON that the object does not have, or has with another value."""
    if isinstance(value, dict) and dataclasses.is_dataclass(made):
        names = {field.name.rstrip("_"): field.name for field in dataclasses.fields(made)}
        found = [f"{place}.{key}" for key in value if key not in names]
        for key in value:
            if key in names:
                found += missing(value[key], getattr(made, names[key]), f"{place}.{key}")
        return found
    if isinstance(value, dict):
        return [one for key in value for one in missing(value[key], made[key], f"{place}.{key}")]
    if isinstance(value, list):
        if len(value) != len(made):
            return [f"{place}: {len(made)} instead of {len(value)}"]
        return [one for pair in zip(value, made) for one in missing(*pair, place=f"{place}[]")]
    return [] if value == made else [f"{place}: {made!r} instead of {value!r}"]


class States(unittest.TestCase):
    def test_nothing_is_lost_of_what_scenarios_leave(self) -> None:
        used = set()
        for name in ("multicast", "veip", "iphost-dhcp", "startup"):
            # Up to where the device holds most: scenarios end with an empty device.
            scenario = json.loads((support.SCENARIOS / f"{name}.json").read_text())
            undo = ("unset", "deprovision", "_del", "reset", "delete")
            steps = [one for one in scenario["steps"] if "expect" not in one or "frame" in one]
            scenario["steps"] = [
                {key: value for key, value in one.items() if key not in ("expect", "result", "output")}
                for one in steps
                if not any(word in one.get("call", "") for word in undo) and one.get("addFlag") is not False
            ]
            with self.subTest(name), tempfile.NamedTemporaryFile("w", suffix=".json") as file:
                json.dump(scenario, file)
                file.flush()
                with Onu.start(scenario=file.name) as onu:
                    onu.frame(from_="sid0")
                    value = onu.state_json("all")
                    made = decode(DeviceState, value)
                    self.assertEqual(missing(value, made), [])
                    used |= {type(one).__name__ for one in walk(made)}
        kinds = "BridgePort LearnedAddress Rule DefaultAction VlanFlow Queue GemPort Message Command".split()
        self.assertLessEqual(set(kinds), used)

    def test_a_newer_board_may_tell_more_but_not_less(self) -> None:
        with Onu.start() as onu:
            value = onu.state_json()
        value["weather"] = value["board"]["colour"] = "new"
        self.assertEqual(decode(DeviceState, value).board.serialNumber, "VONU00000001")
        del value["board"]["images"]
        with self.assertRaises(OnuError) as caught:
            decode(DeviceState, value)
        self.assertEqual((caught.exception.code, caught.exception.text), ("bad-reply", "board.images is missing"))

    def test_states_can_be_compared_by_the_tool(self) -> None:
        with Onu.start() as onu, tempfile.TemporaryDirectory() as folder:
            names = [os.path.join(folder, name) for name in ("before.json", "after.json")]
            for number, name in enumerate(names):
                onu.call.configureBridge(bridgeId=3, uniPort=number)
                with open(name, "w", encoding="utf-8") as file:
                    json.dump(onu.state_json("all"), file)
            command = [os.environ["VORN_ONU"], "diff", *names]
            ended = subprocess.run(command, stdout=subprocess.PIPE, text=True, timeout=support.HANG, check=False)
        self.assertEqual(ended.returncode, 1)
        self.assertIn("sid0.3", ended.stdout)

    def test_the_trace_comes_whole_and_from_a_number_on(self) -> None:
        with Onu.start() as onu:
            onu.call.configureBridge(bridgeId=3, uniPort=0)
            whole = onu.trace()
            self.assertEqual([entry.number for entry in whole], list(range(1, len(whole) + 1)))
            self.assertEqual(onu.trace(after=whole[9].number), whole[10:])
            self.assertEqual(onu.state("all").trace, whole)

    def test_ports_with_real_packets_are_counted(self) -> None:
        with self.assertRaises(OnuError) as caught:
            Onu.start(taps={"sid0": "a/b"})
        self.assertEqual(caught.exception.code, "not-started")
        self.assertIn("is no name of an interface", caught.exception.text)
        with network_namespace() as netns:
            if netns is None:
                self.skipTest("no right to make network namespaces and TAPs")
            with Onu.start(taps={"sid0": f"lan0@{netns}", "gem 1001": f"pon0@{netns}"}) as onu:
                value = onu.state_json()
                made = decode(DeviceState, value)
                self.assertEqual(missing(value, made), [])
                named = [(one.port, one.interface) for one in made.taps]
                self.assertEqual(named, [("sid0", "lan0"), ("gem 1001", "pon0")])
                self.assertEqual([one.port for one in onu.counters().taps], ["sid0", "gem 1001"])
                self.assertEqual(onu.info().taps, [f"sid0=lan0@{netns}", f"gem 1001=pon0@{netns}"])


@contextlib.contextmanager
def network_namespace() -> Iterator[Optional[str]]:
    """The path of one that goes with the block; None where it, or a TAP in it, cannot be made."""
    command = "ip tuntap add dev try0 mode tap && ip link del try0 && echo made && exec cat"
    pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "stderr": subprocess.DEVNULL}
    with subprocess.Popen(["unshare", "--net", "sh", "-c", command], **pipes) as holder:
        assert holder.stdout is not None and holder.stdin is not None
        made = holder.stdout.readline() == b"made\n"
        yield f"/proc/{holder.pid}/ns/net" if made else None
        holder.stdin.close()


def walk(made: Any) -> List[Any]:
    if dataclasses.is_dataclass(made):
        return [made] + [one for field in dataclasses.fields(made) for one in walk(getattr(made, field.name))]
    if isinstance(made, (list, dict)):
        return [one for part in (made.values() if isinstance(made, dict) else made) for one in walk(part)]
    return []


if __name__ == "__main__":
    unittest.main()
