// SPDX-License-Identifier: LGPL-2.1-or-later
// Bakes many scenes one after the other, and reports each.
#include "ktBakeBatch.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktBakeLastWords.h"
#include "ktBakeMessages.h"
#include "ktBakeOptions.h"
#include "ktBakeOutput.h"
#include "ktBakePresets.h"
#include "ktBakeProgress.h"
#include "ktBakeRecord.h"
#include "ktBakeRun.h"
#include "ktBakeSceneList.h"
#include "ktBakeSettings.h"
#include "ktBakeSignals.h"
#include "ktBakeStats.h"
#include "ktLog.h"
#include "ktReadRecord.h"
#include "ktUndoStack.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <QJsonDocument>

namespace fs = std::filesystem;
namespace Settings = ktAmbientOcclusionSettings;

namespace {

/// The plug-in's settings at one time. A bake changes them, for example the distances that follow the scene.
class KeptSettings {
public:
    KeptSettings() {
        Settings::forEachSetting([this](auto row) {
            put.push_back([row, value = row.get(*ktAmbientOcclusion::the())] {
                // Only what has changed: the initial number of rays belongs to no level of the gather quality.
                if (row.get(*ktAmbientOcclusion::the()) != value)
                    ktPutSetting(row, value);
            });
        });
    }
    void putBack() const {
        for (const auto& one : put)
            one();
        if (ktUndoStack* undo = ktUndoStack::get(0))
            undo->clear(); // it would grow with each scene
    }

private:
    std::vector<std::function<void()>> put;
};

const char* nameOf(int exitCode) {
    for (const ktBakeExit::Description& description : ktBakeExit::descriptions)
        if (description.code == exitCode)
            return description.inShort;
    return "failed";
}

class Batch {
public:
    explicit Batch(const ktBakeOptions& options_) : options(options_), one(options_) {
        one.scenes.clear();
        one.stats.clear();
    }

    int run() {
        if (const int exitCode = prepare(); exitCode != ktBakeExit::done)
            return exitCode;
        for (size_t i = 0; i < entries.size() && !interrupts.isInterrupted(); ++i) {
            kept.putBack();
            number = i + 1;
            bake(entries[i]);
            if (worst != ktBakeExit::done && options.stopOnError)
                break;
        }
        return summarise();
    }

private:
    const ktBakeOptions& options;
    ktBakeOptions one; // of the scene under way
    const KeptSettings kept;
    ktBakeSignals interrupts;
    ktBakeWatch whole;
    std::vector<ktBakeSceneEntry> entries;
    std::unique_ptr<ktBakeRecord> record;
    std::ofstream stats;
    size_t number = 0; // of the scene under way, from 1
    size_t baked = 0, upToDate = 0;
    std::vector<std::string> failures;
    int worst = ktBakeExit::done;

    int fail(int exitCode, const std::string& file, const std::string& reason) {
        ktBakeMessages::logReason(ktLogLevel::Error, file, reason);
        return exitCode;
    }

    int prepare() {
        std::string reason;
        if (const int exitCode = ktListBakeScenes(options.scenes, options.outputFolder, entries, reason);
            exitCode != ktBakeExit::done) {
            ktLog::error("%s", reason.c_str());
            return exitCode;
        }
        std::error_code error;
        fs::create_directories(options.outputFolder, error);
        if (error)
            return fail(ktBakeExit::notWritten, options.outputFolder, "cannot be created: " + error.message());
        makeRecord();
        return openStatistics();
    }

    /// The values of the preset are part of it. Each scene refuses a preset that does not exist.
    void makeRecord() {
        std::string message;
        const int preset = options.preset.empty()
                               ? -1
                               : findPreset(ktAmbientOcclusion::the()->getPresetNames(), options.preset, message);
        if (preset >= 0)
            ktAmbientOcclusion::the()->applyPreset(preset);
        record = std::make_unique<ktBakeRecord>(options);
        kept.putBack();
    }

    int openStatistics() {
        if (options.stats.empty())
            return ktBakeExit::done;
        if (!canBeWritten(options.stats, ktBakeTarget::Anything))
            return ktBakeExit::notWritten;
        stats.open(options.stats, std::ios::binary);
        return stats ? ktBakeExit::done : fail(ktBakeExit::notWritten, options.stats, "cannot be written");
    }

    void bake(const ktBakeSceneEntry& entry) {
        ktBakeWatch watch;
        ktBakeLastWords::goOn(); // after a scene that failed
        if (options.update && record->isUpToDate(entry)) {
            ++upToDate;
            report(entry, "up to date", ktBakeExit::done);
            return;
        }
        one.scene = entry.scene;
        one.output = entry.output;
        ktRunStatistics statistics;
        statistics.scene = entry.scene;
        const int exitCode = bakeAndRecord(entry, statistics);
        if (exitCode == ktBakeExit::cancelled)
            return; // the summary says so
        if (exitCode == ktBakeExit::done)
            ++baked;
        else
            failures.push_back(entry.scene + ": " + nameOf(exitCode));
        worst = std::max(worst, exitCode);
        writeStatistics(statistics, exitCode);
        report(entry,
               exitCode == ktBakeExit::done ? entry.output + " written in " + formatDuration(watch.lap())
                                            : nameOf(exitCode),
               exitCode);
    }

    /// An exception ends this scene only.
    int bakeAndRecord(const ktBakeSceneEntry& entry, ktRunStatistics& statistics) {
        try {
            const ktReadRecord read;
            const int exitCode = bakeScene(one, interrupts, statistics);
            if (exitCode != ktBakeExit::done)
                return exitCode;
            const std::string reason = record->write(entry, read.files());
            if (!reason.empty())
                return fail(ktBakeExit::notWritten, entry.record, "cannot be written: " + reason);
            return ktBakeExit::done;
        } catch (const std::bad_alloc&) {
            return fail(ktBakeExit::failed, entry.scene, "not enough memory");
        } catch (const std::exception& error) {
            return fail(ktBakeExit::failed, entry.scene, error.what());
        }
    }

    void report(const ktBakeSceneEntry& entry, const std::string& what, int exitCode) const {
        ktBakeMessages::log(ktLogLevel::Info,
                            std::to_string(number) + "/" + std::to_string(entries.size()) + " " + entry.scene + ": " +
                                what,
                            {{"file", entry.scene},
                             {"output", exitCode == ktBakeExit::done ? entry.output : std::string()},
                             {"reason", what}});
    }

    /// One JSON object a line, at once: an interrupted batch keeps what is done.
    void writeStatistics(const ktRunStatistics& statistics, int exitCode) {
        if (!stats.is_open())
            return;
        QJsonObject line = statistics.toJson();
        line["exitCode"] = exitCode;
        stats << QJsonDocument(line).toJson(QJsonDocument::Compact).constData() << '\n' << std::flush;
    }

    int summarise() {
        if (stats.is_open() && !stats)
            worst = std::max(worst, fail(ktBakeExit::notWritten, options.stats, "the statistics cannot be written"));
        const bool isCancelled = interrupts.isInterrupted();
        const size_t rest = entries.size() - baked - upToDate - failures.size();
        const std::string counts =
            std::to_string(entries.size()) + " scenes in " + formatDuration(whole.lap()) + ": " +
            std::to_string(baked) + " baked, " + std::to_string(upToDate) + " up to date, " +
            std::to_string(failures.size()) + " failed" +
            (isCancelled || rest > 0 ? ", " + std::to_string(rest) + " not begun or cancelled" : "");
        ktLog::info("%s", counts.c_str());
        for (const std::string& failure : failures)
            ktLog::info("failed: %s", failure.c_str());
        ktBakeMessages::addToResult("summary", counts);
        return isCancelled ? ktBakeExit::cancelled : worst;
    }
};

} // namespace

int runBakeBatch(const ktBakeOptions& options) {
    ktBakeLastWords::waitLonger();
    beginBakes(options);
    ktBakeMessages::dropCalculationOutput();
    return Batch(options).run();
}
