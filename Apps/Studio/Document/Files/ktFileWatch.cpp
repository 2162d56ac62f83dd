// SPDX-License-Identifier: LGPL-2.1-or-later
// Watches files and their folders for changes by other programs.
#include "ktFileWatch.h"

#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QStringList>
#include <QTimer>

namespace {

constexpr int settle_ms = 300;
constexpr std::size_t mostWatched = 4096; // the system limits their number for each user

} // namespace

ktFileWatch::State ktFileWatch::State::of(const QString& path) {
    const QFileInfo info(path);
    return info.exists() ? State{info.lastModified(), info.size()} : State();
}

ktFileWatch::ktFileWatch(QObject* parent)
    : QObject(parent), watcher(new QFileSystemWatcher(this)), settle(new QTimer(this)) {
    settle->setSingleShot(true);
    settle->setInterval(settle_ms);
    const auto wait = [this] { settle->start(); };
    connect(watcher, &QFileSystemWatcher::fileChanged, settle, wait);
    connect(watcher, &QFileSystemWatcher::directoryChanged, settle, wait);
    connect(settle, &QTimer::timeout, this, &ktFileWatch::check);
}

void ktFileWatch::watch(const std::set<QString>& files) {
    std::map<QString, State> states;
    for (const QString& path : files) {
        const auto old = known.find(path);
        states.emplace(path, old == known.end() ? State::of(path) : old->second);
    }
    known = std::move(states);
    listen();
}

// Also the folders: a program may replace a file by another one, which ends the watch of the file itself.
void ktFileWatch::listen() {
    QStringList paths;
    std::set<QString> folders;
    for (const auto& [path, state] : known) {
        if (!state.time.isNull() && static_cast<std::size_t>(paths.size()) < mostWatched)
            paths << path;
        folders.insert(QFileInfo(path).path());
    }
    for (const QString& folder : folders)
        if (QFileInfo::exists(folder))
            paths << folder;
    const QStringList old = watcher->files() + watcher->directories();
    if (!old.isEmpty())
        watcher->removePaths(old);
    if (!paths.isEmpty())
        watcher->addPaths(paths);
}

std::set<QString> ktFileWatch::findChanged() const {
    std::set<QString> paths;
    for (const auto& [path, state] : known) {
        const State now = State::of(path);
        if (!now.time.isNull() && !(now == state))
            paths.insert(path);
    }
    return paths;
}

void ktFileWatch::check() {
    if (writings > 0)
        return;
    const std::set<QString> paths = findChanged();
    for (const QString& path : paths)
        known[path] = State::of(path);
    if (!paths.empty())
        listen(); // the files may be others
    for (const QString& path : paths)
        emit changed(path);
}

ktFileWatch::OwnWriting::OwnWriting(ktFileWatch& watch_) : watch(watch_), changedBefore(watch.findChanged()) {
    ++watch.writings;
}

ktFileWatch::OwnWriting::~OwnWriting() {
    const std::set<QString> now = watch.findChanged();
    for (const QString& path : now)
        if (!changedBefore.count(path))
            watch.known[path] = State::of(path);
    if (!now.empty())
        watch.listen();
    --watch.writings;
    watch.settle->start();
}
