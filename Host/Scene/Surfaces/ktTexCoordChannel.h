// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGGeometry.h>

/// The property in a texture coordinate channel of a geometry, 0 to 7; null when the channel is empty or there is no
/// such channel.
osg::GeoTexCoordsPtr ktGetTexCoords(const osg::GeometryPtr& geometry, int channel);
/// Puts a property into a channel, 0 to 7; null empties it. Announces nothing. Other channels are ignored.
void ktSetTexCoords(const osg::GeometryPtr& geometry, int channel, const osg::GeoTexCoordsPtr& property);
/// Whether a channel holds the results of a calculation and not texture coordinates.
inline bool ktIsResultChannel(int channel) {
    return channel == 5 || channel == 7;
}
