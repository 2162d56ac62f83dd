// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktHostSignals.h"

#include <map>
#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGRefPtr.h>
#include <vector>

struct ktRunEnd;

/// What a calculation that is cancelled, or that fails, leaves behind. A calculation clears results when it starts and
/// writes the new ones pass by pass. This object copies the results that the selected geometry has before, and gives
/// them back when the calculation does not run to its end, together with the settings that the nodes were calculated
/// with. Geometry that was refined meanwhile stays refined: its new vertices get the mean of the results of before, so
/// the surface looks as before.
///
/// For applications in which a scene lives on after a cancel. Listens to ktHostSignals as long as it lives; make it
/// before other receivers of runEnded(). Main thread only. One copy of the two result channels of the selected
/// geometry, from the start of a calculation to its end; without memory for it, a warning is logged and nothing is
/// given back.
class KT_HOST_EXPORT ktEarlierResults : public QObject {
public:
    /// The new results that a calculation which did not run to its end keeps.
    enum Keep {
        Finished, ///< those of geometry that all passes have traced to the end; refinement does not count
        None
    };

    ktEarlierResults();
    ~ktEarlierResults() override;

    /// Holds from the calculation under way on, or from the next one.
    void setKeep(Keep newKeep) { keep = newKeep; }

private:
    struct Channel {
        osg::RefPtr<osg::GeoTexCoordsPtr> property; ///< null: there was none
        std::vector<osg::Vec4f> values;             ///< of a property of four floats; else it is not written to
    };
    struct Entry {
        osg::GeometryRefPtr geometry;
        Channel shadows, bakedLight; ///< channels 7 and 5
        std::vector<osg::UInt16> indexMapping;
        osg::UInt32 vertices = 0;
        int directPasses = 0, bounces = 0; ///< traced to their end
    };
    struct Settings {
        osg::NodeRefPtr node;
        osg::RefPtr<osg::AttachmentPtr> attachment; ///< null: there was none
    };

    void copySettings();
    void copyResults();
    void noteTraced(const void* positions, bool indirect);
    void noteRefined(quint32 geometry, const ktSplitEdges& newVertices);
    void end(const ktRunEnd& end);

    bool isFinished(const Entry& entry) const;
    void giveBack(const Entry& entry) const;
    void giveBackSettings(bool toAll) const;
    void forget();

    Keep keep = Finished;
    bool indirect = false; ///< of the calculation under way
    int bounces = 0;
    std::vector<Entry> entries;
    std::map<const void*, std::size_t> byPositions; ///< numbers of entries by their first position
    std::vector<Settings> settings;
};
