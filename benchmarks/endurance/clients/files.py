"""Files of contexts over HTTP: uploads of new and of replaced names, and downloads in each form."""

import base64

from clients.client import Client, expect_empty, expect_text
from clients.multipart import multipart
from model import UPLOAD_CODING
from tally import expect

NAMES = ["scan.bin", "report.pdf", "a-b_c.2.txt", "REPORT.PDF", "5.xml", "x"]
SMALLEST, LARGEST = 1 << 10, 1 << 20
POOL_SIZE = 4 << 20


class FileClient(Client):
    steps_per_second = 12
    contexts = 4

    def prepare(self):
        # Contents are pieces of this, kept as offset and size.
        self.pool = self.random.randbytes(POOL_SIZE)
        self.contents = {}
        for context in self.all:
            self.put(context, {"of": self.name})

    def step(self):
        action = self.random.choices([self.upload, self.download, self.get, self.ask_in_vain, self.replace],
                                     [40, 45, 10, 5, 2])[0]
        action(next(self.turns))

    def replace(self, context):
        """The files of a deleted context stay, and are there again with the context, though without entries."""
        with self.course.absences:
            self.delete(context)
            answer = self.ask("download of none", "GET", f"{context.path}/file/{NAMES[0]}")
            expect_text(answer, 404, "Context not found.", "the download from a deleted context")
            self.put(context, {"of": self.name})

    def content(self, context, name):
        offset, size = self.contents[context.id, name]
        return self.pool[offset:offset + size]

    def upload(self, context):
        names = self.random.sample(NAMES, self.random.choice([1, 1, 1, 2, 3]))
        new = sorted(name for name in names if (context.id, name) not in self.contents)
        for name in names:
            # Small ones are as many as large ones, on a scale of powers.
            size = round(SMALLEST * (LARGEST / SMALLEST) ** self.random.random())
            self.contents[context.id, name] = (self.random.randrange(POOL_SIZE - size), size)
            self.ledger.files[context.id, name] = size
        content_type, body = multipart([(name, self.content(context, name)) for name in names])
        answer = self.ask("upload", "POST", context.path + "/file", body, {"Content-Type": content_type})
        expect_empty(answer, 204, "the answer to an upload")
        for name in new:
            context.attach(name, UPLOAD_CODING)

    def download(self, context):
        name = self.random.choice(NAMES)
        path = f"{context.path}/file/{name}"
        if (context.id, name) not in self.contents:
            expect_text(self.ask("download of none", "GET", path), 404, "File not found.", "the download of none")
            return
        form = self.random.choice([self.raw, self.raw, self.raw, self.as_base64, self.as_attachment])
        form(path, self.content(context, name))

    def raw(self, path, content):
        # A DELETE is served like a GET.
        answer = self.ask("download", self.random.choice(["GET", "GET", "GET", "DELETE"]), path)
        expected = "application/pdf" if path.endswith(".pdf") else None
        expect(answer.headers.get("content-type"), expected, f"the type of {path}")
        expect_file(answer, content)

    def as_base64(self, path, content):
        answer = self.ask("download as base64", "GET", path + "?download=true",
                          headers={"Accept-Encoding": "gzip, base64"})
        expect(answer.headers.get("content-encoding"), "base64", "the encoding of a download")
        expect_file(answer._replace(body=base64.b64decode(answer.body, validate=True)), content)

    def as_attachment(self, path, content):
        query, disposition = self.random.choice([
            ("?download=true", "attachment"), ("?download=true&filename=x.pdf", "attachment; filename=x.pdf;")])
        answer = self.ask("download as attachment", "GET", path + query)
        expect((answer.headers.get("content-type"), answer.headers.get("content-disposition")),
               ("application/octet-stream", disposition), "the headers of an attachment")
        expect_file(answer, content)

    def ask_in_vain(self, context):
        path = f"{context.path}/file/"
        answer = self.ask("download of none", "GET", path + "never.there")
        expect_text(answer, 404, "File not found.", "an unknown file")
        known = [name for name in NAMES if (context.id, name) in self.contents]
        if known:
            fhir = {"Accept": "application/fhir+json"}
            answer = self.ask("download of none", "GET", path + known[0], headers=fhir)
            expect_text(answer, 501, "Fhir file reprensentation not implemented.", "a file as FHIR")


def expect_file(answer, content):
    expect(answer.status, 200, "the status of a download")
    expect(answer.body == content, True, f"whether {len(answer.body)} bytes are the {len(content)} that were sent")
