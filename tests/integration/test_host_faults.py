"""A host on a controller that misbehaves: Init returns, and the tables have what could be read. These tests run in a typical blade
whose driver answers for a silent controller after 300 ms."""

import pytest
from bladefile import BladeFile
from inside import host, order, requests, show, sound_blade  # noqa: F401 (two are fixtures)

MODULES = ["QS-AMC4 Media", "TS-Disk 60", "RT-7190 Trunks"]
WITHOUT = {1: MODULES[1:], 2: [MODULES[0], MODULES[2]], 3: MODULES[:2]}


def modules(host, *fault):  # noqa: F811
    """The modules' names in the table of a host that meets the fault."""
    order("fault", "add", *fault)
    lines = host("init\ntable 0x30200\nfin\n").lines()
    assert show("faults")[0]["hits"] > 0
    assert [lines[0]["result"], lines[1]["result"], lines[2]["result"]] == [1, 1, 1]
    return [row[0]["value"] for row in lines[1]["rows"]]


@pytest.mark.parametrize("code", ["0xC0", "0xC1", "0xC3", "0xC7", "0xCB", "0xD5", "0xFF"])
def test_a_refused_area_costs_one_module(host, code):  # noqa: F811
    assert modules(host, "0a 10 02", "completion-code", code) == WITHOUT[2]


@pytest.mark.parametrize("do", [["lost"], ["short", "1"], ["short", "2"], ["reply", "00", "00", "00"]], ids=" ".join)
def test_an_area_whose_size_does_not_come_costs_one_module(host, do):  # noqa: F811
    assert modules(host, "0a 10 02", *do) == WITHOUT[2]


def test_a_refused_first_chunk_costs_one_module(host):  # noqa: F811
    assert modules(host, "0a 11 03 00 00", "completion-code", "0xC1") == WITHOUT[3]


def test_a_later_chunk_refused_once_reads_the_board_again_and_then_all_modules(host):  # noqa: F811
    assert modules(host, "0a 11 01 20 00", "--count", "1", "completion-code", "0xC0") == MODULES
    asked = requests()
    assert asked[asked.index("0a 11 01 20 00 10") + 1] == "0a 11 00 20 00 10"
    assert asked.count("0a 10 01") == 2


@pytest.mark.parametrize("request_", ["2c 05 00 01", "2c 06 00 01 02", "06 01"], ids=lambda request: request.replace(" ", "-"))
@pytest.mark.parametrize("do", [["completion-code", "0xC1"], ["lost"], ["short", "1"], ["doubled"], ["late", "100"]], ids=" ".join)
def test_nothing_else_of_a_module_costs_its_inventory(host, request_, do):  # noqa: F811
    assert modules(host, request_, *do) == MODULES


@pytest.mark.parametrize("do", [["doubled"], ["late", "50"]], ids=" ".join)
def test_a_chunk_that_comes_twice_or_late_costs_nothing(host, do):  # noqa: F811
    assert modules(host, "0a 11 01", *do) == MODULES


@pytest.mark.parametrize("request_", ["2c 00 00", "2c 01 00 00"], ids=lambda request: request.replace(" ", "-"))
def test_what_ends_the_probe_at_its_beginning_leaves_no_modules(host, request_):  # noqa: F811
    assert modules(host, request_, "completion-code", "0xC1") == []


def test_address_information_that_is_refused_later_keeps_the_modules_found_without_inventory(host):  # noqa: F811
    assert modules(host, "2c 01 00 02", "completion-code", "0xC1") == []


def test_an_area_of_another_fru_is_taken_as_it_comes(host):  # noqa: F811
    assert modules(host, "0a 11 02", "other-fru", "1")[1] != MODULES[1]


def test_a_controller_that_goes_away_and_comes_back_costs_what_it_did_not_answer(host):  # noqa: F811
    found = modules(host, "2c 06 00 01 00", "--count", "1", "gone", "200")
    assert found[-1:] == MODULES[-1:]


def test_after_the_faults_everything_is_read_again(host):  # noqa: F811
    lines = host("init\ntable 0x30000\ntable 0x30200\ntable 0x300\ntable 0x400\nfin\n").lines()
    assert lines[1:-1] == BladeFile("typical").tables()
