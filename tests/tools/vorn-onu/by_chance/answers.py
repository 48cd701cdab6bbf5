"""Requests of an OLT that had begun before, with what another ONU answered, and with codes behind both that are right or wrong."""

import struct

from by_chance.chance import Chances

CREATE, DELETE, SET, GET, GET_NEXT, START = 4, 6, 8, 9, 26, 19
CLASSES = (2, 11, 45, 47, 84, 130, 171, 256, 262, 263, 266, 268, 272, 277, 280, 309, 329, 400)
POLYNOMIAL = 0x04C11DB7


def crc(data):
    value = 0xFFFFFFFF
    for byte in data:
        value ^= byte << 24
        for _ in range(8):
            value = value << 1 & 0xFFFFFFFF ^ (POLYNOMIAL if value >> 31 else 0)
    return struct.pack(">I", value ^ 0xFFFFFFFF)


def framed(bare, wrong=0):
    """With the trailer of the baseline set."""
    frame = bare + struct.pack(">I", 0x28)
    code = bytearray(crc(frame))
    code[3] ^= wrong
    return frame + code


def answered(name, count=60):
    chance, lines = Chances(name), []
    has_codes = chance(2) == 0

    def add(transaction, kind, entity, content):
        if chance(5) == 0:  # of the extended set, with some padding behind
            frame = struct.pack(">HBBHHH", transaction, kind, 0x0B, *entity, len(content)) + content
            lines.append((frame + (crc(frame) if has_codes else bytes(4)) + bytes(chance(6))).hex())
            return
        bare = struct.pack(">HBBHH", transaction, kind, 0x0A, *entity) + content[:32].ljust(32, b"\0")
        lines.append(framed(bare, chance(4) == 0).hex() if has_codes else bare.hex())

    for number in range(count):
        kind = chance.one_of(CREATE, DELETE, SET, SET, SET, GET, GET, GET_NEXT, START)
        entity = chance.one_of(*CLASSES), chance.one_of(0, 1, 2, 0x0101, 0x8001, 0x8000)
        mask = struct.pack(">H", chance(65536))
        octets = bytes(chance(256) for _ in range(24))
        add(100 + number, kind | 0x40, entity, (b"" if kind in (CREATE, DELETE) else mask) + octets * (kind != DELETE))
        if chance(6) == 0:  # told by itself
            add(0, chance.one_of(16, 17, 27), entity, mask + octets)
        result = chance(11)
        if result < 10:
            values = mask + octets if kind in (GET, GET_NEXT) else mask if result == 9 or chance(2) == 0 else b""
            add(100 + number + (chance(9) == 0), kind | 0x20, entity, bytes([result]) + values)
    return "\n".join(lines) + "\n"
