"""bladesim capture: the blade that it makes of a blade answers like it, and a capture that is cut off leaves no file."""

import json
import os
import signal
import stat
from pathlib import Path

import pytest
from conftest import bin_folder

BLADES = sorted(path.stem for path in (bin_folder() / "../share/bladesim/blades").glob("*.json") if not path.name.endswith(".schema.json"))
# On these the plug-in's init never returns, on the captured one neither: the requests are compared up to a number.
ENDLESS = {"odd-area", "lost-late"}
REQUESTS = 400
# Here it returns at once, and the host ends while OpenIPMI is still asking.
UNFINISHED = {"not-atca"}
LEAST = 20
GROUPS = ["0x100", "0x200", "0x300", "0x400", "0x600", "0x1200", "0x30000", "0x30100", "0x30200", "0x30300", "0x30d10", "0x30e00"]
SCRIPT = "\n".join(["init", *(f"table {group}" for group in GROUPS), "fin"]) + "\n"
# The wire gives no reply a second time: what is lost times out at once.
WIRE = "--timeout-when-lost"


def look(blade, name):
    """What the plug-in makes of the blade: inventory and tables as they are printed, and each host's requests with their completion codes."""
    if Path(name).stem in ENDLESS:
        until = f"until [ $(bladesim show log --json | grep -o '\"number\"' | wc -l) -ge {REQUESTS} ]; do sleep 0.05; done"
        done = blade.run("--blade", str(name), WIRE, "--", "sh", "-c", f"bmhost --mode 2 init >/dev/null 2>&1 & {until}; bladesim show log --json")
        tables, log = [], json.loads(done.stdout)[:REQUESTS]
    else:
        words = "bmhost --mode 2 --json inventory; bmhost --mode 2 --json script -; bladesim show log --json"
        done = blade.run("--blade", str(name), WIRE, "--", "sh", "-c", words, input=SCRIPT)
        *tables, last = done.stdout.splitlines()
        tables = [{key: value for key, value in json.loads(line).items() if key != "time"} for line in tables]
        log = json.loads(last)
    print(done.stderr)
    answered = [entry for entry in log if entry["code"] is not None]
    openers = sorted({entry["opener"] for entry in answered})
    return tables, [[(entry["request"], entry["code"]) for entry in answered if entry["opener"] == opener] for opener in openers]


def capture(blade, name, file, *options):
    done = blade.run("--blade", str(name), WIRE, "--", "bladesim", "capture", *options, str(file))
    assert (done.returncode, done.stdout) == (0, ""), done.stderr
    return done.stderr


@pytest.mark.parametrize("name", BLADES)
def test_a_captured_blade_is_the_blade(blade, tmp_path, name):
    file = tmp_path / f"{name}.json"
    capture(blade, name, file)
    assert stat.S_IMODE(file.stat().st_mode) == 0o600
    tables, requests = look(blade, name)
    captured_tables, captured_requests = look(blade, file)
    assert tables or name in ENDLESS
    assert captured_tables == tables
    assert len(captured_requests) == len(requests)
    for asked, again in zip(requests, captured_requests):
        both = min(len(asked), len(again)) if name in UNFINISHED else None
        assert len(asked) >= LEAST
        assert again[:both] == asked[:both]
    again = tmp_path / "again" / file.name
    again.parent.mkdir()
    capture(blade, file, again)
    assert again.read_text() == file.read_text()


# Get Device ID, area info, FRU data, SDRs and their reservation, PICMG properties, addresses, LED properties, colours and states.
READS = {(0x06, 0x01), (0x0A, 0x10), (0x0A, 0x11), (0x0A, 0x22), (0x0A, 0x23), (0x2C, 0x00), (0x2C, 0x01), (0x2C, 0x05), (0x2C, 0x06), (0x2C, 0x08)}

# Replies that a blade file has no words for: refusals, short ones, numbers that mean nothing.
ODDITIES = [
    {"request": "06 01", "do": "reply", "reply": "00 36 81 82 07 51 ff 57 01 00 1b 0b"},
    {"request": "2c 01 00 02", "do": "completion-code", "argument": "0xc9"},
    {"request": "2c 05 00 01", "do": "reply", "reply": "00 00 0b 01"},
    {"request": "2c 06 00 00 01", "do": "reply", "reply": "00 00 00 00 09"},
    {"request": "2c 06 00 00 02", "do": "short", "argument": 2},
    {"request": "2c 08 00 00 00", "do": "reply", "reply": "00 00 03 ff 00 01 00 00 01"},
    {"request": "2c 08 00 00 03", "do": "completion-code", "argument": "0xcc"},
    {"request": "0a 11 01 20 00", "do": "short", "argument": 9},
    {"request": "0a 11 01 30 00", "do": "reply", "reply": "00 ff 01 02"},
    {"request": "0a 11 03 40 00", "do": "completion-code", "argument": "0x81"},
    {"request": "0a 10 02", "do": "reply", "reply": "00 30 00 01"},
]


def odd_blade(folder, faults, base="typical"):
    content = json.loads((bin_folder() / f"../share/bladesim/blades/{base}.json").read_text())
    content["faults"] = faults
    file = folder / "odd.json"
    file.write_text(json.dumps(content))
    return file


def test_what_a_blade_file_has_no_words_for_is_kept_as_it_is(blade, tmp_path):
    original, file = odd_blade(tmp_path, ODDITIES), tmp_path / "captured.json"
    capture(blade, original, file)
    content = json.loads(file.read_text())
    assert "faults" not in content
    assert {"request": "2c 01 00 02", "reply": "c9"} in content["replies"]
    assert {"request": "0a 11 01 30 00 10", "reply": "00 ff 01 02"} in content["replies"]
    assert content["frus"][0]["leds"][0]["override_state"] == {"function": "0x00", "on_duration": 0, "color": "blue"}
    assert look(blade, file) == look(blade, original)


def test_an_led_that_was_set_answers_for_itself_again(blade, tmp_path):
    file = tmp_path / "captured.json"
    capture(blade, odd_blade(tmp_path, [{"request": "2c 08 00 00 02", "do": "reply", "reply": "00 00 01 ff 05 0e"}]), file)
    led = "ipmitool -I open raw 0x2c 0x08 0 0 2"
    done = blade.run("--blade", str(file), "--", "sh", "-c", f"{led}; ipmitool -I open raw 0x2c 0x07 0 0 2 0xff 0 2; {led}")
    assert [line.strip() for line in done.stdout.splitlines()] == ["00 01 ff 05 0e", "00", "00 03 ff 05 03 ff 00 02"]


def test_requests_that_were_not_answered_become_faults(blade, tmp_path):
    lost = [
        {"request": "0a 11 01 50 00 10", "first": 1, "count": 2, "do": "lost"},
        {"request": "2c 06 00 03 01", "first": 1, "count": 1, "do": "completion-code", "argument": "0xc0"},
        {"request": "2c 08 00 03 02", "do": "lost"},
    ]
    file = tmp_path / "captured.json"
    told = capture(blade, odd_blade(tmp_path, lost), file)
    faults = json.loads(file.read_text())["faults"]
    assert sorted((fault["request"], fault["first"], fault["count"], fault["do"]) for fault in faults) == [
        ("0a 11 01 50 00 10", 1, 1, "lost"),
        ("0a 11 01 50 00 10", 2, 1, "lost"),
        ("2c 06 00 03 01", 1, 1, "completion-code"),
        ("2c 08 00 03 02", 1, 0, "lost"),
    ]
    assert "Get FRU LED State (2c 08 00 03 02): completion code 0xc3, the driver's time-out, every time; kept so" in told
    again = tmp_path / "again.json"
    capture(blade, file, again)
    assert again.read_text() == file.read_text()


def test_it_only_reads(blade, tmp_path):
    script = f"bladesim capture {tmp_path}/c.json; bladesim show log --json; bladesim show leds --json"
    done = blade.run("--blade", "full", "--", "sh", "-c", script)
    asked, leds = (json.loads(line) for line in done.stdout.splitlines())
    assert {tuple(bytes.fromhex(entry["request"])[:2]) for entry in asked} == READS
    assert {(led["mode"], led["state"]) for led in leds} == {("local", "off")}


def test_without_a_device_it_says_which(blade, tmp_path):
    done = blade.run("--no-ipmi", "--", "bladesim", "capture", str(tmp_path / "c.json"))
    assert (done.returncode, done.stdout) == (3, "")
    assert done.stderr.startswith("bladesim: /dev/ipmi0: cannot be opened (the kernel's modules ipmi_si and ipmi_devintf make it")
    assert list(tmp_path.iterdir()) == []


def test_where_it_cannot_write_the_controller_is_not_asked(blade, tmp_path):
    done = blade.run("--", "sh", "-c", f"bladesim capture {tmp_path}/no/c.json; bladesim show log --json")
    assert (done.stdout, done.stderr) == ("[]\n", f"bladesim: {tmp_path}/no/c.json: cannot be written: No such file or directory\n")


# What cuts a capture off in the middle: in the blade, before it; what it says.
CUTS = {
    "gone": ("bladesim fault add '0a 11 02' --first 3 gone 0 >/dev/null", "bladesim: the controller at /dev/ipmi0 does not answer: Read FRU Data (0a 11 02 20 00 10): "),
    "full": ("mount -t tmpfs -o size=4k tmpfs {folder}", "bladesim: {folder}/c.json: cannot be written: No space left on device"),
}


@pytest.mark.parametrize("cut", CUTS)
@pytest.mark.parametrize("before", ["", "as it was"])
def test_a_capture_that_is_cut_off_leaves_what_was_there(blade, tmp_path, cut, before):
    order, text = (part.format(folder=tmp_path) for part in CUTS[cut])
    old = f"printf '{before}' >{tmp_path}/c.json" if before else ":"
    script = f"{order}; {old}; bladesim capture {tmp_path}/c.json; echo $?; ls {tmp_path}; cat {tmp_path}/* 2>/dev/null"
    done = blade.run("--blade", "typical", WIRE, "--", "sh", "-c", script)
    assert done.stdout == "3\n" + (f"c.json\n{before}" if before else "")
    assert done.stderr.splitlines()[-1].startswith(text), done.stderr


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGKILL])
def test_a_capture_that_a_signal_ends_leaves_no_file(blade, tmp_path, number):
    script = f"bladesim fault add '0a 11 02' --first 3 lost >/dev/null; exec bladesim capture {tmp_path}/c.json"
    with blade.start("--blade", "typical", "--timeout", "0", "--", "sh", "-c", script) as outside:
        assert outside.stderr.readline().startswith("bladesim: FRU 0: ")
        assert outside.stderr.readline().startswith("bladesim: FRU 1: ")
        (capturing,) = (process for process in blade.processes() if b"capture" in Path(f"/proc/{process}/cmdline").read_bytes().split(b"\0")[1:2])
        os.kill(capturing, number)
        assert outside.wait(60) == 128 + number
    assert list(tmp_path.iterdir()) == []


def inventory_and_mac(blade, file):
    """What the plug-in says of the blade, and the MAC address of eth6."""
    done = blade.run("--blade", str(file), "--", "bmhost", "--json", "--mode", "2", "inventory")
    inventory = json.loads(done.stdout)
    inventory.pop("time")
    return inventory, json.loads(file.read_text())["ethernet"]["interfaces"][0]["mac"]


def fields(value, name):
    """Every value of the key in the JSON, in order."""
    found = []
    if isinstance(value, dict):
        for key, inner in value.items():
            found += [inner] if key == name else fields(inner, name)
    elif isinstance(value, list):
        for inner in value:
            found += fields(inner, name)
    return found


def images(file):
    """The bytes of all inventories, one after the other."""
    return b"".join(bytes.fromhex(" ".join(fru["inventory"]["raw"])) for fru in json.loads(file.read_text())["frus"])


def macs(image):
    """The addresses of the DSPs, which have the same maker."""
    maker = bytes.fromhex("024d71")
    return [image[place : place + 6] for place in range(len(image)) if image.startswith(maker, place)]


def test_anonymised_it_has_other_serial_numbers_and_macs_and_the_rest_is_the_same(blade, tmp_path):
    plain, other = tmp_path / "plain.json", tmp_path / "other.json"
    capture(blade, "full", plain)
    capture(blade, "full", other, "--anonymise")
    (one, eth6), (two, other_eth6) = inventory_and_mac(blade, plain), inventory_and_mac(blade, other)
    assert eth6[:9] == other_eth6[:9] and eth6 != other_eth6
    before, after = macs(images(plain)), macs(images(other))
    assert before and len(set(before)) == len(set(after)) == len(after) == len(before)
    assert not set(before) & set(after)
    serials, others = ([text for key in ("serial", "product_serial") for text in fields(value, key)] for value in (one, two))
    assert serials and [len(text) for text in serials] == [len(text) for text in others]
    assert [serials.index(text) for text in serials] == [others.index(text) for text in others]
    for text in filter(None, serials):
        assert text.encode("latin-1") not in images(other)
    lines = [json.dumps(inventory, ensure_ascii=False) for inventory in (one, two)]
    for text in filter(None, serials + others):
        lines = [line.replace(text, "…") for line in lines]
    assert lines[0] == lines[1]


@pytest.mark.parametrize("name", ["typical", "bad-checksums"])
def test_anonymised_its_checksums_are_as_right_as_before(blade, tmp_path, name):
    plain, other = tmp_path / "plain.json", tmp_path / "other.json"
    capture(blade, name, plain)
    capture(blade, name, other, "--anonymise")
    words = "bmhost --json --mode 2 --log-level 5 --log {log} inventory"
    seen = []
    for file in (plain, other):
        log = tmp_path / f"{file.stem}.log"
        blade.run("--blade", str(file), "--", "sh", "-c", words.format(log=log))
        lines = (line.rpartition("] ")[2].rpartition("Checksum=") for line in log.read_text().splitlines())
        seen.append([(text, int(sum, 0) & 0xFF) for text, _, sum in lines if "BAD" in text])
    assert seen[0] == seen[1]
    assert bool(seen[0]) == (name == "bad-checksums")
