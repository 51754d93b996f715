"""Where Init waits, and what ends the waiting. These tests run in a typical blade whose driver never answers for a controller
that does not: an answer that is withheld comes when the test releases it, or not at all."""

import pytest
from inside import host, order, requests, show, sound_blade, wait_until  # noqa: F401 (two are fixtures)


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
