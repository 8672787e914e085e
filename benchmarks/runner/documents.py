"""The documents that are converted, the same bytes every time: web pages, Word documents, text.

They are small on purpose: what is measured with them is the work around a document.
"""

import os
import random
import zipfile
from pathlib import Path

COUNT = 21  # of each kind: one, and twenty more
TEXT_BYTES = 2_000_000
PHOTOS = 100  # names for the photographs that the generator made
WORDS = """about above across after again against almost along among around because before behind
between beyond certain change course during enough every family father figure follow friend
general garden ground happen hundred island kitchen language letter little market matter measure
mother mountain nothing number office paper people picture place question river season second
several simple small something station story street summer table teacher thing thought through
travel under village water weather whether window winter without wonder world writing year"""


def sentences(source, count):
    words = WORDS.split()
    return " ".join(
        " ".join(source.choices(words, k=source.randint(6, 16))).capitalize() + "."
        for _ in range(count))


def marker(kind, number):
    """Text that stands in the document, to tell its PDF by."""
    return f"{kind} number {number}"


def web_page(number):
    source = random.Random(100 + number)
    rows = "".join(
        f"<tr><td>{source.choice(WORDS.split())}</td><td>{source.randint(1, 999)}</td></tr>"
        for _ in range(8))
    paragraphs = "".join(f"<p>{sentences(source, 5)}</p>" for _ in range(4))
    return f"""<!DOCTYPE html><html lang="en"><head><meta charset="utf-8"><title>Page</title>
<style>body {{ font: 11pt/1.4 serif }} h1 {{ color: #234 }} td {{ border: 1px solid #888; padding: 3px }}
</style></head><body><h1>{marker("Page", number)}</h1>{paragraphs}<table>{rows}</table></body></html>
"""


CONTENT_TYPES = """<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
<Default Extension="xml" ContentType="application/xml"/>
<Override PartName="/word/document.xml"
 ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"/>
</Types>
"""
RELATIONS = """<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Id="rId1" Target="word/document.xml"
 Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument"/>
</Relationships>
"""


def word_body(number):
    source = random.Random(200 + number)

    def paragraph(text, bold=False):
        look = "<w:rPr><w:b/><w:sz w:val='32'/></w:rPr>" if bold else ""
        return f"<w:p><w:r>{look}<w:t>{text}</w:t></w:r></w:p>"

    paragraphs = [paragraph(marker("Letter", number), True)]
    paragraphs += [paragraph(sentences(source, 5)) for _ in range(6)]
    namespace = "http://schemas.openxmlformats.org/wordprocessingml/2006/main"
    return ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
            f'<w:document xmlns:w="{namespace}"><w:body>{"".join(paragraphs)}'
            "</w:body></w:document>")


def write_word(path, number):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as package:
        parts = {"[Content_Types].xml": CONTENT_TYPES, "_rels/.rels": RELATIONS,
                 "word/document.xml": word_body(number)}
        for name, content in parts.items():
            package.writestr(zipfile.ZipInfo(name), content, zipfile.ZIP_DEFLATED)


def write_text(path):
    source = random.Random(300)
    lines, size = [marker("Text", 1)], 0
    while size < TEXT_BYTES:
        lines.append(sentences(source, 1))
        size += len(lines[-1]) + 1
    path.write_text("\n".join(lines) + "\n")


class Documents:
    """The files by kind, as paths. photos: names for the generator's photographs, again and again."""

    def __init__(self, inputs):
        folder = Path(inputs) / "documents"
        folder.mkdir(exist_ok=True)
        self.pages = [folder / f"page-{n:02}.html" for n in range(1, COUNT + 1)]
        self.letters = [folder / f"letter-{n:02}.docx" for n in range(1, COUNT + 1)]
        self.text = folder / "text.txt"
        self.photos = [folder / f"photo-{n:03}.jpg" for n in range(1, PHOTOS + 1)]
        for number, path in enumerate(self.pages, 1):
            path.write_text(web_page(number))
        for number, path in enumerate(self.letters, 1):
            write_word(path, number)
        write_text(self.text)
        originals = sorted(Path(inputs).glob("photo-*.jpg"))
        for number, path in enumerate(self.photos):
            path.unlink(missing_ok=True)
            os.link(originals[number % len(originals)], path)
