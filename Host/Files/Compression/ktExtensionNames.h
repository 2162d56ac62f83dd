// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

/// Member `name` of the extensions of an object; null if there is none.
const ktJson* ktFindExtension(const ktJson& object, const char* name);
/// Whether an extension can be added to an object: it has no member of that name with another type.
bool ktCanHaveExtensions(const ktJson& object);
/// Removes an extension of an object.
void ktRemoveExtension(ktJson& object, const char* name);
/// Adds a name to extensionsUsed and extensionsRequired.
void ktRequireExtension(ktJson& document, const char* name);
/// Removes a name from both.
void ktForgetExtension(ktJson& document, const char* name);
/// Whether the data of a view or an accessor was added by this program.
bool ktIsOwnData(const ktJson& entry);
