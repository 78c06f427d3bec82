"""What a context must hold, worked out beside the host."""

DERIVED_KEYS = {"matchingItems", "actionRequests", "inbox", "attachments"}
UPLOAD_CODING = {"code": "55107-7", "display": "Addendum Document",
                 "system": "http://hl7.org/fhir/ValueSet/c80-doc-typecodes"}


def without_inbox(context):
    """"inbox" is the key that is written to all contexts at once, whosever they are."""
    return {key: value for key, value in context.items() if key != "inbox"}


class Context:
    """One context that nobody else changes, but for its "inbox"."""

    def __init__(self, context_id):
        self.id = context_id
        self.path = f"/context/{context_id}"
        self.stored = None
        self.changes = 0

    def next_change(self, update):
        """The update with a number that counts on from change to change, by which the bus is watched."""
        self.changes += 1
        return {**update, "n": self.changes}

    def set(self, value):
        old = self.stored
        changed = old is not None and any(
            old.get(key) != value[key] for key in value if key not in DERIVED_KEYS)
        self.stored = {**value, "matchingItems": []} if changed else dict(value)

    def merge(self, update):
        """What the host answers to the update: the merge as it was before the matching items were emptied."""
        merged = {**(self.stored or {}), **update}
        self.set(merged)
        return merged

    def attach(self, name, coding):
        """A new file. Its first entry makes the context tell its own id."""
        entry = {"resourceType": "DocumentReference", "status": "superseded", "type": {"coding": [coding]},
                 "content": {"attachment": {"url": f"{self.path}/file/{name}"}}}
        stored = self.stored or {}
        self.merge({"_id": self.id, **stored, "attachments": stored.get("attachments", []) + [entry]})

    def attached_names(self):
        return [name_of(entry) for entry in (self.stored or {}).get("attachments", [])]

    def detach(self, name):
        kept = [entry for entry in (self.stored or {}).get("attachments", []) if name_of(entry) != name]
        self.merge({"attachments": kept})


def name_of(entry):
    return entry["content"]["attachment"]["url"].rsplit("/", 1)[1]


def add_resources(old, new):
    """What becomes of an array of resources when others are added: those first, the old ones behind them."""
    result = list(new)
    for resource in old:
        if all(resource.get("id") != other.get("id") for other in result):
            result.append(resource)
    return result
