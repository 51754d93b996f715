"""/dev/ipmi0 as a program sees it. These tests run in a blade: they open the device themselves."""

import ctypes
import errno
import fcntl
import os
import select
import signal
from pathlib import Path

import pytest
from device import (
    GET_DEVICE_ID,
    GET_MAINTENANCE_MODE,
    GET_MY_ADDRESS,
    GET_TIMING,
    PICMG_PROPERTIES,
    READ,
    RECEIVE,
    RECEIVE_TRUNC,
    REGISTER,
    SECONDS,
    SEND,
    SEND_SETTIME,
    SET_GETS_EVENTS,
    SET_MAINTENANCE_MODE,
    SET_MY_ADDRESS,
    SET_TIMING,
    SYSTEM_INTERFACE,
    UNREGISTER,
    Address,
    Command,
    Device,
    Message,
    Receive,
    Request,
    RequestSetTime,
    Timing,
    code,
)


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


@pytest.fixture
def other():
    result = Device()
    yield result
    result.close()


def in_another_process(do):
    """Whether the function gives true in a process that has opened nothing yet."""
    child = os.fork()
    if child == 0:
        try:
            os._exit(0 if do() else 1)
        finally:
            os._exit(2)
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0


def test_settings_of_the_interface_are_seen_by_every_opener(device, other):
    assert device.call(GET_MY_ADDRESS, ctypes.c_uint()).value == 0x20
    device.call(SET_MY_ADDRESS, ctypes.c_uint(0x82))
    assert other.call(GET_MY_ADDRESS, ctypes.c_uint()).value == 0x82
    assert in_another_process(lambda: Device().call(GET_MY_ADDRESS, ctypes.c_uint()).value == 0x82)
    other.call(SET_MY_ADDRESS, ctypes.c_uint(0x20))
    device.call(SET_MAINTENANCE_MODE, ctypes.c_int(2))
    assert other.call(GET_MAINTENANCE_MODE, ctypes.c_int()).value == 2
    device.call(SET_MAINTENANCE_MODE, ctypes.c_int(0))


def test_timing_belongs_to_the_opener_and_whoever_shares_his_descriptor(device, other):
    device.call(SET_TIMING, Timing(3, 250))
    duplicate = Device(os.dup(device.fd))
    assert duplicate.call(GET_TIMING, Timing()).retry_time_ms == 250
    duplicate.close()
    assert in_another_process(lambda: device.call(GET_TIMING, Timing()).retries == 3)
    assert other.call(GET_TIMING, Timing()).retries == -1


def test_a_command_is_registered_for_one_opener_only(device, other):
    device.call(REGISTER, Command(0x06, 0x01))
    with pytest.raises(OSError) as caught:
        other.call(REGISTER, Command(0x06, 0x01))
    assert caught.value.errno == errno.EBUSY
    device.call(UNREGISTER, Command(0x06, 0x01))
    other.call(REGISTER, Command(0x06, 0x01))


def test_events_may_be_wished_for(device):
    device.call(SET_GETS_EVENTS, ctypes.c_int(1))
    assert not device.readable()


def test_a_call_beside_waiting_answers_leaves_them_alone(device):
    device.send(7, *GET_DEVICE_ID)
    device.wait()
    assert device.call(GET_MY_ADDRESS, ctypes.c_uint()).value == 0x20
    assert device.receive()[1] == 7


NOWHERE = 8  # no memory is mapped there


def bad_requests(device):
    good = device.request(1, *GET_DEVICE_ID, SYSTEM_INTERFACE)
    return {
        "address": Request(NOWHERE, good.addr_len, 1, good.msg),
        "data": Request(good.addr, good.addr_len, 1, Message(0x06, 0x01, 4, NOWHERE)),
    }


@pytest.mark.parametrize("which", ["address", "data"])
def test_a_pointer_that_leads_nowhere_is_a_fault_of_the_request(device, which):
    with pytest.raises(OSError) as caught:
        fcntl.ioctl(device.fd, SEND, bad_requests(device)[which])
    assert caught.value.errno == errno.EFAULT


@pytest.mark.parametrize("number", [SEND, SEND_SETTIME, RECEIVE, RECEIVE_TRUNC, GET_MY_ADDRESS])
def test_an_argument_that_leads_nowhere_is_a_fault_of_the_call(device, number):
    libc = ctypes.CDLL(None, use_errno=True)
    assert libc.ioctl(ctypes.c_int(device.fd), ctypes.c_ulong(number), ctypes.c_void_p(NOWHERE)) == -1
    assert ctypes.get_errno() == errno.EFAULT


def test_a_buffer_that_leads_nowhere_leaves_the_answer_in_the_queue(device):
    device.send(1, *GET_DEVICE_ID)
    device.wait()
    address = ctypes.create_string_buffer(40)
    with pytest.raises(OSError) as caught:
        fcntl.ioctl(device.fd, RECEIVE, Receive(0, ctypes.addressof(address), 40, 0, Message(0, 0, 300, NOWHERE)))
    assert caught.value.errno == errno.EFAULT
    assert device.receive()[1] == 1


def test_without_a_data_pointer_a_request_has_no_data(device):
    request = device.request(1, *GET_DEVICE_ID, SYSTEM_INTERFACE)
    request.msg = Message(0x06, 0x01, 400, None)
    fcntl.ioctl(device.fd, SEND, request)
    device.wait()
    assert device.receive()[4][0] == 0


def test_a_descriptor_that_must_not_block_takes_a_thousand_requests_and_keeps_their_answers():
    device = Device(flags=os.O_RDWR | os.O_NONBLOCK)
    for msgid in range(1000):
        device.send(msgid, *GET_DEVICE_ID)
    for msgid in range(1000):
        device.wait()
        assert device.receive()[1] == msgid
    device.close()


@pytest.mark.parametrize(("flags", "kept"), [(os.O_RDWR, True), (os.O_RDWR | os.O_CLOEXEC, False)])
def test_close_on_exec_is_heeded(flags, kept):
    libc = ctypes.CDLL(None)
    fd = libc.open(b"/dev/ipmi0", flags)  # Python's own open always sets it
    assert fd >= 0
    assert (fcntl.fcntl(fd, fcntl.F_GETFD) & fcntl.FD_CLOEXEC == 0) is kept
    os.close(fd)


def test_what_is_written_to_the_descriptor_by_hand_harms_nobody(device):
    os.write(device.fd, b"no packet of the driver's")
    assert device.ask(1, *GET_DEVICE_ID)[1] == 1


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
