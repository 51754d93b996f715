"""The metrics of every shipped blade, as Prometheus' own tool judges them."""

import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS
from prometheus_client.parser import text_string_to_metric_families as families

BLADES = sorted(file.stem for file in (Path(__file__).parents[2] / "sim" / "blades").glob("*.json") if not file.name.endswith(".schema.json"))

ENDLESS = {"lost-late", "odd-area"}  # init does not return there

# The host is asked until a line is there, and the metrics follow.
SCRIPT = """
bmhost --storage "$1/storage" run --state "$1/state" --no-start >"$1/out" 2>&1 &
until bmhost metrics --output "$1/metrics" && grep -q "$2" "$1/metrics"; do :; done
cat "$1/metrics"
kill -9 $!
wait
"""


def metrics_of(blade, name, folder, line):
    """Those that are there with the line that is waited for."""
    done = blade.run("--blade", name, "--", "sh", "-c", SCRIPT, "sh", str(folder), line, seconds=SECONDS)
    assert "bmhost_up 1\n" in done.stdout, done.stderr
    return done.stdout


@pytest.mark.parametrize("name", BLADES)
def test_promtool_finds_nothing(blade, name, tmp_path):
    line = "^bmhost_calls_in_progress 1" if name in ENDLESS else "^bmhost_lifecycle_result"
    text = metrics_of(blade, name, tmp_path, line)
    checked = subprocess.run(["promtool", "check", "metrics"], input=text, capture_output=True, text=True, timeout=SECONDS)
    assert (checked.returncode, checked.stdout, checked.stderr) == (0, "", "")


def test_promtool_does_look():
    checked = subprocess.run(["promtool", "check", "metrics"], input="# TYPE x counter\nx 1\n", capture_output=True, text=True, timeout=SECONDS)
    assert checked.returncode != 0


def test_the_alerts_of_the_page_are_rules(tmp_path):
    page = (Path(__file__).parents[2] / "docs" / "metrics.md").read_text()
    _, _, after = page.partition("```yaml\n")
    rules, _, _ = after.partition("```")
    assert "alert:" in rules
    file = tmp_path / "rules.yml"
    file.write_text("groups:\n- name: blade\n  rules:\n" + "".join(f"  {line}\n" for line in rules.splitlines()))
    checked = subprocess.run(["promtool", "check", "rules", file], capture_output=True, text=True, timeout=SECONDS)
    assert checked.returncode == 0, checked.stderr


def test_hostile_texts_are_labels_like_any_other(blade, tmp_path):
    text = metrics_of(blade, "hostile", tmp_path, "^bmhost_module_info{")
    modules = [family for family in families(text) if family.name == "bmhost_module_info"]
    assert modules[0].samples
