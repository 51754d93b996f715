"""For tests of the PCI driver's file: how a script speaks with the driver."""

DRIVER_FILE = "/proc/mavkpcidrv/pstn.cfg"

# Speaks with the driver; each call's result is printed, then what the driver has kept.
DRIVER = f"""
import json, os
def call(function, *arguments):
    try:
        result = function(*arguments)
    except OSError as error:
        result = -error.errno
    print(result)
    return result
def opened():
    return os.open({DRIVER_FILE!r}, os.O_RDWR)
def try_open():
    os.close(opened())
def told():
    for line in open(os.environ["BLADESIM_RUN_DIR"] + "/pstn.jsonl"):
        print(line.rstrip())
"""
