"""What ./dev fleet does beside one shelf, as the shelf's command.

usage: inside.py FOLDER INTERVAL [story]

Starts Prometheus and Alertmanager, writes FOLDER/ready once every blade is scraped, and waits for FOLDER/go. With "story" things are then broken and
repaired, and the shelf is upgraded. Ends when FOLDER/end is there, and leaves its figures in FOLDER/figures.json.
"""

import json
import os
import re
import subprocess
import sys
import time
from collections.abc import Callable
from pathlib import Path

from engines import FLEET, Engines, Messages, Shelf

LONGEST = 240  # seconds that anything may take


class Failure(Exception):
    pass


def say(text: str) -> None:
    print(f"   {text}", flush=True)


def wait_for(what: str, condition: Callable[[], bool], seconds: float = LONGEST) -> float:
    """How long it took."""
    began = time.monotonic()
    while not condition():
        if time.monotonic() - began > seconds:
            raise Failure(f"not within {seconds:.0f} s: {what}")
        time.sleep(0.2)
    return time.monotonic() - began


def order(*words: str) -> str:
    return subprocess.run(["bladesim", "shelf", *words], check=True, capture_output=True, text=True).stdout


class Story:
    def __init__(self, engines: Engines) -> None:
        self.engines = engines
        self.shelf = engines.shelf
        self.interval = engines.interval
        good = {labels["blade"] for labels, value in engines.query("bmhost_blade_good") if value == 1}
        self.good = [blade for blade in self.shelf.blades if blade in good]
        if len(self.good) < 4:
            raise Failure(f"it takes four blades without a fault, and there are {len(self.good)}")

    def alerts(self, *names: str) -> list[tuple[str, str]]:
        return [(name, blade) for name, blade in self.engines.alerts() if name in names]

    def about(self, blade: str) -> list[str]:
        return [name for name, of in self.engines.alerts() if of == blade]

    def told(self, name: str, blade: str, since: float, most: float | None = None) -> None:
        """Waits for an alert, and says how many intervals it took."""
        wait_for(f"{name} of {blade}", lambda: (name, blade) in self.engines.alerts())
        took = (time.monotonic() - since) / self.interval
        say(f"{name} of {blade}: in Alertmanager after {took:.1f} scrape intervals")
        if most is not None and took > most:
            raise Failure(f"{name} took {took:.1f} scrape intervals, and at most {most:.0f} are allowed")

    def gone(self, name: str, blade: str) -> None:
        took = wait_for(f"{name} of {blade} goes", lambda: (name, blade) not in self.engines.alerts())
        say(f"{name} of {blade}: gone after {took / self.interval:.1f} scrape intervals")

    def breakage(self) -> None:
        """A DSP module breaks, and another blade is pulled."""
        broken, pulled = self.good[0], self.good[-1]
        before = self.about(broken)
        say(f"breaking a DSP module of {broken}, and pulling {pulled}")
        order("pull", pulled)
        since_pull = time.monotonic()
        order("in", broken, "--", "bladesim", "tool", "set", "mavk_diag", "--exit", "16")
        self.told("ModuleFailed", broken, time.monotonic(), 2)
        self.told("BladeGone", pulled, since_pull)
        order("in", broken, "--", "bladesim", "tool", "clear")
        for word in ("stop", "start"):
            self.shelf.ask(broken, f"/v1/orders/{word}", {})
        say(f"{broken} was repaired, stopped and started")
        self.gone("ModuleFailed", broken)
        if self.about(broken) != before:
            raise Failure(f"alerts about {broken} that stay: {self.about(broken)}")
        self.locate()
        # Long enough for anything else to come.
        until = since_pull + 30 + 3 * self.interval
        while time.monotonic() < until:
            time.sleep(0.5)
        if self.about(pulled) != ["BladeGone"]:
            raise Failure(f"a pulled blade is one alert, and there are {self.about(pulled)}")
        say(f"alerts about {pulled}: 1")
        order("insert", pulled)
        self.gone("BladeGone", pulled)
        wait_for(f"{pulled} is well", lambda: self.engines.number(f'bmhost_blade_good{{blade="{pulled}"}}') == 1)

    def ansible(self, book: str, *words: str) -> tuple[int, str]:
        folder = self.shelf.folder
        environment = {**os.environ, "ANSIBLE_CONFIG": str(FLEET / "ansible" / "ansible.cfg"), "ANSIBLE_INVENTORY": str(folder / "inventory.json"),
                       "ANSIBLE_HOME": str(folder / "ansible"), "ANSIBLE_NOCOLOR": "1", "LC_ALL": "C.UTF-8"}
        settings = {"bmhost_ca": self.shelf.certificates, "bmhost_account": self.shelf.account, "bmhost_password_file": str(folder / "password")}
        done = subprocess.run(["ansible-playbook", FLEET / "ansible" / book, "-e", json.dumps(settings), *words], env=environment, capture_output=True, text=True)
        (folder / f"{book}.log").write_text(done.stdout + done.stderr)
        return done.returncode, done.stdout + done.stderr

    def expect(self, status: int, done: tuple[int, str], what: str) -> str:
        if done[0] != status:
            raise Failure(f"{what}: status {done[0]}\n{done[1]}")
        return done[1]

    def inventory(self) -> None:
        file = self.shelf.folder / "fleet.csv"
        self.expect(0, self.ansible("inventory.yml", "-e", f"csv={file}"), "the inventory")
        lines = file.read_text().splitlines()[1:]
        if {line.split(",")[1].strip('"') for line in lines} != set(self.shelf.blades):
            raise Failure(f"the inventory lacks a blade: {file}")
        say(f"inventory by Ansible: {len(lines)} carriers and modules of {len(self.shelf.blades)} blades in a CSV file")

    def locate(self) -> None:
        blade = self.good[1]
        self.expect(0, self.ansible("locate.yml", "-e", f"blade={blade}.{self.shelf.name}"), "locate")
        led = self.shelf.ask(blade, "/v1/blade/leds/0/4")
        if led["state"] != "blink":
            raise Failure(f"the LED of {blade} does not blink: {led}")
        self.expect(0, self.ansible("locate.yml", "-e", f"blade={blade}.{self.shelf.name}", "-e", "locate=off"), "locate off")
        say(f"an LED of {blade} blinked, and was given back")

    def done_with(self, digest: str) -> list[str]:
        """The blades whose carrier has this image."""
        upgrades = {blade: self.shelf.ask(blade, "/v1/blade/upgrades") for blade in self.upgraded}
        return [blade for blade, all_ in upgrades.items() if all_ and (all_[-1]["state_name"], all_[-1]["sha256"]) == ("done", digest)]

    def upgrade(self) -> None:
        """One blade after the other; the third fails, and is left for later with those after it."""
        one, two, three, four = self.upgraded = self.good[:4]
        self.shelf.pairs = [[one, two], [three, four]]
        self.shelf.write_list()
        in_turn = [one, three, two, four]
        bad = in_turn[2]
        image = self.shelf.folder / "carrier.img"
        image.write_bytes(os.urandom(100_000))
        digest = subprocess.run(["sha256sum", image], capture_output=True, text=True, check=True).stdout.split()[0]
        order("in", bad, "--", "bladesim", "tool", "set", "fwburn", "--exit", "1")
        words = ["-e", f"image={image}", "-e", "places=Blade", "--limit", ",".join(f"{blade}.{self.shelf.name}" for blade in in_turn)]
        text = self.expect(2, self.ansible("upgrade.yml", *words), "an upgrade that fails")
        stopped = re.search(r"Stopped at Blade of (\w+)\.\S+:[^\"]*", text)
        if stopped is None or stopped[1] != bad:
            raise Failure(f"the upgrade did not stop at {bad}:\n{text}")
        say(stopped[0].replace("\\n", " "))
        if self.done_with(digest) != [one, three] or self.shelf.ask(four, "/v1/blade/upgrades"):
            raise Failure(f"upgraded are {self.done_with(digest)}")
        self.told("UpgradeFailed", bad, time.monotonic())
        order("in", bad, "--", "bladesim", "tool", "clear")
        self.expect(0, self.ansible("upgrade.yml", *words, "-e", "resume=true"), "the upgrade that goes on")
        if self.done_with(digest) != self.upgraded or [len(self.shelf.ask(blade, "/v1/blade/upgrades")) for blade in self.upgraded] != [1, 2, 1, 1]:
            raise Failure(f"upgraded are {self.done_with(digest)}")
        say(f"with resume: {bad} and {four}; {one} and {three} were left out, since they have this image")
        self.gone("UpgradeFailed", bad)

    def consoles(self) -> None:
        rows = len(set(re.findall(r'blade\.html\?[^"]*blade=(\w+)', self.engines.page("consoles/fleet.html"))))
        blade = self.shelf.blades[0]
        graphs = self.engines.page(f"consoles/blade.html?shelf={self.shelf.name}&blade={blade}").count("new PromConsole.Graph")
        if (rows, graphs) != (len(self.shelf.blades), 7):
            raise Failure(f"the consoles show {rows} blades and {graphs} graphs")
        say(f"consoles: a table of {rows} blades, {graphs} graphs of {blade}")

    def messages(self) -> None:
        shelves = {message["groupLabels"]["shelf"] for message in Messages.heard}
        told = {(alert["labels"]["alertname"], alert["labels"].get("blade")) for message in Messages.heard for alert in message["alerts"]}
        if shelves != {self.shelf.name} or ("BladeGone", self.good[-1]) not in told:
            raise Failure(f"Alertmanager's messages are of {shelves}, about {told}")
        say(f"messages of Alertmanager: {len(Messages.heard)}, each about one shelf")

    def tell(self) -> None:
        for chapter in (self.breakage, self.inventory, self.upgrade, self.consoles, self.messages):
            chapter()


def figures(engines: Engines, seconds: int) -> dict[str, float]:
    """Of the scrapes in the time before."""
    window = f"[{seconds}s]"
    memory = sum(int(re.search(r"^Pss: +(\d+)", Path(f"/proc/{process.pid}/smaps_rollup").read_text(), re.M)[1]) for process in engines.processes[:1])  # type: ignore[index]
    return {
        "blades": engines.number("count(up)"),
        "samples": engines.number("sum(scrape_samples_scraped)"),
        "scrapes": engines.number(f"sum(count_over_time(up{window}))"),
        "lost": engines.number(f"sum(count_over_time(up{window}) - sum_over_time(up{window}))"),
        "mean": engines.number(f"avg(avg_over_time(scrape_duration_seconds{window}))"),
        "longest": engines.number(f"max(max_over_time(scrape_duration_seconds{window}))"),
        "prometheus_kib": memory,
    }


def main(folder: Path, interval: int, story: bool) -> None:
    blades = [each["name"] for each in json.loads(order("list", "--json"))]
    account, _, password = os.environ["BLADESIM_SHELF_ACCOUNT"].partition(":")
    shelf = Shelf(folder.name, folder, os.environ["BLADESIM_SHELF_CA"], account, password, blades)
    shelf.write_list()
    engines = Engines(shelf, interval)
    try:
        engines.start()
        took = wait_for("every blade is scraped", lambda: engines.number("sum(up)") == len(blades) == engines.number("count(bmhost_lifecycle_result{operation='start'})"))
        say(f"{folder.name}: {len(blades)} blades are scraped after {took:.0f} s")
        (folder / "ready").touch()
        wait_for("the word to go on", (folder / "go").exists, 3600)
        began = time.monotonic()
        wait_for("the quiet time", (folder / "quiet").exists, 3600)
        (folder / "figures.json").write_text(json.dumps(figures(engines, int(time.monotonic() - began))))
        if story:
            Story(engines).tell()
        (folder / "told").touch()
        wait_for("the end", (folder / "end").exists, 3600)
    finally:
        engines.end()


if __name__ == "__main__":
    try:
        main(Path(sys.argv[1]), int(sys.argv[2]), sys.argv[3:] == ["story"])
    except Failure as failure:
        sys.exit(f"dev: {failure}")
