"""Requests that nobody can serve, and what they get."""

from clients.client import Client
from httpclient import request_bytes
from tally import expect

PROBLEM = "application/problem+json"
REFUSED_BY_HOST = [
    (404, request_bytes("GET", "/")),
    (404, request_bytes("GET", "/context")),
    (404, request_bytes("GET", "/context/a?x=1")),
    (404, request_bytes("GET", "/context/a-b")),
    (404, request_bytes("HEAD", "/context/a")),
    (404, request_bytes("PATCH", "/context/a", b"{}")),
    (404, request_bytes("PUT", "/context/a", b"{}", {"Content-Type": "application/json; charset=utf-8"})),
    (404, request_bytes("POST", "/context?x=1", b"{}")),
    (404, request_bytes("POST", "/message", b"[]", {"Content-Type": "text/plain"})),
    (404, request_bytes("GET", "/message/event/")),
    (404, request_bytes("GET", "/context/a/file/with%20blank")),
    (400, b"nonsense\r\n\r\n"),
    (400, b"GET / HTTP/1.1\r\n\r\n"),
    (400, b"GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n"),
    (400, b"PUT /context/a HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n"),
    (414, request_bytes("GET", "/" + "x" * 20000)),
    (431, request_bytes("GET", "/", headers={"Much": "x" * 70000})),
    (413, b"PUT /context/a HTTP/1.1\r\nHost: localhost\r\nContent-Length: 100000000\r\n\r\n"),
    (501, b"NONSENSE / HTTP/1.1\r\nHost: localhost\r\n\r\n"),
]
UNPARSABLE = [b"", b"{", b"{]", b"[1", b"nonsense", b'{"a" 1}']


class BadRequestClient(Client):
    steps_per_second = 12

    def step(self):
        if self.random.random() < 0.25:
            self.create_from_junk()
            return
        status, request = self.random.choice(REFUSED_BY_HOST)
        own = self.connect()
        with self.tally.timed("bad request"):
            own.socket.sendall(request)
            answer = own.read(has_body=not request.startswith(b"HEAD"))
        what = f"the answer to {request[:60]}"
        expect((answer.status, answer.headers.get("content-type")), (status, PROBLEM), what)
        if answer.body:
            expect(answer.json().get("status"), status, f"the body of {what}")
        own.close()

    def create_from_junk(self):
        self.tally.promise("contexts of bad JSON")
        answer = self.ask("POST of bad JSON", "POST", "/context", self.random.choice(UNPARSABLE))
        expect((answer.status, answer.headers.get("content-type"), bool(answer.body)), (400, "text/plain", True),
               "POST of bad JSON")
