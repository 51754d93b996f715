"""Whole carriers from end to end, one test per blade file: the tables of the host are those of the file."""

import pytest
from bladefile import AMC_FRU_TABLE, AMC_TABLE, NOT_FOUND, RTM_FRU_TABLE, SUCCESS, BladeFile, ipmitool_fields, number, readable
from conftest import INT, TEXT, param, table

TABLES = "init\ntable 0x30000\ntable 0x30200\ntable 0x300\ntable 0x400\nfin\n"


def tables_of(bmhost_json, blade_name):
    """The lines of init, of the four tables, and of fin."""
    status, lines = bmhost_json(["script", "-"], options=["--mode", "2"], blade_options=["--blade", blade_name], input=TABLES)
    assert status in (0, 1)
    assert lines[0] == {"op": "init", "result": SUCCESS}
    assert lines[-1] == {"op": "fin", "result": SUCCESS}
    return lines[1:-1]


@pytest.mark.parametrize("name", ["full", "typical", "no-rtm", "no-leds", "no-dsp", "refusing", "bad-checksums", "front-board-only"])
def test_the_tables_are_those_of_the_blade_file(bmhost_json, name):
    assert tables_of(bmhost_json, name) == BladeFile(name).tables()


def test_the_full_blade_has_eight_amcs_and_an_rtm(bmhost_json):
    lines = tables_of(bmhost_json, "full")
    assert [row[1]["value"] for row in lines[1]["rows"]] == [1, 2, 3, 4, 5, 6, 7, 8, 9]
    assert [row[0]["value"] for row in lines[2]["rows"]] == [1, 2, 3, 4, 5, 6, 7, 8]


def test_a_controller_without_picmg_has_nothing_to_tell(bmhost_json):
    assert tables_of(bmhost_json, "not-atca") == [
        table(0x30000, NOT_FOUND, []),
        table(AMC_TABLE, SUCCESS, []),
        table(AMC_FRU_TABLE, SUCCESS, []),
        table(RTM_FRU_TABLE, NOT_FOUND, []),
    ]


@pytest.mark.parametrize("name", ["full", "typical"])
def test_ipmitool_reads_the_same_inventory(blade, name):
    """Through the same /dev/ipmi0."""
    file = BladeFile(name)
    for fru in file.frus:
        # It prints the bytes of the texts as they are.
        done = blade.run("--blade", name, "--", "ipmitool", "-I", "open", "fru", "print", str(fru["id"]), encoding="latin-1")
        fields = {}
        for line in done.stdout.splitlines():
            label, _, value = line.partition(":")
            if label.strip().startswith(("Board", "Product")):
                fields[label.strip()] = value.strip()
        assert fields == ipmitool_fields(readable(fru)), done.stderr


@pytest.mark.parametrize("name", ["full", "typical"])
def test_ipmitool_finds_the_same_sites(blade, name):
    types = {0: "ATCA board", 7: "AMC", 9: "RTM"}
    for fru in BladeFile(name).frus:
        done = blade.run("--blade", name, "--", "ipmitool", "-I", "open", "picmg", "addrinfo", str(fru["id"]))
        fields = {label.strip(): value.strip() for label, _, value in (line.partition(":") for line in done.stdout.splitlines())}
        assert (number(fields["FRU ID"]), number(fields["Site ID"])) == (fru["id"], number(fru["site"]["number"]))
        assert types[fru["site"]["type"]] in fields["Site Type"], done.stdout
