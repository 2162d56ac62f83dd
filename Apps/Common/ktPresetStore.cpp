// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds and changes presets by name, under a lock that processes share.
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

#include <algorithm>
#include <boost/any.hpp>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <mutex>
#include <QFile>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <type_traits>
#include <vector>

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

/// Runs `change`, which returns a Result, under the lock and with the newest presets.
template <class Change>
Result changeLocked(const Change& change) {
    const Lock lock;
    if (const std::string reason = lock.whyNot(); !reason.empty())
        return {Result::NotWritten, reason};
    ktPresetStore::refresh();
    return change();
}

Result refuseUnknown(const std::string& name) {
    return {Result::Refused, "no preset is called \"" + name + "\""};
}

Result refuseTaken(const std::string& name) {
    return {Result::Refused, "a preset is called \"" + name + "\" already"};
}

/// Calls change(list) for each list of the message with `count` entries: the columns of the presets.
template <class T, class Change>
bool changeColumn(ktMessage& message, const std::string& name, std::size_t count, const Change& change) {
    const auto* const column = boost::any_cast<std::vector<T>>(&message.get(name));
    if (!column || column->size() != count)
        return column != nullptr;
    std::vector<T> copy = *column;
    change(copy);
    message.set(name, std::move(copy), true);
    return true;
}

/// Writes the templates file after a change of its columns. The plug-in has no call for that.
template <class Change>
Result rewrite(const Change& change) {
    const QByteArray path = templatesPath();
    ktAmbientOcclusion::the()->writePreset(); // so that the file has all columns
    ktMessage message;
    if (!ktMessageRW::read(message, path.constData(), ""))
        return {Result::NotWritten, path.toStdString() + " cannot be read"};
    const auto count = static_cast<std::size_t>(ktAmbientOcclusion::the()->getPresetNames().size());
    for (const std::string& name : message.names()) {
        const auto each = [&](auto& column) { change(name, column); };
        changeColumn<std::string>(message, name, count, each) || changeColumn<int>(message, name, count, each) ||
            changeColumn<float>(message, name, count, each) || changeColumn<double>(message, name, count, each) ||
            changeColumn<bool>(message, name, count, each);
    }
    return write([&] {
        if (ktMessageRW::write(message, path.constData()))
            ktAmbientOcclusion::the()->readPreset();
    });
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
    return changeLocked([&]() -> Result {
        const QString text = QString::fromStdString(name);
        if (existing == Existing::Refuse && count(text) > 0)
            return refuseTaken(name);
        return write([&] {
            deleteInMemory(text);
            ktAmbientOcclusion::the()->addPreset(text);
        });
    });
}

Result ktPresetStore::remove(const std::string& name) {
    return changeLocked([&]() -> Result {
        const QString text = QString::fromStdString(name);
        if (count(text) == 0)
            return refuseUnknown(name);
        return write([&] {
            deleteInMemory(text);
            ktAmbientOcclusion::the()->writePreset();
        });
    });
}

Result ktPresetStore::rename(const std::string& name, const std::string& newName) {
    return changeLocked([&]() -> Result {
        if (count(QString::fromStdString(name)) == 0)
            return refuseUnknown(name);
        if (newName == name)
            return {};
        if (count(QString::fromStdString(newName)) > 0)
            return refuseTaken(newName);
        return rewrite([&](const std::string& column, auto& entries) {
            if constexpr (std::is_same_v<std::decay_t<decltype(entries)>, std::vector<std::string>>)
                if (column == "name")
                    std::replace(entries.begin(), entries.end(), name, newName);
        });
    });
}

Result ktPresetStore::move(const std::string& name, int place) {
    return changeLocked([&]() -> Result {
        const QList<QString> names = ktAmbientOcclusion::the()->getPresetNames();
        const int from = names.indexOf(QString::fromStdString(name));
        if (from < 0)
            return refuseUnknown(name);
        const int to = std::max(0, std::min(place, names.size() - 1));
        return rewrite([&](const std::string&, auto& entries) {
            const auto first = entries.begin() + std::min(from, to), last = entries.begin() + std::max(from, to) + 1;
            std::rotate(first, from < to ? first + 1 : last - 1, last);
        });
    });
}

Result ktPresetStore::restoreBuiltIn() {
    return changeLocked([] {
        return write([] {
            ktAmbientOcclusion* const plugin = ktAmbientOcclusion::the();
            int old = plugin->getPresetNames().size();
            plugin->addDefaultPresets();
            const QList<QString> names = plugin->getPresetNames(), builtIn = names.mid(old);
            while (old-- > 0)
                if (builtIn.contains(names[old]))
                    plugin->deletePreset(old);
            plugin->writePreset();
        });
    });
}

QByteArray ktPresetStore::readFile() {
    QFile file(QFile::decodeName(templatesPath()));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Result ktPresetStore::writeFile(const QByteArray& content) {
    const Lock lock;
    QString reason = QString::fromStdString(lock.whyNot());
    if (reason.isEmpty() && ktSafeFile::replace(templatesPath(), content, reason)) {
        refresh();
        return {};
    }
    return {Result::NotWritten, reason.toStdString()};
}
