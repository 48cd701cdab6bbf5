"""An OLT that an ONU knows by its address and by the code behind its messages, whose answers come to harm, and who can read the capture."""

import http.client
import json
import re
import socket
import struct

from by_chance.answers import crc
from inputs import message

GET, UPLOAD, UPLOAD_NEXT = 0x49, 0x4D, 0x4E
# Faults, what is asked for then, and how many of the answers come later than others; None: none comes.
HARM = (
    ("drop=2", (GET,) * 3, 0), ("duplicate=2", (GET,) * 3, 0), ("damage=1", (GET,) * 2, 0), ("delay=2 delayMs=1500", (GET,) * 3, 2),
    ("drop=1 duplicate=2 damage=2 delay=1 delayMs=1500", (GET,) * 4, 2), ("drop=65534", (), None), ("drop=2", (GET,), None), ("clear", (GET,), 0),
    ("unknownClass=400", (UPLOAD, (UPLOAD_NEXT, 0), (UPLOAD_NEXT, -2), (UPLOAD_NEXT, -1), (UPLOAD_NEXT, 1)), 0),
    ("clear", (UPLOAD, (UPLOAD_NEXT, 0), (UPLOAD_NEXT, -1)), 0), ("dataSync=250", (GET,), 0), ("dataSync=9", (GET,), 0),
    ("reboot", (GET,), 0),
)


class Exchange:
    def __init__(self, board, own, other, place, has_codes):
        """OWN, OTHER: sockets, of which the ONU takes messages of the first; PLACE: where it listens."""
        self.board, self.own, self.other, self.place, self.has_codes = board, own, other, place, has_codes
        self.transaction, self.parts = 0x7000, 0

    def send(self, bare, sender=None, wrong=0):
        frame = bare + struct.pack(">I", 0x28) if bare[3] == 0x0A else bare
        code = bytearray(crc(frame) if self.has_codes else 4)
        code[3] ^= wrong
        (sender or self.own).sendto(frame + code, self.place)

    def next(self):
        """A datagram that was asked for."""
        while (answer := self.own.recv(4000))[:2] == b"\0\0":
            pass
        return answer

    def ask(self, bare):
        """All that comes until the last answer has."""
        self.send(bare)
        return self.until(bare[:2])

    def until(self, transaction):
        answers = [self.next()]
        while answers[-1][:2] != transaction:
            answers.append(self.next())
        return answers

    def requests(self, kinds):
        for kind in kinds:
            self.transaction += 1
            kind, part = kind if isinstance(kind, tuple) else (kind, None)
            content = b"\x80\0" if kind == GET else b"" if part is None else struct.pack(">H", part if part >= 0 else self.parts + part)
            yield bytes.fromhex(message(self.transaction, kind, content))

    def harmed(self, fault, kinds, late):
        shown = self.board.ask("at", "live", "fault", *("clear" if fault == "clear" else f"omci {fault}").split())
        answers = []
        for request in self.requests(kinds):
            self.send(request)
            if request[2] == UPLOAD:
                answers += self.until(request[:2])
                self.parts = struct.unpack_from(">H", answers[-1], 8)[0]
        if late is not None:
            answers += self.ask(*self.requests((GET,)))
            answers += [self.next() for _ in range(late)]
        return "\n".join((shown, *sorted(answer.hex() for answer in answers), self.board.ask("at", "live", "show")))

    def texts(self, lines):
        yield from (answer.hex() for line in lines for answer in self.ask(bytes.fromhex(line)))
        for wrong in (1, 0, 0):  # its answer again
            self.send(bytes.fromhex(lines[-1]), wrong=wrong)
        self.send(bytes.fromhex(lines[-1]), self.other)
        yield from (answer.hex() for answer in self.ask(*self.requests((GET,))))
        yield from (self.harmed(*harm) for harm in HARM)
        for link in ("down", "up"):  # which the ONU tells by itself: the operational state and an alarm
            self.board.ask("at", "live", "board", f"links.sid1={link}")
            yield from sorted(self.own.recv(4000).hex() for _ in range(2))
        yield from (self.board.ask("at", "live", *words) for words in (("omci", "-v"), ("omci", "--last", "3", "--json"), ("metrics",)))


def metrics(printed):
    place = re.search(r"metrics: http://([\d.:]+)/", printed)
    for path, method, headers in (("/metrics", "GET", {}), ("/nothing", "GET", {}), ("/metrics", "POST", {}),
                                  ("/metrics", "GET", {"Host": "example.org"})) if place else ():
        connection = http.client.HTTPConnection(place[1], timeout=20)
        connection.request(method, path, None, headers)
        answer = connection.getresponse()
        yield f"{method} {path} {answer.status} {answer.getheader('Content-Type')}\n{answer.read().decode()}"


def packets(capture):
    """Of a capture file; those that the ONU has told by itself, at some time, are the last."""
    at, by_itself = 0, set()
    while at < len(capture):
        kind, length = struct.unpack_from("<II", capture, at)
        block = capture[at + 8:at + length - 4]
        if kind != 6:
            yield block.hex()
        elif block[34:36] != b"\0\0":
            yield block[:4].hex() + " " + block[12:].hex()
        else:
            by_itself.add(block[12:].hex())
        at += length
    yield from sorted(by_itself)
