"""Runs commands in interleaved pairs, checks what they made, and keeps the figures."""

import json
import os
import re
import signal
import statistics
import subprocess
from dataclasses import dataclass, field

from .jobs import OpenJob
from .tools import CannotDo, Copy


class Failed(Exception):
    """A run whose figures are worth nothing; the text says why."""


class TooSlow(Exception):
    """A run that was stopped at the time limit."""


@dataclass(frozen=True)
class Run:
    wall: float  # seconds
    cpu: float  # seconds, user and system
    peak_kib: int
    output_bytes: int  # 0 for jobs without an output file


@dataclass
class Comparison:
    """The program and one peer on one job. note tells why figures are missing, if they are."""

    peer: str
    program_runs: list = field(default_factory=list)
    peer_runs: list = field(default_factory=list)
    note: str = ""

    def ratio_of_walls(self):
        """Median, least and greatest of the ratios program / peer, pair by pair."""
        ratios = [a.wall / b.wall for a, b in zip(self.program_runs, self.peer_runs)]
        return (statistics.median(ratios), min(ratios), max(ratios)) if ratios else None


def median_wall(runs):
    return statistics.median(run.wall for run in runs) if runs else None


def peak_kib(runs):
    return max((run.peak_kib for run in runs), default=None)


def output_bytes(runs):
    return statistics.median_high([run.output_bytes for run in runs]) if runs else None


class Bench:
    """Where and how the commands run. timeout is in seconds, for each run."""

    def __init__(self, measure, inputs, work, runs, timeout, slow_after, say):
        self.measure = measure
        self.inputs = inputs
        self.work = work
        self.runs = runs
        self.timeout = timeout
        self.slow_after = slow_after
        self.say = say

    def run_once(self, tool, job, thorough=False):
        """One measured run, its output checked. Leaves the output at output_path(tool)."""
        output = self.output_path(tool)
        output.parent.mkdir(parents=True, exist_ok=True)
        output.unlink(missing_ok=True)
        result, log = self.work / "result.json", self.work / "log.txt"
        result.unlink(missing_ok=True)
        words = [str(self.measure), str(result), *tool.command(job, self.inputs, output)]
        # The disk starts idle: nothing of earlier runs is still on its way there.
        os.sync()
        with open(log, "wb") as stream:
            # A session of its own, so that a stopped command takes its children with it.
            child = subprocess.Popen(
                words, stdin=subprocess.DEVNULL, stdout=stream, stderr=subprocess.STDOUT,
                start_new_session=True)
            try:
                child.wait(self.timeout)
            except subprocess.TimeoutExpired:
                raise TooSlow(f"{tool.name}: > {self.timeout:g} s, stopped") from None
            finally:
                if child.poll() is None:
                    os.killpg(child.pid, signal.SIGKILL)
                    child.wait()
        figures = json.loads(result.read_text())
        text = log.read_text(errors="replace")
        accepted = (0, 3) if tool.binary == "qpdf" else (0,)  # qpdf's 3: done, with warnings
        if figures["exit"] not in accepted:
            last = (text.strip().splitlines() or ["no message"])[-1]
            raise Failed(f"{tool.name}: exit status {figures['exit']}: {last[:120]}")
        if isinstance(job, OpenJob):
            if not re.search(rf"\b{job.expected_pages}\b", text):
                raise Failed(f"{tool.name}: does not tell {job.expected_pages} pages")
            size = 0
        else:
            self.check_output(tool, output, job, thorough)
            size = output.stat().st_size
        return Run(figures["wall"], figures["user"] + figures["system"], figures["peak_kib"], size)

    def output_path(self, tool):
        return self.work / re.sub(r"\W+", "-", tool.name) / "output.pdf"

    def remove_output(self, tool):
        self.output_path(tool).unlink(missing_ok=True)

    def check_output(self, tool, output, job, thorough):
        """Believes no time before the pages are there; when thorough, the right ones."""
        if not output.exists():
            raise Failed(f"{tool.name}: wrote no output")
        counted = subprocess.run(["qpdf", "--show-npages", str(output)], capture_output=True,
                                 text=True, check=False).stdout.strip()
        if counted != str(job.expected_pages):
            raise Failed(f"{tool.name}: output has {counted or 'no readable'} pages, "
                         f"not {job.expected_pages}")
        if not thorough:
            return
        for page, expected in ((1, job.first_text), (job.expected_pages, job.last_text)):
            shown = subprocess.run(
                ["pdftotext", "-f", str(page), "-l", str(page), "-layout", str(output), "-"],
                capture_output=True, text=True, check=False).stdout
            if expected and not re.search(re.escape(expected) + r"\b", shown):
                raise Failed(f'{tool.name}: output page {page} does not read "{expected}"')

    def compare(self, job, program, peer):
        """A warm-up of the peer, then pairs program, peer, program, peer...

        The program must have been warmed up by the caller. program None measures the peer alone.
        A peer that took longer than slow_after seconds to warm up gets one pair only.
        """
        comparison = Comparison(peer.name, note=job.remarks.get(peer.name, ""))
        copying = isinstance(peer, Copy)
        try:
            if not copying:
                warm = self.run_once(peer, job, thorough=True)
                pairs = 1 if warm.wall > self.slow_after else self.runs
            else:
                pairs = self.runs
            for _ in range(pairs):
                if program is not None:
                    run = self.run_once(program, job)
                    if copying:
                        peer.original = self.output_path(program)
                peer_run = self.run_once(peer, job)
                if program is not None:
                    comparison.program_runs.append(run)
                    self.remove_output(program)
                comparison.peer_runs.append(peer_run)
                self.remove_output(peer)
        except CannotDo as reason:
            comparison.note = str(reason)
        except (Failed, TooSlow) as problem:
            comparison.note = str(problem)
            comparison.program_runs, comparison.peer_runs = [], []
        finally:
            self.remove_output(peer)
            if program is not None:
                self.remove_output(program)
        wall = median_wall(comparison.peer_runs)
        self.say(f"  {peer.name}: " + (f"{wall:.3f} s" if wall else comparison.note))
        return comparison
