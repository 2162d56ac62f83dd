// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <memory>
#include <QString>

/// While it lives, no other process or thread that takes it writes files of one document into this folder. The system
/// releases it if the process ends. On a file system without locks it does nothing.
class ktFolderLock {
public:
    /// Waits while another one lives. @throws ktFileError (object "file") after a minute
    explicit ktFolderLock(const QString& folder);
    ~ktFolderLock();
    ktFolderLock(const ktFolderLock&) = delete;
    ktFolderLock& operator=(const ktFolderLock&) = delete;

private:
    struct Descriptor;
    const std::unique_ptr<Descriptor> directory;
};
