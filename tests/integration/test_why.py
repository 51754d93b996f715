"""What `bmhost why` says of a blade that was broken by order: cause, evidence and cure, as docs/operations.md has them.

A shell keeps the adaptor whose start failed; alone, `why` sees what the hardware shows. What only a resident host sees, faults of the
health monitor and a controller that is lost, is in test_why_resident.py."""

import json
import re

import pytest
from conftest import SECONDS
from documents import FOLDER

TABLES = re.findall(r"^\| (.*) \| (.*) \| (.*) \|$", (FOLDER / "docs" / "operations.md").read_text(), re.MULTILINE)
TIME = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z"


def of_page(cause):
    """Its cure: it stands on the page."""
    (cure,) = {cure for _, its_cause, cure in TABLES if its_cause == cause}
    return cure


@pytest.fixture
def why(blade, tmp_path):
    def ask(*orders, before="", lines="", blade_file="typical", options=()):
        """Orders of bladesim and another command, then the lines of a shell and `why` in it; without lines `why` alone.
        Gives status and faults."""
        script = "".join(f"bladesim {order} >/dev/null || exit 9\n" for order in orders) + before + "\n"
        if lines:
            script += f"printf '{lines}why\\n' | bmhost --storage storage --json shell\n"
        else:
            script += "bmhost --storage storage --json why\n"
        around = options or ["--blade", blade_file]
        done = blade.run(*around, "--", "sh", "-c", f"cd {tmp_path}\n{script}", seconds=SECONDS)
        line = json.loads(done.stdout.splitlines()[-1])
        assert line["op"] == "why", done.stdout + done.stderr
        assert line["good"] == (not line["faults"])
        return done.returncode, line["faults"]

    return ask


def fault_of(faults, place):
    (fault,) = [fault for fault in faults if fault["place"] == place]
    return fault


def test_a_sound_blade_has_nothing_wrong(why):
    assert why() == (0, [])
    assert why(lines="init\\nstart\\n") == (0, [])


STARTS = {
    "mavk_init": ("DSPs", "`mavk_init` ended with a code other than 0; the line before shows it", "Fail to initialize DSP"),
    "mavk_boot": ("DSPs", "`mavk_boot` failed: the DSPs did not take their image", "Fail to download DSP ErrorID = 3"),
    "mavk_diag": ("DSPs", "`mavk_diag` found a DSP that does not pass its test", "DSPs Post Test Fail, ErrorID = 3"),
    "mediaStart": ("media software", "`mediaStart` ended with a value other than 0, or is missing", "Fail to start MEDIA SERVER "),
}


@pytest.mark.parametrize("tool", STARTS)
def test_a_tool_that_fails_is_named_with_its_line_and_its_cure(why, tool):
    place, cause, line = STARTS[tool]
    status, faults = why(f"tool set {tool} --exit 3", lines="init\\nstart\\n")
    assert status == 1
    fault = faults[0]
    assert (fault["place"], fault["cause"], fault["cure"]) == (place, cause, of_page(cause))
    assert fault["evidence"][0] == line
    assert re.fullmatch(rf"start returned 0x300\w\w \(.*\), {TIME}", fault["evidence"][-1])


def test_a_failed_start_explains_the_modules_and_the_led_that_it_leaves(why):
    _, faults = why("tool set mavk_boot --exit 3", lines="init\\nstart\\n")
    for place in ("AMC bay 6", "RTM"):
        fault = fault_of(faults, place)
        assert fault["what"] == "run status failed (5)"
        assert STARTS["mavk_boot"][1] in fault["cause"]
        assert fault["cure"] == of_page(STARTS["mavk_boot"][1])
    (led,) = [fault for fault in faults if fault["what"].startswith("LED ")]
    assert (led["place"], led["what"]) == ("AMC bay 3", "LED 2 out of service is on red")
    assert re.fullmatch(rf"on red, under override, read {TIME}", led["evidence"][0])
    assert led["cure"] == of_page(led["cause"])


def test_a_switch_that_refuses_is_named(why):
    cause = "the switch refused a MAC address; the ErrorID is always 0, the code is in the line before"
    _, faults = why("switch fail mavkAmcSwitchMACLearnByDSP 7", lines="init\\nstart\\n")
    assert (faults[0]["place"], faults[0]["cause"], faults[0]["cure"]) == ("switch", cause, of_page(cause))
    assert any(line.startswith("Switch return error =") for line in faults[0]["evidence"])


def test_a_dsp_without_address_is_named_with_its_bay(why):
    cause = "a DSP has no IP address: those beyond the fourth have none at first"
    status, faults = why(lines="init\\nstart\\n", blade_file="full")
    assert (status, faults[0]["cause"], faults[0]["cure"]) == (1, cause, of_page(cause))
    assert faults[0]["evidence"][0] == "Can not get IP Address of dsp[5]"
    (dsps,) = [fault for fault in faults if fault["what"] == "without an IP address"]
    assert dsps["evidence"][0] == "AMC bay 2: DSP 5, 6, 7, 8"
    assert dsps["cure"] == of_page(dsps["cause"])


def test_a_stop_that_fails_is_named(why):
    cause = "`mediaStop` ended with a value other than 0, or is missing"
    _, faults = why("tool set mediaStop --exit 3", lines="init\\nstart\\nstop\\n")
    assert (faults[0]["cause"], faults[0]["cure"]) == (cause, of_page(cause))
    assert faults[0]["evidence"][0] == "Fail to stop MEDIA SERVER "


def test_an_upgrade_that_failed_is_named(why, tmp_path):
    (tmp_path / "image.bin").write_text("image")
    lines = "init\\nwrite 0x600 -- 0x601=1 0x606=3 0x602=0 0x605=image.bin\\nwait-event 60000\\n"
    _, faults = why("tool set fwburn --exit 3", lines=lines)
    fault = fault_of(faults, "AMC bay 3")
    assert fault["what"] == "the last firmware upgrade failed"
    assert fault["cure"] == of_page(fault["cause"])


def test_a_red_led_of_the_module_is_told_from_one_that_was_set(why):
    status, faults = why(before="bmhost led set board health on --color red")
    assert status == 1
    (fault,) = faults
    assert (fault["place"], fault["what"]) == ("baseboard", "LED 3 health is on red")
    assert "the host set this LED" in fault["cause"]
    assert fault["cure"] == of_page(fault["cause"])


def test_a_simulated_inventory_is_named_with_the_reason(why):
    status, faults = why(options=["--no-ipmi"])
    (fault,) = faults
    assert (status, fault["place"], fault["what"]) == (4, "controller", "the inventory is simulated")
    assert fault["evidence"][0] == "/dev/ipmi0: No such file or directory"
    assert fault["cure"] == of_page(fault["cause"])


def test_people_read_it_in_paragraphs(blade, tmp_path):
    script = "bladesim tool set mavk_diag --exit 16\nprintf 'init\\nstart\\nwhy\\n' | bmhost --storage storage shell"
    done = blade.run("--blade", "typical", "--", "sh", "-c", f"cd {tmp_path}\n{script}", seconds=SECONDS)
    assert done.returncode == 1
    assert re.search(r"^DSPs: start returned 0x30012 .*\n  cause:    `mavk_diag` found .*\n  evidence: DSPs Post Test Fail, ErrorID = 16\n", done.stdout, re.MULTILINE)


def test_a_call_that_fails_comes_with_its_cure(blade, tmp_path):
    script = "bladesim switch fail mavkAmcSwitchPortEnable 7\nbmhost --storage storage --json write 0x30e00 0x30e02=1 -- 0x30e03=0"
    done = blade.run("--blade", "typical", "--", "sh", "-c", f"cd {tmp_path}\n{script}", seconds=SECONDS)
    assert (done.returncode, done.stdout) == (1, '{"op":"write","group":"0x30e00","result":0}\n')
    assert "bmhost: write 0x30e00 returned 0 (nothing done)\n  log:   Fail to set Switch Port[1] and backend Id = 3" in done.stderr
    assert f"  cure:  {of_page('the switch refused it; the code is its firmware' + chr(39) + 's')}\n" in done.stderr
