"""The web door's own limits, each while somebody runs into it: others are served meanwhile. These tests run in a typical blade, beside its
resident host."""

import base64
import json
import os
import socket
from contextlib import ExitStack

import pytest
from conftest import SECONDS
from inside import sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from resident import resident  # noqa: F401 (a fixture)
from test_web import LED_ON, PASSWORD, web  # noqa: F401 (one is a fixture)

OF_ALL, OF_ADDRESS, READERS_OF_EVENTS, IMAGES = 320, 270, 64, 2
MOST_IMAGE = 1_000_000


@pytest.fixture
def door(web, tmp_path, monkeypatch):  # noqa: F811 (the fixture)
    monkeypatch.setenv("STATE_DIRECTORY", str(tmp_path / "images"))
    (tmp_path / "images").mkdir()
    return web("--max-image-size", str(MOST_IMAGE))


@pytest.fixture
def clients():
    with ExitStack() as stack:

        def connected(door, address="127.0.0.1"):
            return stack.enter_context(
                socket.create_connection(("127.0.0.1", door.port), SECONDS, source_address=(address, 0))
            )

        yield connected


def head_of(request, *headers):
    return "\r\n".join([f"{request} HTTP/1.1", "Host: 127.0.0.1", *headers, "", ""]).encode()


def sent(client, request, *headers):
    client.sendall(head_of(request, *headers))
    return client


def head_from(client):
    """Of the answer; empty when the connection has ended without one."""
    head = b""
    while b"\r\n\r\n" not in head:
        byte = client.recv(1)
        if not byte:
            return ""
        head += byte
    return head.decode()


def status(client):
    head = head_from(client)
    return int(head.split()[1]) if head else 0


def basic(name, password=PASSWORD):
    return "Authorization: Basic " + base64.b64encode(f"{name}:{password}".encode()).decode()


def expect_served(door):
    assert [door.curl(path)[0] for path in ("/v1/blade", "/metrics", "/redfish/v1/Chassis")] == [200, 200, 200]


def images_of(door):
    """The door's files without names."""
    folder = f"/proc/{door.process.pid}/fd"
    found = []
    for descriptor in os.listdir(folder):
        try:
            found.append(os.readlink(f"{folder}/{descriptor}"))
        except FileNotFoundError:
            continue
    return [path for path in found if "/bmhost-web." in path]


def test_one_address_cannot_take_all_connections_and_one_too_many_is_told(door, clients):
    before = [sent(clients(door), "GET /v1") for _ in range(3)]
    assert [status(client) for client in before] == [200, 200, 200]
    greedy = [sent(clients(door, "127.0.0.2"), "GET /v1") for _ in range(OF_ADDRESS)]
    assert {status(client) for client in greedy} == {200}
    assert clients(door, "127.0.0.2").recv(1) == b""
    expect_served(door)
    others = [sent(clients(door, "127.0.0.3"), "GET /v1") for _ in range(OF_ALL - OF_ADDRESS - len(before))]
    assert {status(client) for client in others} == {200}
    head = head_from(sent(clients(door, "127.0.0.4"), "GET /v1"))
    assert " 503 " in head and "Retry-After: 1" in head
    for client in greedy:
        client.close()
    wait_until(lambda: door.curl("/v1/blade")[0] == 200)


def test_readers_of_events_that_read_nothing_leave_the_others_alone(door, clients):
    readers = [sent(clients(door), "GET /v1/events") for _ in range(READERS_OF_EVENTS)]
    assert {status(reader) for reader in readers} == {200}
    assert status(sent(clients(door), "GET /v1/events")) == 503
    assert status(sent(clients(door), "GET /redfish/v1/EventService/SSE")) == 503
    expect_served(door)
    assert door.post("/v1/orders/led-set", LED_ON, user="operator")[0] == 200


def test_half_requests_hold_up_nobody(door, clients):
    for _ in range(100):
        clients(door).sendall(b"GET /v1/blade HTTP/1.1\r\nHost: 127.0.0.1\r\nX-Slow: ")
        clients(door).sendall(
            head_of("POST /v1/orders/led-set", "Content-Type: application/json", "Content-Length: 100", basic("operator")) + b"{"
        )
    expect_served(door)
    # While as many of their passwords are checked as may be at once, one more is told to come again.
    wait_until(lambda: door.post("/v1/orders/led-set", LED_ON, user="operator")[0] != 503)
    assert door.post("/v1/orders/led-set", LED_ON, user="operator")[0] == 200


def test_what_is_too_large_is_refused_before_it_comes(door, clients, tmp_path):
    assert status(sent(clients(door), "GET /v1", "X: " + "x" * 40_000)) == 431
    json_type = "Content-Type: application/json"
    assert status(sent(clients(door), "POST /v1/orders/led-set", json_type, "Content-Length: 70000", basic("operator"))) == 413
    image = "POST /v1/firmware?target=board&name=x", "Content-Type: application/octet-stream"
    for size in (MOST_IMAGE + 1, 10**18):
        assert status(sent(clients(door), *image, f"Content-Length: {size}", basic("operator"))) == 413
    push = "POST /redfish/v1/UpdateService/upload", "Content-Type: multipart/form-data; boundary=b"
    assert status(sent(clients(door), *push, f"Content-Length: {MOST_IMAGE * 2}", basic("operator"))) == 413
    # Within the form's size, though the image alone is too large.
    part = b'--b\r\nContent-Disposition: form-data; name="UpdateFile"; filename="x"\r\n\r\n'
    body = part + b"i" * (MOST_IMAGE + 1) + b"\r\n--b--\r\n"
    client = clients(door)
    client.sendall(head_of(*push, f"Content-Length: {len(body)}", basic("operator")) + body)
    assert status(client) == 413
    wait_until(lambda: images_of(door) == [])
    assert os.listdir(tmp_path / "images") == []
    expect_served(door)


def test_images_on_their_way_are_counted_and_leave_nothing_behind(door, clients, tmp_path):
    image = head_of(
        "POST /v1/firmware?target=board&name=x", "Content-Type: application/octet-stream", "Content-Length: 900000", basic("operator")
    )
    uploading = [clients(door) for _ in range(IMAGES)]
    for client in uploading:
        client.sendall(image + b"half of it")
    wait_until(lambda: len(images_of(door)) == IMAGES)
    more = clients(door)
    more.sendall(image)
    head = head_from(more)
    assert " 503 " in head and "Retry-After: " in head
    expect_served(door)
    assert os.listdir(tmp_path / "images") == []
    for client in uploading:
        client.close()
    wait_until(lambda: images_of(door) == [])


def test_many_logins_at_once_hold_up_nobody_who_needs_none(door, clients):
    guessing = [sent(clients(door), "GET /v1/blade", basic(f"nobody{i}", "guessed")) for i in range(100)]
    expect_served(door)
    statuses = [status(client) for client in guessing]
    assert set(statuses) <= {401, 429, 503} and 401 in statuses and len(set(statuses)) > 1, statuses
    assert json.loads(door.curl("/v1/blade")[1])


def test_requests_that_come_at_once_are_answered_in_their_order(door, clients):
    client = clients(door)
    paths = ["/v1", "/v1/nowhere", "/v1/blade", "/redfish/v1/nowhere", "/metrics"] * 40
    client.sendall(b"".join(head_of(f"HEAD {path}") for path in paths))
    assert [status(client) for _ in paths] == [200, 404, 200, 404, 200] * 40
    expect_served(door)


def test_answers_that_nobody_reads_hold_up_nobody(door, clients):
    for _ in range(100):
        client = clients(door)
        client.setblocking(False)
        try:
            client.send(head_of("GET /v1/blade") * 1000)
        except BlockingIOError:
            pass
    expect_served(door)
