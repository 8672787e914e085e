"""What the figures were taken on."""

import datetime
import os
import platform
import re
import subprocess
from pathlib import Path

from .tools import version_line

VERSIONS = {
    "qpdf": ["qpdf", "--version"],
    "mutool": ["mutool", "-v"],
    "pdfunite, pdfinfo": ["pdfunite", "-v"],
    "pdftk": ["pdftk", "--version"],
    "pdfarranger": ["dpkg-query", "-W", "-f", "PDF Arranger ${Version}", "pdfarranger"],
    "cp": ["cp", "--version"],
    "img2pdf": ["img2pdf", "--version"],
    "chromium-headless-shell": ["chromium-headless-shell", "--version"],
    "soffice": ["soffice", "--version"],
}


def first_match(path, pattern, otherwise="unknown"):
    try:
        found = re.search(pattern, Path(path).read_text(), re.MULTILINE)
    except OSError:
        return otherwise
    return found.group(1) if found else otherwise


def printed(words, otherwise="unknown"):
    try:
        done = subprocess.run(words, capture_output=True, text=True, check=False)
    except OSError:
        return otherwise
    return done.stdout.strip() if done.returncode == 0 and done.stdout.strip() else otherwise


def source_state(root):
    """The commit that the tree stands on, and whether files differ from it."""
    commit = printed(["git", "-C", str(root), "rev-parse", "--short", "HEAD"])
    changed = printed(["git", "-C", str(root), "status", "--porcelain"], "")
    return commit + (" with changes" if changed else "")


def describe(root, work):
    """Pairs of label and value; work is the folder whose disk takes the outputs."""
    kib = int(first_match("/proc/meminfo", r"^MemTotal:\s+(\d+)", "0"))
    disk = printed(["findmnt", "-n", "-o", "FSTYPE", "-T", str(work)])
    cpu = first_match("/proc/cpuinfo", r"^model name\s*: (.*)$")
    system = first_match("/etc/os-release", r'^PRETTY_NAME="(.*)"$')
    rows = [
        ("Date", datetime.datetime.now().astimezone().strftime("%Y-%m-%d %H:%M %Z")),
        ("Source", source_state(root)),
        ("CPU", f"{cpu}, {os.cpu_count()} cores"),
        ("Memory", f"{kib / 1024 / 1024:.1f} GiB"),
        ("System", f"{system}, Linux {platform.release()}, {disk}"),
        ("Load before", f"{os.getloadavg()[0]:.2f} (one-minute average)"),
    ]
    return rows + [(name, version_line(words)) for name, words in VERSIONS.items()]
