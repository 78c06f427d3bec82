"""Credentials handed in over HTTP, which show on the bus."""

import json

from clients.client import Client, expect_empty
from tally import expect


class CredentialsClient(Client):
    steps_per_second = 5

    def step(self):
        entries = [self.some_entry() for _ in range(self.random.randrange(4))]
        body = self.random.choice([b"", b"{}", b"[", json.dumps(entries).encode(), json.dumps(entries).encode()])
        if body.startswith(b"[") and body != b"[":
            # The first one that is incomplete ends the list.
            complete = [bool(entry["service"]) for entry in entries] + [False]
            self.tally.promise("credentials", complete.index(False))
        self.tally.promise("resets of credentials")
        answer = self.ask("POST of credentials", "POST", f"/context/desk{self.random.randrange(5)}/credentials", body)
        expect_empty(answer, 200, "the answer to credentials")
        expect(answer.headers.get("content-type"), "application/json", "the type of the answer to credentials")

    def some_entry(self):
        entry = {"service": self.random.choice(["lab", "pharmacy", "insurer", ""]), "id": "7601000000000",
                 "cert": self.some_text(), "key": self.some_text(), "keyPass": "secret", "more": self.some_value()}
        if self.random.random() < 0.3:
            entry["keystore_ref"] = "smartcard"
        return entry
