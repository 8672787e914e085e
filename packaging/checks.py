#!/usr/bin/env python3
"""Checks the sources without running them: clang-format, clang-tidy, and the
syntax of the shell scripts. ./test checks calls it after a build.

A file that passed is not checked again until it, a header it includes, its
compile command, the configuration or the tool changes. What passed is kept in
build/checks; deleting that folder checks everything anew.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
STORE = ROOT / "build" / "checks"
# The first build that compiles a file tells how. ./test checks configures the
# first two; the benchmarks count once benchmarks/run has configured them.
DATABASES = ["release", "asan", "benchmarks"]
# The compile commands are those of g++, which has warnings that clang lacks, lacks some that
# clang has, and needs no help with libqpdf's headers.
FOR_CLANG = ["-Wno-unknown-warning-option", "-Wno-ignored-optimization-argument",
             "-Wreserved-identifier", "-Wreserved-macro-identifier",
             "-isystem", str(ROOT / "cmake" / "clang")]
TIDY = ["clang-tidy", "--quiet", *(f"--extra-arg={word}" for word in FOR_CLANG)]


def output(*command):
    return subprocess.run(
        command, cwd=ROOT, check=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True
    ).stdout


def digest(*parts):
    result = hashlib.sha256()
    for part in parts:
        result.update(part.encode() if isinstance(part, str) else part)
        result.update(b"\0")
    return result.hexdigest()


class Fingerprints:
    """What a file's content is known by: a hash for ours, size and time for the
    system's, which only a package can change."""

    def __init__(self):
        self.known = {}

    def of(self, path):
        if path not in self.known:
            try:
                if path.startswith(str(ROOT) + os.sep):
                    self.known[path] = digest(pathlib.Path(path).read_bytes())
                else:
                    status = os.stat(path)
                    self.known[path] = f"{status.st_size} {status.st_mtime_ns}"
            except OSError:
                self.known[path] = "absent"
        return self.known[path]


class Report:
    def __init__(self):
        self.failed = False

    def say(self, text):
        print(text, flush=True)

    def fail(self, text):
        self.failed = True
        self.say(text)


def listed_files():
    """What git lists, new files included, deleted ones not. The same without git
    for an unpacked archive."""
    if (ROOT / ".git").exists():
        names = output("git", "ls-files", "-z", "-co", "--exclude-standard").split("\0")
    else:
        names = []
        for folder, folders, files in os.walk(ROOT):
            top = pathlib.Path(folder) == ROOT
            folders[:] = [f for f in folders if not (top and f in ("build", "out", ".cache"))]
            names += [str((pathlib.Path(folder) / f).relative_to(ROOT)) for f in files]
    return sorted(n for n in set(names) if n and (ROOT / n).is_file())


def is_shell_script(name):
    if name.endswith(".sh"):
        return True
    with open(ROOT / name, "rb") as file:
        return re.match(rb"#!.*\b(ba)?sh\b", file.readline(200)) is not None


def in_parallel(work, items):
    """Yields work(item) as each is done, as many at once as there are processors."""
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        futures = [pool.submit(work, item) for item in items]
        try:
            for future in concurrent.futures.as_completed(futures):
                yield future.result()
        except BaseException:
            pool.shutdown(cancel_futures=True)
            raise


def where_misformatted(problem):
    """clang-format says every place in four lines; the lines they are in suffice."""
    lines = dict.fromkeys(re.findall(r"^(.+?:\d+):\d+: error:", problem, re.MULTILINE))
    return "\n".join(f"{line}: not formatted; clang-format -i mends it" for line in lines) or problem


def check_each(report, title, names, setup, commands, shorten=str.rstrip):
    """Runs every command of commands(name) over each file by itself."""
    STORE.mkdir(parents=True, exist_ok=True)
    store = STORE / f"{title}.json"
    passed = set(json.loads(store.read_text())) if store.exists() else set()
    keys = {name: digest(setup, name, (ROOT / name).read_bytes()) for name in names}
    todo = [name for name in names if keys[name] not in passed]

    def run(name):
        for command in commands(name):
            done = subprocess.run(
                command, cwd=ROOT, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT, text=True,
            )
            if done.returncode != 0:
                return name, done.stdout
        return name, None

    bad = set()
    for name, problem in in_parallel(run, todo):
        if problem is not None:
            bad.add(name)
            report.fail(f"{title}: {name}\n{shorten(problem)}")
    store.write_text(json.dumps(sorted(keys[name] for name in names if name not in bad)))
    report.say(f"{title}: {len(names)} files, {len(todo)} checked now, {len(bad)} with problems")


def is_older(target, files):
    """Whether a file of these was changed since `target` was made from them, or either is gone."""
    try:
        made = os.stat(target).st_mtime_ns
        return any(os.stat(path).st_mtime_ns > made for path in files)
    except FileNotFoundError:
        return True


def built_dependencies(folder):
    """The files that each object was built from, absolute, as the build knows them. Objects that
    are out of date, whose sources may include other files by now, are left out."""
    objects = {}
    files = None
    for line in output("ninja", "-C", str(folder), "-t", "deps").splitlines():
        if line.startswith("    "):
            if files is not None:
                files.add(os.path.normpath(os.path.join(folder, line.strip())))
            continue
        name, _, state = line.partition(": #deps ")
        files = objects.setdefault(name, set()) if state.endswith("(VALID)") else None
    return {
        name: sorted(files)
        for name, files in objects.items()
        if not is_older(folder / name, files)
    }


def translation_units(ours):
    """Each of our sources that some build compiles: its name, folder, command and the files that
    it was built from, None if it was not."""
    units = {}
    for preset in DATABASES:
        path = ROOT / "build" / preset / "compile_commands.json"
        if not path.exists():
            continue
        built = built_dependencies(path.parent)
        for entry in json.loads(path.read_text()):
            name = os.path.relpath(os.path.join(entry["directory"], entry["file"]), ROOT)
            if name in ours and name not in units:
                words = shlex.split(entry["command"])
                files = built.get(words[words.index("-o") + 1])
                units[name] = (path.parent, entry["directory"], entry["command"], files)
    return units


def dependencies(directory, command):
    """The files that clang reads for this command, absolute; None if it cannot."""
    words = shlex.split(command)
    while not re.search(r"(\+\+|cc|clang)(-\d+)?$", os.path.basename(words[0])) or words[0].endswith(
        "ccache"
    ):
        words.pop(0)
    kept = []
    skip = False
    for word in words[1:]:
        if skip:
            skip = False
        elif word in ("-o", "-MF", "-MT", "-MQ"):
            skip = True
        elif word not in ("-c", "-MD", "-MMD"):
            kept.append(word)
    done = subprocess.run(
        ["clang++", "-w", "-M", "-MT", "unit", *kept, *FOR_CLANG], cwd=directory, stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
    )
    if done.returncode != 0:
        return None
    text = done.stdout.removeprefix("unit:").replace("\\\n", " ")
    names = [n.replace("\\ ", " ") for n in re.findall(r"(?:\\ |\S)+", text)]
    return sorted({os.path.normpath(os.path.join(directory, n)) for n in names})


def check_tidy(report, sources, setup):
    # Tests are read by the compiler's own strict warnings only: looking at them here would take
    # longer than everything else together.
    sources = [name for name in sources if not name.startswith("tests/")]
    folder = STORE / "clang-tidy"
    folder.mkdir(parents=True, exist_ok=True)
    units = translation_units(set(sources))
    prints = Fingerprints()
    todo = []
    for name, (_, _, command, _) in units.items():
        record = folder / (digest(name) + ".json")
        if record.exists():
            old = json.loads(record.read_text())
            same = old["setup"] == setup and old["command"] == command
            if same and all(prints.of(path) == value for path, value in old["files"].items()):
                continue
        todo.append(name)
    if todo:
        report.say(f"clang-tidy: checking {len(todo)} of {len(units)} files")

    def run(name):
        database, directory, command, files = units[name]
        if files is None:
            files = dependencies(directory, command)
        # Before the check, so that a file edited meanwhile is checked again.
        before = {path: Fingerprints().of(path) for path in files or []}
        done = subprocess.run(
            TIDY + ["-p", str(database), name], cwd=ROOT,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
        )
        if done.returncode != 0 or done.stdout.strip():
            return name, done.stdout + done.stderr
        if files is not None:
            record = {"setup": setup, "command": command, "files": before}
            (folder / (digest(name) + ".json")).write_text(json.dumps(record))
        return name, None

    bad = 0
    for name, problem in in_parallel(run, todo):
        if problem is not None:
            bad += 1
            report.fail(f"clang-tidy: {name}\n{problem.rstrip()}")
    report.say(f"clang-tidy: {len(units)} files, {len(todo)} checked now, {bad} with problems")

    unseen = [n for n in sources if n.endswith(".cpp") and n not in units]
    if unseen:
        report.say("clang-tidy: not seen, as no configured build compiles them: " + " ".join(unseen))
    if not units:
        report.fail("clang-tidy: there is nothing to check; is the release build configured?")


def main():
    report = Report()
    files = listed_files()
    sources = [n for n in files if n.endswith((".cpp", ".h"))]
    scripts = [n for n in files if is_shell_script(n)]
    configuration = {
        name: digest(*(n + "\0" + (ROOT / n).read_text() for n in files if n.endswith(name)))
        for name in (".clang-format", ".clang-tidy")
    }

    check_each(
        report, "shell", scripts, output("shellcheck", "--version"),
        lambda name: [["bash", "-n", name], ["shellcheck", "-x", name]],
    )
    check_each(
        report, "clang-format", sources,
        digest(output("clang-format", "--version"), configuration[".clang-format"]),
        lambda name: [["clang-format", "--dry-run", "-Werror", name]],
        where_misformatted,
    )
    check_tidy(
        report, sources, digest(output(*TIDY, "--version"), *TIDY, configuration[".clang-tidy"])
    )
    return 1 if report.failed else 0


if __name__ == "__main__":
    sys.exit(main())
