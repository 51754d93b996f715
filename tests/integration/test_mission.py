"""What keeps the blade from starting: tools that fail, addresses that are none. These tests run in a typical
blade: DSPs in bay 3 alone, a module without in bay 6, an RTM with trunks (bay 9)."""

import os
import signal

import pytest
from inside import order
from mission import (  # noqa: F401 (two are fixtures)
    FAILED,
    FOR_EVER,
    INITIALISING,
    INSTALL,
    LED_BLINKS,
    LED_OFF,
    LED_ON,
    NOT_STARTED,
    RUNNING,
    command_lines,
    fresh_tools,
    led,
    media_runs,
    missions,
    run_of,
    runs,
    shell_of,
    write_address,
)
from protocol import COMPONENT_IPMI, COMPONENT_MEDIA_ADAPTOR, RTM_BAY
from protocol import STARTUP_DSP_FAILED as DSP_FAILED
from protocol import STARTUP_FAILED as INIT_FAILED
from protocol import STARTUP_MEDIA_START_FAILED as MEDIA_START_FAILED
from protocol import STARTUP_MEDIA_STOP_FAILED as MEDIA_STOP_FAILED

BAYS = (3, 6, RTM_BAY)
START_TOOLS = ["mavk_init", "mavk_boot", "mavk_diag", "mediaStart"]

# The effect of a tool that fails on the start: its result, the run status, the out-of-service LED, component and text of what it logs.
FAILURES = {
    "mavk_init": (INIT_FAILED, INITIALISING, LED_BLINKS, COMPONENT_IPMI, "Fail to initialize DSP"),
    "mavk_boot": (DSP_FAILED, FAILED, LED_ON, COMPONENT_IPMI, "Fail to download DSP ErrorID = {}"),
    "mavk_diag": (DSP_FAILED, FAILED, LED_ON, COMPONENT_IPMI, "DSPs Post Test Fail, ErrorID = {}"),
    "mediaStart": (MEDIA_START_FAILED, RUNNING, LED_OFF, COMPONENT_MEDIA_ADAPTOR, "Fail to start MEDIA SERVER "),
}
# The shell reports a tool that a signal ended by a status.
ENDS = [("--exit", 1, 1), ("--exit", 7, 7), ("--exit", 16, 16), ("--exit", 126, 126), ("--exit", 255, 255), ("--signal", 9, 137), ("--signal", 11, 139), ("--signal", 15, 143)]


def tools():
    return [run["tool"] for run in runs()]


def out_of_service_led():
    mode, state, color, on, off = led(3, 1)
    assert (mode, color) == ("override", "red")
    return state, on, off


@pytest.mark.parametrize("end", ENDS, ids=lambda end: f"{end[0][2:]}-{end[1]}")
@pytest.mark.parametrize("tool", FAILURES)
def test_a_tool_that_fails_ends_the_start(mission, tool, end):
    result, status, light, component, text = FAILURES[tool]
    option, number, code = end
    order("tool", "set", tool, option, str(number), "--times", "1")
    host = mission()
    assert host.result("start") == result
    assert tools() == START_TOOLS[: START_TOOLS.index(tool) + 1]
    assert host.run_status() == dict.fromkeys(BAYS, status)
    assert out_of_service_led() == light
    assert led(3, 2) == ("override", "on", "green", 0, 0)
    log = host.log()
    assert (3, component, text.format(code)) in log
    assert (3, COMPONENT_IPMI, f"TRACE - done Calling mavk_init with rc1={code if tool == 'mavk_init' else 0}") in log
    assert not media_runs()
    # The next start finds the tool sound.
    assert host.result("start") == 1
    assert host.run_status() == dict.fromkeys(BAYS, RUNNING)
    assert out_of_service_led() == LED_OFF


@pytest.mark.parametrize(("tool", "result"), [("mavk_init", 1), ("mavk_boot", 1), ("mavk_diag", 1), ("mediaStart", MEDIA_START_FAILED)])
def test_a_shell_that_is_killed_has_no_status_which_the_dsps_tools_pass_with(mission, tool, result):
    order("tool", "set", tool, "--delay", FOR_EVER, "--times", "1")
    host = mission()
    host.send("start")
    run = run_of(tool)
    os.kill(shell_of(run), signal.SIGKILL)
    assert host.answer()["result"] == result
    assert host.run_status() == dict.fromkeys(BAYS, RUNNING)


def test_the_out_of_service_led_blinks_while_the_dsps_are_initialised(mission):
    order("tool", "set", "mavk_init", "--delay", FOR_EVER)
    host = mission()
    host.send("start")
    run = run_of("mavk_init")
    assert out_of_service_led() == LED_BLINKS
    order("tool", "set", "mavk_init")
    os.kill(run["process"], signal.SIGTERM)
    assert host.answer()["result"] == INIT_FAILED


@pytest.mark.parametrize(("end", "result"), [(["--exit", "1"], MEDIA_STOP_FAILED), (["--signal", "9"], MEDIA_STOP_FAILED), ([], 1)], ids=str)
def test_a_stop_tells_whether_the_media_software_could_be_stopped(mission, end, result):
    host = mission()
    assert host.result("start") == 1
    order("tool", "set", "mediaStop", *end)
    assert host.result("stop") == result
    assert media_runs() == (result != 1)
    assert host.texts(COMPONENT_MEDIA_ADAPTOR).count("Fail to stop MEDIA SERVER ") == (result != 1)


@pytest.mark.parametrize("failure", ["mavkAmcSwitchMACLearnByDSP 9 2", "mavkAmcSwitchMACLearn 5 7", "mavkAmcSwitchMACLearn 5 8"])
def test_a_switch_that_cannot_be_taught_ends_the_start(mission, failure):
    order("switch", "fail", *failure.split())
    host = mission()
    try:
        assert host.result("start") == DSP_FAILED
    finally:
        order("switch", "clear", failure.split()[0], failure.split()[2])
    assert tools() == ["mavk_init"]
    assert host.run_status() == dict.fromkeys(BAYS, FAILED)
    assert "Fail to teach switch ErrorID = 0" in host.texts(COMPONENT_IPMI)


# Addresses. The second DSP is given one.

OFF_SUBNET = ["192.168.1.22", "192.169.0.22", "10.0.0.1", "255.255.255.255", "0.0.0.0", "", "nonsense", "192.168.0.256", "192.168.0.22.1"]
ON_SUBNET = ["192.168.0.1", "192.168.0.255", "0xc0a80016", "192.168.22", "0300.0250.0.026"]
# Each of them would make a file, were it a shell's to read. The kernel's way of reading an address stops at a blank.
HOSTILE = [
    "192.168.0.22 ;touch {}",
    "192.168.0.22 $(touch {})",
    "192.168.0.22 `touch {}`",
    "192.168.0.22 |touch {}",
    "192.168.0.22 &touch {}&",
    "192.168.0.22 >{}",
    "192.168.0.22\t>{}",
    "192.168.0.22 '>{}'",
    "192.168.0.22\f>{}",
    "192.168.0.22 /9/02:00:00:00:00:00/192.168.0.1",
    "$(touch${{IFS}}{})",
    "192.168.0.22;touch {}",
    "192.168.0.$(touch {})",
]


def assert_off_the_subnet(host, address):
    assert host.result(write_address(2, address)) == 1
    assert host.result("start") == 0
    shown = address.replace("\f", "?")  # no byte of the log controls a terminal
    assert host.texts(COMPONENT_IPMI) == [f"m_pDspInfo[1] IP Address ={shown}, is not on same subnet(0xFFF0) of eth6, IP Address = 192.168.0.6"]
    assert command_lines() == []
    assert host.run_status() == dict.fromkeys(BAYS, NOT_STARTED)
    assert not media_runs()


@pytest.mark.parametrize("address", OFF_SUBNET)
def test_an_address_off_the_subnet_keeps_the_blade_from_starting(mission, address):
    host = mission()
    assert_off_the_subnet(host, address)
    assert host.result(write_address(2, "192.168.0.22")) == 1
    assert host.result("start") == 1


@pytest.mark.parametrize("address", ON_SUBNET)
def test_an_address_on_the_subnet_reaches_the_tools_as_it_was_written(mission, address):
    host = mission()
    assert host.result(write_address(2, address)) == 1
    assert host.result("start") == 1
    group = f"/1/02:4D:71:00:00:09/{address}"
    assert [run["argv"][-3] for run in runs() if run["tool"] in ("mavk_boot", "mavk_diag")][:2] == [group, group]


@pytest.mark.parametrize("address", HOSTILE)
def test_a_hostile_address_reaches_no_shell(mission, tmp_path, address):
    canary = tmp_path / "canary"
    address = address.format(canary)
    host = mission()
    assert_off_the_subnet(host, address)
    # As another process finds it in the storage.
    other = mission()
    assert other.result("start") == 0
    assert command_lines() == []
    assert not canary.exists()
    assert {entry.name for entry in tmp_path.iterdir()} == {"storage", "log"}
