"""Board files with something wrong in them."""

import json
import re

from by_chance.chance import Chances

# Other values of a field, by what it holds.
OTHERS = {
    bool: [True, 0, None], int: [0, 1, -1, 1.5, "1", 68, 255, 256, 4095, 4096, 65535, 65536, 1 << 31, 1 << 32, (1 << 64) - 1, 1e30],
    str: ["", "sid0", "br5", "a/b", "0123456789abcdef", "\u00e9", "\u20ac", "02:00:00:00:00:01", "02:00:00:00:00:0G", "0g", "012", 5, None],
    list: [[], [5], ["sid0"], [{}], {}, "x"], dict: [{}, [], {"x": 1}, 5], float: [-1],
}
KEYS = ["", "0", "1", "01", "2x", "7", "8", "65536", "4294967296", "18446744073709551616", "sid0", "sid0 receive 1"]


def places(value):
    """Of everything within: what holds it, and its key there."""
    for key in value if isinstance(value, dict) else range(len(value)) if isinstance(value, list) else ():
        yield value, key
        yield from places(value[key])


def changed_board(text, name):
    """The lines of a board file, without their checksums; in a record of any section something is another, or is missing."""
    chance = Chances(name)
    text = re.sub(r'"bootId":"[^"]*', '"bootId":"00000000-0000-4000-8000-000000000000', text)  # another one each time
    lines = [json.loads(line) for line in text.splitlines()]
    for line in lines:
        line.pop("crc32", None)
    lines[0]["version"] = 1
    section = chance.one_of(*sorted({key for line in lines[1:] for key in line}))
    record = chance.one_of(*(line for line in lines[1:] if section in line))
    kind = chance(12)
    if kind == 0:
        lines.remove(record)
    elif kind == 1:
        record[section] = {chance.one_of(*KEYS): value for value in record[section].values()}
    elif kind == 2:
        lines.append({chance.one_of(section, "x", "run.x"): {chance.one_of(*KEYS): None}})
    else:
        parent, key = chance.one_of(*places(record))
        if kind == 3:
            del parent[key]
        elif kind == 4 and isinstance(parent[key], list):
            parent[key].extend(parent[key][-1:] or [0])
        elif kind == 4 and isinstance(parent, dict):
            parent[key + "s"] = parent[key]
        else:
            parent[key] = chance.one_of(*OTHERS.get(type(parent[key]), [5]))
    return "".join(json.dumps(line, separators=(",", ":")) + "\n" for line in lines)
