"""A copy of the project with faults in it, and its build."""

import json
import os
import random
import re
import shlex
import subprocess

from faults import Finder, rewritten

FOLDERS = ("src", "virtual_onu", "omci", "tools/vorn-onu")
LEFT_OUT = {".git", ".ci", "build", "__pycache__", ".pytest_cache"}


def drawn(source_dir, folder, count, seed):
    """The faults of FOLDER or those of all, in the order of chance; COUNT of each folder as its share is."""
    found = {name: [] for name in ([folder] if folder else FOLDERS)}
    for name, faults in found.items():
        for path in sorted((source_dir / name).rglob("*.cpp")):
            faults += Finder(str(path.relative_to(source_dir)), path.read_text()).find()
        random.Random(f"{seed} {name}").shuffle(faults)
    total = sum(map(len, found.values()))
    return {name: (faults, round(count * len(faults) / total)) for name, faults in found.items()}


class Copy:
    def __init__(self, source_dir, work_dir, jobs):
        self.source_dir, self.tree, self.jobs = source_dir, work_dir / "tree", jobs
        self.build_dir = self.tree / "build" / "dev"
        self.refused = work_dir / "refused.json"  # faults that have not compiled

    def build(self, numbered, programs):
        """Builds all, or PROGRAMS, with those of the faults NUMBERED that compile, and answers them."""
        refused = set(map(tuple, json.loads(self.refused.read_text()))) if self.refused.is_file() else set()
        numbered = {number: fault for number, fault in numbered.items() if fault.key() not in refused}
        self._write(numbered)
        header = self.tree / "tests" / "mutants" / "mutant.h"
        flags = f"-include {header} -Werror=vla -fmax-errors=0 -fdiagnostics-color=never"
        self._run(["cmake", "--preset", "dev", "-DVORN_WERROR=OFF", f"-DCMAKE_CXX_FLAGS={flags}"])
        while True:
            planted = self._write(numbered)
            numbered = {number: fault for number, fault in numbered.items() if number in planted}
            output = self._run(["cmake", "--build", str(self.build_dir), f"-j{self.jobs}", "--target", *programs, "--", "-k", "0"],
                               may_fail=True)
            if output is None:
                return numbered
            lines = self._wrong_lines(output)
            left = {number: fault for number, fault in numbered.items() if not fault.is_on(lines)}
            if len(left) == len(numbered):
                raise SystemExit(f"It does not build, for another reason:\n{output[-6000:]}")
            refused |= {fault.key() for number, fault in numbered.items() if number not in left}
            self.refused.write_text(json.dumps(sorted(refused)))
            numbered = left

    def _write(self, numbered):
        """The sources with the faults NUMBERED; answers the numbers that are in them. Files that stay the same keep their time."""
        by_file, planted, wanted = {}, set(), set()
        for number, fault in numbered.items():
            by_file.setdefault(fault.file, []).append((number, fault))
        for path in self.source_dir.rglob("*"):
            relative = path.relative_to(self.source_dir)
            if LEFT_OUT & set(relative.parts) or not path.is_file():
                continue
            content = path.read_bytes()
            if str(relative) in by_file:
                text = rewritten(content.decode(), by_file[str(relative)])
                planted |= set(map(int, re.findall(r"vornMutant\((\d+)\)", text)))
                content = text.encode()
            target = self.tree / relative
            wanted.add(target)
            if not target.is_file() or target.read_bytes() != content:
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(content)
                target.chmod(path.stat().st_mode)
        for path in self.tree.rglob("*"):
            if path.is_file() and path not in wanted and "build" not in path.relative_to(self.tree).parts:
                path.unlink()
        return planted

    def _run(self, command, may_fail=False):
        """None, or what it printed when it failed. Not through the compiler cache: what is in it would be of no use to others."""
        done = subprocess.run(command, cwd=self.tree, env={**os.environ, "CCACHE_DISABLE": "1"}, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0 and not may_fail:
            raise SystemExit(f"{shlex.join(command)} failed:\n{done.stdout[-6000:]}")
        return done.stdout if done.returncode != 0 else None

    def _wrong_lines(self, output):
        """(file, line) of each error, of the notes that explain it, and of what instantiated the template that it is in."""
        found, blamed, users = set(), False, []
        for match in re.finditer(r"^(\S+?):(\d+):\d+: (?:(error|note|warning|fatal error): |  required from )", output, re.M):
            place = os.path.relpath(os.path.join(self.build_dir, match[1]), self.tree), int(match[2])
            if match[3] is None:  # comes in front of what it explains
                users.append(place)
                continue
            blamed = match[3] != "warning" and (blamed or match[3] != "note")
            if blamed:
                found.update([place, *users])
            users = []
        return found
