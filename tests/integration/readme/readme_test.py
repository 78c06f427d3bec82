"""Runs the README's quick start literally and compares what it prints; checks its table of settings.

The quick start is every ```console block, in the order of the README. Lines that begin with "$ " are commands, the
others are what they print. The word behind "console" names the shell: blocks of one name go to one bash. A block that
begins with no command is the rest of what the last command of its shell prints: that command is a long poll, which is
left waiting while the blocks in between run.

Two things may differ from what the README prints:
- the address behind "VEXO=", in whose place the test puts the one of its own host;
- the 16 letters and digits of an "_id": any will do, as long as the same one stands wherever the README repeats it.
"""

import argparse
import re
import subprocess
import sys

from vexohost import Host, Output

README_ADDRESS = "VEXO=http://127.0.0.1:8750"
POLLS_ARE_LOGGED = "ch.tessel.vexo-service.context.eventcontroller.debug=true"
POLL_WAITS = b"Current context has already been sent. Wait for change..."
ID = re.compile(r'(?<="_id": ")([A-Za-z0-9]{16})(?=")')


class Shell:
    """One bash that runs command after command, in the directory that is given."""

    def __init__(self, name, directory):
        self.process = subprocess.Popen(
            ["bash", "--noprofile", "--norc"], cwd=directory,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.output = Output(self.process.stdout, f"the shell of \"{name}\"")

    def begin(self, command):
        self.process.stdin.write(command.encode() + b" </dev/null\nprintf '\\0'\n")
        self.process.stdin.flush()

    def finish(self):
        return self.output.read_to(b"\0")

    def end(self):
        self.process.stdin.close()
        self.process.kill()
        self.process.wait()


def console_blocks(readme):
    """Pairs of shell and lines."""
    for shell, text in re.findall(r"^```console *(.*)\n((?:.*\n)*?)```$", readme, re.MULTILINE):
        yield shell, text.splitlines()


def split_commands(lines):
    """Printed lines before the first command, and pairs of command and printed lines."""
    rest, commands = [], []
    for line in lines:
        if line.startswith("$ "):
            commands.append((line[2:], []))
        else:
            (commands[-1][1] if commands else rest).append(line)
    return rest, commands


def compare(command, printed, actual, ids):
    """Exits with both if they differ. `ids` holds what stands for each id of the README."""
    for ours, theirs in zip(ID.findall("\n".join(printed)), ID.findall(actual)):
        if theirs not in ids.values():
            ids.setdefault(ours, theirs)
    expected = "".join(ID.sub(lambda found: ids.get(found[1], found[1]), line) + "\n" for line in printed)
    if actual != expected:
        sys.exit(f"$ {command}\nThe README prints:\n{expected}\nThe host answers:\n{actual}")


def run_blocks(blocks, host):
    shells, waiting, ids = {}, {}, {}
    try:
        for place, (name, lines) in enumerate(blocks):
            shell = shells[name] = shells.get(name) or Shell(name, host.directory)
            rest, commands = split_commands(lines)
            if rest:
                compare(waiting[name], rest, shell.finish(), ids)
                del waiting[name]
            later = [split_commands(lines)[0] for other, lines in blocks[place + 1:] if other == name]
            last_waits = bool(later and later[0])
            for number, (command, printed) in enumerate(commands, 1):
                shell.begin(command.replace(README_ADDRESS, f"VEXO=http://127.0.0.1:{host.port}"))
                if last_waits and number == len(commands):
                    host.log.read_to(POLL_WAITS)
                    waiting[name] = command
                else:
                    compare(command, printed, shell.finish(), ids)
        if waiting:
            sys.exit(f"The README does not tell what these print: {waiting}")
    finally:
        for shell in shells.values():
            shell.end()


def test_quick_start(readme, arguments):
    blocks = list(console_blocks(readme))
    if not blocks or blocks[0][1][0] != "$ " + README_ADDRESS:
        sys.exit("The first console block does not begin with the address of the host")
    host = Host(arguments.host, [arguments.plugin], logging=POLLS_ARE_LOGGED)
    try:
        host.await_start()
        run_blocks(blocks, host)
    finally:
        status, _ = host.end()
    if status != 0:
        sys.exit(f"The host ended with status {status}")


def test_settings(readme, arguments):
    """The settings and defaults of the README are those that the host tells with --help."""
    row = r"^\| `((?:http|plugins)\.\w+)` \| *`?([^`|]*?)`? *\|"
    in_readme = {key: value.strip() for key, value in re.findall(row, readme, re.MULTILINE)}
    help_text = subprocess.run([arguments.host, "--help"], check=True, capture_output=True, text=True).stdout
    columns = r"^  ((?=http\.|plugins\.).{20}) (.{15}) "
    in_help = {key.strip(): value.strip() for key, value in re.findall(columns, help_text, re.MULTILINE)}
    if not in_help or in_readme != in_help:
        sys.exit(f"The README has {in_readme}\nThe host has {in_help}")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("test", choices=["quick_start", "settings"])
    parser.add_argument("--readme", required=True)
    parser.add_argument("--host", required=True)
    parser.add_argument("--plugin", required=True)
    given = parser.parse_args()
    with open(given.readme, encoding="utf-8") as file:
        text = file.read()
    {"quick_start": test_quick_start, "settings": test_settings}[given.test](text, given)
