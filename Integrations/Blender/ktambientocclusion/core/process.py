# SPDX-License-Identifier: LGPL-2.1-or-later
"""Finds ktbake and runs it as a process."""

import json
import os
import shutil
import subprocess
import tempfile
import threading

USUAL_FOLDERS = ("/usr/bin", "/usr/local/bin", "/opt/ktambientocclusion/bin", "/opt/ktAmbientOcclusion/bin", "/opt/kt/bin",
                 "~/.local/bin", "~/bin")


def find_program(preferred=""):
    """The path of ktbake: the preferred file, or ktbake in the preferred folder, on PATH or in the usual folders. None if
    there is none; a preferred path that does not exist is not replaced by another."""
    if preferred:
        path = os.path.abspath(os.path.expanduser(preferred))
        if os.path.isdir(path):
            path = os.path.join(path, "ktbake")
        return shutil.which(path)
    path = os.pathsep.join([os.environ.get("PATH", os.defpath)] + [os.path.expanduser(f) for f in USUAL_FOLDERS])
    return shutil.which("ktbake", path=path)


def _sentence(message):
    """A message without the name of our own file in front."""
    text = message.get("text", "")
    file = message.get("file", "")
    return text[len(file) + 2:] if file and text.startswith(file + ": ") else text


class Run:
    """One run of ktbake with --json. A thread reads its messages.

    progress: the last message of this kind, a dict; errors, warnings, notes: texts; exit_code: None while it runs
    """

    def __init__(self, program, arguments):
        """Raises OSError if the program cannot be started."""
        self.progress = {}
        self.errors, self.warnings, self.notes = [], [], []
        self._cancelled = False
        self._process = subprocess.Popen([program] + arguments, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                         stderr=subprocess.PIPE)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        lists = {"error": self.errors, "warning": self.warnings, "info": self.notes}
        for line in self._process.stderr:
            try:
                message = json.loads(line)
                level = message["level"]
            except (ValueError, KeyError, TypeError):
                self.notes.append(line.decode("utf-8", "replace").strip())
                continue
            if level == "progress":
                self.progress = message
            elif level in lists:
                lists[level].append(_sentence(message))
        self._process.stderr.close()

    @property
    def exit_code(self):
        """None while it runs."""
        if self._reader.is_alive():
            return None
        return self._process.wait()

    def wait(self, seconds=None):
        """Waits until the run ends, or for some seconds."""
        self._reader.join(seconds)

    def cancel(self):
        """Ends the run and waits for its end."""
        self._cancelled = True
        for end in (self._process.terminate, self._process.kill):
            if self._reader.is_alive():
                end()
                self._reader.join(10)
        self._process.wait()

    @property
    def failure(self):
        """Why an ended run failed; empty if it is done."""
        code = self._process.wait()
        if self._cancelled or code == 130:
            return "Cancelled"
        if code == 0:
            return ""
        if self.errors:
            return "; ".join(self.errors)
        if code < 0:
            return "ktbake was ended by signal %d" % -code
        return "ktbake ended with exit code %d%s" % (code, ": " + self.notes[-1] if self.notes else "")


def describe_progress(progress):
    """A text for the status bar, and the part that is done: 0 to 1."""
    phase = progress.get("phase")
    percent = progress.get("percent")
    if phase in ("shadows", "bounces") and percent is not None:
        return "%s: %d %%" % (phase.capitalize(), percent), percent / 100
    return ("Preparing" if phase == "preparing" else "Starting ktbake"), 0.0


def _ask(program, arguments, seconds=30):
    """Runs ktbake without a scene. Returns what it prints; raises RuntimeError with its message."""
    try:
        done = subprocess.run([program] + arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=seconds, check=False)
    except (OSError, subprocess.TimeoutExpired) as error:
        raise RuntimeError("%s: %s" % (program, error)) from None
    if done.returncode != 0:
        lines = done.stderr.decode("utf-8", "replace").strip().splitlines()
        reason = lines[0] if lines else "%s ended with exit code %d" % (program, done.returncode)
        raise RuntimeError(reason[7:] if reason.startswith("error: ") else reason)
    return done.stdout.decode("utf-8", "replace")


def version(program):
    """What `ktbake --version` prints. Raises RuntimeError."""
    return _ask(program, ["--version"]).strip()


def preset_names(program):
    """The names of the presets. Raises RuntimeError."""
    return [line for line in _ask(program, ["--list-presets", "--quiet"]).splitlines() if line]


def preset_values(program, name, description):
    """The settings of a preset, by name; lengths in millimetres. Raises RuntimeError.

    ktbake tells its settings in the statistics of a run, so it bakes one triangle."""
    from .scene_file import SceneFile
    from .corners import MeshData
    import numpy as np

    scene = SceneFile()
    up = np.repeat(np.float32([[0, 0, 1]]), 3, axis=0)
    triangle = MeshData(np.float32([[0, 0, 0], [1, 0, 0], [0, 1, 0]]), np.arange(3, dtype=np.int32), up,
                        np.int32([[0, 1, 2]]), np.zeros(1, np.int32))
    scene.add_node("triangle", scene.add_mesh("triangle", triangle, []), np.eye(4), True)
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "triangle.glb")
        stats = os.path.join(folder, "stats.json")
        scene.write(path)
        _ask(program, [path, "--output", os.path.join(folder, "out.glb"), "--unit", "m", "--stats", stats, "--quiet",
                       "--preset=" + name])
        with open(stats, encoding="utf-8") as file:
            settings = json.load(file)["settings"]
    in_presets = [s for s in description.settings if s.option in settings and s.option != "mode"]
    return {setting.name: settings[setting.option] for setting in in_presets}


def save_preset(program, name, arguments):
    """Saves settings as a preset, in place of one with this name. Raises RuntimeError."""
    _ask(program, arguments + ["--save-preset=" + name, "--quiet"])


def delete_preset(program, name):
    """Removes a preset. Raises RuntimeError."""
    _ask(program, ["--delete-preset=" + name, "--quiet"])
