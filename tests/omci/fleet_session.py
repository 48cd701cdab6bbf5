"""An ONU of a fleet: it is told who it is, comes back as it was, and listens to its OLT alone.

    fleet_session.py VORN_ONU
"""

import json
import os
import signal
import socket
import subprocess
import sys
import unittest

import live_session
from live_session import ALARM, GET, IP_HOST, ONU_DATA, RESET, Living, Olt

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


KEY = "0123456789abcdef0123456789abcdef"


class FarOlt(Olt):
    """One of another machine: messages have AES-CMAC's codes, made by openssl."""

    def __init__(self, source, address):
        super().__init__(address)
        self.close()
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.bind((source, 0))
        self.socket.connect(address)

    def code(self, frame, direction=b"\x01"):
        made = subprocess.run(["openssl", "mac", "-cipher", "AES-128-CBC", "-macopt", "hexkey:" + KEY, "CMAC"],
                              input=direction + frame, capture_output=True, check=True).stdout
        return bytes.fromhex(made.decode())[:4]


class Network(Living):
    """An address that other machines reach."""

    listen = "udp:0.0.0.0:0"
    options = ["--peer", "127.0.0.16/30", "--mic", "cmac:" + KEY]

    def test_the_peer_alone_is_answered_and_others_are_counted(self):
        address = self.olt.socket.getpeername()
        olt, other = FarOlt("127.0.0.18", address), FarOlt("127.0.0.20", address)
        self.addCleanup(olt.close)
        self.addCleanup(other.close)
        olt.send(GET, ONU_DATA, 0, b"\x80\x00")
        answer = olt.receive()
        self.assertEqual((answer.result, answer.frame[44:]), (0, olt.code(answer.frame[:44], b"\x02")))
        other.send(GET, ONU_DATA, 0, b"\x80\x00")  # with the right code
        olt.socket.send(answer.frame[:44] + b"\0\0\0\0")
        self.olt.send(GET, ONU_DATA, 0, b"\x80\x00")  # of 127.0.0.1, with a CRC-32
        self.at("board", "links.sid1=down")
        self.assertIsNone(other.receive(0.5))
        olt.receive(3)
        self.assertIn(ALARM, [one.type for one in olt.received], "it still goes to the sender of the last message")
        self.onu.terminate()
        self.onu.wait(60)
        self.printed(r"(3 datagrams dropped: 1 with a wrong integrity code, 2 of others than the peer)")


class Refused(unittest.TestCase):
    def test_nothing_starts_where_anybody_could_send(self):
        peer, mic = ["--peer", "10.0.0.5"], ["--mic", "cmac:" + KEY]
        for listen, words, why in (("udp:0.0.0.0:0", [], "--peer"), ("udp:0.0.0.0:0", peer, "cmac"), ("udp:0.0.0.0:0", mic, "--peer"),
                                   ("udp:0.0.0.0:0", peer + ["--mic", "crc"], "cmac"), ("udp:0.0.0.0:0", peer + ["--mic", "cmac:12"], "32"),
                                   ("udp:0.0.0.0:0", mic + ["--peer", "10.0.0.0/0"], "10.0.0.0/0"),
                                   ("udp:0.0.0.0:0", mic + ["--peer", "olt"], "'olt'"), ("udp:1270.0.0.1:0", mic + peer, "no address"),
                                   ("udp:127.evil.example:0", [], "no address"), ("udp:127.0.0.1:70000", [], "65535")):
            with self.subTest(words, listen=listen):
                done = subprocess.run([live_session.TOOL, "omci", "--listen", listen, *words], capture_output=True, text=True,
                                      timeout=20, check=False)
                self.assertEqual((done.returncode, done.stdout), (2, ""), done.stderr)
                self.assertIn(why, done.stderr)


if __name__ == "__main__":
    live_session.TOOL = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
