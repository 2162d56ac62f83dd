// SPDX-License-Identifier: LGPL-2.1-or-later
// Shows a calculation's progress on standard error.
#include "ktBakeProgress.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeLastWords.h"
#include "ktBakeMessages.h"
#include "ktCancelToken.h"
#include "ktHostSignals.h"

#include <algorithm>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int barWidth = 30;
constexpr const char* phaseNames[] = {"Preparing", "Shadows", "Bounces"}; // by ktRunPhase
constexpr size_t longestPhase = 9;

int terminalWidth() {
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace

std::string formatBar(const std::string& phase, double share) {
    const int filled = static_cast<int>(share * barWidth);
    return phase + std::string(longestPhase - phase.size(), ' ') + " [" +
           std::string(static_cast<size_t>(filled), '#') + std::string(static_cast<size_t>(barWidth - filled), '-') +
           "] " + std::to_string(static_cast<int>(share * 100)) + " %";
}

void writeProgressLine(std::string line, bool isLast) {
    line.resize(std::min(line.size(), static_cast<size_t>(std::max(1, terminalWidth() - 1))));
    std::fprintf(stderr, "\r\033[K%s%s", line.c_str(), isLast ? "\n" : "");
    std::fflush(stderr);
}

ktBakeProgress::ktBakeProgress(std::uint64_t vertexCount, bool isShown_)
    : isShown(isShown_), isTerminal(!ktBakeMessages::isJson() && isatty(STDERR_FILENO)),
      progress(counter, vertexCount) {
    const ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    connect(plugin, &ktAmbientOcclusion::progressStarted, this, &ktBakeProgress::onStarted);
    connect(plugin, &ktAmbientOcclusion::progressStep, this, &ktBakeProgress::onStep);
    connect(plugin, &ktAmbientOcclusion::progressStopped, this, &ktBakeProgress::onStopped);
    connect(&ktHostSignals::the(), &ktHostSignals::tracingProgress, this, &ktBakeProgress::onTraced);
    connect(&ktHostSignals::the(), &ktHostSignals::refinementProgress, this, &ktBakeProgress::onRefined);
}

ktBakeProgress::~ktBakeProgress() {
    clearLine();
}

void ktBakeProgress::onStarted() {
    isRunning = true;
    lastShown = Clock::now();
    show(false);
}

void ktBakeProgress::onStep() {
    show(false);
}

void ktBakeProgress::onStopped() {
    // A cancelled run may also report its end, but it is not complete.
    if (!ktCancelToken::the().isCanceled())
        show(true);
    isRunning = false;
}

void ktBakeProgress::onTraced() {
    ktBakeLastWords::noteProgress(counter.getVerticesTraced());
    show(false);
}

// The amount of refinement is not known in advance, so this shows the new vertices so far.
void ktBakeProgress::onRefined(int round, int rounds, std::uint64_t newVertices) {
    ktBakeLastWords::noteProgress(newVertices);
    const Clock::time_point now = Clock::now();
    if (!isShown || !isRunning || round == 0 ||
        (isTerminal ? now - lastShown < ktProgressInterval : round == lastRound))
        return;
    lastShown = now;
    lastRound = round;
    const std::string line = "Refining: round " + std::to_string(round) + " of " + std::to_string(rounds) + ", " +
                             formatCount(static_cast<double>(newVertices)) + " new vertices in " +
                             formatDuration(secondsBetween(counter.getStart(), now));
    if (ktBakeMessages::isJson()) {
        ktBakeMessages::writeProgress(line, {{"phase", "refining"},
                                             {"round", round},
                                             {"rounds", rounds},
                                             {"newVertices", static_cast<double>(newVertices)},
                                             {"seconds", secondsBetween(counter.getStart(), now)}});
        return;
    }
    std::fprintf(stderr, isTerminal ? "\r\033[K%s" : "%s\n", line.c_str());
    std::fflush(stderr);
    isBarShown = isTerminal;
}

void ktBakeProgress::show(bool isLast) {
    if (!isShown || !isRunning)
        return;
    const Clock::time_point now = Clock::now();
    const double done = isLast ? 1 : progress.share();
    const double rate = progress.verticesPerSecond();
    const std::string phase = phaseNames[static_cast<int>(progress.phase())];

    if (!isTerminal) {
        const int tenth = static_cast<int>(done * 10);
        if (tenth <= lastTenth && !isLast)
            return;
        lastTenth = tenth;
        const auto vertices = static_cast<double>(counter.getVerticesTraced());
        const double seconds = secondsBetween(counter.getStart(), now);
        const std::string traced = formatCount(vertices) + " vertices traced in " + formatDuration(seconds);
        if (ktBakeMessages::isJson())
            ktBakeMessages::writeProgress(std::to_string(tenth * 10) + " %  " + traced,
                                          {{"phase", QString::fromStdString(phase).toLower()},
                                           {"percent", tenth * 10},
                                           {"vertices", vertices},
                                           {"seconds", seconds}});
        else
            std::fprintf(stderr, "%3d %%  %s\n", tenth * 10, traced.c_str());
        return;
    }
    if (isBarShown && !isLast && now - lastShown < ktProgressInterval)
        return;
    lastShown = now;
    std::string line = formatBar(phase, done);
    if (rate > 0)
        line += "  " + formatCount(rate) + " vertices/s";
    if (isLast)
        line += "  in " + formatDuration(secondsBetween(counter.getStart(), now));
    else if (const double left = progress.secondsLeft(); left >= 0)
        line += "  " + formatDuration(left) + " left";
    writeProgressLine(line, isLast);
    isBarShown = !isLast;
}

void ktBakeProgress::clearLine() {
    if (!isBarShown)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    isBarShown = false;
}
