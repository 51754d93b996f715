"""The host's storage among processes, under kills, failing system calls, full disks and missing rights."""

import os
import re
import signal
import subprocess
import threading
import time
from collections import Counter
from dataclasses import dataclass
from pathlib import Path

import pytest
from conftest import OWN_MOUNTS, SECONDS, bin_folder

ENVIRONMENT = {**os.environ, "ASAN_OPTIONS": "detect_leaks=0:" + os.environ.get("ASAN_OPTIONS", "")}  # it cannot under strace
ONE_FILE = ["a"]
TWO_FILES = ["a", "b"]
WITHOUT_OVERRIDE = ["setpriv", "--bounding-set=-dac_override,-dac_read_search", "--inh-caps=-all"]


def client(folder):
    return [str(bin_folder() / "storage_client"), str(folder)]


def call(folder, *lines, under=()):
    """Makes these calls in one process; its end, with the answers as stdout's lines."""
    return subprocess.run(
        [*under, *client(folder)], input="\n".join(lines) + "\n", text=True, capture_output=True, env=ENVIRONMENT, timeout=SECONDS
    )


def answers(folder, *lines, under=()):
    done = call(folder, *lines, under=under)
    assert done.returncode == 0, done.stderr
    return done.stdout.splitlines()


def writes(files, text):
    return ["start", *(f"set {name} 1 {text}" for name in files), "end"]


def store(folder, files, text):
    assert set(answers(folder, *writes(files, text))) == {"1"}


def stored(folder, files):
    """What the files hold; the transaction has to succeed."""
    first, *rows, last = answers(folder, "start", *(f"get {name} 1" for name in files), "end")
    assert (first, last) == ("1", "1")
    return [row.removeprefix("1 ") for row in rows]


# --- system calls ---


@dataclass
class SystemCall:
    name: str
    arguments: str
    result: str
    number: int  # how many of this name there were with it since the start of the process
    injected: bool  # its error was


def system_calls(trace):
    """A trace's calls in their order."""
    seen = Counter()
    calls = []
    for line in trace.read_text().splitlines():
        found = re.match(r"\d+ +(\w+)\((.*)\) += (\S+)", line)
        if found:
            seen[found[1]] += 1
            calls.append(SystemCall(found[1], found[2], found[3], seen[found[1]], line.endswith("(INJECTED)")))
    return calls


def calls_on(folder, trace):
    """Those on the folder and its files."""
    return [each for each in system_calls(trace) if re.match(rf"\d+<{folder}[/>]", each.arguments)]


def traced_transaction(folder, files, text, trace):
    """The system calls on the folder and its files, from the lock to before its release."""
    done = call(folder, *writes(files, text), under=["strace", "-f", "-y", "-s", "200", "-o", trace])
    assert set(done.stdout.splitlines()) == {"1"}, done.stderr
    calls = calls_on(folder, trace)
    assert calls[0].name == "flock"
    return calls[: next(i for i, each in enumerate(calls) if "LOCK_UN" in each.arguments)]


def point_of_no_return(calls, files):
    """The place of the call that makes the new rows take effect: the rename of the file, or of the journal of several."""
    name = ".journal" if len(files) > 1 else files[0]
    return next(i for i, each in enumerate(calls) if each.name.startswith("rename") and f'"{name}"' in each.arguments)


def steps(calls, folder):
    """The calls that order a commit, in words."""
    words = []
    for each in calls:
        names = re.findall(r'"([^"]*)"', each.arguments)
        if each.name == "openat" and "O_CREAT" in each.arguments:
            assert {"O_EXCL", "O_NOFOLLOW", "O_CLOEXEC"} <= set(re.split(r"[|, ]", each.arguments))
            words.append(f"new {names[0]}")
        elif each.name in ("write", "fsync"):
            path = re.match(r"\d+<([^>]*)>", each.arguments)[1]
            words.append(f"{each.name} {'folder' if path == str(folder) else Path(path).name}")
        elif each.name.startswith("rename"):
            words.append(f"rename {names[0]} {names[1]}")
        elif each.name.startswith("unlink"):
            words.append(f"unlink {names[0]}")
    return words


def test_one_file_is_written_synced_renamed_and_synced_in_its_folder(tmp_path):
    calls = traced_transaction(tmp_path / "storage", ONE_FILE, "x", tmp_path / "trace")
    assert steps(calls, tmp_path / "storage") == ["new .new.a", "write .new.a", "fsync .new.a", "rename .new.a a", "fsync folder"]


def test_several_files_are_renamed_when_a_journal_of_them_is_durable(tmp_path):
    calls = traced_transaction(tmp_path / "storage", TWO_FILES, "x", tmp_path / "trace")
    assert steps(calls, tmp_path / "storage") == [
        *("new .new.a", "write .new.a", "fsync .new.a"),
        *("new .new.b", "write .new.b", "fsync .new.b"),
        *("new .new..journal", "write .new..journal", "fsync .new..journal"),
        *("fsync folder", "rename .new..journal .journal", "fsync folder"),
        *("rename .new.a a", "rename .new.b b", "fsync folder"),
        *("unlink .journal", "fsync folder"),
    ]


def test_every_new_folder_is_synced_in_the_one_around_it(tmp_path):
    folder = tmp_path / "x" / "y"
    call(folder, "start", "end", under=["strace", "-f", "-y", "-o", tmp_path / "trace", "-e", "trace=mkdir,fsync"])
    done = [(each.name, re.search(r'["<](/[^">]*)', each.arguments)[1]) for each in system_calls(tmp_path / "trace") if each.result == "0"]
    assert done == [("mkdir", str(folder.parent)), ("fsync", str(tmp_path)), ("mkdir", str(folder)), ("fsync", str(folder.parent))]


def test_programs_inherit_no_descriptor(tmp_path):
    folder = tmp_path / "storage"
    call(folder, *writes(TWO_FILES, "x"), under=["strace", "-f", "-y", "-o", tmp_path / "trace"])
    opened = [each for each in system_calls(tmp_path / "trace") if each.name.startswith("open") and str(folder) in each.result]
    assert len(opened) == 5, "the folder, two files, the journal written and read"
    assert [each for each in opened if "O_CLOEXEC" not in each.arguments] == []


def test_an_unchanged_file_is_read_again_by_force_only(tmp_path):
    store(tmp_path / "storage", ONE_FILE, "x")
    lines = ["start", "get a 1", "end", "start", "get a 1 0", "get a 1 0", "{}", "end"]

    def reads(last):
        call(tmp_path / "storage", *(line.format(last) for line in lines), under=["strace", "-f", "-o", tmp_path / "trace"])
        return len([each for each in system_calls(tmp_path / "trace") if each.name == "openat" and '"a"' in each.arguments])

    assert reads("get a 1 0") == 1
    assert reads("get a 1 1") == 2


def injected(folder, files, place, each, what, trace):
    """The writes, with this happening at the PLACE-th call on the folder. A sanitizer's own calls shift the count that strace goes by: then once
    more, by the count that was seen."""
    number = each.number
    for _ in range(20):
        store(folder, files, "old")
        done = call(folder, *writes(files, "new"), under=["strace", "-f", "-y", "-s", "200", "-o", trace, "-e", f"inject={each.name}:{what}:when={number}"])
        calls = calls_on(folder, trace)
        reached = len(calls) > place and calls[place].name == each.name
        if reached and (calls[place].injected or len(calls) == place + 1):
            return done
        number = calls[place].number if reached else number + 1
    raise AssertionError(f"never hit: {each}")


@pytest.mark.parametrize("files", [ONE_FILE, TWO_FILES])
def test_a_kill_at_any_system_call_leaves_the_old_rows_or_the_new_ones(tmp_path, files):
    folder = tmp_path / "storage"
    store(folder, files, "old")
    calls = traced_transaction(folder, files, "old", tmp_path / "trace")
    last = point_of_no_return(calls, files)
    assert 0 < last < len(calls) - 1
    for place, each in enumerate(calls):
        done = injected(folder, files, place, each, "signal=SIGKILL", tmp_path / "killed")
        assert done.returncode == -signal.SIGKILL, f"{each}: {done.stdout} {done.stderr}"
        assert stored(folder, files) == ["new" if place > last else "old"] * len(files), f"killed before {each}"
    store(folder, files, "newer")
    assert sorted(path.name for path in folder.iterdir()) == files


@pytest.mark.parametrize("files", [ONE_FILE, TWO_FILES])
def test_any_system_call_that_fails_is_told_and_leaves_the_old_rows_or_the_new_ones(tmp_path, files):
    folder = tmp_path / "storage"
    store(folder, files, "old")
    calls = traced_transaction(folder, files, "old", tmp_path / "trace")
    last = point_of_no_return(calls, files)
    failed = 0
    for place, each in enumerate(calls):
        if each.name == "close":
            continue  # its result does not matter
        error, text = ("ENOSPC", "No space left on device") if each.name == "write" else ("EIO", "Input/output error")
        done = injected(folder, files, place, each, f"error={error}", tmp_path / "failure")
        assert done.returncode == 0, each
        results = done.stdout.splitlines()
        assert len(results) == len(files) + 2
        # 0 means that nothing takes effect; changes that may not be durable have only a line in the log.
        assert (set(results) == {"1"}) == (place > last), each
        assert re.search(rf"CDataStorage :: (Start|End)Transaction - {folder}.*: .*{text}|:: SetRow - {folder}/.*: {text}", done.stderr), done.stderr
        # What failed first leaves the other file's change alone.
        after = stored(folder, files)
        if place > last:
            assert after == ["new"] * len(files), each
        elif "0" in results[-1]:
            assert after == ["old"] * len(files), each
        failed += 1
    assert failed >= 8


# --- two processes ---


class Live:
    """A process that makes one call after the other."""

    def __init__(self, folder):
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        self.process = subprocess.Popen(client(folder), **pipes, text=True, bufsize=1, env=ENVIRONMENT)

    def ask(self, line):
        self.process.stdin.write(line + "\n")

    def answer(self):
        return self.process.stdout.readline().strip()

    def __call__(self, line):
        self.ask(line)
        return self.answer()

    def wait_until_it_waits(self):
        lines = iter(self.process.stderr.readline, "")
        assert any("waiting for another process" in line for line in lines), "it has ended"

    def end(self):
        self.process.kill()
        self.process.communicate()


@pytest.fixture
def two(tmp_path):
    pair = Live(tmp_path / "storage"), Live(tmp_path / "storage")
    yield pair
    for process in pair:
        process.end()


def test_a_transaction_of_another_process_is_waited_for(two):
    first, second = two
    assert [first("start"), first("set a 1 x")] == ["1", "1"]
    second.ask("start")
    second.wait_until_it_waits()
    assert first("end") == "1"
    assert [second.answer(), second("get a 1"), second("end")] == ["1", "1 x", "1"]


def test_nothing_of_a_killed_transaction_is_left_and_the_other_process_goes_on(two):
    first, second = two
    assert [first("start"), first("set a 1 x")] == ["1", "1"]
    second.ask("start")
    second.wait_until_it_waits()
    first.process.kill()
    assert [second.answer(), second("get a 1"), second("end")] == ["1", "4", "1"]


def test_a_process_sees_what_the_other_has_stored_meanwhile(two):
    for text in ("x", "y"):
        for reader, writer in (two, two[::-1]):
            assert [writer(line) for line in ("start", f"set a 1 {text}", "end")] == ["1"] * 3
            assert [reader(line) for line in ("start", "get a 1", "end")] == ["1", f"1 {text}", "1"]


def test_processes_that_count_up_together_lose_nothing(two):
    assert [two[0](line) for line in ("start", "set a 1 0", "end")] == ["1"] * 3

    def count(process):
        for _ in range(50):
            process("start")
            process(f"set a 1 {int(process('get a 1').split()[1]) + 1}")
            process("end")

    threads = [threading.Thread(target=count, args=(process,), daemon=True) for process in two]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(SECONDS)
        assert not thread.is_alive()
    assert [two[0](line) for line in ("start", "get a 1", "end")] == ["1", "1 100", "1"]


# --- disks and rights ---


def on_a_disk(tmp_path, script):
    """Runs a shell script with its own small disk mounted on $1; the storage's client is $2."""
    folder = tmp_path / "disk"
    folder.mkdir()
    mount = 'mount -t tmpfs -o size=16k none "$1" && ' + script
    done = subprocess.run(
        [*OWN_MOUNTS, "sh", "-c", mount, "sh", *client(folder)[::-1]], text=True, capture_output=True, env=ENVIRONMENT, timeout=SECONDS
    )
    assert done.returncode == 0, done.stderr
    return folder, done.stdout.splitlines(), done.stderr


def test_a_full_disk_leaves_the_old_rows_and_no_new_file(tmp_path):
    script = """
        text=$(printf '%020000d' 0)
        printf 'start\\nset a 1 old\\nend\\nstart\\nset a 1 '"$text"'\\nend\\nstart\\nget a 1\\nend\\n' | "$2" "$1" && ls -A "$1"
    """
    folder, lines, log = on_a_disk(tmp_path, script)
    assert lines == ["1", "1", "1", "1", "1", "0", "1", "1 old", "1", "a"]
    assert f"CDataStorage :: EndTransaction - {folder}/.new.a: No space left on device" in log


def test_a_read_only_disk_can_be_read(tmp_path):
    script = """
        printf 'start\\nset a 1 old\\nend\\n' | "$2" "$1" && mount -o remount,bind,ro "$1" &&
        printf 'start\\nget a 1\\nset a 1 new\\nend\\nstart\\nget a 1\\nend\\n' | "$2" "$1"
    """
    folder, lines, log = on_a_disk(tmp_path, script)
    assert lines == ["1", "1", "1", "1", "1 old", "1", "0", "1", "1 old", "1"]
    assert f"CDataStorage :: EndTransaction - {folder}/.new.a: Read-only file system" in log


def test_a_file_that_may_not_be_read_is_left_alone(tmp_path):
    store(tmp_path / "storage", ONE_FILE, "old")
    file = tmp_path / "storage" / "a"
    file.chmod(0)
    done = call(tmp_path / "storage", "start", "get a 1", "set a 1 new", "create a 2 new", "end", under=WITHOUT_OVERRIDE)
    assert done.stdout.splitlines() == ["1", "21", "21", "21", "1"]
    for operation in ("RetrieveRow", "SetRow", "CreateRow"):
        assert f"CDataStorage :: {operation} - {file}: Permission denied" in done.stderr
    file.chmod(0o600)
    assert stored(tmp_path / "storage", ONE_FILE) == ["old"]


def test_a_folder_that_may_not_be_written_is_told(tmp_path):
    store(tmp_path / "storage", ONE_FILE, "old")
    (tmp_path / "storage").chmod(0o555)
    done = call(tmp_path / "storage", *writes(ONE_FILE, "new"), under=WITHOUT_OVERRIDE)
    assert done.stdout.splitlines() == ["1", "1", "0"]
    assert f"CDataStorage :: EndTransaction - {tmp_path}/storage/.new.a: Permission denied" in done.stderr
    assert stored(tmp_path / "storage", ONE_FILE) == ["old"]


def test_a_folder_that_cannot_be_made_is_told(tmp_path):
    tmp_path.chmod(0o555)
    done = call(tmp_path / "storage", *writes(ONE_FILE, "new"), under=WITHOUT_OVERRIDE)
    assert done.stdout.splitlines() == ["0", "0", "0"]
    assert f"CDataStorage :: StartTransaction - {tmp_path}/storage: Permission denied" in done.stderr
