// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

/// Refuses a document that requires an unknown extension: its geometry or its position in the scene might be wrong.
/// Accepts extensions that only affect materials or carry information. Throws ktFileError that names the refused
/// extension.
void ktCheckRequiredExtensions(const ktJson& document);
