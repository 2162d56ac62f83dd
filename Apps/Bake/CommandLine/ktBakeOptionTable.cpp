// SPDX-License-Identifier: LGPL-2.1-or-later
// The one place where the options of ktbake are declared: name, value, default, help and where the value goes.
#include "ktBakeOptionTable.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeOptions.h"
#include "ktBakeUsageError.h"
#include "ktBakeValues.h"
#include "ktLengthUnit.h"
#include "ktNearNames.h"
#include "ktPreview.h"
#include "ktVersion.h"

#include <functional>
#include <iterator>
#include <QString>
#include <QStringList>

namespace {

namespace Settings = ktAmbientOcclusionSettings;
using namespace ktBakeValues;

using Set = std::function<void(const std::string& option, const std::string& text)>;

template <class Row>
std::string optionOf(Row row) {
    return std::string("--") + row.names.option;
}

Set into(std::string& target) {
    return [&target](const std::string&, const std::string& text) { target = text; };
}

/// Callbacks of the options refer to the ktBakeOptions, not to this object.
class Table {
public:
    Table(CLI::App& app_, ktBakeOptions& options_) : app(app_), options(options_) {}

    std::vector<ktBakeOptionInfo> addAll() && {
        addFiles();
        addSelection();
        addSettings();
        addPresets();
        addRun();
        return std::move(infos);
    }

private:
    CLI::App& app;
    ktBakeOptions& options;
    const ktAmbientOcclusion& defaults = *ktAmbientOcclusion::the();
    std::string group;
    std::vector<ktBakeOptionInfo> infos;

    ktBakeOptionInfo& describe(const std::string& names, const std::string& help) {
        ktBakeOptionInfo info;
        for (const QString& name : QString::fromStdString(names).split(','))
            info.names.push_back(name.toStdString());
        info.group = group;
        info.help = help;
        return infos.emplace_back(info);
    }

    /// An option with a value. The help shows "argument [defaultValue]".
    ktBakeOptionInfo& value(const std::string& names, const Set& set, const std::string& help,
                            const std::string& argument, const std::string& defaultValue = {}) {
        ktBakeOptionInfo& info = describe(names, help);
        info.argument = argument;
        info.defaultValue = defaultValue;
        const std::string name = info.longName();
        app.add_option_function<std::string>(
               names, [set, name](const std::string& text) { set(name, text); }, help)
            ->group(group)
            ->option_text(defaultValue.empty() ? argument : argument + " [" + defaultValue + "]");
        return info;
    }

    void file(const std::string& names, std::string& target, const std::string& help, const std::string& argument,
              const std::vector<std::string>& endings, const std::string& defaultValue = {}) {
        ktBakeOptionInfo& info = value(names, into(target), help, argument, defaultValue);
        info.kind = ktBakeValueKind::File;
        info.values = endings;
    }

    void choice(const std::string& names, const std::vector<std::string>& choices, const std::function<void(int)>& set,
                const std::string& help, const std::string& defaultValue = {}) {
        std::string argument;
        for (const std::string& one : choices)
            argument += (argument.empty() ? "" : "|") + one;
        ktBakeOptionInfo& info = value(
            names,
            [choices, set](const std::string& option, const std::string& text) {
                set(parseChoice(option, text, choices));
            },
            help, argument, defaultValue);
        info.kind = ktBakeValueKind::Choice;
        info.values = choices;
    }

    void preset(const std::string& name, std::string& target, const std::string& help) {
        value(name, into(target), help, "NAME").kind = ktBakeValueKind::Preset;
    }

    void flag(const std::string& names, const std::function<void()>& set, const std::string& help) {
        describe(names, help);
        // The text keeps CLI11 from printing more about the flag.
        app.add_flag_callback(names, set, help)->group(group)->option_text(" ");
    }

    /// `--name` and `--no-name`.
    void onOff(const std::string& name, std::optional<bool>& target, const std::string& help, bool defaultValue) {
        flag(
            "--" + name, [&target] { target = true; }, help + (defaultValue ? " [on]" : " [off]"));
        flag(
            "--no-" + name, [&target] { target = false; }, "the opposite of --" + name);
    }

    void addFiles() {
        group = "Files";
        ktBakeOptionInfo& scene =
            describe("SCENE", "scene to bake: glTF (.glb, .gltf), OBJ, PLY, STL, FBX, Collada, "
                              "...; -: standard input; several with --output-folder, @LIST: a file of names");
        scene.kind = ktBakeValueKind::File;
        scene.values = {".glb", ".gltf", ".obj", ".ply", ".stl", ".fbx", ".dae", ".ac", ".3ds", ".off", ".x"};
        app.add_option("SCENE", options.scene, scene.help)->option_text(" ");
        file("-o,--output", options.output, "baked scene; -: standard output", "FILE.glb|.gltf", {".glb", ".gltf"},
             "SCENE-baked.glb");
        value("--output-folder", into(options.outputFolder), "bake each SCENE into this folder, as NAME-baked.glb",
              "DIR");
        flag(
            "--update", [&options = options] { options.update = true; },
            "with --output-folder: leave out scenes whose files and options have not changed");
        flag(
            "--stop-on-error", [&options = options] { options.stopOnError = true; },
            "with --output-folder: end at the first scene that fails");
        file("--preview", options.preview, "picture of the baked scene", "FILE.png", {".png"});
        value(
            "--preview-size",
            [&options = options](const std::string& option, const std::string& text) {
                options.previewSize = parseSize(option, text, ktLargestPreview_px);
            },
            "its size in pixels", "WIDTHxHEIGHT",
            std::to_string(options.previewSize[0]) + "x" + std::to_string(options.previewSize[1]));
        ktBakeOptionInfo& view = value("--preview-view", into(options.previewView),
                                       "its camera: a side, the file's first camera, or a camera's name",
                                       "SIDE|camera|NAME", options.previewView);
        view.kind = ktBakeValueKind::Choice;
        view.values = ktPreviewSideNames();
        view.values.emplace_back("camera");
        flag(
            "--preview-headlight", [&options = options] { options.previewHeadlight = true; },
            "light it softly from the camera too, so that convex parts have shape");
        file("--stats", options.stats, "times and counts of the run", "FILE.json", {".json"});
        ktBakeOptionInfo& unit = value(
            "--unit",
            [&options = options](const std::string& option, const std::string& text) {
                const std::vector<std::string> units = {"auto", "mm", "cm", "m", "inch", "foot"};
                if (!ktParseLengthUnit(text))
                    throw ktBakeUsageError(option, text,
                                           "must be auto, mm, cm, m, inch, foot or a length in millimetres" +
                                               ktSuggestNames(text, units));
                options.unit = text;
            },
            "length of one unit of the file; auto trusts glTF files of plausible size", "auto|mm|cm|m|inch|foot|MM",
            "auto");
        unit.kind = ktBakeValueKind::Choice;
        unit.values = {"auto", "mm", "cm", "m", "inch", "foot"};
        choice(
            "--up", {"x", "y", "z"}, [&options = options](int axis) { options.up = static_cast<ktUpAxis>(axis); },
            "axis of the file that points up", "as the file says, else y");
        choice(
            "--shade", {"multiply", "none"}, [&options = options](int how) { options.multiplyColors = how == 0; },
            "multiply the light into the vertex colours, for viewers", "multiply");
        value(
            "--exposure",
            [&options = options](const std::string& option, const std::string& text) {
                options.exposure = parsePositive(option, text);
            },
            "scale of the light that is multiplied in", "FLOAT", "1");
        value(
            "--strength",
            [&options = options](const std::string& option, const std::string& text) {
                options.strength = parseReal(option, text, 0, 10);
            },
            "how strongly that light darkens the vertex colours; exact values stay", "FLOAT", "1");
        choice(
            "--compress", ktCompressionNames(),
            [&options = options](int mode) { options.compression = static_cast<ktCompressionMode>(mode); },
            "how the geometry of the written file is compressed", "as-input");
        value(
            "--crease-angle",
            [&options = options](const std::string& option, const std::string& text) {
                options.creaseAngle_deg = parseReal(option, text, 0, 180);
            },
            "surfaces without normals: edges up to this angle are smooth, vertices are split at sharper ones",
            "DEGREES", "30");
        flag(
            "--keep-vertices", [&options = options] { options.keepVertices = true; },
            "do not split vertices: the sides of a sharp edge share one value");
        flag(
            "--unique-instances", [&options = options] { options.uniqueInstances = true; },
            "give each use of a mesh its own results");
        flag(
            "--ground-plane", [&options = options] { options.groundPlane = true; },
            "put a plane below the scene that catches its shadow");
    }

    void addSelection() {
        group = "What to do";
        choice(
            "--fit", {ktNameOf(ktFitMode::Vertices), ktNameOf(ktFitMode::Surface)},
            [&options = options](int index) { options.fit = index == 0 ? ktFitMode::Vertices : ktFitMode::Surface; },
            "light at the vertices, or the vertex values that show the faces best", "surface");
        value(
            "--max-triangles",
            [&options = options](const std::string& option, const std::string& text) {
                if (!ktParseTriangleBudget(text, options.maxTriangles))
                    throw ktBakeUsageError(option, text, "must be a number of triangles, or a factor such as 4x");
            },
            "with --subdivide and --fit surface: refine where it pays most, up to this size of the scene", "N|Fx",
            "no limit");
        ktBakeOptionInfo& select = describe("--select", "bake what is below these nodes only");
        select.argument = "NAME ...";
        select.defaultValue = "the scene's top nodes";
        select.takesSeveral = true;
        // Each name comes with the option, so that CLI11 does not read a name in brackets as a list.
        app.add_option(select.longName(), options.select, select.help)
            ->group(group)
            ->option_text(select.argument + " [" + select.defaultValue + "]")
            ->expected(1)
            ->allow_extra_args(false)
            ->take_all();
        flag(
            "--missing", [&options = options] { options.missing = true; }, "bake only what has no results yet");
        choice(
            "--clear", {"shadows", "indirect"},
            [&options = options](int what) {
                options.clear = what == 0 ? ktBakeClear::Shadows : ktBakeClear::Indirect;
            },
            "remove results instead of baking");
        flag(
            "--active", [&options = options] { options.activeOnly = true; },
            "with --clear: leave hidden parts as they are");
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
        std::string range = std::to_string(least) + ".." + std::to_string(most);
        if constexpr (Row::argument != nullptr)
            range = Row::argument;
        std::optional<int>& target = options.given(row);
        ktBakeOptionInfo& info = value(
            optionOf(row),
            [&target](const std::string& option, const std::string& text) {
                target =
                    parseInteger(option, text, static_cast<int>(Row::range.least), static_cast<int>(Row::range.most));
            },
            row.help, range, std::to_string(row.get(defaults)) + row.initialNote);
        if (row.argument)
            return;
        info.kind = ktBakeValueKind::Choice;
        for (int i = least; i <= most; ++i)
            info.values.push_back(std::to_string(i));
    }

    template <class Row>
    void addSetting(Row row, Settings::Choice) {
        const std::vector<std::string> choices(std::begin(row.choices), std::end(row.choices));
        std::optional<int>& target = options.given(row);
        choice(
            optionOf(row), choices, [&target](int index) { target = index; }, row.help,
            choices.at(static_cast<size_t>(row.get(defaults))));
    }

    template <class Row>
    void addSetting(Row row, Settings::Switch) {
        onOff(row.names.option, options.given(row), row.help, row.get(defaults));
    }

    /// How a length that is not given follows the scene.
    static const char* noteOf(Settings::MinDistance) { return ", at most 0.01%"; }
    static const char* noteOf(Settings::MaxDistance) { return ""; } // only scenes above 300 m have another one
    static const char* noteOf(Settings::MinEdgeLength) { return ", at most 0.1%"; }

    template <class Row, class Value>
    void addSetting(Row row, Settings::Length<Value>) {
        std::optional<ktBakeDistance>& target = options.given(row);
        value(
            optionOf(row),
            [&target](const std::string& option, const std::string& text) {
                target = parseDistance(option, text, Row::isLeastExcluded);
            },
            row.help, "MM|PERCENT%", format(row.get(defaults)) + noteOf(row));
    }

    template <class Row>
    void addSetting(Row row, Settings::Real) {
        std::optional<double>& target = options.given(row);
        value(
            optionOf(row),
            [&target](const std::string& option, const std::string& text) {
                target = parseReal(option, text, Row::range.least, Row::range.most);
            },
            row.help, "FLOAT", format(row.get(defaults)));
    }

    template <class Row>
    void addSetting(Row row, Settings::Color) {
        const osg::Color3f color = row.get(defaults);
        std::optional<std::array<float, 3>>& target = options.given(row);
        value(
            optionOf(row),
            [&target](const std::string& option, const std::string& text) { target = parseColor(option, text); },
            row.help, "R,G,B", format(color[0]) + "," + format(color[1]) + "," + format(color[2]));
    }

    /// A colour switches this on, so the option only switches it off.
    template <class Row>
    void addSetting(Row row, Settings::OverrideMaterialColor) {
        flag(
            std::string("--no-") + Settings::MaterialColor::names.option,
            [&options = options] { options.overrideColor = false; }, row.help);
    }

    void addPresets() {
        group = "Presets";
        preset("--preset", options.preset, "settings by name or its beginning; other options change them");
        value("--settings-from", into(options.settingsFrom), "settings that this node was baked with", "NODE");
        preset("--save-preset", options.savePreset, "keep the settings under a name");
        preset("--delete-preset", options.deletePreset, "remove a preset");
        flag(
            "--list-presets", [&options = options] { options.listPresets = true; }, "print the presets' names");
    }

    void addRun() {
        group = "Run";
#ifdef KT_SCRIPTING
        const char* scriptHelp = "run a Python script instead, on SCENE if given; what follows -- are its arguments";
#else
        const char* scriptHelp = "run a Python script: not with this ktbake, built without scripting";
#endif
        file("--script", options.script, scriptHelp, "FILE.py", {".py"});
        value(
            "--threads",
            [&options = options](const std::string& option, const std::string& text) {
                options.threads = parseInteger(option, text, 1, 1024);
            },
            "worker threads", "INT", "one a core");
        file("--checkpoint", options.checkpoint, "keep what is traced; the same command goes on after a break", "FILE",
             {});
        choice(
            "--ranks", {"auto", "off"}, [&options = options](int index) { options.ranks = index == 0; },
            "share one bake among the processes that mpirun or srun started", "auto");
        choice(
            "--tracer", {ktNameOf(ktTracerKind::Embree), ktNameOf(ktTracerKind::Hemisphere)},
            [&options = options](int index) {
                options.tracer = index == 0 ? ktTracerKind::Embree : ktTracerKind::Hemisphere;
            },
            "what follows the rays; the results are the same, to rounding", "hemisphere");
        flag(
            "-q,--quiet", [&options = options] { options.quiet = true; }, "print errors only");
        flag(
            "--json", [&options = options] { options.json = true; }, "messages as one JSON object a line");
        describe("-h,--help", "print this");
        app.set_help_flag("-h,--help", "print this")->group(group);
        describe("-v,-V,--version", "print the version");
        app.add_flag_callback(
               "-v,-V,--version", [] { throw CLI::CallForVersion(std::string("ktbake ") + ktProjectVersion(), 0); },
               "print the version")
            ->group(group)
            ->option_text(" ");
    }
};

} // namespace

std::vector<ktBakeOptionInfo> declareBakeOptions(CLI::App& app, ktBakeOptions& options) {
    return Table(app, options).addAll();
}
