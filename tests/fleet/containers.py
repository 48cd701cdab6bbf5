"""ONUs in containers, and an OLT that speaks to them: over a socket in their network namespace, with codes of AES-CMAC."""

import ctypes
import ctypes.util
import http.client
import json
import os
import pathlib
import subprocess
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "omci"))
import live_session  # noqa: E402

PORT, METRICS_PORT = 5000, 9464
DOWNSTREAM, UPSTREAM = b"\x01", b"\x02"


def aes_cmac(key, data):
    """RFC 4493, by libcrypto."""
    crypto = ctypes.CDLL(ctypes.util.find_library("crypto"))
    crypto.EVP_aes_128_cbc.restype = crypto.CMAC_CTX_new.restype = ctypes.c_void_p
    context = ctypes.c_void_p(crypto.CMAC_CTX_new())
    code, size = ctypes.create_string_buffer(16), ctypes.c_size_t()
    crypto.CMAC_Init(context, key, ctypes.c_size_t(len(key)), ctypes.c_void_p(crypto.EVP_aes_128_cbc()), None)
    crypto.CMAC_Update(context, data, ctypes.c_size_t(len(data)))
    crypto.CMAC_Final(context, code, ctypes.byref(size))
    crypto.CMAC_CTX_free(context)
    return code.raw


def in_network_of(process, work):
    """What work() answers on a thread in the process's network namespace; sockets that it makes stay there."""
    answer = []

    def run():
        with open(f"/proc/{process}/ns/net", "rb") as namespace:
            if ctypes.CDLL(None, use_errno=True).setns(namespace.fileno(), 0) == 0:
                answer.append(work())

    thread = threading.Thread(target=run)
    thread.start()
    thread.join()
    assert answer, f"no way into the network namespace of process {process}"
    return answer[0]


class Olt(live_session.Olt):
    def __init__(self, process, key):
        self.process, self.key = process, key
        self.times = []  # seconds from each message to its answer

        class Answer(live_session.Answer):
            def __init__(self, frame):
                super().__init__(frame)
                self.intact = len(frame) == 48 and frame[44:] == aes_cmac(key, UPSTREAM + frame[:44])[:4]

        self.answer = Answer
        super().__init__(("127.0.0.1", PORT))

    def new_socket(self):
        return in_network_of(self.process, super().new_socket)

    def code(self, frame):
        return aes_cmac(self.key, DOWNSTREAM + frame)[:4]

    def ask(self, *words):
        begin = time.monotonic()
        answer = super().ask(*words)
        self.times.append(time.monotonic() - begin)
        return answer


class Onu:
    """A pod of the StatefulSet, and its container."""

    def __init__(self, engine, fleet, ordinal):
        self.engine, self.ordinal = engine, ordinal
        self.name = f"{fleet}-{ordinal}"
        self.times = []
        self.sent = 0

    @property
    def process(self):
        """Of the tool, as this machine numbers it; 0 while it does not run."""
        return int(self.engine("inspect", "--format", "{{.State.Pid}}", f"{self.name}-onu") or 0)

    def does(self, *words):
        """What vorn-onu prints in the container; None where it fails."""
        done = subprocess.run([*self.engine.words, "exec", f"{self.name}-onu", "vorn-onu", *words], capture_output=True, text=True,
                              timeout=60, check=False)
        return done.stdout if done.returncode == 0 else None

    def answers(self):
        return self.does("at", "onu", "expect", 'devices={"gpondef": {}}') is not None

    def provision(self, key):
        olt = Olt(self.process, key)
        try:
            olt.done(live_session.RESET, live_session.ONU_DATA, 0)
            olt.provision()
            self.sent = olt.sent
            self.times += olt.times
        finally:
            olt.close()

    def device(self):
        """What provisioning has made of it: without its addresses, which are its own."""
        device = self.state()
        for one in device["network"]["devices"]:
            del one["mac"]
        return {part: device[part] for part in ("network", "vlan", "pon")}

    def state(self):
        return json.loads(self.does("at", "onu", "show", "--json"))

    def serial(self):
        return self.state()["board"]["serialNumber"]

    def mib(self):
        """Its entities by class and instance; values that hold its serial number or one of its addresses are left out."""
        board = self.state()["board"]
        first = int(board["baseMac"].replace(":", ""), 16)
        own = [f"{first + i:012x}" for i in range(16)] + [board["serialNumber"][:4].encode().hex() + board["serialNumber"][4:].lower()]
        made = {}
        for entity in json.loads(self.does("at", "onu", "mib", "--json"))["mib"]:
            made[f"{entity['class']}/{entity['instance']:#x}"] = {
                attribute["name"]: attribute["bytes"] for attribute in entity["attributes"]
                if not any(word in str(attribute["bytes"]).replace(" ", "").lower() for word in own)}
        return made

    def metrics(self):
        def get():
            connection = http.client.HTTPConnection("127.0.0.1", METRICS_PORT, timeout=30)
            connection.request("GET", "/metrics")
            return connection.getresponse().read().decode()

        return in_network_of(self.process, get)

    def own_bytes(self):
        with open(f"/proc/{self.process}/smaps_rollup", encoding="ascii") as memory:
            return sum(int(line.split()[1]) * 1024 for line in memory if line.startswith("Private_Dirty:"))


class Engine:
    """podman with the options that tests/fleet/fleet.sh has found."""

    def __init__(self, words):
        self.words = words

    def __call__(self, *words, check=True):
        done = subprocess.run([*self.words, *words], capture_output=True, text=True, timeout=600, check=False)
        if check and done.returncode != 0:
            raise RuntimeError(f"podman {' '.join(words)}: {done.stderr.strip()}")
        return done.stdout.strip()
