"""The resident host next to the test: what answers on its socket, and hosts that end with the test that started them."""

import contextlib
import json
import os
import signal
import socket
import subprocess
from http.client import HTTPConnection
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import wait_until

SOCKET = Path(os.environ.get("BLADESIM_RUN_DIR", "/nowhere")) / "bmhost.sock"


class Connection(HTTPConnection):
    """HTTP over the host's socket."""

    def __init__(self):
        super().__init__("localhost", timeout=SECONDS)

    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.settimeout(SECONDS)
        self.sock.connect(str(SOCKET))


def ask(path, body=None):
    """Status and JSON of an answer."""
    connection = Connection()
    if body is None:
        connection.request("GET", path)
    else:
        connection.request("POST", path, json.dumps(body), {"Content-Type": "application/json"})
    answer = connection.getresponse()
    result = answer.status, json.loads(answer.read())
    connection.close()
    return result


def part(name):
    status, body = ask(f"/v1/blade/{name}")
    assert status == 200, body
    return body


def started():
    start = part("host")["start"]
    return start is not None and start["result"] == 1


def wait_for_sweep():
    """Until every LED of the typical blade has been read: the first one is read again."""
    wait_until(lambda: {row["bay"] for row in part("leds")} == {0, 3, 6, 9})
    first = part("leds")[0]["read_at"]
    wait_until(lambda: part("leds")[0]["read_at"] != first)


class ServingHost:
    """A process that serves the socket."""

    def __init__(self, words, errors, out=subprocess.DEVNULL):
        """@param errors  the file of its standard error"""
        self.errors = errors
        with open(errors, "a") as file:
            self.process = subprocess.Popen(words, stdout=out, stderr=file, text=True)
        wait_until(self.serves)

    def serves(self):
        assert self.process.poll() is None, self.errors.read_text()
        try:
            return ask("/v1")[0] == 200
        except OSError:
            return False


class Resident(ServingHost):
    """A `bmhost run` that keeps what it stores in a folder."""

    def __init__(self, folder, *options):
        words = ["--json", "--storage", str(folder / "storage"), "run", "--state", str(folder / "state"), "--sweep", "1", *options]
        super().__init__([bin_folder() / "bmhost", *words], folder / "errors", subprocess.PIPE)

    def end(self, number=signal.SIGTERM):
        """Its exit status, and results of its lifecycle calls."""
        self.process.send_signal(number)
        out, _ = self.process.communicate(timeout=SECONDS)
        self.lines = [json.loads(line) for line in out.splitlines()]
        return self.process.returncode, [(line["op"], line["result"]) for line in self.lines if "result" in line]


@contextlib.contextmanager
def hosts_of(make):
    """Gives a function that makes one, as often as it is called; they end with the test."""
    hosts = []

    def start(*arguments, **options):
        hosts.append(make(*arguments, **options))
        return hosts[-1]

    try:
        yield start
    finally:
        for host in hosts:
            host.process.kill()
            host.process.wait(SECONDS)
            if host.process.stdout:
                host.process.stdout.close()


@pytest.fixture
def resident(tmp_path):
    with hosts_of(lambda *options: Resident(tmp_path, *options)) as start:
        yield start
