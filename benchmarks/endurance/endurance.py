"""Drives a host with everything at once for minutes, and tells whether it stays right and stays as small as it is.

Started by benchmarks/endurance/run. Exits with 0 if every answer was right and memory stayed flat.
"""

import argparse
import signal
import sys
import tempfile
import time

import report
from clients.badrequests import BadRequestClient
from clients.broadcasts import BroadcastClient
from clients.busfiles import BusFileClient
from clients.cards import CardClient
from clients.client import Scene
from clients.contexts import ContextClient
from clients.credentials import CredentialsClient
from clients.files import FileClient
from clients.leavers import LeavingClient
from clients.messages import MessageClient, MessagePollClient
from clients.polls import PollClient
from clients.rpccontexts import RpcClient
from clients.shortlived import Creations, ShortLivedClient
from clients.unanswered import UnansweredClient
from clients.watcher import Watcher
from course import Course
from host import Host
from httpclient import Connection
from judge import Judge
from ledger import Ledger
from sampling import Sampler, open_descriptors, processor_seconds
from tally import Tally

PATIENCE_S = 90

# Names are parts of context ids, and of no other name.
CLIENTS = [
    ("contextsA", ContextClient), ("contextsB", ContextClient), ("contextsC", ContextClient),
    ("pollsA", PollClient), ("pollsB", PollClient),
    ("filesA", FileClient), ("filesB", FileClient),
    ("messages", MessageClient), ("messagepolls", MessagePollClient),
    ("credentials", CredentialsClient),
    ("rpcA", RpcClient), ("rpcB", RpcClient),
    ("broadcasts", BroadcastClient),
    ("busfiles", BusFileClient),
    ("cards", CardClient),
    ("shortlived", ShortLivedClient),
    ("unanswered", UnansweredClient),
    ("leavers", LeavingClient),
    ("badrequests", BadRequestClient),
]


def parse_arguments():
    names = [name for name, _ in CLIENTS]
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    parser.add_argument("--seconds", type=float, required=True)
    parser.add_argument("--only", nargs="+", choices=names, default=names, metavar="CLIENT")
    parser.add_argument("--seed", default="1")
    parser.add_argument("--samples")
    parser.add_argument("--default-allocator", action="store_true")
    return parser.parse_args()


def await_that(condition):
    deadline = time.monotonic() + PATIENCE_S
    while not (holds := condition()) and time.monotonic() < deadline:
        time.sleep(0.05)
    return holds


class Run:
    def __init__(self, arguments, directory):
        self.judges_memory = not arguments.default_allocator
        self.tally = Tally()
        self.ledger = Ledger()
        self.judge = Judge(self.ledger)
        self.course = Course(arguments.seconds)
        self.host = Host(arguments, directory, self.course, self.tally, self.judge)
        self.host.await_start()
        self.process = self.host.process.pid
        # The event loop opens one of its own with the first connection.
        first = Connection(self.host.port)
        first.ask("GET", "/")  # which leaves no trace in a store
        self.descriptors_at_start = open_descriptors(self.process) - 1
        first.close()
        self.sampler = Sampler(self.process, self.course, self.tally, self.ledger)
        scene = Scene(self.host, self.course, self.tally, self.ledger, Creations(), arguments.seed)
        self.clients = [kind(scene, name) for name, kind in CLIENTS if name in arguments.only]
        self.watcher = Watcher(self.host.socket_path, self.course, self.tally, arguments.only)
        self.seconds_to_end = self.processor_seconds = self.descriptors_at_end = None

    def go(self):
        for client in self.clients:
            client.start()
        try:
            self.sampler.follow()
        except KeyboardInterrupt:
            self.tally.fail("Interrupted")
            self.course.stop()
        for client in self.clients:
            client.join(PATIENCE_S)
            if client.is_alive():
                self.tally.fail(f"{client.name} did not come to its end")

    def end(self):
        if not self.tally.failures:
            self.expect_all_promises()
        self.watcher.close()
        if self.host.process.poll() is None:
            await_that(lambda: open_descriptors(self.process) <= self.descriptors_at_start)
            self.descriptors_at_end = open_descriptors(self.process)
            self.processor_seconds = processor_seconds(self.process)
            if self.descriptors_at_end != self.descriptors_at_start:
                self.tally.fail(f"{self.descriptors_at_start} open descriptors have become {self.descriptors_at_end}")
            self.seconds_to_end = self.host.end()

    def expect_all_promises(self):
        promised = dict(self.tally.promised)
        warnings = {name: promised.pop(name) for name in self.judge.names() if name in promised}
        promised["removals"] = promised.get("removals", 0) + self.ledger.expired
        self.watcher.expect_all(promised)
        await_that(lambda: all(self.judge.seen[name] >= count for name, count in warnings.items()))
        if dict(self.judge.seen) != warnings:
            self.tally.fail(f"The host warned of {dict(self.judge.seen)} in place of {warnings}")


def main():
    arguments = parse_arguments()
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    with tempfile.TemporaryDirectory(prefix="endurance-") as directory:
        run = Run(arguments, directory)
        run.go()
        run.end()
    if arguments.samples:
        report.write_samples(arguments.samples, run.sampler)
    report.judge_growth(run)
    print(report.text(run))
    for failure in run.tally.failures[:20]:
        print(f"FAILED: {failure}", file=sys.stderr)
    return 1 if run.tally.failures else 0


if __name__ == "__main__":
    sys.exit(main())
