"""A blade's /proc where the PCI driver's file is in a file system of bladesim's own."""

import json

from driver_file import DRIVER


def test_the_driver_file_is_as_a_file_of_the_kernel(python):
    script = """
import stat
call(os.listdir, "/proc/mavkpcidrv")
print(oct(os.stat("/proc/mavkpcidrv/pstn.cfg").st_mode), oct(os.stat("/proc/mavkpcidrv").st_mode))
call(os.open, "/proc/mavkpcidrv/other", os.O_RDWR)
call(os.open, "/proc/mavkpcidrv/other", os.O_RDWR | os.O_CREAT)
call(os.open, "/proc/mavkpcidrv", os.O_RDWR)
file = opened()
call(os.read, file, 100)
call(os.write, file, b"x" * 4097)
print(open("/proc/mavkpcidrv/pstn.cfg", "w").write("from a shell\\n"))
"""
    assert python(DRIVER + script) == ["['pstn.cfg']", "0o100644 0o40555", "-2", "-13", "-21", "b''", "-22", "13"]


def test_the_rest_of_proc_is_as_without_the_driver_for_processes_that_come_and_go_too(python):
    script = """
import json, os, subprocess, sys
print(open("/proc/self/stat").read().split()[0] == str(os.getpid()) == os.path.realpath("/proc/self").split("/")[-1])
child = subprocess.Popen(["cat"], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
child.stdin.write(b"there\\n"); child.stdin.flush(); child.stdout.readline()
print(open(f"/proc/{child.pid}/comm").read().strip(), str(child.pid) in os.listdir("/proc"))
child.stdin.close(); child.wait()
print(os.path.exists(f"/proc/{child.pid}"), str(child.pid) in os.listdir("/proc"))
print(os.path.samefile(f"/proc/{os.getpid()}/exe", sys.executable), os.path.isdir("/proc/sys/kernel"), os.path.exists("/proc/nonsense"))
print(open("/proc/1/comm").read().strip())
print(json.dumps(sorted(name for name in os.listdir("/proc") if not name.isdigit())))
"""
    with_driver, without = python(script), python(script, pstn_driver={"present": False})
    names = json.loads(with_driver.pop())
    assert names == sorted([*json.loads(without.pop()), "mavkpcidrv"])
    assert with_driver == ["True", "cat True", "False False", "True True False", "bladesim"]
    assert without == with_driver
