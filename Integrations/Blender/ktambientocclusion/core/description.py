# SPDX-License-Identifier: LGPL-2.1-or-later
"""The settings of ktbake, as its build describes them in settings.json, and the command line that sets them."""

import json
import os

# Refinement adds vertices, and a bake from Blender keeps the mesh.
LEFT_OUT = {"Refinement"}


class Setting:
    """One setting.

    name: in Blender, such as "max_distance"; option: of ktbake, without the dashes
    kind: "switch", "integer", "choice", "real", "length" (in millimetres) or "color" (linear, three floats)
    initial: the value without the option; least, most: limits or None; choices: names of the values of a choice
    levels: texts of the values of an integer, such as "1024 rays"; empty if it has none
    """

    def __init__(self, row):
        self.option = row["option"]
        self.name = self.option.replace("-", "_")
        self.label = self.option.replace("-", " ").title()
        self.kind = row["kind"]
        self.group = row["group"]
        self.help = row["help"]
        self.initial = row["initial"]
        self.least = row.get("least")
        self.most = row.get("most")
        self.choices = row.get("choices", [])
        self.on = row.get("on", "")
        self.off = row.get("off", "")
        self.levels = []
        if self.kind == "integer":
            self._read_levels(row.get("note", ""))

    def _read_levels(self, note):
        """The help of a quality lists the rays of each level. The note names the rays without the option."""
        start, _, numbers = self.help.partition(": ")
        numbers = numbers.split(", ")
        if self.most is None or len(numbers) != self.most - self.least + 1 or not all(n.isdigit() for n in numbers):
            return
        self.levels = [n + " rays" for n in numbers]
        self.help = start.replace("more rays", "rays")
        for level, text in enumerate(self.levels):
            if note.endswith(" " + text):
                self.initial = level


class Description:
    """All settings, and some options that are not settings."""

    def __init__(self, path=None):
        path = path or os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "settings.json")
        with open(path, encoding="utf-8") as file:
            rows = json.load(file)
        self.version = rows["version"]
        self.settings = [Setting(row) for row in rows["settings"] if row["group"] not in LEFT_OUT]
        self.options = {row["names"][-1]: row for row in rows["options"]}

    def groups(self):
        """The settings by group, in order."""
        groups = {}
        for setting in self.settings:
            groups.setdefault(setting.group, []).append(setting)
        return groups


def number(value):
    """A number as ktbake reads it: every digit of a float of 32 bits."""
    return "%.9g" % value


def setting_arguments(description, values):
    """The options that set the given values.

    values: by name; lengths are in millimetres; a setting that is missing or None is left to ktbake
    """
    arguments = []
    for setting in description.settings:
        value = values.get(setting.name)
        if value is None:
            continue
        if setting.kind == "switch":
            option = setting.on if value else setting.off
            arguments += [option] if option else []
        elif setting.kind == "color":
            # The colour switches the override on.
            if values.get("override", True):
                arguments += ["--" + setting.option, ",".join(number(part) for part in value)]
        elif setting.kind in ("integer", "choice"):
            arguments += ["--" + setting.option, str(value)]
        else:
            arguments += ["--" + setting.option, number(value)]
    return arguments


def bake_arguments(description, values, scene, output, selected, millimetres, fit="surface", threads=0):
    """Arguments of ktbake for one bake.

    scene, output: paths; selected: the node above what is baked
    millimetres: length of one unit of the file
    threads: 0: one per core
    """
    arguments = [scene, "--output", output, "--json", "--select", selected, "--unit", repr(float(millimetres)), "--up", "z",
                 "--shade", "none", "--keep-vertices", "--no-subdivide", "--fit", fit]
    if threads > 0:
        arguments += ["--threads", str(threads)]
    return arguments + setting_arguments(description, values)
