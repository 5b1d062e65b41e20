#!/usr/bin/env python3
"""Prints the branch coverage of the plug-in's folders and every branch that no test takes.

    check_coverage.py build-coverage/coverage.json    figures, misses; fails below the aim
    check_coverage.py                                 only whether docs/coverage.md is up to date

A row of docs/coverage.md explains the missed branches of a line of code, which it quotes. A row
whose line is no longer in its file is out of date, and fails.
"""
import collections
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / "docs" / "coverage.md"
FOLDERS = ["module", "protocol", "model", "view", "dialog", "widgets"]
AIM_PERCENT = 95.0
ROW = re.compile(r"^\| `([^`]+)` \| (`+) ?(.+?) ?\2 \| (.+) \|$")


def explanations():
    """(file, code) -> reason"""
    rows = {}
    for line in DOCUMENT.read_text().splitlines():
        match = ROW.match(line)
        if match:
            rows[match[1], match[3].replace("\\|", "|")] = match[4]
    return rows


def code_lines(path):
    return [line.strip() for line in (ROOT / path).read_text().splitlines()]


def stale_rows(rows):
    return [f"{path}: {code}" for path, code in rows
            if not (ROOT / path).exists() or code not in code_lines(path)]


def percent(taken, total):
    return 100.0 * taken / total if total else 0.0


def main():
    rows = explanations()
    stale = stale_rows(rows)
    for row in stale:
        print(f"docs/coverage.md explains a line that is gone: {row}")
    if len(sys.argv) < 2:
        return 1 if stale else 0

    taken, total = collections.Counter(), collections.Counter()
    explained, unexplained = [], []
    for file in json.loads(pathlib.Path(sys.argv[1]).read_text())["files"]:
        path = file["file"]
        lines = code_lines(path)
        missed = collections.Counter()
        for line in file["lines"]:
            if line["line_number"] > len(lines):
                print(f"{path} has changed since coverage was measured.")
                return 1
            for branch in line["branches"]:
                if branch.get("gcovr/excluded"):
                    continue
                total[path.split("/")[0]] += 1
                if branch["count"]:
                    taken[path.split("/")[0]] += 1
                else:
                    missed[line["line_number"]] += 1
        for number, count in sorted(missed.items()):
            code = lines[number - 1]
            reason = rows.get((path, code))
            (explained if reason else unexplained).append((path, number, count, code, reason))

    print("Branches taken by the tests:")
    for folder in FOLDERS:
        print(f"  {folder:10} {taken[folder]:5} of {total[folder]:5}  "
              f"{percent(taken[folder], total[folder]):6.2f} %")
    overall = percent(sum(taken.values()), sum(total.values()))
    print(f"  {'all':10} {sum(taken.values()):5} of {sum(total.values()):5}  {overall:6.2f} %")
    for title, misses in (("Missed, with a reason:", explained), ("Missed:", unexplained)):
        if misses:
            print(title)
        for path, number, count, code, reason in misses:
            print(f"  {path}:{number} ({count}) {code}" + (f"\n      {reason}" if reason else ""))
    unmeasured = [folder for folder in FOLDERS if not total[folder]]
    for folder in unmeasured:
        print(f"Nothing was measured of {folder}/.")
    if overall < AIM_PERCENT:
        print(f"The aim is {AIM_PERCENT} %.")
    return 1 if stale or unmeasured or overall < AIM_PERCENT else 0


if __name__ == "__main__":
    sys.exit(main())
