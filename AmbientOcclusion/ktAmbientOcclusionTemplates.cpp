// SPDX-License-Identifier: LGPL-2.1-or-later
// The file that keeps the presets.
#include "ktAmbientOcclusion.h"

void ktAmbientOcclusion::readPreset() {
    presets.clear();
}
