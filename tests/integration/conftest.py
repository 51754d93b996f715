"""Shared by the integration tests: running bladesim and bmhost from one build folder, and looking after their processes."""

import json
import os
import select
import subprocess
import tempfile
import uuid
from pathlib import Path

import pytest

SECONDS = 60  # nothing here takes a tenth of this; a wait that reaches it has failed


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    """A skipped case has shown nothing, so it fails: ctest sees only one result per file."""
    outcome = yield
    report = outcome.get_result()
    if report.skipped:
        report.longrepr = f"skipped, which counts as failed: {report.longrepr}"
        report.outcome = "failed"


# What comes before a command that makes mounts of its own.
OWN_MOUNTS = ["unshare", "--mount", *([] if os.geteuid() == 0 else ["--map-root-user"])]


def is_root():
    """Whether this is the machine's root, not an ordinary user who is root of a user namespace."""
    return os.geteuid() == 0 and Path("/proc/self/uid_map").read_text().split() == ["0", "0", str(2**32 - 1)]


def pytest_configure(config):
    config.addinivalue_line("markers", "every_parameter: run with all of them, however few are wanted")


def possible(items):
    """For an ordinary user the cases that need root are left out by name; ./dev test says so."""
    if is_root():
        return items
    listed = {line.split()[0] for line in (Path(__file__).parents[1] / "needs-root").read_text().splitlines() if line and line[0] != "#"}
    return [item for item in items if f"{item.path.name}::{item.originalname}" not in listed]


def wanted(items):
    """With TEST_PARAMETERS=few, the tests that have many parameters run with three of them: the first, the middle one and the last."""
    if os.environ.get("TEST_PARAMETERS") != "few":
        return items
    tests = {}
    for item in items:
        tests.setdefault(item if item.get_closest_marker("every_parameter") else item.nodeid.partition("[")[0], []).append(item)
    chosen = {item for cases in tests.values() for item in (cases[0], cases[len(cases) // 2], cases[-1])}
    return [item for item in items if item in chosen]


def pytest_collection_modifyitems(config, items):
    kept = wanted(possible(items))
    config.hook.pytest_deselected(items=[item for item in items if item not in kept])
    items[:] = kept


def bin_folder():
    return Path(os.environ["BM_BIN_DIR"])


class Blade:
    """Runs commands in simulated blades; every process of them carries the same mark in its environment."""

    def __init__(self):
        self.mark = f"BLADESIM_TEST_MARK={uuid.uuid4()}"
        self.state = tempfile.TemporaryDirectory(prefix="bmhost-state-")

    def environment(self, extra):
        result = {name: value for name, value in os.environ.items() if not name.startswith(("MAVK_", "BLADESIM_"))}
        # The bridge is intentionally loaded before the sanitizer's runtime.
        result["ASAN_OPTIONS"] = "verify_asan_link_order=0:" + result.get("ASAN_OPTIONS", "")
        result["PATH"] = f"{bin_folder()}:{result['PATH']}"
        result["XDG_STATE_HOME"] = self.state.name  # bmhost's storage, where a test names none
        result.update([self.mark.split("=")])
        result.update(extra or {})
        return result

    def start(self, *arguments, env=None, **options):
        """A bladesim that keeps running, with pipes for its standard descriptors."""
        for name in ("stdin", "stdout", "stderr"):
            options.setdefault(name, subprocess.PIPE)
        return subprocess.Popen([bin_folder() / "bladesim", *arguments], env=self.environment(env), text=True, bufsize=1, **options)

    def run(self, *arguments, env=None, input="", seconds=SECONDS, encoding="utf-8"):
        """Runs bladesim to its end; the result has returncode, stdout and stderr."""
        return subprocess.run(
            [bin_folder() / "bladesim", *arguments], env=self.environment(env), input=input, encoding=encoding, errors="backslashreplace", capture_output=True, timeout=seconds
        )

    def processes(self):
        """The ids and names of all processes that belong to these blades, zombies aside."""
        found = {}
        for folder in Path("/proc").iterdir():
            if not folder.name.isdigit():
                continue
            try:
                if self.mark.encode() in (folder / "environ").read_bytes().split(b"\0"):
                    found[int(folder.name)] = (folder / "comm").read_text().strip()
            except OSError:
                pass  # it has ended in the meantime
        return found

    def wait_until_gone(self, processes):
        """Waits for the end of each of these processes; fails when one is still there at the deadline."""
        for process, name in processes.items():
            try:
                descriptor = os.pidfd_open(process)
            except ProcessLookupError:
                continue
            try:
                assert select.select([descriptor], [], [], SECONDS)[0], f"{name} ({process}) did not end"
            finally:
                os.close(descriptor)

    def end(self):
        for process in self.processes():
            try:
                os.kill(process, 9)
            except ProcessLookupError:
                pass
        self.state.cleanup()


@pytest.fixture
def blade():
    result = Blade()
    yield result
    result.end()


@pytest.fixture
def bmhost_json(blade):
    """Runs bmhost --json in a blade: bmhost_json(["table", "0x30000"]) gives (exit status, [the JSON of each line])."""

    def call(arguments, *, options=(), blade_options=(), env=None, input=""):
        done = blade.run(*blade_options, "--", "bmhost", "--json", *options, *arguments, env=env, input=input)
        print(done.stderr)
        return done.returncode, [json.loads(line) for line in done.stdout.splitlines()]

    return call


@pytest.fixture
def python(blade, tmp_path):
    """Runs a Python script in a blade without a controller, with these keys in its file; gives the lines that it prints."""

    def run(script, **keys):
        text = json.loads((bin_folder().parent / "share/bladesim/blades/front-board-only.json").read_text())
        text.update(keys)
        (tmp_path / "blade.json").write_text(json.dumps(text))
        done = blade.run("--blade", tmp_path / "blade.json", "--no-ipmi", "--", "/usr/bin/python3", "-B", "-c", script)
        assert (done.returncode, done.stderr) == (0, "")
        return done.stdout.splitlines()

    return run


@pytest.fixture
def ipmitool(blade):
    """Asks the controller of a blade over the network; gives ipmitool's lines as a dictionary of name and value."""

    def call(*arguments):
        tool = 'exec ipmitool -I lan -H "$BLADESIM_LAN_HOST" -p "$BLADESIM_LAN_PORT" -U "$BLADESIM_LAN_USER" -P "$BLADESIM_LAN_PASSWORD" "$@"'
        done = blade.run("--", "sh", "-c", tool, "ipmitool", *arguments)
        print(done.stderr)
        lines = (line.partition(":") for line in done.stdout.splitlines())
        return {name.strip(): value.strip() for name, _, value in lines}

    return call


def param(id, type, value, key=False):
    """A parameter as bmhost prints it."""
    return {"id": f"0x{id:x}", "type": type, "key": key, "value": value}


def table(group, result, rows):
    """A table as bmhost prints it."""
    return {"op": "table", "group": f"0x{group:x}", "result": result, "rows": rows}


INT, TEXT = 1, 4
