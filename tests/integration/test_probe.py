"""The requests of a probe, their number and order, as the driver of /dev/ipmi0 saw them."""

import json

import pytest
from bladefile import BladeFile, number

FRU_CHUNK = 16


def addressed(command, *data):
    return " ".join(f"{byte:02x}" for byte in (0x2C, command, 0x00, *data))


def probe_of(file, sizes):
    """Every request that names a FRU, in the order of the sequence: address information, LEDs, inventory."""
    frus = [fru["id"] for fru in file.frus]
    requests = [addressed(0x01, fru) for fru in frus]
    for fru in file.frus:
        requests.append(addressed(0x05, fru["id"]))
        requests += [addressed(0x06, fru["id"], led) for led in range(leds_of(fru))]
    for fru in frus:
        requests.append(f"0a 10 {fru:02x}")
        requests += [f"0a 11 {fru:02x} {at & 0xFF:02x} {at >> 8:02x} {FRU_CHUNK:02x}" for at in range(0, sizes[fru], FRU_CHUNK)]
    return requests


def leds_of(fru):
    """How many LEDs the adaptor counts: those of a mask without gaps."""
    leds = fru["leds"]
    if isinstance(leds, int):
        return min(leds, 4)
    ids = sorted(number(led["id"]) for led in leds if number(led["id"]) < 4)
    return len(ids) if ids == list(range(len(ids))) else 0


def names_a_fru(request):
    address_info = request.startswith("2c 01") and len(request.split()) == 4
    return address_info or request.startswith(("2c 05", "2c 06", "0a "))


def image_sizes(blade, file, folder):
    sizes = {}
    for fru in file.frus:
        image = folder / f"fru-{fru['id']}"
        done = blade.run("--blade", file.name, "--dump-fru", str(fru["id"]), image)
        sizes[fru["id"]] = image.stat().st_size if done.returncode == 0 else 0
    return sizes


INIT_AND_LOG = "bmhost --mode 2 --json init >&2 && bladesim show log --json"


@pytest.mark.parametrize("name", ["front-board-only", "typical", "full", "no-leds", "no-dsp", "no-rtm", "refusing"])
def test_a_probe_asks_what_it_needs_once_and_in_order(blade, tmp_path, name):
    file = BladeFile(name)
    done = blade.run("--blade", name, "--", "sh", "-c", INIT_AND_LOG)
    log = [request["request"] for request in json.loads(done.stdout)]
    wanted = probe_of(file, image_sizes(blade, file, tmp_path))
    # OpenIPMI sends requests of its own in between, none of which names a FRU.
    assert [request for request in log if names_a_fru(request)] == wanted
    before, after = log.index(addressed(0x01, 0)), log.index(addressed(0x05, 0))
    assert "2c 00 00" in log[:before]
    assert "06 01" in log[log.index(addressed(0x01, len(file.frus) - 1)) : after]
