// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps the ordered log of service calls in the plug-in's tests, and the labels of scene objects.
#include "ktRecordingHost.h"

#include "ktUndoStack.h"

ktRecordingHost& ktRecordingHost::the() {
    static auto* const host = new ktRecordingHost; // never deleted, because others may still call it at exit
    return *host;
}

void ktRecordingHost::record(const std::string& entry) {
    log.push_back(entry);
    if (onEntry)
        onEntry(entry);
}

void ktRecordingHost::reset() {
    *this = ktRecordingHost();
    ktUndoStack::get(0)->clear();
    log.clear();
}

std::string ktRecordingHost::label(const osg::NodeCorePtr& core) const {
    const auto found = names.find(core);
    return found == names.end() ? "?" : found->second;
}

std::string ktRecordingHost::label(const osg::NodePtr& node) const {
    return node == osg::NullFC ? "null" : label(node->getCore());
}

std::string ktRecordingHost::labels(const std::vector<osg::NodePtr>& nodes) const {
    std::string text;
    for (const osg::NodePtr& node : nodes)
        text += (text.empty() ? "" : " ") + label(node);
    return text;
}

void nameCore(const osg::NodeCorePtr& core, const std::string& name) {
    ktRecordingHost::the().names[core] = name;
}

std::vector<std::string> entriesWith(const std::vector<std::string>& log, const std::string& prefix) {
    std::vector<std::string> found;
    for (const std::string& entry : log)
        if (entry.rfind(prefix, 0) == 0)
            found.push_back(entry);
    return found;
}
