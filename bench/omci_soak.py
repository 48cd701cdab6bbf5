#!/usr/bin/env python3
"""Memory and answer times of a live ONU: python3 bench/omci_soak.py VORN-ONU [MESSAGES]

Starts `vorn-onu omci --listen` with a state file that is written every second, sends requests one after the other (set,
get, create and delete, all of them with a CRC-32) and prints memory and answer times as it goes.
"""
import os
import socket
import struct
import subprocess
import sys
import tempfile
import time

CRC_TABLE = []
for byte in range(256):
    value = byte << 24
    for _ in range(8):
        value = (value << 1 ^ (0x04C11DB7 if value & 0x80000000 else 0)) & 0xFFFFFFFF
    CRC_TABLE.append(value)


def crc32(data):
    state = 0xFFFFFFFF
    for byte in data:
        state = (state << 8 & 0xFFFFFFFF) ^ CRC_TABLE[state >> 24 ^ byte]
    return state ^ 0xFFFFFFFF


def frame(transaction, kind, entity, instance, content=b""):
    data = struct.pack(">HBBHH", transaction, 0x40 | kind, 0x0A, entity, instance)
    data += content.ljust(32, b"\0") + b"\0\0\0\x28"
    return data + struct.pack(">I", crc32(data))


def requests():
    """What is sent again and again: a bridge comes and goes, the alloc-ID of a T-CONT changes, the ONU is read."""
    create, delete, setting, get = 4, 6, 8, 9
    while True:
        yield create, 45, 7, bytes([0, 1, 1, 0x80, 0, 0x14, 0, 2, 0, 0x0F, 0, 0, 0, 0, 0, 0, 0])
        for alloc in (1024, 1025):
            yield setting, 262, 0x8003, struct.pack(">HH", 0x8000, alloc)
        yield get, 256, 0, b"\xe0\0"
        yield get, 263, 0x8001, b"\0\x20"
        yield delete, 45, 7, b""


def memory_kb(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))


def main():
    tool, count = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 1000000
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "onu")
        with subprocess.Popen([tool, "omci", "--listen", "unix:" + path, "--quiet", "--json",
                               os.path.join(folder, "state.json")]) as onu:
            line = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
            line.bind(os.path.join(folder, "olt"))
            line.settimeout(30)
            while not os.path.exists(path):
                time.sleep(0.05)
            line.connect(path)
            times, sent = [], 0
            for kind, entity, instance, content in requests():
                transaction = sent % 0x7FFF + 1
                begin = time.perf_counter()
                line.send(frame(transaction, kind, entity, instance, content))
                answer = line.recv(2048)
                while answer[:2] != struct.pack(">H", transaction):
                    answer = line.recv(2048)
                times.append((time.perf_counter() - begin) * 1000)
                sent += 1
                if sent in (1000, 10000) or sent % 100000 == 0 or sent == count:
                    times.sort()
                    print(f"{sent} messages: {memory_kb(onu.pid) / 1024:.1f} MB, answers {times[len(times) // 2]:.3f} ms, "
                          f"99 % below {times[len(times) * 99 // 100]:.3f} ms, longest {times[-1]:.2f} ms", flush=True)
                    times = []
                if sent >= count:
                    break
            onu.terminate()


main()
