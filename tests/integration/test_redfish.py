"""Redfish and /metrics at the web door, by the programs that people use. These tests run in a typical blade, beside its resident host."""

import json
import os
import re
import signal
import subprocess

import pytest
import sushy
from conftest import SECONDS, bin_folder
from inside import ipmitool, order, sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import FOR_EVER, fresh_tools, run_of  # noqa: F401 (a fixture)
from resident import part, resident  # noqa: F401 (one is a fixture)
from test_web import PASSWORD, asked, web  # noqa: F401 (one is a fixture)

LED = "/redfish/v1/Chassis/Blade/Actions/Oem/Bmhost.SetLed"
PUSH = "/redfish/v1/UpdateService/upload"
STREAM = "/redfish/v1/EventService/SSE"
TEST_EVENT = "/redfish/v1/EventService/Actions/EventService.SubmitTestEvent"


@pytest.fixture
def door(web):  # noqa: F811
    started_door = web()
    wait_until(lambda: started_door.curl("/redfish/v1/Chassis/Blade")[0] == 200)
    return started_door


def inventory():
    done = subprocess.run([bin_folder() / "bmhost", "--json", "inventory"], capture_output=True, text=True, timeout=SECONDS)
    return json.loads(done.stdout)


def redfishtool(door, *words):
    account = ["-u", "operator", "-p", PASSWORD, "-A", "Basic"]
    command = ["redfishtool", "-r", f"127.0.0.1:{door.port}", "-S", "Never", *account, *words]
    done = subprocess.run(command, capture_output=True, text=True, timeout=SECONDS)
    assert done.returncode == 0, done.stderr
    return json.loads(done.stdout)


def assert_is(chassis, model, maker, serial):
    assert (chassis["Model"], chassis["Manufacturer"], chassis["SerialNumber"]) == (model.rstrip(), maker.rstrip(), serial.rstrip())


def root_of(door):
    auth = sushy.auth.SessionAuth("operator", PASSWORD)
    return sushy.Sushy(f"http://127.0.0.1:{door.port}/redfish/v1", auth=auth)


def get(door, path, *options):
    status, body = door.curl(path, *options)
    assert status == 200, body
    return json.loads(body)


def push(door, image, target):
    parameters = json.dumps({"Targets": [f"/redfish/v1/UpdateService/FirmwareInventory/{target}"]})
    return door.curl(PUSH, "-u", f"operator:{PASSWORD}", "-D", str(door.folder / "headers"), "-F", f"UpdateParameters={parameters};type=application/json",
                     "-F", f"UpdateFile=@{image};type=application/octet-stream")


def location(door):
    return re.search(r"^Location: (\S+)", (door.folder / "headers").read_text(), re.MULTILINE | re.IGNORECASE)[1]


def test_redfishtool_shows_the_inventory(door):
    shown = inventory()
    board = shown["board"][0]
    chassis = redfishtool(door, "Chassis", "-I", "Blade")
    assert (chassis["Model"], chassis["SerialNumber"]) == (board["product_name"].rstrip(), board["product_serial"].rstrip())
    assert len(redfishtool(door, "Chassis", "list")["Members"]) == 1 + len(shown["modules"])
    for module in shown["modules"]:
        name = "RTM" if module["bay"] == 9 else f"AMC{module['bay']}"
        assert_is(redfishtool(door, "Chassis", "-I", name), module["product_name"], module["manufacturer"], module["serial"])
    assert redfishtool(door, "Systems", "-1")["Id"] == "Media"
    assert redfishtool(door, "Managers", "-1")["Id"] == "Bmhost"


def test_sushy_shows_the_inventory_and_its_session_ends(door):
    root = root_of(door)
    shown = inventory()
    members = {chassis.identity: chassis for chassis in root.get_chassis_collection().get_members()}
    for module in shown["modules"]:
        chassis = members["RTM" if module["bay"] == 9 else f"AMC{module['bay']}"]
        assert (chassis.model, chassis.serial_number) == (module["product_name"].rstrip(), module["serial"].rstrip())
    assert root.get_system().identity == "Media"
    assert root.get_manager().identity == "Bmhost"
    assert get(door, "/redfish/v1/SessionService/Sessions")["Members@odata.count"] == 1
    root._auth.close()
    assert get(door, "/redfish/v1/SessionService/Sessions")["Members@odata.count"] == 0


def test_an_led_that_is_set_is_what_ipmitool_reads(door):
    red = json.dumps({"Led": 2, "State": "On", "Color": "Red"})
    assert door.post(LED, red)[0] == 401
    assert door.post(LED, red, user="readonly")[0] == 403
    status, body = door.post(LED, red, user="operator")
    assert (status, body) == (204, "")
    shown = ipmitool("picmg", "led", "get", "0", "1").stdout
    assert "RED" in shown and "Override" in shown, shown
    assert door.post(LED, json.dumps({"Led": 2, "State": "Local"}), user="operator")[0] == 204


def test_a_port_that_is_written_is_read(door):
    path = "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1"
    before = get(door, path)["InterfaceEnabled"]
    for enabled in (not before, before):
        body = json.dumps({"InterfaceEnabled": enabled})
        options = ["-X", "PATCH", "-u", f"operator:{PASSWORD}", "-H", "Content-Type: application/json", "-d", body]
        assert door.curl(path, *options)[0] in (200, 204)
        assert get(door, path)["InterfaceEnabled"] == enabled


def test_an_upload_is_a_task_from_its_beginning_to_its_end(door, tmp_path):
    image = tmp_path / "amc.img"
    image.write_bytes(bytes(range(256)) * 1000)
    order("tool", "set", "fwburn", "--delay", FOR_EVER, "--times", "1")
    status, body = push(door, image, "AMC3")
    assert (status, body) == (202, "")
    monitor = location(door)
    assert door.curl(monitor)[0] == 202
    assert get(door, monitor.replace("TaskMonitors", "Tasks"))["TaskState"] == "Running"
    assert push(door, image, "AMC3")[0] == 503
    os.kill(run_of("fwburn")["process"], signal.SIGTERM)
    wait_until(lambda: door.curl(monitor)[0] != 202)
    task = get(door, monitor.replace("TaskMonitors", "Tasks"))
    upgrade = part("upgrades")[-1]
    assert task["TaskState"] == ("Completed" if upgrade["state"] == 2 else "Exception")
    assert upgrade["file"] == "amc.img"


def test_an_upload_without_a_target_is_refused(door, tmp_path):
    image = tmp_path / "amc.img"
    image.write_bytes(b"image")
    assert push(door, image, "AMC2")[0] == 400, "there is no module"
    assert part("upgrades") == []


def test_a_stream_tells_of_events_until_it_is_deleted(door):
    reading = subprocess.Popen(["curl", "-s", "-N", f"http://127.0.0.1:{door.port}{STREAM}"], stdout=subprocess.PIPE, text=True)
    try:
        assert reading.stdout.readline() == ": here\n"
        status, _ = door.post(TEST_EVENT, json.dumps({"MessageId": "Base.1.22.Success"}), user="administrator")
        assert status == 204
        # What the modules tell while they start comes, too.
        line = next(line for line in reading.stdout if line.startswith("data: ") and "Base.1.22.Success" in line)
        assert json.loads(line[len("data: "):])["Events"][0]["MessageId"] == "Base.1.22.Success"
        (subscription,) = get(door, "/redfish/v1/EventService/Subscriptions")["Members"]
        assert door.curl(subscription["@odata.id"], "-X", "DELETE", "-u", f"administrator:{PASSWORD}")[0] == 204
        assert "administrator (127.0.0.1) has closed the stream of events 1" in door.log()
        assert reading.wait(SECONDS) == 0
    finally:
        reading.kill()
        reading.wait()


def test_whatever_is_changed_is_in_a_log_with_account_and_address(door, tmp_path):
    def given(name, method, path, body="{}"):
        account = ["-X", method, "-u", f"{name}:{PASSWORD}", "-H", "Content-Type: application/json", "-d", body]
        status, answer = door.curl(path, *account)
        assert status in (200, 201, 202, 204), answer
        return answer

    def told(what, name="operator"):
        return [line for line in asked(f"asked by {name} (127.0.0.1)") if what in line]

    given("operator", "POST", LED, json.dumps({"Led": 2, "State": "Local"}))
    assert len(told("led set")) == 1
    given("operator", "PATCH", "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1", json.dumps({"InterfaceEnabled": True}))
    assert len(told("port")) == 1
    interface = get(door, "/redfish/v1/Systems/Media/EthernetInterfaces")["Members"][0]["@odata.id"]
    given("operator", "PATCH", interface, json.dumps({"IPv4StaticAddresses": [{"Address": "192.168.0.77"}]}))
    assert len(told("192.168.0.77")) == 1
    (tmp_path / "amc.img").write_bytes(b"image")
    assert push(door, tmp_path / "amc.img", "AMC3")[0] == 202
    assert len(told("firmware")) == 1
    given("administrator", "POST", TEST_EVENT, json.dumps({"MessageId": "Base.1.22.Success"}))
    assert "administrator (127.0.0.1) has sent a test event" in door.log()
    session = json.loads(given("readonly", "POST", "/redfish/v1/SessionService/Sessions", json.dumps({"UserName": "readonly", "Password": PASSWORD})))
    assert f"readonly (127.0.0.1) has logged in, session {session['Id']}" in door.log()
    given("administrator", "DELETE", session["@odata.id"])
    assert f"administrator (127.0.0.1) has ended session {session['Id']}" in door.log()
    given("operator", "POST", "/redfish/v1/Chassis/Blade/Actions/Chassis.Reset", json.dumps({"ResetType": "ForceRestart"}))
    wait_until(lambda: len(told("reset")) == 1)


def test_a_client_that_wants_its_connection_closed_is_told_that_it_is(door):
    url = f"http://127.0.0.1:{door.port}/redfish/v1"
    done = subprocess.run(["curl", "-s", "-i", "-H", "Connection: close", url], capture_output=True, text=True, timeout=SECONDS)
    headers = done.stdout.partition("\n\n")[0].lower()
    assert headers.count("connection: close") == 1 and "odata-version: 4.0" in headers


def test_promtool_finds_nothing_wrong_with_a_scrape(door):
    status, body = door.curl("/metrics")
    assert status == 200
    checked = subprocess.run(["promtool", "check", "metrics"], input=body, capture_output=True, text=True, timeout=SECONDS)
    assert (checked.returncode, checked.stdout, checked.stderr) == (0, "", "")
    assert re.search(r"^bmhost_web_connections [1-9]", body, re.MULTILINE)
    assert re.search(r"^bmhost_controller_request", body, re.MULTILINE)
    assert len([line for line in body.splitlines() if line and not line.startswith("#")]) >= 60
    open_metrics = door.curl("/metrics", "-H", "Accept: application/openmetrics-text")[1]
    assert open_metrics.rstrip().endswith("# EOF")


def test_a_frozen_controller_makes_no_reader_wait(door):
    order("controller", "stop")
    try:
        for path in ("/metrics", "/redfish/v1/Chassis/Blade", "/redfish/v1/Systems/Media", "/v1/statistics"):
            assert door.curl(path)[0] == 200
    finally:
        order("controller", "start")
