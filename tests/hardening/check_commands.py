"""Reads how each source of the product was compiled: its format warnings are errors, and a hardened build is
hardened; but for the one source that formats what only the run knows.

usage: check_commands.py SOURCE_FOLDER BUILD_FOLDER hardened|plain
"""

import json
import pathlib
import re
import shlex
import sys

root, build, kind = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]
RENDERER = "HSLStringify.cpp"


def defines_fortify(flags):
    """The level that is in force at the end of a command; None without one."""
    level = None
    for flag in flags:
        match = re.fullmatch(r"-([DU])_FORTIFY_SOURCE(?:=(\d))?", flag)
        if match:
            level = match.group(2) if match.group(1) == "D" else None
    return level


faults = []
renderers = 0
commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
product = 0
for command in commands:
    flags = shlex.split(command["command"])
    file = pathlib.Path(command["file"])
    output = pathlib.Path(command["directory"]) / flags[flags.index("-o") + 1]
    # Not Breakpad's own sources, and not what tests compile for themselves.
    if root / "Shared" not in file.parents or build / "Shared" not in output.parents:
        continue
    product += 1
    name = file.name
    is_renderer = name == RENDERER
    renderers += is_renderer
    is_strict = "-Werror=format-nonliteral" in flags and "-Wno-format-nonliteral" not in flags
    if is_strict == is_renderer or "-Werror=format-security" not in flags:
        faults.append(f"{name}: its format warnings are not as they should be")
    if ("-fstack-protector-strong" in flags) != (kind == "hardened"):
        faults.append(f"{name}: guarded stacks in a build that is {kind}, or none in one that is not")
    by_product = [flag for flag in flags if flag == "-D_FORTIFY_SOURCE=2"]
    if kind == "plain" and by_product:
        faults.append(f"{name}: fortified without optimisation or under a sanitizer")
    if kind == "hardened" and (defines_fortify(flags) is None) != is_renderer and "-U_FORTIFY_SOURCE" not in flags:
        faults.append(f"{name}: not fortified")
    if is_renderer and defines_fortify(flags) is not None:
        faults.append(f"{name}: fortified")
    if len(by_product) > 1:
        faults.append(f"{name}: fortified twice")
if product < 18 or renderers < 1:
    faults.append(f"found only {product} sources, {renderers} of them the renderer's")
if faults:
    sys.exit("\n".join(faults))
