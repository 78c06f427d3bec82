"""Chunks for whichever contexts overlap a filter, or for all."""

from clients.client import BusClient
from model import add_resources
from tally import expect

EXCHANGES = {"matchingItems": "vexo-context-add-matching-items", "actionRequests": "vexo-context-add-action-requests"}


class BroadcastClient(BusClient):
    steps_per_second = 10
    contexts = 8
    resources = 12

    def prepare(self):
        self.turn = 0
        for number, context in enumerate(self.all):
            self.put(context, {"ward": number % 3, "patient": {"id": f"p{number % 4}", "name": "Anna"},
                               "tags": [number % 2, 7]})

    def step(self):
        self.turn += 1
        context = next(self.turns)
        if self.random.random() < 0.3:
            # Empties the matching items.
            self.put(context, {"note": self.some_value()})
        elif self.course.is_broadcast_time():
            action = self.random.choices([self.add, self.write_to_all, self.send_odd], [90, 5, 5])[0]
            action()
        self.get(context)

    def add(self):
        key = self.random.choice(sorted(EXCHANGES))
        ward, patient, tag = self.random.randrange(4), f"p{self.random.randrange(5)}", self.random.randrange(2)
        overlapping, some_filter = self.random.choice([
            (lambda stored: stored["ward"] == ward, {"ward": ward}),
            (lambda stored: stored["patient"]["id"] == patient, {"patient": {"id": patient}}),
            (lambda stored: stored["ward"] == ward and tag in stored["tags"], {"ward": ward, "tags": [tag]}),
            (lambda stored: False, {"of nobody": 1}),
        ])
        added = [{"id": f"r{self.random.randrange(self.resources)}", "value": self.some_value()}
                 for _ in range(self.random.randrange(4))]
        entries = [{"resource": resource, "ignored": 1} for resource in added] + [{"fullUrl": "of no resource"}]
        self.bus.send({"exchange": EXCHANGES[key], "source": self.name,
                       "body": {"filter": some_filter, key: {"entry": entries}}})
        with self.tally.timed("bus: matching items" if key == "matchingItems" else "bus: action requests"):
            self.bus.sync()
        for context in self.all:
            if overlapping(context.stored):
                context.merge({key: add_resources(context.stored.get(key, []), added)})

    def write_to_all(self):
        with self.course.absences, self.tally.timed("bus: update of all"):
            reply = self.bus.request("vexo-context-rpc-update", {"_id": "*", "inbox": [self.turn]})
            self.course.writes_to_all += 1
        expect(reply, {"inbox": [self.turn]}, "the reply to an update of all")
        answer = self.ask("GET", "GET", self.all[0].path)
        expect(answer.json().get("inbox"), [self.turn], "what was written to all contexts")

    def send_odd(self):
        if self.random.random() < 0.5:
            self.tally.promise("chunks without a filter")
            body = {}
        else:
            # Text against the numbers of all these contexts.
            self.tally.promise("comparisons of different types", self.contexts)
            body = {"filter": {"ward": "1"}}
        self.bus.send({"exchange": EXCHANGES["matchingItems"], "body": body})
        self.tally.count("bus: odd matching items")
        self.bus.sync()
