"""The copy of the sources that contains every fault, each switched off until a process is given its number."""

import hashlib
import json
import os
import pickle
import re
import shlex
import subprocess
from collections import Counter
from concurrent.futures import ProcessPoolExecutor
from pathlib import Path

from points import Finder
from rooms import room_of

NUMBERS_OF_A_FILE = 4096


def arguments_of(command):
    """@return the part of a compiler's command line that libclang needs"""
    words = shlex.split(command)[1:]
    kept, skip = [], False
    for word in words:
        if skip or word in ("-c", "-o"):
            skip = word == "-o"
            continue
        if not word.endswith((".cpp", ".cxx")) and not word.startswith("-W"):
            kept.append(word)
    return kept + ["-Wno-everything"]


def sources_of(file):
    """@return the source that is compiled; those that it includes if CMake wrote it to compile several as one"""
    if "/Unity/" not in file:
        return [file]
    return re.findall(r'^#include "(.+)"', Path(file).read_text(), re.M)


def points_of_unit(task):
    root, path, arguments = task
    finder = Finder(root, room_of)
    return [point for point in finder.find(f"{root}/{path}", arguments)]


class Tree:
    def __init__(self, root: Path):
        self.root = root
        self.work = root / "build" / "mutants"
        self.copy = self.work / "tree"
        self.points = {}

    def find(self):
        commands = json.loads((self.root / "build/dev/compile_commands.json").read_text())
        units = {}
        for command in commands:
            for source in sources_of(command["file"]):
                path = os.path.relpath(source, self.root)
                if room_of(path) and path not in units:
                    units[path] = arguments_of(command["command"])
        cache = self.work / "points"
        cache.mkdir(parents=True, exist_ok=True)
        keys = {path: self.key(path, arguments) for path, arguments in units.items()}
        missing = [(str(self.root), path, units[path]) for path in sorted(units)
                   if not (cache / keys[path]).exists()]
        with ProcessPoolExecutor() as pool:
            for task, found in zip(missing, pool.map(points_of_unit, missing)):
                (cache / keys[task[1]]).write_bytes(pickle.dumps(found))
        self.number([pickle.loads((cache / keys[path]).read_bytes()) for path in sorted(units)])

    def key(self, path, arguments):
        """A hash of everything on which the places of a translation unit depend."""
        digest = hashlib.sha256(" ".join(arguments).encode())
        finder = Path(__file__).with_name("points.py")
        headers = [h for h in self.tracked() if h.endswith(".h") and room_of(h)]
        for name in [str(finder), str(self.root / path)] + [str(self.root / h) for h in headers]:
            digest.update(Path(name).read_bytes())
        return digest.hexdigest()

    def tracked(self):
        if not hasattr(self, "names"):
            listed = subprocess.run(
                ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                cwd=self.root, check=True, capture_output=True).stdout.decode()
            self.names = [name for name in listed.split("\0") if name and (self.root / name).exists()]
        return self.names

    def number(self, units):
        by_file = {}
        for found in units:
            for point in found:
                place = (point.edit.start, point.edit.end, point.kind, point.edit.before)
                by_file.setdefault(point.path, {}).setdefault(place, point)
        for index, path in enumerate(sorted(by_file)):
            found = nested(by_file[path].values())
            assert len(found) < NUMBERS_OF_A_FILE, path
            seen = Counter()
            for place, point in enumerate(found):
                seen[point.name()] += 1
                if seen[point.name()] > 1:
                    point.text += f" #{seen[point.name()]}"
                point.number = (index + 1) * NUMBERS_OF_A_FILE + place
                self.points[point.number] = point

    def unusable(self):
        """Names of the faults that don't compile, according to earlier builds."""
        path = self.work / "unusable"
        return set(path.read_text().split("\n")) if path.exists() else set()

    def usable(self):
        unusable = self.unusable()
        return [point for point in self.points.values() if point.name() not in unusable]

    def write(self):
        """Writes only the files that changed, so that only these are compiled again."""
        by_file = {}
        for point in self.usable():
            by_file.setdefault(point.path, []).append(point)
        for name in self.tracked():
            source = self.root / name
            content = source.read_bytes()
            if name in by_file:
                content = with_faults(content, by_file[name])
            target = self.copy / name
            if not target.exists() or target.read_bytes() != content:
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(content)
                target.chmod(source.stat().st_mode)
        for target in self.copy.rglob("*"):
            name = str(target.relative_to(self.copy))
            if target.is_file() and not name.startswith(("build/", ".git/")) and name not in self.names:
                target.unlink()

    def build(self, preset):
        """Builds the copy; faults that don't compile are removed until the rest compiles."""
        header = Path(__file__).with_name("Mutants.h")
        print(f"mutants: building the copy with all faults, preset {preset}", flush=True)
        while True:
            self.write()
            build = self.copy / "build" / preset
            if not (build / "build.ninja").exists():
                run(["cmake", "--preset", preset, f"-DCMAKE_CXX_FLAGS=-std=c++17 -w -fpermissive -include {header}"], self.copy)
            done = subprocess.run(["cmake", "--build", "--preset", preset, "--", "-k", "0"], cwd=self.copy,
                                  text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            if done.returncode == 0:
                return build
            self.take_out(done.stdout)

    def take_out(self, output):
        lines = set()
        for path, line in re.findall(r"([\w./+-]+):(\d+):\d+: (?:error|  required)", output):
            path = os.path.normpath(os.path.join(self.copy / "build/any", path))
            lines.add((os.path.relpath(path, self.copy), int(line)))
        guilty = {p.name() for p in self.usable() if (p.path, p.line) in lines}
        if not guilty:
            raise SystemExit(f"mutants: the copy does not build:\n{output[-6000:]}")
        print(f"mutants: {len(guilty)} faults don't compile and are left out", flush=True)
        (self.work / "unusable").write_text("\n".join(sorted(self.unusable() | guilty)))


def run(command, folder):
    done = subprocess.run(command, cwd=folder, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        raise SystemExit(f"mutants: {' '.join(command)}:\n{done.stdout[-6000:]}")


def nested(points):
    """@return the faults in the order of their places, outer before inner, without those that overlap another one"""
    kept, ends = [], []
    for point in sorted(points, key=lambda p: (p.edit.start, -p.edit.end, p.kind)):
        while ends and ends[-1] <= point.edit.start:
            ends.pop()
        if not ends or point.edit.end <= ends[-1]:
            ends.append(point.edit.end)
            kept.append(point)
    return kept


def with_faults(content, points):
    """@return the source with the text of each fault around its place; line numbers don't change"""
    out, open_edits, position = [], [], 0

    def close(limit):
        nonlocal position
        while open_edits and open_edits[-1].edit.end <= limit:
            point = open_edits.pop()
            out.append(content[position:point.edit.end])
            position = point.edit.end
            out.append(point.edit.after.format(n=point.number).encode())

    for point in points:
        close(point.edit.start)
        out.append(content[position:point.edit.start])
        position = point.edit.start
        out.append(point.edit.before.format(n=point.number).encode())
        open_edits.append(point)
    close(len(content))
    out.append(content[position:])
    return b"".join(out)
