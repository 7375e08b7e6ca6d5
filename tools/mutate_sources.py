"""Small mistakes that could be made in a C++ source, found line by line."""

import re
from collections.abc import Iterator
from dataclasses import dataclass

KXPL = "Shared/KXPL/"
HSLOG = "Shared/KXPL/include/hslog/"
RECORD_TESTS = ["hsl_log_context_test", "hsl_log_context_write_path_test", "hsl_test"]
# Which test programs a source's mistakes should show up in.
WATCHED = {
    "ring": {
        KXPL + "ring/CCircularBuffer.cpp": ["circularbuffer_test"],
        KXPL + "ring/CircularBuffer.cpp": ["circularbuffer_test"],
        KXPL + "ring/CircularBufferCursor.cpp": ["circularbuffer_test"],
        KXPL + "ring/CircularBufferRead.cpp": ["circularbuffer_test"],
        KXPL + "ring/CircularBufferWrite.cpp": ["circularbuffer_test"],
        KXPL + "ring/CircularBufferPositions.h": ["circularbuffer_test"],
        KXPL + "ring/CircularBufferCursor.h": ["circularbuffer_test", "hslcollect_test"],
        KXPL + "KxShortBytes.h": ["circularbuffer_test", "hslstringify_test"],
        KXPL + "include/CircularBuffer.h": ["circularbuffer_test"],
    },
    "converters": {
        KXPL + "unicode/KxUnicodeUTF8.cpp": ["kxunicode_test"],
        KXPL + "unicode/KxUnicodeUTF16.cpp": ["kxunicode_test"],
        KXPL + "unicode/KxUnicodeUTF32.cpp": ["kxunicode_test"],
        KXPL + "unicode/KxUnicodeConvert.h": ["kxunicode_test"],
        KXPL + "unicode/KxUnicodeLanes.h": ["kxunicode_test"],
        KXPL + "unicode/KxUnicodePutUTF8.h": ["kxunicode_test"],
        KXPL + "unicode/KxUnicodeScalar.h": ["kxunicode_test"],
        KXPL + "unicode/KxUnicodeTakeRuns.h": ["kxunicode_test"],
        KXPL + "unicode/KxUnicodeTakeUTF8.h": ["kxunicode_test"],
    },
    "renderer": {
        HSLOG + "render/HSLDigits.cpp": ["hslshortcuts_test"],
        HSLOG + "render/HSLDigits.h": ["hslshortcuts_test", "hslcollecttime_test"],
        HSLOG + "render/HSLFormatPieces.cpp": ["hslshortcuts_test", "hslstringify_test"],
        HSLOG + "render/HSLFormatPieces.h": ["hslshortcuts_test", "hslstringify_test"],
        HSLOG + "collect/HSLLineHeader.cpp": ["hslcollecttime_test", "hslcollect_test"],
        HSLOG + "render/HSLShortcuts.cpp": ["hslshortcuts_test", "hslstringify_test"],
        HSLOG + "render/HSLStringify.cpp": ["hslshortcuts_test", "hslstringify_test"],
        HSLOG + "render/HSLLogManagerStringify.cpp": ["hslshortcuts_test", "hslstringify_test"],
    },
    "merge": {
        HSLOG + "collect/HSLLogManagerCollect.cpp": ["hslcollect_test"],
        HSLOG + "collect/HSLMerge.h": ["hslmerge_test", "hslcollect_test"],
    },
    "record": {
        HSLOG + "HSLLogContext.cpp": RECORD_TESTS,
        HSLOG + "record/HSLRecordText.cpp": RECORD_TESTS,
        HSLOG + "record/HSLRecord.h": RECORD_TESTS,
        HSLOG + "detail/HSLRecordFields.h": RECORD_TESTS,
        KXPL + "ring/CircularBufferPlace.cpp": RECORD_TESTS,
        KXPL + "ring/CircularBufferWriter.h": RECORD_TESTS,
        KXPL + "include/detail/CircularBufferPlace.h": RECORD_TESTS,
        HSLOG + "HSLLogContext.h": RECORD_TESTS,
        HSLOG + "HSL.cpp": RECORD_TESTS,
        HSLOG + "HSL.h": RECORD_TESTS,
    },
}

SWAPS = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
    "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+=",
    "<<": ">>", ">>": "<<", "&": "|", "|": "&",
}
# Binary operators stand between spaces in this tree, those of types and templates do not.
OPERATOR = re.compile(r"(?<= )(<<|>>|<=|>=|==|!=|&&|\|\||\+=|-=|[-<>+*/%&|])(?= |$)")
STEP = re.compile(r"\+\+|--")
CONSTANT = re.compile(r"(?<![\w.'])(0[xX][0-9a-fA-F]+|[0-9]+)(?=(?:u|ul|ull|U)?(?![\w.']))")
CONDITION = re.compile(r"^(\s*(?:\} else )?(?:if|while) \()(.*)(\) \{)$")
ASSIGNMENT = re.compile(r"^\s*[\w.\[\]>*+()-]+ [-+*/|&^]?= .*;$")
CALL = re.compile(r"^\s*[\w.:>-]+\(.*\);$")
STEP_ALONE = re.compile(r"^\s*(\+\+|--)?[\w.>-]+(\+\+|--)?;$")
NO_STATEMENT = re.compile(r"^\s*(return|break|continue|using|typedef|case|default|else|static_assert)\b")
# Fetching memory ahead changes nothing but speed, which no test is told.
NO_CODE = re.compile(
    r"^\s*(#|template\b|static_assert|using\b|namespace\b|extern\b|KxPrefetchToWrite|__builtin_prefetch)")
LONGEST_CHOICE = 8  # of a table's constants, each so many, so that tables do not outnumber code
TEXT = re.compile(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)*\'|//.*')


@dataclass(frozen=True)
class Mutant:
    file: str
    line: int  # from 1 on
    before: str
    after: str
    kind: str

    @property
    def name(self) -> str:
        return f"{self.file}:{self.line}: {self.before.strip()}  ->  {self.after.strip() or ';'}"


def without_texts(line: str) -> str:
    """The line with texts and comments blanked, so that columns stay."""
    return TEXT.sub(lambda found: "\x01" * len(found.group()), line)


def is_statement(previous: str, line: str) -> bool:
    """Whether the line is one whole statement that something is left to compile without."""
    starts_anew = not previous.strip("\x01 ") or previous.rstrip("\x01 ")[-1:] in tuple(";{}:")
    if not starts_anew or NO_STATEMENT.match(line):
        return False
    return bool(ASSIGNMENT.match(line) or CALL.match(line) or STEP_ALONE.match(line))


def changes_of(previous: str, line: str) -> Iterator[tuple[str, int, int, str | None]]:
    """Kind and new text of each change to a line; both given without texts, whose columns are the same."""
    for found in OPERATOR.finditer(line):
        yield "operator", found.start(), found.end(), SWAPS[found.group()]
    for found in STEP.finditer(line):
        yield "step", found.start(), found.end(), "--" if found.group() == "++" else "++"
    constants = list(CONSTANT.finditer(line))
    for found in constants if len(constants) <= LONGEST_CHOICE else constants[::LONGEST_CHOICE]:
        value = int(found.group(), 0)
        for other in {value + 1, max(value - 1, 0)} - {value}:
            text = hex(other) if found.group().lower().startswith("0x") else str(other)
            yield "constant", found.start(), found.end(), text
    condition = CONDITION.match(line)
    if condition:
        yield "condition", condition.start(2), condition.end(2), None
    if is_statement(previous, line.rstrip("\x01 ")):
        yield "statement", len(line) - len(line.lstrip()), len(line.rstrip("\x01 ")), ";"


def mutants_of(name: str, text: str) -> list[Mutant]:
    found = []
    previous = ""
    for number, whole in enumerate(text.split("\n"), 1):
        line = without_texts(whole)
        if NO_CODE.match(line):
            previous = ";"
            continue
        for kind, start, end, new in changes_of(previous, line):
            replacement = f"!({whole[start:end]})" if new is None else new
            found.append(Mutant(name, number, whole, whole[:start] + replacement + whole[end:], kind))
        if line.strip("\x01 "):
            previous = line
    return found


def programs_of() -> dict[str, list[str]]:
    return {file: programs for files in WATCHED.values() for file, programs in files.items()}
