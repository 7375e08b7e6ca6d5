"""What tools/check_links.py takes for a link that leads nowhere."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools"))
try:
    import check_links
except ImportError:
    print("skipped: no python3-markdown-it")
    sys.exit(77)


class Links(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.page = self.root / "page.md"
        (self.root / "docs").mkdir()
        (self.root / "docs" / "other.md").write_text("# Sharp `edges`: two\n\n## Twice\n\n## Twice\n")

    def fault(self, target):
        self.page.write_text("# Here\n")
        return check_links.fault(self.page, target, self.root)

    def test_file_that_is_there_is_found(self):
        self.assertIsNone(self.fault("docs/other.md"))
        self.assertIsNone(self.fault("docs"))

    def test_missing_file_is_told(self):
        self.assertEqual(self.fault("docs/none.md"), "there is no such file")

    def test_file_outside_the_tree_is_told(self):
        self.assertEqual(self.fault("../elsewhere.md"), "leads out of the tree")

    def test_heading_is_found_by_its_text_without_punctuation(self):
        self.assertIsNone(self.fault("docs/other.md#sharp-edges-two"))

    def test_second_heading_of_a_name_has_a_number(self):
        self.assertIsNone(self.fault("docs/other.md#twice-1"))
        self.assertEqual(self.fault("docs/other.md#twice-2"), "the page has no such heading")

    def test_heading_of_the_page_itself_is_found(self):
        self.assertIsNone(self.fault("#here"))
        self.assertEqual(self.fault("#there"), "the page has no such heading")

    def test_the_web_is_left_alone(self):
        self.assertIsNone(self.fault("http://reports.invalid/none.md"))

    def test_links_and_pictures_are_told_with_their_lines(self):
        self.page.write_text("# Here\n\na [link](a.md)\n\n| cell |\n|---|\n| ![picture](b.svg) |\n\n    [code](c.md)\n")
        self.assertEqual(list(check_links.links(self.page)), [(3, "a.md"), (7, "b.svg")])

    def test_only_pages_that_are_kept_are_looked_at(self):
        self.page.write_text("# Here\n")
        subprocess.run(["git", "init", "-q", str(self.root)], check=True)
        subprocess.run(["git", "add", "page.md"], cwd=self.root, check=True)
        self.assertEqual(check_links.pages(self.root), [self.page])


unittest.main()
