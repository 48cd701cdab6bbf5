"""The tests of a build, which mutants each reaches, and whether it sees one."""

import json
import os
import re
import resource
import signal
import subprocess
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path

# What looks at sources and packages, which are not the project's here, and what takes long.
NOT_OF_BEHAVIOUR = re.compile(r"(rules|install|docs)\.|python\.(installing|up_to_date)")
LEAST_LIMIT = 10  # seconds; a busy machine


@dataclass
class Test:
    name: str
    command: list
    folder: str
    environment: dict
    seconds: float = 0
    reached: frozenset = field(default_factory=frozenset)


def tests_of(build_dir):
    shown = subprocess.run(["ctest", "--test-dir", str(build_dir), "--show-only=json-v1"], check=True, stdout=subprocess.PIPE)
    for test in json.loads(shown.stdout)["tests"]:
        properties = {entry["name"]: entry["value"] for entry in test.get("properties", [])}
        if "command" not in test or NOT_OF_BEHAVIOUR.match(test["name"]) or "long" in str(properties.get("LABELS", "")):
            continue
        environment = dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", []))
        yield Test(test["name"], test["command"], properties.get("WORKING_DIRECTORY", str(build_dir)), environment)


def keep_within_bounds():
    """A mutant may ask for all memory or write for ever; what runs here inherits this."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 30, 1 << 30))
    resource.setrlimit(resource.RLIMIT_AS, (16 << 30, 16 << 30))


def passes(test, limit, **environment):
    """Whether TEST ends well within LIMIT seconds. Nothing that it has started lives on."""
    with tempfile.TemporaryDirectory() as folder:
        mark = f"VORN_MUTANT_TRIAL={folder}"
        # A shell leads the session: the library wants to begin one of its own, which a leader cannot.
        process = subprocess.Popen(["sh", "-c", '"$@"; exit $?', "sh", *test.command], cwd=test.folder, start_new_session=True,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   env={**os.environ, **test.environment, **environment, "TMPDIR": folder,
                                        "VORN_MUTANT_TRIAL": folder})
        try:
            well = process.wait(limit) == 0
        except subprocess.TimeoutExpired:
            well = False
        _end(process, mark)
        return well


def _end(process, mark):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
    for entry in Path("/proc").iterdir():  # those that left the group
        try:
            if entry.name.isdigit() and mark.encode() in (entry / "environ").read_bytes().split(b"\0"):
                os.kill(int(entry.name), signal.SIGKILL)
        except (OSError, ProcessLookupError):
            pass


def look(test, count, limit=300):
    """Runs TEST without a fault; notes its time and which of COUNT mutants it reaches. False when it fails."""
    with tempfile.NamedTemporaryFile() as file:
        file.truncate(count + 1)
        start = time.monotonic()
        well = passes(test, limit, VORN_MUTANTS_REACHED=file.name)
        test.seconds = time.monotonic() - start
        test.reached = frozenset(number for number, byte in enumerate(file.read()) if byte)
        return well


def who_sees(number, tests):
    """The first test that fails with mutant NUMBER, the most particular first, or None."""
    reaching = sorted((test for test in tests if number in test.reached), key=lambda test: (len(test.reached), test.seconds))
    for test in reaching:
        if not passes(test, max(LEAST_LIMIT, 10 * test.seconds), VORN_MUTANT=str(number)):
            return test.name
    return None
