"""Checks that each source has a test of its path, or a row of the page that names what tests it.

usage: mirror.py PAGE            files to check on standard input, one a line, from the root

DIR/File.cpp is tested by tests/unit/DIR/File_test.cpp or File_TOPIC_test.cpp; platform/src/DIR by tests/unit/platform/DIR. A test
whose name begins like two sources of a folder is that of the longer name. Of PAGE each row of a table counts whose first column is
a .cpp: the second one names its tests, separated by commas. Every row is checked, whichever files are.
"""
import os
import re
import sys

ROOMS = ("adaptor/", "common/", "host/", "ipmi/", "platform/src/", "sim/")
ROW = re.compile(r"^\|\s*(\S+\.cpp)\s*\|(.*)\|\s*$")
TEST = "_test.cpp"


def names_in(folder, end):
    """Names of the folder's files that end so, without this end."""
    return [name[: -len(end)] for name in os.listdir(folder) if name.endswith(end)] if os.path.isdir(folder) else []


def mirror_of(source):
    """The folder of its tests."""
    return os.path.join("tests/unit", re.sub("^platform/src/", "platform/", os.path.dirname(source)))


def test_of(source):
    """A test of this path; None when there is none."""
    sources = names_in(os.path.dirname(source), ".cpp")
    own = os.path.basename(source).removesuffix(".cpp")
    for test in sorted(names_in(mirror_of(source), TEST)):
        alike = [name for name in sources if test == name or test.startswith(name + "_")]
        if alike and max(alike, key=len) == own:
            return os.path.join(mirror_of(source), test + TEST)
    return None


def read_page(page):
    """Each row's source, and what is wrong with the rows."""
    rows, findings = set(), []
    with open(page, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            row = ROW.match(line)
            if not row:
                continue
            source = row[1]
            tests = [name.strip() for name in row[2].split(",") if name.strip()]
            wrong = [f"there is no file {name}" for name in [source, *tests] if not os.path.isfile(name)]
            if not tests:
                wrong.append(f"{source}: no test is named")
            if source in rows:
                wrong.append(f"{source} has a row already")
            test = test_of(source)
            if test:
                wrong.append(f"{source} has a test of its own, {test}")
            rows.add(source)
            findings += [f"{page}:{number}: {what}" for what in wrong]
    return rows, findings


def main():
    page = sys.argv[1]
    rows, findings = read_page(page)
    for source in sys.stdin.read().split():
        if not source.startswith(ROOMS) or not source.endswith(".cpp") or source in rows or test_of(source):
            continue
        name = os.path.basename(source).removesuffix(".cpp")
        findings.append(f"{source}: neither {mirror_of(source)}/{name}{TEST} nor {name}_TOPIC{TEST}, and no row in {page}")
    for finding in findings:
        print(finding)
    sys.exit(1 if findings else 0)


main()
