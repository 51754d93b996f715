"""The cells of the fault matrix: a host meets one fault at one request, in the blade in which this program runs.

Reads the cells as a JSON list from standard input and prints what was seen in each as a line of JSON."""

import json
import select
import socket
import subprocess
import sys
from collections import Counter

from conftest import SECONDS, bin_folder
from device import Device
from inside import wait_until

PLACES = {"first": 0, "middle": 1, "last": 3}  # a FRU of the typical blade
BAYS = {1: 3, 3: 9}
OTHER_FRU = 2
LED = 1  # the LED that commands read and set; for people, and in keys, it is LED 2
ROUNDS_OF_A_LOOP = 10  # a sound probe asks nothing twice, and one that tries again does so once or twice
TIME_OUT = 0xC3
NEXT_COMMAND = "read 0x100 0x101=1"
NEVER_SENT = ("controller gone", "controller back")

# What the fault does to a request, and how often. A fault that hits once leaves the way free for a second try.
ORDERS = {
    "refused": {"do": "completion-code", "argument": 0xC1, "count": 1},
    "refused each time": {"do": "completion-code", "argument": 0xC1},
    "short": {"do": "short", "argument": 1, "count": 1},
    "late": {"do": "late", "argument": 1, "count": 1},
    "lost": {"do": "lost", "count": 1},
    "lost without a time-out": {"do": "lost", "count": 1},
    "doubled": {"do": "doubled", "count": 1},
    "another FRU's": {"do": "other-fru", "argument": OTHER_FRU, "count": 1},
    "wrong state": {"do": "answered-twice", "count": 1},
    "controller gone": {"do": "gone", "argument": 0, "count": 1},
    "controller back": {"do": "restarted", "count": 1},
}


def order(name, **arguments):
    """An order to the blade, without the time that a bladesim takes to start."""
    with socket.socket(socket.AF_UNIX) as control:
        control.settimeout(SECONDS)
        control.connect("\0bladesim/control")
        control.sendall(json.dumps({"order": name, **arguments}).encode() + b"\n")
        answer = b""
        while not answer.endswith(b"\n"):
            answer += control.recv(1 << 20)
    answer = json.loads(answer)
    assert "error" not in answer, answer
    return answer["result"]


class FaultHost:
    def __init__(self):
        self.process = subprocess.Popen(
            [bin_folder() / "fault_host"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, bufsize=1
        )

    def begin(self, call):
        self.process.stdin.write(call + "\n")

    def has_answered(self, seconds=0):
        return bool(select.select([self.process.stdout], [], [], seconds)[0])

    def outcome(self):
        """None when it never comes: the same request is sent again and again. Such a host is killed."""
        for _ in range(10 * SECONDS):
            if self.has_answered(0.1):
                line = self.process.stdout.readline()
                assert line, f"the host ended with {self.process.wait()}"
                return json.loads(line)["outcome"]
            reads = Counter(entry["request"] for entry in order("show log") if entry["request"].startswith("0a 11"))
            if reads and max(reads.values()) > ROUNDS_OF_A_LOOP:
                return None
        raise AssertionError("no answer, and no loop")

    def call(self, call):
        self.begin(call)
        return self.outcome()

    def kill(self):
        self.process.kill()
        self.process.communicate()


def time_outs():
    """Requests that the driver answered itself; those that OpenIPMI sends on its own account are not counted."""
    own = ("06 01", "00 01", "06 08", "06 37", "06 42", "2c 01 00")
    expired = [entry for entry in order("show log") if entry["code"] == TIME_OUT]
    return sum("fault" in entry or entry["request"] not in own for entry in expired)


def call_of(cell):
    """The call of the host that sends the cell's request."""
    kind, fru = cell["kind"], PLACES.get(cell["place"])
    bay = f"0x20d={BAYS.get(fru)}"
    if kind == "get-led":
        return "read 0x100 0x101=2" if fru == 0 else f"read 0x200 0x201=2 {bay}"
    if kind == "set-led":
        if fru == 0:
            return "write 0x100 0x101=2 -- 0x105=1 0x102=1 0x103=0 0x10c=2"
        # A write to the RTM's LED goes to the first AMC, so the probe is asked for it.
        return f"write 0x200 0x201=2 {bay} -- 0x205=1 0x202=1 0x203=0 0x20c=2" if fru == 1 else f"set-led {fru} {LED}"
    if kind == "fru-control":
        return "write 0x30000" if fru == 0 else f"fru-control {fru}"
    return {"inventory": "init", "records": "walk-records"}[kind]


def prepare_panel(cell):
    """The LEDs as every cell of a command finds them: under local control; where one is read, the other FRU's is on."""
    device = Device()
    for fru in PLACES.values():
        assert device.data(0x2C, 0x07, bytes([0, fru, LED, 0xFC, 0, 2])) == b"\x00\x00"
    function = 0xFF if cell["kind"] == "get-led" else 0xFC
    assert device.data(0x2C, 0x07, bytes([0, OTHER_FRU, LED, function, 0, 2])) == b"\x00\x00"
    device.close()


def controls():
    """How many FRU Controls the controller has received for each FRU."""
    done = subprocess.run([bin_folder() / "bladesim", "show", "controls", "--json"], capture_output=True, text=True, timeout=SECONDS)
    return Counter({control["fru"]: control["count"] for control in json.loads(done.stdout)})


def add_fault(cell):
    order("show clear")
    if cell["fault"] in ORDERS:
        fault = {"request": cell["request"], "first": cell.get("first", 1), **ORDERS[cell["fault"]]}
        order("fault add", fault=fault)


def wait_for_release(host, cell):
    """The reply is withheld and the driver waits for ever: so does the call, until the reply is released."""
    wait_until(lambda: order("fault list")[0]["hits"] == 1)
    assert order("show log")[-1]["code"] is None, cell
    assert not host.has_answered(), cell
    order("fault release")  # a reply that the controller still owes will arrive, too


def see(host):
    """What there is to see after the call; the errors are those of the call."""
    return {
        "errors": host.call("errors"),
        "model": host.call("model"),
        "records": host.call("records"),
        "tables": host.call("tables"),
    }


def run(cell):
    command = cell["kind"] != "inventory"
    order("show clear")
    host = FaultHost()
    try:
        if command:
            prepare_panel(cell)
            assert host.call("init") == 1
            host.call("errors")
            before = controls() if cell["kind"] == "fru-control" else None
        add_fault(cell)
        host.begin(call_of(cell))
        if cell["kind"] == "fru-control":  # nobody waits for its reply, but a later command waits for the driver
            seen = {"outcome": host.outcome()}
            host.begin(NEXT_COMMAND)
        if cell["fault"] == "lost without a time-out":
            wait_for_release(host, cell)
        seen = {**seen, "next": host.outcome()} if cell["kind"] == "fru-control" else {"outcome": host.outcome()}
        seen["time-outs"] = time_outs()
        if cell["fault"] in ORDERS:
            assert [fault["hits"] > 0 for fault in order("fault list")] == [True], cell
        if seen["outcome"] is None and not command:
            return seen
        if cell["kind"] == "fru-control":
            seen["time-outs"] -= cell["fault"] == "controller gone"  # that of the LED behind it
            seen["controls"] = [] if cell["fault"] in NEVER_SENT else sorted(controls() - before)
        seen.update(see(host))
        if cell["fault"] == "controller gone":
            order("controller start")
            order("fault clear")
            seen["afterwards"] = host.call("tables")
        return seen
    finally:
        host.kill()
        order("fault clear")
        order("fault release")
        order("controller start")


if __name__ == "__main__":
    for each in json.load(sys.stdin):
        print("cell", each, file=sys.stderr)
        print(json.dumps({"cell": each, "seen": run(each)}), flush=True)
