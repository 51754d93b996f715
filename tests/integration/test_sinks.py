"""Texts of the hardware that are markup, escape sequences and control characters, wherever the programs show them. These tests run in the
hostile blade of the page's tests: what reaches a terminal steers nothing, what reaches a document stays a text in it."""

import json
import os
import pty
import re
import select
import signal
import subprocess
import time
import unicodedata
import xml.etree.ElementTree
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from prometheus_client.parser import text_string_to_metric_families as families
from resident import Resident, part
from test_web import PASSWORD, Web

ESCAPE = "\x1b[31mred\x07"
MARKUP = "<script>window.evil=1</script>"
CANARY = "$(touch canary)`touch canary`;'\"%n%s\x1b[2J"


# Bold titles and the colours of lamps; none of them is in the hostile texts.
OWN = re.compile(rb"\x1b\[(?:0|1|9[0-7]|38;5;[0-9]+)m")


def steering(shown):
    """What a terminal would obey, but for line ends, tabs and what the programs themselves put there."""
    text = OWN.sub(b"", shown.replace(b"\r\n", b"\n")).decode("utf-8", "surrogateescape")
    return {char for char in text if (unicodedata.category(char) in ("Cc", "Cf") and char not in "\n\t") or "\udc80" <= char <= "\udc9f"}


def at_terminal(*words, until=None):
    """What the program shows at a terminal; one that goes on is ended once it shows the text."""
    leader, follower = pty.openpty()
    process = subprocess.Popen([bin_folder() / words[0], *words[1:]], stdin=follower, stdout=follower, stderr=follower, env=os.environ | {"TERM": "xterm"})
    os.close(follower)
    shown, deadline = b"", time.monotonic() + SECONDS
    try:
        while time.monotonic() < deadline:
            if not select.select([leader], [], [], SECONDS)[0]:
                break
            try:
                piece = os.read(leader, 65536)
            except OSError:  # the other end is closed
                break
            shown += piece
            if until is not None and until in shown:
                process.send_signal(signal.SIGINT)
                until = None
        assert until is None, shown
        process.wait(SECONDS)
    finally:
        process.kill()
        process.wait()
        os.close(leader)
    return shown


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    return tmp_path_factory.mktemp("hosts")


@pytest.fixture(scope="module", autouse=True)
def host(folder):
    resident = Resident(folder, "--no-start")
    wait_until(lambda: part("leds"))
    yield resident
    resident.process.kill()
    resident.process.communicate()


@pytest.fixture(scope="module")
def door(folder, host):
    web = Web(folder)
    yield web
    web.process.kill()
    web.process.wait()


# The hostile text as the sink shows it: at a terminal without what steers it.
TERMINAL = {
    "bmhost inventory": b"[31mred",
    "bmhost status": MARKUP.encode(),
    "bmhost leds": None,
    "bmhost dsp": None,
    "bmhost switch": None,
    "bmhost pstn": None,
    "bmhost why": None,
    "bmhost table 0x30000": b"[31mred",
    "bmhost table 0x30200": b"[31mred",
    "bmhost log -n 10000": None,
    "bmhost metrics": MARKUP.encode(),
    "bmhost --json inventory": rb"\u001b[31mred",
    "bmhost --json table 0x30000": rb"\u001b[31mred",
    "bladesim show log": None,
    "bladesim show leds": None,
}


@pytest.mark.parametrize("command", TERMINAL)
def test_at_a_terminal_nothing_steers_it(command):
    shown = at_terminal(*command.split())
    assert TERMINAL[command] is None or TERMINAL[command] in shown, shown
    assert len(shown) > 10 and steering(shown) == set()


def test_the_live_picture_steers_the_terminal_by_its_own_sequences_only():
    shown = at_terminal("bmhost", "watch", until=MARKUP.encode())
    assert b"\x07" not in shown and b"\x1b[31mred" not in shown and b"\xc2\x85" not in shown


def test_json_is_ascii_without_controls_and_has_the_whole_text():
    for words in (["inventory"], ["status"], ["table", "0x30000"], ["table", "0x30200"]):
        done = subprocess.run([bin_folder() / "bmhost", "--json", *words], capture_output=True, timeout=SECONDS)
        assert steering(done.stdout) == set()
        for line in done.stdout.splitlines():
            json.loads(line)
    table = subprocess.run([bin_folder() / "bmhost", "--json", "table", "0x30000"], capture_output=True, timeout=SECONDS).stdout
    assert ESCAPE in json.dumps(json.loads(table), ensure_ascii=False).replace("\\u001b", "\x1b").replace("\\u0007", "\x07")
    assert MARKUP in json.dumps(json.loads(table))


def test_the_doors_documents_hold_the_texts_as_texts(door):
    for path in ("/v1/blade", "/redfish/v1/Chassis/Blade", "/v1/log"):
        status, body = door.curl(path)
        assert status == 200 and steering(body.encode()) == set(), path
        json.loads(body)
    status, body = door.curl("/redfish/v1/Chassis/Blade")
    assert json.loads(body)["Model"] == MARKUP
    assert "\x1b[31mred\x07" in json.dumps(json.loads(body), ensure_ascii=False).replace("\\u001b", "\x1b").replace("\\u0007", "\x07")
    headers = door.curl("/v1/blade", "-i")[1].lower()
    assert "content-type: application/json" in headers and "x-content-type-options: nosniff" in headers


def test_a_label_forges_no_sample(door):
    status, body = door.curl("/metrics")
    assert status == 200
    found = [sample for family in families(body) for sample in family.samples]
    assert MARKUP in {label for sample in found for label in sample.labels.values()}
    assert {sample.name for sample in found if not sample.name.startswith("bmhost_")} == set()
    lines = [line for line in body.split("\n") if line and not line.startswith("#")]
    assert len(lines) == len(found)


def test_an_error_shows_what_was_asked_without_what_steers(door):
    shown = at_terminal("bmhost", "read", "0x30000", f"\x1b[31m{MARKUP}=1")
    assert steering(shown) == set() and len(shown) > 20
    status, body = door.post("/v1/orders/led-set", json.dumps({"bay": 3, "led": 3, "action": CANARY}), user="operator")
    assert status == 400 and steering(body.encode()) == set()
    assert "touch canary" in json.dumps(json.loads(body))
    login = door.curl("/v1/blade", "-u", f"\x1b[31mred:{PASSWORD}")
    assert login[0] == 401
    assert steering((door.folder / "web-errors").read_bytes()) == set()


def test_a_path_reaches_the_tool_as_one_word_and_the_shell_as_none(tmp_path):
    """The firmware tool is started by the shell."""
    image = tmp_path / "a $(touch canary) `touch canary` ;' \"%n image"
    image.write_bytes(b"firmware")
    done = subprocess.run([bin_folder() / "bmhost", "firmware", "update", "--target", "amc", "--bay", "3", "--yes", image], capture_output=True, timeout=SECONDS, cwd=tmp_path)
    assert done.returncode == 0, done
    assert not list(tmp_path.rglob("canary"))
    shown = at_terminal("bmhost", "firmware", "show")
    assert b"%n image" in shown and steering(shown) == set()


def test_a_stored_text_is_no_xml(tmp_path):
    """Whatever is stored as an address, the file stays a document and gives it back."""
    words = [bin_folder() / "bmhost", "--direct", "--json", "--storage", tmp_path, "script", "-"]
    text = MARKUP + '\\"/&#10;]]><!--'
    script = f"init\nwrite 0x30d10 0x30d12=1 -- 0x30d14='{text}'\nread 0x30d10 0x30d12=1\nfin\n"
    done = subprocess.run(words, input=script, capture_output=True, text=True, timeout=SECONDS)
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    assert [line["result"] for line in lines] == [1, 1, 1, 1], done
    assert text in [value["value"] for value in lines[2]["row"]]
    stored = xml.etree.ElementTree.parse(Path(tmp_path, "telq_qub_dsp_iptable_cfg.xml"))
    assert {element.tag for element in stored.iter()} == {"storage", "row", "param"}


def test_the_log_file_forges_no_line(tmp_path):
    log = tmp_path / "log"
    words = [bin_folder() / "bmhost", "--direct", "--log", log, "--log-level", "3", "--mode", "2", "script", "-"]
    done = subprocess.run(words, input="init\ntable 0x30000\ntable 0x30200\nfin\n", capture_output=True, text=True, errors="replace", timeout=SECONDS)
    assert done.returncode == 0, done
    assert steering(log.read_bytes()) == set() and log.stat().st_size > 1000
    assert [line for line in log.read_text(errors="replace").splitlines() if line.startswith(("line", "red"))] == []
