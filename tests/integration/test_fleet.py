"""What docs/fleet brings for Prometheus and Alertmanager: their own tools judge it, each alert comes and goes, and the list of shelves becomes
what they read. No blade is needed: ./dev fleet shows all of it beside shelves."""

import http.server
import json
import re
import shutil
import subprocess
import threading
import urllib.request
from pathlib import Path

import pytest
import yaml
from conftest import SECONDS
from inside import wait_until
from test_web import free_port

ROOT = Path(__file__).parents[2]
FLEET = ROOT / "docs" / "fleet"
RULES = FLEET / "prometheus" / "alerting.rules.yml"
CASES = sorted((ROOT / "tests" / "fleet").glob("*_test.yml"))

LIST = """
[shelf.north]
pairs = [["blade1", "blade2"]]
[shelf.north.blades]
blade1 = "192.0.2.11"
blade2 = "blade2.example:443"
blade3 = "2001:db8::1"
[shelf.south.blades]
blade1 = "[2001:db8::2]:444"
"""


def run(*words, **options):
    return subprocess.run(words, capture_output=True, text=True, timeout=SECONDS, **options)


def alerts():
    return [rule for group in yaml.safe_load(RULES.read_text())["groups"] for rule in group["rules"]]


@pytest.fixture
def copies(tmp_path):
    """The rules and their cases, to be broken."""
    for file in (RULES, RULES.with_name("recording.rules.yml"), *CASES):
        to = tmp_path / file.relative_to(ROOT)
        to.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(file, to)
    return tmp_path


def test_promtool_finds_nothing():
    for words in (["check", "rules", *RULES.parent.glob("*.rules.yml")], ["check", "config", FLEET / "prometheus" / "prometheus.yml"]):
        done = run("promtool", *words)
        assert done.returncode == 0, done.stdout + done.stderr


def test_every_alert_comes_and_goes():
    done = run("promtool", "test", "rules", *CASES)
    assert done.returncode == 0, done.stdout + done.stderr


def test_each_alert_has_a_case_in_which_it_comes_and_then_goes():
    tests = [test for file in CASES for test in yaml.safe_load(file.read_text())["tests"]]
    cases = [(check["alertname"], bool(check["exp_alerts"])) for test in tests for check in test["alert_rule_test"]]
    for name in {rule["alert"] for rule in alerts()}:
        expected = [there for alert, there in cases if alert == name]
        assert expected[expected.index(True):][-1] is False, name


@pytest.mark.parametrize("broken", ["(EXPRESSION) and on () vector(1) == 0", "last_over_time((EXPRESSION)[2h:30s])"], ids=["never come", "stay"])
def test_the_cases_notice_alerts_that_never_come_and_alerts_that_stay(copies, broken):
    document = yaml.safe_load(RULES.read_text())
    for rule in (rule for group in document["groups"] for rule in group["rules"]):
        rule["expr"] = broken.replace("EXPRESSION", rule["expr"])
    (copies / RULES.relative_to(ROOT)).write_text(yaml.safe_dump(document))
    done = run("promtool", "test", "rules", *(copies / file.relative_to(ROOT) for file in CASES))
    assert done.returncode == 1
    noticed = set(re.findall(r"alertname: *(\w+)", done.stdout + done.stderr))
    assert noticed == {rule["alert"] for rule in alerts()}


def test_rules_and_consoles_ask_for_metrics_that_exist():
    known = set(re.findall(r"^\| `(bmhost_\w+)`", (ROOT / "docs" / "metrics.md").read_text(), re.M))
    recorded = {rule["record"] for group in yaml.safe_load(RULES.with_name("recording.rules.yml").read_text())["groups"] for rule in group["rules"]}
    for file in [*RULES.parent.glob("*.rules.yml"), *(RULES.parent / "consoles").glob("*.html")]:
        text = file.read_text()
        asked = {re.sub(r"_bucket$", "", name) for name in re.findall(r"\bbmhost_\w+", text)}
        assert asked and asked <= known, (file, asked - known)
        assert set(re.findall(r"\b(?:shelf|blade):\w+:\w+", text)) <= recorded


def test_amtool_finds_nothing_and_shelves_are_grouped():
    config = FLEET / "alertmanager" / "alertmanager.yml"
    checked = run("amtool", "check-config", config)
    assert checked.returncode == 0, checked.stdout + checked.stderr
    assert yaml.safe_load(config.read_text())["route"]["group_by"] == ["shelf"]
    for severity, receiver in (("critical", "operators"), ("warning", "operators"), ("info", "records")):
        words = [f"--config.file={config}", f"--verify.receivers={receiver}", f"severity={severity}", "shelf=a"]
        routed = run("amtool", "config", "routes", "test", *words)
        assert routed.returncode == 0, routed.stdout + routed.stderr
    assert {rule["labels"]["severity"] for rule in alerts()} == {"critical", "warning", "info"}


class Outputs:
    def __init__(self, folder):
        self.list = folder / "shelves.toml"
        self.targets = folder / "blades.json"
        self.inventory = folder / "inventory.json"

    def write(self, text):
        self.list.write_text(text)
        return run(FLEET / "bmhost-fleet", self.list, "--targets", self.targets, "--inventory", self.inventory)


@pytest.fixture
def outputs(tmp_path):
    return Outputs(tmp_path)


def test_a_list_becomes_targets(outputs):
    done = outputs.write(LIST)
    assert (done.returncode, done.stdout, done.stderr) == (0, "4 blades in 2 shelves\n", "")
    found = {tuple(entry["targets"]): entry["labels"] for entry in json.loads(outputs.targets.read_text())}
    assert found == {("192.0.2.11:8443",): {"job": "blades", "shelf": "north", "blade": "blade1"},
                     ("blade2.example:443",): {"job": "blades", "shelf": "north", "blade": "blade2"},
                     ("[2001:db8::1]:8443",): {"job": "blades", "shelf": "north", "blade": "blade3"},
                     ("[2001:db8::2]:444",): {"job": "blades", "shelf": "south", "blade": "blade1"}}
    assert outputs.targets.stat().st_mode & 0o777 == 0o644
    assert sorted(file.name for file in outputs.list.parent.iterdir()) == ["blades.json", "inventory.json", "shelves.toml"]


def test_a_list_becomes_an_inventory_in_which_pairs_are_apart(outputs, tmp_path):
    assert outputs.write(LIST).returncode == 0
    environment = {"PATH": "/usr/bin:/bin", "HOME": str(tmp_path), "ANSIBLE_LOCAL_TEMP": str(tmp_path), "LC_ALL": "C.UTF-8"}
    done = run("ansible-inventory", "-i", outputs.inventory, "--list", env=environment)
    assert (done.returncode, done.stderr) == (0, "")
    groups = json.loads(done.stdout)
    assert groups["shelf_north"]["hosts"] == ["blade1.north", "blade2.north", "blade3.north"]
    assert groups["first"]["hosts"] == ["blade1.north", "blade3.north", "blade1.south"]
    assert groups["second"]["hosts"] == ["blade2.north"]
    variables = groups["_meta"]["hostvars"]["blade2.north"]
    assert (variables["bmhost_shelf"], variables["bmhost_blade"], variables["bmhost_address"]) == ("north", "blade2", "blade2.example:443")
    assert (variables["bmhost_partner"], variables["ansible_connection"]) == ("blade1.north", "local")
    assert "bmhost_partner" not in groups["_meta"]["hostvars"]["blade3.north"]


def test_the_example_is_a_list(outputs):
    assert outputs.write((FLEET / "shelves.toml").read_text()).returncode == 0


@pytest.mark.parametrize("wrong, told", [
    ("[shelf.a.blades]\nb = x", "line 2"),
    ("", "shelf: has to be a table"),
    ("[shelf]", "there is none"),
    ("[shelfs.a.blades]", "'shelfs' is unknown"),
    ("[shelf.a]\nblade = 1", "shelf.a: 'blade' is unknown"),
    ("[shelf.a.blades]", "shelf.a.blades: there is none"),
    ("[shelf.A.blades]\nb = '192.0.2.1'", "shelf.A: a name has small letters"),
    ("[shelf.a.blades]\n'b.c' = '192.0.2.1'", "shelf.a.blades.b.c: a name has small letters"),
    ("[shelf.a.blades]\nb = 1", "shelf.a.blades.b: an address is a text"),
    ("[shelf.a.blades]\nb = '192.0.2.300'", "'192.0.2.300' is neither a name nor an IP address"),
    ("[shelf.a.blades]\nb = '[192.0.2.3]:1'", "is neither a name nor an IP address"),
    ("[shelf.a.blades]\nb = 'https://b'", "'https://b' has no port"),
    ("[shelf.a.blades]\nb = 'b:0'", "'b:0' has no port from 1 to 65535"),
    ("[shelf.a.blades]\nb = ''", "is neither a name nor an IP address"),
    ("[shelf.a.blades]\nb = 'x'\nc = 'x:8443'", "shelf.a.blades.c: x:8443 is the address of shelf.a.blades.b, too"),
    ("[shelf.a]\npairs = [['b', 'd']]\n[shelf.a.blades]\nb = 'x'", "shelf.a.pairs: the shelf has no blade 'd'"),
    ("[shelf.a]\npairs = [['b']]\n[shelf.a.blades]\nb = 'x'", "is not a pair of names"),
    ("[shelf.a]\npairs = [['b', 'b']]\n[shelf.a.blades]\nb = 'x'", "'b' is there twice"),
])
def test_a_mistake_is_named_and_leaves_what_was_written(outputs, wrong, told):
    assert outputs.write(LIST).returncode == 0
    before = outputs.targets.read_bytes(), outputs.inventory.read_bytes()
    done = outputs.write(wrong)
    assert (done.returncode, done.stdout) == (1, "")
    assert str(outputs.list) in done.stderr and told in done.stderr
    assert (outputs.targets.read_bytes(), outputs.inventory.read_bytes()) == before


def test_a_file_that_cannot_be_written_is_named_and_nothing_is_written(outputs):
    outputs.inventory = outputs.list.parent / "none" / "inventory.json"
    done = outputs.write(LIST)
    assert done.returncode == 1 and "No such file or directory" in done.stderr
    assert [file.name for file in outputs.list.parent.iterdir()] == ["shelves.toml"]


BLADE = """
bmhost_up 1
bmhost_controller_up 1
bmhost_faults 1
bmhost_modules 3
bmhost_time_seconds 1
bmhost_health{state="monitored"} 1
bmhost_lifecycle_result{operation="init"} 1
bmhost_board_info{product_name="<b>FB</b>",serial_number="1"} 1
bmhost_module_info{bay="1",place="AMC bay 1",product_name="M",serial_number="11"} 1
bmhost_fault{place="AMCs",what="health: fault"} 1
"""


class Exporter(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.send_response(200)
        self.send_header("Content-Type", "text/plain; version=0.0.4")
        self.end_headers()
        self.wfile.write(BLADE.encode())

    def log_message(self, *_):
        pass


@pytest.fixture
def served(tmp_path):
    """Prometheus with the consoles, and a blade's metrics; gives what a page says."""
    exporter = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Exporter)
    threading.Thread(target=exporter.serve_forever, daemon=True).start()
    list_file = tmp_path / "shelves.toml"
    list_file.write_text(f"[shelf.north.blades]\nblade1 = '127.0.0.1:{exporter.server_port}'\nblade2 = '127.0.0.1:{free_port()}'\n")
    assert run(FLEET / "bmhost-fleet", list_file, "--targets", tmp_path / "blades.json").returncode == 0
    (scrape,) = yaml.safe_load((RULES.with_name("prometheus.yml")).read_text())["scrape_configs"]
    config = {"global": {"scrape_interval": "1s", "evaluation_interval": "1s"}, "rule_files": [str(RULES.parent / "*.rules.yml")],
              "scrape_configs": [{"job_name": scrape["job_name"], "file_sd_configs": [{"files": ["blades.json"]}]}]}
    (tmp_path / "prometheus.yml").write_text(yaml.safe_dump(config))
    port = free_port()
    words = ["prometheus", "--config.file=prometheus.yml", "--storage.tsdb.path=series", f"--web.listen-address=127.0.0.1:{port}",
             f"--web.console.templates={RULES.parent / 'consoles'}", "--web.console.libraries=/usr/share/doc/prometheus/examples/console_libraries"]
    process = subprocess.Popen(words, cwd=tmp_path, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def page(path):
        try:
            with urllib.request.urlopen(f"http://127.0.0.1:{port}{path}", timeout=SECONDS) as answer:
                return answer.read().decode()
        except urllib.error.HTTPError as error:
            return f"{error.code} {error.read().decode()}"
        except OSError:
            return ""

    yield page
    process.kill()
    process.wait()
    exporter.shutdown()
    exporter.server_close()


def test_the_consoles_show_the_fleet_and_a_blade(served):
    # One blade answers, and the other one has been asked.
    for shown in ("ModuleFailed (AMCs)", "gone"):
        wait_until(lambda shown=shown: shown in served("/consoles/fleet.html"))
    for query in ("", "?shelf=north"):
        page = served("/consoles/fleet.html" + query)
        rows = [re.sub(r"<[^>]*>|\s+", " ", row).split() for row in re.findall(r"<tr>.*?</tr>", page, re.S)]
        shown = {row[1]: row for row in rows if len(row) > 1 and row[1].startswith("blade")}
        assert shown["blade1"][:7] == ["north", "blade1", "answers", "answers", "answers", "monitored", "1"]
        assert shown["blade2"][:4] == ["north", "blade2", "gone", "-"]
        assert "&lt;b&gt;FB&lt;/b&gt;" in page and "<b>" not in page
    assert "blade1" not in served("/consoles/fleet.html?shelf=south")
    page = served("/consoles/blade.html?shelf=north&blade=blade1")
    assert "health: fault" in page and "AMC bay 1" in page
    assert page.count("new PromConsole.Graph") == 7
    assert "<b>" not in page
    for file in set(re.findall(r'(?:src|href)="(/classic/static/(?:js|d3|rickshaw|jquery)/[^"]*)"', page)):
        assert len(served(file)) > 1000, file
