// SPDX-License-Identifier: LGPL-2.1-or-later
// Names of the fit modes, and that of the process.
#include "ktFitMode.h"

#include <atomic>

namespace {

enum class Choice { None, Vertices, Surface };

std::atomic<Choice> choice{Choice::None};

Choice choiceOf(ktFitMode mode) {
    return mode == ktFitMode::Surface ? Choice::Surface : Choice::Vertices;
}

} // namespace

std::optional<ktFitMode> ktParseFitMode(const std::string& text) {
    for (const ktFitMode mode : {ktFitMode::Vertices, ktFitMode::Surface})
        if (text == ktNameOf(mode))
            return mode;
    return std::nullopt;
}

const char* ktNameOf(ktFitMode mode) {
    return mode == ktFitMode::Vertices ? "vertices" : "surface";
}

void ktSetFitMode(ktFitMode mode) noexcept {
    choice = choiceOf(mode);
}

void ktSuggestFitMode(ktFitMode mode) noexcept {
    Choice none = Choice::None;
    choice.compare_exchange_strong(none, choiceOf(mode));
}

ktFitMode ktGetFitMode() noexcept {
    return choice == Choice::Surface ? ktFitMode::Surface : ktFitMode::Vertices;
}
