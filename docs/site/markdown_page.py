"""A Markdown file of this repository, as GitHub shows it: its title, the anchors of its headings, its links."""

import re
import textwrap
from pathlib import Path

FENCE = r"^(?P<fence>```|~~~)[^\n]*\n.*?^(?P=fence)[ ]*$"
CODE = r"(?P<ticks>`+)(?!`).*?(?<!`)(?P=ticks)(?!`)"
LINK = r"(?P<image>!?)\[(?P<text>(?:[^\[\]]|\[[^\]]*\])*)\]\((?P<target>[^()\s]+)\)"
HEADING = r"^(?P<level>#{1,6}) (?P<heading>[^\n]+)$"
BOLD = r"\*\*(?P<bold>[^\s*\[](?:[^*\[\n]|\n(?!\n))*)\*\*"
LIST_TABLE = re.compile(r"(?:^ +\|[^\n]*\|\n)+", re.MULTILINE)
GLOBAL_NAME = r"(?<![\w>)])::"
TOKEN = re.compile(f"{FENCE}|{HEADING}|{LINK}|{BOLD}|{CODE}", re.DOTALL | re.MULTILINE)
QUOTED = re.compile(r"^<!-- from (?P<path>\S+) -->\n```[^\n]*\n(?P<code>.*?)^```$", re.DOTALL | re.MULTILINE)


def anchor_of(heading):
    """@return the anchor that GitHub gives to a heading"""
    plain = re.sub(LINK, r"\g<text>", heading).strip().lower()
    return re.sub(r"[^\w\- ]", "", plain).replace(" ", "-")


def as_html(table):
    """@return a table of a list item in HTML, because Doxygen 1.9 ends the list before one in Markdown"""
    rows = [line.strip().strip("|").split("|") for line in table[0].splitlines()]
    indent = " " * (len(table[0]) - len(table[0].lstrip()))
    text = f"{indent}<table>\n"
    for number, row in enumerate(rows):
        tag = "td" if number else "th"
        if number != 1:  # the line that separates the header
            cells = "".join(f"<{tag}>{cell.strip()}</{tag}>" for cell in row)
            text += f"{indent}<tr>{cells}</tr>\n"
    return f"{text}{indent}</table>\n"


def without_global_names(code):
    """@return code such that Doxygen does not look for the name after a leading "::" among the documented ones"""
    if not re.search(GLOBAL_NAME, code):
        return code
    text = re.sub(r'[\\@&$#<>%"*_\[\]|]', r"\\\g<0>", code.strip("`").strip())
    return f"<code>{re.sub(GLOBAL_NAME, lambda colons: chr(92) + colons[0], text)}</code>"


class MarkdownPage:
    def __init__(self, root: Path, path: Path):
        self.root = root
        self.path = path
        self.id = path.name.removesuffix(".md").replace(".", "_")
        if self.id == "README":
            self.id = f"{path.parent.name}-README"
        self.text = path.read_text(encoding="utf-8")
        self.anchors = {}  # GitHub's anchor of each heading, and the one on the site
        self.title = ""
        for token in TOKEN.finditer(self.text):
            if token["heading"] is None:
                continue
            if not self.title:
                self.title = token["heading"].replace("`", "")
            anchor = anchor_of(token["heading"])
            times = sum(1 for known in self.anchors if re.fullmatch(re.escape(anchor) + r"(-\d+)?", known))
            if times:
                anchor += f"-{times}"
            # Doxygen wants ASCII; a Chinese heading gets its number.
            self.anchors[anchor] = f"{self.id}-{anchor if anchor.isascii() else len(self.anchors)}"

    def where(self, token):
        """@return file and line of a token, for messages"""
        return f"{self.path.relative_to(self.root)}:{self.text.count(chr(10), 0, token.start()) + 1}"

    def links(self):
        """@return the tokens of all links and images"""
        return [token for token in TOKEN.finditer(self.text) if token["target"] is not None]

    def rewritten(self, rewrite_link):
        """@return the text for Doxygen: headings with their anchors, a table of contents if there are several, and what
        rewrite_link makes of the token of each link"""
        anchors = iter(self.anchors.values())

        def rewrite(token):
            if token["heading"] is not None:
                anchor = next(anchors)
                if token["level"] != "#":
                    return f"{token[0].replace('`', '')} {{#{anchor}}}"  # the table of contents would show tags
                return f"{token[0]} {{#{self.id}}}" + ("\n[TOC]\n" if len(self.anchors) > 4 else "")
            if token["target"] is not None:
                return rewrite_link(token)
            if token["bold"] is not None:  # next to code and to Chinese, Doxygen 1.9 would show the asterisks
                return f"<b>{TOKEN.sub(rewrite, token['bold'])}</b>"
            return token[0] if token["ticks"] is None else without_global_names(token[0])

        text = LIST_TABLE.sub(as_html, TOKEN.sub(rewrite, self.text))
        # Between two lines of Chinese there is no space.
        return re.sub(r"(?<=[\u3000-\u9fff\uff00-\uffef])\n *(?=[\u3000-\u9fff])", "", text)

    def false_quotations(self):
        """@return the code blocks after "<!-- from FILE -->" that are no part of that file"""
        return [token for token in QUOTED.finditer(self.text)
                if not is_part(token["code"], self.root / token["path"])]


def is_part(code, path: Path):
    """@return whether the file contains these lines, perhaps indented more"""
    if not path.is_file():
        return False
    wanted = code.rstrip("\n")
    lines = path.read_text(encoding="utf-8").split("\n")
    length = wanted.count("\n") + 1
    return any(textwrap.dedent("\n".join(lines[first:first + length])) == wanted
               for first in range(len(lines) - length + 1))
