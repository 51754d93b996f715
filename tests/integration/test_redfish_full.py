"""redfishtool and sushy print the inventory that bmhost prints. These tests run in a full blade, beside its resident host."""

from inside import sound_blade  # noqa: F401 (a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from resident import resident  # noqa: F401 (a fixture)
from test_redfish import redfishtool, root_of
from test_redfish_walk import door, known, look, place  # noqa: F401 (one is a fixture)


def rows():
    """Of each place product name, manufacturer, serial number, part number and firmware, as far as they are known."""
    shown = look("inventory")
    board = shown["board"][0]
    texts = {"Blade": (board["product_name"], board["manufacturer"], board["product_serial"], board["part_number"], board["fw_version"])}
    for module in shown["modules"]:
        texts[place(module["bay"])] = (module["product_name"], module["manufacturer"], module["serial"], module["part_number"], module["fw_version"])
    return {name: tuple(known(text) for text in row) for name, row in texts.items()}


def addresses():
    return sorted((dsp["mac"].upper(), dsp["ip"]) for dsp in look("dsp")["dsps"])


def test_redfishtool_prints_the_inventory(door):  # noqa: F811
    heard = {}
    for name in rows():
        chassis = redfishtool(door, "Chassis", "-I", name)
        firmware = redfishtool(door, "raw", "GET", f"/redfish/v1/UpdateService/FirmwareInventory/{name}")
        heard[name] = (*(chassis.get(key) for key in ("Model", "Manufacturer", "SerialNumber", "PartNumber")), firmware.get("Version"))
    assert heard == rows()
    listed = redfishtool(door, "Chassis", "list")["Members"]
    assert {member["@odata.id"].rpartition("/")[2] for member in listed} == set(rows())


def test_sushy_prints_the_inventory(door):  # noqa: F811
    root = root_of(door)
    firmware = {item.identity: item.version for item in root.get_update_service().firmware_inventory.get_members()}
    heard = {}
    for chassis in root.get_chassis_collection().get_members():
        texts = (chassis.model, chassis.manufacturer, chassis.serial_number, chassis.part_number)
        heard[chassis.identity] = (*texts, firmware[chassis.identity])
    assert heard == rows()
    system = root.get_system()
    assert len(system.processors.get_members()) == len(addresses())
    interfaces = system.ethernet_interfaces.get_members()
    ips = [[each["Address"] for each in interface.json["IPv4Addresses"]] for interface in interfaces]
    assert sorted((interface.mac_address.upper(), ip[0] if ip else "") for interface, ip in zip(interfaces, ips, strict=True)) == addresses()
    root._auth.close()
