"""Each request of the probe and of the LED and FRU commands meets each fault: docs/faults.md says what comes of it. RENEW=1 writes the
page anew. FAULT_PLACE=middle leaves out the cells of the first FRU and of the last, and those that depend on the allocator."""

import json
import os
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import fault_page
import pytest
from conftest import Blade

FOLDER = Path(__file__).parent
PAGE = FOLDER.parents[1] / "docs/faults.md"
PLACE = os.environ.get("FAULT_PLACE")
WAITS_FOR_EVER = "lost without a time-out"
# OpenIPMI's message ids are addresses: whether the next request has the id of the answer that comes twice is up to the allocator. The
# page has what glibc's does on 64 bit; a sanitizer's reuses no block at once.
BY_ALLOCATOR = "wrong state"
ALL = PLACE is None and sys.maxsize > 2**32
SECONDS = 500  # it takes some twenty


def run(blade, cells, *options):
    """In one blade, one after the other."""
    program = ("/usr/bin/python3", "-B", FOLDER / "fault_cells.py")
    done = blade.run("--blade", "typical", *options, "--", *program, input=json.dumps(cells), seconds=SECONDS)
    assert done.returncode == 0, done.stderr[-4000:]
    return [(result["cell"], result["seen"]) for result in map(json.loads, done.stdout.splitlines())]


@pytest.fixture(scope="module")
def results():
    """What was seen in every cell, in the order of the page. Two blades side by side: the driver of one waits for ever."""
    cells = [cell for cell in fault_page.cells() if PLACE in (None, cell["place"]) or cell["place"] == ""]
    cells = [cell for cell in cells if ALL or cell["fault"] != BY_ALLOCATOR]
    waiting = [cell for cell in cells if cell["fault"] in (WAITS_FOR_EVER, "none")]
    blade = Blade()
    try:
        with ThreadPoolExecutor() as pool:
            others = pool.submit(run, blade, [cell for cell in cells if cell not in waiting], "--timeout-when-lost")
            waited = pool.submit(run, blade, waiting, "--timeout", "0")
            seen = {json.dumps(cell): seen for cell, seen in others.result() + waited.result()}
        assert blade.processes() == {}
    finally:
        blade.end()
    return [(cell, seen[json.dumps(cell)]) for cell in cells]


@pytest.fixture(scope="module")
def made(results):
    found = fault_page.sections(results)
    if os.environ.get("RENEW") and ALL:
        head, _ = fault_page.parts(PAGE.read_text())
        PAGE.write_text("\n".join([head.rstrip("\n") + "\n", *found.values()]))
    return found


@pytest.fixture(scope="module")
def page():
    return fault_page.parts(PAGE.read_text())[1]


@pytest.mark.every_parameter
@pytest.mark.parametrize("heading", [request[0] for request in fault_page.REQUESTS])
def test_each_cell_is_as_the_page_says(made, page, heading):
    seen, written = fault_page.rows_of(made[heading]), fault_page.rows_of(page[heading])
    assert seen == {cell: written.get(cell) for cell in seen}
    if ALL:
        assert made[heading] == page[heading]


def test_the_page_has_no_other_cells(made, page):
    assert list(page) == [request[0] for request in fault_page.REQUESTS]
