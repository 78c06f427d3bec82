"""User messages: queued over the bus, fetched and dismissed over HTTP."""

import json

from clients.client import JSON_TYPE, BusClient, Client
from tally import WrongAnswer, expect

POLL = "message poll, from message to answer"


def by_id(messages):
    return {message["id"]: message for message in messages}


class MessageClient(BusClient):
    """The only one who queues and dismisses, so that it knows what the queue holds."""

    steps_per_second = 8
    identifiers = 60

    def prepare(self):
        self.queue = self.ledger.messages

    def step(self):
        if self.queue:
            self.add()
            self.bus.sync()
            self.fetch()
            self.dismiss(self.random.sample(sorted(self.queue), self.random.randint(0, len(self.queue))))
        else:
            self.await_first()

    def add(self):
        messages = [self.some_message() for _ in range(self.random.randint(1, 4))]
        if self.random.random() < 0.1:
            self.tally.promise("messages with a wrong date")
            messages[0]["timestamp"] = "2024-02-30T25:00:00Z"
        rejected = [7, {"id": 1, "title": "t", "text": "x"}, {"title": "no id"}]
        self.bus.send({"exchange": "vexo-context-add-messages", "messages": [*messages, self.random.choice(rejected)]})
        self.tally.count("bus: messages")
        for message in messages:
            self.queue[message["id"]] = self.as_answered(message)

    def some_message(self):
        message = {"id": f"message {self.random.randrange(self.identifiers)}", "title": self.some_text(40),
                   "subtitle": self.some_text(20), "text": self.some_text()}
        message["timestamp"] = f"2024-0{self.random.randint(1, 9)}-1{self.random.randint(0, 9)}T12:30:00"
        kind = self.random.randrange(3)
        if kind == 1:
            message.update(type="customlifetime", lifetime=str(self.random.randrange(10000)))
        elif kind == 2:
            message["type"] = "persistent"
        return message

    @staticmethod
    def as_answered(message):
        return message if not message["timestamp"].endswith("Z") else {**message, "timestamp": ""}

    def fetch(self):
        answer = self.ask("message poll, answered at once", "GET", "/message/event")
        self.expect_queue(answer, "the answer of a message poll")

    def dismiss(self, identifiers):
        for identifier in identifiers:
            del self.queue[identifier]
        body = json.dumps([*identifiers, 7, "unknown"]).encode()
        self.expect_queue(self.ask("POST /message", "POST", "/message", body, JSON_TYPE), "the answer to POST /message")
        junk = self.random.choice([b"", b"{}", b"[", b"[]"])
        self.expect_queue(self.ask("POST /message", "POST", "/message", junk), f"the answer to POST /message of {junk}")

    def await_first(self):
        """A poll that finds nothing waits for the next message."""
        poll = self.connect()
        poll.send("GET", "/message/event")
        sent_at = self.course.elapsed()
        message = self.some_message()
        self.queue[message["id"]] = message
        self.bus.send({"exchange": "vexo-context-add-messages", "messages": [message]})
        self.expect_queue(poll.read(), "the answer of a message poll that had to wait")
        self.tally.count(POLL, self.course.elapsed() - sent_at)
        poll.close()

    def expect_queue(self, answer, what):
        expect((answer.status, answer.headers.get("content-type")), (200, "application/json"), what)
        messages = answer.json()
        expect(len(messages), len(self.queue), f"the number of messages in {what}")
        expect(by_id(messages), dict(self.queue), what)


class MessagePollClient(Client):
    """Looks at the queue from outside, and leaves polls that wait."""

    steps_per_second = 8

    def step(self):
        poll = self.connect()
        poll.send(self.random.choice(["GET", "DELETE"]), "/message/event")
        if poll.has_answer(0.1):
            messages = poll.read().json()
            if not messages or any(not {"id", "title", "text"} <= set(message) for message in messages):
                raise WrongAnswer(f"A message poll is answered with {messages}")
            self.tally.count("message poll, of another client")
        else:
            self.tally.count("message poll, left")
        poll.close(abruptly=self.random.random() < 0.5)
