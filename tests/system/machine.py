"""A virtual machine that talks over its serial line, line by line."""

import select
import subprocess
import sys
import time

# Full emulation in any case: where the processor has a hypervisor of its own it is not always one that works.
QEMU = ["qemu-system-i386", "-M", "pc", "-accel", "tcg", "-cpu", "qemu32", "-m", "256", "-nodefaults", "-no-reboot", "-display", "none"]
# The tests of the kernel itself, and defences against neighbours on the same processor, take time under emulation only.
KERNEL = "console=ttyS0 quiet loglevel=3 panic=-1 cryptomgr.notests mitigations=off nokaslr root=/dev/vda rw"


class Silence(Exception):
    """It was silent for too long, or has ended."""


class Report:
    """The findings, on standard output and in a file; `good` says whether all of them are as they should be."""

    def __init__(self, file):
        self.file = file
        self.good = True

    def write(self, text):
        for out in (sys.stdout, self.file):
            print(text, file=out, flush=True)

    def check(self, what, found, expected):
        alike = found == expected
        self.good = self.good and alike
        self.write(f"   {'ok    ' if alike else 'FAILED'} {what}" + ("" if alike else f": {found}, expected {expected}"))


def qemu_command(folder, vm_port, words):
    """A machine with its disk in `folder`, which keeps nothing of what is written to it, and a KCS interface to the controller."""
    return [
        *QEMU,
        *("-kernel", folder / "vmlinuz", "-initrd", folder / "initrd", "-append", f"{KERNEL} {words}"),
        *("-drive", f"file={folder}/disk,format=raw,if=virtio,snapshot=on"),
        *("-chardev", "stdio,id=line,signal=off", "-serial", "chardev:line"),
        *("-chardev", f"socket,id=bmc,host=127.0.0.1,port={vm_port},reconnect=1"),
        *("-device", "ipmi-bmc-extern,id=bmc0,chardev=bmc", "-device", "isa-ipmi-kcs,bmc=bmc0,irq=5"),
    ]


class Machine:
    def __init__(self, command, hear, complaints, seconds):
        """`hear` gets each line that it says, the file `complaints` what qemu says itself; `seconds` is the time it has in all."""
        self.hear = hear
        self.deadline = time.monotonic() + seconds
        self.rest = b""
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=complaints)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()

    def line(self, seconds=None):
        """The next line; None when none comes in this time."""
        deadline = self.deadline if seconds is None else min(self.deadline, time.monotonic() + seconds)
        while b"\n" not in self.rest:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.process.stdout], [], [], left)[0]:
                if deadline == self.deadline:
                    raise Silence("the machine did not come to its end in time")
                return None
            received = self.process.stdout.read1(65536)
            if not received:
                raise Silence("the machine ended without a last word")
            self.rest += received
        line, self.rest = self.rest.split(b"\n", 1)
        text = line.decode(errors="replace").rstrip("\r")
        self.hear(text)
        return text

    def say(self, word):
        self.process.stdin.write(word.encode() + b"\n")
        self.process.stdin.flush()

    def pull(self):
        """Pulls the power: qemu is killed. Returns what the machine has said until then."""
        self.process.kill()
        rest, self.rest = self.rest + self.process.stdout.read(), b""
        return rest.decode(errors="replace")

    def ended(self):
        """The exit status of qemu, after the last line."""
        try:
            return self.process.wait(max(self.deadline - time.monotonic(), 0))
        except subprocess.TimeoutExpired:
            raise Silence("the machine does not switch itself off") from None
