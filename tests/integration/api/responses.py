"""Compares an answer over HTTP with the response that is documented for it."""

import json
import re

from stage import expect

NO_CONTENT_TYPE = "*/*"


def is_json(content_type):
    return re.match(r"application/(\w+\+)?json\b", content_type) is not None


class ResponseCheck:
    """Keeps account, in `driven`, of the responses and examples that it has seen, by their id()."""

    def __init__(self, reference):
        self._reference = reference
        self.driven = set()

    def check(self, stage, response, name, headers, answer):
        """The answer is that of the example `name`, with these values of headers among others."""
        self.driven.add(id(response))
        self._check_headers(response, headers, answer)
        content = response.get("content")
        if content is None:
            expect(answer.body == b"" and "Content-Type" not in answer.headers, f"content: {answer}")
            return
        kind = answer.headers.get("Content-Type", NO_CONTENT_TYPE)
        expect(kind in content, f"the content type {kind} is not documented")
        expect(name in content[kind].get("examples", {}), f"{kind} has no example {name}, but there is {answer}")
        self._check_body(stage, content[kind], name, answer.body.decode(), is_json(kind))

    def _check_body(self, stage, media, name, text, holds_json):
        value = json.loads(text) if holds_json and text else text
        example = media["examples"][name]
        self.driven.add(id(example))
        difference = stage.ids.difference(example["value"], value, "the body")
        expect(difference is None, difference)
        violation = self._reference.violation(value, media["schema"])
        expect(violation is None, f"the body: {violation}")

    def _check_headers(self, response, values, answer):
        documented = dict(self._reference.named(response.get("headers")))
        present = answer.headers.keys() - {"Content-Type"}
        expect(present <= documented.keys(), f"headers that are not documented: {present - documented.keys()}")
        required = {name for name, header in documented.items() if header.get("required")} | values.keys()
        expect(required <= present, f"headers that are missing: {required - present}")
        for name in present:
            expect(name in required, f"a header that the scenario does not tell of: {name}: {answer.headers[name]}")
            self._check_header(documented[name], name, answer.headers[name], values)

    def _check_header(self, header, name, value, values):
        expect(values.get(name, value) == value, f"the header {name} is {value!r}")
        typed = int(value) if header["schema"].get("type") == "integer" else value
        violation = self._reference.violation(typed, header["schema"])
        expect(violation is None, f"the header {name}: {violation}")
