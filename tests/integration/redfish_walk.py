"""Walks a Redfish tree over HTTP as a validator does: every link from the root, each resource against the rules of the schema that it claims
(tests/unit/host/web/redfish/SchemaTable.h), its Oem objects against the files that the service itself serves, and the protocol's rules."""

import base64
import json
import re
import uuid
import xml.etree.ElementTree as xml
from http.client import HTTPConnection
from pathlib import Path

import jsonschema
from conftest import SECONDS

TABLE = Path(__file__).parents[1] / "unit/host/web/redfish/SchemaTable.h"
ROOT = "/redfish/v1/"
PUBLISHED = "https://redfish.dmtf.org/schemas/v1/"
EVERYWHERE = {"@odata.id", "@odata.type", "Id", "Name", "Actions", "Oem"}
TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d)")
STRONG_ETAG = re.compile(r'"[!#-~]+"')
COUNT = "@odata.count"
EDM = "{http://docs.oasis-open.org/odata/ns/edm}"
EDMX = "{http://docs.oasis-open.org/odata/ns/edmx}"
TYPES = {"Edm.Int64": int, "Edm.String": str, "Edm.Boolean": bool, "Edm.DateTimeOffset": "time"}
METHODS = ("POST", "PATCH", "PUT", "DELETE")
EMPTY_IS_FINE = {"Boot", "Actions"}  # clients fail without them


def rules():
    """Of each schema the types of its properties by path, and those that have to be there."""
    known, required = {}, {}
    for line in TABLE.read_text().partition('R"(')[2].partition(')"')[0].split("\n"):
        if not line:
            continue
        schema, path, kind = line.split(" ", 2)
        if path.startswith("!"):
            path = path[1:]
            required.setdefault(schema, set()).add(path)
        known.setdefault(schema, {})[path] = kind
    return known, required


class Answer:
    def __init__(self, response):
        self.status = response.status
        self.headers = {name.lower(): value for name, value in response.getheaders()}
        self.body = response.read()
        self.text = self.body.decode()

    def json(self):
        return json.loads(self.text, parse_float=lambda text: 1 / 0)  # an integer is no float


class Walk:
    """What is wrong is in the breaches; seen are the resources by their URI."""

    def __init__(self, port, account):
        self.account = {"Authorization": "Basic " + base64.b64encode(account.encode()).decode()}
        self.connection = HTTPConnection("127.0.0.1", port, timeout=SECONDS)
        self.known, self.required = rules()
        self.breaches, self.seen, self.allowed = [], {}, {}
        self.read_metadata()

    def ask(self, method, path, body=None, **headers):
        headers = {name.replace("_", "-"): value for name, value in headers.items()}
        if body is not None:
            headers["Content-Type"] = "application/json"
        self.connection.request(method, path, body, headers)
        return Answer(self.connection.getresponse())

    def order(self, method, path, body="{}", **headers):
        """With the account."""
        return self.ask(method, path, body, **self.account, **headers)

    def breach(self, where, what):
        self.breaches.append(f"{where}: {what}")

    def check(self, condition, where, what):
        if not condition:
            self.breach(where, what)
        return bool(condition)

    # $metadata, the own types and their JSON schema

    def read_metadata(self):
        answer = self.ask("GET", ROOT + "$metadata")
        where = "$metadata"
        self.check(answer.status == 200 and answer.headers["content-type"].split(";")[0] == "application/xml", where, "is no XML")
        document = xml.fromstring(answer.text)
        self.namespaces, self.own = {}, {}
        for reference in document.iter(EDMX + "Reference"):
            included = [include.get("Namespace") for include in reference.iter(EDMX + "Include")]
            uri = reference.get("Uri")
            for namespace in included:
                self.check(namespace not in self.namespaces, where, f"{namespace} is there twice")
                self.namespaces[namespace] = uri
            if uri.startswith("/"):
                self.check(uri.endswith(".xml"), where, f"{uri} is no file of schemas")
                self.read_own(uri, included)
            else:
                self.check(uri.startswith(PUBLISHED) and uri.endswith("_v1.xml"), where, f"{uri} is not published")
        containers = list(document.iter(EDM + "EntityContainer"))
        if self.check(len(containers) == 1, where, "has no container"):
            namespace, _, name = containers[0].get("Extends").rpartition(".")
            self.check(namespace in self.namespaces and name == "ServiceContainer", where, f"{namespace} is not included")

    def read_own(self, uri, included):
        answer = self.ask("GET", uri)
        document = xml.fromstring(answer.text)
        self.check(answer.status == 200, uri, "is not served")
        aliases = {include.get("Alias") or include.get("Namespace") for include in document.iter(EDMX + "Include")}
        schemas = {schema.get("Namespace"): schema for schema in document.iter(EDM + "Schema")}
        self.check(set(included) == set(schemas), uri, f"has {set(schemas)}, but {set(included)} is referred to")
        names = {f"{space}.{each.get('Name')}" for space, schema in schemas.items() for each in schema}
        for space, schema in schemas.items():
            for element in schema.iter():
                for word in (element.get("Type"), element.get("BaseType")):
                    if word:
                        inner = re.sub(r"^Collection\((.*)\)$", r"\1", word)
                        found = inner in names or inner in TYPES or inner.rpartition(".")[0] in aliases
                        self.check(found, uri, f"{word} is not known")
                term = element.get("Term")
                self.check(term is None or term.partition(".")[0] in aliases, uri, f"{term} is not known")
            for kind in schema.iterfind("*[@Name]"):
                self.own[f"{space}.{kind.get('Name')}"] = kind

    # One resource

    def walk(self):
        self.check(self.ask("GET", "/redfish").json() == {"v1": ROOT}, "/redfish", "has something else")
        self.follow(ROOT, "ServiceRoot", "the walk")
        document = self.ask("GET", ROOT + "odata").json()
        self.check(document["@odata.context"] == ROOT + "$metadata", "odata", "has another context")
        listed = {entry["url"] for entry in document["value"]}
        root = self.seen[ROOT]
        linked = {value["@odata.id"] for value in [*root.values(), root["Links"]["Sessions"]] if isinstance(value, dict) and "@odata.id" in value}
        self.check(listed == linked | {ROOT}, "odata", f"lists {listed ^ (linked | {ROOT})} besides")
        for entry in document["value"]:
            self.check(set(entry) == {"name", "kind", "url"} and entry["kind"] == "Singleton", "odata", f"has {entry}")
        for uri in list(self.seen):
            self.check_protocol(uri)
        return self.breaches

    def follow(self, uri, schema, source):
        if uri in self.seen:
            kind = self.seen[uri].get("@odata.type", "")
            self.check(kind.endswith("." + schema), source, f"{uri} is no {schema}")
            return
        self.seen[uri] = {}
        answer = self.ask("GET", uri)
        if not self.check(answer.status == 200, source, f"{uri} has status {answer.status}"):
            return
        resource = answer.json()
        self.seen[uri] = resource
        self.check_headers(uri, schema, answer)
        self.check_resource(uri, schema, resource)

    def check_headers(self, uri, schema, answer):
        headers = answer.headers
        self.check(headers["odata-version"] == "4.0", uri, "OData-Version")
        self.check("no-store" in headers["cache-control"] or "no-cache" in headers["cache-control"], uri, "Cache-Control")
        self.check(headers["content-type"] == "application/json; charset=utf-8", uri, "Content-Type")
        self.check(STRONG_ETAG.fullmatch(headers.get("etag", "")), uri, "ETag")
        self.check(int(headers["content-length"]) == len(answer.body), uri, "Content-Length")
        self.allowed[uri] = headers.get("allow", "").split(", ")
        self.check({"GET", "HEAD"} <= set(self.allowed[uri]), uri, "Allow")
        if schema != "MessageRegistry":
            namespace = answer.json().get("@odata.type", "#").lstrip("#").rpartition(".")[0]
            self.check(headers.get("link") == f"<{PUBLISHED}{namespace}.json>; rel=describedby", uri, f"Link {headers.get('link')}")

    def check_resource(self, uri, schema, resource):
        kind = resource.get("@odata.type", "")
        namespace, _, name = kind.lstrip("#").rpartition(".")
        self.check(kind.startswith("#") and name == schema, uri, f"is a {kind} instead of a {schema}")
        self.check(namespace in self.namespaces and schema in self.namespaces, uri, f"{namespace} is not in $metadata")
        self.check(resource.get("Name"), uri, "has no Name")
        if schema != "MessageRegistry":
            self.check(resource.get("@odata.id") == uri, uri, f"@odata.id is {resource.get('@odata.id')}")
        if schema.endswith("Collection"):
            return self.check_collection(uri, schema, resource)
        if schema not in ("ServiceRoot", "MessageRegistry"):
            self.check(resource.get("Id") == uri.rpartition("/")[2], uri, f"Id is {resource.get('Id')}")
        for path in self.required.get(schema, ()):
            at = resource
            for word in path.split("/"):
                at = at.get(word) if isinstance(at, dict) else None
            self.check(at is not None, uri, f"{path} is missing")
        self.check_members(uri, schema, resource, "")
        self.check_actions(uri, schema, resource.get("Actions", {}))
        for owner, own in resource.get("Oem", {}).items():
            self.check_oem(uri, owner, own)

    def check_collection(self, uri, schema, resource):
        self.check(set(resource) == {"@odata.id", "@odata.type", "Name", "Members", "Members" + COUNT}, uri, f"has {set(resource)}")
        members = resource["Members"]
        self.check(resource["Members" + COUNT] == len(members), uri, "the count is wrong")
        uris = [member["@odata.id"] for member in members]
        self.check(len(set(uris)) == len(uris), uri, "has a member twice")
        for member in members:
            self.check(set(member) == {"@odata.id"} and member["@odata.id"].startswith(uri + "/"), uri, f"has the member {member}")
            self.follow(member["@odata.id"], schema.removesuffix("Collection"), uri)

    def check_members(self, uri, schema, value, path):
        for name, member in value.items():
            inner = f"{path}/{name}" if path else name
            if "@" in name:
                base, _, term = name.partition("@")
                known = name in ("@odata.id", "@odata.type") and not path or term == "odata.count" and isinstance(value.get(base), list)
                self.check(known, uri, f"{inner} is no annotation here")
                if term == "odata.count":
                    self.check(member == len(value.get(base, [])), uri, f"{inner} is wrong")
            elif path or name not in EVERYWHERE:
                self.check_value(uri, schema, member, inner)

    def check_value(self, uri, schema, value, path):
        pattern = re.sub(r"^Messages/\w+", "Messages/#", path) if schema == "MessageRegistry" else path
        rule = self.known.get(schema, {}).get(pattern)
        if not self.check(rule is not None, uri, f"{path} is not known"):
            return
        if rule.startswith("link:"):
            if self.check(isinstance(value, dict) and set(value) == {"@odata.id"}, uri, f"{path} is no link: {value}"):
                self.follow(value["@odata.id"], rule[5:], f"{uri} {path}")
            return
        self.check(self.is_of(value, rule), uri, f"{path} is no {rule}: {value!r}")
        if isinstance(value, dict):
            self.check(value or path in EMPTY_IS_FINE, uri, f"{path} is empty")
            self.check_members(uri, schema, value, path)
        for item in value if isinstance(value, list) else ():
            self.check_value(uri, schema, item, path + "/*")
        name = path.rpartition("/")[2]
        if name == "UUID":
            self.check(str(uuid.UUID(value)) == value, uri, f"{value} is no UUID")
        if name == "MACAddress":
            self.check(re.fullmatch("([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}", value), uri, f"{value} is no MAC address")
        if name in ("Uri",) and schema == "MessageRegistryFile":
            self.follow(value, "MessageRegistry", uri)
        if name == "Uri" and schema == "JsonSchemaFile":
            self.check_json_schema(value)
        if name in ("ServerSentEventUri", "MultipartHttpPushUri", "TaskMonitor"):
            self.check(self.ask("HEAD", value).status in (200, 202, 204, 405, 500), uri, f"{path} {value} is not there")

    @staticmethod
    def is_of(value, rule):
        if rule == "null":
            return value is None
        if rule == "number":
            return isinstance(value, int) and not isinstance(value, bool)
        if rule == "flag":
            return isinstance(value, bool)
        if rule in ("object", "list"):
            return isinstance(value, dict if rule == "object" else list)
        if not isinstance(value, str) or not value.strip():
            return False
        if rule == "time":
            return bool(TIME.fullmatch(value))
        return rule == "text" or value in rule.split("|")

    def check_actions(self, uri, schema, actions):
        for name, action in [*actions.items(), *actions.get("Oem", {}).items()]:
            if name == "Oem":
                continue
            folder = "/Actions/Oem/" if name in actions.get("Oem", {}) else "/Actions/"
            target = uri + folder + name.lstrip("#")
            self.check(name.startswith("#") and action.get("target") == target, uri, f"{name} has another target")
            if folder == "/Actions/Oem/":
                self.check(name.lstrip("#") in self.own, uri, f"{name} is in no schema")
                parameters = {each.get("Name"): each.get("Type") for each in self.own[name.lstrip("#")].iter(EDM + "Parameter")}
            else:
                self.check(name.startswith(f"#{schema}."), uri, f"{name} is no action of a {schema}")
                parameters = None
            for member, values in action.items():
                parameter, _, term = member.partition("@Redfish.")
                if member == "target":
                    continue
                self.check(term == "AllowableValues" and values and all(isinstance(each, str) for each in values), uri, f"{name}/{member}")
                if parameters is not None:
                    known = {each.get("Name") for each in self.own.get(parameters.get(parameter, ""), ())}
                    self.check(set(values) <= known, uri, f"{name}/{member} has others than its schema")
            answer = self.ask("GET", target)
            self.check((answer.status, answer.headers.get("allow")) == (405, "POST"), target, "takes something else than POST")

    # Oem objects, by both files

    def check_oem(self, uri, owner, own):
        kind = own.get("@odata.type", "").lstrip("#")
        if not self.check(re.fullmatch(r"\w+", owner) and kind.startswith(owner + ".") and kind in self.own, uri, f"Oem/{owner} is a {kind}"):
            return
        self.check(self.own[kind].get("BaseType") == "Resource.OemObject", uri, f"{kind} is no OemObject")
        self.check_own(f"{uri} Oem", own, kind)
        namespace, _, name = kind.rpartition(".")
        for schema in self.json_schemas:
            if schema["title"] == "#" + namespace:
                wrong = jsonschema.Draft7Validator({**schema, "$ref": f"#/definitions/{name}"}).iter_errors(own)
                for each in wrong:
                    self.breach(uri, f"Oem: {each.message}")
                return
        self.breach(uri, f"{kind} has no JSON schema")

    @property
    def json_schemas(self):
        if not hasattr(self, "_schemas"):
            self._schemas = []
            for member in self.ask("GET", ROOT + "JsonSchemas").json()["Members"]:
                file = self.ask("GET", member["@odata.id"]).json()
                self._schemas.append(self.ask("GET", file["Location"][0]["Uri"]).json())
        return self._schemas

    def check_json_schema(self, uri):
        schema = self.ask("GET", uri).json()
        self.check(schema["$id"] == uri, uri, f"$id is {schema['$id']}")
        jsonschema.Draft7Validator.check_schema({key: value for key, value in schema.items() if key != "$schema"})
        names = {kind.rpartition(".")[2] for kind in self.own if kind.startswith(schema["title"].lstrip("#") + ".")}
        self.check(names <= set(schema["definitions"]), uri, f"has no {names - set(schema['definitions'])}")

    def check_own(self, where, value, kind):
        if kind.startswith("Collection("):
            if self.check(isinstance(value, list), where, "is no list"):
                for item in value:
                    self.check_own(where + "/*", item, kind[len("Collection("):-1])
        elif kind in TYPES:
            form = TYPES[kind]
            good = TIME.fullmatch(str(value)) if form == "time" else type(value) is form
            self.check(good and value != "", where, f"is no {kind}: {value!r}")
        elif self.own[kind].tag == EDM + "EnumType":
            self.check(value in {each.get("Name") for each in self.own[kind]}, where, f"has the value {value!r}")
        else:
            types = {each.get("Name"): each.get("Type") for each in self.own[kind].iter(EDM + "Property")}
            for name, member in value.items():
                if name != "@odata.type" and self.check(name in types, f"{where}/{name}", "is not known"):
                    self.check_own(f"{where}/{name}", member, types[name])

    # What a validator does not look at

    def check_protocol(self, uri):
        answer = self.ask("GET", uri)
        if answer.status != 200:
            return self.breach(uri, "has gone")
        etag = answer.headers["etag"]
        head = self.ask("HEAD", uri)
        same = ("allow", "etag", "content-type", "odata-version", "link", "content-length")
        moving = "content-length" if b"AgeMilliseconds" in answer.body else ""
        self.check(head.status == 200 and head.body == b"", uri, "HEAD")
        for name in same:
            self.check(name == moving or head.headers.get(name) == answer.headers.get(name), uri, f"HEAD has another {name}")
        not_changed = self.ask("GET", uri, If_None_Match=etag)
        self.check((not_changed.status, not_changed.body) == (304, b""), uri, "If-None-Match")
        self.check(self.ask("GET", uri, If_None_Match='"other"').status == 200, uri, "If-None-Match with another")
        self.check_error(uri, self.ask("GET", uri, If_Match='"other"'), 412, "PreconditionFailed")
        self.check_error(uri, self.ask("GET", uri, OData_Version="4.1"), 412, "PreconditionFailed")
        self.check_error(uri, self.ask("GET", uri + "?$select=Name"), 501, "QueryNotSupported")
        self.check(self.ask("GET", uri + "?only&x=1").status == 200, uri, "another parameter is not ignored")
        other = uri + "/" if not uri.endswith("/") else uri.rstrip("/")
        self.check(self.ask("GET", other).json()["@odata.type"] == answer.json()["@odata.type"], other, "is something else")
        self.check_error(uri + "/Nowhere", self.ask("GET", uri.rstrip("/") + "/Nowhere"), 404, "ResourceMissingAtURI")
        for method in METHODS:
            if method in self.allowed[uri]:
                self.check(self.ask(method, uri, "{}").status in (400, 401), uri, f"{method} needs no account")
            else:
                refused = self.order(method, uri)
                self.check_error(f"{method} {uri}", refused, 405, "OperationNotAllowed")
                self.check(refused.headers.get("allow") == ", ".join(self.allowed[uri]), uri, f"{method} has another Allow")

    def check_error(self, where, answer, status, key):
        if not self.check(answer.status == status, where, f"{answer.status} instead of {status}: {answer.text}"):
            return
        self.check(answer.headers.get("odata-version") == "4.0", where, "an error has no OData-Version")
        error = answer.json()["error"]
        infos = error["@Message.ExtendedInfo"]
        self.check(set(error) == {"code", "message", "@Message.ExtendedInfo"} and infos, where, f"has the error {error}")
        self.check((error["code"], error["message"]) == (infos[0]["MessageId"], infos[0]["Message"]), where, "the error is not its first message")
        self.check(infos[0]["MessageId"].endswith("." + key), where, f"{infos[0]['MessageId']} instead of {key}")
        for info in infos:
            needed = {"MessageId", "Message", "MessageArgs", "MessageSeverity", "Resolution"}
            self.check(needed <= set(info) <= needed | {"RelatedProperties"}, where, f"a message has {set(info)}")
            self.check(all(isinstance(each, str) for each in info["MessageArgs"]), where, "an argument is no text")
            self.check(all(each in info["Message"] for each in info["MessageArgs"]), where, "an argument is not in its message")
            registries = {member["@odata.id"].rpartition("/")[2] for member in self.seen.get(ROOT + "Registries", {}).get("Members", ())}
            self.check(not registries or info["MessageId"].rpartition(".")[0] in registries, where, f"{info['MessageId']} is of no registry")


def walked(port, account):
    walk = Walk(port, account)
    walk.walk()
    return walk


