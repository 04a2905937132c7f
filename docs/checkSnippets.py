#!/usr/bin/env python3
"""Checks that every snippet in a header (\\code) and in a page (```cpp) is a part of a program that is built and run.

The lines of a snippet have to follow each other, indentation aside, in a file of docs/snippets/ or examples/."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def lines_of(text, prefix=""):
    """The lines of a text between two newlines, without comment prefix and indentation."""
    return "\n" + "\n".join(re.sub(rf"^\s*{prefix}", "", line).strip() for line in text.splitlines()) + "\n"


def snippets():
    headers = [path for folder in ("foundation", "image", "render") for path in (ROOT / folder).rglob("*.[hd]*")]
    pages = [ROOT / "README.md", *(ROOT / "docs").glob("*.md")]
    for path in headers:
        for match in re.finditer(r"\\code.*?\n(.*?)\n[^\n]*\\endcode", path.read_text(), re.S):
            yield path, lines_of(match[1], "///")
    for path in pages:
        for match in re.finditer(r"```cpp\n(.*?)\n *```", path.read_text(), re.S):
            yield path, lines_of(match[1])


programs = [lines_of(path.read_text()) for folder in ("docs/snippets", "examples") for path in (ROOT / folder).glob("*.cpp")]
count = 0
missing = 0
for path, snippet in snippets():
    count += 1
    if not any(snippet in program for program in programs):
        missing += 1
        print(f"{path.relative_to(ROOT)}: no program of docs/snippets/ or examples/ has this snippet:{snippet}", file=sys.stderr)
print(f"{count} snippets, {missing} of them in no program")
sys.exit(missing > 0 or count == 0)
