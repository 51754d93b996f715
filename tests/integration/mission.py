"""For tests of the whole mission, in a blade: a host that starts the blade, keeps it healthy, upgrades it and stops it, and what the
tools and the media software saw of that."""

import json
import os
import re
import shlex
import signal
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import LiveHost, order, show, wait_until
from protocol import (
    BMI_GROUP_HARDWARE_AMC_TABLE,
    BMI_HW_AMC_BAY,
    BMI_HW_AMC_RUN_STATUS,
    COMPONENT_IPMI_ADAPTOR,
    COMPONENT_MEDIA_ADAPTOR,
    COMPONENT_MONITOR_THREAD,
    MONITOR_STARTED_TEXT,
    MONITOR_STOPPED_TEXT,
)
from protocol import RUN_STATUS_FAILED as FAILED  # noqa: F401 (the tests')
from protocol import RUN_STATUS_INITIALISING as INITIALISING  # noqa: F401
from protocol import RUN_STATUS_RUNNING as RUNNING  # noqa: F401
from protocol import RUN_STATUS_UNWRITTEN as NOT_STARTED  # noqa: F401

INSTALL = "/usr/korvel"
TABLE = f"table {BMI_GROUP_HARDWARE_AMC_TABLE:#x}"
BAY, RUN_STATUS = f"{BMI_HW_AMC_BAY:#x}", f"{BMI_HW_AMC_RUN_STATUS:#x}"
FOR_EVER = "600000"  # ms: until the tool is ended
NEVER = 0.2  # s: how long to wait for what must not come
LINE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} <(\d)> \[([^\]]*)\] (.*)")


class Mission(LiveHost):
    """A host in mode 1 whose working folder, storage and log are in the folder of its test."""

    def __init__(self, folder, environment=None):
        self.folder = folder
        self.log_file = folder / "log"
        options = ["--storage", str(folder / "storage"), "--log", str(self.log_file)]
        super().__init__(*options, mode=1, cwd=folder, env={**os.environ, **(environment or {})})

    def result(self, line):
        return self.call(line)["result"]

    def log(self):
        """Level, component and text of what was logged; a text may have several lines."""
        lines = []
        for line in self.log_file.read_text().splitlines():
            match = LINE.fullmatch(line)
            if match:
                lines.append((int(match[1]), match[2], match[3]))
            else:
                lines[-1] = (*lines[-1][:2], lines[-1][2] + "\n" + line.removeprefix("    | "))
        return lines

    def texts(self, component):
        return [text for _, where, text in self.log() if where == component]

    def run_status(self):
        """Of every module, by bay."""
        rows = [{value["id"]: value["value"] for value in row} for row in self.call(TABLE)["rows"]]
        return {row[BAY]: row[RUN_STATUS] for row in rows}

    def monitor_texts(self):
        """What was logged at level 3 during the health monitor's last run; nothing while it runs, or before."""
        texts, found = None, None
        for level, component, text in self.log():
            if (component, text) == (COMPONENT_IPMI_ADAPTOR, MONITOR_STARTED_TEXT):
                texts, found = [], None
            elif (component, text) == (COMPONENT_IPMI_ADAPTOR, MONITOR_STOPPED_TEXT):
                texts, found = None, texts
            elif texts is not None and component in (COMPONENT_MONITOR_THREAD, COMPONENT_MEDIA_ADAPTOR):
                assert level == 3
                texts.append(text)
        return found

    def wait_for_monitor_to_stop(self):
        wait_until(lambda: self.monitor_texts() is not None)
        return self.monitor_texts()

    def events(self):
        """Those that have not been taken yet."""
        found = []
        while (line := self.call("wait-event 0"))["op"] == "event":
            found.append(line)
        return found

    def end(self):
        """Its exit status."""
        self.process.communicate(timeout=SECONDS)
        return self.process.returncode


def quoted(text):
    """The text as one word of a script."""
    return "".join("\"'\"" if character == "'" else f"'{character}'" for character in text)


def write_address(dsp, address):
    return f"write 0x30d10 0x30d12={dsp} -- 0x30d14={quoted('s:' + address)}"


def runs():
    return json.loads(order("tool", "show", "--json"))


def command_lines():
    return [" ".join(run["argv"]) for run in runs()]


def run_of(tool):
    """The last run of a tool that has not ended."""
    wait_until(lambda: any(run["tool"] == tool and run["end_ms"] is None for run in runs()))
    return [run for run in runs() if run["tool"] == tool][-1]


def shell_of(run):
    """The process that waits for a tool."""
    return int(re.search(r"^PPid:\s+(\d+)", Path(f"/proc/{run['process']}/status").read_text(), re.MULTILINE)[1])


def media_runs():
    return json.loads(order("media", "show", "--json"))["running"]


def led(bay, number):
    """Mode, state, color, on and off time of an LED of an AMC as the controller has them."""
    (found,) = [each for each in show("leds") if (each["site"], each["number"], each["led"]) == ("amc", bay, number)]
    return tuple(found[key] for key in ("mode", "state", "color", "on_ms", "off_ms"))


LED_OFF, LED_ON, LED_BLINKS = ("off", 0, 0), ("on", 0, 0), ("blink", 500, 500)


def install_folder(folder, *orders):
    """A test's own install folder: that of the blade, but its mediaStart first gives orders. So an order for mavk_diag applies to the
    health monitor's run of it, not to that of the start."""
    (folder / "bin").mkdir(parents=True)
    (folder / "data").symlink_to(f"{INSTALL}/data")
    for tool in ("mavk_init", "mavk_boot", "mavk_diag", "mediaStop"):
        (folder / "bin" / tool).symlink_to(f"{INSTALL}/bin/{tool}")
    bladesim = bin_folder() / "bladesim"
    script = "".join(f"{shlex.join([str(bladesim), *words])} || exit 1\n" for words in orders)
    (folder / "bin/mediaStart").write_text(f"#!/bin/sh\n{script}exec {INSTALL}/bin/mediaStart\n")
    (folder / "bin/mediaStart").chmod(0o755)
    return {"TARSK_KORVEL_DIR": str(folder)}


@pytest.fixture(autouse=True)
def fresh_tools():
    order("tool", "clear")
    order("media", "set", "sound")
    yield
    order("media", "set", "dead")
    for run in runs():
        if run["end_ms"] is None and Path(f"/proc/{run['process']}").exists():
            os.kill(run["process"], signal.SIGKILL)


@pytest.fixture(name="mission")
def missions(tmp_path):
    """Starts hosts that end with their test."""
    hosts = []

    def start(environment=None):
        hosts.append(Mission(tmp_path, environment))
        return hosts[-1]

    yield start
    for each in hosts:
        each.kill()
