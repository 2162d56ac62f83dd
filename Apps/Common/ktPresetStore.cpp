// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds, saves and deletes presets by name, under a lock that processes share.
#include "ktPresetStore.h"

#include "ktAmbientOcclusion.h"
#include "ktDescriptor.h"
#include "ktHostSignals.h"
#include "ktLog.h"
#include "ktLogOutput.h"
#include "ktMessage.h"
#include "ktMessageRW.h"
#include "ktPreferences.h"
#include "ktSafeFile.h"
#include "ktWaitHooks.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>

namespace {

using ktPresetStore::Result;

constexpr auto longestWait = std::chrono::seconds(5);
constexpr auto retryInterval = std::chrono::milliseconds(5);

QByteArray templatesPath() {
    return ktSafeFile::targetOf((ktPreferences::getPreferencesDir() + "aotemplates.xml").toUtf8());
}

bool doesExist(const QByteArray& path) {
    struct stat status;
    return stat(path.constData(), &status) == 0;
}

/// The lock on the templates file, during the lifetime of the object. The lock is on a file beside it, because the
/// templates file is replaced by a new one.
class Lock {
public:
    Lock() : path(templatesPath() + ".lock"), file(openFile(path)) {
        if (file.number < 0)
            return; // then the templates file cannot be written either, or nobody can lock it
        const ktWaitHooks::Wait wait;
        const auto end = std::chrono::steady_clock::now() + longestWait;
        while (flock(file.number, LOCK_EX | LOCK_NB) != 0) {
            if (errno == EINTR)
                continue;
            if (errno != EWOULDBLOCK) {
                const std::string cause = std::generic_category().message(errno);
                ktLog::warning("%s cannot be locked, so other processes may overwrite the presets: %s",
                               path.constData(), cause.c_str());
                return;
            }
            if (std::chrono::steady_clock::now() > end) {
                isBusy = true;
                return;
            }
            std::this_thread::sleep_for(retryInterval);
        }
    }

    /// Empty unless another process holds the lock for too long.
    std::string whyNot() const {
        return isBusy ? "another process has locked the presets for " + std::to_string(longestWait.count()) +
                            " seconds: " + path.toStdString()
                      : std::string();
    }

private:
    // A file of another user may be open to readers only, which is enough for the lock.
    static int openFile(const QByteArray& path) {
        const int number = open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        return number < 0 && errno == EACCES ? open(path.constData(), O_RDONLY | O_CLOEXEC) : number;
    }

    const QByteArray path;
    const ktDescriptor file;
    bool isBusy = false;
};

/// The first error that is logged during its lifetime.
class FirstError {
public:
    FirstError() {
        connection = QObject::connect(
            &ktHostSignals::the(), &ktHostSignals::logged, &ktHostSignals::the(),
            [this](int level, const QString& line) {
                const std::lock_guard<std::mutex> guard(mutex);
                if (level == static_cast<int>(ktLogLevel::Error) && text.empty())
                    text = line.toStdString();
            },
            Qt::DirectConnection);
    }
    ~FirstError() { QObject::disconnect(connection); }

    std::string get() const {
        const std::lock_guard<std::mutex> guard(mutex);
        return text;
    }

private:
    QMetaObject::Connection connection;
    mutable std::mutex mutex;
    std::string text;
};

int count(const QString& name) {
    return ktAmbientOcclusion::the()->getPresetNames().count(name);
}

void deleteInMemory(const QString& name) {
    ktAmbientOcclusion* const plugin = ktAmbientOcclusion::the();
    for (int index = plugin->getPresetNames().lastIndexOf(name); index >= 0;
         index = plugin->getPresetNames().lastIndexOf(name))
        plugin->deletePreset(index);
}

/// Runs `change`, which writes the file. The plug-in tells a failure only in the log.
template <class Change>
Result write(const Change& change) {
    const FirstError error;
    change();
    if (error.get().empty())
        return {};
    ktPresetStore::refresh();
    return {Result::NotWritten, error.get()};
}

} // namespace

void ktPresetStore::load() {
    if (doesExist(templatesPath())) {
        ktAmbientOcclusion::the();
        return;
    }
    const Lock lock;
    ktAmbientOcclusion::the();
}

void ktPresetStore::refresh() {
    // The plug-in makes a new file in place of one that it cannot read. Here, the presets in memory are better.
    const QByteArray path = templatesPath();
    ktMessage message;
    if (doesExist(path) && ktMessageRW::read(message, path.constData(), ""))
        ktAmbientOcclusion::the()->readPreset();
}

int ktPresetStore::find(const QList<QString>& names, const std::string& name) {
    const QString text = QString::fromStdString(name);
    if (const int several = names.count(text); several > 1)
        ktLog::warning("%d presets are called \"%s\"; the first is applied", several, name.c_str());
    return names.indexOf(text);
}

Result ktPresetStore::save(const std::string& name, Existing existing) {
    const Lock lock;
    if (const std::string reason = lock.whyNot(); !reason.empty())
        return {Result::NotWritten, reason};
    refresh();
    const QString text = QString::fromStdString(name);
    if (existing == Existing::Refuse && count(text) > 0)
        return {Result::Refused, "a preset is called \"" + name + "\" already"};
    return write([&] {
        deleteInMemory(text);
        ktAmbientOcclusion::the()->addPreset(text);
    });
}

Result ktPresetStore::remove(const std::string& name) {
    const Lock lock;
    if (const std::string reason = lock.whyNot(); !reason.empty())
        return {Result::NotWritten, reason};
    refresh();
    const QString text = QString::fromStdString(name);
    if (count(text) == 0)
        return {Result::Refused, "no preset is called \"" + name + "\""};
    return write([&] {
        deleteInMemory(text);
        ktAmbientOcclusion::the()->writePreset();
    });
}
