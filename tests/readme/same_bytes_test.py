"""The hosts that the README shows are the files of examples/, byte for byte and in this order."""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
shown = re.findall(r"^```(cmake|c|cpp)\n(.*?)^```$", (root / "README.md").read_text("utf-8"), re.M | re.S)
files = ["minimal-c/CMakeLists.txt", "minimal-c/main.c", "minimal-cpp/CMakeLists.txt", "minimal-cpp/main.cpp"]
if len(shown) != len(files):
    sys.exit(f"README.md has {len(shown)} blocks of code instead of {len(files)}")
for (_, text), file in zip(shown, files):
    if text != (root / "examples" / file).read_text("utf-8"):
        sys.exit(f"README.md and examples/{file} differ")
lines = len((root / "README.md").read_text("utf-8").splitlines())
if lines > 200:
    sys.exit(f"README.md has {lines} lines; a newcomer should get by with 200")
