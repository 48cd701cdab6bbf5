"""Octets and packets as frame steps, and back."""

import importlib.util
import unittest

import support  # noqa: F401  finds the modules
from service import provision_internet
from vorn_onu import Frame, Onu, OnuError, Tag
from vorn_onu.frames import frame_fields, octets_after

MACS = "02005e000002 02005e000001"
IPV4 = "45b8001c 00010000 40{protocol}0000 c0000201 e1020304"
# A hop-by-hop header is next.
IPV6 = "6b800000 0020 0040" + "fe80" + "00" * 13 + "01" + "ff02" + "00" * 13 + "16"
GROUP6 = "ff15" + "00" * 13 + "01"


def frame(*parts: str) -> bytes:
    return bytes.fromhex(MACS + "".join(parts))


class Reading(unittest.TestCase):
    def test_fields_of_frames(self) -> None:
        def igmp(message: str) -> bytes:
            return frame("0800", IPV4.format(protocol="02"), message)

        def mld(message: str) -> bytes:
            return frame("86dd", IPV6, "3a000502 00000100", message)

        for name, octets, expected in (
            ("no payload", frame("0806"), {"tags": [], "etherType": 0x0806, "payload": None}),
            ("ethernet addresses", frame("0806"), {"destination": "02:00:5e:00:00:02", "source": "02:00:5e:00:00:01"}),
            (
                "two tags",
                frame("88a8f064 8100a7d0 0800", "00"),
                {
                    "tags": [
                        {"vid": 100, "pbits": 7, "dei": True, "tpid": 0x88A8},
                        {"vid": 2000, "pbits": 5, "dei": False, "tpid": 0x8100},
                    ],
                    "etherType": 0x0800,
                    "payload": 1,
                    "ipProtocol": None,
                },
            ),
            ("five tags are four and a type", frame("81000001" * 5, "0800"), {"etherType": 0x8100, "payload": 4}),
            ("a tag that is cut", frame("8100 0001"), {"tags": [], "etherType": 0x8100, "payload": 2}),
            ("UDP", igmp("").replace(b"\x40\x02", b"\x40\x11"), {"ipProtocol": 17, "dscp": 46, "group": None}),
            ("IGMP report", igmp("16000000 ef010203"), {"ipProtocol": 2, "group": {"report": "239.1.2.3"}}),
            ("IGMP leave", igmp("17000000 ef010203"), {"group": {"leave": "239.1.2.3"}}),
            ("general query", igmp("11640000 00000000"), {"group": {"query": ""}}),
            ("query of a group", igmp("11640000 ef010203"), {"group": {"query": "239.1.2.3"}}),
            ("IGMPv3 report", igmp("22000000 00000001 04000000 ef010203"), {"group": {"report": "239.1.2.3"}}),
            ("IGMPv3 report of nothing", igmp("22000000 00000000 04000000 ef010203"), {"group": None}),
            ("IGMP that is cut", igmp("16000000 ef01"), {"ipProtocol": 2, "group": None}),
            ("MLD report", mld("83000000 00000000" + GROUP6), {"ipProtocol": 58, "group": {"report": "ff15::1"}}),
            ("IPv6 traffic class", mld(""), {"dscp": 46, "group": None}),
            ("MLDv2 report", mld("8f000000 00000001 04000000" + GROUP6), {"group": {"report": "ff15::1"}}),
            ("MLD done", mld("84000000 00000000" + GROUP6), {"group": {"leave": "ff15::1"}}),
            ("ICMPv6 echo", mld("80000000 00000000" + GROUP6), {"ipProtocol": 58, "group": None}),
        ):
            with self.subTest(name):
                fields = frame_fields(octets)
                self.assertEqual({key: fields.get(key) for key in expected}, expected)
        with self.assertRaises(OnuError):
            frame_fields(b"\0" * 13)

    def test_what_leaves_has_other_tags_and_the_same_payload(self) -> None:
        sent = frame("81000064 0800", "11" * 60)
        left = Frame("", "", 0x0800, 0, [Tag(200, 5, True, 0x88A8), Tag(7)])
        self.assertEqual(octets_after(sent, left), frame("88a8b0c8 81000007 0800", "11" * 60))
        self.assertEqual(octets_after(sent, Frame("", "", 0x0800, 0, [])), frame("0800", "11" * 60))
        shortest = frame("81000064 0800", "11" * 42)
        self.assertEqual(octets_after(shortest, Frame("", "", 0x0800, 0, [])), frame("0800", "11" * 42, "0000" * 2))

    def test_a_group_is_learned_from_the_octets_of_a_report(self) -> None:
        with Onu.start() as onu:
            onu.call.configureBridge(bridgeId=0, uniPort=0)
            report = frame("0800", IPV4.format(protocol="02"), "16000000 ef010203")
            sent = onu.send(report, at="sid0")
            self.assertIn("239.1.2.3", sent.words)
            self.assertEqual(sent.frame.ipProtocol, 2)

    def test_the_forwarding_that_is_asked_for_decides_what_comes_down(self) -> None:
        # The port's row writes p-bits 0; by the contract its inverse asks for them.
        leaves = {"leaves": [{"at": "sid0", "tags": []}]}
        for forwarding, expected in (("contract", {"dropped": "no rule matches"}), ("g988", leaves)):
            with self.subTest(forwarding), Onu.start(forwarding=forwarding) as onu:
                provision_internet(onu)
                onu.frame(from_="gem 1001", tags=[{"vid": 100}], expect=leaves)
                onu.frame(from_="gem 1001", tags=[{"vid": 100, "pbits": 5}], expect=expected)

    @unittest.skipUnless(importlib.util.find_spec("scapy"), "scapy is not installed")
    def test_a_packet_of_scapy_is_sent_as_its_octets(self) -> None:
        from scapy.layers.l2 import Dot1Q, Ether

        packet = Ether(src="02:00:5e:00:00:01", dst="02:00:5e:00:00:02") / Dot1Q(vlan=20, prio=5) / (b"x" * 50)
        self.assertEqual(frame_fields(bytes(packet))["tags"], [{"vid": 20, "pbits": 5, "dei": False, "tpid": 0x8100}])


if __name__ == "__main__":
    unittest.main()
