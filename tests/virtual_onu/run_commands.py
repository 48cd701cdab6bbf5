#!/usr/bin/env python3
"""A program on a device: runs each line of a file in the shell, as daemons do, or asks the kernel itself.

    run_commands.py FILE      lines: "read PATH", "write PATH TEXT", "change PATH TEXT" (what it reads, then writes and reads with one
                              descriptor), "list PATH", "ioctl REQUEST DEVICE VALUE" (of a network device, VALUE in hexadecimal digits),
                              "addresses OCTETS" (that the list of them may take), else a command
"""

import array
import fcntl
import os
import socket
import struct
import sys

SIOCGIFCONF = 0x8912


def asked(request, argument):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as one:
        fcntl.ioctl(one, request, argument)


def change(path, text):
    file = os.open(path, os.O_RDWR)
    try:
        texts = [os.read(file, 40)]
        os.lseek(file, 0, os.SEEK_SET)
        texts.append(os.write(file, text.encode()))
        os.lseek(file, 0, os.SEEK_SET)
        texts.append(os.read(file, 40))
        return texts
    finally:
        os.close(file)


def network(request, device, value):
    argument = bytearray(device.encode().ljust(16, b"\0") + bytes.fromhex(value).ljust(24, b"\0"))
    asked(int(request, 16), argument)
    return f"{bytes(argument[:16])} {argument[16:].hex()}"


def addresses(octets):
    found = array.array("B", bytes(octets + 40))
    argument = bytearray(struct.pack("iP", octets, found.buffer_info()[0]))
    asked(SIOCGIFCONF, argument)
    return f"{struct.unpack('iP', argument)[0]} {found.tobytes().hex()}"


def result_of(line):
    word, _, rest = line.partition(" ")
    try:
        if word == "read":
            with open(rest, encoding="ascii") as file:
                return file.read()
        if word == "write":
            path, _, text = rest.partition(" ")
            with open(path, "w", encoding="ascii") as file:
                file.write(text)
            return "written"
        if word == "list":
            return " ".join(sorted(os.listdir(rest)))
        if word == "change":
            return change(*rest.split(" ", 1))
        if word == "ioctl":
            return network(*rest.split(" "))
        if word == "addresses":
            return addresses(int(rest))
    except OSError as error:
        return f"errno {error.errno}"
    return f"status {os.waitstatus_to_exitcode(os.system(line))}"


# Never on the host: it knows no runner.
if os.system("bs /bdmf/examine system") != 0 or "sid0" not in os.listdir("/sys/class/net"):
    sys.exit("this is no device: run it with vorn-onu exec")
with open(sys.argv[1], encoding="ascii") as commands:
    for one in commands.read().splitlines():
        sys.stdout.flush()
        print(f"{one}: ", end="", flush=True)
        print(result_of(one), flush=True)
