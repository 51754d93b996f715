"""A source with all its mutants behaves as the original, and as each mutant when that one is chosen."""
import os
import pathlib
import subprocess
import sys

import pytest

MUTATE = pathlib.Path(__file__).resolve().parents[3] / "tools/mutate"
sys.path.insert(0, str(MUTATE))
from mutants import Mutant, mutated  # noqa: E402

SOURCE = """#include <cstdio>
static int g_calls = 0;
static void Count() { ++g_calls; }
static bool Between(int low, int value, int high) { return low < value && value < high; }
int main() {
    Count();
    std::printf("%d%d%d %d", Between(1, 1, 3), Between(1, 2, 3), Between(1, 3, 3), g_calls);
}
"""
LESS = "(BM_MUTANT({n}) ? (({0}) <= ({1})) : (({0}) < ({1})))"


def mutant(what, text, shape, *parts):
    begin = SOURCE.index(text)

    def of(part):
        at = begin + text.index(part)
        return at, at + len(part)

    return Mutant(begin, begin + len(text), SOURCE[:begin].count("\n") + 1, what, shape, tuple(of(part) for part in parts))


WHOLE = "low < value && value < high"
MUTANTS = [
    mutant("and", WHOLE, "(BM_MUTANT({n}) ? (({0}) || ({1})) : (({0}) && ({1})))", "low < value", "value < high"),
    mutant("the result is reversed", WHOLE, "(BM_MUTANT({n}) != static_cast<bool>({0}))", WHOLE),
    mutant("left", "low < value", LESS, "low", "value"),
    mutant("right", "value < high", LESS, "value", "high"),
    mutant("is left out", "Count();\n    std", "if (!BM_MUTANT({n})) {0};\n    std", "Count()"),
]


@pytest.fixture(scope="module")
def program(tmp_path_factory):
    folder = tmp_path_factory.mktemp("mutants")
    numbers = {each: 1 + i for i, each in enumerate(MUTANTS)}
    (folder / "main.cpp").write_text('#include "mutant.h"\n' + mutated(SOURCE.encode(), MUTANTS, numbers))
    subprocess.run(["c++", "-std=c++20", "-Wall", "-Wextra", "-Werror", "-I", MUTATE, "-o", folder / "main", folder / "main.cpp"], check=True)
    return folder / "main"


def said_by(program, **environment):
    return subprocess.run([program], env={**os.environ, **environment}, capture_output=True, text=True, check=True).stdout


@pytest.mark.parametrize("number, said", enumerate(["010 1", "111 1", "101 1", "110 1", "011 1", "010 0"]))
def test_each_mutant_is_chosen_at_run_time(program, number, said):
    assert said_by(program, BM_MUTANT=str(number)) == said


def test_without_a_choice_it_is_the_original(program):
    assert said_by(program) == "010 1"


def test_a_place_that_is_come_by_is_marked(program, tmp_path):
    reached = tmp_path / "reached"
    reached.write_bytes(bytes(len(MUTANTS) + 2))
    said_by(program, BM_MUTANT_REACHED=str(reached))
    assert reached.read_bytes() == bytes([0, 1, 1, 1, 1, 1, 0])
