"""Several blades of one user: their list and names, a second terminal in one, what is kept of them, and mistyped words."""

import json
import os
import pty
import select
import signal
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder

BLADES = bin_folder().parent / "share/bladesim/blades"


@pytest.fixture
def home(tmp_path):
    """A session of its own, so that no other blade of this machine is in the register."""
    tmp_path.chmod(0o700)
    return {"XDG_RUNTIME_DIR": str(tmp_path), "BLADESIM_RUN_DIR": str(tmp_path)}


@pytest.fixture
def run(blade, home):
    return lambda *arguments: blade.run(*arguments, env=home)


@pytest.fixture
def start(blade, home):
    """Starts blades that wait for a line; all end with the test."""
    started = []

    def go(*arguments):
        process = blade.start(*arguments, "--", "sh", "-c", "echo ready; read line", env=home)
        started.append(process)
        assert process.stdout.readline() == "ready\n", process.stderr.read()
        return process

    yield go
    for process in started:
        if process.poll() is None:
            process.communicate("\n", timeout=SECONDS)


def test_the_blades_that_came_with_bladesim_are_listed_with_what_they_are(blade):
    names = sorted(file.stem for file in BLADES.glob("*.json") if not file.name.endswith(".schema.json"))
    shown = json.loads(blade.run("list", "--json").stdout)
    assert [each["blade"] for each in shown] == names
    assert [each["description"] for each in shown] == [json.loads((BLADES / f"{name}.json").read_text())["description"] for name in names]
    lines = blade.run("list").stdout.splitlines()
    assert lines[0].split() == ["BLADE", "DESCRIPTION"]
    assert [line.split()[0] for line in lines[1:]] == names


def test_the_only_blade_is_entered_with_its_namespaces_and_environment(blade, run, start):
    start("--blade", "typical")
    done = run("attach", "--", "sh", "-c", 'id -u; cat /proc/1/comm; echo $BLADESIM_IPMI; pwd; ipmitool -I open mc info | head -n 1; bladesim show requests --json | grep -c "Get Device ID"')
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout == f"0\nbladesim\nbridge\n{os.getcwd()}\nDevice ID                 : 54\n1\n"


def test_both_terminals_see_the_same_blade(run, start):
    start()
    assert run("attach", "--", "sh", "-c", "touch $BLADESIM_RUN_DIR/seen").returncode == 0
    assert run("attach", "front-board-only", "--", "sh", "-c", "ls $BLADESIM_RUN_DIR/seen").returncode == 0


def test_the_status_is_that_of_the_command(run, start):
    start()
    assert run("attach", "--", "sh", "-c", "exit 7").returncode == 7
    assert run("attach", "--", "sh", "-c", "kill -TERM $$").returncode == 128 + signal.SIGTERM
    assert run("attach", "--", "no-such-command").returncode == 127


def test_blades_are_named_after_their_files_or_as_they_are_told(blade, run, start):
    start("--blade", "typical"), start("--blade", "typical"), start("--name", "mine")
    done = run("attach")
    assert (done.returncode, done.stdout) == (3, "")
    lines = done.stderr.splitlines()
    assert lines[0] == "bladesim: several blades are running; which one?"
    assert [line.split()[:2] for line in lines[1:]] == [["NAME", "BLADE"], ["mine", "front-board-only"], ["typical", "typical"], ["typical-2", "typical"]]
    assert run("attach", "typical-2", "--", "true").returncode == 0


def test_a_name_is_taken_once(blade, run, start):
    start("--name", "mine")
    done = run("--name", "mine", "--", "true")
    assert (done.returncode, done.stdout) == (3, "")
    assert done.stderr.startswith("bladesim: a blade with the name mine is running, of process ")


def test_a_wrong_name_is_answered_with_the_right_ones(blade, run, start):
    start("--name", "harbour")
    done = run("attach", "harbuor")
    assert done.returncode == 3
    assert done.stderr.startswith("bladesim: no blade with the name harbuor is running; did you mean harbour?\nNAME ")


def test_without_a_blade_there_is_nothing_to_enter(run):
    done = run("attach")
    assert (done.returncode, done.stderr) == (3, "bladesim: no blade of this user is running\n")


def test_what_was_attached_ends_with_the_blade(blade, home, start):
    process = start()
    attached = blade.start("attach", "--", "sh", "-c", "echo in; sleep 1000", env=home)
    assert attached.stdout.readline() == "in\n"
    process.communicate("\n", timeout=SECONDS)
    assert attached.wait(SECONDS) == 128 + signal.SIGKILL
    assert blade.processes() == {}


def test_a_killed_blade_is_not_found_any_more_and_its_name_is_free(blade, run, start):
    process = start("--name", "mine")
    processes = blade.processes()
    process.kill()
    blade.wait_until_gone(processes)
    assert run("attach").returncode == 3
    assert run("--name", "mine", "--", "true").returncode == 0


def test_a_shell_on_the_terminal_is_what_comes_without_a_command(blade, home, start):
    start()
    child, terminal = pty.fork()
    if child == 0:
        os.execve(bin_folder() / "bladesim", ["bladesim", "attach"], {**blade.environment(home), "SHELL": "/bin/sh", "PS1": "# "})
    os.write(terminal, b"echo $((6 * 7)) $BLADESIM_IPMI; exit 5\n")
    seen = b""
    while b"42 bridge" not in seen:
        assert select.select([terminal], [], [], SECONDS)[0], seen
        seen += os.read(terminal, 1000)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 5
    os.close(terminal)


def test_a_register_that_is_open_to_others_gives_no_name(blade, home, tmp_path):
    (tmp_path / "blades").mkdir(mode=0o755)
    (tmp_path / "blades").chmod(0o755)
    done = blade.run("--name", "mine", "--", "true", env=home)
    assert (done.returncode, done.stderr) == (3, f"bladesim: no register of running blades: {tmp_path}/blades: is open to others\n")
    done = blade.run("--verbose", "--no-ipmi", "--", "true", env=home)
    assert done.returncode == 0
    assert done.stderr.splitlines()[0] == f"bladesim: this blade has no name: no register of running blades: {tmp_path}/blades: is open to others"



@pytest.mark.parametrize("options, kept", [((), False), (("--keep", "kept"), True)])
def test_what_bmhost_stores_goes_with_the_blade_unless_it_is_kept(blade, tmp_path, options, kept):
    options = [str(tmp_path / word) if word == "kept" else word for word in options]
    first = blade.run("--blade", "typical", *options, "--", "sh", "-c", "bmhost switch disable 2; bmhost switch --json")
    second = blade.run("--blade", "typical", *options, "--", "sh", "-c", "find $BLADESIM_RUN_DIR/bmhost ${BLADESIM_KEEP-/nowhere} -name '*.xml' 2>/dev/null | wc -l")
    assert first.returncode == 0, first.stderr
    assert (int(second.stdout) > 0) == kept
    assert any(tmp_path.rglob("*.xml")) == kept
    assert not any(Path(blade.state.name).rglob("*"))


@pytest.mark.parametrize(
    ("words", "status", "message"),
    [
        (["lst"], 2, "there is no command lst; did you mean list?"),
        (["fautl", "list"], 2, "there is no command fautl; did you mean fault?"),
        (["fault", "ad"], 2, "fault has no order ad; did you mean add? (add, list, clear, release)"),
        (["media", "nonsense"], 2, "media has no order nonsense (show, set)"),
        (["--blade", "tpyical", "--", "true"], 3, "tpyical: there is neither a file nor a blade of this name; did you mean typical? (bladesim list shows them)"),
        (["--blade", "nonsense", "--", "true"], 3, "nonsense: there is neither a file nor a blade of this name (bladesim list shows them)"),
    ],
)
def test_a_mistyped_word_is_answered_with_what_was_meant(blade, words, status, message):
    done = blade.run(*words)
    assert (done.returncode, done.stdout, done.stderr.splitlines()[0]) == (status, "", f"bladesim: {message}")


def test_a_program_is_run_even_if_it_is_called_like_a_mistyped_command(blade, tmp_path):
    (tmp_path / "lst").write_text("#!/bin/sh\necho it ran\n")
    (tmp_path / "lst").chmod(0o755)
    done = blade.run("lst", env={"PATH": f"{tmp_path}:{os.environ['PATH']}"})
    assert (done.returncode, done.stdout) == (0, "it ran\n")
