"""What all clients have in common: a thread, a rate, connections, and random values."""

import itertools
import json
import random
import threading
import time

from bus import Endpoint
from httpclient import Connection
from model import Context, without_inbox
from tally import expect

TEXT_SAMPLE = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 .,-_/\\\"'{}[]:\n\t\x01%éöß漢字😀"
# Not those that filters name: comparing values of different types is worth a warning to the host.
KEYS = ["case", "person", "note", "status", "order", "visit", "items", "flags"]
JSON_TYPE = {"Content-Type": "application/json"}


class Scene:
    """What a client works with."""

    def __init__(self, host, course, tally, ledger, creations, seed):
        self.host = host
        self.course = course
        self.tally = tally
        self.ledger = ledger
        self.creations = creations
        self.seed = seed


class Client(threading.Thread):
    """Does its step() again and again. The first wrong answer ends the run."""

    steps_per_second = 10
    contexts = 0  # how many have ids that are this client's alone
    fresh_connections = 0.1  # the share of requests that have a connection of their own

    def __init__(self, scene, name):
        super().__init__(name=name, daemon=True)
        self.scene, self.course, self.tally, self.ledger = scene, scene.course, scene.tally, scene.ledger
        self.random = random.Random(f"{scene.seed} {name}")
        self.connection = None
        self.all = [Context(f"{name}{number}") for number in range(self.contexts)]
        # In turn, so that each is used often enough not to expire.
        self.turns = itertools.cycle(self.all)
        for context in self.all:
            self.ledger.keep(context)

    def prepare(self):
        """Once, before the first step."""

    def step(self):
        """A few operations, after which nobody waits for anything."""
        raise NotImplementedError

    def close(self):
        """Leaves the host."""
        if self.connection:
            self.connection.close()

    def run(self):
        try:
            due = time.monotonic()
            prepared = False
            while self.course.enter():
                try:
                    self.step() if prepared else self.prepare()
                    prepared = True
                finally:
                    self.course.leave()
                due = max(due + 1 / self.steps_per_second, time.monotonic() - 1)
                self.course.over.wait(max(0, due - time.monotonic()))
        except Exception as error:  # whatever it is, the run has failed
            self.tally.fail(f"{self.name}: {type(error).__name__}: {error}")
            self.course.stop()
        finally:
            self.close()

    def connect(self):
        return Connection(self.scene.host.port)

    def ask(self, kind, method, path, body=b"", headers=()):
        with self.tally.timed(kind):
            if self.random.random() < self.fresh_connections:
                own = self.connect()
                answer = own.ask(method, path, body, {**dict(headers), "Connection": "close"})
                expect(own.incoming.read(1), b"", "what follows the answer on a connection to be closed")
                own.close()
                return answer
            self.connection = self.connection or self.connect()
            return self.connection.ask(method, path, body, headers)

    def put(self, context, update, headers=()):
        """Merges the update, numbered as the context's next change, into it or makes the context by it."""
        update = context.next_change(update)
        kind, status = ("PUT of a new id", 201) if context.stored is None else ("PUT", 200)
        answer = self.ask(kind, "PUT", context.path, json.dumps(update).encode(), headers)
        expect_context(answer, status, context.merge(update), f"PUT {context.path}")

    def get(self, context):
        expect_context(self.ask("GET", "GET", context.path), 200, context.stored, f"GET {context.path}")

    def delete(self, context):
        expect_empty(self.ask("DELETE", "DELETE", context.path), 204, f"DELETE {context.path}")
        self.tally.promise("removals")
        context.stored = None

    def some_text(self, longest=300):
        return "".join(self.random.choices(TEXT_SAMPLE, k=self.random.randint(0, longest)))

    def some_value(self, depth=0):
        kind = self.random.randrange(8 if depth < 2 else 5)
        if kind < 2:
            return self.some_text()
        if kind == 2:
            return self.random.choice([self.random.randint(-10**12, 10**12), self.random.random() * 1e6])
        if kind == 3:
            return self.random.choice([True, False, None])
        if kind == 4:
            return f"{self.random.getrandbits(64):x}"
        if kind == 5:
            return [self.some_value(depth + 1) for _ in range(self.random.randrange(4))]
        return {key: self.some_value(depth + 1) for key in self.random.sample(KEYS, self.random.randrange(4))}

    def some_update(self):
        return {key: self.some_value() for key in self.random.sample(KEYS, self.random.randint(1, 4))}


class BusClient(Client):
    """One that is on the bus, too."""

    def __init__(self, scene, name):
        super().__init__(scene, name)
        self.bus = Endpoint(scene.host.socket_path, name, self.course, self.tally)

    def close(self):
        self.bus.close()
        super().close()


def expect_context(answer, status, expected, what):
    expect(answer.status, status, f"the status of {what}")
    expect(answer.headers.get("content-type"), "application/json", f"the type of {what}")
    expect(without_inbox(answer.json()), without_inbox(expected), what)


def expect_empty(answer, status, what):
    expect((answer.status, answer.body), (status, b""), what)


def expect_text(answer, status, text, what):
    expect((answer.status, answer.body.decode()), (status, text), what)
