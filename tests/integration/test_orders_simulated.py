"""Orders where the data are simulated: refused before anything is done, unless simulated data are asked for. These tests run in a blade
without /dev/ipmi0."""

import json
import os
import signal
import subprocess
from pathlib import Path

import jsonschema
import pytest
from conftest import SECONDS, bin_folder
from inside import wait_until

BLADE = Path(os.environ.get("BLADESIM_RUN_DIR", "/nowhere"))
REASON = "/dev/ipmi0: No such file or directory"
SOURCE = {"kind": "missing", "simulated": True, "reason": REASON}
REFUSED = ["simulated inventory: " + REASON, "nothing was done: simulated data were not asked for (--simulated)"]
NOT_RESET = (0, "", ["bmhost: the inventory is simulated: no reset was sent"])
ORDERS = [
    ["led", "set", "board", "health", "on"],
    ["dsp", "set-ip", "1", "192.168.0.30", "--force"],
    ["switch", "enable", "2"],
    ["switch", "disable", "2"],
    ["firmware", "update", "--target", "board", "--yes", "IMAGE"],
    ["reset", "board", "--yes"],
]


def bmhost(*words, text=""):
    return subprocess.run([bin_folder() / "bmhost", *map(str, words)], input=text, capture_output=True, text=True, timeout=SECONDS)


@pytest.fixture(params=ORDERS, ids=" ".join)
def order(request, tmp_path):
    image = tmp_path / "image.bin"
    image.write_bytes(b"firmware")
    return [str(image) if word == "IMAGE" else word for word in request.param]


def assert_refused(done, json_done, order):
    assert (done.returncode, done.stdout) == (4, "")
    assert done.stderr.splitlines() == ["bmhost: " + line for line in REFUSED]
    (line,) = json_done.stdout.splitlines()
    told = json.loads(line)
    assert (json_done.returncode, told["op"]) == (4, " ".join(order[:2]))
    assert (told["result"], told["good"], told["changed"], told["source"], told["remarks"]) == (0, False, False, SOURCE, REFUSED)


def test_an_adaptor_of_its_own_is_not_loaded(order, tmp_path):
    (BLADE / "bmhost.lock").unlink(missing_ok=True)
    options = ["--adaptor", "/nowhere/adaptor.so", "--storage", tmp_path / "storage"]
    assert_refused(bmhost(*options, *order), bmhost("--json", *options, *order), order)
    assert not (tmp_path / "storage").exists()
    assert not (BLADE / "bmhost.lock").exists()
    # The adaptor that is not there is looked for when they are asked for.
    assert bmhost("--simulated", *options, *order).returncode == 3


def test_a_shell_of_its_own_refuses_and_goes_on(tmp_path):
    done = bmhost("--storage", tmp_path / "storage", "shell", text="switch disable 2\nled set board health on\n")
    assert (done.returncode, done.stdout, done.stderr.splitlines()) == (1, "", ["bmhost: " + line for line in REFUSED] * 2)
    assert not (tmp_path / "storage").exists()


def test_asked_for_they_are_given(tmp_path):
    done = bmhost("--simulated", "--storage", tmp_path / "storage", "led", "set", "board", "health", "on", "--color", "red")
    assert (done.returncode, done.stdout.splitlines()[1].split()[:4]) == (0, ["baseboard", "3", "health", "red"])


def test_asked_for_the_board_is_not_reset_and_nobody_says_that_it_was(tmp_path):
    done = bmhost("--simulated", "--storage", tmp_path / "storage", "--direct", "reset", "board", "--yes")
    assert (done.returncode, done.stdout, done.stderr.splitlines()) == NOT_RESET


@pytest.fixture(scope="module")
def host(tmp_path_factory):
    folder = tmp_path_factory.mktemp("host")
    process = subprocess.Popen(
        [bin_folder() / "bmhostd", "--no-start", "--storage", folder / "storage", "--state", folder / "state"], stdout=subprocess.DEVNULL, stderr=(folder / "errors").open("w")
    )
    wait_until(lambda: (BLADE / "bmhost.sock").exists() and bmhost("--simulated", "inventory").returncode == 0)
    yield folder
    process.send_signal(signal.SIGTERM)
    process.wait(SECONDS)


def kept(folder):
    return {file: file.read_bytes() for file in folder.rglob("*") if file.is_file() and file.name != "errors"}


def test_the_resident_host_refuses_likewise(host, order):
    before = kept(host)
    assert_refused(bmhost(*order), bmhost("--json", *order), order)
    assert kept(host) == before


def test_the_resident_hosts_shell_goes_on(host):
    done = bmhost("shell", text="switch disable 2\nled set board health on\n")
    assert (done.returncode, done.stdout, done.stderr.splitlines()) == (1, "", ["bmhost: " + line for line in REFUSED] * 2)


def test_asked_for_the_resident_host_carries_them_out(host):
    done = bmhost("--simulated", "--json", "led", "set", "board", "health", "on", "--color", "red")
    told = json.loads(done.stdout)
    assert (done.returncode, told["good"], told["remarks"]) == (0, True, ["the inventory is simulated: no LED was set"])
    assert "source" not in told


def test_asked_for_the_resident_host_does_not_reset_the_board_and_says_so(host):
    done = bmhost("--simulated", "reset", "board", "--yes")
    assert (done.returncode, done.stdout, done.stderr.splitlines()) == NOT_RESET


def test_a_start_finds_out_for_itself_what_hardware_there_is(host):
    done = bmhost("--json", "start")
    assert (done.returncode, json.loads(done.stdout)["op"]) == (1, "start")
    answer = subprocess.run(
        ["curl", "-s", "--unix-socket", BLADE / "bmhost.sock", "http://localhost/v1/orders/start", "-X", "POST"], capture_output=True, text=True, timeout=SECONDS
    )
    assert "source" not in json.loads(answer.stdout)


def test_a_dry_run_needs_no_hardware(host, tmp_path):
    image = tmp_path / "image.bin"
    image.write_bytes(b"firmware")
    address = "http://localhost/v1/firmware?target=board&name=image.bin"
    words = ["curl", "-s", "--unix-socket", BLADE / "bmhost.sock", "-H", "Content-Type: application/octet-stream", "--data-binary", f"@{image}"]
    dry = subprocess.run([*words, address + "&dry_run=true"], capture_output=True, text=True, timeout=SECONDS)
    assert json.loads(dry.stdout)["good"]
    wet = subprocess.run([*words, "-w", "\n%{http_code}", address], capture_output=True, text=True, timeout=SECONDS)
    body, status = wet.stdout.rsplit("\n", 1)
    document = json.loads(subprocess.run(["curl", "-s", "--unix-socket", BLADE / "bmhost.sock", "http://localhost/v1/openapi.json"], capture_output=True, timeout=SECONDS).stdout)
    schema = {"components": document["components"], "$ref": "#/components/schemas/OrderOutcome"}
    jsonschema.Draft202012Validator(schema).validate(json.loads(body))
    assert "source" in document["components"]["schemas"]["OrderOutcome"]["properties"]
    assert (status, json.loads(body)["good"], json.loads(body)["source"]) == ("202", False, SOURCE)
