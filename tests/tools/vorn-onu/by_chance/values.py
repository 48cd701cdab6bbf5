"""An OLT that gives each attribute of each class values at all bounds, and looks at what has become of them."""

import re
import struct

from by_chance.messages import OWN, number16

NOT_THERE = {133, 278, 287, 288, 289, 290, 332, 441, 443}
FEW = [bytes([one]) for one in (*range(22), 32, 48, 127, 128, 129, 254, 255)]
WIDE = {2: [number16(one + more) for one in (0x0100, 0x0400, 0x0600, 0x0A00, 0x1E00, 0x2800, 0x00FF, 0x8100) for more in (-1, 0, 1)],
        3: [b"\x07\xff\xff", b"\x08\0\0"], 4: [b"\xff\xff\xff\xff", b"\x7f\0\0\1"]}
TEXTS = [b" \"a\\\x7f\x1f ~", b"\x56ORN\0\x12\xab\xff", b"V RN\0\x12\xab\xff", bytes(range(1, 31))]


def classes(files):
    """By class: who makes it, and attributes as number, size, format."""
    found = {}
    for file in files:
        tables, text = {}, file.read_text(encoding="utf-8")
        for name, rows in re.findall(r"AttributeInfo (k\w+Attributes)\[\] = \{(.*?)\n\};", text, re.DOTALL):
            tables[name] = [(int(number), int(size), form) for number, size, form in
                            re.findall(r"\{(\d+), \"[^\"]*\", (\w+), [^,]*, (k\w+)", rows.replace(" bytes,", " 8,"))]
        for number, maker, name in re.findall(r"\{(\d+),\s+\"[^\"]*\",\s+Maker::k(\w+).*?(k\w+Attributes)", text, re.DOTALL):
            found[int(number)] = maker, tables[name]
    return found


def values(files):
    lines = []
    known = {number: one for number, one in classes(files).items() if number not in NOT_THERE}

    def add(kind, entity, content):
        lines.append((struct.pack(">HBBHH", len(lines) % 0x7FFF + 1, kind, 0x0A, *entity) + content.ljust(32, b"\0")).hex())

    add(0x4F, (2, 0), b"")
    entities = {number: (number, next((instance for one, instance in OWN if one == number), 0x0101)) for number in sorted(known)}
    for number, (maker, attributes) in sorted(known.items()):
        if maker != "Onu":
            for content in (b"\xff" * 32, b"\1" * 32, b"", b"\0\1\1\1\1\1"):
                add(0x44, entities[number], content)
        for attribute, size, form in attributes:
            mask = number16(0x8000 >> (attribute - 1))
            if form != "kTable":
                for value in (FEW if size == 1 else [b"", *WIDE.get(size, TEXTS)]):
                    add(0x48, entities[number], mask + value)
            add(0x49, entities[number], mask)
    for entity in entities.values():
        add(0x46, entity, b"")
    return "\n".join(lines) + "\n"
