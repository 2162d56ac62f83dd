// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakedFile.h"

/// Faults of a document and its data, one line each with the place in the document. Finds views and accessors that
/// reach too far or are not aligned, limits that do not match the data, numbers that are not finite, attributes of
/// different counts, indices out of range, normals that are no unit vectors, results and colours out of range, and
/// references to missing objects. Does not check the content of sparse and compressed accessors.
/// Uses no code of the baker.
std::vector<std::string> ktCheckGltf(const ktBakedFile& file);
