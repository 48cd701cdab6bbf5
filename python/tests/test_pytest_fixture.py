"""The fixture onu under a pytest of its own."""

import importlib.util
import pathlib
import subprocess
import sys
import tempfile
import unittest

import support

TESTS = """
import pytest
from vorn_onu import Onu

def provision(onu):
    onu.call.configureBridge(bridgeId=3, uniPort=1)
    onu.call.configureBridge(bridgeId=3, uniPort=0)
    onu.call.filter_flow_add(bridgeId=3, uniPort=2, tagAction="push", innerTreatmentVlanId=100, innerTreatmentPrio=0)

def test_one(onu):
    provision(onu)
    print("PROCESS", onu.info().process)

def test_two_is_on_another_board(onu):
    assert onu.state().network.bridges == []

def test_three_fails_by_an_expectation(onu):
    provision(onu)
    onu.frame(from_="sid0", expect={"leaves": [{"at": "gpondef"}]})

def test_four_fails_by_an_assertion(onu):
    provision(onu)
    assert onu.frame(from_="sid0").leaves

def test_five_fails_without_a_frame(onu):
    assert onu is None

@pytest.mark.onu(scenario="SCENARIO")
def test_six_begins_with_a_scenario(onu):
    assert onu.state().calls > 100

def test_seven_needs_no_board():
    assert False
"""


@unittest.skipUnless(importlib.util.find_spec("pytest"), "pytest is not installed (Debian: python3-pytest)")
class Fixture(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        with tempfile.TemporaryDirectory() as folder:
            text = TESTS.replace("SCENARIO", str(support.SCENARIOS / "internet.json"))
            pathlib.Path(folder, "test_boards.py").write_text(text)
            command = [sys.executable, "-m", "pytest", "-p", "vorn_onu.pytest_plugin", "-p", "no:cacheprovider", "-rA"]
            ended = subprocess.run(
                command + ["--strict-markers", "-W", "error"],
                cwd=folder,
                stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT,
                text=True,
                timeout=120,
                check=False,
            )
        cls.text = ended.stdout

    def part(self, test: str) -> str:
        """What is reported of one test."""
        return self.text.split(f"_ {test} _", 1)[1].split("\n____", 1)[0].split("\n====", 1)[0]

    def test_each_test_has_a_new_board_that_ends_with_it(self) -> None:
        self.assertIn("4 failed, 3 passed", self.text)
        for name in ("one", "two_is_on_another_board", "six_begins_with_a_scenario"):
            self.assertIn(f"PASSED test_boards.py::test_{name}", self.text)
        process = int(self.text.split("PROCESS", 1)[1].split()[0])
        self.assertFalse(support.is_alive(process))

    def test_a_failed_test_shows_the_way_of_its_frame_and_its_own_lines(self) -> None:
        for name in ("test_three_fails_by_an_expectation", "test_four_fails_by_an_assertion"):
            part = self.part(name)
            self.assertIn("the last frame's way", part)
            self.assertIn("bridge br3", part)
            self.assertIn("insertUniTagRules", part, "what the HAL printed")
            self.assertNotIn("vorn_onu/steps.py", part, "lines of the module help nobody")

    def test_without_a_frame_or_a_board_there_is_no_way(self) -> None:
        for name in ("test_five_fails_without_a_frame", "test_seven_needs_no_board"):
            self.assertNotIn("the last frame's way", self.part(name))


if __name__ == "__main__":
    unittest.main()
