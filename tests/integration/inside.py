"""For tests that run in a blade themselves: orders to the blade, and hosts that run next to the test."""

import json
import select
import subprocess
import time

import pytest
from conftest import SECONDS, bin_folder
from device import Device


def bladesim(*words):
    return subprocess.run([bin_folder() / "bladesim", *words], capture_output=True, text=True, timeout=SECONDS)


def order(*words):
    done = bladesim(*words)
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout


def show(what):
    return json.loads(order("show", what, "--json"))


def requests():
    return [request["request"] for request in show("log")]


def wait_until(condition):
    deadline = time.monotonic() + SECONDS
    while not condition():
        assert time.monotonic() < deadline, "it did not come"
        select.select([], [], [], 0.01)


class Host:
    """A bmhost that makes the calls of a script."""

    def __init__(self, script, *options):
        self.process = subprocess.Popen(
            [bin_folder() / "bmhost", "--mode", "2", "--json", *options, "script", "-"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
        )
        self.process.stdin.write(script)
        self.process.stdin.close()
        self.process.stdin = None

    def is_waiting(self):
        return self.process.poll() is None

    def lines(self):
        """Of standard output, when it has ended by itself."""
        out, self.errors = self.process.communicate(timeout=SECONDS)
        return [json.loads(line) for line in out.splitlines()]

    def kill(self):
        self.process.kill()
        self.process.communicate()


@pytest.fixture(autouse=True)
def sound_blade():
    order("show", "clear")
    yield
    order("fault", "clear")
    order("fault", "release")
    order("controller", "start")


@pytest.fixture
def host():
    hosts = []

    def start(script, *options):
        hosts.append(Host(script, *options))
        return hosts[-1]

    yield start
    for each in hosts:
        each.kill()


class LiveHost(Host):
    """A bmhost whose calls are made one by one, after an init."""

    def __init__(self, *options, mode=2, **popen_options):
        self.process = subprocess.Popen(
            [bin_folder() / "bmhost", "--mode", str(mode), "--json", *options, "script", "-"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
            bufsize=1,
            **popen_options,
        )
        assert self.call("init")["result"] == 1

    def send(self, line):
        self.process.stdin.write(line + "\n")

    def has_answered(self, seconds):
        return bool(select.select([self.process.stdout], [], [], seconds)[0])

    def answer(self):
        assert self.has_answered(SECONDS), "no answer"
        return json.loads(self.process.stdout.readline())

    def call(self, line):
        self.send(line)
        return self.answer()


def ipmitool(*words):
    """Asks through the same /dev/ipmi0."""
    return subprocess.run(["ipmitool", "-I", "open", *words], capture_output=True, text=True, timeout=SECONDS)


def raw(netfn, command, *data):
    """The controller's answer to a request, without its completion code; nothing when that was not 0."""
    device = Device()
    answer = device.data(netfn, command, bytes(data))
    device.close()
    return list(answer[1:]) if answer[0] == 0 else None
