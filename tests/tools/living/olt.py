"""An OLT that speaks to an ONU of the tool by datagrams."""

import socket
import struct

NO_MESSAGES = ("", "00", "00" * 9, "0001480a01000000" + "00" * 20, "0002480a0100" + "00" * 60, "0003480b01000000ffff", "0004480b010000000003ff",
               "0005480a" + "00" * 40 + "01020304", "0006480c01000000" + "00" * 32, "ff" * 2000)
CREATE, GET, CURRENT = 0x44, 0x49, 0x5C
# Performance monitoring has the instance of an entity of that class.
MONITORED = {24: 11, 51: 45, 52: 47, 89: 11, 276: 272, 296: 11, 321: 47, 322: 47, 341: 268}
OWN = {11: {0x0101, 0x0102}}


class Olt:
    def __init__(self, folder, lines):
        """LINES: what it asks for first, in hexadecimal digits."""
        self.folder, self.lines, self.count = folder, lines, 0
        self.entities = {kind: set(some) for kind, some in OWN.items()}
        for line in lines:
            kind, _, owner, instance = struct.unpack_from(">BBHH", bytes.fromhex(line), 2)
            if kind == CREATE:
                self.entities.setdefault(owner, set()).add(instance)

    def asked(self, lines):
        """Asks, and answers what came back."""
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as own:
            self.count += 1
            own.bind(f"{self.folder}/asks{self.count}")
            own.settimeout(20)
            for line in lines:
                own.sendto(bytes.fromhex(line), f"{self.folder}/olt")
                while (answer := own.recv(2000))[:2] == b"\0\0":  # told by itself, at some time
                    pass
                yield answer.hex()

    def first(self):
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as own:
            for digits in NO_MESSAGES:
                own.sendto(bytes.fromhex(digits), f"{self.folder}/olt")
        yield from self.asked(self.lines)
        yield from self.asked(self.of_monitoring(CREATE, bytes(2)))

    def counted(self, kind):
        yield from self.asked(self.of_monitoring(kind, b"\xff\xff"))

    def of_monitoring(self, kind, content):
        """In the extended set, so that all attributes are in one answer."""
        every = [(of, instance) for of, owner in MONITORED.items() for instance in sorted(self.entities.get(owner, ()))]
        return [(struct.pack(">HBBHHH", kind << 7 | place, kind, 0x0B, *entity, len(content)) + content).hex()
                for place, entity in enumerate(every, 1)]
