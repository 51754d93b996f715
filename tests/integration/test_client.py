"""Every command beside a resident host: what it shows is what an adaptor of its own would show, what it refuses, and how long it waits.
These tests run in a typical blade, with one host for all of them that has initialised the blade and not started it."""

import json
import os
import pty
import re
import select
import signal
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import order, sound_blade, wait_until  # noqa: F401 (one is a fixture)

BLADE = Path(os.environ.get("BLADESIM_RUN_DIR", "/nowhere"))
SOCKET = BLADE / "bmhost.sock"
BMHOST = bin_folder() / "bmhost"


def bmhost(*words, text=""):
    return subprocess.run([BMHOST, *map(str, words)], input=text, capture_output=True, text=True, timeout=SECONDS)


def json_of(*words):
    (line,) = bmhost("--json", *words).stdout.splitlines()
    return json.loads(line)


@pytest.fixture(scope="module", autouse=True)
def storage(tmp_path_factory):
    """That of the resident host, which ends with the module."""
    folder = tmp_path_factory.mktemp("client")
    words = ["--storage", folder / "storage", "--state", folder / "state", "--no-start", "--sweep", "1"]
    with (folder / "said").open("w") as said:
        process = subprocess.Popen([bin_folder() / "bmhostd", *words], stdout=said, stderr=said)
    wait_until(lambda: bmhost("--json", "table", "0x30000").returncode == 0 and SOCKET.exists())
    wait_until(lambda: len(json_of("leds")["leds"]) > 0)
    yield folder / "storage"
    process.send_signal(signal.SIGTERM)
    assert process.wait(SECONDS) == 0, (folder / "said").read_text()


GROUPS = [group["id"] for group in json.loads(subprocess.run([BMHOST, "--json", "groups"], capture_output=True, text=True).stdout)["groups"]]
CALLS = [["table", group] for group in GROUPS] + [
    ["read", "0x30200", "0x30201=3"],
    ["read", "0x30200", "0x30201=8"],
    ["read", "0x100", "0x101=3"],
    ["read", "0x30d10", "0x30d12=1"],
    ["read", "0x600"],
    ["write", "0x30e00", "0x30e02=1", "--", "0x30e03=1"],
    ["write", "0x30d10", "0x30d12=77", "--", "0x30d14=192.168.0.99"],
]


@pytest.mark.parametrize("call", CALLS, ids=" ".join)
def test_a_call_is_the_same_line_as_with_an_adaptor_of_its_own(storage, call):
    asked = bmhost("--json", *call)
    own = bmhost("--json", "--direct", "--storage", storage, *call)
    assert asked.stdout.startswith('{"op":')
    assert (asked.returncode, asked.stdout) == (own.returncode, own.stdout)
    assert bmhost(*call).stdout == bmhost("--direct", "--storage", storage, *call).stdout


@pytest.mark.parametrize("look", ["inventory", "groups", "pstn"])
def test_a_look_is_the_same_as_with_an_adaptor_of_its_own(storage, look):
    asked = bmhost(look)
    own = bmhost("--direct", "--storage", storage, look)
    assert (asked.returncode, asked.stdout) == (own.returncode, own.stdout)


def test_addresses_and_states_are_read_not_stored(storage):
    assert {(each["stored"], each["read"]) for each in json_of("dsp")["dsps"]} == {(False, True)}
    assert {each["stored"] for each in json_of("switch")["ports"]} == {False}
    assert {each["stored"] for each in json.loads(bmhost("--json", "--direct", "--storage", storage, "dsp").stdout)["dsps"]} == {True}


# The words that each command needs; run, script, init and fin are refused, and watch and events have no end.
WORDS = {
    "start": ["start"],
    "stop": ["stop"],
    "read": ["read", "0x30200", "0x30201=3"],
    "table": ["table", "0x30000"],
    "write": ["write", "0x30e00", "0x30e02=1", "--", "0x30e03=1"],
    "inventory": ["inventory"],
    "leds": ["leds"],
    "status": ["status"],
    "pstn": ["pstn"],
    "groups": ["groups"],
    "why": ["why"],
    "led set": ["led", "set", "board", "health", "local"],
    "dsp": ["dsp"],
    "dsp set-ip": ["dsp", "set-ip", "1", "192.168.0.23", "--force"],
    "switch": ["switch"],
    "switch enable": ["switch", "enable", "1"],
    "switch disable": ["switch", "disable", "4"],
    "reset board": ["reset", "board", "--yes"],
    "firmware update": ["firmware", "update", "--target", "board", "--dry-run", str(BMHOST)],
    "firmware show": ["firmware", "show"],
    "log": ["log"],
    "report": ["report", "--force", "FILE"],
    "shell": ["shell"],
    "completions": ["completions", "st"],
    "help": ["help"],
}
REFUSED = {"init": [], "fin": [], "script": ["-"], "run": []}
DOOR = ["metrics", "web", "tls-init", "account add", "account remove", "account list", "account passwd"]  # bmhost-web carries them out
BEFORE = ["write", "completions"]  # later words are theirs
ENDLESS = ["watch", "events"]
FAMILIES = ["led", "dsp", "switch", "reset", "firmware", "account"]


def completed(*words):
    return {word for word in json_of("completions", *words)["words"] if not word.startswith("-")}


def test_every_command_is_known_here():
    names = completed("")
    members = {f"{family} {member}" for family in FAMILIES for member in completed(family, "")}
    assert names | members == {*WORDS, *REFUSED, *ENDLESS, *DOOR, *FAMILIES}


@pytest.mark.parametrize("command", WORDS)
def test_every_command_is_one_object_of_json_wherever_the_option_stands(tmp_path, command):
    words = [str(tmp_path / "report") if word == "FILE" else word for word in WORDS[command]]
    text = "status\n" if command == "shell" else ""
    orders = [["--json", *words]] if command in BEFORE else [["--json", *words], [*words, "--json"]]
    for order_of_words in orders:
        if command == "start":
            bmhost("stop")
        done = bmhost(*order_of_words, text=text)
        (line,) = done.stdout.splitlines()
        assert json.loads(line)["op"] == ("status" if command == "shell" else command), done.stderr


def test_the_upgrades_are_a_look(tmp_path):
    for look in (json_of("firmware", "show"), json_of("--direct", "--storage", tmp_path / "storage", "firmware", "show")):
        assert list(look) == ["op", "good", "upgrades", "time", "source"]
        assert (look["good"], look["source"]["kind"]) == (True, "hardware")


@pytest.mark.parametrize("command", REFUSED)
def test_what_needs_an_adaptor_of_its_own_is_refused(command):
    done = bmhost(command, *REFUSED[command])
    assert (done.returncode, done.stdout) == (6, "")
    assert "another host has the blade: bmhostd, process " in done.stderr


OWN = [["--adaptor", "x"], ["--mode", "2"], ["--storage", "/tmp"], ["--log", "/dev/null"], ["--log-level", "3"]]


@pytest.mark.parametrize("option", OWN, ids=" ".join)
def test_an_option_of_an_own_adaptor_is_refused(option):
    done = bmhost(*option, "status")
    assert (done.returncode, done.stdout) == (2, "")
    assert option[0] in done.stderr
    assert "--direct" in done.stderr


def test_a_call_that_takes_too_long_ends_the_command_only():
    order("fault", "add", "2c 08", "late", "3000")
    # The blade's driver gives up after 500 ms, and then the call is back.
    done = bmhost("--timeout", "0.1", "read", "0x100", "0x101=3")
    assert (done.returncode, done.stdout) == (5, "")
    assert "`bmhost read`: no answer of the resident host " in done.stderr
    assert " within 0.1 s; " in done.stderr
    assert bmhost("--timeout", "5", "inventory").returncode == 0
    order("fault", "clear")
    wait_until(lambda: bmhost("read", "0x100", "0x101=3").returncode == 0)


def shown_by(process, descriptor, text):
    shown = b""
    while text not in shown:
        assert select.select([descriptor], [], [], SECONDS)[0], f"no {text!r} in {shown!r}"
        shown += os.read(descriptor, 65536)
    process.send_signal(signal.SIGINT)
    assert process.wait(SECONDS) == 0
    return shown


def test_the_picture_is_plain_lines_when_piped():
    process = subprocess.Popen([BMHOST, "watch"], stdout=subprocess.PIPE)
    shown = shown_by(process, process.stdout.fileno(), b"firmware upgrade: ")
    process.stdout.close()
    assert b"\033" not in shown
    assert shown.startswith(b"  place ")


@pytest.mark.parametrize("command", ENDLESS)
def test_what_nobody_reads_any_more_ends_though_nothing_changes(command):
    process = subprocess.Popen([BMHOST, command], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    assert process.stdout.readline()
    process.stdout.close()
    assert process.wait(SECONDS) == 1
    assert process.stderr.read() == "bmhost: standard output: Broken pipe\n"
    process.stderr.close()


def test_the_picture_is_redrawn_on_a_terminal():
    primary, secondary = pty.openpty()
    process = subprocess.Popen([BMHOST, "watch"], stdout=secondary)
    os.close(secondary)
    assert shown_by(process, primary, b"firmware upgrade: ").startswith(b"\033[H\033[J")
    os.close(primary)


def test_events_are_lines_of_json():
    process = subprocess.Popen([BMHOST, "--json", "events"], stdout=subprocess.PIPE)
    bmhost("switch", "enable", "1")
    shown = shown_by(process, process.stdout.fileno(), b'"kind":"call"')
    process.stdout.close()
    assert json.loads(shown.splitlines()[0])["op"] == "events"


def test_events_are_sentences_for_people():
    ended = bmhost("--json", "switch", "enable", "1")
    assert ended.returncode == 0, ended.stderr
    process = subprocess.Popen([BMHOST, "events"], stdout=subprocess.PIPE)
    shown = shown_by(process, process.stdout.fileno(), b"order switch-set, port 1: ").decode()
    process.stdout.close()
    time = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z  "
    assert re.match(time + r"init: 1 \(success\)$", shown.splitlines()[0])
    assert re.search("^" + time + r"order switch-set, port 1: done \(1\), (nothing )?changed; asked by uid 0, process \d+$", shown, re.M)
    assert "picture" not in shown


def test_a_report_has_the_hosts_own_log_and_picture(tmp_path):
    parts = json_of("report", tmp_path / "report.tar.zst")["parts"]
    assert {"picture.json", "status.txt", "tables.jsonl", "log.txt"} <= set(parts)
    archive = tmp_path / "report.tar.zst"
    assert archive.stat().st_mode & 0o777 == 0o600
    listed = subprocess.run(["tar", "--zstd", "-tf", archive], capture_output=True, text=True, timeout=SECONDS).stdout
    assert all(part in listed for part in parts)
    picture = subprocess.run(["tar", "--zstd", "-xOf", archive, "--wildcards", "*/picture.json"], capture_output=True, text=True, timeout=SECONDS)
    assert json.loads(picture.stdout)["host"]["resident"]


def test_who_may_not_ask_is_told_so():
    # Any folder may be searched, wherever this build is; what the socket refuses is to be written to.
    other = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=+dac_read_search", "--ambient-caps=+dac_read_search"]
    done = subprocess.run([*other, BMHOST, "status"], capture_output=True, text=True, timeout=SECONDS)
    assert (done.returncode, done.stdout) == (1, "")
    assert "may not be asked: only root and members of the group bmhost may\n" in done.stderr
