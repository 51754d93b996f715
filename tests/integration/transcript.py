"""Runs command lines and reports what a terminal would show for each: JSON on standard input, JSON on standard output.

In: {"resident", "commands"}: whether a resident host has the blade meanwhile, and a list of {"command", "interrupt"}, the latter a
text or null: when a line has it, the command gets a Ctrl-C. What one exports those after it have, and they are where one has gone to.
Out: a list of {"status", "output"}, standard output and standard error in one, and ^C on a line of its own.
"""

import json
import re
import select
import signal
import subprocess
import sys
import threading
from contextlib import contextmanager, nullcontext

# A Ctrl-C that comes at the moment at which a tool starts is lost, and has to be repeated; docs/bmhost.md says so. Not in step with
# the health monitor, which begins one every five seconds.
AGAIN_SECONDS = 1.7


def shown(command, interrupt):
    process = subprocess.Popen(["bash", "-c", command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, bufsize=0)
    output = b""
    interrupted = False
    while True:
        while interrupted and not select.select([process.stdout], [], [], AGAIN_SECONDS)[0]:
            process.send_signal(signal.SIGINT)
        if not (data := process.stdout.read(65536)):
            break
        output += data
        begin = -1 if interrupt is None or interrupted else output.find(interrupt.encode())
        if begin >= 0 and b"\n" in output[begin:]:
            # Shown after the line that it answers, whatever came with it.
            interrupted = True
            end = output.index(b"\n", begin) + 1
            output = output[:end] + b"^C\n" + output[end:]
            process.send_signal(signal.SIGINT)
    return {"status": process.wait(), "output": output.decode(errors="backslashreplace")}


def has_read_the_leds():
    status = subprocess.run(["bmhost", "--json", "--simulated", "status"], capture_output=True, text=True).stdout
    return json.loads(status)["controller"]["sweeps"] > 0


@contextmanager
def resident_host():
    """When it is entered, the host has started the blade, or has failed to, and has read the LEDs once."""
    host = subprocess.Popen(["bmhost", "run"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    for line in host.stdout:
        if "health: monitored" in line or re.search(r"  start: (?!1 )", line):
            break
    else:
        raise RuntimeError(f"the resident host ended with status {host.wait()}")
    drain = threading.Thread(target=host.stdout.read)
    drain.start()
    while not has_read_the_leds():
        select.select([], [], [], AGAIN_SECONDS / 10)
    try:
        yield
    finally:
        host.send_signal(signal.SIGTERM)
        drain.join()
        host.wait()


def main():
    before, results = "", []
    orders = json.load(sys.stdin)
    with resident_host() if orders["resident"] else nullcontext():
        for each in orders["commands"]:
            results.append(shown(before + each["command"], each["interrupt"]))
            if each["command"].startswith(("export ", "cd ")):
                before += each["command"] + "\n"
    print(json.dumps(results))


main()
