// SPDX-License-Identifier: LGPL-2.1-or-later
// Provides tests of calculations with a small scene and the expected log entries of a run.
#include "ktCalculationFixture.h"

ktCalculationFixture::ktCalculationFixture() {
    host.root = keep(makeGroup("root", {car, floor, lamp}));
    host.lightCores.insert(lamp->getCore());
    host.selection = {car};
    host.onEntry = [this](const std::string& entry) {
        if (entry.rfind("computeVertexOcclusion", 0) == 0 || entry.rfind("gatherVertexIllumination", 0) == 0)
            now_us() += 125000;
        if (cancelNumber > 0 && entry.rfind(cancelText, 0) == 0 && --cancelNumber == 0)
            Access::keepRunning(controller) = false;
    };
}

ktCalculationFixture::Entries ktCalculationFixture::join(const std::vector<Entries>& lists) {
    Entries joined;
    for (const Entries& list : lists)
        joined.insert(joined.end(), list.begin(), list.end());
    return joined;
}

ktCalculationFixture::Entries ktCalculationFixture::run(bool missingOnly) {
    log.clear();
    EXPECT_TRUE(controller.startCalculation(missingOnly));
    return log;
}

void ktCalculationFixture::cancelAt(const std::string& text, int number) {
    cancelText = text;
    cancelNumber = number;
}

ktCalculationFixture::Entries ktCalculationFixture::freezing(int directCount, int gatherCount) const {
    const auto sampler = [](int count) {
        const std::string text = std::to_string(count);
        return "createSampler(" + text + ", " + text + ", 0, 1, 0.25, 0.25)";
    };
    return {"getSelectedRootNodes()",
            "allows(car, 25)",
            "enableUpdate(false)",
            "isRenderEnabled()",
            "getRaytracing()",
            "enableRender(false)",
            "setBusy(true, true)",
            "getMGLWCount()",
            sampler(directCount),
            sampler(gatherCount),
            "setMaterialOverride(false, true, [0.7 0.7 0.7])",
            "allows(car, 25)", // the settings are attached
            "allows(a, 25)",
            "allows(b, 25)",
            "allows(a, 25)", // the geometry is collected
            "allows(b, 25)"};
}

ktCalculationFixture::Entries ktCalculationFixture::thawing() const {
    return {"releaseSampler(sampler 1)",
            "releaseSampler(sampler 2)",
            "restoreRaytracing(5)",
            "setBusy(false, true)",
            "enableRender(true)",
            "enableUpdate(true)",
            "setModified(1)",
            "update(true)",
            "signal calculationStarted(false)"};
}
