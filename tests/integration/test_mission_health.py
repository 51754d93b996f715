"""The health monitor on a blade that runs: what it asks, each fault that it finds, and how it ends. These tests run in a typical blade."""

import os
import signal
import time

import pytest
from inside import order, wait_until
from mission import (  # noqa: F401 (two are fixtures)
    FOR_EVER,
    INSTALL,
    NEVER,
    RUNNING,
    command_lines,
    fresh_tools,
    install_folder,
    media_runs,
    missions,
    run_of,
    runs,
    shell_of,
)
from protocol import (
    COMPONENT_IPMI,
    COMPONENT_IPMI_ADAPTOR,
    COMPONENT_MONITOR_THREAD,
    MONITOR_STARTED_TEXT,
    MONITOR_STOPPED_TEXT,
    RTM_BAY,
)

BAYS = (3, 6, RTM_BAY)
DSPS = " /0/02:4D:71:00:00:08/192.168.0.23 /1/02:4D:71:00:00:09/192.168.0.22 /2/02:4D:71:00:00:0A/192.168.0.21 /3/02:4D:71:00:00:0B/192.168.0.20"
NO_BOARD_STATUS = "QBoardStatusReply() failed in IsVXPLive()"
NO_PROC_STATUS = "QProcStatusReply() failed in IsVXPLive()"
NOT_RUN = "system() call failed"


def checks():
    """The diagnostics of the health monitor."""
    return [run for run in runs() if run["tool"] == "mavk_diag" and run["argv"][1] == "-r"]


def wait_for_check():
    """The end of the first one."""
    wait_until(lambda: checks() and checks()[0]["end_ms"] is not None)


def assert_starts_again_sound(host):
    """After a fault: no more checks until the next start, which finds nothing."""
    assert host.run_status() == dict.fromkeys(BAYS, RUNNING)  # the fault is not reported there
    order("media", "set", "sound")
    order("tool", "clear")
    assert host.result("start") == 1
    wait_for_check()
    assert host.monitor_texts() is None
    assert host.result("stop") == 1
    assert host.monitor_texts() == []


# The media software's orders, and what the monitor logs.
FAULTY = ["faulty", "--processor", "7", "--severity", "9", "--error-file", "error.c", "--cause-file", "c" * 100]
MEDIA_FAULTS = {
    "wrong-type": (["wrong-type"], ["Unexpected msg (msgtype = 0x800099) received. expecting msgtype = 0x800072", NO_BOARD_STATUS]),
    "result-error": (["result-error"], ["Received QResultError message (ERROR code=0x5) from 64", "Processor status message reply failed", NO_BOARD_STATUS]),
    "standard-error": (
        ["standard-error"],
        ["Received standard ERROR message\nerror_msg=0x800071, error_code=0x7,data[0]=0x1 data[1]=0x2, data[2]=0x3, data[3]=0x4", NO_BOARD_STATUS],
    ),
    "faulty": (FAULTY, [f"Processor 7, User Severity 9, Error File error.c, Cause File {'c' * 62}"]),
    "worst-live-state": (
        ["degraded", "--processor-state", "1", "--processor", "2", "--severity", "0", "--error-file", "x", "--cause-file", "y"],
        ["Processor 2, User Severity 0, Error File x, Cause File y"],
    ),
    "processor-wrong-type": (["wrong-type", "--at-processor"], ["Unexpected msg (msgtype = 0x800099) received. expecting msgtype = 0x80006a", NO_PROC_STATUS]),
    "processor-result-error": (
        ["result-error", "--at-processor"],
        ["Received QResultError message (ERROR code=0x5) from 64", "Processor status message reply failed", NO_PROC_STATUS],
    ),
    "silent": (["silent"], ["Waiting for 0x800072 message timed out. timeout period = 5000 ms", NO_BOARD_STATUS]),
    "processor-silent": (["silent", "--at-processor"], ["Waiting for 0x80006a message timed out. timeout period = 5000 ms", NO_PROC_STATUS]),
}


@pytest.mark.parametrize("name", MEDIA_FAULTS)
def test_the_monitor_finds_that_the_media_software_is_not_well(mission, name):
    words, texts = MEDIA_FAULTS[name]
    order("media", "set", *words)
    host = mission()
    assert host.result("start") == 1
    assert host.wait_for_monitor_to_stop() == texts
    assert checks() == []
    assert media_runs()  # nothing stops it
    assert_starts_again_sound(host)


def test_the_monitor_finds_at_its_next_check_that_the_media_software_has_died(mission):
    host = mission()
    assert host.result("start") == 1
    wait_for_check()
    order("media", "set", "dead")
    assert host.wait_for_monitor_to_stop() == ["Fail to send QBorardStatus MSG in IsVXPLive() with Error Id = 5"]
    assert_starts_again_sound(host)


# Each is live: by its board's state, or since no processor has a fault.
LIVE = [
    ["sound"],
    ["sound", "--board-state", "1", "--sub-state", "4"],
    ["sound", "--board-state", "1", "--sub-state", "0"],
    ["sound", "--board-state", "0", "--sub-state", "9"],
    ["degraded"],
    ["degraded", "--processor-state", "2"],
    ["slow", "--delay", "200"],
]
# None is live, so the monitor asks about the processor.
NOT_LIVE = [["--board-state", "2", "--sub-state", "4"], ["--board-state", "0", "--sub-state", "3"], ["--board-state", "0", "--sub-state", "0"]]


@pytest.mark.parametrize("words", LIVE, ids=" ".join)
def test_a_media_software_that_is_live_leads_to_the_diagnostic(mission, words):
    order("media", "set", *words)
    host = mission()
    assert host.result("start") == 1
    wait_for_check()
    assert command_lines()[4:] == [f"{INSTALL}/bin/mavk_diag -r{DSPS}"]
    assert host.monitor_texts() is None


@pytest.mark.parametrize("states", NOT_LIVE, ids=" ".join)
def test_a_board_that_is_not_live_has_its_processor_asked(mission, states):
    order("media", "set", "faulty", *states, "--processor", "1", "--severity", "3", "--error-file", "a", "--cause-file", "b")
    host = mission()
    assert host.result("start") == 1
    assert host.wait_for_monitor_to_stop() == ["Processor 1, User Severity 3, Error File a, Cause File b"]


# How the diagnostic ends, and what the monitor logs of it. It is run once more, in words: a status beyond 32 of that one is told, too.
DIAGNOSTICS = [
    (["--exit", "1"], ["Invalid parameters"]),
    (["--exit", "2"], ["Firmware failed"]),
    (["--exit", "16"], ["AMC failed"]),
    (["--exit", "32"], ["RTM failed"]),
    (["--exit", "3"], [NOT_RUN]),
    (["--exit", "31"], [NOT_RUN]),
    (["--exit", "33"], [NOT_RUN, NOT_RUN]),
    (["--exit", "127"], [NOT_RUN, NOT_RUN]),
    (["--signal", "9"], [NOT_RUN, NOT_RUN]),
    (["--exit", "16", "--times", "1"], ["AMC failed"]),
]


@pytest.mark.parametrize(("end", "texts"), DIAGNOSTICS, ids=str)
def test_the_monitor_finds_what_the_diagnostic_finds_and_has_it_told_in_words(mission, tmp_path, end, texts):
    install = tmp_path / "korvel"
    host = mission(install_folder(install, ["tool", "set", "mavk_diag", *end]))
    assert host.result("start") == 1
    assert host.wait_for_monitor_to_stop() == texts
    assert command_lines() == [
        f"{install}/bin/mavk_init -v",
        f"{install}/bin/mavk_boot -v -p -f {install}/data/mavk.axf -i eth6{DSPS}",
        f"{install}/bin/mavk_diag -v -a 30 -p{DSPS}",
        f"{INSTALL}/bin/mediaStart",
        f"{install}/bin/mavk_diag -r{DSPS}",
        f"{install}/bin/mavk_diag -r -v{DSPS}",
    ]
    assert host.result("stop") == 1
    assert host.run_status() == dict.fromkeys(BAYS, RUNNING)


@pytest.mark.parametrize(("value", "words"), [("1", ("-r -b amc", "-r -v -b amc")), ("2104", ("-r -i", "-r -i -v"))])
def test_the_diagnostic_in_words_has_the_form_of_the_blade(mission, tmp_path, value, words):
    install = tmp_path / "korvel"
    host = mission({**install_folder(install, ["tool", "set", "mavk_diag", "--exit", "2"]), "MAVK_RTM": value})
    assert host.result("start") == 1
    assert host.wait_for_monitor_to_stop() == ["Firmware failed"]
    assert command_lines()[-2:] == [f"{install}/bin/mavk_diag {each}{DSPS}" for each in words]


def test_an_install_folder_without_tools_starts_nothing(mission, tmp_path):
    host = mission({"TARSK_KORVEL_DIR": str(tmp_path / "nowhere")})
    assert host.result("start") == 0x30011
    assert "TRACE - done Calling mavk_init with rc1=127" in host.texts(COMPONENT_IPMI)
    assert command_lines() == []


def test_a_diagnostic_whose_shell_is_killed_has_no_status_and_passes(mission, tmp_path):
    host = mission(install_folder(tmp_path / "korvel", ["tool", "set", "mavk_diag", "--delay", FOR_EVER]))
    assert host.result("start") == 1
    os.kill(shell_of(run_of("mavk_diag")), signal.SIGKILL)
    assert host.result("stop") == 1
    assert host.monitor_texts() == []


# The monitor's end.


def test_a_stop_cuts_the_wait_for_the_next_check_short(mission):
    host = mission()
    assert host.result("start") == 1
    wait_for_check()
    begin = time.monotonic()
    assert host.result("stop") == 1
    assert time.monotonic() - begin < 4  # of the five seconds
    assert len(checks()) == 1


def test_a_stop_lets_a_check_under_way_end(mission, tmp_path):
    host = mission(install_folder(tmp_path / "korvel", ["tool", "set", "mavk_diag", "--delay", FOR_EVER, "--times", "1"]))
    assert host.result("start") == 1
    run = run_of("mavk_diag")
    host.send("stop")
    assert not host.has_answered(NEVER)
    assert media_runs()
    os.kill(run["process"], signal.SIGTERM)
    assert host.answer()["result"] == 1
    assert not media_runs()
    assert host.monitor_texts() == [NOT_RUN]  # the tool was ended; in words it passes


def test_a_start_while_the_monitor_runs_has_one_monitor_and_not_two(mission):
    host = mission()
    assert [host.result("start"), host.result("start"), host.result("start"), host.result("stop")] == [1, 1, 1, 1]
    lives = [text for text in host.texts(COMPONENT_IPMI_ADAPTOR) if text.startswith("Monitor Thread")]
    assert lives == [MONITOR_STARTED_TEXT, MONITOR_STOPPED_TEXT] * 3


def test_a_second_host_of_the_blade_has_no_queue_and_no_monitor_but_starts(mission):
    first, second = mission(), mission()
    assert [first.result("start"), second.result("start")] == [1, 1]
    assert second.texts(COMPONENT_MONITOR_THREAD) == ["Fail to bind MSG handle in InitDriver()"]
    assert [first.result("stop"), second.result("stop")] == [1, 1]
