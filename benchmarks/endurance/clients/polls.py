"""Polls on contexts that are answered, one at a time and several at once."""

from clients.client import Client, expect_context, expect_empty
from tally import expect

CACHE_HEADERS = {"cache-control": "no-cache, no-store, must-revalidate", "pragma": "no-cache", "expires": "0"}
POLL = "poll, from change to answer"
POLL_FOR_KEY = "poll for a key, from change to answer"
POLL_ON_NONE = "poll on an id that comes back, from change to answer"


class PollClient(Client):
    steps_per_second = 8
    contexts = 6

    def prepare(self):
        self.turn = 0
        self.idle = []  # connections for polls
        self.caught_up = {}  # id to what has been delivered: the context's own changes and those of all
        for context in self.all:
            self.put(context, {})

    def step(self):
        self.turn += 1
        action = self.random.choices([self.await_change, self.await_item, self.poll_deleted], [80, 10, 10])[0]
        # A write to all contexts would answer the polls first.
        with self.course.absences:
            action(next(self.turns))

    def put(self, *arguments):
        self.sent_at = self.course.elapsed()
        super().put(*arguments)

    def poll(self, context, headers=()):
        connection = self.idle.pop(0) if self.idle else self.connect()
        connection.send("GET", context.path + "/event", headers=headers)
        return connection

    def let_polls_wait(self, context):
        """Returns when the host must have read the polls: it may take up a connection that has just been opened or
        answered later than a request on another one, but not two in a row."""
        for _ in range(2):
            self.get(context)

    def put_back(self, connection):
        if self.random.random() < 0.2:
            connection.close()
        else:
            self.idle.append(connection)

    def close(self):
        for connection in self.idle:
            connection.close()
        super().close()

    def await_change(self, context):
        self.catch_up(context)
        polls = [self.poll(context) for _ in range(self.random.choice([1, 1, 2, 5]))]
        self.let_polls_wait(context)
        self.put(context, self.some_update())
        for poll in polls:
            self.read_change(poll, context)
            self.tally.count(POLL, self.course.elapsed() - self.sent_at)
            self.put_back(poll)

    def catch_up(self, context):
        """Polls if there is a change that has not been delivered. The next poll then waits for another one."""
        if self.caught_up.get(context.id) == (context.changes, self.course.writes_to_all):
            return
        poll = self.poll(context)
        with self.tally.timed("poll, answered at once"):
            self.read_change(poll, context)
        self.put_back(poll)

    def read_change(self, poll, context):
        answer = poll.read()
        expect_cache_headers(answer)
        expect_context(answer, 200, context.stored, f"the answer of a poll on {context.path}")
        self.caught_up[context.id] = (context.changes, self.course.writes_to_all)
        self.ledger.delivered[context.id] = answer.json()

    def await_item(self, context):
        """A poll that names a key passes over changes as long as the context lacks it."""
        self.delete(context)
        self.put(context, {})
        self.catch_up(context)
        item = f"late{self.turn % 3}"
        poll = self.poll(context, {"Prefer": f"wait=$.{item}"})
        self.let_polls_wait(context)
        self.put(context, self.some_update())
        self.put(context, {item: self.some_text()})
        self.read_change(poll, context)
        self.tally.count(POLL_FOR_KEY, self.course.elapsed() - self.sent_at)
        self.put_back(poll)

    def poll_deleted(self, context):
        """The first poll after a deletion tells of it, the next one waits for the id to come back."""
        self.catch_up(context)
        self.delete(context)
        poll = self.connect()
        poll.send("GET", context.path + "/event")
        answer = poll.read()
        expect_empty(answer, 404, "the poll on a deleted context")
        expect_cache_headers(answer)
        poll.send("GET", context.path + "/event")
        self.put(context, self.some_update())
        self.read_change(poll, context)
        self.tally.count(POLL_ON_NONE, self.course.elapsed() - self.sent_at)
        self.put_back(poll)


def expect_cache_headers(answer):
    expect({name: answer.headers.get(name) for name in CACHE_HEADERS}, CACHE_HEADERS, "the headers of a poll's answer")
