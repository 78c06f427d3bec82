"""The real host with the real plug-ins, in a process and with settings of its own."""

import atexit
import os
import re
import subprocess
import threading
import time

from ledger import MAPPED_FROM
from tally import WrongAnswer

PATIENCE_S = 60
SETTINGS = """\
[ch.tessel.vexo-service.context]
ttl=1
xml.directory={directory}/xml
[ch.tessel.vexo-service.buswire]
socket={directory}/buswire.sock
"""
# Left alone, glibc keeps freed blocks of up to 32 MiB for later: the biggest ones that ever came make resident memory
# jump by many MiB. With low and fixed thresholds they go back to the kernel, and what grows can be seen.
ALLOCATOR = {"MALLOC_MMAP_THRESHOLD_": str(MAPPED_FROM), "MALLOC_TRIM_THRESHOLD_": str(MAPPED_FROM)}


class Host:
    def __init__(self, arguments, directory, course, tally, judge):
        self.course = course
        self.tally = tally
        self.judge = judge
        self.socket_path = os.path.join(directory, "buswire.sock")
        self.xml_directory = os.path.join(directory, "xml")
        self.port = None
        self.ending = False
        self.log = open(os.path.join(directory, "host.log"), "w", encoding="utf-8")
        os.mkdir(self.xml_directory)
        os.mkdir(os.path.join(directory, "tessel"))
        with open(os.path.join(directory, "tessel", "vexo-service.ini"), "w", encoding="ascii") as file:
            file.write(SETTINGS.format(directory=directory))
        build = arguments.build
        environment = self.environment(directory)
        if not arguments.default_allocator:
            environment.update(ALLOCATOR)
        self.process = subprocess.Popen(
            [f"{build}/bin/vexo-service", "--listen", "127.0.0.1:0",
             "--plugin", f"{build}/plugins/libcontextplugin.so", "--plugin", f"{build}/plugins/libbuswire.so"],
            cwd=directory, env=environment, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE,
            start_new_session=True)  # so that Ctrl-C is not for the host
        atexit.register(self.process.kill)
        self.started = threading.Event()
        self.thread = threading.Thread(target=self.read_log, name="log of the host", daemon=True)
        self.thread.start()

    @staticmethod
    def environment(directory):
        # The writers of XML files read the system's settings and no others.
        environment = dict(os.environ, HOME=directory, XDG_CONFIG_HOME=directory + "/home",
                           XDG_CONFIG_DIRS=directory, LC_ALL="C.UTF-8")
        for name in ("TS_SETTINGS_INI_FILE", "QT_MESSAGE_PATTERN", "QT_LOGGING_RULES", "QT_LOGGING_CONF"):
            environment.pop(name, None)
        return environment

    def await_start(self):
        if not self.started.wait(PATIENCE_S) or self.port is None:
            raise WrongAnswer("The host does not start")

    def read_log(self):
        for line in self.process.stderr:
            text = line.decode("utf-8", "backslashreplace").rstrip("\n")
            self.log.write(text + "\n")
            if found := re.search(r"Listening on 127\.0\.0\.1:(\d+)", text):
                self.port = int(found[1])
                self.started.set()
            try:
                self.judge.take(text)
            except WrongAnswer as error:
                self.tally.fail(str(error))
                self.course.stop()
        self.started.set()
        self.log.close()
        if not self.ending:
            self.tally.fail(f"The host has ended with status {self.process.wait()}")
            self.course.stop()

    def end(self):
        """Seconds that the host took to end."""
        self.ending = True
        began = time.monotonic()
        self.process.terminate()
        try:
            status = self.process.wait(PATIENCE_S)
        except subprocess.TimeoutExpired:
            self.process.kill()
            status = self.process.wait()
        took = time.monotonic() - began
        self.thread.join(PATIENCE_S)
        if status != 0:
            self.tally.fail(f"The host has ended with status {status}")
        return took
