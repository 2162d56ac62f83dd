// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeSceneList.h"

#include <QJsonObject>
#include <QString>
#include <set>
#include <string>

struct ktBakeOptions;

/// What an output was made from: the content of the files that were read, the options and the settings. A file beside
/// the output keeps it, so that `--update` leaves out what would come out the same. Clocks play no part.
class ktBakeRecord {
public:
    /// Takes the options, and the plug-in's current settings.
    explicit ktBakeRecord(const ktBakeOptions& options);

    /// Whether the output of an entry is there and was made from the same. Reads all files concerned.
    bool isUpToDate(const ktBakeSceneEntry& entry) const;
    /// Writes the record of an output. Failing leaves none: the scene is then baked again.
    /// @param filesRead absolute paths, also of files that were missing
    /// @return the reason of a failure; empty: none
    std::string write(const ktBakeSceneEntry& entry, const std::set<QString>& filesRead) const;

private:
    QJsonObject made; ///< the same for all scenes: version, options, settings
};
