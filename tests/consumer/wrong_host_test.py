"""Each public header, included first, tells a host that is compiled in a way that cannot work, as the first error."""

import pathlib
import re
import subprocess
import sys

compiler, include, *flags = sys.argv[1:]
headers = [path for folder in (include, f"{include}/hslog") for path in sorted(pathlib.Path(folder).glob("*.h"))
           if path.name != "FallcatchVersion.h"]
WRONG = {
    "-std=c++14": "needs C++17",
    "-D_GLIBCXX_DEBUG": "built without _GLIBCXX_DEBUG",
    "-D_GLIBCXX_USE_CXX11_ABI=0": "strings of C",
    "-DKXPL_BUILT_WITH_GLIBCXX_DEBUG": "compile the host with it",
    "-DKXPL_BUILT_WITH_OLD_STRINGS": "compile the host with it",
}
RIGHT = [[], ["-D_GLIBCXX_DEBUG", "-DKXPL_BUILT_WITH_GLIBCXX_DEBUG"],
         ["-D_GLIBCXX_USE_CXX11_ABI=0", "-DKXPL_BUILT_WITH_OLD_STRINGS"]]


def compile_header(header, options):
    command = [compiler, "-std=c++17", *flags, *options, f"-I{include}", "-fsyntax-only", "-fmax-errors=1"]
    return subprocess.run([*command, "-x", "c++", "-"],
                          input=f"#include <{header.relative_to(include)}>\n", capture_output=True, text=True,
                          check=False)


if len(headers) < 10:
    sys.exit(f"only {len(headers)} headers in {include}")
for header in headers:
    # One header stands for all of them, which include the same one, but for the first that a host may meet.
    for option, message in WRONG.items() if header.name in ("HSL.h", "KxThread.h") else [("-std=c++14", "needs C++17")]:
        result = compile_header(header, [option])
        first = re.search(r"error:.*", result.stderr)
        if result.returncode == 0 or message not in first[0]:
            sys.exit(f"{header.name} with {option}: {result.stderr or 'compiles'}")
for options in RIGHT:
    result = compile_header(headers[-1], options)
    if result.returncode != 0:
        sys.exit(f"{headers[-1].name} with {options}: {result.stderr}")
