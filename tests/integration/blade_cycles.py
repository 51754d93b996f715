"""Brings up one blade after the other around a bmhost, COUNT times, and prints as JSON what there was on the machine after an early one and
at the end. Runs as the only thing in process, mount and IPC namespaces of its own, where these folders are empty at first.

usage: blade_cycles.py COUNT WARM-UP BLADESIM FOLDER…"""

import json
import os
import subprocess
import sys
from pathlib import Path


def namespaces():
    """Of all processes and of the mounts that keep one."""
    found = set()
    for link in Path("/proc").glob("[0-9]*/ns/*"):
        try:
            found.add(os.readlink(link))
        except OSError:
            pass  # it has ended in the meantime
    return len(found)


def machine(folders):
    return {
        "processes": sorted(path.read_text().strip() for path in Path("/proc").glob("[0-9]*/comm")),
        "mounts": len(Path("/proc/self/mountinfo").read_text().splitlines()),
        "namespaces": namespaces(),
        "descriptors": len(os.listdir("/proc/self/fd")),
        "files": sorted(str(path) for folder in folders for path in Path(folder).rglob("*")),
    }


def cycle(bladesim):
    done = subprocess.run([bladesim, "--blade", "typical", "--", "bmhost", "--json", "table", "0x30200"], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    assert len(json.loads(done.stdout.splitlines()[-1])["rows"]) == 3, done.stdout


if __name__ == "__main__":
    count, warm_up, program, folders = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3], sys.argv[4:]
    for number in range(count):
        cycle(program)
        if number + 1 == warm_up:
            early = machine(folders)
    print(json.dumps({"early": early, "end": machine(folders)}))
