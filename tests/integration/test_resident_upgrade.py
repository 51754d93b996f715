"""Firmware upgrades by the resident host on the simulated blade: the image's way from the client to the tool, one upgrade a blade, and what
becomes of one whose client or host dies. These tests run in a typical blade."""

import fcntl
import hashlib
import json
import os
import re
import signal
import socket
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import order, sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import FOR_EVER, fresh_tools, run_of, runs  # noqa: F401 (one is a fixture)
from resident import SOCKET, ask, part, resident  # noqa: F401 (one is a fixture)

BAY, EMPTY_BAY = 3, 2
IMAGE = bytes(range(256)) * 1000
DIGEST = hashlib.sha256(IMAGE).hexdigest()


@pytest.fixture
def image(tmp_path):
    file = tmp_path / "amc.img"
    file.write_bytes(IMAGE)
    return file


@pytest.fixture
def serving(resident):  # noqa: F811 (the fixture)
    def start():
        host = resident("--no-start")
        wait_until(lambda: part("host")["init"] is not None)
        return host

    return start


def words_of(image, bay=BAY):
    return [bin_folder() / "bmhost", "--json", "firmware", "update", "--target", "amc", "--bay", str(bay), "--yes", image]


def client(image, bay=BAY):
    return subprocess.Popen(words_of(image, bay), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def refusal(image, bay=BAY):
    """Exit status and reason."""
    done = subprocess.run(words_of(image, bay), capture_output=True, text=True, timeout=SECONDS)
    return done.returncode, done.stderr


def images(tmp_path):
    return list((tmp_path / "state/firmware").glob("*.image"))


def end_of_tool(run):
    """The stand-in of a tool ends when it is told to."""
    os.kill(run["process"], signal.SIGTERM)


def last_upgrade():
    return part("upgrades")[-1]


def test_the_tool_gets_a_private_copy_and_the_upgrade_stands_in_the_history(serving, image, tmp_path):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = serving()
    asking = client(image)
    run = run_of("fwburn")
    copy = Path(run["argv"][-1])
    assert run["argv"][-3:-1] == ["--target", "amc3"]
    assert copy.parent == tmp_path / "state/firmware"
    assert hashlib.sha256(copy.read_bytes()).hexdigest() == DIGEST
    assert (copy.stat().st_mode & 0o7777, copy.parent.stat().st_mode & 0o7777) == (0o600, 0o700)
    assert last_upgrade()["ended"] is None
    # One upgrade a blade: by this host, and by any other process.
    status, reason = refusal(image, 6)
    assert status == 2 and f"an upgrade of AMC bay {BAY} is under way since 20" in reason
    assert images(tmp_path) == [copy]
    end_of_tool(run)
    out, _ = asking.communicate(timeout=SECONDS)
    told = json.loads(out)
    kept = last_upgrade()
    assert (kept["bay"], kept["sha256"], kept["state"], kept["ended"]) == (BAY, DIGEST, told["state"], told["ended"])
    assert asking.returncode == (0 if told["good"] else 1)
    shown = json.loads(subprocess.run([bin_folder() / "bmhost", "--json", "firmware", "show"], capture_output=True, text=True, timeout=SECONDS).stdout)
    assert [(each["sha256"], each["state"]) for each in shown["upgrades"]] == [(DIGEST, told["state"])]
    wait_until(lambda: images(tmp_path) == [])
    assert host.end()[0] == 0


def test_an_empty_bay_gets_nothing(serving, image, tmp_path):
    host = serving()
    status, reason = refusal(image, EMPTY_BAY)
    assert status == 2 and f"AMC bay {EMPTY_BAY}: there is no module" in reason
    assert (runs(), part("upgrades")) == ([], [])
    wait_until(lambda: images(tmp_path) == [])
    host.end()


def test_the_death_of_the_client_does_not_end_the_upgrade(serving, image, tmp_path):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = serving()
    asking = client(image)
    run = run_of("fwburn")
    asking.kill()
    asking.wait()
    end_of_tool(run)
    wait_until(lambda: last_upgrade()["ended"] is not None)
    assert last_upgrade()["sha256"] == DIGEST
    wait_until(lambda: images(tmp_path) == [])
    assert host.end()[0] == 0


def follower(image, **options):
    words = [word for word in words_of(image) if word != "--json"]
    return subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options)


def test_who_interrupts_the_client_is_told_that_the_upgrade_goes_on(serving, image):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = serving()
    asking = follower(image)
    run = run_of("fwburn")
    assert asking.stdout.readline() == f"AMC bay {BAY}: upgrade in progress, 0 s\n"
    asking.send_signal(signal.SIGINT)
    _, errors = asking.communicate(timeout=SECONDS)
    assert asking.returncode == -signal.SIGINT
    assert errors == "bmhost: the resident host goes on with the upgrade; `bmhost firmware show` tells how it ends\n"
    assert last_upgrade()["ended"] is None
    end_of_tool(run)
    wait_until(lambda: last_upgrade()["ended"] is not None)
    assert host.end()[0] == 0


def test_a_signal_that_the_client_ignores_stays_ignored(serving, image):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = serving()
    asking = follower(image, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
    run = run_of("fwburn")
    asking.stdout.readline()
    asking.send_signal(signal.SIGHUP)
    end_of_tool(run)
    out, errors = asking.communicate(timeout=SECONDS)
    assert asking.returncode >= 0 and f"AMC bay {BAY}: " in out, errors
    assert "goes on" not in errors
    assert host.end()[0] == 0


def test_a_terminal_shows_the_upgrade_second_by_second(serving, image):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = serving()
    primary, secondary = os.openpty()
    words = [word for word in words_of(image) if word != "--json"]
    asking = subprocess.Popen(words, stdout=secondary, stderr=subprocess.DEVNULL)
    os.close(secondary)
    run = run_of("fwburn")
    shown = b""
    while not re.search(rb"\rAMC bay %d: upgrade in progress, [1-9][0-9]* s" % BAY, shown):
        shown += os.read(primary, 4096)
    end_of_tool(run)
    asking.wait(SECONDS)
    os.close(primary)
    assert host.end()[0] == 0


def test_an_image_that_is_cut_off_leaves_nothing(serving, tmp_path):
    host = serving()
    with socket.socket(socket.AF_UNIX) as cut:
        cut.connect(str(SOCKET))
        head = f"POST /v1/firmware?target=amc&bay={BAY}&name=amc.img HTTP/1.1\r\nHost: bmhost\r\nContent-Type: application/octet-stream\r\n"
        cut.sendall(f"{head}Content-Length: {len(IMAGE)}\r\n\r\n".encode() + IMAGE[:1000])
        wait_until(lambda: len(images(tmp_path)) == 1)
    wait_until(lambda: images(tmp_path) == [])
    assert (runs(), part("upgrades")) == ([], [])
    host.end()


def test_another_process_that_upgrades_is_a_conflict(serving, image, tmp_path):
    (tmp_path / "state/firmware").mkdir(mode=0o700, parents=True)
    with open(tmp_path / "state/firmware/lock", "w") as other:
        fcntl.flock(other, fcntl.LOCK_EX)
        host = serving()
        status, reason = refusal(image)
        assert status == 1 and "an upgrade is under way in another process" in reason
    assert (runs(), images(tmp_path)) == ([], [])
    host.end()


def test_the_tool_outlives_a_host_that_is_killed_and_the_next_one_knows(serving, image, tmp_path):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = serving()
    asking = client(image)
    run = run_of("fwburn")
    host.process.kill()
    host.process.wait()
    assert asking.wait(SECONDS) != 0
    assert Path(f"/proc/{run['process']}").exists()
    host = serving()
    assert "the tool of an upgrade whose host has ended is still at work" in (tmp_path / "errors").read_text()
    assert images(tmp_path) == [Path(run["argv"][-1])]
    status, reason = refusal(image)
    assert status == 1 and "is still at work" in reason
    end_of_tool(run)
    wait_until(lambda: not Path(f"/proc/{run['process']}").exists())
    order("tool", "clear")
    wait_until(lambda: subprocess.run(words_of(image), capture_output=True, timeout=SECONDS).returncode == 0)
    assert [each["state_name"] for each in part("upgrades")][-1] == "done"
    wait_until(lambda: images(tmp_path) == [])
    assert host.end()[0] == 0


def test_a_host_that_is_asked_to_end_waits_for_the_upgrade(serving, image):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = serving()
    asking = client(image)
    run = run_of("fwburn")
    host.process.send_signal(signal.SIGTERM)
    wait_until(lambda: ask("/v1/calls", {"op": "read", "group": "0x600"})[0] == 503)
    assert last_upgrade()["ended"] is None
    end_of_tool(run)
    out, _ = host.process.communicate(timeout=SECONDS)
    lines = [json.loads(line) for line in out.splitlines()]
    assert [line["op"] for line in lines if line["op"] in ("event", "fin")][-2:] == ["event", "fin"]
    asking.wait(SECONDS)
