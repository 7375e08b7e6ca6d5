"""The recipe for Conan 2, from these sources: conan create packaging/conan"""

import re
from pathlib import Path

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy


class FallcatchConan(ConanFile):
    name = "fallcatch"
    license = "MIT"
    description = "Crash reports and fast logging for desktop applications"
    topics = ("crash", "breakpad", "logging")
    package_type = "static-library"
    settings = "os", "compiler", "build_type", "arch"
    # The bridge needs GNUstep on Linux, which Conan does not carry.
    options = {"glue": [True, False]}
    default_options = {"glue": False}

    def set_version(self):
        header = Path(self.recipe_folder, "../../Shared/KXPL/include/FallcatchVersion.h")
        parts = re.findall(r"#define FALLCATCH_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", header.read_text())
        self.version = ".".join(parts)

    def export_sources(self):
        root = Path(self.recipe_folder, "../..").resolve()
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "packaging/*", "Shared/*"):
            copy(self, pattern, root, self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def validate(self):
        check_min_cppstd(self, 17)
        if self.settings.os not in ("Linux", "Macos"):
            raise ConanInvalidConfiguration("fallcatch runs on Linux and macOS")

    def generate(self):
        toolchain = CMakeToolchain(self)
        for name in ("TESTS", "BENCHMARKS", "EXAMPLES", "BREAKPAD"):
            toolchain.cache_variables[f"FALLCATCH_{name}"] = False
        toolchain.cache_variables["FALLCATCH_GLUE"] = bool(self.options.glue)
        toolchain.generate()
        CMakeDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", self.source_folder, Path(self.package_folder, "licenses"))

    def package_info(self):
        # The package's own fallcatch-config.cmake names the same targets as every other installation.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = ["lib/cmake/fallcatch"]
        self.cpp_info.includedirs = ["include/kxpl"]
        self.cpp_info.libs = ["kxpl"]
        if self.settings.os == "Linux":
            self.cpp_info.system_libs = ["pthread"]
