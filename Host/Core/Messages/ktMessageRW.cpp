// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes messages to XML files and reads them back; the entry point for plug-ins.
#include "ktMessageRW.h"

#include "ktLog.h"
#include "ktMessage.h"
#include "ktMessageFile.h"
#include "ktMessageXml.h"
#include "ktSafeFile.h"

#include <mutex>
#include <set>
#include <string>

namespace {

/// Files whose content may be good, but could not be read. They must not be replaced.
class UnreadableFiles {
public:
    void set(const char* path, bool isUnreadable) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (isUnreadable)
            paths.insert(path);
        else
            paths.erase(path);
    }
    bool contains(const char* path) {
        const std::lock_guard<std::mutex> lock(mutex);
        return paths.count(path) > 0;
    }

private:
    std::mutex mutex;
    std::set<std::string> paths;
};

UnreadableFiles& unreadable() {
    static auto* const files = new UnreadableFiles; // never destroyed: static objects may write
    return *files;
}

} // namespace

bool ktMessageRW::write(const ktMessage& message, const char* path) {
    QByteArray xml;
    QString reason;
    if (unreadable().contains(path)) {
        ktLog::error("Couldn't write %s: it could not be read before, and its content would be lost", path);
        return false;
    }
    if (ktMessageXml::write(message, xml, reason) && ktSafeFile::replace(path, xml, reason))
        return true;
    ktLog::error("Couldn't write %s: %s", path, reason.toUtf8().constData());
    return false;
}

bool ktMessageRW::read(ktMessage& message, const char* path, const std::string& filter) {
    ktMessageFile::Identity identity;
    QString reason;
    unreadable().set(path, false);
    // Another process may have replaced the broken file by a good one: then read again.
    for (int attempt = 0; attempt < 3; ++attempt) {
        message = ktMessage();
        QByteArray xml;
        const ktMessageFile::ReadResult result =
            ktMessageFile::read(path, ktMessageXml::maxBytes, xml, identity, reason);
        if (result == ktMessageFile::ReadResult::Missing)
            return false;
        if (result == ktMessageFile::ReadResult::Unreadable) {
            unreadable().set(path, true);
            ktLog::error("Couldn't read %s: %s (it stays as it is)", path, reason.toUtf8().constData());
            return false;
        }
        if (result == ktMessageFile::ReadResult::Done) {
            ktMessageXml::Problem problem;
            if (ktMessageXml::read(xml, message, filter, problem))
                return true;
            reason = QString("line %1, column %2: %3").arg(problem.line).arg(problem.column).arg(problem.reason);
        }
        if (ktMessageFile::isStill(path, identity))
            break;
    }
    const QByteArray aside = ktMessageFile::setAside(path, identity);
    ktLog::error("Couldn't read %s: %s (%s%s)", path, reason.toUtf8().constData(),
                 aside.isEmpty() ? "it stays where it is" : "set aside as ", aside.constData());
    return false;
}
