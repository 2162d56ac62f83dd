// SPDX-License-Identifier: LGPL-2.1-or-later
// Parses and checks ktbake's command line, and prints its help, version and errors.
#include "ktBakeOptions.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktLengthUnit.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <cmath>
#include <filesystem>
#include <functional>
#include <iostream>
#include <iterator>
#include <limits>
#include <QString>
#include <set>

namespace fs = std::filesystem;

namespace {

namespace Settings = ktAmbientOcclusionSettings;

std::string number(double value) {
    return QString::number(value, 'g', 6).toStdString();
}

template <class Row>
std::string optionOf(Row row) {
    return std::string("--") + row.names.option;
}

/// Parses a finite number in any locale. Empty if the text is not exactly one number.
std::optional<double> parseNumber(const std::string& text) {
    bool isNumber = false;
    const double value = QString::fromStdString(text).toDouble(&isNumber);
    if (!isNumber || !std::isfinite(value))
        return {};
    return value;
}

ktBakeDistance parseDistance(const std::string& option, std::string text) {
    ktBakeDistance distance;
    if (!text.empty() && text.back() == '%') {
        distance.isPercent = true;
        text.pop_back();
    }
    const std::optional<double> value = parseNumber(text);
    if (!value || *value < 0 || *value > std::numeric_limits<float>::max())
        throw CLI::ValidationError(option, "a distance is a number from 0 on, in millimetres, or a percentage of the "
                                           "scene's diagonal such as 3%");
    distance.value = *value;
    return distance;
}

std::array<float, 3> parseColor(const std::string& option, const std::string& text) {
    std::array<float, 3> color{};
    const std::vector<std::string> parts = CLI::detail::split(text, ',');
    for (size_t i = 0; i < 3; ++i) {
        const std::optional<double> value = parts.size() == 3 ? parseNumber(parts[i]) : std::nullopt;
        if (!value || *value < 0 || *value > 1)
            throw CLI::ValidationError(option, "a colour is three numbers from 0 to 1, such as 0.7,0.7,0.7");
        color[i] = static_cast<float>(*value);
    }
    return color;
}

void checkEnding(const std::string& option, const std::string& file, const std::vector<std::string>& endings) {
    std::string ending = fs::path(file).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) { return std::tolower(c); });
    if (std::find(endings.begin(), endings.end(), ending) == endings.end())
        throw CLI::ValidationError(option,
                                   "the file's name must end in " + CLI::detail::join(endings, " or ") + ": " + file);
}

void checkEndings(const ktBakeOptions& options) {
    if (!options.output.empty())
        checkEnding("--output", options.output, {".glb", ".gltf"});
    if (!options.preview.empty())
        checkEnding("--preview", options.preview, {".png"});
}

/// Adds options to the parser. The help of an option ends with its default. The callbacks of the options refer to this
/// object, so it must live until the arguments are parsed.
class Parser {
public:
    Parser(CLI::App& app_, ktBakeOptions& options_) : app(app_), options(options_) {}

    void addAll() & {
        addFiles();
        addSelection();
        addSettings();
        addPresets();
        addRun();
    }

private:
    CLI::App& app;
    ktBakeOptions& options;
    const ktAmbientOcclusion& defaults = *ktAmbientOcclusion::the();
    std::string group;

    CLI::Option* finish(CLI::Option* option, const std::string& type, const std::string& defaultValue) {
        option->group(group)->option_text(defaultValue.empty() ? type : type + " [" + defaultValue + "]");
        return option;
    }

    template <typename T>
    CLI::Option* value(const char* name, T& target, const char* help, const std::string& type,
                       const std::string& defaultValue = {}) {
        return finish(app.add_option(name, target, help), type, defaultValue);
    }

    template <typename T, typename Parse>
    void parsed(const std::string& name, std::optional<T>& target, Parse parse, const char* help,
                const std::string& type, const std::string& defaultValue) {
        finish(app.add_option_function<std::string>(
                   name, [&target, name, parse](const std::string& text) { target = parse(name, text); }, help),
               type, defaultValue);
    }

    /// A flag without a value. Its text is set so that the help does not list what it needs or excludes.
    CLI::Option* flag(const std::string& name, const std::function<void()>& set, const std::string& help) {
        return app.add_flag_callback(name, set, help)->group(group)->option_text(" ");
    }

    /// `--name` and `--no-name`.
    void onOff(const std::string& name, std::optional<bool>& target, const std::string& help, bool defaultValue) {
        CLI::Option* on = flag(
            "--" + name, [&target] { target = true; }, help + (defaultValue ? " [on]" : " [off]"));
        flag(
            "--no-" + name, [&target] { target = false; }, "the opposite")
            ->excludes(on);
    }

    void addFiles() {
        group = "Files";
        app.add_option("SCENE", options.scene, "scene to bake: glTF (.glb, .gltf), OBJ, PLY, STL, FBX, Collada, ...")
            ->option_text(" ");
        value("-o,--output", options.output, "baked scene", "FILE.glb|.gltf", "SCENE-baked.glb");
        value("--preview", options.preview, "picture of the baked scene", "FILE.png");
        value("--stats", options.stats, "times and counts of the run", "FILE.json");
        value("--unit", options.unit, "length of one unit of the file; auto trusts glTF files of plausible size",
              "auto|mm|cm|m|inch|foot|MM", "auto")
            ->check([](const std::string& text) {
                return ktParseLengthUnit(text)
                           ? std::string()
                           : "a unit is auto, mm, cm, m, inch, foot or a length in millimetres, not " + text;
            });
        finish(app.add_option_function<std::string>(
                   "--shade", [this](const std::string& how) { options.multiplyColors = how == "multiply"; },
                   "multiply the light into the vertex colours, for viewers"),
               "multiply|none", "multiply")
            ->check(CLI::IsMember({"multiply", "none"}));
        value("--exposure", options.exposure, "scale of the light that is multiplied in", "FLOAT", "1")
            ->check(CLI::PositiveNumber);
        flag(
            "--unique-instances", [this] { options.uniqueInstances = true; },
            "give each use of a mesh its own results");
        flag(
            "--ground-plane", [this] { options.groundPlane = true; },
            "put a plane below the scene that catches its shadow");
    }

    void addSelection() {
        group = "What to do";
        value("--select", options.select, "bake what is below these nodes only", "NAME ...", "the scene's top nodes")
            ->allow_extra_args();
        flag(
            "--missing", [this] { options.missing = true; }, "bake only what has no results yet");
        finish(app.add_option_function<std::string>(
                   "--clear",
                   [this](const std::string& what) {
                       options.clear = what == "shadows" ? ktBakeClear::Shadows : ktBakeClear::Indirect;
                   },
                   "remove results instead of baking"),
               "shadows|indirect", "")
            ->check(CLI::IsMember({"shadows", "indirect"}));
        flag(
            "--active", [this] { options.activeOnly = true; }, "with --clear: leave hidden parts as they are")
            ->needs("--clear");
    }

    void addSettings() {
        Settings::forEachSetting<&Settings::Places::options>([this](auto row) {
            group = row.group;
            addSetting(row, row);
        });
    }

    // One option per setting. The second argument picks the overload for the setting's kind.

    template <class Row>
    void addSetting(Row row, Settings::Integer) {
        const int least = static_cast<int>(row.range.least), most = static_cast<int>(row.range.most);
        const std::string range = std::to_string(least) + ".." + std::to_string(most);
        value(optionOf(row).c_str(), options.given(row), row.help, row.argument ? row.argument : range,
              std::to_string(row.get(defaults)) + row.initialNote)
            ->check(CLI::Range(least, most));
    }

    template <class Row>
    void addSetting(Row row, Settings::Choice) {
        const std::vector<std::string> choices(std::begin(row.choices), std::end(row.choices));
        std::optional<int>& target = options.given(row);
        finish(app.add_option_function<std::string>(
                   optionOf(row),
                   [&target, choices](const std::string& choice) {
                       target = static_cast<int>(std::find(choices.begin(), choices.end(), choice) - choices.begin());
                   },
                   row.help),
               CLI::detail::join(choices, "|"), choices.at(static_cast<size_t>(row.get(defaults))))
            ->check(CLI::IsMember(choices));
    }

    template <class Row>
    void addSetting(Row row, Settings::Switch) {
        onOff(row.names.option, options.given(row), row.help, row.get(defaults));
    }

    template <class Row, class Value>
    void addSetting(Row row, Settings::Length<Value>) {
        parsed(optionOf(row), options.given(row), parseDistance, row.help, "MM|PERCENT%", number(row.get(defaults)));
    }

    template <class Row>
    void addSetting(Row row, Settings::Real) {
        const auto parse = [row](const std::string& option, const std::string& text) {
            const std::optional<double> value = parseNumber(text);
            if (!value || *value < row.range.least || *value > row.range.most)
                throw CLI::ValidationError(
                    option, "a number from " + number(row.range.least) +
                                (std::isinf(row.range.most) ? std::string(" on") : " to " + number(row.range.most)));
            return *value;
        };
        parsed(optionOf(row), options.given(row), parse, row.help, "FLOAT", number(row.get(defaults)));
    }

    template <class Row>
    void addSetting(Row row, Settings::Color) {
        const osg::Color3f color = row.get(defaults);
        parsed(optionOf(row), options.given(row), parseColor, row.help, "R,G,B",
               number(color[0]) + "," + number(color[1]) + "," + number(color[2]));
    }

    /// A colour switches this on, so the option only switches it off. The option of the colour must be added
    /// before.
    template <class Row>
    void addSetting(Row row, Settings::OverrideMaterialColor) {
        const std::string colorOption = Settings::MaterialColor::names.option;
        flag(
            "--no-" + colorOption, [this] { options.overrideColor = false; }, row.help)
            ->excludes("--" + colorOption);
    }

    void addPresets() {
        group = "Presets";
        value("--preset", options.preset, "settings by name or its beginning; other options change them", "NAME");
        value("--settings-from", options.settingsFrom, "settings that this node was baked with", "NODE");
        value("--save-preset", options.savePreset, "keep the settings under a name", "NAME");
        value("--delete-preset", options.deletePreset, "remove a preset", "NAME");
        flag(
            "--list-presets", [this] { options.listPresets = true; }, "print the presets' names");
    }

    void addRun() {
        group = "Run";
#ifdef KT_SCRIPTING
        value("--script", options.script,
              "run a Python script instead, on SCENE if given; what follows -- are its arguments", "FILE.py");
#else
        value("--script", options.script, "run a Python script: not with this ktbake, built without scripting",
              "FILE.py");
#endif
        value("--threads", options.threads, "worker threads", "INT", "one a core")->check(CLI::Range(1, 1024));
        finish(app.add_option_function<std::string>(
                   "--tracer",
                   [this](const std::string& name) {
                       options.tracer = name == "embree" ? ktTracerKind::Embree : ktTracerKind::Hemisphere;
                   },
                   "what follows the rays; the results are the same, to rounding"),
               "embree|hemisphere", "hemisphere")
            ->check(CLI::IsMember({"embree", "hemisphere"}));
        flag(
            "-q,--quiet", [this] { options.quiet = true; }, "print errors only");
        app.set_help_flag("-h,--help", "print this")->group(group);
        app.add_flag_callback(
               "--version", [] { throw CLI::CallForVersion(std::string("ktbake ") + getPluginVersion(), 0); },
               "print the version")
            ->group(group);
    }
};

/// A script chooses its settings itself. It opens scenes itself, or gets SCENE.
void checkScript(const CLI::App& app, const ktBakeOptions& options) {
    static const std::set<std::string> always = {"--script", "--threads", "--tracer", "--quiet"};
    static const std::set<std::string> withScene = {"SCENE",   "--output",   "--preview",          "--unit",
                                                    "--shade", "--exposure", "--unique-instances", "--ground-plane"};
    for (const CLI::Option* option : app.get_options()) {
        const std::string name = option->get_name();
        if (option->count() == 0 || always.count(name) > 0)
            continue;
        if (withScene.count(name) == 0)
            throw CLI::ValidationError(name, "does not go with --script; the script's own arguments follow --");
        if (options.scene.empty())
            throw CLI::ValidationError(name, "needs a SCENE; without one, a --script opens and saves scenes itself");
    }
    checkEndings(options);
}

/// Checks combinations of options.
void checkTogether(ktBakeOptions& options) {
    if (options.scene.empty()) {
        if (!options.listPresets && options.savePreset.empty() && options.deletePreset.empty())
            throw CLI::RequiredError("SCENE");
        for (const auto& [name, isGiven] :
             {std::make_pair("--output", !options.output.empty()),
              std::make_pair("--preview", !options.preview.empty()), std::make_pair("--stats", !options.stats.empty()),
              std::make_pair("--settings-from", !options.settingsFrom.empty())})
            if (isGiven)
                throw CLI::ValidationError(name, "needs a SCENE");
        return;
    }
    if (options.output.empty()) {
        const fs::path scene = options.scene;
        options.output = (scene.parent_path() / (scene.stem().string() + "-baked.glb")).string();
    }
    checkEndings(options);
    if (options.clear != ktBakeClear::Nothing && options.missing)
        throw CLI::ValidationError("--clear", "removes results; --missing adds them: give one of the two");
    const auto &nearest = options.minDistance, &farthest = options.maxDistance;
    if (nearest && farthest && nearest->isPercent == farthest->isPercent && nearest->value >= farthest->value)
        throw CLI::ValidationError("--min-distance", "must be smaller than --max-distance");
    Settings::forEachSetting([&options](auto row) {
        if constexpr (row.isLeastExcluded)
            if (options.given(row) && options.given(row)->value <= row.range.least)
                throw CLI::ValidationError(optionOf(row), "must be above " + number(row.range.least));
    });
}

} // namespace

std::optional<int> parseBakeOptions(const std::vector<std::string>& arguments, ktBakeOptions& options) {
    CLI::App app("Bakes ambient occlusion and indirect light into the vertices of a scene.\n", "ktbake");
    app.get_formatter()->column_width(46);
    app.footer(
        "\nLengths are millimetres in the scene; where a percentage is taken, it is one of the scene's diagonal.\n"
        "Values in [brackets] hold without the option.\n"
        "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 bad input, 4 could not write,\n"
        "5 the script failed, 130 cancelled; a script may end with a code of its own.\n");
    Parser parser(app, options);
    parser.addAll();
    // A required SCENE is not read as another name of --select.
    app.get_option("SCENE")->required(std::none_of(arguments.begin(), arguments.end(), [](const std::string& argument) {
        return argument == "--list-presets" || argument.rfind("--script", 0) == 0 ||
               argument.rfind("--save-preset", 0) == 0 || argument.rfind("--delete-preset", 0) == 0;
    }));
    try {
        // With a script, what follows "--" is for the script.
        auto end = std::find(arguments.begin(), arguments.end(), "--");
        if (std::none_of(arguments.begin(), end,
                         [](const std::string& argument) { return argument.rfind("--script", 0) == 0; }))
            end = arguments.end();
        else if (end != arguments.end())
            options.scriptArguments.assign(end + 1, arguments.end());
        std::vector<std::string> reversed(arguments.begin(), end);
        std::reverse(reversed.begin(), reversed.end());
        app.parse(reversed);
        if (!options.script.empty()) {
            checkScript(app, options);
            return {};
        }
        if (options.overrideColorValue)
            options.overrideColor = true;
        checkTogether(options);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
            return app.exit(error, std::cout, std::cerr);
        std::cerr << "ktbake: " << error.what() << "\nktbake --help lists the options.\n";
        return ktBakeExit::usage;
    }
    return {};
}
