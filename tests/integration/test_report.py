"""The report beside a controller that does not answer: what it has, what is missing, and why. These tests run in a typical blade whose
driver never answers for a controller that does not."""

import json
import os
import re
import signal
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import order, show, sound_blade, wait_until  # noqa: F401 (one is a fixture)

BMHOST = bin_folder() / "bmhost"
SOCKET = Path(os.environ.get("BLADESIM_RUN_DIR", "/nowhere")) / "bmhost.sock"
LOOKS = ["inventory.txt", "leds.txt", "status.txt", "dsp.txt", "switch.txt"]
OF_THE_MACHINE = {"versions.txt", "os-release", "packages.txt", "interfaces.txt", "ipmi/device.txt", "missing.txt"}
CONTROLLERS = ["0x100", "0x200", "0x30100", "0x30300"]


def bmhost(*words):
    return subprocess.run([BMHOST, *map(str, words)], capture_output=True, text=True, timeout=SECONDS)


def groups():
    return [group["id"] for group in json.loads(bmhost("--json", "groups").stdout)["groups"]]


def lose_the_controller():
    """From its next LED on, or from the first thing that Init asks."""
    order("fault", "add", "2c ??", "lost")


@pytest.fixture
def resident(tmp_path):
    words = ["--storage", tmp_path / "storage", "--state", tmp_path / "state", "--no-start", "--sweep", "1"]
    with (tmp_path / "said").open("w") as said:
        process = subprocess.Popen([bin_folder() / "bmhostd", *words], stdout=said, stderr=said)
    # Before its socket is there, bmhost would answer with an adaptor of its own.
    wait_until(lambda: SOCKET.exists() and bmhost("--json", "table", "0x30000").returncode == 0)
    yield process
    order("fault", "clear")
    order("fault", "release")
    process.send_signal(signal.SIGTERM)
    assert process.wait(SECONDS) == 0, (tmp_path / "said").read_text()


class Report:
    def __init__(self, file, *options):
        done = bmhost("--json", *options, "report", file)
        assert (done.returncode, done.stderr) == (0, "")
        line = json.loads(done.stdout)
        self.parts = set(line["parts"])
        self.missing = {each["part"]: each["reason"] for each in line["missing"]}
        self.file = file

    def part(self, name):
        command = ["tar", "--zstd", "-xOf", self.file, f"bmhost-report/{name}"]
        return subprocess.run(command, capture_output=True, text=True, check=True, timeout=SECONDS).stdout


def test_a_hosts_controller_that_hangs_costs_its_own_tables_only(resident, tmp_path):
    lose_the_controller()
    wait_until(lambda: show("faults")[0]["hits"] == 1)
    report = Report(tmp_path / "report", "--timeout", "6")
    assert OF_THE_MACHINE | {"picture.json", "log.txt", "tables.jsonl", *LOOKS} <= report.parts
    tables = [json.loads(line)["group"] for line in report.part("tables.jsonl").splitlines()]
    assert tables == [group for group in groups() if group not in CONTROLLERS]
    first, *others = [report.missing[f"tables.jsonl: table {group}"] for group in CONTROLLERS]
    assert first.startswith("no answer of the resident host ")
    assert re.search(r" within [12](\.\d+)? s; waiting for `table 0x100` since 20", first)
    assert ", which has not begun: first comes reading LED " in first
    assert set(others) == {"not asked for: the controller has not answered for tables.jsonl: table 0x100"}
    assert f"tables.jsonl: table 0x100: {first}\n" in report.part("missing.txt")
    assert "AMC bay 3" in report.part("status.txt")


def test_the_storages_files_are_those_of_the_host(resident, tmp_path):
    assert bmhost("switch", "disable", "2").returncode == 0
    report = Report(tmp_path / "report")
    assert {"storage/telq_qub_dsp_iptable_cfg.xml", "storage/telq_qub_switchport_cfg.xml"} <= report.parts
    stored = (tmp_path / "storage/telq_qub_switchport_cfg.xml").read_text()
    assert report.part("storage/telq_qub_switchport_cfg.xml") == stored
    assert json.loads(report.part("picture.json"))["host"]["storage"] == str(tmp_path / "storage")


def test_an_adaptor_of_its_own_that_does_not_return_from_init_costs_what_needs_it_only(tmp_path):
    lose_the_controller()
    report = Report(tmp_path / "report", "--direct", "--timeout", "3")
    assert OF_THE_MACHINE <= report.parts
    assert report.parts.isdisjoint({"picture.json", "tables.jsonl", *LOOKS})
    assert "`init`" in report.missing["picture.json"]
    assert {report.missing[look] for look in LOOKS} == {"there is no picture of the blade"}
    assert report.missing["tables.jsonl"] == "not asked for: the controller has not answered for picture.json"


def test_people_see_what_is_being_made(tmp_path):
    done = bmhost("report", tmp_path / "report")
    assert done.returncode == 0
    said = [line.removeprefix("bmhost: report: ") for line in done.stderr.splitlines() if line.startswith("bmhost: report: ")]
    assert said == ["versions, packages, network", "the log", "the kernel's IPMI", "the picture, the looks, the storage", "the tables"]
    assert "bmhost: report: " not in bmhost("-q", "report", "--force", tmp_path / "report").stderr
