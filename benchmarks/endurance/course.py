"""The course of a run: when clients go, when all of them rest, when it is over."""

import threading
import time

BROADCAST_PERIOD_S = 200
BROADCAST_S = 70


class Course:
    """Clients do one step after the other between enter() and leave(). During a lull no step is on its way."""

    def __init__(self, seconds):
        self.seconds = seconds
        self.began = time.monotonic()
        self.over = threading.Event()
        self.changed = threading.Condition()
        self.steps_on_their_way = 0
        self.in_lull = False
        # Held by whoever relies on a context that is not there, and by whoever writes to all that are.
        self.absences = threading.Lock()
        self.writes_to_all = 0

    def elapsed(self):
        return time.monotonic() - self.began

    def stop(self):
        self.over.set()
        with self.changed:
            self.changed.notify_all()

    def enter(self):
        """Waits for the end of a lull. Whether there is another step to do."""
        with self.changed:
            self.changed.wait_for(lambda: self.over.is_set() or not self.in_lull)
            if self.over.is_set():
                return False
            self.steps_on_their_way += 1
            return True

    def leave(self):
        with self.changed:
            self.steps_on_their_way -= 1
            self.changed.notify_all()

    def begin_lull(self, patience):
        """Whether all steps have come to their end."""
        with self.changed:
            self.in_lull = True
            return self.changed.wait_for(lambda: self.steps_on_their_way == 0, patience)

    def end_lull(self):
        with self.changed:
            self.in_lull = False
            self.changed.notify_all()

    def is_broadcast_time(self):
        """A chunk with a filter, or for "*", counts as a use of every context: nothing expires while they come. So
        they come for a while and then stay away for more than two periods of the collector."""
        return self.elapsed() % BROADCAST_PERIOD_S < BROADCAST_S
