// SPDX-License-Identifier: LGPL-2.1-or-later
// Chooses how much pictures are reduced while the view moves.
#include "ktMovingQuality.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr ktMovingQuality::Quality qualities[] = {{1, 0}, {1, 1.5}, {2, 2}, {2, 4}, {3, 6}, {4, 10}, {4, 18}, {5, 32}};
constexpr std::size_t lastStep = std::size(qualities) - 1;
constexpr double slow_ms = 45, verySlow_ms = 120, quick_ms = 22;
constexpr int picturesBeforeFiner = 4;

} // namespace

void ktMovingQuality::reset(std::size_t triangles, bool isSoftware) {
    step = !isSoftware || triangles < 50000 ? 0 : triangles < 1000000 ? 2 : 4;
    finest = 0;
    quickPictures = 0;
    isFirst = true;
}

void ktMovingQuality::learn(double time_ms) {
    if (isFirst) {
        isFirst = false;
        return;
    }
    if (time_ms > slow_ms) {
        const std::size_t next = std::min(lastStep, step + (time_ms > verySlow_ms ? 2 : 1));
        finest = std::min(step + 1, lastStep);
        step = next;
        quickPictures = 0;
        return;
    }
    quickPictures = time_ms < quick_ms ? quickPictures + 1 : 0;
    if (quickPictures >= picturesBeforeFiner && step > finest) {
        --step;
        quickPictures = 0;
    }
}

ktMovingQuality::Quality ktMovingQuality::now() const {
    return qualities[step];
}
