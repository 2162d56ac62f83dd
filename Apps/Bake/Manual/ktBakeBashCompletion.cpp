// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the completion of ktbake for bash from the description of the options.
#include "ktBakeCompletions.h"

namespace {

constexpr const char* begin =
    R"(# Completes command lines of ktbake in bash. Made from the description of the options when ktbake is built.

_ktbake_files() { # ENDING...: files with these endings, and folders
    local file ending
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        if [[ -d $file ]]; then
            COMPREPLY+=("$file")
        else
            for ending; do
                [[ ${file,,} == *"$ending" ]] && COMPREPLY+=("$file")
            done
        fi
    done < <(compgen -f -- "$cur")
}

_ktbake_choices() { # WORD...
    local word
    for word; do
        [[ $word == "$cur"* ]] && COMPREPLY+=("$word")
    done
}

_ktbake_presets() {
    local name
    while IFS= read -r name; do
        [[ $name == "$cur"* ]] || continue
        [[ $typed == [\"\']* ]] || printf -v name %q "$name"
        COMPREPLY+=("$name")
    done < <("${COMP_WORDS[0]/#\~/$HOME}" --list-presets --quiet 2>/dev/null)
}

_ktbake() {
    local typed=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} cur i
    COMPREPLY=()
    # bash takes --option=value apart into three words.
    if [[ $typed == = ]]; then
        typed=
    elif [[ $option == = && COMP_CWORD -ge 2 ]]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    cur=${typed#[\"\']}
    cur=${cur//\\/}
    for ((i = 1; i < COMP_CWORD; ++i)); do
        if [[ ${COMP_WORDS[i]} == -- ]]; then # arguments of a script, or the scene
            compopt -o default 2>/dev/null
            return
        fi
    done
    case $option in
)";

constexpr const char* end = R"(}

complete -F _ktbake ktbake
)";

std::string actionOf(const ktBakeOptionInfo& option) {
    if (option.kind == ktBakeValueKind::Choice)
        return "_ktbake_choices " + ktBakeCompletions::join(option.values, " ");
    if (option.kind == ktBakeValueKind::File)
        return "_ktbake_files " + ktBakeCompletions::join(option.values, " ");
    if (option.kind == ktBakeValueKind::Preset)
        return "_ktbake_presets";
    return {};
}

} // namespace

std::string ktBakeCompletions::join(const std::vector<std::string>& words, const std::string& separator) {
    std::string joined;
    for (const std::string& word : words)
        joined += (joined.empty() ? "" : separator) + word;
    return joined;
}

std::string ktBakeCompletions::quote(const std::string& text, const std::string& quoteInside) {
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? quoteInside : std::string(1, c);
    return quoted + "'";
}

std::string ktBakeCompletions::makeBash(const std::vector<ktBakeOptionInfo>& options) {
    std::string script = begin;
    std::vector<std::string> names;
    std::string sceneAction;
    for (const ktBakeOptionInfo& option : options) {
        if (option.isScene()) {
            sceneAction = actionOf(option);
            continue;
        }
        names.insert(names.end(), option.names.begin(), option.names.end());
        if (option.isFlag())
            continue;
        const std::string action = actionOf(option);
        script += "    " + join(option.names, " | ") + ")\n" + (action.empty() ? "" : "        " + action + "\n") +
                  "        return\n        ;;\n";
    }
    script += "    esac\n    if [[ $cur == -* ]]; then\n        _ktbake_choices";
    for (const std::string& name : names)
        script += " \\\n            " + name;
    return script + "\n    else\n        " + sceneAction + "\n    fi\n" + end;
}
