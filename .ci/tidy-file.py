#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Runs clang-tidy on one source, perhaps one that joins several: tidy-file.py BUILD SOURCE. Shows the findings and ends with
exit code 1 if there are any.

A source without findings is not checked again until it, a header that it includes, its compiler options, the checks or
clang-tidy's version change. BUILD/tidy/ keeps a file for each such state, with the seconds of processor time that it took.
"""
import hashlib
import json
import pathlib
import resource
import subprocess
import sys


def main() -> int:
    build, source = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    root = pathlib.Path(__file__).resolve().parent.parent
    state = hashlib.sha256()
    for option in ("--version", "--dump-config"):
        state.update(subprocess.run(["clang-tidy", option, str(source)], capture_output=True, check=True).stdout)
    for entry in json.loads((build / "compile_commands.json").read_text()):
        if entry["file"] == str(source):
            state.update(entry["command"].encode())
            # What the compiler reads: all headers inserted. Comments count, because some are for clang-tidy.
            state.update(subprocess.run(entry["command"].rpartition(" -o ")[0] + " -E -CC -o - '" + str(source) + "'",
                                        shell=True, cwd=entry["directory"], capture_output=True).stdout)
    clean = build / "tidy" / state.hexdigest()
    if clean.exists():
        print("unchanged:", clean.read_text(), end="")
        return 0
    options = []
    if "Unity" in source.parts:  # it includes sources, in which findings count as well
        options = ["-checks=-bugprone-suspicious-include",
                   "-header-filter=/(OpenSG|Host|AmbientOcclusion|Apps|Tests|Benchmarks)/[A-Za-z0-9/]*[.](h|inl|cpp)$"]
    found = subprocess.run(["clang-tidy", "-quiet", "-p", str(build), *options, str(source)], stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT, text=True, errors="replace")
    if found.returncode != 0:
        print(found.stdout, end="")
        return 1
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    clean.parent.mkdir(exist_ok=True)
    clean.write_text(f"{usage.ru_utime + usage.ru_stime:.1f} {source.relative_to(root)}\n")
    print("checked:", clean.read_text(), end="")
    return 0


sys.exit(main())
