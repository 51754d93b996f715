"""A front board from end to end: bmhost, the plug-in, OpenIPMI, /dev/ipmi0, the controller."""

import pytest
from bladefile import AMC_FRU_TABLE, AMC_TABLE, RTM_FRU_TABLE, BladeFile, ipmitool_fields, number, readable
from conftest import INT, TEXT, param, table


@pytest.fixture(scope="module")
def file():
    return BladeFile("front-board-only")


def test_the_board_table_has_the_texts_of_the_blade_file(bmhost_json, file):
    assert bmhost_json(["table", "0x30000"]) == (0, [file.board_table()])


def test_reading_the_board_gives_the_row_of_the_table(bmhost_json, file):
    read = {"op": "read", "group": "0x30000", "result": 1, "row": file.board_table()["rows"][0]}
    assert bmhost_json(["read", "0x30000"]) == (0, [read])


def test_the_amc_tables_are_empty_without_amcs(bmhost_json):
    assert bmhost_json(["table", hex(AMC_TABLE)]) == (0, [table(AMC_TABLE, 1, [])])
    assert bmhost_json(["table", hex(AMC_FRU_TABLE)]) == (0, [table(AMC_FRU_TABLE, 1, [])])


def test_the_rtm_table_is_empty_and_says_so_without_an_rtm(bmhost_json):
    assert bmhost_json(["table", hex(RTM_FRU_TABLE)]) == (1, [table(RTM_FRU_TABLE, 12, [])])


def test_all_tables_come_out_of_one_process(bmhost_json, file):
    script = "init\ntable 0x30000\ntable 0x30200\ntable 0x300\ntable 0x400\nfin\n"
    status, lines = bmhost_json(["script", "-"], options=["--mode", "2"], input=script)
    assert status == 1  # the table of the RTM
    assert lines == [{"op": "init", "result": 1}, *file.tables(), {"op": "fin", "result": 1}]


def test_the_environment_simulates_an_amc(bmhost_json):
    row = [param(0x303, INT, 3, key=True), param(0x301, TEXT, "1"), param(0x302, TEXT, "2")]
    assert bmhost_json(["table", hex(AMC_FRU_TABLE)], env={"MAVK_AMC": "x312"}) == (0, [table(AMC_FRU_TABLE, 1, [row])])


def test_the_environment_simulates_an_rtm(bmhost_json):
    row = [param(0x401, INT, 1), param(0x402, INT, 8), param(0x403, INT, 4)]
    assert bmhost_json(["table", hex(RTM_FRU_TABLE)], env={"MAVK_RTM": "2184"}) == (0, [table(RTM_FRU_TABLE, 1, [row])])


def test_the_environment_simulates_the_absence_of_an_rtm(bmhost_json):
    assert bmhost_json(["table", hex(RTM_FRU_TABLE)], env={"MAVK_RTM": "1"}) == (1, [table(RTM_FRU_TABLE, 12, [])])


def test_ipmitool_reads_the_same_texts(ipmitool, file):
    fields = ipmitool("fru", "print", "0")
    texts = {name: text for name, text in fields.items() if name.startswith(("Board", "Product"))}
    assert texts == ipmitool_fields(readable(file.frus[0]))


def test_ipmitool_reads_the_same_site(ipmitool, file):
    site = file.frus[0]["site"]
    fields = ipmitool("picmg", "addrinfo")
    assert number(fields["Hardware Address"]) * 2 == number(file.controller["address"])
    assert number(fields["IPMB-0 Address"]) == number(file.controller["address"])
    assert number(fields["Site ID"]) == number(site["number"])
    assert fields["Site Type"] == "ATCA board"


def test_ipmitool_reads_the_same_device_id(ipmitool, file):
    controller = file.controller
    fields = ipmitool("mc", "info")
    assert number(fields["Device ID"]) == number(controller["device_id"])
    assert number(fields["Device Revision"]) == controller["device_revision"]
    # ipmitool takes the minor revision for two decimal digits in BCD, the board table for a byte.
    firmware = controller["firmware"]
    assert fields["Firmware Revision"] == f"{number(firmware['major'])}.{number(firmware['minor']):02x}"
    assert number(fields["Manufacturer ID"]) == number(controller["manufacturer_id"])
