#!/usr/bin/env python3
"""Runs clang-tidy over C++ sources, one process per processor, and skips what has not changed since it was last found clean.

usage: tidy.py [--together] BUILD STAMPS FILE…

BUILD holds compile_commands.json. A header is checked through every source that reads it. A clean run leaves a stamp in the
folder STAMPS: the hash of every file of the repository that the source read, of the rules and of its compile command.

With --together it reads the sources of a room as one: it spends most of its time on the headers of others. As in a unity build, a source
may then use what another one includes or declares. Nothing is skipped but the analyzer of paths (clang-analyzer-*), which takes five times as
long as all the rest.
"""
import concurrent.futures
import functools
import hashlib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

ROOT = pathlib.Path.cwd()
AT_A_TIME = 16
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


def run(build, source, *options):
    """Status and findings of one source."""
    answer = subprocess.run(
        ["clang-tidy", "--quiet", "-p", build, "--extra-arg=-Wno-unknown-warning-option", *options, source],
        capture_output=True, text=True, check=False)
    return answer.returncode, answer.stdout.strip() or (answer.stderr.strip() if answer.returncode else "")


def check(build, entry, stamp):
    paths = read_files(entry)
    now = fingerprint(entry, paths) if paths else None
    status, findings = run(build, entry["file"])
    if status == 0 and now:
        stamp.write_text(json.dumps(now))
    return status, findings


def one_by_one(build, stamps, entries):
    """What is to be done: what it is about, and a function."""
    for path, entry in entries.items():
        stamp = stamps / (str(pathlib.Path(path).relative_to(ROOT)).replace("/", "-") + ".json")
        if not known_clean(entry, stamp):
            yield os.path.relpath(path, ROOT), functools.partial(check, build, entry, stamp)


def check_together(build, joined, origins):
    # Each source has its own list of what it includes.
    status, findings = run(build, joined, "--checks=-readability-duplicate-include,-clang-analyzer-*")
    return status, re.sub(rf"{re.escape(joined)}:(\d+)", lambda place: "{}:{}".format(*origins[int(place[1]) - 1]), findings)


def together(stamps, entries):
    """The same, for sources that are compiled and judged alike, some at a time."""
    alike = {}
    for path, entry in entries.items():
        command = shlex.split(entry["command"])
        command = command[: command.index("-o")]
        rules = next(folder.relative_to(ROOT) for folder in pathlib.Path(path).parents if (folder / ".clang-tidy").exists())
        alike.setdefault((*command, rules), []).append(path)
    # A tree with the same rules: each header has those of its own folder.
    build = (stamps / "together").resolve()
    shutil.rmtree(build, ignore_errors=True)
    for rules in RULES:
        copy = build / rules.relative_to(ROOT)
        copy.parent.mkdir(parents=True, exist_ok=True)
        copy.symlink_to(rules)
    commands, work = [], []
    for number, ((*command, rules), paths) in enumerate(alike.items()):
        for first in range(0, len(paths), AT_A_TIME):
            some = paths[first : first + AT_A_TIME]
            joined = str(build / rules / f"together-{number}-{first}.cpp")
            lines = [(path, *line) for path in some for line in enumerate(pathlib.Path(path).read_text().splitlines(), 1)]
            pathlib.Path(joined).write_text("".join(line + "\n" for _, _, line in lines))
            commands.append({"directory": str(ROOT), "file": joined, "arguments": [*command, "-c", joined]})
            about = f"{os.path.relpath(some[0], ROOT)} to {os.path.relpath(some[-1], ROOT)}"
            work.append((len(lines), about, functools.partial(check_together, str(build), joined, [line[:2] for line in lines])))
    (build / "compile_commands.json").write_text(json.dumps(commands))
    # The longest first, so that none ends long after all others.
    return [entry[1:] for entry in sorted(work, key=lambda entry: entry[0], reverse=True)]


def main():
    words = sys.argv[1:]
    as_one = words[0] == "--together"
    build, stamps, *names = words[as_one:]
    stamps = pathlib.Path(stamps)
    wanted = {str((ROOT / name).resolve()) for name in names}
    entries = {}
    for entry in json.loads(pathlib.Path(build, "compile_commands.json").read_text()):
        entries.setdefault(str(pathlib.Path(entry["directory"], entry["file"]).resolve()), entry)
    entries = {path: entries[path] for path in sorted(wanted & entries.keys())}
    stamps.mkdir(parents=True, exist_ok=True)

    work = list(together(stamps, entries) if as_one else one_by_one(build, stamps, entries))
    print(f"clang-tidy: {len(entries)} sources, {len(work)} {'times some of them' if as_one else 'to check'}", flush=True)

    bad = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        tasks = {pool.submit(function): about for about, function in work}
        for done, task in enumerate(concurrent.futures.as_completed(tasks), 1):
            status, findings = task.result()
            print(f"[{done}/{len(work)}] {tasks[task]}", flush=True)
            if status != 0:
                bad += 1
                print(findings, flush=True)
    if bad:
        print(f"clang-tidy: findings in {bad} of {len(work)}")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
