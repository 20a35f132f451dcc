#!/usr/bin/env python3
"""dead_links.py PREFIX FOLDER: every relative link in an installed page leads to an installed file or folder, and to a
heading of it if it names one. Links to other sites are not followed."""

import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "docs/site"))
from markdown_page import MarkdownPage  # pylint: disable=wrong-import-position


def dead_links(prefix):
    """@return how many links were followed, and in words which of them are dead"""
    followed, dead = 0, []
    for path in sorted((prefix / "share/doc").rglob("*.md")):
        page = MarkdownPage(prefix, path)
        for token in page.links():
            if re.match(r"[a-z]+:", token["target"]):
                continue
            followed += 1
            name, _, anchor = token["target"].partition("#")
            file = (path.parent / name).resolve() if name else path
            if not file.exists() or not file.is_relative_to(prefix):
                dead.append(f"{page.where(token)}: {token['target']} is not installed")
            elif anchor and file.suffix == ".md" and anchor not in MarkdownPage(prefix, file).anchors:
                dead.append(f"{page.where(token)}: {token['target']}: the page has no such heading")
    return followed, dead


def main():
    followed, dead = dead_links(Path(sys.argv[1]).resolve())
    print("\n".join(dead) or f"None of {followed} links is dead.")
    return 1 if dead or followed < 100 else 0


sys.exit(main())
