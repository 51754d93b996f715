"""Prometheus and Alertmanager beside one shelf, with the files of docs/fleet; and who hears Alertmanager's messages."""

import base64
import http.server
import json
import ssl
import subprocess
import threading
import urllib.parse
import urllib.request
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any

import yaml

FLEET = Path(__file__).parents[2] / "docs" / "fleet"
CONSOLE_LIBRARIES = "/usr/share/doc/prometheus/examples/console_libraries"
PROMETHEUS = "127.0.0.1:9090"
ALERTMANAGER = "127.0.0.1:9093"
RECEIVER = 9095  # as alertmanager.yml has it


class Messages(http.server.BaseHTTPRequestHandler):
    heard: list[Any] = []

    def do_POST(self) -> None:
        self.heard.append(json.loads(self.rfile.read(int(self.headers["Content-Length"]))))
        self.send_response(200)
        self.end_headers()

    def log_message(self, *_: Any) -> None:
        pass


@dataclass
class Shelf:
    """A shelf that is up, as its command finds it."""

    name: str
    folder: Path
    certificates: str
    account: str
    password: str
    blades: list[str]
    pairs: list[list[str]] = field(default_factory=list)

    def write_list(self) -> None:
        """The list of this shelf, and what the tool makes of it; Prometheus notices by itself."""
        lines = [f"[shelf.{self.name}]", f"pairs = {json.dumps(self.pairs)}", f"[shelf.{self.name}.blades]", *(f'{blade} = "{blade}"' for blade in self.blades)]
        (self.folder / "shelves.toml").write_text("\n".join(lines) + "\n")
        words = [FLEET / "bmhost-fleet", self.folder / "shelves.toml", "--targets", self.folder / "blades.json", "--inventory", self.folder / "inventory.json"]
        subprocess.run(words, check=True, stdout=subprocess.DEVNULL)

    def ask(self, blade: str, path: str, body: Any = None) -> Any:
        """At a blade's web door; a body makes it an order."""
        words = base64.b64encode(f"{self.account}:{self.password}".encode()).decode()
        headers = {"Authorization": f"Basic {words}", "Content-Type": "application/json"}
        request = urllib.request.Request(f"https://{blade}:8443{path}", headers=headers, data=None if body is None else json.dumps(body).encode())
        with urllib.request.urlopen(request, timeout=60, context=ssl.create_default_context(cafile=self.certificates)) as answer:
            text = answer.read()
        return json.loads(text) if text else None


class Engines:
    def __init__(self, shelf: Shelf, interval: int) -> None:
        self.shelf = shelf
        self.interval = interval
        self.processes: list[subprocess.Popen[bytes]] = []
        folder = shelf.folder
        (folder / "password").write_text(shelf.password)
        (folder / "password").chmod(0o600)
        config = yaml.safe_load((FLEET / "prometheus" / "prometheus.yml").read_text())
        config["global"] = {"scrape_interval": f"{interval}s", "scrape_timeout": f"{interval}s", "evaluation_interval": "1s"}
        config["rule_files"] = [str(FLEET / "prometheus" / name) for name in config["rule_files"]]
        (scrape,) = config["scrape_configs"]
        scrape["tls_config"]["ca_file"] = shelf.certificates
        scrape["basic_auth"] = {"username": shelf.account, "password_file": str(folder / "password")}
        scrape["file_sd_configs"][0]["files"] = [str(folder / "blades.json")]
        (folder / "prometheus.yml").write_text(yaml.safe_dump(config))

    def start(self) -> None:
        receiver = http.server.ThreadingHTTPServer(("127.0.0.1", RECEIVER), Messages)
        threading.Thread(target=receiver.serve_forever, daemon=True).start()
        folder = self.shelf.folder
        self.begin("prometheus", f"--config.file={folder / 'prometheus.yml'}", f"--storage.tsdb.path={folder / 'series'}", f"--web.listen-address={PROMETHEUS}",
                   f"--web.console.templates={FLEET / 'prometheus' / 'consoles'}", f"--web.console.libraries={CONSOLE_LIBRARIES}")
        self.begin("prometheus-alertmanager", f"--config.file={FLEET / 'alertmanager' / 'alertmanager.yml'}", f"--storage.path={folder / 'alerts'}",
                   f"--web.listen-address={ALERTMANAGER}", "--cluster.listen-address=")

    def begin(self, *words: str) -> None:
        with open(self.shelf.folder / f"{words[0]}.log", "wb") as log:
            self.processes.append(subprocess.Popen(words, stdout=log, stderr=log))

    def end(self) -> None:
        for process in self.processes:
            process.terminate()
        for process in self.processes:
            process.wait()

    def get(self, url: str) -> Any:
        for process in self.processes:
            if process.poll() is not None:
                raise SystemExit(f"{process.args[0]} has ended; {self.shelf.folder} has its log")  # type: ignore[index]
        try:
            with urllib.request.urlopen(f"http://{url}", timeout=30) as answer:
                return json.load(answer)
        except (OSError, ValueError):
            return None  # it is not ready yet

    def query(self, expression: str) -> list[tuple[dict[str, str], float]]:
        """Labels and value of each sample."""
        answer = self.get(f"{PROMETHEUS}/api/v1/query?{urllib.parse.urlencode({'query': expression})}")
        return [(each["metric"], float(each["value"][1])) for each in answer["data"]["result"]] if answer else []

    def number(self, expression: str) -> float:
        found = self.query(expression)
        return found[0][1] if found else 0.0

    def alerts(self) -> list[tuple[str, str]]:
        """Name and blade of all that Alertmanager has, those too that others inhibit."""
        answer = self.get(f"{ALERTMANAGER}/api/v2/alerts") or []
        return sorted((each["labels"]["alertname"], each["labels"].get("blade", "")) for each in answer)

    def page(self, path: str) -> str:
        with urllib.request.urlopen(f"http://{PROMETHEUS}/{path}", timeout=30) as answer:
            return answer.read().decode()
