"""An open /dev/ipmi0, by the ioctls of linux/ipmi.h. For tests that run in a blade themselves."""

import ctypes
import fcntl
import os
import select

SECONDS = 30


class Message(ctypes.Structure):
    _fields_ = [("netfn", ctypes.c_ubyte), ("cmd", ctypes.c_ubyte), ("data_len", ctypes.c_ushort), ("data", ctypes.c_void_p)]


class Request(ctypes.Structure):
    _fields_ = [("addr", ctypes.c_void_p), ("addr_len", ctypes.c_uint), ("msgid", ctypes.c_long), ("msg", Message)]


class RequestSetTime(ctypes.Structure):
    _fields_ = [("req", Request), ("retries", ctypes.c_int), ("retry_time_ms", ctypes.c_uint)]


class Receive(ctypes.Structure):
    _fields_ = [("recv_type", ctypes.c_int), ("addr", ctypes.c_void_p), ("addr_len", ctypes.c_uint), ("msgid", ctypes.c_long), ("msg", Message)]


class Address(ctypes.Structure):
    _fields_ = [("addr_type", ctypes.c_int), ("channel", ctypes.c_short), ("data", ctypes.c_ubyte * 2)]


class Timing(ctypes.Structure):
    _fields_ = [("retries", ctypes.c_int), ("retry_time_ms", ctypes.c_uint)]


class Command(ctypes.Structure):
    _fields_ = [("netfn", ctypes.c_ubyte), ("cmd", ctypes.c_ubyte)]


READ, BOTH, WRITE = 2, 3, 1


def code(direction, number, size):
    return direction << 30 | size << 16 | ord("i") << 8 | number


SEND = code(READ, 13, ctypes.sizeof(Request))
SEND_SETTIME = code(READ, 21, ctypes.sizeof(RequestSetTime))
RECEIVE = code(BOTH, 12, ctypes.sizeof(Receive))
RECEIVE_TRUNC = code(BOTH, 11, ctypes.sizeof(Receive))
REGISTER, UNREGISTER = code(READ, 14, ctypes.sizeof(Command)), code(READ, 15, ctypes.sizeof(Command))
SET_GETS_EVENTS, SET_MAINTENANCE_MODE, GET_MAINTENANCE_MODE = code(READ, 16, 4), code(WRITE, 31, 4), code(READ, 30, 4)
SET_MY_ADDRESS, GET_MY_ADDRESS = code(READ, 17, 4), code(READ, 18, 4)
SET_TIMING, GET_TIMING = code(READ, 22, ctypes.sizeof(Timing)), code(READ, 23, ctypes.sizeof(Timing))

SYSTEM_INTERFACE = Address(0x0C, 0x0F)
GET_DEVICE_ID = (0x06, 0x01, b"")
PICMG_PROPERTIES = (0x2C, 0x00, b"\0")


class Device:
    """One open /dev/ipmi0."""

    def __init__(self, fd=None, flags=os.O_RDWR):
        self.fd = os.open("/dev/ipmi0", flags) if fd is None else fd

    def close(self):
        os.close(self.fd)

    def call(self, number, value):
        fcntl.ioctl(self.fd, number, value)
        return value

    def request(self, msgid, netfn, cmd, data, address):
        self.bytes = ctypes.create_string_buffer(data, len(data))  # lives as long as the request
        message = Message(netfn, cmd, len(data), ctypes.addressof(self.bytes))
        return Request(ctypes.addressof(address), ctypes.sizeof(address), msgid, message)

    def send(self, msgid, netfn, cmd, data=b"", address=SYSTEM_INTERFACE):
        fcntl.ioctl(self.fd, SEND, self.request(msgid, netfn, cmd, data, address))

    def readable(self, seconds=0):
        return select.select([self.fd], [], [], seconds)[0] != []

    def wait(self, seconds=SECONDS):
        assert self.readable(seconds), "no answer"

    def receive(self, call=RECEIVE_TRUNC, room=300, address_room=40):
        """(receive type, msgid, netfn, cmd, data); data is what there was room for when the call fails with EMSGSIZE."""
        data, address = ctypes.create_string_buffer(room), ctypes.create_string_buffer(address_room)
        result = Receive(0, ctypes.addressof(address), address_room, 0, Message(0, 0, room, ctypes.addressof(data)))
        self.failure = None
        try:
            fcntl.ioctl(self.fd, call, result)
        except OSError as error:
            self.failure = error.errno
        return result.recv_type, result.msgid, result.msg.netfn, result.msg.cmd, data.raw[: result.msg.data_len]

    def ask(self, msgid, netfn, cmd, data=b"", address=SYSTEM_INTERFACE):
        self.send(msgid, netfn, cmd, data, address)
        self.wait()
        return self.receive()

    def data(self, netfn, cmd, data=b""):
        """The completion code and data that answer a request."""
        return self.ask(1, netfn, cmd, data)[4]
