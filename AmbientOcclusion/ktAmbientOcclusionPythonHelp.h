// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// The help texts of the scripting functions: paragraphs with one empty line between them.
struct ktAmbientOcclusionPythonHelp {
    std::string computeAmbientOcclusion;
    std::string computeMissingAmbientOcclusion;
    std::string setAmbientOcclusionMode; ///< ends with an empty line
    std::string getAmbientOcclusionMode;

    ktAmbientOcclusionPythonHelp();
};
