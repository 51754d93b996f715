"""What clients see of the adaptor's events: in a shell, and across hosts that come and go. These tests run in a typical blade."""

import json
import os
import signal
import subprocess
import threading
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import wait_until

BLADE = Path(os.environ.get("BLADESIM_RUN_DIR", "/nowhere"))
RUN_STATUS = "write 0x30200 0x30201={bay} -- 0x30208={status}\n"


def bmhost(*words, text=""):
    return subprocess.run([bin_folder() / "bmhost", *map(str, words)], input=text, capture_output=True, text=True, timeout=SECONDS)


def process_of_host():
    words = ["curl", "-s", "--unix-socket", BLADE / "bmhost.sock", "http://localhost/v1/blade/host"]
    asked = subprocess.run(words, capture_output=True, text=True, timeout=SECONDS)
    return json.loads(asked.stdout)["process"] if asked.stdout else None


def event(bay, status):
    """The line of it; its number is the group's own."""
    params = [{"id": "0x30208", "type": 1, "key": False, "value": status}, {"id": "0x30201", "type": 1, "key": True, "value": bay}]
    return {"op": "event", "event": "0x70402", "number": 5, "params": params}


@pytest.fixture
def host(tmp_path):
    hosts = []

    def start():
        words = ["--no-start", "--storage", tmp_path / "storage", "--state", tmp_path / "state"]
        process = subprocess.Popen([bin_folder() / "bmhostd", *words], stdout=subprocess.DEVNULL, stderr=(tmp_path / "errors").open("a"))
        hosts.append(process)
        wait_until(lambda: process_of_host() == process.pid and bmhost("inventory").returncode == 0)
        return process

    yield start
    for each in hosts:
        each.kill()
        each.wait()


def end(process, number=signal.SIGTERM):
    process.send_signal(number)
    process.wait(SECONDS)


class Lines:
    """A bmhost that is asked, or tells, line by line."""

    def __init__(self, *words):
        self.process = subprocess.Popen(
            [bin_folder() / "bmhost", "--json", *map(str, words)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, bufsize=1
        )
        self.limit = threading.Timer(SECONDS, self.process.kill)  # a line that never comes fails then
        self.limit.start()

    def line(self):
        return json.loads(self.process.stdout.readline())

    def call(self, text):
        self.process.stdin.write(text.rstrip("\n") + "\n")
        return self.line()

    def ended(self):
        # Not communicate(): it does not know of what readline() has read ahead.
        out, err = self.process.stdout.read(), self.process.stderr.read()
        self.process.wait(SECONDS)
        self.limit.cancel()
        return self.process.returncode, [json.loads(line) for line in out.splitlines()], err


def test_a_shell_waits_for_events_beside_a_host_as_with_an_adaptor_of_its_own(host, tmp_path):
    text = RUN_STATUS.format(bay=3, status=4) + RUN_STATUS.format(bay=6, status=5) + "wait-event 20000\nwait-event 20000\nwait-event 0\n"
    own = bmhost("--json", "--storage", tmp_path / "own", "shell", text=text)
    host()
    bmhost("write", "0x30200", "0x30201=9", "--", "0x30208=4")  # before the shell: not among its events
    asked = bmhost("--json", "shell", text=text)
    lines = [json.loads(line) for line in asked.stdout.splitlines()]
    assert lines[2:] == [event(3, 4), event(6, 5), {"op": "wait-event", "result": 0}]
    assert (asked.returncode, asked.stdout) == (own.returncode, own.stdout)


def test_a_shell_waits_for_events_of_whoever_causes_them(host):
    host()
    shell = Lines("shell")
    assert shell.call("read 0x30200 0x30201=3")["result"] == 1
    bmhost("write", "0x30200", "0x30201=3", "--", "0x30208=4")
    assert shell.call("wait-event 20000") == event(3, 4)
    shell.process.stdin.close()
    shell.process.stdin = None
    assert shell.ended()[0] == 0


def test_a_shell_waits_on_when_another_host_takes_over(host):
    first = host()
    shell = Lines("shell")
    assert shell.call("read 0x30200 0x30201=3")["result"] == 1  # what was before it does not count
    bmhost("write", "0x30200", "0x30201=3", "--", "0x30208=4")
    assert shell.call("wait-event 20000") == event(3, 4)
    end(first, signal.SIGKILL)
    host()
    bmhost("write", "0x30200", "0x30201=6", "--", "0x30208=4")
    assert shell.call("wait-event 20000") == event(6, 4)
    assert shell.call("read 0x30200 0x30201=3")["result"] == 1
    shell.process.stdin.close()
    shell.process.stdin = None
    assert shell.ended()[0] == 0


def of_run_status(line):
    return line["kind"] == "event" and {param["id"]: param["value"] for param in line["data"]["params"]}


def follow(lines, bay):
    """Reads on to the event of this bay; all lines up to it."""
    seen = []
    while not seen or not (seen[-1]["kind"] == "event" and of_run_status(seen[-1])["0x30201"] == bay):
        seen.append(lines.line())
    return seen


def test_events_end_with_their_host(host):
    process = host()
    events = Lines("events")
    bmhost("write", "0x30200", "0x30201=3", "--", "0x30208=4")
    follow(events, 3)
    end(process)
    status, _, errors = events.ended()
    assert (status, errors) == (1, f"bmhost: the resident host (process {process.pid}) at {BLADE}/bmhost.sock has gone\n")


def test_a_reader_of_an_earlier_hosts_id_is_told_that_it_is_lost(host):
    first = host()
    for _ in range(50):
        assert bmhost("write", "0x30200", "0x30201=3", "--", "0x30208=4").returncode == 0
    events = Lines("events", "--after", 0)
    ids = [line["id"] for line in follow(events, 3)]
    assert ids == list(range(ids[0], ids[0] + len(ids)))
    end(first)
    assert events.ended()[0] == 1
    host()
    bmhost("write", "0x30200", "0x30201=6", "--", "0x30208=4")
    events = Lines("events", "--after", 1000)
    again = follow(events, 6)
    events.process.send_signal(signal.SIGINT)
    assert (again[0]["kind"], again[0]["data"]) == ("lost", {"after": 1000, "first": 1})
    assert [line["id"] for line in again] == list(range(len(again)))
    assert events.ended()[0] == 0


def test_a_reader_that_reads_on_gets_all_of_the_next_host_from_its_first(host):
    first = host()
    bmhost("write", "0x30200", "0x30201=3", "--", "0x30208=4")
    events = Lines("events")
    assert of_run_status(follow(events, 3)[-1])["0x30208"] == 4
    # The reader does not run while there is no host, or it would end.
    events.process.send_signal(signal.SIGSTOP)
    end(first, signal.SIGKILL)
    second = host()
    bmhost("write", "0x30200", "0x30201=6", "--", "0x30208=4")
    events.process.send_signal(signal.SIGCONT)
    ids = [line["id"] for line in follow(events, 6)]
    assert ids[-1] < 50
    new = ids[ids.index(1) :]
    assert new == list(range(1, len(new) + 1))
    events.process.send_signal(signal.SIGINT)
    status, _, errors = events.ended()
    assert (status, errors) == (0, f"bmhost: another host has the blade: bmhostd, process {second.pid}; its events begin anew\n")
