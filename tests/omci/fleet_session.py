"""An ONU of a fleet: it is told who it is, and comes back as it was.

    fleet_session.py VORN_ONU
"""

import json
import os
import signal
import sys
import unittest

import live_session
from live_session import GET, IP_HOST, ONU_DATA, RESET, Living

ONU_G = 256


class Identity(Living):
    options = ["--mac", "02:10:00:00:0a:00"]

    def setUp(self):
        os.environ["VORN_ONU_SERIAL"] = "VORN0000002a"
        os.environ["VORN_ONU_MAC"] = "02:10:00:00:0b:00"  # the option says otherwise
        self.addCleanup(os.environ.pop, "VORN_ONU_SERIAL")
        self.addCleanup(os.environ.pop, "VORN_ONU_MAC")
        super().setUp()

    def test_the_olt_sees_what_was_given(self):
        self.assertEqual(self.olt.values(ONU_G, 0, 0x2000)[:8], b"VORN\0\0\0\x2a")
        self.assertEqual(self.olt.values(IP_HOST, 0, 0x4000)[:5], bytes.fromhex("021000000a"))


class Volume(Living):
    """The board and the HAL's state in files: what is killed comes back, and is provisioned again."""

    options = ["--serial", "VORN00000007"]

    def setUp(self):
        super().setUp()
        self.environment.update(VORN_ONU_BOARD=self.file("board"), VORN_HAL_STATE=self.file("hal.state"))
        self.stop()
        self.start()

    def device(self):
        device = json.loads(self.at("show", "--json"))
        return {part: device[part] for part in ("network", "vlan", "pon")}

    def test_it_comes_back_as_it_was(self):
        self.olt.provision()
        before = self.device()
        self.assertIn("br3", json.dumps(before))
        self.stop(signal.SIGKILL)
        self.options = []  # the board in the file has its serial number
        self.start()
        self.assertEqual(self.device(), before)
        self.assertEqual(self.olt.values(ONU_G, 0, 0x2000)[:8], b"VORN\0\0\0\x07")
        self.assertEqual(self.olt.ask(GET, ONU_DATA, 0, b"\x80\x00").content[3], 0, "the MIB is a new one")
        self.olt.done(RESET, ONU_DATA, 0)
        self.olt.provision()
        self.assertEqual(self.device(), before)


if __name__ == "__main__":
    live_session.TOOL = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
