#!/usr/bin/env python3
"""Compares docs/conformance.md with the tests.

Every row names a behaviour and at least one test that holds it, as `tst_File::function` or, for one
data row of it, `tst_File::function[row]`. Each named test must be a test function of that file's
class, each named data row one of its rows, no behaviour may stand there twice, and every test file
of the module's folders must be named. With --unlisted the test functions that no row names are
printed instead.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / "docs" / "conformance.md"
# Whose test files must all be named; tests of other folders may be.
FOLDERS = ["module", "protocol", "model", "view", "dialog", "widgets"]
HEADER = ["behaviour", "held by"]

STRING = r'"(?:[^"\\\n]|\\.)*"'
TEST = re.compile(r"(tst_\w+)::(\w+)(?:\[(.+)\])?")
NO_TESTS = {"init", "cleanup", "initTestCase", "cleanupTestCase"}


def blank(text):
    """The text with comments and what stands in quotes blanked out, at the same places."""
    def spaces(match):
        found = match.group()
        if found[0] == "'" and match.start() and text[match.start() - 1].isalnum():
            return found  # a separator between digits
        if found[0] in "\"'":
            return found[0] + " " * (len(found) - 2) + found[-1]
        return re.sub(r"[^\n]", " ", found)
    return re.sub(r"//[^\n]*|/\*.*?\*/|" + STRING + r"|'(?:[^'\\\n]|\\.)'", spaces, text,
                  flags=re.DOTALL)


def closing_brace(masked, opening):
    depth = 0
    for place in range(opening, len(masked)):
        depth += {"{": 1, "}": -1}.get(masked[place], 0)
        if depth == 0:
            return place
    return len(masked)


def unquoted(literals):
    text = "".join(literal[1:-1] for literal in re.findall(STRING, literals))
    return re.sub(r"\\(.)", r"\1", text)


class TestFile:
    def __init__(self, path):
        self.path = path.relative_to(ROOT)
        self.text = path.read_text()
        self.masked = blank(self.text)
        self.functions = {}  # name -> line
        self._read_functions()

    def _read_functions(self):
        main = re.search(r"QUOREL2_TEST_MAIN\((\w+)\)|\b(\w+) testObject;", self.masked)
        if not main:
            return
        name = main.group(1) or main.group(2)
        head = re.search(r"\bclass %s\b[^;{]*\{" % name, self.masked)
        if not head:
            return
        end = closing_brace(self.masked, head.end() - 1)
        # Only what stands directly in the class: bodies are blanked out.
        body = list(self.masked[head.end():end])
        depth = 0
        for place, letter in enumerate(body):
            depth -= letter == "}"
            if depth > 0 and letter != "\n":
                body[place] = " "
            depth += letter == "{"
        slots = False
        for match in re.finditer(r"\b(private|protected|public)( slots)?\s*:|\bsignals\s*:|"
                                 r"\bvoid (\w+)\(\)", "".join(body)):
            function = match.group(3)
            if function is None:
                slots = match.group(2) is not None
            elif slots and function not in NO_TESTS and not function.endswith("_data"):
                line = self.text.count("\n", 0, head.end() + match.start()) + 1
                self.functions[function] = line

    def is_built(self):
        build = (ROOT / self.path).with_name("CMakeLists.txt")
        name = self.path.stem[len("tst_"):]
        return build.exists() and re.search(r"(\b|_)%s\b" % name, build.read_text()) is not None

    def _body(self, function):
        match = re.search(r"\bvoid (?:\w+::)?%s\(\)\s*\{" % function, self.masked)
        if not match:
            return None
        start = match.end() - 1
        return slice(start, closing_brace(self.masked, start) + 1)

    def has_row(self, function, row):
        place = self._body(function + "_data")
        if place is None:
            return False
        text, masked = self.text[place], self.masked[place]
        for match in re.finditer(r"\b(newRow|addRow|row)\(", masked):
            first = re.match(r"\s*((?:%s\s*)+)" % STRING, text[match.end():])
            if not first:
                # The rows are named elsewhere: in a list or by a helper.
                if match.group(1) == "newRow" and row in map(unquoted, re.findall(STRING,
                                                                                  self.text)):
                    return True
                continue
            name = unquoted(first.group(1))
            pattern = ".+".join(map(re.escape, re.split(r"%[a-z]", name)))
            if name == row or (match.group(1) == "addRow" and re.fullmatch(pattern, row)):
                return True
        helpers = re.findall(r"\b(\w+)_data\(\);", masked)
        return any(self.has_row(helper, row) for helper in helpers if helper != function)


def cells(line):
    parts = re.split(r"(?<!\\)\|", line.strip())
    return [part.strip() for part in parts[1:-1]]


def read_rows(mistakes):
    """The rows as (line number, behaviour, names of tests)."""
    rows = []
    header = None
    for number, line in enumerate(DOCUMENT.read_text().splitlines(), 1):
        if not line.startswith("|"):
            header = None
            continue
        parts = cells(line)
        if header is None:
            header = parts
            if header != HEADER:
                mistakes.append((number, f"the columns are not {' and '.join(HEADER)}"))
            continue
        if all(re.fullmatch(r":?-+:?", part) for part in parts):
            continue
        if len(parts) != 2 or not parts[0]:
            mistakes.append((number, "a row has a behaviour and its tests, two cells"))
            continue
        names = [name.replace(r"\|", "|") for name in re.findall(r"`([^`]*)`", parts[1])]
        if re.sub(r"`[^`]*`", "`", parts[1]) != ", ".join("`" * len(names)) or not names:
            mistakes.append((number, "the tests are not a list like `tst_File::function`, "
                                     "`tst_File::function[row]`"))
        rows.append((number, parts[0], names))
    return rows


def check_name(name, files):
    match = TEST.fullmatch(name)
    if not match:
        return "is not tst_File::function"
    stem, function, row = match.groups()
    if stem not in files:
        return f"there is no {stem}.cpp"
    file = files[stem]
    if function not in file.functions:
        return f"{file.path} has no such test function"
    if row is not None and not file.has_row(function, row):
        return f"{file.path}:{file.functions[function]} has no such data row"
    return None


def main():
    files = {}
    mistakes = []
    for path in sorted((ROOT / "tests").glob("*/tst_*.cpp")):
        if path.stem in files:
            mistakes.append((0, f"{path.relative_to(ROOT)} and {files[path.stem].path} have the "
                                "same name"))
        files[path.stem] = TestFile(path)
    rows = read_rows(mistakes)

    named = set()
    seen = {}
    for number, behaviour, names in rows:
        words = " ".join(re.findall(r"\w+", behaviour.lower()))
        if words in seen:
            mistakes.append((number, f"the same behaviour as in line {seen[words]}"))
        seen.setdefault(words, number)
        for name in names:
            if names.count(name) > 1:
                mistakes.append((number, f"{name} stands there twice"))
            problem = check_name(name, files)
            if problem:
                mistakes.append((number, f"{name}: {problem}"))
            named.add(name.split("[")[0])
    ours = [file for file in files.values() if file.path.parent.name in FOLDERS]
    for file in ours:
        if not any(name.startswith(file.path.stem + "::") for name in named):
            mistakes.append((0, f"no row names a test of {file.path}"))
        if not file.is_built():
            mistakes.append((0, f"{file.path} stands in no CMakeLists.txt and never runs"))

    if "--unlisted" in sys.argv[1:]:
        for file in ours:
            for function, line in file.functions.items():
                if f"{file.path.stem}::{function}" not in named:
                    print(f"{file.path}:{line}: {function}")
        return 0
    for number, text in sorted(set(mistakes)):
        print(f"{DOCUMENT.relative_to(ROOT)}:{number or 1}: {text}")
    if not mistakes:
        print(f"{len(rows)} behaviours, held by {len(named)} test functions.")
    return 1 if mistakes else 0


sys.exit(main())
