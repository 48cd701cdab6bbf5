"""Captures of frames as they come from a network: whole, cut short, with anything in their headers."""

import struct

from by_chance.chance import Chances

ADDRESSES = ["02005e00000a", "02005e00000b", "02005e000101", "ffffffffffff", "01005e010203", "01005e010203", "01005e000005", "333300010003",
             "333300010003", "333300000007", "0180c2000002"]
GROUPS = {4: ["ef010203", "ef810203", "e0000005", "e8010101", "00000000", "0a000005"],
          16: ["ff05" + "00" * 11 + "010003", "ff02" + "00" * 13 + "01", "ff0e" + "00" * 13 + "07", "00" * 16, "20010db8" + "00" * 12]}


def group_message(chance, size):
    """Of IGMP or MLD, SIZE octets an address."""
    one_of = chance.one_of
    group = bytes.fromhex(one_of(*GROUPS[size]))
    if chance(2) == 0:
        kind = one_of(0x11, 0x12, 0x16, 0x17, 0x13) if size == 4 else one_of(130, 131, 132, 133)
        if size == 4:
            return bytes([kind, one_of(0, 10, 100, 255), 0, 0]) + group + bytes(one_of(0, 0, 4, 8))
        return bytes([kind, 0, 0, 0]) + struct.pack(">HH", one_of(0, 1000, 65535), 0) + group + bytes(one_of(0, 0, 4))
    records = []
    for _ in range(chance(4)):
        sources, words = one_of(0, 0, 1, 2), one_of(0, 0, 1)
        records.append(bytes([one_of(0, 1, 2, 3, 4, 5, 6, 7), words]) + struct.pack(">H", sources) +
                       bytes.fromhex(one_of(*GROUPS[size])) + bytes(sources * size + words * 4))
    count = one_of(len(records), len(records) + 1, 1)
    return bytes([0x22 if size == 4 else 143, 0, 0, 0, 0, 0]) + struct.pack(">H", count) + b"".join(records)


def ip_packet(chance):
    """Its EtherType, its octets."""
    one_of = chance.one_of
    if chance(2) == 0:
        protocol, words = one_of(2, 2, 2, 6, 17, 0), one_of(0, 0, 1, 2)
        content = group_message(chance, 4) if protocol == 2 else bytes(chance(40))
        length = one_of(5 + words, 5 + words, 5 + words, 4, 15)
        return 0x0800, struct.pack(">BBHIBBHII", 0x40 | length, chance(256), 20 + 4 * words + len(content), 0, 64, protocol, 0, 1,
                                   2) + bytes(4 * words) + content
    protocol, options = one_of(58, 58, 58, 6, 17), chance(3)
    content = group_message(chance, 16) if protocol == 58 else bytes(chance(40))
    headers = b"".join(bytes([protocol, one_of(0, 0, 1, 255)]) + bytes(6) for _ in range(min(options, 1)))
    headers += bytes(8) if len(headers) > 1 and headers[1] == 1 else b""
    return 0x86DD, struct.pack(">IHBB", 0x60000000 | chance(1 << 28), len(headers) + len(content), 0 if options else protocol,
                               1) + bytes(32) + headers + content


def frame(chance):
    """Its octets."""
    one_of = chance.one_of
    octets = bytes.fromhex(one_of(*ADDRESSES) + one_of(*ADDRESSES[:3], *ADDRESSES[:3], "ffffffffffff"))
    for _ in range(one_of(0, 0, 0, 0, 0, 1, 2, 8)):
        octets += struct.pack(">HH", one_of(0x8100, 0x8100, 0x88A8, 0x9100), chance(1 << 16) if chance(2) else one_of(0, 7, 8))
    kind, payload = ip_packet(chance) if chance(5) else (one_of(0x0806, 0x8863, 0x88B5), bytes(chance(60)))
    octets += struct.pack(">H", kind) + payload + bytes(one_of(0, 0, 0, 0, 20, 1456))
    return octets[:chance(len(octets) + 1)] if chance(5) == 0 else octets


def capture(name):
    """As a pcap file."""
    chance = Chances(name)
    octets = struct.pack("<IHHIIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1)
    for _ in range(400):
        one = frame(chance)
        octets += struct.pack("<IIII", chance(1000), chance(1000000), len(one), len(one) + chance.one_of(0, 0, 0, 0, 1, 1450)) + one
    return octets
