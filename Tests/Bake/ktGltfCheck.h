// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakedFile.h"

/// What is wrong with a document and its data, one line a fault with the place in the document: views and accessors
/// that reach too far or are not aligned, limits that are not those of the data, numbers that are not finite,
/// attributes of different counts, indices out of range, normals that are no unit vectors, results and colours out of
/// range, references to what does not exist. Sparse and compressed accessors are not looked into. Uses no code of the
/// baker.
std::vector<std::string> ktCheckGltf(const ktBakedFile& file);
