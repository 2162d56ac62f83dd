// SPDX-License-Identifier: LGPL-2.1-or-later
// Chooses and creates the tracer: the hemisphere tracer by default, or Embree.
#include "ktTracerFactory.h"

#include "ktEmbreeTracer.h"
#include "ktHemisphereTracer.h"

#include <atomic>

namespace {

std::atomic<ktTracerKind> chosen{ktTracerKind::Hemisphere};
std::atomic<std::uint32_t> mostLanes{16};

} // namespace

std::optional<ktTracerKind> ktParseTracerKind(const std::string& text) {
    for (const ktTracerKind kind : {ktTracerKind::Embree, ktTracerKind::Hemisphere})
        if (text == ktNameOf(kind))
            return kind;
    return std::nullopt;
}

const char* ktNameOf(ktTracerKind kind) {
    return kind == ktTracerKind::Embree ? "embree" : "hemisphere";
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
