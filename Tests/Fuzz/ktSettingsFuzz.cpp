// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads any bytes as the plug-in's settings: as its presets file if they begin with '<', else as the named texts of a
// node, one "key=text" per line. What was read must stay the same when it is written and read again.
#include "ktAmbientOcclusion.h"
#include "ktFuzzing.h"
#include "ktGeoSubdivisionList.h"
#include "ktLogOutput.h"
#include "ktNodeAttachments.h"
#include "ktPythonInit.h"
#include "ktRaytracingManager.h"
#include "ktScript.h"
#include "ktUndoStack.h"
#include "OSGValuePair.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <QCoreApplication>
#include <sstream>
#include <string>

namespace fs = std::filesystem;

// The plug-in calls these services only when it bakes.
ktRaytracingUtils* ktRaytracingManager::getRaytracingUtils() {
    return nullptr;
}
struct ktGeoSubdivisionRecord {};
ktGeoSubdivisionList::ktGeoSubdivisionList(const osg::GeometryPtr&) {}
ktGeoSubdivisionList::~ktGeoSubdivisionList() = default;
void ktGeoSubdivisionList::recreateGeometry() {}
ktPythonInit::ktPythonInit(void (*newHook)(bool)) : hook(newHook) {
    static_cast<void>(hook);
}
ktPythonInit::~ktPythonInit() = default;
bool ktScript::run(const char*) {
    return false;
}

struct ktAmbientOcclusionAccess {
    static ktAmbientOcclusion* make() { return new ktAmbientOcclusion; }
    static void destroy(ktAmbientOcclusion* controller) { delete controller; }
};

namespace {

using Controller = std::unique_ptr<ktAmbientOcclusion, void (*)(ktAmbientOcclusion*)>;

Controller start() {
    return {ktAmbientOcclusionAccess::make(), ktAmbientOcclusionAccess::destroy};
}

fs::path presetsPath() {
    return fuzzFolder() / "aotemplates.xml";
}

std::string presetsFile() {
    std::ostringstream text;
    text << std::ifstream(presetsPath(), std::ios::binary).rdbuf();
    return text.str();
}

osg::NodePtr newNode() {
    return osg::makeNodeFor(osg::Group::create());
}

/// The settings as the texts of a node.
std::string textsOf(ktAmbientOcclusion& controller) {
    const osg::NodeRefPtr node(newNode());
    controller.addAOData(node);
    const osg::ValuePairPtr values = ktFindAttachment<osg::ValuePair>(node);
    std::string texts;
    for (osg::UInt32 i = 0; values != osg::NullFC && i < values->getSize(); ++i)
        texts += values->getKey(i) + '=' + values->getValue(i) + '\n';
    return texts;
}

void readTexts(ktAmbientOcclusion& controller, const std::string& texts) {
    const osg::NodeRefPtr node(newNode());
    const osg::ValuePairPtr values = osg::ValuePair::create();
    ktAttach(node, values);
    std::istringstream lines(texts);
    for (std::string line; std::getline(lines, line);)
        if (const std::size_t equals = line.find('='); equals != std::string::npos)
            values->set(line.substr(0, equals), line.substr(equals + 1));
    controller.loadFromNode(node);
}

/// The settings of `given` as a node keeps them, which rounds some.
Controller throughNode(ktAmbientOcclusion& given) {
    const osg::NodeRefPtr node(newNode());
    const osg::AmbientOcclusionSettingsAttachmentPtr settings = given.getAmbientOcclusionSettings();
    given.addAOData(node, settings);
    Controller read = start();
    read->loadFromNode(node);
    return read;
}

void checkAttached(ktAmbientOcclusion& given) {
    const Controller once = throughNode(given), twice = throughNode(*once);
    require(textsOf(*twice) == textsOf(*once), "the settings of a node change when they are read and written");
}

void checkTexts(const std::string& input) {
    const Controller first = start(), second = start();
    readTexts(*first, input);
    const std::string texts = textsOf(*first);
    readTexts(*second, texts);
    const std::string again = textsOf(*second);
    require(again == texts, "the texts of a node change when they are read and written:\n" + texts + again);

    checkAttached(*first);
}

void checkPresets(const std::uint8_t* data, std::size_t size) {
    writeInput(presetsPath(), data, size);
    const Controller first = start();
    const int count = static_cast<int>(first->getPresetNames().size());
    for (int i = 0; i < std::min(count, 20); ++i)
        first->applyPreset(i);
    first->writePreset();
    const std::string written = presetsFile();
    const Controller second = start();
    require(second->getPresetNames() == first->getPresetNames(), "names of presets change when they are written");
    second->writePreset();
    require(presetsFile() == written, "presets change when they are written and read");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication application(*argc, *argv);
    osg::osgInit(*argc, *argv);
    ktLogOutput::setSink([](ktLogLevel, const std::string&) {}); // refusals are not of interest
    // No other thread runs yet. NOLINTNEXTLINE(concurrency-mt-unsafe)
    setenv("KT_PREFERENCES_DIR", (fuzzFolder().string() + '/').c_str(), 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    emptyFuzzFolder();
    if (size > 0 && data[0] == '<')
        checkPresets(data, size);
    else {
        std::ofstream(presetsPath()) << "<message version=\"1\"><list name=\"name\" type=\"string\"/></message>";
        checkTexts(std::string(reinterpret_cast<const char*>(data), size));
    }
    ktUndoStack::get(0)->clear();
    return 0;
}
