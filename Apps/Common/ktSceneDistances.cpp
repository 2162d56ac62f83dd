// SPDX-License-Identifier: LGPL-2.1-or-later
// Distances that follow the size of the scene, and warnings about those that do not suit it.
#include "ktSceneDistances.h"

#include "ktAmbientOcclusion.h"

#include <algorithm>
#include <cmath>
#include <QString>

namespace {

// Shares of the scene's diagonal.
constexpr double largestMinimum = 1e-4;
constexpr double leastMaximum = 1e-2;
constexpr double largestEdge = 1e-3;
constexpr double doubtfulMinimum = 0.05; // pockets of this size are seen
constexpr double doubtfulMaximum = 1e-4;

constexpr double ofGivenMaximum = 0.1;

bool isSize(double diagonal) {
    return diagonal > 0 && std::isfinite(diagonal);
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i)
        text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
    return text;
}

} // namespace

std::string ktDescribeLength(double millimetres) {
    const bool isLong = millimetres >= 100 && millimetres < 1e9;
    return QString::number(millimetres, isLong ? 'f' : 'g', isLong ? 0 : 3).toStdString() + " mm";
}

ktSceneDistances ktSceneDistances::read() {
    const ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    return {plugin.getMinDistance(), plugin.getMaxDistance(), plugin.getMinEdgeLength()};
}

void ktSceneDistances::apply() const {
    ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    plugin.setMinDistance(minDistance);
    plugin.setMaxDistance(maxDistance);
    plugin.setMinEdgeLength(minEdgeLength);
}

void ktSceneDistances::follow(const ktGivenDistances& given, double diagonal) {
    if (!isSize(diagonal))
        return;
    if (!given.maxDistance)
        maxDistance = std::max(maxDistance, static_cast<float>(leastMaximum * diagonal));
    if (!given.minDistance) {
        minDistance = std::min(minDistance, static_cast<float>(largestMinimum * diagonal));
        if (given.maxDistance)
            minDistance = std::min(minDistance, static_cast<float>(ofGivenMaximum * static_cast<double>(maxDistance)));
    }
    if (!given.minEdgeLength)
        minEdgeLength = std::min(minEdgeLength, largestEdge * diagonal);
}

std::string ktSceneDistances::describeChange(const ktSceneDistances& before, double diagonal, bool isRefined) const {
    std::vector<std::string> changes;
    if (minDistance != before.minDistance)
        changes.push_back("the minimum distance is " + ktDescribeLength(static_cast<double>(minDistance)));
    if (maxDistance != before.maxDistance)
        changes.push_back("the maximum distance is " + ktDescribeLength(static_cast<double>(maxDistance)));
    if (isRefined && minEdgeLength != before.minEdgeLength)
        changes.push_back("edges below " + ktDescribeLength(minEdgeLength) + " are not split");
    return changes.empty()
               ? ""
               : "The diagonal of the scene is " + ktDescribeLength(diagonal) + ", so " + joined(changes) + ".";
}

std::vector<std::string> ktSceneDistances::findMistakes(const ktGivenDistances& given, double diagonal,
                                                        bool isRefined) const {
    std::vector<std::string> mistakes;
    if (!isSize(diagonal))
        return mistakes;
    const auto nearest = static_cast<double>(minDistance), farthest = static_cast<double>(maxDistance);
    const std::string size = "the scene's diagonal of " + ktDescribeLength(diagonal);
    if (given.minDistance && nearest >= diagonal)
        mistakes.push_back("The minimum distance of " + ktDescribeLength(nearest) + " is above " + size +
                           ", so nothing occludes.");
    else if (given.minDistance && nearest > doubtfulMinimum * diagonal)
        mistakes.push_back("The minimum distance of " + ktDescribeLength(nearest) + " is large for " + size +
                           ": surfaces that are nearer do not occlude.");
    if (given.maxDistance && farthest < doubtfulMaximum * diagonal)
        mistakes.push_back("The maximum distance of " + ktDescribeLength(farthest) + " is below a ten-thousandth of " +
                           size + ", so hardly anything occludes.");
    if (isRefined && given.minEdgeLength && minEdgeLength > diagonal)
        mistakes.push_back("Edges below " + ktDescribeLength(minEdgeLength) + " are not split, and " + size +
                           " is shorter, so nothing is refined.");
    return mistakes;
}
