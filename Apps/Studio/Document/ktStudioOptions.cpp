// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps the options of bakes and of the saved file between two starts.
#include "ktStudioOptions.h"

#include "ktStudioPreferences.h"
#include "ktTriangleBudget.h"

namespace {

const char* const fitKey = "options/fit";
const char* const tracerKey = "options/tracer";
const char* const threadsKey = "options/threads";
const char* const shadeKey = "options/shade";
const char* const trianglesKey = "options/maxTriangles";
const char* const strengthKey = "options/strength";
const char* const exposureKey = "options/exposure";
const char* const compressionKey = "options/compression";

/// A number between two limits; else the fallback.
double number(const char* key, double least, double most, double fallback) {
    bool isNumber = false;
    const double value = ktStudioPreferences::the().get(key, fallback).toDouble(&isNumber);
    return isNumber && value >= least && value <= most ? value : fallback;
}

} // namespace

ktStudioOptions ktStudioOptions::load() {
    const ktStudioPreferences& kept = ktStudioPreferences::the();
    ktStudioOptions options;
    options.fit = ktParseFitMode(kept.get(fitKey).toString().toStdString()).value_or(options.fit);
    options.tracer = ktParseTracerKind(kept.get(tracerKey).toString().toStdString()).value_or(options.tracer);
    options.threads = static_cast<int>(number(threadsKey, 0, mostThreads, options.threads));
    options.multiplyColors = kept.get(shadeKey, options.multiplyColors).toBool();
    ktTriangleBudget budget;
    if (const QString text = kept.get(trianglesKey).toString(); ktParseTriangleBudget(text.toStdString(), budget))
        options.maxTriangles = text;
    options.strength = number(strengthKey, 0, mostStrength, options.strength);
    options.exposure = number(exposureKey, leastExposure, mostExposure, options.exposure);
    options.compression =
        ktParseCompressionMode(kept.get(compressionKey).toString().toStdString()).value_or(options.compression);
    return options;
}

void ktStudioOptions::keep() const {
    ktStudioPreferences::the().setAll({{fitKey, ktNameOf(fit)},
                                       {tracerKey, ktNameOf(tracer)},
                                       {threadsKey, threads},
                                       {shadeKey, multiplyColors},
                                       {trianglesKey, maxTriangles},
                                       {strengthKey, strength},
                                       {exposureKey, exposure},
                                       {compressionKey, ktNameOf(compression)}});
}
