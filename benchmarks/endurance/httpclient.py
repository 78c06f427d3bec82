"""HTTP to the host, byte by byte where that is wanted, so that a client can leave in the middle of anything."""

import json
import select
import socket
import struct
from typing import NamedTuple

PATIENCE_S = 60


class Answer(NamedTuple):
    status: int
    headers: dict
    body: bytes

    def json(self):
        return json.loads(self.body)


def request_bytes(method, path, body=b"", headers=()):
    head = [f"{method} {path} HTTP/1.1", "Host: localhost", f"Content-Length: {len(body)}"]
    head += [f"{name}: {value}" for name, value in dict(headers).items()]
    return "\r\n".join(head).encode("latin-1") + b"\r\n\r\n" + body


class Connection:
    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port), PATIENCE_S)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.incoming = self.socket.makefile("rb")

    def send(self, method, path, body=b"", headers=()):
        self.socket.sendall(request_bytes(method, path, body, headers))

    def read(self, has_body=True):
        status_line = self.incoming.readline()
        if not status_line.startswith(b"HTTP/1.1 "):
            raise ConnectionError(f"No answer, but {status_line!r}")
        headers = {}
        while (line := self.incoming.readline()) != b"\r\n":
            if not line:
                raise ConnectionError("The answer ends within its headers")
            name, value = line.decode("latin-1").rstrip("\r\n").split(":", 1)
            headers[name.lower()] = value.strip()
        length = int(headers.get("content-length", 0)) if has_body else 0
        body = self.incoming.read(length)
        if len(body) != length:
            raise ConnectionError(f"The answer ends after {len(body)} of {length} bytes")
        return Answer(int(status_line.split()[1]), headers, body)

    def ask(self, method, path, body=b"", headers=()):
        self.send(method, path, body, headers)
        return self.read()

    def has_answer(self, seconds=0):
        """Whether there is something to read, be it the end of the connection."""
        return bool(select.select([self.socket], [], [], seconds)[0])

    def close(self, abruptly=False):
        """With `abruptly` the host sees a reset connection in place of its end."""
        if abruptly:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.incoming.close()
        self.socket.close()
