#!/usr/bin/env python3
"""Prepares the documentation for Doxygen: docs/site/pages.py FOLDER

Writes every page to FOLDER/pages, with links that work on the site, the images to FOLDER/html, and the navigation to
FOLDER/layout.xml. The navigation is that of docs/index.md: each of its headings is a group, each link an entry.

Errors are: a link in any Markdown file of the repository to a file or heading that does not exist; a page to which
docs/index.md has no link; and a code block that is said to come from a file (<!-- from FILE -->) and differs from it.
"""

import re
import shutil
import sys
from pathlib import Path
from xml.sax.saxutils import quoteattr

from markdown_page import MarkdownPage

ROOT = Path(__file__).resolve().parents[2]
HEADERS = "include/ktshttpagent/"
START = "docs/index.md"
OUTSIDE = ["SECURITY.md", "CONTRIBUTING.md", "CHANGELOG.md", "examples/README.md",
           "packaging/windows/README.md"]  # pages that are not in docs/
LANGUAGES = {".cpp": "{.cpp}", ".h": "{.cpp}", ".py": "{.py}", ".xml": "{.xml}"}


class Site:
    def __init__(self, folder: Path):
        self.folder = folder
        self.errors = []
        paths = sorted(ROOT.glob("docs/*.md")) + [ROOT / name for name in OUTSIDE if (ROOT / name).exists()]
        self.pages = {path: MarkdownPage(ROOT, path) for path in paths}
        self.start = self.pages[ROOT / START]
        self.shown = {}  # files and folders that pages link to, and what the site shows for them

    def address(self, page, token):
        """@return where a link leads on the site; None, and an error is noted, if it leads nowhere"""
        target = token["target"]
        if re.match(r"[a-z]+:", target):
            return target
        name, _, anchor = target.partition("#")
        path = (page.path.parent / name).resolve() if name else page.path
        if not path.exists():
            return self.fail(page, token, f"{target} does not exist")
        if path.suffix == ".md" and anchor and not self.has_anchor(path, anchor):
            return self.fail(page, token, f"{target}: the file has no such heading")
        if path == ROOT / "README.md":
            return "index.html"
        if path in self.pages:
            return self.address_of_page(self.pages[path], anchor)
        inside = path.relative_to(ROOT).as_posix()
        if inside.startswith(HEADERS) and path.suffix == ".h":
            return escaped(path.name) + ".html"
        if token["image"]:
            return inside
        return self.show(path) + ".html"

    def has_anchor(self, path, anchor):
        page = self.pages.get(path) or MarkdownPage(ROOT, path)
        return anchor in page.anchors

    def address_of_page(self, page, anchor=""):
        name = "index" if page is self.start else page.id
        if not anchor or anchor == next(iter(page.anchors)):
            return f"{name}.html"
        return f"{name}.html#{page.anchors[anchor]}"

    def fail(self, page, token, what):
        self.errors.append(f"{page.where(token)}: {what}")

    def show(self, path):
        """@return the id of the page that shows a file or folder"""
        name = "file_" + re.sub(r"\W", "_", path.relative_to(ROOT).as_posix())
        self.shown[path] = name
        return name

    def rewrite(self, page):
        def link(token):
            address = self.address(page, token)
            if token["image"]:
                return f'<img src="{address}" alt="{token["text"]}"/>'
            return f"[{self.words(page, token)}]({address})"

        text = page.rewritten(link)
        if page is self.start:
            return text.replace(f"{{#{page.id}}}", "{#mainpage}", 1)
        return text

    def write(self):
        pages = self.folder / "pages"
        shutil.rmtree(pages, ignore_errors=True)
        pages.mkdir(parents=True)
        for page in self.pages.values():
            (pages / f"{page.id}.md").write_text(self.rewrite(page), encoding="utf-8")
        for path, name in self.shown.items():
            (pages / f"{name}.md").write_text(listing(path, name), encoding="utf-8")
        for image in ROOT.glob("docs/images/*"):
            copy = self.folder / "html" / image.relative_to(ROOT)
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(image, copy)
        (self.folder / "layout.xml").write_text(self.layout(), encoding="utf-8")

    def groups(self):
        """@return the headings of the start page, each with the tokens of the links below it"""
        groups = []
        for part in re.split(r"^(?=## )", self.start.text, flags=re.MULTILINE)[1:]:
            links = [token for token in self.start.links() if token[0] in part]
            groups.append((part.splitlines()[0].removeprefix("## "), links))
        return groups

    def layout(self):
        tabs = ['<tab type="mainpage" visible="yes" title="Start"/>']
        for heading, links in self.groups():
            tabs.append(f'<tab type="usergroup" visible="yes" title={quoteattr(heading)}>')
            for token in links:
                tabs.append(f'  <tab type="user" visible="yes" url={quoteattr(self.address(self.start, token) or "")}'
                            f' title={quoteattr(token["text"])}/>')
            tabs.append("</tab>")
        tabs.append('<tab type="classes" visible="yes" title="All types and members">')
        tabs += [f'  <tab type="{kind}" visible="yes" title=""/>' for kind in ("classlist", "classmembers")]
        tabs.append("</tab>")
        # Doxygen's own lists of pages and headers: the groups above take their place.
        tabs += [f'<tab type="{kind}" visible="no" title=""/>' for kind in ("pages", "files", "namespaces")]
        inner = "\n    ".join(tabs)
        return f'<doxygenlayout version="1.0">\n  <navindex>\n    {inner}\n  </navindex>\n</doxygenlayout>\n'

    def words(self, page, token):
        """@return what a link says on the site: the title of a page instead of its file's name"""
        other = self.pages.get((page.path.parent / token["target"].partition("#")[0]).resolve())
        return other.title if other and token["text"].endswith(".md") else token["text"]

    def check(self):
        in_navigation = {(self.start.path.parent / token["target"]).resolve()
                         for _, links in self.groups() for token in links}
        for path in self.pages:
            if path != self.start.path and path not in in_navigation:
                self.errors.append(f"{START}: no link to {path.relative_to(ROOT)}")
        others = [path for path in [*ROOT.glob("*.md"), *ROOT.glob("examples/**/*.md")] if path not in self.pages]
        for page in [*self.pages.values(), *(MarkdownPage(ROOT, path) for path in others)]:
            for token in page.false_quotations():
                self.errors.append(f"{page.where(token)}: this is not in {token['path']}")
            if page.path in others:
                for token in page.links():
                    self.address(page, token)


def escaped(name):
    """@return the name of a file on the site as Doxygen writes it"""
    return name.replace("_", "__").replace(".", "_8")


def listing(path, name):
    """@return a page that shows a file, or the files of a folder"""
    title = path.relative_to(ROOT).as_posix()
    if path.is_file():
        return f"# {title} {{#{name}}}\n\n{code_block(path)}"
    text = f"# {title}/ {{#{name}}}\n\n"
    for number, file in enumerate(sorted(each for each in path.iterdir() if each.is_file())):
        text += f"## {file.name} {{#{name}-{number}}}\n\n{code_block(file)}\n"
    return text


def code_block(path):
    try:
        text = path.read_text(encoding="utf-8")
    except UnicodeDecodeError:
        return "Not a text.\n"
    return f"~~~~~~{LANGUAGES.get(path.suffix, '')}\n{text.rstrip()}\n~~~~~~\n"


def main():
    site = Site(Path(sys.argv[1]))
    site.check()
    site.write()
    for error in dict.fromkeys(site.errors):
        print(error, file=sys.stderr)
    return 1 if site.errors else 0


sys.exit(main())
