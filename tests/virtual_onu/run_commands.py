#!/usr/bin/env python3
"""A program on a device: runs each line of a file in the shell, as daemons do, or asks the kernel itself.

    run_commands.py FILE      lines: "wait" (for SIGUSR1; a child goes on), "read PATH", "write PATH TEXT", "change PATH TEXT" (what it reads, then writes and reads with one
                              descriptor), "list PATH", "ioctl REQUEST DEVICE VALUE" (of a network device, VALUE in hexadecimal digits),
                              "addresses OCTETS" (that the list of them may take), "other LINE" (another process on this board does
                              it), a word of WORDS with its function's arguments, else a command
"""

import array
import ctypes
import fcntl
import os
import select
import signal
import socket
import struct
import sys

SIOCGIFCONF = 0x8912


def wait(_):
    signal.signal(signal.SIGUSR1, lambda *_: None)
    signal.pause()
    while os.fork() > 0:
        signal.pause()


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


def each(*works):
    """What they answer, or are refused with."""
    results = []
    for work in works:
        try:
            results.append(work())
        except OSError as error:
            results.append(f"errno {error.errno}")
    return results


def file(flags, path, text):
    one = os.open(path, int(flags, 8), 0o640)
    copies = []
    return each(lambda: os.read(one, 9), lambda: os.write(one, text.encode()), lambda: os.lseek(one, 0, os.SEEK_SET),
                lambda: copies.extend((os.dup(one), os.dup2(one, 77, False))), lambda: os.write(copies[0], b"7"),
                lambda: os.lseek(one, 0, os.SEEK_SET), lambda: os.read(copies[1], 400), lambda: os.ftruncate(one, 2),
                lambda: oct(os.fstat(one).st_mode), lambda: os.dup2(0, copies[1], False) == copies[1],
                lambda: os.dup2(copies[0], one, False) == one, lambda: os.dup2(one, 0, False), lambda: os.write(0, b"8"),
                lambda: os.dup2(copies[1], 0, False),
                lambda: os.close(copies[0]), lambda: os.close(one), lambda: os.close(copies[1]))


def c_library():
    libc = ctypes.CDLL(None, use_errno=True)
    for name in ("fopen", "fgets", "popen"):
        getattr(libc, name).restype = ctypes.c_void_p
    ctypes.set_errno(0)
    return libc


def piped(*words):
    """A command's output, as popen() gives it, and how it ended."""
    libc, line, text = c_library(), ctypes.create_string_buffer(100), b""
    one = ctypes.c_void_p(libc.popen(" ".join(words).encode(), b"r"))
    if not one:
        return f"errno {ctypes.get_errno()}"
    while libc.fgets(line, 100, one):
        text += line.value
    return [libc.pclose(one), text]


def stream(mode, path, text):
    libc = c_library()
    one = ctypes.c_void_p(libc.fopen(path.encode(), mode.encode()))
    if not one:
        return f"errno {ctypes.get_errno()}"
    line = ctypes.create_string_buffer(40)
    return [libc.fputs(text.encode(), one) >= 0, libc.fflush(one), libc.rewind(one) and 0, libc.fgets(line, 40, one) is None, line.value,
            libc.fclose(one), ctypes.get_errno()]


def closed_in_a_range(path):
    """What the next file that gets the descriptor is to those who use it."""
    one = os.open(path, os.O_RDWR)
    os.closerange(one, one + 1)
    others = [os.open("/dev/null", os.O_RDWR)]
    while others[-1] != one and len(others) < 50:  # a thread of the board had it
        others.append(os.open("/dev/null", os.O_RDWR))
    try:
        return each(lambda: os.read(others[-1], 5), lambda: os.write(others[-1], b"5"), lambda: oct(os.fstat(others[-1]).st_mode))
    finally:
        for other in others:
            os.close(other)


def opened(way, path, text):
    """By one of the C library's functions; with copies of the descriptor."""
    libc = c_library()
    one = getattr(libc, way)(*[-100] * ("at" in way), path.encode(), os.O_RDWR)  # from the working directory
    if one < 0:
        return f"errno {ctypes.get_errno()}"
    copy = fcntl.fcntl(one, fcntl.F_DUPFD, 60)
    results = [libc.dup3(one, 79, os.O_CLOEXEC), libc.dup3(one, one, 0), libc.dup3(one, 79, 0), libc.close_range(one, one, 4), libc.close_range(9, 8, 0)]
    results += each(lambda: os.read(79, 9), lambda: os.write(copy, text.encode()), lambda: os.lseek(one, 0, os.SEEK_SET), lambda: os.read(79, 40),
                    lambda: fcntl.fcntl(79, fcntl.F_GETFD), lambda: os.fsync(one))
    return results + [libc.close(number) for number in (copy, 79, one)]


def listed(way, path):
    libc, names = c_library(), ctypes.c_void_p()
    count = getattr(libc, way)(path.encode(), ctypes.byref(names), None, None)
    return count if count >= 0 else f"errno {ctypes.get_errno()}"


def look(path):
    return each(lambda: oct(os.stat(path).st_mode), lambda: os.lstat(path).st_size, lambda: os.access(path, os.R_OK))


def packet(device, octets):
    frame = bytes.fromhex(octets)
    with socket.socket(socket.AF_PACKET, socket.SOCK_RAW) as one, socket.socket(socket.AF_PACKET, socket.SOCK_DGRAM) as other:
        return each(lambda: one.send(frame), lambda: one.sendto(frame, (device, 0x800)), lambda: one.bind((device, 0)), lambda: one.send(frame),
                    lambda: os.write(one.fileno(), frame), lambda: os.write(os.dup(one.fileno()), frame), lambda: other.send(frame))


def character_device(path, request):
    one, record = os.open(path, os.O_RDWR), bytearray(b"x" * 300)
    return each(lambda: fcntl.ioctl(one, int(request, 16), record), record.hex, lambda: os.write(one, b"5"), lambda: os.read(one, 5),
                lambda: os.close(one))


def kit(function, *words):
    """A function of the device kit: numbers, names, records as "x" and hexadecimal digits. What it answers, the records after it."""
    records = [ctypes.create_string_buffer(bytes.fromhex(word[1:]), 1100) for word in words if word.startswith("x")]
    left = iter(records)
    result = getattr(ctypes.CDLL(None), function)(*(
        next(left) if word.startswith("x") else ctypes.c_uint32(int(word)) if word.isdigit() else word.encode() for word in words))
    return [result, *(record.raw.rstrip(b"\0").hex() for record in records)]


def message(entity, header, claimed, octets):
    """Sent on the bus, which the gateway answers or not; what can be received afterwards."""
    libc, handle, no_handle, number, block = c_library(), ctypes.c_void_p(), ctypes.c_void_p(1), ctypes.c_int(-1), ctypes.c_void_p()
    kind, flags, destination = (int(one, 16) for one in header.split("/"))
    head = struct.pack("<IIIH14sI", kind, int(entity), destination, flags, bytes(range(14)), int(claimed))
    results = [libc.cmsMsg_init(int(entity), ctypes.byref(handle)), libc.cmsMsg_send(no_handle, head), libc.cmsMsg_getEventHandle(no_handle, None),
               libc.cmsMsg_receiveWithTimeout(no_handle, None, 0), libc.cmsMsg_send(handle, head + bytes.fromhex(octets).ljust(int(claimed), b"\0")),
               libc.cmsMsg_getEventHandle(handle, ctypes.byref(number))]
    is_asked = destination == 21 and flags & 2 and kind in (0x10002250, 0x10002254) and results[4] == 0
    results.append(select.select([number.value], [], [], 2 if is_asked else 0)[0] != [])
    for wait in (2000 if is_asked else 20, 0):
        results.append(libc.cmsMsg_receiveWithTimeout(handle, ctypes.byref(block), wait))
        if results[-1] == 0:
            length = ctypes.string_at(block, 32)[28:]
            results.append(ctypes.string_at(block, 32 + struct.unpack("<I", length)[0]).hex())
            libc.cmsMem_free(block)
        results.append(select.select([number.value], [], [], 0)[0] != [])
    return results


others = []


def other(*words):
    """Another process does it, which has a copy of the board and lives on."""
    if not others:
        own, its = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        if os.fork() == 0:
            own.close()
            for line in iter(lambda: its.recv(4000).decode(), ""):
                its.send(str(result_of(line)).encode())
            os._exit(0)
        its.close()
        others.append(own)
    others[0].send(" ".join(words).encode())
    return others[0].recv(200000).decode()


WORDS = {"other": other, "file": file, "stream": stream, "look": look, "piped": piped, "range": closed_in_a_range, "packet": packet, "device": character_device, "kit": kit, "message": message, "opened": opened, "listed": listed,
         "wait": wait, "remove": os.remove, "rename": os.rename, "list": lambda path: " ".join(sorted(one.name + "/" * one.is_dir() for one in os.scandir(path))),
         "name": lambda index: socket.if_indextoname(int(index))}


def result_of(line):
    word, _, rest = line.partition(" ")
    try:
        if word in WORDS:
            return WORDS[word](*rest.split(" "))
        if word == "read":
            with open(rest, encoding="ascii") as file:
                return file.read()
        if word == "write":
            path, _, text = rest.partition(" ")
            with open(path, "w", encoding="ascii") as file:
                file.write(text)
            return "written"
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
while others:
    others.pop().close()
    os.wait()
