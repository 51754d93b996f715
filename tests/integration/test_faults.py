"""Faults of a controller as an opener of /dev/ipmi0 sees them. These tests run in a blade whose driver waits 500 ms."""

import json
import os
import select
import signal
from pathlib import Path

import pytest
from device import GET_DEVICE_ID, PICMG_PROPERTIES, SECONDS, Device
from inside import bladesim, ipmitool, order, show, sound_blade  # noqa: F401 (the last is a fixture)

TIME_OUT = b"\xc3"
FRU_AREA = (0x0A, 0x10)
GET_LED, SET_LED = (0x2C, 0x08), (0x2C, 0x07)


def fault(request, *words):
    return order("fault", "add", request, *words)


@pytest.fixture
def device():
    result = Device()
    yield result
    result.close()


@pytest.fixture
def unharmed(device):
    return device.data(*GET_DEVICE_ID)


def test_a_completion_code_comes_instead_of_the_answer(device):
    fault("06 01", "completion-code", "0xC1")
    assert device.data(*GET_DEVICE_ID) == b"\xc1"
    assert "0xc1" in ipmitool("mc", "info").stderr.lower()
    assert device.data(*PICMG_PROPERTIES)[0] == 0


def test_a_reply_of_any_bytes_comes_instead_of_the_answer(device):
    fault("06 01", "--count", "1", "reply", "00", "11", "22")
    assert device.data(*GET_DEVICE_ID) == b"\x00\x11\x22"


def test_the_third_and_fourth_of_four_are_hit(device, unharmed):
    fault("06 ??", "--first", "3", "--count", "2", "completion-code", "0xC0")
    assert [device.data(*GET_DEVICE_ID) for _ in range(5)] == [unharmed, unharmed, b"\xc0", b"\xc0", unharmed]


def test_a_fault_tells_what_it_has_seen_and_is_taken_back_by_its_number(device, unharmed):
    number = fault("06 01", "--first", "2", "completion-code", "0xC0").strip()
    device.data(*GET_DEVICE_ID)
    (row,) = json.loads(order("fault", "list", "--json"))
    assert row == {
        "number": int(number), "request": "06 01", "first": 2, "count": 0, "do": "completion-code", "argument": 0xC0, "seen": 1, "hits": 0,
    }  # fmt: skip
    order("fault", "clear", number)
    assert device.data(*GET_DEVICE_ID) == unharmed
    done = bladesim("fault", "clear", number)
    assert (done.returncode, done.stderr) == (3, f"bladesim: there is no fault {number}\n")


def test_a_lost_request_is_answered_by_the_driver_and_the_next_one_by_the_controller(device, unharmed):
    fault("06 01", "--count", "1", "lost")
    assert device.ask(1, *GET_DEVICE_ID) == (1, 1, 0x07, 0x01, TIME_OUT)
    assert device.data(*GET_DEVICE_ID) == unharmed


def test_release_lets_no_late_reply_come_sooner(device, unharmed):
    fault("06 01", "--count", "1", "late", "150")
    device.send(1, *GET_DEVICE_ID)
    assert order("fault", "release") == "0\n"
    device.wait()
    assert device.receive()[4] == unharmed


def test_a_late_reply_within_the_time_is_an_answer(device, unharmed):
    fault("06 01", "--count", "1", "late", "150")
    device.send(1, *GET_DEVICE_ID)
    assert not device.readable(0.1)
    device.wait()
    assert device.receive()[4] == unharmed


def test_a_late_reply_after_the_time_is_dropped(device):
    fault("06 01", "--count", "1", "late", "600")
    fault("2c 00", "--count", "1", "lost")
    assert device.data(*GET_DEVICE_ID) == TIME_OUT  # after 500 ms
    assert device.data(*PICMG_PROPERTIES) == TIME_OUT  # after 1000 ms
    assert [entry.get("dropped") for entry in show("log")] == [1, None]


def test_a_reply_after_its_time_is_not_taken_for_one_to_the_same_request_that_follows(device, unharmed):
    fault("06 01", "--count", "1", "late", "510")
    fault("06 01", "--first", "2", "--count", "1", "late", "100")
    device.send(1, *GET_DEVICE_ID)
    device.send(2, *GET_DEVICE_ID)
    device.wait()
    assert device.receive() == (1, 1, 0x07, 0x01, TIME_OUT)
    device.wait()
    assert device.receive() == (1, 2, 0x07, 0x01, unharmed)
    assert [entry.get("dropped") for entry in show("log")][-2:] == [1, None]


@pytest.mark.parametrize(("length", "seen"), [(1, 1), (5, 5), (255, None)])
def test_a_short_reply_is_cut(device, unharmed, length, seen):
    fault("06 01", "short", str(length))
    assert device.data(*GET_DEVICE_ID) == unharmed[:seen]


def test_a_reply_without_even_a_completion_code_is_an_unspecified_error_as_the_kernel_has_it(device):
    fault("06 01", "short", "0")
    assert device.data(*GET_DEVICE_ID) == b"\xff"


def test_the_second_of_a_doubled_reply_is_dropped_by_the_driver(device, unharmed):
    order("show", "clear")
    fault("06 01", "doubled")
    assert device.data(*GET_DEVICE_ID) == unharmed
    assert device.data(*PICMG_PROPERTIES)[0] == 0
    assert not device.readable()
    assert [entry.get("dropped") for entry in show("log")] == [1, None]


def test_an_answer_can_be_handed_out_twice(device, unharmed):
    fault("06 01", "--count", "1", "answered-twice")
    device.send(9, *GET_DEVICE_ID)
    for _ in range(2):
        device.wait()
        assert device.receive() == (1, 9, 0x07, 0x01, unharmed)
    assert not device.readable()
    assert ipmitool("mc", "info").returncode == 0


def test_a_reply_for_another_fru_is_that_of_the_other_fru(device):
    of_1, of_2 = (device.data(0x2C, 0x01, bytes([0x00, fru])) for fru in (1, 2))
    area_1, area_2 = (device.data(*FRU_AREA, bytes([fru])) for fru in (1, 2))
    assert of_1 != of_2
    fault("2c 01 00 01", "other-fru", "2")
    fault("0a 10 01", "other-fru", "2")
    assert device.data(0x2C, 0x01, b"\x00\x01") == of_2
    assert device.data(*FRU_AREA, b"\x01") == area_2
    assert device.data(*FRU_AREA, b"\x02") == area_2
    assert (area_1[0], area_2[0]) == (0, 0)


def simulators():
    return [int(path.parent.name) for path in Path("/proc").glob("[0-9]*/comm") if path.read_text() == "ipmi_sim\n"]


def test_a_controller_that_goes_away_at_a_request_is_killed_and_comes_back(device, unharmed):
    (before,) = simulators()
    fault("06 01", "--count", "1", "gone", "50")
    assert device.data(*GET_DEVICE_ID) == TIME_OUT
    assert device.data(*GET_DEVICE_ID) == unharmed
    (after,) = simulators()
    assert before != after


def test_a_controller_that_is_restarted_at_a_request_misses_that_one_only(device, unharmed):
    (before,) = simulators()
    fault("06 01", "--count", "1", "restarted")
    device.send(1, *GET_DEVICE_ID)
    device.send(2, *PICMG_PROPERTIES)
    device.wait()
    assert device.receive() == (1, 1, 0x07, 0x01, TIME_OUT)
    device.wait()
    assert device.receive()[4][0] == 0
    assert device.data(*GET_DEVICE_ID) == unharmed
    (after,) = simulators()
    assert before != after


def test_a_controller_that_does_not_come_back_by_itself_is_started(device, unharmed):
    fault("06 01", "--count", "1", "gone", "0")
    assert [device.data(*GET_DEVICE_ID), device.data(*PICMG_PROPERTIES)] == [TIME_OUT] * 2
    assert simulators() == []
    order("controller", "start")
    assert device.data(*GET_DEVICE_ID) == unharmed


def test_a_stopped_controller_answers_nobody_until_it_is_started(device, unharmed):
    order("controller", "stop")
    assert simulators() == []
    assert device.data(*GET_DEVICE_ID) == TIME_OUT
    assert bladesim("show", "leds").stderr == "bladesim: the controller is stopped\n"
    order("controller", "stop")
    order("controller", "start")
    order("controller", "start")
    assert len(simulators()) == 1
    assert device.data(*GET_DEVICE_ID) == unharmed
    assert ipmitool("mc", "info").returncode == 0


def test_a_request_that_is_outstanding_when_the_controller_goes_is_answered_by_time_out(device):
    fault("06 01", "--count", "1", "lost")
    device.send(1, *GET_DEVICE_ID)
    order("controller", "restart")
    device.wait()
    assert device.receive()[4] == TIME_OUT
    assert device.data(*PICMG_PROPERTIES)[0] == 0


def test_a_restarted_controller_remembers_nothing(device):
    blue = b"\x00\x00\x00"  # the blue LED of FRU 0
    at_first = device.data(*GET_LED, blue)
    assert device.data(*SET_LED, blue + b"\xff\x00\x01")[0] == 0
    assert device.data(*GET_LED, blue) != at_first
    order("controller", "restart")
    assert device.data(*GET_LED, blue) == at_first


def test_a_controller_that_was_killed_by_somebody_else_can_be_started_again(device, unharmed):
    (simulator,) = simulators()
    descriptor = os.pidfd_open(simulator)
    os.kill(simulator, signal.SIGKILL)
    assert select.select([descriptor], [], [], SECONDS)[0]
    os.close(descriptor)
    assert device.data(*GET_DEVICE_ID) == TIME_OUT
    order("controller", "restart")
    assert device.data(*GET_DEVICE_ID) == unharmed


def test_requests_are_counted_and_kept_in_their_order(device):
    other = Device()
    device.data(*GET_DEVICE_ID)
    other.data(*FRU_AREA, b"\x00")
    fault("06 01", "--count", "1", "completion-code", "0xC1")
    device.data(*GET_DEVICE_ID)
    other.close()
    assert show("requests") == [
        {"netfn": 0x06, "command": 0x01, "name": "Get Device ID", "count": 2},
        {"netfn": 0x0A, "command": 0x10, "name": "Get FRU Inventory Area Info", "count": 1},
    ]
    log = show("log")
    assert [(entry["request"], entry["code"], entry.get("fault")) for entry in log] == [
        ("06 01", 0, None), ("0a 10 00", 0, None), ("06 01", 0xC1, "completion-code"),
    ]  # fmt: skip
    assert log[0]["opener"] == log[2]["opener"] != log[1]["opener"]


def test_everything_is_shown_at_once():
    order("controller", "stop")
    everything = json.loads(order("show", "--json"))
    assert {name for name, value in everything.items() if value is None} == {"leds", "controls"}
    order("controller", "start")
    everything = json.loads(order("show", "--json"))
    assert set(everything) == {"requests", "log", "leds", "controls", "faults"}
    assert all(isinstance(value, list) for value in everything.values())
    assert {led["fru"] for led in everything["leds"]} == {0, 1, 2, 3}


def test_a_fru_control_and_a_lit_led_are_shown(device):
    order("controller", "restart")
    assert device.data(0x2C, 0x04, b"\x00\x02\x00")[0] == 0
    assert device.data(*SET_LED, b"\x00\x02\x01\xff\x00\x02")[0] == 0
    assert show("controls") == [{"fru": 2, "option": 0, "count": 1}]
    (led,) = [led for led in show("leds") if (led["fru"], led["led"]) == (2, 1)]
    assert (led["mode"], led["state"], led["color"]) == ("override", "on", "red")
    assert "● on" in order("show", "leds")
    assert "cold reset" in order("show", "controls")


@pytest.mark.parametrize(
    ("words", "message"),
    [
        (["fault"], "A subcommand is required"),
        (["fault", "add"], "REQUEST is required"),
        (["fault", "add", "06", "lost"], "request: expected network function, command and data bytes"),
        (["fault", "add", "06 01", "vanish"], "do: expected one of completion-code, reply, lost, late"),
        (["fault", "add", "06 01", "late"], "argument: is missing"),
        (["controller", "pause"], "A subcommand is required"),
        (["show", "nonsense"], "nonsense"),
    ],
)
def test_bad_usage_is_said_and_nothing_is_done(words, message):
    done = bladesim(*words)
    assert done.returncode == 2
    assert message in done.stderr
    assert order("fault", "list", "--json") == "[]\n"
