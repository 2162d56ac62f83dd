// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads message files up to a size limit, and renames broken ones so that they are not overwritten.
#include "ktMessageFile.h"

#include "ktDescriptor.h"
#include "ktSafeFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>

namespace {

bool fail(QString& reason, const char* what) {
    const std::string cause = std::generic_category().message(errno);
    reason = QString("%1: %2").arg(QString::fromLatin1(what), QString::fromLocal8Bit(cause.c_str()));
    return false;
}

ktMessageFile::Identity identityOf(const struct stat& status) {
    return {static_cast<quint64>(status.st_dev), static_cast<quint64>(status.st_ino)};
}

} // namespace

bool ktMessageFile::isStill(const QByteArray& path, const Identity& identity) {
    struct stat status;
    return stat(path.constData(), &status) == 0 && identityOf(status) == identity;
}

ktMessageFile::ReadResult ktMessageFile::read(const QByteArray& path, int maxBytes, QByteArray& content,
                                              Identity& identity, QString& reason) {
    // O_NONBLOCK, because opening a pipe of that name would block.
    const ktDescriptor file(open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    if (file.number < 0) {
        if (errno == ENOENT || errno == ENOTDIR)
            return ReadResult::Missing;
        fail(reason, "cannot open it");
        if (stat(path.constData(), &status) == 0)
            identity = identityOf(status);
        return ReadResult::Unreadable;
    }
    if (fstat(file.number, &status) != 0) {
        fail(reason, "cannot open it");
        return ReadResult::Failed;
    }
    identity = identityOf(status);
    if (!S_ISREG(status.st_mode)) {
        reason = "it is no regular file";
        return ReadResult::Failed;
    }
    content.resize(0);
    for (;;) {
        char block[65536];
        const ssize_t count = ::read(file.number, block, sizeof block);
        if (count == 0)
            return ReadResult::Done;
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            fail(reason, "cannot read it");
            return ReadResult::Unreadable;
        }
        if (content.size() + count > maxBytes) {
            reason = QString("it is larger than %1 bytes").arg(maxBytes);
            return ReadResult::Failed;
        }
        content.append(block, static_cast<int>(count));
    }
}

QByteArray ktMessageFile::setAside(const QByteArray& path, const Identity& identity) {
    const QByteArray target = ktSafeFile::targetOf(path);
    const QByteArray aside = target + ".broken";
    if (!isStill(target, identity))
        return QByteArray();
    struct stat status;
    if (lstat(aside.constData(), &status) == 0) {
        int number = 1;
        while (number < 9 && lstat((aside + '.' + QByteArray::number(number)).constData(), &status) == 0)
            ++number;
        std::rename(aside.constData(), (aside + '.' + QByteArray::number(number)).constData());
    }
    return std::rename(target.constData(), aside.constData()) == 0 ? aside : QByteArray();
}
