"""A front board through the whole road: bmhost, the plug-in, OpenIPMI, /dev/ipmi0, the controller."""

import json
import os

import pytest
from conftest import INT, TEXT, Path, param, table

BOARD, AMC_HARDWARE, AMC_FRU, RTM_FRU = 0x30000, 0x30200, 0x300, 0x400


@pytest.fixture(scope="module")
def wanted():
    """What the blade file says."""
    file = Path(os.environ["BM_BIN_DIR"]).parent / "share/bladesim/blades/front-board-only.json"
    return json.loads(file.read_text())


def number(value):
    return int(value, 0) if isinstance(value, str) else value


def board_row(wanted):
    fru = wanted["frus"][0]
    firmware = wanted["controller"]["firmware"]
    return [
        param(0x30001, TEXT, fru["board"]["product_name"]),
        param(0x30002, INT, number(fru["site"]["number"])),
        param(0x30003, TEXT, fru["board"]["manufacturer"]),
        param(0x30004, TEXT, fru["product"]["serial_number"]),
        param(0x30005, TEXT, fru["product"]["version"]),
        param(0x30007, TEXT, fru["board"]["part_number"]),
        param(0x30006, TEXT, f"{number(firmware['major'])}.{number(firmware['minor'])}"),
    ]


def test_the_board_table_has_the_texts_of_the_blade_file(bmhost_json, wanted):
    assert bmhost_json(["table", hex(BOARD)]) == (0, [table(BOARD, 1, [board_row(wanted)])])


def test_reading_the_board_gives_the_row_of_the_table(bmhost_json, wanted):
    read = {"op": "read", "group": "0x30000", "result": 1, "row": board_row(wanted)}
    assert bmhost_json(["read", hex(BOARD)]) == (0, [read])


def test_the_amc_tables_are_empty_without_amcs(bmhost_json):
    assert bmhost_json(["table", hex(AMC_HARDWARE)]) == (0, [table(AMC_HARDWARE, 1, [])])
    assert bmhost_json(["table", hex(AMC_FRU)]) == (0, [table(AMC_FRU, 1, [])])


def test_the_rtm_table_is_empty_and_says_so_without_an_rtm(bmhost_json):
    assert bmhost_json(["table", hex(RTM_FRU)]) == (1, [table(RTM_FRU, 12, [])])


def test_all_tables_come_out_of_one_process(bmhost_json, wanted):
    script = "init\ntable 0x30000\ntable 0x30200\ntable 0x300\ntable 0x400\nfin\n"
    status, lines = bmhost_json(["script", "-"], input=script)
    assert status == 1  # the table of the RTM
    assert lines == [
        {"op": "init", "result": 1},
        table(BOARD, 1, [board_row(wanted)]),
        table(AMC_HARDWARE, 1, []),
        table(AMC_FRU, 1, []),
        table(RTM_FRU, 12, []),
        {"op": "fin", "result": 1},
    ]


def test_the_environment_simulates_an_amc(bmhost_json):
    row = [param(0x303, INT, 3, key=True), param(0x301, TEXT, "1"), param(0x302, TEXT, "2")]
    assert bmhost_json(["table", hex(AMC_FRU)], env={"MAVK_AMC": "x312"}) == (0, [table(AMC_FRU, 1, [row])])


def test_the_environment_simulates_an_rtm(bmhost_json):
    row = [param(0x401, INT, 1), param(0x402, INT, 8), param(0x403, INT, 4)]
    assert bmhost_json(["table", hex(RTM_FRU)], env={"MAVK_RTM": "2184"}) == (0, [table(RTM_FRU, 1, [row])])


def test_the_environment_simulates_the_absence_of_an_rtm(bmhost_json):
    assert bmhost_json(["table", hex(RTM_FRU)], env={"MAVK_RTM": "1"}) == (1, [table(RTM_FRU, 12, [])])


def test_ipmitool_reads_the_same_texts(ipmitool, wanted):
    board, product = wanted["frus"][0]["board"], wanted["frus"][0]["product"]
    fields = ipmitool("fru", "print", "0")
    assert {name: fields.get(name) for name in fields if name.startswith(("Board", "Product"))} == {
        "Board Mfg Date": "Unspecified",
        "Board Mfg": board["manufacturer"],
        "Board Product": board["product_name"],
        "Board Serial": board["serial_number"],
        "Board Part Number": board["part_number"],
        "Product Manufacturer": product["manufacturer"],
        "Product Name": product["name"],
        "Product Part Number": product["part_number"],
        "Product Version": product["version"],
        "Product Serial": product["serial_number"],
        "Product Asset Tag": product["asset_tag"],
    }


def test_ipmitool_reads_the_same_site(ipmitool, wanted):
    site = wanted["frus"][0]["site"]
    fields = ipmitool("picmg", "addrinfo")
    assert number(fields["Hardware Address"]) == number(site["hardware_address"])
    assert number(fields["IPMB-0 Address"]) == number(wanted["controller"]["address"])
    assert number(fields["Site ID"]) == number(site["number"])
    assert fields["Site Type"] == "ATCA board"


def test_ipmitool_reads_the_same_device_id(ipmitool, wanted):
    controller = wanted["controller"]
    fields = ipmitool("mc", "info")
    assert number(fields["Device ID"]) == number(controller["device_id"])
    assert number(fields["Device Revision"]) == controller["device_revision"]
    # ipmitool takes the minor revision for two decimal digits in BCD, the board table for a byte.
    firmware = controller["firmware"]
    assert fields["Firmware Revision"] == f"{number(firmware['major'])}.{number(firmware['minor']):02x}"
    assert number(fields["Manufacturer ID"]) == number(controller["manufacturer_id"])
