"""What the blade needs before it starts: addresses of the DSPs, the switch's ports, and the PCI driver's records of the
PSTN. All values are worked out from the blade files: eth6's address is 02:4d:71:00:00:06, the DSPs' are counted on from its
second but one."""

import json
import re
from pathlib import Path

import pytest
from bladefile import AMC, BladeFile, number
from conftest import INT, TEXT, bin_folder, param, table
from protocol import BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE as DSP_EX_TABLE
from protocol import BMI_GROUP_HARDWARE_AMC_DSP_TABLE as DSP_TABLE
from protocol import BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE as PORT_TABLE

PROGRAM = Path(__file__).parent / "board_host.py"
TABLES = ["table 0x1200", "table 0x30d10", "table 0x30e00"]

MACS = ["02:4D:71:00:00:08", "02:4D:71:00:00:09", "02:4D:71:00:00:0A", "02:4D:71:00:00:0B"]
ADDRESSES = {1: "192.168.0.23", 2: "192.168.0.22", 3: "192.168.0.21", 4: "192.168.0.20"}
# Port, the switch's own number, interface type, name.
PORTS = [
    (1, 3, 2, "Switch Port Fabric 1"),
    (2, 4, 2, "Switch Port Fabric 2"),
    (3, 5, 3, "Switch Port RTM 1"),
    (4, 6, 3, "Switch Port RTM 2"),
]
ALL_ENABLED = {"3": True, "4": True, "5": True, "6": True, "7": True, "8": True}
NO_RTM = [["DataValid=1", "RtmDetected=0"]]
UNKNOWN_FRAMERS = (-1, -1, -1)
MODULES = {"full": {1: 4, 2: 4, 3: 4, 4: 4, 5: 2, 6: 1, 7: 3, 8: 4}, "no-dsp": {}, "no-eth6": {}}  # DSPs by bay
TYPICAL_MODULES = {3: 4}
FRAMERS = {"full": (1, 8, 4), "no-rtm": None}  # type, number, trunks of each
TYPICAL_FRAMERS = (1, 2, 4)
BLADES = ["full", "typical", "no-rtm", "no-dsp", "no-eth6", "no-pstn-driver"]


def passes(framers):
    """The driver's records of one Init: two opens with an RTM, one without."""
    if framers is None:
        return NO_RTM
    kind, count, trunks = framers
    return NO_RTM + [[f"FramerType={kind}", f"NumberOfFramers={count}", f"TrunksPerFramer={trunks}", "DataValid=1", "RtmDetected=1"]]


def told_of(blade_name):
    return passes(FRAMERS.get(blade_name, TYPICAL_FRAMERS))


def dsps_of(modules):
    """Bay, number in its AMC and MAC of every DSP; the AMCs share the same few addresses."""
    return [(bay, dsp, MACS[dsp - 1]) for bay, count in modules.items() for dsp in range(1, count + 1)]


def dsp_table(dsps):
    rows = [[param(0x1201, INT, bay, True), param(0x1202, INT, dsp, True), param(0x1203, TEXT, mac)] for bay, dsp, mac in dsps]
    return table(DSP_TABLE, 1, rows)


def dsp_ex_table(dsps, addresses=ADDRESSES):
    """The result is that of the last DSP's address."""
    rows = []
    for dsp, (_, _, mac) in enumerate(dsps, 1):
        if dsp in addresses:
            rows.append(
                [param(0x30D11, INT, 0, True), param(0x30D12, INT, dsp, True), param(0x30D13, TEXT, mac), param(0x30D14, TEXT, addresses[dsp])]
            )
    return table(DSP_EX_TABLE, 1 if not dsps or len(dsps) in addresses else 0, rows)


def port_table(states):
    rows = []
    for port, _, kind, name in PORTS:
        state = states.get(port, 1)
        row = [param(0x30E01, INT, 0, True), param(0x30E02, INT, port, True), param(0x30E06, INT, kind, True)]
        rows.append(row + [param(0x30E05, TEXT, name), param(0x30E03, INT, state), param(0x30E04, INT, 1 if state == 1 else 0)])
    return table(PORT_TABLE, 1, rows)


def tables(dsps, addresses=ADDRESSES, states=None):
    """All three, in modes 1 and 3."""
    ports = port_table(states or {}) if dsps else table(PORT_TABLE, 1, [])
    return [dsp_table(dsps), dsp_ex_table(dsps, addresses), ports]


def life(operation, result=1):
    return {"op": operation, "result": result}


def write(group, result):
    return {"op": "write", "group": f"0x{group:x}", "result": result}


@pytest.fixture
def host(blade, tmp_path):
    """Makes calls after an init, in a new blade with the storage of this test."""

    def run(blade_name, *blocks, mode=1, first="report", env=None, blade_options=()):
        spec = {"options": ["--mode", str(mode), "--storage", str(tmp_path / "storage")], "first": first, "blocks": blocks}
        done = blade.run("--blade", blade_name, "--timeout", "0", *blade_options, "--", "/usr/bin/python3", "-B", PROGRAM, json.dumps(spec), env=env)
        assert done.returncode == 0, done.stderr
        return json.loads(done.stdout)

    return run


def stored(tmp_path, file):
    """Key and value of every row of a file of the storage."""
    text = (tmp_path / "storage" / file).read_text()
    return {int(key): value for key, value in re.findall(r'key="true" value="(\d+)" />\s*<param [^>]* value="([^"]*)"', text)}


def test_the_modules_here_are_those_of_the_blade_files():
    for name in BLADES:
        file = BladeFile(name)
        dsps = {number(fru["site"]["number"]): len(fru["inventory"].get("dsps", [])) for fru in file.frus_of(AMC)}
        wanted = {bay: count for bay, count in dsps.items() if count} if name != "no-eth6" else {}
        assert MODULES.get(name, TYPICAL_MODULES) == wanted


@pytest.mark.parametrize("mode", [1, 3])
@pytest.mark.parametrize("name", BLADES)
def test_init_and_fin_twice_in_one_process(host, tmp_path, name, mode):
    done = host(name, [*TABLES, "fin", "init", *TABLES, "fin"], mode=mode)
    dsps = dsps_of(MODULES.get(name, TYPICAL_MODULES))
    once = [life("init", 1 if dsps else 0), *tables(dsps), life("fin")]
    assert done["lines"] == once * 2
    assert done["told"] == (None if name == "no-pstn-driver" else told_of(name) * 2)
    assert done["switch"] == ALL_ENABLED
    assert stored(tmp_path, "telq_qub_dsp_iptable_cfg.xml") == ADDRESSES
    if dsps:
        assert stored(tmp_path, "telq_qub_switchport_cfg.xml") == {1: "1", 2: "1", 3: "1", 4: "1"}


@pytest.mark.parametrize("name", BLADES)
def test_in_mode_2_the_board_is_left_alone(host, tmp_path, name):
    writes = ["write 0x30d10 0x30d12=1 -- 0x30d14=192.168.0.99", "write 0x30e00 0x30e02=1 -- 0x30e03=0"]
    done = host(name, [*TABLES, *writes, "fin", "init", *TABLES, "fin"], mode=2)
    nothing = [dsp_table(dsps_of(MODULES.get(name, TYPICAL_MODULES))), table(DSP_EX_TABLE, 1, []), table(PORT_TABLE, 1, [])]
    refused = [write(DSP_EX_TABLE, 4), write(PORT_TABLE, 4)]
    assert done["lines"] == [life("init"), *nothing, *refused, life("fin"), life("init"), *nothing, life("fin")]
    assert done["told"] == (None if name == "no-pstn-driver" else [])
    assert done["switch"] == ALL_ENABLED
    assert not (tmp_path / "storage").exists()


# Each writable value, and what is refused of a write.
WRITES = [
    ("write 0x30d10 0x30d12=2 -- 0x30d14=192.168.0.99", 1),
    ("write 0x30d10 0x30d12=5 -- 0x30d14=192.168.0.25", 4),
    ("write 0x30d10 0x30d12=0 -- 0x30d14=192.168.0.25", 4),
    ("write 0x30d10 -- 0x30d14=192.168.0.25", 23),
    ("write 0x30d10 0x30d12=2 -- 0x30d13=02:00:00:00:00:00", 23),
    ("write 0x30e00 0x30e02=2 -- 0x30e03=0", 1),
    ("write 0x30e00 0x30e02=3 -- 0x30e03=5", 1),
    ("write 0x30e00 0x30e02=5 -- 0x30e03=0", 4),
    ("write 0x30e00 -- 0x30e03=0", 4),
    ("write 0x30e00 0x30e02=4 -- 0x30e05=x", 23),
    ("write 0x1200 0x1201=3 0x1202=1 -- 0x1203=02:00:00:00:00:00", 0),
]
WRITTEN_ADDRESSES = {**ADDRESSES, 2: "192.168.0.99"}
WRITTEN_STATES = {2: 0, 3: 5}  # any number but 1 disables the port, and is kept
WRITTEN_SWITCH = {**ALL_ENABLED, "4": False, "5": False}


def test_what_was_written_is_found_and_the_switch_driven_to_it_by_another_process(host):
    dsps = dsps_of(TYPICAL_MODULES)
    after = tables(dsps, WRITTEN_ADDRESSES, WRITTEN_STATES)
    first = host("typical", [*TABLES, *(call for call, _ in WRITES), *TABLES, "fin"])
    answers = [write(int(call.split()[1], 0), result) for call, result in WRITES]
    assert first["lines"] == [life("init"), *tables(dsps), *answers, *after, life("fin")]
    assert first["switch"] == WRITTEN_SWITCH
    # Another process in a blade whose switch is in its factory state.
    second = host("typical", [*TABLES, "fin"])
    assert second["lines"] == [life("init"), *after, life("fin")]
    assert second["switch"] == WRITTEN_SWITCH


def test_the_dsps_of_a_full_blade_have_addresses_when_they_are_given_some(host):
    dsps = dsps_of(MODULES["full"])
    given = {dsp: f"192.168.0.{100 + dsp}" for dsp in range(5, 27)}
    writes = [f"write 0x30d10 0x30d12={dsp} -- 0x30d14={address}" for dsp, address in given.items()]
    done = host("full", ["table 0x30d10", *writes, "table 0x30d10", "read 0x30d10 0x30d12=27", "fin"])
    assert done["lines"][1] == dsp_ex_table(dsps)
    assert done["lines"][1]["result"] == 0
    assert done["lines"][2:-3] == [write(DSP_EX_TABLE, 1)] * 22
    assert done["lines"][-3] == dsp_ex_table(dsps, {**ADDRESSES, **given})
    assert done["lines"][-3]["result"] == 1
    assert done["lines"][-2]["result"] == 4
    assert host("full", ["table 0x30d10"])["lines"][1] == done["lines"][-3]


@pytest.fixture
def bare_blade(tmp_path):
    """The typical blade without a vendor record: its AMCs have no DSPs, its RTM lists no framers."""
    file = json.loads((bin_folder().parent / "share/bladesim/blades/no-dsp.json").read_text())
    del file["frus"][3]["inventory"]["framers"]
    (tmp_path / "bare.json").write_text(json.dumps(file))
    return str(tmp_path / "bare.json")


def test_a_report_before_the_end_of_the_inventory_adds_nothing_to_the_modules(host, bare_blade):
    done = host(bare_blade, [*TABLES, "fin", "init", *TABLES, "fin"])
    assert done["lines"] == [life("init", 0), *tables([]), life("fin")] * 2
    assert done["told"] == passes(UNKNOWN_FRAMERS) * 2


def test_a_report_after_the_end_of_the_inventory_gives_each_module_the_test_records(host, bare_blade):
    done = host(bare_blade, [*TABLES, "fin"], ["init", *TABLES, "fin"], first="inventory")
    dsps = dsps_of({3: 4, 6: 4})
    assert done["lines"] == [life("init", 0), *tables([]), life("fin"), life("init"), *tables(dsps), life("fin")]
    assert dsp_ex_table(dsps)["result"] == 0  # the last four have no addresses
    assert done["told"] == passes(UNKNOWN_FRAMERS) + passes((1, 1, 4))


# The simulated modules are in no bay, and the simulated RTM has one framer of four trunks.
SIMULATED_FRAMERS = (1, 1, 4)


@pytest.mark.parametrize("mode", [1, 3])
@pytest.mark.parametrize(
    ("value", "modules"),
    [
        (None, {}),
        ("", {}),
        ("131", {}),  # too short
        ("1312", {3: 2}),
        ("x314", {3: 4}),
        ("1319", {3: 4}),  # the table has four of the nine
        ("131x", {}),  # no DSPs
        ("1802345", {8: 2}),
        ("1912", {}),  # no bay of the table
        ("1011", {}),
    ],
)
def test_the_dsps_of_the_environment(host, value, modules, mode):
    env = {} if value is None else {"MAVK_AMC": value}
    done = host("typical", [*TABLES, "fin", "init", *TABLES, "fin"], mode=mode, first="simulation", env=env, blade_options=["--no-ipmi"])
    assert done["lines"] == [life("init", 0), *tables(dsps_of(modules)), life("fin")] * 2
    assert done["told"] == passes(SIMULATED_FRAMERS) * 2


@pytest.mark.parametrize("mode", [1, 3])
@pytest.mark.parametrize(
    ("value", "framers"),
    [
        (None, SIMULATED_FRAMERS),
        ("", SIMULATED_FRAMERS),
        ("0", SIMULATED_FRAMERS),
        ("0184", SIMULATED_FRAMERS),
        ("x", SIMULATED_FRAMERS),
        ("1", None),
        ("1184", None),
        ("2", UNKNOWN_FRAMERS),
        ("218", UNKNOWN_FRAMERS),  # too short
        ("2184", (1, 8, 4)),
        ("21842", (1, 8, 4)),
        ("2x8y", (0, 8, 0)),
        ("3", UNKNOWN_FRAMERS),
        ("9184", UNKNOWN_FRAMERS),
    ],
)
def test_the_rtm_of_the_environment(host, value, framers, mode):
    env = {} if value is None else {"MAVK_RTM": value}
    done = host("typical", ["fin", "init", "fin"], mode=mode, first="simulation", env=env, blade_options=["--no-ipmi"])
    assert done["lines"] == [life("init", 0), life("fin")] * 2
    assert done["told"] == passes(framers) * 2


@pytest.mark.parametrize(
    ("env", "modules", "framers"), [({"MAVK_AMC": "1612"}, {3: 4, 6: 2}, TYPICAL_FRAMERS), ({"MAVK_RTM": "2184"}, {3: 4}, (1, 8, 4)), ({"MAVK_RTM": "1"}, {3: 4}, None)]
)
def test_the_environment_beside_a_controller(host, env, modules, framers):
    done = host("typical", [*TABLES, "fin"], env=env)
    assert done["lines"] == [life("init"), *tables(dsps_of(modules)), life("fin")]
    assert done["told"] == passes(framers)


# --- the switch as bladesim shows and sets it ---


def test_a_cable_that_is_unplugged_takes_the_link_and_not_the_port(blade):
    script = "bladesim switch link 3 down; bmhost --json script - 2>/dev/null; bladesim switch link 3 up; bladesim switch show --json"
    done = blade.run("--blade", "typical", "--", "sh", "-c", script, input="init\ntable 0x30e00\nfin\n")
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    assert [(row[4]["value"], row[5]["value"]) for row in lines[1]["rows"]] == [(1, 0), (1, 1), (1, 1), (1, 1)]
    assert lines[3]["ports"][0] == {"port": 3, "enabled": True, "cable": True, "link": True}


@pytest.mark.parametrize(
    ("failures", "init", "links"),
    [
        (["mavkAmcSwitchPortCheckLink 9 4"], 1, [1, 2, 1, 1]),  # unknown for the port behind which it fails
        (["mavkAmcSwitchPortCheckLink 9"], 1, [2, 2, 2, 2]),
        (["uPCIMemOpen 3"], 0, []),
        (["uPCIMemClose 3"], 1, [1, 1, 1, 1]),  # its result is ignored
        (["mavkAmcSwitchPortEnable 5", "mavkAmcSwitchPortCheckLink 9 4"], 1, [1, 2, 1, 1]),
    ],
)
def test_a_call_of_the_board_driver_fails_as_it_is_ordered(blade, failures, init, links):
    orders = "".join(f"bladesim switch fail {failure} && " for failure in failures)
    done = blade.run("--blade", "typical", "--", "sh", "-c", orders + "bmhost --json script - 2>/dev/null", input="init\ntable 0x30e00\nfin\n")
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    assert [lines[0], lines[2]] == [life("init", init), life("fin")]
    assert [row[5]["value"] for row in lines[1]["rows"]] == links


def test_a_write_to_a_port_that_the_switch_refuses_is_told_until_the_failure_is_cleared(blade):
    write_port = "write 0x30e00 0x30e02=1 -- 0x30e03=0"
    script = f"""
bladesim switch fail mavkAmcSwitchPortEnable 5 3
bmhost --json {write_port}
bladesim switch clear mavkAmcSwitchPortEnable 3
bmhost --json {write_port}
bladesim switch show --json"""
    done = blade.run("--blade", "typical", "--", "sh", "-c", script)
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    assert lines[:2] == [write(PORT_TABLE, 0), write(PORT_TABLE, 1)]
    assert lines[2]["ports"][0] == {"port": 3, "enabled": False, "cable": True, "link": False}
    assert lines[2]["failures"] == []


@pytest.mark.parametrize(
    "words",
    [
        ["link", "3"],
        ["link", "3", "sideways"],
        ["link", "three", "up"],
        ["fail", "mavkAmc", "5"],
        ["fail", "uPCIMemOpen"],
        ["fail", "uPCIMemOpen", "0"],
        ["fail", "uPCIMemOpen", "x"],
        ["clear", "mavkAmc"],
        ["plug"],
        [],
    ],
)
def test_orders_for_the_switch_that_cannot_be_meant_change_nothing(blade, words):
    done = blade.run("--no-ipmi", "--", "sh", "-c", 'bladesim switch "$@"; echo $?; ls $BLADESIM_RUN_DIR', "sh", *words)
    assert done.stdout.splitlines() == ["2", "pstn.jsonl"]
    assert done.stderr != ""


def test_a_state_file_that_is_refused_is_named_with_its_line_and_left_as_it_is(blade):
    script = """
printf 'bladesim switch 1\\nport 3 on up\\nend\\n' > $BLADESIM_RUN_DIR/switch
bladesim switch show || echo $?
bladesim switch link 3 up || echo $?
bmhost --json init 2>/dev/null
sed -n 2p $BLADESIM_RUN_DIR/switch"""
    done = blade.run("--blade", "typical", "--", "sh", "-c", script)
    assert done.stdout.splitlines() == ["3", "3", '{"op":"init","result":0}', "port 3 on up"]
    assert len(re.findall(r"^bladesim: \S*/switch:2: ", done.stderr, flags=re.MULTILINE)) == 2


def test_a_port_that_the_switch_has_not_is_no_port(blade):
    done = blade.run("--no-ipmi", "--", "bladesim", "switch", "link", "9", "up")
    assert (done.returncode, done.stdout, done.stderr) == (3, "", "bladesim: the switch has no port 9\n")


def test_outside_of_a_blade_there_is_no_switch(blade):
    done = blade.run("switch", "show")
    assert (done.returncode, done.stdout, done.stderr) == (3, "", "bladesim: this is not the inside of a blade\n")


# --- for people ---


def test_bmhost_gives_addresses_and_sets_ports_that_the_next_one_finds(blade, tmp_path):
    script = """
bmhost --storage "$1" dsp set-ip 2 192.168.0.99 && bmhost --storage "$1" switch disable 4 && bmhost --storage "$1" dsp &&
bmhost --storage "$1" switch && bmhost pstn"""
    done = blade.run("--blade", "typical", "--", "sh", "-c", script, "sh", tmp_path / "storage")
    assert (done.returncode, done.stderr) == (0, "")
    lines = [line.split() for line in done.stdout.splitlines()]
    dsps = [["1", "3", "1", MACS[0], ADDRESSES[1]], ["2", "3", "2", MACS[1], "192.168.0.99"], ["3", "3", "3", MACS[2], ADDRESSES[3]], ["4", "3", "4", MACS[3], ADDRESSES[4]]]
    port = ["4", "Switch", "Port", "RTM", "2", "RTM", "disabled"]
    stored = ["stored,", "not", "read"]
    assert lines[1] == dsps[1]
    assert lines[4] == [*port, "down"]
    assert lines[6:10] == [dsp + stored for dsp in dsps]
    assert lines[14] == [*port, "unknown", *stored]
    # Two hosts have reported an RTM, each with two opens; the two that looked have not.
    assert [line[2] for line in lines[16:]] == [record for records in told_of("typical") * 2 for record in records]
