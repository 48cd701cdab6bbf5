"""What ONUs cost by the hundred: each a process of `vorn-onu omci --listen`, provisioned one after the other with four internet
services by the tests' OLT.

    python3 bench/fleet.py VORN-ONU [--onus 2000] [--messages 100000] [--idle 60]

--messages: so many more go to the first ONU, whose memory is looked at again. --idle: for so many seconds nobody speaks, and
the wake-ups of all threads of ten ONUs are counted.
"""

import argparse
import os
import pathlib
import statistics
import struct
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "omci"))
from live_session import BRIDGE, CREATE, DELETE, GAL, GET, ONU_DATA, SET, Olt  # noqa: E402

SERVICES = 4
FIRST_PORT = 20000
WATCHED = 10


class Measured(Olt):
    """Knows how long each answer took, in milliseconds."""

    def __init__(self, address):
        super().__init__(address)
        self.took = []

    def ask(self, kind, entity, instance, content=b""):
        begin = time.perf_counter()
        answer = super().ask(kind, entity, instance, content)
        self.took.append((time.perf_counter() - begin) * 1000)
        self.transaction %= 0x7FFF
        return answer


class Onu:
    def __init__(self, tool, number, environment):
        self.begin = time.perf_counter()
        port = FIRST_PORT + number
        self.process = subprocess.Popen(
            [tool, "omci", "--listen", f"udp:127.0.0.1:{port}", "--quiet", "--name", f"onu-{number}", "--serial", f"VORN{number:08X}"],
            stdout=subprocess.DEVNULL, env=environment)
        self.olt = Measured(("127.0.0.1", port))

    def ready(self):
        """Milliseconds from its start to its first answer."""
        while True:
            if self.process.poll() is not None:
                raise SystemExit(f"an ONU has ended with {self.process.returncode}")
            try:
                self.olt.send(GET, ONU_DATA, 0, b"\x80\x00")
                if self.olt.receive(1.0) is not None:
                    return (time.perf_counter() - self.begin) * 1000
            except ConnectionRefusedError:
                time.sleep(0.0005)

    def memory(self):
        """Kibibytes: private, and its share of what several have."""
        private = share = 0
        with open(f"/proc/{self.process.pid}/smaps_rollup", encoding="ascii") as lines:
            for line in lines:
                if line.startswith("Private_"):
                    private += int(line.split()[1])
                elif line.startswith("Pss:"):
                    share = int(line.split()[1])
        return private, share

    def wake_ups(self):
        count = 0
        for task in os.listdir(f"/proc/{self.process.pid}/task"):
            with open(f"/proc/{self.process.pid}/task/{task}/status", encoding="ascii") as lines:
                count += sum(int(line.split()[1]) for line in lines if line.startswith("voluntary"))
        return count

    def processor_seconds(self):
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as line:
            fields = line.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def exchange(olt, count):
    bridge = struct.pack(">BBBHHHHBB", 0, 1, 1, 0x8000, 0x1400, 0x0200, 0x0F00, 0, 0)
    for number in range(count):
        sizes = struct.pack(">HH", 0x8000, 48 + number // 4 % 2)
        requests = (GET, ONU_DATA, 0, b"\x80\x00"), (SET, GAL, 1, sizes), (CREATE, BRIDGE, 77, bridge), (DELETE, BRIDGE, 77)
        olt.ask(*requests[number % 4])


def row(what, figure, goal="", met=""):
    print(f"| {what} | {figure} | {goal} | {met} |", flush=True)


def judged(what, value, text, goal, goal_text):
    row(what, text, goal_text, "yes" if value <= goal else "**no**")


def measure(onus, arguments, make):
    ready = []
    for number in range(arguments.onus):
        onus.append(make(number))
        ready.append(onus[-1].ready())
    fresh = [onu.memory()[0] for onu in onus]
    begin = time.perf_counter()
    for onu in onus:
        for service in range(SERVICES):
            onu.olt.provision(service)
    seconds = time.perf_counter() - begin
    took = sorted(one for onu in onus for one in onu.olt.took)
    private, share = zip(*(onu.memory() for onu in onus))
    print("| what | figure | goal | met |\n| --- | --- | --- | --- |")
    row("ONUs", f"{arguments.onus}, load {os.getloadavg()[0]:.1f}")
    judged("ready, median", statistics.median(ready), f"{statistics.median(ready):.1f} ms", 20, "20 ms")
    row("ready, the slowest", f"{max(ready):.0f} ms")
    row("private memory of one that is new", f"{statistics.median(fresh) / 1024:.2f} MiB")
    judged(f"with {SERVICES} services, the largest", max(private),
           f"{max(private) / 1024:.2f} MiB (median {statistics.median(private) / 1024:.2f})", 2048, "2 MiB")
    row("memory of all together", f"{sum(share) / 1024:.0f} MiB, of it private {sum(private) / 1024:.0f}")
    row("messages a second, one after the other", f"{len(took) / seconds:.0f} ({len(took)} in {seconds:.1f} s)")
    row("an answer, median and 99 of 100", f"{took[len(took) // 2]:.2f} ms, {took[len(took) * 99 // 100]:.2f} ms")
    row("the slowest answer", f"{took[-1]:.1f} ms")
    if arguments.messages:
        exchange(onus[0].olt, arguments.messages)
        late = onus[0].memory()[0]
        judged(f"after {arguments.messages} messages more", late, f"{late / 1024:.2f} MiB", 2048, "2 MiB")
    if arguments.idle:
        watched = onus[:WATCHED]
        before = [(onu.wake_ups(), onu.processor_seconds(), onu.memory()[0]) for onu in watched]
        time.sleep(arguments.idle)
        woken = [(onu.wake_ups() - one[0]) / arguments.idle for onu, one in zip(watched, before)]
        busy = [(onu.processor_seconds() - one[1]) / arguments.idle for onu, one in zip(watched, before)]
        grown = [onu.memory()[0] - one[2] for onu, one in zip(watched, before)]
        judged(f"wake-ups a second of an idle one, the most of {len(watched)}", max(woken) - 0.1, f"{max(woken):.2f}", 1, "1")
        row(f"memory that it gained in {arguments.idle} s, processor time a second",
            f"{max(grown)} KiB, {statistics.mean(busy) * 1000:.2f} ms")


def main():
    words = argparse.ArgumentParser(description="What ONUs cost by the hundred.")
    words.add_argument("tool")
    words.add_argument("--onus", type=int, default=2000)
    words.add_argument("--messages", type=int, default=100000)
    words.add_argument("--idle", type=int, default=60)
    arguments = words.parse_args()
    onus = []
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        environment = dict(os.environ, TMPDIR=folder, XDG_RUNTIME_DIR=folder)
        try:
            measure(onus, arguments, lambda number: Onu(os.path.abspath(arguments.tool), number, environment))
        finally:
            for onu in onus:
                onu.process.terminate()
            for onu in onus:
                onu.process.wait(60)


if __name__ == "__main__":
    main()
