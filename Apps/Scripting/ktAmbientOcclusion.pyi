# SPDX-License-Identifier: LGPL-2.1-or-later
# Types of the module ktAmbientOcclusion for editors and type checkers. Optional arguments may be left out only from the
# end.
KT_AO_MODE_CLASSIC: int
KT_AO_MODE_SHADOWS: int
KT_AO_MODE_LIGHT_AND_SHADOWS: int

def computeAmbientOcclusion(
    quality: int,
    minDistance: float,
    maxDistance: float,
    indirectIllumination: bool,
    colorBleeding: bool,
    gatherQuality: int,
    numIndirections: int,
    subdivide: bool,
    minEdgeLength: float,
    overrideMaterialColor: bool = False,
    materialColorR: float = 0.7,
    materialColorG: float = 0.7,
    materialColorB: float = 0.7,
    subdivisionQuality: int = 1,
    intensityThreshold: float = 0.05,
) -> None: ...
def computeMissingAmbientOcclusion(
    quality: int,
    minDistance: float,
    maxDistance: float,
    indirectIllumination: bool,
    colorBleeding: bool,
    gatherQuality: int,
    numIndirections: int,
    subdivide: bool,
    minEdgeLength: float,
    intensityThreshold: float,
    overrideMaterialColor: bool = False,
    materialColorR: float = 0.7,
    materialColorG: float = 0.7,
    materialColorB: float = 0.7,
    subdivisionQuality: int = 1,
) -> None: ...
def setAmbientOcclusionMode(mode: int) -> None: ...
def getAmbientOcclusionMode() -> int: ...
