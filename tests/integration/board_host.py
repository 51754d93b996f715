"""A program for the inside of a blade: one bmhost that makes calls, while it is settled what comes first, OpenIPMI's report
that its domain is fully up or the end of the inventory. Prints as JSON what the calls gave, and what the board was told."""

import json
import os
import subprocess
import sys
import threading
from pathlib import Path

from conftest import SECONDS, bin_folder
from inside import order, show, wait_until

FULLY_UP = "DTB DTB DTB -- Domain fully up"
# What the report says of the last module, and last of that: the RTM's test record.
RTM = "Entity found 0.32.162."
FRAMERS = "Num Trunks per framer="
# The last requests of the inventory begin with this one, long after OpenIPMI has had all its answers.
LAST_STEP = "0a 10 00"
# The fourth is OpenIPMI's own. When the controller is busy, it asks again after a second, ten times; the inventory
# goes on meanwhile.
DEVICE_ID = ["06 01", "--first", "4", "completion-code", "0xC0"]


class Host:
    def __init__(self, options):
        self.process = subprocess.Popen(
            [bin_folder() / "bmhost", "--json", *options, "script", "-"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            bufsize=1,
        )
        self.reported = threading.Event()
        self.has_test_records = threading.Event()
        self.errors = threading.Thread(target=self.watch)
        self.errors.start()

    def watch(self):
        in_rtm = False
        for line in self.process.stderr:
            in_rtm = in_rtm or RTM in line
            if FULLY_UP in line:
                self.reported.set()
            if in_rtm and FRAMERS in line:
                self.has_test_records.set()

    def send(self, call):
        self.process.stdin.write(call + "\n")

    def answer(self):
        return json.loads(self.process.stdout.readline())

    def call(self, call):
        self.send(call)
        return self.answer()

    def wait_for_report(self):
        assert self.reported.wait(SECONDS), "OpenIPMI did not report"

    def init_after_the_report(self):
        order("fault", "add", LAST_STEP, "--count", "1", "lost")
        self.send("init")
        wait_until(lambda: show("faults")[0]["hits"] == 1)
        self.wait_for_report()
        order("fault", "release")
        return self.answer()

    def init_before_the_report(self):
        order("fault", "add", *DEVICE_ID)
        answer = self.call("init")
        assert not self.reported.is_set(), "OpenIPMI was faster"
        return answer

    def let_it_report(self):
        order("fault", "clear")
        assert self.has_test_records.wait(SECONDS), "OpenIPMI did not report"

    def end(self):
        self.process.stdin.close()
        self.errors.join(SECONDS)
        assert self.process.wait(SECONDS) in (0, 1)


def told():
    """What the PCI driver received: the number of each open, and its records; nothing without a driver."""
    file = Path(os.environ["BLADESIM_RUN_DIR"]) / "pstn.jsonl"
    if not file.exists():
        return None
    opens = {}
    for line in file.read_text().splitlines():
        record = json.loads(line)
        assert set(record) == {"open", "write", "text"}
        opens.setdefault(record["open"], []).append(record["text"])
    return list(opens.values())


def main():
    spec = json.loads(sys.argv[1])
    host = Host(spec["options"])
    init = {"report": host.init_after_the_report, "inventory": host.init_before_the_report, "simulation": lambda: host.call("init")}
    lines = [init[spec["first"]]()]
    for number, calls in enumerate(spec["blocks"]):
        if number > 0:
            host.let_it_report()
        lines += [host.call(call) for call in calls]
    host.end()
    switch = {port["port"]: port["enabled"] for port in json.loads(order("switch", "show", "--json"))["ports"]}
    print(json.dumps({"lines": lines, "told": told(), "switch": switch}))


main()
