"""The resident host on a blade that cannot be started at first. These tests run in a full blade, whose fifth DSP has no address yet."""

from inside import sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from resident import ask, part, resident  # noqa: F401 (one is a fixture)


def test_a_blade_that_cannot_be_started_is_served_until_its_cause_is_gone(resident):
    host = resident()
    wait_until(lambda: part("host")["start"] is not None)
    start = part("host")["start"]
    assert start["result"] != 1
    assert start["reasons"]
    missing = [dsp["dsp"] for dsp in part("dsps") if not dsp["ip"]]
    assert missing[0] == 5
    for number in missing:
        status, body = ask("/v1/orders/dsp-set-ip", {"dsp": number, "address": f"192.168.0.{100 + number}"})
        assert (status, body.get("good")) == (200, True), body
    status, body = ask("/v1/orders/start", {})
    assert (status, body["result"]) == (200, 1), body
    wait_until(lambda: part("health")["state"] == "monitored")
    assert host.end() == (0, [("init", 1), ("start", start["result"]), ("start", 1), ("stop", 1), ("fin", 1)])
