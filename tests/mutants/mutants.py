#!/usr/bin/env python3
"""Plants small faults in a copy of the sources, one build for all of them, and tells which of them no test sees.

    mutants.py SOURCE_DIR WORK_DIR [FOLDER] [COUNT] [--seed N] [--jobs N] [--programs A,B] [--only N,M]

Exit codes: 0 in each folder at least 85 % are seen, those that change nothing (equivalent.txt) left out; 1 fewer are;
2 bad arguments.
"""

import argparse
import json
import os
import textwrap
from concurrent.futures import ThreadPoolExecutor, as_completed
from pathlib import Path

import trials
from build import FOLDERS, Copy, drawn

GOAL = 85  # percent
MAX_DRAWN = 2  # times as many as are wanted: some do not compile


def say(text):
    print(f"\n==> {text}", flush=True)


def equivalents(path):
    """Entries between empty lines: `file: its line`, `original -> changed`, and why that changes nothing."""
    text = "\n".join(line for line in path.read_text().split("\n") if not line.startswith("#"))
    for entry in filter(None, (part.strip() for part in text.split("\n\n"))):
        place, change, *why = [line.strip() for line in entry.split("\n")]
        if not why:
            raise SystemExit(f"{path}: without a reason: {entry}")
        yield (*place.split(": ", 1), change), " ".join(why)


def chosen(copy, folder, count, seed, programs):
    """COUNT mutants by number; they are built, with others."""
    draw = drawn(copy.source_dir, folder, count, seed)
    candidates = [fault for faults, share in draw.values() for fault in faults[:MAX_DRAWN * share]]
    say(f"Building with {len(candidates)} mutants, without those that do not compile")
    built = copy.build(dict(enumerate(candidates, 1)), programs)
    numbered = {}
    for name, (_, share) in draw.items():
        numbered.update([pair for pair in built.items() if folder_of(pair[1], draw) == name][:share])
    return numbered


def folder_of(fault, folders):
    return next(name for name in folders if fault.file.startswith(name + "/"))


def looked_at(copy, programs, count, jobs):
    """The tests, each with what it reaches; without those that fail here."""
    tests = [test for test in trials.tests_of(copy.build_dir)
             if programs == ["all"] or Path(test.command[0]).name in programs]
    with ThreadPoolExecutor(jobs) as pool:
        good = list(pool.map(lambda test: trials.look(test, count), tests))
    bad = [test for test, well in zip(tests, good) if not well and not trials.look(test, count)]
    for test in bad:
        print(f"fails without a mutant, and is left out: {test.name}")
    return [test for test in tests if test not in bad]


def tried(numbered, tests, jobs):
    """Who sees each mutant, by number; None where nobody does."""
    seen = {}
    with ThreadPoolExecutor(jobs) as pool:
        waiting = {pool.submit(trials.who_sees, number, tests): number for number in numbered}
        for done in as_completed(waiting):
            number = waiting[done]
            seen[number] = done.result()
            if not seen[number]:
                show(number, numbered[number], any(number in test.reached for test in tests))
    return seen


def show(number, fault, reached):
    print(f"\n{number}  {fault.file}:{fault.line}{'' if reached else '  (no test gets there)'}", flush=True)
    for sign, text in (("-", fault.original), ("+", fault.changed or "(left out)")):
        print(textwrap.fill(text, 80, initial_indent=f"   {sign} ", subsequent_indent="     "), flush=True)


def summary(numbered, same, seen, folders):
    good = True
    print(f"\n{'folder':<16}{'planted':>8}{'same':>6}{'seen':>6}{'missed':>8}{'seen of the rest':>18}")
    for name in folders:
        planted = [number for number, fault in numbered.items() if folder_of(fault, folders) == name]
        missed = [number for number in planted if number in seen and not seen[number]]
        alike = sum(number in same for number in planted)
        rest = len(planted) - alike
        percent = 100 * (rest - len(missed)) / rest if rest else 100
        good = good and percent >= GOAL
        print(f"{name:<16}{len(planted):>8}{alike:>6}{rest - len(missed):>6}{len(missed):>8}{percent:>16.1f} %")
    return good


def main():
    parser = argparse.ArgumentParser(usage="./dev mutants [FOLDER] [COUNT] [--seed N] [--jobs N]")
    parser.add_argument("source_dir", type=Path)
    parser.add_argument("work_dir", type=Path)
    parser.add_argument("words", nargs="*", metavar="FOLDER or COUNT")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--programs", default="all", help="build these, as vorn_tests,vorn-onu, and run only their tests")
    parser.add_argument("--only", help="numbers of the same draw, as 12,45: after a test has been added")
    args = parser.parse_args()
    folder, count = None, 300
    for word in args.words:
        if word.rstrip("/") in FOLDERS:
            folder = word.rstrip("/")
        elif word.isdigit() and int(word) > 0:
            count = int(word)
        else:
            parser.error(f"'{word}' is neither a number nor one of {', '.join(FOLDERS)}")
    source_dir = args.source_dir.resolve()
    reasons = dict(equivalents(source_dir / "tests" / "mutants" / "equivalent.txt"))
    copy = Copy(source_dir, args.work_dir.resolve(), args.jobs)
    numbered = chosen(copy, folder, count, args.seed, args.programs.split(","))
    same = {number for number, fault in numbered.items() if fault.key() in reasons}
    wanted = set(map(int, args.only.split(","))) if args.only else set(numbered) - same
    if wanted - set(numbered):
        parser.error(f"not among the mutants: {sorted(wanted - set(numbered))}")
    say("Running the tests without any, to see which mutants they reach")
    trials.keep_within_bounds()
    tests = looked_at(copy, args.programs.split(","), MAX_DRAWN * count + 9, args.jobs)
    say(f"{len(tests)} tests. Mutants that none of them sees:")
    seen = tried({number: numbered[number] for number in sorted(wanted)}, tests, args.jobs)
    (copy.build_dir / "mutants.json").write_text(json.dumps(
        {number: {**vars(fault), "seen": seen.get(number)} for number, fault in numbered.items()}, indent=1))
    good = summary(numbered, same, seen, [folder] if folder else FOLDERS)
    print(f"\nOne by hand: VORN_MUTANT=NUMBER ctest --test-dir {os.path.relpath(copy.build_dir)} -R TEST")
    return 0 if good else 1


if __name__ == "__main__":
    raise SystemExit(main())
