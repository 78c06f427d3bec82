"""Contexts under ids of the client's choice, over HTTP."""

from clients.client import JSON_TYPE, Client, expect_context, expect_empty, expect_text


class ContextClient(Client):
    steps_per_second = 50
    contexts = 16

    def prepare(self):
        for context in self.all:
            self.update(context)

    def step(self):
        action = self.random.choices([self.update, self.get, self.write_junk, self.replace], [50, 42, 4, 4])[0]
        action(next(self.turns))

    def update(self, context):
        self.put(context, self.some_update(), self.random.choice([{}, JSON_TYPE]))

    def write_junk(self, context):
        """Bad JSON counts as an empty object."""
        junk = self.random.choice([b"", b"{", b"[1, 2", b"\xff\x00", b"nonsense", b'{"n": 0', b"[]", b"{}"])
        answer = self.ask("PUT of bad JSON", "PUT", context.path, junk)
        expect_context(answer, 200, context.stored, f"PUT of {junk}")

    def replace(self, context):
        with self.course.absences:
            self.delete(context)
            expect_empty(self.ask("GET of none", "GET", context.path), 404, f"GET of the deleted {context.path}")
            expect_text(self.ask("DELETE of none", "DELETE", context.path), 404, "Context not found.",
                        f"the second DELETE {context.path}")
            self.update(context)
