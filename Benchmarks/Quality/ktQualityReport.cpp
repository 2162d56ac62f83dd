// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures how far baked light is from brute force over the whole surface, for several scenes and options of ktbake.
#include "ktCommandLine.h"
#include "ktQualityBake.h"
#include "ktQualityBlender.h"
#include "ktQualityError.h"
#include "ktQualityEven.h"
#include "ktQualityFile.h"
#include "ktQualitySceneList.h"
#include "ktQualityTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <QCoreApplication>
#include <QTemporaryDir>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

struct Options {
    std::vector<std::string> scenes, variants, evens;
    std::string names, models, samples = "/usr/share/assimp/models";
    std::string ktbake = "ktbake beside this program";
    std::string blender = "blender";
    unsigned blenderRays = 1024;
    float contact_mm = 0;
    unsigned rays = 4096, threads = 0;
    std::size_t points = 20000, seed = 1;
    bool isMarkdown = false;
};

struct Variant {
    std::string name, options;
};

Variant parseVariant(const std::string& text) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0)
        throw std::runtime_error("--variant " + text + ": is not NAME=OPTIONS");
    return {text.substr(0, sign), text.substr(sign + 1)};
}

// An even subdivision, with a multiple of the vertices of a variant.
struct Even {
    std::string name, variant;
    double factor = 1;
};

Even parseEven(const std::string& text) {
    const std::size_t sign = text.find('*');
    Even even{"even " + text, text.substr(0, sign)};
    if (sign != std::string::npos) {
        std::size_t end = 0;
        try {
            even.factor = std::stod(text.substr(sign + 1), &end);
        } catch (const std::exception&) {
            end = 0;
        }
        if (end == 0 || sign + 1 + end != text.size() || !(even.factor > 0))
            throw std::runtime_error("--even " + text + ": is not VARIANT or VARIANT*FACTOR");
    }
    return even;
}

std::string decimal(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string percent(double share) {
    return decimal(100 * share, 1) + " %";
}

// The reference of a scene. Variants that keep its triangles share it, so that they are compared at the same points.
struct Reference {
    std::uint64_t surface = 0;
    double minDistance_mm = 0, maxDistance_mm = 0;
    unsigned bounces = 0;
    ktQualityReflection reflection;
    std::vector<ktQualityPoint> points;
    std::vector<ktQualityEstimate> estimates;
    std::vector<double> distances_mm; // to other meshes, if wanted

    bool fits(const ktQualityBake& bake, std::uint64_t otherSurface) const {
        return !points.empty() && surface == otherSurface && minDistance_mm == bake.minDistance_mm &&
               maxDistance_mm == bake.maxDistance_mm && bounces == bake.bounces && reflection == bake.reflection;
    }
};

class Report {
public:
    explicit Report(const Options& options_) : options(options_) {
        for (const std::string& text : options.variants)
            variants.push_back(parseVariant(text));
        if (variants.empty())
            variants.push_back({"vertices", "--fit vertices"});
        for (const Variant& variant : variants)
            rows.push_back(variant.name);
        for (const std::string& text : options.evens) {
            evens.push_back(parseEven(text));
            if (std::find(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(variants.size()),
                          evens.back().variant) == rows.begin() + static_cast<std::ptrdiff_t>(variants.size()))
                throw std::runtime_error("--even " + text + ": there is no such variant");
            rows.push_back(evens.back().name);
        }
        blender = options.blender.empty() ? "" : ktFindBlender(options.blender);
        if (!blender.empty())
            rows.push_back("Blender");
        if (!folder.isValid())
            throw std::runtime_error("no temporary folder: " + folder.errorString().toStdString());
        for (const std::string& path : options.scenes)
            scenes.push_back({fs::path(path).stem().string(), path});
        const std::vector<ktQualitySceneEntry> named =
            ktFindQualityScenes(options.names, {options.models, options.samples, folder.path().toStdString()});
        scenes.insert(scenes.end(), named.begin(), named.end());
        if (scenes.empty())
            throw std::runtime_error("no scene; --help lists the options");
    }

    /// @return false if something could not be measured
    bool run() {
        std::size_t sceneWidth = 0, variantWidth = 0;
        for (const ktQualitySceneEntry& scene : scenes)
            sceneWidth = std::max(sceneWidth, scene.name.size());
        for (const std::string& row : rows)
            variantWidth = std::max(variantWidth, row.size());
        std::vector<ktQualityTable::Column> columns = {{"scene", sceneWidth, true}, {"variant", variantWidth, true},
                                                       {"rms", 6, false},           {"95 %", 6, false},
                                                       {"off > 0.1", 7, false},     {"light rms", 6, false},
                                                       {"95 %", 6, false},          {"off > 0.1", 7, false},
                                                       {"inside", 7, false},        {"dark", 7, false},
                                                       {"vertices", 9, false},      {"triangles", 9, false},
                                                       {"seconds", 7, false},       {"bytes", 10, false}};
        if (options.contact_mm > 0) {
            columns.push_back({"contact rms", 6, false});
            columns.push_back({"points", 6, false});
        }
        const ktQualityTable table(columns, options.isMarkdown);
        print(table.head());
        bool isGood = true;
        for (const ktQualitySceneEntry& scene : scenes) {
            reference = {};
            vertices.clear();
            bakes.clear();
            for (const Variant& variant : variants)
                isGood &= tryTo([&] { print(table.row(measure(scene, variant))); });
            for (const Even& even : evens)
                isGood &= tryTo([&] { print(table.row(measureEven(scene, even))); });
            if (!blender.empty())
                isGood &= tryTo([&] { print(table.row(measureBlender(scene))); });
        }
        if (blender.empty() && !options.blender.empty())
            print("\nBlender is not installed: there are no rows of it.\n");
        printRatios();
        return isGood;
    }

private:
    static void print(const std::string& text) {
        std::fputs(text.c_str(), stdout);
        std::fflush(stdout);
    }

    // Says on standard error what went wrong.
    template <class Work>
    static bool tryTo(const Work& work) {
        try {
            work();
            return true;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "ktQualityReport: %s\n", error.what());
            return false;
        }
    }

    std::vector<std::string> measureEven(const ktQualitySceneEntry& entry, const Even& even) {
        const auto count = vertices.find(even.variant);
        if (count == vertices.end())
            throw std::runtime_error(entry.name + ": " + even.name + ": the variant was not measured");
        const std::string path = folder.path().toStdString() + "/even.glb";
        const ktEvenScene scene = ktWriteEvenScene(
            entry.path, path, static_cast<std::size_t>(even.factor * static_cast<double>(count->second)));
        char unit[64];
        std::snprintf(unit, sizeof unit, " --unit %.17g", scene.unit_mm);
        return measure({entry.name, path}, {even.name, variants[0].options + unit});
    }

    // Blender bakes the file of the first variant, without its colours.
    std::vector<std::string> measureBlender(const ktQualitySceneEntry& entry) {
        const auto first = bakes.find(variants[0].name);
        if (first == bakes.end())
            throw std::runtime_error(entry.name + ": Blender: the first variant was not measured");
        ktQualityBake bake = first->second;
        const double unit_mm = ktReadQualityScene(bake.output, bake.diagonal_mm).unit_mm;
        const std::string input = bake.output;
        bake.output = folder.path().toStdString() + "/blender.glb";
        fs::remove(bake.output);
        bake.seconds =
            ktRunBlenderBake(blender, input, bake.output, options.blenderRays, bake.maxDistance_mm / unit_mm);
        bake.bytes = fs::file_size(bake.output);
        return rowOf(entry.name, "Blender", bake, ktQualityValues::Colors);
    }

    std::vector<std::string> measure(const ktQualitySceneEntry& entry, const Variant& variant) {
        const std::string file = "baked-" + std::to_string(bakes.size());
        const ktQualityBake bake =
            ktRunQualityBake(options.ktbake, entry.path, variant.options, folder.path().toStdString(), file);
        if (bake.mode != "classic")
            throw std::runtime_error(entry.name + ": " + variant.name + ": only the mode classic can be measured");
        bakes[variant.name] = bake;
        return rowOf(entry.name, variant.name, bake, ktQualityValues::Results);
    }

    std::vector<std::string> rowOf(const std::string& name, const std::string& variant, const ktQualityBake& bake,
                                   ktQualityValues values) {
        const ktQualityScene scene = ktReadQualityScene(bake.output, bake.diagonal_mm, bake.reflection, values);
        updateReference(scene, bake);
        const std::vector<float> baked = ktInterpolateSky(scene, reference.points);
        const ktQualityError sky = ktMeasureSkyError(baked, reference.estimates);
        if (sky.points == 0)
            throw std::runtime_error(name + ": " + variant + ": no point is left to measure");
        errors[name][variant] = sky.rms;
        vertices[variant] = scene.vertices;
        std::vector<std::string> row = {name, variant};
        addError(row, sky);
        const std::vector<std::array<float, 3>> light = ktInterpolateLight(scene, reference.points);
        if (light.empty())
            row.insert(row.end(), 3, "-");
        else
            addError(row, ktMeasureLightError(light, reference.estimates));
        for (const std::string& text :
             {percent(sky.shareInside), percent(sky.shareDark), std::to_string(scene.vertices),
              std::to_string(scene.triangles), decimal(bake.seconds, 2), std::to_string(bake.bytes)})
            row.push_back(text);
        if (options.contact_mm > 0) {
            const ktQualityError contact =
                ktMeasureSkyError(ktSelectNear(baked, reference.distances_mm, options.contact_mm),
                                  ktSelectNear(reference.estimates, reference.distances_mm, options.contact_mm));
            row.push_back(contact.points > 0 ? decimal(contact.rms, 4) : "-");
            row.push_back(std::to_string(contact.points));
        }
        return row;
    }

    static void addError(std::vector<std::string>& row, const ktQualityError& error) {
        for (const std::string& text : {decimal(error.rms, 4), decimal(error.percentile95, 4), percent(error.shareOff)})
            row.push_back(text);
    }

    void updateReference(const ktQualityScene& scene, const ktQualityBake& bake) {
        const std::uint64_t surface = scene.surfaceHash();
        if (reference.fits(bake, surface))
            return;
        reference = {surface,
                     bake.minDistance_mm,
                     bake.maxDistance_mm,
                     bake.bounces,
                     bake.reflection,
                     ktChooseQualityPoints(scene, options.points, options.seed),
                     {},
                     {}};
        ktQualityTracing tracing;
        tracing.minDistance_mm = bake.minDistance_mm;
        tracing.maxDistance_mm = bake.maxDistance_mm;
        tracing.bounces = bake.bounces;
        tracing.rays = options.rays;
        tracing.threads = options.threads;
        tracing.seed = options.seed;
        const ktQualityReference brute(scene);
        reference.estimates = brute.estimate(reference.points, tracing);
        if (options.contact_mm > 0)
            reference.distances_mm = brute.distancesToOthers(reference.points, options.contact_mm, options.threads);
    }

    // The geometric mean of each variant's rms, as a multiple of that of the first variant.
    void printRatios() const {
        for (std::size_t i = 1; i < rows.size(); ++i) {
            double sum = 0, highest = 0;
            std::size_t count = 0;
            for (const auto& [scene, rms] : errors) {
                const auto own = rms.find(rows[i]), first = rms.find(rows[0]);
                if (own == rms.end() || first == rms.end() || !(own->second > 0) || !(first->second > 0))
                    continue;
                const double ratio = own->second / first->second;
                sum += std::log(ratio);
                highest = std::max(highest, ratio);
                ++count;
            }
            if (count > 0)
                print((i == 1 ? "\n" : "") + rows[i] + " / " + rows[0] + ": rms ratio, geometric mean " +
                      decimal(std::exp(sum / static_cast<double>(count)), 3) + ", highest " + decimal(highest, 3) +
                      ", " + std::to_string(count) + " scenes\n");
        }
    }

    const Options& options;
    std::vector<Variant> variants;
    std::vector<Even> evens;
    std::vector<std::string> rows; // the names of variants and even subdivisions
    std::vector<ktQualitySceneEntry> scenes;
    std::string blender;                         // path of the program; empty: none
    std::map<std::string, ktQualityBake> bakes;  // of the current scene, by variant
    std::map<std::string, std::size_t> vertices; // of the current scene's files, by variant
    QTemporaryDir folder;
    Reference reference;
    std::map<std::string, std::map<std::string, double>> errors; // rms by scene and variant
};

} // namespace

int main(int argumentCount, char** arguments) {
    const QCoreApplication application(argumentCount, arguments);
    Options options;
    ktCommandLine line("Measures how far baked light is from brute force, at random points of the surface");
    line.addEach("SCENE", options.scenes, "Scene files");
    line.add("--scenes", options.names, ktQualitySceneHelp);
    line.add("--models", options.models, "Folder of CesiumMilkTruck.glb, nefertiti.obj and stanford-bunny.obj");
    line.add("--samples", options.samples, "Folder of Assimp's test models");
    line.addEach("--variant", options.variants,
                 "NAME=OPTIONS: bakes each scene with these options of ktbake; without any: vertices=--fit vertices");
    line.addEach(
        "--even", options.evens,
        "VARIANT or VARIANT*FACTOR: also bakes each scene subdivided evenly, with the options of the first variant "
        "and as many vertices as the variant's file, times the factor");
    line.add("--ktbake", options.ktbake, "The program to measure");
    line.add("--blender", options.blender, "Program of Blender, for its vertex bake; empty: no rows of it");
    line.add("--blender-rays", options.blenderRays, "Rays per corner of a triangle in Blender");
    line.add("--rays", options.rays, "Rays per point of the reference, at least 2");
    line.add("--points", options.points, "Random points per scene");
    line.add("--contact", options.contact_mm,
             "Adds the rms of w of the points that are at most so far from another mesh, in millimetres");
    line.add("--seed", options.seed, "Seed of the random numbers");
    line.add("--threads", options.threads, "Threads of the reference; 0: one a core");
    line.addFlag("--markdown", options.isMarkdown, "Prints a Markdown table");
    if (const auto code = line.parse(argumentCount, arguments))
        return *code;
    try {
        if (options.ktbake == Options().ktbake)
            options.ktbake = (QCoreApplication::applicationDirPath() + "/ktbake").toStdString();
        return Report(options).run() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ktQualityReport: %s\n", error.what());
        return 1;
    }
}
