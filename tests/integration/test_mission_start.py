"""From nothing to running media software, on each blade that can be started. These tests run in a blade, that of MISSION_BLADE. Command
lines are worked out from its file: eth6's address is 02:4d:71:00:00:06, the DSPs' of each AMC are counted on from its second but one."""

import json
import os
import subprocess

import pytest
from bladefile import AMC, RTM, BladeFile, number
from conftest import SECONDS, bin_folder
from inside import order, wait_until
from mission import INSTALL, LED_OFF, LED_ON, NOT_STARTED, RUNNING, command_lines, fresh_tools, led, media_runs, missions, runs  # noqa: F401 (two are fixtures)
from protocol import COMPONENT_IPMI, COMPONENT_MEDIA_ADAPTOR

NAME = os.environ["MISSION_BLADE"]
FILE = BladeFile(NAME)
AMCS = sorted((number(fru["site"]["number"]), fru) for fru in FILE.frus_of(AMC))
BAYS = [bay for bay, _ in FILE.modules()]
MACS = [f"02:4D:71:00:00:{8 + dsp:02X}" for _, fru in AMCS for dsp in range(len(fru["inventory"].get("dsps", [])))]
DEFAULTS = ["192.168.0.23", "192.168.0.22", "192.168.0.21", "192.168.0.20"]
GIVEN = {dsp: f"192.168.0.{100 + dsp}" for dsp in range(5, len(MACS) + 1)}
DSPS = "".join(f" /{index}/{mac}/{address}" for index, (mac, address) in enumerate(zip(MACS, [*DEFAULTS, *GIVEN.values()], strict=True)))

# The arguments of mavk_init, of the test at the start and of the health monitor's test, depending on the RTM.
NO_RTM = ("-v -r", "-v -a 30 -p -b amc", "-r -b amc")
NO_TRUNKS = ("-v -i", "-v -a 30 -p -i", "-r")
NO_FRAMERS = ("-v -i", "-v -a 30 -p -i", "-r -i")
TRUNKS = ("-v", "-v -a 30 -p", "-r")


def own_words():
    if not FILE.frus_of(RTM):
        return NO_RTM
    return TRUNKS if FILE.frus_of(RTM)[0]["inventory"]["framers"]["trunks_per_framer"] else NO_TRUNKS


def wanted_lines(words):
    init, diagnostic, monitor = words
    return [
        f"{INSTALL}/bin/mavk_init {init}",
        f"{INSTALL}/bin/mavk_boot -v -p -f {INSTALL}/data/mavk.axf -i eth6{DSPS}",
        f"{INSTALL}/bin/mavk_diag {diagnostic}{DSPS}",
        f"{INSTALL}/bin/mediaStart",
        f"{INSTALL}/bin/mavk_diag {monitor}{DSPS}",
    ]


@pytest.fixture
def addresses(tmp_path):
    """Gives addresses to the DSPs from the fifth on, which have no defaults."""
    lines = "".join(f"dsp set-ip {dsp} {address}\n" for dsp, address in GIVEN.items())
    words = [bin_folder() / "bmhost", "--storage", tmp_path / "storage", "shell"]
    done = subprocess.run(words, input=lines, capture_output=True, text=True, timeout=SECONDS)
    assert (done.returncode, done.stderr) == (0, "")


def check_started(host, words):
    """From a start to the end of the health monitor's first check."""
    order("tool", "clear")
    assert host.result("start") == 1
    lines = wanted_lines(words)
    wait_until(lambda: len(runs()) == len(lines) and runs()[-1]["end_ms"] is not None)
    assert command_lines() == lines
    assert [(run["exit"], run["signal"]) for run in runs()] == [(0, None)] * len(lines)
    assert host.run_status() == dict.fromkeys(BAYS, RUNNING)
    assert media_runs()


def test_the_blade_starts_and_stops(mission, addresses):
    host = mission()
    assert host.run_status() == dict.fromkeys(BAYS, NOT_STARTED)
    check_started(host, own_words())
    init, boot, diagnostic = wanted_lines(own_words())[:3]
    assert [text for text in host.texts(COMPONENT_IPMI) if text.startswith("MAVK")] == [f"MAVK_INIT: {init}", f"MAVK_DIAG: {diagnostic}"]
    assert [text for text in host.texts(COMPONENT_MEDIA_ADAPTOR) if text.startswith("MAVK")] == [f"MAVK_BOOT: {boot}"]
    assert host.texts(COMPONENT_IPMI)[-1] == "DSPs Post Test Pass"
    assert host.result("stop") == 1
    assert command_lines()[-1] == f"{INSTALL}/bin/mediaStop"
    assert not media_runs()
    assert host.monitor_texts() == []
    assert host.run_status() == dict.fromkeys(BAYS, RUNNING)  # a stop leaves it
    assert host.result("fin") == 1
    assert host.end() == 0


def test_the_first_amc_shows_that_the_blade_runs(mission, addresses):
    host = mission()
    check_started(host, own_words())
    bay = AMCS[0][0]
    assert led(bay, 1) == ("override", LED_OFF[0], "red", *LED_OFF[1:])
    assert led(bay, 2) == ("override", LED_ON[0], "green", *LED_ON[1:])
    for other, _ in AMCS[1:]:
        assert [led(other, number)[0] for number in (1, 2)] == ["local", "local"]


def test_the_switch_is_taught_the_dsps_and_both_cpus(mission, addresses):
    host = mission()
    check_started(host, own_words())
    learnt = json.loads(order("switch", "show", "--json"))["learnt"]
    cpus = [{"mac": "02:4D:71:00:00:06", "port": 7}, {"mac": "02:4D:71:00:00:07", "port": 8}]
    last = {mac: index for index, mac in enumerate(MACS)}  # AMCs share their addresses: the last DSP has each
    assert learnt == cpus + [{"mac": mac, "dsp": last[mac]} for mac in sorted(last)]


def test_a_blade_starts_again_after_a_stop_and_without_one_and_after_a_fin(mission, addresses):
    host = mission()
    check_started(host, own_words())
    assert host.result("stop") == 1
    check_started(host, own_words())
    check_started(host, own_words())  # the media software runs on
    assert [host.result(call) for call in ("stop", "fin", "init")] == [1, 1, 1]
    check_started(host, own_words())


def test_a_stop_of_a_blade_that_was_not_started_stops_the_media_software_alone(mission):
    host = mission()
    assert [host.result("stop"), host.result("stop")] == [1, 1]
    assert command_lines() == [f"{INSTALL}/bin/mediaStop"] * 2
    assert host.run_status() == dict.fromkeys(BAYS, NOT_STARTED)


@pytest.mark.parametrize(("value", "words"), [("1", NO_RTM), ("2100", NO_FRAMERS), ("2104", NO_FRAMERS), ("2120", NO_TRUNKS), ("2184", TRUNKS)])
def test_the_rtm_of_the_environment_chooses_the_form_of_the_command_lines(mission, addresses, value, words):
    check_started(mission({"MAVK_RTM": value}), words)


if GIVEN:

    def test_dsps_without_an_address_keep_the_blade_from_starting(mission):
        host = mission()
        assert host.result("start") == 0
        assert command_lines() == []
        assert host.texts(COMPONENT_IPMI) == ["m_pDspInfo[4] IP Address =, is not on same subnet(0xFFF0) of eth6, IP Address = 192.168.0.6"]
        assert host.run_status() == dict.fromkeys(BAYS, NOT_STARTED)
        assert not media_runs()
