"""Without /dev/ipmi0 the plug-in uses the complete simulation."""

import pytest
from conftest import INT, TEXT, param, table

NO_IPMI = ["--no-ipmi"]

BOARD_ROW = [
    param(0x30001, TEXT, "KZB88120W"),
    param(0x30002, INT, 0),
    param(0x30003, TEXT, "Tarsk Corporation"),
    param(0x30004, TEXT, "QPLS90377461"),
    param(0x30005, TEXT, "V3.2a"),
    param(0x30007, TEXT, "R71302-918"),
    param(0x30006, TEXT, "1.2"),
]
RTM_ROW = [param(0x401, INT, 1), param(0x402, INT, 1), param(0x403, INT, 4)]


def test_a_script_gets_the_simulated_board_and_rtm(bmhost_json):
    script = "init\ntable 0x30000\ntable 0x400\n"
    assert bmhost_json(["script", "-"], options=["--mode", "2"], blade_options=NO_IPMI, input=script) == (
        0,
        [{"op": "init", "result": 1}, table(0x30000, 1, [BOARD_ROW]), table(0x400, 1, [RTM_ROW])],
    )


@pytest.mark.parametrize(("blade_options", "result"), [(NO_IPMI, 0), (["--blade", "typical"], 1)])
def test_init_in_mode_1_wants_a_controller(bmhost_json, blade_options, result):
    status, lines = bmhost_json(["init"], options=["--mode", "1"], blade_options=blade_options)
    assert lines == [{"op": "init", "result": result}]
    assert status == 1 - result


def test_the_environment_overrides_the_simulated_rtm(bmhost_json):
    row = [param(0x401, INT, 1), param(0x402, INT, 8), param(0x403, INT, 4)]
    done = bmhost_json(["table", "0x400"], options=["--mode", "2"], blade_options=NO_IPMI, env={"MAVK_RTM": "2184"})
    assert done == (0, [table(0x400, 1, [row])])


def test_there_is_no_device_for_anybody(blade):
    done = blade.run("--no-ipmi", "--", "ipmitool", "-I", "open", "mc", "info")
    assert done.returncode == 1
    assert "Could not open device at /dev/ipmi0" in done.stderr
    assert done.stderr.rstrip().endswith("No such file or directory")
