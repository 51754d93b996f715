"""-q: what it leaves out, and what stays. These tests run in a typical blade, each without a resident host and beside one."""

import json
import os
import signal
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import wait_until
from mission import fresh_tools  # noqa: F401 (a fixture)

BLADE = Path(os.environ.get("BLADESIM_RUN_DIR", "/nowhere"))


class Asker:
    """Runs bmhost; where there is no resident host, with a storage of its own."""

    def __init__(self, options):
        self.options = options

    def __call__(self, *words):
        return subprocess.run([bin_folder() / "bmhost", *self.options, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=SECONDS)


@pytest.fixture(params=["own", "host"])
def bmhost(request, tmp_path):
    if request.param == "own":
        yield Asker(["--storage", tmp_path / "storage"])
        return
    words = ["--no-start", "--storage", tmp_path / "storage", "--state", tmp_path / "state"]
    process = subprocess.Popen([bin_folder() / "bmhostd", *words], stdout=subprocess.DEVNULL, stderr=(tmp_path / "errors").open("w"))
    asker = Asker([])
    wait_until(lambda: (BLADE / "bmhost.sock").exists() and asker("inventory").returncode == 0)
    yield asker
    process.send_signal(signal.SIGTERM)
    assert process.wait(SECONDS) == 0, (tmp_path / "errors").read_text()


def both(bmhost, *words):
    """Loud, then quiet, each to be had at the end of the words too."""
    return bmhost(*words), bmhost("-q", *words), bmhost(*words, "--quiet")


def test_the_remarks_of_an_order_that_was_carried_out_go(bmhost):
    loud, *quiet = both(bmhost, "led", "set", "rtm", "hot-swap", "on", "--first-amc")
    assert loud.stderr == "bmhost: the adaptor sets LEDs of the first AMC only: not RTM but AMC bay 3 gets it\n"
    for done in quiet:
        assert (done.returncode, done.stdout, done.stderr) == (0, loud.stdout, "")
    bmhost("led", "set", "3", "hot-swap", "local")


def test_the_errors_of_an_order_that_was_not_stay(bmhost):
    loud, *quiet = both(bmhost, "led", "set", "board", "hot-swap", "on", "--color", "white")
    assert loud.stderr.splitlines()[-1] == "bmhost: LED 1 of baseboard can be blue"
    for done in quiet:
        assert (done.returncode, done.stdout, done.stderr) == (1, "", loud.stderr)


def test_the_outcome_in_json_is_whole(bmhost):
    line = json.loads(bmhost("-q", "--json", "led", "set", "rtm", "hot-swap", "on", "--first-amc").stdout)
    assert line["remarks"] == ["the adaptor sets LEDs of the first AMC only: not RTM but AMC bay 3 gets it"]
    bmhost("led", "set", "3", "hot-swap", "local")


def test_the_progress_of_an_upgrade_goes_and_its_end_stays(bmhost, tmp_path):
    image = tmp_path / "image.bin"
    image.write_bytes(b"firmware")
    update = ["firmware", "update", "--target", "amc", "--bay", 3, "--yes", image]
    loud = bmhost(*update)
    quiet = bmhost("-q", *update)
    assert (quiet.returncode, quiet.stderr) == (0, "")
    shown = quiet.stdout.splitlines()
    assert shown[0].startswith("AMC bay 3: upgraded, ")
    assert [line for line in loud.stdout.splitlines() if "in progress" not in line][1:] == shown[1:]


def test_looks_and_calls_are_the_same(bmhost):
    for words in (["inventory"], ["switch"], ["table", "0x30000"], ["read", "0x30200", "0x30201=8"]):
        loud, *quiet = both(bmhost, *words)
        for done in quiet:
            assert (done.returncode, done.stdout) == (loud.returncode, loud.stdout), words


def test_what_is_missing_in_a_report_goes(bmhost, tmp_path):
    loud, quiet = bmhost("report", tmp_path / "loud"), bmhost("-q", "report", tmp_path / "quiet")
    assert "bmhost: missing: " in loud.stderr
    assert (quiet.returncode, quiet.stderr) == (0, "")
    assert quiet.stdout == loud.stdout.replace("/loud: ", "/quiet: ")
