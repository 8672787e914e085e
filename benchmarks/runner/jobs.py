"""The work that is measured, independent of who does it."""

import random
from dataclasses import dataclass, field


@dataclass(frozen=True)
class Pages:
    """A selection of one file's pages; each tool spells it in its own way.

    kind: "all" (the whole file, no selection given), "odd", "forward" and "reversed" (every page,
    asked for as a range), or "listed" (every page by its number, in the order of numbers).
    """

    kind: str
    numbers: tuple = ()

    def in_order(self, count):
        """The page numbers (from 1) of a file of count pages, in output order."""
        if self.kind == "listed":
            return list(self.numbers)
        if self.kind == "odd":
            return list(range(1, count + 1, 2))
        if self.kind == "reversed":
            return list(range(count, 0, -1))
        return list(range(1, count + 1))


@dataclass(frozen=True)
class Part:
    file: str  # name in the inputs folder
    pages: Pages


@dataclass
class ComposeJob:
    """Pages of one or more files into one new file."""

    name: str
    title: str
    parts: list
    expected_pages: int = 0
    first_text: str = ""  # must stand on the first page, "" where pages have no text
    last_text: str = ""
    remarks: dict = field(default_factory=dict)  # by peer, for the table's last column


@dataclass
class OpenJob:
    """Opening a file and telling how many pages it has."""

    name: str
    title: str
    file: str
    expected_pages: int = 0
    remarks: dict = field(default_factory=dict)


# What each tool is asked when a file is opened: not all do the same.
OPENING = {
    "qpdf": "`--show-npages`: counts the pages",
    "mutool": "`show FILE trailer/Root/Pages/Count`: looks one number up",
    "pdfinfo": "also reads the document information",
    "pdftk": "`dump_data_utf8`: also lists information, outline and page labels",
}


def shuffled(count):
    numbers = list(range(1, count + 1))
    random.Random(5).shuffle(numbers)
    return Pages("listed", tuple(numbers))


def complete(job, manifest):
    """Fills in what the output must look like, from the manifest of the inputs."""
    if isinstance(job, OpenJob):
        job.expected_pages = manifest[job.file]["pages"]
        return job
    texts = []
    for part in job.parts:
        source = manifest[part.file]
        numbers = part.pages.in_order(source["pages"])
        job.expected_pages += len(numbers)
        for number in (numbers[0], numbers[-1]):
            texts.append(f"{source['marker']}{number}" if source["marker"] else "")
    job.first_text, job.last_text = texts[0], texts[-1]
    return job


def all_jobs(manifest):
    whole = Pages("all")
    odd = Pages("odd")
    ten_thousand = "plain-10000.pdf"
    jobs = [
        ComposeJob(
            "odd-pages",
            "Every second page of three manuals of about 1,000 pages into one file",
            [Part(f"manual-{letter}.pdf", odd) for letter in "abc"],
        ),
        ComposeJob(
            "scans",
            "300 scanned pages (three files of 100, about 97 MB) merged",
            [Part(f"scans-{number}.pdf", whole) for number in (1, 2, 3)],
        ),
        ComposeJob(
            "single-forward",
            "10,000 single pages of one file, first to last",
            [Part(ten_thousand, Pages("forward"))],
            remarks={"pdfunite": "copies the whole file: it cannot select pages"},
        ),
        ComposeJob(
            "single-reversed",
            "10,000 single pages of one file, last to first",
            [Part(ten_thousand, Pages("reversed"))],
        ),
        ComposeJob(
            "single-shuffled",
            "10,000 single pages of one file, each named by its number, in random order",
            [Part(ten_thousand, shuffled(manifest[ten_thousand]["pages"]))],
        ),
        OpenJob(
            "open-streams",
            "Opening a manual of 2,400 pages (PDF 1.5, object streams)",
            "manual-2400.pdf",
            remarks=OPENING,
        ),
        OpenJob(
            "open-classic",
            "Opening a manual of 2,400 pages (PDF 1.4, cross-reference table)",
            "manual-2400-classic.pdf",
            remarks=OPENING,
        ),
    ]
    return [complete(job, manifest) for job in jobs]


def scaling_jobs(manifest):
    jobs = [
        ComposeJob(
            f"scaling-{pages}",
            f"All {pages:,} pages of one file, last to first",
            [Part(f"plain-{pages}.pdf", Pages("reversed"))],
        )
        for pages in (1000, 5000, 10000, 20000)
    ]
    return [complete(job, manifest) for job in jobs]
