"""A hundred starts and stops leave no memory, descriptor or thread behind. These tests run in a typical blade."""

import os

from inside import order, wait_until
from mission import (  # noqa: F401 (two are fixtures)
    INITIALISING,
    INSTALL,
    RUNNING,
    command_lines,
    fresh_tools,
    missions,
    runs,
)

CYCLES, WARM_UP = 100, 10
SLACK = 256  # KiB: allowance for the allocator's rounding


def usage(process):
    """Resident memory in KiB, descriptors, threads."""
    with open(f"/proc/{process}/status") as status:
        values = {name: value.split() for name, _, value in (line.partition(":") for line in status)}
    return int(values["VmRSS"][0]), len(os.listdir(f"/proc/{process}/fd")), int(values["Threads"][0])


def test_a_hundred_starts_and_stops_leave_memory_descriptors_and_threads_flat(mission):
    host = mission()
    process = host.process.pid
    before = None
    for cycle in range(CYCLES):
        assert host.result("start") == 1
        wait_until(lambda: runs()[-1:] and runs()[-1]["tool"] == "mavk_diag" and runs()[-1]["argv"][1] == "-r" and runs()[-1]["end_ms"] is not None)
        assert host.result("stop") == 1
        # Each module was told to initialise and to run.
        assert [event["params"][0]["value"] for event in host.events()] == [INITIALISING] * 3 + [RUNNING] * 3
        order("tool", "clear")
        if cycle + 1 == WARM_UP:
            before = usage(process)
    after = usage(process)
    print(f"memory, descriptors, threads after {WARM_UP} cycles {before}, after {CYCLES} cycles {after}")
    assert after[0] - before[0] <= SLACK
    assert after[1:] == before[1:]


def test_inits_and_fins_around_starts_leave_descriptors_and_threads_flat(mission):
    host = mission()
    process = host.process.pid
    found = []
    for _ in range(5):
        assert [host.result(call) for call in ("start", "stop", "fin", "init")] == [1] * 4
        found.append(usage(process)[1:])
    assert found[1:] == found[:1] * 4
    assert command_lines().count(f"{INSTALL}/bin/mediaStart") == 5
