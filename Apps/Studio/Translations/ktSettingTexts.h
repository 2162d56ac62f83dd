// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

/// The texts of settings that the panel translates by their contents. Only lupdate reads this list; a test holds that
/// it is whole.
const char* const ktSettingTexts[] = {
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Indirect light"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Refinement"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Shadows"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "classic"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "shadows"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "light-and-shadows"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "the sky alone; the scene's lights as well; their colours too"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "more rays a vertex: 64, 256, 1024, 2304, 4096, 16384"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "nearer surfaces do not occlude"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "farther surfaces do not occlude"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "bounced light"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "more rays a vertex and bounce: 64, 256, 576, 1024, 2304"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", ", with 1024 rays"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "how often light bounces"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "bounced light takes the surfaces' colours"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "one colour for all surfaces that light bounces off"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "add vertices where the light changes"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "finer: at most 2, 4 or 6 rounds"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "shorter edges stay whole"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "change of light across an edge that splits it"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Mode"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Shadow quality"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Min distance"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Max distance"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Indirect"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Gather quality"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Bounces"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Color bleeding"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Override colors"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Override color"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Subdivide"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Subdivision quality"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Min edge length"),
    QT_TRANSLATE_NOOP("ktCalculationSettings", "Intensity threshold"),
    QT_TRANSLATE_NOOP(
        "ktCalculationSettings",
        "Refinement by indirect light alone changes no geometry: it needs a shadow quality of 2 or more as well."),
};
