"""The outside of a virtual machine: in a blade whose controller waits for a guest, starts the guest, watches it and checks what it does.

usage: bladesim --blade BLADE --ipmi guest -- python3 outside.py FOLDER SESSION

FOLDER has the guest's kernel, initial file system and disk. The transcript and the report are written there as well.
"""

import json
import os
import signal
import subprocess
import sys
import time
from pathlib import Path

from machine import Machine, Report, Silence, qemu_command

# The time limits for everything and for a single step, and the time after which a call without an answer counts as waiting.
WHOLE_SECONDS = 240
STEP_SECONDS = 30
WAITING_SECONDS = 0.5
# Calls that each host must have made before, during and after the controller's absence.
CALLS = 3
# How long calls are looked at that the controller never answers.
FROZEN_SECONDS = 20
# The sessions in the guest, the blade of each, and the turns that the outside has in it.
SESSIONS = {"full": ("full", []), "typical": ("typical", ["leds", "reset", "loss", "again"]), "lasting": ("typical", ["freeze"])}
# The hosts in the guest that make calls again and again: what each does, and what it returns when all is well.
HOSTS = {
    "board": ("reads LED 3 of the baseboard", 1),
    "amc": ("reads LED 2 of the AMC in bay 3", 1),
    "table": ("reads the baseboard's LED table", 1),
    "set": ("sets LED 2 of the baseboard", 0),
}
# Those that go on beside a controller that stands still for good.
LASTING_HOSTS = ("board", "set")


def run(*words):
    done = subprocess.run(words, capture_output=True, text=True, timeout=STEP_SECONDS)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(words)}: status {done.returncode}: {done.stderr.strip()}")
    return done.stdout


def ipmitool(*words):
    lan = {"-H": "HOST", "-p": "PORT", "-U": "USER", "-P": "PASSWORD"}
    return run("ipmitool", "-I", "lan", *(word for flag, name in lan.items() for word in (flag, os.environ[f"BLADESIM_LAN_{name}"])), *words)


def override_of_led(fru, led):
    """Function, on-duration and colour by their numbers; the word that ipmitool has for the function is right for two of them only."""
    lines = ipmitool("picmg", "led", "get", str(fru), str(led)).splitlines()
    fields = dict(line.strip().split(":", 1) for line in lines if ":" in line)
    return [fields.get(f"Override {name}", " none").split()[0] for name in ("function", "On-Duration", "Color")]


def controls():
    return [(each["fru"], each["option"], each["count"]) for each in json.loads(run("bladesim", "show", "controls", "--json"))]


def freeze_controller():
    """Stops the simulator of this blade: the one in this network."""
    network = os.readlink("/proc/self/ns/net")
    for name in Path("/proc").glob("[0-9]*/comm"):
        if name.read_text() == "ipmi_sim\n" and os.readlink(name.parent / "ns/net") == network:
            os.kill(int(name.parent.name), signal.SIGSTOP)
            return
    raise RuntimeError("there is no ipmi_sim")


class Call:
    """One call of one host in the guest: in which phase it began, what it returned and after how long by the guest's clock."""

    def __init__(self, host, number, phase):
        self.host, self.number, self.phase = host, number, phase
        self.result = self.milliseconds = None

    def __repr__(self):
        return f"{self.host} {self.number}: {self.result}"

    def is_good(self):
        return self.result == HOSTS[self.host][1]


class Calls:
    """The calls of all hosts, as the guest reports them."""

    def __init__(self, machine, hosts=tuple(HOSTS)):
        self.machine = machine
        self.hosts = hosts
        self.phase = ""
        self.calls = []

    def listen(self, seconds):
        """Takes one line in; false when none comes in time."""
        line = self.machine.line(seconds)
        what, *words = (line or "").split() or [""]
        if what == "@call":
            self.calls.append(Call(*words, self.phase))
        elif what == "@back":
            call = next(each for each in self.waiting() if [each.host, each.number] == words[:2])
            call.result, call.milliseconds = int(words[2]), float(words[3])
        elif what == "@exit":
            raise Silence(f"the guest's session ended too soon, with status {words[0]}")
        return line is not None

    def waiting(self):
        return [call for call in self.calls if call.result is None]

    def returned(self, host):
        """Those of the host that began in this phase and have returned."""
        return [call for call in self.calls if call.host == host and call.phase == self.phase and call.result is not None]

    def each_has(self, enough):
        return all(enough(self.returned(host)) for host in self.hosts)

    def until_all_wait(self):
        """Waits until each host waits for the answer to a call: nothing comes any more, although each has begun one."""
        deadline = time.monotonic() + STEP_SECONDS
        while self.listen(WAITING_SECONDS) or len(self.waiting()) < len(self.hosts):
            if time.monotonic() > deadline:
                raise Silence("it was waited in vain until all hosts wait")

    def until(self, what, condition):
        deadline = time.monotonic() + STEP_SECONDS
        while not condition():
            left = deadline - time.monotonic()
            if left <= 0 or not self.listen(left):
                raise Silence(f"it was waited in vain until {what}")


def are_well_again(made):
    return [call.is_good() for call in made[-CALLS:]] == [True] * CALLS


class Outside:
    """The outside's turns, each by the name that the guest sends."""

    def __init__(self, machine, report):
        self.machine = machine
        self.report = report

    def leds(self):
        self.report.check("ipmitool: LED 2 of FRU 0 blinks red, 500 ms on", override_of_led(0, 2), ["32", "32", "2"])
        self.report.check("ipmitool: LED 1 of FRU 1 is on, amber", override_of_led(1, 1), ["ff", "0", "4"])

    def reset(self):
        self.report.check("the carrier got the guest's FRU Control: a cold reset of FRU 0", controls(), [(0, 0, 1)])
        ipmitool("picmg", "frucontrol", "2", "2")
        self.report.check("and from ipmitool a graceful reboot of FRU 2", controls(), [(0, 0, 1), (2, 2, 1)])

    def loss(self):
        calls = Calls(self.machine)
        calls.phase = "before"
        calls.until("all hosts have made calls", lambda: calls.each_has(lambda made: len(made) >= CALLS))
        self.report.check("the controller is there: every call is well", [call for call in calls.calls if call.result is not None and not call.is_good()], [])
        self.summary(calls)

        freeze_controller()
        calls.until_all_wait()
        pending = calls.waiting()
        self.report.check("it stands still: each host waits for an answer", sorted(call.host for call in pending), sorted(HOSTS))

        calls.phase = "lost"
        run("bladesim", "controller", "stop")
        calls.until("the pending calls return", lambda: all(call.result is not None for call in pending))
        calls.until("each host has gone on", lambda: calls.each_has(lambda made: len(made) >= CALLS))
        lost = [call for call in calls.calls if call in pending or call in calls.returned(call.host)]
        self.report.check("it is killed: the calls that were pending return, and they and those after them fail", [call for call in lost if call.is_good()], [])
        self.table(lost, pending)

        calls.phase = "back"
        run("bladesim", "controller", "start")
        calls.until("all hosts are well again", lambda: calls.each_has(are_well_again))
        self.report.check("it is back: each host goes on as before", [host for host in HOSTS if not are_well_again(calls.returned(host))], [])
        self.summary(calls)

    def freeze(self):
        calls = Calls(self.machine, LASTING_HOSTS)
        calls.phase = "before"
        calls.until("all hosts have made calls", lambda: calls.each_has(lambda made: len(made) >= CALLS))
        self.report.check("the controller is there: every call is well", [call for call in calls.calls if call.result is not None and not call.is_good()], [])
        freeze_controller()
        calls.until_all_wait()
        pending = calls.waiting()
        self.report.check("it stands still for good: each host waits for an answer", sorted(call.host for call in pending), sorted(LASTING_HOSTS))
        calls.phase = "frozen"
        deadline = time.monotonic() + FROZEN_SECONDS
        while (left := deadline - time.monotonic()) > 0:
            calls.listen(left)
        lost = [call for call in calls.calls if call in pending or call.phase == calls.phase]
        self.report.check("no call is well any more", [call for call in lost if call.is_good()], [])
        self.table([call for call in lost if call.result is not None], pending)
        for call in calls.waiting():
            self.report.write(f"             {call.host:5}  {HOSTS[call.host][0]:31} {call.number:>5}  waits for the driver of /dev/ipmi0")

    def table(self, lost, pending):
        self.report.write("             host   what it does                     call  returned  after")
        for call in sorted(lost, key=lambda call: list(HOSTS).index(call.host)):
            is_pending = "pending" if call in pending else ""
            result = f"{call.result}" if call.result < 0x80 else f"{call.result:#x}"
            self.report.write(f"    {is_pending:7}  {call.host:5}  {HOSTS[call.host][0]:31} {call.number:>5}  {result:>8}  {call.milliseconds:.1f} ms")

    def summary(self, calls):
        for host in HOSTS:
            made = calls.returned(host)
            well = [call.milliseconds for call in made if call.is_good()]
            self.report.write(f"             {host:5}  {HOSTS[host][0]:31}  {len(well)} of {len(made)} calls well, after {min(well):.1f} to {max(well):.1f} ms")

    def again(self):
        self.report.check("ipmitool: LED 2 of FRU 0 is on, green, at the new controller", override_of_led(0, 2), ["ff", "0", "3"])


def watch(machine, report):
    """Runs until the guest reports its status; returns which of the outside's turns there were."""
    outside = Outside(machine, report)
    turns = []
    while True:
        what, *words = machine.line().split() or [""]
        if what == "@meet":
            turns += words
            getattr(outside, words[0])()
            machine.say(words[0])
        elif what == "@exit":
            report.check("the guest's session ended with status", words, ["0"])
            report.check("the machine switched itself off, qemu's status", machine.ended(), 0)
            return turns


def main(folder, session):
    blade, turns = SESSIONS[session]
    begin = time.monotonic()
    with open(folder / f"{session}.report", "w") as file, open(folder / f"{session}.transcript", "w") as transcript, open(folder / f"{session}.qemu", "w") as complaints:
        report = Report(file)

        def hear(line):
            print(line, file=transcript, flush=True)
            if not line.startswith("@"):
                print(f"   | {line}", flush=True)

        command = qemu_command(folder, os.environ["BLADESIM_VM_PORT"], f"blade={blade} session={session} init=/root/session/tests/system/guest/init")
        try:
            with Machine(command, hear, complaints, WHOLE_SECONDS) as machine:
                report.check("the outside had its turns", watch(machine, report), turns)
        except (Silence, RuntimeError, OSError, subprocess.TimeoutExpired) as error:
            report.check(f"the machine of {session}", str(error), "its end")
        report.write(f"   the machine of {session}: {time.monotonic() - begin:.1f} s")
    return 0 if report.good else 1


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]), sys.argv[2]))
