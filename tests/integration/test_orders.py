"""Orders of bmhost, in a blade: what each refuses and leaves as it was, what it changes and tells, and what a slip at a terminal cannot do."""

import hashlib
import json
import os
import pty
import re
import select
import signal
import subprocess
from pathlib import Path

import pytest
from bladefile import AMC, BladeFile, number
from conftest import SECONDS, bin_folder
from inside import order, requests, show, wait_until
from mission import FOR_EVER, fresh_tools, run_of, runs  # noqa: F401 (one is a fixture)

BLADE = os.environ["ORDERS_BLADE"]
FILE = BladeFile(BLADE)
AMC_BAYS = sorted(number(fru["site"]["number"]) for fru in FILE.frus_of(AMC))
FIRST_AMC = AMC_BAYS[0]
LAST_AMC = AMC_BAYS[-1]
EMPTY_BAYS = [bay for bay in range(1, 9) if bay not in AMC_BAYS]
STATE = Path(os.environ["BLADESIM_RUN_DIR"]) / "bmhost"
SET_LED = "2c 07"


def bmhost(*words, storage=None):
    options = ["--storage", storage or STATE / "storage"]
    return subprocess.run([bin_folder() / "bmhost", *options, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=SECONDS)


def outcome(*words, storage=None):
    """Of an order with --json, which is one line."""
    done = bmhost("--json", *words, storage=storage)
    (line,) = done.stdout.splitlines()
    return json.loads(line)


def refusal(*words, storage=None):
    done = bmhost(*words, storage=storage)
    assert (done.returncode, done.stdout) == (2, ""), done.stderr
    (line,) = done.stderr.splitlines()
    return line.removeprefix("bmhost: ")


class Terminal:
    """A bmhost at a terminal of its own."""

    def __init__(self, *words):
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.execv(bin_folder() / "bmhost", ["bmhost", "--storage", str(STATE / "storage"), *map(str, words)])
        self.text = ""

    def read_until(self, text):
        while text not in self.text:
            assert select.select([self.terminal], [], [], SECONDS)[0], f"no {text!r} in {self.text!r}"
            self.text += os.read(self.terminal, 4096).decode()

    def type(self, text):
        os.write(self.terminal, text.encode())

    def hang_up(self):
        os.close(self.terminal)
        self.terminal = None

    def status(self):
        """What is shown until the end is read, or it would wait for its reader."""
        try:
            while self.terminal is not None:
                assert select.select([self.terminal], [], [], SECONDS)[0], f"no end after {self.text!r}"
                self.text += os.read(self.terminal, 4096).decode()
        except OSError:
            pass  # the terminal is gone with its process
        return os.waitstatus_to_exitcode(os.waitpid(self.process, 0)[1])


@pytest.fixture
def image(tmp_path):
    file = tmp_path / "image.bin"
    file.write_bytes(b"firmware of " + BLADE.encode())
    return file


@pytest.fixture(autouse=True)
def no_history():
    (STATE / "upgrades.jsonl").unlink(missing_ok=True)


# LEDs.


def test_an_led_that_cannot_be_set_is_refused_and_the_first_amcs_is_set_when_that_is_meant():
    before = show("leds")
    text = refusal("led", "set", LAST_AMC, 1, "on") if LAST_AMC != FIRST_AMC else None
    assert text == f"led set: AMC bay {LAST_AMC}: the adaptor sets LEDs of the baseboard and of the first AMC only, which is AMC bay {FIRST_AMC}; with --first-amc that one gets it"
    assert refusal("led", "set", "rtm", 1, "on").startswith("led set: RTM: ")
    assert show("leds") == before
    told = outcome("led", "set", "rtm", "hot-swap", "on", "--first-amc")
    assert (told["good"], told["changed"], told["place"], told["color"]) == (True, True, f"AMC bay {FIRST_AMC}", "blue")
    assert told["remarks"] == [f"the adaptor sets LEDs of the first AMC only: not RTM but AMC bay {FIRST_AMC} gets it"]
    assert bmhost("led", "set", FIRST_AMC, "hot-swap", "local").returncode == 0


@pytest.mark.parametrize("led", ["hot-swap", "out-of-service", "health", "4"])
@pytest.mark.parametrize("bay", ["board", str(FIRST_AMC)])
def test_without_a_color_an_led_gets_one_that_it_supports_and_says_whether_it_changed(bay, led):
    fru = FILE.frus[0] if bay == "board" else next(fru for fru in FILE.frus_of(AMC) if number(fru["site"]["number"]) == FIRST_AMC)
    number_of = {"hot-swap": 0, "out-of-service": 1, "health": 2, "4": 3}[led]
    record = [each for each in fru["leds"] if each["id"] == number_of]
    if not record:
        done = bmhost("led", "set", bay, led, "on")
        assert done.returncode == 1 and "there is no such LED" in done.stderr
        return
    told = outcome("led", "set", bay, led, "on")
    assert (told["good"], told["after"]) == (True, f"on {told['color']}")
    assert told["color"] in record[0]["colors"]
    assert not outcome("led", "set", bay, led, "on")["changed"]
    assert outcome("led", "set", bay, led, "off")["changed"]
    bmhost("led", "set", bay, led, "local")


def test_the_usual_color_takes_one_request():
    order("show", "clear")
    assert outcome("led", "set", "board", "hot-swap", "on")["good"]
    assert sum(request.startswith(SET_LED) for request in requests()) == 1
    bmhost("led", "set", "board", "hot-swap", "local")


def test_a_refused_color_is_answered_with_the_supported_ones_and_the_led_stays():
    before = show("leds")
    done = bmhost("led", "set", "board", "hot-swap", "on", "--color", "white")
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr.splitlines() == [
        "bmhost: LED 1 of baseboard: the controller refused it with completion code 0xcc (invalid data field in the request)",
        "bmhost: LED 1 of baseboard can be blue",
    ]
    told = outcome("led", "set", "board", "hot-swap", "on", "--color", "white")
    assert (told["good"], told["changed"], told["result"], told["supported_colors"]) == (False, False, 0xCC, ["blue"])
    assert show("leds") == before


# DSPs and ports.


@pytest.mark.parametrize(
    ("address", "reason"),
    [
        ("10.0.0.1", "it is not in the network of eth6 (192.168.0.6, mask 255.255.255.0), and no start takes a DSP from elsewhere"),
        ("192.168.1.20", "it is not in the network of eth6"),
        ("192.168.0.6", "it is the address of eth6 itself"),
        ("192.168.0.0", "it is the network's own address"),
        ("192.168.0.255", "it is the network's broadcast address"),
        ("192.168.0.22", "DSP 2 has this address"),
    ],
)
def test_an_address_that_no_dsp_can_have_is_refused_unless_forced(tmp_path, address, reason):
    storage = tmp_path / "storage"
    assert refusal("dsp", "set-ip", 1, address, storage=storage).startswith(f"dsp set-ip: ADDRESS '{address}': {reason}")
    told = outcome("dsp", "set-ip", 1, address, "--force", storage=storage)
    assert (told["good"], told["changed"], told["before"], told["holds_from"]) == (True, True, "192.168.0.23", "next start")


def test_an_address_is_told_to_hold_from_the_next_start_and_to_have_changed_nothing(tmp_path):
    storage = tmp_path / "storage"
    done = bmhost("dsp", "set-ip", 2, "192.168.0.99", storage=storage)
    assert done.stdout.splitlines()[-1] == "the address holds from the next start"
    assert not outcome("dsp", "set-ip", 2, "192.168.0.99", storage=storage)["changed"]


def test_a_storage_that_cannot_be_written_is_said_as_such():
    done = bmhost("dsp", "set-ip", 1, "192.168.0.30", storage="/proc/storage")
    assert done.returncode == 1
    assert "bmhost: the storage said: StartTransaction - /proc/storage: Function not implemented" in done.stderr.splitlines()


def test_a_port_tells_whether_it_changed(tmp_path):
    storage = tmp_path / "storage"
    told = outcome("switch", "disable", 2, storage=storage)
    assert (told["op"], told["good"], told["changed"]) == ("switch disable", True, True)
    assert not outcome("switch", "disable", 2, storage=storage)["changed"]
    assert outcome("switch", "enable", 2, storage=storage)["changed"]


# The reset.


def resets():
    return sum(control["count"] for control in show("controls"))


def test_a_reset_needs_yes_or_an_answer():
    before = resets()
    assert refusal("reset", "board") == "reset board: expected --yes where there is no terminal to ask on"
    for answer in ("n", ""):
        terminal = Terminal("reset", "board")
        terminal.read_until("[y/N] ")
        terminal.type(answer + "\n")
        assert terminal.status() == 1
        assert "bmhost: nothing was done" in terminal.text
    assert resets() == before
    terminal = Terminal("reset", "board")
    terminal.read_until("[y/N] ")
    terminal.type("y\n")
    assert terminal.status() == 0
    wait_until(lambda: resets() == before + 1)
    assert outcome("reset", "board", "--yes")["changed"]
    wait_until(lambda: resets() == before + 2)


def test_a_raw_write_that_resets_asks_at_a_terminal_only():
    before = resets()
    terminal = Terminal("write", "0x30000", "--")
    terminal.read_until("[y/N] ")
    terminal.type("n\n")
    assert terminal.status() == 1
    terminal = Terminal("--mode", "2", "shell")
    terminal.read_until("bmhost> ")
    terminal.type("write 0x30000 --\n")
    terminal.read_until("[y/N] ")
    terminal.type("\n")
    terminal.read_until("nothing was done")
    terminal.type("quit\n")
    terminal.status()
    assert resets() == before
    assert bmhost("write", "0x30000", "--").stdout == "write 0x30000 BMI_GROUP_HARDWARE_BOARD: 1 (success)\n"
    wait_until(lambda: resets() == before + 1)


# Firmware.


def update(*words):
    return ["firmware", "update", "--target", "amc", "--bay", FIRST_AMC, *words]


def history():
    return json.loads(bmhost("--json", "firmware", "show").stdout)["upgrades"]


def images_left():
    return [file.name for file in (STATE / "firmware").glob("*.image")]


def end_of_tool(run):
    """The stand-in of a tool ends well when it is told to."""
    os.kill(run["process"], signal.SIGTERM)


def test_an_upgrade_gives_the_tool_a_private_copy_and_is_kept_in_the_history(image):
    assert bmhost("firmware", "show").stdout == "no upgrade yet\n"
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = subprocess.Popen([bin_folder() / "bmhost", "--storage", STATE / "storage", "--json", *map(str, update("--yes", image))], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    run = run_of("fwburn")
    copy = Path(run["argv"][-1])
    assert copy.parent == STATE / "firmware" and copy.read_bytes() == image.read_bytes()
    assert (copy.stat().st_mode & 0o7777, copy.parent.stat().st_mode & 0o7777) == (0o600, 0o700)
    # Another process finds the blade taken, and the upgrade under way.
    assert bmhost(*update("--yes", image)).returncode == 6
    end_of_tool(run)
    out, _ = host.communicate(timeout=SECONDS)
    (line,) = out.splitlines()
    told = json.loads(line)
    digest = hashlib.sha256(image.read_bytes()).hexdigest()
    assert (told["op"], told["bay"], told["file"], told["sha256"]) == ("firmware update", FIRST_AMC, str(image), digest)
    assert not copy.exists()
    (kept,) = history()
    assert (kept["place"], kept["state"], kept["sha256"], kept["begun"], kept["ended"]) == (f"AMC bay {FIRST_AMC}", told["state"], digest, told["begun"], told["ended"])
    assert (STATE / "upgrades.jsonl").stat().st_mode & 0o7777 == 0o640


def test_an_upgrade_is_refused_without_yes_and_for_an_empty_bay(image):
    assert refusal(*update(image)) == "firmware update: expected --yes where there is no terminal to ask on"
    for bay in EMPTY_BAYS[:1]:
        assert refusal("firmware", "update", "--target", "amc", "--bay", bay, "--yes", image) == f"firmware update: AMC bay {bay}: there is no module"
    terminal = Terminal(*update(image))
    terminal.read_until("[y/N] ")
    terminal.type("n\n")
    assert terminal.status() == 1
    assert runs() == [] and history() == [] and images_left() == []


def begun_at_a_terminal(image):
    order("tool", "set", "fwburn", "--delay", "1500", "--times", "1")
    terminal = Terminal(*update(image))
    terminal.read_until("[y/N] ")
    terminal.type("y\n")
    return terminal, run_of("fwburn")


def assert_it_passed(run):
    wait_until(lambda: runs()[0]["end_ms"] is not None)
    assert (runs()[0]["exit"], runs()[0]["signal"]) == (0, None)
    wait_until(lambda: history()[0]["ended"] is not None)
    assert history()[0]["state_name"] == "done"
    assert images_left() == []


def test_ctrl_c_does_not_reach_the_tool(image):
    terminal, run = begun_at_a_terminal(image)
    terminal.type("\x03")
    terminal.read_until("SIGINT: waiting for the end of the upgrade")
    terminal.type("\x03")
    terminal.read_until("one more ends bmhost at once")
    assert terminal.status() == 0
    assert f"AMC bay {FIRST_AMC}: upgraded, " in terminal.text
    assert_it_passed(run)


def test_the_third_ctrl_c_ends_bmhost_and_not_the_upgrade(image):
    terminal, run = begun_at_a_terminal(image)
    for told in ("waiting for the end of the upgrade", "one more ends bmhost at once"):
        terminal.type("\x03")
        terminal.read_until(told)
    terminal.type("\x03")
    assert os.waitstatus_to_exitcode(os.waitpid(terminal.process, 0)[1]) == -signal.SIGINT
    assert runs()[0]["end_ms"] is None
    terminal.terminal = None
    assert_it_passed(run)


def test_a_hangup_does_not_end_the_upgrade(image):
    terminal, run = begun_at_a_terminal(image)
    terminal.hang_up()
    assert_it_passed(run)
    os.waitpid(terminal.process, 0)


def test_the_death_of_the_client_does_not_end_the_upgrade(image):
    terminal, run = begun_at_a_terminal(image)
    os.kill(terminal.process, signal.SIGKILL)
    os.waitpid(terminal.process, 0)
    assert_it_passed(run)


def test_ctrl_c_in_a_shell_does_not_reach_the_tool_either(image):
    order("tool", "set", "fwburn", "--delay", "1500", "--times", "1")
    terminal = Terminal("shell")
    terminal.read_until("bmhost> ")
    terminal.type(" ".join(map(str, update("--yes", image))) + "\n")
    run = run_of("fwburn")
    terminal.type("\x03")
    terminal.read_until("upgraded, ")
    assert_it_passed(run)
    terminal.type("quit\n")
    assert terminal.status() == 0


def test_a_tool_whose_host_was_killed_keeps_the_next_upgrade_away(image):
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    host = subprocess.Popen([bin_folder() / "bmhost", "--storage", STATE / "storage", *map(str, update("--yes", image))], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    run = run_of("fwburn")
    # The one that has the adaptor, not the one that waits for it.
    (worker,) = Path(f"/proc/{host.pid}/task/{host.pid}/children").read_text().split()
    os.kill(int(worker), signal.SIGKILL)
    assert host.wait(SECONDS) == -signal.SIGKILL
    assert re.fullmatch(r"firmware update: the tool of an upgrade whose host has ended is still at work: process \d+", refusal(*update("--yes", image)))
    end_of_tool(run)
    wait_until(lambda: not Path(f"/proc/{run['process']}").exists())
    wait_until(lambda: bmhost(*update("--yes", image)).returncode == 0)
    assert images_left() == []
    assert [upgrade["ended"] is None for upgrade in history()] == [True, False]
