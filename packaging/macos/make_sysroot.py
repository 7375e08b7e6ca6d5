"""Makes a folder that clang takes with -isysroot from a wheel that carries Darwin's C headers.

usage: make_sysroot.py WHEEL FOLDER
"""

import re
import sys
import zipfile
from pathlib import Path

HEADERS = re.compile(r"^ziglang/lib/libc/include/any-darwin-any/(.+[^/])$")
LIBRARY_LIST = "ziglang/lib/libc/darwin/libSystem.tbd"


def targets_for_lld(text):
    """lld 19 refuses the whole list for one processor that it does not know, and takes what a library exports
    for arm64e as absent on arm64."""
    text = re.sub(r"arm64e\.x1-\w+,?\s*", "", text)
    text = text.replace("arm64e-", "arm64-")
    return re.sub(r",\s*\]", " ]", text)


def write(path, data):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(data)


def main(wheel, folder):
    folder = Path(folder)
    count = 0
    with zipfile.ZipFile(wheel) as archive:
        for name in archive.namelist():
            match = HEADERS.match(name)
            if match:
                write(folder / "usr/include" / match.group(1), archive.read(name))
                count += 1
        text = archive.read(LIBRARY_LIST).decode()
        write(folder / "usr/lib/libSystem.tbd", targets_for_lld(text).encode())
    if count == 0:
        sys.exit(f"{wheel}: no headers of Darwin in it")


if __name__ == "__main__":
    main(*sys.argv[1:])
