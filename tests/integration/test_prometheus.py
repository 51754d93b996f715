"""Prometheus itself at the web door: it scrapes, with and without TLS, and evaluates an alert. These tests run in a full blade, beside its
resident host."""

import json
import re
import subprocess
import urllib.parse
import urllib.request
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import order, requests, sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from resident import part, resident  # noqa: F401 (one is a fixture)
from test_metrics import quiet_host  # noqa: F401 (a fixture)
from test_web import PASSWORD, Web, free_port
from web_page import section_block, tried

GLOBAL = """
global: {scrape_interval: 1s, evaluation_interval: 1s}
rule_files: [rules.yml]
"""

PLAIN = """
- job_name: plain
  static_configs: [{targets: ["127.0.0.1:18080"]}]
"""

LOST = """
  - alert: ControllerLost
    expr: bmhost_controller_up == 0
"""


def rules_of_the_page():
    page = (Path(__file__).parents[2] / "docs" / "metrics.md").read_text()
    rules = page.partition("```yaml\n")[2].partition("```")[0]
    assert "for: 1m" in rules
    return "".join(f"  {line}\n" for line in rules.replace("for: 1m", "for: 0s").splitlines())


class Prometheus:
    def __init__(self, folder, door, tls):
        self.port = free_port()
        (folder / "prometheus.yml").write_text(GLOBAL + tried(section_block("scrape_configs:") + PLAIN, door, tls))
        (folder / "password").write_text(PASSWORD)
        (folder / "rules.yml").write_text("groups:\n- name: blade\n  rules:\n" + rules_of_the_page() + LOST)
        words = ["prometheus", "--config.file=prometheus.yml", f"--storage.tsdb.path={folder / 'series'}", f"--web.listen-address=127.0.0.1:{self.port}"]
        self.errors = open(folder / "prometheus-errors", "w+")
        self.process = subprocess.Popen(words, cwd=folder, stdout=self.errors, stderr=self.errors)

    def get(self, path, **query):
        assert self.process.poll() is None, self.errors.seek(0) or self.errors.read()
        url = f"http://127.0.0.1:{self.port}/api/v1/{path}?{urllib.parse.urlencode(query)}"
        try:
            with urllib.request.urlopen(url, timeout=SECONDS) as answer:
                return json.load(answer)["data"]
        except OSError:
            return None  # not ready yet

    def value(self, query):
        found = self.get("query", query=query)
        return {each["metric"].get("job"): float(each["value"][1]) for each in found["result"]} if found else {}

    def firing(self):
        return {alert["labels"]["alertname"] for alert in self.get("alerts")["alerts"] if alert["state"] == "firing"}

    def end(self):
        self.process.kill()
        self.process.wait()
        self.errors.close()


@pytest.fixture
def door_with_tls(resident, tmp_path):  # noqa: F811
    resident()
    wait_until(lambda: part("host")["start"] is not None)
    subprocess.run([bin_folder() / "bmhost", "tls-init", "--dir", tmp_path], check=True, capture_output=True, timeout=SECONDS)
    tls = free_port()
    door = Web(tmp_path, "--listen", f"0.0.0.0:{tls}", "--tls-cert", tmp_path / "web.crt", "--tls-key", tmp_path / "web.key")
    yield door, tls
    door.process.kill()
    door.process.wait()
    door.errors.close()


def test_prometheus_scrapes_and_its_alert_fires_while_the_controller_is_lost(door_with_tls, tmp_path):
    prometheus = Prometheus(tmp_path, *door_with_tls)
    try:
        wait_until(lambda: prometheus.value("up") == {"blade": 1, "plain": 1})
        wait_until(lambda: prometheus.value("bmhost_controller_up") == {"blade": 1, "plain": 1})
        samples = prometheus.value("scrape_samples_scraped")
        assert min(samples.values()) >= 60
        assert prometheus.value("bmhost_web_certificate_expiry_timestamp_seconds > time()").keys() == {"blade", "plain"}
        assert "ControllerLost" not in prometheus.firing()
        order("controller", "stop")
        wait_until(lambda: {"ControllerLost", "BladeAtFault"} <= prometheus.firing())
        order("controller", "start")
        wait_until(lambda: "ControllerLost" not in prometheus.firing())
        assert prometheus.value("up") == {"blade": 1, "plain": 1}, "a controller that stands still holds no scrape up"
    finally:
        prometheus.end()


def test_a_scrape_of_the_door_costs_no_request_to_the_controller(quiet_host, tmp_path):  # noqa: F811
    door = Web(tmp_path)
    try:
        wait_until(lambda: "\nbmhost_controller_up 1\n" in door.curl("/metrics")[1])
        order("show", "clear")
        for _ in range(20):
            status, body = door.curl("/metrics")
            assert status == 200 and "\nbmhost_up 1\n" in body
            assert door.curl("/redfish/v1/Chassis/Blade")[0] == 200
        assert requests() == []
        assert subprocess.run([bin_folder() / "bmhost", "read", "0x100", "0x101=1"], capture_output=True, timeout=SECONDS).returncode == 0
        assert len(requests()) == 1, "the blade does count"
        assert len([line for line in body.splitlines() if line and not line.startswith("#")]) >= 60
    finally:
        door.process.kill()
        door.process.wait()
        door.errors.close()


def test_openmetrics_come_to_whoever_asks_for_them(door_with_tls):
    door, _ = door_with_tls
    plain = ["", "*/*", "text/plain; version=0.0.4", "application/openmetrics-text; q=0, text/plain",
             "application/openmetrics-text; version=1.0.0; q=0.2, text/plain; version=0.0.4; q=0.9"]
    for accept, kind in [*((each, "text/plain") for each in plain), ("application/openmetrics-text; version=1.0.0", "application/openmetrics-text")]:
        status, answer = door.curl("/metrics", "-i", "-H", f"Accept: {accept}")
        told = re.search(r"^Content-Type: ([^;\s]+)", answer, re.MULTILINE | re.IGNORECASE)[1]
        assert (status, told, answer.rstrip().endswith("# EOF")) == (200, kind, kind != "text/plain"), accept
