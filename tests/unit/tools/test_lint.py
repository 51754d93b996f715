"""The checks of the house find what is out of place in a tree made for it, and nothing in one that is in order."""
import pathlib
import subprocess
import sys

import pytest

LINT = pathlib.Path(__file__).resolve().parents[3] / "tools/lint"
TABLE = """
low:                 # the lowest
middle: low
high: middle
high/Special.cpp: low
"""
PAGE = """
| tier | where |
|---|---|
| unit | tests/unit |

## Tested elsewhere

| source | tests |
|---|---|
"""


def write(path, text=""):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


def check(folder, script, table):
    """Exit status and lines of a check of all C++ files of the folder."""
    files = sorted(str(path.relative_to(folder)) for path in folder.rglob("*") if path.suffix in (".h", ".cpp"))
    answer = subprocess.run([sys.executable, LINT / script, table], cwd=folder, input="\n".join(files), capture_output=True,
                            text=True, check=False)
    return answer.returncode, (answer.stdout + answer.stderr).splitlines()


class TestRooms:
    """Which room includes which, how full a room is and how long a file."""

    @pytest.fixture
    def rooms(self, tmp_path):
        """A house in order: low, middle and high, each including the one below it, and a file with a line of its own."""
        write(tmp_path / "rooms", TABLE)
        write(tmp_path / "low/Low.h", "#include <string>\n")
        write(tmp_path / "middle/Middle.h", '#include "low/Low.h"\n')
        write(tmp_path / "high/High.cpp", '#include "High.h"\n#include "middle/Middle.h"\n#include "elsewhere/Other.h"\n')
        write(tmp_path / "high/High.h")
        write(tmp_path / "high/Special.cpp", '#include "low/Low.h"\n')
        write(tmp_path / "elsewhere/Other.h", '#include "high/High.h"\n')
        return tmp_path

    def test_a_house_in_order_passes(self, rooms):
        assert check(rooms, "rooms.py", "rooms") == (0, [])

    @pytest.mark.parametrize("file, text, finding", [
        ("low/Up.h", "// why\n#include \"middle/Middle.h\"\n", "low/Up.h:2: low may not include middle/Middle.h"),
        ("high/Deep.cpp", '  #  include "low/Low.h"\n', "high/Deep.cpp:1: high may not include low/Low.h"),
        ("high/Beside.cpp", '#include "../low/Low.h"\n', "high/Beside.cpp:1: high may not include low/Low.h"),
        ("low/room/Inner.h", '#include "high/High.h"\n', "low/room/Inner.h:1: low may not include high/High.h"),
    ])
    def test_an_include_that_the_table_does_not_have_is_named_with_its_line(self, rooms, file, text, finding):
        write(rooms / file, text)
        assert check(rooms, "rooms.py", "rooms") == (1, [finding])

    def test_a_public_header_is_found_where_the_compiler_finds_it(self, rooms):
        write(rooms / "platform/include/bm/Log.h")
        write(rooms / "low/Log.cpp", '#include "bm/Log.h"\n')
        write(rooms / "rooms", TABLE + "platform/include/bm:\n")
        assert check(rooms, "rooms.py", "rooms") == (1, ["low/Log.cpp:1: low may not include platform/include/bm/Log.h"])

    def test_a_file_may_have_400_lines_and_no_more(self, rooms):
        write(rooms / "low/Long.cpp", "\n" * 400)
        assert check(rooms, "rooms.py", "rooms") == (0, [])
        write(rooms / "low/Long.cpp", "\n" * 401)
        assert check(rooms, "rooms.py", "rooms") == (1, ["low/Long.cpp: 401 lines; 400 are the most"])

    def test_a_room_may_have_24_files_and_no_more(self, rooms):
        for number in range(24):
            write(rooms / f"full/{number}.cpp")
        assert check(rooms, "rooms.py", "rooms") == (0, [])
        write(rooms / "full/24.cpp")
        assert check(rooms, "rooms.py", "rooms") == (1, ["full: 25 files; 24 are the most"])

    def test_tests_may_be_many_in_a_folder(self, rooms):
        for number in range(25):
            write(rooms / f"tests/unit/low/{number}_test.cpp")
        assert check(rooms, "rooms.py", "rooms") == (0, [])

    @pytest.mark.parametrize("line, finding", [
        ("gone: low", "rooms:6: there is no gone"),
        ("low: gone", "rooms:6: there is no gone"),
        ("low", "rooms:6: no colon"),
    ])
    def test_a_line_of_the_table_that_says_nothing_is_named(self, rooms, line, finding):
        write(rooms / "rooms", TABLE + line + "\n")
        assert check(rooms, "rooms.py", "rooms") == (1, [finding])


class TestMirror:
    """Each source has a test of its path, or the page says what tests it."""

    @pytest.fixture
    def tree(self, tmp_path):
        """A tree without a gap: a test of the source's name, one of a topic, one of the platform, and a row."""
        for source in ("host/Words.cpp", "sim/life/Inside.cpp", "platform/src/osal/OSAL.cpp", "ipmi/fru/Parse.cpp"):
            write(tmp_path / source)
        for test in ("unit/host/Words_test.cpp", "unit/platform/osal/OSAL_Mutex_test.cpp", "unit/ipmi/fru/Parse_Board_test.cpp",
                     "integration/test_bladesim.py"):
            write(tmp_path / "tests" / test)
        self.rows(tmp_path, "| sim/life/Inside.cpp | tests/integration/test_bladesim.py |")
        return tmp_path

    @staticmethod
    def rows(folder, *lines):
        write(folder / "docs/tests.md", PAGE + "".join(line + "\n" for line in lines) + "\nWhat follows.\n")

    def test_a_tree_without_a_gap_passes(self, tree):
        assert check(tree, "mirror.py", "docs/tests.md") == (0, [])

    @pytest.mark.parametrize("source, folder", [
        ("adaptor/leds/LED.cpp", "tests/unit/adaptor/leds"),
        ("common/Text.cpp", "tests/unit/common"),
        ("platform/src/log/Log.cpp", "tests/unit/platform/log"),
    ])
    def test_a_forgotten_source_is_named(self, tree, source, folder):
        write(tree / source)
        name = pathlib.Path(source).stem
        assert check(tree, "mirror.py", "docs/tests.md") == (
            1, [f"{source}: neither {folder}/{name}_test.cpp nor {name}_TOPIC_test.cpp, and no row in docs/tests.md"])

    def test_the_test_of_a_longer_name_is_not_that_of_the_shorter(self, tree):
        write(tree / "host/Words_Split.cpp")
        (tree / "tests/unit/host/Words_test.cpp").rename(tree / "tests/unit/host/Words_Split_test.cpp")
        assert check(tree, "mirror.py", "docs/tests.md") == (
            1, ["host/Words.cpp: neither tests/unit/host/Words_test.cpp nor Words_TOPIC_test.cpp, and no row in docs/tests.md"])

    def test_a_name_that_only_begins_alike_is_another(self, tree):
        (tree / "tests/unit/host/Words_test.cpp").rename(tree / "tests/unit/host/WordsOfAll_test.cpp")
        assert check(tree, "mirror.py", "docs/tests.md")[0] == 1

    def test_headers_and_files_outside_of_the_rooms_need_no_test(self, tree):
        for file in ("host/Words.h", "bench/Bench.cpp", "docs/example-host/main.cpp", "platform/include/bm/Log.cpp"):
            write(tree / file)
        assert check(tree, "mirror.py", "docs/tests.md") == (0, [])

    @pytest.mark.parametrize("row, finding", [
        ("| sim/Gone.cpp | tests/integration/test_bladesim.py |", "there is no file sim/Gone.cpp"),
        ("| host/Words.cpp | tests/integration/test_bladesim.py |",
         "host/Words.cpp has a test of its own, tests/unit/host/Words_test.cpp"),
        ("| sim/New.cpp | tests/integration/test_gone.py |", "there is no file tests/integration/test_gone.py"),
        ("| sim/New.cpp | tests/integration/test_bladesim.py, tests/gone |", "there is no file tests/gone"),
        ("| sim/New.cpp | tests/integration |", "there is no file tests/integration"),
        ("| sim/New.cpp | |", "sim/New.cpp: no test is named"),
        ("| sim/life/Inside.cpp | tests/integration/test_bladesim.py |", "sim/life/Inside.cpp has a row already"),
    ])
    def test_a_row_that_is_wrong_is_named_with_its_line(self, tree, row, finding):
        write(tree / "sim/New.cpp")
        self.rows(tree, "| sim/life/Inside.cpp | tests/integration/test_bladesim.py |", row)
        # The row that is wrong stands in the second line after the table's head.
        line = PAGE.count("\n") + 2
        status, findings = check(tree, "mirror.py", "docs/tests.md")
        assert status == 1
        assert f"docs/tests.md:{line}: {finding}" in findings

    def test_rows_are_looked_at_though_only_some_files_are_checked(self, tree):
        (tree / "sim/life/Inside.cpp").unlink()
        answer = subprocess.run([sys.executable, LINT / "mirror.py", "docs/tests.md"], cwd=tree, input="host/Words.cpp\n",
                                capture_output=True, text=True, check=False)
        assert (answer.returncode, answer.stdout.count("there is no file sim/life/Inside.cpp")) == (1, 1)
