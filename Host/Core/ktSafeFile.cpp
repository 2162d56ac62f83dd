// SPDX-License-Identifier: LGPL-2.1-or-later
// Replaces a file as a whole by a temporary file and a rename, so that a crash leaves no half-written file.
#include "ktSafeFile.h"

#include "ktDescriptor.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>

namespace {

/// The names of temporary files that exist, where deleteTemporaryFiles() finds them. Files that find no place are not
/// deleted then; a later ktSafeFile deletes them.
std::array<std::atomic<const char*>, 16> existing{};

void exchangeName(const char* from, const char* to) {
    for (std::atomic<const char*>& name : existing) {
        const char* expected = from;
        if (name.compare_exchange_strong(expected, to))
            return;
    }
}

} // namespace

struct ktSafeFile::Temporary {
    Temporary() = default;
    ~Temporary() {
        if (number < 0)
            return;
        exchangeName(name.constData(), nullptr);
        if (!isRenamed)
            unlink(name.constData());
        close(number);
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    bool create(const QByteArray& path);

    int number = -1; // of the open file
    QByteArray name;
    bool isRenamed = false;
};

namespace {

const char temporaryMark[] = ".tmp-";
constexpr int mostLinks = 40; // as the system does

QByteArray directoryOf(const QByteArray& path) {
    const int slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray("./") : path.left(slash + 1);
}

/// Whether a path is one of the links that the system makes for open files. They do not always lead to the name of a
/// file.
bool isOpenFile(const QByteArray& path) {
    return path.startsWith("/proc/") || path.startsWith("/dev/fd/");
}

/// What failed, and the system's reason.
QString lastError(const char* what) {
    const std::string cause = std::generic_category().message(errno);
    return QString("%1: %2").arg(QString::fromLatin1(what), QString::fromLocal8Bit(cause.c_str()));
}

/// False on failure, see errno.
bool writeAll(int file, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(file, data, size);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

/// Whether `name` still names this open file.
bool isStillNamed(int file, const QByteArray& name) {
    struct stat opened, named;
    return fstat(file, &opened) == 0 && stat(name.constData(), &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

/// Whether the rest of a name, after the mark, is a process id and a number.
bool isOurs(const char* rest) {
    const std::size_t process = std::strspn(rest, "0123456789");
    if (process == 0 || rest[process] != '-')
        return false;
    const char* const number = rest + process + 1;
    const std::size_t digits = std::strspn(number, "0123456789");
    return digits > 0 && number[digits] == '\0';
}

void removeLeftBehind(const QByteArray& path) {
    const QByteArray directory = directoryOf(path);
    const QByteArray prefix = path.mid(path.lastIndexOf('/') + 1) + temporaryMark;
    DIR* listing = opendir(directory.constData());
    if (!listing)
        return;
    // Only this function reads the listing. NOLINTNEXTLINE(concurrency-mt-unsafe)
    while (const dirent* entry = readdir(listing)) {
        if (std::strncmp(entry->d_name, prefix.constData(), static_cast<std::size_t>(prefix.size())) != 0 ||
            !isOurs(entry->d_name + prefix.size()))
            continue;
        const QByteArray name = directory + entry->d_name;
        const ktDescriptor file(open(name.constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
        struct stat status;
        if (file.number >= 0 && fstat(file.number, &status) == 0 && S_ISREG(status.st_mode) &&
            flock(file.number, LOCK_EX | LOCK_NB) == 0 && isStillNamed(file.number, name))
            unlink(name.constData());
    }
    closedir(listing);
}

} // namespace

/// Creates a file beside `path` and locks it while it is open. False on failure, see errno.
bool ktSafeFile::Temporary::create(const QByteArray& path) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = path + temporaryMark + QByteArray::number(static_cast<qint64>(getpid())) + '-' +
               QByteArray::number(counter++);
        const int file = open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file < 0 && errno == EEXIST)
            continue;
        if (file < 0)
            return false;
        // Fails on a file system without locks. There, left-behind files are not removed either.
        while (flock(file, LOCK_EX) != 0 && errno == EINTR) {
        }
        if (isStillNamed(file, name)) {
            number = file;
            exchangeName(nullptr, name.constData());
            return true;
        }
        close(file); // another process deleted it before it was locked
    }
    return false;
}

QByteArray ktSafeFile::targetOf(const QByteArray& path) {
    QByteArray file = path;
    for (int links = 0; links < mostLinks; ++links) {
        char next[4096];
        const ssize_t length = readlink(file.constData(), next, sizeof next);
        if (length <= 0 || length == static_cast<ssize_t>(sizeof next))
            return file;
        if (isOpenFile(file))
            return file;
        const QByteArray named(next, static_cast<int>(length));
        file = named.startsWith('/') ? named : directoryOf(file) + named;
    }
    return path;
}

ktSafeFile::ktSafeFile(const QByteArray& path) : target(targetOf(path)) {
    removeLeftBehind(target);
    struct stat old;
    const bool exists = stat(target.constData(), &old) == 0;
    const bool isFolder = exists && S_ISDIR(old.st_mode);
    if (isFolder || (access(target.constData(), W_OK) != 0 && errno != ENOENT)) {
        errno = isFolder ? EISDIR : errno;
        fail("the file may not be changed");
        return;
    }
    temporary = std::make_unique<Temporary>();
    if (!temporary->create(target)) {
        fail("cannot create a file in its directory");
        return;
    }
    if (exists)
        fchmod(temporary->number, old.st_mode & 0777); // fails harmlessly on file systems without permissions
}

ktSafeFile::~ktSafeFile() = default;

bool ktSafeFile::fail(const char* what) {
    reason = lastError(what);
    temporary.reset();
    return false;
}

bool ktSafeFile::write(const void* data, std::size_t size) {
    if (!temporary)
        return false;
    return writeAll(temporary->number, static_cast<const char*>(data), size) || fail("cannot write");
}

bool ktSafeFile::commit() {
    if (!temporary)
        return false;
    // Some file systems report a failed write only when a descriptor is closed. Ours keeps the lock until the rename.
    const QByteArray folder = directoryOf(target); // nothing may fail after the renaming
    const int copy = dup(temporary->number);
    if (fsync(temporary->number) != 0 || copy < 0 || close(copy) != 0)
        return fail("cannot write to the disk");
    if (rename(temporary->name.constData(), target.constData()) != 0)
        return fail("cannot rename the new file");
    temporary->isRenamed = true;
    temporary.reset();
    const ktDescriptor directory(open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.number >= 0)
        fsync(directory.number);
    return true;
}

void ktSafeFile::deleteTemporaryFiles() noexcept {
    for (const std::atomic<const char*>& name : existing)
        if (const char* const path = name)
            unlink(path);
}

bool ktSafeFile::replaceOrSend(const QByteArray& path, const QByteArray& content, QString& why) {
    const QByteArray target = targetOf(path);
    struct stat old;
    if (stat(target.constData(), &old) != 0 || S_ISDIR(old.st_mode) || (S_ISREG(old.st_mode) && !isOpenFile(target)))
        return replace(path, content, why);
    const ktDescriptor stream(open(target.constData(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (stream.number < 0) {
        why = errno == ENXIO ? QString("no program reads from this pipe") : lastError("cannot be opened");
        return false;
    }
    fcntl(stream.number, F_SETFL, O_APPEND); // from now on, wait for the reader
    if (writeAll(stream.number, content.constData(), static_cast<std::size_t>(content.size())))
        return true;
    why = lastError("cannot write");
    return false;
}

bool ktSafeFile::replace(const QByteArray& path, const QByteArray& content, QString& why) {
    ktSafeFile file(path);
    if (file.write(content.constData(), static_cast<std::size_t>(content.size())) && file.commit())
        return true;
    why = file.error();
    return false;
}
