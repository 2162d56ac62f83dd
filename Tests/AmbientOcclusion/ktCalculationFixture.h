// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktControllerFixture.h"
#include "ktSceneParts.h"

/// A scene with a car (two parts, 3 and 4 vertices) that is selected, a floor and a lamp that are not. The clock moves
/// an eighth of a second with every geometry that is traced.
class ktCalculationFixture : public ktControllerFixture {
protected:
    ktCalculationFixture();

    using Entries = std::vector<std::string>;
    /// Puts lists of entries behind each other.
    static Entries join(const std::vector<Entries>& lists);

    /// Calculates, and returns the log of it.
    Entries run(bool missingOnly = false);
    /// Clears keepRunning with the `number`th entry that begins with `text`, from 1.
    void cancelAt(const std::string& text, int number = 1);

    /// What every run begins with, samplers of these counts included.
    Entries freezing(int directCount = 32, int gatherCount = 32) const;
    /// What every run that was begun ends with.
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
