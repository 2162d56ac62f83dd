// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps and finds copies of unsaved scenes.
#include "ktStudioRecovery.h"

#include "ktBackgroundWork.h"
#include "ktPreferences.h"
#include "ktStudioDocument.h"
#include "ktStudioRun.h"

#include <algorithm>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>

namespace {

constexpr int laterThan_ms = 3000;
const char* const sceneFile = "/scene.glb";
const char* const infoFile = "/copy.ini";
const char* const lockFile = "/lock";
const char* const addedKey = "added";

QString allFolders() {
    return ktPreferences::getPreferencesDir() + "recovery";
}

std::vector<ktStudioDocument::AddedCopy> readAdded(const QString& folder) {
    std::vector<ktStudioDocument::AddedCopy> added;
    QSettings info(folder + infoFile, QSettings::IniFormat);
    const int count = info.beginReadArray(addedKey);
    for (int i = 0; i < count; ++i) {
        info.setArrayIndex(i);
        ktStudioDocument::AddedCopy copy;
        copy.scene = info.value("scene").toString();
        if (const QString name = info.value("copy").toString(); !name.isEmpty())
            copy.copy = folder + "/" + name;
        copy.options.unit = info.value("unit").toString();
        copy.options.up = info.value("up").toString();
        copy.options.uniqueInstances = info.value("uniqueInstances").toBool();
        copy.options.creaseAngle_deg = info.value("creaseAngle").toDouble();
        copy.options.keepVertices = info.value("keepVertices").toBool();
        added.push_back(copy);
    }
    return added;
}

} // namespace

ktStudioRecovery::ktStudioRecovery(ktStudioDocument& document_, ktStudioRun& run) : document(document_) {
    later.setSingleShot(true);
    later.setInterval(laterThan_ms);
    connect(&later, &QTimer::timeout, this, [this] {
        if (document.isReading())
            later.start();
        else
            keep();
    });
    connect(&run, &ktStudioRun::ended, this, [this](ktStudioRun::Ending how) {
        // After a cancel the window is free at once.
        if (how == ktStudioRun::Ending::Cancelled)
            later.start();
        else
            keep();
    });
    connect(&run, &ktStudioRun::runningChanged, this, [this](bool isRunning) {
        if (isRunning)
            later.stop();
    });
    connect(&document, &ktStudioDocument::modifiedChanged, this, [this](bool isModified) {
        if (!isModified)
            remove();
    });
}

ktStudioRecovery::~ktStudioRecovery() {
    remove();
}

void ktStudioRecovery::keep() {
    if (!document.isModified())
        return;
    // Disks take their time.
    const ktStudioDocument::Work work(document, tr("Keeping a copy for a recovery"));
    if (!lock) {
        folder = allFolders() + "/" + QString::number(QCoreApplication::applicationPid());
        auto newLock = std::make_unique<QLockFile>(folder + lockFile);
        newLock->setStaleLockTime(0);
        bool isMade = false;
        ktRunInBackground([&] {
            isMade = QDir().mkpath(folder);
            if (isMade)
                newLock->tryLock(0);
        });
        if (!isMade)
            return;
        lock = std::move(newLock);
    }
    if (!document.saveCopy(folder + sceneFile))
        return;
    const std::vector<ktStudioDocument::AddedCopy> added = document.saveAddedCopies(folder);
    const QString path = document.getPath(), infoPath = folder + infoFile;
    const double unit_mm = document.getUnit_mm();
    ktRunInBackground([&] {
        QSettings info(infoPath, QSettings::IniFormat);
        info.setValue("scene", path);
        info.setValue("unit", unit_mm);
        info.setValue("time", QDateTime::currentDateTime());
        info.remove(addedKey);
        info.beginWriteArray(addedKey);
        for (int i = 0; i < static_cast<int>(added.size()); ++i) {
            const ktStudioDocument::AddedCopy& copy = added[static_cast<std::size_t>(i)];
            info.setArrayIndex(i);
            info.setValue("scene", copy.scene);
            info.setValue("copy", QFileInfo(copy.copy).fileName());
            info.setValue("unit", copy.options.unit);
            info.setValue("up", copy.options.up);
            info.setValue("uniqueInstances", copy.options.uniqueInstances);
            info.setValue("creaseAngle", copy.options.creaseAngle_deg);
            info.setValue("keepVertices", copy.options.keepVertices);
        }
        info.endArray();
    });
}

void ktStudioRecovery::remove() {
    later.stop();
    if (!lock)
        return;
    lock->unlock();
    lock.reset();
    QDir(folder).removeRecursively();
}

std::vector<ktStudioRecovery::Copy> ktStudioRecovery::findAbandoned() const {
    std::vector<Copy> copies;
    const QDir all(allFolders());
    for (const QString& name : all.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString path = all.filePath(name);
        QLockFile other(path + lockFile);
        other.setStaleLockTime(0);
        if ((lock && path == folder) || !other.tryLock(0))
            continue; // its process lives
        other.unlock();
        const QSettings info(path + infoFile, QSettings::IniFormat);
        const Copy copy{path, info.value("scene").toString(), info.value("time").toDateTime()};
        if (copy.scene.isEmpty() || !QFileInfo::exists(path + sceneFile))
            discard(copy);
        else
            copies.push_back(copy);
    }
    std::sort(copies.begin(), copies.end(), [](const Copy& a, const Copy& b) { return a.time > b.time; });
    return copies;
}

bool ktStudioRecovery::open(const Copy& copy) {
    ktStudioReadOptions options;
    options.unit =
        QString::number(QSettings(copy.folder + infoFile, QSettings::IniFormat).value("unit").toDouble(), 'g', 17);
    if (!document.openCopy(copy.folder + sceneFile, copy.scene, options))
        return false;
    document.addCopies(readAdded(copy.folder));
    keep(); // of this process now
    discard(copy);
    return true;
}

void ktStudioRecovery::discard(const Copy& copy) {
    QDir(copy.folder).removeRecursively();
}
