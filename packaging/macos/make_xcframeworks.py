#!/usr/bin/env python3
"""Makes fallcatch.xcframework and fallcatch-static.xcframework from the framework and the static libraries.

    make_xcframeworks.py FRAMEWORK OUTPUT LIBRARIES_X86_64 LIBRARIES_ARM64

FRAMEWORK has its .dSYM beside it. Each LIBRARIES is a build's folder, with Shared/KXPL/libkxpl.a and so on in it.
The tools that need such bundles know no 32-bit x86, so that slice stays out."""

import plistlib
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
HEADER = HERE.parents[1] / "Shared/DebugTools/Breakpad/Glue/fallcatch.h"
PROCESSORS = ["arm64", "x86_64"]
IDENTIFIER = "macos-" + "_".join(PROCESSORS)
OLDEST = {"arm64": "11.0", "x86_64": "10.13"}


def write_plist(path, content):
    path.write_bytes(plistlib.dumps(content, sort_keys=True))


def start(bundle, library, binary, more):
    """The bundle with its information, and the folder of its one library."""
    shutil.rmtree(bundle, ignore_errors=True)
    folder = bundle / IDENTIFIER
    folder.mkdir(parents=True)
    write_plist(bundle / "Info.plist", {
        "AvailableLibraries": [{
            "BinaryPath": binary,
            "LibraryIdentifier": IDENTIFIER,
            "LibraryPath": library,
            "SupportedArchitectures": PROCESSORS,
            "SupportedPlatform": "macos",
            **more,
        }],
        "CFBundlePackageType": "XFWK",
        "XCFrameworkFormatVersion": "1.0",
    })
    return folder


def without_i386(binary):
    with tempfile.TemporaryDirectory() as folder:
        thin = [f"{folder}/{processor}" for processor in PROCESSORS]
        for processor, path in zip(PROCESSORS, thin):
            subprocess.run(["llvm-lipo-19", binary, "-thin", processor, "-output", path], check=True)
        subprocess.run(["llvm-lipo-19", "-create", *thin, "-output", binary], check=True)


def make_dynamic(framework, output):
    folder = start(output / "fallcatch.xcframework", "fallcatch.framework", "fallcatch.framework/Versions/A/fallcatch",
                   {"DebugSymbolsPath": "dSYMs"})
    copy = folder / "fallcatch.framework"
    shutil.copytree(framework, copy, symlinks=True)
    without_i386(copy / "Versions/A/fallcatch")
    information = copy / "Versions/A/Resources/Info.plist"
    content = plistlib.loads(information.read_bytes())
    content["LSMinimumSystemVersion"] = OLDEST["x86_64"]
    content["LSMinimumSystemVersionByArchitecture"] = OLDEST
    write_plist(information, content)
    symbols = folder / "dSYMs/fallcatch.framework.dSYM"
    shutil.copytree(f"{framework}.dSYM", symbols)
    without_i386(symbols / "Contents/Resources/DWARF/fallcatch")


def make_static(builds, output):
    folder = start(output / "fallcatch-static.xcframework", "libfallcatch.a", "libfallcatch.a",
                   {"HeadersPath": "Headers"})
    headers = folder / "Headers/fallcatch"
    headers.mkdir(parents=True)
    shutil.copy(HEADER, headers)
    shutil.copy(HERE / "static.modulemap", headers / "module.modulemap")
    thin = []
    for build in builds:
        thin.append(f"{build}/libfallcatch.a")
        subprocess.run(["llvm-libtool-darwin-19", "-static", "-D", "-o", thin[-1],
                        f"{build}/Shared/DebugTools/Breakpad/Glue/libfallcatch_static.a",
                        f"{build}/Shared/KXPL/libkxpl.a"], check=True)
    subprocess.run(["llvm-lipo-19", "-create", *thin, "-output", folder / "libfallcatch.a"], check=True)


def main(framework, output, *builds):
    make_dynamic(Path(framework), Path(output))
    make_static(builds, Path(output))


if __name__ == "__main__":
    main(*sys.argv[1:])
