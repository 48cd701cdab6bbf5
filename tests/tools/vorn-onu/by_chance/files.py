"""Files that the tool reads: dumps of messages in the forms that logs have, captures with something wrong in them, layouts."""

from by_chance.chance import Chances


def dump(text, name):
    """The messages of a text in other forms, some of them cut, longer, or in Ethernet frames."""
    chance = Chances(name)
    one_of = chance.one_of
    lines = []
    for digits in text.split()[:120]:
        octets = [digits[at:at + 2] for at in range(0, len(digits), 2)]
        kind = chance(8)
        if kind == 0:
            octets = octets[:one_of(3, 7, 8, 9, 39, 40)]
        elif kind == 1:
            octets += ["00"] * one_of(1, 4, 8)
        elif kind == 2:
            tags = [one_of("8100", "88a8", "9100", "0800") + "0014" for _ in range(chance(6))]
            header = "021122334455" + "021122334456" + "".join(tags) + one_of("88b5", "88b5", "0800")
            octets = [header[at:at + 2] for at in range(0, len(header), 2)] + octets
        form = chance(6)
        if form < 2:  # a dump with offsets
            row, width, wrong = one_of(16, 16, 8, 32), one_of(2, 3, 4, 8, 9), chance(6)
            for at in range(0, len(octets), row):
                offset = f"{one_of('', '0x')}{at + (wrong == 0 and at > 0):0{width}x}{one_of('', ':')}"
                lines.append(f"{offset}  {' '.join(octets[at:at + row])}{one_of('', '  |..D...|', '  # text', '  ab')}")
            lines += [""] * chance(2)
        elif form == 2:
            lines.append(one_of(":", "-", ",", ";").join(octets))
        elif form == 3:
            lines.append(" ".join(one_of("0x", "0X", "") + octet for octet in octets))
        elif form == 4:
            lines.append(one_of("olt: ", "12:00:01 tx be ef ", "add ", "2026 ", "// ", "x " * 23, "x " * 24) + "".join(octets))
        else:
            lines.append("".join(octets)[:-1 if chance(3) == 0 else None].upper() + one_of("", " ; text", " // text"))
    return "\n".join(lines) + "\n"


LINKS = (1, 1, 1, 113, 147, 162, 163, 146, 276, 101, 228)


def damaged(capture, name):
    """A capture of another link, with other lengths, types and octets, or cut somewhere."""
    chance = Chances(name)
    octets = bytearray(capture)
    octets[20:24] = chance.one_of(*LINKS).to_bytes(4, "little")
    at = 24
    while at + 16 <= len(octets):
        size = int.from_bytes(octets[at + 8:at + 12], "little")
        if chance(5) == 0:
            place = at + 16 + chance(40)
            octets[min(place, len(octets) - 1)] ^= 1 << chance(8)
        if chance(40) == 0:
            octets[at + 8 + chance(8)] ^= 1 << chance(8)
        at += 16 + size
    return bytes(octets[:chance(len(octets))] if chance(3) == 0 else octets)


PIECES = (b"", b"{", b"}", b"[", b"]", b",", b":", b'"', b"\\", b"\\u12", b"\\ud800", b"\n", b"/* x */", b"// x\n", b"\xff", b"\xc3\xbc", b"\xe2\x80\xae", b"\0", b"1e999", b"-", b"nul",
          b"0x10", b"{}" * 70, b"[" * 600, b'"title": 1, ', b"\t", b"\xf4\x90\x80\x80")


def broken(text, name):
    """JSON with something in it, or instead of some of it, that does not belong there."""
    chance = Chances(name)
    octets = text.encode()
    at = chance(len(octets) + 1)
    return octets[:at] + chance.one_of(*PIECES) + octets[at + chance(4):]


INSTANCE_LISTS = {
    "ethernetPorts": ("0x0501..0x0504", "0x0101,0x0103", "257..258", "0x0201", "5..4", "0..300", "1..99999"),
    "veips": ("0x0701", "0x0601..0x0602", "0x060", ""), "ani": ("0x8005", "0x8001,0x8002", "x"),
    "tConts": ("0x8001..0x8008", "0x8010..0x8011", "0x8000", "0..0xFFFE", "0xFFFF", "0x8000..", "1,,2"),
    "upstreamQueues": ("0x8000..0x803F", "0x9000..0x900F", "0x8000..0x8002", "1..8", "0x8000"),
    "downstreamQueues": ("0..39", "0x0100..0x0109", "1..7", "0x8000..0x8027"),
    "tcont": ("1",),  # no such key
}


def layout(name):
    """KEY=VALUE words."""
    chance = Chances(name)
    keys = [key for key in INSTANCE_LISTS if chance(3) == 0 and key != "tcont"] or [chance.one_of(*INSTANCE_LISTS)]
    return " ".join(f"{key}={chance.one_of(*INSTANCE_LISTS[key])}" for key in keys)
