#!/usr/bin/env python3
"""Zips the two .xcframework bundles of a folder and writes Package.swift and release-notes.md beside them.

    make_archives.py FOLDER URL

URL is where the archives will lie. The same bundles give the same bytes: no times, and names in order."""

import hashlib
import re
import stat
import sys
import zipfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
SOURCES = HERE.parents[1]
BUNDLES = ["fallcatch.xcframework", "fallcatch-static.xcframework"]
LONG_AGO = (1980, 1, 1, 0, 0, 0)  # the first that the format knows


def add(archive, path, name):
    entry = zipfile.ZipInfo(name, LONG_AGO)
    entry.create_system = 3  # Unix, whose modes the attributes are
    if path.is_symlink():
        entry.external_attr = (stat.S_IFLNK | 0o755) << 16
        archive.writestr(entry, str(path.readlink()))
        return
    is_code = path.name == "fallcatch"
    entry.external_attr = (stat.S_IFREG | (0o755 if is_code else 0o644)) << 16
    archive.writestr(entry, path.read_bytes(), zipfile.ZIP_DEFLATED, 9)


def zipped(bundle):
    target = bundle.with_name(f"{bundle.name}.zip")
    paths = [path for path in bundle.rglob("*") if path.is_symlink() or path.is_file()]
    with zipfile.ZipFile(target, "w") as archive:
        for path in sorted(paths, key=lambda path: path.relative_to(bundle).as_posix()):
            add(archive, path, path.relative_to(bundle.parent).as_posix())
    return target


def checksum(path):
    """What "swift package compute-checksum" prints."""
    return hashlib.sha256(path.read_bytes()).hexdigest()


def version():
    text = (SOURCES / "Shared/KXPL/include/FallcatchVersion.h").read_text()
    return ".".join(re.findall(r"#define FALLCATCH_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)\n", text))


def changes():
    """Of this version, or what is not released yet."""
    sections = re.split(r"^## \[(.*?)\].*\n", (SOURCES / "CHANGELOG.md").read_text(), flags=re.MULTILINE)
    by_name = dict(zip(sections[1::2], sections[2::2]))
    text = by_name.get("Unreleased") or by_name.get(version(), "")
    return re.split(r"^## ", text, flags=re.MULTILINE)[0].strip()


def main(folder, url):
    folder = Path(folder)
    archives = [zipped(folder / name) for name in BUNDLES]
    package = (HERE / "Package.swift.in").read_text().replace("@URL@", url.rstrip("/"))
    for archive in archives:
        package = package.replace(f"@{archive.stem}@", checksum(archive))
    (folder / "Package.swift").write_text(package)

    listed = [*archives, folder / "fallcatch.framework/Versions/A/fallcatch",
              folder / "fallcatch.framework.dSYM/Contents/Resources/DWARF/fallcatch"]
    rows = [f"{checksum(path)}  {path.relative_to(folder)}" for path in listed]
    (folder / "checksums.txt").write_text("".join(f"{row}\n" for row in rows))
    (folder / "release-notes.md").write_text("\n".join([
        f"# fallcatch {version()} for macOS", "", changes(), "", "## SHA-256", "",
        "Anybody who builds these sources with the same Debian packages gets the same bytes:", "",
        *(f"    {row}" for row in rows), ""]))


if __name__ == "__main__":
    main(*sys.argv[1:])
