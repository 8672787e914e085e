"""The program and its peers: how each is asked to do a job."""

import shlex
import shutil
import subprocess

from .jobs import OpenJob


class CannotDo(Exception):
    """The tool has no way to do this job; the text says why."""


class Tool:
    """One row of a table. name is what the table calls it; binary what must be installed."""

    def __init__(self, name, binary):
        self.name = name
        self.binary = binary

    def installed(self):
        return shutil.which(self.binary) is not None

    def takes(self, job):
        """Whether work of this kind is the tool's trade at all; if not, the table leaves it out."""
        return True

    def command(self, job, inputs, output):
        """The words of the command line that writes output. Raises CannotDo."""
        raise NotImplementedError


def comma_list(numbers):
    return ",".join(map(str, numbers))


def page_range(pages):
    """qpdf's page range syntax; the program reads the same."""
    if pages.kind == "listed":
        return comma_list(pages.numbers)
    return {"all": "1-z", "odd": "1-z:odd", "forward": "1-z", "reversed": "z-1"}[pages.kind]


class Program(Tool):
    """The program itself. executable may be a command with arguments of its own."""

    def __init__(self, executable):
        self.words = shlex.split(executable)
        super().__init__("quillorn-folivane", self.words[0])

    def command(self, job, inputs, output):
        if isinstance(job, OpenJob):
            return [*self.words, "info", "--count", str(inputs / job.file)]
        words = [*self.words, "compose", "--quiet", "--output-folder", str(output.parent)]
        words += ["--group", output.name]
        for part in job.parts:
            words.append(str(inputs / part.file))
            if part.pages.kind != "all":
                words += ["--pages", page_range(part.pages)]
        return words


class Qpdf(Tool):
    def __init__(self):
        super().__init__("qpdf", "qpdf")

    def command(self, job, inputs, output):
        if isinstance(job, OpenJob):
            return ["qpdf", "--show-npages", str(inputs / job.file)]
        words = ["qpdf", "--empty", "--pages"]
        for part in job.parts:
            words.append(str(inputs / part.file))
            if part.pages.kind != "all":
                words.append(page_range(part.pages))
        return [*words, "--", str(output)]


class Mutool(Tool):
    def __init__(self, page_counts):
        super().__init__("mutool", "mutool")
        self.page_counts = page_counts

    def command(self, job, inputs, output):
        if isinstance(job, OpenJob):
            return ["mutool", "show", str(inputs / job.file), "trailer/Root/Pages/Count"]
        words = ["mutool", "merge", "-o", str(output)]
        for part in job.parts:
            words.append(str(inputs / part.file))
            kind = part.pages.kind
            if kind in ("odd", "listed"):  # it has no word for every second page
                words.append(comma_list(part.pages.in_order(self.page_counts[part.file])))
            elif kind != "all":
                words.append("1-N" if kind == "forward" else "N-1")
        return words


class Pdfunite(Tool):
    def __init__(self):
        super().__init__("pdfunite", "pdfunite")

    def takes(self, job):
        return not isinstance(job, OpenJob)

    def command(self, job, inputs, output):
        if any(part.pages.kind not in ("all", "forward") for part in job.parts):
            raise CannotDo("cannot select or reorder pages: it merges whole files")
        return ["pdfunite", *(str(inputs / part.file) for part in job.parts), str(output)]


class Pdfinfo(Tool):
    def __init__(self):
        super().__init__("pdfinfo", "pdfinfo")

    def takes(self, job):
        return isinstance(job, OpenJob)

    def command(self, job, inputs, output):
        return ["pdfinfo", str(inputs / job.file)]


class Pdftk(Tool):
    def __init__(self):
        super().__init__("pdftk", "pdftk")

    def command(self, job, inputs, output):
        if isinstance(job, OpenJob):
            return ["pdftk", str(inputs / job.file), "dump_data_utf8"]
        handles = [chr(ord("A") + index) for index in range(len(job.parts))]
        words = ["pdftk"]
        words += [f"{h}={inputs / part.file}" for h, part in zip(handles, job.parts)]
        words.append("cat")
        for handle, part in zip(handles, job.parts):
            if part.pages.kind == "listed":
                words += [f"{handle}{number}" for number in part.pages.numbers]
            else:
                ranges = {"all": "", "odd": "1-endodd", "forward": "1-end", "reversed": "end-1"}
                words.append(handle + ranges[part.pages.kind])
        return [*words, "output", str(output)]


class Copy(Tool):
    """The limit: the bytes of the output written once more, nothing understood.

    original is the file to copy; whoever runs the job sets it beforehand. With flush, the copy is on
    the disk before the time is taken, which is what a writer that calls fsync can reach.
    """

    def __init__(self, flush):
        super().__init__("cp + sync" if flush else "cp", "cp")
        self.flush = flush
        self.original = None

    def takes(self, job):
        return not isinstance(job, OpenJob)

    def command(self, job, inputs, output):
        if self.original is None:
            raise CannotDo("no output to copy")
        if self.flush:
            script = 'cp -- "$1" "$2" && sync -- "$2"'
            return ["sh", "-c", script, "sh", str(self.original), str(output)]
        return ["cp", "--", str(self.original), str(output)]


def peers(manifest):
    counts = {name: entry["pages"] for name, entry in manifest.items()}
    return [Qpdf(), Mutool(counts), Pdfunite(), Pdfinfo(), Pdftk()]


def version_line(words):
    """The first line that `words` prints, on whichever stream it prefers."""
    try:
        done = subprocess.run(words, capture_output=True, text=True, timeout=60, check=False)
    except OSError as error:
        return f"not installed ({error.strerror})"
    lines = (done.stdout + done.stderr).strip().splitlines()
    return lines[0] if lines else "no version told"
