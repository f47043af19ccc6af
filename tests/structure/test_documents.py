"""Links in the documentation lead to a file, and to a heading of it. Usage: test_documents.py SOURCE"""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop())


def anchors(page):
    headings = re.findall("^#+ (.*)$", page.read_text("utf-8"), re.M)
    return {re.sub(r"[^\w -]", "", heading).lower().replace(" ", "-") for heading in headings}


class Documents(unittest.TestCase):
    def test_links_lead_somewhere(self):
        pages = [page for pattern in ("*.md", "docs/**/*.md", "tests/**/*.md") for page in ROOT.glob(pattern)]
        links = [(page, *link) for page in pages
                 for link in re.findall(r"\]\((?![a-z]+:)([^)#]*)#?([^)]*)\)", page.read_text("utf-8"))]
        self.assertGreater(len(links), 50)
        for page, file, anchor in links:
            target = page.parent / file if file else page
            self.assertTrue(target.exists(), f"{page}: {file}")
            self.assertTrue(not anchor or anchor in anchors(target), f"{page}: {file}#{anchor}")


if __name__ == "__main__":
    unittest.main()
