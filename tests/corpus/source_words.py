#!/usr/bin/env python3
"""source_words.py DOCUMENT [PDF_TEXT]: compares a text document with the text of a PDF made of it.

Prints, a line each, what a reader of the document sees and the PDF lacks, letters that no font
has aside; exits with 1 if
there is such a thing, with 2 if the document says nothing. Knows nothing of the engines that
convert documents: Word's XML is unpacked and read as XML, of a Word file the pieces of its text are
put together, rich text is freed of its control words, plain text is decoded with the encoding in its
name.
Without PDF_TEXT, prints what it found in the document.
"""

import collections
import pathlib
import re
import struct
import subprocess
import sys
import unicodedata
import xml.etree.ElementTree
import zipfile

WORD = "{http://schemas.openxmlformats.org/wordprocessingml/2006/main}"
# Groups of rich text that are no part of the running text.
DESTINATIONS = {
    "fonttbl", "colortbl", "stylesheet", "info", "pict", "header", "headerl", "headerr",
    "headerf", "footer", "footerl", "footerr", "footerf", "fldinst", "object", "objdata",
    "listtable", "listoverridetable", "revtbl", "rsidtbl", "generator", "themedata", "datastore",
    "latentstyles", "xmlnstbl", "bkmkstart", "bkmkend", "pntext", "NeXTGraphic", "nonshppict", "nonesttables",
    "listtext",
}
# What is no letter, yet written as a control word.
SIGNS = {"par": "\n", "line": "\n", "tab": "\t", "cell": "\n", "row": "\n", "page": "\n",
         "sect": "\n", "nestcell": "\n", "nestrow": "\n", "emdash": "\u2014", "endash": "\u2013",
         "lquote": "\u2018", "rquote": "\u2019", "ldblquote": "\u201c", "rdblquote": "\u201d",
         "bullet": "\u2022", "~": "\u00a0", "_": "\u2011", "-": ""}
ENCODINGS = {"big5": "big5", "euc-jp": "euc-jp", "shift-jis": "cp932", "koi8-r": "koi8-r",
             "utf-16le": "utf-16-le", "iso-8859-1": "cp1252"}
RADICALS = {0x2EE9: 0x9EC4}


def wordxml_text(path):
    """Paragraphs of the body that are neither deleted nor hidden nor said twice."""
    with zipfile.ZipFile(path) as package:
        body = xml.etree.ElementTree.fromstring(package.read("word/document.xml"))
    lines = []

    def read(element, line):
        if element.tag.endswith("}Fallback") or element.tag in (WORD + "del", WORD + "moveFrom"):
            return
        properties = element.find(WORD + "rPr") if element.tag == WORD + "r" else None
        if properties is not None and properties.find(WORD + "vanish") is not None:
            return
        if element.tag == WORD + "t":
            line.append(element.text or "")
        elif element.tag in (WORD + "tab", WORD + "br", WORD + "cr"):
            line.append(" ")
        elif element.tag == WORD + "p":
            line = []
            lines.append(line)
        for child in element:
            read(child, line)

    read(body, [])
    return "\n".join("".join(line) for line in lines)


def streams_of(data):
    """The streams of a compound file, by name."""
    def number(at, size=4):
        return int.from_bytes(data[at:at + size], "little")

    sector, mini = 1 << number(30, 2), 1 << number(32, 2)

    def sector_at(index):
        return data[(index + 1) * sector:(index + 2) * sector]

    def chain(start, table):
        seen = set()
        while start < len(table) and start not in seen:
            seen.add(start)
            yield start
            start = table[start]

    def numbers(block):
        return list(struct.unpack(f"<{len(block) // 4}I", block[:len(block) // 4 * 4]))

    lists = [number(76 + 4 * i) for i in range(109)]
    more = number(68)
    for _ in range(number(72)):
        block = numbers(sector_at(more))
        lists += block[:-1]
        more = block[-1]
    table = [entry for index in lists if index < 0xFFFFFFFA for entry in numbers(sector_at(index))]
    read = lambda start: b"".join(sector_at(index) for index in chain(start, table))
    mini_table = numbers(read(number(60)))
    entries = {}
    folder = read(number(48))
    root = None
    for at in range(0, len(folder), 128):
        entry = folder[at:at + 128]
        name = entry[:max(int.from_bytes(entry[64:66], "little") - 2, 0)].decode("utf-16-le", "replace")
        start, size = struct.unpack("<II", entry[116:124])
        if entry[66:67] == b"\x05":
            root = read(start)
        elif entry[66:67] == b"\x02":
            entries[name] = (start, size)
    result = {}
    for name, (start, size) in entries.items():
        if size < 4096:
            parts = [root[index * mini:(index + 1) * mini] for index in chain(start, mini_table)]
            result[name] = b"".join(parts)[:size]
        else:
            result[name] = read(start)[:size]
    return result


def without_fields(text):
    """Fields show their results, not their commands."""
    result, depth = [], []
    for letter in text:
        if letter == "\x13":
            depth.append(False)
        elif letter == "\x14" and depth:
            depth[-1] = True
        elif letter == "\x15" and depth:
            depth.pop()
        elif all(depth):
            result.append(letter)
    return "".join(result)


def word_text(path):
    """The main text of a Word 97 file, from its table of pieces; of an older one, as it stands."""
    data = path.read_bytes()
    if data[:2] == b"\xdb\xa5":
        head = main = data
    else:
        files = streams_of(data)
        head = main = files["WordDocument"]
    first, = struct.unpack_from("<H", head)
    if first != 0xA5EC:
        start, = struct.unpack_from("<I", head, 24)
        size, = struct.unpack_from("<I", head, 52)
        # Saved piece by piece, it would have to be put together.
        is_whole = not struct.unpack_from("<H", head, 10)[0] & 4
        text = main[start:start + size].decode("cp1252", "replace")
        return without_fields(text) if is_whole else ""
    flags, = struct.unpack_from("<H", head, 10)
    table = files["1Table" if flags & 0x200 else "0Table"]
    letters_of_main, = struct.unpack_from("<i", head, 0x4C)
    at, size = struct.unpack_from("<II", head, 0x1A2)
    pieces = table[at:at + size]
    while pieces[:1] == b"\x01":
        pieces = pieces[3 + struct.unpack_from("<H", pieces, 1)[0]:]
    pieces = pieces[5:]
    count = (len(pieces) - 4) // 12
    ends = struct.unpack_from(f"<{count + 1}I", pieces)
    text = ""
    for i in range(count):
        place, = struct.unpack_from("<I", pieces, 4 * (count + 1) + 8 * i + 2)
        length = ends[i + 1] - ends[i]
        if place & 0x40000000:
            place = (place & 0x3FFFFFFF) // 2
            text += main[place:place + length].decode("cp1252", "replace")
        else:
            text += main[place:place + 2 * length].decode("utf-16-le", "replace")
    return without_fields(text[:letters_of_main])


def rich_text(path):
    source = path.read_bytes().decode("latin-1")
    token = re.compile(r"\\'([0-9a-fA-F]{2})|\\([a-zA-Z]+)(-?\d+)? ?|\\(.)|([{}])|([^\\{}\r\n]+)|[\r\n]", re.S)
    codepage = re.search(r"\\ansicpg(\d+)", source)
    charset = "cp" + (codepage.group(1) if codepage else "1252")
    text = bytearray()
    hidden, skip, stack = False, 0, []
    units = 1
    for match in token.finditer(source):
        code, word, number, sign, brace, plain = match.groups()
        if brace == "{":
            stack.append((hidden, units))
        elif brace == "}":
            hidden, units = stack.pop() if stack else (False, 1)
        elif word in DESTINATIONS or sign == "*" or (word == "v" and number != "0"):
            hidden = True
        elif word == "uc":
            units = int(number or 1)
        elif hidden:
            pass
        elif word == "u":
            text += chr(int(number) % 65536).encode("utf-16-le", "surrogatepass").decode(
                "utf-16-le", "replace").encode()
            skip = units
        elif word:
            text += SIGNS.get(word, "").encode()
        elif sign:
            text += SIGNS.get(sign, sign).encode()
        elif skip and plain:
            text += plain[skip:].encode()
            skip = 0
        elif skip and code:
            skip -= 1
        elif code:
            text += bytes([int(code, 16)]).decode(charset, "replace").encode()
        elif plain:
            text += plain.encode()
    return text.decode("utf-8", "replace")


def plain_text(path):
    encoding = next((ENCODINGS[name] for name in ENCODINGS if path.name.startswith(name)), "utf-8-sig")
    # A terminal's colours are no text.
    return path.read_bytes().decode(encoding, "replace")


def document_text(path):
    suffix = path.suffix.lower()
    start = path.read_bytes()[:5]
    if suffix == ".txt":
        return plain_text(path)
    if start == b"{\\rtf":
        return rich_text(path)
    if start[:2] == b"PK":
        return wordxml_text(path)
    return word_text(path)


def plain_signs(text):
    """As a printer and a reader may write the same letters. A radical of Chinese looks like the
    letter that consists of it."""
    text = re.sub("[\u00ad\u200b-\u200f\u2060\ufeff]", "", text)
    return unicodedata.normalize("NFKC", text).translate(RADICALS).casefold()


def words(text):
    return collections.Counter(re.findall(r"[^\W_]+", plain_signs(text)))


def letters(text):
    return collections.Counter(letter for letter in plain_signs(text) if letter.isalnum())


def can_be_drawn(letter):
    fonts = subprocess.run(["fc-list", f":charset={ord(letter):x}"], capture_output=True, check=True)
    return bool(fonts.stdout)


def main():
    source = document_text(pathlib.Path(sys.argv[1]))
    if len(sys.argv) < 3:
        print(source)
        return 0
    if not words(source):
        return 2
    printed = pathlib.Path(sys.argv[2]).read_text(encoding="utf-8", errors="replace")
    # Lines of plain text may break anywhere: letters are counted there.
    if sys.argv[1].lower().endswith(".txt"):
        missing = [letter for letter in letters(source) - letters(printed) if can_be_drawn(letter)]
    else:
        # A word may be parted by the end of a line.
        whole = "".join(plain_signs(printed).split())
        missing = [word for word in words(source) - words(printed) if word not in whole]
    for word in sorted(missing):
        print(word)
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
