"""The accounts of the web door, as an administrator keeps them with `bmhost account`."""

import json
import os
import pty
import select
import signal
import stat
import subprocess
import termios
from concurrent.futures import ThreadPoolExecutor

import pytest
from conftest import SECONDS, bin_folder

PASSWORD = "correct horse"
HASH = f"$y$j9T${'a' * 22}${'a' * 43}"


@pytest.fixture
def account(tmp_path):
    """Runs `bmhost account` on a file of the test's own; the result has returncode, stdout and stderr."""

    def run(*words, input="", before=()):
        command = [*before, bin_folder() / "bmhost", "account", *words, "--accounts", tmp_path / "accounts"]
        return subprocess.run(command, input=input, capture_output=True, text=True, timeout=SECONDS)

    return run


def add(account, name, role="Operator", **options):
    return account("add", name, "--role", role, "--password-file", "-", input=PASSWORD + "\n", **options)


def listed(account):
    done = account("list", "--json")
    assert (done.returncode, done.stderr) == (0, "")
    return [(each["name"], each["role"]) for each in json.loads(done.stdout)["accounts"]]


def hashes(tmp_path):
    return {line.split(":")[0]: line.split(":")[2] for line in (tmp_path / "accounts").read_text().splitlines()}


def test_accounts_are_added_listed_changed_and_removed(account, tmp_path):
    for name, role in [("anna", "Administrator"), ("bob", "ReadOnly")]:
        done = add(account, name, role)
        assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    assert listed(account) == [("anna", "Administrator"), ("bob", "ReadOnly")]
    assert account("list").stdout == "  account  role           locked\n  anna     Administrator  no\n  bob      ReadOnly       no\n"
    before = hashes(tmp_path)
    (tmp_path / "password").write_text("another horse\n")
    assert account("passwd", "anna", "--password-file", tmp_path / "password").returncode == 0
    after = hashes(tmp_path)
    assert after["anna"] != before["anna"] and after["bob"] == before["bob"]
    assert account("remove", "anna").returncode == 0
    assert listed(account) == [("bob", "ReadOnly")]


def test_what_fails_is_named_with_its_status(account, tmp_path):
    file = tmp_path / "accounts"
    assert add(account, "anna").returncode == 0
    for words, status, reason in [
        (["add", "anna", "--role", "Operator"], 1, f"account add: {file}: account anna is there already"),
        (["remove", "bob"], 1, f"account remove: {file}: there is no account bob"),
        (["passwd", "bob"], 1, f"account passwd: {file}: there is no account bob"),
        (["add", "b:b", "--role", "Operator"], 2, "account add: NAME 'b:b': expected 1 to 32 of A-Z, a-z, 0-9, '.', '_' and '-', and no '-' first"),
        (["add", "bob", "--role", "root"], 2, "account add: --role 'root': expected one of ReadOnly, Operator, Administrator"),
        (["add", "bob", "--role", "Operator", "--password-file", "-"], 2, "account add: the password has 0 bytes: at least 8 are expected, since shorter ones are soon guessed"),
        (["add", "bob", "--role", "Operator", "--password-file", "/nowhere"], 1, "account add: --password-file /nowhere: No such file or directory"),
    ]:
        done = account(*words)
        assert (done.returncode, done.stdout, done.stderr) == (status, "", f"bmhost: {reason}\n")
    assert account("add", "bob").returncode == 2
    assert listed(account) == [("anna", "Operator")]


def test_a_file_that_others_may_have_written_is_refused_and_left_alone(account, tmp_path):
    file = tmp_path / "accounts"
    file.write_text(f"anna:Administrator:{HASH}\n")
    file.chmod(0o660)
    done = add(account, "bob")
    assert (done.returncode, done.stderr) == (1, f"bmhost: account add: {file}: others than its owner may write to it; `chmod go-w` ends that\n")
    file.chmod(0o600)
    os.chown(file, 12345, -1)
    assert account("list").stderr == f"bmhost: account list: {file}: it belongs to user 12345\n"
    os.chown(file, 0, -1)
    file.write_text(f"anna:Administrator:{HASH}\nbob:Operator:$y$j9T$")
    done = account("remove", "anna")
    assert (done.returncode, done.stderr) == (1, f"bmhost: account remove: {file}:2: the line has no end\n")
    assert file.read_text() == f"anna:Administrator:{HASH}\nbob:Operator:$y$j9T$"


def test_a_full_disk_leaves_the_old_file(account, tmp_path):
    file = tmp_path / "accounts"
    file.write_text(f"anna:Administrator:{HASH}\n")
    file.chmod(0o600)
    done = add(account, "bob", before=["prlimit", "--fsize=100"])
    assert (done.returncode, done.stderr) == (1, f"bmhost: account add: {file}.new: File too large\n")
    assert listed(account) == [("anna", "Administrator")]
    assert {each.name for each in tmp_path.iterdir()} == {"accounts", "accounts.lock"}


def test_administrators_at_once_lose_nothing(account):
    names = [f"a{number}" for number in range(24)]
    with ThreadPoolExecutor(8) as pool:
        assert {done.returncode for done in pool.map(lambda name: add(account, name), names)} == {0}
    assert sorted(name for name, _ in listed(account)) == sorted(names)


def mode_and_group(file):
    state = file.stat()
    return stat.S_IMODE(state.st_mode), state.st_gid


def test_a_new_file_is_for_the_group_of_the_door_where_there_is_one(account, tmp_path):
    assert add(account, "anna").returncode == 0
    assert mode_and_group(tmp_path / "accounts") == (0o600, os.getegid())
    (tmp_path / "group").write_text("root:x:0:\nbmhost-web:x:54321:\n")
    with_group = ["unshare", "--mount", "sh", "-c", 'mount --bind "$0" /etc/group && exec "$@"', tmp_path / "group"]
    assert add(account, "bob", before=with_group).returncode == 0
    assert mode_and_group(tmp_path / "accounts") == (0o640, 54321)
    # The group keeps it, wherever the next change is made.
    assert account("remove", "bob").returncode == 0
    assert mode_and_group(tmp_path / "accounts") == (0o640, 54321)


class Asked:
    """`bmhost account …` at a terminal of its own."""

    def __init__(self, *words):
        self.terminal, self.kept = pty.openpty()
        self.process = subprocess.Popen(
            [bin_folder() / "bmhost", "account", *words], stdin=self.kept, stdout=self.kept, stderr=self.kept, start_new_session=True, preexec_fn=self.take_terminal
        )
        self.text = ""

    def take_terminal(self):
        os.close(os.open(os.ttyname(0), os.O_RDWR))  # the first terminal that a session opens becomes its own

    def reads(self, text):
        while text not in self.text:
            assert select.select([self.terminal], [], [], SECONDS)[0], f"no {text} in {self.text!r}"
            self.text += os.read(self.terminal, 4096).decode()

    def types(self, text):
        os.write(self.terminal, text.encode())

    def shows_what_is_typed(self):
        return bool(termios.tcgetattr(self.kept)[3] & termios.ECHO)

    def status(self):
        return self.process.wait(SECONDS)


def test_in_a_user_namespace_without_the_group_the_file_is_its_owners(account, tmp_path):
    assert add(account, "anna").returncode == 0
    (tmp_path / "accounts").chmod(0o640)
    # Its group has no number there, as that of the door has none for an ordinary user who is root in a simulated blade.
    done = add(account, "bob", before=["unshare", "--user", "--map-user=0"])
    assert (done.returncode, done.stderr) == (0, "")
    assert (tmp_path / "accounts").stat().st_mode & 0o777 == 0o600
    assert [name for name, _ in listed(account)] == ["anna", "bob"]


def test_a_password_is_asked_for_twice_and_not_shown(account, tmp_path):
    asked = Asked("add", "anna", "--role", "ReadOnly", "--accounts", tmp_path / "accounts")
    asked.reads("New password of anna: ")
    assert not asked.shows_what_is_typed()
    asked.types(PASSWORD + "\n")
    asked.reads("The same again: ")
    asked.types(PASSWORD + "\n")
    assert asked.status() == 0
    assert asked.shows_what_is_typed()
    asked.types("#\n")
    asked.reads("#")
    assert PASSWORD not in asked.text
    assert listed(account) == [("anna", "ReadOnly")]


@pytest.mark.parametrize("typed, reason", [(["correct horse", "correct cow"], "the two passwords differ"), (["short"], "the password has 5 bytes: at least 8 are expected")])
def test_passwords_that_differ_or_are_short_make_no_account(account, tmp_path, typed, reason):
    asked = Asked("add", "anna", "--role", "ReadOnly", "--accounts", tmp_path / "accounts")
    for question, text in zip(["New password of anna: ", "The same again: "], typed):
        asked.reads(question)
        asked.types(text + "\n")
    asked.reads(f"bmhost: account add: {reason}")
    assert asked.status() == {"the two passwords differ": 1}.get(reason, 2)
    assert not (tmp_path / "accounts").exists()


def test_ctrl_c_gives_the_terminal_back_as_it_was(tmp_path):
    asked = Asked("add", "anna", "--role", "ReadOnly", "--accounts", tmp_path / "accounts")
    asked.reads("New password of anna: ")
    asked.types("\x03\n")  # a line, too: a signal between question and reading is acted on after that
    assert asked.status() == -signal.SIGINT
    assert asked.shows_what_is_typed()
    assert not (tmp_path / "accounts").exists()


def test_without_a_terminal_a_file_is_asked_for(account):
    done = account("add", "anna", "--role", "Operator", before=["setsid", "--wait"])
    assert (done.returncode, done.stderr) == (2, "bmhost: account add: no terminal to ask for the password at: --password-file FILE gives it, or '-' for standard input\n")
