"""A program on the bus, through the socket of buswire: one chunk a line."""

import json
import socket
import threading
from concurrent.futures import Future

from tally import WrongAnswer, expect

PATIENCE_S = 60
REPLY_PREFIX = "exchange:"  # nine characters that nobody looks at


class Endpoint:
    """Reads all that the bus brings, from a thread of its own, and picks out what it waits for."""

    def __init__(self, path, name, course, tally):
        self.name = name
        self.course = course
        self.tally = tally
        self.lock = threading.Lock()
        self.requests = 0
        self.awaited = {}  # correlation id to future
        self.awaited_lines = {}  # bytes that the line holds to future
        self.reply_mark = f'"exchange":"{name}"'.encode()
        self.closing = False
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(path)
        self.thread = threading.Thread(target=self.read_all, name=f"reader of {name}", daemon=True)
        self.thread.start()

    def send(self, chunk):
        line = json.dumps(chunk, ensure_ascii=False).encode() + b"\n"
        with self.lock:
            self.socket.sendall(line)

    def request(self, exchange, body):
        """The body of the reply."""
        future = Future()
        with self.lock:
            self.requests += 1
            # Comes back as it stands, whatever it is.
            correlation = self.requests if self.requests % 2 else f"number {self.requests}"
            self.awaited[correlation] = future
        self.tally.promise("replies")
        self.send({"exchange": exchange, "body": body,
                   "properties": {"reply-to": REPLY_PREFIX + self.name, "correlation-id": correlation}})
        return future.result(PATIENCE_S)["body"]

    def sync(self):
        """Returns when the host has dealt with all that was sent before."""
        self.request("vexo-context-rpc-update", {"_id": "sync" + self.name})

    def await_line(self, mark):
        """A future with the next chunk whose line holds these bytes."""
        future = Future()
        with self.lock:
            self.awaited_lines[mark] = future
        return future

    def read_all(self):
        unread = []
        try:
            while piece := self.socket.recv(1 << 18):
                *complete, rest = piece.split(b"\n")
                if complete:
                    complete[0] = b"".join(unread) + complete[0]
                    unread = []
                unread.append(rest)
                for line in complete:
                    self.take(line)
            if not self.closing:
                raise ConnectionError("The host has disconnected it")
        except (OSError, ValueError, WrongAnswer) as error:
            if not self.closing:
                self.tally.fail(f"{self.name}: {error}")
                self.course.stop()
                for future in [*self.awaited.values(), *self.awaited_lines.values()]:
                    future.set_exception(error)

    def take(self, line):
        if line.startswith(b'{"error":'):
            raise WrongAnswer(line.decode())
        for mark in [mark for mark in list(self.awaited_lines) if mark in line]:
            self.awaited_lines.pop(mark).set_result(json.loads(line))
        if self.reply_mark in line:
            self.take_reply(json.loads(line))

    def take_reply(self, chunk):
        expect(sorted(chunk), ["body", "exchange", "properties"], "the keys of a reply")
        expect(list(chunk["properties"]), ["correlation-id"], "the properties of a reply")
        with self.lock:
            future = self.awaited.pop(chunk["properties"]["correlation-id"], None)
        if future is None:
            raise WrongAnswer(f"A reply that nobody waits for: {chunk}")
        future.set_result(chunk)

    def close(self):
        if self.awaited:
            self.tally.fail(f"{self.name}: no reply to {len(self.awaited)} requests")
        self.closing = True
        self.socket.shutdown(socket.SHUT_RDWR)
        self.thread.join(PATIENCE_S)
        self.socket.close()
