#!/usr/bin/env python3
"""Links within and between the pages of a source tree: tells those that lead nowhere.

usage: check_links.py [FOLDER]

A link is a file or folder of the tree, a heading of a page, or both. Links to the web are not followed. A heading's
name is made of its text as the forges that show Markdown do it: lower case, blanks as hyphens, no punctuation, a
number behind it when the page has the heading more than once.
"""

import re
import subprocess
import sys
from collections.abc import Iterator
from pathlib import Path
from urllib.parse import unquote, urlsplit

from markdown_it import MarkdownIt
from markdown_it.token import Token


def tokens(page: Path) -> list[Token]:
    return MarkdownIt("commonmark").enable("table").parse(page.read_text(encoding="utf-8"))


def plain_text(heading: Token) -> str:
    return "".join(child.content for child in heading.children or [] if child.type in ("text", "code_inline"))


def anchors(page: Path) -> list[str]:
    """The names by which a link can reach a page's headings, in their order."""
    found: list[str] = []
    parsed = tokens(page)
    for before, token in zip(parsed, parsed[1:], strict=False):
        if before.type != "heading_open":
            continue
        base = re.sub(r"[^\w\- ]", "", plain_text(token).strip().lower()).replace(" ", "-")
        name, number = base, 0
        while name in found:
            number += 1
            name = f"{base}-{number}"
        found.append(name)
    return found


def links(page: Path) -> Iterator[tuple[int, str]]:
    """(line, target) of each link and picture."""
    for token in tokens(page):
        for child in token.children or []:
            target = child.attrGet("href" if child.type == "link_open" else "src")
            if child.type in ("link_open", "image") and target is not None:
                yield (token.map or [0])[0] + 1, str(target)


def fault(page: Path, target: str, root: Path) -> str | None:
    """What is wrong with a link, or None."""
    parts = urlsplit(target)
    if parts.scheme or parts.netloc:
        return None
    goal = (page.parent / unquote(parts.path)).resolve() if parts.path else page.resolve()
    if not goal.is_relative_to(root.resolve()):
        return "leads out of the tree"
    if not goal.exists():
        return "there is no such file"
    if parts.fragment and goal.suffix == ".md" and unquote(parts.fragment) not in anchors(goal):
        return "the page has no such heading"
    return None


def pages(root: Path) -> list[Path]:
    listed = subprocess.run(["git", "ls-files", "*.md"], cwd=root, capture_output=True, text=True, check=True)
    return [root / name for name in listed.stdout.splitlines() if (root / name).exists()]


def main() -> int:
    root = Path(sys.argv[1] if len(sys.argv) > 1 else ".")
    faults = 0
    for page in pages(root):
        for line, target in links(page):
            wrong = fault(page, target, root)
            if wrong:
                faults += 1
                print(f"{page.relative_to(root)}:{line}: {target}: {wrong}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
