"""A blade whose inventories lie: what the host sees, worked out by hand from the bytes of hostile.json."""

import pytest
from bladefile import AMC_FRU_TABLE, AMC_TABLE, NOT_FOUND, RTM_FRU_TABLE, SUCCESS
from conftest import INT, TEXT, param, table

BLADE = ["--blade", "hostile"]
# The bytes after an area read as 0xFF: a text of 63 bytes, the longest there is.
BEYOND = "\xff" * 63
NOTHING = ("", "", "", "", "")

# Product name, manufacturer, serial number, product version, part number.
MODULES = {
    1: (BEYOND, BEYOND, BEYOND, BEYOND, BEYOND),  # offsets of 2040 in an area of 16
    2: NOTHING,  # the ends of the fields and lengths 0; the one text of 1 byte is a NUL
    3: NOTHING,  # zeros: seven records without data; the second FRU of bay 3 does not come into it
    4: ("%1000000d", "%s%n%s%n", "", "", ""),  # shown as they are
    5: NOTHING,  # no area of texts
    6: (BEYOND, BEYOND, BEYOND, BEYOND, BEYOND),  # 0xFF from the first byte of the areas on
    7: NOTHING,  # a header alone
    # 8: a bad pad byte: no inventory, so no row
    9: NOTHING,  # a product area of bytes below 0x20, and no version
}


def module_row(bay):
    name, manufacturer, serial, version, part = MODULES[bay]
    return [
        param(0x30202, TEXT, name),
        param(0x30201, INT, bay, key=True),
        param(0x30208, INT, 1),
        param(0x30203, TEXT, manufacturer),
        param(0x30204, TEXT, serial),
        param(0x30205, TEXT, version),
        param(0x30207, TEXT, part),
        param(0x30206, TEXT, "UnKn"),
    ]


def ask(bmhost_json, calls):
    _, lines = bmhost_json(["script", "-"], options=["--mode", "2"], blade_options=BLADE, input="init\n" + calls + "fin\n")
    assert lines[0] == {"op": "init", "result": SUCCESS}
    assert lines[-1] == {"op": "fin", "result": SUCCESS}
    return lines[1:-1]


def test_the_board_has_the_texts_up_to_the_one_that_is_too_long(bmhost_json):
    row = [
        param(0x30001, TEXT, "FB-7666 Edge"),
        param(0x30002, INT, 5),
        param(0x30003, TEXT, "Harrow Blade Works"),
        param(0x30004, TEXT, ""),
        param(0x30005, TEXT, ""),
        param(0x30007, TEXT, "PN"),  # 63 bytes said; a NUL ends them
        param(0x30006, TEXT, "2.7"),
    ]
    assert ask(bmhost_json, "table 0x30000\n") == [table(0x30000, SUCCESS, [row])]


def test_each_module_has_what_its_bytes_say(bmhost_json):
    assert ask(bmhost_json, "table 0x30200\n") == [table(AMC_TABLE, SUCCESS, [module_row(bay) for bay in sorted(MODULES)])]


def test_only_a_record_that_holds_both_bytes_makes_an_amc_with_dsps(bmhost_json):
    row = [param(0x303, INT, 4, key=True), param(0x302, INT, 255), param(0x301, INT, 2)]
    assert ask(bmhost_json, "table 0x300\n") == [table(AMC_FRU_TABLE, SUCCESS, [row])]


@pytest.mark.parametrize("bay", [2, 5, 8])
def test_a_record_that_ends_too_early_is_not_found(bmhost_json, bay):
    (line,) = ask(bmhost_json, f"read 0x300 0x303={bay}\n")
    assert line["result"] == NOT_FOUND
    assert line["row"] == [param(0x303, INT, bay, key=True)]


def test_the_first_rtm_record_counts(bmhost_json):
    row = [param(0x401, INT, 255), param(0x402, INT, 255), param(0x403, INT, 255)]
    assert ask(bmhost_json, "table 0x400\n") == [table(RTM_FRU_TABLE, SUCCESS, [row])]


def test_init_in_mode_1_and_every_table_come_to_an_end(bmhost_json):
    groups = ["0x100", "0x200", "0x600", "0x1200", "0x30100", "0x30300", "0x30d10", "0x30e00"]
    script = "init\n" + "".join(f"table {group}\n" for group in groups) + "fin\n"
    _, lines = bmhost_json(["script", "-"], options=["--mode", "1"], blade_options=BLADE, input=script)
    assert [line.get("group", line["op"]) for line in lines] == ["init", *groups, "fin"]
    assert all(line["result"] in (0, SUCCESS, NOT_FOUND) for line in lines)
    assert lines[-1]["result"] == SUCCESS
