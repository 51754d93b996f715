"""Where Init waits, and what ends the waiting. These tests run in a typical blade whose driver never answers for a controller
that does not: an answer that is withheld comes when the test releases it, or not at all."""

import signal
import subprocess

import pytest
from conftest import SECONDS, bin_folder
from inside import host, order, requests, show, sound_blade, wait_until  # noqa: F401 (two are fixtures)
from resident import SOCKET, part, resident  # noqa: F401 (one is a fixture)


SUCCESS = {"op": "init", "result": 1}

# A request of each kind that the probe sends.
PROBE_REQUESTS = ["2c 00 00", "2c 01 00 02", "2c 05 00 01", "2c 06 00 01 02", "0a 10 01", "0a 11 02 10 00"]


@pytest.mark.parametrize("asked", PROBE_REQUESTS, ids=lambda asked: asked.replace(" ", "-"))
def test_init_waits_for_a_lost_reply_and_returns_when_it_comes(host, asked):
    order("fault", "add", asked, "--count", "1", "lost")
    waiting = host("init\nfin\n")
    wait_until(lambda: show("faults")[0]["hits"] == 1)
    assert requests()[-1].startswith(asked)
    assert waiting.is_waiting()
    order("fault", "release")
    assert waiting.lines() == [SUCCESS, {"op": "fin", "result": 1}]


def test_the_inventory_is_whole_after_a_lost_reply_came(host):
    order("fault", "add", "0a 11 01 20 00", "--count", "1", "lost")
    waiting = host("init\ntable 0x30200\nfin\n")
    wait_until(lambda: show("faults")[0]["hits"] == 1)
    order("fault", "release")
    assert [row[0]["value"] for row in waiting.lines()[1]["rows"]] == ["QS-AMC4 Media", "TS-Disk 60", "RT-7190 Trunks"]


def test_the_notice_tells_that_init_waits(host):
    order("fault", "add", "2c 00 00", "--count", "1", "lost")
    waiting = host("init\n", "--notice-after", "50")
    line = waiting.process.stderr.readline()
    while "`init`" not in line:
        assert line, "no notice came"
        line = waiting.process.stderr.readline()
    assert waiting.is_waiting()


def wait_until_init_hangs():
    wait_until(lambda: show("faults")[0]["hits"] == 1)
    assert [call["operation"] for call in part("calls")] == ["init"]


def test_an_init_that_never_returns_does_not_keep_the_resident_host(resident, tmp_path):
    (tmp_path / "bmhost.toml").write_text("end-wait = 1\n")
    order("fault", "add", "0a 10 01", "--count", "1", "lost")
    hung = resident("--config", tmp_path / "bmhost.toml")
    wait_until_init_hangs()
    assert hung.end() == (1, [])
    errors = (tmp_path / "errors").read_text()
    assert "bmhost: `init` has not returned since 20" in errors
    assert "; ending without it\n" in errors
    assert not SOCKET.exists()
    order("fault", "release")
    assert resident("--no-start").end() == (0, [("init", 1), ("fin", 1)])


def test_a_second_signal_does_not_wait_for_init(resident, tmp_path):
    (tmp_path / "bmhost.toml").write_text("end-wait = 3600\n")
    order("fault", "add", "0a 10 01", "--count", "1", "lost")
    hung = resident("--config", tmp_path / "bmhost.toml")
    wait_until_init_hangs()
    hung.process.send_signal(signal.SIGTERM)
    wait_until(lambda: "SIGTERM: stop and fin follow" in (tmp_path / "errors").read_text())
    assert hung.end() == (1, [])
    assert "`init` has not returned since 20" in (tmp_path / "errors").read_text()


def test_a_call_that_waits_for_a_reading_says_so(resident):
    served = resident("--no-start")
    wait_until(lambda: len(part("leds")) > 4)
    order("fault", "add", "2c 08", "lost")
    wait_until(lambda: show("faults")[0]["hits"] > 0)
    command = [bin_folder() / "bmhost", "--timeout", "0.5", "read", "0x100", "0x101=1"]
    done = subprocess.run(command, capture_output=True, text=True, timeout=SECONDS)
    assert done.returncode == 5
    assert "; waiting for `read 0x100` since 20" in done.stderr
    assert ", which has not begun: first comes reading LED " in done.stderr
    (call,) = part("calls")
    assert (call["operation"], call["waiting"]) == ("read 0x100", True)
    assert call["waits_for"].startswith("reading LED ")
    shown = subprocess.run([bin_folder() / "bmhost", "status"], capture_output=True, text=True, timeout=SECONDS).stdout
    assert f"waiting: read 0x100 since {call['since']}, for {call['waits_for']}\n" in shown
    order("fault", "clear")
    order("fault", "release")
    wait_until(lambda: not part("calls"))
    assert served.end()[0] == 0
