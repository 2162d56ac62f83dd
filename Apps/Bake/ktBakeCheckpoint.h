// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCheckpoint.h"

#include <memory>
#include <QJsonObject>
#include <string>

struct ktBakeOptions;

/// The checkpoint of one bake, for `--checkpoint`. Without effect if the option is not given.
class ktBakeCheckpoint {
public:
    ktBakeCheckpoint() = default;
    /// Ends its use.
    ~ktBakeCheckpoint();
    ktBakeCheckpoint(const ktBakeCheckpoint&) = delete;
    ktBakeCheckpoint& operator=(const ktBakeCheckpoint&) = delete;

    /// Opens or makes the file; calculations then use it. @param settings of the plug-in
    /// @return the exit code; if it is not `done`, an error is logged
    int begin(const ktBakeOptions& options, const QJsonObject& settings);
    /// Ends its use and says what the file gave. The file stays.
    void end();
    /// Removes the file: the results are written.
    void remove() const;

private:
    std::string fileName;
    std::unique_ptr<ktCheckpoint> checkpoint;
};
