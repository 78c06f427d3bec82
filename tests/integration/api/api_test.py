"""Drives every example of docs/http-api.yaml or docs/bus-api.yaml against the real host.

What is promised and not driven fails too, and so does what the product has and the references don't.
"""

import argparse
import os
import subprocess
import sys
import traceback

import drift
from bus_api import BusApi
from http_api import HttpApi
from stage import Failure


class Setup:
    """What all scenarios share."""

    def __init__(self, given):
        self.http_api = HttpApi(os.path.join(given.tree, "docs/http-api.yaml"))
        self.bus_api = BusApi(os.path.join(given.tree, "docs/bus-api.yaml"))
        self.host = given.host
        self.plugins = given.plugin
        self._other_plugins = given.other_plugins

    def plugin(self, name):
        return os.path.join(self._other_plugins, f"lib{name}.so")


def report(title, problem):
    print(f"FAIL: {title}\n  {problem}".replace("\n", "\n  "))


def run_scenarios(scenarios):
    """The number of those that pass, and of those that fail."""
    counts = {True: 0, False: 0}
    for title, run in scenarios:
        try:
            run()
            counts[True] += 1
        except Failure as failure:
            report(title, failure)
            counts[False] += 1
        except TimeoutError:
            report(title, "there is no answer")
            counts[False] += 1
        except Exception:  # a scenario that asks for what is not there, or a host that is gone
            report(title, traceback.format_exc())
            counts[False] += 1
    return counts[True], counts[False]


def main(given):
    setup = Setup(given)
    api = {"http": setup.http_api, "bus": setup.bus_api}[given.api]
    passed, failed = run_scenarios(
        (title, run) for title, run in api.scenarios(setup) if (given.only or "") in title)
    findings = [] if given.only else [f"not driven: {what}" for what in api.undriven()]
    version = subprocess.run([given.host, "--version"], check=True, capture_output=True, text=True).stdout.split()[-1]
    if api.version != version:
        findings.append(f"its version is {api.version}, the product's {version}")
    findings += {"http": drift.of_http, "bus": drift.of_bus}[given.api](api, given.tree)
    for finding in findings:
        report("the reference", finding)
    print(f"{passed} passed, {failed + len(findings)} failed")
    sys.exit(1 if failed or findings or not passed else 0)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("api", choices=["http", "bus"])
    parser.add_argument("--tree", required=True, help="the project's directory")
    parser.add_argument("--host", required=True)
    parser.add_argument("--plugin", action="append", required=True, help="loaded for all scenarios")
    parser.add_argument("--other-plugins", help="the directory of those that scenarios name")
    parser.add_argument("--only", help="scenarios whose title holds this text")
    main(parser.parse_args())
