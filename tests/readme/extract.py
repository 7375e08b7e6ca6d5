"""Writes the first block of a language in a Markdown file to a file of its own."""

import re
import sys

markdown, language, target = sys.argv[1:]
with open(markdown, encoding="utf-8") as source:
    blocks = re.findall(rf"^```{re.escape(language)}\n(.*?)^```$", source.read(), re.M | re.S)
if not blocks:
    sys.exit(f"{markdown} has no block of {language}")
with open(target, "w", encoding="utf-8") as out:
    out.write(blocks[0])
