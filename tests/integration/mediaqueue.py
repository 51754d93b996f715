"""The host's message queue as one of its users has it: for tests that ask the media software themselves. They run in a blade."""

import os
import select
import socket
import struct

SIGNATURE = 0x514D5331
MONITOR, SOFTWARE = 0x60, 0x40
BOARD_STATUS, BOARD_STATUS_REPLY = 0x800071, 0x800072
PROCESSOR_STATUS, PROCESSOR_STATUS_REPLY = 2, 0x80006A
RESULT_ERROR, STANDARD_ERROR = 0x800038, 0x800010


class MediaQueue:
    """A queue bound to the monitor's address; numbers are read as such, other fields are bytes."""

    def __init__(self):
        self.folder = os.environ["BLADESIM_RUN_DIR"] + "/queues"
        os.makedirs(self.folder, mode=0o700, exist_ok=True)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.setblocking(False)
        self.socket.bind(f"{self.folder}/{MONITOR:#x}")

    def close(self):
        os.unlink(f"{self.folder}/{MONITOR:#x}")
        self.socket.close()

    def send_bytes(self, data):
        self.socket.sendto(data, f"{self.folder}/{SOFTWARE:#x}")

    def send(self, type, fields=None):
        data = struct.pack("=5I", SIGNATURE, type, MONITOR, SOFTWARE, len(fields or {}))
        for id, value in (fields or {}).items():
            data += struct.pack("=3I", id, 4, value)
        self.send_bytes(data)

    def receive(self, seconds):
        """The type and the fields of the next message; nothing when none comes."""
        if not select.select([self.socket], [], [], seconds)[0]:
            return None
        data = self.socket.recv(65536)
        signature, type, source, destination, count = struct.unpack_from("=5I", data)
        assert (signature, source, destination) == (SIGNATURE, SOFTWARE, MONITOR)
        fields, at = {}, 20
        for _ in range(count):
            id, size = struct.unpack_from("=2I", data, at)
            value = data[at + 8 : at + 8 + size]
            fields[id] = struct.unpack("=I", value)[0] if size == 4 else value
            at += 8 + size
        assert at == len(data)
        return type, fields
