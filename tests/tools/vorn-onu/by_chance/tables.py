"""An OLT that writes rows of all tables, and reads the tables back."""

import struct

from by_chance.chance import Chances
from by_chance.messages import number16, tagging_row

PORT = struct.pack(">HBBHHHBBBBHB", 1, 1, 1, 0x0101, 0, 1, 0, 0, 0, 0, 0, 0)
MADE = [(45, 1, b"\0\1\0"), (47, 9, PORT), (171, 7, b"\x02\x01\x01"), (171, 8, b"\x0a\x06\x01"), (309, 3, b"\x02\0\0"),
        (309, 4, b"\x03\1\1"), (310, 9, b"\0\0\3"), (310, 8, b"\0\xff\xff"), (311, 9, b"\0"), (268, 5, b"\x0f\xff\x80\0\x02"),
        (281, 4, b"\0\5\0"), (47, 8, b"\0\1\2\6\0\4" + bytes(10))]
# Entity, attribute, octets of a row.
TABLES = [((171, 7), 6, 16), ((171, 8), 6, 16), ((171, 7), 10, 28), ((309, 3), 7, 24), ((309, 3), 8, 24), ((309, 4), 7, 24),
          ((310, 9), 6, 20), ((310, 9), 7, 22), ((310, 8), 6, 20), ((281, 4), 9, 12), ((49, 9), 1, 8), ((49, 8), 1, 8)]
READ_ONLY = [((309, 3), 9, 10), ((311, 9), 5, 24), ((311, 9), 6, 58), ((50, 9), 1, 8)]


def row_of(chance, entity, attribute, size):
    one_of = chance.one_of
    kind = entity[0]
    if (kind, attribute) == (171, 6):
        return tagging_row(chance)
    if kind in (309, 310):  # action, part, only a test; which row
        control = one_of(1, 1, 1, 1, 1, 2, 0, 3) << 14 | one_of(0, 0, 0, 1, 2, 3) << 11 | one_of(0, 0, 0, 0, 1) << 10 | one_of(1, 2, 3, 513)
        begin = number16(control) + number16(one_of(0x0FFF, 1001, 4096, 4097, 0xFFFF, 20))
        if kind == 309:
            begin += struct.pack(">HIII", one_of(0, 100, 101, 0x0FFF), one_of(0, 0, 0x0A000001),
                                 0xE0000001 + chance(3), 0xE0000010 + chance(3)) + struct.pack(">I", chance(70000))
        else:
            begin += struct.pack(">HIH", chance(300), chance(1 << 20), one_of(3, 4, 5))
    elif kind == 281:
        first, last = one_of((0xE0000000 + chance(9), 0xEFFFFF00 + chance(9)), (0, 0), (0, 1), (1 << 24, 0))
        begin = struct.pack(">HHII", one_of(0x0FFF, 1001), chance(3), first, last)
    elif kind == 49:
        begin = bytes([1 + chance(3), one_of(1, 1, 1, 1, 0, 2, 3) << 6 | chance(4), 0, 0x1B, 2, 3, 4, chance(3)])
    else:
        begin = struct.pack(">I", one_of(1, 1, 1, 1, 2, 3, 0) << 30 | chance(4) << 28 | one_of(1, 2, 3, 0x8000) << 12 | chance(3))
    return (begin + bytes(chance(8) for _ in range(size - len(begin)))) if chance(3) > 0 else begin.ljust(size, b"\0")


class Messages:
    def __init__(self):
        self.lines = []

    def add(self, kind, entity, content, extended=False):
        header = struct.pack(">HBBHH", len(self.lines) + 1, kind, 0x0B if extended else 0x0A, *entity)
        self.lines.append((header + (number16(len(content)) + content if extended else content.ljust(32, b"\0"))).hex())

    def read(self, entity, attribute, parts, extended):
        mask = number16(0x8000 >> (attribute - 1))
        self.add(0x49, entity, mask, extended)
        for part in range(parts):
            self.add(0x5A, entity, mask + number16(part), extended)


def tables(name):
    """Eighty rows: in a baseline message, in an extended one, several at once; some of another size. Now and then what is there by then."""
    chance, asked = Chances(name), Messages()
    asked.add(0x4F, (2, 0), b"")
    for kind, instance, values in MADE:
        asked.add(0x44, (kind, instance), values)
    likely = [TABLES[chance(len(TABLES))] for _ in range(4)]
    for _ in range(80):
        entity, attribute, size = likely[chance(4)] if chance(3) > 0 else TABLES[chance(len(TABLES))]
        rows = [row_of(chance, entity, attribute, size) for _ in range(chance.one_of(1, 1, 2, 3))]
        rows = b"".join(rows)[chance(20) == 0:]
        mask = number16(0x8000 >> (attribute - 1) | (chance(25) == 0))
        if chance(2) == 0:
            asked.add(0x48, entity, mask + rows[:size])
        else:
            asked.add(chance.one_of(0x5D, 0x5D, 0x48), entity, mask + rows, True)
        if chance(4) == 0:
            asked.read(entity, attribute, chance.one_of(1, 2, 3), chance(2) == 0)
    for entity, attribute, size in TABLES + READ_ONLY:
        asked.read(entity, attribute, 1 + (size > 20), True)
    return "\n".join(asked.lines) + "\n"
