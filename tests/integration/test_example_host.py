"""The example of a host: it shows what is in the blade file, and says what is wrong when something is."""

import os

import pytest
from bladefile import BladeFile
from conftest import bin_folder


@pytest.fixture
def example_host(blade):
    """Runs it in a blade: example_host("3") gives (exit status, lines of standard output, standard error)."""

    def call(*arguments, blade_options=("--blade", "typical")):
        done = blade.run(*blade_options, "--", bin_folder() / "example_host", *arguments)
        return done.returncode, done.stdout.splitlines(), done.stderr

    return call


def shown(row):
    return {f"  {param['id']}{' (key)' if param['key'] else ''} {param['value']}" for param in row}


def test_shows_the_board_and_the_module_of_the_bay(example_host):
    file = BladeFile("typical")
    modules = file.amc_table()["rows"]
    status, lines, _ = example_host("3")
    assert status == 0
    board, module = lines.index("table 0x30000: 1"), lines.index("AMC in bay 3: 1")
    assert set(lines[board + 1 : module]) >= shown(file.board_table()["rows"][0])
    assert set(lines[module + 1 :]) >= shown(next(row for row in modules if "  0x30201 (key) 3" in shown(row)))


def test_a_bay_without_a_module_is_an_answer_and_a_status(example_host):
    status, lines, _ = example_host("5")
    assert status == 1
    assert "table 0x30000: 1" in lines and "AMC in bay 5: 12" in lines


def test_answers_from_the_simulated_inventory_without_a_controller(example_host):
    status, lines, _ = example_host("3", blade_options=("--no-ipmi",))
    assert status == 1  # which has no module in this bay
    assert "  0x30001 KZB88120W" in lines and "AMC in bay 3: 12" in lines


@pytest.mark.parametrize("plugin", ["/no/such/plugin.so", os.devnull, "libc.so.6"])
def test_what_is_no_adaptor_is_said(example_host, plugin):
    status, lines, errors = example_host("3", plugin)
    assert (status, lines) == (1, [])
    assert errors.startswith("example_host: ") and len(errors.splitlines()) == 1


@pytest.mark.parametrize("arguments", [(), ("three",), ("3", "plugin", "more")])
def test_bad_usage_is_said(example_host, arguments):
    assert example_host(*arguments) == (2, [], "usage: example_host BAY [PLUGIN]\n")
