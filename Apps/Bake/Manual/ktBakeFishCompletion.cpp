// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the completion of ktbake for fish from the description of the options.
#include "ktBakeCompletions.h"

namespace {

constexpr const char* begin =
    R"(# Completes command lines of ktbake in fish. Made from the description of the options when ktbake is built.

function __ktbake_files --description 'Files with these endings, and folders'
    set -l token (commandline -ct | string replace -r -- '^(--[^=]*=|-o)' '')
    for line in (__fish_complete_path $token)
        set -l file (string split -f1 \t -- $line)
        if string match -q -- '*/' $file
            echo $file
        else
            for ending in $argv
                string match -qi -- "*$ending" $file; and echo $file
            end
        end
    end
end

function __ktbake_presets --description 'Names of the presets'
    set -l program (commandline -op)[1]
    eval $program --list-presets --quiet 2>/dev/null
end

complete -c ktbake -f
)";

std::string actionOf(const ktBakeOptionInfo& option) {
    using namespace ktBakeCompletions;
    if (option.kind == ktBakeValueKind::Choice)
        return " -a " + quote(join(option.values, " "), "\\'");
    if (option.kind == ktBakeValueKind::Preset)
        return " -a '(__ktbake_presets)'";
    if (option.kind == ktBakeValueKind::File)
        return " -k -a " + quote("(__ktbake_files " + join(option.values, " ") + ")", "\\'");
    return {};
}

} // namespace

std::string ktBakeCompletions::makeFish(const std::vector<ktBakeOptionInfo>& options) {
    std::string script = begin;
    for (const ktBakeOptionInfo& option : options) {
        script += "complete -c ktbake";
        if (option.isScene()) {
            script += actionOf(option) + "\n";
            continue;
        }
        for (const std::string& name : option.names)
            script += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
        // A value is never a file of another kind.
        script += (option.isFlag() ? "" : " -x" + actionOf(option)) + " -d " + quote(option.help, "\\'") + "\n";
    }
    return script;
}
