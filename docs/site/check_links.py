#!/usr/bin/env python3
"""Finds dead links in a site: docs/site/check_links.py FOLDER

A link, an image or an entry of the navigation must lead to a file of the folder, and to an anchor in it if it names
one. Links to other sites are not followed.
"""

import re
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

IN_SCRIPT = re.compile(r"""["']((?:\.\./)?[\w./-]+\.html(?:#[\w.-]*)?)["']""")


class Page(HTMLParser):
    """The anchors of a page, and where it leads."""

    def __init__(self, path: Path):
        super().__init__()
        self.anchors = set()
        self.targets = set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name == "id" or (tag == "a" and name == "name"):
                self.anchors.add(value)
            elif name in ("href", "src") and value:
                self.targets.add(value)


def main():
    folder = Path(sys.argv[1]).resolve()
    pages = {path: Page(path) for path in folder.rglob("*.html")}
    if folder / "index.html" not in pages:
        print(f"check_links: {folder} has no index.html", file=sys.stderr)
        return 1
    targets = [(path, target) for path, page in pages.items() for target in page.targets]
    for path in folder.rglob("*.js"):
        targets += [(path, target) for target in IN_SCRIPT.findall(path.read_text(encoding="utf-8"))]
    dead = set()
    for path, target in targets:
        parts = urlsplit(target)
        if parts.scheme or parts.netloc:
            continue
        file = (path.parent / unquote(parts.path)).resolve() if parts.path else path
        anchor = unquote(parts.fragment)
        if not file.exists() or (anchor and file in pages and anchor not in pages[file].anchors):
            dead.add(f"{path.relative_to(folder)}: dead link: {target}")
    for line in sorted(dead):
        print(line, file=sys.stderr)
    return 1 if dead else 0


sys.exit(main())
