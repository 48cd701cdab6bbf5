#!/usr/bin/env python3
"""What a board makes of packets by chance at its TAPs, byte for byte, is what it was: frames of all kinds, and segments of TCP.

    recorded_packets.py SOURCE_DIR VORN_ONU [--renew | --text NAME]    (tests/support/record.py)

In a network namespace of its own; exit code 77 where there is none to be had.
"""

import functools
import os
import pathlib
import re
import selectors
import shutil
import socket
import struct
import subprocess
import sys
import tempfile

for folder in ("../../support", "../vorn-onu"):
    sys.path.insert(0, str((pathlib.Path(__file__).resolve().parent / folder).resolve()))
import record  # noqa: E402
from by_chance.chance import chances  # noqa: E402

RECORD = pathlib.Path(__file__).with_suffix(".txt")
SKIPPED = 77
OWN_NAMESPACE = "VORN_OWN_NAMESPACE"
# The ports, each with the tags of a frame that passes from there.
INTERNET = {"sid0": [], "gem 1001": [(0x8100, 100)], "gem 1002": [(0x8100, 0xA0C8)]}
BOARDS = {"scenarios/internet.json --after-step 20": INTERNET, "scenarios/internet.json --after-step 20 --forwarding g988": INTERNET,
          "scenarios/real-packets.json": {"sid2": [], "gem 1001": []}}
SOL_PACKET, PACKET_AUXDATA, PACKET_VNET_HDR, SO_RCVBUFFORCE, OUTGOING = 263, 8, 15, 33, 4
BATCHES, BATCH = 24, 12


def interface(board, number):
    """Boards run side by side."""
    return f"tap{list(BOARDS).index(board)}-{number}"


def ethernet(destination, source, tags, kind, content):
    return (bytes.fromhex(destination) + bytes.fromhex(source) + b"".join(struct.pack(">HH", *tag) for tag in tags) +
            struct.pack(">H", kind) + content)


def ip(version, protocol, content, tos=0):
    if version == 4:
        addresses = b"\xc0\0\2\1\xc0\0\2\2"
        return struct.pack(">BBHHHBBH8s", 0x45, tos, 20 + len(content), 7, 0x4000, 64, protocol, 0, addresses) + content
    return struct.pack(">IHBB16s16s", 6 << 28 | tos << 20, len(content), protocol, 64, bytes(15) + b"\1", bytes(15) + b"\2") + content


def packet(chance, own, others):
    """Header of the kind of virtio, frame."""
    def one_of(*values):
        return values[chance(len(values))]

    tags = [(one_of(0x8100, 0x8100, 0x88A8), one_of(0, 5) << 13 | one_of(20, 100, 200, 0, 7)) for _ in range(one_of(0, 0, 1, 2, 3))]
    if chance(2) == 0:
        tags = [*others] if chance(3) > 0 else [(0x8100, 20)]
    hosts = "02aa00000001", "02aa00000002", "02aa00000003"
    ends = one_of(*hosts, "ffffffffffff", "01005e010203", "0180c2000002"), hosts[own]
    content = bytes(chance(256) for _ in range(one_of(0, 1, 17, 46, 200)))
    version, kind = one_of((4, 0x0800), (6, 0x86DD))
    what = chance(8)
    if what < 2:  # segments: the checksum is left to others, as far as the pseudo header
        size, payload = one_of(100, 536, 1400), bytes(one_of(90, 1000, 3000, 9000))
        tcp = struct.pack(">HHIIBBHHH", 1, 2, 3000, 0, 0x50, 0x10, 100, 0x1234, 0) + payload
        frame = ethernet(*ends, tags, kind, ip(version, 6, tcp))
        start = len(frame) - len(tcp)
        several = len(payload) > size
        return struct.pack("<BBHHHH", 1, (1 if version == 4 else 4) if several else 0, start + 20, size if several else 0, start, 16), frame
    if what < 5:
        frame = ethernet(*ends, tags, kind, ip(version, one_of(6, 17, 2, 1), content, one_of(0, 0x28, 0xB8)))
    else:
        frame = ethernet(*ends, tags, one_of(0x0806, 0x8863, 0x8864, 0x88B5, 20), content)
    return bytes(10), frame


class Tap:
    """Seen from behind."""

    def __init__(self, name):
        self.socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0x0300)
        self.socket.setsockopt(SOL_PACKET, PACKET_VNET_HDR, 1)
        self.socket.setsockopt(SOL_PACKET, PACKET_AUXDATA, 1)
        self.socket.setsockopt(socket.SOL_SOCKET, SO_RCVBUFFORCE, 1 << 24)
        self.socket.bind((name, 0x0003))

    def take(self):
        """What came out as text; nothing for what is sent here. The kernel takes the first tag out."""
        frame, beside, _, address = self.socket.recvmsg(70000, 100)
        if address[2] == OUTGOING:
            return None, b""
        tci, tpid = struct.unpack_from("HH", beside[0][2], 16) if beside else (0, 0)
        header = frame[:2] + frame[4:10]  # without a length that the kernel fills in as it likes
        return f"{header.hex()} {tpid:04x}.{tci:04x} {frame[10:].hex()}", frame


def text_of(tool, source, options):
    with tempfile.TemporaryDirectory() as folder:
        taps = [word for number, port in enumerate(BOARDS[options]) for word in ("--tap", f"{port}={interface(options, number)}")]
        environment = {**{name: value for name, value in os.environ.items() if name.startswith("VORN_MUTANT")},
                       "PATH": os.environ["PATH"], "TMPDIR": folder, "HOME": folder}
        with tempfile.TemporaryFile("w+") as printed:
            board = subprocess.Popen([tool, "run", *options.split(), "--stay", "--name", interface(options, 0), *taps], env=environment,
                                     cwd=source, stdout=printed, stderr=subprocess.STDOUT)
            try:
                while board.poll() is None and "the board stays" not in pathlib.Path(f"/proc/self/fd/{printed.fileno()}").read_text():
                    pass
                text = "\n".join(carried(options))
                metrics = subprocess.run([tool, "at", interface(options, 0), "metrics"], env=environment, stdout=subprocess.PIPE,
                                         stderr=subprocess.STDOUT, text=True, check=False)
                return text + re.sub(r".*(_seconds|process_).*\n", "", metrics.stdout)
            finally:
                board.terminate()
                board.wait(20)


def carried(name):
    chance = chances(name)
    ports = BOARDS[name]
    for number in range(len(ports)):
        subprocess.run(["ip", "link", "set", interface(name, number), "up"], check=False)
    behind = {port: Tap(interface(name, number)) for number, port in enumerate(ports)}
    waiting = selectors.DefaultSelector()
    for port, tap in behind.items():
        waiting.register(tap.socket, selectors.EVENT_READ, port)
    for batch in range(BATCHES):
        number = batch % len(ports)
        port = list(ports)[number]
        mark = f"mark {batch:04}".encode()
        own = [packet(chance, number, ports[port]) for _ in range(BATCH)]
        own.append((bytes(10), ethernet("ffffffffffff", "02aa000000ff", ports[port], 0x0806, mark.ljust(46, b"\0"))))
        for header, frame in own:
            yield f"{port}: {header.hex()} {frame.hex()}"
            behind[port].socket.send(header + frame)
        came, done = {one: [] for one in ports}, False
        while not done or waiting.select(0):
            ready = waiting.select(5)
            if not ready:
                yield "no mark"
                return
            for key, _ in ready:
                text, frame = behind[key.data].take()
                done = done or text is not None and mark in frame
                if text is not None:
                    came[key.data].append(text)
        yield from (f"  {one}: {text}" for one, texts in came.items() for text in texts)


def main(source_dir, tool, *words):
    if not all(map(shutil.which, ("unshare", "ip"))):
        return SKIPPED
    if OWN_NAMESPACE not in os.environ:
        if subprocess.run(["unshare", "-n", "true"], check=False, stderr=subprocess.DEVNULL).returncode != 0:
            return SKIPPED
        return subprocess.run(["unshare", "-n", sys.executable, __file__, source_dir, tool, *words], check=False,
                              env={**os.environ, OWN_NAMESPACE: "1"}).returncode
    if subprocess.run(["ip", "tuntap", "add", "dev", "try0", "mode", "tap"], check=False).returncode != 0:
        return SKIPPED
    try:
        for where in ("all", "default"):  # the kernel says nothing of its own
            pathlib.Path(f"/proc/sys/net/ipv6/conf/{where}/disable_ipv6").write_text("1")
    except OSError:
        return SKIPPED
    source = pathlib.Path(source_dir).resolve()
    return record.check(RECORD, {one: functools.partial(text_of, str(pathlib.Path(tool).resolve()), source, one)
                                 for one in BOARDS}, words)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
