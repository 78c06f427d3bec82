"""Reads all that the bus brings and looks whether it adds up."""

import collections
import json
import time

from bus import Endpoint
from tally import WrongAnswer, expect

PATIENCE_S = 30
COUNTED_EXCHANGES = {"context-created": "creations", "context-removed": "removals"}
COUNTED_EVENTS = {"credentialreset-published": "resets of credentials", "credential-published": "credentials"}


class Watcher(Endpoint):
    """The changes of each context must come one by one, in order; everything else is counted."""

    def __init__(self, path, course, tally, endpoints):
        self.endpoints = endpoints  # the names to which replies may go
        self.seen = collections.Counter()
        self.changes = {}
        super().__init__(path, "watcher", course, tally)

    def take(self, line):
        chunk = json.loads(line)
        exchange = chunk.get("exchange")
        if exchange in COUNTED_EXCHANGES:
            expect((sorted(chunk), list(chunk["data"])), (["data", "exchange"], ["contextId"]), exchange)
            self.seen[COUNTED_EXCHANGES[exchange]] += 1
        elif exchange in self.endpoints:
            self.seen["replies"] += 1
        elif chunk.get("source") == "k7-plugin-context" and "exchange" not in chunk:
            self.take_event(chunk)
        else:
            raise WrongAnswer(f"The bus brings {line[:1000]}")

    def take_event(self, chunk):
        event = chunk["data"]["event"]
        if event in COUNTED_EVENTS:
            expect(chunk["version"], "1.0.0", f"the version of {event}")
            self.seen[COUNTED_EVENTS[event]] += 1
            return
        expect((event, chunk["version"]), ("context-changed", "1.1.2"), "an event on the bus")
        self.seen["changes"] += 1
        context_id, update, context = chunk["data"]["id"], chunk["data"]["data"], chunk["data"]["context"]
        expect({key: context.get(key) for key in update}, update, f"the update within the change of {context_id}")
        if "n" in update:
            expect(update["n"], self.changes.get(context_id, 0) + 1, f"the number of the change of {context_id}")
            self.changes[context_id] = update["n"]

    def expect_all(self, promised):
        """Waits until all has come that had to, and takes more as a failure."""
        deadline = time.monotonic() + PATIENCE_S
        while any(self.seen[name] < promised[name] for name in promised) and time.monotonic() < deadline:
            time.sleep(0.05)
        for name in promised:
            if self.seen[name] != promised[name]:
                self.tally.fail(f"The bus brought {self.seen[name]} {name} in place of {promised[name]}")
