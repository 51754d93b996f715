"""What `bmhost why` says beside a resident host: what its monitor found, a controller that is lost, calls that failed. These tests run
in a typical blade."""

import json
import os
import subprocess

import pytest
from conftest import SECONDS, bin_folder
from inside import order, sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools, install_folder  # noqa: F401 (one is a fixture)
from test_why import fault_of, of_page


def bmhost(*words):
    """Its exit status, the last line of its output, and what it said on standard error."""
    done = subprocess.run([bin_folder() / "bmhost", "--json", *words], capture_output=True, text=True, timeout=SECONDS)
    return done.returncode, json.loads(done.stdout.splitlines()[-1]), done.stderr


def faults():
    status, line, _ = bmhost("why")
    assert line["op"] == "why"
    assert (status, line["good"]) == ((1, False) if line["faults"] else (0, True))
    return line["faults"]


@pytest.fixture
def resident(tmp_path):
    """Starts bmhostd, and gives what it has said; it ends with its test."""
    processes = []

    def start(environment=None):
        log = tmp_path / "lines"
        folders = ["--storage", str(tmp_path / "storage"), "--state", str(tmp_path / "state")]
        with log.open("w") as lines:
            words = [bin_folder() / "bmhostd", "--json", *folders]
            processes.append(subprocess.Popen(words, stdout=lines, stderr=subprocess.DEVNULL, env={**os.environ, **(environment or {})}))
        return lambda: [json.loads(line) for line in log.read_text().splitlines(keepends=True) if line.endswith("\n")]

    yield start
    for process in processes:
        process.terminate()
        process.wait(SECONDS)


def wait_for_call(said, operation):
    wait_until(lambda: any(line["op"] == operation for line in said()))


def wait_for_health(said, state):
    wait_until(lambda: any(line["op"] == "health" and line["state"] == state for line in said()))


def test_a_sound_blade_has_nothing_wrong(resident):
    said = resident()
    wait_for_call(said, "start")
    wait_for_health(said, "monitored")
    assert faults() == []


MONITOR = {
    "media software": (("media", "set", "silent"), "the media software does not answer", "QBoardStatusReply() failed in IsVXPLive()"),
    "AMCs": (("tool", "set", "mavk_diag", "--exit", "16"), "the diagnostic found a broken AMC: `mavk_diag` ended with 16", "AMC failed"),
    "RTM": (("tool", "set", "mavk_diag", "--exit", "32"), "the diagnostic found a broken RTM: `mavk_diag` ended with 32", "RTM failed"),
    "DSPs": (("tool", "set", "mavk_diag", "--exit", "2"), "the diagnostic found firmware that has stopped: `mavk_diag` ended with 2", "Firmware failed"),
    "diagnostic": (("tool", "set", "mavk_diag", "--exit", "1"), "`mavk_diag` ended with 1 or an unknown code, or could not be run", "Invalid parameters"),
}


@pytest.mark.parametrize("place", MONITOR)
def test_what_the_monitor_found_is_named_and_that_monitoring_has_ended(resident, tmp_path, place):
    words, cause, line = MONITOR[place]
    said = resident(install_folder(tmp_path / "install", words))
    wait_for_health(said, "fault")
    fault = fault_of(faults(), place)
    assert (fault["what"], fault["cause"], fault["cure"]) == ("health: fault", cause, of_page(cause))
    assert line in fault["evidence"]
    assert fault["evidence"][-1].startswith("monitoring ended ")


def test_a_start_that_failed_is_named_and_tried_again_once_the_cause_is_gone(resident):
    order("tool", "set", "mavk_boot", "--exit", "3")
    said = resident()
    wait_for_call(said, "start")
    assert faults()[0]["evidence"][0] == "Fail to download DSP ErrorID = 3"
    order("tool", "clear")
    assert bmhost("start")[0] == 0
    assert faults() == []


def test_a_controller_that_is_lost_explains_everything_that_is_old(resident):
    said = resident()
    wait_for_call(said, "start")
    order("controller", "stop")
    wait_until(lambda: any(fault["what"].startswith("controller lost since ") for fault in faults()))
    fault = faults()[0]
    assert (fault["place"], fault["cure"]) == ("controller", of_page(fault["cause"]))
    assert not [each for each in faults() if "not read any more" in each["what"]]
    order("controller", "start")
    wait_until(lambda: faults() == [])
