"""Finds what the product has and its references don't."""

import pathlib
import re


def sources(tree):
    return "\n".join(file.read_text(encoding="utf-8") for file in sorted(pathlib.Path(tree, "src").rglob("*.cpp")))


def readme_routes(readme):
    """Pairs of method and path, from the first column of the table."""
    cells = re.findall(r"^\| (`[A-Z, ]+ /[^|]*) \|", readme, re.MULTILINE)
    rows = [row for cell in cells for row in re.findall(r"`([A-Z, ]+) (/[^`]*)`", cell)]
    return {(method, path) for methods, path in rows for method in methods.split(", ")}


def of_http(api, tree):
    """The README's table of routes, and the patterns of the route table, against the paths."""
    documented = {(operation.method, operation.same_as) for operation in api.operations}
    in_readme = readme_routes(pathlib.Path(tree, "README.md").read_text(encoding="utf-8"))
    yield from (f"{method} {path} stands in the README alone" for method, path in sorted(in_readme - documented))
    yield from (f"{method} {path} is missing in the README" for method, path in sorted(documented - in_readme))

    patterns = re.findall(r'R"\((\^\\/.*?\$)\)"', sources(tree))
    samples = {re.sub(r"\{\w+\}", "x", operation.path) for operation in api.operations}
    yield from (f"the route {pattern} is not documented" for pattern in patterns
                if not any(re.search(pattern, sample) for sample in samples))
    yield from (f"no route takes {sample}" for sample in sorted(samples)
                if not any(re.search(pattern, sample) for pattern in patterns))


def of_bus(api, tree):
    """The exchanges that the sources name, against the addresses."""
    named = set(re.findall(r'"(vexo-context-[a-z-]+|context-created|context-removed)"', sources(tree)))
    for exchange in sorted(named ^ (api.addresses - {None})):
        yield f"{exchange} is not documented" if exchange in named else f"{exchange} is nowhere in the sources"
