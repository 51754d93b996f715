"""Brings shelves up, one after the other, and shows what Prometheus, Alertmanager and Ansible make of them.

usage: fleet.py FOLDER SHELVES BLADES INTERVAL QUIET
"""

import json
import os
import re
import subprocess
import sys
import time
from collections import defaultdict
from dataclasses import dataclass
from pathlib import Path

INSIDE = Path(__file__).with_name("inside.py")
TICKS = os.sysconf("SC_CLK_TCK")
WATCHES = Path("/proc/sys/fs/inotify/max_user_instances")
OTHER_WATCHES = 16  # of what else the user runs


@dataclass
class Use:
    processes: int = 0
    kib: int = 0
    seconds: float = 0


def parents() -> dict[int, tuple[int, str, float]]:
    """Parent, name and seconds of CPU of every process."""
    found = {}
    for folder in Path("/proc").iterdir():
        try:
            if folder.name.isdigit():
                name, _, rest = (folder / "stat").read_text().partition("(")[2].rpartition(")")
                words = rest.split()
                found[int(folder.name)] = (int(words[1]), name, (int(words[11]) + int(words[12])) / TICKS)
        except OSError:
            pass  # it has just ended
    return found


def memory(process: int) -> int:
    """In KiB, with its share of what it shares."""
    try:
        found = re.search(r"^Pss: +(\d+)", Path(f"/proc/{process}/smaps_rollup").read_text(), re.M)
        return int(found[1]) if found else 0
    except OSError:
        return 0


def uses(roots: list[int]) -> dict[str, Use]:
    """Of what runs below these processes, by name; what is below the shelves' commands is left out of them."""
    everything = parents()
    below: dict[int, bool] = {}

    def is_below(process: int) -> bool:
        if process not in below:
            parent = everything.get(process, (0, "", 0.0))[0]
            below[process] = process in roots or (parent > 1 and is_below(parent))
        return below[process]

    found: dict[str, Use] = defaultdict(Use)
    for process, (_, name, seconds) in everything.items():
        if is_below(process):
            use = found[name]
            use.processes += 1
            use.kib += memory(process)
            use.seconds += seconds
    return found


class Shelves:
    def __init__(self, folder: Path, count: int, blades: int, interval: int) -> None:
        self.folders = [folder / f"shelf{number}" for number in range(1, count + 1)]
        self.blades = blades
        self.interval = interval
        self.running: list[subprocess.Popen[bytes]] = []

    def start(self) -> None:
        for number, folder in enumerate(self.folders):
            folder.mkdir(parents=True)
            began = time.monotonic()
            words = ["bladesim", "shelf", str(self.blades), "--", sys.executable, "-B", INSIDE, folder, str(self.interval), *(["story"] if number == 0 else [])]
            self.running.append(subprocess.Popen(words))
            self.wait([folder], "ready")
            print(f"   {folder.name}: up and scraped after {time.monotonic() - began:.0f} s", flush=True)

    def wait(self, folders: list[Path], name: str) -> None:
        while not all((folder / name).exists() for folder in folders):
            for process in self.running:
                if process.poll() is not None:
                    raise SystemExit(process.returncode or 1)
            time.sleep(0.2)

    def tell(self, name: str) -> None:
        for folder in self.folders[: len(self.running)]:
            (folder / name).touch()

    def end(self) -> None:
        self.tell("end")
        for process in self.running:
            try:
                process.wait(60)
            except subprocess.TimeoutExpired:
                process.terminate()
                process.wait(60)


ENGINES = {"prometheus", "prometheus-aler", "python3", "ansible-playboo"}


def show(shelves: Shelves, before: dict[str, Use], after: dict[str, Use], seconds: float) -> bool:
    """The figures; whether all is as it should be."""
    of = [json.loads((folder / "figures.json").read_text()) for folder in shelves.folders]
    blades = int(sum(each["blades"] for each in of))
    samples = sum(each["samples"] for each in of) / blades
    lost, longest = int(sum(each["lost"] for each in of)), max(each["longest"] for each in of)
    mean = sum(each["mean"] * each["blades"] for each in of) / blades
    total = Use()
    print(f"   {'of one blade':24} {'processes':>9} {'memory':>12} {'CPU':>10}")
    for name, use in sorted(after.items(), key=lambda each: -each[1].kib):
        spent = use.seconds - before[name].seconds if name in before else use.seconds
        if name in ENGINES:
            continue
        total.processes, total.kib, total.seconds = total.processes + use.processes, total.kib + use.kib, total.seconds + spent
        if name in ("bmhostd", "bmhost-web", "ipmi_sim", "bladesim"):
            print(f"   {name:24} {use.processes / blades:9.1f} {use.kib / blades / 1024:8.1f} MiB {spent / seconds / blades * 100:8.2f} %")
    print(f"   {'a whole simulated blade':24} {total.processes / blades:9.1f} {total.kib / blades / 1024:8.1f} MiB {total.seconds / seconds / blades * 100:8.2f} %")
    prometheus = sum(each["prometheus_kib"] for each in of) / 1024
    engine = after["prometheus"].seconds - before["prometheus"].seconds
    print(f"   Prometheus: {prometheus:.0f} MiB and {engine / seconds * 100:.1f} % of a core for {sum(each['samples'] for each in of):.0f} samples every {shelves.interval} s")
    print(f"   {blades} blades at once on {os.cpu_count()} cores: {samples:.0f} samples a blade, a scrape takes {mean * 1000:.0f} ms, the longest {longest * 1000:.0f} ms"
          f" of {shelves.interval} s; {int(sum(each['scrapes'] for each in of))} scrapes, {lost} lost")
    return lost == 0 and longest < shelves.interval and blades == len(shelves.folders) * shelves.blades


def check_watches(count: int, blades: int) -> None:
    """The media software of each blade watches a folder, and each Prometheus its list of blades: one that cannot would scrape nothing."""
    needed, allowed = count * (blades + 1) + OTHER_WATCHES, int(WATCHES.read_text())
    if allowed < needed:
        raise SystemExit(f"dev: {count * blades} blades and their Prometheus need {needed} inotify instances, and one user may have {allowed}:"
                         f" sysctl -w fs.inotify.max_user_instances={needed}")


def main(folder: Path, count: int, blades: int, interval: int, quiet: int) -> int:
    check_watches(count, blades)
    shelves = Shelves(folder, count, blades, interval)
    try:
        shelves.start()
        shelves.tell("go")
        roots = [process.pid for process in shelves.running]
        before, began = uses(roots), time.monotonic()
        time.sleep(quiet)
        after, seconds = uses(roots), time.monotonic() - began
        shelves.tell("quiet")
        shelves.wait(shelves.folders, "told")
        good = show(shelves, before, after, seconds)
    finally:
        shelves.end()
    if not good:
        print("dev: a blade or a scrape was lost, or one took longer than the interval", file=sys.stderr)
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]), *(int(word) for word in sys.argv[2:6])))
