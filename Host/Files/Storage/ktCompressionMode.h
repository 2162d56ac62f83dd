// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <optional>
#include <string>
#include <vector>

/// How the geometry of a written file is compressed.
enum class ktCompressionMode {
    AsInput, ///< as in the file that was read
    Draco,   ///< KHR_draco_mesh_compression; quantises what is not compressed yet
    Meshopt, ///< EXT_meshopt_compression without filters, which changes no value
    None
};

/// "as-input", "draco", "meshopt", "none": in the order of the modes.
KT_HOST_EXPORT const std::vector<std::string>& ktCompressionNames();
/// Parses one of these names. Empty for anything else.
KT_HOST_EXPORT std::optional<ktCompressionMode> ktParseCompressionMode(const std::string& text);
/// The name of a mode.
KT_HOST_EXPORT const char* ktNameOf(ktCompressionMode mode);
