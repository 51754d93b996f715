#!/usr/bin/env python3
"""Breaks one thing at a time in the plug-in's sources, and sees whether a unit test notices.

usage: mutate.py FOLDER [--sample N] [--seed N] [--jobs N] [--again] [FILE…]

All mutants are compiled into one build, in FOLDER, and chosen at run time.
"""
import argparse
import concurrent.futures
import dataclasses
import json
import os
import pathlib
import random
import re
import resource
import shlex
import signal
import subprocess
import sys
import time

from mutants import Mutant, mutated
from places import Source
from results import ROOT, Results, digest_of, tracked

HERE = pathlib.Path(__file__).resolve().parent
SUBJECTS = ("adaptor/", "ipmi/")
TESTS = re.compile(r"(adaptor|ipmi|common)\w*_tests")
ENOUGH = 0.95  # of the mutants have to die
MEMORY = 8 << 30
EXPLAINED = HERE / "explained.tsv"


def run(*command, **options):
    return subprocess.run(command, text=True, capture_output=True, check=False, **options)


def write_if_new(path, content):
    """So that what is the same is not compiled again."""
    if not path.is_file() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


class Build:
    """A copy of the sources, in which the mutants are, and what is compiled of it."""

    def __init__(self, folder):
        self.source, self.commands, self.programs = folder / "source", folder / "commands", folder / "build"
        for name in tracked():
            if not name.startswith(SUBJECTS) or not name.endswith(".cpp"):
                write_if_new(self.source / name, (ROOT / name).read_bytes())
        for name in tracked(*SUBJECTS):
            if not (self.source / name).is_file():
                write_if_new(self.source / name, (ROOT / name).read_bytes())
        for where, unity in (self.commands, "OFF"), (self.programs, "ON"):
            self._call("cmake", "-S", self.source, "-B", where, "-G", "Ninja", "-DCMAKE_CXX_COMPILER=clang++", "-DCMAKE_BUILD_TYPE=Debug",
                       "-DCMAKE_CXX_FLAGS_DEBUG=-O0", f"-DCMAKE_CXX_FLAGS=-w -I{HERE}", "-DBM_ADAPTOR_TEST_PROGRAMS=ON",
                       f"-DCMAKE_UNITY_BUILD={unity}", "-DCMAKE_UNITY_BUILD_BATCH_SIZE=16")  # fmt: skip
        self.resources = run("clang++", "-print-resource-dir").stdout.strip()
        self.compile = {}
        for entry in json.loads((self.commands / "compile_commands.json").read_text()):
            path = os.path.relpath(os.path.join(entry["directory"], entry["file"]), self.source)
            words = shlex.split(entry["command"])
            self.compile.setdefault(path, [word for word in words[1 : words.index("-o")] if word != "ccache" and not word.endswith("clang++")])

    def _call(self, *command):
        done = run(*map(str, command))
        if done.returncode != 0:
            sys.exit(f"{shlex.join(map(str, command))}:\n{(done.stdout + done.stderr)[-4000:]}")

    def arguments(self, name):
        return [*self.compile[name], "-resource-dir", self.resources]

    def errors(self, name, text):
        """The lines that do not compile."""
        done = run("clang++", *self.compile[name], "-fsyntax-only", "-fno-caret-diagnostics", "-ferror-limit=0", "-x", "c++", "-", input=text,
                   cwd=(self.source / name).parent)  # fmt: skip
        lines = {int(line) for line in re.findall(r"^<stdin>:(\d+):\d+: (?:fatal )?error:", done.stderr, re.M)}
        if done.returncode != 0 and not lines:
            sys.exit(f"{name}:\n{done.stderr[:2000]}")
        return lines

    def tests(self):
        listed = json.loads(run("ctest", "--test-dir", str(self.programs), "--show-only=json-v1", "-L", "^unit$").stdout)
        return sorted(self.programs / "bin" / each["name"] for each in listed["tests"] if TESTS.fullmatch(each["name"]))

    def make(self, programs, jobs):
        self._call("cmake", "--build", self.programs, "--parallel", jobs, "--target", *[each.name for each in programs])


class Choice:
    """The mutants of each source, drawn by lot. Who was chosen is kept: finding the places takes seconds a source."""

    def __init__(self, build, kept, sample, seed):
        self.build, self.kept, self.sample, self.seed = build, kept, sample, seed
        own = [str(path.relative_to(ROOT)) for path in sorted(HERE.glob("*.py"))]
        self.state = digest_of([*own, *(name for name in tracked(*SUBJECTS) if name.endswith(".h"))])

    def prepare(self, name, first):
        """Puts the mutants of a source into the build; gives them by number."""
        kept = self.kept / (name.replace("/", "-") + ".json")
        state = [self.state, digest_of([name]), self.sample, self.seed]
        text = (ROOT / name).read_bytes()
        known = json.loads(kept.read_text()) if kept.is_file() else {}
        if known.get("state") == state:
            chosen = [Mutant(**{**each, "parts": tuple(map(tuple, each["parts"]))}) for each in known["mutants"]]
        else:
            chosen = self._choose(name, text)
            write_if_new(kept, json.dumps({"state": state, "mutants": [dataclasses.asdict(each) for each in chosen]}).encode())
        numbers = {mutant: first + i for i, mutant in enumerate(chosen)}
        write_if_new(self.build.source / name, with_mutants(text, chosen, numbers).encode())
        return {number: (name, mutant) for mutant, number in numbers.items()}

    def _choose(self, name, text):
        """Those that compile, together."""
        write_if_new(self.build.source / name, text)
        candidates = Source(self.build.source / name, self.build.arguments(name)).places()
        random.Random(f"{self.seed} {name}").shuffle(candidates)
        while True:
            chosen = candidates[: self.sample]
            numbers = {mutant: 1 + i for i, mutant in enumerate(chosen)}
            made = with_mutants(text, chosen, numbers)
            lost = {number for number in numbers.values() if f"BM_MUTANT({number})" not in made}
            wrong = self.build.errors(name, made)
            if not wrong and not lost:
                return chosen
            lines = made.splitlines()
            bad = lost or {int(number) for line in wrong for number in re.findall(r"BM_MUTANT\((\d+)\)", lines[line - 1])}
            if not bad:
                sys.exit(f"{name} does not compile as it is: {lines[min(wrong) - 1]}")
            candidates = [each for each in candidates if numbers.get(each) not in bad]


def with_mutants(text, mutants, numbers):
    # One line more at the beginning.
    return '#include "mutant.h"\n' + mutated(text, mutants, numbers)


class Program:
    """A program of unit tests, which ran once without a mutant."""

    def __init__(self, path, most, folder):
        self.path = path
        reached = folder / (path.name + ".reached")
        reached.write_bytes(bytes(most + 1))
        begin = time.monotonic()
        status = self.run({"BM_MUTANT_REACHED": str(reached)}, 600)
        if status != 0:
            sys.exit(f"{path.name} fails without a mutant, with status {status}")
        self.seconds = time.monotonic() - begin
        self.reached = {i for i, byte in enumerate(reached.read_bytes()) if byte}

    def run(self, environment, patience):
        """Its status, or none when it had to be ended."""
        child = subprocess.Popen([self.path, "--gtest_death_test_style=threadsafe"], env={**os.environ, "GTEST_FAIL_FAST": "1", **environment},
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL, start_new_session=True)  # fmt: skip
        try:
            return child.wait(patience)
        except subprocess.TimeoutExpired:
            return None
        finally:
            try:
                os.killpg(child.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            child.wait()

    def kills(self, number):
        return number in self.reached and self.run({"BM_MUTANT": str(number)}, 10 + 5 * self.seconds) != 0


def line_of(name, mutant: Mutant):
    return (ROOT / name).read_text().splitlines()[mutant.line - 1].strip()


def explained():
    """The survivors that no test can kill, or need not: source, line, change, and why."""
    rows = [line.split("\t") for line in EXPLAINED.read_text().splitlines() if line and not line.startswith("#")] if EXPLAINED.is_file() else []
    return {tuple(row[:3]) for row in rows}


def report(names, mutants, died):
    excused = explained()
    total = dead = 0
    survivors = []
    for name in names:
        mine = {number: mutant for number, (where, mutant) in mutants.items() if where == name}
        counted = {n: m for n, m in mine.items() if died[n] or (name, line_of(name, m), m.what) not in excused}
        killed = sum(died[n] for n in counted)
        total, dead = total + len(counted), dead + killed
        if counted:
            print(f"   {name:<48} {killed:3d} of {len(counted):3d} died, {100 * killed // len(counted):3d} %")
        survivors += [(name, m) for n, m in counted.items() if not died[n]]
    for name, mutant in sorted(survivors, key=lambda each: (each[0], each[1].line)):
        print(f"   survived: {name}:{mutant.line}: {mutant.what}: {line_of(name, mutant)}")
    print(f"   {dead} of {total} mutants died, {100 * dead / max(total, 1):.1f} %")
    return dead >= ENOUGH * total


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("files", nargs="*")
    parser.add_argument("--sample", type=int, default=30)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--again", action="store_true")
    asked = parser.parse_intermixed_args()
    known = [name for name in tracked(*SUBJECTS) if name.endswith(".cpp")]
    unknown = [name for name in asked.files if name not in known]
    if unknown:
        sys.exit(f"mutate: {unknown[0]} is no source of {' or '.join(SUBJECTS)}")
    names = asked.files or known
    asked.folder.mkdir(parents=True, exist_ok=True)
    kept = asked.folder / "results.jsonl"
    if asked.again:
        kept.unlink(missing_ok=True)
    results = Results(kept, names)
    build = Build(asked.folder.resolve())
    choice = Choice(build, asked.folder / "chosen", asked.sample, asked.seed)
    mutants = {}
    for name in known:
        if name in names:
            mutants |= choice.prepare(name, len(mutants) + 1)
        else:
            write_if_new(build.source / name, (ROOT / name).read_bytes())
    print(f"   {len(mutants)} mutants of {len(names)} sources; compiling", flush=True)
    paths = build.tests()
    build.make(paths, asked.jobs)
    programs = sorted((Program(path, len(mutants), asked.folder) for path in paths), key=lambda each: each.seconds)

    before = {number: results.before(*mutant) for number, mutant in mutants.items()}
    died = {number: state for number, (state, _) in before.items() if state is not None}
    left = [number for number in mutants if number not in died]
    print(f"   {len(left)} to try, by {len(programs)} programs", flush=True)

    def attempt(number):
        likely = sorted(programs, key=lambda each: each.path.name != before[number][1])
        return number, next((program.path.name for program in likely if program.kills(number)), None)

    # A mutant that allocates for ever must not take the machine with it.
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    with concurrent.futures.ThreadPoolExecutor(asked.jobs) as pool:
        for count, (number, killer) in enumerate(pool.map(attempt, left), 1):
            died[number] = killer is not None
            results.keep(*mutants[number], killer)
            if count % 50 == 0:
                print(f"   {count} of {len(left)} tried, {sum(died.values())} of {len(died)} dead", flush=True)
    sys.exit(0 if report(names, mutants, died) else 1)


if __name__ == "__main__":
    main()
