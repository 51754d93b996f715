"""LEDs from end to end, and ipmitool's view of the same controller. These tests run in a blade, typical or full."""

import os

import pytest
from bladefile import AMC, RTM, RTM_BAY, BladeFile, number
from conftest import param
from inside import LiveHost, ipmitool, order, raw, show, wait_until
from protocol import (
    HOST_LED_AMBER,
    HOST_LED_BLUE,
    HOST_LED_GREEN,
    HOST_LED_OFF,
    HOST_LED_RED,
    HOST_LED_WHITE,
    INTERNAL_LED_AMBER,
    INTERNAL_LED_BLUE,
    INTERNAL_LED_GREEN,
    INTERNAL_LED_NO_COLOR,
    INTERNAL_LED_ORANGE,
    INTERNAL_LED_RED,
    INTERNAL_LED_WHITE,
)
from protocol import RESULT_NOT_FOUND as NOT_FOUND

INT, BOOL = 1, 0
BLUE, RED, GREEN, AMBER, ORANGE, WHITE = 1, 2, 3, 4, 5, 6  # PICMG
PICMG = {"blue": BLUE, "red": RED, "green": GREEN, "amber": AMBER, "orange": ORANGE, "white": WHITE}
TO_INTERNAL = {
    0: INTERNAL_LED_NO_COLOR,
    BLUE: INTERNAL_LED_BLUE,
    RED: INTERNAL_LED_RED,
    GREEN: INTERNAL_LED_GREEN,
    AMBER: INTERNAL_LED_AMBER,
    ORANGE: INTERNAL_LED_ORANGE,
    WHITE: INTERNAL_LED_WHITE,
}
TO_HOST = {
    INTERNAL_LED_NO_COLOR: HOST_LED_OFF,
    INTERNAL_LED_RED: HOST_LED_RED,
    INTERNAL_LED_GREEN: HOST_LED_GREEN,
    INTERNAL_LED_BLUE: HOST_LED_BLUE,
    INTERNAL_LED_AMBER: HOST_LED_AMBER,
    INTERNAL_LED_ORANGE: HOST_LED_AMBER,
    INTERNAL_LED_WHITE: HOST_LED_WHITE,
}
ILLEGAL_FIELD = 0xCC
LED_ON, LOCAL_CONTROL, LAMP_TEST = 0xFF, 0xFC, 0xFB

FILE = BladeFile(os.environ["LED_TEST_BLADE"])
FIRST_AMC = min(number(fru["site"]["number"]) for fru in FILE.frus_of(AMC))


def places():
    """Every LED of the blade: bay (0 the baseboard), host's LED id, FRU id, its record in the file."""
    found = [(0, FILE.frus[0])] + FILE.modules()
    return [(bay, led["id"] + 1, fru["id"], led) for bay, fru in found for led in fru["leds"]]


SETTABLE = [place for place in places() if place[0] in (0, FIRST_AMC)]


def name_of(place):
    return f"bay{place[0]}-led{place[1]}"


@pytest.fixture(scope="module")
def live():
    host = LiveHost()
    yield host
    host.kill()


@pytest.fixture(autouse=True)
def all_local(live):
    yield
    for _, _, fru, led in places():
        raw(0x2C, 0x07, 0, fru, led["id"], LOCAL_CONTROL, 0, 0)


def state(fru, led):
    return raw(0x2C, 0x08, 0, fru, led)


def internal_read(bay, led):
    return f"read 0x100 0x101={led}" if bay == 0 else f"read 0x200 0x201={led} 0x20d={bay}"


def external_read(bay, led):
    return f"read 0x30100 0x30101={led}" if bay == 0 else f"read 0x30300 0x30302={led} 0x30301={bay}"


def write(live, place, override, on, off, color, bay=None):
    bay = place[0] if bay is None else bay
    group, keys = (0x100, f"0x101={place[1]}") if bay == 0 else (0x200, f"0x201={place[1]} 0x20d={bay}")
    values = f"{group + 5:#x}={override} {group + 2:#x}={on} {group + 3:#x}={off} {group + 0xC:#x}={color}"
    return live.call(f"write {group:#x} {keys} -- {values}")["result"]


def values_of(reply):
    """Local control, on time, off time, lamp test and colour as the host's internal row has them, of a controller's reply."""
    flags = reply[1]
    if flags & 4:
        return [0, 0, 0, reply[8], 0]
    local = not flags & 2
    function, on, color = reply[2:5] if local else reply[5:8]
    times = {0xFF: [1, 0], 0x00: [0, 1]}.get(function, [on, function])
    return [int(local), *times, 0, 0 if function == 0 else TO_INTERNAL[color]]


def internal_row(bay, led, reply):
    base = 0x100 if bay == 0 else 0x200
    local, on, off, lamp, color = values_of(reply)
    keys = [param(base + 1, INT, led, key=True)] + ([] if bay == 0 else [param(0x20D, INT, bay, key=True)])
    values = [param(base + id, INT, value) for id, value in ((5, local), (2, on), (3, off), (4, lamp), (0xC, color))]
    return keys + values + [param(base + 6 + index, BOOL, False) for index in range(6)]


def external_row(bay, led, reply):
    _, on, off, _, color = values_of(reply)
    is_off = color == 0 or (on == 0 and off == 1)
    mode = 1 if is_off or on <= 1 or off < 2 else 2 if off <= 125 else 3
    keys = [param(0x30101, INT, led, key=True)] if bay == 0 else [param(0x30302, INT, led, key=True), param(0x30301, INT, bay, key=True)]
    base = 0x30102 if bay == 0 else 0x30303
    return keys + [param(base, INT, HOST_LED_OFF if is_off else TO_HOST[color]), param(base + 1, INT, mode)]


def assert_host_sees_the_controller(live, place):
    bay, led, fru, record = place
    reply = state(fru, record["id"])
    assert live.call(internal_read(bay, led)) == {"op": "read", "group": "0x100" if bay == 0 else "0x200", "result": 1, "row": internal_row(bay, led, reply)}
    assert live.call(external_read(bay, led)) == {"op": "read", "group": "0x30100" if bay == 0 else "0x30300", "result": 1, "row": external_row(bay, led, reply)}


@pytest.mark.parametrize("place", places(), ids=name_of)
def test_every_led_is_read_as_it_is(live, place):
    assert_host_sees_the_controller(live, place)


# Override, on, off as the host writes them; LED function and on-duration as the controller has them.
STATES = {
    "on": (1, 0, LED_ON, 0),
    "off": (0, 1, 0, 0),
    "shortest-blink": (100, 100, 10, 10),
    "longest-blink": (2500, 2500, 250, 250),
    "below": (20, 99, 10, 10),
    "beyond": (50, 60000, 250, 10),
    "in-between": (309, 1201, 120, 30),
}


@pytest.mark.parametrize("name", STATES)
@pytest.mark.parametrize("place", SETTABLE, ids=name_of)
def test_a_settable_led_does_what_was_written(live, place, name):
    on, off, function, duration = STATES[name]
    color = PICMG[place[3]["colors"][0]]
    assert write(live, place, 1, on, off, TO_INTERNAL[color]) == 0
    assert state(place[2], place[3]["id"])[5:8] == [function, duration, color]
    assert state(place[2], place[3]["id"])[1] & 2
    assert_host_sees_the_controller(live, place)


@pytest.mark.parametrize("place", SETTABLE, ids=name_of)
def test_a_settable_led_takes_each_color_that_it_has_and_no_other(live, place):
    for color_name, color in PICMG.items():
        before = state(place[2], place[3]["id"])
        result = write(live, place, 1, 1, 0, TO_INTERNAL[color])
        if color_name in place[3]["colors"]:
            assert (result, state(place[2], place[3]["id"])[5:8]) == (0, [LED_ON, 0, color])
            assert_host_sees_the_controller(live, place)
        else:
            assert (result, state(place[2], place[3]["id"])) == (ILLEGAL_FIELD, before)


@pytest.mark.parametrize("place", SETTABLE, ids=name_of)
def test_a_settable_led_goes_back_to_local_control(live, place):
    assert write(live, place, 1, 1, 0, TO_INTERNAL[PICMG[place[3]["colors"][0]]]) == 0
    if place[3].get("local_control", True):
        assert write(live, place, 0, 0, 1, 2) == 0
        assert not state(place[2], place[3]["id"])[1] & 2
    else:
        assert write(live, place, 0, 0, 1, 2) == ILLEGAL_FIELD
        assert state(place[2], place[3]["id"])[1] & 2
    assert_host_sees_the_controller(live, place)


@pytest.mark.parametrize("place", [SETTABLE[0], SETTABLE[-1]], ids=name_of)
def test_a_lamp_test_from_outside_is_seen_until_it_has_run_out(live, place):
    bay, led, fru, record = place
    color = PICMG[record["colors"][0]]
    assert raw(0x2C, 0x07, 0, fru, record["id"], LAMP_TEST, 10, color) is not None  # a second
    row = live.call(internal_read(bay, led))["row"]
    lamp = next(value["value"] for value in row if value["id"] in ("0x104", "0x204"))
    assert 0 < lamp <= 10
    wait_until(lambda: not state(fru, record["id"])[1] & 4)
    assert_host_sees_the_controller(live, place)


@pytest.mark.parametrize("bay", [bay for bay, _ in FILE.modules() if bay != FIRST_AMC] + [5, RTM_BAY])
def test_a_write_for_any_module_lands_on_the_first_amc(live, bay):
    place = next(place for place in SETTABLE if place[0] == FIRST_AMC and place[1] == 2)
    before = {name_of(other): state(other[2], other[3]["id"]) for other in places() if other[0] not in (0, FIRST_AMC)}
    assert write(live, place, 1, 1, 0, TO_INTERNAL[RED], bay=bay) == 0
    assert state(place[2], place[3]["id"])[5:8] == [LED_ON, 0, RED]
    assert before == {name_of(other): state(other[2], other[3]["id"]) for other in places() if other[0] not in (0, FIRST_AMC)}


@pytest.mark.parametrize("place", [SETTABLE[1], SETTABLE[-1]], ids=name_of)
def test_ipmitool_reads_the_same_bytes(live, place):
    assert write(live, place, 1, 500, 300, TO_INTERNAL[PICMG[place[3]["colors"][0]]]) == 0
    done = ipmitool("raw", "0x2c", "0x08", "0", str(place[2]), str(place[3]["id"]))
    assert [int(byte, 16) for byte in done.stdout.split()] == state(place[2], place[3]["id"])


def test_ipmitool_shows_what_was_written(live):
    assert write(live, SETTABLE[1], 1, 1, 0, TO_INTERNAL[RED]) == 0
    shown = ipmitool("picmg", "led", "get", "0", "1").stdout
    assert "RED" in shown and "Override" in shown, shown
    panel = next(led for led in show("leds") if (led["fru"], led["led"]) == (0, 1))
    assert (panel["mode"], panel["state"], panel["color"]) == ("override", "on", "red")


def test_the_host_sees_what_ipmitool_set(live):
    last_bay, led, fru, record = next(place for place in places() if place[0] == RTM_BAY and place[1] == 2)
    ipmitool("picmg", "led", "set", str(fru), str(record["id"]), "255", "0", str(PICMG[record["colors"][0]]))
    assert state(fru, record["id"])[1] & 2
    assert_host_sees_the_controller(live, (last_bay, led, fru, record))


def test_leds_that_are_not_there_are_not_found(live):
    for line in ("read 0x100 0x101=5", "read 0x100 0x101=0", f"read 0x200 0x201=1 0x20d={RTM_BAY + 1}", "read 0x30300 0x30302=9 0x30301=9"):
        assert live.call(line)["result"] == NOT_FOUND, line


def test_the_tables_have_the_first_three_leds_of_every_place(live):
    for group, row_of in ((0x100, internal_row), (0x30100, external_row)):
        rows = [row_of(bay, led, state(fru, record["id"])) for bay, led, fru, record in places() if bay == 0 and led <= 3]
        assert live.call(f"table {group:#x}") == {"op": "table", "group": f"{group:#x}", "result": 1, "rows": rows}
    for group, row_of in ((0x200, internal_row), (0x30300, external_row)):
        rows = [row_of(bay, led, state(fru, record["id"])) for bay, led, fru, record in places() if bay != 0 and led <= 3]
        assert live.call(f"table {group:#x}") == {"op": "table", "group": f"{group:#x}", "result": 1, "rows": rows}


def test_a_reset_of_the_board_reaches_the_controller(live):
    before = len(show("controls"))
    assert live.call("write 0x30000 -- 0x30008=true")["result"] == 1
    wait_until(lambda: len(show("controls")) > before)
    assert show("controls")[-1] == {"fru": 0, "option": 0, "count": 1}


def test_leds_are_still_read_and_set_after_a_reset_of_the_board(live):
    live.call("write 0x30000 -- 0x30009=true")
    assert write(live, SETTABLE[1], 1, 1, 0, TO_INTERNAL[RED]) == 0
    assert_host_sees_the_controller(live, SETTABLE[1])


def test_a_refused_command_is_told_and_the_next_one_works(live):
    order("fault", "add", "2c 07 00 00 01", "--count", "1", "completion-code", "0xD5")
    assert write(live, SETTABLE[1], 1, 1, 0, TO_INTERNAL[RED]) == 0xD5
    assert write(live, SETTABLE[1], 1, 1, 0, TO_INTERNAL[RED]) == 0
    order("fault", "add", "2c 08 00 00 01", "--count", "1", "completion-code", "0xC3")
    assert live.call(internal_read(0, 2))["result"] == 0
    order("fault", "add", "2c 08 00 00 01", "--count", "1", "short", "4")
    assert live.call(internal_read(0, 2))["result"] == 0
    order("fault", "clear")
    assert_host_sees_the_controller(live, SETTABLE[1])
