// SPDX-License-Identifier: LGPL-2.1-or-later
// The host's services: they only record their calls.
#include "ktAnimManager.h"
#include "ktController.h"
#include "ktGeoSubdivisionList.h"
#include "ktLights.h"
#include "ktLog.h"
#include "ktMessageRW.h"
#include "ktNodePermission.h"
#include "ktNodeUtils.h"
#include "ktOSGWidget.h"
#include "ktPreferences.h"
#include "ktRaytracingManager.h"
#include "ktRecordingHost.h"
#include "ktRecordingRaytracing.h"
#include "ktScenegraph.h"
#include "ktTBBInit.h"
#include "ktUndoCommand.h"
#include "ktUndoStack.h"

#include <cstdarg>
#include <cstdio>
#include <map>
#include <new>

namespace {

ktRecordingHost& host() {
    return ktRecordingHost::the();
}

std::string text(bool value) {
    return value ? "true" : "false";
}

std::string formatted(const char* format, va_list arguments) {
    char line[1024];
    std::vsnprintf(line, sizeof line, format, arguments);
    return line;
}

} // namespace

#define KT_RECORD_LOG_LEVEL(level)                                                                                     \
    void ktLog::level(const char* format, ...) {                                                                       \
        va_list arguments;                                                                                             \
        va_start(arguments, format);                                                                                   \
        host().record(#level ": " + formatted(format, arguments));                                                     \
        va_end(arguments);                                                                                             \
    }
KT_RECORD_LOG_LEVEL(error)
KT_RECORD_LOG_LEVEL(warning)
KT_RECORD_LOG_LEVEL(info)

void ktController::setBusy(bool busy, bool showCursor) {
    host().record("setBusy(" + text(busy) + ", " + text(showCursor) + ")");
}
void ktController::setModified(int modified) {
    host().record("setModified(" + std::to_string(modified) + ")");
}

bool ktOSGWidget::isRenderEnabled() {
    host().record("isRenderEnabled()");
    return host().isRenderEnabled;
}
void ktOSGWidget::enableRender(bool enable) {
    host().record("enableRender(" + text(enable) + ")");
}
int ktOSGWidget::getRaytracing() {
    host().record("getRaytracing()");
    return host().raytracing;
}
int ktOSGWidget::getMGLWCount() {
    host().record("getMGLWCount()");
    return 1;
}

std::vector<ktNodePtr> ktScenegraph::getSelectedRootNodes() {
    host().record("getSelectedRootNodes()");
    return host().selection;
}
osg::NodePtr ktScenegraph::getRootNode() {
    return host().root;
} // called for every material, so it is not recorded
void ktScenegraph::enableUpdate(bool enable) {
    host().record("enableUpdate(" + text(enable) + ")");
}
void ktScenegraph::update(bool redraw) {
    host().record("update(" + text(redraw) + ")");
}

bool ktNodePermission::allows(const osg::NodePtr& node, ktNodeAction action) {
    host().record("allows(" + host().label(node) + ", " + std::to_string(int(action)) + ")");
    return node == osg::NullFC || host().lockedCores.count(node->getCore()) == 0;
}

const char* ktNodeUtils::getName(const osg::NodePtr& node) {
    const auto found = host().names.find(node->getCore());
    return found == host().names.end() ? nullptr : found->second.c_str();
}
bool ktNodeUtils::isGeometryComponent(const osg::NodePtr& node) {
    return host().componentCores.count(node->getCore()) > 0;
}

bool ktLights::isLight(const osg::NodePtr& node) {
    return host().lightCores.count(node->getCore()) > 0;
}
bool ktLights::isRayFileLight(const osg::NodePtr& node) {
    return host().rayFileLightCores.count(node->getCore()) > 0;
}

ktAnimManager* ktAnimManager::the() {
    static ktAnimManager instance;
    return &instance;
}
bool ktAnimManager::hasVertexAnimation(const osg::NodePtr& node) const {
    host().record("hasVertexAnimation(" + host().label(node) + ")");
    return host().animatedCores.count(node->getCore()) > 0;
}

ktTBBInit* ktTBBInit::the() {
    static ktTBBInit instance;
    return &instance;
}
unsigned int ktTBBInit::getNumLogicalCores() const {
    return host().logicalCores;
}

QString ktPreferences::getPreferencesDir() {
    return QString::fromStdString(host().preferencesDirectory);
}

bool ktMessageRW::write(const ktMessage& message, const char* path) {
    host().record(std::string("write ") + path);
    if (host().canWriteFiles)
        host().files[path] = message;
    return host().canWriteFiles;
}
bool ktMessageRW::read(ktMessage& message, const char* path, const std::string& filter) {
    host().record(std::string("read ") + path + (filter.empty() ? "" : " only " + filter));
    const auto found = host().files.find(path);
    if (found == host().files.end())
        return false;
    message = found->second;
    return true;
}

ktRaytracingUtils* ktRaytracingManager::getRaytracingUtils() {
    return host().hasRaytracing ? &ktRecordingRaytracing::the() : nullptr;
}
void ktRaytracingManager::setRaytracingUtils(ktRaytracingUtils*) {}

struct ktGeoSubdivisionRecord {
    std::string label;
};

ktGeoSubdivisionList::ktGeoSubdivisionList(const osg::GeometryPtr& geometry) {
    if (host().failsToMakeRecords)
        throw std::bad_alloc();
    data = std::make_unique<ktGeoSubdivisionRecord>(ktGeoSubdivisionRecord{host().label(osg::NodeCorePtr(geometry))});
    ++host().liveRecords;
    host().record("new record(" + data->label + ")");
}
ktGeoSubdivisionList::~ktGeoSubdivisionList() {
    --host().liveRecords;
    host().record("delete record(" + data->label + ")");
}
void ktGeoSubdivisionList::recreateGeometry() {
    host().record("recreateGeometry(" + data->label + ")");
}

ktUndoStack::ktUndoStack(QObject* parent) : QUndoStack(parent) {}
ktUndoStack* ktUndoStack::get(int index) {
    static auto* const stack = new ktUndoStack;
    return index == 0 ? stack : nullptr;
}
void ktUndoStack::add(QUndoCommand* command) {
    host().record("add \"" + command->text().toStdString() + "\"");
    push(command);
}

ktUndoCommand::ktUndoCommand(const QString& label, QUndoCommand* parent) : QUndoCommand(label, parent) {
    static qint64 tick = 0; // each command gets another time, so that tests can see which one is kept
    changeTime_ms = ++tick;
}
ktUndoCommand::~ktUndoCommand() = default;
void ktUndoCommand::makeMessage(ktMessage& message) const {
    message.set("text", text().toStdString(), true);
}
bool ktUndoCommand::canMergeWith(const QUndoCommand*) const {
    return true;
}
int ktUndoCommand::makeId(std::type_index type) {
    static std::map<std::type_index, int> ids;
    return ids.emplace(type, 100 + int(ids.size())).first->second;
}

bool ktMessage::set(const std::string& name, boost::any value, bool overwrite) {
    for (auto& attribute : attributes) {
        if (attribute.first == name) {
            if (overwrite)
                attribute.second = value;
            return overwrite;
        }
    }
    attributes.emplace_back(name, value);
    return true;
}
const boost::any& ktMessage::get(const std::string& name) const {
    static const boost::any none;
    for (const auto& attribute : attributes)
        if (attribute.first == name)
            return attribute.second;
    return none;
}
std::vector<std::string> ktMessage::names() const {
    std::vector<std::string> found;
    for (const auto& attribute : attributes)
        found.push_back(attribute.first);
    return found;
}
void ktMessage::printBT() {
    host().record("printBT()");
}
