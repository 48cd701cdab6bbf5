"""An OLT that takes services apart and makes others of their parts."""

import struct

from by_chance.chance import Chances
from by_chance.messages import asked_in, number16, tagging_row

# Attributes that point at an entity of a class, or of several.
POINTERS = {47: [(1, (45,)), (4, (11, 130, 134, 266, 281, 329))], 130: [(2 + pbits, (266,)) for pbits in range(8)], 266: [(1, (268,))],
            268: [(2, (262,)), (4, (277,)), (6, (280,)), (9, (280,))], 281: [(1, (268,))], 310: [(2, (309,))], 171: [(7, (11, 47, 130, 266))],
            78: [(5, (11, 47, 130, 266))]}
# Of what the ONU has: some, to be pointed at.
OWN = {11: [0x0101, 0x0102, 0x0103], 134: [0], 262: [0x8000, 0x8001, 0x8002], 277: [0x8000, 0x8001, 0x8003, 0x800B, 7], 329: [0x0601],
       256: [0], 263: [0x8001]}
TYPES = {11: (1, 2), 47: (1, 0), 130: (3, 1), 134: (4, 3), 266: (5, 5), 281: (6, 6), 329: (11, 10)}  # TP type; association


def values(chance, kind):
    """Another attribute of the class, and octets for it."""
    one_of = chance.one_of
    flag = bytes([chance(2)])
    tcis = b"".join(number16(one_of(0, 3, 7) << 13 | one_of(20, 100, 101, 200, 310)) for _ in range(12))
    return {
        11: lambda: one_of((5, flag), (3, bytes([one_of(0, 1, 3, 4, 0x11, 0x12, 0x13, 0x14, 0x20, 0x30)])), (4, flag),
                           (8, number16(one_of(0, 1518, 1600))), (14, flag)),
        45: lambda: one_of((1, flag), (2, flag), (3, flag), (8, flag), (9, flag), (10, struct.pack(">I", one_of(0, 100, 300, 2_000_000)))),
        47: lambda: one_of((3, bytes([chance(13)])), (11, number16(7)), (12, number16(one_of(7, 8, 0xFFFF))), (13, flag)),
        78: lambda: one_of((1, bytes([chance(3)])), (2, number16(tcis[0] << 8 | 20)), (3, flag), (4, bytes([one_of(0, 2, 3, 5, 10, 11)]))),
        84: lambda: one_of((1, tcis), (2, bytes([chance(34)])), (3, bytes([chance(13)]))),
        130: lambda: one_of((10, flag), (12, bytes([chance(8)])), (13, bytes([one_of(0, 1, 2, 7)])),
                            (11, bytes(chance(256) if chance(5) == 0 else 0 for _ in range(24)))),
        134: lambda: one_of((1, bytes([one_of(0, 1, 8, 9, 10)])), (4, b"\x0a\0\0" + flag), (5, b"\xff\xff\xff\0"), (6, b"\x0a\0\0\x09")),
        171: lambda: one_of(*[(6, tagging_row(chance))] * 3, (1, bytes([one_of(0, 1, 2, 3, 5, 10)])), (5, bytes([chance(9)])),
                            (3, b"\x88\xa8"), (4, b"\x81\0"), (8, bytes(0x24 if at == 3 else 0 for at in range(24)))),
        256: lambda: (7, flag),
        262: lambda: one_of((1, number16(one_of(1024, 1030, 0x00FF, 0xFFFF))), (3, bytes([1 + chance(2)]))),
        266: lambda: (2, bytes([one_of(0, 1, 5, 6)])),
        268: lambda: one_of((1, number16(one_of(1001, 1002, 4094, 4095))), (3, bytes([one_of(1, 2, 3, 3)])), (10, bytes([chance(4)]))),
        277: lambda: one_of((8, bytes([1 + chance(90)])), (1, flag)),
        280: lambda: one_of((1, bytes(4)), (1, b"\0\1\0\0"), (2, bytes(4)), (2, b"\0\2\0\0")),
        309: lambda: one_of((2, bytes([chance(3)])), (3, flag), (5, bytes([chance(4)])), (6, bytes([0, 0, 0, chance(2)])),
                            (16, bytes([chance(3), 0, 20])),
                            (7 + chance(2), struct.pack(">HHHIIIIH", one_of(1, 1, 2, 3) << 14 | 1 + chance(3), 4095,
                                                        one_of(0, 310, 20), 0, 0xE1000001, 0xE1FFFFFF, 0, 0))),
        310: lambda: one_of((3, number16(chance(2))), (4, struct.pack(">I", chance(2))),
                            (6, struct.pack(">HHHIHQ", one_of(1, 1, 2) << 14 | 1, 4096, 0, 0, one_of(0x1032, 1), 0))),
        329: lambda: (1, flag),
    }[kind]()


def changes(captures, name):
    """Three captures, then sixty changes: of what is made, of where it points, of values; now and then all of it taken back."""
    chance = Chances(name)
    left = list(captures)
    asked = []
    for _ in range(3):
        asked += asked_in(left.pop(chance(len(left))))[len(asked) > 0:]
    for kind, instance, content in ((78, 0x0102, b"\1\0\x14\1\2\1\2"), (280, 7, bytes(8)), (280, 8, b"\0\1\0\0")):
        asked.append(struct.pack(">BBHH", 0x44, 0x0A, kind, instance) + content.ljust(32, b"\0"))
    created = [one for one in asked if one[0] == 0x44]
    made = {kind: own[:] for kind, own in OWN.items()}
    for one in created:
        made.setdefault(one[2] << 8 | one[3], []).append(one[4] << 8 | one[5])
    gone = []

    def put(entity, attribute, content):
        asked.append(struct.pack(">BBHHH", 0x48, 0x0A, *entity, 0x8000 >> (attribute - 1)) + content.ljust(30, b"\0"))

    for _ in range(60):
        if gone and chance(3) == 0:
            asked.append(gone.pop(chance(len(gone))))
        if chance(4) == 0:
            again = created[chance(len(created))]
            asked.append(bytes([0x46]) + again[1:6] + bytes(32))
            gone.append(again)
            continue
        kind = chance.one_of(*sorted(set(made) & {*POINTERS, 11, 45, 84, 134, 262, 256, 277, 280, 309, 329}))
        entity = kind, made[kind][chance(len(made[kind]))]
        if kind not in POINTERS or (kind != 281 and chance(2) == 0):
            put(entity, *values(chance, kind))
            continue
        attribute, targets = chance.one_of(*POINTERS[kind])
        target = chance.one_of(*(one for one in targets if one in made))
        put(entity, attribute, number16(chance.one_of(*made[target], 0xFFFF)))
        if len(targets) > 1:  # with the type
            put(entity, {47: 3, 171: 1, 78: 4}[kind], bytes([TYPES[target][kind != 47] if kind != 78 else
                                                             {11: 10, 47: 3, 130: 2, 266: 5}[target]]))
    return "".join((number16(place) + one).hex() + "\n" for place, one in enumerate(asked, 1))
