"""Tables and verdicts from the figures, as Markdown that also reads well in a terminal."""

import math

from .measure import median_wall, output_bytes, peak_kib

WALL_TARGET = 0.8
MEMORY_TARGET = 1.0
SIZE_TARGET = 1.0
# Time is taken as a power of the number of pages; 1 is linear, and a little is left for noise.
GROWTH_TARGET = 1.1
TARGET_PEER = "qpdf"
NOT_BUILT = "program not built"


PREFACE = """\
Made by `benchmarks/run`. The program and each peer take turns on the same work, after a warm-up;
`ratio` is program / peer: of wall times the median of the pairs with the least and the greatest,
else of the columns before it. Peak memory is the greatest resident set of any run. `cp` copies the
program's own output: the limit for anything that writes those bytes; `cp + sync` also waits until they
are on the disk. Every output was checked for its number of pages, and at warm-up for the text on
its first and last page, before its time was believed.
"""


def seconds(value):
    return "" if value is None else f"{value:.3f}"


def mebibytes(kib):
    return "" if kib is None else f"{kib / 1024:.1f}"


def megabytes(count):
    return "" if not count else f"{count / 1e6:.2f}"


def quotient(a, b):
    return "" if not a or not b else f"{a / b:.2f}"


def wall_ratio(comparison):
    ratio = comparison.ratio_of_walls()
    return "" if ratio is None else f"{ratio[0]:.2f} ({ratio[1]:.2f} to {ratio[2]:.2f})"


def table(header, rows):
    """A Markdown table whose columns line up."""
    widths = [max(len(row[i]) for row in [header, *rows]) for i in range(len(header))]
    lines = []
    for row in [header, ["-" * width for width in widths], *rows]:
        lines.append("| " + " | ".join(cell.ljust(w) for cell, w in zip(row, widths)) + " |")
    return "\n".join(lines)


HEADER = ["", "pairs", "wall s", "ratio (least to greatest)", "peak MiB", "ratio", "output MB",
          "ratio", "remark"]


def job_section(result):
    """One job: the program's row, then its peers; ratios are program / peer."""
    rows = []
    runs = result.program_runs()
    note = result.program_note or ("" if runs else "not run")
    rows.append([result.program_name, str(len(runs)) if runs else "", seconds(median_wall(runs)), "",
                 mebibytes(peak_kib(runs)), "", megabytes(output_bytes(runs)), "", note])
    for comparison in result.comparisons:
        mine, theirs = comparison.program_runs, comparison.peer_runs
        rows.append([
            comparison.peer,
            str(len(theirs)) if theirs else "",
            seconds(median_wall(theirs)),
            wall_ratio(comparison),
            mebibytes(peak_kib(theirs)),
            quotient(peak_kib(mine), peak_kib(theirs)),
            megabytes(output_bytes(theirs)),
            quotient(output_bytes(mine), output_bytes(theirs)),
            comparison.note,
        ])
    return f"### {result.job.title} (`{result.job.name}`)\n\n" + table(HEADER, rows)


# Between these page counts growth is told. The second leaves out the shortest file, where the start
# of a program takes a share of the time that would hide a steeper growth.
LEGS = ((1000, 20000), (5000, 20000))


def growth(results, runs_of, leg):
    """Exponent of time over pages between the two page counts of leg, None if unknown."""
    walls = {r.job.expected_pages: median_wall(runs_of(r)) for r in results}
    short, long = walls.get(leg[0]), walls.get(leg[1])
    if not short or not long:
        return None
    return math.log(long / short) / math.log(leg[1] / leg[0])


def peer_runs_of(name):
    def runs(result):
        return [run for c in result.comparisons if c.peer == name for run in c.peer_runs]
    return runs


def scaling_section(results):
    rows = []
    for result in results:
        pages = result.job.expected_pages
        mine, theirs = result.program_runs(), peer_runs_of(TARGET_PEER)(result)
        cells = [f"{pages:,}"]
        for runs in (mine, theirs):
            wall = median_wall(runs)
            cells += [seconds(wall), f"{wall / pages * 1e6:.1f}" if wall else "",
                      mebibytes(peak_kib(runs))]
        ratios = [wall_ratio(c) for c in result.comparisons if c.peer == TARGET_PEER]
        rows.append([*cells, ratios[0] if ratios else "", result.program_note])
    name = results[0].program_name
    header = ["pages", f"{name} s", "us/page", "MiB", f"{TARGET_PEER} s", "us/page", "MiB",
              "ratio (least to greatest)", "remark"]
    lines = ["### Growth from 1,000 to 20,000 pages, all pages of one file, last to first", "",
             table(header, rows), ""]
    own = (name, lambda result: result.program_runs())
    for who, runs_of in (own, (TARGET_PEER, peer_runs_of(TARGET_PEER))):
        for leg in LEGS:
            exponent = growth(results, runs_of, leg)
            told = "unknown" if exponent is None else f"{exponent:.2f}"
            lines.append(f"- {who}: from {leg[0]:,} to {leg[1]:,} pages time grows with their number "
                         f"to the power {told} (1 is linear)")
    return "\n".join(lines)


def verdict(what, value, limit, reason):
    """reason tells why there is no value, where that is known."""
    if value is None:
        return f"- unknown  {what}: {reason or 'not measured'} (target at most {limit})"
    word = "met     " if value <= limit else "MISSED  "
    return f"- {word} {what}: {value:.3f} (target at most {limit})"


def verdicts(results, scaling):
    """One line for each target. Figures are compared unrounded."""
    lines = []
    for result in results:
        found = [c for c in result.comparisons if c.peer == TARGET_PEER]
        comparison = found[0] if found else None
        mine = comparison.program_runs if comparison else []
        theirs = comparison.peer_runs if comparison else []
        walls = comparison.ratio_of_walls() if comparison else None
        name = result.job.name
        reason = result.program_note or (comparison.note if comparison and not theirs else "")
        lines.append(verdict(f"{name}, wall time against {TARGET_PEER}",
                             walls[0] if walls else None, WALL_TARGET, reason))
        memory = peak_kib(mine) / peak_kib(theirs) if mine else None
        lines.append(verdict(f"{name}, peak memory", memory, MEMORY_TARGET, reason))
        if hasattr(result.job, "parts"):
            size = output_bytes(mine) / output_bytes(theirs) if mine else None
            lines.append(verdict(f"{name}, output size", size, SIZE_TARGET, reason))
    if scaling:
        reason = next((result.program_note for result in scaling if result.program_note), "")
        for leg in LEGS:
            exponent = growth(scaling, lambda r: r.program_runs(), leg)
            lines.append(verdict(f"growth exponent from {leg[0]:,} to {leg[1]:,} pages", exponent,
                                 GROWTH_TARGET, reason))
    return "### Targets\n\n" + "\n".join(lines)


def machine_section(rows):
    return "\n".join(f"- {label}: {value}" for label, value in rows)
