"""Clients that leave in the middle of anything."""

import json

from clients.client import Client
from httpclient import request_bytes
from tally import expect


class LeavingClient(Client):
    steps_per_second = 15
    contexts = 1

    def prepare(self):
        self.steps = 0
        # So big that its answer does not fit into what the kernel takes at once.
        self.put(self.all[0], {"text": "x" * 3000000})

    def step(self):
        path = self.all[0].path
        self.steps += 1
        if self.steps % 50 == 0:
            self.get(self.all[0])
        action = self.random.choice([self.say_nothing, self.cut_request, self.cut_upload, self.ignore_answer,
                                     self.read_half, self.end_sending])
        connection = self.connect()
        action(connection, path)
        connection.close(abruptly=self.random.random() < 0.5)
        self.tally.count("client that leaves")

    def say_nothing(self, connection, path):
        pass

    def cut_request(self, connection, path):
        method, body = self.random.choice([("GET", b""), ("PUT", json.dumps(self.some_update()).encode())])
        whole = request_bytes(method, path, body)
        connection.socket.sendall(whole[:self.random.randrange(1, len(whole))])

    def cut_upload(self, connection, path):
        head = request_bytes("POST", path + "/file").replace(b"Content-Length: 0", b"Content-Length: 1000000")
        connection.socket.sendall(head + bytes(self.random.randrange(0, 900000)))

    def ignore_answer(self, connection, path):
        connection.send("GET", path)

    def read_half(self, connection, path):
        connection.send("GET", path)
        connection.incoming.read(self.random.randrange(1, 100000))

    def end_sending(self, connection, path):
        """A request that was complete before the end still gets its answer."""
        connection.send("GET", "/nothing")
        connection.socket.shutdown(1)
        expect(connection.read().status, 404, "the answer to a client that has closed its sending side")
