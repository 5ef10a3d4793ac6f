#!/usr/bin/env python3
"""Whether a document tells of the fields that the figures of a run have, and of no others:
stats_test.py DOCUMENT PROGRAM

A heading names an object, `streams[]`, and the first column of the table below it its fields. A
field whose row says that it is absent may be missing in a run, and is missing in one of these.
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

# One source that goes by the clock and one that does not, each with all there is to tell.
SOURCES = ("test:?frames=4&size=64x64&rate=240", "test:?frames=4&size=64x64&lossless")


def documented(text):
    """The fields of each object, and those of them that may be absent."""
    fields, optional, name = {}, set(), ""
    for line in text.split("\n"):
        heading = re.match(r"## (.*)", line)
        if heading:
            name = heading[1].strip("`") if "`" in heading[1] else ""
        row = re.match(r"\|([^|]*`[^|]*)\|[^|]*\|(.*)", line)
        if row:
            found = re.findall(r"`(\w+)`", row[1])
            fields.setdefault(name, []).extend(found)
            optional |= {(name, field) for field in found if "Absent" in row[2]}
    return fields, optional


def objects(stats):
    """All objects of the figures, with the headings that they have in the document."""
    yield "", stats
    yield "source", stats["source"]
    for stream in stats["streams"]:
        yield "streams[]", stream
        for sink in stream["sinks"]:
            yield "sinks[]", sink


def run(program, source):
    with tempfile.TemporaryDirectory() as directory:
        command = [program, "run", source, "--out", directory, "--also", "big=copy.ts", "--quiet"]
        # A run on a busy machine may lose all frames of a stream, and has its figures all the same.
        done = subprocess.run(command + ["--stats", "-"], stdout=subprocess.PIPE, check=False)
    return json.loads(done.stdout)


def sums(stats):
    """What does not add up, though the document says that it does."""
    for stream in stats["streams"]:
        fates = "encoded displaced dropped_to_rate not_made intercepted unwanted failed stopped"
        if stream["frames_delivered"] != sum(stream["frames_" + fate] for fate in fates.split()):
            yield f"frames_delivered is no sum: {stream}"
        ends = "written beyond_duration not_written".split()
        if stream["frames_encoded"] != sum(stream["frames_" + end] for end in ends):
            yield f"frames_encoded is no sum: {stream}"
        for sink in stream["sinks"]:
            part = re.compile("frames_(written|not_written|dropped_)")
            parts = [name for name in sink if part.match(name)]
            if sink["frames_handed"] != sum(sink[name] for name in parts):
                yield f"frames_handed is no sum: {sink}"


def compare(fields, optional, runs):
    failures, missing = set(), set()
    for name, found in ((name, set(found)) for stats in runs for name, found in objects(stats)):
        told = set(fields.get(name, []))
        failures |= {f"not in the document: {name}.{field}" for field in found - told}
        missing |= {(name, field) for field in told - found}
    failures |= {f"not in the figures: {name}.{field}" for name, field in missing - optional}
    failures |= {f"never absent: {name}.{field}" for name, field in optional - missing}
    return failures


def main():
    text = pathlib.Path(sys.argv[1]).read_text()
    fields, optional = documented(text)
    runs = [run(sys.argv[2], source) for source in SOURCES]
    failures = compare(fields, optional, runs)
    failures |= {text for stats in runs for text in sums(stats)}
    examples = [json.loads(code) for code in re.findall(r"```json\n(.*?)```", text, re.DOTALL)]
    if not examples:
        failures.add("no example was found")
    for name, found in (pair for example in examples for pair in objects(example)):
        unknown = set(found) - set(fields.get(name, []))
        failures |= {f"in the example alone: {name}.{field}" for field in unknown}
    count = sum(len(found) for found in fields.values())
    print("\n".join(sorted(failures)) or f"{count} fields are as in the figures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
