"""The resident host, the shell and firmware upgrades of bmhost on the simulated blade."""

import json
import os
import pty
import re
import select
import signal
import termios
import threading

import pytest
from conftest import SECONDS, bin_folder


def bmhost(blade, *words, input="", options=(), blade_file="typical"):
    return blade.run("--blade", blade_file, "--", "bmhost", *options, *words, input=input)


def test_run_ends_by_itself_where_nothing_can_be_started_and_that_is_wanted(blade):
    done = bmhost(blade, "run", "--exit-on-fault", options=["--json"], blade_file="front-board-only")
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    assert done.returncode == 1
    assert lines[-1] == {"op": "fin", "result": 1}


def test_shell_keeps_one_adaptor_for_all_its_lines(blade):
    done = bmhost(blade, "shell", options=["--mode", "2"], input="write amc_table bay=3 -- run_status=4\nnonsense\nstatus\nquit\nstatus\n")
    assert done.returncode == 1
    assert "unknown command 'nonsense'" in done.stderr
    assert re.search(r"AMC bay 3 +QS-AMC4 Media +running \(4\)", done.stdout)
    assert done.stdout.count("health LED") == 1


def test_status_alone_knows_no_run_status(blade):
    done = bmhost(blade, "status", options=["--mode", "2", "--json"])
    status = json.loads(done.stdout)
    assert (done.returncode, status["good"]) == (0, True)
    assert [(module["place"], module.get("run_status_name")) for module in status["modules"]] == [
        ("baseboard", None),
        ("AMC bay 3", "not started"),
        ("AMC bay 6", "not started"),
        ("RTM", "not started"),
    ]


@pytest.mark.parametrize("file", ["/nowhere", "/dev", "/dev/zero", "empty.bin"])
def test_firmware_refuses_a_file_that_is_no_image(blade, tmp_path, file):
    (tmp_path / "empty.bin").touch()
    done = bmhost(blade, "firmware", "update", "--target", "rtm", str(tmp_path / file))
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr.startswith("bmhost: firmware update: FILE ")


def test_firmware_dry_run_shows_the_write(blade, tmp_path):
    image = tmp_path / "image.bin"
    image.write_text("image")
    done = bmhost(blade, "firmware", "update", "--target", "rtm", str(image), "--dry-run")
    assert (done.returncode, done.stderr) == (0, "")
    assert f"  1       9    0      {image}\n" in done.stdout


@pytest.mark.parametrize("order, status, outcome", [("true", 0, "upgraded, "), ("bladesim tool set fwburn --exit 3", 1, "the upgrade failed, ")])
def test_firmware_follows_an_upgrade_to_its_outcome(blade, tmp_path, order, status, outcome):
    image = tmp_path / "image.bin"
    image.write_text("image")
    done = blade.run("--blade", "typical", "--", "sh", "-c", order + ' && exec bmhost firmware update --target rtm --yes "$1"', "sh", str(image))
    assert done.returncode == status
    assert "RTM: " + outcome in done.stdout


def test_run_brings_the_blade_to_running_media_software_and_stops_at_a_signal(blade):
    process = blade.start("--blade", "typical", "--", "bmhost", "--json", "run", stderr=None)
    deadline = threading.Timer(SECONDS, process.kill)
    deadline.start()
    lines = []
    for line in process.stdout:
        lines.append(json.loads(line))
        if lines[-1].get("state") == "monitored":
            process.send_signal(signal.SIGTERM)
    assert process.wait() == 0, lines
    deadline.cancel()
    assert [(line["op"], line["result"]) for line in lines if "result" in line] == [("init", 1), ("start", 1), ("stop", 1), ("fin", 1)]
    status = [line["params"][0]["value"] for line in lines if line["op"] == "event"]
    assert status == [3, 3, 3, 4, 4, 4]


class Prompt:
    """A shell of bmhost on a terminal."""

    def __init__(self, home):
        environment = {**os.environ, "TERM": "dumb", "XDG_STATE_HOME": str(home)}
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.execve(bin_folder() / "bmhost", ["bmhost", "--mode", "2", "shell"], environment)
        self.text = ""

    def receive(self, complaint):
        assert select.select([self.terminal], [], [], SECONDS)[0], complaint
        return os.read(self.terminal, 4096).decode()

    def read_until(self, text):
        while text not in self.text:
            self.text += self.receive(f"no {text} in {self.text}")
        before, _, self.text = self.text.partition(text)
        return before

    def type(self, text):
        os.write(self.terminal, text.encode())

    def status(self):
        try:
            while True:
                self.receive("it does not end")
        except OSError:
            pass  # the terminal is gone with its process
        return os.waitstatus_to_exitcode(os.waitpid(self.process, 0)[1])


@pytest.fixture
def prompt(tmp_path):
    result = Prompt(tmp_path)
    result.read_until("bmhost> ")
    # Nothing that is typed from here on may get lost in the terminal's own line.
    assert not termios.tcgetattr(result.terminal)[3] & termios.ICANON
    yield result
    try:
        os.kill(result.process, signal.SIGKILL)
    except ProcessLookupError:
        pass
    os.close(result.terminal)


def test_prompt_completes_and_ends_at_the_end_of_input(prompt):
    prompt.type("hel\t qu\t\n")
    prompt.read_until("end the shell")
    prompt.read_until("bmhost> ")
    prompt.type("\x04")
    assert prompt.status() == 0


def test_an_interrupt_at_the_prompt_drops_the_line(prompt):
    prompt.type("nonsense")
    prompt.read_until("nonsense")
    prompt.type("\x03")
    prompt.read_until("bmhost> ")
    prompt.type("status\n")
    prompt.read_until("baseboard")
    prompt.read_until("bmhost> ")
    prompt.type("\x04")
    assert prompt.status() == 0
