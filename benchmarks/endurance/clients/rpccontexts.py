"""Contexts under ids of the client's choice, over the bus."""

from clients.client import BusClient, expect_empty
from tally import expect


class RpcClient(BusClient):
    steps_per_second = 25
    contexts = 12

    def prepare(self):
        for context in self.all:
            self.set(context)

    def step(self):
        action = self.random.choices([self.update, self.set, self.delete, self.send_without_id, self.get],
                                     [45, 20, 4, 1, 30])[0]
        action(next(self.turns))

    def set(self, context):
        value = context.next_change(self.some_update())
        with self.tally.timed("bus: set"):
            reply = self.bus.request("vexo-context-rpc-set", {"_id": context.id, **value})
        expect(reply, value, "the reply to set")
        context.set(value)

    def update(self, context):
        update = context.next_change(self.some_update())
        with self.tally.timed("bus: update"):
            reply = self.bus.request("vexo-context-rpc-update", {"_id": context.id, **update})
        expect(reply, update, "the reply to update")
        context.merge(update)

    def delete(self, context):
        with self.course.absences:
            with self.tally.timed("bus: delete"):
                reply = self.bus.request("vexo-context-rpc-delete", {"context": context.id})
            expect(reply, {"context": context.id}, "the reply to delete")
            self.tally.promise("removals")
            context.stored = None
            expect_empty(self.ask("GET of none", "GET", context.path), 404, f"GET of the deleted {context.path}")
            self.set(context)

    def send_without_id(self, context):
        """Ignored, and no reply either, which the next request would find."""
        operation = self.random.choice(["set", "update"])
        self.tally.promise(f"{operation}s without an id")
        self.bus.send({"exchange": f"vexo-context-rpc-{operation}", "body": self.random.choice([{}, {"_id": 12}, 7]),
                       "properties": {"reply-to": "exchange:" + self.bus.name, "correlation-id": "none"}})
        self.tally.count(f"bus: {operation} without an id")
        self.update(context)
