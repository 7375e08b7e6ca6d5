"""The line that ./check shows for a part."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, sys.argv.pop(1))
import check_summary

RESULTS = """<?xml version="1.0"?>
<testsuite name="(empty)" tests="6">
  <testcase name="Ring.Writes" status="run"><system-out>fine</system-out></testcase>
  <testcase name="Ring.Reads" status="fail"><failure message=""/><system-out>bad</system-out></testcase>
  <testcase name="Zone.Kolkata" status="notrun"><skipped message="SKIP_REGULAR"/><system-out>[ RUN      ] Zone
/a/b.cpp:12: Skipped
no time zone data

[  SKIPPED ] Zone (0 ms)</system-out></testcase>
  <testcase name="Gdb.Core" status="notrun"><skipped message="SKIP_RETURN_CODE=77"/><system-out>starting
no gdb
</system-out></testcase>
  <testcase name="Gdb.Live" status="notrun"><skipped/><system-out>no gdb</system-out></testcase>
  <testcase name="Old" status="disabled"><skipped message="Disabled"/></testcase>
</testsuite>
"""


class Summary(unittest.TestCase):
    def told(self, text):
        with tempfile.NamedTemporaryFile("w", suffix=".xml") as file:
            file.write(text)
            file.flush()
            return check_summary.summary(pathlib.Path(file.name))

    def test_counts_failures_and_reasons_for_skipping_are_told(self):
        self.assertEqual(self.told(RESULTS), "1 tests passed, 1 failed (Ring.Reads), 4 skipped: no gdb (2); "
                                             "no time zone data (1); no reason told (1)")

    def test_nothing_is_said_of_what_did_not_happen(self):
        self.assertEqual(self.told('<testsuite><testcase name="a" status="run"/></testsuite>'), "1 tests passed")

    def test_more_than_five_failures_are_counted_and_cut(self):
        cases = "".join(f'<testcase name="t{i}" status="fail"/>' for i in range(7))
        self.assertEqual(self.told(f"<testsuite>{cases}</testsuite>"),
                         "0 tests passed, 7 failed (t0, t1, t2, t3, t4, ...)")


if __name__ == "__main__":
    unittest.main()
