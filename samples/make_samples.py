#!/usr/bin/env python3
"""Makes letter.pdf, charts.pdf and scan.pdf beside this file.

Needs nothing but Python, and writes the same bytes each time: the PDFs are
committed, and this shows where they come from. All drawing is in points from the
lower left corner of the page.
"""

import hashlib
import math
import pathlib
import random
import zlib

HERE = pathlib.Path(__file__).resolve().parent

A4 = (595, 842)
A3_LANDSCAPE = (1191, 842)
A4_LANDSCAPE = (842, 595)
A5_LANDSCAPE = (595, 420)
LETTER_LANDSCAPE = (792, 612)

INK = (0.13, 0.16, 0.22)
QUIET = (0.45, 0.49, 0.56)
RULE = (0.82, 0.85, 0.89)
PETROL = (0.07, 0.39, 0.45)
PALETTE = [PETROL, (0.89, 0.58, 0.20), (0.52, 0.66, 0.32), (0.72, 0.32, 0.33), (0.42, 0.40, 0.64)]


def number(value):
    return f"{value:.3f}".rstrip("0").rstrip(".")


def numbers(*values):
    return " ".join(number(v) for v in values)


def text_string(text):
    escaped = text.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)")
    return b"(" + escaped.encode("cp1252") + b")"


class Document:
    """Numbered objects, written in order with a cross-reference table."""

    def __init__(self, title):
        self.objects = []
        self.catalog = self.reserve()
        self.pages = self.reserve()
        self.info = self.add(
            b"<< /Title " + text_string(title) + b" /Author (Quillorn Folivane)"
            b" /Producer (samples/make_samples.py) >>"
        )
        fonts = {
            "F": "Helvetica", "FB": "Helvetica-Bold", "FI": "Times-Italic", "FT": "Times-Roman"
        }
        entries = b""
        for name, base in fonts.items():
            font = self.add(
                f"<< /Type /Font /Subtype /Type1 /BaseFont /{base}"
                " /Encoding /WinAnsiEncoding >>".encode()
            )
            entries += f" /{name} {font} 0 R".encode()
        self.fonts = self.add(b"<<" + entries + b" >>")
        self.kids = []
        self.catalog_entries = b""

    def reserve(self):
        self.objects.append(None)
        return len(self.objects)

    def fill(self, reference, body):
        self.objects[reference - 1] = body

    def add(self, body):
        reference = self.reserve()
        self.fill(reference, body)
        return reference

    def stream(self, entries, data, packed=False):
        if packed:
            data = zlib.compress(data, 9)
            entries += b" /Filter /FlateDecode"
        return self.add(
            b"<< " + entries + f" /Length {len(data)} >>\nstream\n".encode() + data + b"\nendstream"
        )

    def reserve_pages(self, count):
        self.kids = [self.reserve() for _ in range(count)]

    def page(self, index, size, content, extra=b"", resources=b""):
        stream = self.stream(b"", content.encode("cp1252"))
        self.fill(
            self.kids[index],
            f"<< /Type /Page /Parent {self.pages} 0 R /MediaBox [0 0 {numbers(*size)}]"
            f" /Contents {stream} 0 R /Resources << /Font {self.fonts} 0 R ".encode()
            + resources + b" >>" + extra + b" >>",
        )

    def write(self, name):
        kids = " ".join(f"{kid} 0 R" for kid in self.kids)
        self.fill(
            self.pages, f"<< /Type /Pages /Count {len(self.kids)} /Kids [{kids}] >>".encode()
        )
        self.fill(
            self.catalog,
            f"<< /Type /Catalog /Pages {self.pages} 0 R".encode() + self.catalog_entries + b" >>",
        )
        out = bytearray(b"%PDF-1.6\n%\xe2\xe3\xcf\xd3\n")
        offsets = []
        for index, body in enumerate(self.objects, 1):
            offsets.append(len(out))
            out += f"{index} 0 obj\n".encode() + body + b"\nendobj\n"
        start = len(out)
        out += f"xref\n0 {len(offsets) + 1}\n0000000000 65535 f \n".encode()
        for offset in offsets:
            out += f"{offset:010d} 00000 n \n".encode()
        identity = hashlib.md5(bytes(out)).hexdigest()
        out += (
            f"trailer\n<< /Size {len(offsets) + 1} /Root {self.catalog} 0 R /Info {self.info} 0 R"
            f" /ID [<{identity}> <{identity}>] >>\nstartxref\n{start}\n%%EOF\n".encode()
        )
        (HERE / name).write_bytes(out)
        print(f"{name}: {len(self.kids)} pages, {len(out)} bytes")


class Canvas:
    """Collects the drawing operators of one page."""

    def __init__(self):
        self.parts = []

    def do(self, *words):
        self.parts.append(" ".join(w if isinstance(w, str) else number(w) for w in words))

    def content(self):
        return "\n".join(self.parts) + "\n"

    def fill_color(self, color):
        self.do(*color, "rg")

    def stroke(self, color, width):
        self.do(*color, "RG", width, "w")

    def rectangle(self, x, y, width, height, color):
        self.fill_color(color)
        self.do(x, y, width, height, "re f")

    def line(self, points, color, width):
        self.stroke(color, width)
        self.do(*points[0], "m", *(w for p in points[1:] for w in (*p, "l")), "S")

    def polygon(self, points, color):
        self.fill_color(color)
        self.do(*points[0], "m", *(w for p in points[1:] for w in (*p, "l")), "h f")

    def text(self, x, y, text, size=10.5, font="F", color=INK):
        self.fill_color(color)
        string = text_string(text).decode("cp1252")
        self.do(f"BT /{font}", size, "Tf", x, y, "Td", string, "Tj ET")


def destination(page, top):
    return f"[{page} 0 R /XYZ 0 {number(top)} null]"


def link(rectangle, action):
    place = numbers(*rectangle)
    return f"<< /Type /Annot /Subtype /Link /Rect [{place}] /Border [0 0 0] {action} >>"


# letter.pdf: three pages of running text. The first page links to the other two,
# and the third holds a form.

LETTER_PARAGRAPHS = [
    [
        "Dear reader,",
    ],
    [
        "this is a letter about nothing in particular. It exists so that there is something",
        "to put together: pages with words on them, pages with drawings, and pages that came",
        "out of a scanner the wrong way round.",
    ],
    [
        "Every office has a drawer of such papers. One page is needed here, two are needed",
        "there, the rest can stay where it is. What leaves the drawer should look exactly as",
        "it did before, only in better company and in the right order.",
    ],
    [
        "A page is more than its ink. It has a size of its own, a place it can be reached by,",
        "perhaps a field to fill in. When a page moves into another document, all of that",
        "should move along, and nothing should be left pointing into the void.",
    ],
]


def letter_page(number_in_letter):
    canvas = Canvas()
    canvas.rectangle(0, 806, 595, 36, PETROL)
    canvas.text(64, 819, "Paperbark & Sons", 13, "FB", (1, 1, 1))
    canvas.text(431, 819, "Stationers since last week", 9, "FI", (1, 1, 1))
    canvas.line([(64, 62), (531, 62)], RULE, 0.8)
    canvas.text(64, 46, "A sample letter", 8, "F", QUIET)
    canvas.text(500, 46, f"{number_in_letter} of 3", 8, "F", QUIET)
    return canvas


def paragraphs(canvas, y, groups):
    for group in groups:
        for row in group:
            canvas.text(64, y, row, 12.5, "FT")
            y -= 18
        y -= 9
    return y


def make_letter():
    document = Document("A sample letter")
    document.reserve_pages(3)
    second, third = document.kids[1], document.kids[2]

    canvas = letter_page(1)
    for row, text in enumerate(["The Keeper of the Drawer", "2 Filing Lane", "Upper Margin"]):
        canvas.text(64, 742 - 15 * row, text, 11)
    canvas.text(64, 652, "Pages that travel", 20, "FB", PETROL)
    y = paragraphs(canvas, 618, LETTER_PARAGRAPHS)
    canvas.text(64, y - 6, "A list of what is enclosed follows on page 2.", 12.5, "FT", PETROL)
    canvas.text(64, y - 26, "A reply slip is on page 3.", 12.5, "FT", PETROL)
    annotations = link((64, y - 10, 300, y + 6), "/Dest " + destination(second, 842))
    annotations += link((64, y - 30, 220, y - 14), "/Dest " + destination(third, 842))
    document.page(0, A4, canvas.content(), f" /Annots [{annotations}]".encode())

    canvas = letter_page(2)
    canvas.text(64, 742, "Enclosed", 20, "FB", PETROL)
    rows = [
        ("Item", "Pages", "Paper"),
        ("This letter", "3", "A4, upright"),
        ("A book of charts", "4", "four sizes, lying"),
        ("A scanned drawing", "2", "A4, stored sideways"),
    ]
    for index, row in enumerate(rows):
        y = 704 - 26 * index
        if index == 0:
            canvas.rectangle(64, y - 9, 467, 26, (0.92, 0.95, 0.96))
        for x, cell in zip((76, 280, 370), row):
            canvas.text(x, y, cell, 11, "FB" if index == 0 else "F")
        canvas.line([(64, y - 9), (531, y - 9)], RULE, 0.8)
    paragraphs(
        canvas, 560,
        [
            [
                "Nothing here is confidential. Take the pages apart, put them back together, turn",
                "them over, and see whether they complain.",
            ],
            ["With kind regards,"],
        ],
    )
    signature = [(64 + 2.2 * t, 456 + 12 * math.sin(t / 3) * math.cos(t / 7)) for t in range(60)]
    canvas.line(signature, (0.16, 0.22, 0.50), 1.4)
    canvas.text(64, 420, "Ada Paperbark", 12.5, "FT")
    document.page(1, A4, canvas.content())

    canvas = letter_page(3)
    canvas.text(64, 742, "Reply slip", 20, "FB", PETROL)
    request = "Please fill in your name and send this page back, with any others you like."
    paragraphs(canvas, 706, [[request]])
    canvas.text(64, 640, "Name", 10, "FB", QUIET)
    canvas.stroke(RULE, 1)
    canvas.do(64, 606, 300, 24, "re S")
    canvas.text(64, 560, "Cut here", 8, "F", QUIET)
    canvas.stroke(QUIET, 0.8)
    canvas.do("[4 3] 0 d", 104, 562.5, "m", 531, 562.5, "l S [] 0 d")
    appearance = document.stream(
        b"/Type /XObject /Subtype /Form /BBox [0 0 300 24] /Resources << /Font "
        + f"{document.fonts} 0 R >>".encode(),
        b"/Tx BMC q BT /F 12 Tf 0.13 0.16 0.22 rg 6 7.5 Td (Your name) Tj ET Q EMC",
    )
    field = document.add(
        b"<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /TU (Your name) /V (Your name)"
        b" /DA (/F 12 Tf 0.13 0.16 0.22 rg) /F 4 /Rect [64 606 364 630]"
        + f" /P {third} 0 R /AP << /N {appearance} 0 R >> >>".encode()
    )
    document.page(2, A4, canvas.content(), f" /Annots [{field} 0 R]".encode())
    document.catalog_entries = (
        f" /AcroForm << /Fields [{field} 0 R] /DA (/F 12 Tf 0 g)"
        f" /DR << /Font {document.fonts} 0 R >> >>".encode()
    )
    document.write("letter.pdf")


# charts.pdf: four landscape pages of four sizes, an outline of two levels, and page
# labels (Cover, C-1, C-2, C-3).


def chart_page(size, title):
    canvas = Canvas()
    width, height = size
    canvas.rectangle(0, 0, 14, height, PETROL)
    canvas.text(48, height - 62, title, 24, "FB", PETROL)
    note = f"{width} x {height} points. All figures are invented."
    canvas.text(48, height - 82, note, 9, "F", QUIET)
    return canvas


def axes(canvas, left, bottom, width, height, steps, unit):
    for step in range(steps + 1):
        y = bottom + height * step / steps
        canvas.line([(left, y), (left + width, y)], RULE, 0.7)
        canvas.text(left - 34, y - 3, f"{step * 20}{unit}", 8.5, "F", QUIET)


def pie(canvas, x, y, radius, shares):
    angle = math.pi / 2
    for share, color in zip(shares, PALETTE):
        steps = max(2, int(share * 90))
        arc = [angle - 2 * math.pi * share * s / steps for s in range(steps + 1)]
        rim = [(x + radius * math.cos(a), y + radius * math.sin(a)) for a in arc]
        canvas.polygon([(x, y), *rim], color)
        angle = arc[-1]
    hole = radius * 0.5
    circle = [(x + hole * math.cos(a / 30), y + hole * math.sin(a / 30)) for a in range(189)]
    canvas.polygon(circle, (1, 1, 1))


def make_charts():
    document = Document("A sample book of charts")
    document.reserve_pages(4)

    width, height = A4_LANDSCAPE
    canvas = Canvas()
    canvas.rectangle(0, 0, width, height, (0.95, 0.97, 0.97))
    for index, color in enumerate(PALETTE):
        canvas.rectangle(470 + 66 * index, 0, 46, 90 + 80 * index - 12 * index * index, color)
    canvas.text(64, 360, "A book of charts", 44, "FB", PETROL)
    canvas.text(66, 326, "Four landscape pages, no two of one size", 15, "F", QUIET)
    document.page(0, A4_LANDSCAPE, canvas.content())

    canvas = chart_page(A3_LANDSCAPE, "Pages moved, by month")
    axes(canvas, 100, 110, 1030, 560, 5, "")
    months = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()
    values = [31, 38, 44, 41, 57, 66, 62, 48, 71, 83, 90, 77]
    for index, (month, value) in enumerate(zip(months, values)):
        x = 122 + 86 * index
        canvas.rectangle(x, 110, 50, 5.6 * value, PALETTE[index // 3])
        canvas.text(x + 14, 90, month, 11, "F", QUIET)
        canvas.text(x + 17, 116 + 5.6 * value, str(value), 11, "FB")
    document.page(1, A3_LANDSCAPE, canvas.content())

    canvas = chart_page(LETTER_LANDSCAPE, "Drawers opened and closed")
    axes(canvas, 90, 90, 640, 400, 5, "%")
    for series, color in enumerate(PALETTE[:3]):
        points = [
            (90 + 32 * t, 290 + 110 * math.sin(t / (3 + series) + series) + 4 * t - 30 * series)
            for t in range(21)
        ]
        canvas.line(points, color, 2.4)
        for x, y in points[::4]:
            canvas.rectangle(x - 3, y - 3, 6, 6, color)
    for series, (name, color) in enumerate(zip(("Upper", "Middle", "Lower"), PALETTE)):
        canvas.rectangle(110 + 110 * series, 54, 12, 12, color)
        canvas.text(128 + 110 * series, 56, name, 11)
    document.page(2, LETTER_LANDSCAPE, canvas.content())

    canvas = chart_page(A5_LANDSCAPE, "What pages carry")
    shares = [0.38, 0.24, 0.17, 0.13, 0.08]
    pie(canvas, 180, 170, 120, shares)
    names = ("Text", "Pictures", "Links", "Forms", "Coffee rings")
    for index, (name, share) in enumerate(zip(names, shares)):
        y = 240 - 32 * index
        canvas.rectangle(350, y, 14, 14, PALETTE[index])
        canvas.text(374, y + 2, name, 12)
        canvas.text(490, y + 2, f"{round(100 * share)} %", 12, "FB")
    document.page(3, A5_LANDSCAPE, canvas.content())

    outline, cover, charts, *items = (document.reserve() for _ in range(6))
    tops = {1: 842, 2: 612, 3: 420}
    titles = {1: "Pages moved, by month", 2: "Drawers opened and closed", 3: "What pages carry"}
    document.fill(
        outline, f"<< /Type /Outlines /First {cover} 0 R /Last {charts} 0 R /Count 5 >>".encode()
    )
    document.fill(
        cover,
        f"<< /Title (Cover) /Parent {outline} 0 R /Next {charts} 0 R"
        f" /Dest {destination(document.kids[0], 595)} >>".encode(),
    )
    document.fill(
        charts,
        f"<< /Title (Charts) /Parent {outline} 0 R /Prev {cover} 0 R /First {items[0]} 0 R"
        f" /Last {items[-1]} 0 R /Count 3 /Dest {destination(document.kids[1], 842)} >>".encode(),
    )
    for index, item in enumerate(items):
        beside = f" /Prev {items[index - 1]} 0 R" if index > 0 else ""
        beside += f" /Next {items[index + 1]} 0 R" if index + 1 < len(items) else ""
        document.fill(
            item,
            b"<< /Title " + text_string(titles[index + 1])
            + f" /Parent {charts} 0 R{beside}"
            f" /Dest {destination(document.kids[index + 1], tops[index + 1])} >>".encode(),
        )
    document.catalog_entries = (
        f" /Outlines {outline} 0 R /PageMode /UseOutlines"
        " /PageLabels << /Nums [0 << /P (Cover) >> 1 << /S /D /P (C-) >>] >>".encode()
    )
    document.write("charts.pdf")


# scan.pdf: two pictures in grey as a scanner delivers them, a little askew and
# speckled. They lie sideways in the file; the pages turn them upright.

SCAN_WIDTH, SCAN_HEIGHT = 1170, 827  # A4 landscape at 100 dots an inch
ANGLE = math.radians(0.8)


def hills(x):
    return [
        430 + 60 * math.sin(x / 170) + 22 * math.sin(x / 61),
        540 + 45 * math.sin(x / 210 + 2) + 14 * math.sin(x / 47),
        640 + 30 * math.sin(x / 260 + 4),
    ]


def landscape(x, y):
    """The grey of the first drawing, 0 black to 15 white, in an unturned picture."""
    if not (70 < x < SCAN_WIDTH - 70 and 70 < y < SCAN_HEIGHT - 70):
        from_frame = min(x - 60, SCAN_WIDTH - 60 - x, y - 60, SCAN_HEIGHT - 60 - y)
        return 3 if 0 < from_frame < 4 else 15
    ridge = hills(x)
    for shade, height in ((4, ridge[2]), (7, ridge[1]), (10, ridge[0])):
        if y > height:
            return shade + (1 if (int(x + 2 * y) // 9) % 3 == 0 else 0)
    distance = math.hypot(x - 850, y - 230)
    if distance < 74:
        return 12
    ray = math.floor(math.atan2(y - 230, x - 850) * 20 / math.pi + 0.5)
    if 92 < distance < 190 and ray % 2 == 0:
        return 12
    return 15


def handwriting(x, y):
    """The second drawing: a ruled sheet with lines that could be words."""
    row = int((y - 110) // 56)
    offset = (y - 110) % 56
    if 110 < y < 740 and 90 < x < SCAN_WIDTH - 90 and offset < 1.6:
        return 11
    if 0 <= row < 10 and 130 < x < 1010 - 61 * ((row * 7) % 5):
        word = (x + 37 * row) % 173
        if word < 132:
            wave = 38 + 9 * math.sin(x / 5.3 + row) + 5 * math.sin(x / 13.1 + 2 * row)
            if abs(offset - wave) < 2.6:
                return 2
    return 15


def scanned(drawing, seed):
    """The drawing turned askew and a quarter, as packed rows of 4 bits a pixel."""
    speckle = random.Random(seed)
    width, height = SCAN_HEIGHT, SCAN_WIDTH
    rows = bytearray()
    cosine, sine = math.cos(ANGLE), math.sin(ANGLE)
    for row in range(height):
        values = []
        for column in range(width):
            # Upright x runs down the stored rows, so that /Rotate 270 mends it.
            x = row - SCAN_WIDTH / 2
            y = (width - 1 - column) - SCAN_HEIGHT / 2
            grey = drawing(
                cosine * x - sine * y + SCAN_WIDTH / 2, sine * x + cosine * y + SCAN_HEIGHT / 2
            )
            edge = min(row, column, height - 1 - row, width - 1 - column)
            grey -= 2 if edge < 5 else 1 if edge < 9 else 0
            if speckle.random() < 0.004:
                grey -= speckle.choice((2, 4, 7))
            values.append(max(0, min(15, grey)))
        if width % 2:
            values.append(15)
        rows += bytes(16 * a + b for a, b in zip(values[::2], values[1::2]))
    return width, height, bytes(rows)


def make_scan():
    document = Document("A sample scan")
    document.reserve_pages(2)
    for index, drawing in enumerate((landscape, handwriting)):
        width, height, data = scanned(drawing, index)
        image = document.stream(
            f"/Type /XObject /Subtype /Image /Width {width} /Height {height}"
            " /ColorSpace /DeviceGray /BitsPerComponent 4".encode(),
            data, packed=True,
        )
        document.page(
            index, A4, f"q {A4[0]} 0 0 {A4[1]} 0 0 cm /Scan Do Q\n",
            b" /Rotate 270", f"/XObject << /Scan {image} 0 R >>".encode(),
        )
    document.write("scan.pdf")


if __name__ == "__main__":
    make_letter()
    make_charts()
    make_scan()
