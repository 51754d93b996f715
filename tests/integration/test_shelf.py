"""Blades side by side in a shelf: brought up, asked through their web doors, pulled, put back, frozen and broken by name."""

import json
import os
import re
import signal
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, Blade, bin_folder

# Run by the shelf's COMMAND.
READ = Path(__file__).with_name("shelf-inventories")
CURL = 'curl -s -S -m {seconds} -o /dev/null -w "%{{http_code}}" --cacert "$BLADESIM_SHELF_CA" -u "$BLADESIM_SHELF_ACCOUNT" https://{name}:8443/v1/blade'
CERTIFICATE = "/usr/bin/python3 -c 'import ssl; print(ssl.get_server_certificate((\"{name}\", 8443)))'"


class Shelf:
    """A shelf whose COMMAND is a shell that does what a test says."""

    def __init__(self, what):
        self.blade = Blade()
        self.process = self.blade.start("shelf", what, "--", "sh", stderr=subprocess.STDOUT)

    def do(self, command):
        """Exit status and output."""
        self.process.stdin.write(f'( {command}\n) 2>&1 </dev/null; echo "|$?"\n')
        self.process.stdin.flush()
        lines = []
        while "|" not in (line := self.process.stdout.readline()):
            assert line, "".join(lines)
            lines.append(line)
        rest, _, status = line.rpartition("|")
        return int(status), "".join(lines) + rest

    def order(self, *words):
        status, output = self.do("bladesim shelf " + " ".join(words))
        assert status == 0, output
        return output

    def states(self):
        return {each["name"]: each["state"] for each in json.loads(self.order("list", "--json"))}

    def door(self, name, seconds=SECONDS):
        return self.do(CURL.format(name=name, seconds=seconds))[1]

    def end(self):
        self.process.communicate(timeout=SECONDS)
        self.blade.end()


@pytest.fixture(scope="module")
def shelf():
    result = Shelf("2")
    assert result.process.stdout.readline().startswith("bladesim: 2 of 2 blades are up")
    yield result
    result.end()
    assert result.process.returncode == 0


def test_each_of_three_blades_has_an_inventory_of_its_own(blade):
    done = blade.run("shelf", "3", "--", READ, "blade1", "blade2", "blade3")
    assert done.returncode == 0, done.stderr
    inventories = [json.loads(line) for line in done.stdout.splitlines()]
    assert [sorted(each) for each in inventories] == [
        ["AMC3", "AMC6", "Blade", "RTM"],
        ["AMC1", "AMC2", "AMC3", "AMC4", "AMC5", "AMC6", "AMC7", "AMC8", "Blade", "RTM"],
        ["AMC3", "AMC6", "Blade"],
    ]
    serials = [serial for each in inventories for serial in each.values()]
    assert all(serials)
    assert len(set(serials)) == len(serials)


def test_a_shelf_lists_its_blades(shelf):
    listed = json.loads(shelf.order("list", "--json"))
    assert [{key: each[key] for key in ("slot", "name", "address", "blade", "state")} for each in listed] == [
        {"slot": 1, "name": "blade1", "address": "192.0.2.11", "blade": "typical", "state": "up"},
        {"slot": 2, "name": "blade2", "address": "192.0.2.12", "blade": "full", "state": "up"},
    ]
    assert shelf.order("list").splitlines()[0].split() == ["SLOT", "NAME", "ADDRESS", "BLADE", "STATE"]


def test_a_pulled_blade_is_gone_and_comes_back_as_it_was(shelf):
    shelf.order("in blade2 -- bmhost dsp set-ip 2 192.168.0.77")
    certificate = shelf.do(CERTIFICATE.format(name="blade2"))
    assert certificate[0] == 0, certificate
    shelf.order("pull blade2")
    assert shelf.states() == {"blade1": "up", "blade2": "pulled"}
    assert shelf.door("blade2", seconds=1).endswith("000")
    assert shelf.door("blade1") == "200"
    assert shelf.do("bladesim shelf pull blade2") == (3, "bladesim: blade2 is pulled already\n")
    assert shelf.do("bladesim shelf in blade2 -- true") == (3, "bladesim: blade2 is not up: it is pulled\n")
    shelf.order("insert blade2")
    assert shelf.states() == {"blade1": "up", "blade2": "up"}
    assert shelf.door("blade2") == "200"
    assert shelf.do(CERTIFICATE.format(name="blade2")) == certificate
    assert "192.168.0.77" in shelf.order("in blade2 -- bmhost dsp")
    assert shelf.do("bladesim shelf insert blade2") == (3, "bladesim: blade2 is in its slot already: it is up\n")


def test_a_frozen_controller_stands_still_until_it_is_thawed(shelf):
    in_blade = "in blade1 -- timeout 2 ipmitool -I lan -H 127.0.0.1 -p 9001 -U ipmiusr -P test mc info"
    assert "Device ID" in shelf.order(in_blade)
    shelf.order("freeze blade1")
    assert shelf.states()["blade1"] == "frozen"
    assert shelf.do("bladesim shelf " + in_blade)[0] == 124  # of timeout: it got no answer
    assert shelf.door("blade1") == "200"
    shelf.order("thaw blade1")
    assert shelf.states()["blade1"] == "up"
    assert "Device ID" in shelf.order(in_blade)
    shelf.order("in blade1 -- bladesim controller stop")
    assert shelf.do("bladesim shelf freeze blade1") == (3, "bladesim: blade1: it has no running controller\n")
    shelf.order("in blade1 -- bladesim controller start")


def test_a_command_runs_in_the_blade_that_it_names(shelf):
    shelf.order("in blade1 -- bladesim tool set mavk_diag --exit 16")
    assert "16" in shelf.order("in blade1 -- bladesim tool list")
    assert "16" not in shelf.order("in blade2 -- bladesim tool list")
    shelf.order("in blade1 -- bladesim tool clear")
    assert shelf.do("bladesim shelf in blade1 -- sh -c 'exit 7'") == (7, "")
    assert "192.0.2.12/24" in shelf.order("in blade2 -- ip -brief address show base0")


def test_a_wrong_name_lists_the_right_ones(shelf):
    for order in ("pull", "insert", "freeze", "thaw"):
        said = shelf.do(f"bladesim shelf {order} blade9")
        assert said == (3, 'bladesim: the shelf has no blade "blade9"; it has blade1, blade2\n')


def test_a_blade_that_ends_by_itself_is_told_and_can_be_inserted(shelf):
    shelf.do("bladesim shelf in blade1 -- sh -c 'kill -9 $(pgrep -x bmhostd)'")
    told = shelf.process.stdout.readline()
    assert told == "bladesim: blade1 in slot 1, blade typical, has failed: it ended, status 137; the end of its log:\n"
    while "Killed" not in shelf.process.stdout.readline():
        pass
    assert shelf.states()["blade1"] == "failed"
    shelf.order("insert blade1")
    assert shelf.states()["blade1"] == "up"


def test_nothing_is_left_of_a_shelf_whose_bladesim_is_killed():
    killed = Shelf("2")
    assert "2 of 2" in killed.process.stdout.readline()
    processes = killed.blade.processes()
    assert {"bmhostd", "bmhost-web", "ipmi_sim", "bladesim"} <= set(processes.values())
    os.kill(killed.process.pid, signal.SIGKILL)
    killed.blade.wait_until_gone(processes)
    assert killed.blade.processes() == {}
    killed.process.communicate(timeout=SECONDS)
    folders = [path for path in (bin_folder().parent / "lib").rglob("shelf") if path.parent.name == "bladesim"]
    assert [list(folder.iterdir()) for folder in folders] == [[]]
    assert "blade1" not in open("/etc/hosts").read()
    killed.blade.end()


def test_a_system_without_names_of_machines_is_told_what_it_needs(tmp_path):
    for name in ("passwd", "group", "nsswitch.conf"):
        (tmp_path / name).write_bytes(Path("/etc", name).read_bytes())
    inside = 'mount --bind "$1" /etc && exec "$2" shelf 1 -- true'
    done = subprocess.run(["unshare", "-rm", "sh", "-c", inside, "sh", tmp_path, bin_folder() / "bladesim"], capture_output=True, text=True, timeout=SECONDS)
    assert (done.returncode, done.stdout) == (3, "")
    assert done.stderr == "bladesim: there is no /etc/hosts, in whose place the names of the blades are put; an empty one is enough\n"


def test_a_blade_that_does_not_come_up_is_named_with_its_reason_and_log(blade):
    done = blade.run("shelf", "2", "--", "true", env={"PATH": "/nowhere"})
    assert (done.returncode, done.stdout) == (3, "")
    assert re.match(r"bladesim: blade(1 in slot 1, blade typical|2 in slot 2, blade full), does not come up: it ended, status 3; the end of", done.stderr)
    assert "ipmi_sim is not installed" in done.stderr


def test_a_shelf_file_says_which_blade_is_where(blade, tmp_path):
    own = json.loads((bin_folder().parent / "share/bladesim/blades/typical.json").read_text())
    (tmp_path / "own.json").write_text(json.dumps(own))
    places = [{"name": "west", "slot": 9, "blade": "own.json"}, {"name": "east", "slot": 4, "blade": "no-dsp"}]
    (tmp_path / "shelf.json").write_text(json.dumps({"blades": places}))
    done = blade.run("shelf", tmp_path / "shelf.json", "--", "sh", "-c", "bladesim shelf list --json; exit 5")
    assert done.returncode == 5, done.stderr
    listed = [(each["name"], each["slot"], each["address"], each["state"]) for each in json.loads(done.stdout)]
    assert listed == [("east", 4, "192.0.2.14", "up"), ("west", 9, "192.0.2.19", "up")]


@pytest.mark.parametrize(
    ("words", "status", "said"),
    [
        (["shelf", "15", "--", "true"], 2, "15: expected a number of blades, 1 to 14"),
        (["shelf", "2"], 2, "a COMMAND is missing"),
        (["shelf", "/nowhere.json", "--", "true"], 3, "/nowhere.json: cannot be read"),
        (["shelf", "list"], 3, "this is not the inside of a shelf"),
        (["shelf", "pull"], 2, "pull takes the NAME of one blade"),
        (["shelf", "in", "blade1"], 2, "in takes a COMMAND after --"),
    ],
)
def test_what_is_wrong_is_said(blade, words, status, said):
    done = blade.run(*words)
    assert (done.returncode, said in done.stderr) == (status, True), done.stderr
