#!/usr/bin/env python3
"""The manual page and the bash completion against the program's own --help texts.

  check_manual.py PROGRAM MANPAGE COMPLETION
Every command, option, sub-command word, section number and exit code a --help text names must be
in the manual page (options under their command's heading), and the completion must offer it.
Prints every breach and ends non-zero when there is one.
"""
import os
import re
import subprocess
import sys

program, manpage, completion = sys.argv[1:4]
breaches = []
env = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "WAYLAND_DISPLAY")}

OPTION = re.compile(r"(?<![\w-])(--?[a-z][a-z0-9-]*)")


def run(*args):
    p = subprocess.run([program, *args], capture_output=True, text=True, env=env, timeout=120)
    return p.returncode, p.stdout, p.stderr


def help_of(*args):
    code, out, err = run(*args, "--help")
    if code != 0 or not out.startswith("Usage:"):
        breaches.append(f"tlm-manager {' '.join(args)} --help: exit {code}, {out[:80]!r} {err[:200]!r}")
    return out


def usage_words(text, tool):
    """Lower-case words after "tlm-manager TOOL" in the usage lines: sub-commands and fixed values."""
    words = []
    for line in text.splitlines():
        m = re.search(r"tlm-manager " + tool + r"\b(.*)", line)
        if m and (line.startswith("Usage:") or line.startswith(" ")):
            words += [w for w in re.split(r"[\s\[\]|,()]+", m.group(1)) if re.fullmatch(r"[a-z]+", w)]
    return words


def exit_codes(text):
    m = re.search(r"Exit codes:(.*?)(?:\n\n|\Z)", text, re.S)
    return set(re.findall(r"(?<![\d-])(\d+)(?= )", m.group(1))) if m else set()


# The manual page as plain text per heading: font changes and escapes taken out.
def plain(line):
    line = re.sub(r"\\f[BIRP]|\\%|\\&", "", line)
    line = line.replace("\\-", "-").replace("\\(dq", '"').replace("\\e", "\\")
    return re.sub(r"^\.(?:B|I|BR|RB|BI|IB|IR|RI|TP|TQ|PP|EX|EE)\b ?", "", line)


headings = {}
current = None
with open(manpage, encoding="utf-8") as f:
    for raw in f:
        raw = raw.rstrip("\n")
        m = re.match(r'^\.(SH|SS) "?([^"]*)"?$', raw)
        if m:
            current = plain(m.group(2)).strip()
            headings[current] = []
        elif current is not None and not raw.startswith('.\\"'):
            headings[current].append(plain(raw))
text_of = {h: "\n".join(lines) for h, lines in headings.items()}


def has_token(text, token):
    return re.search(r"(?<![\w-])" + re.escape(token) + r"(?![\w-])", text) is not None


def man_needs(heading, tokens, what):
    text = text_of.get(heading)
    if text is None:
        breaches.append(f"{manpage}: no heading {heading!r}")
        return
    for t in sorted(set(tokens)):
        if not has_token(text, t):
            breaches.append(f"{manpage}: {what} {t} is missing under {heading!r}")


# What the completion offers after the given words, the last being the word being completed.
def offered(*words):
    script = (
        f"source {completion!s}\n"
        'COMP_WORDS=(tlm-manager "$@"); COMP_CWORD=$(( ${#COMP_WORDS[@]} - 1 )); COMPREPLY=()\n'
        '_tlm_manager 2>/dev/null; printf "%s\\n" "${COMPREPLY[@]}"\n'
    )
    p = subprocess.run(["bash", "-c", script, "bash", *words], capture_output=True, text=True, timeout=30)
    if p.returncode != 0:
        breaches.append(f"{completion}: completing {words!r} failed: {p.stderr.strip()}")
    return set(filter(None, p.stdout.split("\n")))


p = subprocess.run(["bash", "-c", f"source {completion}; complete -p tlm-manager"], capture_output=True,
                   text=True, timeout=30)
if p.returncode != 0 or "-F _tlm_manager" not in p.stdout:
    breaches.append(f"{completion}: does not register a completion for tlm-manager: {p.stderr.strip()}")

# The program itself: sections, commands, its options and exit codes.
top = help_of()
sections = re.findall(r"^\s+(-?\d+)\s{2}", top, re.M)
m = re.search(r"tlm-manager ((?:[a-z]+\|)+[a-z]+)", top)
tools = m.group(1).split("|") if m else []
# A command the page describes must exist too: its --help is checked like the others.
tools += [h.split()[1] for h in headings if re.fullmatch(r"tlm-manager [a-z]+", h) and h.split()[1] not in tools]
if not sections or not tools:
    breaches.append(f"tlm-manager --help: no section table or no commands found in {top[:200]!r}")
man_needs("SECTIONS", sections, "section")
man_needs("OPTIONS", OPTION.findall(top.split("Sections:")[0]), "option")
codes = exit_codes(top)
first_words = offered("")
for s in sections:
    if s not in first_words:
        breaches.append(f"{completion}: section {s} is not offered")
for t in tools:
    if t not in first_words:
        breaches.append(f"{completion}: command {t} is not offered")
for o in ("--help", "--version"):
    if o not in first_words:
        breaches.append(f"{completion}: {o} is not offered")

# Each command: its options and words under its heading, and offered where they can be typed.
for tool in tools:
    text = help_of(tool)
    heading = f"tlm-manager {tool}"
    options = [o for o in OPTION.findall(text) if o != "-"]
    words = usage_words(text, tool)
    man_needs(heading, options + words, "option or word")
    codes |= exit_codes(text)
    for w in sorted(set(words)):
        contexts = [(tool, w), (tool, "--type", w)]
        if not any(w in offered(*c) for c in contexts):
            breaches.append(f"{completion}: {tool}: {w} is not offered")
    for o in sorted(set(options)):
        contexts = [(tool, o)] + [(tool, w, o) for w in set(words)]
        if not any(o in offered(*c) for c in contexts):
            breaches.append(f"{completion}: {tool}: {o} is not offered")
if not codes:
    breaches.append("no exit codes found in the --help texts")
man_needs("EXIT STATUS", codes, "exit code")

# The --format values, as the refusal of an unknown one names them.
code, out, err = run("report", "--out", "x", "--format", "bogus")
m = re.search(r"--format is one of ([a-z, ]+?)(?:, not|$)", err, re.M)
if code == 0 or not m:
    breaches.append(f"report --format bogus: exit {code}, no list of formats in {err!r}")
else:
    formats = set(m.group(1).split(", "))
    if offered("report", "--format", "") != formats:
        breaches.append(f"{completion}: --format offers {sorted(offered('report', '--format', ''))}, "
                        f"the program takes {sorted(formats)}")
    man_needs("tlm-manager report", formats, "format")

# The page renders without a warning from groff.
p = subprocess.run(["groff", "-man", "-ww", "-z", manpage], capture_output=True, text=True, timeout=60)
if p.returncode != 0 or p.stderr.strip():
    breaches.append(f"{manpage}: groff warns: {p.stderr.strip()}")

for b in breaches:
    print(b)
print(f"{len(tools)} commands, {len(sections)} sections checked; {len(breaches)} breaches")
sys.exit(1 if breaches else 0)
