"""The resident host on the simulated blade: when it serves, what its picture says of a controller that is lost, and how it ends and comes
back. These tests run in a typical blade."""

import signal
import subprocess

from conftest import SECONDS, bin_folder
from inside import order, sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from resident import SOCKET, Connection, ask, part, resident, started, wait_for_sweep  # noqa: F401 (one is a fixture)


LED = {"op": "read", "group": "0x100", "keys": [{"id": "0x101", "value": 1}]}
TABLE = {"op": "table", "group": "0x30000"}


def test_serves_a_blade_that_runs_and_ends_it(resident):
    host = resident()
    wait_until(started)
    wait_for_sweep()
    assert part("controller")["state"] == "answers"
    assert ask("/v1/calls", TABLE)[1]["result"] == 1
    assert [module["run_status"] for module in part("status")["modules"][1:]] == [4, 4, 4]
    assert host.end() == (0, [("init", 1), ("start", 1), ("stop", 1), ("fin", 1)])
    assert not SOCKET.exists()


def test_a_blade_that_is_started_twice_is_monitored(resident):
    host = resident()
    wait_until(lambda: part("health")["state"] == "monitored")
    since = part("health")["since"]
    status, body = ask("/v1/orders/start", {})
    assert (status, body["result"], body["good"]) == (200, 1, True)
    wait_until(lambda: part("health")["state"] == "monitored" and part("health")["since"] != since)
    assert host.end() == (0, [("init", 1), ("start", 1), ("start", 1), ("stop", 1), ("fin", 1)])
    assert [line["state"] for line in host.lines if line["op"] == "health"] == ["monitored", "ended", "monitored", "ended"]


def test_serves_before_init_returns(resident):
    order("fault", "add", "0a 10", "--count", "1", "late", "3000")
    host = resident("--no-start")
    wait_until(lambda: [call["operation"] for call in part("calls")] == ["init"])
    status, body = ask("/v1/calls", TABLE)
    assert status == 503
    assert "has not returned from init, since 20" in body["error"]["reason"]
    wait_until(lambda: part("host")["init"] is not None)
    assert ask("/v1/calls", TABLE)[0] == 200
    assert host.end() == (0, [("init", 1), ("fin", 1)])


def test_a_second_host_is_refused_and_told_of_the_first(resident):
    host = resident()
    second = subprocess.run([bin_folder() / "bmhost", "run"], capture_output=True, text=True, timeout=SECONDS)
    assert (second.returncode, second.stdout) == (6, "")
    assert f"another host has the blade: bmhostd, process {host.process.pid}, since 20" in second.stderr
    host.end()


def test_what_a_killed_host_left_is_taken_over(resident):
    host = resident()
    host.process.kill()
    host.process.wait()
    assert SOCKET.exists()
    host = resident()
    wait_until(started)
    assert host.end()[0] == 0


def test_a_lost_controller_makes_readings_old_and_nothing_else_wait(resident):
    host = resident()
    wait_for_sweep()
    rows = len(part("leds"))
    order("controller", "stop")
    wait_until(lambda: part("controller")["state"] == "lost")
    assert ask("/v1/calls", TABLE)[1]["result"] == 1
    assert len(part("leds")) == rows
    assert all(row["read_at"] is not None for row in part("leds"))
    order("controller", "start")
    wait_until(lambda: part("controller")["state"] == "answers")
    assert ask("/v1/calls", LED)[1]["result"] == 1
    assert host.end()[0] == 0


def test_a_start_that_failed_is_tried_again_by_order(resident, tmp_path):
    order("tool", "set", "mavk_boot", "--exit", "3")
    host = resident()
    wait_until(lambda: part("host")["start"] is not None)
    assert part("host")["start"]["result"] != 1
    wait_until(lambda: "bmhost: start returned " in (tmp_path / "errors").read_text())
    assert host.process.poll() is None
    order("tool", "clear")
    status, body = ask("/v1/orders/start", {})
    assert (status, body["result"], body["good"]) == (200, 1, True)
    assert host.end()[0] == 0


def test_the_log_begins_with_the_host(resident, tmp_path):
    (tmp_path / "state").mkdir()
    (tmp_path / "state" / "upgrades.jsonl").write_text("garbage\n")
    host = resident("--no-start")
    assert any("upgrades.jsonl:1: no upgrade; skipped" in line["text"] for line in ask("/v1/log?lines=10000")[1]["lines"])
    assert host.end()[0] == 0


def test_a_hangup_reads_the_configuration_again(resident, tmp_path):
    config = tmp_path / "bmhost.toml"
    config.write_text("exit-on-fault = false\n")
    host = resident("--config", str(config))
    wait_until(started)
    host.process.send_signal(signal.SIGHUP)
    wait_until(lambda: any(line["text"] == "configuration read again" for line in ask("/v1/log?lines=50")[1]["lines"]))
    assert host.end()[0] == 0


def test_events_come_to_whoever_reads_them(resident):
    host = resident()
    wait_until(started)
    connection = Connection()
    connection.request("GET", "/v1/events?after=0")
    answer = connection.getresponse()
    kinds = set()
    while not {"event", "call", "health", "picture"} <= kinds:
        line = answer.readline().decode()
        if line.startswith("event: "):
            kinds.add(line.split()[1])
    connection.close()
    host.end()
