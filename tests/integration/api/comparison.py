"""Compares what an example promises with what came."""

import re


class Ids:
    """What stands for the random ids of the examples, each from its first sight on."""

    SHAPE = "[A-Za-z0-9]{16}"

    def __init__(self, names):
        self.bound = {}
        self._any = re.compile("|".join(names) or "(?!)")

    def fill(self, text):
        """`text` with what stands for those ids that have been seen."""
        return self._any.sub(lambda found: self.bound.get(found[0], found[0]), text)

    def match(self, expected, actual):
        """Whether the texts are equal, where an id that has not been seen takes any one that is not taken."""
        unseen = []
        def pattern(name):
            if name in unseen:
                return f"(?P=id{unseen.index(name)})"
            unseen.append(name)
            return f"(?P<id{len(unseen) - 1}>{self.SHAPE})"

        place, pieces = 0, []
        for found in self._any.finditer(expected):
            seen = self.bound.get(found[0])
            pieces += [re.escape(expected[place:found.start()]), re.escape(seen) if seen else pattern(found[0])]
            place = found.end()
        match = re.fullmatch("".join(pieces) + re.escape(expected[place:]), actual)
        if match is None or set(match.groups()) & set(self.bound.values()):
            return False
        self.bound.update(zip(unseen, match.groups()))
        return True

    def difference(self, expected, actual, place="the value"):
        """The first place where two JSON values differ, in words; None if they are equal."""
        if isinstance(expected, str) and isinstance(actual, str):
            equal = self.match(expected, actual)
        elif isinstance(expected, dict) and isinstance(actual, dict) and expected.keys() == actual.keys():
            return self._first((expected[key], actual[key], f"{place}.{key}") for key in sorted(expected))
        elif isinstance(expected, list) and isinstance(actual, list) and len(expected) == len(actual):
            return self._first((a, b, f"{place}[{n}]") for n, (a, b) in enumerate(zip(expected, actual)))
        else:
            equal = expected == actual and isinstance(expected, bool) == isinstance(actual, bool)
        return None if equal else f"{place} is {actual!r}, promised is {self.fill(str(expected))!r}"

    def _first(self, triples):
        return next(filter(None, (self.difference(*triple) for triple in triples)), None)
