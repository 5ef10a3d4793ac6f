#!/usr/bin/env python3
"""Whether the code in a document is still the code it was taken from: excerpts_test.py DOCUMENT

A block of C++ or CMake follows a line `<!-- excerpt: FILE -->` and stands in that file, whatever its
indentation there.
"""

import pathlib
import re
import sys
import textwrap

BLOCK = re.compile(r"(?:<!-- excerpt: (\S+) -->\n)?```(\w*)\n(.*?)```", re.DOTALL)


def normalized(text):
    return "\n".join(line.rstrip() for line in textwrap.dedent(text).strip("\n").split("\n"))


def stands_in(excerpt, source):
    lines = source.split("\n")
    count = excerpt.count("\n") + 1
    starts = range(len(lines) - count + 1)
    return any(normalized("\n".join(lines[i : i + count])) == excerpt for i in starts)


def main():
    document = pathlib.Path(sys.argv[1])
    root = document.resolve().parent.parent
    failures = []
    excerpts = 0
    for source, language, code in BLOCK.findall(document.read_text()):
        first_line = code.split("\n")[0]
        if not source:
            if language in ("cpp", "cmake"):
                failures.append(f"no source is named for: {first_line}")
            continue
        excerpts += 1
        if not stands_in(normalized(code), (root / source).read_text()):
            failures.append(f"{source} has changed since this was taken from it: {first_line}")
    if excerpts == 0:
        failures.append("no excerpt was found")
    print("\n".join(failures) or f"{excerpts} excerpts are as in their sources")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
