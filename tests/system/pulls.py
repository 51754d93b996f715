"""The power of a virtual machine is pulled at random instants, while a host in it writes DSP addresses and port states on an ext4 disk:
after each pull the machine starts again, every acknowledged value has to be there, and nothing half-written may be served.

usage: bladesim --blade typical --ipmi guest -- python3 pulls.py FOLDER PULLS

FOLDER has the guest's kernel, initial file system and disk. The disk that is written to, the transcript and the report are made there.
"""

import base64
import json
import os
import random
import subprocess
import sys
import time
import xml.etree.ElementTree as ET
from pathlib import Path

from machine import Machine, Report, Silence, qemu_command

SEED = int(os.environ.get("PULLS_SEED", "20261123"))
WHOLE_SECONDS = 240  # for one start of the machine
LONGEST = 1.5  # s from the first acknowledgement to the pull
NUMBERS = range(1, 5)  # four DSPs, four ports
FILES = {"address": ("table 0x30d10", "0x30d12", "0x30d14"), "port": ("table 0x30e00", "0x30e02", "0x30e03")}
WORDS = "blade=typical session=pulled init=/root/session/tests/system/guest/init"


class Loss(Exception):
    """What was acknowledged is not there, or what is there is not whole."""


def write(count):
    """(what, number, value, line) of the count-th write in all."""
    number = NUMBERS[count // 2 % len(NUMBERS)]
    if count % 2:
        return "port", number, count, f"write 0x30e00 0x30e02={number} 0x30e06={2 if number < 3 else 3} -- 0x30e03={count}"
    address = f"10.{count >> 16 & 255}.{count >> 8 & 255}.{count & 255}"
    return "address", number, address, f"write 0x30d10 0x30d12={number} -- 0x30d14=s:{address}"


def result_of(line):
    return json.loads(line)["result"]


class Host:
    """The host in a machine that has just started."""

    def __init__(self, machine):
        self.machine = machine
        while (line := machine.line()) != "@ready":
            if line.startswith("@file "):
                self.check_file(*line.split()[1:])
            elif line.startswith("@exit"):
                raise Silence(f"the guest's session ended too soon: {line}")
        if result_of(self.call("init")) != 1:
            raise Silence("the host has no blade")

    @staticmethod
    def check_file(name, content=""):
        try:
            if content:
                ET.fromstring(base64.b64decode(content))
        except ET.ParseError as error:
            raise Loss(f"{name} is not whole: {error}") from None

    def call(self, line):
        self.machine.say(line)
        return self.machine.line()

    def tables(self):
        """{(what, number): value} as a host is served them."""
        served = {}
        for what, (line, number, value) in FILES.items():
            for row in json.loads(self.call(line))["rows"]:
                values = {each["id"]: each["value"] for each in row}
                served[what, values[number]] = values[value]
        return served

    def write_until_pulled(self, first, seconds):
        """How many of the writes from `first` on were acknowledged before the power was pulled, at `seconds` after the first one."""
        done, end = 0, None
        while end is None or time.monotonic() < end:
            self.machine.say(write(first + done)[3])
            line = self.machine.line(None if end is None else max(end - time.monotonic(), 0))
            if line is None:
                break
            if result_of(line) != 1:
                raise Silence(f"write {first + done}: {line}")
            done += 1
            end = end or time.monotonic() + seconds
        # An acknowledgement that has come out of the machine counts, though nobody has read it yet.
        answers = self.machine.pull().splitlines()
        return done + sum(1 for line in answers if line.endswith("}") and result_of(line) == 1)


def pull_again_and_again(start, pulls, report):
    """Starts the machine once more than it is pulled: the last start only looks."""
    chance = random.Random(SEED)
    expected, pending, first = {}, None, 0
    acknowledged, taken = 0, 0
    for pull in range(pulls + 1):
        with start() as machine:
            host = Host(machine)
            served = host.tables()
            if pull == 0:
                expected = served
            if pending and served != expected:
                # The write under way may have taken effect or not; the one behind it was never begun.
                what, number, value, _ = pending
                expected[what, number] = value
                taken += 1
            if served != expected:
                raise Loss(f"seed {SEED}, pull {pull}, write {first}: {served}, expected {expected}")
            if pull == pulls:
                break
            done = host.write_until_pulled(first, chance.uniform(0, LONGEST))
        for what, number, value, _ in map(write, range(first, first + done)):
            expected[what, number] = value
        pending = write(first + done)
        first += done + 1
        acknowledged += done
        report.write(f"   pull {pull + 1}: {done} writes acknowledged")
    report.check("values that are served", len(expected), len(NUMBERS) * len(FILES))
    report.write(f"   {pulls} pulls, {pulls + 1} starts: {acknowledged} acknowledged writes, all there; {taken} were there unacknowledged, whole")


def main(folder, pulls):
    disk = folder / "pulled"
    disk.unlink(missing_ok=True)
    with open(disk, "wb") as file:
        file.truncate(64 << 20)
    subprocess.run(["mke2fs", "-q", "-t", "ext4", disk], check=True)
    begin = time.monotonic()
    with open(folder / "pulls.report", "w") as file, open(folder / "pulls.transcript", "w") as transcript, open(folder / "pulls.qemu", "w") as complaints:
        report = Report(file)
        second = ("-drive", f"file={disk},format=raw,if=virtio,cache=directsync")
        command = [*qemu_command(folder, os.environ["BLADESIM_VM_PORT"], WORDS), *second]
        try:
            pull_again_and_again(lambda: Machine(command, lambda line: print(line, file=transcript, flush=True), complaints, WHOLE_SECONDS), pulls, report)
        except (Silence, Loss, OSError, ValueError, KeyError) as error:
            report.check(f"{pulls} pulls of the power", f"{type(error).__name__}: {error}", "their end")
        report.write(f"   {pulls} pulls of the power: {time.monotonic() - begin:.1f} s")
    return 0 if report.good else 1


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]), int(sys.argv[2])))
