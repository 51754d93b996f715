"""Hosts that have too many descriptors, none left, or hardly any memory: what is then not possible is refused with its reason, nothing that was
stored is lost, nothing hangs. These tests run in a typical blade."""

import json
import os
import resource
import subprocess
import sys
import xml.etree.ElementTree as ET
from http.client import RemoteDisconnected

import pytest
from conftest import SECONDS, bin_folder
from inside import sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from resident import Connection, ServingHost, hosts_of, part, started, wait_for_sweep
from test_full_disk import ADDRESSES, address, write
from test_full_disk import lines as lines_of_the_log

MANY = 10_000  # descriptors; select() has room for 1,024
STORE = "write 0x30d10 0x30d12=1 -- 0x30d14=s:192.168.0.1\n"
PLUGIN = bin_folder().parent / "lib/libipmi_adaptor.so"
MOST_DESCRIPTORS = 20  # with which everything works
LONGEST = 10  # s; an `Init` that waits for a reply is ended then
DAMAGE = {-4, -7, -8, -11}  # SIGILL, SIGBUS, SIGFPE, SIGSEGV
if sys.maxsize < 2**32:  # there OpenIPMI's ipmi_open_domain follows a null pointer where it gets no memory for its controls
    DAMAGE.remove(-11)


# Becomes the program that its arguments name, with all low descriptors taken.
BESIDE_MANY = [
    "/usr/bin/python3",
    "-c",
    f"""import os, resource, sys
resource.setrlimit(resource.RLIMIT_NOFILE, ({2 * MANY}, {2 * MANY}))
last = os.open("/dev/null", os.O_RDWR)
os.set_inheritable(last, True)
while last < {MANY}:
    last = os.dup(last)
    os.set_inheritable(last, True)
os.execv(sys.argv[1], sys.argv[1:])""",
]


def limit_of(kind, value):
    return lambda: resource.setrlimit(kind, (value, value))


def bmhost_words(folder):
    return ["bmhost", "--direct", "--json", "--mode", "1", "--storage", folder / "storage", "script", "-"]


def run(words, text, before=None, beside=()):
    """Exit status, lines of JSON and standard error."""
    words = [*beside, bin_folder() / words[0], *words[1:]]
    done = subprocess.run(words, input=text, capture_output=True, text=True, errors="replace", timeout=SECONDS, preexec_fn=before)
    return done.returncode, [json.loads(line) for line in done.stdout.splitlines() if line.startswith("{")], done.stderr


def results(lines):
    return [line["result"] for line in lines if "result" in line]


def descriptors_of(process):
    return [int(name) for name in os.listdir(f"/proc/{process}/fd")]


class LimitedHost(ServingHost):
    def __init__(self, folder, beside=(), options=()):
        words = [*beside, bin_folder() / "bmhostd", "--storage", folder / "storage", "--state", folder / "state", "--sweep", "1", *options]
        super().__init__(words, folder / "errors")
        wait_until(started)

    def limit(self, kind, value):
        """From now on; gives what it was."""
        return resource.prlimit(self.process.pid, kind, (value, resource.prlimit(self.process.pid, kind)[1]))


@pytest.fixture
def resident(tmp_path):
    with hosts_of(lambda *arguments: LimitedHost(tmp_path, *arguments)) as start:
        yield start


def test_a_command_works_beside_ten_thousand_descriptors(tmp_path):
    script = f"init\ntable 0x30000\nread 0x100 0x101=1\n{STORE}fin\n"
    status, lines, errors = run(bmhost_words(tmp_path), script, beside=BESIDE_MANY)
    assert (status, results(lines)) == (0, [1] * 5), errors
    assert "192.168.0.1" in (tmp_path / "storage" / ADDRESSES).read_text()


def test_a_plugin_host_works_beside_ten_thousand_descriptors_but_for_the_monitor(tmp_path):
    status, lines, errors = run(["lifecycle_host", PLUGIN, tmp_path / "storage"], "cycle\n" * 3, beside=BESIDE_MANY)
    assert (status, [line["results"] for line in lines]) == (0, [[1, 1, 1, 1]] * 3), errors
    assert "IPMI smi setup failed" not in errors  # the blade's own controller, not a simulated one
    # Its question's answer comes by a descriptor that select() cannot take: a failed check, not memory overwritten.
    assert errors.count("checkMessage() select failed") == 3


def test_a_resident_host_works_beside_ten_thousand_descriptors_and_says_what_does_not(resident):
    host = resident(BESIDE_MANY)
    assert len(descriptors_of(host.process.pid)) > MANY
    wait_for_sweep()
    assert part("controller")["state"] == "answers"
    assert write("192.168.0.1") == 1 and address() == "192.168.0.1"
    wait_until(lambda: part("health")["state"] == "fault")
    assert "checkMessage() select failed" in part("health")["reasons"]
    host.process.terminate()
    assert host.process.wait(SECONDS) in (0, 1)


def test_with_few_descriptors_a_command_says_what_it_lacks(tmp_path):
    seen = set()
    for most in range(4, MOST_DESCRIPTORS + 1):
        status, lines, errors = run(bmhost_words(tmp_path), f"init\n{STORE}fin\n", limit_of(resource.RLIMIT_NOFILE, most))
        assert status >= 0, (most, errors)
        assert status == 0 or "Too many open files" in errors or "IPMI smi setup failed" in errors, (most, errors)
        assert (status == 0) == (results(lines) == [1, 1, 1]), (most, lines)
        if (tmp_path / "storage" / ADDRESSES).exists():
            ET.parse(tmp_path / "storage" / ADDRESSES)
        seen.add(status)
    assert status == 0 and seen >= {0, 1, 3}


def test_with_few_descriptors_a_plugin_host_gets_a_result_for_each_call(tmp_path):
    for most in range(5, MOST_DESCRIPTORS + 1):
        status, lines, errors = run(["lifecycle_host", PLUGIN, tmp_path / "storage"], "cycle\n", limit_of(resource.RLIMIT_NOFILE, most))
        assert status == 0, (most, errors)
        assert all(len(line["results"]) in (0, 4) and line["results"][2:] in ([], [1, 1]) for line in lines)
    assert lines[0]["results"] == [1, 1, 1, 1]


class NoMemory(Exception):
    """The host refused a call for the want of it."""


class Asker:
    """A connection that stays, so that the host needs no descriptor for it."""

    def __init__(self):
        self.connection = Connection()

    def call(self, **call):
        self.connection.request("POST", "/v1/calls", json.dumps(call), {"Content-Type": "application/json"})
        answer = self.connection.getresponse()
        body = json.loads(answer.read())
        if answer.status == 500:
            raise NoMemory(body)
        assert answer.status == 200, body
        return body

    def write(self, value):
        given = [{"id": "0x30d14", "type": 4, "value": value}]
        return self.call(op="write", group="0x30d10", keys=[{"id": "0x30d12", "value": 1}], values=given)["result"]


def test_a_resident_host_without_a_descriptor_left_goes_on_and_stores_again_afterwards(resident, tmp_path):
    host = resident()
    asker = Asker()
    assert asker.write("192.168.0.1") == 1
    before = (tmp_path / "storage" / ADDRESSES).read_bytes()
    former = host.limit(resource.RLIMIT_NOFILE, 3)  # what is open stays open
    assert asker.write("192.168.0.2") != 1
    assert (tmp_path / "storage" / ADDRESSES).read_bytes() == before
    assert asker.call(op="read", group="0x100", keys=[{"id": "0x101", "value": 1}])["result"] == 1
    host.limit(resource.RLIMIT_NOFILE, former[0])
    assert any(text.startswith("CDataStorage :: ") and text.endswith("Too many open files") for text in lines_of_the_log())
    wait_until(host.serves)
    assert address() == "192.168.0.1"
    assert write("192.168.0.3") == 1
    asker.connection.close()
    host.process.terminate()
    assert host.process.wait(SECONDS) in (0, 1)


def test_a_resident_host_without_memory_left_goes_on_and_stores_again_afterwards(resident, tmp_path):
    host = resident((), ("--end-wait", "1"))  # should OpenIPMI have lost a reply, for which a call waits for good
    asker = Asker()
    assert asker.write("192.168.0.1") == 1
    former = host.limit(resource.RLIMIT_AS, 1 << 20)  # what it has stays; there is nothing more
    try:
        for value in ("192.168.0.2", "192.168.0.4"):
            result = asker.write(value)
            assert (result == 1) == (f'"{value}"' in (tmp_path / "storage" / ADDRESSES).read_text())
        assert asker.call(op="read", group="0x100", keys=[{"id": "0x101", "value": 1}])["result"] == 1
    except (NoMemory, RemoteDisconnected):  # not even for an answer
        assert host.process.poll() is None
    # Its tools cannot be started: an order is refused, or fails, with a reason.
    done = subprocess.run([bin_folder() / "bmhost", "start"], capture_output=True, text=True, timeout=SECONDS)
    assert done.returncode != 0 and done.stderr
    ET.parse(tmp_path / "storage" / ADDRESSES)
    host.limit(resource.RLIMIT_AS, former[0])
    wait_until(host.serves)
    assert write("192.168.0.3") == 1 and address() == "192.168.0.3"
    host.process.terminate()
    assert host.process.wait(SECONDS) in (0, 1)


# OpenIPMI ends the process itself (SIGABRT) where it gets no memory for a lock; where a reply is lost for want of memory, `Init` waits for it
# as for any other.
def test_with_little_memory_no_host_is_damaged_and_what_was_stored_stays(tmp_path):
    storage = tmp_path / "storage"
    assert run(bmhost_words(tmp_path), f"init\n{STORE}fin\n")[0] == 0
    before = (storage / ADDRESSES).read_bytes()
    ends = {}
    for size in range(6, 64):
        host = subprocess.Popen(
            [bin_folder() / "lifecycle_host", PLUGIN, storage],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
            preexec_fn=limit_of(resource.RLIMIT_AS, size << 20),
        )
        try:
            out, _ = host.communicate("cycle\n", timeout=LONGEST)
        except subprocess.TimeoutExpired:
            host.kill()
            out, _ = host.communicate()
        ends[size] = host.returncode, out.strip()
        assert host.returncode not in DAMAGE, size
        assert (storage / ADDRESSES).read_bytes() == before, size
    print(ends)
    # From "not even the library" to "everything".
    assert '"results": []' in "".join(out for _, out in ends.values())
    assert ends[63][0] == 0 and '"results": [1, 1, 1, 1]' in ends[63][1]
