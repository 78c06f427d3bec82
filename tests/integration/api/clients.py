"""What talks to the host: bytes over HTTP, and chunks over the wire to the bus."""

import http.client
import json
import select
import socket

from vexohost import PATIENCE_S


class Answer:
    """One answer over HTTP. A header that is absent is None."""

    def __init__(self, response):
        self.status = response.status
        self.headers = dict(response.getheaders())
        self.body = response.read()

    def __str__(self):
        return f"{self.status} {self.headers} {self.body!r}"


class HttpClient:
    """A connection that carries one request."""

    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port), PATIENCE_S)
        self.method = None

    def send(self, method, target, headers, body):
        """Sends a request, with a Host and with the length of its body. A header that is None is left out."""
        defaults = {"Host": "127.0.0.1:%d" % self.socket.getpeername()[1], "Content-Length": len(body)}
        lines = [f"{name}: {value}" for name, value in {**defaults, **headers}.items() if value is not None]
        head = "\r\n".join([f"{method} {target} HTTP/1.1", *lines, "", ""])
        self.send_bytes(head.encode("latin-1") + body, method)

    def send_bytes(self, data, method="GET"):
        self.method = method
        self.socket.sendall(data)

    def is_silent(self):
        return not select.select([self.socket], [], [], 0)[0]

    def answer(self):
        """The answer to what was sent, awaited with a limit of time."""
        response = http.client.HTTPResponse(self.socket, method=self.method)
        response.begin()
        answer = Answer(response)
        self.close()
        return answer

    def close(self):
        self.socket.close()


class BusClient:
    """A client of the plug-in buswire."""

    REMOVED = {"exchange": "context-removed", "data": {"contextId": "fence"}}

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(PATIENCE_S)
        self.socket.connect(path)
        self.lines = self.socket.makefile("rb")
        self.fences = 0
        self.chunks = []

    def send(self, line):
        self.socket.sendall(line.encode() + b"\n")

    def catch_up(self):
        """Reads what has been published up to now.

        The bus keeps the order, so that all has come once a request of our own is answered: the deletion of a
        context that nobody has. What that itself brings is left out.
        """
        self.fences += 1
        reply = {"exchange": "fence", "properties": {"correlation-id": self.fences}, "body": {"context": "fence"}}
        self.send(json.dumps({
            "exchange": "vexo-context-rpc-delete", "body": {"context": "fence"},
            "properties": {"reply-to": "exchange:fence", "correlation-id": self.fences}}))
        while (chunk := json.loads(self.lines.readline())) != reply:
            if chunk != self.REMOVED:
                self.chunks.append(chunk)

    def take(self):
        """What has been published since the last call."""
        self.catch_up()
        taken, self.chunks = self.chunks, []
        return taken

    def close(self):
        self.lines.close()
        self.socket.close()
