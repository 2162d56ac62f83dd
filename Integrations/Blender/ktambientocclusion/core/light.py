# SPDX-License-Identifier: LGPL-2.1-or-later
"""From the stored results of ktbake to the light that arrives."""

import numpy as np

LEAST = 1e-6  # a surface colour up to this is black


class Light:
    """Values of vertices or corners.

    ao: float32 (n, 1), 1 in the open, 0 fully occluded
    indirect: float32 (n, 3), bounced light that arrives, linear
    light: float32 (n, 3), all light that arrives, linear
    """

    def __init__(self, ao, indirect, light):
        self.ao = ao
        self.indirect = indirect
        self.light = light

    @staticmethod
    def open(count):
        """Values of `count` places in the open, where nothing was calculated."""
        return Light(np.ones((count, 1), np.float32), np.zeros((count, 3), np.float32), np.ones((count, 3), np.float32))

    def arrays(self):
        return (self.ao, self.indirect, self.light)


def gathered_color(color, color_bleeding):
    """The colour by which ktbake multiplies the bounced light of a surface: its own, or the luminance of it."""
    color = np.asarray(color, np.float64)
    return color if color_bleeding else np.full(3, color @ (0.212671, 0.71516, 0.072169))


def light_of(ao, indirect, lamps, color):
    """The light of vertices.

    ao: float32 (n); indirect: float32 (n, 3) or None; lamps: float32 (n, 4) or None
    color: see gathered_color()
    """
    ao = ao.reshape(-1, 1).astype(np.float32)
    arrived = np.zeros((len(ao), 3), np.float32)
    if indirect is not None:
        # Light that was multiplied by black is lost.
        scale = np.array([1 / c if c > LEAST else 0.0 for c in color])
        arrived = (indirect * scale).astype(np.float32)
    direct = np.repeat(ao, 3, axis=1) if lamps is None else lamps[:, :3]
    return Light(ao, arrived, (direct + arrived).astype(np.float32))


def shown(light, exposure, strength):
    """The light as ktbake multiplies it into vertex colours: scaled, then raised to a power where it is below 1."""
    if exposure != 1:
        light = light * np.float32(exposure)
    if strength != 1:
        light = np.where(light < 1, np.power(np.maximum(light, 0), np.float32(strength)), light)
    return light.astype(np.float32, copy=False)
