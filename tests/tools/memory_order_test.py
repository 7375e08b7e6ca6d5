"""The names of the pairs of releases and acquires: both ends stand in the sources, and in the table."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def ends_in_sources():
    """The names of pairs, each with the set of its ends, "release" and "acquire"."""
    ends = {}
    for path in sorted((ROOT / "Shared").rglob("*")):
        if path.suffix in (".h", ".cpp", ".mm"):
            for name, end in re.findall(r"Pair ([A-Z-]+), (release|acquire)", path.read_text()):
                ends.setdefault(name, set()).add(end)
    return ends


class MemoryOrder(unittest.TestCase):
    def test_every_release_has_an_acquire_of_the_same_name(self):
        ends = ends_in_sources()
        self.assertGreater(len(ends), 3)
        for name, found in ends.items():
            self.assertEqual(found, {"release", "acquire"}, name)

    def test_table_lists_the_pairs_of_the_sources(self):
        table = re.findall(r"^\| ([A-Z]+(?:-[A-Z]+)*) \|", (ROOT / "docs/memory-order.md").read_text(), re.MULTILINE)
        self.assertEqual(set(table) - {"SEQUENCE"}, set(ends_in_sources()))

    def test_every_barrier_of_the_library_names_its_pair(self):
        unnamed = []
        for path in sorted((ROOT / "Shared/KXPL").rglob("*")):
            if path.suffix not in (".h", ".cpp") or path.name == "KxAtomic.h":
                continue
            lines = path.read_text().splitlines()
            for number, line in enumerate(lines):
                if re.search(r"Kx(LoadAcquire|StoreRelease)\(", line):
                    above = "\n".join(lines[max(0, number - 6):number])
                    if "Pair " not in above:
                        unnamed.append(f"{path.relative_to(ROOT)}:{number + 1}: {line.strip()}")
        self.assertEqual(unnamed, [])


if __name__ == "__main__":
    unittest.main()
