// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktMessage.h"
#include "ktNodePtr.h"

#include <functional>
#include <map>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGNodeCore.h>
#include <set>
#include <string>
#include <vector>

class QUndoCommand;

/// The host for tests of the plug-in. Every service call, every signal and every line on standard output becomes an
/// entry of one ordered log. Tests set the answers of the services as plain members.
struct ktRecordingHost {
    static ktRecordingHost& the();

    /// Appends an entry, then calls `onEntry`.
    void record(const std::string& entry);
    /// Resets everything: log, answers, undo history, labels.
    void reset();

    std::vector<std::string> log;
    /// Called with each entry after it was appended; tests cancel from here.
    std::function<void(const std::string& entry)> onEntry;

    // The answers of the services.
    bool hasRaytracing = true;
    std::vector<ktNodePtr> selection;
    osg::NodePtr root;
    std::set<osg::NodeCorePtr> lockedCores;
    std::set<osg::NodeCorePtr> animatedCores;
    std::set<osg::NodeCorePtr> lightCores;
    std::set<osg::NodeCorePtr> rayFileLightCores;
    std::set<osg::NodeCorePtr> componentCores;
    std::map<osg::NodeCorePtr, std::string> names;
    bool isRenderEnabled = true;
    int raytracing = 5;
    unsigned int logicalCores = 12;
    std::string preferencesDirectory = "/preferences/";
    std::map<std::string, ktMessage> files; ///< the files of ktMessageRW, by path
    bool canWriteFiles = true;
    bool failsToMakeRecords = false; ///< the constructor of ktGeoSubdivisionList throws
    int liveRecords = 0;             ///< ktGeoSubdivisionLists that exist

    /// Name of a node in the log: that of its core in `names`, otherwise "?".
    std::string label(const osg::NodePtr& node) const;
    std::string label(const osg::NodeCorePtr& core) const;
    /// The names of all nodes, as "a b c".
    std::string labels(const std::vector<osg::NodePtr>& nodes) const;
};

/// Names the core in the log and for ktNodeUtils::getName().
void nameCore(const osg::NodeCorePtr& core, const std::string& name);

/// Entries of `log` that begin with `prefix`.
std::vector<std::string> entriesWith(const std::vector<std::string>& log, const std::string& prefix);
