// SPDX-License-Identifier: LGPL-2.1-or-later
// Shows the progress of the preview on standard error.
#include "ktBakePreviewProgress.h"

#include "ktBakeLastWords.h"
#include "ktBakeMessages.h"
#include "ktBakeProgress.h"
#include "ktRunProgress.h"

#include <cstdint>
#include <cstdio>
#include <unistd.h>

ktBakePreviewProgress::ktBakePreviewProgress(bool isShown_)
    : isShown(isShown_), isTerminal(!ktBakeMessages::isJson() && isatty(STDERR_FILENO)) {}

ktBakePreviewProgress::~ktBakePreviewProgress() {
    if (!isBarShown)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
}

void ktBakePreviewProgress::show(double share) {
    ktBakeLastWords::noteProgress(static_cast<std::uint64_t>(1e9 * share));
    if (!isShown)
        return;
    const Clock::time_point now = Clock::now();
    const bool isLast = share >= 1;
    const double seconds = std::chrono::duration<double>(now - start).count();
    if (isTerminal) {
        if (isBarShown && !isLast && now - lastShown < ktProgressInterval)
            return;
        lastShown = now;
        writeProgressLine(formatBar("Preview", share) + (isLast ? "  in " + formatDuration(seconds) : ""), isLast);
        isBarShown = !isLast;
        return;
    }
    const int tenth = static_cast<int>(share * 10);
    if (tenth <= lastTenth)
        return;
    lastTenth = tenth;
    const std::string text = std::to_string(tenth * 10) + " %  of the preview drawn in " + formatDuration(seconds);
    if (ktBakeMessages::isJson())
        ktBakeMessages::writeProgress(text, {{"phase", "preview"}, {"percent", tenth * 10}, {"seconds", seconds}});
    else
        std::fprintf(stderr, "%s%s\n", tenth == 0 ? "  " : tenth < 10 ? " " : "", text.c_str());
}
