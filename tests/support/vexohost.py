"""The real host in a process of its own, for the tests that are no C++."""

import os
import selectors
import subprocess
import sys
import tempfile
import time

PATIENCE_S = 30


class Output:
    """What a process prints, awaited with a limit of time."""

    def __init__(self, pipe, name):
        self.pipe = pipe
        self.name = name
        self.unread = b""
        self.selector = selectors.DefaultSelector()
        self.selector.register(pipe, selectors.EVENT_READ)

    def read_to(self, end):
        """Everything up to `end`, which is taken too."""
        deadline = time.monotonic() + PATIENCE_S
        while end not in self.unread:
            if not self.selector.select(max(0, deadline - time.monotonic())):
                sys.exit(f"{self.name}: no {end!r} within {PATIENCE_S} s, but {self.unread.decode()!r}")
            piece = os.read(self.pipe.fileno(), 65536)
            if not piece:
                sys.exit(f"{self.name}: ended, having printed {self.unread.decode()!r}")
            self.unread += piece
        text, self.unread = self.unread.split(end, 1)
        return text.decode()


class Host:
    """A host of its own on a free port, with `settings` (group, key, value) and nobody else's.

    `directory` holds all that it reads and is where it runs; in a value, DIRECTORY stands for it. `logging` are rules
    for its log.
    """

    def __init__(self, executable, plugins, settings=None, logging=""):
        self._temporary = tempfile.TemporaryDirectory()
        self.directory = self._temporary.name
        self._write_settings(settings or {})
        environment = dict(os.environ, HOME=self.directory, XDG_CONFIG_HOME=self.path("user"),
                           XDG_CONFIG_DIRS=self.path("system"), QT_LOGGING_RULES=logging)
        environment.pop("TS_SETTINGS_INI_FILE", None)
        environment.pop("QT_MESSAGE_PATTERN", None)
        loaded = [argument for plugin in plugins for argument in ("--plugin", plugin)]
        self.process = subprocess.Popen(
            [executable, *loaded, "--listen", "127.0.0.1:0"], cwd=self.directory,
            env=environment, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.log = Output(self.process.stderr, "the host")
        self.port = None

    def path(self, name):
        return os.path.join(self.directory, name)

    def _write_settings(self, settings):
        file = self.path("system/tessel/vexo-service.ini")
        os.makedirs(os.path.dirname(file))
        with open(file, "w", encoding="utf-8") as ini:
            for group, values in settings.items():
                lines = "".join(f"{key}={value}\n" for key, value in values.items())
                ini.write(f"[{group}]\n" + lines.replace("DIRECTORY", self.directory))

    def await_start(self):
        self.log.read_to(b"Listening on 127.0.0.1:")
        self.port = int(self.log.read_to(b" ").rstrip(","))

    def end(self):
        """Ends the host and gives its status and the rest of its log."""
        self.process.terminate()
        try:
            rest = self.process.communicate(timeout=PATIENCE_S)[1]
        except subprocess.TimeoutExpired:
            self.process.kill()
            rest = self.process.communicate()[1]
        self._temporary.cleanup()
        return self.process.returncode, (self.log.unread + rest).decode(errors="replace")
