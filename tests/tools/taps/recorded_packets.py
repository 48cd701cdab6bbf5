#!/usr/bin/env python3
"""What the board makes of packets that Linux hands over, down to the last octet and what is left for the hardware, is what it was.

    recorded_packets.py SOURCE_DIR VORN_ONU [--renew | --text NAME]    (tests/support/record.py)

Two network namespaces with a TAP of the board in each. Behind each packet comes one that marks its end. 77, a test left out: without the
rights, or where the kernel does not leave segments of UDP to a TAP (Linux 6.2).
"""

import contextlib
import ctypes
import functools
import json
import os
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
import record  # noqa: E402

RECORD = pathlib.Path(__file__).with_suffix(".txt")
LEFT_OUT = 77
LEAVES_UDP = (6, 2)  # Linux, to a TAP
SOL_PACKET, PACKET_AUXDATA, PACKET_VNET_HDR, PACKET_IGNORE_OUTGOING, CLONE_NEWNET = 263, 8, 15, 23, 0x40000000
NEEDS_CHECKSUM, TCP4, TCP6, UDP, ECN = 1, 1, 4, 5, 0x80
LAN, PON = bytes.fromhex("06000000aa01"), bytes.fromhex("06000000aa02")
IPV4, IPV6 = 0x0800, 0x86DD


def payload(octets):
    return bytes(7 * one % 251 for one in range(octets))


def ip4(protocol, transport, options=b"", fragment=0x4000):
    """With its checksum."""
    head = bytearray(struct.pack(">BBHHHBBH4s4s", 0x45 + len(options) // 4, 0xB8, 20 + len(options) + len(transport), 77, fragment, 64, protocol, 0,
                                 bytes((10, 9, 0, 1)), bytes((10, 9, 0, 2))) + options)
    total = sum(struct.unpack(f">{len(head) // 2}H", head))
    struct.pack_into(">H", head, 10, ~(total % 0xFFFF) & 0xFFFF)
    return bytes(head) + transport


def ip6(protocol, transport, extension=b""):
    first = 0 if extension else protocol
    return struct.pack(">IHBB16s16s", 0x6B800000, len(extension) + len(transport), first, 64, b"\xfd" + bytes(14) + b"\1", b"\xfd" + bytes(14) + b"\2") + (
        bytes((protocol,)) + extension[1:] if extension else b"") + transport


def tcp(octets, flags=0x18):
    return struct.pack(">HHIIBBHHH", 4000, 80, 0xFFFFF000, 5, 0x50, flags, 4096, 0, 0) + payload(octets)


def udp(octets):
    return struct.pack(">HHHH", 4000, 5000, 8 + octets, 0) + payload(octets)


def kinds():
    """EtherType, packet, and what is left to be done: flags, kind of segments, octets of headers, of a segment, where the checksum begins, and where it is."""
    for octets in (0, 1, 5, 6, 7, 18, 26, 46, 100, 1472):
        yield IPV4, ip4(17, udp(octets)), (0,) * 6
        yield IPV4, ip4(17, udp(octets)), (NEEDS_CHECKSUM, 0, 0, 0, 20, 6)
    for octets in (0, 6, 18, 1440):
        yield IPV6, ip6(6, tcp(octets)), (NEEDS_CHECKSUM, 0, 0, 0, 40, 16)
    yield 0x0806, bytes(28), (0,) * 6
    yield 0x88B6, payload(1500), (0,) * 6
    yield IPV4, ip4(6, tcp(10), fragment=0x2000), (0,) * 6
    for octets, size in ((1400, 100), (1401, 100), (1499, 100), (3000, 1448), (2896, 1448), (60000, 1448), (100, 100), (24, 6), (13, 6), (1, 1), (200, 1)):
        for flags, more in ((0x18, 0), (0x19, 0), (0x98, ECN), (0x10, 0)):
            yield IPV4, ip4(6, tcp(octets, flags)), (NEEDS_CHECKSUM, TCP4 | more, 40, size, 20, 16)
        yield IPV4, ip4(6, tcp(octets), b"\1\1\1\1", 0), (NEEDS_CHECKSUM, TCP4, 44, size, 24, 16)
        yield IPV6, ip6(6, tcp(octets)), (NEEDS_CHECKSUM, TCP6, 60, size, 40, 16)
        yield IPV6, ip6(6, tcp(octets), bytes((6, 0, 1, 4, 0, 0, 0, 0))), (NEEDS_CHECKSUM, TCP6, 68, size, 48, 16)
        yield IPV4, ip4(17, udp(octets)), (NEEDS_CHECKSUM, UDP, 28, size, 20, 6)
        yield IPV6, ip6(17, udp(octets)), (NEEDS_CHECKSUM, UDP, 48, size, 40, 6)
    yield IPV4, ip4(6, tcp(900)), (NEEDS_CHECKSUM, TCP4, 0, 100, 20, 16)
    yield IPV4, ip4(6, tcp(900)), (0, TCP4, 40, 100, 0, 0)


TAGS = ((), ((0x8100, 0x6064),), ((0x8100, 7),), ((0x88A8, 0x1F4), (0x8100, 0x6007)))
BOARDS = {"untagged": ("real-packets", ((), TAGS[1])), "VLAN 100": ("real-dhcp", TAGS[:3]), "S-tag": ("qinq", TAGS[1:])}
# How the TAPs were made beforehand.
ENDS = {"with offload": (None, None), "offload at the port": (None, "mode tap"), "offload at the PON": ("mode tap", None)}


class Namespace:
    def __init__(self, end):
        self.process = subprocess.Popen(["unshare", "--net", "sleep", "1000"], stderr=subprocess.DEVNULL)
        end.callback(self.process.wait)
        end.callback(self.process.kill)
        self.path = f"/proc/{self.process.pid}/ns/net"
        while os.readlink(self.path) == os.readlink("/proc/self/ns/net"):
            if self.process.poll() is not None:
                sys.exit(LEFT_OUT)
            time.sleep(0.01)
        self.run("sh", "-c", "echo 1 > /proc/sys/net/ipv6/conf/default/disable_ipv6")  # nobody but the test sends

    def run(self, *words):
        subprocess.run(["nsenter", f"--net={self.path}", *words], check=True)

    def socket(self, interface):
        libc = ctypes.CDLL(None, use_errno=True)
        with open("/proc/thread-self/ns/net", encoding="ascii") as own, open(self.path, encoding="ascii") as other:
            libc.setns(other.fileno(), CLONE_NEWNET)
            try:
                one = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0)
            finally:
                libc.setns(own.fileno(), CLONE_NEWNET)
        for option in (PACKET_VNET_HDR, PACKET_AUXDATA, PACKET_IGNORE_OUTGOING):
            one.setsockopt(SOL_PACKET, option, 1)
        one.bind((interface, 3))  # ETH_P_ALL
        one.settimeout(PATIENCE)
        return one


TO = {"up": PON + LAN, "down": LAN + PON}
MARK, FIRST_TRY, PATIENCE = 50, 1 << 16, 20


def mark_of(board, way, number):
    """A packet that the board lets pass."""
    tags = {"untagged": (), "VLAN 100": ((0x8100, 100),) if way == "down" else (), "S-tag": TAGS[2] if way == "up" else (TAGS[3][0], *TAGS[2])}[board]
    front = TO[way] + b"".join(struct.pack(">HH", *tag) for tag in tags)
    return bytes(10) + front + (struct.pack(">HI", 0x88B5, number) + bytes(MARK))[:MARK]


def begun(sender, receiver, board, way):
    """Waits until the board has seen that both links are up, and for the last mark that was sent, so that none comes later."""
    receiver.settimeout(0.1)
    for number in range(FIRST_TRY, FIRST_TRY + 200):
        sender.send(mark_of(board, way, number))
        with contextlib.suppress(TimeoutError):
            came(receiver, mark_of(board, way, number)[-MARK:])
            break
    receiver.settimeout(PATIENCE)


def came(receiver, mark):
    """Each packet up to the mark: what is left to be done, its tag as the kernel has it, its octets."""
    packets = []
    while True:
        octets, extra, _, _ = receiver.recvmsg(70000, 100)
        if mark in octets:
            return packets
        tag = [struct.unpack("=IIIHHHH", data)[5:] for level, kind, data in extra if level == SOL_PACKET and kind == PACKET_AUXDATA]
        packets.append(f"  {octets[:10].hex()} {tag} {octets[10:90].hex()} {len(octets)} {record.sha256(octets)}")


def as_sent(front, kind, packet, left):
    """Behind the record of what is left to be done, whose numbers count from the frame's first octet."""
    flags, cut, headers, size, begin, where = left
    ahead = len(front) + 2
    return struct.pack("=BBHHHH", flags, cut, headers and headers + ahead, size, begin and begin + ahead, where) + front + struct.pack(">H", kind) + packet


class Board:
    def __init__(self, end, tool, source, board, ends):
        customer, operator = Namespace(end), Namespace(end)
        scenario = BOARDS[board][0]
        document = json.loads((source / "scenarios" / f"{scenario}.json").read_text())
        document["steps"] = [step for step in document["steps"] if "call" in step]
        folder = pathlib.Path(end.enter_context(tempfile.TemporaryDirectory()))
        (folder / "board.json").write_text(json.dumps(document))
        for place, interface, kind in ((customer, "lan0", ENDS[ends][0]), (operator, "pon0", ENDS[ends][1])):
            if kind:
                place.run("ip", "tuntap", "add", "dev", interface, *kind.split())
        port = "sid1" if scenario == "qinq" else "sid2"
        name = f"packets-{os.getpid()}-{list(BOARDS).index(board)}-{list(ENDS).index(ends)}"
        running = subprocess.Popen([tool, "run", "board.json", "--stay", "--name", name, "--tap", f"{port}=lan0@{customer.path}",
                                    "--tap", f"gem 1001=pon0@{operator.path}"], cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        end.callback(running.wait)
        end.callback(running.terminate)
        self.at = [tool, "at", name]
        printed = ""
        while "the board stays" not in printed:
            if not (line := running.stdout.readline()):
                sys.exit(f"the board does not begin: {printed}")
            printed += line
        for place, interface in ((customer, "lan0"), (operator, "pon0")):
            place.run("ip", "link", "set", interface, "up")
        lan, pon = (end.enter_context(place.socket(interface)) for place, interface in ((customer, "lan0"), (operator, "pon0")))
        self.ways = {"up": (lan, pon), "down": (pon, lan)}
        for way, (sender, receiver) in self.ways.items():
            begun(sender, receiver, board, way)

    def asked(self, *words):
        return subprocess.run([*self.at, *words], capture_output=True, check=True, text=True).stdout

    def taps(self):
        """Once the counters stand: the last packet may be there before it is counted."""
        texts = [self.asked("show", "--json")]
        while texts[-1:] != texts[-2:-1]:
            time.sleep(0.05)
            texts.append(self.asked("show", "--json"))
        return json.loads(texts[-1])["taps"]

    def metrics(self):
        return {key: int(value) for key, value in re.findall(r"^(vorn_onu_tap\w+\{.*\}) (\d+)$", self.asked("metrics"), re.MULTILINE)}


def text_of(tool, source, board, ends):
    with contextlib.ExitStack() as end:
        onu = Board(end, tool, source, board, ends)
        before, counted = onu.taps(), onu.metrics()
        lines = []
        for number, (way, vlans, (kind, packet, left)) in enumerate(
                (way, vlans, one) for way in onu.ways for vlans in BOARDS[board][1] for one in kinds()):
            sender, receiver = onu.ways[way]
            lines.append(f"{way} {vlans} {kind:x} {len(packet)} {left}")
            try:
                sender.send(as_sent(TO[way] + b"".join(struct.pack(">HH", *tag) for tag in vlans), kind, packet, left))
            except OSError as error:
                lines.append(f"  errno {error.errno}")
            sender.send(mark_of(board, way, number))
            lines += came(receiver, mark_of(board, way, number)[-MARK:])
        for now, then in zip(onu.taps(), before):
            lines.append(f"{now['port']} {now['offload']}, {now['lastDrop']}, {now['lastElsewhere']} " + str(
                {key: value - then[key] for key, value in now.items() if isinstance(value, int)}))
        lines += [re.sub("/proc/[0-9]+", "PROCESS", f"{key} {value - counted[key]}") for key, value in onu.metrics().items()]
    return "\n".join(lines) + "\n"


def can_run():
    """By what the machine has alone: a board without offload is a fault, where the kernel has it."""
    release = tuple(map(int, re.match(r"(\d+)\.(\d+)", os.uname().release).groups()))
    return (release >= LEAVES_UDP and os.access("/dev/net/tun", os.R_OK | os.W_OK) and os.geteuid() == 0 and
            all(map(shutil.which, ("ip", "nsenter", "unshare"))))


def main(source_dir, tool, *words):
    source, tool = pathlib.Path(source_dir).resolve(), pathlib.Path(tool).resolve()
    if not can_run():
        return LEFT_OUT
    return record.check(RECORD, {f"{board}, {ends}": functools.partial(text_of, tool, source, board, ends) for board in BOARDS for ends in ENDS}, words)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
