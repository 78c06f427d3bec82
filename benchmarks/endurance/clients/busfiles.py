"""Files of contexts over the bus."""

import base64

from clients.client import BusClient
from model import name_of
from tally import expect

NAMES = ["scan.bin", "report.pdf", "note 7.txt", "a%20b", "x"]
CODING = {"code": "11506-3", "display": "Progress note", "system": "http://loinc.org"}
LARGEST = 1 << 16


class BusFileClient(BusClient):
    steps_per_second = 12
    contexts = 4

    def prepare(self):
        self.contents = {}
        for context in self.all:
            self.put(context, {"of": self.name})

    def step(self):
        action = self.random.choices([self.add, self.get_files, self.remove, self.read], [30, 40, 20, 10])[0]
        action(next(self.turns))

    def add(self, context):
        name = self.random.choice(NAMES)
        content = self.random.randbytes(self.random.randint(0, LARGEST))
        self.bus.send({"exchange": "vexo-context-add-file", "body": {
            "context": context.id, "filename": name, "content": base64.b64encode(content).decode(), "type": CODING}})
        with self.tally.timed("bus: add file"):
            self.bus.sync()
        if (context.id, name) not in self.contents:
            context.attach(name, CODING)
        self.contents[context.id, name] = content
        self.ledger.files[context.id, name] = len(content)

    def get_files(self, context):
        attached = context.stored.get("attachments", [])
        pattern, fitting = self.random.choice([
            ({}, attached),
            ({"reference": {"status": "superseded"}}, attached),
            ({"reference": {"status": "current"}}, []),
            ({"reference": "no pattern"}, attached),
            ({"reference": {"content": [{"attachment": {"url": f"{context.path}/file/x"}}]}},
             [entry for entry in attached if name_of(entry) == "x"]),
        ])
        with self.tally.timed("bus: get files"):
            reply = self.bus.request("vexo-context-rpc-get-files", {"context": context.id, **pattern})
        expect(reply, [self.with_data(context, entry) for entry in fitting], "the reply to get files")

    def with_data(self, context, entry):
        data = base64.b64encode(self.contents[context.id, name_of(entry)]).decode()
        return {**entry, "content": {"attachment": {**entry["content"]["attachment"], "data": data}}}

    def remove(self, context):
        names = self.random.sample(NAMES, self.random.randint(1, 3))
        self.bus.send({"exchange": "vexo-context-attachments-remove",
                       "body": {"context": context.id, "attachments": [*names, "never there"]}})
        with self.tally.timed("bus: remove attachments"):
            self.bus.sync()
        for name in names:
            context.detach(name)
            self.contents.pop((context.id, name), None)
            self.ledger.files.pop((context.id, name), None)

    def read(self, context):
        self.get(context)
        names = [name for name in NAMES[:2] if (context.id, name) in self.contents]
        for name in names:
            answer = self.ask("download", "GET", f"{context.path}/file/{name}")
            expect((answer.status, answer.body == self.contents[context.id, name]), (200, True), "a file of the bus")
