"""What a PDF carries beside its pages, as programs see it that did not write it."""

import json
import re
import shutil
import subprocess
import tempfile
from dataclasses import dataclass, field
from pathlib import Path

MUPDF_VIEW = Path(__file__).with_name("carried.js")


class Unreadable(Exception):
    """A program that should look at a file cannot."""


@dataclass
class View:
    """One program's view of one file. Pages count from 1; 0 is no page. None: it does not tell."""

    outline: list = None  # (title, page) in reading order, children after their parent
    links: list = None  # (page, target page)
    web: list = None  # (page, address)
    fields: list = None  # (full name, value, page)
    attachments: list = None  # (name, content)
    title: str = None
    labels: list = field(default_factory=list)  # of each page; empty when the file has none


def output_of(words):
    done = subprocess.run(words, capture_output=True, stdin=subprocess.DEVNULL, timeout=60,
                          check=False)
    mended = words[0] == "qpdf" and done.returncode == 3  # read, with warnings
    if done.returncode != 0 and not mended:
        told = done.stderr.decode(errors="replace").strip().splitlines()
        raise Unreadable(f"{words[0]}: {told[0] if told else 'failed'}")
    return done.stdout


class Objects:
    """The objects of a file, as `qpdf --json` prints them."""

    def __init__(self, path):
        printed = output_of(["qpdf", "--json=2", "--json-key=qpdf", "--json-key=pages",
                             "--json-stream-data=none", str(path)])
        document = json.loads(printed)
        self.objects = {}
        for key, entry in document["qpdf"][1].items():
            value = entry["value"] if "value" in entry else entry["stream"]["dict"]
            self.objects[key.removeprefix("obj:")] = value
        self.pages = [page["object"] for page in document["pages"]]
        self.catalog = self.entry(self.objects["trailer"], "/Root") or {}

    def resolved(self, value):
        if isinstance(value, str) and re.fullmatch(r"\d+ \d+ R", value):
            return self.objects.get(value)
        return value

    def entry(self, dictionary, key):
        holder = self.resolved(dictionary)
        return self.resolved(holder.get(key)) if isinstance(holder, dict) else None

    def array(self, dictionary, key):
        value = self.entry(dictionary, key)
        return value if isinstance(value, list) else []

    def text(self, value):
        value = self.resolved(value)
        if not isinstance(value, str):
            return ""
        return bytes.fromhex(value[2:]).decode("latin-1") if value.startswith("b:") \
            else value.removeprefix("u:")

    def tree(self, root, leaf):
        """(key, value) of a name tree or a number tree."""
        found, pending, seen = [], [root], set()
        while pending:
            node = self.resolved(pending.pop())
            if not isinstance(node, dict) or id(node) in seen:
                continue
            seen.add(id(node))
            items = self.array(node, leaf)
            found += zip(map(self.resolved, items[::2]), items[1::2])
            pending += reversed(self.array(node, "/Kids"))
        return found

    def page_of(self, destination):
        """The page that a destination means, by whatever name."""
        destination = self.resolved(destination)
        if isinstance(destination, str):
            if destination.startswith("/"):
                named = self.entry(self.entry(self.catalog, "/Dests"), destination)
            else:
                names = self.tree(self.entry(self.entry(self.catalog, "/Names"), "/Dests"), "/Names")
                named = next((value for key, value in names
                              if self.text(key) == self.text(destination)), None)
            destination = self.resolved(named)
        if isinstance(destination, dict):
            destination = self.resolved(destination.get("/D"))
        if not isinstance(destination, list) or not destination:
            return 0
        return self.pages.index(destination[0]) + 1 if destination[0] in self.pages else 0

    def target_of(self, holder):
        """The page that a link or an outline entry leads to; None when it leads elsewhere."""
        holder = self.resolved(holder)
        action = self.entry(holder, "/A")
        if "/Dest" in holder:
            return self.page_of(holder["/Dest"])
        if self.entry(action, "/S") == "/GoTo":
            return self.page_of(self.entry(action, "/D"))
        return None


def outline_in(objects):
    found = []

    def add(item):
        seen = 0
        while isinstance(objects.resolved(item), dict) and seen < 1000:
            seen += 1
            found.append((objects.text(objects.entry(item, "/Title")), objects.target_of(item) or 0))
            add(objects.resolved(item).get("/First"))
            item = objects.resolved(item).get("/Next")

    add((objects.entry(objects.catalog, "/Outlines") or {}).get("/First"))
    return found


def links_in(objects):
    links, web = [], []
    for number, page in enumerate(objects.pages, 1):
        for annotation in objects.array(page, "/Annots"):
            if objects.entry(annotation, "/Subtype") != "/Link":
                continue
            target = objects.target_of(annotation)
            address = objects.text(objects.entry(objects.entry(annotation, "/A"), "/URI"))
            if target is not None:
                links.append((number, target))
            elif address:
                web.append((number, address))
    return links, web


def fields_in(objects):
    """The widgets that a form's fields own; what merely lies on a page is no field any more."""
    places = {annotation: number for number, page in enumerate(objects.pages, 1)
              for annotation in objects.array(page, "/Annots") if isinstance(annotation, str)}
    found = []

    def add(reference, prefix, inherited):
        node = objects.resolved(reference)
        if not isinstance(node, dict):
            return
        part = objects.text(node.get("/T"))
        name = ".".join(filter(None, [prefix, part]))
        value = objects.text(node["/V"]) if "/V" in node else inherited
        for kid in objects.array(node, "/Kids"):
            add(kid, name, value)
        if objects.entry(node, "/Subtype") == "/Widget" and reference in places:
            found.append((name, value, places[reference]))

    for top in objects.array(objects.entry(objects.catalog, "/AcroForm"), "/Fields"):
        add(top, "", "")
    return found


def roman(number):
    text = ""
    for value, digit in ((1000, "m"), (900, "cm"), (500, "d"), (400, "cd"), (100, "c"), (90, "xc"),
                         (50, "l"), (40, "xl"), (10, "x"), (9, "ix"), (5, "v"), (4, "iv"), (1, "i")):
        text += digit * (number // value)
        number %= value
    return text


def labels_in(objects):
    ranges = sorted((first, objects.resolved(label)) for first, label in
                    objects.tree(objects.entry(objects.catalog, "/PageLabels"), "/Nums"))
    labels = []
    for index in range(len(objects.pages)) if ranges else ():
        first, label = max((entry for entry in ranges if entry[0] <= index),
                           key=lambda entry: entry[0], default=(0, {"/S": "/D"}))
        number = (objects.entry(label, "/St") or 1) + index - first
        numeral = {"/D": str(number), "/r": roman(number), "/R": roman(number).upper()}
        style = objects.entry(label, "/S")
        labels.append(objects.text(label.get("/P")) + numeral.get(style, style or ""))
    return labels


def by_qpdf(path):
    objects = Objects(path)
    links, web = links_in(objects)
    names = objects.tree(objects.entry(objects.entry(objects.catalog, "/Names"), "/EmbeddedFiles"),
                         "/Names")
    attachments = [(name, output_of(["qpdf", f"--show-attachment={name}", str(path)]))
                   for name in (objects.text(key) for key, _ in names)]
    title = objects.text(objects.entry(objects.entry(objects.objects["trailer"], "/Info"), "/Title"))
    return View(outline_in(objects), links, web, fields_in(objects), attachments, title,
                labels_in(objects))


def by_mupdf(path):
    seen = json.loads(output_of(["mutool", "run", str(MUPDF_VIEW), str(path)]))

    def page_in(address):
        found = re.match(r"#page=(\d+)", address or "")
        return int(found.group(1)) if found else 0

    def flat(items):
        for item in items or ():
            yield item["title"], page_in(item.get("uri"))
            yield from flat(item.get("down"))

    internal = [(page, page_in(address)) for page, address in seen["links"]
                if address.startswith("#")]
    web = [(page, address) for page, address in seen["links"] if not address.startswith("#")]
    return View(list(flat(seen["outline"])), internal, web, [tuple(f) for f in seen["fields"]], None,
                seen["title"], None)


def by_poppler(path):
    with tempfile.TemporaryDirectory() as folder:
        listed = output_of(["pdfdetach", "-list", str(path)]).decode().splitlines()
        attachments = []
        for line in listed:
            found = re.match(r"(\d+): (.*)", line)
            if found:
                target = Path(folder) / found.group(1)
                output_of(["pdfdetach", "-save", found.group(1), "-o", str(target), str(path)])
                attachments.append((found.group(2), target.read_bytes()))
    information = output_of(["pdfinfo", str(path)]).decode()
    title = re.search(r"^Title: +(.*)$", information, re.MULTILINE)
    return View(attachments=attachments, title=title.group(1) if title else "", labels=None)


def views_of(path):
    """By the program's name. qpdf's view is complete; the others tell what they can."""
    views = {"qpdf": by_qpdf(path), "Poppler": by_poppler(path)}
    if shutil.which("mutool") is not None:
        views["MuPDF"] = by_mupdf(path)
    return views


def page_lines(path):
    """The lines of each page's text."""
    pages = output_of(["pdftotext", str(path), "-"]).decode().split("\f")[:-1]
    return [set(filter(None, text.splitlines())) for text in pages]
