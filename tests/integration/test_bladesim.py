"""bladesim as a command: its statuses, its messages, several blades at once, and that nothing of a blade is left."""

import json
import os
import pty
import select
import signal
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder

READY = ["--", "sh", "-c", "echo ready; read line"]


def start_ready(blade, *arguments):
    """A blade whose command has started and goes on, and all its processes."""
    process = blade.start(*arguments, *READY)
    assert process.stdout.readline() == "ready\n"
    processes = blade.processes()
    assert {"bladesim", "sh"} <= set(processes.values())
    return process, processes


@pytest.mark.parametrize(
    ("command", "status"),
    [("true", 0), ("exit 7", 7), ("kill -TERM $$", 128 + 15), ("kill -SEGV $$", 128 + 11)],
)
def test_the_status_is_that_of_the_command(blade, command, status):
    assert blade.run("--", "sh", "-c", command).returncode == status


def test_the_words_of_the_command_come_as_they_are(blade):
    done = blade.run("--no-ipmi", "--", "printf", "%s\\n", "[a,b]", "--", "-x", "--help", "")
    assert (done.returncode, done.stdout) == (0, "[a,b]\n--\n-x\n--help\n\n")


def test_a_command_that_does_not_exist_is_reported_as_a_shell_does(blade):
    done = blade.run("--", "no-such-command")
    assert done.returncode == 127
    assert done.stderr == "bladesim: no-such-command: No such file or directory\n"


@pytest.mark.parametrize("arguments", [[], ["--"], ["--nonsense", "--", "true"], ["--blade"], ["--timeout", "-1", "--", "true"], ["--timeout", "1", "--timeout-when-lost", "--", "true"], ["--ipmi", "nobody", "--", "true"], ["--ipmi", "guest", "--no-ipmi", "--", "true"], ["--dump-fru", "0"], ["--dump-fru", "0", "x", "--", "true"]])
def test_bad_usage_has_a_status_of_its_own(blade, arguments):
    done = blade.run(*arguments)
    assert done.returncode == 2
    assert done.stderr.rstrip().endswith("Run with --help for more information.")


def test_help_and_version_are_no_errors(blade):
    assert "Usage: bladesim [--blade FILE] [--no-ipmi | --ipmi WHO] [--timeout MS | --timeout-when-lost] [--verbose] -- COMMAND…" in blade.run("--help").stdout
    assert "completion-code CODE" in blade.run("fault", "add", "--help").stdout
    assert blade.run("--version").stdout.startswith("bladesim ")


@pytest.mark.parametrize(
    ("text", "message"),
    [
        (None, "{file}: cannot be read: No such file or directory\n"),
        ('{\n"controller": }', "{file}:2: "),
        ('{"controller": {"address": 33}, "frus": []}', "{file}:1: controller.address: expected an IPMB address"),
    ],
)
def test_a_bad_blade_file_is_named_with_what_is_wrong(blade, tmp_path, text, message):
    file = tmp_path / "blade.json"
    if text is not None:
        file.write_text(text)
    done = blade.run("--blade", file, "--", "true")
    assert done.returncode == 3
    assert done.stderr.startswith("bladesim: " + message.format(file=file))


def write_blade(folder, change):
    text = json.loads((bin_folder().parent / "share/bladesim/blades/front-board-only.json").read_text())
    (folder / "blade.json").write_text(json.dumps(change(text)))
    return folder / "blade.json"


def at_another_address(text):
    text["controller"]["address"] = "0x82"
    front_board = text["frus"][0]
    front_board["site"]["hardware_address"] = "0x41"
    front_board["leds"] = 2
    front_board["inventory"]["multirecords"] = [{"type": "0xC0", "data": "57 01 00 03 00 02 01 04"}]
    return text


def test_another_controller_than_the_usual_one_can_be_simulated(blade, tmp_path):
    done = blade.run("--blade", write_blade(tmp_path, at_another_address), "--", "ipmitool", "-I", "open", "picmg", "addrinfo")
    assert "Hardware Address : 0x41\nIPMB-0 Address   : 0x82\n" in done.stdout


def test_a_controller_that_does_not_come_up_shows_the_end_of_its_log(blade, tmp_path):
    (tmp_path / "ipmi_sim").write_text("#!/bin/sh\necho out of order\nexit 5\n")
    (tmp_path / "ipmi_sim").chmod(0o755)
    done = blade.run("--", "true", env={"PATH": f"{tmp_path}:{os.environ['PATH']}"})
    assert done.returncode == 3
    assert done.stderr.startswith("bladesim: the controller does not come up: ipmi_sim ended, status 5")
    assert done.stderr.rstrip().endswith("out of order")


def test_a_missing_simulator_is_named_with_its_package(blade, tmp_path):
    done = blade.run("--", "true", env={"PATH": str(tmp_path)})
    assert done.returncode == 3
    assert "ipmi_sim is not installed (Debian's package openipmi)" in done.stderr


@pytest.mark.parametrize("words", [["show"], ["show", "leds"], ["fault", "list"], ["fault", "add", "06 01", "lost"], ["controller", "stop"]])
@pytest.mark.parametrize("inside", [[], ["--no-ipmi", "--", "bladesim"]])
def test_there_is_nothing_to_be_ordered_or_shown_without_a_controller(blade, inside, words):
    done = blade.run(*inside, *words)
    assert (done.returncode, done.stdout) == (3, "")
    assert done.stderr == "bladesim: this is not the inside of a blade with a controller\n"


# Reads the device id with a fault that withholds the reply, says what it sees of it, and lets it go.
WITHHELD = """
import subprocess
from device import GET_DEVICE_ID, Device
device = Device()
device.send(1, *GET_DEVICE_ID)
assert not device.readable(0.2)
print(subprocess.run(["bladesim", "show", "log", "--json"], capture_output=True, text=True).stdout, end="", flush=True)
subprocess.run(["bladesim", "fault", "release"])
device.wait()
print(device.receive()[4].hex(" "))
"""


def with_fault(text, **fault):
    text["faults"] = [fault]
    return text


def run_python(blade, script, *options):
    done = blade.run(*options, "--", "/usr/bin/python3", "-B", "-c", script, env={"PYTHONPATH": str(Path(__file__).parent)})
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout.splitlines()


def test_a_fault_of_the_blade_file_withholds_a_reply_until_it_is_released(blade, tmp_path):
    file = write_blade(tmp_path, lambda text: with_fault(text, request="06 01", count=1, do="lost"))
    log, released, answer = run_python(blade, WITHHELD, "--blade", file, "--timeout", "0")
    assert json.loads(log) == [{"number": 1, "opener": 1, "request": "06 01", "code": None, "fault": "lost"}]
    assert released == "1"
    assert answer.startswith("00 ")


def test_a_driver_that_never_answers_waits_longer_than_one_that_does(blade):
    script = WITHHELD.replace("device.send", 'subprocess.run(["bladesim", "fault", "add", "06 01", "lost"])\ndevice.send', 1)
    number, log, released, answer = run_python(blade, script, "--timeout", "0")
    assert (number, released) == ("1", "1")
    assert json.loads(log)[0]["code"] is None
    assert answer.startswith("00 ")


WITHOUT_HOPE = """
import subprocess
from device import GET_DEVICE_ID, PICMG_PROPERTIES, Device
device = Device()
def fault(*words):
    subprocess.run(["bladesim", "fault", "add", *words], stdout=subprocess.DEVNULL)
fault("06 01", "--count", "1", "lost")
fault("2c 00", "--count", "1", "late", "600000")
fault("06 01", "--first", "2", "--count", "1", "restarted")
device.send(1, *GET_DEVICE_ID)
device.send(2, *PICMG_PROPERTIES)
device.send(3, *GET_DEVICE_ID)
device.send(4, *PICMG_PROPERTIES)
for _ in range(4):
    device.wait()
    answer = device.receive()
    print(answer[1], answer[4][:1].hex())
subprocess.run(["bladesim", "controller", "stop"])
print(device.data(*GET_DEVICE_ID).hex())
"""


def test_a_driver_can_answer_at_once_for_what_cannot_come(blade):
    assert run_python(blade, WITHOUT_HOPE, "--timeout-when-lost") == ["1 c3", "2 c3", "3 c3", "4 00", "c3"]


SIMULATORS = """
def signal_simulators(name):
    for simulator in subprocess.check_output(["pidof", "ipmi_sim"], text=True).split():
        subprocess.run(["kill", f"-{name}", simulator])
"""


def test_a_driver_that_answers_for_what_cannot_come_waits_for_what_can(blade):
    slow = WITHHELD.replace("device.send", SIMULATORS + 'signal_simulators("STOP")\ndevice.send', 1).replace("device.wait", 'signal_simulators("CONT")\ndevice.wait')
    log, released, answer = run_python(blade, slow, "--timeout-when-lost")
    assert json.loads(log)[0]["code"] is None
    assert answer.startswith("00 ")


def test_a_fru_image_is_written_without_bringing_a_blade_up(blade, tmp_path):
    done = blade.run("--blade", "typical", "--dump-fru", "1", tmp_path / "fru.bin", env={"PATH": "/nonexistent"})
    assert (done.returncode, done.stderr, blade.processes()) == (0, "", {})
    shown = blade.run("--blade", "typical", "--", "ipmitool", "-I", "open", "fru", "read", "1", tmp_path / "read.bin")
    assert shown.returncode == 0
    assert (tmp_path / "read.bin").read_bytes() == (tmp_path / "fru.bin").read_bytes()


def test_the_command_sees_its_own_processes_network_and_run_folder(blade):
    command = 'cat /proc/1/comm; wc -l < /proc/net/dev; touch "$BLADESIM_RUN_DIR/x"'
    done = blade.run("--", "sh", "-c", command)
    assert done.stdout == "bladesim\n4\n"  # two lines of heading, then lo and eth6
    assert done.returncode == 0


def test_two_blades_run_side_by_side(blade):
    command = ["--", "sh", "-c", "ipmitool -I open mc info | head -n 1; read line; ipmitool -I open mc info | head -n 1"]
    blades = [blade.start(*command) for _ in range(2)]
    answers = [process.stdout.readline() for process in blades]
    for process in blades:
        process.stdin.write("\n")
    answers += [process.stdout.readline() for process in blades]
    assert answers == ["Device ID                 : 53\n"] * 4
    assert [process.wait(SECONDS) for process in blades] == [0, 0]


@pytest.mark.parametrize("options", [[], ["--no-ipmi"]])
@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_signal_ends_the_command_and_the_blade(blade, number, options):
    process, processes = start_ready(blade, *options)
    process.send_signal(number)
    assert process.wait(SECONDS) == 128 + number
    blade.wait_until_gone(processes)
    assert blade.processes() == {}


def test_ctrl_c_at_the_terminal_ends_the_command_and_the_blade(blade):
    process, terminal = pty.fork()
    if process == 0:
        os.execve(bin_folder() / "bladesim", ["bladesim", *READY], blade.environment({}))
    said = b""
    while not said.endswith(b"\n"):
        assert select.select([terminal], [], [], SECONDS)[0], said
        said += os.read(terminal, 100)
    assert said == b"ready\r\n"
    processes = blade.processes()
    os.write(terminal, b"\x03")
    blade.wait_until_gone(processes)
    assert os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]) == 128 + signal.SIGINT
    os.close(terminal)
    assert blade.processes() == {}


def test_a_command_that_does_not_heed_the_signal_is_killed_after_the_grace_time(blade):
    process = blade.start("--", "sh", "-c", "trap '' TERM; echo ready; while read line; do :; done")
    assert process.stdout.readline() == "ready\n"
    processes = blade.processes()
    process.send_signal(signal.SIGTERM)
    assert process.wait(SECONDS) == 128 + signal.SIGTERM
    assert process.stderr.read().endswith("the command did not end within 5 s of signal 15; killed\n")
    blade.wait_until_gone(processes)


def test_everything_ends_when_bladesim_is_killed(blade):
    process, processes = start_ready(blade)
    process.kill()
    blade.wait_until_gone(processes)
    assert process.wait(SECONDS) == -signal.SIGKILL
    assert blade.processes() == {}


def test_everything_ends_when_whoever_started_bladesim_is_killed(blade):
    starter = subprocess.Popen(
        ["sh", "-c", '"$@"; :', "sh", bin_folder() / "bladesim", *READY],
        env=blade.environment({}),
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
        text=True,
    )
    assert starter.stdout.readline() == "ready\n"
    processes = blade.processes()
    starter.kill()
    blade.wait_until_gone(processes)
    starter.wait(SECONDS)
    assert blade.processes() == {}


def test_what_the_command_left_running_ends_with_the_blade(blade):
    done = blade.run("--", "sh", "-c", "setsid sleep 1000 >/dev/null 2>&1 </dev/null & exit 4")
    assert done.returncode == 4
    assert blade.processes() == {}


def namespaces_in_use():
    found = set()
    for link in Path("/proc").glob("[0-9]*/ns/*"):
        try:
            found.add(os.readlink(link))
        except OSError:
            pass
    return found


def files_below(*folders):
    return sorted(path for folder in folders for path in Path(folder).rglob("*"))


def test_twenty_runs_leave_no_process_mount_namespace_or_file_behind(blade, tmp_path):
    run_folder = Path(blade.run("--", "sh", "-c", 'printf %s "$BLADESIM_RUN_DIR"').stdout)
    mounts = Path("/proc/self/mountinfo").read_text()
    command = "readlink /proc/self/ns/pid /proc/self/ns/mnt /proc/self/ns/net; exec ipmitool -I open mc info >/dev/null"
    made = set()
    for _ in range(20):
        done = blade.run("--", "sh", "-c", command, env={"TMPDIR": str(tmp_path)})
        assert done.returncode == 0
        made.update(done.stdout.split())
    assert len(made) >= 3
    assert blade.processes() == {}
    assert Path("/proc/self/mountinfo").read_text() == mounts
    assert made & namespaces_in_use() == set()
    assert files_below(tmp_path) == []
    assert run_folder.is_dir()
    assert files_below(run_folder) == []


# A root as debootstrap leaves it: not a mount point. Mounts are shared with the namespace around it, which would show a leak.
# The test itself may run in such a root: then "/" has no propagation to change, and is left as it is.
CHROOT = """
set -e
mount --make-rprivate / 2>/dev/null || :
mount -t tmpfs tmpfs "$1"
mount --make-shared "$1"
mkdir "$1/root"
for path in /*; do
    name=${path#/}
    case $name in proc | sys) mkdir "$1/root/$name" && continue ;; esac
    if [ -L "$path" ]; then cp -P "$path" "$1/root/"; elif [ -d "$path" ]; then
        mkdir "$1/root/$name"
        # With what is mounted in it, the program perhaps; but for the folder that all this is made in.
        case $1 in "$path"/*) mount --bind "$path" "$1/root/$name" ;; *) mount --rbind "$path" "$1/root/$name" ;; esac
    fi
done
[ "$2" = unmounted ] || mount -t proc proc "$1/root/proc"
cp /proc/self/mountinfo "$1/before"
chroot "$1/root" "$3" -- sh -c 'cat /proc/1/comm; ls /proc/mavkpcidrv; ipmitool -I open mc info | head -n 1'
diff "$1/before" /proc/self/mountinfo
"""


@pytest.mark.parametrize("proc", ["mounted", "unmounted"])
def test_a_blade_comes_up_in_a_chroot_and_no_mount_of_it_gets_out(blade, tmp_path, proc):
    done = subprocess.run(
        ["unshare", "--mount", "--propagation", "unchanged", "sh", "-c", CHROOT, "sh", tmp_path, proc, bin_folder() / "bladesim"],
        # Without /proc nobody knows $ORIGIN. An installed platform is among the system's libraries.
        env=blade.environment({"LD_LIBRARY_PATH": str(bin_folder().parent / "lib")}),
        capture_output=True,
        text=True,
        timeout=SECONDS,
    )
    print(done.stderr)
    assert done.stdout == "bladesim\npstn.cfg\nDevice ID                 : 53\n"
    assert done.returncode == 0
