"""What the programs write, in folders where somebody has put something in the way, and without a umask: nobody else may write it, nothing
is written through another's names, and nothing hangs. These tests run in a typical blade."""

import contextlib
import os
import signal
import stat
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from resident import ask, started
from test_run import Prompt

CANARY = "somebody's"
PASSWORD = "correct horse\n"
DUMP_FRU = ["--blade", "typical", "--dump-fru", "0", "fru.bin"]
ADDRESSES = "telq_qub_dsp_iptable_cfg.xml"


def run(folder, *words, input=""):
    """With umask 0, in a time in which nothing hangs."""
    done = subprocess.run([bin_folder() / words[0], *words[1:]], input=input, capture_output=True, text=True, timeout=SECONDS, umask=0, cwd=folder)
    print(words, done.returncode, done.stderr)
    return done.returncode


def add_account(folder):
    return run(folder, "bmhost", "account", "add", "anna", "--role", "ReadOnly", "--accounts", "accounts", "--password-file", "-", input=PASSWORD)


def make_key(folder):
    return run(folder, "bmhost", "tls-init", "--force", "--dir", folder)


def write_metrics(folder):
    return run(folder, "bmhost", "metrics", "--output", "metrics.prom")


def write_report(folder):
    return run(folder, "bmhost", "report", "--force", "--timeout", "1", "report.tar.zst")


def store(folder):
    return run(folder, "bmhost", "--direct", "--storage", folder, "script", "-", input="init\nfin\n")


def log(folder):
    return run(folder, "bmhost", "--direct", "--log", "bmhost.log", "--mode", "2", "script", "-", input="init\nfin\n")


# What is written, by whom, with which mode where there is no umask.
WRITERS = {
    "accounts": (add_account, {"accounts": 0o600, "accounts.lock": 0o600}),
    "tls": (make_key, {"web.key": 0o600, "web.crt": 0o644}),
    "metrics": (write_metrics, {"metrics.prom": 0o644}),
    "report": (write_report, {"report.tar.zst": 0o600}),
    "storage": (store, {ADDRESSES: 0o600}),
    "log": (log, {"bmhost.log": 0o644}),
}
# Whatever stands at these names; a log is its owner's choice, a link too.
PLANTED = [
    ("accounts", "accounts"),
    ("accounts", "accounts.new"),
    ("accounts", "accounts.lock"),
    ("tls", "web.key"),
    ("tls", "web.key.new"),
    ("tls", "web.crt"),
    ("tls", "web.crt.new"),
    ("metrics", "metrics.prom"),
    ("report", "report.tar.zst"),
    ("storage", ADDRESSES),
    ("storage", f".{ADDRESSES}.new"),
]


def serves():
    try:
        return ask("/v1")[0] == 200
    except OSError:
        return False


def mode_of(path):
    return stat.S_IMODE(path.lstat().st_mode)


def plant(kind, path, canary):
    canary.write_text(CANARY)
    canary.chmod(0o600)
    if kind == "symbolic link":
        path.symlink_to(canary)
    elif kind == "hard link":
        path.hardlink_to(canary)
    else:
        os.mkfifo(path, 0o600)


@pytest.fixture
def folder(tmp_path):
    made = tmp_path / "written"
    made.mkdir(mode=0o700)
    return made


@pytest.mark.parametrize("writer", WRITERS)
def test_nobody_else_may_write_what_is_new_whatever_the_umask(writer, folder):
    write, modes = WRITERS[writer]
    assert write(folder) == 0
    assert {name: mode_of(folder / name) for name in modes} == modes
    assert {path.name: oct(mode_of(path)) for path in folder.rglob("*") if mode_of(path) & 0o022} == {}


@pytest.mark.parametrize("kind", ["symbolic link", "hard link", "pipe"])
@pytest.mark.parametrize(("writer", "name"), PLANTED)
def test_nothing_is_written_through_names_that_are_there(writer, name, kind, folder, tmp_path):
    canary = tmp_path / "canary"
    plant(kind, folder / name, canary)
    WRITERS[writer][0](folder)  # refused or replaced, but in time
    assert (canary.read_text(), mode_of(canary)) == (CANARY, 0o600)


@pytest.mark.parametrize("kind", [None, "symbolic link", "hard link", "pipe"])
def test_the_prompts_history_is_in_a_file_of_its_own_or_nowhere(kind, folder, tmp_path):
    canary, history = tmp_path / "canary", folder / "bmhost_history"
    if kind:
        plant(kind, history, canary)
    former = os.umask(0)
    try:
        prompt = Prompt(folder)
        try:
            prompt.read_until("bmhost> ")
            prompt.type("help\n")
            prompt.read_until("bmhost> ")
            prompt.type("\x04")
            assert prompt.status() == 0
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.kill(prompt.process, signal.SIGKILL)
            os.close(prompt.terminal)
    finally:
        os.umask(former)
    if kind:
        assert (canary.read_text(), mode_of(canary)) == (CANARY, 0o600)
    else:
        assert "help" in history.read_text() and mode_of(history) == 0o600


def test_a_pipe_without_a_reader_is_no_log(folder):
    os.mkfifo(folder / "bmhost.log", 0o600)
    assert log(folder) != 0


@pytest.mark.parametrize("kind", ["symbolic link", "hard link"])
@pytest.mark.parametrize(("name", "words"), [("metrics.prom", ["bmhost-web", "metrics", "--output=metrics.prom"]), ("fru.bin", ["bladesim", *DUMP_FRU])])
def test_no_name_beside_the_file_can_be_foreseen(name, words, kind, folder, tmp_path):
    canary = tmp_path / "canary"
    plant(kind, folder / "planted", canary)
    # The program gets the shell's process id.
    begin = 'for end in $$ $$.unfinished unfinished new tmp; do cp -a --link --no-dereference planted "$1.$end" || exit 9; done; shift; exec "$@"'
    done = subprocess.run(["sh", "-c", begin, "sh", name, bin_folder() / words[0], *words[1:]], capture_output=True, text=True, timeout=SECONDS, cwd=folder)
    assert (done.returncode, done.stderr) == (0, "")
    assert (canary.read_text(), mode_of(canary)) == (CANARY, 0o600)
    assert (folder / name).stat().st_size > 100


def test_what_a_resident_host_keeps_is_open_to_nobody_else(tmp_path):
    """Without a umask: its run folder, state, storage, log and queues, and what the blade's tools and media software keep."""
    run_folder = Path(os.environ["BLADESIM_RUN_DIR"])
    options = ["--storage", tmp_path / "storage", "--log", tmp_path / "log", "run", "--state", tmp_path / "state"]
    with subprocess.Popen([bin_folder() / "bmhost", *options], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, umask=0) as host:
        try:
            wait_until(lambda: host.poll() is None and serves() and started())
            image = tmp_path / "image"
            image.write_bytes(b"firmware")
            assert run(tmp_path, "bmhost", "firmware", "update", "--target", "amc", "--bay", "3", "--yes", image) == 0
            tops = [tmp_path / "storage", tmp_path / "state", tmp_path / "log", run_folder]
            modes = {path: mode_of(path) for top in tops for path in [top, *top.rglob("*")] if not path.is_symlink()}
        finally:
            host.terminate()
            host.wait(SECONDS)
    expected = {
        tmp_path / "storage": 0o700,
        tmp_path / "storage" / ADDRESSES: 0o600,
        tmp_path / "state": 0o700,
        tmp_path / "state" / "firmware": 0o700,
        tmp_path / "state" / "firmware" / "lock": 0o600,
        tmp_path / "state" / "upgrades.lock": 0o600,
        tmp_path / "state" / "upgrades.jsonl": 0o640,
        tmp_path / "log": 0o644,
        run_folder: 0o700,
        run_folder / "bmhost.lock": 0o640,
        run_folder / "bmhost.sock": 0o660,
        run_folder / "queues": 0o700,
        run_folder / "queues" / "lock": 0o600,
    }
    assert {path: oct(modes.get(path, 0)) for path in expected} == {path: oct(mode) for path, mode in expected.items()}
    # What the blade itself keeps is behind its folder, which is root's alone.
    outside = {path: oct(mode) for path, mode in modes.items() if not path.is_relative_to(run_folder) and mode & 0o022}
    assert outside == {}
