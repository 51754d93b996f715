"""The resident host and the shell through a whole mission: what they report of a blade that starts, fails, is upgraded and stops. These tests
run in a typical blade."""

import json
import os
import re
import select
import signal
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import order, wait_until
from mission import FOR_EVER, NEVER, command_lines, fresh_tools, install_folder, media_runs, run_of, runs, shell_of  # noqa: F401 (one is a fixture)
from resident import hosts_of

INITIALISING, RUNNING, FAILED = 3, 4, 5
DSP_FAILED = 0x30012


def bmhost(*words, environment=None):
    return subprocess.Popen(
        [bin_folder() / "bmhost", *words],
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        env={**os.environ, **(environment or {})},
    )


class Resident:
    """A `bmhost run` and the lines that it has printed so far."""

    def __init__(self, folder, environment=None, options=()):
        self.process = bmhost("--json", "--storage", folder / "storage", "run", *options, environment=environment)
        self.lines, self.rest = [], b""

    def wait_for(self, wanted):
        """Takes its lines up to one that has all this."""
        while not any(wanted.items() <= line.items() for line in self.lines):
            assert select.select([self.process.stdout], [], [], SECONDS)[0], f"no {wanted} in {self.lines}"
            self.take(os.read(self.process.stdout.fileno(), 65536))

    def take(self, data):
        assert data, f"it ended with {self.lines}"
        *lines, self.rest = (self.rest + data).split(b"\n")
        self.lines += [json.loads(line) for line in lines]

    def signal(self, number=signal.SIGTERM):
        self.process.send_signal(number)

    def end(self):
        """Its exit status."""
        out, self.errors = self.process.communicate(timeout=SECONDS)
        if self.rest or out:
            self.take(out.encode())
        return self.process.returncode

    def calls(self):
        return [(line["op"], line["result"]) for line in self.lines if "result" in line]

    def run_status(self):
        """What was told, module by module."""
        return [line["params"][0]["value"] for line in self.lines if line["op"] == "event"]


@pytest.fixture
def resident(tmp_path):
    with hosts_of(lambda environment=None, options=(): Resident(tmp_path, environment, options)) as start:
        yield start


MONITORED = {"op": "health", "state": "monitored"}
FAULT = {"op": "health", "state": "fault"}
ALL_GOOD = [("init", 1), ("start", 1), ("stop", 1), ("fin", 1)]


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_signal_ends_a_blade_that_runs(resident, number):
    host = resident()
    host.wait_for(MONITORED)
    wait_until(lambda: command_lines()[4:] and runs()[4]["end_ms"] is not None)  # while a tool starts, an interrupt may be lost
    host.signal(number)
    assert host.end() == 0
    assert host.calls() == ALL_GOOD
    assert host.run_status() == [INITIALISING] * 3 + [RUNNING] * 3
    assert not media_runs()


@pytest.mark.parametrize(
    ("media", "reasons"),
    [
        (["wrong-type"], ["Unexpected msg (msgtype = 0x800099) received. expecting msgtype = 0x800072", "QBoardStatusReply() failed in IsVXPLive()"]),
        (
            ["faulty", "--processor", "7", "--severity", "2", "--error-file", "a.c", "--cause-file", "b.c"],
            ["Processor 7, User Severity 2, Error File a.c, Cause File b.c"],
        ),
    ],
    ids=["wrong-type", "faulty"],
)
def test_a_fault_of_the_media_software_is_told_and_the_host_goes_on(resident, media, reasons):
    order("media", "set", *media)
    host = resident()
    host.wait_for(FAULT)
    assert next(line for line in host.lines if line.get("state") == "fault")["reasons"] == reasons
    assert host.process.poll() is None
    host.signal()
    assert host.end() == 1
    assert host.calls() == ALL_GOOD


@pytest.mark.parametrize(("status", "reason"), [(2, "Firmware failed"), (16, "AMC failed"), (32, "RTM failed")])
def test_a_fault_that_the_diagnostic_finds_is_told_with_what_it_printed(resident, tmp_path, status, reason):
    host = resident(install_folder(tmp_path / "korvel", ["tool", "set", "mavk_diag", "--exit", str(status)]))
    host.wait_for(FAULT)
    assert next(line for line in host.lines if line.get("state") == "fault")["reasons"] == [reason]
    host.signal()
    assert host.end() == 1
    assert "mavk_diag: " in host.errors


def test_a_start_that_fails_ends_the_host_where_that_is_wanted(resident):
    order("tool", "set", "mavk_boot", "--exit", "3")
    host = resident(options=["--exit-on-fault"])
    assert host.end() == 1
    assert ("start", DSP_FAILED) in host.calls()
    assert host.calls()[-1] == ("fin", 1)
    assert host.run_status() == [INITIALISING] * 3 + [FAILED] * 3
    assert "mavk_boot: " in host.errors
    assert not media_runs()


def wait_until_taken(process, number):
    """The start of the next tool drops a Ctrl-C that has not been taken yet."""
    def is_pending():
        return int(re.search(r"^ShdPnd:\s*(\w+)", Path(f"/proc/{process}/status").read_text(), re.MULTILINE)[1], 16) >> (number - 1) & 1

    wait_until(lambda: not is_pending())


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_signal_while_a_tool_runs_lets_it_end_and_stops_what_was_started(resident, number):
    order("tool", "set", "mavk_boot", "--delay", FOR_EVER)
    host = resident()
    run = run_of("mavk_boot")
    host.signal(number)
    wait_until_taken(host.process.pid, number)
    os.kill(shell_of(run), signal.SIGKILL)  # which passes
    os.kill(run["process"], signal.SIGKILL)
    assert host.end() == 0
    assert host.calls() == ALL_GOOD
    assert not media_runs()


def test_a_third_signal_ends_the_host_at_once_and_leaves_the_tool_to_itself(resident):
    order("tool", "set", "mavk_diag", "--delay", FOR_EVER)
    host = resident()
    run = run_of("mavk_diag")
    for _ in range(2):
        host.signal()
    with pytest.raises(subprocess.TimeoutExpired):
        host.process.wait(NEVER)
    wait_until(lambda: host.process.poll() is not None or host.signal())  # two that come at once count as one
    assert os.path.exists(f"/proc/{run['process']}")
    os.kill(run["process"], signal.SIGKILL)  # it has the host's standard error
    assert host.end() != 0
    assert ("stop", 1) not in host.calls()


def modules_in(out, run_status):
    """How many rows of a status have this one."""
    return sum(line.startswith("  ") and run_status in line for line in out.splitlines())


def test_a_shell_takes_a_blade_through_its_whole_mission(tmp_path):
    image = tmp_path / "rtm.img"
    image.write_text("firmware")
    lines = ["init", "start", "status", f"firmware update --target rtm --yes {image}", "firmware show", "stop", "quit"]
    host = bmhost("--storage", tmp_path / "storage", "shell")
    out, errors = host.communicate("\n".join(lines) + "\n", timeout=SECONDS)
    assert host.returncode == 0, errors
    assert modules_in(out, "running (4)") == 3
    assert "RTM: upgraded, " in out
    assert "\nRTM: done\n" in out
    assert [run["tool"] for run in runs() if run["argv"][1:2] != ["-r"]] == ["mavk_init", "mavk_boot", "mavk_diag", "mediaStart", "fwburn", "mediaStop"]
    (burn,) = [run["argv"] for run in runs() if run["tool"] == "fwburn"]
    assert burn[:-1] == ["fwburn", "-i", "KCS", "-M", "direct", "--target", "rtm"] and burn[-1].endswith(".image")
    assert not media_runs()


def test_a_shell_shows_a_start_that_failed_and_stops_at_its_end(tmp_path):
    order("tool", "set", "mavk_diag", "--exit", "7")
    host = bmhost("--storage", tmp_path / "storage", "shell")
    out, errors = host.communicate("init\nstart\nstatus\n", timeout=SECONDS)
    assert host.returncode == 1
    assert modules_in(out, "failed (5)") == 3
    assert "mavk_diag: " in out + errors
    assert [run["tool"] for run in runs()] == ["mavk_init", "mavk_boot", "mavk_diag", "mediaStop"]
