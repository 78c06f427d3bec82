"""What the stores of the host must hold by what was sent, in bytes of its memory.

The sizes are those of Qt 5.15 on a 64-bit system under glibc. They need not be exact: what counts is how they grow.
"""

from tally import WrongAnswer

HEADER = 24  # of QString, QByteArray and QVector alike
MAPPED_FROM = 8192
PAGE = 4096


def block(size):
    """What glibc takes for an allocation: from its heap, or as pages of its own."""
    if size < MAPPED_FROM:
        return max(32, (size + 8 + 15) & ~15)
    return -(-(size + 16) // PAGE) * PAGE


def string(text):
    return block(HEADER + 2 * (len(text) + 1))


def byte_array(size):
    return block(HEADER + size + 1)


def grown(size):
    """What Qt allocates for an array that grows bit by bit: the next power of two."""
    return block(1 << (HEADER + size).bit_length())


def map_node(values):
    return block(24 + 8 * values)


def json_string(text):
    return (8 + (len(text) if text.isascii() else 2 * len(text)) + 7) & ~7


def json_value(value):
    """A QJsonObject or QJsonArray: a container with one element for each key and value, and the texts in one array."""
    if isinstance(value, dict):
        parts = [part for pair in value.items() for part in pair]
    elif isinstance(value, list):
        parts = value
    else:
        return 0
    texts = sum(json_string(part) for part in parts if isinstance(part, str))
    nested = sum(json_value(part) for part in parts if isinstance(part, (dict, list)))
    return block(32) + (grown(16 * len(parts)) if parts else 0) + (grown(texts + 1) if texts else 0) + nested


class Ledger:
    """Written by the clients while they go, read in lulls."""

    def __init__(self):
        self.contexts = {}  # id to model.Context
        self.may_expire = set()
        self.expired = 0
        self.left = 0
        self.files = {}  # id and name to size
        self.cards = {}  # cardholder to insured person number
        self.delivered = {}  # id to what a poll last brought
        self.messages = {}  # identifier to message

    def keep(self, context):
        self.contexts[context.id] = context

    def drop(self, context_id):
        self.contexts.pop(context_id, None)

    def leave_to_expire(self, context):
        self.may_expire.add(context.id)
        self.left += 1

    def expire(self, context_id):
        if context_id not in self.may_expire and not context_id.startswith("sync"):
            raise WrongAnswer(f"The context {context_id} has expired, although it was in use")
        self.expired += 1
        self.drop(context_id)

    def rows(self):
        """Store, entries, bytes."""
        contexts = {key: context.stored for key, context in self.contexts.items() if context.stored is not None}
        files = [[], []]
        for (context_id, name), size in self.files.items():
            files[context_id not in contexts].append(
                map_node(2) + string(f"{context_id}_{name}") + byte_array(size))
        return [
            ("contexts", len(contexts),
             sum(2 * map_node(3) + string(key) + json_value(value) for key, value in contexts.items())),
            ("files of contexts", len(files[0]), sum(files[0])),
            ("files of deleted contexts, which stay by design", len(files[1]), sum(files[1])),
            ("last sent contexts, which stay by design", len(self.delivered),
             sum(map_node(2) + string(key) + json_value(value) for key, value in self.delivered.items())),
            ("cards, which stay by design", len(self.cards),
             sum(map_node(2) + string(holder) + string(number) for holder, number in self.cards.items())),
            ("messages", len(self.messages),
             sum(2 * map_node(8) + sum(string(text) for text in message.values())
                 for message in self.messages.values())),
        ]
