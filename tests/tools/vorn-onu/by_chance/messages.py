"""What an OLT asks for."""

import functools
import struct

from by_chance.chance import Chances


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
    chance = Chances(name)
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
    chance = Chances(name)
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


def number16(value):
    return struct.pack(">H", value)


def tagging_row(chance):
    """A row of extended VLAN tagging with codes that have a meaning; now and then of all ones, which deletes it."""
    one_of = chance.one_of

    def part(priority, vid, tpid):
        return priority << 16 | vid << 3 | tpid

    tags = chance(3)
    filters = [part(one_of(8, 8, 0, 5, 14), one_of(4096, 4096, 20, 21, 100, 200), one_of(0, 4, 5, 6, 7)) if count < tags
               else part(15, 4096, 0) for count in range(2)]
    removed = one_of(*range(tags + 1), 3) if chance(6) == 0 else one_of(*range(tags + 1))
    added = chance(3)
    treatments = [part(one_of(0, 3, 8, 9, 10), one_of(100, 200, 321, 4096, 4097), one_of(0, 1, 2, 3, 4, 6, 7)) if count < added
                  else part(15, 0, 0) for count in range(2)]
    words = [filters[1] << 12, filters[0] << 12 | one_of(0, 0, 0, 1, 2, 4), removed << 30 | treatments[1], treatments[0]]
    return struct.pack(">IIII", *words) if chance(8) > 0 else struct.pack(">IIII", *words[:2], 0xFFFFFFFF, 0xFFFFFFFF)


def new_value(chance, entity, made):
    """An attribute of the entity, by its number, and another value for it."""
    one_of = chance.one_of
    kind, instance = entity
    flag, tpids = bytes([chance(2)]), (number16(one_of(0x8100, 0x88A8)), number16(one_of(0x8100, 0x88A8, 0x9100)))
    if kind == 171:  # extended VLAN tagging: TPIDs, downstream mode, a row
        return one_of((3, tpids[0]), (4, tpids[1]), (5, bytes([chance(9)])), *[(6, tagging_row(chance))] * 6)
    if kind == 84:  # VLAN filter: list, forward operation, how many
        tcis = b"".join(number16(one_of(0, 3, 7) << 13 | one_of(20, 100, 101, 200, 321)) for _ in range(12))
        return one_of((1, tcis), (2, bytes([chance(34)])), (3, bytes([chance(13)])))
    if kind == 130:  # mapper: where a p-bit goes, the unmarked frame option, the default p-bits
        return one_of((2 + chance(8), number16(one_of(*made.get(266, []), 0xFFFF))), (10, flag), (12, bytes([chance(8)])))
    if kind == 268:  # GEM port: number, T-CONT, queue
        return one_of((1, number16(one_of(1001, 1002, 1003))), (2, number16(0x8000 + chance(3))),
                      (4, number16(one_of(0x8000 + chance(24), 0xFFFF))))
    if kind == 47:  # bridge port: number, what it leads to
        return one_of((2, bytes([chance(20)])), (4, number16(one_of(*made.get(130, []), *made.get(266, []), 0x0102))))
    if kind == 262:  # T-CONT: alloc-id
        return 1, number16(one_of(1030, 1040) + instance % 8)
    return (5 if kind == 11 else 7), flag  # Ethernet port, ONU: locked or not


def provisioning(captures, name):
    """All that a capture asks for, then forty changes of what it has made: rows, filters, p-bit maps, queues, ports, T-CONTs."""
    chance = Chances(name)
    captures = [capture for capture in captures if capture.stem in ("internet", "priorities", "television")]  # ports with rows
    asked = asked_in(captures[chance(len(captures))])[:]
    created = [one for one in asked if one[0] == 0x44]
    made = {}
    for one in created:
        made.setdefault(one[2] << 8 | one[3], []).append(one[4] << 8 | one[5])

    def change(entity, attribute, content):
        return struct.pack(">BBHHH", 0x48, 0x0A, *entity, 0x8000 >> (attribute - 1)) + content.ljust(30, b"\0")

    asked += [change((262, 0x8000 + number), 1, number16(1040 + number)) for number in range(3)]
    for _ in range(40):
        kind = (171, 171, 171, 171, 171, 171, 84, 84, 130, 268, 47, 262, 11, 256, 0)[chance(15)]
        if kind == 0:  # something is taken away, and made again
            again = created[chance(len(created))]
            asked += [bytes([0x46]) + again[1:6] + bytes(32), again]
            continue
        known = made.get(kind, [0x8000 | chance(3) if kind == 262 else 0x0101 + chance(3) if kind == 11 else 0])
        entity = kind, known[chance(len(known))]
        asked.append(change(entity, *new_value(chance, entity, made)))
    asked += [change(entity, attribute, b"\0") for entity, attribute in (((256, 0), 7), *(((11, 0x0101 + port), 5) for port in range(4)))]
    return "".join((number16(place) + one).hex() + "\n" for place, one in enumerate(asked, 1))
