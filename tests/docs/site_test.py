#!/usr/bin/env python3
"""Tests that the site of the documentation is not built if something is wrong in it. That it is built otherwise,
./dev docs shows before it runs these."""

import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
USED = ("docs", "examples", "include", "packaging", "sdk/requests", "tests/integration/ktsagent")


class Site(unittest.TestCase):
    """Each test changes a copy of what the site is made of."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = Path(folder.name) / "tree"
        self.site = Path(folder.name) / "site"
        for name in USED:
            shutil.copytree(ROOT / name, self.tree / name)
        for path in [*ROOT.glob("*.md"), ROOT / "LICENSE"]:
            shutil.copy(path, self.tree)

    def add(self, name, text):
        with (self.tree / name).open("a", encoding="utf-8") as file:
            file.write(text)

    def replace(self, name, old, new):
        path = self.tree / name
        text = path.read_text(encoding="utf-8")
        self.assertIn(old, text)
        path.write_text(text.replace(old, new, 1), encoding="utf-8")

    def assert_fails(self, *messages):
        run = subprocess.run([self.tree / "docs/build_site.sh", self.site], stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, encoding="utf-8", check=False)
        self.assertNotEqual(run.returncode, 0)
        for message in messages:
            self.assertIn(message, run.stdout)

    def test_fails_for_a_page_with_dead_links(self):
        self.add("docs/tls.md", "\nSee [there](gone.md), [here](outbox.md#gone), ![so](images/gone.png).\n")
        self.assert_fails("docs/tls.md:", "gone.md does not exist", "outbox.md#gone: the file has no such heading",
                          "images/gone.png does not exist")

    def test_fails_for_a_dead_link_in_the_readme(self):
        self.add("README.md", "\nSee [there](docs/gone.md).\n")
        self.assert_fails("README.md:", "docs/gone.md does not exist")

    def test_fails_for_a_page_to_which_nothing_leads(self):
        self.add("docs/lonely.md", "# Lonely\n")
        self.assert_fails("docs/index.md: no link to docs/lonely.md")

    def test_fails_for_a_quotation_that_differs_from_its_file(self):
        self.add("docs/tls.md", "\n<!-- from examples/minimal_host/main.cpp -->\n```cpp\nint main() { return 7; }\n```\n")
        self.assert_fails("this is not in examples/minimal_host/main.cpp")

    def test_fails_for_an_undocumented_symbol_and_a_header_that_names_a_missing_page(self):
        self.add("include/ktshttpagent/KtsMetrics.h", "struct SUndocumented {\n    int nMember;\n};\n")
        self.add("include/ktshttpagent/KtsMetrics.h", "/// See docs/gone.md.\nstruct SDocumented {};\n")
        self.assert_fails("SUndocumented", "reference to 'gone'")

    def test_fails_for_names_that_are_not_explained(self):
        self.add("include/ktshttpagent/KtsMetrics.h", "/// Some.\nenum class ESome { UndocumentedValue };\n")
        self.replace("include/ktshttpagent/RequestRecords.h", "    int wtNumId = 0;",
                     "    int newField = 0; ///< new\n    int wtNumId = 0;")
        self.replace("docs/glossary.md", "| `bjtzser` |", "| |")
        self.replace("docs/glossary.md", "| `电池状态`, ", "| ")
        self.assert_fails("ESome::UndocumentedValue is not documented", "`newField` is missing", "`bjtzser` is missing",
                          "`电池状态` is missing")


class BuiltSite(unittest.TestCase):
    """The check of the links in what Doxygen made."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.site = Path(folder.name)
        self.write("index.html", '<a href="other.html#here">x</a> <a href="https://gone.example/">y</a>')
        self.write("other.html", '<a id="here"></a> <a href="#here">x</a> <a href="index.html">y</a>')

    def write(self, name, text):
        (self.site / name).write_text(text, encoding="utf-8")

    def check(self):
        run = subprocess.run([ROOT / "docs/site/check_links.py", self.site], stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, encoding="utf-8", check=False)
        return run.returncode, run.stdout

    def test_passes_if_every_link_leads_somewhere(self):
        self.assertEqual(self.check(), (0, ""))

    def test_fails_for_a_link_to_a_missing_page(self):
        self.write("other.html", '<a id="here"></a> <a href="gone.html">x</a>')
        self.assertEqual(self.check(), (1, "other.html: dead link: gone.html\n"))

    def test_fails_for_a_link_to_a_missing_anchor(self):
        self.write("other.html", '<a href="#here">x</a>')
        self.assertEqual(self.check(), (1, "index.html: dead link: other.html#here\nother.html: dead link: #here\n"))

    def test_fails_for_a_missing_image(self):
        self.write("other.html", '<a id="here"></a> <img src="gone.png"/>')
        self.assertEqual(self.check(), (1, "other.html: dead link: gone.png\n"))

    def test_fails_for_a_dead_entry_of_the_navigation(self):
        self.write("navtreedata.js", 'var NAVTREE = [ [ "Gone", "gone.html", null ] ];')
        self.assertEqual(self.check(), (1, "navtreedata.js: dead link: gone.html\n"))

    def test_fails_if_there_is_no_site(self):
        (self.site / "index.html").unlink()
        self.assertEqual(self.check()[0], 1)


if __name__ == "__main__":
    unittest.main()
