"""The window's jobs: what is measured of the real program and its peer from outside, on a virtual
display, and what a benchmark program measures inside the program's window."""

import json
import os
import shutil
import signal
import statistics
import subprocess
import tempfile
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

from .report import table

PEER = "pdfarranger"
START = "window-start"
THUMBNAILS = "window-thumbnails"
SCANS = ["scans-1.pdf", "scans-2.pdf", "scans-3.pdf"]
# Large enough that 300 pages can be seen at once in either program.
LARGE_SCREEN = (4000, 3000)
USUAL_SCREEN = (1600, 1200)
INSIDE_RUNS = 3


@dataclass(frozen=True)
class Target:
    """A figure of a job and what it must not exceed."""

    figure: str
    what: str
    limit: float
    unit: str


@dataclass
class Inside:
    """A job of quillorn_bench_window. Each run is a process of its own; the median of the runs'
    figures counts, and for what is a worst case the greatest."""

    name: str
    benchmark: str
    title: str
    targets: list
    worst: bool = False
    parts: tuple = ()  # of each target's figure: what the run with the greatest says of it
    rows: list = field(default_factory=list)  # (figure, text) for the table, beyond the targets


INSIDE = [
    Inside("window-first-pages", "first-pictures", "A PDF of 2,400 pages is opened",
           [Target("painted", "visible thumbnails painted after the document is open", 150, "ms")],
           rows=[("open", "from the command until the document is open, ms"),
                 ("visible", "thumbnails visible")]),
    Inside("window-many-pages", "many-pages", "100,000 pages in one pane",
           [Target("layout_median", "layout", 5, "ms"),
            Target("reload_median", "the pane's contents laid out anew", 5, "ms"),
            Target("scroll_most", "a scroll step painted, 19 of 20", 8, "ms"),
            Target("select_median", "selecting all", 10, "ms"),
            Target("memory_mib", "memory of all processes, thumbnails warm", 250, "MiB")],
           rows=[("scroll_median", "a scroll step painted, median, ms"),
                 ("scroll_worst", "a scroll step painted, the slowest, ms"),
                 ("jump_median", "a jump to pages without pictures painted, median, ms"),
                 ("jump_worst", "a jump to pages without pictures painted, the slowest, ms"),
                 ("zoom_median", "laid out for another zoom, ms"),
                 ("select_painted_median", "selecting all until it is painted, ms"),
                 ("resident_mib", "resident sets, shared memory counted for each, MiB"),
                 ("open", "from the command until all pages are there, ms")]),
    Inside("window-editing", "editing", "1,000 pages in a group of 10,000, until repainted",
           [Target("insert_median", "inserting", 50, "ms"),
            Target("move_median", "moving by a drag", 50, "ms"),
            Target("delete_median", "deleting", 50, "ms")],
           rows=[("insert_worst", "inserting, the slowest, ms"),
                 ("move_worst", "moving, the slowest, ms"),
                 ("delete_worst", "deleting, the slowest, ms")]),
    Inside("window-freezes", "freezes", "The longest time that the event loop slept",
           [Target(phase, "longest sleep while " + phase, 50, "ms")
            for phase in ("importing", "rendering", "converting images", "converting documents",
                          "collecting", "saving")], worst=True,
           parts=("computing", "waiting for a processor"),
           rows=[("pages", "pages collected and saved")]),
]

NAMES = [START, THUMBNAILS, *(job.name for job in INSIDE)]


@dataclass
class Figure:
    what: str
    limit: float
    unit: str
    value: float = None
    reason: str = ""

    def line(self):
        unit = f" {self.unit}" if self.unit else ""
        target = f"(target at most {self.limit:g}{unit})"
        if self.value is None:
            return f"- unknown  {self.what}: {self.reason or 'not measured'} {target}"
        word = "met     " if self.value <= self.limit else "MISSED  "
        return f"- {word} {self.what}: {self.value:.3g}{unit} {target}"


class Display:
    """A virtual display that keeps its picture in a file."""

    def __init__(self, work, size):
        self.folder = Path(tempfile.mkdtemp(prefix="display-", dir=work))
        reading, writing = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writing), "-screen", "0", f"{size[0]}x{size[1]}x24",
             "-fbdir", str(self.folder), "-nolisten", "tcp", "-noreset"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as stream:
            number = stream.readline().strip()
        if not number:
            raise RuntimeError("Xvfb does not start")
        self.name = f":{number}"
        self.picture = self.folder / "Xvfb_screen0"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.server.terminate()
        self.server.wait()
        shutil.rmtree(self.folder, ignore_errors=True)


class WindowBench:
    """Where the window's jobs run. program is the executable of the build with the benchmarks."""

    def __init__(self, binaries, program, inputs, work, runs, timeout, say):
        self.binaries = binaries
        self.program = program
        self.inputs = inputs
        self.work = work / "window"
        self.runs = runs
        self.timeout = timeout
        self.say = say
        self.sections = []
        self.figures = []

    def environment(self, display, home):
        """One's own home, so that neither the settings nor the running programs of the user count."""
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith(("XDG_", "QT_", "GTK_", "GDK_", "DBUS_"))}
        runtime = home / "runtime"
        runtime.mkdir(mode=0o700, exist_ok=True)
        return {**kept, "DISPLAY": display.name, "HOME": str(home), "XDG_RUNTIME_DIR": str(runtime),
                "QT_QPA_PLATFORM": "xcb", "NO_AT_BRIDGE": "1", "GDK_BACKEND": "x11"}

    def fresh_home(self):
        home = self.work / "home"
        shutil.rmtree(home, ignore_errors=True)
        home.mkdir(parents=True)
        return home

    # From outside

    def watch(self, display, home, words, quiet, meanwhile=None):
        """One run of a program on a display, until it is quiet. `meanwhile` plays the user."""
        result = self.work / "result.json"
        result.unlink(missing_ok=True)
        with open(self.work / "log.txt", "wb") as log:
            child = subprocess.Popen(
                [str(self.binaries / "quillorn_bench_screen"), str(result), str(display.picture),
                 str(quiet), str(self.timeout), *map(str, words)],
                env=self.environment(display, home), stdin=subprocess.DEVNULL, stdout=log,
                stderr=subprocess.STDOUT, start_new_session=True)
            user = None
            if meanwhile is not None:
                user = threading.Thread(target=meanwhile, args=(display, child))
                user.start()
            try:
                child.wait(self.timeout + 30)
            except subprocess.TimeoutExpired:
                os.killpg(child.pid, signal.SIGKILL)
                child.wait()
            if user is not None:
                user.join()
        if child.returncode != 0 or not result.exists():
            lines = (self.work / "log.txt").read_text(errors="replace").strip().splitlines()
            raise RuntimeError(lines[-1] if lines else "it could not be watched")
        figures = json.loads(result.read_text())
        if not figures["settled"]:
            raise RuntimeError(f"not done after {self.timeout:g} s")
        return figures

    def compare(self, measured):
        """Runs of the program and its peer in turn, after one of each that does not count.

        measured: by name, what makes one run. Returns the runs by name, and why some are missing.
        """
        runs = {name: [] for name in measured}
        reasons = {}
        for turn in range(self.runs + 1):
            for name, run in measured.items():
                if name in reasons:
                    continue
                try:
                    figures = run()
                except (OSError, RuntimeError, ValueError) as problem:
                    reasons[name] = str(problem)
                    self.say(f"  {name}: {problem}")
                    continue
                if turn > 0:
                    runs[name].append(figures)
        for name, found in runs.items():
            if found:
                self.say(f"  {name}: {statistics.median(r['last'] for r in found):.3f} s")
        return runs, reasons

    def peer_or_none(self, run):
        if shutil.which(PEER) is None:
            self.say(f"  {PEER}: not installed, left out")
            return {}
        return {PEER: run}

    def start(self):
        """Both programs without a file, from the start until the window is painted."""
        with Display(self.work, USUAL_SCREEN) as display:
            quiet = 1.0

            def run(words):
                return lambda: self.watch(display, self.fresh_home(), words, quiet)
            runs, reasons = self.compare(
                {"quillorn-folivane": run([self.program]), **self.peer_or_none(run([PEER]))})
        rows = []
        for name, found in runs.items():
            rows.append([name, str(len(found)), *(
                [f"{statistics.median(r[key] for r in found) * 1000:.0f}"
                 for key in ("first", "painted", "last", "cpu")] +
                [f"{statistics.median(r['pss_kib'] for r in found) / 1024:.1f}"]
                if found else [""] * 5), reasons.get(name, "")])
        header = ["", "runs", "first ms", "painted ms", "last ms", "processor ms", "memory MiB",
                  "remark"]
        self.sections.append(
            f"### From start to a painted window (`{START}`)\n\n" + table(header, rows) +
            "\n\n`first`: something other than a background is shown; `painted`: 95 % of what the "
            "window shows at rest is there; `last`: the last change.")
        mine, theirs = runs["quillorn-folivane"], runs.get(PEER, [])
        painted = [run["painted"] * 1000 for run in mine]
        self.add_figure(f"{START}, start to a painted window", 400, "ms",
                        statistics.median(painted) if painted else None,
                        reasons.get("quillorn-folivane", ""))
        self.add_ratio(f"{START}, the same against {PEER}", mine, theirs, "painted", reasons)

    def add_ratio(self, what, mine, theirs, key, reasons):
        ratios = [a[key] / b[key] for a, b in zip(mine, theirs)]
        self.add_figure(what, 0.3, "", statistics.median(ratios) if ratios else None,
                        "; ".join(reasons.values()))

    def add_figure(self, what, limit, unit, value, reason=""):
        self.figures.append(Figure(what, limit, unit, value, reason))

    def scans(self):
        """All scanned pages in one file, made once."""
        path = self.work / "scans-300.pdf"
        if not path.exists():
            made = path.with_suffix(".part")
            subprocess.run(["qpdf", "--empty", "--pages",
                            *(str(self.inputs / name) for name in SCANS), "--", str(made)],
                           check=True, stdin=subprocess.DEVNULL)
            made.rename(path)
        return path

    def thumbnails(self):
        """300 scanned pages, all of them in sight, until nothing changes any more."""
        path = self.scans()
        quiet = 2.0
        with Display(self.work, LARGE_SCREEN) as display:
            def own():
                return self.watch(display, self.fresh_home(), [self.program, path], quiet,
                                  self.show_all_pages)

            def peer():
                home = self.fresh_home()
                settings = home / ".config" / PEER
                settings.mkdir(parents=True)
                (settings / "config.ini").write_text(
                    f"[window]\nwidth = {LARGE_SCREEN[0]}\nheight = {LARGE_SCREEN[1]}\n"
                    "root_x = 0\nroot_y = 0\n")
                return self.watch(display, home, [PEER, path], quiet)
            runs, reasons = self.compare({"quillorn-folivane": own, **self.peer_or_none(peer)})
        rows = []
        for name, found in runs.items():
            rows.append([name, str(len(found)), *(
                [f"{statistics.median(r['last'] for r in found):.2f}",
                 f"{statistics.median(r['cpu'] for r in found):.2f}",
                 f"{statistics.median(r['cpu'] / r['last'] for r in found):.2f}",
                 f"{statistics.median(r['pss_kib'] for r in found) / 1024:.0f}",
                 f"{statistics.median(r['share'] for r in found) * 100:.0f} %"]
                if found else [""] * 5), reasons.get(name, "")])
        header = ["", "runs", "last change s", "processor s", "processors busy", "memory MiB",
                  "of the display", "remark"]
        self.sections.append(
            "### All thumbnails of 300 scanned pages, from the start of the program "
            f"(`{THUMBNAILS}`)\n\n" + table(header, rows))
        mine, theirs = runs["quillorn-folivane"], runs.get(PEER, [])
        self.add_ratio(f"{THUMBNAILS}, time against {PEER}", mine, theirs, "last",
                       reasons)

    def show_all_pages(self, display, child):
        """Makes the program's window as large as the display and its source pane as wide as it
        gets, as a user would with the mouse."""
        width, height = LARGE_SCREEN

        def tell(*words):
            done = subprocess.run(["xdotool", *map(str, words)], capture_output=True, text=True,
                                  env={**os.environ, "DISPLAY": display.name}, check=False)
            return done.stdout.split() if done.returncode == 0 else []

        deadline = time.monotonic() + self.timeout
        while child.poll() is None and time.monotonic() < deadline:
            # The first file gives the window its working size; what comes before would be undone.
            for window in tell("search", "--onlyvisible", "--name", "Quillorn Folivane"):
                geometry = tell("getwindowgeometry", "--shell", window)
                if "WIDTH=810" in geometry:
                    tell("windowsize", "--sync", window, width, height, "windowmove", window, 0, 0)
                    tell("mousemove", width // 2, height // 2, "mousedown", 1,
                         "mousemove", width * 3 // 4, height // 2,
                         "mousemove", width - 5, height // 2, "mouseup", 1)
                    return
            time.sleep(0.01)

    # From inside

    def run_inside(self, job):
        home = self.fresh_home()
        with Display(self.work, USUAL_SCREEN) as display:
            done = subprocess.run(
                [str(self.binaries / "quillorn_bench_window"), job.benchmark, str(self.inputs),
                 str(home)],
                env=self.environment(display, home), stdin=subprocess.DEVNULL, capture_output=True,
                text=True, timeout=self.timeout * 3, check=False)
        if done.returncode != 0:
            lines = done.stderr.strip().splitlines()
            raise RuntimeError(lines[-1] if lines else f"exit status {done.returncode}")
        return json.loads(done.stdout)

    def inside(self, job):
        self.say(f"{job.name}: {job.title}")
        runs, reason = [], ""
        try:
            runs = [self.run_inside(job) for _ in range(min(self.runs, INSIDE_RUNS))]
        except (OSError, RuntimeError, ValueError, subprocess.TimeoutExpired) as problem:
            reason = str(problem)
            self.say(f"  {reason}")
        pick = max if job.worst else statistics.median

        def value(figure):
            return pick([run[figure] for run in runs]) if runs and not reason else None

        rows = []
        for target in job.targets:
            found = value(target.figure)
            what = f"{target.what}, {target.unit}"
            rows.append([what, "" if found is None else f"{found:.2f}", f"{target.limit:g}"])
            self.add_figure(f"{job.name}, {target.what}", target.limit, target.unit, found, reason)
            for part in job.parts if found is not None else ():
                worst = max(runs, key=lambda run: run[target.figure])
                rows.append([f"of it {part}, {target.unit}",
                             f"{worst[f'{target.figure}, {part}']:.2f}", ""])
        for figure, what in job.rows:
            found = value(figure)
            rows.append([what, "" if found is None else f"{found:.2f}", ""])
        told = "greatest" if job.worst else "median"
        self.sections.append(f"### {job.title} (`{job.name}`)\n\n" +
                             table(["", f"{told} of {len(runs)} runs", "target"], rows) +
                             (f"\n\n{reason}" if reason else ""))

    def run(self, wanted):
        self.work.mkdir(parents=True, exist_ok=True)
        if START in wanted:
            self.say(f"{START}: from start to a painted window")
            self.start()
        if THUMBNAILS in wanted:
            self.say(f"{THUMBNAILS}: all thumbnails of 300 scanned pages")
            self.thumbnails()
        for job in INSIDE:
            if job.name in wanted:
                self.inside(job)
        shutil.rmtree(self.work / "home", ignore_errors=True)

    def verdicts(self):
        return "\n".join(figure.line() for figure in self.figures)
