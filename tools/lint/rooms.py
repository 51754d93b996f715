"""Checks the house: which room includes which, how many files a room holds, how long a file is.

usage: rooms.py TABLE            files to check on standard input, one a line, from the root

A line of TABLE is a room or a file, a colon, and the rooms and files that it may include besides its own room; # begins a comment.
A room is a folder; the longest one that is listed counts. A file's own line comes on top of its room's.
"""
import os
import re
import sys

MOST_FILES = 24
MOST_LINES = 400
ROOTS = ["", "platform/include"]
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def read_table(path):
    table = {}
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            line = line.split("#")[0].strip()
            if not line:
                continue
            name, colon, allowed = line.partition(":")
            if not colon:
                sys.exit(f"{path}:{number}: no colon")
            if not os.path.exists(name):
                sys.exit(f"{path}:{number}: there is no {name}")
            for other in allowed.split():
                if not os.path.exists(other):
                    sys.exit(f"{path}:{number}: there is no {other}")
            table.setdefault(name, set()).update(allowed.split())
    return table


def room_of(path, table):
    folder = os.path.dirname(path)
    while folder and folder not in table:
        folder = os.path.dirname(folder)
    return folder


def target_of(name, includer):
    for root in [os.path.dirname(includer), *ROOTS]:
        path = os.path.normpath(os.path.join(root, name))
        if os.path.isfile(path):
            return path
    return None


def includes(path):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    for match in INCLUDE.finditer(text):
        target = target_of(match.group(1), path)
        if target:
            yield text.count("\n", 0, match.start()) + 1, target


def main():
    table = read_table(sys.argv[1])
    findings = []
    files = {}
    for path in sys.stdin.read().split():
        room = room_of(path, table)
        with open(path, encoding="utf-8") as file:
            lines = sum(1 for _ in file)
        if lines > MOST_LINES:
            findings.append(f"{path}: {lines} lines; {MOST_LINES} are the most")
        files[os.path.dirname(path)] = files.get(os.path.dirname(path), 0) + 1
        if not room:
            continue
        allowed = table[room] | table.get(path, set())
        for number, target in includes(path):
            other = room_of(target, table)
            if other and other != room and other not in allowed and target not in allowed:
                findings.append(f"{path}:{number}: {room} may not include {target}")
    for folder, count in files.items():
        if count > MOST_FILES and not folder.startswith("tests/"):
            findings.append(f"{folder}: {count} files; {MOST_FILES} are the most")
    for finding in sorted(findings):
        print(finding)
    sys.exit(1 if findings else 0)


main()
