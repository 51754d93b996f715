"""Firmware upgrades: the tool's command lines, its outcomes, what the host reads and is told meanwhile. These tests run in a typical blade."""

import os
import signal
import subprocess

import pytest
from conftest import SECONDS, bin_folder, param
from inside import order, wait_until
from mission import FOR_EVER, fresh_tools, missions, quoted, run_of, runs, shell_of  # noqa: F401 (two are fixtures)
from protocol import RESULT_NO_VALUE as MISSING
from protocol import RESULT_NOTHING_DONE as REFUSED
from protocol import RESULT_OK as STARTED
from protocol import UPGRADE_DONE as DONE
from protocol import UPGRADE_FAILED
from protocol import UPGRADE_REQUESTED as REQUESTED
from protocol import UPGRADETARGET_BASEBOARD as BASEBOARD
from protocol import UPGRADETARGET_MODULE as MODULE

UINT = 2
WAIT = f"wait-event {SECONDS * 1000}"
TOOL = ["fwburn", "-i", "KCS", "-M", "direct"]


def upgrade(target=MODULE, bay=3, path="/images/amc.img"):
    words = [f"0x601=u:{target}", "0x602=u:0", f"0x605={quoted('s:' + path)}"] + ([f"0x606=u:{bay}"] if bay is not None else [])
    return f"write 0x600 -- {' '.join(words)}"


def row(target, bay, state):
    return [param(0x601, UINT, target), param(0x606, UINT, bay), param(0x602, UINT, state)]


def event(target, bay, state):
    return {"op": "event", "event": "0x600", "number": 5, "params": row(target, bay, state)}


def read(*values):
    return {"op": "read", "group": "0x600", "result": 1, "row": row(*values)}


def outcome_texts(host):
    return [text for level, component, text in host.log() if (level, component) == (3, "IPMI-Adaptor") and text.startswith("UPGRADE")]


def test_before_any_upgrade_there_is_none_to_wait_for(mission):
    host = mission()
    assert host.call("read 0x600") == read(0, 0, DONE)
    assert host.call("table 0x600") == {"op": "table", "group": "0x600", "result": 1, "rows": [row(0, 0, DONE)]}
    assert host.call("wait-event 0") == {"op": "wait-event", "result": 0}


# Target, bay, and what the tool is called with before the image.
TARGETS = [
    (MODULE, 1, ["--target", "amc1"]),
    (MODULE, 3, ["--target", "amc3"]),
    (MODULE, 8, ["--target", "amc8"]),
    (MODULE, 9, ["--target", "rtm"]),
    (MODULE, None, ["--target", "amc0"]),
    (BASEBOARD, 0, []),
    (BASEBOARD, 9, []),
    (2, 3, []),
]


@pytest.mark.parametrize(("target", "bay", "words"), TARGETS)
def test_an_upgrade_that_passes_is_told_and_read(mission, target, bay, words):
    host = mission()
    assert host.result(upgrade(target, bay)) == STARTED
    assert host.call(WAIT) == event(target, bay or 0, DONE)
    assert [run["argv"] for run in runs()] == [[*TOOL, *words, "/images/amc.img"]]
    assert host.call("read 0x600") == read(target, bay or 0, DONE)
    assert host.events() == []
    assert outcome_texts(host) == []  # a tool that passed is a trace


@pytest.mark.parametrize(("end", "code"), [(["--exit", "1"], 1), (["--exit", "255"], 255), (["--signal", "9"], 137), (["--signal", "15"], 143)], ids=str)
def test_an_upgrade_that_fails_is_told_and_read_and_the_next_one_may_pass(mission, end, code):
    order("tool", "set", "fwburn", *end, "--times", "1")
    host = mission()
    assert host.result(upgrade(bay=9)) == STARTED
    assert host.call(WAIT) == event(MODULE, 9, UPGRADE_FAILED)
    assert host.call("read 0x600") == read(MODULE, 9, UPGRADE_FAILED)
    assert outcome_texts(host) == [f"UPGRADETHEAD :: run - update returned {code} WEXITSTATUS={code << 8} WIFEXITED=1"]
    wait_until(lambda: host.result(upgrade(bay=6)) == STARTED)  # the event comes before the end of the thread
    assert host.call(WAIT) == event(MODULE, 6, DONE)


def test_an_upgrade_whose_shell_is_killed_has_failed(mission):
    order("tool", "set", "fwburn", "--delay", FOR_EVER)
    host = mission()
    assert host.result(upgrade()) == STARTED
    os.kill(shell_of(run_of("fwburn")), signal.SIGKILL)
    assert host.call(WAIT) == event(MODULE, 3, UPGRADE_FAILED)
    assert outcome_texts(host) == ["UPGRADETHEAD :: run - update returned 0 WEXITSTATUS=9 WIFEXITED=0"]


def test_an_upgrade_without_its_tool_has_failed(mission):
    host = mission({"PATH": "/usr/bin:/bin"})
    assert host.result(upgrade()) == STARTED
    assert host.call(WAIT) == event(MODULE, 3, UPGRADE_FAILED)
    assert outcome_texts(host) == [f"UPGRADETHEAD :: run - update returned 127 WEXITSTATUS={127 << 8} WIFEXITED=1"]


def test_while_an_upgrade_runs_another_is_refused_and_the_first_is_read(mission):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = mission()
    assert host.result(upgrade(bay=3)) == STARTED
    run = run_of("fwburn")
    assert [host.result(upgrade(bay=6, path="/images/other.img")), host.result(upgrade(BASEBOARD, 0))] == [REFUSED, REFUSED]
    assert host.call("read 0x600") == read(MODULE, 3, REQUESTED)
    assert host.call("wait-event 0")["op"] == "wait-event"
    os.kill(run["process"], signal.SIGTERM)
    assert host.call(WAIT) == event(MODULE, 3, UPGRADE_FAILED)
    assert [run["argv"][-1] for run in runs()] == ["/images/amc.img"]
    assert host.events() == []


@pytest.mark.parametrize(
    ("values", "result"),
    [
        ("0x601=u:1 0x605=/images/amc.img 0x606=u:3", MISSING),
        ("0x602=u:0 0x605=/images/amc.img 0x606=u:3", MISSING),
        ("0x601=u:1 0x602=u:0 0x606=u:3", MISSING),
        ("0x601=u:1 0x602=u:0 0x605=s: 0x606=u:3", MISSING),
        ("0x601=u:1 0x602=u:1 0x605=/images/amc.img 0x606=u:3", REFUSED),
        ("0x601=u:1 0x602=u:2 0x605=/images/amc.img 0x606=u:3", REFUSED),
        ("0x601=u:1 0x602=i:-1 0x605=/images/amc.img 0x606=u:3", REFUSED),
    ],
)
def test_a_write_that_cannot_be_meant_starts_nothing(mission, values, result):
    host = mission()
    assert host.result(f"write 0x600 -- {values}") == result
    assert host.call("read 0x600") == read(0, 0, DONE)
    # Nothing else was started, or its run would come before this one's.
    assert host.result(upgrade()) == STARTED
    assert host.call(WAIT) == event(MODULE, 3, DONE)
    assert len(runs()) == 1


# Each of them would make a file, were it a shell's to read; the tool gets the path as it is.
HOSTILE = [
    "/images/a.img; touch {}",
    "/images/$(touch {})",
    "/images/`touch {}`",
    "/images/a.img | touch {}",
    "/images/a.img & touch {} &",
    "/images/a.img > {}",
    "'; touch {}; '",
    "'\"'; touch {}; '\"'",
    '"; touch {}; "',
    "\\'; touch {}",
    "a b\tc",
    "*",
    "~",
    "$HOME",
    "--target amc1",
    "#{}",
    "!{}",
    "\u00e9\u20ac",
]


@pytest.mark.parametrize("path", HOSTILE)
def test_a_hostile_path_is_one_word_for_the_tool_and_none_for_the_shell(mission, tmp_path, path):
    canary = tmp_path / "canary"
    path = path.format(canary)
    host = mission()
    assert host.result(upgrade(path=path)) == STARTED
    assert host.call(WAIT) == event(MODULE, 3, DONE)
    # The log has bytes, as the characters of the same numbers.
    assert [run["argv"] for run in runs()] == [[*TOOL, "--target", "amc3", path.encode().decode("latin-1")]]
    assert not canary.exists()
    assert {entry.name for entry in tmp_path.iterdir()} <= {"storage", "log"}


# A host that does not wait for the end.


def test_a_fin_leaves_an_upgrade_that_runs_to_its_tool_and_the_next_life_is_told_of_its_end(mission):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = mission()
    assert host.result(upgrade()) == STARTED
    run = run_of("fwburn")
    assert host.result("fin") == 1
    assert runs()[0]["end_ms"] is None
    # The next host finds it running.
    assert host.result("init") == 1
    assert host.call("read 0x600") == read(MODULE, 3, REQUESTED)
    assert host.result(upgrade(bay=6)) == REFUSED
    os.kill(run["process"], signal.SIGTERM)
    assert host.call(WAIT) == event(MODULE, 3, UPGRADE_FAILED)
    wait_until(lambda: host.result(upgrade(bay=6)) == STARTED)
    assert host.call(WAIT) == event(MODULE, 6, DONE)


def test_a_host_that_ends_while_an_upgrade_runs_does_not_wait_and_the_tool_goes_on(mission):
    order("tool", "set", "fwburn", "--delay", FOR_EVER)
    host = mission()
    assert host.result(upgrade()) == STARTED
    run = run_of("fwburn")
    assert host.result("fin") == 1
    assert host.end() == 0
    assert os.path.exists(f"/proc/{run['process']}")


def test_an_upgrade_and_a_start_go_on_side_by_side(mission):
    order("tool", "set", "fwburn", "--delay", FOR_EVER)
    host = mission()
    assert host.result(upgrade()) == STARTED
    run = run_of("fwburn")
    assert [host.result("start"), host.result("stop")] == [1, 1]
    host.events()  # of the run status
    os.kill(run["process"], signal.SIGTERM)
    assert host.call(WAIT) == event(MODULE, 3, UPGRADE_FAILED)


# For people.


@pytest.mark.parametrize(("end", "status", "last"), [([], 0, "upgraded"), (["--exit", "4"], 1, "failed"), (["--signal", "9"], 1, "failed")], ids=str)
def test_bmhost_upgrades_a_module_and_tells_how_it_went(tmp_path, end, status, last):
    image = tmp_path / "amc 3.img"
    image.write_text("firmware")
    order("tool", "set", "fwburn", *end)
    words = ["--storage", tmp_path / "storage", "firmware", "update", "--target", "amc", "--bay", "3", "--yes", image]
    done = subprocess.run([bin_folder() / "bmhost", *words], capture_output=True, text=True, timeout=SECONDS)
    assert done.returncode == status, done.stderr
    lines = done.stdout.splitlines()
    assert lines[0].startswith("AMC bay 3: ") and last in lines[-3]
    assert lines[-2].startswith(f"file {image}, SHA-256 ")
    (run,) = runs()
    assert run["argv"][:-1] == [*TOOL, "--target", "amc3"]
    assert run["argv"][-1].endswith(".image"), "a copy of bmhost's own"
