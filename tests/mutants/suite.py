"""The tests of one build of the copy: which places each test reaches, and whether it notices a fault."""

import json
import mmap
import os
import signal
import subprocess
import tempfile
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

HUNG = "hung"


class Test:
    def __init__(self, entry):
        self.name = entry["name"]
        self.command = entry["command"]
        properties = {p["name"]: p["value"] for p in entry.get("properties", [])}
        self.folder = properties.get("WORKING_DIRECTORY")
        self.environment = dict(v.split("=", 1) for v in properties.get("ENVIRONMENT", []))
        self.resources = properties.get("RESOURCE_LOCK", [])
        self.seconds = 0.0
        self.reached = frozenset()


class Suite:
    def __init__(self, tree, preset, jobs):
        self.tree = tree
        self.preset = preset
        self.jobs = jobs
        self.build = tree.copy / "build" / preset
        self.home = tempfile.TemporaryDirectory()
        self.resources = {}
        listed = subprocess.run(["ctest", "--show-only=json-v1"], cwd=self.build, check=True, capture_output=True)
        self.tests = [Test(entry) for entry in json.loads(listed.stdout)["tests"] if "command" in entry]
        for test in self.tests:
            for resource in test.resources:
                self.resources.setdefault(resource, threading.Lock())
        presets = json.loads((tree.root / "CMakePresets.json").read_text())["testPresets"]
        self.environment = next((p.get("environment", {}) for p in presets if p["name"] == preset), {})

    # -- one run

    def run(self, test, patience, **environment):
        """@return whether the test passed within `patience` seconds, and how many seconds it took"""
        values = {k: v for k, v in os.environ.items() if not k.startswith(("CLOG_", "XDG_"))}
        values.update(self.environment, **test.environment, **environment, HOME=self.home.name)
        locks = [self.resources[r] for r in sorted(test.resources)]
        for lock in locks:
            lock.acquire()
        begin = time.monotonic()
        try:
            process = subprocess.Popen(test.command, cwd=test.folder, env=values, start_new_session=True,
                                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            try:
                passed = process.wait(patience) == 0
            except subprocess.TimeoutExpired:
                passed = False
            kill_group(process)
        finally:
            for lock in locks:
                lock.release()
        return passed, time.monotonic() - begin

    # -- what each test reaches

    def learn(self):
        """Runs every test once without a fault and stores which places it reached, until its program is built again."""
        store = self.tree.work / f"reached-{self.preset}.json"
        stored = json.loads(store.read_text()) if store.exists() else {}
        stamps = self.stamps()
        known = {name: entry for name, entry in stored.items() if entry[0] == stamps.get(name)}
        missing = [test for test in self.tests if test.name not in known]
        if missing:
            print(f"mutants: running {len(missing)} tests once, to learn which places each reaches", flush=True)
            size = max(self.tree.points) + 1
            with ThreadPoolExecutor(self.jobs) as pool:
                for name, *rest in pool.map(lambda test: self.learn_one(test, size), missing):
                    known[name] = [stamps[name], *rest]
            store.write_text(json.dumps(known))
        self.failing = []
        for test in self.tests:
            _, passed, test.seconds, reached = known[test.name]
            if passed:
                test.reached = frozenset(reached)
            else:
                self.failing.append(test.name)

    def learn_from(self, other):
        """Reuses which places another build's tests reach; in this build the tests take longer."""
        known = {test.name: test for test in other.tests}
        self.failing = []
        for test in self.tests:
            if test.name in known:
                test.reached = known[test.name].reached
                test.seconds = 5 * known[test.name].seconds

    def learn_one(self, test, size):
        with tempfile.NamedTemporaryFile(dir=self.home.name) as file:
            file.truncate(size)
            passed, seconds = self.run(test, 300, KTS_MUTANTS_REACHED=file.name)
            with mmap.mmap(file.fileno(), size) as reached:
                numbers = [n for n in self.tree.points if reached[n]]
        return test.name, passed, seconds, numbers

    def stamps(self):
        """
        @return for each test what changes when it must run again: what it runs, when its program was built, and when
                anything was built that is not a test
        """
        built = {str(p): p.stat().st_mtime for folder in ("bin", "lib")
                 for p in (self.build / folder).rglob("*") if p.is_file()}
        tests = {test.command[0] for test in self.tests}
        newest = max(time for path, time in built.items() if path not in tests)
        return {test.name: [len(self.tree.points), test.command, built.get(test.command[0]), newest]
                for test in self.tests}

    # -- whether a fault is noticed

    def nearest(self, number):
        """The tests that reach the place; quick ones that reach few other places come first."""
        reaching = [test for test in self.tests if number in test.reached]
        return sorted(reaching, key=lambda test: len(test.reached) * (0.1 + test.seconds))

    def notice(self, number, budget):
        """
        @return the test that fails with the fault and passes without it, or None; how many tests reach the place; and
                how many of them ran within `budget` seconds
        """
        tests = self.nearest(number)
        end = time.monotonic() + budget
        for done, test in enumerate(tests):
            if time.monotonic() > end:
                return None, len(tests), done
            passed, _ = self.run(test, self.patience(test), KTS_MUTANT=str(number))
            if not passed and self.run(test, 4 * self.patience(test))[0]:
                return test.name, len(tests), done + 1
        return None, len(tests), len(tests)

    @staticmethod
    def patience(test):
        return 10 + 5 * test.seconds


def kill_group(process):
    """Also ends processes that the test started and did not end."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
