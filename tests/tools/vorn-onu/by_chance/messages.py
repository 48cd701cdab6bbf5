"""What an OLT asks for."""

import functools
import struct

from by_chance.chance import chances


@functools.lru_cache(maxsize=None)
def asked_in(capture):
    """An OLT's messages in a capture of Ethernet frames, without transaction and check sequence."""
    data, at, messages = capture.read_bytes(), 24, []
    while at < len(data):
        size = struct.unpack_from("<I", data, at + 8)[0]
        one = data[at + 30:at + 16 + size]
        if one[2] & 0x60 == 0x40:
            messages.append(one[2:40] if one[3] == 0x0A else one[2:10 + struct.unpack_from(">H", one, 8)[0]])
        at += 16 + size
    return messages


def session(captures, name):
    """What an OLT asks for in two of the captures, one behind the other, with some more between: asked for again, of another capture,
    with other octets, entities taken away, looked at and set."""
    chance = chances(name)
    everything = [one for capture in captures for one in asked_in(capture)]
    asked = []
    for own in (captures[chance(len(captures))], captures[chance(len(captures))]):
        for one in asked_in(own)[len(asked) > 0:]:  # reset once
            asked.append(one)
            if chance(3) > 0:
                continue
            one = asked[chance(len(asked))] if chance(2) == 0 else everything[chance(len(everything))]
            kind = chance(7)
            if kind < 3:  # an octet of the content, or of the instance, is another
                at = 4 + chance(len(one) - 4) if kind > 0 else 5
                one = one[:at] + bytes([chance(256) if kind > 1 else one[at] ^ 1 << chance(8)]) + one[at + 1:]
            elif kind < 6:  # delete, get, set instead
                one = bytes([(0x46, 0x49, 0x48)[kind - 3]]) + one[1:]
            asked.append(one)
    return "".join((struct.pack(">H", place) + one).hex() + "\n" for place, one in enumerate(asked, 1))


OCTETS = [0, 0, 0, 1, 2, 3, 4, 8, 64, 127, 128, 255]
INSTANCES = [0, 1, 1, 1, 1, 0x0101, 0x0101, 0x0601, 0x8000, 0xFFFF]
# What a new ONU has: class, instance.
OWN = [(2, 0), (5, 0x0101), (6, 0x0101), (7, 0), (7, 1), (11, 0x0101), (11, 0x0102), (131, 0), (133, 0), (134, 0), (256, 0), (257, 0),
       (262, 0x8000), (262, 0x8001), (263, 0x8001), (264, 0x0101), (277, 0), (277, 0x8000), (278, 0x8000), (287, 0), (329, 0x0601), (332, 0)]


def messages(classes, made, name):
    """Messages of both sets and of all kinds, to entities of all classes; MADE are those that an OLT makes."""
    chance = chances(name)
    lines = [(struct.pack(">HBBHH", 1, 0x4F, 0x0A, 2, 0) + bytes(32)).hex()]
    known = OWN.copy()
    for number in range(2, 400):
        kind = (0x44, 0x44, 0x46, 0x48, 0x48, 0x48, 0x49, 0x49, 0x5D, 0x40 | chance(32))[chance(10)]
        if kind == 0x4F:
            continue
        likely = 1 + chance(6)
        content = bytes(chance(256) if chance(12) == 0 else OCTETS[chance(2 * likely)] for _ in range(32))
        if kind in (0x48, 0x49):
            content = struct.pack(">H", 0x8000 >> chance(12) | (0x8000 >> chance(16) if chance(3) == 0 else 0)) + content[2:]
        entity = classes[chance(len(classes))], INSTANCES[chance(len(INSTANCES))]
        if kind == 0x44 and chance(8) > 0:
            entity = made[chance(len(made))], entity[1]
            known.append(entity)
        elif chance(8) > 0:  # most likely there
            entity = known[chance(len(known))]
        header = struct.pack(">HBBHH", number, kind, 0x0A, *entity)
        if chance(3) == 0:  # extended
            content = content[:1 + chance(32)]
            header = header[:3] + b"\x0b" + header[4:] + struct.pack(">H", len(content))
        lines.append((header + content).hex())
    return "\n".join(lines) + "\n"
