"""A reference of an interface in YAML: its parts, its examples and its schemas."""

import jsonschema
import yaml


class Reference:
    """One file. Its parts are plain lists and dictionaries; those behind a "$ref" are reached with resolve()."""

    def __init__(self, path, dialect):
        with open(path, encoding="utf-8") as file:
            self.document = yaml.safe_load(file)
        self._dialect = dialect
        for schema in self.document["components"]["schemas"].values():
            dialect.check_schema(schema)
        self._resolver = jsonschema.RefResolver("", self.document)

    def resolve(self, part):
        while isinstance(part, dict) and "$ref" in part:
            part = self._resolver.resolve(part["$ref"])[1]
        return part

    def named(self, parts):
        """Pairs of name and part."""
        return [(name, self.resolve(part)) for name, part in (parts or {}).items()]

    def violation(self, value, schema):
        """Why `value` breaks `schema`, in words; None if it doesn't."""
        self._dialect.check_schema(schema)
        error = jsonschema.exceptions.best_match(
            self._dialect(schema, resolver=self._resolver).iter_errors(value))
        return error and f"{error.json_path} breaks its schema: {error.message}"


def http_reference(path):
    return Reference(path, jsonschema.Draft202012Validator)


def bus_reference(path):
    # What AsyncAPI takes for a schema is a superset of this draft.
    return Reference(path, jsonschema.Draft7Validator)
