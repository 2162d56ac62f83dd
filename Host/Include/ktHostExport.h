// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Marks what the host library exports. Plug-ins resolve these symbols when they are loaded.
#define KT_HOST_EXPORT __attribute__((visibility("default")))
