// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures how far baked light is from brute force over the whole surface, for several scenes and options of ktbake.
#include "ktCommandLine.h"
#include "ktQualityBake.h"
#include "ktQualityError.h"
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
    std::vector<std::string> scenes, variants;
    std::string names, models, samples = "/usr/share/assimp/models";
    std::string ktbake = "ktbake beside this program";
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
    std::vector<ktQualityPoint> points;
    std::vector<ktSkyEstimate> estimates;
};

class Report {
public:
    explicit Report(const Options& options_) : options(options_) {
        for (const std::string& text : options.variants)
            variants.push_back(parseVariant(text));
        if (variants.empty())
            variants.push_back({"vertices", ""});
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
        for (const Variant& variant : variants)
            variantWidth = std::max(variantWidth, variant.name.size());
        const ktQualityTable table({{"scene", sceneWidth, true},
                                    {"variant", variantWidth, true},
                                    {"rms", 6, false},
                                    {"95 %", 6, false},
                                    {"off > 0.1", 7, false},
                                    {"inside", 7, false},
                                    {"dark", 7, false},
                                    {"vertices", 9, false},
                                    {"triangles", 9, false},
                                    {"seconds", 7, false},
                                    {"bytes", 10, false}},
                                   options.isMarkdown);
        print(table.head());
        bool isGood = true;
        for (const ktQualitySceneEntry& scene : scenes) {
            reference = {};
            for (const Variant& variant : variants)
                try {
                    print(table.row(measure(scene, variant)));
                } catch (const std::exception& error) {
                    std::fprintf(stderr, "ktQualityReport: %s\n", error.what());
                    isGood = false;
                }
        }
        printRatios();
        return isGood;
    }

private:
    static void print(const std::string& text) {
        std::fputs(text.c_str(), stdout);
        std::fflush(stdout);
    }

    std::vector<std::string> measure(const ktQualitySceneEntry& entry, const Variant& variant) {
        const ktQualityBake bake =
            ktRunQualityBake(options.ktbake, entry.path, variant.options, folder.path().toStdString(), "baked");
        if (bake.mode != "classic")
            throw std::runtime_error(entry.name + ": " + variant.name + ": only the mode classic can be measured");
        const ktQualityScene scene = ktReadQualityScene(bake.output, bake.diagonal_mm);
        updateReference(scene, bake);
        const ktQualityError error = ktMeasureError(ktInterpolateSky(scene, reference.points), reference.estimates);
        if (error.points == 0)
            throw std::runtime_error(entry.name + ": " + variant.name + ": no point is left to measure");
        errors[entry.name][variant.name] = error.rms;
        return {entry.name,
                variant.name,
                decimal(error.rms, 4),
                decimal(error.percentile95, 4),
                percent(error.shareOff),
                percent(error.shareInside),
                percent(error.shareDark),
                std::to_string(scene.vertices),
                std::to_string(scene.triangles),
                decimal(bake.seconds, 2),
                std::to_string(bake.bytes)};
    }

    void updateReference(const ktQualityScene& scene, const ktQualityBake& bake) {
        const std::uint64_t surface = scene.surfaceHash();
        if (!reference.points.empty() && surface == reference.surface &&
            bake.minDistance_mm == reference.minDistance_mm && bake.maxDistance_mm == reference.maxDistance_mm)
            return;
        reference = {surface,
                     bake.minDistance_mm,
                     bake.maxDistance_mm,
                     ktChooseQualityPoints(scene, options.points, options.seed),
                     {}};
        ktSkyReferenceOptions how;
        how.minDistance_mm = bake.minDistance_mm;
        how.maxDistance_mm = bake.maxDistance_mm;
        how.rays = options.rays;
        how.threads = options.threads;
        how.seed = options.seed;
        reference.estimates = ktSkyReference(scene).estimate(reference.points, how);
    }

    // The geometric mean of each variant's rms, as a multiple of that of the first variant.
    void printRatios() const {
        for (std::size_t i = 1; i < variants.size(); ++i) {
            double sum = 0, highest = 0;
            std::size_t count = 0;
            for (const auto& [scene, rms] : errors) {
                const auto own = rms.find(variants[i].name), first = rms.find(variants[0].name);
                if (own == rms.end() || first == rms.end() || !(own->second > 0) || !(first->second > 0))
                    continue;
                const double ratio = own->second / first->second;
                sum += std::log(ratio);
                highest = std::max(highest, ratio);
                ++count;
            }
            if (count > 0)
                print((i == 1 ? "\n" : "") + variants[i].name + " / " + variants[0].name +
                      ": rms ratio, geometric mean " + decimal(std::exp(sum / static_cast<double>(count)), 3) +
                      ", highest " + decimal(highest, 3) + ", " + std::to_string(count) + " scenes\n");
        }
    }

    const Options& options;
    std::vector<Variant> variants;
    std::vector<ktQualitySceneEntry> scenes;
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
                 "NAME=OPTIONS: bakes each scene with these options of ktbake, too; vertices= without this option");
    line.add("--ktbake", options.ktbake, "The program to measure");
    line.add("--rays", options.rays, "Rays per point of the reference, at least 2");
    line.add("--points", options.points, "Random points per scene");
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
