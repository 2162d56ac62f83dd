// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Marks what the plug-in library exports; everything else is hidden.
#define KT_AMBIENT_OCCLUSION_EXPORT __attribute__((visibility("default")))
