#!/usr/bin/env python3
"""Runs clang-tidy over C++ sources, one process per processor, and skips what has not changed since it was last found clean.

usage: tidy.py BUILD STAMPS FILE…

BUILD holds compile_commands.json. A header is checked through every source that reads it. A clean run leaves a stamp in the
folder STAMPS: the hash of every file of the repository that the source read, of the rules and of its compile command.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path.cwd()
RULES = sorted(path for depth in range(5) for path in ROOT.glob("*/" * depth + ".clang-tidy"))


def digest(path):
    return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()


def read_files(entry):
    """The repository's files that the compiler reads for this source, itself included; None when it does not compile."""
    command = shlex.split(entry["command"])
    command = command[: command.index("-o")] + ["-MM", "-MT", "source", entry["file"]]
    answer = subprocess.run(command, cwd=entry["directory"], capture_output=True, text=True, check=False)
    if answer.returncode != 0:
        return None
    names = shlex.split(answer.stdout.replace("\\\n", " "))[1:]
    paths = {pathlib.Path(entry["directory"], name).resolve() for name in names}
    return sorted(str(path) for path in paths if path.is_relative_to(ROOT))


def fingerprint(entry, paths):
    return {"command": entry["command"], "files": {str(path): digest(path) for path in [*RULES, *paths]}}


def known_clean(entry, stamp):
    """Whether the stamp still matches every file that it names."""
    try:
        recorded = json.loads(stamp.read_text())
        return recorded == fingerprint(entry, [path for path in recorded["files"] if pathlib.Path(path) not in RULES])
    except (OSError, ValueError, KeyError):
        return False


def check(build, entry, stamp):
    """Status and findings of one source."""
    paths = read_files(entry)
    now = fingerprint(entry, paths) if paths else None
    answer = subprocess.run(
        ["clang-tidy", "--quiet", "-p", build, "--extra-arg=-Wno-unknown-warning-option", entry["file"]],
        capture_output=True, text=True, check=False)
    if answer.returncode == 0 and now:
        stamp.write_text(json.dumps(now))
    return answer.returncode, answer.stdout.strip() or (answer.stderr.strip() if answer.returncode else "")


def main():
    build, stamps = sys.argv[1], pathlib.Path(sys.argv[2])
    wanted = {str((ROOT / name).resolve()) for name in sys.argv[3:]}
    entries = {}
    for entry in json.loads(pathlib.Path(build, "compile_commands.json").read_text()):
        entries.setdefault(str(pathlib.Path(entry["directory"], entry["file"]).resolve()), entry)
    stamps.mkdir(parents=True, exist_ok=True)

    left = []
    for path in sorted(wanted & entries.keys()):
        stamp = stamps / (str(pathlib.Path(path).relative_to(ROOT)).replace("/", "-") + ".json")
        if not known_clean(entries[path], stamp):
            left.append((path, stamp))
    print(f"clang-tidy: {len(wanted & entries.keys())} sources, {len(left)} to check", flush=True)

    bad = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        tasks = {pool.submit(check, build, entries[path], stamp): path for path, stamp in left}
        for done, task in enumerate(concurrent.futures.as_completed(tasks), 1):
            status, findings = task.result()
            print(f"[{done}/{len(left)}] {os.path.relpath(tasks[task], ROOT)}", flush=True)
            if status != 0:
                bad += 1
                print(findings, flush=True)
    if bad:
        print(f"clang-tidy: findings in {bad} sources")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
