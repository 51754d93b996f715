"""The board's tools and the media software: recorded command lines, ordered ends, software that comes, goes and misbehaves.
These tests run in a blade themselves; those of a blade's end bring up further ones."""

import json
import os
import signal
import subprocess
import time
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import order, wait_until
from mediaqueue import BOARD_STATUS, BOARD_STATUS_REPLY, PROCESSOR_STATUS, PROCESSOR_STATUS_REPLY, RESULT_ERROR, STANDARD_ERROR, MediaQueue

INSTALL = "/usr/korvel"
PATHS = {name: f"{INSTALL}/bin/{name}" for name in ("mavk_init", "mavk_boot", "mavk_diag", "mediaStart", "mediaStop")} | {"fwburn": f"{INSTALL}/sbin/fwburn"}
PRINTED = {
    "mavk_init": "mavk_init: DSPs initialised\n",
    "mavk_boot": "mavk_boot: DSPs started\n",
    "mavk_diag": "mavk_diag: all tests passed\n",
    "mediaStop": "mediaStop: media software does not run\n",
    "fwburn": "fwburn: upgrade done\n",
}
LIVE = {0x300000: 0, 0x300003: 4}
NOT_LIVE = {0x300000: 2, 0x300003: 1}
SOON, NEVER = SECONDS, 0.2  # how long to wait for what has to come, and for what must not


def run(tool, *arguments, environment=None):
    return subprocess.run([PATHS.get(tool, tool), *arguments], capture_output=True, timeout=SECONDS, env=environment)


def log():
    return json.loads(order("tool", "show", "--json"))


def media():
    return json.loads(order("media", "show", "--json"))


def run_folder():
    return Path(os.environ["BLADESIM_RUN_DIR"])


def is_there(process):
    """Whether it runs: a zombie does not."""
    try:
        return Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[0] != "Z"
    except (FileNotFoundError, ProcessLookupError):
        return False


@pytest.fixture(autouse=True)
def fresh():
    order("tool", "clear")
    order("media", "set", "sound")
    yield
    order("tool", "clear")
    order("media", "set", "dead")
    assert media()["running"] is False


@pytest.fixture
def queue():
    result = MediaQueue()
    yield result
    result.close()


@pytest.fixture
def software():
    """The media software as mediaStart starts it; its process."""
    assert run("mediaStart").returncode == 0
    return media()["process"]


# The install folder.


def test_the_tools_are_in_the_install_folder_and_fwburn_in_the_search_path():
    assert sorted(str(path) for path in Path(INSTALL).glob("*/*")) == sorted([*PATHS.values(), f"{INSTALL}/data/mavk.axf"])
    assert subprocess.run(["sh", "-c", "command -v fwburn"], capture_output=True, text=True).stdout == PATHS["fwburn"] + "\n"
    assert subprocess.run(["sh", "-c", "command -v mavk_init"], capture_output=True, text=True).stdout == ""


def test_the_rest_of_usr_is_there_and_the_tools_are_not_outside(blade):
    names = set(os.listdir("/usr"))
    assert {"bin", "lib", "share", "korvel"} <= names
    assert os.path.samefile("/usr/bin/env", "/bin/env")
    # As process 1 of another blade sees its surroundings before it makes its own.
    outside = blade.run("--no-ipmi", "--", "sh", "-c", "ls /usr; rm -r /usr/korvel; ls -d /usr/korvel")
    assert set(outside.stdout.split()) == names
    assert Path(PATHS["mavk_init"]).exists()


# Command lines.


@pytest.mark.parametrize("tool", PRINTED)
def test_a_tool_that_nothing_is_ordered_of_prints_that_it_is_done_and_has_status_0(tool):
    done = run(tool, "-v")
    assert (done.returncode, done.stdout.decode(), done.stderr) == (0, PRINTED[tool], b"")
    (entry,) = log()
    assert {key: entry[key] for key in ("number", "tool", "argv", "exit", "signal")} == {
        "number": 1,
        "tool": tool,
        "argv": [PATHS[tool], "-v"],
        "exit": 0,
        "signal": None,
    }
    assert entry["start_ms"] == 0 <= entry["end_ms"]


HOSTILE = [
    "",
    " ",
    "a  b",
    "--",
    "--help",
    "-",
    "$(touch canary)",
    "`touch canary`",
    "; touch canary",
    "'",
    '"',
    "\\",
    "\n",
    "\x1b[31m",
    "%s%n",
    "/0/02:4d/1.2.3.4",
    "/" * 5000,
]


def test_arguments_are_kept_one_by_one_and_as_they_are(tmp_path):
    for tool in PRINTED:
        done = subprocess.run([PATHS[tool], *HOSTILE], cwd=tmp_path, capture_output=True, timeout=SECONDS)
        assert done.returncode == 0
        assert log()[-1]["argv"] == [PATHS[tool], *HOSTILE]
    assert list(tmp_path.iterdir()) == []


def test_bytes_that_are_no_text_are_kept_as_the_characters_of_their_numbers():
    run("fwburn", b"\xff\xc3(\x80")
    assert log()[0]["argv"][1] == "\u00ff\u00c3(\u0080"


def test_nothing_that_a_tool_is_called_with_reaches_the_terminal_as_it_is():
    run("mavk_boot", "-v", "/\x1b[31m/x/y", "\x07")
    shown = order("tool", "show")
    assert "\x1b" not in shown and "\x07" not in shown
    assert r'"/\u001b[31m/x/y" "\u0007"' in shown


def test_the_name_by_which_a_tool_is_called_need_not_be_its_whole_path(tmp_path):
    assert subprocess.run(["fwburn", "-i", "KCS"], capture_output=True).returncode == 0
    (tmp_path / "mavk_init").symlink_to(PATHS["mavk_init"])
    assert subprocess.run([tmp_path / "mavk_init"], capture_output=True).returncode == 0
    assert [entry["argv"][0] for entry in log()] == ["fwburn", str(tmp_path / "mavk_init")]


def test_a_name_that_is_no_tools_is_refused(tmp_path):
    (tmp_path / "mavk_other").symlink_to(PATHS["mavk_init"])
    done = subprocess.run([tmp_path / "mavk_other"], capture_output=True, text=True)
    assert (done.returncode, done.stderr) == (127, "mavk_other: no tool of the board has this name\n")


def test_runs_at_the_same_time_have_different_numbers_and_none_is_lost():
    order("tool", "set", "mavk_diag", "--delay", "20")
    running = [subprocess.Popen([PATHS["mavk_diag"], str(number)], stdout=subprocess.DEVNULL) for number in range(20)]
    assert [process.wait(SECONDS) for process in running] == [0] * 20
    entries = log()
    assert [entry["number"] for entry in entries] == list(range(1, 21))
    assert sorted(int(entry["argv"][1]) for entry in entries) == list(range(20))
    assert all(entry["exit"] == 0 for entry in entries)


def test_the_order_of_runs_and_their_times_can_be_told():
    order("tool", "set", "mavk_boot", "--delay", "50")
    for tool in ("mavk_init", "mavk_boot", "mavk_diag"):
        run(tool)
    init, boot, diag = log()
    assert init["end_ms"] <= boot["start_ms"] and boot["end_ms"] <= diag["start_ms"]
    assert boot["end_ms"] - boot["start_ms"] >= 50


def test_without_a_blade_a_tool_says_so():
    done = run("mavk_init", environment={"LD_PRELOAD": ""})
    assert done.returncode == 126
    assert done.stderr == b"mavk_init: this is not the inside of a blade\n"


# Ends as ordered.


@pytest.mark.parametrize("tool", PATHS)
@pytest.mark.parametrize("status", [1, 2, 16, 32, 255])
def test_a_tool_ends_with_the_status_that_is_ordered_and_does_not_do_its_work(tool, status):
    order("tool", "set", tool, "--exit", str(status))
    done = run(tool)
    assert (done.returncode, done.stdout) == (status, b"")
    assert done.stderr.decode().startswith(f"{tool}: ")
    assert (log()[0]["exit"], log()[0]["signal"]) == (status, None)
    assert media()["running"] is False


@pytest.mark.parametrize("number", [signal.SIGHUP, signal.SIGABRT, signal.SIGKILL, signal.SIGSEGV, signal.SIGTERM, signal.SIGRTMIN])
def test_a_tool_ends_by_the_signal_that_is_ordered_and_leaves_no_memory_image(number, tmp_path):
    order("tool", "set", "fwburn", "--signal", str(int(number)))
    done = subprocess.run([PATHS["fwburn"]], cwd=tmp_path, capture_output=True, timeout=SECONDS)
    assert (done.returncode, done.stdout) == (-number, b"")
    assert (log()[0]["exit"], log()[0]["signal"]) == (None, number)
    assert list(tmp_path.iterdir()) == []


def test_a_shell_tells_of_the_signal_as_of_a_status_unless_it_has_become_the_tool():
    order("tool", "set", "mavk_diag", "--signal", "15")
    assert os.waitstatus_to_exitcode(os.system(PATHS["mavk_diag"])) == 128 + 15
    assert os.waitstatus_to_exitcode(os.system("exec " + PATHS["mavk_diag"])) == -15


def test_an_order_holds_for_the_number_of_runs_that_it_says():
    order("tool", "set", "mavk_diag", "--exit", "16", "--times", "2")
    assert [run("mavk_diag").returncode for _ in range(4)] == [16, 16, 0, 0]


def test_an_order_of_one_tool_leaves_the_others_alone_and_can_be_taken_back():
    order("tool", "set", "mavk_init", "--exit", "5")
    assert [run("mavk_boot").returncode, run("mavk_init").returncode] == [0, 5]
    order("tool", "set", "mavk_init")
    assert run("mavk_init").returncode == 0


def test_an_order_in_the_file_counts_as_one_on_the_command_line():
    (run_folder() / "tools.json").write_text('{"mavk_init": {"exit": 3}, "fwburn": {"signal": 9, "delay_ms": 1}}')
    tools = {tool["tool"]: tool for tool in json.loads(order("tool", "list", "--json"))}
    assert tools["fwburn"] == {"tool": "fwburn", "description": tools["fwburn"]["description"], "exit": 0, "signal": 9, "delay_ms": 1, "times": 0}
    assert run("mavk_init").returncode == 3


def test_a_tool_whose_orders_cannot_be_read_says_where_and_ends_with_status_126():
    (run_folder() / "tools.json").write_text('{"mavk_init":\n {"exit": "many"}}')
    done = run("mavk_init")
    assert done.returncode == 126
    assert done.stderr.decode() == f'mavk_init: {run_folder()}/tools.json:2: mavk_init.exit: expected a number from 0 to 255, found "many"\n'
    assert log()[0]["exit"] == 126


def test_a_tool_that_is_ended_from_outside_has_a_beginning_and_no_end():
    order("tool", "set", "mavk_boot", "--delay", "600000")
    running = subprocess.Popen([PATHS["mavk_boot"]])
    wait_until(log)
    assert log()[0]["end_ms"] is None
    running.terminate()
    assert running.wait(SECONDS) == -signal.SIGTERM
    assert (log()[0]["process"], log()[0]["end_ms"], log()[0]["exit"], log()[0]["signal"]) == (running.pid, None, None, None)


@pytest.mark.parametrize(
    "words",
    [
        ["tool"],
        ["tool", "set"],
        ["tool", "set", "mavk_dig"],
        ["tool", "set", "mavk_diag", "--exit", "256"],
        ["tool", "set", "mavk_diag", "--exit", "-1"],
        ["tool", "set", "mavk_diag", "--signal", "0"],
        ["tool", "set", "mavk_diag", "--signal", "19"],
        ["tool", "set", "mavk_diag", "--signal", "65"],
        ["tool", "set", "mavk_diag", "--exit", "1", "--signal", "9"],
        ["tool", "set", "mavk_diag", "--delay", "600001"],
        ["tool", "set", "mavk_diag", "--times", "x"],
        ["tool", "show", "mavk_diag"],
        ["media"],
        ["media", "set"],
        ["media", "set", "well"],
        ["media", "set", "slow", "--delay", "600001"],
        ["media", "set", "faulty", "--processor", "4294967296"],
    ],
    ids=" ".join,
)
def test_a_bad_command_line_changes_nothing(words):
    before = order("tool", "list", "--json"), (run_folder() / "media.json").read_bytes()
    done = subprocess.run([bin_folder() / "bladesim", *words], capture_output=True, text=True)
    assert done.returncode == 2
    assert (order("tool", "list", "--json"), (run_folder() / "media.json").read_bytes()) == before


@pytest.mark.parametrize("words", [["tool", "show"], ["tool", "list"], ["tool", "clear"], ["tool", "set", "fwburn"], ["media", "show"], ["media", "set", "slow"]], ids=" ".join)
def test_outside_of_a_blade_there_is_nothing_to_be_ordered(words):
    environment = {name: value for name, value in os.environ.items() if name != "BLADESIM_RUN_DIR"}
    done = subprocess.run([bin_folder() / "bladesim", *words], capture_output=True, text=True, env=environment)
    assert (done.returncode, done.stdout, done.stderr) == (3, "", "bladesim: this is not the inside of a blade\n")


# The media software's life.


def test_media_start_returns_when_the_software_answers_and_media_stop_when_it_is_gone(queue):
    done = run("mediaStart")
    process = media()["process"]
    assert done.stdout.decode() == f"mediaStart: media software runs, process {process}\n"
    assert Path(f"/proc/{process}/comm").read_text() == "vxpsim\n"
    queue.send(BOARD_STATUS)
    assert queue.receive(SOON) == (BOARD_STATUS_REPLY, LIVE)
    assert run("mediaStop").stdout == b"mediaStop: media software stopped\n"
    assert not is_there(process)
    assert media()["running"] is False
    with pytest.raises(OSError):
        queue.send(BOARD_STATUS)


def test_a_second_start_finds_the_software_running_and_a_second_stop_nothing_to_do(software):
    assert run("mediaStart").stdout.decode() == f"mediaStart: media software runs, process {software}\n"
    assert [run("mediaStop").stdout for _ in range(2)] == [b"mediaStop: media software stopped\n", b"mediaStop: media software does not run\n"]


def test_many_starts_at_once_start_one():
    running = [subprocess.Popen([PATHS["mediaStart"]], stdout=subprocess.PIPE) for _ in range(8)]
    assert {process.communicate(timeout=SECONDS)[0].decode() for process in running} == {f"mediaStart: media software runs, process {media()['process']}\n"}


def test_the_software_keeps_nothing_of_its_starter_open(software):
    folder = Path(f"/proc/{software}/fd")
    files = {int(entry.name): os.readlink(entry) for entry in folder.iterdir()}
    assert (files[0], files[1], files[2]) == ("/dev/null", "/dev/null", str(run_folder() / "media.log"))
    assert not [name for name in files.values() if name.startswith("pipe:")]
    # Readers of a starter's output do not wait for the software.
    assert run("mediaStop").returncode == 0
    assert subprocess.run([PATHS["mediaStart"]], stdout=subprocess.PIPE, timeout=SECONDS, pass_fds=[os.pipe()[1]]).returncode == 0
    files = [os.readlink(entry) for entry in Path(f"/proc/{media()['process']}/fd").iterdir()]
    assert not [name for name in files if name.startswith("pipe:")]


def test_a_software_that_was_killed_is_started_anew(software, queue):
    os.kill(software, signal.SIGKILL)
    wait_until(lambda: not is_there(software))
    assert media()["running"] is False
    assert run("mediaStart").returncode == 0
    assert media()["process"] != software
    queue.send(BOARD_STATUS)
    assert queue.receive(SOON) == (BOARD_STATUS_REPLY, LIVE)


def test_a_process_that_got_the_number_of_a_killed_software_is_left_alone(software):
    os.kill(software, signal.SIGKILL)
    wait_until(lambda: not is_there(software))
    (run_folder() / "media.pid").write_text(f"{os.getpid()}\n")
    assert run("mediaStop").stdout == b"mediaStop: media software does not run\n"


def test_a_software_that_hangs_is_killed_by_media_stop(software):
    os.kill(software, signal.SIGSTOP)
    assert run("mediaStop").stdout == b"mediaStop: media software stopped\n"
    assert not is_there(software)


def test_stop_and_start_as_ordered_do_nothing_when_they_fail(software):
    order("tool", "set", "mediaStop", "--exit", "1")
    assert run("mediaStop").returncode == 1
    assert media()["process"] == software


def test_a_software_that_is_ordered_dead_is_killed_and_does_not_come_up(software):
    order("media", "set", "dead")
    wait_until(lambda: not is_there(software))
    done = run("mediaStart")
    assert done.returncode == 126
    assert done.stderr.decode() == f"mediaStart: the media software does not come up: status 1, see {run_folder()}/media.log\n"
    assert (run_folder() / "media.log").read_text().endswith("vxpsim: it is ordered to be dead\n")


def test_a_dead_software_in_the_file_is_dead_too(software):
    (run_folder() / "media.json").write_text('{"mode": "dead"}')
    wait_until(lambda: not is_there(software))


# What it answers.


def ask(queue, *words, type=BOARD_STATUS, fields=None, seconds=SOON):
    order("media", "set", *words)
    queue.send(type, fields)
    return queue.receive(seconds)


DETAIL = {0x200000: 0xFFFFFFFF, 0x200001: 1}


def test_it_answers_as_ordered(software, queue):
    assert ask(queue, "sound") == (BOARD_STATUS_REPLY, LIVE)
    assert ask(queue, "degraded") == (BOARD_STATUS_REPLY, NOT_LIVE)
    assert ask(queue, "sound", "--board-state", "1", "--sub-state", "0") == (BOARD_STATUS_REPLY, {0x300000: 1, 0x300003: 0})
    assert ask(queue, "wrong-type") == (0x800099, {})
    assert ask(queue, "result-error") == (RESULT_ERROR, {0x380000: 5})
    assert ask(queue, "standard-error") == (STANDARD_ERROR, {0x100000: BOARD_STATUS, 0x100001: 7, 0x100002: 1, 0x100003: 2, 0x100004: 3, 0x100005: 4})
    assert ask(queue, "silent", seconds=NEVER) is None


def test_it_tells_of_a_faulty_processor(software, queue):
    words = ["faulty", "--processor", "7", "--severity", "9", "--error-file", "error.c", "--cause-file", "c" * 100]
    type, fields = ask(queue, *words, type=PROCESSOR_STATUS, fields=DETAIL)
    assert type == PROCESSOR_STATUS_REPLY
    assert sorted(fields) == list(range(0x280000, 0x28000E))
    assert (fields[0x280000], fields[0x280001], fields[0x280002]) == (7, 1, 9)
    assert (fields[0x28000C], fields[0x28000D]) == (b"error.c", b"c" * 100)
    assert ask(queue, "degraded", type=PROCESSOR_STATUS, fields=DETAIL)[1][0x280001] == 5


def test_what_befalls_the_second_question_leaves_the_first_alone(software, queue):
    assert ask(queue, "wrong-type", "--at-processor") == (BOARD_STATUS_REPLY, NOT_LIVE)
    queue.send(PROCESSOR_STATUS, DETAIL)
    assert queue.receive(SOON) == (0x800099, {})


def test_it_is_as_slow_as_ordered_and_loses_no_answer(software, queue):
    order("media", "set", "slow", "--delay", "100")
    begin = time.monotonic()
    for _ in range(3):
        queue.send(BOARD_STATUS)
    assert [queue.receive(SOON) for _ in range(3)] == [(BOARD_STATUS_REPLY, LIVE)] * 3
    assert time.monotonic() - begin >= 0.1


def test_slow_is_later_than_any_monitor_waits():
    order("media", "set", "slow")
    assert media()["delay_ms"] == 6000


def test_what_fits_into_its_queue_while_it_is_deaf_is_answered_later(software, queue):
    order("media", "set", "deaf")
    taken = 0
    with pytest.raises(BlockingIOError):
        while True:
            queue.send(BOARD_STATUS)
            taken += 1
    assert taken > 0 and media()["board_requests"] <= 1
    order("media", "set", "sound")
    for _ in range(taken):
        assert queue.receive(SOON) == (BOARD_STATUS_REPLY, LIVE)


def test_a_dying_software_ends_at_the_next_request_and_leaves_it_unanswered(software, queue):
    assert ask(queue, "dying", seconds=NEVER) is None
    wait_until(lambda: not is_there(software))
    with pytest.raises(ConnectionRefusedError):
        queue.send(BOARD_STATUS)


def test_a_flood_fills_the_askers_queue_and_the_software_goes_on(software, queue):
    assert ask(queue, "flood") == (BOARD_STATUS_REPLY, LIVE)
    count = 0
    while queue.receive(NEVER):
        count += 1
    assert count >= 5
    assert ask(queue, "sound") == (BOARD_STATUS_REPLY, LIVE)


def test_it_counts_what_it_was_asked_since_it_was_started(software, queue):
    ask(queue, "sound")
    ask(queue, "sound")
    ask(queue, "sound", type=PROCESSOR_STATUS)
    assert (media()["board_requests"], media()["processor_requests"]) == (2, 1)
    run("mediaStop")
    run("mediaStart")
    assert (media()["board_requests"], media()["processor_requests"]) == (0, 0)


def test_what_is_no_message_or_no_question_does_not_upset_it(software, queue):
    for rubbish in (b"", b"x", b"\x00" * 20, b"\xff" * 16385):
        queue.send_bytes(rubbish)
    assert ask(queue, "sound", type=0x4711)[0] == STANDARD_ERROR
    assert ask(queue, "sound") == (BOARD_STATUS_REPLY, LIVE)


def test_an_asker_that_is_gone_does_not_upset_it(software):
    order("media", "set", "slow", "--delay", "50")
    first = MediaQueue()
    first.send(BOARD_STATUS)
    first.close()
    wait_until(lambda: "an answer was not taken" in (run_folder() / "media.log").read_text())
    second = MediaQueue()
    assert ask(second, "sound") == (BOARD_STATUS_REPLY, LIVE)
    second.close()


def test_an_order_that_it_cannot_read_leaves_it_as_it_was(software, queue):
    (run_folder() / "media.json").write_text('{"mode": "fast"}')
    queue.send(BOARD_STATUS)
    assert queue.receive(SOON) == (BOARD_STATUS_REPLY, LIVE)
    assert 'media.json:1: mode: "fast" is not a mode' in (run_folder() / "media.log").read_text()


def test_the_order_is_kept_for_the_next_start(queue):
    order("media", "set", "degraded")
    run("mediaStart")
    queue.send(BOARD_STATUS)
    assert queue.receive(SOON) == (BOARD_STATUS_REPLY, NOT_LIVE)


# A blade's end.


@pytest.mark.parametrize("how", ["exit 0", "kill -KILL $$"])
def test_neither_software_nor_tool_nor_folder_outlives_the_blade(blade, how):
    script = "bladesim tool set mavk_boot --delay 600000; /usr/korvel/bin/mediaStart; /usr/korvel/bin/mavk_boot & read line; "
    process = blade.start("--no-ipmi", "--", "sh", "-c", script + how)
    assert process.stdout.readline().startswith("mediaStart: media software runs")
    wait_until(lambda: {"vxpsim", "mavk_boot"} <= set(blade.processes().values()))
    processes = blade.processes()
    process.stdin.write("go on\n")
    process.stdin.close()
    process.wait(SECONDS)
    blade.wait_until_gone(processes)
    assert blade.processes() == {}
    run_of_blades = bin_folder().parent / "lib"
    assert [path for path in run_of_blades.rglob("bladesim/run/media.*") if path.parent != run_folder()] == []


def test_it_ends_with_a_blade_that_is_killed(blade):
    process = blade.start("--no-ipmi", "--", "sh", "-c", "/usr/korvel/bin/mediaStart; read line")
    assert process.stdout.readline().startswith("mediaStart: media software runs")
    processes = blade.processes()
    assert "vxpsim" in processes.values()
    process.kill()
    blade.wait_until_gone(processes)


def test_blades_have_their_own_tools_and_software(blade):
    order("tool", "set", "mavk_init", "--exit", "9")
    run("mediaStart")
    script = "/usr/korvel/bin/mavk_init; bladesim tool show --json; bladesim media show --json"
    done = blade.run("--no-ipmi", "--", "sh", "-c", script)
    printed, runs, state = done.stdout.splitlines()
    assert printed + "\n" == PRINTED["mavk_init"]
    assert len(json.loads(runs)) == 1
    assert json.loads(state)["running"] is False
    assert log()[-1]["tool"] == "mediaStart"


def test_a_firmware_tool_of_the_callers_own_is_found_first(blade, tmp_path):
    (tmp_path / "fwburn").write_text("#!/bin/sh\necho mine\n")
    (tmp_path / "fwburn").chmod(0o755)
    done = blade.run("--no-ipmi", "--", "fwburn", env={"PATH": f"{tmp_path}:{os.environ['PATH']}"})
    assert done.stdout == "mine\n"
