"""A host of its own for one scenario, and the steps that a scenario is made of; docs/api-scenarios.md tells of them."""

import json
import os

from clients import BusClient, HttpClient
from comparison import Ids
from vexohost import Host

BUSWIRE = "ch.tessel.vexo-service.buswire"


class Failure(Exception):
    """A promise that is not kept."""


def expect(condition, message):
    if not condition:
        raise Failure(message)


def expect_keys(part, known):
    """A word that nobody reads would promise nothing."""
    expect(part.keys() <= known, f"unknown words: {', '.join(sorted(part.keys() - known))}")


def body_bytes(request, content_type=""):
    """What stands under one of the words of BODY as the bytes that travel."""
    charset = "latin-1" if "charset=ISO-8859-1" in content_type else "utf-8"
    text = request.get("text", request.get("lines", "").replace("\n", "\r\n"))
    return (json.dumps(request["json"], ensure_ascii=False) if "json" in request else text).encode(charset)


BODY = {"json", "text", "lines"}
# The kinds of steps, and what may stand beside each.
STEPS = {"state": set(), "http": BODY | {"headers", "status", "answers"}, "chunk": set(), "line": set(),
         "silent": set(), "connect": set(), "directory": set(), "files": set()}


class Stage:
    """Runs steps against a host that lives as long as the `with` block."""

    def __init__(self, setup, scenario):
        self._bus_api = setup.bus_api
        self._states = {**setup.http_api.states, **setup.bus_api.states}
        self.ids = Ids(setup.http_api.random_ids + setup.bus_api.random_ids)
        settings = {BUSWIRE: {"socket": "buswire.sock"}, **scenario.get("settings", {})}
        self._host = Host(setup.host, setup.plugins + [setup.plugin(name) for name in scenario.get("plugins", [])],
                          settings)
        self._connections = []
        self.waiting = None  # the request that an example is about, while it is open
        self._bus = None

    def __enter__(self):
        try:
            self._host.await_start()
            self._bus = BusClient(self._host.path("buswire.sock"))
            self.take_published()  # From here on the host has this client.
        except BaseException:
            self._host.end()
            raise
        return self

    def __exit__(self, kind, value, traceback):
        for connection in self._connections:
            connection.close()
        self._bus.close()
        status, log = self._host.end()
        ending = f"the host has ended with status {status}:\n{log}"
        expect(status == 0, f"{value}\n{ending}" if value else ending)

    def connect(self):
        self._connections.append(HttpClient(self._host.port))
        return self._connections[-1]

    def take_published(self):
        """The chunks since the last call, each of which is of a form that the reference of the bus has."""
        chunks = self._bus.take()
        for chunk in chunks:
            self._bus_api.check_published(chunk)
        return chunks

    def expect_published(self, names):
        """The chunks since the last call are these examples of the reference of the bus, in this order."""
        chunks = self.take_published()
        examples = [self._bus_api.published_example(name) for name in names]
        difference = self.ids.difference(examples, chunks, "what is published")
        expect(difference is None, difference)

    def expect_silence(self):
        """No answer has come, although a request that was made later has been answered."""
        self.expect_service()
        expect(self.waiting.is_silent(), "there is an answer where none is promised")

    def expect_service(self):
        probe = self.connect()
        probe.send("GET", "/", {}, b"")
        expect(probe.answer().status == 404, "the host does not answer others")

    def send_chunk(self, chunk):
        self._bus.send(self.ids.fill(json.dumps(chunk)))
        self._bus.catch_up()

    def run(self, steps):
        for step in steps or []:
            kind, = step.keys() & STEPS.keys()
            expect_keys(step, {kind} | STEPS[kind])
            getattr(self, f"_{kind}")(step)

    def _state(self, step):
        self.run(self._states[step["state"]])

    def _http(self, step):
        method, target = self.ids.fill(step["http"]).split(" ")
        headers = {"Content-Type": "application/json"} if "json" in step else {}
        client = self.connect()
        client.send(method, target, {**headers, **step.get("headers", {})}, body_bytes(step))
        answer = client.answer()
        expect(answer.status == step.get("status", answer.status) and (answer.status < 300 or "status" in step),
               f"the step {step} is answered with {answer}")
        if "answers" in step:
            text = isinstance(step["answers"], str)
            difference = self.ids.difference(step["answers"],
                                             answer.body.decode() if text else json.loads(answer.body))
            expect(difference is None, f"the step {step}: {difference}")

    def _chunk(self, step):
        chunk = step["chunk"]
        self.send_chunk(self._bus_api.example(chunk) if isinstance(chunk, str) else chunk)

    def _line(self, step):
        self._bus.send(step["line"])

    def _silent(self, step):
        self.expect_silence()

    def _connect(self, step):
        for _ in range(step["connect"]):
            self.connect()

    def _directory(self, step):
        os.mkdir(self._host.path(step["directory"]))

    def _files(self, step):
        for path, text in step["files"].items():
            try:
                with open(self._host.path(path), encoding="utf-8", newline="") as file:
                    expect(file.read() == text, f"{path} holds something else")
            except FileNotFoundError as error:
                raise Failure(f"there is no {path}") from error
