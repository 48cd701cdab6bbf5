"""Send packets: octets, or scapy's where it is installed."""

from service import provision_internet
from vorn_onu import Onu

try:
    from scapy.layers.inet import IP, UDP
    from scapy.layers.l2 import Ether

    ether = Ether(src="02:00:5e:00:00:01", dst="02:00:5e:00:00:02")
    packet = ether / IP(src="127.0.0.1", dst="192.0.2.1") / UDP(dport=53) / b"question"
except ImportError:
    packet = bytes.fromhex("02005e000002 02005e000001 0800") + bytes.fromhex(
        "45000024 00010000 40110000 7f000001 c0000201 00350035 00100000"
    ) + b"question"

with Onu.start() as onu:
    provision_internet(onu)
    sent = onu.send(packet, at="sid0", leaves=[{"at": "gpondef", "gemPort": 1001, "tags": [{"vid": 100}]}])
    wire = sent.octets(sent.leaves[0])
    print("on the PON:", wire.hex(" ", 4))
    assert wire[12:18].hex() == "810000640800", "the service tag is in front of the type"
    assert wire.endswith(b"question")

    back = onu.send(wire, at="gem 1001", leaves=[{"at": "sid0", "tags": []}])
    assert back.octets(back.leaves[0]) == bytes(packet)
