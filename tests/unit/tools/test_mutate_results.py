"""What became of a mutant counts as long as neither its source nor the tests change."""
import pathlib
import subprocess
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "tools/mutate"))
from mutants import Mutant  # noqa: E402
from results import Results  # noqa: E402

SOURCE, ITS_TEST, ANOTHER_TEST = "adaptor/dsp/A.cpp", "tests/unit/adaptor/dsp/A_test.cpp", "tests/unit/ipmi/B_test.cpp"
DEAD = Mutant(3, 7, 1, "is left out", "", ())
SURVIVOR = Mutant(8, 9, 1, "is left out", "", ())


@pytest.fixture
def tree(tmp_path):
    root = tmp_path / "root"
    for name in SOURCE, ITS_TEST, ANOTHER_TEST:
        (root / name).parent.mkdir(parents=True, exist_ok=True)
        (root / name).write_text(name)
    subprocess.run(["git", "init", "-q"], cwd=root, check=True)
    results = Results(tmp_path / "results", [SOURCE], root)
    results.keep(SOURCE, DEAD, "dsp_tests")
    results.keep(SOURCE, SURVIVOR, None)
    return root


def before(tree, mutant):
    return Results(tree.parent / "results", [SOURCE], tree).before(SOURCE, mutant)


def test_another_run_goes_on_where_the_first_was(tree):
    assert before(tree, DEAD) == (True, "dsp_tests")
    assert before(tree, SURVIVOR) == (False, None)
    assert before(tree, Mutant(10, 11, 1, "is left out", "", ())) == (None, None)


def test_a_result_of_another_source_does_not_count(tree):
    (tree / SOURCE).write_text("changed")
    assert before(tree, DEAD) == (None, "dsp_tests")
    assert before(tree, SURVIVOR) == (None, None)


def test_its_own_tests_have_to_kill_it_again(tree):
    (tree / ITS_TEST).write_text("changed")
    assert before(tree, DEAD) == (None, "dsp_tests")
    assert before(tree, SURVIVOR) == (None, None)


def test_any_test_may_kill_a_survivor(tree):
    (tree / ANOTHER_TEST).write_text("changed")
    assert before(tree, DEAD) == (True, "dsp_tests")
    assert before(tree, SURVIVOR) == (None, None)


def test_the_last_result_counts(tree):
    Results(tree.parent / "results", [SOURCE], tree).keep(SOURCE, SURVIVOR, "ipmi_tests")
    assert before(tree, SURVIVOR) == (True, "ipmi_tests")
