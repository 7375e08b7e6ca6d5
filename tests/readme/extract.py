"""Writes a block of a language in a Markdown file to a file of its own: the first, or the one of that number."""

import re
import sys

markdown, language, target = sys.argv[1:4]
number = int(sys.argv[4]) if len(sys.argv) > 4 else 1
with open(markdown, encoding="utf-8") as source:
    blocks = re.findall(rf"^```{re.escape(language)}\n(.*?)^```$", source.read(), re.M | re.S)
if len(blocks) < number:
    sys.exit(f"{markdown} has no block {number} of {language}")
with open(target, "w", encoding="utf-8") as out:
    out.write(blocks[number - 1])
