// SPDX-License-Identifier: LGPL-2.1-or-later
// Takes a command line apart into options with values, the scene and the arguments of a script.
#include "ktBakeArguments.h"

#include "ktBakeOptionInfo.h"
#include "ktBakeUsageError.h"
#include "ktNearNames.h"

#include <algorithm>
#include <map>
#include <optional>

namespace {

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// Whether an argument is an option by its form. "-" is a file, and "-5" is a number.
bool looksLikeOption(const std::string& argument) {
    return argument.size() > 1 && argument[0] == '-' && !(argument[1] >= '0' && argument[1] <= '9');
}

class Reader {
public:
    Reader(const std::vector<std::string>& typed_, const std::vector<ktBakeOptionInfo>& options_)
        : typed(typed_), options(options_) {}

    ktBakeArguments read() {
        while (next < typed.size()) {
            const std::string argument = typed[next++];
            if (argument == "--")
                readRest();
            else if (startsWith(argument, "--"))
                readLong(argument);
            else if (looksLikeOption(argument))
                readShort(argument);
            else
                readScene(argument);
        }
        std::vector<std::string>& scenes = result.scenes;
        if (scenes.size() > 1 && given.count("--output-folder") == 0)
            throw ktBakeUsageError("", scenes[1],
                                   "only one SCENE can be given, and it is " + ktQuoteTyped(scenes[0]) +
                                       "; with --output-folder DIR there can be many");
        if (!scenes.empty())
            result.normalised.insert(result.normalised.begin(), scenes[0]);
        return std::move(result);
    }

private:
    const std::vector<std::string>& typed;
    const std::vector<ktBakeOptionInfo>& options;
    size_t next = 0;
    ktBakeArguments result;
    std::map<std::string, std::string> given; // by long name: the value, empty for a flag

    const ktBakeOptionInfo* find(const std::string& name) const {
        for (const ktBakeOptionInfo& option : options)
            if (!option.isScene() && std::find(option.names.begin(), option.names.end(), name) != option.names.end())
                return &option;
        return nullptr;
    }

    bool isKnownOption(const std::string& argument) const {
        return argument == "--" || find(argument.substr(0, argument.find('='))) != nullptr;
    }

    void readLong(const std::string& argument) {
        const size_t sign = argument.find('=');
        const std::string name = argument.substr(0, sign);
        const ktBakeOptionInfo* option = find(name);
        std::optional<std::string> value;
        if (sign != std::string::npos)
            value = argument.substr(sign + 1);
        if (!option)
            refuseUnknown(name, value);
        else if (!option->isFlag())
            readValues(*option, value);
        else if (!value)
            addFlag(*option);
        else {
            const ktBakeOptionInfo* opposite = find("--no-" + name.substr(2));
            throw ktBakeUsageError(name, *value,
                                   "the option takes no value" +
                                       (opposite ? "; its opposite is " + opposite->longName() : std::string()));
        }
    }

    /// Letters of flags, of which the last may be an option with its value: "-q", "-qo FILE", "-oFILE".
    void readShort(const std::string& argument) {
        if (find('-' + argument.substr(0, argument.find('='))))
            throw ktBakeUsageError(argument, "unknown option; did you mean -" + argument + "?");
        for (size_t i = 1; i < argument.size(); ++i) {
            const ktBakeOptionInfo* option = find(std::string("-") + argument[i]);
            if (!option)
                refuseUnknown(argument, std::nullopt);
            else if (option->isFlag())
                addFlag(*option);
            else {
                readValues(*option,
                           i + 1 < argument.size() ? std::make_optional(argument.substr(i + 1)) : std::nullopt);
                return;
            }
        }
    }

    [[noreturn]] void refuseUnknown(const std::string& name, const std::optional<std::string>& value) const {
        const std::string wanted = name.substr(std::min(name.size(), name.find_first_not_of('-')));
        const bool isNegated = startsWith(wanted, "no-");
        std::vector<std::string> names;
        for (const ktBakeOptionInfo& option : options)
            // A positive option is no suggestion for a negated one.
            if (!option.isScene() && (!isNegated || startsWith(option.longName(), "--no-")))
                names.push_back(option.longName().substr(2));
        std::vector<std::string> found = ktFindNearNames(wanted, names);
        for (std::string& one : found)
            one.insert(0, "--");
        const std::string reason =
            "unknown option" + (found.empty() ? "" : "; did you mean " + ktListAlternatives(found) + "?");
        const bool takesValue = !found.empty() && !find(found.front())->isFlag();
        if (value)
            throw ktBakeUsageError(name, *value, reason);
        if (takesValue && next < typed.size() && !looksLikeOption(typed[next]))
            throw ktBakeUsageError(name, typed[next], reason);
        throw ktBakeUsageError(name, reason);
    }

    void addFlag(const ktBakeOptionInfo& option) {
        refuseContradiction(option, {});
        given.emplace(option.longName(), std::string());
        result.normalised.push_back(option.longName());
    }

    void addValue(const ktBakeOptionInfo& option, const std::string& value) {
        const std::string& name = option.longName();
        if (value.empty())
            throw ktBakeUsageError(name, value, "the value is empty; needed is " + option.argument);
        refuseContradiction(option, value);
        const auto [first, isNew] = given.emplace(name, value);
        if (!isNew && !option.takesSeveral)
            throw ktBakeUsageError(name, value,
                                   "given twice; the first is " + name + " " + ktQuoteTyped(first->second));
        result.normalised.push_back(name + "=" + value);
    }

    void refuseContradiction(const ktBakeOptionInfo& option, const std::string& value) const {
        const std::string name = option.longName().substr(2);
        const auto other = given.find(startsWith(name, "no-") ? "--" + name.substr(3) : "--no-" + name);
        if (other == given.end())
            return;
        const std::string reason =
            "contradicts " + other->first + (other->second.empty() ? "" : " " + ktQuoteTyped(other->second));
        if (value.empty())
            throw ktBakeUsageError(option.longName(), reason);
        throw ktBakeUsageError(option.longName(), value, reason);
    }

    /// @param attached the value that is in the same argument as the option
    void readValues(const ktBakeOptionInfo& option, const std::optional<std::string>& attached) {
        if (attached)
            addValue(option, *attached);
        else if (next == typed.size())
            throw ktBakeUsageError(option.longName(), "the value is missing; needed is " + option.argument);
        else if (isKnownOption(typed[next]))
            throw ktBakeUsageError(option.longName(), "the value is missing; needed is " + option.argument + ", not " +
                                                          ktQuoteTyped(typed[next]));
        else
            addValue(option, typed[next++]);
        if (!option.takesSeveral)
            return;
        // The last argument is the scene if none was given before.
        while (next < typed.size() && !looksLikeOption(typed[next]) &&
               (!result.scenes.empty() || next + 1 < typed.size()))
            addValue(option, typed[next++]);
    }

    void readScene(const std::string& argument) {
        if (argument.empty())
            throw ktBakeUsageError("SCENE", argument, "the name is empty");
        result.scenes.push_back(argument);
    }

    /// What follows "--": arguments of the script, or a scene whose name may begin with "-".
    void readRest() {
        if (given.count("--script") > 0) {
            result.forScript.assign(typed.begin() + static_cast<std::ptrdiff_t>(next), typed.end());
            next = typed.size();
            return;
        }
        while (next < typed.size()) {
            const std::string& argument = typed[next++];
            readScene(looksLikeOption(argument) ? "./" + argument : argument);
        }
    }
};

} // namespace

ktBakeArguments readBakeArguments(const std::vector<std::string>& typed, const std::vector<ktBakeOptionInfo>& options) {
    return Reader(typed, options).read();
}
