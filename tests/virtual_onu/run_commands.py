#!/usr/bin/env python3
"""A program on a device: runs each line of a file in the shell, as daemons do, or reads, writes or lists a file of the device.

    run_commands.py FILE      lines: "read PATH", "write PATH TEXT", "list PATH", else a command
"""

import os
import sys


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
