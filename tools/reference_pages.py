#!/usr/bin/env python3
"""The tree's pages as HTML, beside the reference.

usage: reference_pages.py OUTPUT

Writes README.md as index.html and each other page under its own name, with the pictures and sources that they link to.
A heading is reached by the name that tools/check_links.py tells for it.
"""

import html
import shutil
import sys
from pathlib import Path
from urllib.parse import urlsplit

from markdown_it import MarkdownIt

from check_links import anchors, links

ROOT = Path(__file__).resolve().parent.parent
STYLE = ROOT / "docs/reference/style.css"
REFERENCE = "api/index.html"
# The source of a page that a tool fills in is no page.
PAGES = [
    ROOT / "README.md",
    *sorted(page for page in ROOT.glob("docs/*.md") if not page.name.endswith(".in.md")),
    *(ROOT / name for name in ("CONTRIBUTING.md", "SECURITY.md", "CHANGELOG.md")),
]


def place_of(page: Path) -> Path:
    relative = page.relative_to(ROOT)
    return Path("index.html") if relative == Path("README.md") else relative.with_suffix(".html")


def way(start: Path, goal: Path) -> str:
    """From one file of the output to another."""
    return "../" * (len(start.parts) - 1) + goal.as_posix()


def led(page: Path, target: str) -> str:
    """A link of the source as one of the output."""
    parts = urlsplit(target)
    if parts.scheme or not parts.path:
        return target
    goal = (page.parent / parts.path).resolve()
    found = way(place_of(page), place_of(goal) if goal in PAGES else goal.relative_to(ROOT))
    return found + (f"#{parts.fragment}" if parts.fragment else "")


def body_of(page: Path) -> str:
    parser = MarkdownIt("commonmark").enable("table")
    tokens = parser.parse(page.read_text(encoding="utf-8"))
    names = iter(anchors(page))
    for token in tokens:
        if token.type == "heading_open":
            token.attrSet("id", next(names))
        for child in token.children or []:
            for attribute in ("href", "src"):
                target = child.attrGet(attribute)
                if target is not None:
                    child.attrSet(attribute, led(page, str(target)))
    return str(parser.renderer.render(tokens, parser.options, {}))


def title_of(page: Path) -> str:
    first = page.read_text(encoding="utf-8").split("\n", 1)[0]
    return first.lstrip("# ").strip()


def write(page: Path, output: Path) -> None:
    place = place_of(page)
    entries = [(way(place, place_of(other)), title_of(other)) for other in PAGES]
    entries.insert(1, (way(place, Path(REFERENCE)), "Reference"))
    navigation = "\n".join(f'<a href="{link}">{html.escape(title)}</a>' for link, title in entries)
    title = html.escape(title_of(page))
    goal = output / place
    goal.parent.mkdir(parents=True, exist_ok=True)
    goal.write_text(
        "<!DOCTYPE html>\n"
        f'<html lang="en"><head><meta charset="utf-8"><title>{title}</title>\n'
        '<meta name="viewport" content="width=device-width"><link rel="icon" href="data:,">\n'
        f'<link rel="stylesheet" href="{way(place, Path(STYLE.name))}"></head>\n'
        f'<body class="page"><nav>\n{navigation}\n</nav>\n<main>\n{body_of(page)}</main></body></html>\n',
        encoding="utf-8",
    )
    for _, target in links(page):
        parts = urlsplit(target)
        source = (page.parent / parts.path).resolve()
        if not parts.scheme and parts.path and source not in PAGES and source.is_file():
            copy = output / source.relative_to(ROOT)
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, copy)


def main() -> None:
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    output = Path(sys.argv[1])
    output.mkdir(parents=True, exist_ok=True)
    shutil.copyfile(STYLE, output / STYLE.name)
    for page in PAGES:
        write(page, output)


if __name__ == "__main__":
    main()
