"""bladesim --record and --replay: what goes over /dev/ipmi0 in a file, and a blade that answers from the file."""

import json
import os
import stat
from pathlib import Path

import pytest

GROUPS = ["0x100", "0x200", "0x300", "0x400", "0x600", "0x1200", "0x30000", "0x30100", "0x30200", "0x30300", "0x30d10", "0x30e00"]
SCRIPT = "\n".join(["init", *(f"table {group}" for group in GROUPS), "fin"]) + "\n"
HOST = ("bmhost", "--mode", "2", "--json", "script", "-")
WIRE = "--timeout-when-lost"


def record(blade, file, *command, name="typical", options=(WIRE,), input=SCRIPT):
    done = blade.run("--blade", name, *options, "--record", str(file), "--", *command, input=input)
    assert done.returncode in (0, 1), done.stderr
    return done


def replay(blade, file, *command, name="typical", options=(WIRE,), input=SCRIPT):
    return blade.run("--blade", name, *options, "--replay", str(file), "--", *command, input=input)


def lines(file):
    return [json.loads(line) for line in file.read_text().splitlines()]


def texts(stderr):
    """What the host wrote, without its times; addresses of its memory differ from run to run."""
    return [line.split(" ", 2)[-1] for line in stderr.splitlines() if "0x" not in line]


@pytest.mark.parametrize("name", ["typical", "full", "bad-checksums", "refusing"])
def test_a_host_sees_the_same_in_the_recording(blade, tmp_path, name):
    file = tmp_path / "host.jsonl"
    first = record(blade, file, *HOST, name=name)
    again = replay(blade, file, *HOST, name=name)
    assert "differs" not in again.stderr
    assert first.stdout and (again.returncode, again.stdout) == (first.returncode, first.stdout)
    assert texts(again.stderr) == texts(first.stderr)


def test_every_request_and_answer_is_kept_with_its_time(blade, tmp_path):
    file = tmp_path / "raw.jsonl"
    done = record(blade, file, "sh", "-c", "ipmitool -I open raw 6 1; ipmitool -I open raw 0x2c 1 0 9 2>/dev/null; bladesim show log --json")
    log = json.loads(done.stdout.splitlines()[-1])
    assert stat.S_IMODE(file.stat().st_mode) == 0o600
    head, *rest = lines(file)
    assert head == {"bladesim_recording": 1}
    requests = [line for line in rest if "request" in line]
    answers = {line["answer"]: line for line in rest if "answer" in line}
    assert [(line["request"], line["opener"], line["bytes"]) for line in requests] == [(entry["number"], entry["opener"], entry["request"]) for entry in log]
    assert [int(answers[entry["number"]]["bytes"][:2], 16) for entry in log] == [entry["code"] for entry in log]
    times = [line["ms"] for line in rest]
    assert times == sorted(times) and times[0] >= 0
    assert "00 36 01 02 07 02 9f d9 7e 00 1b 0b 01 0a 00 2c" in [line["bytes"] for line in answers.values()]


def test_what_was_recorded_stays_when_the_blade_is_killed(blade, tmp_path):
    file = tmp_path / "killed.jsonl"
    with blade.start("--record", str(file), "--", "sh", "-c", "ipmitool -I open raw 6 1; exec sleep 600") as outside:
        assert outside.stdout.readline().startswith(" 35")
        os.kill(outside.pid, 9)
    blade.wait_until_gone(blade.processes())
    assert lines(file)[-1]["bytes"].startswith("00 35")
    assert replay(blade, file, "true").returncode == 0


def test_the_first_request_that_differs_is_named_and_refused(blade, tmp_path):
    file = tmp_path / "raw.jsonl"
    record(blade, file, "sh", "-c", "ipmitool -I open raw 0x2c 0 0; for i in 1 2; do ipmitool -I open raw 0x2c 1 0 1; done")
    asked = [line["bytes"] for line in lines(file) if "request" in line]
    done = replay(blade, file, "sh", "-c", "ipmitool -I open raw 0x2c 0 0; ipmitool -I open raw 0x2c 1 0 2; ipmitool -I open raw 0x2c 1 0 3; bladesim show log --json")
    log = json.loads(done.stdout.splitlines()[-1])
    assert [entry["request"] for entry in log if entry["code"] == 0xCE] == ["2c 01 00 02", "2c 01 00 03"]
    place = next(index for index, entry in enumerate(log) if entry["code"] == 0xCE)
    differences = [line for line in done.stderr.splitlines() if line.startswith("bladesim:")]
    assert differences == [
        f"bladesim: {file}: request {place + 1} differs: Get Address Info (2c 01 00 02) is not in the recording, which has Get Address Info ({asked[place]}) at this place"
    ]


def test_a_request_that_comes_more_often_than_recorded_differs(blade, tmp_path):
    file = tmp_path / "raw.jsonl"
    record(blade, file, "ipmitool", "-I", "open", "raw", "0x2c", "0", "0")
    count = len([line for line in lines(file) if "request" in line])
    twice = "bladesim show clear; for i in 1 2; do ipmitool -I open raw 0x2c 0 0; done"
    done = replay(blade, file, "sh", "-c", twice)
    assert f"request {count + 1} differs: " in done.stderr
    assert f"is there only once, which has {count} requests" in done.stderr


def test_answers_take_as_long_as_they_did_unless_time_is_given_up(blade, tmp_path):
    file = tmp_path / "late.jsonl"
    ask = "bladesim fault add '2c 00' late 700 >/dev/null; ipmitool -I open raw 0x2c 0 0"
    record(blade, file, "sh", "-c", ask, options=())
    delays = []
    for number, options in enumerate([(), (WIRE,)]):
        again = tmp_path / f"again{number}.jsonl"
        done = replay(blade, file, "ipmitool", "-I", "open", "raw", "0x2c", "0", "0", options=(*options, "--record", str(again)))
        assert done.stdout.split() == ["00", "22", "03", "00"], done.stderr
        late = [line["request"] for line in lines(again) if line.get("bytes") == "2c 00 00" and "request" in line][-1]
        times = {key: line["ms"] for line in lines(again) for key in ("request", "answer") if line.get(key) == late}
        delays.append(times["answer"] - times["request"])
    assert delays[0] >= 700 > delays[1]


@pytest.mark.parametrize(
    "content, error",
    [
        ("", ": is no recording of bladesim"),
        ("hello\n", ": is no recording of bladesim"),
        ('{"controller": {}}\n', ": is no recording of bladesim"),
        ('{"bladesim_recording":2}\n', ":1: is a recording of version 2; this bladesim reads version 1"),
        ('{"bladesim_recording":1}\n{"ms":1,"request":1,"opener":1,"by', ":2: is cut off in the middle of a line: the end of the recording is missing"),
        ('{"bladesim_recording":1}\n{"ms":1,"answer":7,"bytes":"00"}\n', ":2: answers request 7, which is not there"),
    ],
)
def test_a_file_that_is_no_whole_recording_is_refused(blade, tmp_path, content, error):
    file = tmp_path / "file"
    file.write_text(content)
    done = replay(blade, file, "true")
    assert (done.returncode, done.stdout, done.stderr) == (3, "", f"bladesim: {file}{error}\n")


def test_half_of_a_recording_is_refused(blade, tmp_path):
    file = tmp_path / "half.jsonl"
    record(blade, file, *HOST)
    content = file.read_text()
    half = content[: len(content) // 2].rstrip("\n")
    file.write_text(half)
    done = replay(blade, file, "true")
    assert (done.returncode, done.stderr) == (3, f"bladesim: {file}:{half.count(chr(10)) + 1}: is cut off in the middle of a line: the end of the recording is missing\n")


@pytest.mark.parametrize("option", ["--record", "--replay"])
def test_only_the_bridge_records_and_replays(blade, tmp_path, option):
    done = blade.run("--no-ipmi", option, str(tmp_path / "file"), "--", "true")
    assert (done.returncode, list(tmp_path.iterdir())) == (2, [])
    assert f"{option}: needs --ipmi bridge" in done.stderr


def test_without_room_the_recording_ends_with_a_whole_line(blade, tmp_path):
    script = f"mount -t tmpfs -o size=4k tmpfs {tmp_path} && exec \"$0\" --record {tmp_path}/f -- sh -c 'for i in $(seq 20); do ipmitool -I open raw 6 1; done; cat {tmp_path}/f'"
    done = blade.run("--no-ipmi", "--", "sh", "-c", script, str(Path(os.environ["BM_BIN_DIR"]) / "bladesim"))
    assert f"bladesim: {tmp_path}/f: cannot be written: " in done.stderr and done.stderr.count("the recording ends here") == 1
    kept = done.stdout[done.stdout.index('{"bladesim_recording"') :]
    assert kept.endswith("\n") and all(json.loads(line) for line in kept.splitlines())
