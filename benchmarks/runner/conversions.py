"""Documents into PDFs: the program's `convert` and what else does the same work.

A *cold* run starts everything it needs. *Warm* is what one more file costs a run that is under way:
the time of a run over N + 1 files less that of a run over one of them, divided by N. The program is a
run like any other here; nothing of it stays in memory between runs.
"""

import json
import math
import os
import shlex
import shutil
import signal
import statistics
import subprocess
from dataclasses import dataclass, field
from pathlib import Path

from . import report
from .documents import Documents, marker
from .measure import Failed, TooSlow

BATCH = 20
PHOTO_COUNTS = (1, 10, 100)
NAMES = ["convert-photo", "convert-photos", "convert-html", "convert-docx", "convert-text"]
PHOTO_TARGET = 0.5
WARM_HTML_TARGET = 0.3
BATCH_HTML_TARGET = 0.3
WARM_DOCX_TARGET = 0.15
BATCH_DOCX_TARGET = 0.25
TEXT_TARGET_SECONDS = 3.0
GROWTH_TARGET = 1.1
MEMORY_TARGET = 1.1


@dataclass
class Figure:
    """One row: what was done, how long it took each time, and the greatest memory of a process."""

    what: str
    walls: list = field(default_factory=list)
    peaks: list = field(default_factory=list)
    remark: str = ""

    def wall(self):
        return statistics.median(self.walls) if self.walls else None

    def peak(self):
        return max(self.peaks, default=None)


def median_ratio(figure, peer):
    """Median, least and greatest of the ratios, pair by pair."""
    ratios = [a / b for a, b in zip(figure.walls, peer.walls)]
    return (statistics.median(ratios), min(ratios), max(ratios)) if ratios else None


class ConversionBench:
    """Runs the jobs and keeps their sections and verdicts."""

    def __init__(self, measure, program, inputs, work, runs, timeout, say):
        self.measure = measure
        self.program = shlex.split(program)
        self.documents = Documents(inputs)
        self.work = Path(work) / "conversions"
        self.runs = runs
        self.timeout = timeout
        self.say = say
        self.sections = []
        self.lines = []

    def run(self, wanted):
        jobs = dict(zip(NAMES, [self.photo, self.photos, self.html, self.docx, self.text]))
        for name, job in jobs.items():
            if name not in wanted:
                continue
            self.say(name)
            try:
                job(name)
            except (Failed, TooSlow) as problem:
                self.say(f"  {problem}")
                self.lines.append(f"- unknown  {name}: {problem}")

    def verdicts(self):
        return "\n".join(self.lines)

    # Running

    def timed(self, words, outputs):
        """Wall time and peak memory of one command that makes outputs: {path: text in it or ""}."""
        shutil.rmtree(self.work, ignore_errors=True)
        (self.work / "out").mkdir(parents=True)
        result, log = self.work / "result.json", self.work / "log.txt"
        os.sync()
        with open(log, "wb") as stream:
            child = subprocess.Popen([str(self.measure), str(result), *map(str, words)],
                                     stdin=subprocess.DEVNULL, stdout=stream,
                                     stderr=subprocess.STDOUT, start_new_session=True)
            try:
                child.wait(self.timeout)
            except subprocess.TimeoutExpired:
                raise TooSlow(f"{Path(words[0]).name}: > {self.timeout:g} s, stopped") from None
            finally:
                if child.poll() is None:
                    os.killpg(child.pid, signal.SIGKILL)
                    child.wait()
        figures = json.loads(result.read_text())
        if figures["exit"] != 0:
            said = log.read_text(errors="replace").strip().splitlines() or ["no message"]
            raise Failed(f"{Path(words[0]).name}: exit status {figures['exit']}: {said[-1][:120]}")
        for path, text in outputs.items():
            self.check(path, text)
        return figures["wall"], figures["peak_kib"]

    @staticmethod
    def check(path, text):
        """No time counts before the PDF is there and says what it should."""
        counted = subprocess.run(["qpdf", "--show-npages", str(path)], capture_output=True,
                                 text=True, check=False).stdout.strip()
        if not counted.isdigit() or int(counted) < 1:
            raise Failed(f"{path.name}: no readable PDF")
        if text:
            shown = subprocess.run(["pdftotext", "-l", "1", str(path), "-"], capture_output=True,
                                   text=True, check=False).stdout
            if text not in " ".join(shown.split()):
                raise Failed(f'{path.name}: does not read "{text}"')

    def once(self, figure, words, outputs):
        wall, peak = self.timed(words, outputs)
        figure.walls.append(wall)
        figure.peaks.append(peak)
        return wall

    def convert(self, files):
        return [*self.program, "convert", "--quiet", "--output-folder", self.work / "out", *files]

    def outputs(self, files, kind=""):
        """Where conversions of these files go, with the text that tells one from the others."""
        return {self.work / "out" / (path.stem + ".pdf"):
                marker(kind, int(path.stem.split("-")[1])) if kind else "" for path in files}

    # Jobs

    def photo(self, name):
        files = self.documents.photos[:1]
        own, peer = Figure("quillorn-folivane"), Figure("img2pdf")
        target = self.work / "out" / "peer.pdf"
        peer_words = ["img2pdf", "--output", target, *files]
        self.timed(self.convert(files), self.outputs(files))  # warms the files up
        self.pairs([(own, self.convert(files), self.outputs(files)),
                    (peer, peer_words, {target: ""})])
        self.section(name, "A photograph of 12 megapixels (JPEG)", [own, peer], {1: 0})
        self.judge(f"{name}, wall time against img2pdf", median_ratio(own, peer), PHOTO_TARGET)

    def photos(self, name):
        figures = [Figure(f"{count} photographs") for count in PHOTO_COUNTS]
        steps = []
        for figure, count in zip(figures, PHOTO_COUNTS):
            files = self.documents.photos[:count]
            steps.append((figure, self.convert(files), self.outputs(files)))
        self.pairs(steps)
        self.section(name, "1, 10 and 100 photographs of 12 megapixels, each into its own PDF",
                     figures)
        one, ten, hundred = figures
        exponent = math.log10(hundred.wall() / ten.wall())
        self.judge(f"{name}, growth exponent from 10 to 100", (exponent,), GROWTH_TARGET)
        self.judge(f"{name}, peak memory of 100 against 1", (hundred.peak() / one.peak(),),
                   MEMORY_TARGET)

    def html(self, name):
        browser = ["chromium-headless-shell", "--headless", "--disable-gpu",
                   "--no-pdf-header-footer", f"--user-data-dir={self.work / 'profile'}"]
        if os.geteuid() == 0:
            browser.append("--no-sandbox")

        def words(path, target):
            return [*browser, f"--print-to-pdf={target}", path.as_uri()]

        def batch(files):
            lines = [shlex.join(map(str, words(path, self.work / "out" / f"{path.stem}.pdf")))
                     for path in files]
            return ["sh", "-e", "-c", "\n".join(lines)]

        self.engine(name, "Simple web pages", self.documents.pages, "Page",
                    Figure("chromium-headless-shell, one page"), words,
                    Figure(f"chromium-headless-shell, {BATCH} runs"), batch,
                    (WARM_HTML_TARGET, BATCH_HTML_TARGET))

    def docx(self, name):
        office = ["soffice", f"-env:UserInstallation={(self.work.parent / 'soffice').as_uri()}",
                  "--headless", "--convert-to", "pdf", "--outdir", self.work / "out"]

        def words(path, _):
            return [*office, path]

        def batch(files):
            return [*office, *files]

        self.engine(name, "Small Word documents", self.documents.letters, "Letter",
                    Figure("soffice, one document"), words,
                    Figure(f"soffice, one call with {BATCH}"), batch,
                    (WARM_DOCX_TARGET, BATCH_DOCX_TARGET))

    def engine(self, name, title, files, kind, single, single_words, many, many_words, targets):
        """What one more file costs, and a batch, against an engine that is started for it."""
        cold, whole = Figure("quillorn-folivane, 1 file"), Figure(f"{BATCH + 1} files")
        batch = Figure(f"{BATCH} files")
        warm = Figure("one more file (warm)", remark=f"({BATCH + 1} files - 1 file) / {BATCH}")
        first, others = files[:1], files[:BATCH]
        peer_output = self.work / "out" / f"{first[0].stem}.pdf"
        peer = (single, single_words(first[0], peer_output), self.outputs(first, kind))
        self.timed(*peer[1:])  # makes what the engine keeps between runs, and warms the files up
        self.pairs([(cold, self.convert(first), self.outputs(first, kind)),
                    (whole, self.convert(files), self.outputs(files, kind)),
                    (batch, self.convert(others), self.outputs(others, kind)),
                    peer,
                    (many, many_words(others), self.outputs(others, kind))])
        warm.walls = [(long - short) / BATCH for long, short in zip(whole.walls, cold.walls)]
        self.section(name, title, [cold, whole, batch, warm, single, many],
                     {4: 3, 5: 2})
        self.judge(f"{name}, one more file against a cold run", median_ratio(warm, single),
                   targets[0])
        self.judge(f"{name}, {BATCH} files against the engine's own", median_ratio(batch, many),
                   targets[1])

    def text(self, name):
        figure = Figure("quillorn-folivane")
        files = [self.documents.text]
        step = (figure, self.convert(files),
                {self.work / "out" / "text.pdf": marker("Text", 1)})
        self.timed(*step[1:])
        self.pairs([step])
        self.section(name, "2 MB of plain text", [figure])
        self.judge(f"{name}, seconds", (figure.wall(),), TEXT_TARGET_SECONDS)

    def pairs(self, steps):
        """All steps in turn, as often as asked."""
        for _ in range(self.runs):
            for figure, words, outputs in steps:
                self.once(figure, words, outputs)
        shutil.rmtree(self.work, ignore_errors=True)

    # Reporting

    def section(self, name, title, figures, compared=None):
        """compared: {row of a peer: row of the program}; the ratio stands at the peer."""
        rows = []
        for index, figure in enumerate(figures):
            ratio = ""
            if compared and index in compared:
                found = median_ratio(figures[compared[index]], figure)
                ratio = f"{found[0]:.2f} ({found[1]:.2f} to {found[2]:.2f})"
            rows.append([figure.what, str(len(figure.walls)), report.seconds(figure.wall()), ratio,
                         report.mebibytes(figure.peak()) if figure.peaks else "", figure.remark])
            self.say(f"  {figure.what}: {figure.wall():.3f} s")
        header = ["", "runs", "wall s", "ratio (least to greatest)", "peak MiB", "remark"]
        self.sections.append(f"### {title} (`{name}`)\n\n" + report.table(header, rows))

    def judge(self, what, ratio, limit):
        self.lines.append(report.verdict(what, ratio[0] if ratio else None, limit, ""))
