"""Tells in one line how the tests went whose results ctest wrote to a JUnit file, and why some were skipped."""

import collections
import re
import sys
import xml.etree.ElementTree


def reason_of(case):
    """The text of GTEST_SKIP, or the last line that a program wrote before it ended as skipped."""
    output = case.findtext("system-out") or ""
    told = re.search(r": Skipped\n(.+)", output)
    if told:
        return told[1].strip()
    lines = [line.strip() for line in output.splitlines() if line.strip()]
    return lines[-1] if lines else "no reason told"


def summary(path):
    counts = collections.Counter()
    reasons = collections.Counter()
    failed = []
    for case in xml.etree.ElementTree.parse(path).getroot().iter("testcase"):
        status = case.get("status")
        if case.find("skipped") is not None or status in ("disabled", "notrun"):
            counts["skipped"] += 1
            reasons[reason_of(case)] += 1
        elif status == "fail":
            counts["failed"] += 1
            failed.append(case.get("name"))
        else:
            counts["passed"] += 1
    parts = [f"{counts['passed']} tests passed"]
    if failed:
        shown = ", ".join(failed[:5]) + (", ..." if len(failed) > 5 else "")
        parts.append(f"{counts['failed']} failed ({shown})")
    if reasons:
        told = "; ".join(f"{reason} ({count})" for reason, count in reasons.most_common())
        parts.append(f"{counts['skipped']} skipped: {told}")
    return ", ".join(parts)


if __name__ == "__main__":
    try:
        print(summary(sys.argv[1]))
    except (OSError, xml.etree.ElementTree.ParseError) as failure:
        sys.exit(f"check_summary: {failure}")
