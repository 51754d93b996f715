"""The metrics of a resident host: their values are what bmhost --json says, they are counted where things happen, and nobody asks the
controller for them. These tests run in a full blade, whose LEDs are read once and then left alone."""

import json
import subprocess

import pytest
from conftest import SECONDS, bin_folder
from inside import order, requests, sound_blade, wait_until  # noqa: F401 (one is a fixture)
from prometheus_client.openmetrics.parser import text_string_to_metric_families as open_metrics_families
from prometheus_client.parser import text_string_to_metric_families as text_families
from resident import ask, part


def bmhost(*words):
    return subprocess.run([bin_folder() / "bmhost", *words], capture_output=True, text=True, timeout=SECONDS)


def look(*words):
    return json.loads(bmhost("--json", *words).stdout)


def scrape(*words):
    """The samples by name and labels."""
    done = bmhost("metrics", *words)
    assert (done.returncode, done.stderr) == (0, "")
    families = open_metrics_families(done.stdout) if "--openmetrics" in words else text_families(done.stdout)
    return {(sample.name, *sorted(sample.labels.items())): sample.value for family in families for sample in family.samples}


def value(samples, name, **labels):
    """Of the one sample that has these labels among its own."""
    found = [number for key, number in samples.items() if key[0] == name and set(labels.items()) <= set(key[1:])]
    assert len(found) == 1, (name, labels, found)
    return found[0]


@pytest.fixture
def quiet_host(tmp_path):
    """A resident host that has read every LED once and does not read them again."""
    words = ["--storage", tmp_path / "storage", "run", "--state", tmp_path / "state", "--no-start", "--sweep", "86400"]
    with subprocess.Popen([bin_folder() / "bmhost", *words], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:

        def has_read():
            assert process.poll() is None, "it has ended"
            try:
                return part("controller")["sweeps"] >= 1 and part("calls") == []
            except OSError:
                return False

        try:
            wait_until(has_read)
            yield process
        finally:
            order("controller", "start")
            process.terminate()
            process.wait(SECONDS)


def test_a_full_blade_has_at_least_60_samples(quiet_host):
    assert len(scrape()) >= 60


def test_the_values_are_those_of_the_looks(quiet_host):
    samples = scrape()
    status, inventory, leds = look("status"), look("inventory"), look("leds")
    assert value(samples, "bmhost_blade_good") == status["good"]
    assert value(samples, "bmhost_health", state=status["health"]["state"]) == 1
    assert value(samples, "bmhost_controller_up") == (status["controller"]["state"] == "answers")
    assert value(samples, "bmhost_faults") == len(status["faults"])
    assert value(samples, "bmhost_modules") == len(inventory["modules"]) == 9
    board = inventory["board"][0]
    assert value(samples, "bmhost_board_info", product_name=board["product_name"], serial_number=board["product_serial"],
                 firmware_version=board["fw_version"], part_number=board["part_number"]) == 1
    for module in inventory["modules"]:
        bay = str(module["bay"])
        assert value(samples, "bmhost_module_info", bay=bay, place=module["place"], product_name=module["product_name"],
                     serial_number=module["serial"], manufacturer=module["manufacturer"], part_number=module["part_number"],
                     product_version=module["product_version"], firmware_version=module["fw_version"]) == 1
        assert value(samples, "bmhost_module_run_status", bay=bay, state=module["run_status_name"]) == 1
    assert leds["leds"]
    for led in leds["leds"]:
        place = {"bay": str(led["bay"]), "led": str(led["led"])}
        assert value(samples, "bmhost_led_state", **place, state=led["state"]) == 1
        assert value(samples, "bmhost_led_info", **place, color=led["color"], control=led["control"]) == 1
        assert value(samples, "bmhost_led_readable", **place) == (led["result"] == 1)
    dsps = look("dsp")["dsps"]
    assert dsps
    for dsp in dsps:
        assert value(samples, "bmhost_dsp_info", dsp=str(dsp["dsp"]), bay=str(dsp["bay"]), mac=dsp["mac"], ip=dsp["ip"]) == 1
    for port in look("switch")["ports"]:
        assert value(samples, "bmhost_port_enabled", port=str(port["port"])) == port["enabled"]
        assert value(samples, "bmhost_port_link_up", port=str(port["port"])) == (port["link"] == "up")


def requests_beside_a_scrape():
    order("show", "clear")
    assert value(scrape(), "bmhost_up") == 1
    return requests()


def test_a_scrape_costs_no_request_to_the_controller(quiet_host):
    # OpenIPMI has requests of its own, now and then.
    assert [requests_beside_a_scrape() for _ in range(20)].count([]) > 10
    order("show", "clear")
    assert bmhost("read", "0x100", "0x101=1").returncode == 0
    assert len(requests()) == 1, "the blade does count"


def test_calls_and_orders_are_counted_where_they_ask(quiet_host):
    before = scrape()
    assert bmhost("read", "0x100", "0x101=1").returncode == 0
    assert bmhost("led", "set", "board", "health", "on", "--color", "green").returncode == 0
    after = scrape()

    def more(name, **labels):
        return value(after, name, **labels) - value(before, name, **labels)

    assert more("bmhost_controller_requests_total", operation="read", outcome="good") >= 1
    assert more("bmhost_controller_requests_total", operation="write", outcome="good") == 1
    assert more("bmhost_controller_request_duration_seconds_count", operation="write") == 1
    assert more("bmhost_controller_request_duration_seconds_bucket", operation="write", le="+Inf") == 1
    assert value(after, "bmhost_orders_total", order="led-set", outcome="good", result="0") == 1
    counted = ask("/v1/statistics")[1]
    assert value(after, "bmhost_controller_requests_total", operation="write", outcome="good") == counted["requests"]["write"]["good"]


def test_the_answer_of_a_host_that_only_counts_is_the_same_picture(quiet_host):
    revision = ask("/v1/blade")[1]["revision"]
    counts = [ask("/v1/statistics")[1]["time"] for _ in range(3)]
    assert len(counts) == 3
    assert ask("/v1/blade")[1]["revision"] == revision


def test_a_controller_that_stands_still_holds_no_scrape_up(quiet_host):
    order("controller", "stop")
    with subprocess.Popen([bin_folder() / "bmhost", "read", "0x100", "0x101=1"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as reader:
        wait_until(lambda: value(scrape(), "bmhost_controller_requests_in_progress") == 1)
        samples = scrape()
        assert value(samples, "bmhost_calls_in_progress") == 1
        order("controller", "start")
        reader.wait(SECONDS)
    wait_until(lambda: value(scrape(), "bmhost_controller_requests_in_progress") == 0)


def test_open_metrics_say_the_same(quiet_host):
    assert bmhost("metrics", "--openmetrics").stdout.endswith("\n# EOF\n")
    changing = ("bmhost_time_seconds", "bmhost_led_reading_age_seconds", "bmhost_adaptor_calls_total", "bmhost_picture")
    plain, other = ({key: number for key, number in samples.items() if not key[0].startswith(changing) and "le" not in dict(key[1:])}
                    for samples in (scrape(), scrape("--openmetrics")))
    assert len(plain) >= 60
    assert plain == other


def test_a_file_is_replaced_as_a_whole(quiet_host, tmp_path):
    file = tmp_path / "bmhost.prom"
    file.write_text("old")
    assert bmhost("metrics", "--output", file).returncode == 0
    assert "\nbmhost_up 1\n" in file.read_text()
    assert file.stat().st_mode & 0o777 == 0o644
    assert not list(tmp_path.glob("*.unfinished"))
    failed = bmhost("metrics", "--output", tmp_path / "none" / "bmhost.prom")
    assert failed.returncode == 1
    assert "No such file or directory" in failed.stderr


def test_without_a_host_the_metrics_say_that_there_is_none():
    assert scrape() == {("bmhost_up",): 0}


def test_what_nobody_knows_is_refused():
    done = subprocess.run([bin_folder() / "bmhost-web", "metrics", "--every"], capture_output=True, text=True, timeout=SECONDS)
    assert (done.returncode, done.stdout) == (2, "")
    assert "--every" in done.stderr
