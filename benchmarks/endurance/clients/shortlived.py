"""Contexts with ids that the host makes, some deleted, some left to expire, some leaving files behind."""

import json
import threading
import time

from clients.client import JSON_TYPE, BusClient, expect_context, expect_empty
from clients.multipart import multipart
from model import UPLOAD_CODING, Context, without_inbox
from tally import expect


class Creations:
    """One new id for each second of the clock: a second one within the same makes the whole host wait."""

    def __init__(self):
        self.lock = threading.Lock()
        self.last_second = 0

    def __enter__(self):
        self.lock.acquire()
        while int(time.time()) <= self.last_second:
            time.sleep(1 - time.time() % 1)

    def __exit__(self, *_):
        self.last_second = int(time.time())
        self.lock.release()


class ShortLivedClient(BusClient):
    steps_per_second = 0.5

    def prepare(self):
        self.made = 0

    def step(self):
        makers = [self.post, self.post_for_text, self.post_latin1, self.create_over_bus, self.announce]
        value = {"n": 1, "made": self.made, **self.some_update()}
        with self.scene.creations:
            context = makers[self.made % len(makers)](value)
        self.made += 1
        self.tally.promise("creations")
        self.ledger.keep(context)
        self.put(context, self.some_update())
        if self.random.random() < 0.3:
            self.poll(context)
        if self.random.random() < 0.3:
            self.upload(context)
        if self.random.random() < 0.5:
            self.delete(context)
        else:
            self.ledger.leave_to_expire(context)

    def post(self, value):
        answer = self.ask("POST", "POST", "/context", json.dumps({"_id": "mine", **value}).encode(), JSON_TYPE)
        context = self.made_context(answer.json().get("_id"), value)
        expect_context(answer, 200, context.stored, "POST /context")
        return context

    def post_for_text(self, value):
        answer = self.ask("POST", "POST", "/context/", json.dumps(value).encode(), {"Accept": "text/plain"})
        expect((answer.status, answer.headers.get("content-type")), (200, "text/plain"), "POST /context for text")
        return self.made_context(answer.body.decode(), value)

    def post_latin1(self, value):
        value = {"n": 1, "name": "Zoë Müller"}
        body = json.dumps(value, ensure_ascii=False).encode("latin-1")
        answer = self.ask("POST", "POST", "/context", body, {"Content-Type": "application/json; charset=ISO-8859-1"})
        context = self.made_context(answer.json().get("_id"), value)
        expect_context(answer, 200, context.stored, "POST /context in Latin-1")
        return context

    def create_over_bus(self, value):
        with self.tally.timed("bus: create"):
            reply = self.bus.request("vexo-context-rpc-create", {"_id": "mine", **value})
        context = self.made_context(reply.get("_id"), value)
        expect(reply, context.stored, "the reply to create")
        return context

    def announce(self, value):
        mark = f"{self.name} announces {self.made}"
        value = {**value, "mark": mark}
        with self.tally.timed("bus: new context"):
            awaited = self.bus.await_line(mark.encode())
            self.bus.send({"source": "k7-plugin-mediwin-cb", "data": {"event": "new-context", "data": value}})
            change = awaited.result(60)["data"]
        context = self.made_context(change["id"], value)
        expect(change["context"], context.stored, "the announced context")
        return context

    def made_context(self, context_id, value):
        expect((type(context_id), len(context_id or ""), (context_id or "").isalnum()), (str, 16, True),
               f"the form of the new id {context_id}")
        context = Context(context_id)
        context.changes = 1
        context.merge({**value, "_id": context_id})
        return context

    def poll(self, context):
        answer = self.ask("poll, answered at once", "GET", context.path + "/event")
        expect_context(answer, 200, context.stored, f"the first poll on {context.path}")
        self.ledger.delivered[context.id] = without_inbox(answer.json())

    def upload(self, context):
        size = self.random.randint(1000, 8000)
        content_type, body = multipart([("left.bin", self.random.randbytes(size))])
        answer = self.ask("upload", "POST", context.path + "/file", body, {"Content-Type": content_type})
        expect_empty(answer, 204, "the answer to an upload")
        self.ledger.files[context.id, "left.bin"] = size
        context.attach("left.bin", UPLOAD_CODING)
        self.get(context)

    def delete(self, context):
        if self.random.random() < 0.5:
            super().delete(context)
        else:
            with self.tally.timed("bus: delete"):
                reply = self.bus.request("vexo-context-rpc-delete", {"context": context.id})
            expect(reply, {"context": context.id}, "the reply to delete")
            self.tally.promise("removals")
        self.ledger.drop(context.id)
