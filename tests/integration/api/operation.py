"""One method on one path of the HTTP interface."""

import re
import urllib.parse

from stage import expect

# Those that OpenAPI keeps out of the parameters, and the one that a browser adds by itself.
ANY_OPERATIONS_HEADERS = {"Accept", "Authorization", "Content-Type", "Origin"}


class Operation:
    """What is documented of it."""

    def __init__(self, reference, path, item, method):
        self._reference = reference
        self.path = path
        self.same_as = item.get("x-same-as", path)
        self.method = method.upper()
        self.title = f"{self.method} {path}"
        node = item[method]
        self.scenarios = node.get("x-scenarios", {})
        self.responses = dict(reference.named(node["responses"]))
        self.request_content = reference.resolve(node.get("requestBody", {})).get("content", {})
        self.parameters = [reference.resolve(parameter)
                           for parameter in item.get("parameters", []) + node.get("parameters", [])]

    def _parameter(self, place, name):
        found = [one for one in self.parameters if one["in"] == place and one["name"] == name]
        expect(found, f"the {place} parameter {name} is not documented")
        return found[0]

    def request_example(self, name):
        """Content type and example, or nothing."""
        found = [(kind, media["examples"][name]) for kind, media in self.request_content.items()
                 if name in media.get("examples", {})]
        return found[0] if found else ("", None)

    def check_request(self, target, headers):
        """The request is one of those that the reference tells of."""
        template = re.escape(self.path).replace(r"\{", "{").replace(r"\}", "}")
        pattern = re.sub(r"\{(\w+)\}", r"(?P<\1>[^/?$]+)", template) + r"/?(?:\?(?P<_query>.*))?"
        match = re.fullmatch(pattern, target)
        expect(match, f"{target} does not fit {self.path}")
        values = match.groupdict()
        query = urllib.parse.parse_qsl(values.pop("_query") or "")
        for name, value in values.items():
            self._check_parameter("path", name, urllib.parse.unquote(value))
        for name, value in query:
            self._check_parameter("query", name, value)
        for name in headers.keys() - ANY_OPERATIONS_HEADERS:
            self._check_parameter("header", name, headers[name])

    def _check_parameter(self, place, name, value):
        violation = self._reference.violation(value, self._parameter(place, name)["schema"])
        expect(violation is None, f"the {place} parameter {name}: {violation}")
