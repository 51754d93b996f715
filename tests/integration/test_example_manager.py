"""The example of a host that keeps a blade in service: calls, events, storage, and a controller that goes and comes back. These tests
run in a typical blade."""

import os
import select
import signal
import subprocess

import pytest
from conftest import bin_folder
from inside import order
from mission import fresh_tools  # noqa: F401 (a fixture)

SECONDS = 20  # the longest wait here takes a few


class Manager:
    """A running example_manager, and the lines that it has said so far."""

    def __init__(self, storage):
        self.process = subprocess.Popen(
            [bin_folder() / "example_manager", storage], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL
        )
        self.text = b""

    @property
    def lines(self):
        return self.text.decode().splitlines()

    def wait_for(self, line):
        while line not in self.lines:
            assert select.select([self.process.stdout], [], [], SECONDS)[0], f"no {line} in {self.lines}"
            data = os.read(self.process.stdout.fileno(), 65536)
            assert data, f"it ended with {self.lines}"
            self.text += data

    def end(self, number=signal.SIGTERM):
        """A SIGINT is lost in the instant in which the adaptor starts a tool, by system(): then another one ends it."""
        self.process.send_signal(number)
        try:
            self.text += self.process.communicate(timeout=SECONDS / 4)[0]
        except subprocess.TimeoutExpired:
            assert number == signal.SIGINT, "it does not end"
            self.process.send_signal(number)
            self.text += self.process.communicate(timeout=SECONDS)[0]
        return self.process.returncode


@pytest.fixture
def manager(tmp_path, fresh_tools):  # noqa: F811
    running = []

    def start(storage=tmp_path / "storage"):
        running.append(Manager(storage))
        return running[-1]

    yield start
    for each in running:
        if each.process.poll() is None:
            each.process.kill()
            each.process.wait()


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_takes_the_blade_into_service_and_out_of_it_again(manager, number):
    host = manager()
    host.wait_for("start: 1")
    assert "init: 1" in host.lines
    for run_status in (3, 4):
        assert f"BMI_EVENT_AMC_RUN_STATUS BMI_HW_AMC_RUN_STATUS={run_status} BMI_HW_AMC_BAY=3" in host.lines
    assert host.end(number) == 0
    assert host.lines[-1] == "stop: 1"


def test_says_when_the_controller_goes_and_comes_back(manager):
    host = manager()
    host.wait_for("start: 1")
    order("controller", "stop")
    try:
        host.wait_for("controller: lost")
    finally:
        order("controller", "start")
    host.wait_for("controller: back")
    assert host.end() == 0


def test_what_was_stored_is_there_after_a_restart(manager, tmp_path):
    first = manager()
    first.wait_for("start: 1")
    assert first.end() == 0
    stored = (tmp_path / "storage").read_text()
    assert "192.168.0.23" in stored
    (tmp_path / "storage").write_text(stored.replace("192.168.0.23", "192.168.0.99"))
    order("tool", "clear")
    second = manager()
    second.wait_for("start: 1")
    assert second.end() == 0
    assert "192.168.0.99" in (tmp_path / "storage").read_text()
    assert "192.168.0.99" in order("tool", "show")


def test_a_start_that_fails_is_named_and_is_a_status(manager):
    order("tool", "set", "mavk_diag", "--exit", "16")
    host = manager()
    host.wait_for("start: STARTUP_DSP_FAILED")
    assert host.process.wait(timeout=SECONDS) == 1


def test_a_file_that_is_no_storage_is_refused(tmp_path):
    (tmp_path / "storage").write_text("something else\n")
    done = subprocess.run([bin_folder() / "example_manager", tmp_path / "storage"], capture_output=True, text=True, timeout=SECONDS)
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr == f"example_manager: {tmp_path}/storage: no storage: something else\n"


@pytest.mark.parametrize("arguments", [(), ("storage", "plugin", "more")])
def test_bad_usage_is_said(arguments):
    done = subprocess.run([bin_folder() / "example_manager", *arguments], capture_output=True, text=True, timeout=SECONDS)
    assert (done.returncode, done.stdout, done.stderr) == (2, "", "usage: example_manager STORAGE [PLUGIN]\n")
