// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

/// Which distances of a calculation the user gave, by an option, a preset or the settings of a node. The others follow
/// the size of the scene.
struct ktGivenDistances {
    bool minDistance = false, maxDistance = false, minEdgeLength = false;
};

/// A length for messages: at least three digits and the unit, such as "0.0123 mm".
std::string ktDescribeLength(double millimetres);

/// The distances of a calculation, in world units. Sizes of scenes differ by orders of magnitude, so distances that
/// suit a car hide every pocket of a watch part.
struct ktSceneDistances {
    float minDistance = 0, maxDistance = 0;
    double minEdgeLength = 0;

    /// The plug-in's settings.
    static ktSceneDistances read();
    /// Changes the plug-in's settings.
    void apply() const;

    /// Changes the distances that were not given: the minimum is at most a ten-thousandth of the scene's diagonal and a
    /// tenth of a given maximum, the maximum is at least a hundredth of the diagonal, and the shortest edge is at most
    /// a thousandth of it. Distances within these limits stay as they are.
    /// @param diagonal world units; 0 or not finite: nothing changes
    void follow(const ktGivenDistances& given, double diagonal);
    /// The sentence for the log about distances that follow() changed; empty if none has changed.
    /// @param before before follow()
    /// @param isRefined whether the shortest edge matters
    std::string describeChange(const ktSceneDistances& before, double diagonal, bool isRefined) const;
    /// Warnings about given distances with which nearly nothing occludes, or nothing is refined.
    std::vector<std::string> findMistakes(const ktGivenDistances& given, double diagonal, bool isRefined) const;
};
