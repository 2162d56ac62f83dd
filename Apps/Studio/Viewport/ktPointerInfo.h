// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewPicker.h"

#include <QCoreApplication>

/// Text about what is under the pointer.
class ktPointerInfo {
    Q_DECLARE_TR_FUNCTIONS(ktPointerInfo)

public:
    /// Part, nearest vertex, and at the point w and the bounced light that arrives.
    static QString text(const ktViewScene& scene, const ktViewPicker::Hit& hit);

    /// w and bounced light (linear red, green, blue) at a hit; empty if the part has no result.
    static std::optional<std::array<float, 4>> results(const ktViewScene& scene, const ktViewPicker::Hit& hit);

private:
    static QString partName(const osg::NodePtr& node);
};
