"""A look changes nothing: the PSTN driver's records, the switch and the storage are the same before and after it."""

import json
import os
import pty
import struct
import subprocess
import termios
from fcntl import ioctl

import pytest
from conftest import SECONDS, bin_folder

LOOKS = [["inventory"], ["leds"], ["status"], ["dsp"], ["switch"], ["firmware", "show"]]
ADDRESSES = "telq_qub_dsp_iptable_cfg.xml"

# Notes driver file, switch and storage, makes the look, and notes them again. One address and one port are other than what a blade
# begins with, so that whoever applies the stored ones is seen.
SCRIPT = r"""
note() {
    cat "$BLADESIM_RUN_DIR/pstn.jsonl"
    bladesim switch show
    stat -c '%n %i %s %y %z %a' "$storage" "$storage"/* "$storage"/.[!.]* 2>/dev/null
    cat "$storage"/*
}
storage=$1
shift
bmhost --storage "$storage" switch disable 2 >/dev/null && bmhost --storage "$storage" dsp set-ip 2 192.168.0.99 >/dev/null || exit 99
bladesim switch link 3 down
note > "$BLADESIM_RUN_DIR/before"
bmhost --storage "$storage" "$@"
status=$?
note > "$BLADESIM_RUN_DIR/after"
cmp "$BLADESIM_RUN_DIR/before" "$BLADESIM_RUN_DIR/after" || exit 98
exit $status
"""


def look(blade, file, storage, *words):
    return blade.run("--blade", file, "--", "sh", "-c", SCRIPT, "sh", storage, *words)


@pytest.mark.parametrize("file", ["typical", "full"])
@pytest.mark.parametrize("words", LOOKS, ids=" ".join)
def test_a_look_leaves_driver_switch_and_storage_as_they_are(blade, tmp_path, file, words):
    done = look(blade, file, tmp_path / "storage", *words)
    # Twenty-two of the full blade's DSPs have no address.
    assert done.returncode == (1 if (file, words) == ("full", ["dsp"]) else 0), done.stdout + done.stderr


@pytest.mark.parametrize("mode", [[], ["--mode", "1"]], ids=["by default", "in mode 1"])
def test_an_order_to_the_controller_alone_leaves_them_too(blade, tmp_path, mode):
    done = look(blade, "typical", tmp_path / "storage", *mode, "led", "set", "board", "health", "on", "--color", "red")
    assert done.returncode == (98 if mode else 0), done.stdout + done.stderr
    assert "3 health  red     on" in done.stdout


def test_an_adaptor_that_drives_the_board_is_seen(blade, tmp_path):
    done = look(blade, "typical", tmp_path / "storage", "--mode", "1", "inventory")
    assert done.returncode == 98, done.stdout


@pytest.mark.parametrize("words", LOOKS, ids=" ".join)
def test_a_look_makes_no_storage(blade, tmp_path, words):
    blade.run("--blade", "typical", "--", "bmhost", "--storage", tmp_path / "none" / "storage", *words)
    assert not (tmp_path / "none").exists()


def test_addresses_and_states_are_those_of_the_storage_and_marked_so(blade, tmp_path):
    done = look(blade, "typical", tmp_path / "storage", "--json", "dsp")
    dsps = json.loads(done.stdout)["dsps"]
    assert [(each["dsp"], each["ip"], each["stored"], each["read"]) for each in dsps][:2] == [(1, "192.168.0.23", True, True), (2, "192.168.0.99", True, True)]
    done = look(blade, "typical", tmp_path / "storage", "switch", "--json")
    ports = json.loads(done.stdout)["ports"]
    assert [(each["port"], each["enabled"], each["link"], each["stored"]) for each in ports] == [
        (1, True, "unknown", True),
        (2, False, "unknown", True),
        (3, True, "unknown", True),
        (4, True, "unknown", True),
    ]
    assert "192.168.0.99  stored, not read" in look(blade, "typical", tmp_path / "storage", "dsp").stdout


def test_a_storage_that_cannot_be_read_is_not_an_empty_one(blade, tmp_path):
    (tmp_path / "storage").mkdir()
    (tmp_path / "storage" / ADDRESSES).write_text("no storage file")
    done = blade.run("--blade", "typical", "--", "bmhost", "--storage", tmp_path / "storage", "dsp")
    assert done.returncode == 1
    assert done.stdout.count("not read") == 4
    assert "none" not in done.stdout
    assert done.stderr.startswith(f"bmhost: the storage said: {tmp_path}/storage/{ADDRESSES}:1: ")
    fresh = blade.run("--blade", "typical", "--", "bmhost", "--storage", tmp_path / "fresh", "dsp")
    assert fresh.stdout.count("none stored") == 4


# The history of upgrades stands on disk: it needs no inventory.
@pytest.mark.parametrize("words", LOOKS[:-1], ids=" ".join)
def test_a_simulated_inventory_is_named(blade, words):
    reason = "/dev/ipmi0: No such file or directory"
    done = blade.run("--ipmi", "none", "--", "bmhost", *words)
    assert (done.returncode, done.stderr) == (4, f"bmhost: simulated inventory: {reason}\n")
    done = blade.run("--ipmi", "none", "--", "bmhost", "--json", "--simulated", *words)
    shown = json.loads(done.stdout)
    assert done.returncode == (0 if shown["good"] else 1)
    assert shown["source"] == {"kind": "missing", "simulated": True, "reason": reason}


def test_a_simulated_inventory_that_was_asked_for_is_not_named_where_it_shall_be_quiet(blade):
    assert blade.run("--ipmi", "none", "--", "bmhost", "--simulated", "inventory").stderr.startswith("bmhost: simulated inventory: ")
    done = blade.run("--ipmi", "none", "--", "bmhost", "--simulated", "-q", "inventory")
    assert (done.returncode, done.stderr) == (0, "")
    done = blade.run("--ipmi", "none", "--", "bmhost", "-q", "inventory")
    assert (done.returncode, done.stderr) == (4, "bmhost: simulated inventory: /dev/ipmi0: No such file or directory\n")


def on_terminal(blade, columns, *words):
    """What bmhost shows on a terminal of that width on the full blade, line by line."""
    primary, secondary = pty.openpty()
    ioctl(secondary, termios.TIOCSWINSZ, struct.pack("HHHH", 50, columns, 0, 0))
    environment = blade.environment({"LC_ALL": "C.UTF-8", "NO_COLOR": "1"})
    environment.pop("COLUMNS", None)
    command = [bin_folder() / "bladesim", "--blade", "full", "--", "bmhost", *words]
    process = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=secondary, stderr=subprocess.PIPE)
    os.close(secondary)
    shown = b""
    while True:
        try:
            piece = os.read(primary, 65536)
        except OSError:  # the last writer has gone
            break
        if not piece:
            break
        shown += piece
    os.close(primary)
    process.communicate(timeout=SECONDS)
    return shown.decode().splitlines()


def test_a_table_fits_the_terminal(blade):
    lines = on_terminal(blade, 80, "inventory")
    assert max(map(len, lines)) <= 80
    assert any("…" in line for line in lines)
    assert any("Merelünd" in line for line in on_terminal(blade, 250, "inventory"))
    wide = on_terminal(blade, 80, "--wide", "inventory")
    assert max(map(len, wide)) > 100
    assert not any("…" in line for line in wide)
    piped = blade.run("--blade", "full", "--", "bmhost", "inventory", env={"COLUMNS": "80"}).stdout
    assert max(map(len, piped.splitlines())) > 100
