# SPDX-License-Identifier: LGPL-2.1-or-later
"""One bake: from the scene to a run of ktbake, and from its results to the meshes."""

import os
import shutil
import tempfile

import bpy

from . import preferences, results, scene
from .core import description, process
from .core.glb import GlbError, GlbReader
from .settings import DESCRIPTION


class BakeError(Exception):
    """Why a bake failed, for the user."""


class Bake:
    """A bake that runs. Call finish() when is_running is false, or cancel(); both remove the temporary files."""

    def __init__(self, context, values):
        """Reads the scene and starts ktbake. Raises BakeError."""
        self._values = values
        self._folder = None
        try:
            program = preferences.program()
            self._collector = scene.Collector(context, values)
            self._collector.run()
            for receiver in self._collector.receivers:
                results.check(receiver.mesh(), values.color_name)
            self._folder = tempfile.mkdtemp(prefix="ktambientocclusion-", dir=bpy.app.tempdir or None)
            path = os.path.join(self._folder, "scene.glb")
            self._output = os.path.join(self._folder, "baked.glb")
            selected = self._collector.file.write(path)
            self._run = process.Run(program, description.bake_arguments(
                DESCRIPTION, values.for_ktbake(), path, self._output, selected, values.millimetres, values.fit,
                preferences.threads()))
        except (RuntimeError, ValueError, OSError, GlbError, scene.CollectError) as error:
            self._remove_files()
            raise BakeError(str(error)) from error
        except BaseException:
            self._remove_files()
            raise

    def _remove_files(self):
        if self._folder:
            shutil.rmtree(self._folder, ignore_errors=True)
            self._folder = None

    @property
    def is_running(self):
        return self._run.exit_code is None

    @property
    def progress(self):
        """A text, and the part that is done: 0 to 1."""
        return process.describe_progress(self._run.progress)

    @property
    def warnings(self):
        return self._collector.warnings + self._run.warnings

    def wait(self, seconds=None):
        self._run.wait(seconds)

    def cancel(self):
        """Ends ktbake. The meshes stay as they are."""
        self._run.cancel()
        self._remove_files()

    def finish(self):
        """Stores the results. Returns the names of the objects whose meshes have them. Raises BakeError; then no mesh has
        changed."""
        try:
            if self._run.failure:
                raise BakeError(self._run.failure)
            ready = self._read()
            for receiver, values in ready:
                results.store(receiver.mesh(), values, self._values.domain, self._values.color_name,
                              self._values.exposure, self._values.strength)
            return [receiver.object_name for receiver, _ in ready]
        except (RuntimeError, ValueError, OSError, GlbError, scene.CollectError) as error:
            raise BakeError(str(error)) from error
        finally:
            self._remove_files()

    def _read(self):
        """The light of each mesh, before any mesh is changed."""
        reader, ready = GlbReader(self._output), []
        for receiver in self._collector.receivers:
            mesh = receiver.mesh()
            results.check(mesh, self._values.color_name)
            try:
                values = self._collector.file.read_results(reader, receiver.number, receiver.evaluated_corners,
                                                           self._values.color_bleeding)
            except GlbError as error:
                raise BakeError("%s: %s" % (receiver.object_name, error)) from error
            values = receiver.on_mesh(values)
            if self._values.domain == "POINT":
                values = results.at_points(mesh, values, receiver.point_weights())
            ready.append((receiver, values))
        return ready
