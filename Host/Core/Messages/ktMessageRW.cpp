// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes messages to XML files and reads them back; the entry point for plug-ins.
#include "ktMessageRW.h"

#include "ktLog.h"
#include "ktMessage.h"
#include "ktMessageFile.h"
#include "ktMessageXml.h"
#include "ktSafeFile.h"

bool ktMessageRW::write(const ktMessage& message, const char* path) {
    QByteArray xml;
    QString reason;
    if (ktMessageXml::write(message, xml, reason) && ktSafeFile::replace(path, xml, reason))
        return true;
    ktLog::error("Couldn't write %s: %s", path, reason.toUtf8().constData());
    return false;
}

bool ktMessageRW::read(ktMessage& message, const char* path, const std::string& filter) {
    ktMessageFile::Identity identity;
    QString reason;
    // Another process may have replaced the broken file by a good one: then read again.
    for (int attempt = 0; attempt < 3; ++attempt) {
        message = ktMessage();
        QByteArray xml;
        const ktMessageFile::ReadResult result =
            ktMessageFile::read(path, ktMessageXml::maxBytes, xml, identity, reason);
        if (result == ktMessageFile::ReadResult::Missing)
            return false;
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
