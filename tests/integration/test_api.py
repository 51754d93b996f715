"""docs/openapi.json and what the socket answers: each says what the other does. A small program serves a fake blade."""
import http.client
import json
import os
import socket
import subprocess

import jsonschema
import pytest

ROOT = os.path.join(os.path.dirname(__file__), "..", "..")
API_HOST = os.path.join(os.environ["BM_BIN_DIR"], "api_host")
MOST_CONNECTIONS = 8  # as api_host serves them
BODY_SIZE = 4096
JSON = {"Content-Type": "application/json"}
IMAGE = {"Content-Type": "application/octet-stream"}
FIRMWARE = "/v1/firmware?target=amc&bay=3&name="
PRETEND = 0x90000  # a call on this group plus a status is answered with the status


class Connection(http.client.HTTPConnection):
    def __init__(self, path):
        super().__init__("localhost", timeout=30)
        self._path = path

    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.settimeout(self.timeout)
        self.sock.connect(self._path)


class Answer:
    def __init__(self, response, body):
        self.status = response.status
        self.headers = response.headers
        self.body = body

    def json(self):
        return json.loads(self.body)


class Served:
    def __init__(self, path):
        self._path = path

    def connect(self):
        return Connection(self._path)

    def ask(self, method, path, body=None, headers=()):
        connection = self.connect()
        try:
            connection.request(method, path, body=body, headers=dict(headers))
        except (BrokenPipeError, ConnectionResetError):
            pass  # the server has answered before the body came, and has closed its side
        response = connection.getresponse()
        try:
            if response.headers["Content-Type"] == "text/event-stream":
                return Answer(response, b"")
            return Answer(response, response.read())
        finally:
            connection.close()


@pytest.fixture(scope="module")
def document():
    with open(os.path.join(ROOT, "docs", "openapi.json"), encoding="utf-8") as file:
        return json.load(file)


@pytest.fixture(scope="module")
def routes():
    lines = subprocess.run([API_HOST, "--routes"], check=True, capture_output=True, text=True).stdout.splitlines()
    return [json.loads(line) for line in lines]


@pytest.fixture(scope="module")
def served(tmp_path_factory):
    folder = tmp_path_factory.mktemp("api")
    path = str(folder / "socket")
    with subprocess.Popen([API_HOST, path, str(folder)], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
        assert process.stdout.readline() == b"serving\n"
        yield Served(path)
        process.stdin.close()
        assert process.wait(30) == 0


def post(path, value, **headers):
    return "POST", path, json.dumps(value), {**JSON, **headers}


def call(status):
    return post("/v1/calls", {"op": "read", "group": PRETEND + status})


def order(status):
    return post("/v1/orders/led-set", {"pretend": status})


def too_large(path, size):
    return "POST", path, None, {**JSON, "Content-Length": str(size)}


def image_of(size):
    return "POST", FIRMWARE + "x", None, {**IMAGE, "Content-Length": str(size)}


def chunked(path):
    return "POST", path, iter([b"x"]), {**JSON, "Transfer-Encoding": "chunked"}


PARTS = "source host inventory leds dsps ports health controller upgrades calls faults status".split()

# What brings about each status that the document names. 503 is brought about for every route by too many connections.
CASES = {
    ("get", "/v1"): {200: [("GET", "/v1")], 400: [("GET", "/v1?x=1")]},
    ("get", "/v1/blade"): {
        200: [("GET", "/v1/blade")],
        304: [("GET", "/v1/blade", None, {"If-None-Match": "*"})],
        400: [("GET", "/v1/blade", b"body")],
    },
    ("get", "/v1/blade/{part}"): {
        200: [("GET", f"/v1/blade/{part}") for part in PARTS],
        400: [("GET", "/v1/blade/leds?x")],
        404: [("GET", "/v1/blade/fans")],
    },
    ("get", "/v1/blade/leds/{bay}/{led}"): {
        200: [("GET", "/v1/blade/leds/0/2"), ("GET", "/v1/blade/leds/3/3")],
        400: [("GET", "/v1/blade/leds/0/2?x")],
        404: [("GET", "/v1/blade/leds/1/1"), ("GET", "/v1/blade/leds/a/b")],
    },
    ("get", "/v1/blade/modules/{bay}"): {
        200: [("GET", "/v1/blade/modules/3")],
        400: [("GET", "/v1/blade/modules/3?x")],
        404: [("GET", "/v1/blade/modules/4")],
    },
    ("get", "/v1/blade/dsps/{number}"): {
        200: [("GET", "/v1/blade/dsps/1")],
        400: [("GET", "/v1/blade/dsps/1?x")],
        404: [("GET", "/v1/blade/dsps/99")],
    },
    ("get", "/v1/blade/ports/{port}"): {
        200: [("GET", "/v1/blade/ports/1")],
        400: [("GET", "/v1/blade/ports/1?x")],
        404: [("GET", "/v1/blade/ports/99")],
    },
    ("post", "/v1/calls"): {
        200: [
            post("/v1/calls", {"op": "read", "group": "0x300", "keys": [{"id": "bay", "type": 1, "value": 3}]}),
            post("/v1/calls", {"op": "table", "group": 768, "keys": None}),
            post("/v1/calls", {"op": "write", "group": 256, "values": [{"id": 1, "value": True}]}),
            post("/v1/calls", {"op": "start"}),
            post("/v1/calls", {"op": "stop"}),
        ],
        400: [post("/v1/calls", {}), call(400)],
        409: [post("/v1/calls", {"op": "init"}), call(409)],
        411: [chunked("/v1/calls")],
        413: [too_large("/v1/calls", BODY_SIZE + 1)],
        415: [("POST", "/v1/calls", "{}", {"Content-Type": "text/plain"})],
        500: [call(500)],
    },
    ("post", "/v1/orders/{order}"): {
        200: [
            post(f"/v1/orders/{name}", {"bay": 3})
            for name in "led-set dsp-set-ip switch-set board-reset start stop".split()
        ],
        400: [post("/v1/orders/start", []), order(400)],
        404: [post("/v1/orders/dance", {})],
        409: [order(409)],
        411: [chunked("/v1/orders/stop")],
        413: [too_large("/v1/orders/stop", BODY_SIZE + 1)],
        415: [("POST", "/v1/orders/stop", "{}", {"Content-Type": "text/plain"})],
        500: [order(500)],
    },
    ("post", "/v1/firmware"): {
        200: [("POST", FIRMWARE + "x&dry_run", b"image", IMAGE)],
        202: [("POST", FIRMWARE + "x", b"image", IMAGE)],
        400: [("POST", "/v1/firmware", b"image", IMAGE)],
        409: [("POST", FIRMWARE + "409", b"image", IMAGE)],
        411: [chunked(FIRMWARE + "x")],
        413: [image_of(2 * 10**18)],
        415: [("POST", FIRMWARE + "x", b"image", JSON)],
        500: [("POST", FIRMWARE + "500", b"image", IMAGE)],
        507: [image_of(10**18)],
    },
    ("get", "/v1/events"): {
        200: [("GET", "/v1/events?after=0"), ("GET", "/v1/events", None, {"Last-Event-ID": "1"})],
        400: [("GET", "/v1/events?after=x")],
    },
    ("get", "/v1/statistics"): {200: [("GET", "/v1/statistics")], 400: [("GET", "/v1/statistics?x=1")]},
    ("get", "/v1/log"): {200: [("GET", "/v1/log"), ("GET", "/v1/log?lines=1")], 400: [("GET", "/v1/log?lines=0")]},
    ("get", "/v1/openapi.json"): {200: [("GET", "/v1/openapi.json")], 400: [("GET", "/v1/openapi.json?x")]},
}


def resolved(document, value):
    while "$ref" in value:
        name = value["$ref"]
        value = document
        for key in name.removeprefix("#/").split("/"):
            value = value[key]
    return value


def operations(document):
    return {(method, path): operation for path, item in document["paths"].items() for method, operation in item.items()}


def responses(document, operation):
    return {int(status): resolved(document, response)
            for status, response in operation["responses"].items() if status != "default"}


def check(document, schema, value):
    """The schema with the document's components; formats and patterns count."""
    whole = {"components": document["components"], **schema}
    jsonschema.Draft202012Validator(whole).validate(value)


def concrete(path):
    for name, value in {"part": "leds", "bay": "3", "led": "3", "number": "1", "port": "1", "order": "stop"}.items():
        path = path.replace("{%s}" % name, value)
    return path


def test_the_document_is_served_as_it_stands_in_docs(served, document):
    assert served.ask("GET", "/v1/openapi.json").json() == document


def test_each_row_of_the_route_table_is_in_the_document_and_no_other(document, routes):
    served = {(row["method"].lower(), row["path"]) for row in routes}
    assert served == set(operations(document))


def test_each_parameter_is_in_the_document_and_no_other(document, routes):
    for row in routes:
        parameters = operations(document)[row["method"].lower(), row["path"]].get("parameters", [])
        assert {p["name"] for p in parameters if p["in"] == "query"} == set(row["query"].split()), row
        in_path = {p["name"] for p in parameters if p["in"] == "path"}
        assert in_path == {part.strip("{}") for part in row["path"].split("/") if part.startswith("{")}, row


def test_each_summary_is_the_route_tables(served, document):
    for link in served.ask("GET", "/v1").json()["links"]:
        operation = operations(document)[link["method"].lower(), link["path"]]
        assert operation["summary"] == link["summary"]


def test_each_status_of_the_document_is_brought_about_below(document):
    for route, operation in operations(document).items():
        assert set(responses(document, operation)) == set(CASES[route]) | {503}, route


@pytest.mark.parametrize("route, status", [(route, status) for route, cases in CASES.items() for status in cases],
                         ids=lambda value: str(value) if isinstance(value, int) else " ".join(value))
def test_each_answer_is_as_the_document_says(served, document, route, status):
    response = responses(document, operations(document)[route])[status]
    for case in CASES[route][status]:
        answer = served.ask(*case)
        assert answer.status == status, case
        for header, described in response.get("headers", {}).items():
            assert header in answer.headers or not described["required"], header
        content = response.get("content")
        if content is None:
            assert answer.body == b""
            continue
        kind = answer.headers["Content-Type"]
        assert kind in content
        if kind == "application/json":
            assert answer.body.endswith(b"}\n") or answer.body.endswith(b"]\n")
            check(document, content[kind]["schema"], answer.json())


def test_each_part_has_a_schema_of_its_own(served, document):
    part_names = operations(document)["get", "/v1/blade/{part}"]["parameters"][0]["schema"]["enum"]
    assert part_names == PARTS
    schemas = document["components"]["schemas"]["Picture"]["properties"]
    for part in part_names:
        check(document, schemas[part], served.ask("GET", f"/v1/blade/{part}").json())


def test_too_many_connections_are_answered_as_the_document_says_on_every_route(served, document):
    idle = []
    try:
        while len(idle) < MOST_CONNECTIONS:
            connection = served.connect()
            connection.request("GET", "/v1")
            response = connection.getresponse()
            # A connection of an earlier test may still be there for a moment.
            if response.read() and response.status == 200:
                idle.append(connection)
            else:
                connection.close()
        for route, cases in CASES.items():
            answer = served.ask(*next(iter(cases.values()))[0])
            assert answer.status == 503, route
            response = responses(document, operations(document)[route])[503]
            check(document, response["content"]["application/json"]["schema"], answer.json())
            assert answer.headers["Retry-After"] == "1"
    finally:
        for connection in idle:
            connection.close()
    while served.ask("GET", "/v1").status != 200:
        pass


def test_head_is_served_wherever_get_is(served, document):
    for method, path in operations(document):
        if method != "get":
            continue
        answer = served.ask("HEAD", concrete(path))
        assert answer.status == 200, path
        assert answer.body == b""


def test_another_method_is_refused_with_those_that_are_served(served, document):
    for path, item in document["paths"].items():
        answer = served.ask("DELETE", concrete(path))
        assert answer.status == 405
        assert answer.headers["Allow"] == ("GET, HEAD" if "get" in item else "POST")
        check(document, {"$ref": "#/components/schemas/Error"}, answer.json())


def test_every_component_is_used(document):
    text = json.dumps(document)
    unused = [f"#/components/{kind}/{name}" for kind, members in document["components"].items() for name in members
              if f'"#/components/{kind}/{name}"' not in text and name + "News" not in text and not name.endswith("News")]
    assert unused == []


def test_events_have_the_schemas_of_their_kinds(served, document):
    connection = served.connect()
    try:
        connection.request("GET", "/v1/events?after=0")
        response = connection.getresponse()
        kinds = []
        while len(kinds) < 2:
            line = response.readline().decode()
            if line.startswith("event: "):
                kinds.append(line.removeprefix("event: ").strip())
            if line.startswith("data: "):
                schema = kinds[-1].capitalize() + "News"
                check(document, {"$ref": f"#/components/schemas/{schema}"}, json.loads(line.removeprefix("data: ")))
        assert kinds == ["event", "picture"]
    finally:
        connection.close()
