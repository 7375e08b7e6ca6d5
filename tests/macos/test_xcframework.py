"""The bundles for Swift's package manager and Xcode, their archives, and what names the archives."""

import hashlib
import os
import plistlib
import re
import shutil
import subprocess
import tempfile
import unittest
import zipfile
from pathlib import Path

from support import BUILD, FRAMEWORK, SIXTY_FOUR_BIT_SLICES, SOURCES, SYSROOT, TARGETS, on_slices

OUTPUT = FRAMEWORK.parent
PACKAGING = SOURCES / "packaging/macos"
STUBS = PACKAGING / "stubs"
BUNDLES = ("fallcatch.xcframework", "fallcatch-static.xcframework")
LIBRARY = "macos-arm64_x86_64"
HOST = """
{first}
void* BreakpadCreate(void* configuration) {{ return configuration; }}
void BreakpadSetKeyValue(void* reporter, void* key, void* value) {{ (void)reporter, (void)key, (void)value; }}
void BreakpadRelease(void* reporter) {{ (void)reporter; }}
int main(void)
{{
    int codes[2];
    void* reporter = FallcatchInit(0, L"http://host.example/submit", 0, 0, 0);
    if (reporter != 0) {{
        FallcatchSetReportInterval(reporter, 3600);
        FallcatchRelease(reporter);
    }}
    return GetTestCommandsList(codes, 2);
}}
"""


def read_plist(path):
    return plistlib.loads(Path(path).read_bytes())


def checksum(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def archs(path):
    done = subprocess.run(["llvm-lipo-19", "-archs", path], capture_output=True, text=True, check=True)
    return sorted(done.stdout.split())


class Information(unittest.TestCase):
    def library(self, bundle, **more):
        return {
            "AvailableLibraries": [{
                "LibraryIdentifier": LIBRARY,
                "SupportedArchitectures": ["arm64", "x86_64"],
                "SupportedPlatform": "macos",
                **more,
            }],
            "CFBundlePackageType": "XFWK",
            "XCFrameworkFormatVersion": "1.0",
        }

    def test_of_the_dynamic_bundle_names_framework_and_debug_symbols(self):
        bundle = OUTPUT / "fallcatch.xcframework"
        self.assertEqual(read_plist(bundle / "Info.plist"), self.library(
            bundle, LibraryPath="fallcatch.framework", BinaryPath="fallcatch.framework/Versions/A/fallcatch",
            DebugSymbolsPath="dSYMs"))
        self.assertTrue((bundle / LIBRARY / "fallcatch.framework/Versions/A/fallcatch").is_file())
        self.assertTrue((bundle / LIBRARY / "dSYMs/fallcatch.framework.dSYM").is_dir())

    def test_of_the_static_bundle_names_library_and_headers(self):
        bundle = OUTPUT / "fallcatch-static.xcframework"
        self.assertEqual(read_plist(bundle / "Info.plist"), self.library(
            bundle, LibraryPath="libfallcatch.a", BinaryPath="libfallcatch.a", HeadersPath="Headers"))
        self.assertTrue((bundle / LIBRARY / "libfallcatch.a").is_file())
        self.assertTrue((bundle / LIBRARY / "Headers/fallcatch/fallcatch.h").is_file())


class Content(unittest.TestCase):
    def test_is_for_the_processors_that_it_names(self):
        dynamic = OUTPUT / "fallcatch.xcframework" / LIBRARY
        for path in (dynamic / "fallcatch.framework/fallcatch",
                     dynamic / "dSYMs/fallcatch.framework.dSYM/Contents/Resources/DWARF/fallcatch",
                     OUTPUT / "fallcatch-static.xcframework" / LIBRARY / "libfallcatch.a"):
            self.assertEqual(archs(path), ["arm64", "x86_64"])
        information = read_plist(dynamic / "fallcatch.framework/Resources/Info.plist")
        whole = read_plist(FRAMEWORK / "Resources/Info.plist")
        self.assertEqual(information, {
            **whole, "LSMinimumSystemVersion": "10.13",
            "LSMinimumSystemVersionByArchitecture": {"x86_64": "10.13", "arm64": "11.0"}})

    def test_has_the_debug_information_of_its_binary(self):
        folder = OUTPUT / "fallcatch.xcframework" / LIBRARY
        found = []
        for path in ("fallcatch.framework/fallcatch", "dSYMs/fallcatch.framework.dSYM"):
            done = subprocess.run(["llvm-dwarfdump-19", "--uuid", folder / path], capture_output=True, text=True,
                                  check=True)
            found.append(sorted(re.findall(r"UUID: (\S+)", done.stdout)))
        self.assertEqual(found[0], found[1])
        self.assertEqual(len(found[0]), 2)


class Archive(unittest.TestCase):
    def test_has_the_same_bytes_whenever_and_wherever_it_is_made(self):
        with tempfile.TemporaryDirectory() as folder:
            for bundle in (*BUNDLES, "fallcatch.framework", "fallcatch.framework.dSYM"):
                shutil.copytree(OUTPUT / bundle, f"{folder}/{bundle}", symlinks=True, copy_function=shutil.copyfile)
            subprocess.run([PACKAGING / "make_archives.py", folder, "https://downloads.example"], check=True)
            for bundle in BUNDLES:
                self.assertEqual(checksum(Path(folder, f"{bundle}.zip")), checksum(OUTPUT / f"{bundle}.zip"), bundle)

    def test_keeps_the_links_of_the_framework(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run(["python3", "-m", "zipfile", "-l", OUTPUT / "fallcatch.xcframework.zip"], check=True,
                           capture_output=True)
            with zipfile.ZipFile(OUTPUT / "fallcatch.xcframework.zip") as archive:
                links = {entry.filename: archive.read(entry).decode() for entry in archive.infolist()
                         if entry.external_attr >> 28 == 0o12}
                archive.extractall(folder)
            framework = OUTPUT / "fallcatch.xcframework" / LIBRARY / "fallcatch.framework"
            self.assertEqual(len(links), 5)
            for name, target in links.items():
                self.assertEqual(os.readlink(OUTPUT / name), target)
            self.assertEqual(checksum(Path(folder, "fallcatch.xcframework", LIBRARY, "fallcatch.framework",
                                           "Versions/A/fallcatch")), checksum(framework / "Versions/A/fallcatch"))

    def test_is_named_with_its_checksum_in_the_package(self):
        package = (OUTPUT / "Package.swift").read_text()
        targets = re.findall(r'binaryTarget\(\s*name: "(.*?)",\s*url: "(.*?)",\s*checksum: "(.*?)"\)', package)
        self.assertEqual([(name, url.rsplit("/", 1)[1], found) for name, url, found in targets], [
            (bundle.removesuffix(".xcframework"), f"{bundle}.zip", checksum(OUTPUT / f"{bundle}.zip"))
            for bundle in BUNDLES])
        self.assertNotIn("@", package)

    def test_is_listed_with_its_checksum_in_the_release_notes(self):
        rows = (OUTPUT / "checksums.txt").read_text()
        listed = dict(reversed(row.split("  ")) for row in rows.splitlines())
        self.assertLess({f"{bundle}.zip" for bundle in BUNDLES}, listed.keys())
        for name, found in listed.items():
            self.assertEqual(checksum(OUTPUT / name), found, name)
            self.assertIn(f"    {found}  {name}\n", (OUTPUT / "release-notes.md").read_text())


@on_slices(SIXTY_FOUR_BIT_SLICES)
class StaticHost:
    """Builds with the static bundle alone, as Xcode and Swift's package manager hand it to the compiler."""

    def build(self, suffix, first, *options):
        library = OUTPUT / "fallcatch-static.xcframework" / LIBRARY
        with tempfile.TemporaryDirectory() as folder:
            source = Path(folder, f"host{suffix}")
            source.write_text(HOST.format(first=first))
            done = subprocess.run(
                ["clang-19", "-target", TARGETS[self.slice], "-isysroot", SYSROOT, "-Wall", "-Wextra", "-Werror",
                 "-fuse-ld=lld", f"-I{library / 'Headers'}", f"-F{STUBS}",
                 f"-L{BUILD}/macos-{self.slice}/tests/macos/cross", f"-L{STUBS}", *options, source,
                 library / "libfallcatch.a", "-o", Path(folder, "host")],
                capture_output=True, text=True, check=False)
            self.assertEqual(done.stderr, "")

    def test_in_c(self):
        self.build(".c", "#include <fallcatch/fallcatch.h>", "-lc++", "-lobjc", "-framework", "Foundation")

    def test_in_objective_c_whose_module_names_the_libraries(self):
        with tempfile.TemporaryDirectory() as cache:
            self.build(".m", "@import fallcatch;", "-fmodules", f"-fmodules-cache-path={cache}")
