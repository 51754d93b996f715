"""`bmhost --connect` on the simulated blade: the web door, plain on loopback and with TLS, shows what the socket shows, and says why when it
does not. These tests run in a typical blade, beside its resident host."""

import json
import os
import re
import signal
import socket
import ssl
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import sound_blade, wait_until  # noqa: F401 (one is a fixture)
from mission import fresh_tools  # noqa: F401 (a fixture)
from resident import resident  # noqa: F401 (a fixture)
from test_web import PASSWORD, asked, free_port, web  # noqa: F401 (one is a fixture)

BMHOST = bin_folder() / "bmhost"
LOOKS = (
    ["inventory"],
    ["leds"],
    ["status"],
    ["dsp"],
    ["switch"],
    ["why"],
    ["firmware", "show"],
    ["log", "-n", "3"],
    ["groups"],
    ["table", "amc_table"],
    ["read", "amc_table", "bay=3"],
    ["table", "0x30300", "--json"],
)
# Times, and what every reading of an LED changes, which is no news to the door.
VARYING = re.compile(r'"(time|age_ms|read_at|revision|sweeps)":("[^"]*"|\d+)|\bnow\b|\d+ (s|min) ago')


def bmhost(*words, **more):
    return subprocess.run([BMHOST, *words], capture_output=True, text=True, timeout=SECONDS, **more)


def shown(*words):
    """What stays the same from one moment to the next."""
    done = bmhost(*words)
    return done.returncode, VARYING.sub("", done.stdout), done.stderr


class Connected:
    """The door, and how it is asked."""

    def __init__(self, folder, door, url, *options):
        self.folder, self.door, self.url = folder, door, url
        self.password = folder / "password"
        self.password.write_text(PASSWORD + "\n")
        self.password.chmod(0o600)
        self.options = options

    def words(self, account="administrator"):
        return ["--connect", self.url, *self.options, "--account", account, "--password-file", self.password]

    def bmhost(self, *words, account="administrator"):
        return bmhost(*self.words(account), *words)


@pytest.fixture(params=["plain", "tls"])
def there(request, web, tmp_path):  # noqa: F811
    return tls_door(web, tmp_path) if request.param == "tls" else plain_door(web, tmp_path)


def plain_door(web, tmp_path):  # noqa: F811
    door = web()
    return Connected(tmp_path, door, f"http://127.0.0.1:{door.port}")


def tls_door(web, tmp_path):  # noqa: F811
    made = bmhost("tls-init", "--dir", tmp_path, "--server-name", "blade.example")
    assert made.returncode == 0, made.stderr
    port = free_port()
    door = web("--listen", f"0.0.0.0:{port}", "--tls-cert", tmp_path / "web.crt", "--tls-key", tmp_path / "web.key")
    return Connected(tmp_path, door, f"https://localhost:{port}", "--tls-ca", tmp_path / "web.crt")


def helpers():
    """Processes that speak TLS for a command."""
    found = []
    for each in Path("/proc").glob("[0-9]*/comm"):
        try:
            if each.read_text() == "bmhost-tls\n":
                found.append(int(each.parent.name))
        except OSError:
            pass  # it has ended
    return found


def expect_same(there, words):
    seen = {}

    def same():
        seen.update(here=shown(*words), elsewhere=shown(*there.words(), *words))
        return seen["here"] == seen["elsewhere"]

    try:
        wait_until(same)  # what changed between the two is asked again
    except AssertionError:
        assert seen["here"] == seen["elsewhere"], words
        raise


def test_looks_and_calls_are_those_of_the_socket(there):
    for words in LOOKS:
        for json_too in ([], ["--json"]):
            expect_same(there, [*words, *json_too])
    assert helpers() == []


def test_an_operator_gives_orders_and_a_reader_none(there):
    order = ["led", "set", "3", "health", "on", "--color", "green"]
    done = there.bmhost(*order, account="readonly")
    assert done.returncode == 1 and "the role ReadOnly has" in done.stderr, done.stderr
    assert asked("order led") == []
    done = there.bmhost(*order, account="operator")
    assert (done.returncode, done.stderr) == (0, ""), done.stderr
    assert asked("asked by operator (127.0.0.1)") != []
    again = there.bmhost(*order, account="operator")
    assert again.stdout == bmhost(*order).stdout != ""
    assert there.bmhost("table", "board", account="operator").returncode == 1
    for life in ("stop", "start"):
        done = there.bmhost(life, account="operator")
        assert (done.returncode, done.stdout) == (0, f"{life}: 1 (success)\n"), done.stderr


def test_an_image_is_sent_and_the_upgrade_followed(there):
    image = there.folder / "image.bin"
    image.write_bytes(b"firmware" * 200_000)
    words = ["firmware", "update", "--target", "amc", "--bay", "3", "--yes", image]
    assert there.bmhost(*words, account="readonly").returncode == 1
    done = there.bmhost(*words, account="operator")
    assert done.returncode == 0 and "upgraded" in done.stdout, (done.stdout, done.stderr)
    assert "image.bin" in there.bmhost("firmware", "show", account="readonly").stdout


def test_events_and_watch_follow_until_the_door_goes(there):
    events = subprocess.Popen([BMHOST, *there.words("readonly"), "events"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    watch = subprocess.Popen([BMHOST, *there.words("readonly"), "watch"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    assert events.stdout.readline() != ""
    assert watch.stdout.readline() != ""
    there.bmhost("led", "set", "3", "health", "on", "--color", "green", account="operator")
    while "order led-set" not in events.stdout.readline():
        pass
    there.door.process.kill()
    there.door.process.wait()
    _, errors = events.communicate(timeout=SECONDS)
    assert events.returncode == 1 and "Connection refused; is bmhost-web running there" in errors, errors
    while "waiting for one" not in watch.stderr.readline():
        assert watch.poll() is None
    watch.send_signal(signal.SIGTERM)
    watch.communicate(timeout=SECONDS)
    assert watch.returncode == 0
    wait_until(lambda: helpers() == [])


def test_a_wrong_password_is_told_once_and_not_tried_again(there):
    there.password.write_text("wrong horse\n")
    for words in (["status"], ["watch"], ["events"]):
        done = there.bmhost(*words, account="operator")
        assert done.returncode == 1 and "account operator is unknown there, or the password is wrong" in done.stderr, done.stderr
    assert there.door.log().count("login of operator from") == 3


def test_a_report_has_what_the_host_tells(there):
    file = there.folder / "report.tar.zst"
    done = there.bmhost("--json", "report", file)
    assert done.returncode == 0, done.stderr
    told = json.loads(done.stdout)
    assert {"picture.json", "leds.txt", "tables.jsonl", "log.txt"} <= set(told["parts"])
    assert {"packages.txt", "storage", "ipmi"} <= {each["part"] for each in told["missing"]}
    assert "packages.txt" not in told["parts"]


def test_what_is_for_the_blades_own_machine_is_refused(there):
    for words in (["run"], ["pstn"], ["metrics"], ["account", "list"], ["web"], ["tls-init"]):
        done = bmhost("--connect", there.url, *words)
        assert done.returncode == 2 and "is for the machine that it runs on" in done.stderr, done.stderr
    for words in (["init"], ["fin"]):
        done = there.bmhost(*words)
        assert done.returncode == 6 and "another host has the blade" in done.stderr, done.stderr
    done = there.bmhost("--mode", "2", "leds")
    assert done.returncode == 2 and "--mode: the web door at" in done.stderr, done.stderr


def test_on_plain_loopback_looks_need_no_account(web, tmp_path):  # noqa: F811
    there = plain_door(web, tmp_path)
    assert bmhost("--connect", there.url, "leds").returncode == 0
    done = bmhost("--connect", there.url, "led", "set", "3", "health", "off")
    assert done.returncode == 1 and "this needs an account: --account NAME --password-file FILE" in done.stderr
    with_line = bmhost("--connect", there.url, "--account", "readonly", "--password-file", "-", "leds", input=PASSWORD + "\n")
    assert with_line.returncode == 0, with_line.stderr


def test_a_stranger_gets_no_password(web, tmp_path):  # noqa: F811
    there = tls_door(web, tmp_path)
    port = there.url.rpartition(":")[2]
    other = tmp_path / "other"
    other.mkdir()
    bmhost("tls-init", "--dir", other)
    cases = [
        (there.url, [], "nobody who is trusted here has signed its certificate"),
        (there.url, ["--tls-ca", other / "web.crt"], "nobody who is trusted here has signed its certificate"),
        (f"https://127.0.0.2:{port}", there.options, "its certificate is for another name than 127.0.0.2"),
        # The door's plain listener answers in plain text, or has closed before its answer is read.
        (f"https://127.0.0.1:{there.door.port}", there.options, ("it speaks no TLS 1.2 or 1.3", "broke before it was secure")),
        (f"https://localhost:{free_port()}", there.options, "Connection refused; is bmhost-web running there"),
        ("https://nowhere.invalid", there.options, "there is no such host"),
    ]
    for url, options, text in cases:
        done = bmhost("--connect", url, *options, "--account", "operator", "--password-file", there.password, "leds")
        texts = (text,) if isinstance(text, str) else text
        assert done.returncode == 1 and any(each in done.stderr for each in texts), done.stderr
        # A leak checker may say that a thread has ended meanwhile.
        assert len([line for line in done.stderr.splitlines() if not line.startswith("==")]) == 1, done.stderr
    for file, text in ((tmp_path / "none", "No such file"), (there.password, "there is no certificate in it")):
        done = bmhost("--connect", there.url, "--tls-ca", file, "leds")
        assert done.returncode == 2 and f"--tls-ca {file}: {text}" in done.stderr, done.stderr
    assert "login of" not in there.door.log()


class Impostor:
    """A server with a certificate of the test's choice."""

    def __init__(self, certificate, key):
        self.context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        self.context.load_cert_chain(certificate, key)
        self.listening = socket.create_server(("127.0.0.1", 0))
        self.url = f"https://localhost:{self.listening.getsockname()[1]}"

    def take(self):
        connection, _ = self.listening.accept()
        connection.settimeout(SECONDS)
        return self.context.wrap_socket(connection, server_side=True)


def test_a_certificate_that_has_expired_is_refused(tmp_path):
    key, request, names, certificate = (str(tmp_path / name) for name in ("key", "request", "names", "certificate"))
    Path(names).write_text("subjectAltName=DNS:localhost\n")
    new = ["openssl", "req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-subj", "/CN=localhost"]
    subprocess.run([*new, "-keyout", key, "-out", request], check=True, capture_output=True)
    words = ["openssl", "x509", "-req", "-in", request, "-signkey", key, "-days", "-1", "-extfile", names, "-out", certificate]
    subprocess.run(words, check=True, capture_output=True)
    server = Impostor(certificate, key)
    command = subprocess.Popen([BMHOST, "--connect", server.url, "--tls-ca", certificate, "leds"], stderr=subprocess.PIPE, text=True)
    with pytest.raises(OSError):
        server.take().recv(1)
    _, errors = command.communicate(timeout=SECONDS)
    assert command.returncode == 1 and "its certificate has expired" in errors, errors


def test_a_door_that_says_nothing_costs_the_time_that_was_given(tmp_path):
    silent = socket.create_server(("127.0.0.1", 0))
    port = silent.getsockname()[1]
    for url, text in ((f"https://localhost:{port}", "takes no connection within 0.3 s"), (f"http://localhost:{port}", "no answer of the web door at")):
        done = bmhost("--connect", url, "--timeout", "0.3", "leds")
        assert done.returncode == 5 and text in done.stderr, done.stderr
    assert helpers() == []


def test_a_redirection_is_not_followed(web, tmp_path):  # noqa: F811
    there = tls_door(web, tmp_path)
    server = Impostor(tmp_path / "web.crt", tmp_path / "web.key")
    command = subprocess.Popen([BMHOST, "--connect", server.url, *there.options, "log"], stderr=subprocess.PIPE, text=True)
    with server.take() as connection:
        connection.recv(65536)
        answer = f"HTTP/1.1 307 Elsewhere\r\nLocation: {there.url}/v1/log\r\nContent-Length: 0\r\n\r\n"
        connection.sendall(answer.encode())
    _, errors = command.communicate(timeout=SECONDS)
    assert command.returncode == 1 and "refused `GET /v1/log`: status 307" in errors, errors


def test_a_helper_that_is_killed_is_told_and_none_stays(web, tmp_path):  # noqa: F811
    there = tls_door(web, tmp_path)
    words = [BMHOST, *there.words(), "shell"]
    shell = subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    shell.stdin.write("read amc_table bay=3\n")
    shell.stdin.flush()
    assert shell.stdout.readline() != ""
    for process in helpers():
        os.kill(process, signal.SIGKILL)
    wait_until(lambda: helpers() == [] or all(Path(f"/proc/{each}/stat").read_text().split()[2] == "Z" for each in helpers()))
    output, errors = shell.communicate("read amc_table bay=3\n", timeout=SECONDS)  # it connects again
    assert (shell.returncode, errors) == (0, ""), errors
    assert output.count("read 0x30200") >= 1

    events = subprocess.Popen([BMHOST, *there.words("readonly"), "watch"], stdout=subprocess.PIPE, text=True)
    events.stdout.readline()
    assert helpers() != []
    events.kill()  # the kernel ends the helpers then
    events.communicate(timeout=SECONDS)
    wait_until(lambda: helpers() == [])


def test_an_answer_that_is_cut_off_is_none(web, tmp_path):  # noqa: F811
    """Who cuts the connection is no host that has said all: the body has no length, so that its end is the connection's."""
    there = tls_door(web, tmp_path)
    server = Impostor(tmp_path / "web.crt", tmp_path / "web.key")
    words = [BMHOST, "--connect", server.url, *there.options, "--json", "log"]
    for is_whole in (True, False):
        command = subprocess.Popen(words, stderr=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        connection = server.take()
        assert b"GET /v1/log" in connection.recv(65536)
        connection.sendall(b'HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n\r\n{"lines": []}')
        if is_whole:
            connection.unwrap().close()
        else:
            os.close(connection.detach())  # no goodbye
        output, errors = command.communicate(timeout=SECONDS)
        assert (command.returncode, output != "") == ((0, True) if is_whole else (1, False)), errors
    assert "went away while it answered" in errors, errors


def test_the_password_stands_nowhere_where_others_look(there):
    events = subprocess.Popen([BMHOST, *there.words("readonly"), "events"], stdout=subprocess.PIPE, text=True)
    events.stdout.readline()
    for process in [events.pid, *helpers()]:
        for file in ("cmdline", "environ"):
            assert PASSWORD.encode() not in Path(f"/proc/{process}/{file}").read_bytes()
    events.kill()
    events.communicate(timeout=SECONDS)
    there.password.chmod(0o640)
    done = there.bmhost("leds")
    assert done.returncode == 2 and "others than its owner may read or write it; `chmod 600" in done.stderr
