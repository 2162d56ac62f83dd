// SPDX-License-Identifier: LGPL-2.1-or-later
// Names of the fit modes, and that of the process.
#include "ktFitMode.h"

#include <algorithm>
#include <atomic>

namespace {

enum class Choice { None, Vertices, Surface };

std::atomic<Choice> choice{Choice::None};

Choice choiceOf(ktFitMode mode) {
    return mode == ktFitMode::Surface ? Choice::Surface : Choice::Vertices;
}

} // namespace

const std::vector<std::string>& ktFitNames() {
    static const std::vector<std::string> names = {"vertices", "surface"};
    return names;
}

std::optional<ktFitMode> ktParseFitMode(const std::string& text) {
    const std::vector<std::string>& names = ktFitNames();
    const auto found = std::find(names.begin(), names.end(), text);
    if (found == names.end())
        return std::nullopt;
    return static_cast<ktFitMode>(found - names.begin());
}

const char* ktNameOf(ktFitMode mode) {
    return ktFitNames()[static_cast<std::size_t>(mode)].c_str();
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
