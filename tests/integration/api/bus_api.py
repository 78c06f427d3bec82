"""The reference of what travels over the bus, and what drives its examples."""

from reference import bus_reference
from stage import Stage, expect, expect_keys

WORDS = {"settings", "plugins", "given", "chunk", "by", "unanswered", "publishes", "then"}


class BusApi:
    """Drives the examples of one file and keeps account of them."""

    def __init__(self, path):
        self._reference = bus_reference(path)
        document = self._reference.document
        self.states = document.get("x-states", {})
        self.random_ids = document.get("x-random-ids", [])
        self.version = document["info"]["version"]
        self.addresses = {channel.get("address") for channel in document["channels"].values()}
        self._messages = dict(self._reference.named(document["components"]["messages"]))
        self._published = self._messages_of("send")
        self._driven = set()

    def _messages_of(self, action):
        """The names of the messages of all operations that have this action; replies are sent."""
        names = set()
        for operation in self._reference.document["operations"].values():
            if operation["action"] == action:
                names |= self._names(operation)
            if action == "send" and "reply" in operation:
                names |= self._names(operation["reply"])
        return names

    def _names(self, part):
        """The names among the components of those messages that an operation or a reply lists."""
        messages = [self._reference.resolve(message) for message in part["messages"]]
        return {name for name, message in self._messages.items() if any(message is one for one in messages)}

    def _example(self, path):
        message, name = path.split("/")
        examples = {one["name"]: one for one in self._messages[message]["examples"]}
        expect(name in examples, f"there is no example {path}")
        violation = self._reference.violation(examples[name]["payload"], self._messages[message]["payload"])
        expect(violation is None, f"{path}: {violation}")
        return examples[name]

    def example(self, path):
        """The chunk of MESSAGE/EXAMPLE."""
        return self._example(path)["payload"]

    def published_example(self, path):
        """The same of one that the scenario compares with what was published."""
        example = self._example(path)
        expect(path.split("/")[0] in self._published, f"nobody publishes {path}")
        self._driven.add(id(example))
        return example["payload"]

    def check_published(self, chunk):
        schemas = [self._messages[name]["payload"] for name in sorted(self._published)]
        expect(any(self._reference.violation(chunk, schema) is None for schema in schemas),
               f"a chunk that is not documented: {chunk}")

    # The scenarios, as pairs of title and what runs one.

    def scenarios(self, setup):
        for title, operation in self._reference.document["operations"].items():
            for name, scenario in operation.get("x-scenarios", {}).items():
                yield f"{title}: {name}", self._runner(setup, operation, name, scenario)

    def _runner(self, setup, operation, name, scenario):
        return lambda: self._drive(setup, operation, name, scenario)

    def _drive(self, setup, operation, name, scenario):
        expect_keys(scenario, WORDS)
        with Stage(setup, scenario) as stage:
            stage.run(scenario.get("given"))
            stage.take_published()
            if operation["action"] == "receive":
                self._send(stage, operation, scenario.get("chunk", name))
            stage.run(scenario.get("by"))
            stage.expect_published(scenario.get("publishes", []))
            self._check_purpose(operation, scenario)
            stage.run(scenario.get("then"))

    def _send(self, stage, operation, name):
        message, = self._names(operation)
        example = self._example(f"{message}/{name}")
        self._driven.add(id(example))
        stage.send_chunk(example["payload"])

    def _check_purpose(self, operation, scenario):
        """The scenario shows the very message of its operation, or of the reply to it."""
        shown = {path.split("/")[0] for path in scenario.get("publishes", [])}
        if operation["action"] == "send":
            expect(shown & self._names(operation), "the scenario does not show the message of its operation")
        elif "reply" in operation and not scenario.get("unanswered"):
            expect(shown & self._names(operation["reply"]), "the scenario does not show the reply")

    # What no scenario has come by.

    def undriven(self):
        """Whatever is promised and was not driven."""
        for name, message in self._messages.items():
            examples = message.get("examples", [])
            if not examples:
                yield f"{name}: there is no example"
            for example in examples:
                if id(example) not in self._driven:
                    yield f"{name}: the example {example['name']}"
        for name in set(self._messages) - self._published - self._messages_of("receive"):
            yield f"{name}: no operation has this message"
