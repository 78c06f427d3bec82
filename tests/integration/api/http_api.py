"""The reference of the HTTP interface, and what drives its examples."""

import re

from operation import Operation
from reference import http_reference
from responses import ResponseCheck, is_json
from stage import BODY, Stage, body_bytes, expect, expect_keys

METHODS = ["get", "put", "post", "delete", "options", "head", "patch", "trace"]
PROBLEM = "application/problem+json"
WORDS = BODY | {"settings", "plugins", "given", "target", "headers", "body", "until", "unanswered", "refused", "status",
                "answer", "answer-headers", "publishes", "then"}
RAW_WORDS = {"settings", "plugins", "given", "raw", "status", "answer-headers"}


class HttpApi:
    """Drives the examples of one file and keeps account of them."""

    def __init__(self, path):
        self._reference = http_reference(path)
        document = self._reference.document
        self.states = document.get("x-states", {})
        self.random_ids = document.get("x-random-ids", [])
        self.version = document["info"]["version"]
        self.operations = [Operation(self._reference, path, item, method)
                           for path, item in document["paths"].items() for method in METHODS if method in item]
        components = document["components"]["responses"]
        self._refusal = components["Refusal"]
        self._raw = {name: response for name, response in components.items() if "x-scenarios" in response}
        self._responses = ResponseCheck(self._reference)
        self._driven = self._responses.driven

    # The scenarios, as pairs of title and what runs one.

    def scenarios(self, setup):
        for operation in self.operations:
            for name, scenario in operation.scenarios.items():
                yield f"{operation.title}: {name}", self._runner(self._drive, setup, operation, name, scenario)
        for title, response in self._raw.items():
            for name, scenario in response["x-scenarios"].items():
                yield f"{title}: {name}", self._runner(self._drive_raw, setup, response, name, scenario)
        for path in self._reference.document["paths"]:
            yield f"other methods on {path}", self._runner(self._drive_other_methods, setup, path)

    @staticmethod
    def _runner(function, *arguments):
        return lambda: function(*arguments)

    def _drive(self, setup, operation, name, scenario):
        expect_keys(scenario, WORDS)
        with Stage(setup, scenario) as stage:
            stage.run(scenario.get("given"))
            stage.take_published()
            client = stage.waiting = self._send(stage, operation, name, scenario)
            if "until" in scenario or scenario.get("unanswered"):
                stage.expect_silence()
                stage.run(scenario.get("until"))
            if scenario.get("unanswered"):
                expect("status" not in scenario, "what is never answered has no status")
                stage.expect_silence()
                client.close()
                stage.expect_service()
                self._driven.add((operation.title, "unanswered"))
            else:
                self._check(stage, operation, name, scenario, client.answer())
            if "publishes" in scenario:
                stage.expect_published(scenario["publishes"])
            stage.run(scenario.get("then"))

    def _send(self, stage, operation, name, scenario):
        kind, example = operation.request_example(scenario.get("body", name))
        request = {key: scenario[key] for key in BODY & scenario.keys()}
        if example is not None and not request:
            request = {"json" if is_json(kind) else "text": example["value"]}
            self._check_request_body(operation, kind, example)
        headers = {**({"Content-Type": kind} if kind else {}), **scenario.get("headers", {})}
        target = scenario.get("target", operation.path)
        if not scenario.get("refused"):
            operation.check_request(target, headers)
        client = stage.connect()
        client.send(operation.method, stage.ids.fill(target), headers, body_bytes(request, kind))
        return client

    def _check_request_body(self, operation, kind, example):
        self._driven.add(id(example))
        media = operation.request_content[kind]
        violation = is_json(kind) and self._reference.violation(example["value"], media["schema"])
        expect(not violation, f"the request: {violation}")

    def _check(self, stage, operation, name, scenario, answer):
        expect(answer.status == scenario["status"], f"the status is promised as {scenario['status']}: {answer}")
        refused = answer.headers.get("Content-Type") == PROBLEM
        expect(refused == bool(scenario.get("refused")), f"whether the host refuses: {answer}")
        key = str(answer.status)
        if key not in operation.responses or refused and PROBLEM not in operation.responses[key].get("content", {}):
            key = "default"
        self._driven.add((operation.title, key))
        self._responses.check(stage, operation.responses[key], scenario.get("answer", name),
                              scenario.get("answer-headers", {}), answer)

    # What the host answers by itself.

    def _drive_raw(self, setup, response, name, scenario):
        expect_keys(scenario, RAW_WORDS)
        with Stage(setup, scenario) as stage:
            stage.run(scenario.get("given"))
            client = stage.connect()
            client.send_bytes(scenario["raw"].replace("\n", "\r\n").encode())
            answer = client.answer()
            expect(answer.status == scenario["status"], f"the status is promised as {scenario['status']}: {answer}")
            self._responses.check(stage, response, name, scenario.get("answer-headers", {}), answer)

    def _drive_other_methods(self, setup, path):
        """What is not documented is not served."""
        served = {operation.method for operation in self.operations if operation.path == path}
        samples = {name: parameter["example"] for name, parameter
                   in self._reference.named(self._reference.document["components"]["parameters"])
                   if parameter["in"] == "path"}
        target = re.sub(r"\{(\w+)\}", lambda found: samples[found[1]], path)
        with Stage(setup, {}) as stage:
            for method in {method.upper() for method in METHODS} - served:
                client = stage.connect()
                client.send(method, target, {}, b"")
                answer = client.answer()
                expect(answer.status == 404, f"{method} {target}: {answer}")
                if method != "HEAD":
                    self._responses.check(stage, self._refusal, "no-plug-in", {}, answer)

    # What no scenario has come by.

    def undriven(self):
        """Whatever is promised and was not driven."""
        yield from (f"the response {title}" for title, response in self._raw.items()
                    if id(response) not in self._driven)
        for operation in self.operations:
            for status, response in operation.responses.items():
                yield from self._undriven_response(operation.title, status, response)
            answers = any(status.startswith("2") for status in operation.responses)
            if not answers and (operation.title, "unanswered") not in self._driven:
                yield f"{operation.title}: that it is not answered"
            yield from self._undriven_examples(f"{operation.title}: the request", operation.request_content)

    def _undriven_response(self, title, status, response):
        # What an operation shares with others as its default is driven once for all.
        if (title, status) not in self._driven and (status != "default" or id(response) not in self._driven):
            yield f"{title}: the response {status}"
        content = response.get("content", {})
        yield from (f"{title}: {status}, {kind}: there is no example" for kind, media in content.items()
                    if not media.get("examples"))
        yield from self._undriven_examples(f"{title}: {status}", content)

    def _undriven_examples(self, title, content):
        for kind, media in content.items():
            for name, example in media.get("examples", {}).items():
                if id(example) not in self._driven:
                    yield f"{title}, {kind}: the example {name}"
