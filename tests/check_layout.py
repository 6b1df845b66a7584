#!/usr/bin/env python3
"""Layout rules the build cannot see: names of screens and tests, and no include loops in a folder.

  check_layout.py SRC TESTS
Prints every breach and ends non-zero when there is one.
"""
import pathlib
import re
import sys

src, tests = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
breaches = []

# A widget class outside the widget kit (desktop/) and app/ lives in a *_form file.
widget_base = re.compile(
    r"^\s*class\s+(\w+)(?:\s+final)?\s*:\s*public\s+"
    r"(Q(?:Widget|Dialog|MainWindow|Frame|TableWidget|TableView|TreeView|GroupBox|Label|ScrollArea|"
    r"StyledItemDelegate|Wizard)|SettingsPanel)\b",
    re.M)
for path in sorted(src.glob("*/*")):
    folder = path.parent.name
    if folder in ("desktop", "app") or path.suffix not in (".h", ".cpp"):
        continue
    for match in widget_base.finditer(path.read_text(encoding="utf-8", errors="replace")):
        if "_form" not in path.stem:
            breaches.append(f"{path.relative_to(src.parent)}: widget class {match.group(1)} outside a *_form file")

# Tests are test_<what>.cpp; shared set-up is *_fixture.cpp. Fuzz targets and the support folder
# have their own names.
for path in sorted(tests.glob("*/*.cpp")):
    if path.parent.name in ("fuzz", "support"):
        continue
    if not (path.stem.startswith("test_") or path.stem.endswith("_fixture")):
        breaches.append(f"{path.relative_to(tests.parent)}: a test file is named test_<what>.cpp")

# Within a folder, the files of one name (.h and .cpp together) include each other in no loop.
include = re.compile(r'^\s*#\s*include\s*"([a-z_]+)/([A-Za-z0-9_]+)\.h"', re.M)
for folder in sorted(p for p in src.iterdir() if p.is_dir()):
    edges = {}
    for path in folder.glob("*"):
        if path.suffix not in (".h", ".cpp"):
            continue
        for inc_folder, stem in include.findall(path.read_text(encoding="utf-8", errors="replace")):
            if inc_folder == folder.name and stem != path.stem:
                edges.setdefault(path.stem, set()).add(stem)
    state = {}

    def visit(node, trail):
        state[node] = "open"
        for nxt in sorted(edges.get(node, ())):
            if state.get(nxt) == "open":
                loop = trail[trail.index(nxt):] + [nxt]
                breaches.append(f"src/{folder.name}: include loop " + " -> ".join(loop))
            elif nxt not in state:
                visit(nxt, trail + [nxt])
        state[node] = "done"

    for node in sorted(edges):
        if node not in state:
            visit(node, [node])

for b in breaches:
    print(b)
print(f"{len(breaches)} breach(es)")
sys.exit(1 if breaches else 0)
