// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktUndoMemory.h"

#include <functional>
#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGRefPtr.h>
#include <vector>

/// The results and stored settings below some nodes at one time: the two result channels, the vertices and triangles
/// that refinement adds, and the settings of the last bake. Take one before a run or a clearing, keep what has changed
/// after it, and swap() undoes and redoes the change. Main thread only.
class ktResultState {
public:
    /// Runs work on another thread, and returns at its end.
    using Aside = std::function<void(const std::function<void()>&)>;

    ktResultState() = default;
    /// Copies the state below `roots`, each geometry once.
    /// @param aside copies what is large; the scene must not change meanwhile. Empty: this thread does it.
    explicit ktResultState(const std::vector<osg::NodePtr>& roots, const Aside& aside = {});

    /// Drops what is as it was.
    void keepChanges();
    bool isEmpty() const { return geometries.empty() && settings.empty(); }
    /// Writes this state into the scene and keeps what was there. Announces the change.
    void swap();

private:
    /// A vertex property of a geometry that refinement makes longer, and the elements that it added.
    struct Tail {
        osg::RefPtr<osg::AttachmentPtr> property;
        std::size_t size = 0; ///< elements in this state
        ktUndoMemory::Block added;
    };
    /// A result channel: the property, null if there was none, and its whole content.
    struct Channel {
        osg::RefPtr<osg::GeoTexCoordsPtr> property;
        ktUndoMemory::Block content;
    };
    struct Entry {
        osg::GeometryRefPtr geometry;
        Channel shadows, bakedLight; ///< channels 7 and 5
        std::vector<osg::UInt16> indexMapping;
        std::vector<Tail> tails;
        osg::RefPtr<osg::GeoPTypesPtr> types;
        osg::RefPtr<osg::GeoPLengthsPtr> lengths;
        osg::RefPtr<osg::GeoIndicesPtr> indices;
    };
    struct Settings {
        osg::NodeRefPtr node;
        osg::RefPtr<osg::AttachmentPtr> attachment; ///< null: there was none
    };

    static Channel copyOf(const osg::GeoTexCoordsPtr& property);
    /// Without the content of the channels.
    static Entry stateOf(const osg::GeometryPtr& geometry);
    void copyChannels(const Aside& aside);
    static bool isAsNow(const Entry& entry);
    static void swap(Entry& entry);

    std::vector<Entry> geometries;
    std::vector<Settings> settings;
};
