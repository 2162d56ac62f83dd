// SPDX-License-Identifier: LGPL-2.1-or-later
// Settings on nodes: as attachment and as texts, stored, loaded and undone.
#include "ktChangeRecorder.h"
#include "ktControllerFixture.h"
#include "ktSceneParts.h"
#include "OSGValuePair.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using C = ktAmbientOcclusion;
using Attachment = osg::AmbientOcclusionSettingsAttachmentPtr;

const osg::BitVector allFields = osg::FieldBits::AllFields;

Attachment attachmentOf(const osg::NodePtr& node) {
    const osg::AttachmentPtr found = node->findAttachment(osg::AmbientOcclusionSettingsAttachment::getClassType());
    return found == osg::NullFC ? Attachment(osg::NullFC) : Attachment::dcast(found);
}

osg::ValuePairPtr valuesOf(const osg::NodePtr& node) {
    const osg::AttachmentPtr found = node->findAttachment(osg::ValuePair::getClassType());
    return found == osg::NullFC ? osg::ValuePairPtr(osg::NullFC) : osg::ValuePairPtr::dcast(found);
}

/// Attaches these texts to the node.
osg::ValuePairPtr setValues(const osg::NodePtr& node, const std::vector<std::pair<std::string, std::string>>& texts) {
    const osg::ValuePairPtr values = osg::ValuePair::create();
    osg::beginEditCP(values);
    for (const auto& [key, value] : texts)
        values->set(key, value);
    osg::endEditCP(values);
    osg::beginEditCP(node);
    node->addAttachment(values);
    osg::endEditCP(node);
    return values;
}

/// "key=value" of all texts of the node, in order.
std::vector<std::string> textsOf(const osg::NodePtr& node) {
    std::vector<std::string> texts;
    const osg::ValuePairPtr values = valuesOf(node);
    if (values != osg::NullFC)
        for (osg::UInt32 i = 0; i < values->getSize(); ++i)
            texts.push_back(values->getKey(i) + "=" + values->getValue(i));
    return texts;
}

/// Whether all fourteen values are equal.
bool haveEqualValues(const Attachment& a, const Attachment& b) {
    return a->getMode() == b->getMode() && a->getShadowQuality() == b->getShadowQuality() &&
           a->getMinDistance() == b->getMinDistance() && a->getMaxDistance() == b->getMaxDistance() &&
           a->getIndirectIllumination() == b->getIndirectIllumination() &&
           a->getGatherQuality() == b->getGatherQuality() && a->getNumIndirections() == b->getNumIndirections() &&
           a->getColorBleeding() == b->getColorBleeding() &&
           a->getOverrideMaterialColor() == b->getOverrideMaterialColor() &&
           a->getMaterialColor() == b->getMaterialColor() && a->getSubdivide() == b->getSubdivide() &&
           a->getSubdivisionQuality() == b->getSubdivisionQuality() && a->getMinEdgeLength() == b->getMinEdgeLength() &&
           a->getIntensityThreshold() == b->getIntensityThreshold();
}

class NodeSettings : public ktControllerFixture {
protected:
    osg::NodePtr node = keep(makeGroup("node"));

    /// Attaches the current settings to `target` and everything below.
    Attachment attach(const osg::NodePtr& target) {
        const Attachment attachment = controller.getAmbientOcclusionSettings();
        osg::addRefCP(attachment);
        controller.addAOData(target, attachment);
        osg::subRefCP(attachment);
        return attachment;
    }
    void changeAll() {
        controller.setMode(C::LightAndShadows);
        controller.setShadowQuality(4);
        controller.setMinDistance(2.5f);
        controller.setMaxDistance(1234.5f);
        controller.setIndirectIlluminationEnabled(false);
        controller.setGatherQuality(3);
        controller.setNumOfIndirections(5);
        controller.setColorBleedingEnabled(true);
        controller.setOverrideMaterialColorEnabled(false);
        controller.setMaterialColor(0.1f, 0.2f, 0.3f);
        controller.setSubdivideEnabled(true);
        controller.setSubdivisionQuality(2);
        controller.setMinEdgeLength(0.123456789);
        controller.setIntensityThreshold(0.0123456789);
        undoStack.clear();
        log.clear();
    }
};

class TextSettings : public NodeSettings {
protected:
    const std::vector<std::pair<std::string, std::string>> all{{"AOShadowQuality", "5"},
                                                               {"AOMinDistance", "0.5"},
                                                               {"AOMaxDistance", "99.5"},
                                                               {"AOIndirectIllumination", "false"},
                                                               {"AOIndirectIlluminationQuality", "1"},
                                                               {"AOColorBleeding", "true"},
                                                               {"AOMaterialColorOverride", "false"},
                                                               {"AOMaterialColorR", "0.25"},
                                                               {"AOMaterialColorG", "0.5"},
                                                               {"AOMaterialColorB", "0.75"},
                                                               {"AONumIndirections", "3"},
                                                               {"AOSubdivision", "true"},
                                                               {"AOSubdivisionQuality", "1"},
                                                               {"AOMinEdgeLength", "2.5"},
                                                               {"AOIntensityThreshold", "0.125"}};
};

} // namespace

TEST_F(NodeSettings, GivenSettings_CopiesAllFourteen) {
    changeAll();
    const ktChangeRecorder changes;
    const Attachment attachment = controller.getAmbientOcclusionSettings();
    EXPECT_EQ(attachment.getRefCount(), 0);
    EXPECT_THAT(changes.masksOf(attachment), Contains(allFields));
    osg::addRefCP(attachment);
    EXPECT_EQ(attachment->getMode(), C::LightAndShadows);
    EXPECT_EQ(attachment->getShadowQuality(), 4);
    EXPECT_EQ(attachment->getMinDistance(), 2.5f);
    EXPECT_EQ(attachment->getMaxDistance(), 1234.5f);
    EXPECT_FALSE(attachment->getIndirectIllumination());
    EXPECT_EQ(attachment->getGatherQuality(), 3);
    EXPECT_EQ(attachment->getNumIndirections(), 5);
    EXPECT_TRUE(attachment->getColorBleeding());
    EXPECT_FALSE(attachment->getOverrideMaterialColor());
    EXPECT_EQ(attachment->getMaterialColor(), osg::Color3f(0.1f, 0.2f, 0.3f));
    EXPECT_TRUE(attachment->getSubdivide());
    EXPECT_EQ(attachment->getSubdivisionQuality(), 2);
    EXPECT_EQ(attachment->getMinEdgeLength(), 0.123456789f);
    EXPECT_EQ(attachment->getIntensityThreshold(), 0.0123456789f);
    osg::subRefCP(attachment);
}

TEST_F(NodeSettings, GivenTree_AttachesOneInstanceToEveryNode) {
    const osg::NodePtr a = makeGeometryNode("a");
    const osg::NodePtr b = makeGroup("b", {makeGeometryNode("c")});
    const osg::NodePtr root = keep(makeGroup("root", {a, b}));
    const Attachment attachment = attach(root);
    for (const osg::NodePtr& each : {root, a, b, b->getChild(0)})
        EXPECT_EQ(attachmentOf(each), attachment);
    EXPECT_EQ(attachment->getParents().size(), 4u);
    EXPECT_THAT(entriesWith(log, "allows"),
                ElementsAre("allows(root, 25)", "allows(a, 25)", "allows(b, 25)", "allows(c, 25)"));
}

TEST_F(NodeSettings, GivenSecondAttachment_ReplacesTheFirst) {
    const Attachment first = attach(node);
    osg::addRefCP(first);
    const ktChangeRecorder changes;
    const Attachment second = attach(node);
    EXPECT_EQ(attachmentOf(node), second);
    EXPECT_NE(first, second);
    EXPECT_EQ(first.getRefCount(), 1) << "only the test holds the old one";
    EXPECT_EQ(second.getRefCount(), 1);
    EXPECT_THAT(changes.masksOf(node), ElementsAre(osg::Node::AttachmentsFieldMask, osg::Node::AttachmentsFieldMask));
    osg::subRefCP(first);
}

TEST_F(NodeSettings, GivenLockedNode_KeepsItsSubtreeAsItIs) {
    const osg::NodePtr child = makeGroup("child");
    const osg::NodePtr locked = makeGroup("locked", {child});
    const osg::NodePtr after = makeGroup("after");
    const osg::NodePtr root = keep(makeGroup("root", {locked, after}));
    host.lockedCores.insert(locked->getCore());
    setValues(locked, {{"AOShadowQuality", "1"}});
    attach(root);
    EXPECT_EQ(attachmentOf(locked), osg::NullFC);
    EXPECT_EQ(attachmentOf(child), osg::NullFC);
    EXPECT_THAT(textsOf(locked), SizeIs(1));
    EXPECT_NE(attachmentOf(after), osg::NullFC);
    EXPECT_THAT(entriesWith(log, "allows(child"), IsEmpty());
}

TEST_F(NodeSettings, GivenNullNode_DoesNothing) {
    attach(osg::NullFC);
    controller.addAOData(osg::NullFC);
    controller.loadFromNode(osg::NullFC);
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(undoStack.count(), 0);
}

TEST_F(NodeSettings, GivenOnlyTextKeys_RemovesTheValuePair) {
    controller.addAOData(node);
    ASSERT_THAT(textsOf(node), SizeIs(15));
    attach(node);
    EXPECT_EQ(valuesOf(node), osg::NullFC);
}

TEST_F(NodeSettings, GivenOtherKeys_KeepsThem) {
    controller.addAOData(node);
    valuesOf(node)->set("Owner", "Ann");
    valuesOf(node)->set("AOther", "x");
    const osg::ValuePairPtr values = valuesOf(node);
    const ktChangeRecorder changes;
    attach(node);
    EXPECT_THAT(textsOf(node), ElementsAre("Owner=Ann", "AOther=x"));
    EXPECT_THAT(changes.masksOf(values), ElementsAre(allFields));
    EXPECT_THAT(changes.masksOf(node), ElementsAre(osg::Node::AttachmentsFieldMask)) << "only for the settings";
}

TEST_F(NodeSettings, GivenEmptyValuePair_IsRemovedAndAnnounced) {
    setValues(node, {});
    const ktChangeRecorder changes;
    attach(node);
    EXPECT_EQ(valuesOf(node), osg::NullFC);
    EXPECT_THAT(changes.masksOf(node), ElementsAre(osg::Node::AttachmentsFieldMask, osg::Node::AttachmentsFieldMask));
}

TEST_F(NodeSettings, GivenAttaching_IsNoUndoStep) {
    attach(node);
    controller.addAOData(node);
    EXPECT_EQ(undoStack.count(), 0);
}

TEST_F(NodeSettings, GivenVeryDeepTree_DoesNotOverflowTheStack) {
    osg::NodePtr deep = makeGroup("leaf");
    const osg::NodeCorePtr core = deep->getCore();
    for (int i = 0; i < 200000; ++i)
        deep = makeNode(core, {deep});
    keep(deep);
    const Attachment attachment = attach(deep);
    EXPECT_EQ(attachment->getParents().size(), 200001u);
    log.clear();
}

TEST_F(NodeSettings, GivenAttachment_LoadsAllInOrderAsOneStep) {
    changeAll();
    attach(node);
    controller.setMode(C::Classic);
    controller.setShadowQuality(2);
    controller.setMinDistance(1);
    controller.setMaxDistance(3000);
    controller.setIndirectIlluminationEnabled(true);
    controller.setGatherQuality(2);
    controller.setNumOfIndirections(1);
    controller.setColorBleedingEnabled(false);
    controller.setOverrideMaterialColorEnabled(true);
    controller.setMaterialColor(0.7f, 0.7f, 0.7f);
    controller.setSubdivideEnabled(false);
    controller.setSubdivisionQuality(0);
    controller.setMinEdgeLength(1);
    controller.setIntensityThreshold(0.05);
    undoStack.clear();
    log.clear();

    controller.loadFromNode(node);
    EXPECT_THAT(
        entriesWith(log, "add"),
        ElementsAre("add \"Ambient Occlusion Mode\"", "add \"Ambient Occlusion Shadow Quality\"",
                    "add \"Ambient Occlusion Min Distance\"", "add \"Ambient Occlusion Max Distance\"",
                    "add \"Ambient Occlusion Indirect Illumination\"", "add \"Ambient Occlusion Gather Quality\"",
                    "add \"Ambient Occlusion Number of Indirections\"", "add \"Ambient Occlusion Color Bleeding\"",
                    "add \"Ambient Occlusion Override Material Color\"", "add \"Ambient Occlusion Material Color\"",
                    "add \"Ambient Occlusion Subdivide\"", "add \"Ambient Occlusion Subdivide Quality\"",
                    "add \"Ambient Occlusion Min Edge Length\"", "add \"Ambient Occlusion Intensity Threshold\""));
    EXPECT_EQ(undoStack.count(), 1);
    EXPECT_EQ(undoStack.undoText(), "Load Ambient Occlusion From Node");
    EXPECT_EQ(controller.getMode(), C::LightAndShadows);
    EXPECT_EQ(controller.getMaterialColor(), osg::Color3f(0.1f, 0.2f, 0.3f));
    EXPECT_EQ(controller.getMinEdgeLength(), double(0.123456789f)) << "single precision only";
    EXPECT_EQ(controller.getIntensityThreshold(), double(0.0123456789f));
    EXPECT_THAT(entriesWith(log, "signal"), SizeIs(14));
    undoStack.undo();
    EXPECT_EQ(controller.getMode(), C::Classic);
    EXPECT_EQ(controller.getShadowQuality(), 2);
    EXPECT_EQ(controller.getMaxDistance(), 3000);
    EXPECT_EQ(controller.getMaterialColor(), osg::Color3f(0.7f, 0.7f, 0.7f));
    EXPECT_EQ(controller.getMinEdgeLength(), 1);
    EXPECT_FALSE(controller.isSubdivideEnabled());
}

TEST_F(NodeSettings, GivenUndoAndRedoOfALoad_RestoresEverySettingWithEachSignalOnce) {
    const std::vector<std::string> stored{"signal modeChanged(2)",
                                          "signal shadowQualityChanged(4)",
                                          "signal minDistanceChanged(2.5)",
                                          "signal maxDistanceChanged(1234.5)",
                                          "signal indirectIlluminationChanged(false)",
                                          "signal gatherQualityChanged(3)",
                                          "signal numOfIndirectionsChanged(5)",
                                          "signal colorBleedingChanged(true)",
                                          "signal overrideMaterialColorChanged(false)",
                                          "signal materialColorChanged(0.1, 0.2, 0.3)",
                                          "signal subdivideChanged(true)",
                                          "signal subdivisionQualityChanged(2)",
                                          "signal minEdgeLengthChanged(0.123457)",
                                          "signal intensityThresholdChanged(0.0123457)"};
    const std::vector<std::string> initial{"signal modeChanged(0)",
                                           "signal shadowQualityChanged(2)",
                                           "signal minDistanceChanged(1)",
                                           "signal maxDistanceChanged(3000)",
                                           "signal indirectIlluminationChanged(true)",
                                           "signal gatherQualityChanged(2)",
                                           "signal numOfIndirectionsChanged(1)",
                                           "signal colorBleedingChanged(false)",
                                           "signal overrideMaterialColorChanged(true)",
                                           "signal materialColorChanged(0.7, 0.7, 0.7)",
                                           "signal subdivideChanged(false)",
                                           "signal subdivisionQualityChanged(0)",
                                           "signal minEdgeLengthChanged(1)",
                                           "signal intensityThresholdChanged(0.05)"};
    const Attachment before = controller.getAmbientOcclusionSettings();
    osg::addRefCP(before);
    changeAll();
    attach(node);
    controller.loadFromNode(node); // now the two doubles are rounded as in the attachment
    const Attachment loaded = attachmentOf(node);
    // Loads the initial values in the same way.
    const osg::NodePtr fresh = keep(makeGroup("fresh"));
    controller.addAOData(fresh, before);
    controller.loadFromNode(fresh);
    controller.setMinEdgeLength(1);
    controller.setIntensityThreshold(0.05);
    undoStack.clear();

    controller.loadFromNode(node);
    EXPECT_EQ(undoStack.count(), 1);
    for (int round = 0; round < 2; ++round) {
        log.clear();
        undoStack.undo();
        EXPECT_EQ(undoStack.index(), 0) << "one step";
        EXPECT_THAT(log, testing::UnorderedElementsAreArray(initial));
        EXPECT_EQ(controller.getMinEdgeLength(), 1.0);
        EXPECT_EQ(controller.getIntensityThreshold(), 0.05);
        const Attachment now = controller.getAmbientOcclusionSettings();
        osg::addRefCP(now);
        EXPECT_TRUE(haveEqualValues(now, before));
        osg::subRefCP(now);

        log.clear();
        undoStack.redo();
        EXPECT_THAT(log, testing::UnorderedElementsAreArray(stored));
        const Attachment again = controller.getAmbientOcclusionSettings();
        osg::addRefCP(again);
        EXPECT_TRUE(haveEqualValues(again, loaded));
        osg::subRefCP(again);
    }
    osg::subRefCP(before);
}

TEST_F(NodeSettings, GivenNeighbours_ReadsOnlyTheNodeItself) {
    const osg::NodePtr child = makeGroup("child");
    const osg::NodePtr middle = makeGroup("middle", {child});
    const osg::NodePtr top = keep(makeGroup("top", {middle}));
    setValues(top, {{"AOShadowQuality", "5"}});
    setValues(child, {{"AOShadowQuality", "5"}});
    controller.loadFromNode(middle);
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(undoStack.count(), 0) << "not even a macro";
}

TEST_F(NodeSettings, GivenSelection_LoadsFromFirstNodeThatIsNotNull) {
    const osg::NodePtr first = keep(makeGroup("first"));
    const osg::NodePtr second = keep(makeGroup("second"));
    setValues(first, {{"AOShadowQuality", "4"}});
    setValues(second, {{"AOShadowQuality", "5"}});
    host.selection = {osg::NullFC, first, second};
    controller.loadSettings();
    EXPECT_EQ(controller.getShadowQuality(), 4);
}

TEST_F(NodeSettings, GivenNoSelectedNode_LoadsNothing) {
    controller.loadSettings();
    host.selection = {osg::NullFC};
    controller.loadSettings();
    EXPECT_THAT(log, ElementsAre("getSelectedRootNodes()", "getSelectedRootNodes()"));
}

TEST_F(NodeSettings, GivenFirstSelectedNodeWithoutSettings_IgnoresLaterOnes) {
    const osg::NodePtr second = keep(makeGroup("second"));
    setValues(second, {{"AOShadowQuality", "5"}});
    host.selection = {node, second};
    controller.loadSettings();
    EXPECT_EQ(controller.getShadowQuality(), 2);
}

TEST_F(TextSettings, GivenSettings_WritesKeysInOrder) {
    changeAll();
    const ktChangeRecorder changes;
    controller.addAOData(node);
    EXPECT_THAT(textsOf(node),
                ElementsAre("AOShadowQuality=4", "AOMinDistance=2.5", "AOMaxDistance=1234.5",
                            "AOIndirectIllumination=false", "AOIndirectIlluminationQuality=3", "AOColorBleeding=true",
                            "AOMaterialColorOverride=false", "AOMaterialColorR=0.1", "AOMaterialColorG=0.2",
                            "AOMaterialColorB=0.3", "AONumIndirections=5", "AOSubdivision=true",
                            "AOSubdivisionQuality=2", "AOMinEdgeLength=0.123457", "AOIntensityThreshold=0.0123457"));
    EXPECT_THAT(changes.masksOf(valuesOf(node)), Contains(allFields));
    EXPECT_THAT(changes.masksOf(node), ElementsAre(osg::Node::AttachmentsFieldMask));
}

TEST_F(TextSettings, GivenExistingValues_ReplacesThemAndKeepsOthers) {
    const osg::ValuePairPtr values = setValues(node, {{"Owner", "Ann"}, {"AOShadowQuality", "17"}});
    controller.addAOData(node);
    EXPECT_EQ(valuesOf(node), values);
    EXPECT_EQ(values->getSize(), 16u);
    EXPECT_THAT(textsOf(node), Contains("AOShadowQuality=2"));
    EXPECT_THAT(textsOf(node), Contains("Owner=Ann"));
}

TEST_F(TextSettings, GivenTree_WritesEveryNodeButComponentsAndLockedOnes) {
    const osg::NodePtr patch = makeGroup("patch", {makeGroup("below patch")});
    const osg::NodePtr locked = makeGroup("locked", {makeGroup("below locked")});
    const osg::NodePtr part = makeGroup("part", {makeGroup("below part")});
    host.componentCores.insert(patch->getCore());
    host.lockedCores.insert(locked->getCore());
    const osg::NodePtr root = keep(makeGroup("root", {patch, locked, part}));
    controller.addAOData(root);
    for (const osg::NodePtr& written : {root, part, part->getChild(0)})
        EXPECT_THAT(textsOf(written), SizeIs(15)) << host.label(written);
    for (const osg::NodePtr& left : {patch, patch->getChild(0), locked, locked->getChild(0)})
        EXPECT_EQ(valuesOf(left), osg::NullFC) << host.label(left);
    attach(root);
    EXPECT_NE(attachmentOf(patch), osg::NullFC) << "components get the attachment as other nodes do";
}

TEST_F(TextSettings, GivenKeys_LoadsAllButTheModeInOrder) {
    controller.setMode(C::Shadows);
    undoStack.clear();
    log.clear();
    setValues(node, all);
    controller.loadFromNode(node);
    EXPECT_THAT(entriesWith(log, "signal"),
                ElementsAre("signal shadowQualityChanged(5)", "signal minDistanceChanged(0.5)",
                            "signal maxDistanceChanged(99.5)", "signal indirectIlluminationChanged(false)",
                            "signal gatherQualityChanged(1)", "signal numOfIndirectionsChanged(3)",
                            "signal colorBleedingChanged(true)", "signal overrideMaterialColorChanged(false)",
                            "signal materialColorChanged(0.25, 0.5, 0.75)", "signal subdivideChanged(true)",
                            "signal subdivisionQualityChanged(1)", "signal minEdgeLengthChanged(2.5)",
                            "signal intensityThresholdChanged(0.125)"));
    EXPECT_EQ(controller.getMode(), C::Shadows);
    EXPECT_EQ(undoStack.count(), 1);
    EXPECT_EQ(undoStack.undoText(), "Load Ambient Occlusion From Node");
    undoStack.undo();
    EXPECT_EQ(controller.getShadowQuality(), 2);
    EXPECT_EQ(controller.getIntensityThreshold(), 0.05);
}

TEST_F(TextSettings, GivenBothForms_UsesTheAttachmentOnly) {
    attach(node);
    setValues(node, all);
    controller.loadFromNode(node);
    EXPECT_EQ(controller.getShadowQuality(), 2);
    EXPECT_EQ(controller.getNumOfIndirections(), 1);
}

TEST_F(TextSettings, GivenColorWithoutOneComponent_LeavesItAlone) {
    for (const char* missing : {"AOMaterialColorR", "AOMaterialColorG", "AOMaterialColorB"}) {
        setValues(node, all);
        valuesOf(node)->del(missing);
        controller.loadFromNode(node);
        EXPECT_EQ(controller.getMaterialColor(), osg::Color3f(0.7f, 0.7f, 0.7f)) << missing;
        EXPECT_EQ(controller.getShadowQuality(), 5);
    }
}

TEST_F(TextSettings, GivenNoKnownKeys_StillOpensTheMacro) {
    setValues(node, {{"Owner", "Ann"}});
    controller.loadFromNode(node);
    EXPECT_EQ(undoStack.count(), 1);
    EXPECT_EQ(undoStack.undoText(), "Load Ambient Occlusion From Node");
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(TextSettings, GivenUnparsableText_CountsAsZeroOrFalse) {
    setValues(node, {{"AOShadowQuality", "much"},
                     {"AOMinDistance", ""},
                     {"AOMaxDistance", "12.5mm"},
                     {"AOIndirectIllumination", "True"},
                     {"AOColorBleeding", "1"},
                     {"AONumIndirections", "7 bounces"},
                     {"AOMinEdgeLength", "x"}});
    controller.loadFromNode(node);
    EXPECT_EQ(controller.getShadowQuality(), 0);
    EXPECT_EQ(controller.getMinDistance(), 0);
    EXPECT_EQ(controller.getMaxDistance(), 12.5f);
    EXPECT_FALSE(controller.isIndirectIlluminationEnabled());
    EXPECT_FALSE(controller.isColorBleedingEnabled());
    EXPECT_EQ(controller.getNumOfIndirections(), 7);
    EXPECT_EQ(controller.getMinEdgeLength(), 0);
}

TEST_F(TextSettings, GivenWriteThenLoad_KeepsSixDigits) {
    changeAll();
    controller.addAOData(node);
    controller.setMinEdgeLength(1);
    controller.setIntensityThreshold(0.05);
    controller.loadFromNode(node);
    EXPECT_EQ(controller.getMinEdgeLength(), 0.123457);
    EXPECT_EQ(controller.getIntensityThreshold(), 0.0123457);
}
