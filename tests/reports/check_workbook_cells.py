#!/usr/bin/env python3
"""The .xlsx report as a spreadsheet reads it: amounts and their totals are numbers shown with two
decimals, so the sheet can add them up, while the .txt export of the same report keeps its texts.

Usage: check_workbook_cells.py TLM_MANAGER
Fills a throwaway database with the demo data (with custom field 9 switched on as an amount
column), writes each item type's report as .xlsx and .txt and compares them cell by cell.
Needs python3-openpyxl (scripts/install-deps.sh); without it the check fails.
"""
import os
import re
import sqlite3
import subprocess
import sys
import tempfile
from decimal import Decimal

try:
    import openpyxl
except ImportError:
    sys.exit("check_workbook_cells: python3-openpyxl is missing (scripts/install-deps.sh installs it) "
             "for " + sys.executable)

TWO_DECIMALS = re.compile(r"0\.00(?![0#])")  # "#,##0.00", "0.00"; not "0.000" nor "General"
EXPENSES = "Expenses"  # the title custom field 9 is given
FAILURES = []


def check(condition, what):
    if not condition:
        FAILURES.append(what)
    return condition


def run(tool, args, env):
    done = subprocess.run([tool] + args, env=env, capture_output=True, text=True, timeout=300)
    if done.returncode != 0:
        sys.exit(f"check_workbook_cells: {' '.join(args)} ended with {done.returncode}:\n"
                 f"{done.stdout}{done.stderr}")


def number(text):
    return Decimal(text.replace(",", "")) if text else None


def check_report(tool, env, work, kind, fields, money, plain):
    options = ["report", "--type", kind, "--from", "2000-01-01", "--to", "2099-12-31", "--fields",
               ",".join(fields)]
    xlsx = os.path.join(work, kind + ".xlsx")
    txt = os.path.join(work, kind + ".txt")
    run(tool, options + ["--out", xlsx], env)
    run(tool, options + ["--out", txt], env)
    with open(txt, encoding="utf-8", newline="") as f:
        lines = [line.split("\t") for line in f.read().split("\r\n") if line]
    heading, rows, summary = lines[0], lines[1:-1], lines[-1]
    sheet = openpyxl.load_workbook(xlsx).active
    cells = list(sheet.iter_rows())
    check(len(cells) == len(lines), f"{kind}: {len(cells)} sheet rows for {len(lines)} text lines")
    check([c.value for c in cells[0]] == heading, f"{kind}: headings {[c.value for c in cells[0]]}")
    check(len(rows) > 100, f"{kind}: only {len(rows)} rows")
    for name in money + plain:
        col = heading.index(name)
        total = Decimal(0)
        for r, row in enumerate(rows, start=2):
            cell = sheet.cell(row=r, column=col + 1)
            expected = number(row[col])
            if expected is None:
                check(cell.value is None, f"{kind} {cell.coordinate}: {cell.value!r} for an empty cell")
                continue
            total += expected
            if not check(cell.data_type == "n" and isinstance(cell.value, (int, float)),
                         f"{kind} {cell.coordinate}: {cell.value!r} is no number"):
                break
            check(abs(Decimal(repr(cell.value)) - expected) < Decimal("0.00005"),
                  f"{kind} {cell.coordinate}: {cell.value!r}, the text export says {row[col]}")
            if name in money:
                check(TWO_DECIMALS.search(cell.number_format),
                      f"{kind} {cell.coordinate}: format {cell.number_format!r} shows no two decimals")
        last = sheet.cell(row=len(lines), column=col + 1)
        check(last.data_type == "n" and isinstance(last.value, (int, float)),
              f"{kind} {name} total {last.coordinate}: {last.value!r} is no number")
        check(last.font.b, f"{kind} {name} total {last.coordinate} is not bold")
        if isinstance(last.value, (int, float)):
            check(abs(Decimal(repr(last.value)) - total) < Decimal("0.005"),
                  f"{kind} {name} total {last.value!r}, its cells add up to {total}")
        if name in money:
            check(TWO_DECIMALS.search(last.number_format),
                  f"{kind} {name} total: format {last.number_format!r} shows no two decimals")
            # The text export keeps the total as the page shows it.
            check(re.fullmatch(r"-?\d{1,3}(,\d{3})*\.\d\d", summary[col]) is not None,
                  f"{kind} {name} total in the text export: {summary[col]!r}")
        else:
            check(not TWO_DECIMALS.search(last.number_format),
                  f"{kind} {name} total: {last.number_format!r} shows a count as money")
    # The texts stay texts.
    subject = heading.index("Subject")
    check(all(sheet.cell(row=r, column=subject + 1).data_type == "s" for r in range(2, len(lines))),
          f"{kind}: a subject is no text")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    tool = sys.argv[1]
    with tempfile.TemporaryDirectory() as work:
        env = dict(os.environ)
        for name in ("config", "data", "share", "runtime"):
            os.makedirs(os.path.join(work, name), mode=0o700)
        env.update(XDG_CONFIG_HOME=os.path.join(work, "config"), XDG_DATA_HOME=os.path.join(work, "share"),
                   XDG_RUNTIME_DIR=os.path.join(work, "runtime"), TLM_DEFAULT_DATA_DIR=os.path.join(work, "data"),
                   QT_QPA_PLATFORM="offscreen", ASAN_OPTIONS="detect_leaks=0")
        env.pop("DISPLAY", None)
        run(tool, ["demo"], env)
        db = sqlite3.connect(os.path.join(work, "data", "Tallyloom.db"))
        with db:
            db.executemany("INSERT INTO tGeneralSettings (KeyID, KeyVal, KeyLocal) VALUES (?, ?, 0)",
                           [("tpoActiveCustomField9", "1"), ("tpoTitleCustomField9", EXPENSES)])
        db.close()
        check_report(tool, env, work, "tasks", ["Subject", "Total Cost", EXPENSES, "Actual Work"],
                     ["Total Cost", EXPENSES], ["Actual Work"])
        check_report(tool, env, work, "appointments", ["Subject", "Total Cost", "Duration"], ["Total Cost"],
                     ["Duration"])
    for failure in FAILURES[:20]:
        print("check_workbook_cells:", failure, file=sys.stderr)
    return 1 if FAILURES else 0


if __name__ == "__main__":
    sys.exit(main())
