// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktMessageFile.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char temporaryMark[] = ".tmp-";

/// Closes at the end of a scope.
struct Descriptor {
    int number;
    explicit Descriptor(int opened) : number(opened) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0)
            close(number);
    }
};

bool fail(QString& reason, const char* what) {
    const int error = errno;
    reason = QString("%1: %2").arg(QString::fromLatin1(what), QString::fromLocal8Bit(std::strerror(error)));
    return false;
}

ktMessageFile::Identity identityOf(const struct stat& status) {
    return {static_cast<quint64>(status.st_dev), static_cast<quint64>(status.st_ino)};
}

QByteArray directoryOf(const QByteArray& path) {
    const int slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : path.left(slash + 1);
}

/// The file that `path` names, through symbolic links.
QByteArray resolved(const QByteArray& path) {
    struct stat status;
    if (lstat(path.constData(), &status) != 0 || !S_ISLNK(status.st_mode))
        return path;
    char* real = realpath(path.constData(), nullptr);
    const QByteArray result = real ? QByteArray(real) : path;
    std::free(real);
    return result;
}

/// A new file beside `path`, locked for as long as it is open: that tells it from what a killed process left behind.
int createTemporary(const QByteArray& path, QByteArray& name) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = path + temporaryMark + QByteArray::number(static_cast<qint64>(getpid())) + '-' +
               QByteArray::number(counter++);
        const int file = open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file < 0 && errno == EEXIST)
            continue;
        if (file < 0)
            return -1;
        // A file system without locks answers with an error; then nobody cleans up there either.
        while (flock(file, LOCK_EX) != 0 && errno == EINTR) {
        }
        struct stat status;
        if (fstat(file, &status) == 0 && ktMessageFile::isStill(name, identityOf(status)))
            return file;
        close(file); // taken for a left-behind one before it was locked
    }
    return -1;
}

void removeLeftBehind(const QByteArray& path) {
    const QByteArray directory = directoryOf(path);
    const QByteArray prefix = path.mid(path.lastIndexOf('/') + 1) + temporaryMark;
    DIR* listing = opendir(directory.constData());
    if (!listing)
        return;
    while (const dirent* entry = readdir(listing)) {
        if (std::strncmp(entry->d_name, prefix.constData(), static_cast<std::size_t>(prefix.size())) != 0)
            continue;
        const QByteArray name = directory + '/' + entry->d_name;
        const Descriptor file(open(name.constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
        struct stat status;
        if (file.number >= 0 && fstat(file.number, &status) == 0 && S_ISREG(status.st_mode) &&
            flock(file.number, LOCK_EX | LOCK_NB) == 0 && ktMessageFile::isStill(name, identityOf(status)))
            unlink(name.constData());
    }
    closedir(listing);
}

bool writeAll(int file, const QByteArray& content) {
    const char* next = content.constData();
    const char* end = next + content.size();
    while (next != end) {
        const ssize_t written = write(file, next, static_cast<std::size_t>(end - next));
        if (written < 0 && errno != EINTR)
            return false;
        next += written > 0 ? written : 0;
    }
    return true;
}

bool fillTemporary(int file, const QByteArray& path, const QByteArray& content, QString& reason) {
    struct stat old;
    if (stat(path.constData(), &old) == 0)
        fchmod(file, old.st_mode & 0777); // as far as the file system has permissions
    if (!writeAll(file, content))
        return fail(reason, "cannot write");
    if (fsync(file) != 0)
        return fail(reason, "cannot write to the disk");
    return true;
}

} // namespace

bool ktMessageFile::isStill(const QByteArray& path, const Identity& identity) {
    struct stat status;
    return stat(path.constData(), &status) == 0 && identityOf(status) == identity;
}

bool ktMessageFile::replace(const QByteArray& path, const QByteArray& content, QString& reason) {
    const QByteArray target = resolved(path);
    removeLeftBehind(target);
    if (access(target.constData(), W_OK) != 0 && errno != ENOENT)
        return fail(reason, "the file may not be changed");
    QByteArray temporary;
    const Descriptor file(createTemporary(target, temporary));
    if (file.number < 0)
        return fail(reason, "cannot create a file in its directory");
    if (!fillTemporary(file.number, target, content, reason)) {
        unlink(temporary.constData());
        return false;
    }
    if (rename(temporary.constData(), target.constData()) != 0) {
        fail(reason, "cannot rename the new file");
        unlink(temporary.constData());
        return false;
    }
    const Descriptor directory(open(directoryOf(target).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.number >= 0)
        fsync(directory.number);
    return true;
}

ktMessageFile::ReadResult ktMessageFile::read(const QByteArray& path, int maxBytes, QByteArray& content,
                                              Identity& identity, QString& reason) {
    // Not blocking, lest a pipe of that name hold everything up.
    const Descriptor file(open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    if (file.number < 0) {
        if (errno == ENOENT || errno == ENOTDIR)
            return ReadResult::Missing;
        fail(reason, "cannot open it");
        if (stat(path.constData(), &status) == 0)
            identity = identityOf(status);
        return ReadResult::Failed;
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
            return ReadResult::Failed;
        }
        if (content.size() + count > maxBytes) {
            reason = QString("it is larger than %1 bytes").arg(maxBytes);
            return ReadResult::Failed;
        }
        content.append(block, static_cast<int>(count));
    }
}

QByteArray ktMessageFile::setAside(const QByteArray& path, const Identity& identity) {
    const QByteArray target = resolved(path);
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
