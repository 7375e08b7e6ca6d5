"""Configures the platform library and the logger with and without a level of fortification of the builder's own.

usage: check_level.py CMAKE COMPILER SOURCE_FOLDER WORK_FOLDER
"""

import os
import re
import shutil
import subprocess
import sys

cmake, compiler, source, work = sys.argv[1:]
for variable in ("CFLAGS", "CXXFLAGS", "LDFLAGS"):
    os.environ.pop(variable, None)
predefined = subprocess.run([compiler, "-O2", "-dM", "-E", "-x", "c++", os.devnull], check=True, capture_output=True,
                            text=True).stdout
if "_FORTIFY_SOURCE" in predefined:
    print("skipped: this compiler fortifies by itself")
    sys.exit(77)


def levels(name, *options):
    """What the sources are told of fortification: a set of options in the order of a command."""
    build = os.path.join(work, name)
    shutil.rmtree(build, ignore_errors=True)
    subprocess.run([cmake, "-S", source, "-B", build, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={compiler}",
                    "-DCMAKE_BUILD_TYPE=Release", "-DFALLCATCH_GLUE=OFF", "-DFALLCATCH_TESTS=OFF", *options],
                   check=True, capture_output=True, timeout=100)
    commands = subprocess.run(["ninja", "-C", build, "-t", "commands", "kxpl"], check=True, capture_output=True,
                              text=True, timeout=100).stdout.splitlines()
    compiled = [line for line in commands if " -c " in line]
    if len(compiled) < 15:
        sys.exit(f"{name}: only {len(compiled)} sources")
    return {tuple(re.findall(r"-[DU]_FORTIFY_SOURCE\S*", line)) for line in compiled}


expected = {
    "none": ([], {("-D_FORTIFY_SOURCE=2",), ("-D_FORTIFY_SOURCE=2", "-U_FORTIFY_SOURCE")}),
    "own": (["-DCMAKE_CXX_FLAGS=-D_FORTIFY_SOURCE=1"],
            {("-D_FORTIFY_SOURCE=1",), ("-D_FORTIFY_SOURCE=1", "-U_FORTIFY_SOURCE")}),
    "sanitized": (["-DCMAKE_CXX_FLAGS=-fsanitize=address"], {(), ("-U_FORTIFY_SOURCE",)}),
    "off": (["-DFALLCATCH_HARDENING=OFF"], {(), ("-U_FORTIFY_SOURCE",)}),
}
for name, (options, wanted) in expected.items():
    found = levels(name, *options)
    if found != wanted:
        sys.exit(f"{name}: {sorted(found)}, expected {sorted(wanted)}")
