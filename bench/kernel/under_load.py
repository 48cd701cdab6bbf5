"""What real packets cost others on a board: the round trip of a ping, and the time of the HAL's operations with and without TCP at full
rate through the board.

    PYTHONPATH=build/dev/python python3 bench/kernel/under_load.py VORN-ONU [SECONDS]

Needs root, iperf3, ping and /dev/net/tun.
"""

import json
import os
import pathlib
import re
import statistics
import subprocess
import sys
import time

from vorn_onu import Onu

SCENARIO = pathlib.Path(__file__).resolve().parents[2] / "scenarios/real-packets.json"
CUSTOMER, OPERATOR = f"customer{os.getpid()}", f"operator{os.getpid()}"
ADDRESS = "10.9.0.2"


def command(line):
    return subprocess.run(line.split(), capture_output=True, text=True, check=True).stdout


def operations(onu, seconds):
    """A bridge made and removed: milliseconds an operation, at the board's socket."""
    took = []
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        for call in (lambda: onu.call.configureBridge(bridgeId=9, uniPort=4), lambda: onu.call.deprovisionAniSideBridge(bridgeId=9)):
            begin = time.perf_counter()
            call()
            took.append((time.perf_counter() - begin) * 1000)
    took.sort()
    return f"{statistics.mean(took):.2f} ms, median {statistics.median(took):.2f}, 99 of 100 within {took[len(took) * 99 // 100]:.2f}"


def measure(onu, seconds):
    command(f"ip -n {CUSTOMER} addr add 10.9.0.1/24 dev lan0")
    command(f"ip -n {OPERATOR} addr add {ADDRESS}/24 dev pon0")
    command(f"ip netns exec {CUSTOMER} ping -c 3 -i 0.2 {ADDRESS}")
    ping = command(f"ip netns exec {CUSTOMER} ping -c 500 -i 0.01 -q {ADDRESS}")
    print("ping:", re.search(r"rtt .*", ping)[0])
    print("an operation:", operations(onu, seconds))
    with subprocess.Popen(f"ip netns exec {OPERATOR} iperf3 -s -1 -B {ADDRESS}".split(), stdout=subprocess.DEVNULL):
        time.sleep(0.5)
        with subprocess.Popen(f"ip netns exec {CUSTOMER} iperf3 -c {ADDRESS} -t {seconds + 2} -J".split(), stdout=subprocess.PIPE) as load:
            time.sleep(1)
            print("an operation under load:", operations(onu, seconds))
            print(f"load: {json.load(load.stdout)['end']['sum_received']['bits_per_second'] / 1e9:.1f} Gbit/s of TCP")


def main():
    os.environ["VORN_ONU"] = os.path.abspath(sys.argv[1])
    seconds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    try:
        for name in (CUSTOMER, OPERATOR):
            command(f"ip netns add {name}")
        with Onu.start(scenario=str(SCENARIO), taps={"sid2": f"lan0@{CUSTOMER}", "gem 1001": f"pon0@{OPERATOR}"}) as onu:
            measure(onu, seconds)
    finally:
        for name in (CUSTOMER, OPERATOR):
            subprocess.run(["ip", "netns", "del", name], check=False)


if __name__ == "__main__":
    main()
