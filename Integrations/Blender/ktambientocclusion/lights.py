# SPDX-License-Identifier: LGPL-2.1-or-later
"""Lights of Blender as lights of KHR_lights_punctual, in the units of ktbake.

ktbake's light is 1 where a surface sees a white sky. In Blender, a sky of strength 1 has the irradiance pi, so pi divides
all strengths. ktbake measures distances of lights in metres, Blender in its units."""

import math


def read_light(light, scale_length):
    """The light as JSON; None if its kind is not supported.

    scale_length: metres in one unit of Blender
    """
    color = [max(0.0, float(c)) for c in light.color]
    if light.type == "SUN":
        return {"type": "directional", "color": color, "intensity": light.energy / math.pi}
    intensity = light.energy / (4 * math.pi) / math.pi * scale_length**2
    if light.type == "POINT":
        return {"type": "point", "color": color, "intensity": intensity}
    if light.type == "SPOT":
        outer = min(light.spot_size / 2, math.pi / 2)
        spot = {"outerConeAngle": outer, "innerConeAngle": outer * (1 - light.spot_blend)}
        return {"type": "spot", "color": color, "intensity": intensity, "spot": spot}
    return None
