# SPDX-License-Identifier: LGPL-2.1-or-later
"""Writes and reads glTF 2.0 in its binary form (.glb), as far as this add-on needs it."""

import json
import struct

import numpy as np

_COMPONENTS = {np.dtype(np.float32): 5126, np.dtype(np.uint32): 5125}
_TYPES = {1: "SCALAR", 3: "VEC3", 4: "VEC4"}
_SIZES = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4}
_LARGEST = 2**32 - 1  # a .glb file keeps its length in 32 bits


class GlbError(Exception):
    """The reason why a file cannot be written or read."""


class GlbWriter:
    """Collects a document and its buffer. `document` is the JSON; the caller adds nodes, meshes and the rest to it."""

    def __init__(self):
        self.document = {"asset": {"version": "2.0", "generator": "ktAmbientOcclusion for Blender"}}
        self._parts = []
        self._size = 0

    def add(self, collection, entry):
        """Adds an entry to a list of the document. Returns its number."""
        entries = self.document.setdefault(collection, [])
        entries.append(entry)
        return len(entries) - 1

    def add_accessor(self, values, with_limits=False):
        """Adds an array as an accessor with an own buffer view.

        values: float32 or uint32, (n) or (n, 3) or (n, 4), not empty
        with_limits: also its least and largest values, which positions need
        """
        values = np.ascontiguousarray(values)
        if values.dtype not in _COMPONENTS:
            raise TypeError("accessors hold float32 or uint32, not " + str(values.dtype))
        data = values.astype(values.dtype.newbyteorder("<"), copy=False).tobytes()
        view = self.add("bufferViews", {"buffer": 0, "byteOffset": self._size, "byteLength": len(data)})
        self._parts.append(data)
        self._size += len(data)  # a multiple of four, as accessors of these types need
        columns = 1 if values.ndim == 1 else values.shape[1]
        accessor = {"bufferView": view, "componentType": _COMPONENTS[values.dtype], "count": len(values),
                    "type": _TYPES[columns]}
        if with_limits:
            accessor["min"] = [float(x) for x in np.atleast_1d(values.min(axis=0))]
            accessor["max"] = [float(x) for x in np.atleast_1d(values.max(axis=0))]
        return self.add("accessors", accessor)

    def write(self, path):
        """Writes the file. Raises GlbError if it would be too large, OSError if it cannot be written."""
        if self._size:
            self.document["buffers"] = [{"byteLength": self._size}]
        text = json.dumps(self.document, ensure_ascii=False, separators=(",", ":"), allow_nan=False).encode("utf-8")
        text += b" " * (-len(text) % 4)
        total = 12 + 8 + len(text) + (8 + self._size if self._size else 0)
        if total > _LARGEST:
            raise GlbError("the scene has %.1f GB, and a .glb file cannot have more than 4" % (total / 1e9))
        with open(path, "wb") as file:
            file.write(struct.pack("<III", 0x46546C67, 2, total))
            file.write(struct.pack("<II", len(text), 0x4E4F534A) + text)
            if self._size:
                file.write(struct.pack("<II", self._size, 0x004E4942))
                for part in self._parts:
                    file.write(part)


class GlbReader:
    """A .glb file in memory. Raises GlbError if the file is no glTF, OSError if it cannot be read."""

    def __init__(self, path):
        with open(path, "rb") as file:
            data = file.read()
        if len(data) < 20 or data[:4] != b"glTF":
            raise GlbError(path + ": is no .glb file")
        length = struct.unpack_from("<I", data, 12)[0]
        try:
            self.document = json.loads(data[20:20 + length])
        except ValueError as error:
            raise GlbError("%s: the document cannot be read: %s" % (path, error)) from None
        self._path = path
        self._buffer = memoryview(data)[20 + length + 8:]

    def attribute(self, mesh, primitive, name):
        """An attribute of floats as float32 (n) or (n, k); None if the primitive does not have it."""
        index = self.document["meshes"][mesh]["primitives"][primitive]["attributes"].get(name)
        return None if index is None else self.accessor(index)

    def accessor(self, index):
        """An accessor of floats as float32 (n) or (n, k)."""
        accessor = self.document["accessors"][index]
        at = "%s: /accessors/%d: " % (self._path, index)
        if accessor["componentType"] != 5126 or "bufferView" not in accessor or "sparse" in accessor:
            raise GlbError(at + "has another layout than floats in a buffer view")
        view = self.document["bufferViews"][accessor["bufferView"]]
        columns, count = _SIZES[accessor["type"]], accessor["count"]
        stride = view.get("byteStride", columns * 4)
        offset = view.get("byteOffset", 0) + accessor.get("byteOffset", 0)
        if view.get("buffer", 0) != 0 or offset + stride * (count - 1) + columns * 4 > len(self._buffer):
            raise GlbError(at + "lies outside the file")
        values = np.ndarray((count, columns), np.dtype("<f4"), self._buffer, offset, (stride, 4))
        values = values.astype(np.float32)
        return values[:, 0] if columns == 1 else values
