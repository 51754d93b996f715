"""bladesim --ipmi: the blade without its controller, and the controller whose system interface is a virtual machine's."""

import json

import pytest

EMPTY = "bladesim: the controller is not here: this blade uses the machine's own /dev/ipmi0\n"
NOT_OURS = "bladesim: the requests of a virtual machine do not pass here: show leds, show controls and controller work, the rest does not\n"

# What connects to the VM port and speaks as a virtual machine's system interface does; ask() gives the answer to Get Device ID.
GUEST = """
import os, socket, subprocess
class Guest:
    def __init__(self):
        self.socket = socket.create_connection(("127.0.0.1", int(os.environ["BLADESIM_VM_PORT"])), timeout=30)
    def ask(self):
        try:
            self.socket.sendall(bytes.fromhex("ff 01 a1 08 00 a1 01 18 01 e6 a0"))
            received = b""
            while not received.endswith(b"\\xa0"):
                part = self.socket.recv(1024)
                if not part:
                    return "gone"
                received += part
            return received[received.index(b"\\x01\\x1c\\x01"):][3:5].hex(" ")
        except ConnectionError:
            return "gone"
def ask_as_new_guest():
    # A connection that comes before the one that was there last is given up is refused; a virtual machine tries again as well.
    answer = "gone"
    while answer == "gone":
        answer = Guest().ask()
    return answer
def order(*words):
    subprocess.run(["bladesim", *words], check=True)
"""


def in_guest_blade(blade, script):
    done = blade.run("--blade", "typical", "--ipmi", "guest", "--", "/usr/bin/python3", "-B", "-c", GUEST + script)
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout.splitlines()


def test_a_guest_finds_the_controllers_port_free(blade):
    assert in_guest_blade(blade, "print(ask_as_new_guest())") == ["00 36"]


def test_a_guest_loses_the_controller_and_finds_a_new_one_in_its_place(blade):
    script = """
guest = Guest()
order("controller", "stop")
print(guest.ask())
order("controller", "start")
print(ask_as_new_guest())
order("controller", "restart")
print(ask_as_new_guest())
"""
    assert in_guest_blade(blade, script) == ["gone", "00 36", "00 36"]


def test_a_guests_controller_shows_its_leds_and_answers_on_the_lan(blade):
    command = 'bladesim show leds --json; ipmitool -I lan -H "$BLADESIM_LAN_HOST" -p "$BLADESIM_LAN_PORT" -U "$BLADESIM_LAN_USER" -P "$BLADESIM_LAN_PASSWORD" picmg led get 0 2'
    done = blade.run("--blade", "typical", "--ipmi", "guest", "--", "sh", "-c", command)
    leds, *led = done.stdout.splitlines()
    assert len(json.loads(leds)) == 16
    assert led[-1].split() == ["Local", "Control", "Color:", "3", "[GREEN]"]


def test_nothing_is_shown_of_a_stopped_controller_of_a_guest(blade):
    done = blade.run("--ipmi", "guest", "--", "sh", "-c", "bladesim controller stop; bladesim show leds")
    assert (done.returncode, done.stdout, done.stderr) == (3, "", "bladesim: the controller is stopped\n")


@pytest.mark.parametrize("words", [["show"], ["show", "log"], ["show", "clear"], ["fault", "list"], ["fault", "add", "06 01", "lost"]])
def test_a_guests_requests_do_not_pass_here(blade, words):
    done = blade.run("--ipmi", "guest", "--", "bladesim", *words)
    assert (done.returncode, done.stdout, done.stderr) == (3, "", NOT_OURS)


@pytest.mark.parametrize("words", [["show"], ["show", "leds"], ["fault", "list"], ["controller", "stop"]])
def test_orders_to_a_controller_that_is_not_here_say_so(blade, words):
    done = blade.run("--ipmi", "machine", "--", "bladesim", *words)
    assert (done.returncode, done.stdout, done.stderr) == (3, "", EMPTY)


def test_the_rest_of_the_blade_is_there_on_a_machine_with_its_own_controller(blade):
    command = """
        bladesim tool set mavk_diag --exit 16 && mavk_diag >/dev/null 2>&1; echo "$?"
        /usr/korvel/bin/mediaStart >/dev/null && bladesim media show --json
        bladesim switch link 3 down && bladesim switch show --json
        echo DataValid=1 >/proc/mavkpcidrv/pstn.cfg && cat "$BLADESIM_RUN_DIR/pstn.jsonl"
        grep -c eth6 /proc/net/dev"""
    done = blade.run("--blade", "typical", "--ipmi", "machine", "--", "sh", "-c", "PATH=/usr/korvel/bin:$PATH;" + command)
    assert (done.returncode, done.stderr) == (0, "")
    status, media, switch, pstn, eth6 = done.stdout.splitlines()
    assert (status, json.loads(media)["running"], json.loads(switch)["ports"][0]["cable"]) == ("16", True, False)
    assert (json.loads(pstn)["text"], eth6) == ("DataValid=1\n", "1")


@pytest.mark.parametrize(("who", "device", "preloaded"), [("bridge", True, True), ("none", False, True), ("denied", False, True), ("machine", False, False), ("guest", False, False)])
def test_who_works_the_system_interface_is_seen_in_the_environment(blade, who, device, preloaded):
    command = 'echo "$BLADESIM_IPMI"; if ipmitool -I open mc info >/dev/null 2>&1; then echo device; fi; env | grep -c ^LD_PRELOAD='
    done = blade.run("--ipmi", who, "--", "sh", "-c", command)
    assert done.stdout.split() == [who] + (["device"] if device else []) + (["1"] if preloaded else ["0"])


def test_the_controller_of_a_denied_device_answers_over_the_network(blade):
    command = 'ipmitool -I open mc info; ipmitool -I lan -H "$BLADESIM_LAN_HOST" -p "$BLADESIM_LAN_PORT" -U "$BLADESIM_LAN_USER" -P "$BLADESIM_LAN_PASSWORD" mc info'
    done = blade.run("--ipmi", "denied", "--", "sh", "-c", command)
    assert "Could not open device at /dev/ipmi0" in done.stderr
    assert (done.returncode, done.stdout.count("Device ID")) == (0, 1)


def test_a_denied_device_is_there_but_may_not_be_opened(blade):
    command = "import os\nfor name in ('0', '/0', 'dev/0'):\n    try: os.open(f'/dev/ipmi{name}', os.O_RDWR)\n    except OSError as error: print(error.strerror)"
    done = blade.run("--ipmi", "denied", "--", "/usr/bin/python3", "-c", command)
    assert done.stdout.splitlines() == ["Permission denied", "No such file or directory", "No such file or directory"]


def test_a_blade_that_keeps_its_device_shut_answers_from_the_simulated_inventory(blade):
    done = blade.run("--blade", "typical", "--ipmi", "denied", "--", "bmhost", "--mode", "2", "table", "0x30000")
    assert (done.returncode, "KZB88120W" in done.stdout) == (0, True), done.stdout + done.stderr
