"""The names that hosts find in namespace HSL: what is for the library alone lies in the namespaces within it."""

import pathlib
import re
import unittest

HSLOG = pathlib.Path(__file__).resolve().parents[2] / "Shared" / "KXPL" / "include" / "hslog"

# What is declared in namespace HSL itself, by the installed headers. A name belongs here if hosts may use it.
CLASSES = {
    "Bounded", "CCat", "CCollectionThread", "CDeadLog", "CForkGuard", "CLogContext", "CLogManager", "CValue",
    "Category", "CategoryAndLevel", "FormatProblemCallback", "Level", "LevelFilter", "ValueType",
}
FUNCTIONS = {
    "CheckedAddFormatString", "CodeOf", "HSLog", "KeepLines", "LastingFree", "LastingMalloc", "LogManager",
    "MakeLogLast", "NameOf", "RegisterCategory", "SequenceInCallback", "SetLevel", "SetLevels",
    "SetLevelsFromEnvironment", "TakeLogsOfDead", "WhatCodeStandsFor", "WriteCrashLog",
}
CONSTANTS = {"kKeptBytes", "kLastingBytes", "kLeastLastingBytes", "kLevels", "kMostLastingBytes"}

TEMPLATE = re.compile(r"template\s*<(?:[^<>]|<(?:[^<>]|<[^<>]*>)*>)*>")


def code_of(text: str) -> str:
    """Without comments, texts, and what is the preprocessor's."""
    text = re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.DOTALL)
    text = re.sub(r'"(?:[^"\\\n]|\\.)*"', '""', text)
    text = re.sub(r"'(?:[^'\\\n]|\\.)+'", "' '", text)
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", "", text, flags=re.MULTILINE)


def declared(piece: str) -> "str | None":
    """The name that a declaration makes; None where there is none, or one that is declared elsewhere."""
    piece = " ".join(TEMPLATE.sub("", TEMPLATE.sub("", re.sub(r"\[\[.*?\]\]", "", piece))).split())
    if not piece or re.search(r"\w::\w+\s*\(", piece.split("=")[0]):
        return None
    for kind in (r"typedef .*?\(\*(\w+)\)", r"using (\w+) =", r"(?:enum class|enum|class|struct|union) (\w+)",
                 r"[^=]*?(\w+) ?(?:<[^()]*>)?\(", r".*?(\w+) ?(?:<.*>)?(?:\[\])? ?(?:=|$)"):
        found = re.match(kind, piece)
        if found:
            return found[1]
    return piece


def names_in(text: str, namespace: str) -> "set[str]":
    """What is declared in a namespace itself, in none within it."""
    code = code_of(text)
    found: set[str] = set()
    around: list[str | None] = []  # the name of each namespace that is open, None for other braces
    start = 0
    for mark in re.finditer(r"[{};]", code):
        piece = code[start:mark.start()]
        start = mark.end()
        opened = re.search(r"namespace\s*(\w*)\s*$", piece) if mark[0] == "{" else None
        if around == [namespace] and not opened and mark[0] != "}":
            found.add(declared(piece) or "")
        if mark[0] == "{":
            around.append(opened[1] if opened else None)
        elif mark[0] == "}":
            around.pop()
    return found - {""}


class HostNames(unittest.TestCase):
    def test_namespace_holds_what_hosts_may_use_and_no_more(self) -> None:
        headers = [path for folder in (".", "detail", "sinks") for path in sorted((HSLOG / folder).glob("*.h"))]
        self.assertGreater(len(headers), 20)
        found = set().union(*(names_in(path.read_text(), "HSL") for path in headers))
        self.assertEqual(found, CLASSES | FUNCTIONS | CONSTANTS)

    def test_names_are_those_of_the_namespace_itself(self) -> None:
        text = """
            namespace HSL { // a comment; with { marks
            namespace detail { int inner(); struct Inner { int mMember; }; }
            class Forward;
            template <typename T> class Made { void Member(); };
            constexpr int kOne = 1;
            template <int kN> constexpr bool kIs = kN > 1;
            inline void function(int a) { call("};"); }
            typedef void (*Callback)(int);
            void Made::Member() { }
            } // namespace HSL
            namespace Other { int elsewhere; }
        """
        self.assertEqual(names_in(text, "HSL"), {"Forward", "Made", "kOne", "kIs", "function", "Callback"})


unittest.main()
