// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

/// Refuses a document that requires an extension without which its geometry or its place in the scene would be wrong.
/// Extensions that only touch materials or carry information are left alone. Throws ktFileError that names the
/// extension.
void ktCheckRequiredExtensions(const ktJson& document);
