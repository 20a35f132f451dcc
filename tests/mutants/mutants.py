#!/usr/bin/python3
"""
Puts faults into the production code, one at a time, and prints which ones the tests notice.

All faults are compiled into one copy of the sources, each with a switch, so trying a fault needs no new build. Every
test runs once to learn which places it reaches. A fault is tried with the tests that reach its place, the nearest first,
until one fails. Faults that the plain build does not notice are tried with the other builds that --suites names.
"""

import argparse
import datetime
import hashlib
import re
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.path.append(str(Path(__file__).resolve().parents[1]))
from rooms import ROOMS, room_of
from suite import Suite
from tree import Tree

AIM = 90 # per cent


def judged(root):
    """@return the names of the faults that docs/testing.md lists, with the verdict on each"""
    page = root / "docs/testing.md"
    text = page.read_text() if page.exists() else ""
    rows = re.findall(r"^\| `` (.+?) `` \| (same|unnoticed) \|", text, re.M)
    return {name.replace("\\|", "|"): verdict for name, verdict in rows}


def sample(tree, rooms, count, seed, same):
    """
    @return for each room the faults to try. Whether a fault is chosen depends on its name and the seed: when others are
            added, or judged to have no effect, the rest of the choice stays the same
    """
    chosen = {}
    for room in rooms:
        points = [p for p in tree.usable() if room_of(p.path) == room and p.name() not in same]
        chosen[room] = sorted(points, key=lambda p: hashlib.sha256(f"{seed} {p.name()}".encode()).digest())[:count]
    return chosen


def attempt(suites, point, budget):
    """@return which test notices the fault; if none does, how many tests were tried"""
    tried = []
    for suite in suites:
        name, reaching, ran = suite.notice(point.number, budget)
        if name:
            return f"{suite.preset}: {name}", ""
        tried.append(f"{suite.preset}: {ran} of {reaching} tests")
    return None, ", ".join(tried)


def arguments():
    parser = argparse.ArgumentParser(prog="./dev mutants", description="Prints which faults the tests notice.")
    parser.add_argument("rooms", nargs="*", metavar="ROOM", help=f"all, or some of: {', '.join(ROOMS)}")
    parser.add_argument("--seed", default=datetime.date.today().strftime("%Y%m%d"), help="seed for the choice; default: today's date")
    parser.add_argument("--count", type=int, default=40, help="number of faults per room; default: 40")
    parser.add_argument("--budget", type=float, default=120, help="seconds for each fault and build; default: 120")
    parser.add_argument("--suites", default="dev,asan,tsan", help="builds to try, in this order; default: dev,asan,tsan")
    parser.add_argument("--jobs", type=int, default=3, help="number of tests that run at the same time; default: 3")
    parser.add_argument("--only", help="only the faults whose name contains this text")
    given = parser.parse_args()
    unknown = [room for room in given.rooms if room not in ROOMS]
    if unknown:
        parser.error(f"no such room: {', '.join(unknown)}; there are {', '.join(ROOMS)}")
    return given


def main():
    given = arguments()
    tree = Tree(Path(__file__).resolve().parents[2])
    tree.find()
    verdicts = judged(tree.root)
    stale = set(verdicts) - {point.name() for point in tree.points.values()}
    if stale:
        print("mutants: docs/testing.md judges faults for which the code has no place:", *sorted(stale), sep="\n  ")
    presets = given.suites.split(",")
    for preset in presets:
        tree.build(preset)
    suites = [Suite(tree, preset, given.jobs) for preset in presets]
    suites[0].learn()
    for suite in suites[1:]:
        suite.learn_from(suites[0])
    if suites[0].failing:
        print(f"mutants: these tests fail without a fault too, and are not used: {', '.join(suites[0].failing)}")
    same = {name for name, verdict in verdicts.items() if verdict == "same"}
    chosen = sample(tree, given.rooms or ROOMS, given.count, given.seed, same)
    if given.only:
        chosen = {room: [p for p in tree.usable() if room_of(p.path) == room and given.only in p.name()]
                  for room in chosen}
    print(f"mutants: seed {given.seed}, {sum(map(len, chosen.values()))} of {len(tree.usable())} faults, "
          f"without {len(same)} that are judged to have no effect", flush=True)
    sys.exit(report(chosen, suites, given) or bool(stale))


def report(chosen, suites, given):
    """Prints the score of each room and the faults that no test noticed. @return the exit status"""
    below = []
    print(f"{'room':24} {'faults':>6} {'noticed':>7} {'score':>6}")
    with ThreadPoolExecutor(given.jobs) as pool:
        for room, points in chosen.items():
            results = list(pool.map(lambda p: (p, *attempt(suites, p, given.budget)), points))
            lost = [(p, tried) for p, name, tried in results if not name]
            score = 100 * (len(points) - len(lost)) / len(points) if points else 100
            print(f"{room:24} {len(points):6} {len(points) - len(lost):7} {score:5.1f}%", flush=True)
            for point, tried in lost:
                print(f"  not noticed: line {point.line}: {point.name()} ({tried})", flush=True)
            if score < AIM:
                below.append(room)
    if below:
        print(f"mutants: below {AIM} %: {', '.join(below)}")
    return 1 if below else 0


if __name__ == "__main__":
    main()
