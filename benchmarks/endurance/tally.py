"""What was done, how long it took, and what went wrong."""

import collections
import contextlib
import threading
import time


class WrongAnswer(Exception):
    """The host has done something else than it has to."""


def expect(actual, expected, what):
    if actual != expected:
        raise WrongAnswer(f"{what}: {shorten(actual)} instead of {shorten(expected)}")


def shorten(value):
    text = repr(value)
    return text if len(text) <= 2000 else f"{text[:1000]} ... {text[-1000:]} ({len(text)} characters)"


class Tally:
    def __init__(self):
        self.lock = threading.Lock()
        self.operations = collections.Counter()
        self.latencies = collections.defaultdict(list)
        self.errors = collections.Counter()
        self.failures = []
        # What must have shown on the bus and in the log when all is done, by name.
        self.promised = collections.Counter()

    def count(self, kind, seconds=None):
        with self.lock:
            self.operations[kind] += 1
            if seconds is not None:
                self.latencies[kind].append(seconds)

    @contextlib.contextmanager
    def timed(self, kind):
        """Counts an operation that ends well, with its latency, or else an error."""
        began = time.monotonic()
        try:
            yield
        except Exception:
            with self.lock:
                self.errors[kind] += 1
            raise
        self.count(kind, time.monotonic() - began)

    def promise(self, what, count=1):
        with self.lock:
            self.promised[what] += count

    def fail(self, text):
        with self.lock:
            self.failures.append(text)

    def total(self):
        with self.lock:
            return sum(self.operations.values())
