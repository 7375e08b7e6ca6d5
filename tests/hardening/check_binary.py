"""Checks a library or program of a hardened build: bound at load time, its tables read-only from then on, no
executable stack, guarded stacks, and nothing left that could have been fortified.

usage: check_binary.py READELF FILE [FUNCTION ...]; these functions, and no others, are there in their plain form
"""

import re
import subprocess
import sys

readelf, binary, *plain_allowed = sys.argv[1:]
FORTIFIABLE = {"sprintf", "snprintf", "vsprintf", "vsnprintf", "printf", "vprintf", "fprintf", "vfprintf", "dprintf",
               "strcpy", "strcat", "stpcpy", "gets", "realpath", "wcscpy"}


def read(*options):
    return subprocess.run([readelf, "-W", *options, binary], check=True, capture_output=True, text=True).stdout


dynamic, segments, symbols = read("--dynamic"), read("--program-headers"), read("--dyn-syms")
imports = set(re.findall(r"\bUND (\w+)", symbols))
faults = []
if not re.search(r"\(FLAGS\).*BIND_NOW", dynamic) or not re.search(r"\(FLAGS_1\).*\bNOW\b", dynamic):
    faults.append("bound lazily")
if "GNU_RELRO" not in segments:
    faults.append("its tables stay writable")
if not re.search(r"GNU_STACK\s.*\sRW\s", segments):
    faults.append("its stack is executable")
if "__stack_chk_fail" not in imports:
    faults.append("its stacks are not guarded")
# The library itself has nothing else that could be fortified.
if "vsnprintf" not in plain_allowed and not any(re.fullmatch(r"__f?printf_chk|__snprintf_chk", i) for i in imports):
    faults.append("nothing is fortified")
if imports & FORTIFIABLE != set(plain_allowed):
    faults.append(f"plain {sorted(imports & FORTIFIABLE)}, expected {plain_allowed}")
if faults:
    sys.exit(f"{binary}: " + "; ".join(faults))
