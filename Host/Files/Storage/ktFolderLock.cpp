// SPDX-License-Identifier: LGPL-2.1-or-later
// Locks a folder while several files that belong together are written into it.
#include "ktFolderLock.h"

#include "ktDescriptor.h"
#include "ktFileError.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <QFile>
#include <sys/file.h>
#include <thread>

struct ktFolderLock::Descriptor : ktDescriptor {
    using ktDescriptor::ktDescriptor;
};

ktFolderLock::ktFolderLock(const QString& folder)
    : directory(std::make_unique<Descriptor>(
          open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))) {
    using namespace std::chrono;
    const auto end = steady_clock::now() + minutes(1);
    while (directory->number >= 0 && flock(directory->number, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return;
        if (steady_clock::now() > end)
            throw ktFileError("file", "cannot be written: another program has been writing to the folder '" +
                                          folder.toStdString() + "' for a minute");
        std::this_thread::sleep_for(milliseconds(5));
    }
}

ktFolderLock::~ktFolderLock() = default;
