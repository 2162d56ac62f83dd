// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens the checkpoint of a bake, and removes it when the results are written.
#include "ktBakeCheckpoint.h"

#include "ktBakeExit.h"
#include "ktBakeMessages.h"
#include "ktBakeOptions.h"
#include "ktEventPump.h"
#include "ktFileHash.h"
#include "ktRankFingerprint.h"
#include "ktTracerFactory.h"
#include "ktVersion.h"
#include "ktWorkers.h"

#include <cstdio>
#include <QJsonDocument>
#include <stdexcept>

namespace {

// What results depend on besides the content of the scene.
std::string identityOf(const ktBakeOptions& options, const QJsonObject& settings) {
    std::string identity = ktProjectVersion();
    identity += "\n" + QJsonDocument(settings).toJson(QJsonDocument::Compact).toStdString();
    for (const std::string& option : options.typed)
        if (option.rfind("--output", 0) != 0 && option.rfind("--preview", 0) != 0)
            identity += "\n" + option;
    if (const QString hash = ktHashOfFile(QString::fromStdString(options.scene)); !hash.isEmpty())
        identity += "\n" + hash.toStdString();
    std::uint64_t fingerprint = 0;
    ktEventPump pump;
    ktWorkers::run([&] { fingerprint = ktCalculateFingerprint(*ktMakeTracer()); }, pump);
    return identity + "\n" + std::to_string(fingerprint);
}

} // namespace

ktBakeCheckpoint::~ktBakeCheckpoint() {
    ktCheckpoint::setCurrent(nullptr);
}

int ktBakeCheckpoint::begin(const ktBakeOptions& options, const QJsonObject& settings) {
    if (options.checkpoint.empty())
        return ktBakeExit::done;
    fileName = options.checkpoint;
    try {
        checkpoint = std::make_unique<ktCheckpoint>(fileName, identityOf(options, settings));
    } catch (const std::runtime_error& error) {
        ktBakeMessages::logReason(ktLogLevel::Error, fileName, error.what());
        return ktBakeExit::badInput;
    }
    ktCheckpoint::setCurrent(checkpoint.get());
    return ktBakeExit::done;
}

void ktBakeCheckpoint::end() {
    ktCheckpoint::setCurrent(nullptr);
    if (!checkpoint)
        return;
    if (checkpoint->restoredVertices() > 0)
        ktBakeMessages::logReason(ktLogLevel::Info, fileName,
                                  "the light of " + std::to_string(checkpoint->restoredVertices()) +
                                      " vertices and points is from the checkpoint");
    if (const std::string reason = checkpoint->writeError(); !reason.empty())
        ktBakeMessages::logReason(ktLogLevel::Warning, fileName,
                                  "the checkpoint could not be written further: " + reason);
    checkpoint.reset();
}

void ktBakeCheckpoint::remove() const {
    if (!fileName.empty() && std::remove(fileName.c_str()) != 0)
        ktBakeMessages::logReason(ktLogLevel::Warning, fileName, "the checkpoint cannot be removed");
}
