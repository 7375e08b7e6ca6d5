"""fallcatch.h by itself, in every language that it is for: with each compiler that is there, without a warning.

usage: header_test.py FOLDER COMPILER...    FOLDER holds fallcatch.h
"""

import itertools
import shutil
import subprocess
import sys
import unittest

STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion", "-Werror"]
LANGUAGES = {
    "c": ("-std=c89", "-std=c99", "-std=gnu17"),
    "c++": ("-std=c++98", "-std=c++17", "-std=gnu++20"),
    "objective-c": ("-std=c99", "-std=gnu17"),
    "objective-c++": ("-std=c++17",),
}
HOST = """
#include "fallcatch.h"
void* make(void);
void* make(void)
{
    void* reporter = FallcatchInit(0, L"", 0, 0, 0);
    if (reporter) {
        FallcatchSetReportInterval(reporter, GetTestCommandsList(0, 0));
        FallcatchRelease(reporter);
    }
    return reporter;
}
"""
folder, compilers = "", []


def messages(compiler, language, *options, text=HOST):
    return subprocess.run(
        [compiler, "-fsyntax-only", "-I", folder, "-x", language, *options, "-"],
        input=text, capture_output=True, text=True, check=False).stderr


def speaks(compiler, language):
    return not messages(compiler, language, text="int nothing;")


class Header(unittest.TestCase):
    def test_compiles_without_a_warning_in_every_language(self):
        for compiler, (language, standards) in itertools.product(compilers, LANGUAGES.items()):
            if speaks(compiler, language):
                for standard in standards:
                    with self.subTest(f"{compiler} {language} {standard}"):
                        self.assertEqual(messages(compiler, language, standard, *STRICT), "")

    def test_says_of_every_pointer_whether_it_may_be_null(self):
        options = ("-std=c99", "-Werror", "-Wnullability-completeness", "-Wnullable-to-nonnull-conversion")
        for compiler in (name for name in compilers if "clang" in name):
            self.assertEqual(messages(compiler, "c", *options), "")
            # A handle that may be null is not handed on unseen.
            self.assertIn("nullable-to-nonnull", messages(
                compiler, "c", *options,
                text='#include "fallcatch.h"\nvoid f(void);'
                     'void f(void) { FallcatchRelease(FallcatchInit(0, L"", 0, 0, 0)); }'))


if __name__ == "__main__":
    folder = sys.argv[1]
    compilers = [name for name in sys.argv[2:] if shutil.which(name)]
    assert compilers
    unittest.main(argv=sys.argv[:1])
