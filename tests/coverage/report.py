#!/usr/bin/env python3
"""Reads the counts of the tests of preset "coverage", prints a table and writes a page to build/coverage/html.

A condition has two branches, true and false. A branch counts as covered if any test took it, in any program and
template instantiation. Fails if too few are covered, or if uncovered.tsv, the list of uncovered branches, is not exact.
"""

import collections
import json
import re
import shutil
import subprocess
import sys
from pathlib import Path

sys.path.append(str(Path(__file__).resolve().parents[1]))
from rooms import ROOMS, room_of

LEAST_PER_CENT = 92
ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/coverage"
LIST = Path(__file__).with_name("uncovered.tsv")
LLVM = "14"
BASE = f"{ROOT}/./"  # llvm-cov's names of source files begin with this; the build itself records no folder names

Place = collections.namedtuple("Place", "file line column end_line end_column")
# The first columns of a row in the list. The same condition can occur twice in a function; then there are two rows.
Branch = collections.namedtuple("Branch", "file function condition way")


def run(tool, *arguments):
    # llvm-cov warns about every inline function that one program contains but never calls, while another one does.
    done = subprocess.run([f"{tool}-{LLVM}", *map(str, arguments)], capture_output=True)
    if done.returncode != 0:
        sys.exit(f"coverage: {tool} failed: {done.stderr.decode()}")
    return done.stdout


def run_llvm_cov(command, *arguments):
    left_out = f"^{re.escape(str(ROOT))}/([.]/)?(tests|fuzz|bench|examples|build)/"
    return run("llvm-cov", command, f"-compilation-dir={ROOT}", f"-ignore-filename-regex={left_out}", *arguments)


def merge_counts():
    merged = BUILD / "merged.profdata"
    run("llvm-profdata", "merge", "-sparse", "-o", merged, *sorted((BUILD / "counts").glob("*.profraw")))
    return merged


def counting_files():
    """The programs and libraries of the build, as arguments for llvm-cov."""
    found = [path for path in sorted(BUILD.rglob("*")) if path.is_file() and not path.is_symlink() and
             (path.parent.name == "bin" or ".so" in path.suffixes)]
    return [found[0], *(f"-object={path}" for path in found[1:])]


class Sources:
    def __init__(self):
        self._lines = {}

    def lines(self, file):
        if file not in self._lines:
            self._lines[file] = (ROOT / file).read_text().splitlines()
        return self._lines[file]

    def text(self, place):
        lines = [line.encode() for line in self.lines(place.file)[place.line - 1:place.end_line]]
        lines[-1] = lines[-1][:place.end_column - 1]
        lines[0] = lines[0][place.column - 1:]
        text = " ".join(b" ".join(lines).decode().split())
        # For a range-based loop, clang gives only the place of the colon.
        return text if text != ":" else self.lines(place.file)[place.line - 1].strip(" {")

    def is_decided_by_the_compiler(self, place):
        before = self.lines(place.file)[place.line - 1].encode()[:place.column - 1].decode()
        return self.text(place) in ("true", "false") or re.search(r"\bif constexpr \($", before)


def plain_name(mangled):
    """The name without its file, parameters, template arguments and numbers of lambdas."""
    name = run("llvm-cxxfilt", mangled.rsplit(":", 1)[-1]).decode().strip()
    name = name.replace("(anonymous namespace)::", "").replace("'lambda'", "lambda")
    while True:
        shorter = re.sub(r"<[^<>]*>|\([^()]*\)", "", name)
        if shorter == name:
            break
        name = shorter
    name = re.sub(r"::\$_\d+::operator$|::\$_\d+::operator\b.*|::lambda.*", " lambda", name)
    name = re.sub(r"\s+const\b.*|\[abi.*", "", name)
    return name.split(" ")[-1] if not name.endswith(" lambda") else " ".join(name.split(" ")[-2:])


def read_branches(exported, sources):
    """How often each condition of the rooms was true and false, and in which function it is."""
    counts, functions = collections.defaultdict(lambda: [0, 0]), {}
    for function in exported["data"][0]["functions"]:
        for line, column, end_line, end_column, true, false, file_id, _, _ in function["branches"]:
            file = function["filenames"][file_id]
            if not file.startswith(BASE) or room_of(file[len(BASE):]) is None:
                continue
            place = Place(file[len(BASE):], line, column, end_line, end_column)
            if not sources.is_decided_by_the_compiler(place):
                counts[place][0] += true
                counts[place][1] += false
                functions.setdefault(place, function["name"])
    return counts, functions


def print_table(counts):
    branches, covered = collections.Counter(), collections.Counter()
    for place, ways in counts.items():
        for key in (room_of(place.file), "all"):
            branches[key] += 2
            covered[key] += sum(count > 0 for count in ways)
    print(f"{'room':24}{'branches':>10}{'covered':>10}{'per cent':>10}")
    for key in (*ROOMS, "all"):
        if branches[key]:
            print(f"{key:24}{branches[key]:>10}{covered[key]:>10}{100 * covered[key] / branches[key]:>10.1f}")
    return 100 * covered["all"] / branches["all"]


def read_list():
    rows = [line.split("\t") for line in LIST.read_text().splitlines() if line and not line.startswith("#")]
    bad = [row for row in rows if len(row) != 6 or row[3] not in ("true", "false") or
           row[4] not in ("never", "at times") or not row[5].strip()]
    return rows, bad


def compare_with_list(counts, functions, sources):
    """The errors in the list, one line each."""
    rows, problems = read_list()
    problems = [f"not a row of this list: {row}" for row in problems]
    listed = {how: collections.Counter(Branch(*row[:4]) for row in rows if row[4:5] == [how])
              for how in ("never", "at times")}
    uncovered, existing, lines = collections.Counter(), set(), {}
    names = {}
    for place, ways in sorted(counts.items()):
        name = names.setdefault(functions[place], None) or plain_name(functions[place])
        names[functions[place]] = name
        for way, count in zip(("true", "false"), ways):
            branch = Branch(place.file, name, sources.text(place), way)
            existing.add(branch)
            if count == 0:
                uncovered[branch] += 1
                lines[branch] = place.line
    for branch in uncovered - listed["never"] - listed["at times"]:
        problems.append(f"neither covered nor listed: line {lines[branch]}: " + "\t".join(branch))
    for branch in listed["never"] - uncovered:
        problems.append("listed, but " + ("covered: " if branch in existing else "gone: ") + "\t".join(branch))
    for branch in listed["at times"]:
        if branch not in existing:
            problems.append("listed, but gone: " + "\t".join(branch))
    return problems


def main():
    merged, files, sources = merge_counts(), counting_files(), Sources()
    exported = json.loads(run_llvm_cov("export", "-skip-expansions", f"-instr-profile={merged}", *files))
    page = BUILD / "html"
    shutil.rmtree(page, ignore_errors=True)
    run_llvm_cov("show", "-format=html", "-show-branches=count", "-show-instantiations=false",
        f"-instr-profile={merged}", f"-output-dir={page}", *files)
    counts, functions = read_branches(exported, sources)
    per_cent = print_table(counts)
    print(f"\nEach line with its branches: {page.relative_to(ROOT)}/index.html")
    problems = compare_with_list(counts, functions, sources)
    if per_cent < LEAST_PER_CENT:
        problems.append(f"{per_cent:.1f} per cent of all branches are covered; at least {LEAST_PER_CENT} are required")
    for problem in problems:
        print(f"coverage: {problem}", file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
