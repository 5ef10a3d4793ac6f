#!/usr/bin/env python3
"""Whether the documents name what the code has, and nothing else of the kind: names_test.py ROOT"""

import pathlib
import re
import sys


def section(text, heading):
    """What stands below a heading, up to the next one of its rank."""
    return re.split(r"^## ", text.split(f"\n## {heading}\n")[1], maxsplit=1, flags=re.MULTILINE)[0]


def first_column(text):
    rows = re.findall(r"^\|([^|]*)\|", text, re.MULTILINE)
    return [name for row in rows for name in re.findall(r"`([^`]+)`", row)]


def dead_references(root):
    """Links and paths in the documents that lead nowhere."""
    for document in [*root.glob("*.md"), *root.glob("docs/*.md")]:
        text = re.sub(r"^```.*?^```", "", document.read_text(), flags=re.MULTILINE | re.DOTALL)
        links = re.findall(r"\]\(([^)#]+)[^)]*\)", text)
        dead = [link for link in links if ":" not in link and not (document.parent / link).exists()]
        paths = re.findall(r"`([a-z_0-9]+/[\w/]+\.(?:h|cpp|py|md))`", text)
        dead += [path for path in paths if not (root / path).exists()]
        yield from (f"{document.name}: {name} is not there" for name in dead)


def main():
    root = pathlib.Path(sys.argv[1])

    def read(name):
        return (root / name).read_text()

    events = read("docs/events.md")
    failing = section(read("docs/embedding.md"), "When a camera fails")
    codes = re.findall(r"^\| (\d+) \| `(k\w+)` \|", failing, re.MULTILINE)
    folders = {f"{p.name}/" for p in (root / "media").iterdir() if (p / "CMakeLists.txt").exists()}
    rows = first_column(section(read("docs/architecture.md"), "The folders of `media/`"))
    order = re.findall(r'order = (?:order )?"([^"]*)"', read("scripts/check-layering"))
    order = " ".join(order).split()
    error_names = set(re.findall(r"`(k\w+)`", events))
    pairs = {
        "events of the client": (
            set(first_column(section(events, "The client's events"))) - error_names,
            set(re.findall(r"virtual void (On\w+)", read("video/producer/video_producer2.h"))),
        ),
        "codes of an end": (
            set(codes),
            {
                (number, name)
                for name, number in re.findall(
                    r"^ +(k\w+) = (\d+),", read("media/capture/camera_error.h"), re.MULTILINE
                )
            },
        ),
        "folders of media": (set(rows), folders),
    }
    failures = sorted(dead_references(root))
    if [row.rstrip("/") for row in rows] != [name for name in order if f"{name}/" in rows]:
        failures.append("folders of media: not in the order of scripts/check-layering")
    for what, (told, there) in pairs.items():
        if not there:
            failures.append(f"{what}: none was found in the code")
        failures += [f"{what}: {name} is not in the document" for name in sorted(there - told)]
        failures += [f"{what}: {name} is not in the code" for name in sorted(told - there)]
    print("\n".join(failures) or f"{sum(len(there) for _, there in pairs.values())} names agree")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
