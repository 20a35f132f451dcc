#!/usr/bin/env python3
"""The steps of the tutorial, and whether its pages show the program of examples/window_host as it is.

    tutorial.py step NUMBER FOLDER   writes the program as it is after a step, over that of the step before
    tutorial.py check                compares the pages with the program

Each step adds a panel: two files, and the lines of main.cpp and CMakeLists.txt that name it.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
PROGRAM = ROOT / "examples/window_host"
PAGES = [ROOT / "docs/tutorial.md", ROOT / "docs/tutorial.zh.md"]
PANELS = [("ProjectsPanel", "pProjects"), ("ChannelCheckPanel", "pCheck"), ("ReportPanel", "pReport")]
STEPS = range(1, len(PANELS) + 2)
GROWING = ["main.cpp", "CMakeLists.txt"]
BLOCK = re.compile(r"^```(?:cpp|cmake)\n(.*?)^```$", re.DOTALL | re.MULTILINE)


def program(step):
    """@return the files of the program after a step, by name"""
    files = {path.name: path.read_text(encoding="utf-8") for path in sorted(PROGRAM.iterdir())}
    for panel, variable in PANELS[step - 1:]:
        for ending in (".h", ".cpp"):
            del files[panel + ending]
        for name in GROWING:
            kept = [line for line in files[name].splitlines(keepends=True) if not re.search(f"{panel}|{variable}", line)]
            files[name] = re.sub(r"\n{3,}", "\n\n", "".join(kept))
    return files


def write(step, folder):
    folder.mkdir(parents=True, exist_ok=True)
    for name, text in program(step).items():
        file = folder / name
        if not file.exists() or file.read_text(encoding="utf-8") != text:  # so only what is new is compiled
            file.write_text(text, encoding="utf-8")


def errors():
    """@return what is wrong with the pages, in words"""
    texts = [text for step in STEPS for text in program(step).values()]
    pages = {page.name: BLOCK.findall(page.read_text(encoding="utf-8")) for page in PAGES}
    for name, blocks in pages.items():
        for block in blocks:
            if not any(("\n" + block) in ("\n" + text) for text in texts):
                yield f"{name}: the program does not contain this block:\n{block}"
        shown = {line for block in blocks for line in block.splitlines()}
        for file, text in program(STEPS[-1]).items():
            for line in text.splitlines():
                if line not in shown and line.strip():
                    yield f"{name} does not show this line of {file}: {line}"
    first, second = pages
    if pages[first] != pages[second]:
        yield f"{first} and {second} don't show the same blocks in the same order"


def main(arguments):
    if arguments[:1] == ["step"]:
        write(int(arguments[1]), Path(arguments[2]))
        return 0
    found = list(errors())
    print("\n".join(found) or "The pages show the program as it is.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
