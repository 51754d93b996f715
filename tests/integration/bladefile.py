"""What a host must see of a blade, derived from its blade file."""

import json
import os
from pathlib import Path

from conftest import INT, TEXT, param, table
from protocol import BMI_GROUP_HARDWARE_AMC_FRU_TABLE as AMC_FRU_TABLE
from protocol import BMI_GROUP_HARDWARE_AMC_TABLE as AMC_TABLE
from protocol import BMI_GROUP_HARDWARE_BOARD as BOARD_TABLE
from protocol import BMI_GROUP_HARDWARE_RTM_FRU_TABLE as RTM_FRU_TABLE
from protocol import RESULT_NOT_FOUND as NOT_FOUND
from protocol import RESULT_OK as SUCCESS
from protocol import RTM_BAY

FRONT_BOARD, AMC, RTM = 0, 7, 9  # site types


def number(value):
    return int(value, 0) if isinstance(value, str) else value


class BladeFile:
    """One of the blade files that come with bladesim."""

    def __init__(self, name):
        self.name = name
        folder = Path(os.environ["BM_BIN_DIR"]).parent / "share/bladesim/blades"
        self.blade = json.loads((folder / f"{name}.json").read_text())
        self.controller = self.blade["controller"]
        self.frus = self.blade["frus"]

    def frus_of(self, site_type):
        return [fru for fru in self.frus if fru["site"]["type"] == site_type]

    def modules(self):
        """The bay and FRU of every AMC and of the RTM, by bay."""
        found = {number(fru["site"]["number"]): fru for fru in self.frus_of(AMC)}
        found.update({RTM_BAY: fru for fru in self.frus_of(RTM)})
        return sorted(found.items())

    def board_table(self):
        fru = self.frus[0]
        inventory = readable(fru)
        if inventory is None:
            return table(BOARD_TABLE, NOT_FOUND, [])
        board, product, firmware = inventory["board"], inventory.get("product", {}), self.controller["firmware"]
        row = [
            param(0x30001, TEXT, board["product_name"]),
            param(0x30002, INT, number(fru["site"]["number"])),
            param(0x30003, TEXT, board["manufacturer"]),
            param(0x30004, TEXT, product["serial_number"]),
            param(0x30005, TEXT, product["version"]),
            param(0x30007, TEXT, board["part_number"]),
            param(0x30006, TEXT, f"{number(firmware['major'])}.{number(firmware['minor'])}"),
        ]
        return table(BOARD_TABLE, SUCCESS, [row])

    def amc_table(self):
        return table(AMC_TABLE, SUCCESS, [module_row(bay, readable(fru)) for bay, fru in self.modules() if readable(fru)])

    def amc_fru_table(self):
        rows = []
        for bay, fru in self.modules():
            dsps = (readable(fru) or {}).get("dsps")
            if bay != RTM_BAY and dsps:
                rows.append([param(0x303, INT, bay, key=True), param(0x302, INT, len(dsps)), param(0x301, INT, dsps[0]["type"])])
        return table(AMC_FRU_TABLE, SUCCESS, rows)

    def rtm_fru_table(self):
        for fru in self.frus_of(RTM):
            framers = (readable(fru) or {}).get("framers")
            if framers:
                row = [
                    param(0x401, INT, framers["type"]),
                    param(0x402, INT, framers["count"]),
                    param(0x403, INT, framers["trunks_per_framer"]),
                ]
                return table(RTM_FRU_TABLE, SUCCESS, [row])
        return table(RTM_FRU_TABLE, NOT_FOUND, [])

    def tables(self):
        return [self.board_table(), self.amc_table(), self.amc_fru_table(), self.rtm_fru_table()]


def readable(fru):
    """The texts of a FRU that the adaptor can read: one with a wrong checksum in its common header has none, and records
    end before the first one whose checksums are wrong. The checksums of the areas do not matter."""
    inventory = fru.get("inventory")
    wrong = (inventory or {}).get("bad_checksums", [])
    if inventory is None or "raw" in inventory or "header" in wrong:
        return None
    if "record-headers" in wrong or "record-data" in wrong:
        return {name: value for name, value in inventory.items() if name not in ("dsps", "framers")}
    return inventory


def module_row(bay, inventory):
    board, product = inventory["board"], inventory["product"]
    return [
        param(0x30202, TEXT, board["product_name"]),
        param(0x30201, INT, bay, key=True),
        param(0x30208, INT, 1),
        param(0x30203, TEXT, board["manufacturer"]),
        param(0x30204, TEXT, board["serial_number"]),
        param(0x30205, TEXT, product["version"]),
        param(0x30207, TEXT, board["part_number"]),
        param(0x30206, TEXT, "UnKn"),  # the modules' own controllers are not asked
    ]


def ipmitool_fields(inventory):
    """What ipmitool prints of an inventory area."""
    board, product = inventory["board"], inventory["product"]
    fields = {
        "Board Mfg Date": "Unspecified",
        "Board Mfg": board["manufacturer"],
        "Board Product": board["product_name"],
        "Board Serial": board["serial_number"],
        "Board Part Number": board["part_number"],
        "Product Manufacturer": product["manufacturer"],
        "Product Name": product["name"],
        "Product Part Number": product["part_number"],
        "Product Version": product["version"],
        "Product Serial": product["serial_number"],
        "Product Asset Tag": product["asset_tag"],
    }
    return {name: text for name, text in fields.items() if text}  # empty ones are not printed
