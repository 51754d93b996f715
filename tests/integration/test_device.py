"""/dev/ipmi0 as a program sees it. These tests run in a blade: they open the device themselves."""

import ctypes
import errno
import fcntl
import os
import select
import signal
from pathlib import Path

import pytest

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


READ, BOTH, WRITE = 2, 3, 1


def code(direction, number, size):
    return direction << 30 | size << 16 | ord("i") << 8 | number


SEND = code(READ, 13, ctypes.sizeof(Request))
SEND_SETTIME = code(READ, 21, ctypes.sizeof(RequestSetTime))
RECEIVE = code(BOTH, 12, ctypes.sizeof(Receive))
RECEIVE_TRUNC = code(BOTH, 11, ctypes.sizeof(Receive))
SET_GETS_EVENTS, SET_MAINTENANCE_MODE, GET_MAINTENANCE_MODE = code(READ, 16, 4), code(WRITE, 31, 4), code(READ, 30, 4)
SET_MY_ADDRESS, GET_MY_ADDRESS = code(READ, 17, 4), code(READ, 18, 4)

SYSTEM_INTERFACE = Address(0x0C, 0x0F)
GET_DEVICE_ID = (0x06, 0x01, b"")
PICMG_PROPERTIES = (0x2C, 0x00, b"\0")


class Device:
    """One open /dev/ipmi0."""

    def __init__(self, fd=None):
        self.fd = os.open("/dev/ipmi0", os.O_RDWR) if fd is None else fd

    def close(self):
        os.close(self.fd)

    def request(self, msgid, netfn, cmd, data, address):
        self.bytes = ctypes.create_string_buffer(data, len(data))  # lives as long as the request
        message = Message(netfn, cmd, len(data), ctypes.addressof(self.bytes))
        return Request(ctypes.addressof(address), ctypes.sizeof(address), msgid, message)

    def send(self, msgid, netfn, cmd, data=b"", address=SYSTEM_INTERFACE):
        fcntl.ioctl(self.fd, SEND, self.request(msgid, netfn, cmd, data, address))

    def wait(self, seconds=SECONDS):
        assert select.select([self.fd], [], [], seconds)[0], "no answer"

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


@pytest.fixture
def device():
    result = Device()
    yield result
    result.close()


def test_a_request_is_answered_with_its_own_message_id(device):
    kind, msgid, netfn, cmd, data = device.ask(123456789, *GET_DEVICE_ID)
    assert (kind, msgid, netfn, cmd) == (1, 123456789, 0x07, 0x01)
    assert data[:4] == bytes([0x00, 0x35, 0x01, 0x03])


def test_requests_with_timing_are_answered_too(device):
    timed = RequestSetTime(device.request(5, *GET_DEVICE_ID, SYSTEM_INTERFACE), 2, 500)
    fcntl.ioctl(device.fd, SEND_SETTIME, timed)
    device.wait()
    assert device.receive()[1] == 5


def test_answers_come_in_the_order_of_the_requests(device):
    for msgid in range(50):
        device.send(msgid, *GET_DEVICE_ID)
    for msgid in range(50):
        device.wait()
        assert device.receive()[1] == msgid


def test_each_opener_gets_the_answers_to_its_own_requests(device):
    other = Device()
    device.send(1, *GET_DEVICE_ID)
    other.send(1, *PICMG_PROPERTIES)
    other.wait()
    device.wait()
    assert device.receive()[2:4] == (0x07, 0x01)
    assert other.receive()[2:4] == (0x2D, 0x00)
    other.close()


def test_an_answer_to_a_closed_opener_bothers_nobody(device):
    other = Device()
    other.send(1, *GET_DEVICE_ID)
    other.close()
    assert device.ask(2, *PICMG_PROPERTIES)[1:4] == (2, 0x2D, 0x00)


def test_receiving_without_an_answer_says_eagain_and_polls_as_not_readable(device):
    device.receive()
    assert device.failure == errno.EAGAIN
    poller = select.poll()
    poller.register(device.fd, select.POLLIN)
    assert poller.poll(0) == []
    device.send(1, *GET_DEVICE_ID)
    assert poller.poll(SECONDS * 1000) == [(device.fd, select.POLLIN)]


def test_an_answer_that_does_not_fit_stays_unless_it_may_be_cut(device):
    device.send(1, *GET_DEVICE_ID)
    device.wait()
    device.receive(RECEIVE, room=4)
    assert device.failure == errno.EMSGSIZE
    kind, msgid, _, _, data = device.receive(RECEIVE_TRUNC, room=4)
    assert device.failure == errno.EMSGSIZE
    assert (kind, msgid, data) == (1, 1, bytes([0x00, 0x35, 0x01, 0x03]))
    device.receive()
    assert device.failure == errno.EAGAIN


def test_an_address_buffer_that_is_too_small_leaves_the_answer_in_the_queue(device):
    device.send(1, *GET_DEVICE_ID)
    device.wait()
    device.receive(address_room=7)
    assert device.failure == errno.EINVAL
    assert device.receive()[1] == 1


@pytest.mark.parametrize(
    ("netfn", "cmd", "data", "address", "error"),
    [
        (0x06, 0x34, b"\0" * 7, SYSTEM_INTERFACE, errno.EINVAL),  # bridging is the driver's own affair
        (0x07, 0x01, b"\0", SYSTEM_INTERFACE, errno.EINVAL),
        (0x06, 0x01, b"", Address(0x0C, 0), errno.EINVAL),
        (0x06, 0x01, b"\0" * 271, SYSTEM_INTERFACE, errno.EMSGSIZE),
    ],
)
def test_what_the_kernel_refuses_is_refused_with_its_error(device, netfn, cmd, data, address, error):
    with pytest.raises(OSError) as caught:
        device.send(1, netfn, cmd, data, address)
    assert caught.value.errno == error


def test_nobody_answers_on_the_ipmb(device):
    kind, msgid, netfn, cmd, data = device.ask(9, *GET_DEVICE_ID, address=Address(0x01, 0, (0x82, 0)))
    assert (kind, msgid, netfn, cmd, data) == (1, 9, 0x07, 0x01, b"\xc3")


def test_a_duplicate_and_a_child_share_the_device(device):
    duplicate = Device(os.dup(device.fd))
    assert duplicate.ask(1, *GET_DEVICE_ID)[1] == 1
    duplicate.close()
    child = os.fork()
    if child == 0:
        os._exit(0 if device.ask(2, *GET_DEVICE_ID)[1] == 2 else 1)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
    assert device.ask(3, *GET_DEVICE_ID)[1] == 3


def test_settings_of_the_interface_can_be_made_and_read(device):
    value = ctypes.c_uint()
    fcntl.ioctl(device.fd, GET_MY_ADDRESS, value)
    assert value.value == 0x20
    fcntl.ioctl(device.fd, SET_MY_ADDRESS, ctypes.c_uint(0x82))
    fcntl.ioctl(device.fd, GET_MY_ADDRESS, value)
    assert value.value == 0x82
    fcntl.ioctl(device.fd, SET_MY_ADDRESS, ctypes.c_uint(0x20))
    fcntl.ioctl(device.fd, SET_GETS_EVENTS, ctypes.c_int(1))
    fcntl.ioctl(device.fd, SET_MAINTENANCE_MODE, ctypes.c_int(2))
    mode = ctypes.c_int()
    fcntl.ioctl(device.fd, GET_MAINTENANCE_MODE, mode)
    assert mode.value == 2


def test_an_unknown_call_of_the_device_is_no_call_for_it(device):
    with pytest.raises(OSError) as caught:
        fcntl.ioctl(device.fd, code(READ, 99, 4), ctypes.c_int())
    assert caught.value.errno == errno.ENOTTY


@pytest.mark.parametrize("path", ["/dev/ipmi/0", "/dev/ipmidev/0"])
def test_the_older_names_of_the_device_do_not_exist(path):
    with pytest.raises(FileNotFoundError):
        os.open(path, os.O_RDWR)


def test_other_files_open_as_always(tmp_path):
    fd = os.open(tmp_path / "new", os.O_RDWR | os.O_CREAT, 0o640)
    assert os.fstat(fd).st_mode & 0o777 == 0o640
    os.close(fd)


def test_a_lost_reply_is_answered_by_the_driver_after_its_own_time(device):
    (simulator,) = [int(path.parent.name) for path in Path("/proc").glob("[0-9]*/comm") if path.read_text() == "ipmi_sim\n"]
    os.kill(simulator, signal.SIGSTOP)
    try:
        device.send(1, *GET_DEVICE_ID)
        assert select.select([device.fd], [], [], 4)[0] == [], "before its time"
        device.wait()
        assert device.receive() == (1, 1, 0x07, 0x01, b"\xc3")
    finally:
        os.kill(simulator, signal.SIGCONT)
    assert device.ask(2, *PICMG_PROPERTIES)[1:4] == (2, 0x2D, 0x00)  # not the late answer to the first
