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

/// The host as the plug-in's tests see it: every service call, every signal and every line on standard output becomes
/// one entry of one ordered log, and the answers of the services are plain members.
struct ktRecordingHost {
    static ktRecordingHost& the();

    /// Appends an entry, then calls `onEntry`.
    void record(const std::string& entry);
    /// Forgets everything: log, answers, undo history, labels.
    void reset();

    std::vector<std::string> log;
    /// Called with each entry after it was appended; a test cancels from here.
    std::function<void(const std::string& entry)> onEntry;

    // Answers.
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
    std::map<std::string, ktMessage> files; ///< what ktMessageRW keeps, by path
    bool canWriteFiles = true;
    bool failsToMakeRecords = false; ///< the constructor of ktGeoSubdivisionList throws
    int liveRecords = 0;             ///< ktGeoSubdivisionLists that exist

    /// Name of a node in the log: the one given to its core in `names`, else "?".
    std::string label(const osg::NodePtr& node) const;
    std::string label(const osg::NodeCorePtr& core) const;
    /// "a b c" of all nodes.
    std::string labels(const std::vector<osg::NodePtr>& nodes) const;
};

/// Names the core in the log and for ktNodeUtils::getName().
void nameCore(const osg::NodeCorePtr& core, const std::string& name);

/// Entries of `log` that begin with `prefix`.
std::vector<std::string> entriesWith(const std::vector<std::string>& log, const std::string& prefix);
