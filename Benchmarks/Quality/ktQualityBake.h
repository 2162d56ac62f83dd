// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

/// What surfaces reflect.
struct ktQualityReflection {
    std::optional<std::array<float, 3>> color; ///< of all surfaces; empty: each has the one that the file gives it
    bool isColored = false;                    ///< false: only the luminance of the colour counts

    bool operator==(const ktQualityReflection& other) const {
        return color == other.color && isColored == other.isColored;
    }
};

/// One run of ktbake.
struct ktQualityBake {
    std::string output;        ///< the baked file
    double seconds = 0;        ///< of the whole run, as ktbake counts them
    std::uint64_t bytes = 0;   ///< of the baked file
    double diagonal_mm = 0;    ///< of the scene's bounds
    double minDistance_mm = 0; ///< that the bake used
    double maxDistance_mm = 0; ///< likewise
    unsigned bounces = 0;      ///< 0: no indirect light
    ktQualityReflection reflection;
    std::string mode; ///< "classic", "shadows" or "light-and-shadows"
};

/// Bakes a scene with ktbake as a child process, and waits for its end.
/// @param program path of ktbake
/// @param options further options in one line, separated by spaces; double quotes keep words together
/// @param folder  for the baked file and ktbake's preferences
/// @param name    of the baked file, without ending
/// @throws std::runtime_error with the messages of ktbake if it fails
ktQualityBake ktRunQualityBake(const std::string& program, const std::string& scene, const std::string& options,
                               const std::string& folder, const std::string& name);
