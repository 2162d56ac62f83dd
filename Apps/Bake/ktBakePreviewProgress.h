// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <chrono>

/// Shows the progress of the preview on standard error: on a terminal a bar, else a plain line per 10 %.
class ktBakePreviewProgress {
public:
    /// @param isShown false: shows nothing
    explicit ktBakePreviewProgress(bool isShown);
    /// Erases the bar, unless it is complete.
    ~ktBakePreviewProgress();
    ktBakePreviewProgress(const ktBakePreviewProgress&) = delete;
    ktBakePreviewProgress& operator=(const ktBakePreviewProgress&) = delete;

    /// @param share 0 to 1, never decreasing; 1 once, at the end
    void show(double share);

private:
    using Clock = std::chrono::steady_clock;

    const bool isShown;
    const bool isTerminal;
    const Clock::time_point start = Clock::now();
    Clock::time_point lastShown;
    int lastTenth = -1;
    bool isBarShown = false;
};
