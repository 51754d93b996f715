"""Blades that come and go, as many as BLADE_CYCLES says, leave no process, mount, namespace or file behind."""

import json
import os
import subprocess
from pathlib import Path

from conftest import OWN_MOUNTS, SECONDS, bin_folder

CYCLES = int(os.environ.get("BLADE_CYCLES", "15"))
WARM_UP = 3
PROGRAM = Path(__file__).parent / "blade_cycles.py"
ALONE = [*OWN_MOUNTS, "--pid", "--ipc", "--fork", "--kill-child", "--mount-proc", "sh", "-c"]


def test_blades_leave_the_machine_as_it_was():
    environment = {name: value for name, value in os.environ.items() if not name.startswith(("MAVK_", "BLADESIM_"))}
    environment |= {"PATH": f"{bin_folder()}:{os.environ['PATH']}", "HOME": "/root", "XDG_STATE_HOME": "/tmp/state"}
    # Not the folder that the programs are in.
    folders = [folder for folder in ("/tmp", "/run", "/dev/shm") if folder not in map(str, bin_folder().resolve().parents)]
    script = f'for folder in {" ".join(folders)}; do mount -t tmpfs none "$folder"; done && exec "$@"'
    words = ["/usr/bin/python3", "-B", PROGRAM, str(CYCLES), str(WARM_UP), bin_folder() / "bladesim", *folders]
    done = subprocess.run([*ALONE, script, "sh", *words], env=environment, capture_output=True, text=True, timeout=SECONDS + CYCLES)
    assert done.returncode == 0, done.stderr
    found = json.loads(done.stdout)
    early, end = found["early"], found["end"]
    print(f"after {WARM_UP} blades and after {CYCLES}: {early['mounts']} mounts, {early['namespaces']} namespaces, files {early['files']}")
    assert early["processes"] == ["python3"]
    assert end == early
