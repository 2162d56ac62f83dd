// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRankPool.h"

#include <QJsonArray>
#include <vector>

/// What each rank did since this object was made, for `--stats`.
class ktBakeRankStats {
public:
    ktBakeRankStats();
    /// One entry per rank; empty if the process bakes alone.
    QJsonArray toJson() const;

private:
    std::vector<ktRankStatistics> before;
};
