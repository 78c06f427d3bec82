#!/usr/bin/env python3
"""Lets real clients upload files to a server of its own and keeps the bodies that they send, each in NAME.body with its
Content-Type in NAME.type beside it. README.md tells what they are for."""

import argparse
import base64
import email.mime.application
import email.mime.multipart
import email.policy
import http.client
import http.server
import json
import os
import pathlib
import queue
import shutil
import subprocess
import tempfile
import threading
import urllib.parse
import uuid

PATIENCE_S = 60
FORM = pathlib.Path(__file__).with_name("form.html")

BINARY = bytes(range(256)) + b"\r\n\r\n--\r\n\r\r\n\r\n----\r\n--"
UPLOADS = {
    "one": {"report.txt": b"first line\nsecond line\n"},
    "three": {"c.txt": b"third", "a.txt": b"first\r\n", "b.txt": b"\nsecond"},
    "names": {
        "lab report.txt": b"blank",
        "\u00dcberweisung f\u00fcr Zo\u00eb.txt": b"UTF-8",
        'say "hi".txt': b"quotes",
    },
    "empty": {"empty.txt": b""},
    "binary": {"binary.bin": BINARY},
}


class Recorder(http.server.BaseHTTPRequestHandler):
    """Answers every upload with 204 and hands it on."""

    def do_POST(self):
        length = int(self.headers["Content-Length"])
        self.server.uploads.put((self.headers["Content-Type"], self.rfile.read(length)))
        self.send_response(204)
        self.end_headers()

    def log_message(self, *arguments):
        pass


def encode_by_hand(files, end="--\r\n"):
    """What is commonly written where there is nothing but the standard library."""
    boundary = uuid.uuid4().hex
    body = b""
    for name, content in files.items():
        body += (f'--{boundary}\r\nContent-Disposition: form-data; name="file"; filename="{name}"\r\n'
                 "Content-Type: application/octet-stream\r\n\r\n").encode() + content + b"\r\n"
    return f"multipart/form-data; boundary={boundary}", body + f"--{boundary}{end}".encode()


def encode_as_mail(files):
    """The other way: parts of a mail, without the head of the mail."""
    message = email.mime.multipart.MIMEMultipart("form-data")
    for name, content in files.items():
        part = email.mime.application.MIMEApplication(content)
        part.add_header("Content-Disposition", "form-data", name="file", filename=name)
        message.attach(part)
    body = message.as_bytes(policy=email.policy.HTTP).split(b"\r\n\r\n", 1)[1]
    return message, body


class Capture:
    def __init__(self, directory):
        self.directory = directory
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Recorder)
        self.server.uploads = queue.Queue()
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        self.address = f"127.0.0.1:{self.server.server_port}"

    def keep(self, name):
        content_type, body = self.server.uploads.get(timeout=PATIENCE_S)
        (self.directory / f"{name}.type").write_text(content_type + "\n", encoding="utf-8")
        (self.directory / f"{name}.body").write_bytes(body)

    def curl(self, name, files, form):
        with tempfile.TemporaryDirectory() as directory:
            for file, content in files.items():
                pathlib.Path(directory, file).write_bytes(content)
            curl = ["curl", "--disable", "--silent", "--show-error", "--noproxy", "*"]
            subprocess.run([*curl, *form, f"http://{self.address}/"], cwd=directory, check=True, timeout=PATIENCE_S)
        self.keep(f"curl-{name}")

    def python(self, name, content_type, body):
        connection = http.client.HTTPConnection(self.address, timeout=PATIENCE_S)
        connection.request("POST", "/", body, {"Content-Type": content_type})
        connection.getresponse().read()
        connection.close()
        self.keep(f"python-{name}")

    def browser(self, name, command, what):
        what = dict(what, action=f"http://{self.address}/")
        page = f"{FORM.resolve().as_uri()}#{urllib.parse.quote(json.dumps(what))}"
        with tempfile.TemporaryDirectory() as profile:
            pathlib.Path(profile, "user.js").write_text('user_pref("browser.aboutwelcome.enabled", false);\n')
            browser = subprocess.Popen([*(argument.replace("PROFILE", profile) for argument in command), page],
                                       env=dict(os.environ, HOME=profile, TMPDIR=profile),
                                       stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            try:
                self.keep(name)
            finally:
                browser.terminate()
                # Until none of its processes is left that could write to the profile.
                browser.communicate(timeout=PATIENCE_S)


def quoted(name):
    escaped = name.replace('"', '\\"')
    return f'"{escaped}"'


def capture_curl(capture):
    for name, files in UPLOADS.items():
        capture.curl(name, files, [argument for file in files for argument in ("-F", f"file=@{quoted(file)}")])
    capture.curl("field", UPLOADS["one"], ["-F", "comment=as discussed", "-F", "file=@report.txt"])
    capture.curl("nested", UPLOADS["three"], ["-F", "file=@c.txt,a.txt,b.txt"])


def capture_python(capture):
    for name, files in UPLOADS.items():
        capture.python(name, *encode_by_hand(files))
    capture.python("unended", *encode_by_hand(UPLOADS["one"], end="--"))
    message, body = encode_as_mail(UPLOADS["one"])
    capture.python("mail-one", message["Content-Type"], body)  # with the boundary in quotes, as in mail
    message, body = encode_as_mail(UPLOADS["names"])
    capture.python("mail-names", f"multipart/form-data; boundary={message.get_boundary()}", body)


def capture_browser(capture, name, command):
    if not shutil.which(command[0]):
        print(f"{command[0]} is not installed: left out")
        return
    uploads = {upload: {"files": files} for upload, files in UPLOADS.items()}
    uploads["field"] = {"comment": "as discussed", "files": UPLOADS["one"]}
    uploads["none"] = {"files": {}}
    for upload, what in uploads.items():
        files = [(file, base64.b64encode(content).decode()) for file, content in what["files"].items()]
        capture.browser(f"{name}-{upload}", command, dict(what, files=files))


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("directory", type=pathlib.Path, help="where the bodies are written")
    to = Capture(parser.parse_args().directory)
    capture_curl(to)
    capture_python(to)
    # As root, Chromium starts only without its sandbox.
    capture_browser(to, "chromium", ["chromium", "--headless", "--no-sandbox", "--disable-gpu",
                                     "--no-first-run", "--user-data-dir=PROFILE"])
    capture_browser(to, "firefox", ["firefox-esr", "--headless", "--no-remote", "--profile", "PROFILE"])
