"""A program that is checked strictly finds nothing to complain about in the module."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import vorn_onu

MYPY = shutil.which("mypy")


@unittest.skipUnless(MYPY, "mypy is missing")
class Types(unittest.TestCase):
    def checked(self, *words: str) -> "subprocess.CompletedProcess[str]":
        folder = pathlib.Path(vorn_onu.__file__).parent.parent
        with tempfile.TemporaryDirectory() as cache:
            return subprocess.run([str(MYPY), "--strict", "--cache-dir", cache, *words], env={**os.environ, "MYPYPATH": str(folder)},
                                  text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)

    def test_the_module_is_typed_strictly(self) -> None:
        result = self.checked("-p", "vorn_onu")
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_a_wrong_argument_and_a_wrong_result_are_found(self) -> None:
        with tempfile.TemporaryDirectory() as name:
            program = pathlib.Path(name, "program.py")
            program.write_text("from vorn_onu import Onu\n\nwith Onu.start() as onu:\n"
                               "    onu.call.configureBridge(bridgeId=3, uniPort=0)\n"
                               "    onu.call.configureBridge(bridgeId=3, uniPrt=0)\n"
                               "    port: int = onu.state().network.devices[0].name\n")
            result = self.checked(str(program))
        lines = [line.split(": ")[0].rpartition(":")[2] for line in result.stdout.splitlines() if "error: " in line]
        self.assertEqual(lines, ["5", "6"], result.stdout)
