"""The framework as a folder, and what a host makes of it."""

import os
import plistlib
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from support import DSYM, FRAMEWORK, SIXTY_FOUR_BIT_SLICES, SOURCES, SYSROOT, TARGETS, on_slices

GLUE = SOURCES / "Shared/DebugTools/Breakpad/Glue"
PACKAGING = SOURCES / "packaging/macos"
STUBS = PACKAGING / "stubs"
HOST = """
{first}
#include <stdio.h>
int main(void)
{{
    int codes[2];
    void* reporter = FallcatchInit(0, L"http://host.example/submit", 0, 0, 0);
    FallcatchSetReportInterval(reporter, 3600);
    printf("%d\\n", GetTestCommandsList(codes, 2));
    FallcatchRelease(reporter);
    return 0;
}}
"""


class Layout(unittest.TestCase):
    def test_is_that_of_a_versioned_framework(self):
        found = {}
        for folder, folders, files in os.walk(FRAMEWORK):
            for name in folders + files:
                path = Path(folder) / name
                key = str(path.relative_to(FRAMEWORK))
                found[key] = os.readlink(path) if path.is_symlink() else "folder" if path.is_dir() else "file"
        if "Versions/A/_CodeSignature" in found:
            del found["Versions/A/_CodeSignature"], found["Versions/A/_CodeSignature/CodeResources"]
        self.assertEqual(found, {
            "Headers": "Versions/Current/Headers",
            "Modules": "Versions/Current/Modules",
            "Resources": "Versions/Current/Resources",
            "Versions": "folder",
            "Versions/A": "folder",
            "Versions/A/Headers": "folder",
            "Versions/A/Headers/fallcatch.h": "file",
            "Versions/A/Modules": "folder",
            "Versions/A/Modules/module.modulemap": "file",
            "Versions/A/Resources": "folder",
            "Versions/A/Resources/Info.plist": "file",
            "Versions/A/Resources/PrivacyInfo.xcprivacy": "file",
            "Versions/A/fallcatch": "file",
            "Versions/Current": "A",
            "fallcatch": "Versions/Current/fallcatch",
        })

    def test_carries_the_public_header_as_it_is(self):
        self.assertEqual(
            (FRAMEWORK / "Headers/fallcatch.h").read_bytes(), (GLUE / "fallcatch.h").read_bytes())

    def test_has_debug_information_in_a_bundle_of_its_own(self):
        with open(DSYM / "Contents/Info.plist", "rb") as file:
            self.assertEqual(plistlib.load(file)["CFBundlePackageType"], "dSYM")


class InformationDictionary(unittest.TestCase):
    def test_describes_the_framework(self):
        with open(FRAMEWORK / "Resources/Info.plist", "rb") as file:
            info = plistlib.load(file)
        header = (SOURCES / "Shared/KXPL/include/FallcatchVersion.h").read_text()
        version = ".".join(re.findall(r"#define FALLCATCH_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)\n", header))
        self.assertEqual(info, {
            "CFBundleDevelopmentRegion": "en",
            "CFBundleExecutable": "fallcatch",
            "CFBundleIdentifier": "org.fallcatch.fallcatch",
            "CFBundleInfoDictionaryVersion": "6.0",
            "CFBundleName": "fallcatch",
            "CFBundlePackageType": "FMWK",
            "CFBundleShortVersionString": version,
            "CFBundleSupportedPlatforms": ["MacOSX"],
            "CFBundleVersion": version,
            "LSMinimumSystemVersion": "10.9",
            "LSMinimumSystemVersionByArchitecture": {"i386": "10.9", "x86_64": "10.13", "arm64": "11.0"},
        })

    def test_of_privacy_names_the_user_default_and_nothing_collected(self):
        with open(FRAMEWORK / "Resources/PrivacyInfo.xcprivacy", "rb") as file:
            privacy = plistlib.load(file)
        self.assertEqual(privacy, {
            "NSPrivacyTracking": False,
            "NSPrivacyTrackingDomains": [],
            "NSPrivacyCollectedDataTypes": [],
            "NSPrivacyAccessedAPITypes": [{
                "NSPrivacyAccessedAPIType": "NSPrivacyAccessedAPICategoryUserDefaults",
                "NSPrivacyAccessedAPITypeReasons": ["CA92.1"],
            }],
        })


@on_slices(SIXTY_FOUR_BIT_SLICES)
class Host:
    """A host application builds with the finished framework alone."""

    def build(self, suffix, first, *options):
        with tempfile.TemporaryDirectory() as folder:
            source = Path(folder) / f"host{suffix}"
            source.write_text(HOST.format(first=first))
            program = Path(folder) / "host"
            done = subprocess.run(
                ["clang++-19" if suffix in (".mm", ".cpp") else "clang-19", "-target", TARGETS[self.slice],
                 "-isysroot", SYSROOT, "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fuse-ld=lld",
                 f"-F{FRAMEWORK.parent}", f"-L{STUBS}", f"-F{STUBS}", *options, source, "-o", program,
                 "-framework", "fallcatch"],
                capture_output=True, text=True, check=False)
            self.assertEqual(done.stderr, "")
            return subprocess.run(
                ["llvm-objdump-19", "--macho", "--bind", "--lazy-bind", program],
                capture_output=True, text=True, check=True).stdout

    def check(self, suffix, first, *options):
        bound = self.build(suffix, first, *options)
        for name in ("Init", "SetReportInterval", "Release"):
            self.assertRegex(bound, rf"fallcatch\s+_Fallcatch{name}\b")
        self.assertRegex(bound, r"fallcatch\s+_GetTestCommandsList\b")

    def test_in_c(self):
        self.check(".c", "#include <fallcatch/fallcatch.h>", "-std=c99")

    def test_in_cpp(self):
        self.check(".cpp", "#include <fallcatch/fallcatch.h>", "-std=c++17")

    def test_in_objective_c_with_modules(self):
        with tempfile.TemporaryDirectory() as cache:
            self.check(".m", "@import fallcatch;", "-fmodules", f"-fmodules-cache-path={cache}")


class Bridge(unittest.TestCase):
    def test_refuses_to_have_its_memory_counted_by_the_compiler(self):
        done = subprocess.run(
            ["clang++-19", "-target", TARGETS["arm64"], "-isysroot", SYSROOT, "-std=c++17", "-fsyntax-only",
             "-fobjc-arc", "-iframework", STUBS, f"-I{SOURCES}/Shared/KXPL/include", GLUE / "fallcatch.mm"],
            capture_output=True, text=True, check=False)
        self.assertIn("error: \"fallcatch.mm manages its memory by hand: compile it without -fobjc-arc", done.stderr)
