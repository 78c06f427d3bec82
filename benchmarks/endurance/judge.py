"""Reads what the host logs: whatever it warns of must be what this run has provoked."""

import collections
import re

from tally import WrongAnswer

LINE = re.compile(r"[\d-]{10} [\d:.]{12} (\w+) ([\w.-]+): (.*)")
EXPIRY = re.compile(r'Deleting context that was not used in more than +60000 +miliseconds: +"(\w*)"')
PROVOKED = {
    "Error when parsing.": "contexts of bad JSON",
    "Set context with empty _id ignored.": "sets without an id",
    "Update context with empty _id ignored.": "updates without an id",
    "Invalid chunk received, chunk has no filter.": "chunks without a filter",
    "Value type comparison not defined.": "comparisons of different types",
    "Unexpected invalid date format found in string: ": "messages with a wrong date",
}

# How many clients leave before the host has accepted them is nobody's to say.
DOOR = re.compile(r"Connection refused: its client has closed it\b.*|Refused \d+ more within that minute\.")


class Judge:
    def __init__(self, ledger):
        self.ledger = ledger
        self.seen = collections.Counter()

    @staticmethod
    def names():
        return PROVOKED.values()

    def take(self, line):
        found = LINE.fullmatch(line)
        if not found:
            raise WrongAnswer(f"The host prints {line!r}")
        kind, _, text = found.groups()
        if kind == "info":
            return
        expiry = EXPIRY.match(text)
        if kind == "warning" and expiry:
            self.ledger.expire(expiry[1])
            return
        if kind == "warning" and DOOR.fullmatch(text):
            return
        for begin, name in PROVOKED.items():
            if kind == "warning" and text.startswith(begin):
                self.seen[name] += 1
                return
        raise WrongAnswer(f"The host logs {line!r}")
