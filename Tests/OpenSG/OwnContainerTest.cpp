// SPDX-License-Identifier: LGPL-2.1-or-later
// Container classes that a program defines itself, as Docs/inside/scene-graph.md describes.
#include <gtest/gtest.h>
#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGMFBaseTypes.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSFBaseTypes.h>
#include <OpenSG/OSGTransform.h>

OSG_BEGIN_NAMESPACE

class TestLamp;
typedef FCPtr<AttachmentPtr, TestLamp> TestLampPtr;

class TestLamp : public Attachment {
    typedef Attachment Inherited;

public:
    typedef TestLampPtr Ptr;

    enum { PowerFieldId = Inherited::NextFieldId, TagsFieldId = PowerFieldId + 1, NextFieldId = TagsFieldId + 1 };
    static const BitVector PowerFieldMask;
    static const BitVector TagsFieldMask;

    OSG_FIELD_CONTAINER_DECL(TestLampPtr)

    OSG_SFIELD_ACCESS(Real32, Power)
    OSG_MFIELD_ACCESS(std::string, Tags)

protected:
    TestLamp() : _sfPower(40.0f) {}
    TestLamp(const TestLamp& source) : Inherited(source), _sfPower(source._sfPower), _mfTags(source._mfTags) {}
    ~TestLamp() override = default;

    SFReal32 _sfPower;
    MFString _mfTags;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(TestLamp, TestLampPtr)

FieldContainerType TestLamp::_type("TestLamp", "Attachment", nullptr,
                                   []() -> FieldContainerPtr { return TestLamp::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(TestLamp, TestLampPtr)
OSG_FIELD_MASK_DEF(TestLamp, PowerField)
OSG_FIELD_MASK_DEF(TestLamp, TagsField)

class TestCounted;
typedef FCPtr<AttachmentPtr, TestCounted> TestCountedPtr;

/// Counts its living objects, and how many of them are copies.
class TestCounted : public Attachment {
    typedef Attachment Inherited;

public:
    typedef TestCountedPtr Ptr;

    static int living;
    static int copies;

    OSG_FIELD_CONTAINER_DECL(TestCountedPtr)

protected:
    TestCounted() = default;
    TestCounted(const TestCounted& source) : Inherited(source) {}
    ~TestCounted() override = default;

    void onCreate(const TestCounted* source = nullptr) {
        Inherited::onCreate(source);
        ++living;
        copies += source != nullptr;
    }
    void onDestroy() override {
        --living;
        Inherited::onDestroy();
    }

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

int TestCounted::living = 0;
int TestCounted::copies = 0;

OSG_FIELD_CONTAINER_INL_DEF(TestCounted, TestCountedPtr)

FieldContainerType TestCounted::_type("TestCounted", "Attachment", nullptr,
                                      []() -> FieldContainerPtr { return TestCounted::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(TestCounted, TestCountedPtr)

class TestGlass;
typedef FCPtr<ChunkMaterialPtr, TestGlass> TestGlassPtr;

class TestGlass : public ChunkMaterial {
    typedef ChunkMaterial Inherited;

public:
    typedef TestGlassPtr Ptr;

    OSG_FIELD_CONTAINER_DECL(TestGlassPtr)

    bool isTransparent() const override { return true; }

protected:
    TestGlass() = default;
    TestGlass(const TestGlass& source) : Inherited(source) {}
    ~TestGlass() override = default;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(TestGlass, TestGlassPtr)

FieldContainerType TestGlass::_type("TestGlass", "ChunkMaterial", nullptr,
                                    []() -> FieldContainerPtr { return TestGlass::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(TestGlass, TestGlassPtr)

OSG_END_NAMESPACE

using namespace osg;

TEST(OwnContainer, GivenAttachmentClass_IsMadeByItsTypeAndAttached) {
    const NodeRefPtr node(Node::create());
    const TestLampPtr lamp = TestLampPtr::dcast(FieldContainerFactory::the()->createAttachment("TestLamp"));
    ASSERT_TRUE(lamp != NullFC);
    EXPECT_FLOAT_EQ(40.0f, lamp->getPower());
    node->addAttachment(lamp);
    const TestLampPtr found = TestLampPtr::dcast(node->findAttachment(TestLamp::getClassType()));
    EXPECT_TRUE(found == lamp);
    EXPECT_TRUE(lamp->getType().isDerivedFrom(Attachment::getClassType()));
    EXPECT_STREQ("TestLamp", lamp->getTypeName());
}

TEST(OwnContainer, GivenFields_AreReadWrittenAndCopied) {
    const RefPtr<TestLampPtr> lamp(TestLamp::create());
    lamp->setPower(60.0f);
    lamp->editPower() += 1.0f;
    lamp->getMFTags()->push_back("left");
    EXPECT_EQ("left", lamp->getTags(0));
    EXPECT_FLOAT_EQ(61.0f, lamp->getSFPower()->getValue());
    const FieldContainerRefPtr copy(lamp->shallowCopy());
    EXPECT_FLOAT_EQ(61.0f, TestLampPtr::dcast(copy.get())->getPower());
    EXPECT_EQ(1u, TestLampPtr::dcast(copy.get())->getTags().size());
    EXPECT_NE(TestLamp::PowerFieldMask, TestLamp::TagsFieldMask);
    EXPECT_EQ(0u, TestLamp::PowerFieldMask & (Attachment::ParentsFieldMask | Attachment::InternalFieldMask));
}

TEST(OwnContainer, GivenCreationAndDestruction_IsToldOnceOfEach) {
    osgInit(0, nullptr);
    const int before = TestCounted::living, copiesBefore = TestCounted::copies;
    {
        const RefPtr<TestCountedPtr> empty(TestCounted::createEmpty());
        EXPECT_EQ(before + 1, TestCounted::living);
        EXPECT_EQ(copiesBefore, TestCounted::copies);
        const RefPtr<TestCountedPtr> copied(TestCounted::create());
        EXPECT_EQ(before + 2, TestCounted::living);
        EXPECT_EQ(copiesBefore + 1, TestCounted::copies) << "create() copies the prototype";
    }
    EXPECT_EQ(before, TestCounted::living);
}

TEST(OwnContainer, GivenMaterialClass_AnswersByItsBase) {
    const RefPtr<MaterialPtr> material(TestGlass::create());
    EXPECT_TRUE(material->isTransparent());
    EXPECT_TRUE(TestGlassPtr::dcast(material.get()) != NullFC);
    EXPECT_TRUE(TransformPtr::dcast(material.get()) == NullFC);
}
