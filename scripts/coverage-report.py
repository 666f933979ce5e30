"""Adds up what gcov knows of this project's own lines, per folder and per file.

usage: coverage-report.py [--missed] BUILD-FOLDER, run in the root of the sources
"""

import json
import pathlib
import subprocess
import sys

FOLDERS = {"runtime", "state", "helper", "central", "mount", "agent", "launcher", "sim", "tools"}


def covered_lines(build: pathlib.Path) -> dict[str, dict[int, int]]:
    """Source file -> line -> how often it ran, over all objects of the build."""
    root = pathlib.Path.cwd()
    lines: dict[str, dict[int, int]] = {}
    data = sorted(str(path.resolve()) for path in build.rglob("*.gcda"))
    if not data:
        sys.exit(f"coverage-report: no test left coverage data in {build}")
    output = subprocess.run(
        ["gcov", "--json-format", "--stdout", *data],
        cwd=build, check=True, capture_output=True, text=True).stdout
    for document in output.splitlines():
        unit = json.loads(document)
        for file in unit["files"]:
            path = pathlib.Path(unit["current_working_directory"], file["file"]).resolve()
            if not path.is_relative_to(root):
                continue
            name = str(path.relative_to(root))
            if name.split("/")[0] not in FOLDERS:
                continue
            counts = lines.setdefault(name, {})
            for line in file["lines"]:
                number = line["line_number"]
                counts[number] = counts.get(number, 0) + line["count"]
    return lines


def ranges(numbers: list[int]) -> str:
    parts: list[list[int]] = []
    for number in numbers:
        if parts and number == parts[-1][1] + 1:
            parts[-1][1] = number
        else:
            parts.append([number, number])
    return " ".join(str(a) if a == b else f"{a}-{b}" for a, b in parts)


def main() -> None:
    arguments = sys.argv[1:]
    missed = "--missed" in arguments
    lines = covered_lines(pathlib.Path(arguments[-1]))
    totals: dict[str, list[int]] = {}
    for name in sorted(lines):
        counts = lines[name]
        unreached = sorted(number for number, count in counts.items() if count == 0)
        for key in (name.split("/")[0], "all"):
            total = totals.setdefault(key, [0, 0])
            total[0] += len(counts) - len(unreached)
            total[1] += len(counts)
        if missed and unreached:
            print(f"{name}: {ranges(unreached)}")
    for key, (reached, known) in totals.items():
        if key != "all":
            print(f"{key:10} {reached:6} of {known:6} lines  {100 * reached / known:5.1f} %")
    reached, known = totals["all"]
    print(f"{'all':10} {reached:6} of {known:6} lines  {100 * reached / known:5.1f} %")


if __name__ == "__main__":
    main()
