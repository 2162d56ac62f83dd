// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the completion of ktbake for zsh from the description of the options.
#include "ktBakeCompletions.h"

namespace {

constexpr const char* begin = R"(#compdef ktbake
# Completes command lines of ktbake in zsh. Made from the description of the options when ktbake is built.

_ktbake_presets() {
    local -a names
    names=("${(@f)$(_call_program presets ${(q)words[1]} --list-presets --quiet 2>/dev/null)}")
    compadd -a names
}

_ktbake() {
    _arguments -s -S)";

constexpr const char* end = R"( \
        '*:argument of the script:_files'
}

_ktbake "$@"
)";

/// Puts a backslash before each of these characters.
std::string protect(const std::string& text, const std::string& characters) {
    std::string result;
    for (const char c : text) {
        if (characters.find(c) != std::string::npos)
            result += '\\';
        result += c;
    }
    return result;
}

std::string actionOf(const ktBakeOptionInfo& option) {
    if (option.kind == ktBakeValueKind::Choice)
        return "(" + ktBakeCompletions::join(option.values, " ") + ")";
    if (option.kind == ktBakeValueKind::Preset)
        return "_ktbake_presets";
    if (option.kind != ktBakeValueKind::File)
        return " ";
    std::string endings;
    for (const std::string& ending : option.values)
        endings += (endings.empty() ? "" : "|") + ending.substr(1);
    return "_files -g \"(#i)*.(" + endings + ")(-.)\"";
}

/// The options that an option excludes: itself unless it may be repeated, and its opposite.
std::string excludedBy(const ktBakeOptionInfo& option, const std::vector<ktBakeOptionInfo>& options) {
    if (option.longName() == "--help" || option.longName() == "--version")
        return "(- *)";
    std::vector<std::string> excluded = option.takesSeveral ? std::vector<std::string>() : option.names;
    const std::string name = option.longName().substr(2);
    for (const ktBakeOptionInfo& other : options)
        if (other.longName() == "--no-" + name || "--no-" + other.longName().substr(2) == "--" + name)
            excluded.push_back(other.longName());
    return excluded.empty() ? "" : "(" + ktBakeCompletions::join(excluded, " ") + ")";
}

/// An option that takes its value in the same word or the next.
std::string nameWithValue(const std::string& name, bool hasValue) {
    return name + (!hasValue ? "" : name[1] == '-' ? "=" : "+");
}

} // namespace

std::string ktBakeCompletions::makeZsh(const std::vector<ktBakeOptionInfo>& options) {
    std::string script = begin;
    for (const ktBakeOptionInfo& option : options) {
        script += " \\\n        ";
        const std::string value =
            ":" + protect(option.isScene() ? "SCENE" : option.argument, ":\\") + ":" + actionOf(option);
        if (option.isScene()) {
            script += quote("*" + value, "'\\''");
            continue;
        }
        const std::string tail = "[" + protect(option.help, "[]:\\") + "]" + (option.isFlag() ? "" : value);
        const std::string excluded = (option.takesSeveral ? "*" : "") + excludedBy(option, options);
        std::vector<std::string> names;
        for (const std::string& name : option.names)
            names.push_back(nameWithValue(name, !option.isFlag()));
        if (names.size() == 1)
            script += quote(std::string(excluded).append(names[0]).append(tail), "'\\''");
        else
            script += quote(excluded, "'\\''") + "{" + join(names, ",") + "}" + quote(tail, "'\\''");
    }
    return script + end;
}
