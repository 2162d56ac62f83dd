// SPDX-License-Identifier: LGPL-2.1-or-later
// Chooses and creates the tracer: the hemisphere tracer by default, or Embree.
#include "ktTracerFactory.h"

#include "ktEmbreeTracer.h"
#include "ktHemisphereTracer.h"

#include <algorithm>
#include <atomic>

namespace {

std::atomic<ktTracerKind> chosen{ktTracerKind::Hemisphere};
std::atomic<std::uint32_t> mostLanes{16};

} // namespace

const std::vector<std::string>& ktTracerNames() {
    static const std::vector<std::string> names = {"embree", "hemisphere"};
    return names;
}

std::optional<ktTracerKind> ktParseTracerKind(const std::string& text) {
    const std::vector<std::string>& names = ktTracerNames();
    const auto found = std::find(names.begin(), names.end(), text);
    if (found == names.end())
        return std::nullopt;
    return static_cast<ktTracerKind>(found - names.begin());
}

const char* ktNameOf(ktTracerKind kind) {
    return ktTracerNames()[static_cast<std::size_t>(kind)].c_str();
}

void ktChooseTracer(ktTracerKind kind) noexcept {
    chosen = kind;
}

ktTracerKind ktChosenTracer() noexcept {
    return chosen;
}

void ktLimitTracerLanes(std::uint32_t lanes) noexcept {
    mostLanes = lanes;
}

std::unique_ptr<ktTracer> ktMakeTracer() {
    if (chosen == ktTracerKind::Embree)
        return std::make_unique<ktEmbreeTracer>();
    return std::make_unique<ktHemisphereTracer>(mostLanes);
}

std::unique_ptr<ktTracer> ktMakePictureTracer() {
    return std::make_unique<ktEmbreeTracer>(nullptr, ktEmbreeTracer::Quality::Medium);
}
