// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktControllerFixture.h"
#include "ktSceneParts.h"

/// A scene with a selected car (two parts, 3 and 4 vertices), a floor and a lamp. Each traced geometry advances the
/// clock by an eighth of a second.
class ktCalculationFixture : public ktControllerFixture {
protected:
    ktCalculationFixture();

    using Entries = std::vector<std::string>;
    /// Joins lists of entries.
    static Entries join(const std::vector<Entries>& lists);

    /// Calculates and returns the log of the run.
    Entries run(bool missingOnly = false);
    /// Clears keepRunning at the `number`th entry, counted from 1, that begins with `text`.
    void cancelAt(const std::string& text, int number = 1);

    /// The first entries of every run, with samplers of these counts.
    Entries freezing(int directCount = 32, int gatherCount = 32) const;
    /// The last entries of every started run.
    Entries thawing() const;

    osg::NodePtr a = makeGeometryNode("a", 3);
    osg::NodePtr b = makeGeometryNode("b", 4);
    osg::NodePtr car = makeGroup("car", {a, b});
    osg::NodePtr floor = makeGeometryNode("floor", 6);
    osg::NodePtr lamp = makeGroup("lamp");

private:
    std::string cancelText;
    int cancelNumber = 0;
};
