"""Formats that only the run knows, and what silences a warning of them, may stand in one place only."""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
RENDERER = "Shared/KXPL/include/hslog/render/HSLStringify.cpp"
TARGETS = "cmake/FallcatchTarget.cmake"
BREAKPAD = "cmake/FallcatchBreakpad.cmake"  # compiles what is Breakpad's own, and leaves its warnings to it

SILENCER = re.compile(r'-Wno-(error=)?format|ignored\s+"-Wformat|-Wformat=0|system_header|[\s"]-w[\s"]')
FORMATTER = re.compile(r"\bv[a-z]*printf\s*\(")
EXCEPTION = re.compile(r"fallcatch_runtime_formats\((.*)\)")


def places(pattern, files):
    """(file, found text) of every line that matches, line comments left out."""
    for file in files:
        for line in file.read_text(encoding="utf-8").splitlines():
            code = re.sub(r"(^|\s)(//|#\s).*", "", line)
            for match in pattern.finditer(code):
                yield str(file.relative_to(root)), match.group()


sources = [f for f in sorted((root / "Shared").rglob("*")) if f.suffix in (".h", ".c", ".cpp", ".mm")]
builds = [f for f in sorted(root.glob("Shared/**/CMakeLists.txt"))] + sorted((root / "cmake").rglob("*.cmake"))
builds += [root / "CMakeLists.txt", root / "CMakePresets.json"]
if len(sources) < 40 or len(builds) < 8:
    sys.exit(f"found only {len(sources)} sources and {len(builds)} build files")

faults = []
silencers = list(places(SILENCER, sources + builds))
if [(file, text.strip()) for file, text in silencers] != [(BREAKPAD, "-w"), (TARGETS, "-Wno-format")]:
    faults.append(f"format warnings are silenced in {silencers}, expected once in {TARGETS}")
exceptions = [text for file, text in places(EXCEPTION, builds) if file != TARGETS]
if exceptions != ["fallcatch_runtime_formats(include/hslog/render/HSLStringify.cpp)"]:
    faults.append(f"sources for run-time formats: {exceptions}")
formatters = list(places(FORMATTER, sources))
if [file for file, _ in formatters] != [RENDERER]:
    faults.append(f"values are formatted from a list in {formatters}, expected once in {RENDERER}")
if faults:
    sys.exit("\n".join(faults))
