#!/usr/bin/env python3
"""Compares every include of another folder with the libraries that the folder's build links."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ["host", "model", "protocol", "view", "widgets", "dialog", "module", "controller",
           "standalone"]
# What a folder may link at the most; the build files say what it does link.
ALLOWED = {
    "host": set(),
    "model": set(),
    "protocol": {"host", "model"},
    "view": {"model"},
    "widgets": {"model"},
    "dialog": {"widgets", "view", "protocol", "model", "host"},
    "module": {"dialog", "host"},
    "controller": set(),
    "standalone": {"host", "controller"},
}
WIDGETS = re.compile(r'#include <(QtWidgets/)?(QWidget|QDialog|QMessageBox|QApplication|QGLWidget)>')


def linked(folder):
    text = (ROOT / folder / "CMakeLists.txt").read_text()
    return set(re.findall(r"quorel2_(%s)\b" % "|".join(FOLDERS), text)) - {folder}


def main():
    mistakes = []
    for folder in FOLDERS:
        links = linked(folder)
        for extra in sorted(links - ALLOWED[folder]):
            mistakes.append(f"{folder}/CMakeLists.txt links {extra}")
        for path in sorted((ROOT / folder).glob("*.[ch]*")):
            for number, line in enumerate(path.read_text().splitlines(), 1):
                match = re.match(r'#include [<"]([a-z]+)/', line)
                if match and match.group(1) in FOLDERS and match.group(1) not in links | {folder}:
                    mistakes.append(f"{path.relative_to(ROOT)}:{number}: {line}")
                if folder in ("model", "protocol") and WIDGETS.match(line):
                    mistakes.append(f"{path.relative_to(ROOT)}:{number}: {line}")
    for mistake in mistakes:
        print(mistake)
    return 1 if mistakes else 0


sys.exit(main())
