"""The board of a blade besides its controller: the PCI driver's file, and the network interfaces."""

import json
import os
from pathlib import Path

import pytest
from driver_file import DRIVER, DRIVER_FILE

ETH6 = {"name": "eth6", "mac": "02:4d:71:00:00:06", "address": "192.168.0.6", "mask": "255.255.255.0"}


def test_each_write_is_one_record_with_its_open_and_its_place(python):
    script = """
first, second = opened(), opened()
call(os.write, first, b"DataValid=1")
call(os.write, second, b"FramerType=-1")
call(os.write, first, b"RtmDetected=0")
call(os.writev, second, [b"in two ", b"pieces"])
told()
"""
    assert python(DRIVER + script) == [
        "11",
        "13",
        "13",
        "13",
        '{"open":1,"write":1,"text":"DataValid=1"}',
        '{"open":2,"write":2,"text":"FramerType=-1"}',
        '{"open":1,"write":3,"text":"RtmDetected=0"}',
        '{"open":2,"write":4,"text":"in two pieces"}',
    ]


def test_the_records_of_many_writers_are_all_kept_and_none_is_mixed_with_another(python):
    script = """
writers = []
for number in range(8):
    if os.fork() == 0:
        file = opened()
        for place in range(100):
            os.write(file, b"%d %d" % (number, place))
        os._exit(0)
for _ in range(8):
    assert os.wait()[1] == 0
told()
"""
    records = [json.loads(line) for line in python(DRIVER + script)]
    assert [record["write"] for record in records] == list(range(1, 801))
    written = {}
    for record in records:
        written.setdefault(record["open"], []).append(record["text"])
    assert sorted(written) == list(range(1, 9))
    assert sorted(tuple(texts) for texts in written.values()) == [tuple(f"{number} {place}" for place in range(100)) for number in range(8)]


def test_the_driver_file_is_as_a_file_of_the_kernel_to_whoever_has_opened_it(python):
    script = """
file = opened()
call(os.read, file, 100)
call(os.write, file, b"")
call(os.write, file, b"x" * 4097)
call(os.lseek, file, 0, os.SEEK_SET)
call(os.open, "/proc/mavkpcidrv/other", os.O_RDWR)
print(open("/proc/mavkpcidrv/pstn.cfg", "w").write("from a shell\\n"))
call(os.write, os.open("/proc/mavkpcidrv/pstn.cfg", os.O_RDONLY), b"x")
print(open("/proc/mavkpcidrv/pstn.cfg").read() == "")
"""
    assert python(DRIVER + script) == ["b''", "0", "-22", "-29", "-2", "13", "-9", "True"]


def test_what_a_stream_of_the_c_library_writes_is_a_record(blade):
    # The shell's own streams call the kernel from within the library.
    done = blade.run("--no-ipmi", "--", "bash", "-c", f"printf 'DataValid=1' >{DRIVER_FILE}; for i in $(seq 100); do [ -s $BLADESIM_RUN_DIR/pstn.jsonl ] && break; sleep 0.1; done; cat $BLADESIM_RUN_DIR/pstn.jsonl")
    assert (done.stderr, [json.loads(line)["text"] for line in done.stdout.splitlines()]) == ("", ["DataValid=1"])


def test_the_way_in_which_the_file_is_made_is_told(blade):
    try:
        os.close(os.open("/dev/fuse", os.O_RDWR))
        way = "through FUSE"
    except OSError as error:
        way = f"by a preload library, for lack of FUSE: /dev/fuse: {error.strerror}"
    done = blade.run("--no-ipmi", "--verbose", "--", "true")
    assert done.stderr.splitlines()[0] == f"bladesim: {DRIVER_FILE} is made {way}"


def test_an_open_fails_as_the_blade_file_says(python):
    faults = [{"call": "open", "first": 2, "count": 1, "error": "EACCES"}, {"call": "open", "first": 4, "error": "ENODEV"}]
    script = "for _ in range(5): call(try_open)\ntold()"
    assert python(DRIVER + script, pstn_driver={"faults": faults}) == [
        "None",
        "-13",
        "None",
        "-19",
        "-19",
        '{"open":2,"error":"EACCES"}',
        '{"open":4,"error":"ENODEV"}',
        '{"open":5,"error":"ENODEV"}',
    ]


def test_a_write_fails_or_is_cut_as_the_blade_file_says(python):
    faults = [{"call": "write", "first": 2, "count": 1, "error": "EIO"}, {"call": "write", "first": 3, "count": 1, "bytes": 4}, {"call": "write", "first": 4, "bytes": 0}]
    script = """
file = opened()
for number in range(4): call(os.write, file, b"record %d" % number)
told()
"""
    assert python(DRIVER + script, pstn_driver={"faults": faults}) == [
        "8",
        "-5",
        "4",
        "0",
        '{"open":1,"write":1,"text":"record 0"}',
        '{"open":1,"write":2,"text":"record 1","error":"EIO"}',
        '{"open":1,"write":3,"text":"record 2","taken":4}',
        '{"open":1,"write":4,"text":"record 3","taken":0}',
    ]


@pytest.mark.parametrize("driver", [{"present": False}, {"present": False, "faults": [{"call": "open", "error": "EIO"}]}])
def test_without_the_driver_there_is_no_file_and_no_folder(python, driver):
    script = """
call(try_open)
call(os.listdir, "/proc/mavkpcidrv")
print(os.listdir(os.environ["BLADESIM_RUN_DIR"]))
"""
    assert python(DRIVER + script, pstn_driver=driver) == ["-2", "-2", "[]"]


def test_whoever_is_not_root_sees_proc_and_may_not_write_to_the_driver(python):
    script = """
os.setuid(65534)
print(open("/proc/self/comm").read().strip(), os.path.exists("/proc/1/comm"))
call(try_open)
"""
    assert python(DRIVER + script) == ["python3 True", "-13"]


def test_the_file_goes_with_its_blade(blade):
    for _ in range(10):
        done = blade.run("--no-ipmi", "--", "sh", "-c", f"echo told > {DRIVER_FILE}; exec 9<> {DRIVER_FILE}; kill -KILL $$")
        assert done.returncode == 128 + 9
        assert blade.processes() == {}
    assert not Path(DRIVER_FILE).exists()


def test_the_blade_survives_the_end_of_the_drivers_process_and_says_so(blade):
    # The driver is process 2, the first that a blade without a controller starts.
    script = f"kill -KILL 2; while cat {DRIVER_FILE}; do :; done 2>/dev/null; exit 5"
    # Without /proc a leak checker in bladesim could only complain of that.
    done = blade.run("--no-ipmi", "--", "sh", "-c", script, env={"ASAN_OPTIONS": "verify_asan_link_order=0:detect_leaks=0"})
    assert done.returncode == 5
    assert f"bladesim: {DRIVER_FILE} ended, signal 9 (Killed)\n" in done.stderr


# The kernel's list of interfaces with an address, in its order, and of each its hardware address, address and mask.
INTERFACES = """
import fcntl, array, socket, struct
SIOCGIFCONF, SIOCGIFADDR, SIOCGIFNETMASK, SIOCGIFHWADDR, SIOCGIFFLAGS = 0x8912, 0x8915, 0x891b, 0x8927, 0x8913
IFREQ = 40 if struct.calcsize("P") == 8 else 32
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
def ask(call, name):
    return fcntl.ioctl(s, call, struct.pack(f"{IFREQ}s", name.encode()))
def configured():
    buffer = array.array("B", bytes(8192))
    size = struct.unpack("iP", fcntl.ioctl(s, SIOCGIFCONF, struct.pack("iP", len(buffer), buffer.buffer_info()[0])))[0]
    entries = [buffer.tobytes()[at:at + IFREQ] for at in range(0, size, IFREQ)]
    return [(entry[:16].split(b"\\0")[0].decode(), socket.inet_ntoa(entry[20:24])) for entry in entries]
for name, address in configured():
    print(name, ask(SIOCGIFHWADDR, name)[18:24].hex(":"), address, socket.inet_ntoa(ask(SIOCGIFNETMASK, name)[20:24]), struct.unpack("h", ask(SIOCGIFFLAGS, name)[16:18])[0] & 1)
print([name for _, name in socket.if_nameindex()])
"""
LOOPBACK = "lo 00:00:00:00:00:00 127.0.0.1 255.0.0.0 1"


def test_eth6_has_the_addresses_of_the_blade_file_and_is_up(python):
    assert python(INTERFACES, ethernet={"interfaces": [ETH6]}) == [
        LOOPBACK,
        "eth6 02:4d:71:00:00:06 192.168.0.6 255.255.255.0 1",
        "['lo', 'eth6']",
    ]


def test_eth6_stands_among_other_interfaces_in_the_order_of_the_blade_file(python):
    others = [dict(ETH6, name=f"eth{number}", mac=f"02:4d:71:00:00:1{number}", address=f"10.{number}.0.1", mask="255.255.0.0") for number in (7, 0)]
    assert python(INTERFACES, ethernet={"interfaces": [others[0], ETH6, others[1]]}) == [
        LOOPBACK,
        "eth7 02:4d:71:00:00:17 10.7.0.1 255.255.0.0 1",
        "eth6 02:4d:71:00:00:06 192.168.0.6 255.255.255.0 1",
        "eth0 02:4d:71:00:00:10 10.0.0.1 255.255.0.0 1",
        "['lo', 'eth7', 'eth6', 'eth0']",
    ]


def test_an_interface_without_address_is_there_and_not_in_the_list_of_those_with_one(python):
    bare = {"name": "eth6", "mac": "02:4d:71:00:00:06"}
    hardware = 'print(ask(SIOCGIFHWADDR, "eth6")[18:24].hex(":"))'
    assert python(INTERFACES + hardware, ethernet={"interfaces": [bare]}) == [LOOPBACK, "['lo', 'eth6']", "02:4d:71:00:00:06"]


def test_without_interfaces_there_is_the_loopback_alone(python):
    assert python(INTERFACES, ethernet={"interfaces": []}) == [LOOPBACK, "['lo']"]


def test_the_addresses_of_a_network_of_its_own_may_be_those_of_another_blade(blade):
    outside = os.listdir("/sys/class/net")
    command = ["--blade", "typical", "--no-ipmi", "--", "sh", "-c", "grep -c eth6: /proc/net/dev; read line"]
    blades = [blade.start(*command) for _ in range(2)]
    assert [process.stdout.readline() for process in blades] == ["1\n", "1\n"]
    assert os.listdir("/sys/class/net") == outside
    for process in blades:
        process.communicate("\n")
