"""The whole Redfish tree of a blade, walked as a validator walks it, and its values against those of the looks. These tests run in a blade of
each kind."""

import json
import os
import subprocess

import pytest
from conftest import SECONDS, bin_folder
from inside import sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from redfish_walk import ROOT, walked
from resident import part, resident  # noqa: F401 (one is a fixture)
from test_web import PASSWORD, Web

CHASSIS = {"product_name": "Model", "manufacturer": "Manufacturer", "part_number": "PartNumber", "product_version": "Version"}


SESSIONS = "/redfish/v1/SessionService/Sessions"


@pytest.fixture
def with_everything(door, tmp_path):
    """An upgrade that has ended, a session, and a stream of events."""
    (tmp_path / "board.img").write_bytes(b"image")
    form = ["-F", 'UpdateParameters={"Targets": ["/redfish/v1/Chassis/Blade"]};type=application/json', "-F", f"UpdateFile=@{tmp_path / 'board.img'}"]
    status, answer = door.curl("/redfish/v1/UpdateService/upload", "-u", f"operator:{PASSWORD}", *form)
    assert status == 202, answer
    wait_until(lambda: part("upgrades")[-1]["ended"] is not None)
    status, answer = door.post(SESSIONS, json.dumps({"UserName": "readonly", "Password": PASSWORD}))
    assert status == 201, answer
    stream = subprocess.Popen(["curl", "-s", "-N", f"http://127.0.0.1:{door.port}/redfish/v1/EventService/SSE"], stdout=subprocess.PIPE, text=True)
    assert stream.stdout.readline() == ": here\n"
    yield door
    stream.kill()
    stream.communicate()


@pytest.fixture
def door(resident, tmp_path):  # noqa: F811
    resident()
    wait_until(lambda: part("host")["start"] is not None)
    if os.environ["WALK_BLADE"] != "no-leds":
        wait_until(lambda: part("controller")["sweeps"] >= 1)
    served = Web(tmp_path)
    yield served
    served.process.kill()
    served.process.wait()
    served.errors.close()


def look(*words):
    done = subprocess.run([bin_folder() / "bmhost", "--json", *words], capture_output=True, text=True, timeout=SECONDS)
    return json.loads(done.stdout)


def known(text):
    """As the tree shows it: nothing where nothing is known."""
    return text.rstrip(" ") or None if text != "UnKn" else None


def place(bay):
    return {0: "Blade", 9: "RTM"}.get(bay, f"AMC{bay}")


def led_word(text):
    return "".join(word.capitalize() for word in text.split())


def check_chassis(chassis, row, serial):
    for column, name in CHASSIS.items():
        assert chassis.get(name) == known(row[column]), (chassis["Id"], name)
    assert chassis.get("SerialNumber") == known(row[serial])


def check_leds(walk, leds):
    shown = {}
    for uri, resource in walk.seen.items():
        for led in resource.get("Oem", {}).get("Bmhost", {}).get("Leds", ()):
            shown[uri.rpartition("/")[2], led["Led"]] = (led["State"], led.get("Color"), led["Control"])
    good = [led for led in leds if led["result"] == 1]
    assert shown == {(place(led["bay"]), led["led"]): (led_word(led["state"]), led_word(led["color"]) if led["color"] in COLORS else None,
                                                       led_word(led["control"])) for led in good}


COLORS = ("white", "red", "green", "blue", "amber", "orange")


def test_a_walk_finds_nothing_wrong_and_the_values_of_the_looks(with_everything):
    walk = walked(with_everything.port, f"administrator:{PASSWORD}")
    assert walk.breaches == []
    schemas = {resource["@odata.type"].rpartition(".")[2] for resource in walk.seen.values()}
    assert {"Task", "Session", "EventDestination", "ManagerAccount", "Role", "MessageRegistry"} <= schemas
    inventory = look("inventory")
    below = lambda name: {uri.rpartition("/")[2]: resource for uri, resource in walk.seen.items() if uri.startswith(f"{ROOT}{name}/")}  # noqa: E731
    chassis, firmware = below("Chassis"), below("UpdateService/FirmwareInventory")
    assert set(chassis) == set(firmware) == {"Blade", *(place(module["bay"]) for module in inventory["modules"])}
    check_chassis(chassis["Blade"], inventory["board"][0], "product_serial")
    assert firmware["Blade"].get("Version") == known(inventory["board"][0]["fw_version"])
    for module in inventory["modules"]:
        here = chassis[place(module["bay"])]
        check_chassis(here, module, "serial")
        assert here["Oem"]["Bmhost"]["RunStatus"] == module["run_status"]
        assert firmware[place(module["bay"])].get("Version") == known(module["fw_version"])
    interfaces, dsps = below("Systems/Media/EthernetInterfaces"), look("dsp")["dsps"]
    assert set(interfaces) == set(below("Systems/Media/Processors")) and len(interfaces) == len(dsps)
    numbers = {processor["Oem"]["Bmhost"]["DspNumber"]: name for name, processor in below("Systems/Media/Processors").items()}
    for dsp in dsps:
        here = interfaces[numbers[dsp["dsp"]]]
        assert (here["MACAddress"], [each["Address"] for each in here["IPv4Addresses"]]) == (dsp["mac"], [dsp["ip"]] if dsp["ip"] else [])
    ports = below("Fabrics/Ethernet/Switches/Switch/Ports")
    for port in look("switch")["ports"]:
        here = ports[str(port["port"])]
        assert (here["InterfaceEnabled"], here["LinkStatus"]) == (port["enabled"], {"up": "LinkUp", "down": "LinkDown"}[port["link"]])
    check_leds(walk, look("leds")["leds"])
