"""Ansible at the web door: it lists the inventory, sets an LED and upgrades a module. One run of a playbook; afterwards each test looks at what
came of it. These tests run in a full blade, beside its resident host."""

import hashlib
import json
import os
import subprocess
import types

import pytest
from conftest import SECONDS, bin_folder
from inside import ipmitool, wait_until
from resident import Resident, part
from test_web import PASSWORD, Web, free_port
from web_page import commands_of_section, section_block, tried

IMAGE = bytes(range(256)) * 40 + b"\r\n--"

# After those of the page.
MORE_TASKS = """
    - community.general.redfish_info: {category: Chassis, command: GetHealthReport}
    - community.general.redfish_info: {category: Systems, command: [GetSystemInventory, GetCpuInventory, GetNicInventory]}
      register: systems
    - community.general.redfish_info: {category: Update, command: [GetFirmwareInventory, GetFirmwareUpdateCapabilities]}
      register: firmware
    - community.general.redfish_info: {category: Manager, command: [GetManagerInventory, GetHealthReport]}
      register: manager
    - community.general.redfish_info: {category: Sessions, command: GetSessions}
      register: sessions
    - ansible.builtin.copy:
        dest: RESULTS
        content: "{{ {'chassis': chassis, 'systems': systems, 'firmware': firmware, 'manager': manager, 'sessions': sessions} | to_json }}"
"""


def look(*words):
    done = subprocess.run([bin_folder() / "bmhost", "--json", *words], capture_output=True, text=True, timeout=SECONDS)
    return json.loads(done.stdout)


def known(text):
    """As the tree shows it: nothing where nothing is known."""
    return text.rstrip(" ") or None if text != "UnKn" else None


def playbook(folder, door, tls):
    """The page's, and more; sushy's script and the commands of the page are run before it."""
    (folder / "password").write_text(PASSWORD + "\n")
    file = folder / "blade.yml"
    file.write_text(tried(section_block("- hosts: localhost"), door, tls) + MORE_TASKS.replace("RESULTS", str(folder / "results")))
    return file


@pytest.fixture(scope="module")
def run(tmp_path_factory):
    """The blade after the playbook, and what the playbook has heard."""
    folder = tmp_path_factory.mktemp("ansible")
    (folder / "amc.img").write_bytes(IMAGE)
    host = Resident(folder)
    door = None
    try:
        wait_until(lambda: part("host")["start"] is not None)
        subprocess.run([bin_folder() / "bmhost", "tls-init", "--dir", folder], check=True, capture_output=True, timeout=SECONDS)
        tls = free_port()
        door = Web(folder, "--listen", f"0.0.0.0:{tls}", "--tls-cert", folder / "web.crt", "--tls-key", folder / "web.key")
        file = playbook(folder, door, tls)
        environment = {**os.environ, "ANSIBLE_LOCAL_TEMP": str(folder / "local"), "ANSIBLE_REMOTE_TEMP": str(folder / "remote"), "HOME": str(folder),
                       "ANSIBLE_PYTHON_INTERPRETER": "/usr/bin/python3", "ANSIBLE_PIPELINING": "1", "LC_ALL": "C.UTF-8"}
        words = ["ansible-playbook", "-i", "localhost,", "-c", "local", file]
        done = subprocess.run(words, capture_output=True, text=True, timeout=SECONDS, env=environment, cwd=folder)
        assert done.returncode == 0, done.stdout + done.stderr
        results = json.loads((folder / "results").read_text())
        yield types.SimpleNamespace(results=results, door=door, folder=folder, upgrades=part("upgrades"))
    finally:
        for each in (host.process, door and door.process):
            if each:
                each.kill()
                each.wait()


def facts(run, name):
    return run.results[name]["redfish_facts"]


def place(bay):
    return {0: "Blade", 9: "RTM"}.get(bay, f"AMC{bay}")


def test_the_inventory_is_that_of_bmhost(run):
    inventory = look("inventory")
    chassis = {entry["Id"]: entry for entry in facts(run, "chassis")["chassis"]["entries"]}
    assert set(chassis) == {"Blade", *(place(module["bay"]) for module in inventory["modules"])}
    board = inventory["board"][0]
    shown = {"Blade": (board["product_name"], board["manufacturer"], board["product_serial"], board["part_number"])}
    for module in inventory["modules"]:
        shown[place(module["bay"])] = (module["product_name"], module["manufacturer"], module["serial"], module["part_number"])
    for name, texts in shown.items():
        heard = tuple(chassis[name].get(column) for column in ("Model", "Manufacturer", "SerialNumber", "PartNumber"))
        assert heard == tuple(known(text) for text in texts)


def test_the_firmware_is_that_of_bmhost(run):
    inventory = look("inventory")
    heard = {entry["Id"]: entry.get("Version") for entry in facts(run, "firmware")["firmware"]["entries"]}
    assert heard["Blade"] == known(inventory["board"][0]["fw_version"])
    for module in inventory["modules"]:
        assert heard[place(module["bay"])] == known(module["fw_version"])


def test_dsps_are_processors_with_addresses(run):
    dsps = look("dsp")["dsps"]
    ((_, processors),) = facts(run, "systems")["cpu"]["entries"]
    ((_, interfaces),) = facts(run, "systems")["nic"]["entries"]
    assert [processor["Id"] for processor in processors] == [interface["Id"] for interface in interfaces]
    assert sorted(interface["MACAddress"] for interface in interfaces) == sorted(dsp["mac"] for dsp in dsps)


def test_manager_and_sessions_are_there(run):
    ((_, manager),) = facts(run, "manager")["manager"]["entries"]
    assert (manager["ManagerType"], manager["FirmwareVersion"]) == ("Service", part("host")["version"])
    assert facts(run, "sessions")["session"]["entries"] == []


def test_the_led_is_what_ipmitool_reads(run):
    shown = ipmitool("picmg", "led", "get", "0", "1").stdout
    assert "RED" in shown and "Override" in shown, shown


def test_the_image_that_was_upgraded_is_the_file(run):
    (upgrade,) = run.upgrades
    assert (upgrade["state"], upgrade["bay"], upgrade["file"]) == (2, 3, "amc.img")
    assert upgrade["sha256"] == hashlib.sha256(IMAGE).hexdigest()


def test_every_order_is_in_the_journal_with_account_and_address(run):
    log = [line["text"] for line in json.loads(run.door.curl("/v1/log?lines=1000")[1])["lines"]]
    asked = [line for line in log if "asked by operator (127.0.0.1)" in line]
    assert any("led" in line for line in asked) and any("firmware" in line for line in asked), asked


def test_the_commands_of_the_page_work_as_they_stand(run):
    (run.folder / "inventory.py").write_text(tried(section_block("import sushy"), run.door, 0))
    commands = [*commands_of_section(), "python3 inventory.py"]
    assert len(commands) == 7
    shown = {}
    for command in commands:
        options = {"cwd": run.folder, "env": {**os.environ, "PATH": "/usr/bin:/bin"}, "timeout": SECONDS}
        done = subprocess.run(tried(command, run.door, 0), shell=True, capture_output=True, text=True, **options)
        assert done.returncode == 0 and '"error"' not in done.stdout, (command, done.stdout, done.stderr)
        shown[command] = done.stdout
    places = ["Blade", *(place(module["bay"]) for module in look("inventory")["modules"])]
    assert [line.split()[0] for line in shown["python3 inventory.py"].splitlines()] == places
    assert len(part("upgrades")) == 2
