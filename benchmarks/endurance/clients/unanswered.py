"""Requests that stay open until their client leaves."""

import itertools

from clients.client import Client, expect_empty
from tally import expect


class UnansweredClient(Client):
    """Opens one after the other, and makes sure that the oldest got nothing before it leaves."""

    steps_per_second = 12
    most_open = 30

    def prepare(self):
        self.open = []
        ids = itertools.cycle(range(5))
        self.requests = itertools.cycle([
            ("form, left", "POST", lambda: f"/context/form{next(ids)}$form", {}),
            ("form, left", "POST", lambda: f"/context/form{next(ids)}/$form", {"Content-Type": "application/json"}),
            ("DELETE of an event URL, left", "DELETE", lambda: f"/context/form{next(ids)}/event", {}),
            ("poll, left", "GET", lambda: f"/context/nobody{next(ids)}/event", {}),
            ("poll for a key, left", "GET", lambda: f"/context/nobody{next(ids)}/event", {"Prefer": "wait=$.inbox.x"}),
        ])
        for number in range(5):
            self.ledger.may_expire |= {f"form{number}", f"nobody{number}"}

    def step(self):
        kind, method, path, headers = next(self.requests)
        connection = self.connect()
        connection.send(method, path(), headers=headers)
        self.open.append((kind, connection))
        if len(self.open) > self.most_open:
            self.leave(*self.open.pop(0))

    def leave(self, kind, connection):
        if connection.has_answer():
            self.judge_answer(kind, connection.read())
        connection.close(abruptly=self.random.random() < 0.5)
        self.tally.count(kind)

    def judge_answer(self, kind, answer):
        """What is written to all contexts wakes those polls too, and makes the contexts that they wait for. Once these
        have expired, a poll tells so."""
        expect(kind in ("poll, left", "poll for a key, left"), True, f"whether no answer is right for {kind}")
        if answer.status == 200 and kind == "poll, left":
            expect(list(answer.json()), ["inbox"], f"the answer to {kind}")
        else:
            expect_empty(answer, 404, f"the answer to {kind}")

    def close(self):
        for _, connection in self.open:
            connection.close()
        super().close()
