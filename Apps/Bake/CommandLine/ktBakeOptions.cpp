// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads ktbake's command line: parses it, checks options together, and prints help, version and errors.
#include "ktBakeOptions.h"

#include "ktBakeArguments.h"
#include "ktBakeExit.h"
#include "ktBakeMessages.h"
#include "ktBakeOptionInfo.h"
#include "ktBakeOptionTable.h"
#include "ktBakeUsageError.h"
#include "ktBakeValues.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <set>

namespace fs = std::filesystem;

namespace {

/// @param value as typed; empty: the option has none
[[noreturn]] void refuse(const std::string& option, const std::string& value, const std::string& reason) {
    if (value.empty())
        throw ktBakeUsageError(option, reason);
    throw ktBakeUsageError(option, value, reason);
}

/// Each given option with its value as typed; the value of a flag is empty.
std::vector<std::pair<std::string, std::string>> listGiven(const CLI::App& app) {
    std::vector<std::pair<std::string, std::string>> given;
    for (const CLI::Option* option : app.get_options())
        if (option->count() > 0)
            given.emplace_back(option->get_name(),
                               option->get_items_expected_max() > 0 ? option->results().front() : std::string());
    return given;
}

void checkEndings(const ktBakeOptions& options) {
    if (!options.output.empty() && options.output != "-")
        ktBakeValues::checkEnding("--output", options.output, {".glb", ".gltf"});
    if (!options.preview.empty())
        ktBakeValues::checkEnding("--preview", options.preview, {".png"});
    if (options.stats == "-")
        throw ktBakeUsageError("--stats", "-", "must be the name of a file; standard output is for --output only");
}

/// Whether both name one file, whether it exists or not.
bool isSameFile(const std::string& a, const std::string& b) {
    std::error_code error;
    return fs::equivalent(a, b, error) || fs::weakly_canonical(a, error) == fs::weakly_canonical(b, error);
}

/// Statistics and picture must not replace another file of the bake, also not through a link.
void checkFiles(const ktBakeOptions& options) {
    const std::pair<const char*, const std::string&> others[] = {{"SCENE", options.scene},
                                                                 {"--output", options.output},
                                                                 {"--script", options.script},
                                                                 {"--preview", options.preview}};
    const std::pair<const char*, const std::string&> checked[] = {{"--stats", options.stats},
                                                                  {"--preview", options.preview}};
    for (const auto& [option, written] : checked)
        for (const auto& [name, file] : others)
            if (option != std::string(name) && !written.empty() && !file.empty() && isSameFile(written, file))
                throw ktBakeUsageError(option, written, std::string("is the file of ") + name);
}

/// The host's names of files are UTF-8.
void checkNames(const ktBakeOptions& options) {
    const std::pair<const char*, const std::string&> names[] = {{"SCENE", options.scene},
                                                                {"--output", options.output},
                                                                {"--preview", options.preview},
                                                                {"--stats", options.stats}};
    for (const auto& [option, name] : names)
        if (QString::fromStdString(name).toStdString() != name)
            throw ktBakeUsageError(option, name, "the name is not valid UTF-8; rename the file");
}

/// Options about the picture are of use only with a picture.
void checkPreview(const CLI::App& app, const ktBakeOptions& options) {
    for (const auto& [name, value] : listGiven(app))
        if (options.preview.empty() && name.rfind("--preview-", 0) == 0)
            refuse(name, value, "needs --preview FILE.png");
}

/// A script chooses its settings itself. It opens scenes itself, or gets SCENE.
void checkScript(const CLI::App& app, const ktBakeOptions& options) {
    static const std::set<std::string> always = {"--script", "--threads", "--ranks", "--tracer",
                                                 "--fit",    "--quiet",   "--json"};
    static const std::set<std::string> withScene = {"SCENE",          "--output",       "--preview",
                                                    "--preview-size", "--preview-view", "--preview-headlight",
                                                    "--unit",         "--up",           "--shade",
                                                    "--exposure",     "--strength",     "--unique-instances",
                                                    "--ground-plane", "--crease-angle", "--keep-vertices",
                                                    "--compress"};
    if (options.script == "-")
        throw ktBakeUsageError("--script", "-", "must be the name of a file; standard input is for SCENE only");
    for (const auto& [name, value] : listGiven(app)) {
        if (always.count(name) > 0)
            continue;
        if (withScene.count(name) == 0)
            refuse(name, value, "does not go with --script; the script's own arguments follow --");
        if (options.scene.empty())
            refuse(name, value, "needs a SCENE; without one, a --script opens and saves scenes itself");
    }
    checkPreview(app, options);
    checkEndings(options);
    checkFiles(options);
}

/// Checks the options that need a scene. Without one, presets can be listed, saved and deleted.
void checkWithoutScene(const CLI::App& app, const ktBakeOptions& options) {
    static const std::set<std::string> needScene = {
        "--output",     "--output-folder", "--update",       "--stop-on-error",
        "--preview",    "--preview-size",  "--preview-view", "--preview-headlight",
        "--stats",      "--settings-from", "--missing",      "--clear",
        "--checkpoint", "--select"};
    if (!options.select.empty())
        throw ktBakeUsageError("--select", options.select.back(),
                               "read as the name of a node, and SCENE is missing; put SCENE before --select");
    if (!options.listPresets && options.savePreset.empty() && options.deletePreset.empty())
        throw ktBakeUsageError("SCENE", "is missing: give the file of the scene to bake");
    for (const auto& [name, value] : listGiven(app))
        if (needScene.count(name) > 0)
            refuse(name, value, "needs a SCENE");
}

/// The options that results depend on.
std::vector<std::string> withEffect(const std::vector<std::string>& normalised) {
    static const std::set<std::string> withoutEffect = {"--output-folder", "--update",  "--stop-on-error",
                                                        "--stats",         "--threads", "--ranks",
                                                        "--quiet",         "--json",    "--checkpoint"};
    std::vector<std::string> result;
    for (const std::string& option : normalised)
        if (option.rfind("--", 0) == 0 && withoutEffect.count(option.substr(0, option.find('='))) == 0)
            result.push_back(option);
    return result;
}

/// Many scenes: options that name one file or edit presets make no sense.
void checkScenes(const CLI::App& app, const ktBakeOptions& options) {
    static const std::set<std::string> ofOneScene = {"--output",      "--preview",     "--settings-from",
                                                     "--checkpoint",  "--save-preset", "--delete-preset",
                                                     "--list-presets"};
    for (const auto& [name, value] : listGiven(app)) {
        if (options.outputFolder.empty() && (name == "--update" || name == "--stop-on-error"))
            refuse(name, value, "needs --output-folder DIR");
        if (!options.outputFolder.empty() && ofOneScene.count(name) > 0)
            refuse(name, value, "does not go with --output-folder");
    }
    for (const std::string& scene : options.outputFolder.empty() ? std::vector<std::string>() : options.scenes) {
        if (scene == "-")
            throw ktBakeUsageError("SCENE", scene, "standard input does not go with --output-folder");
        if (!options.stats.empty() && isSameFile(options.stats, scene))
            throw ktBakeUsageError("--stats", options.stats, "is the file of SCENE");
    }
    std::error_code error;
    if (options.outputFolder.empty() && options.scene[0] == '@' && !fs::exists(options.scene, error))
        throw ktBakeUsageError("SCENE", options.scene, "a list of scenes needs --output-folder DIR");
}

/// Checks combinations of options.
void checkTogether(const CLI::App& app, ktBakeOptions& options) {
    if (options.activeOnly && options.clear == ktBakeClear::Nothing)
        throw ktBakeUsageError("--active", "needs --clear");
    const auto &nearest = options.minDistance, &farthest = options.maxDistance;
    if (nearest && farthest && nearest->isPercent == farthest->isPercent && nearest->value >= farthest->value)
        throw ktBakeUsageError("--min-distance", nearest->typed,
                               "must be smaller than --max-distance " + farthest->typed);
    if (options.clear != ktBakeClear::Nothing && options.missing)
        throw ktBakeUsageError("--clear", options.clear == ktBakeClear::Shadows ? "shadows" : "indirect",
                               "removes results, and --missing adds them; give one of the two");
    if (options.scene.empty()) {
        checkWithoutScene(app, options);
        return;
    }
    checkScenes(app, options);
    checkPreview(app, options);
    checkEndings(options);
    if (!options.outputFolder.empty())
        return;
    if (options.scene == "-" && options.output.empty())
        throw ktBakeUsageError("SCENE", "-",
                               "is standard input and needs --output FILE, or --output - for standard "
                               "output");
    if (options.output.empty()) {
        const fs::path scene = options.scene;
        options.output = (scene.parent_path() / (scene.stem().string() + "-baked.glb")).string();
    }
    checkFiles(options);
}

void describeProgram(CLI::App& app) {
    app.get_formatter()->column_width(46);
    std::string codes = "Exit codes:";
    for (const ktBakeExit::Description& description : ktBakeExit::descriptions)
        codes += (description.code == ktBakeExit::done           ? " "
                  : description.code == ktBakeExit::scriptFailed ? ",\n"
                                                                 : ", ") +
                 std::to_string(description.code) + " " + description.inShort;
    app.footer(std::string("\n") + ktBakeText::lengths + "\nValues in [brackets] hold without the option.\n" + codes +
               "; a script may end with a code of its own.\n");
}

constexpr const char* hint = "ktbake --help lists the options.";

} // namespace

std::vector<ktBakeOptionInfo> describeBakeOptions() {
    CLI::App app;
    ktBakeOptions options;
    return declareBakeOptions(app, options);
}

std::optional<int> parseBakeOptions(const std::vector<std::string>& arguments, ktBakeOptions& options) {
    CLI::App app(std::string(ktBakeText::purpose) + "\n", "ktbake");
    describeProgram(app);
    const std::vector<ktBakeOptionInfo> infos = declareBakeOptions(app, options);
    try {
        ktBakeArguments given = readBakeArguments(arguments, infos);
        options.scriptArguments = std::move(given.forScript);
        options.scenes = std::move(given.scenes);
        options.typed = withEffect(given.normalised);
        std::reverse(given.normalised.begin(), given.normalised.end());
        app.parse(given.normalised);
        checkNames(options);
        if (!options.script.empty()) {
            checkScript(app, options);
            return {};
        }
        if (options.overrideColorValue)
            options.overrideColor = true;
        checkTogether(app, options);
    } catch (const CLI::Success& request) {  // for help or the version
        app.get_option("SCENE")->required(); // the help then shows it without brackets
        return app.exit(request, std::cout, std::cerr);
    } catch (const ktBakeUsageError& error) {
        ktBakeMessages::writeUsageError(error.what(), hint,
                                        {{"option", error.option}, {"value", error.value}, {"reason", error.reason}});
        return ktBakeExit::usage;
    } catch (const CLI::ParseError& error) {
        ktBakeMessages::writeUsageError(error.what(), hint, {});
        return ktBakeExit::usage;
    }
    return {};
}
