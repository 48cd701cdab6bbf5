"""The metrics of boards that run, read as Prometheus reads them: by a reader of the text format that knows nothing of the tool,
and by promtool where it is installed.

    metrics.py VORN_ONU EXAMPLE_DAEMON
"""

import collections
import http.client
import math
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import unittest

import live_session
from live_session import BRIDGE, CREATE, GEM, GEM_IW, GET, ONU_DATA, Living

DAEMON = ""
HELP = re.compile(r"# HELP ([a-zA-Z_:][a-zA-Z0-9_:]*) ((?:[^\\\n]|\\\\|\\n)+)")
TYPE = re.compile(r"# TYPE ([a-zA-Z_:][a-zA-Z0-9_:]*) (counter|gauge|histogram)")
LABEL = re.compile(r'([a-zA-Z_][a-zA-Z0-9_]*)="((?:[^"\\\n]|\\["\\n])*)"')
SAMPLE = re.compile(r"([a-zA-Z_:][a-zA-Z0-9_:]*)(?:\{(" + LABEL.pattern + r"(?:," + LABEL.pattern + r")*)\})? (\S+)")
# Base units, and what else may end a name.
UNITS = re.compile(r"(_(milli|micro|nano|kilo|mega)|_(ms|us|minutes|hours|bits|octets|kb|mb|percent)(_|$))", re.IGNORECASE)


class Metrics:
    """Families by name, samples by name and labels; a fault of the text is an AssertionError."""

    def __init__(self, text):
        self.types, self.values = {}, {}
        assert text.endswith("\n"), text[-80:]
        family = None
        for line in text.split("\n")[:-1]:
            if family is None or line.startswith("# HELP"):
                family = HELP.fullmatch(line)
                assert family and family.group(1) not in self.types, line
                self.types[family.group(1)] = None
            elif self.types[family.group(1)] is None:
                kind = TYPE.fullmatch(line)
                assert kind and kind.group(1) == family.group(1), line
                self.types[kind.group(1)] = kind.group(2)
            else:
                self.take(family.group(1), line)
        self.check_names()
        self.check_histograms()

    def take(self, family, line):
        sample = SAMPLE.fullmatch(line)
        assert sample, line
        name, labels = sample.group(1), tuple(sorted(LABEL.findall(sample.group(2) or "")))
        parts = ("_bucket", "_sum", "_count") if self.types[family] == "histogram" else ("",)
        assert name in [family + part for part in parts], f"{line} is among {family}"
        assert (name, labels) not in self.values, f"{line} is there twice"
        value = float(sample.group(sample.lastindex))
        assert math.isfinite(value) and value >= 0, line
        self.values[(name, labels)] = value

    def check_names(self):
        for name, kind in self.types.items():
            assert kind is not None, f"{name} has no type"
            assert name.startswith(("vorn_onu_", "process_")), name
            assert name.endswith("_total") == (kind == "counter"), f"{name} is a {kind}"
            assert not UNITS.search(name), f"{name} is in no base unit"

    def check_histograms(self):
        for name in (name for name, kind in self.types.items() if kind == "histogram"):
            assert name.endswith(("_seconds", "_bytes")), name
            series = collections.defaultdict(list)
            for (sample, labels), value in self.values.items():
                if sample == name + "_bucket":
                    rest = tuple(label for label in labels if label[0] != "le")
                    series[rest].append((float(dict(labels)["le"]), value))
            assert series, name
            for labels, buckets in series.items():
                assert buckets == sorted(buckets) and len(set(dict(buckets))) == len(buckets), buckets
                assert [count for _, count in buckets] == sorted(count for _, count in buckets), buckets
                assert buckets[-1] == (math.inf, self.values[(name + "_count", labels)]), buckets
                assert (self.values[(name + "_sum", labels)] > 0) == (buckets[-1][1] > 0), buckets

    def of(self, name, **labels):
        """0 for a sample that is not there: a counter that has never counted."""
        return self.values.get((name, tuple(sorted(labels.items()))), 0)

    def total(self, name):
        return sum(value for (sample, _), value in self.values.items() if sample == name)


def answer(address, host=None):
    """Status, type and text of /metrics at HOST:PORT, asked for by that name or another."""
    connection = http.client.HTTPConnection(address, timeout=60)
    connection.request("GET", "/metrics", headers={"Host": host} if host else {})
    reply = connection.getresponse()
    return reply.status, reply.getheader("Content-Type"), reply.read().decode()


class OfAnOnu(Living):
    options = ["--metrics", "0"]

    def metrics(self):
        return Metrics(self.at("metrics"))

    def test_what_an_olt_and_frames_do_is_counted(self):
        olt = self.olt
        olt.provision()
        self.assertEqual(olt.ask(CREATE, BRIDGE, 3, b"").result, 7)  # instance exists
        olt.socket.send(b"no message")
        olt.send(GET, ONU_DATA, 0, b"\x80\x00", transaction=0x700)
        olt.send(GET, ONU_DATA, 0, b"\x80\x00", transaction=0x700)
        self.assertEqual(olt.receive().frame, olt.receive().frame)
        before = self.metrics()
        requests = "vorn_onu_omci_requests_total"
        for kind, result, count in [("create", "success", 8), ("set", "success", 2), ("get", "success", 2),
                                    ("create", "instance exists", 1)]:
            self.assertEqual(before.of(requests, type=kind, result=result), count, (kind, result))
        self.assertEqual(before.total(requests), olt.sent)
        self.assertEqual(before.of("vorn_onu_omci_answer_duration_seconds_count"), olt.sent)
        self.assertEqual(before.of("vorn_onu_omci_repeated_requests_total"), 1)
        self.assertEqual(before.of("vorn_onu_omci_dropped_datagrams_total", reason="no_message"), 1)
        self.assertEqual(before.of("vorn_onu_omci_mib_data_sync"), 10)
        self.assertEqual(before.of("vorn_onu_omci_mib_entities", maker="olt"), 8)
        self.assertEqual(before.of("vorn_onu_services"), 1)
        self.assertEqual(before.of("vorn_onu_gem_ports"), 1)
        self.assertGreater(before.of("vorn_onu_hal_calls_total", operation="gemflow_add"), 0)
        self.assertGreater(before.of("vorn_onu_kit_calls_total", function="vlanCtl_insertTagRule"), 0)
        self.assertEqual(before.total("vorn_onu_kit_call_failures_total"), 0)
        self.assertEqual(before.total("vorn_onu_hal_call_failures_total"), 0)

        # One frame of each fate, each counted once, and nothing else.
        self.at("board", "links.sid0=down")
        frames = [("upstream", "forwarded", ["from=sid1", 'tags=[{"vid": 100}]']),
                  ("upstream", "rule", ["from=sid1"]),
                  ("upstream", "link_down", ["from=sid0"]),
                  ("upstream", "bridge", ["from=sid1", "source=00:00:00:00:00:00"]),
                  ("downstream", "forwarded", ["from=gem 1001", 'tags=[{"vid": 100}]']),
                  ("downstream", "rule", ["from=gem 1001", 'tags=[{"vid": 200}]']),
                  ("downstream", "no_gem_port", ["from=gem 1999"])]
        for direction, fate, words in frames:
            now = self.metrics()
            self.at("frame", *words, code=0 if fate == "forwarded" else 1)
            then = self.metrics()
            name = "vorn_onu_frames_total"
            rises = {labels: value - now.values[(sample, labels)]
                     for (sample, labels), value in then.values.items()
                     if sample == name and value != now.values[(sample, labels)]}
            self.assertEqual(rises, {(("direction", direction), ("fate", fate)): 1}, words)
        self.assertEqual([then.of("vorn_onu_port_up", port=port) for port in ("sid0", "sid1")], [0, 1])

        # A call that fails is a call too; no counter goes back.
        self.at("fault", "function=gponCtl_configGemPort", "code=5")
        olt.done(CREATE, GEM, 0x402, struct.pack(">HHBHHHHB", 1002, 0x8000, 3, 0x8000, 0xFFFF, 0, 0xFFFF, 0))
        olt.send(CREATE, GEM_IW, 0x402, struct.pack(">HBHHH", 0x402, 1, 3, 0xFFFF, 1))
        olt.receive()
        self.fault("drop=1")
        olt.send(GET, ONU_DATA, 0, b"\x80\x00")
        olt.done(GET, ONU_DATA, 0, b"\x80\x00")
        after = self.metrics()
        failures = {labels: value for (name, labels), value in after.values.items() if name.endswith("_call_failures_total") and value}
        self.assertEqual(failures, {(("function", "gponCtl_configGemPort"),): 1, (("function", "gponCtl_enableGemPort"),): 1,
                                    (("operation", "gemflow_add"),): 1})
        self.assertEqual(after.of("vorn_onu_omci_faulty_answers_total"), 1)
        for (name, labels), value in before.values.items():
            if before.types.get(name) == "counter" or name.endswith(("_bucket", "_sum", "_count")):
                self.assertGreaterEqual(after.values.get((name, labels), -1), value, (name, labels))

    def test_the_same_over_http(self):
        address = self.printed(r"metrics: http://(127\.0\.0\.1:\d+)/metrics\n")
        status, kind, text = answer(address)
        self.assertEqual((status, kind), (200, "text/plain; version=0.0.4; charset=utf-8"))
        names = set(Metrics(text).types)
        self.assertEqual(names, set(self.metrics().types))
        for host, expected in [("localhost:" + address.split(":")[1], 200), ("lab.example", 403), ("127.0.0.1:1", 403)]:
            self.assertEqual(answer(address, host)[0], expected, host)
        with self.page() as place:
            self.assertEqual(set(Metrics(answer(place)[2]).types), names)
            self.assertEqual(answer(place, "lab.example")[0], 403)

    def test_a_place_that_cannot_be_had_is_refused(self):
        taken = self.printed(r"metrics: http://127\.0\.0\.1:(\d+)/metrics\n")
        for place, why in [(taken, "Address already in use"), ("70000", "0 to 65535"), ("x", "must be a port"),
                           ("host:9464", "IPv4 address"), (":9464", "IPv4 address"), ("-1", "")]:
            done = subprocess.run([live_session.TOOL, "omci", "--listen", "udp:127.0.0.1:0", f"--metrics={place}"],
                                  capture_output=True, text=True, timeout=60, check=False)
            self.assertEqual(done.returncode, 2, place)
            self.assertIn(why, done.stderr)

    @unittest.skipUnless(shutil.which("promtool"), "promtool is not installed (Debian: prometheus)")
    def test_promtool_finds_nothing_to_say(self):
        self.olt.provision()
        done = subprocess.run(["promtool", "check", "metrics"], input=self.at("metrics"), capture_output=True, text=True,
                              timeout=60, check=False)
        self.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""))


class OfOthers(unittest.TestCase):
    """Boards that no OLT speaks to have no messages, and only those whose HAL is the tool's count its calls."""

    def test_each_board_has_what_it_can_count(self):
        scenarios = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../scenarios")
        cases = [  # a board, whether the HAL's calls are counted
            (["run", os.path.join(scenarios, "internet.json"), "--stay", "--name", "lab"], True),
            (["exec", "--quiet", "--name", "lab", "--", DAEMON, "--stay"], False),
        ]
        for words, counts_calls in cases:
            with self.subTest(words[0]), tempfile.TemporaryDirectory() as folder:
                os.chmod(folder, 0o700)
                environment = dict(os.environ, XDG_RUNTIME_DIR=folder, TMPDIR=folder, NO_COLOR="1")
                place = words.index("--name")
                with subprocess.Popen([live_session.TOOL, *words[:place], "--metrics", "0", *words[place:]], env=environment,
                                      stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True) as board:
                    try:
                        line = ""
                        while "metrics: " not in line:
                            line = board.stderr.readline()
                            self.assertTrue(line, "the board has ended")
                        over_http = self.until_service(re.search(r"http://([^/]+)/", line).group(1))
                        typed = Metrics(subprocess.run([live_session.TOOL, "at", "lab", "metrics"], env=environment, timeout=60,
                                                       stdout=subprocess.PIPE, text=True, check=True).stdout)
                    finally:
                        board.terminate()
                        board.communicate(timeout=60)
                self.assertEqual(set(typed.types), set(over_http.types))
                self.assertEqual(typed.of("vorn_onu_gem_ports"), over_http.of("vorn_onu_gem_ports"))
                self.assertGreater(typed.of("vorn_onu_kit_calls_total", function="gponCtl_configGemPort"), 0)
                self.assertEqual("vorn_onu_hal_calls_total" in typed.types, counts_calls)
                self.assertFalse([name for name in typed.types if "omci" in name])
                if counts_calls:  # two frames of the scenario meet no rule
                    for direction in ("upstream", "downstream"):
                        self.assertEqual(typed.of("vorn_onu_frames_total", direction=direction, fate="no_rule"), 1)

    def until_service(self, address):
        for _ in range(600):
            status, _, text = answer(address)
            if status == 200 and Metrics(text).of("vorn_onu_services") > 0:
                return Metrics(text)
            time.sleep(0.1)
        raise AssertionError(f"no service comes: {status} {text}")


def main():
    global DAEMON
    live_session.TOOL, DAEMON = (os.path.abspath(word) for word in sys.argv[1:3])
    unittest.main(module=sys.modules[__name__], argv=sys.argv[:1] + sys.argv[3:], verbosity=2)


if __name__ == "__main__":
    main()
