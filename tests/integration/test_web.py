"""The web door on the simulated blade, as programs elsewhere see it. These tests run in a typical blade, beside its resident host."""

import hashlib
import json
import re
import signal
import socket
import ssl
import subprocess

import pytest
from conftest import SECONDS, bin_folder
from inside import order, sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from resident import ask, resident, started  # noqa: F401 (one is a fixture)

PASSWORD = "correct horse"
LED_ON = json.dumps({"bay": 3, "led": 3, "action": "on", "color": "green"})


def free_port():
    with socket.socket() as found:
        found.bind(("127.0.0.1", 0))
        return found.getsockname()[1]


class Web:
    """`bmhost web`, with accounts reader, operator and admin."""

    def __init__(self, folder, *options):
        self.folder = folder
        self.port = free_port()
        self.accounts = folder / "accounts"
        for role in ("ReadOnly", "Operator", "Administrator"):
            self.add(role.lower(), role)
        words = ["web", "--listen", f"127.0.0.1:{self.port}", "--accounts", self.accounts, *options]
        self.errors = open(folder / "web-errors", "w+")
        self.process = subprocess.Popen([bin_folder() / "bmhost", *words], stderr=self.errors, stdout=self.errors)
        wait_until(self.serves)

    def add(self, name, role):
        words = ["account", "add", name, "--role", role, "--password-file", "-", "--accounts", self.accounts]
        subprocess.run([bin_folder() / "bmhost", *words], input=PASSWORD + "\n", text=True, check=True, timeout=SECONDS)

    def serves(self):
        assert self.process.poll() is None, (self.folder / "web-errors").read_text()
        return self.curl("/v1/blade")[0] == 200

    def curl(self, path, *options, url=None):
        """Status and body."""
        url = url or f"http://127.0.0.1:{self.port}"
        command = ["curl", "-s", "-S", "-g", "-m", str(SECONDS), "-w", "\n%{http_code}", *options, url + path]
        done = subprocess.run(command, capture_output=True, text=True, timeout=SECONDS)
        body, _, status = done.stdout.rpartition("\n")
        return int(status or 0), body

    def post(self, path, body, *options, user=None):
        account = ["-u", f"{user}:{PASSWORD}"] if user else []
        return self.curl(path, *account, "-H", "Content-Type: application/json", "-d", body, *options)

    def log(self):
        return (self.folder / "web-errors").read_text()

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(SECONDS)


@pytest.fixture
def web(resident, tmp_path):  # noqa: F811
    host = resident()
    wait_until(started)
    doors = []

    def start(*options):
        doors.append(Web(tmp_path, *options))
        return doors[-1]

    start.host = host
    yield start
    for door in doors:
        door.process.kill()
        door.process.wait()
        door.errors.close()


def asked(line):
    """The lines of the resident host's log that say who asked."""
    return [each["text"] for each in ask("/v1/log?lines=1000")[1]["lines"] if line in each["text"]]


# What every reading of an LED changes: it is no news, so the door hears of it later.
READINGS = ("revision", "time", "sweeps", "read_at", "age_ms")


def lasting(value):
    """Of a picture, what stays from one reading to the next."""
    if isinstance(value, dict):
        return {key: lasting(each) for key, each in value.items() if key not in READINGS}
    return [lasting(each) for each in value] if isinstance(value, list) else value


def same_moment(door):
    """The picture at the socket and at the door, when nothing came between."""
    before = ask("/v1/blade")[1]
    status, body = door.curl("/v1/blade")
    after = ask("/v1/blade")[1]
    return (status, json.loads(body)) if lasting(after) == lasting(before) == lasting(json.loads(body)) else None


def test_on_loopback_whoever_asks_sees_what_the_socket_tells(web):
    door = web()
    wait_until(lambda: same_moment(door) is not None)
    picture = json.loads(door.curl("/v1/blade")[1])
    for part in ("inventory", "ports"):
        assert json.loads(door.curl(f"/v1/blade/{part}")[1]) == ask(f"/v1/blade/{part}")[1] == picture[part]
    assert json.loads(door.curl("/v1/openapi.json")[1]) == ask("/v1/openapi.json")[1]
    assert json.loads(door.curl("/v1/log")[1])["lines"]
    assert door.curl("/v1/nowhere")[0] == 404
    assert door.end() == 0


def test_an_order_needs_an_account_and_the_log_names_it(web):
    door = web()
    assert door.post("/v1/orders/led-set", LED_ON)[0] == 401
    assert door.post("/v1/orders/led-set", LED_ON, user="readonly")[0] == 403
    assert door.curl("/v1/orders/led-set", "-u", "operator:wrong", "-d", LED_ON)[0] in (401, 415)
    assert asked("order led") == []
    status, body = door.post("/v1/orders/led-set", LED_ON, user="operator")
    assert (status, json.loads(body)["good"]) == (200, True), body
    assert len(asked("asked by operator (127.0.0.1) (uid ")) == 1
    assert door.post("/v1/calls", '{"op": "table", "group": "0x30000"}', user="operator")[0] == 403
    status, body = door.post("/v1/calls", '{"op": "table", "group": "0x30000"}', user="administrator")
    assert (status, json.loads(body)["result"]) == (200, 1)
    assert "login of operator from 127.0.0.1 failed" in door.log()
    assert PASSWORD not in door.log()


def test_names_and_pages_from_elsewhere_are_refused(web):
    door = web("--server-name", "blade.example")
    assert door.curl("/v1", "-H", "Host: attacker.example")[0] == 421
    assert door.curl("/v1", "-H", "Host: blade.example")[0] == 200
    assert door.post("/v1/orders/led-set", LED_ON, "-H", "Origin: http://attacker.example", user="operator")[0] == 403
    assert asked("order led") == []


def test_elsewhere_it_needs_tls_and_accounts(web, tmp_path):
    words = [bin_folder() / "bmhost", "web", "--listen", "0.0.0.0:0", "--accounts", tmp_path / "none"]
    done = subprocess.run(words, capture_output=True, text=True, timeout=SECONDS)
    assert done.returncode == 2 and "it needs TLS" in done.stderr
    made = subprocess.run([bin_folder() / "bmhost", "tls-init", "--dir", tmp_path], capture_output=True, text=True, timeout=SECONDS)
    assert made.returncode == 0, made.stderr
    tls = ["--tls-cert", tmp_path / "web.crt", "--tls-key", tmp_path / "web.key"]
    done = subprocess.run([*words, *tls], capture_output=True, text=True, timeout=SECONDS)
    assert done.returncode == 2 and "it needs an account" in done.stderr

    port = free_port()
    door = web("--listen", f"0.0.0.0:{port}", *tls)
    url = f"https://localhost:{port}"
    trusted = ["--cacert", tmp_path / "web.crt"]
    assert door.curl("/v1/blade", url=url)[0] == 0, "nobody has signed the certificate"
    assert door.curl("/v1/blade", *trusted, url=url)[0] == 401
    status, body = door.curl("/v1/blade", *trusted, "-u", f"readonly:{PASSWORD}", url=url)
    assert status == 200 and json.loads(body)["host"]["resident"] is True

    def fingerprint():
        digest = hashlib.sha256(ssl.PEM_cert_to_DER_cert(ssl.get_server_certificate(("127.0.0.1", port)))).hexdigest()
        return digest.upper()

    shown = re.search("SHA-256 ([0-9A-F:]+)", made.stdout)[1].replace(":", "")
    assert fingerprint() == shown
    subprocess.run([bin_folder() / "bmhost", "tls-init", "--force", "--dir", tmp_path], check=True, capture_output=True, timeout=SECONDS)
    door.add("late", "ReadOnly")
    assert door.curl("/v1/blade", "-k", "-u", f"late:{PASSWORD}", url=url)[0] == 401
    door.process.send_signal(signal.SIGHUP)
    wait_until(lambda: fingerprint() != shown)
    assert door.curl("/v1/blade", "-k", "-u", f"late:{PASSWORD}", url=url)[0] == 200


def test_streams_end_with_the_right_of_their_account(web):
    door = web()
    paths = ("/v1/events?after=0", "/redfish/v1/EventService/SSE")
    streams = {(user, path): subprocess.Popen(["curl", "-s", "-N", "-g", "-m", str(SECONDS), "-u", f"{user}:{PASSWORD}", f"http://127.0.0.1:{door.port}{path}"],
                                              stdout=subprocess.PIPE) for user in ("readonly", "operator") for path in paths}
    try:
        for stream in streams.values():
            assert stream.stdout.read(1), "it has begun"
        subprocess.run([bin_folder() / "bmhost", "account", "remove", "readonly", "--accounts", door.accounts], check=True, timeout=SECONDS)
        door.process.send_signal(signal.SIGHUP)
        for path in paths:
            assert streams["readonly", path].wait(timeout=SECONDS) == 0, "the door has ended it, not the reader's patience"
        assert [stream.poll() for (user, path), stream in streams.items() if user == "operator"] == [None, None]
    finally:
        for stream in streams.values():
            stream.kill()
            stream.communicate()


def test_a_frozen_controller_makes_no_reader_wait(web):
    door = web()
    order("controller", "stop")
    try:
        hanging = subprocess.Popen(["curl", "-s", "-u", f"operator:{PASSWORD}", "-H", "Content-Type: application/json", "-d", LED_ON,
                                    f"http://127.0.0.1:{door.port}/v1/orders/led-set"], stdout=subprocess.PIPE)
        wait_until(lambda: asked("asked by operator (127.0.0.1)"))
        for path in ("/v1", "/v1/blade", "/v1/blade/leds", "/v1/log"):
            assert door.curl(path)[0] == 200
        assert hanging.poll() is None, "the order was answered meanwhile"
    finally:
        order("controller", "start")
    hanging.communicate(timeout=SECONDS)


def test_a_host_that_goes_is_told_of_and_found_again(web, resident):  # noqa: F811
    door = web()
    assert web.host.end()[0] == 0
    wait_until(lambda: door.curl("/v1/blade")[0] == 503)
    assert "bmhost.sock" in json.loads(door.curl("/v1/blade")[1])["error"]["reason"]
    resident()
    wait_until(lambda: door.curl("/v1/blade")[0] == 200)
