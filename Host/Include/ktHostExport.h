// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Marks what the host library exports; a plug-in resolves these symbols when it is loaded.
#define KT_HOST_EXPORT __attribute__((visibility("default")))
