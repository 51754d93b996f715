"""A host that writes DSP addresses and port states is killed at random instants, on a disk and in memory, as many times as STORAGE_KILLS says:
whatever it has acknowledged is there afterwards, and nothing half-written is served. This test runs in the typical blade."""

import json
import os
import random
import shutil
import subprocess
import tempfile
import xml.etree.ElementTree as ET
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder

KILLS = int(os.environ.get("STORAGE_KILLS", "30"))
SEED = int(os.environ.get("STORAGE_SEED", "20261122"))
NUMBERS = range(1, 5)  # four DSPs, four ports
WRITES = 800  # more than a host gets to before it is killed
LONGEST = 0.03  # s from the first acknowledgement to the kill
FILES = {"address": ("table 0x30d10", "0x30d12", "0x30d14"), "port": ("table 0x30e00", "0x30e02", "0x30e03")}


def address(count):
    return f"10.{count >> 16 & 255}.{count >> 8 & 255}.{count & 255}"


def write(count):
    """(what, number, value, line) of the count-th write in all."""
    number = NUMBERS[count // 2 % len(NUMBERS)]
    if count % 2:
        return "port", number, count, f"write 0x30e00 0x30e02={number} 0x30e06={2 if number < 3 else 3} -- 0x30e03={count}"
    return "address", number, address(count), f"write 0x30d10 0x30d12={number} -- 0x30d14=s:{address(count)}"


class WritingHost:
    def __init__(self, storage):
        words = ["--mode", "1", "--json", "--storage", storage, "script", "-"]
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "stderr": subprocess.DEVNULL}
        self.process = subprocess.Popen([bin_folder() / "bmhost", *words], **pipes)
        assert self.call("init")["result"] == 1

    def send(self, text):
        self.process.stdin.write(text.encode())
        self.process.stdin.flush()

    def call(self, line):
        self.send(line + "\n")
        return json.loads(self.process.stdout.readline())

    def tables(self):
        """{(what, number): value} as a host is served them."""
        served = {}
        for what, (line, number, value) in FILES.items():
            answer = self.call(line)
            assert answer["result"] == 1, answer
            for row in answer["rows"]:
                values = {each["id"]: each["value"] for each in row}
                served[what, values[number]] = values[value]
        return served

    def end(self):
        self.process.kill()
        self.process.wait(SECONDS)
        self.process.stdin.close()
        self.process.stdout.close()


def kind_of(folder):
    return subprocess.run(["stat", "--file-system", "--format=%T", folder], capture_output=True, text=True, check=True).stdout.strip()


@pytest.fixture(params=["disk", "tmpfs"])
def storage(request):
    """On the build folder's disk, ext4 where the figures were taken, and in a file system in memory that only this blade sees."""
    folder = Path(tempfile.mkdtemp(prefix="storage-kills-", dir=os.getcwd()))
    if request.param == "tmpfs":
        subprocess.run(["mount", "-t", "tmpfs", "none", folder], check=True)
        assert kind_of(folder) == "tmpfs"
    print(f"on {kind_of(folder)}")
    yield folder / "storage"
    if request.param == "tmpfs":
        subprocess.run(["umount", folder], check=True)
    shutil.rmtree(folder)


def kill_while_it_writes(host, first, chance):
    """How many of the writes from `first` on were acknowledged."""
    host.send("".join(write(count)[3] + "\n" for count in range(first, first + WRITES)))
    assert json.loads(host.process.stdout.readline())["result"] == 1
    try:
        host.process.wait(chance.uniform(0, LONGEST))
    except subprocess.TimeoutExpired:
        host.process.kill()
    rest = host.process.stdout.read()
    host.end()
    whole = rest[: rest.rfind(b"\n") + 1].splitlines()
    assert [json.loads(line)["result"] for line in whole] == [1] * len(whole)
    assert len(whole) + 1 < WRITES, "it was never killed while it wrote"
    return 1 + len(whole)


def test_what_was_acknowledged_before_a_kill_is_there_and_nothing_is_half_written(storage):
    chance = random.Random(SEED)
    first = 0
    expected = {}
    acknowledged, unacknowledged = 0, 0
    for _ in range(KILLS):
        host = WritingHost(storage)
        if first == 0:
            expected = host.tables()
        done = kill_while_it_writes(host, first, chance)
        acknowledged += done
        for what, number, value, _ in map(write, range(first, first + done)):
            expected[what, number] = value
        # The write under way may have taken effect or not; the one behind it was never begun.
        what, number, value, _ = write(first + done)
        for file in storage.iterdir():
            if file.stat().st_size and not file.name.startswith("."):
                ET.parse(file)
        reader = WritingHost(storage)
        served = reader.tables()
        reader.end()
        if served != expected:
            unacknowledged += 1
            expected[what, number] = value
        assert served == expected, f"seed {SEED}, write {first + done}"
        first += WRITES
    left = sorted(file.name for file in storage.iterdir())
    print(f"{KILLS} kills: {acknowledged} acknowledged writes, all there; {unacknowledged} were there unacknowledged; files: {left}")
