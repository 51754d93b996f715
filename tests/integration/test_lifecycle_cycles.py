"""A host that loads the adaptor, starts the blade, stops it and unloads the adaptor again and again in one process, as many times as
LIFECYCLE_CYCLES says. This test runs in the typical blade."""

import json
import os
import re
import subprocess

from conftest import SECONDS, bin_folder
from inside import order

CYCLES = int(os.environ.get("LIFECYCLE_CYCLES", "50"))
WARM_UP = 10
# Bytes that a cycle leaves on purpose, by the names of tests/lsan.supp; docs/quirks.md has the reasons.
LEAKS = {"NewMonitor": 800, "NewPCIHandle": 8, "mKeepDSPMacs": 432, "mPublishDSPInfo": 368}
KEPT = 2304  # bytes a cycle: those leaks with what the allocator adds to each of their twenty blocks
JITTER = 128  # bytes: texts of different lengths
PAGES = 4 * 64  # KiB: allowance for the allocator's rounding
# Every free block counts as free, and all threads share one heap.
EXACT_HEAP = {"GLIBC_TUNABLES": "glibc.malloc.tcache_count=0:glibc.malloc.arena_max=1"}


def usage(process):
    """Resident memory in KiB, descriptors, threads."""
    with open(f"/proc/{process}/status") as status:
        values = {name: value.split() for name, _, value in (line.partition(":") for line in status)}
    return int(values["VmRSS"][0]), len(os.listdir(f"/proc/{process}/fd")), int(values["Threads"][0])


def start(folder, environment):
    """Its standard error is the file `errors`."""
    program = [bin_folder() / "lifecycle_host", bin_folder().parent / "lib/libipmi_adaptor.so", folder / "storage"]
    pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE}
    with open(folder / "errors", "w") as errors:
        return subprocess.Popen(program, **pipes, stderr=errors, env={**os.environ, **environment}, text=True, bufsize=1, cwd=folder)


def cycle(host):
    """The bytes that the heap holds after it."""
    host.stdin.write("cycle\n")
    answer = json.loads(host.stdout.readline())
    assert answer["results"] == [1, 1, 1, 1]
    return answer["used"]


def test_cycles_from_load_to_unload_keep_only_what_is_kept_on_purpose(tmp_path):
    host = start(tmp_path, EXACT_HEAP)
    used, seen = [], []
    for number in range(CYCLES):
        used.append(cycle(host))
        seen.append(usage(host.pid))
        if number % 20 == 19:
            order("tool", "clear")
    host.communicate(timeout=SECONDS)
    assert host.returncode == 0

    kept = [after - before for before, after in zip(used[WARM_UP:], used[WARM_UP + 1 :])]
    cycles = len(kept)
    growth = used[-1] - used[WARM_UP]
    print(f"{CYCLES} cycles: resident memory, descriptors, threads {seen[WARM_UP]}, at the end {seen[-1]}; heap {growth / cycles:.0f} bytes a cycle")
    assert {each[1:] for each in seen[WARM_UP:]} == {seen[WARM_UP][1:]}
    assert growth <= cycles * KEPT
    # What is kept does not become more with time.
    assert max(kept) - min(kept) <= JITTER
    assert seen[-1][0] - seen[WARM_UP][0] <= growth // 1024 + PAGES


# With a leak checker: tests/integration/CMakeLists.txt runs it under the address sanitizer, and the other one elsewhere.
def test_what_a_cycle_keeps_has_a_name_each(tmp_path):
    cycles = 10
    leak_options = "print_suppressions=1:" + os.environ.get("LSAN_OPTIONS", "").replace("print_suppressions=0", "")
    host = start(tmp_path, {"LSAN_OPTIONS": leak_options})
    for _ in range(cycles):
        cycle(host)
    host.communicate(timeout=SECONDS)
    errors = (tmp_path / "errors").read_text()
    assert host.returncode == 0, errors
    found = {name: (int(count), int(size)) for count, size, name in re.findall(r"^ +(\d+) +(\d+) (\S+)$", errors, re.MULTILINE)}
    print(f"{cycles} cycles keep, by name, blocks and bytes: {found}")
    assert set(found) == set(LEAKS)
    assert [name for name, (_, size) in found.items() if size > cycles * LEAKS[name]] == []
