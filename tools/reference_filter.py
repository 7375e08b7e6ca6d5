#!/usr/bin/env python3
"""A header's plain comments as Doxygen reads them.

usage: reference_filter.py HEADER

The headers' comments are plain ones. A comment before a declaration is its own, and that of the declarations that
follow without a blank line; one behind a declaration, in the same line, is that one's. What Doxygen would take for
commands in them is text.
"""

import re
import sys
from collections.abc import Iterator
from pathlib import Path

SCOPE = re.compile(r"\b(class|struct|union|enum|namespace)\b|extern \"C\"")


def text_of(comment: str) -> str:
    """Its text with what has a meaning for Doxygen escaped, but not between backticks."""
    parts = comment.split("`")
    return "`".join(re.sub(r"([\\@<>#%&])", r"\\\1", part) if i % 2 == 0 else part for i, part in enumerate(parts))


def without_strings(code: str) -> str:
    return re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])*\'', '""', code)


def split(line: str) -> tuple[str, str | None]:
    """Code and the comment behind it."""
    found = re.search(r"//", without_strings(line))
    if found is None:
        return line, None
    place = line.rindex("//") if line.count("//") == 1 else line.index("//")
    return line[:place], line[place + 2 :].strip()


class Filter:
    def __init__(self, lines: list[str]) -> None:
        self.lines = lines
        self.scopes: list[bool] = []  # for each open brace, whether it holds declarations
        self.comment: list[str] = []
        self.outer: list[list[str]] = []  # the comment in front of each open brace
        self.declaration = ""  # what of it was read
        self.in_macro = False
        self.in_block = False
        self.is_inside = False  # of a macro whose name ends in "_": no host is meant to name it
        self.last_was_code = False
        self.private_at: int | None = None  # how deep the class lies whose private part this is

    def documented(self) -> Iterator[str]:
        for line in self.lines:
            stripped = line.strip()
            if self.in_block or stripped.startswith("/*"):
                # As if each of its lines had begun with two slashes.
                self.in_block = "*/" not in stripped
                line = "// " + stripped.removeprefix("/*").removesuffix("*/").removeprefix("*").strip()
                stripped = line
            if self.private_at is not None:
                yield self.private(line)
            elif self.in_macro or stripped.startswith("#"):
                if not self.in_macro:
                    self.is_inside = bool(re.match(r"#define \w+_\b", stripped))
                    if stripped.startswith("#define") and not self.is_inside:
                        yield from self.own_comment()
                self.in_macro = stripped.endswith("\\")
                yield "" if self.is_inside else line
            elif not all(self.scopes):
                self.count(line)
                yield line
            elif stripped.startswith("//") and not self.declaration:
                if self.last_was_code:
                    self.comment = []
                self.comment.append(stripped[2:])
                self.last_was_code = False
            elif not stripped:
                yield from self.blank()
            else:
                yield from self.code(line)

    def private(self, line: str) -> str:
        """A line of a class's private part, whose own types are left out, or the one that ends it."""
        is_inside = re.match(r"\s*(struct|class|union|enum)\b.*{", line) or len(self.scopes) > (self.private_at or 0)
        if len(self.scopes) == self.private_at and line.strip() in ("public:", "protected:"):
            self.private_at = None
            return line
        self.count(line)
        if len(self.scopes) < (self.private_at or 0):
            self.private_at = None
            return line
        return "" if is_inside else line

    def blank(self) -> Iterator[str]:
        self.comment = []
        self.last_was_code = False
        yield ""

    def own_comment(self) -> Iterator[str]:
        for text in self.comment:
            yield "///" + text_of(text)
        self.last_was_code = True

    def code(self, line: str) -> Iterator[str]:
        code, behind = split(line)
        closes = code.strip().startswith("}")
        access = re.fullmatch(r"\s*(public|protected|private):\s*", code)
        # That of the declarations before is not a destructor's, nor that of one with a comment behind it.
        is_carried = self.last_was_code and (behind is not None or code.strip().startswith(("~", "virtual ~")))
        if not self.declaration and not closes and not access and not is_carried:
            yield from self.own_comment()
        if behind is not None:
            self.last_was_code = True
            yield f"{code.rstrip()} ///< {text_of(behind)}"
        else:
            yield line
        if access and access[1] == "private":
            self.private_at = len(self.scopes)
        self.declaration = "" if closes or access else self.declaration + " " + code
        self.count(code)
        if re.search(r"[;{},]\s*$", code.strip()) and self.balanced():
            self.declaration = ""

    def balanced(self) -> bool:
        text = without_strings(self.declaration)
        return text.count("(") <= text.count(")")

    def count(self, line: str) -> None:
        for character in without_strings(split(line)[0]):
            if character == "{":
                self.scopes.append(bool(SCOPE.search(self.declaration)) and all(self.scopes))
                self.outer.append(self.comment)
                if self.scopes[-1]:
                    self.comment = []
                    self.last_was_code = False
            elif character == "}" and self.scopes:
                # What stands before a class is also that of a function right behind it.
                self.scopes.pop()
                self.comment = self.outer.pop()
                self.last_was_code = True


def main() -> None:
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    lines = Path(sys.argv[1]).read_text(encoding="utf-8").splitlines()
    print("/// \\file")
    print("\n".join(Filter(lines).documented()))


main()
