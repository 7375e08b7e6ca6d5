"""The calls that docs/sharp-edges.md shows compile, but for the one that it calls refused."""

import pathlib
import re
import subprocess
import sys
import tempfile

compiler, page, *flags = sys.argv[1:]
block = re.search(r"^```cpp\n(.*?)^```$", pathlib.Path(page).read_text("utf-8"), re.M | re.S)[1]
includes = [line for line in block.splitlines() if line.startswith("#include")]
calls = [line for line in block.splitlines() if line and not line.startswith("#include")]
refused = [call for call in calls if "// refused" in call]
if len(refused) != 1 or len(calls) < 3:
    sys.exit(f"{page} shows {len(calls)} calls, {len(refused)} of them refused")
with tempfile.TemporaryDirectory() as folder:
    for call in calls:
        source = pathlib.Path(folder) / "call.cpp"
        source.write_text("\n".join(["#include <hslog/HSL.h>", *includes, "void call(const char* path)", "{",
                                     "    (void)path;", f"    {call}", "}", ""]))
        result = subprocess.run([compiler, "-std=c++17", "-fsyntax-only", *flags, source], capture_output=True,
                                text=True, check=False)
        if (result.returncode != 0) != (call in refused):
            sys.exit(f"{call}\nended with {result.returncode}\n{result.stderr}")
