# SPDX-License-Identifier: LGPL-2.1-or-later
"""The table of what OpenSG/ and OpenSG 1.8 do, in Docs/inside/scene-graph-table.md.

    scene_graph_table.py check TABLE here|1.8 PROGRAM    compares the table with what ktSceneGraphTable of one build prints
    scene_graph_table.py write TABLE HERE OPENSG18       writes the table with the programs of both builds; keeps the reasons

Each line of the table begins with the libraries that print it. A line that only one of them prints needs a reason.
"""
import math
import re
import subprocess
import sys

FENCE = "```"
NUMBER = re.compile(r"-?\d+(?:\.\d+)?(?:e[-+]?\d+)?")
NO_REASON = "?"


def run(program):
    output = subprocess.run([program], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
    return [line.rstrip() for line in output.decode().splitlines()]


def read(table):
    """The text before the lines, and the lines as [here, 1.8, reason]; the reason is empty if both are the same."""
    with open(table) as file:
        head, body = file.read().split(FENCE + "text\n")
    rows = []
    for line in body.split("\n" + FENCE)[0].split("\n"):
        kind, text = line[:4].strip(), line[5:]
        if kind == "both":
            rows.append([text, text, ""])
        elif kind == "here":
            rows.append([text, None, NO_REASON])
        elif kind == "1.8" and rows and rows[-1][1] is None:
            rows[-1][1] = text
        elif kind == "why" and rows and rows[-1][2] == NO_REASON:
            rows[-1][2] = text
        else:
            sys.exit("%s: this line is out of place: %s" % (table, line))
    return head, rows


def is_same(line, other):
    """Whether lines are equal, but for the last digits of fractions, which mathematical libraries calculate differently."""
    if NUMBER.sub("#", line) != NUMBER.sub("#", other):
        return False
    for a, b in zip(NUMBER.findall(line), NUMBER.findall(other)):
        tolerance = 1e-4 if set(".e") & set(a + b) else 0
        if not math.isclose(float(a), float(b), rel_tol=tolerance, abs_tol=tolerance / 100):
            return False
    return True


def check(table, library, program):
    rows = read(table)[1]
    wrong = []
    for here, other, reason in rows:
        if reason == NO_REASON or (reason and (other is None or here == other)):
            wrong.append("no reason, or no difference: " + here)
    expected = [row[0 if library == "here" else 1] or "" for row in rows]
    printed = run(program)
    if len(expected) != len(printed):
        wrong.append("%d lines, but the program prints %d" % (len(expected), len(printed)))
    wrong += ["%s\n  but the program prints\n%s" % pair for pair in zip(expected, printed) if not is_same(*pair)]
    if len(rows) < 400:
        wrong.append("only %d lines" % len(rows))
    sys.exit("\n".join(wrong) or None)


def write(table, program_here, program_18):
    head, rows = read(table)
    reasons = {(here, other): reason for here, other, reason in rows if reason}
    ours, others = run(program_here), run(program_18)
    if len(ours) != len(others):
        sys.exit("The programs print %d and %d lines: they are of different versions" % (len(ours), len(others)))
    lines = []
    for pair in zip(ours, others):
        if pair[0] == pair[1]:
            lines.append("both " + pair[0])
        else:
            lines += ["here " + pair[0], "1.8  " + pair[1], "why  " + reasons.get(pair, NO_REASON)]
    with open(table, "w") as file:
        file.write(head + FENCE + "text\n" + "\n".join(lines) + "\n" + FENCE + "\n")
    print("%d lines, %d differ" % (len(ours), sum(a != b for a, b in zip(ours, others))))


if __name__ == "__main__":
    {"check": check, "write": write}[sys.argv[1]](*sys.argv[2:])
