// SPDX-License-Identifier: LGPL-2.1-or-later
// Collects the names of the files that are read.
#include "ktReadRecord.h"

#include <algorithm>
#include <mutex>
#include <QDir>
#include <QFileInfo>

namespace {

std::mutex recordMutex;
ktReadRecord* currentRecord = nullptr;

} // namespace

ktReadRecord::ktReadRecord() {
    const std::lock_guard<std::mutex> lock(recordMutex);
    currentRecord = this;
}

ktReadRecord::~ktReadRecord() {
    const std::lock_guard<std::mutex> lock(recordMutex);
    currentRecord = nullptr;
}

void ktReadRecord::add(const QString& path) {
    const std::lock_guard<std::mutex> lock(recordMutex);
    if (currentRecord)
        currentRecord->paths.insert(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
}

bool ktReadRecord::has(const QString& path) {
    const std::lock_guard<std::mutex> lock(recordMutex);
    const QString file = QFileInfo(path).canonicalFilePath(); // empty if it does not exist
    return currentRecord && !file.isEmpty() &&
           std::any_of(currentRecord->paths.begin(), currentRecord->paths.end(),
                       [&](const QString& read) { return QFileInfo(read).canonicalFilePath() == file; });
}

std::set<QString> ktReadRecord::files() const {
    const std::lock_guard<std::mutex> lock(recordMutex);
    return paths;
}
