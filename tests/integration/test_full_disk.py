"""A disk that is full, and one that turns read-only while hosts run: what cannot be written is refused with its reason, what was there stays,
nobody hangs, and all goes on when there is room again. These tests run in a typical blade."""

import json
import subprocess

import pytest
from conftest import SECONDS, bin_folder
from inside import order, sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools, runs  # noqa: F401 (one is a fixture)
from resident import ServingHost, ask, hosts_of, part, started, wait_for_sweep

ADDRESSES = "telq_qub_dsp_iptable_cfg.xml"
SIZE = 512 * 1024
IMAGE = b"firmware" * 1000
DEFAULT = "192.168.0.23"


class Disk:
    """A small file system in memory that only this blade sees."""

    reasons = {"full": "No space left on device", "read-only": "Read-only file system"}

    def __init__(self, folder, trouble):
        self.folder, self.trouble, self.reason = folder, trouble, self.reasons[trouble]
        folder.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={SIZE}", "none", folder], check=True)

    def trouble_begins(self):
        if self.trouble == "read-only":
            # A second, read-only view on top of the first: what is open for writing would keep the first one from turning.
            subprocess.run(["mount", "--bind", self.folder, self.folder], check=True)
            subprocess.run(["mount", "-o", "remount,bind,ro", self.folder], check=True)
            return
        with pytest.raises(OSError), open(self.folder / "everything", "wb", buffering=0) as file:
            while file.write(bytes(4096)):
                pass

    def trouble_ends(self):
        if self.trouble == "read-only":
            subprocess.run(["umount", "--lazy", self.folder], check=True)
        else:
            (self.folder / "everything").unlink()

    def files(self):
        """Name and content of each, but for what fills it."""
        return {file: file.read_bytes() for file in self.folder.rglob("*") if file.is_file() and file.name not in ("everything", "log")}


@pytest.fixture(params=["full", "read-only"])
def disk(request, tmp_path):
    made = Disk(tmp_path / "disk", request.param)
    yield made
    subprocess.run(["umount", "--lazy", "--recursive", made.folder], check=True)


@pytest.fixture
def image(tmp_path):
    file = tmp_path / "image"
    file.write_bytes(IMAGE)
    return file


def bmhostd(disk, tmp_path):
    """One that keeps all it has on the disk."""
    words = ["--storage", disk.folder / "storage", "--log", disk.folder / "log", "--state", disk.folder / "state", "--sweep", "1"]
    host = ServingHost([bin_folder() / "bmhostd", *words], tmp_path / "errors")
    wait_until(started)
    return host


@pytest.fixture
def resident(disk, tmp_path):
    with hosts_of(bmhostd) as start:
        yield start(disk, tmp_path)


def write(address):
    """The result of storing it as DSP 1's address."""
    call = {"op": "write", "group": "0x30d10", "keys": [{"id": "0x30d12", "value": 1}], "values": [{"id": "0x30d14", "type": 4, "value": address}]}
    status, body = ask("/v1/calls", call)
    assert status == 200, body
    return body["result"]


def address():
    """DSP 1's, as the host is served it."""
    answer = ask("/v1/calls", {"op": "read", "group": "0x30d10", "keys": [{"id": "0x30d12", "value": 1}]})[1]
    assert answer["result"] == 1, answer
    return next(each["value"] for each in answer["row"] if each["id"] == "0x30d14")


def bmhost(*words, input=""):
    return subprocess.run([bin_folder() / "bmhost", *words], input=input, capture_output=True, text=True, timeout=SECONDS)


def upgrade(image):
    done = bmhost("firmware", "update", "--target", "amc", "--bay", "3", "--yes", image)
    return done.returncode, done.stderr


def lines(count=200):
    return [line["text"] for line in ask(f"/v1/log?lines={count}")[1]["lines"]]


def test_a_resident_host_refuses_what_it_cannot_store_and_loses_nothing(disk, resident):
    assert write("10.0.0.1") == 1
    before = disk.files()
    disk.trouble_begins()
    assert write("10.0.0.2") != 1
    assert any(text.startswith("CDataStorage :: ") and text.endswith(disk.reason) for text in lines())
    assert address() == "10.0.0.1"
    assert disk.files() == before
    wait_for_sweep()  # the blade is looked after as ever
    disk.trouble_ends()
    assert write("10.0.0.3") == 1
    assert address() == "10.0.0.3"
    resident.process.terminate()
    assert resident.process.wait(SECONDS) == 0
    assert "10.0.0.3" in (disk.folder / "storage" / ADDRESSES).read_text()


def test_an_upgrade_is_refused_before_it_begins_and_is_possible_afterwards(disk, resident, image):
    order("tool", "clear")
    disk.trouble_begins()
    before = disk.files()
    status, errors = upgrade(image)
    assert status == 1
    assert ("has room for" if disk.trouble == "full" else disk.reason) in errors
    assert "fwburn" not in [run["tool"] for run in runs()] and part("upgrades") == []
    assert disk.files() == before
    disk.trouble_ends()
    assert upgrade(image)[0] == 0
    assert [each["state_name"] for each in part("upgrades")] == ["done"]


def test_a_report_is_refused_and_leaves_nothing(disk, resident):
    disk.trouble_begins()
    before = disk.files()
    done = bmhost("report", disk.folder / "report.tar.zst")
    assert done.returncode == (1 if disk.trouble == "full" else 2)  # which is seen before anything is asked
    assert disk.reason in done.stderr.splitlines()[-1]
    assert disk.files() == before
    disk.trouble_ends()
    assert bmhost("report", disk.folder / "report.tar.zst").returncode == 0


def test_a_log_that_cannot_be_written_is_told_once_and_goes_on_when_there_is_room(tmp_path):
    disk = Disk(tmp_path / "disk", "full")
    host = bmhostd(disk, tmp_path)
    try:
        disk.trouble_begins()
        wait_until(lambda: write("10.0.0.8") != 1 and "log: " in host.errors.read_text())
        for _ in range(10):
            assert write("10.0.0.8") != 1
        disk.trouble_ends()
        assert write("10.0.0.9") == 1
        wait_until(lambda: lines()[-1] in (disk.folder / "log").read_text())
        told = [line for line in host.errors.read_text().splitlines() if line.startswith("log: ")]
        assert len(told) == 1 and told[0].endswith("; reported only once") and "No space left on device" in told[0]
        host.process.terminate()
        assert host.process.wait(SECONDS) == 0
    finally:
        host.process.kill()
        host.process.wait(SECONDS)
        subprocess.run(["umount", "--lazy", disk.folder], check=True)


def test_a_log_is_refused_where_nothing_can_be_written(disk):
    disk.trouble_begins()
    done = bmhost("--direct", "--mode", "2", "--log", disk.folder / "folder" / "log", "script", "-", input="init\n")
    assert done.returncode != 0
    if disk.trouble == "read-only":
        done = bmhost("--direct", "--mode", "2", "--log", disk.folder / "log", "script", "-", input="init\n")
        assert done.returncode != 0 and disk.reason in done.stderr


def test_a_host_without_a_storage_reads_the_blade_and_refuses_to_store(disk):
    words = ["--direct", "--json", "--mode", "1", "--storage", disk.folder / "storage", "script", "-"]
    store = "write 0x30d10 0x30d12=1 -- 0x30d14=s:10.0.0.1\n"
    disk.trouble_begins()
    done = bmhost(*words, input=f"init\ntable 0x30000\n{store}fin\n")
    results = {line["op"]: line["result"] for line in map(json.loads, done.stdout.splitlines())}
    assert results["table"] == 1 and results["fin"] == 1 and results["write"] != 1
    assert disk.reason in done.stderr
    assert done.returncode == 1
    assert not list(disk.folder.rglob("*.xml"))
    disk.trouble_ends()
    done = bmhost(*words, input=f"init\n{store}fin\n")
    assert [line["result"] for line in map(json.loads, done.stdout.splitlines())] == [1, 1, 1]


def test_a_plugin_host_ends_its_lifecycle_and_starts_when_there_is_room(disk):
    program = [bin_folder() / "lifecycle_host", bin_folder().parent / "lib/libipmi_adaptor.so", disk.folder / "storage"]
    host = subprocess.Popen(program, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, bufsize=1)
    disk.trouble_begins()
    host.stdin.write("cycle\n")
    results = json.loads(host.stdout.readline())["results"]
    disk.trouble_ends()
    host.stdin.write("cycle\n")
    assert json.loads(host.stdout.readline())["results"] == [1, 1, 1, 1]
    _, errors = host.communicate(timeout=SECONDS)
    assert host.returncode == 0
    assert results[0] != 1 and results[2:] == [1, 1]
    assert disk.reason in errors
    assert DEFAULT in (disk.folder / "storage" / ADDRESSES).read_text()


def test_whoever_stores_gets_its_reason_and_keeps_what_it_had(disk):
    client = subprocess.Popen(
        [bin_folder() / "storage_client", disk.folder / "storage"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, bufsize=1
    )

    def call(line):
        client.stdin.write(line + "\n")
        return client.stdout.readline().strip()

    assert [call(line) for line in ("start", "set a 1 one", "set b 1 one", "end")] == ["1", "1", "1", "1"]
    disk.trouble_begins()
    refused = [call(line) for line in ("start", "set a 1 two", "set b 1 two", "end")]
    assert refused[-1] != "1"
    disk.trouble_ends()
    kept = ("start", "get a 1 1", "get b 1 1", "set a 1 three", "end", "start", "get a 1 1")
    assert [call(line) for line in kept] == ["1", "1 one", "1 one", "1", "1", "1", "1 three"]
    _, errors = client.communicate(timeout=SECONDS)
    assert client.returncode == 0 and disk.reason in errors
