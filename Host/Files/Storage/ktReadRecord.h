// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <QString>
#include <set>

/// Collects the names of the files that are read during its lifetime: a scene's file and those that it names, also
/// those that do not exist. One object at a time. Any thread may read.
class KT_HOST_EXPORT ktReadRecord {
public:
    ktReadRecord();
    ~ktReadRecord();
    ktReadRecord(const ktReadRecord&) = delete;
    ktReadRecord& operator=(const ktReadRecord&) = delete;

    /// Tells the current record, if there is one, that a file is about to be read.
    static void add(const QString& path);
    /// Absolute paths, without "." and "..".
    std::set<QString> files() const;
    /// Whether the current record has this file, perhaps by another name. False if there is no record.
    static bool has(const QString& path);

private:
    std::set<QString> paths;
};
