# SPDX-License-Identifier: LGPL-2.1-or-later
"""Finds the corners of a mesh again after its modifiers.

Each corner carries three numbers through the modifiers: its number in two parts, and a random one. Modifiers copy the
numbers of corners that stay, and interpolate those of new ones. An interpolated number comes with another random one."""

import numpy as np

NAME = ".ktAmbientOcclusion"  # of the attribute that carries the numbers
_PART = 4096
_LARGEST = 2**24  # up to this, a float of 32 bits holds every whole number


def _random(count):
    return np.random.RandomState(1).randint(0, _LARGEST, count)  # the same numbers in every version of NumPy


def encode(count):
    """The numbers of `count` corners: float32 (count, 3)."""
    numbers = np.arange(count, dtype=np.int64)
    return np.stack([numbers % _PART, numbers // _PART, _random(count)], axis=1).astype(np.float32)


def decode(vectors, count):
    """Where each of `count` corners is in the evaluated mesh.

    vectors: float32 (evaluated corners, 3)
    Returns int64 (count): the first evaluated corner with the number; -1 if no corner has it.
    """
    parts = np.nan_to_num(vectors.astype(np.float64), nan=-1.0, posinf=-1.0, neginf=-1.0)
    is_number = ((parts == np.floor(parts)) & (parts >= 0) & (parts <= _LARGEST)).all(axis=1)
    corners = np.nonzero(is_number)[0]
    whole = parts[corners].astype(np.int64)
    numbers = whole[:, 0] + _PART * whole[:, 1]
    is_true = (whole[:, 0] < _PART) & (numbers < count)
    is_true[is_true] = _random(count)[numbers[is_true]] == whole[is_true, 2]
    found = np.full(count, -1, np.int64)
    # The last assignment counts. Copies, for example mirrored ones, come behind the original.
    found[numbers[is_true][::-1]] = corners[is_true][::-1]
    return found
