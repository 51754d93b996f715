"""The memory of a host that asks for one table again and again."""

import json

CALLS, WARM_UP = 10000, 100
SLACK = 64  # KiB: allowance for the allocator's rounding


def resident(process):
    """KiB."""
    with open(f"/proc/{process}/status") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmRSS:"))


def test_ten_thousand_tables_leave_the_resident_memory_flat(blade):
    host = blade.start("--blade", "typical", "--", "bmhost", "--json", "script", "-", stderr=None)

    def ask(line):
        host.stdin.write(line + "\n")
        return json.loads(host.stdout.readline())

    assert ask("init") == {"op": "init", "result": 1}
    first = ask("table 0x30000")
    assert first["result"] == 1
    assert len(first["rows"]) == 1
    for _ in range(WARM_UP - 1):
        assert ask("table 0x30000") == first
    (process,) = [process for process, name in blade.processes().items() if name == "bmhost"]
    before = resident(process)
    for _ in range(CALLS - WARM_UP):
        assert ask("table 0x30000") == first
    after = resident(process)
    host.stdin.close()
    assert host.wait(60) == 0
    print(f"resident after {WARM_UP} calls {before} KiB, after {CALLS} calls {after} KiB")
    assert after - before <= SLACK
