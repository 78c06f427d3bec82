"""What the host takes of the machine, read from /proc."""

import os
import threading
import time
from typing import NamedTuple


class Sample(NamedTuple):
    at: float
    resident: int  # anonymous memory in bytes, which leaves out what is mapped from files
    descriptors: int
    operations: int


class Point(NamedTuple):
    """A sample within a lull, beside what the stores must hold then."""
    sample: Sample
    rows: list

    def held(self):
        return sum(size for _, _, size in self.rows)


def resident_memory(process):
    with open(f"/proc/{process}/status", encoding="ascii") as status:
        for line in status:
            if line.startswith("RssAnon:"):
                return int(line.split()[1]) * 1024
    raise OSError("The kernel does not tell RssAnon")


def open_descriptors(process):
    return len(os.listdir(f"/proc/{process}/fd"))


def processor_seconds(process):
    with open(f"/proc/{process}/stat", encoding="ascii") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Sampler:
    """Takes a sample each second, and a point in each lull."""

    LULLS = 40
    REST_S = 0.5

    def __init__(self, process, course, tally, ledger):
        self.process = process
        self.course = course
        self.tally = tally
        self.ledger = ledger
        self.samples = []
        self.points = []
        self.thread = threading.Thread(target=self.sample_each_second, name="sampler", daemon=True)

    def sample(self):
        return Sample(self.course.elapsed(), resident_memory(self.process), open_descriptors(self.process),
                      self.tally.total())

    def sample_each_second(self):
        try:
            while not self.course.over.wait(1):
                self.samples.append(self.sample())
        except OSError as error:
            self.tally.fail(f"The host is gone: {error}")
            self.course.stop()

    def follow(self):
        """Runs to the end of the course, from lull to lull."""
        self.thread.start()
        lulls = min(self.LULLS, max(5, round(self.course.seconds / 5)))
        for number in range(1, lulls + 1):
            due = self.course.seconds * number / lulls
            if self.course.over.wait(max(0, due - self.course.elapsed())):
                break
            self.rest()
        self.course.stop()
        self.thread.join()

    def rest(self):
        if not self.course.begin_lull(60):
            self.tally.fail("A client did not come to the end of its step within a minute")
            self.course.stop()
        elif not self.course.over.is_set():
            time.sleep(self.REST_S)  # for what the clients do not wait for, such as the end of connections
            self.points.append(Point(self.sample(), self.ledger.rows()))
        self.course.end_lull()
