// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

/// What completions offer as the value of an option.
enum class ktBakeValueKind { Free, Choice, File, Preset };

/// The description of one option. Help, error messages, the manual page and the completions have it in common.
struct ktBakeOptionInfo {
    std::vector<std::string> names; ///< as typed: "-o", "--output"; the scene is "SCENE"
    std::string group;              ///< heading
    std::string argument;           ///< what the value looks like; empty: the option has no value
    std::string defaultValue;       ///< empty: none
    std::string help;
    bool takesSeveral = false; ///< several values may follow
    ktBakeValueKind kind = ktBakeValueKind::Free;
    std::vector<std::string> values; ///< of a Choice; of a File: the endings, with the dot; empty: any

    const std::string& longName() const { return names.back(); }
    bool isFlag() const { return argument.empty(); }
    bool isScene() const { return names.front() == "SCENE"; }
};

/// The options of ktbake, in the order of `ktbake --help`.
std::vector<ktBakeOptionInfo> describeBakeOptions();

/// Sentences about all options, which `ktbake --help` and the manual page share.
namespace ktBakeText {
constexpr const char* purpose = "Bakes ambient occlusion and indirect light into the vertices of a scene.";
constexpr const char* lengths =
    "Lengths are millimetres in the scene; where a percentage is taken, it is one of the scene's diagonal.";
} // namespace ktBakeText
